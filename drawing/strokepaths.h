// (c) the ztrace developers. Licence: see LICENSE.
//
// Centre lines that go on from one another.
#ifndef ZTRACE_DRAWING_STROKEPATHS_H
#define ZTRACE_DRAWING_STROKEPATHS_H

#include "Drawing.h"

#include <optional>

namespace ztrace {

struct StrokePath
{
    const Outline *first; // of those that it is made of: layer, colour and pen are the same
    Path path;
};

// The strokes of the drawing in its order, joined to the longest paths: where exactly two open ones
// of one layer, colour and pen end in the same point, to a 65536th of a pixel, one goes on as the
// other. A path that comes back to its begin is closed. Areas are left out.
std::vector<StrokePath> longestPaths(const Drawing &drawing);

// The drawing for painters, which leave a notch in a corner where two strokes with flat ends meet:
// such strokes of one layer, colour and pen, drawn throughout, are one path there, with a mitre.
// Where more than two meet, these are the two beside the widest gap, if that is over half a turn;
// the others' ends lie within their ink. Strokes that something of another colour is painted
// between stay apart. Nothing where there is no such corner.
std::optional<Drawing> withCorners(const Drawing &drawing);

} // namespace ztrace

#endif
