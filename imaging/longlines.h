// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours that long thin lines have all along. The page is docs/imaging/spotcolours.md.
#ifndef ZTRACE_IMAGING_LONGLINES_H
#define ZTRACE_IMAGING_LONGLINES_H

#include "edges.h"
#include "ridges.h"

#include <vector>

namespace ztrace {

// One of the strongest pixels of a line, and how many it has.
struct LongLine
{
    Ridge ridge;
    std::size_t pixels;
};

// Lines of 48 pixels and more over at least 32 rows or columns, the largest first. Of an ARGB32
// image, in its opaque parts.
std::vector<LongLine> longLinesIn(const QImage &image, const EdgeMap &edges);

// Whether opaque colours of a palette explain a line as mixtures with what is beside it, but each
// of them would have to be thinned all along it.
bool isDilutedAllAlong(const LongLine &line, const std::vector<QRgb> &palette);

} // namespace ztrace

#endif
