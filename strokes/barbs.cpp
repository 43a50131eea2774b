// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/barbs.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.25;       // pixels between places along a barb
const double kInk = 0.5;         // coverage
const double kLeastBehind = 1.5; // pixels, and widths, that a barb goes on behind the base
const double kLeastBehindPart = 0.3;
const double kMostBehind = 2.0; // lengths of the head from tip to base
const double kLeastThick = 0.6; // widths that it is thick: a swept head ends in a point
const double kMostThick = 1.6;
const double kThickPixels = 0.7; // pixels that thickness may be off

struct Side
{
    Point across; // unit, from the track outwards
    double behind = 0.0;
};

// What the edges of a head tell: the sine and cosine of half of its angle, and where the middles of
// its barbs meet.
struct Wedge
{
    double sine = 0.0;
    double cosine = 1.0;
    double tip = 0.0;
};

Wedge wedgeOf(const Taper &taper, double pen)
{
    const double length = taper.tip - taper.base;
    const double half = 0.5 * taper.width;
    const double edge = std::hypot(length, half);
    Wedge wedge;
    wedge.sine = half / edge;
    wedge.cosine = length / edge;
    wedge.tip = taper.tip - 0.5 * pen / wedge.sine;
    return wedge;
}

// The middle of a barb at a length along the track.
Point middleAt(const Track &track, const Wedge &wedge, const Point &across, double at)
{
    return track.placeAt(at) + (wedge.tip - at) * wedge.sine / wedge.cosine * across;
}

// Ink across a barb, pixels.
double thicknessAt(const Coverage &coverage, Point place, Point normal, double most)
{
    double sum = 0.0;
    for (int way : { -1, 1 }) {
        for (double t = 0.5 * kStep; t < most; t += kStep) {
            if (coverage.at(place + way * t * normal) < kInk)
                break;
            sum += kStep;
        }
    }
    return sum;
}

// Pixels along the track that a barb goes on behind the base; 0 where what is there is no barb.
double behindBase(const Coverage &coverage, const Track &track, const Taper &taper,
                  const Wedge &wedge, const Point &across, double pen)
{
    const double most = kMostBehind * (taper.tip - taper.base);
    double behind = 0.0;
    while (behind < most
           && coverage.at(middleAt(track, wedge, across, taper.base - behind)) >= kInk)
        behind += kStep;
    if (behind < std::max(kLeastBehind, kLeastBehindPart * pen) || behind >= most)
        return 0.0;
    const double at = taper.base - 0.6 * behind;
    const Point u = track.headingAt(at);
    const Point normal = wedge.cosine * across + wedge.sine * u;
    const double thick
        = thicknessAt(coverage, middleAt(track, wedge, across, at), normal, kMostThick * pen + 1);
    return thick > kLeastThick * pen - kThickPixels && thick < kMostThick * pen + kThickPixels
        ? behind
        : 0.0;
}

} // namespace

std::optional<Barbs> barbsOf(const Coverage &coverage, const Track &track, const Taper &taper,
                             double pen)
{
    const Wedge wedge = wedgeOf(taper, pen);
    Barbs barbs;
    barbs.tip = track.placeAt(wedge.tip);
    for (int side = 0; side < 2; ++side) {
        const Point u = track.headingAt(taper.base);
        const Point across = side == 0 ? Point { -u.y, u.x } : Point { u.y, -u.x };
        const double behind = behindBase(coverage, track, taper, wedge, across, pen);
        if (!(behind > 0.0))
            return std::nullopt;
        // Half of what a round end goes on by: nobody can tell which ends so short strokes have.
        const double end = taper.base - behind + 0.25 * pen * wedge.cosine;
        barbs.end[side] = middleAt(track, wedge, across, end);
    }
    return barbs;
}

Atom barbAtom(const Barbs &barbs, int side, double pen, const Measure &measure)
{
    const Point way = barbs.end[side] - barbs.tip;
    const int steps = std::max(2, int(std::hypot(way.x, way.y)));
    Atom atom;
    for (int k = 0; k <= steps; ++k) {
        Section section;
        section.centre = barbs.tip + (double(k) / steps) * way;
        section.width = pen;
        section.clear = true;
        atom.samples.push_back(section);
    }
    refit(&atom, measure);
    atom.place[0] = barbs.tip;
    atom.place[1] = barbs.end[side];
    atom.role = Role::Dimension;
    return atom;
}

} // namespace ztrace::strokes
