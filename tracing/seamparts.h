// (c) the ztrace developers. Licence: see LICENSE.
//
// Along which parts of an outline a seam is drawn, where neighbours share their boundary exactly:
// docs/decisions/0010-seams.md.
#ifndef ZTRACE_TRACING_SEAMPARTS_H
#define ZTRACE_TRACING_SEAMPARTS_H

#include "fit/Piece.h"

#include <cstdint>
#include <vector>

namespace ztrace {

// A part of an outline that it shares with one neighbour.
struct SharedPart
{
    int32_t neighbour; // number of the area; below 0 for the rim of the picture
    double length;     // in pixels
};

// Of an outline, in the order of its path; empty where nothing is known.
typedef std::vector<SharedPart> SharedParts;

// Along the pieces, in pixels: within a thousandth of the length of an elliptic arc or a curve.
double lengthOf(const std::vector<fit::Piece> &pieces);

// Pixels from the outline's start on that are drawn and left out in turn, an even number of them,
// at most kMostSeamDashes; empty when all of them are drawn. `drawn` says it of each part.
std::vector<double> seamDashes(const SharedParts &parts, const std::vector<bool> &drawn);
const std::size_t kMostSeamDashes = 32;

} // namespace ztrace

#endif
