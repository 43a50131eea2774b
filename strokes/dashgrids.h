// (c) the ztrace developers. Licence: see LICENSE.
//
// Rows of dashes that other lines run across. docs/strokes/linetypes.md.
#ifndef ZTRACE_STROKES_DASHGRIDS_H
#define ZTRACE_STROKES_DASHGRIDS_H

#include "strokes/dashchains.h"
#include "strokes/track.h"

namespace ztrace::strokes {

// A row of one length of dashes and one of gaps, found by where its ink repeats.
struct DashBeat
{
    double dash = 0.0;   // pixels
    double gap = 0.0;    // the same
    double origin = 0.0; // the length along the track at the middle of a gap
    int first = 0;       // gaps of the row, counted from the origin
    int last = 0;

    double period() const { return dash + gap; }
    double middle(int gapNumber) const { return origin + gapNumber * period(); }
    double from() const { return middle(first) - 0.5 * gap - dash; }
    double to() const { return middle(last) + 0.5 * gap + dash; }
};

// The beat that most runs of ink along a track keep: lines across it may fill gaps and lengthen
// dashes, but for these every dash is ink and every gap paper. False where there is none that
// chance would not make.
bool beatOf(const Track &track, const Coverage &coverage, const std::vector<Run> &runs,
            double width, DashBeat *beat);

// Makes one atom of every straight row of dashes or dots with a beat, whatever lines run across it;
// returns the dots that are of none. For clean pages: noise leaves no beat. Takes time in
// proportion to the dashes and the lengths of their rows, and a look at each row for every section
// of what may be a stub at a crossing.
std::vector<Dot> takeDashGrids(const Coverage &coverage, const Measure &measure,
                               const std::vector<Dot> &dots, Web *web);

} // namespace ztrace::strokes

#endif
