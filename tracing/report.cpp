// (c) the ztrace developers. Licence: see LICENSE.
#include "report.h"

namespace ztrace {

Counts countPieces(const Drawing &drawing)
{
    Counts counts;
    for (const Outline &outline : drawing.outlines) {
        ++counts.outlines;
        for (const PathPiece piece : outline.shape.pieces()) {
            if (piece.kind == PathPiece::Line)
                ++counts.lines;
            else
                ++counts.curves;
        }
    }
    return counts;
}

} // namespace ztrace
