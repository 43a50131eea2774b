// (c) the ztrace developers. Licence: see LICENSE.
//
// Where a line ends that meets nothing.
#ifndef ZTRACE_STROKES_ENDS_H
#define ZTRACE_STROKES_ENDS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// How far ink goes on beyond a place, along the middle of a line and beside it.
struct FreeEnd
{
    double middle = 0.0; // pixels
    double side = 0.0;   // the same at kBeside of the half width
};
const double kBeside = 0.8;

// From the foot of the last cross-section outwards: coverage summed up along the carrier, over that
// of the same rows inside of the line.
FreeEnd freeEndOf(const Coverage &coverage, const Atom &atom, int end);

// Pixels from the foot of the last cross-section outwards along the carrier that are ink; at most
// `most`.
double inkAhead(const Coverage &coverage, const Atom &atom, int end, double most);

// How much shorter the ink beside the middle is, in parts of what that is for round ends, where all
// ends are square and where all are round. Blur takes from round ends, a threshold and ragged edges
// give to square ones; measured over drawings of either, by what their pictures are like.
struct EndLimits
{
    double square = 0.37;
    double round = 0.47;
};
EndLimits endLimits(bool hard, bool noisy);

// Whether lines end round: 1, or square: 0, or how likely the one is where ends do not tell. Many
// ends tell together; none at all: 1.
double roundPart(const std::vector<FreeEnd> &ends, const std::vector<double> &widths,
                 const EndLimits &limits);

// A place on the carrier that many pixels outwards from the foot of the last cross-section.
Point alongCarrier(const Atom &atom, int end, double pixels);

// Unit tangent out of an end along the carrier, at its last cross-section.
Point outwardsOf(const Atom &atom, int end);

} // namespace ztrace::strokes

#endif
