// (c) the ztrace developers. Licence: see LICENSE.
//
// Where a line ends that meets nothing.
#ifndef ZTRACE_STROKES_ENDS_H
#define ZTRACE_STROKES_ENDS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// How far ink goes on beyond a place, along the middle of a line and beside it.
const int kRowsBeside = 2;
struct FreeEnd
{
    double middle = 0.0;                     // pixels
    double side[kRowsBeside] = { 0.0, 0.0 }; // the same at kBeside of the half width
};
const double kBeside[kRowsBeside] = { 0.7, 0.8 };

// From that many pixels beyond the foot of the last cross-section outwards; coverage summed up
// along the carrier.
FreeEnd freeEndOf(const Coverage &coverage, const Atom &atom, int end, double ahead = 0.0);

// Pixels from the foot of the last cross-section to the last ink of the line alone, of which noise
// may have taken as much as `gap` in one place; 0 where there is none.
double lastInk(const Coverage &coverage, const Atom &atom, int end, double gap);

// Pixels from the foot of the last cross-section outwards along the carrier that are ink, but for
// gaps of so many; about `most` at most.
double inkAhead(const Coverage &coverage, const Atom &atom, int end, double most, double gap);

// Whether there is paper on both sides of a line, that many pixels beyond its last cross-section.
bool isAlone(const Coverage &coverage, const Atom &atom, int end, double ahead);

// Whether there is from some widths before an end up to it: what other ink runs into shows that
// ink's form.
bool isAloneUpTo(const Coverage &coverage, const Atom &atom, int end);

// What most free ends of a drawing are like. The ink of round ones goes on by half a width beyond
// the line's own end; where noise hides the form, `part` of that is taken, so that no end is off by
// more than the rest of it.
//
// part  0 square, 1 round
struct EndForm
{
    bool round = true;
    double part = 1.0;
};

// `hard` says that the picture has no values between ink and paper, `noisy` that it is a scan.
EndForm formOfEnds(const std::vector<FreeEnd> &ends, const std::vector<double> &widths, bool hard,
                   bool noisy);

// A place on the carrier that many pixels outwards from the foot of the last cross-section.
Point alongCarrier(const Atom &atom, int end, double pixels);

// Unit tangent out of an end along the carrier, at its last cross-section.
Point outwardsOf(const Atom &atom, int end);

} // namespace ztrace::strokes

#endif
