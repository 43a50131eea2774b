// (c) the ztrace developers. Licence: see LICENSE.
//
// Lengths along a line or a circle.
#ifndef ZTRACE_STROKES_TRACK_H
#define ZTRACE_STROKES_TRACK_H

#include "strokes/InkPicture.h"
#include "strokes/linetypes.h"

#include "fit/sums.h"

namespace ztrace::strokes {

// A carrier with a place at which its length is 0 and a way in which it grows.
class Track
{
public:
    // From the foot of `from` on, towards `next`, by less than half a turn of a circle.
    Track(const fit::Primitive &carrier, Point from, Point next);

    // Of the foot of a place; on a circle from -kBefore of its length on.
    double lengthAt(Point p) const;
    Point placeAt(double length) const;
    Point headingAt(double length) const; // unit
    // Of a circle; 0 for a line.
    double whole() const;

    static constexpr double kBefore = 0.1;

private:
    fit::Primitive base;
    Point origin;
    double angle = 0.0;
    double way = 1.0;
};

// Where there is ink along a track from one length to another: the mean of three rows across the
// width, of what is within `blur` pixels to either side, at half of the level that the ink has;
// gaps and dashes under half a pixel are none.
std::vector<Run> inkAlong(const Track &track, const Coverage &coverage, double from, double to,
                          double width, double blur);

// Without what lines across a row leave in its gaps, beside dots or at the ends of dashes: it has
// ink on both sides. The outer ends stay.
std::vector<Run> withoutCrossings(const Track &track, const Coverage &coverage,
                                  const std::vector<Run> &runs, double width);

} // namespace ztrace::strokes

#endif
