// (c) the ztrace developers. Licence: see LICENSE.
#include "fittedboundaries.h"

#include "shapewriter.h"

#include <algorithm>

namespace ztrace {

namespace {

// Whether a line goes straight on: exactly, as those through the middles of cracks do.
bool goesOn(const fit::Piece &a, const fit::Piece &b)
{
    if (a.kind != fit::Kind::Line || b.kind != fit::Kind::Line)
        return false;
    const fit::Point first = a.end - a.start;
    const fit::Point second = b.end - b.start;
    return cross(first, second) == 0 && dot(first, second) > 0;
}

// Appends a piece; lines of one chain that go straight on are one.
void append(const fit::Piece &piece, std::size_t begin, std::vector<fit::Piece> *pieces)
{
    if (pieces->size() > begin && goesOn(pieces->back(), piece))
        pieces->back().end = piece.end;
    else
        pieces->push_back(piece);
}

// Pieces in the direction of the reference.
void append(const std::vector<fit::Path> &paths, uint32_t reference,
            std::vector<fit::Piece> *pieces)
{
    const std::vector<fit::Piece> &own = paths[chainOf(reference)].pieces;
    const std::size_t begin = pieces->size();
    if (!isReversed(reference)) {
        for (const fit::Piece &piece : own)
            append(piece, begin, pieces);
        return;
    }
    for (auto piece = own.rbegin(); piece != own.rend(); ++piece)
        append(fit::reversed(*piece), begin, pieces);
}

// Over the ends of chains as well.
void joinLines(std::vector<fit::Piece> *pieces)
{
    std::size_t first = 0; // a ring begins where it does not go straight on
    while (first + 1 < pieces->size() && first < pieces->size()
           && goesOn((*pieces)[(first + pieces->size() - 1) % pieces->size()], (*pieces)[first]))
        ++first;
    std::rotate(pieces->begin(), pieces->begin() + std::ptrdiff_t(first), pieces->end());
    std::vector<fit::Piece> joined;
    for (const fit::Piece &piece : *pieces) {
        if (!joined.empty() && goesOn(joined.back(), piece))
            joined.back().end = piece.end;
        else
            joined.push_back(piece);
    }
    pieces->swap(joined);
}

} // namespace

Path FittedBoundaries::pathAlong(const uint32_t *references, std::size_t count,
                                 bool withNodes) const
{
    std::vector<fit::Piece> pieces;
    for (std::size_t k = 0; k < count; ++k)
        append(paths, references[k], &pieces);
    if (!withNodes)
        joinLines(&pieces);
    return pathOf(pieces, map.runs.height);
}

} // namespace ztrace
