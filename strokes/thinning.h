// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink to lines a pixel wide, with the same holes and parts.
#ifndef ZTRACE_STROKES_THINNING_H
#define ZTRACE_STROKES_THINNING_H

#include "strokes/InkPicture.h"

namespace ztrace::strokes {

// The cells that stay, by their distance from paper, then row by row; `ink` keeps 1 in them and 0
// elsewhere. Cells are taken away from the outside in, each looked at once, where neither a part
// nor a hole comes or goes by that and the cell is not the end of a line; ink hangs together by
// corners, paper by sides. What a later removal made superfluous goes in the end. The rule of
// removal is the crossing number (S. Yokoi, J. Toriwaki, T. Fukumura, 1975).
std::vector<uint32_t> thin(const Plane &distance, Plane *ink);

} // namespace ztrace::strokes

#endif
