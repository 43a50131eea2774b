// (c) the ztrace developers. Licence: see LICENSE.
#include "coarseness.h"

#include "pieces.h"

#include <algorithm>

namespace ztrace {

namespace {

const qint64 kFreeLines = 300000;
const qint64 kLinesOfPiece = 32;
const qint64 kLinesOfCutPiece = 2; // at least 1, so that a drawing of lines is never too much
const double kStep = 16.0;         // a quarter of the lines; more at each next step

struct Count
{
    qint64 lines = 0;
    qint64 most = 0;

    void add(const Count &other, qint64 linesOfPiece)
    {
        lines += other.lines;
        most += other.most * linesOfPiece;
    }
};

// With one line a piece as the most.
Count countOf(const Path &shape, double tolerance)
{
    std::vector<PathPiece> pieces;
    piecesOf(shape, &pieces);
    Count count;
    count.most = static_cast<qint64>(pieces.size());
    for (const PathPiece &piece : pieces)
        count.lines += linesOf(piece, tolerance);
    return count;
}

bool isTooMuch(const Drawing &drawing, double tolerance)
{
    std::vector<Count> counts;
    for (const Outline &outline : drawing.outlines)
        counts.push_back(countOf(outline.shape, tolerance));
    Count all;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        all.add(counts[i], kLinesOfPiece);
        for (int hole : drawing.outlines[i].holes)
            all.add(counts[static_cast<std::size_t>(hole)], kLinesOfCutPiece);
    }
    return all.lines > std::max(all.most, kFreeLines);
}

} // namespace

double coarsenessOf(const Drawing &drawing)
{
    double coarseness = 1.0;
    for (double step = kStep; isTooMuch(drawing, kUsualFlatness * coarseness); step *= kStep)
        coarseness *= step;
    return coarseness;
}

} // namespace ztrace
