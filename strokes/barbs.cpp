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
const double kLeastAside = 0.75; // widths between the middles of line and barb at the base
const double kMostBehind = 2.0;  // lengths of the head from tip to base
const double kLeastThick = 0.6;  // widths that it is thick: a swept head ends in a point
const double kMostThick = 1.6;
const double kThickPixels = 0.7; // pixels that thickness may be off
// Widths of the pen, and pixels, that a head with ink between its barbs is wide at its base at
// most: the line and the barbs.
const double kClosedWidths = 3.0;
const double kClosedPixels = 2.0;
// Pixels that the tip of a pen has to lie before that of a solid head for the two to be told apart,
// and pixels before its tip at which half of a sharp tip's ink is gone, times its slope.
const double kTipsApart = 3.0;
const double kSharpTip = 1.0;
const double kNearMet = 2.5; // pixels between the tip of the pen and the line that it stops at
// Widths from the base of a closed head to where its barbs end, if these are round.
const double kRoundBase = 0.3;

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

// Pixels along the track that ink as thick as the pen goes on behind the base; 0 where there is
// none.
double behindBase(const Coverage &coverage, const Track &track, const Taper &taper,
                  const Wedge &wedge, const Point &across, double pen)
{
    const double most = kMostBehind * (taper.tip - taper.base);
    if ((wedge.tip - taper.base) * wedge.sine / wedge.cosine < kLeastAside * pen)
        return 0.0; // within the line's own ink
    double behind = 0.0;
    while (behind < most
           && coverage.at(middleAt(track, wedge, across, taper.base - behind)) >= kInk)
        behind += kStep;
    if (behind < std::max(kLeastBehind, kLeastBehindPart * pen))
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

// Whether the ink between two barbs is closed: as narrow as three pens, and with the tip of a pen.
// Where another line hides the tip, it is where that line is met.
bool isClosed(const Taper &taper, const Wedge &wedge, double pen, double met)
{
    const double slope = taper.width / (taper.tip - taper.base);
    const double sharp = taper.tip - kSharpTip / slope;
    const double blunt = wedge.tip + 0.5 * pen;
    if (taper.width > kClosedWidths * pen / wedge.cosine + kClosedPixels
        || sharp - blunt < kTipsApart || wedge.tip < taper.base + kLeastBehind)
        return false;
    if (taper.ink < taper.tip)
        return taper.ink < 0.5 * (sharp + blunt);
    return std::fabs(met - wedge.tip) < kNearMet;
}

} // namespace

Barbs barbsOf(const Coverage &coverage, const Track &track, const Taper &taper, const HeadPen &pen,
              double met)
{
    const Wedge wedge = wedgeOf(taper, pen.width);
    const double most = kMostBehind * (taper.tip - taper.base);
    Barbs barbs;
    barbs.tip = track.placeAt(wedge.tip);
    double behind[2];
    Point across[2];
    for (int side = 0; side < 2; ++side) {
        const Point u = track.headingAt(taper.base);
        across[side] = side == 0 ? Point { -u.y, u.x } : Point { u.y, -u.x };
        behind[side] = behindBase(coverage, track, taper, wedge, across[side], pen.width);
    }
    const double least = std::min(behind[0], behind[1]);
    if (least >= most) {
        barbs.kind = HeadKind::None;
        return barbs;
    }
    const bool isClosedHead = !pen.noisy && isClosed(taper, wedge, pen.width, met);
    if (!(least > 0.0 && std::max(behind[0], behind[1]) < most) && !isClosedHead)
        return barbs;
    barbs.kind = HeadKind::Open;
    for (int side = 0; side < 2; ++side) {
        // The ink of a round end goes on by half a width beyond it.
        const double end = behind[side] > 0.0
            ? taper.base - behind[side] + 0.5 * pen.roundPart * pen.width * wedge.cosine
            : taper.base + pen.roundPart * kRoundBase * pen.width;
        barbs.end[side] = middleAt(track, wedge, across[side], end);
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
