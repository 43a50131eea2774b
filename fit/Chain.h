// (c) the ztrace developers. Licence: see LICENSE.
//
// What is fitted: a chain of measured points on a boundary.
#ifndef ZTRACE_FIT_CHAIN_H
#define ZTRACE_FIT_CHAIN_H

#include <vector>

namespace ztrace::fit {

// How the points were measured. Soft: where the boundary crosses, from the colours of mixed pixels;
// their errors are nearly independent. Hard: the middles of the cracks between pixels, one a crack,
// none left out; their errors are the steps of a staircase, uniform within half a pixel.
enum class Edge { Soft, Hard };

// A chain as arrays of `size` elements in the order of the walk, in pixels. Nothing is owned.
//
// sigma   standard deviation of each point along the normal; null: what the kind of edge tells
//         (soft kSoftSigma, hard from the angle between crack and boundary). Values below the floor
//         of the kind, zero and not-a-number among them, count as the floor.
// closed  the last point is followed by the first one, which is not repeated.
// pinned  the drawing has to pass exactly through the first or last point; open chains only.
//
// Points that are not finite are left out; of equal neighbours the first one counts.
struct Chain
{
    const double *x;
    const double *y;
    const double *sigma;
    int size;
    bool closed;
    Edge edge;
    bool pinnedStart;
    bool pinnedEnd;
};

// Pixels. A noise-free soft edge is found to .01, but renderers are off by .03 to .06 themselves:
// they draw curves as chords up to .2 off, and look at few places in a pixel.
const double kSoftSigma = 0.05;
const double kSoftFloor = 0.03;
// Cracks along the boundary spread by .289 = 1/sqrt(12); across it the steps tell nearly nothing
// new.
const double kStaircaseSigma = 0.289;
const double kHardFloor = 0.1;
// Half a crack in standard deviations of its uniform error.
const double kHalfCrack = 1.7320508;

struct Point
{
    double x;
    double y;
};

inline Point operator+(Point a, Point b)
{
    return { a.x + b.x, a.y + b.y };
}
inline Point operator-(Point a, Point b)
{
    return { a.x - b.x, a.y - b.y };
}
inline Point operator*(double f, Point a)
{
    return { f * a.x, f * a.y };
}
inline double dot(Point a, Point b)
{
    return a.x * b.x + a.y * b.y;
}
// Positive where b lies to the side of a towards which x turns into y.
inline double cross(Point a, Point b)
{
    return a.x * b.y - a.y * b.x;
}

} // namespace ztrace::fit

#endif
