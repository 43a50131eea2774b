// (c) the ztrace developers. Licence: see LICENSE.
#include "report.h"

namespace ztrace {

Counts countPieces(const Drawing &drawing)
{
    Counts counts;
    for (const Outline &outline : drawing.outlines) {
        ++counts.outlines;
        for (int i = 0; i < outline.shape.countPieces(); ++i) {
            if (outline.shape.getPieceKind(i) == ZPolyline::LinePiece)
                ++counts.lines;
            else
                ++counts.curves;
        }
    }
    return counts;
}

} // namespace ztrace
