// (c) the ztrace developers. Licence: see LICENSE.
//
// Lines and arcs that go on across junctions, gaps and other lines become one.
#ifndef ZTRACE_STROKES_JOINING_H
#define ZTRACE_STROKES_JOINING_H

#include "strokes/primitives.h"

namespace ztrace::strokes {

struct AtomEnd
{
    int atom;
    int end;
};

// What meets at a joint: atoms that end there, and atoms that go through.
struct Meeting
{
    std::vector<AtomEnd> ends;
    std::vector<int> through;
};

struct Web
{
    std::vector<Atom> atoms;
    std::vector<Joint> joints;
    std::vector<Meeting> meetings; // of every joint
};

// How long a gap in the ink of a line may be: in widths of it and pixels, and in parts of the
// shorter of its neighbours. Worn pens and thresholds leave longer ones in bad scans, where `worn`
// also says that rows of pieces without any order are a line in pieces.
struct GapLimits
{
    double widths = 1.0;
    double pixels = 1.5;
    double part = 0.5;
    double ofLong = 0.0;  // of the shorter neighbour, where both are long enough for more
    double longest = 0.0; // pixels, of these
    bool worn = false;
    double of(double width) const { return widths * width + pixels; }
};
GapLimits gapLimits(bool noisy);

// The same for lines of a width: those of clean pages where no ink may be missing.
GapLimits gapLimits(const GapLimits &page, const Measure &measure, double width);

Web webOf(std::vector<Atom> atoms, std::vector<Joint> joints);

// Joins at every joint the pairs that one line or arc explains for less than two do, the pair that
// loses least first, until nothing changes; atoms of fewer cross-sections than `leastSamples` are
// left alone, since next to nothing speaks against joining them with anything. Arcs that come back
// to where they began become circles.
void joinAcrossJoints(const Measure &measure, std::size_t leastSamples, Web *web);

// Joins atoms with a common carrier between which there is ink all the way, or a gap that is short
// against both of them; arcs of one circle in any order. An arc that ink leads from one end of to
// the other becomes a circle.
void joinAlongCarriers(const Coverage &coverage, const Measure &measure, const GapLimits &gaps,
                       Web *web);

} // namespace ztrace::strokes

#endif
