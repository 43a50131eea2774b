// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/alikeends.h"

#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Radii of arcs that are alike: part of them, and pixels. One bit leaves fits .1 off, noise .2.
const double kRadiusPart = 0.03;
const double kRadiusPixels = 0.35;
const double kWidthRatio = 1.3;    // of their pens
const double kTurnApart = 1.0;     // radians that they turn more or less; breaks of one bit move
const double kMostCut = 0.7;       // pixels that are cut off at most; more is plain in one arc
const std::size_t kLeastAlike = 6; // ends that tell
// Standard errors of the mean by which alike ends cut in, and by which they leave before or behind
// the place where they would touch.
const double kCutErrors = 2.5;
const double kSideErrors = 1.0;
// Pixels that an arc of clean greys is cut off where it tells that by itself, and how far from half
// the way between both its cross-sections lie then.
const double kPlainCut = 0.1;
const double kPlainSide = 0.2;
const std::size_t kPlainArc = 20; // cross-sections
// Cross-sections of an arc that tells anything, and radii of the arc that it may seem to have from
// an arc beside it: those of two pieces of one curve cross anywhere.
const std::size_t kLeastArc = 16;
const double kMostStraightened = 3.0;

// An arc that goes on as a line, or as an arc of a larger circle.
struct Leaving
{
    AtomEnd arc;
    AtomEnd other;
    Point touch = { 0, 0 };   // where both would touch, on the other
    Point onwards = { 0, 0 }; // unit, along the other away from the arc
    double radius = 0.0;      // of the arc seen from the other: straightened with it
    double turned = 0.0;
    double width = 0.0;
    double cut = 0.0; // pixels of the circle beyond the other
};

// Mean and its standard error.
struct Mean
{
    double value = 0.0;
    double error = 0.0;
};

Mean meanOf(const std::vector<double> &values)
{
    const double n = double(values.size());
    double sum = 0.0;
    for (double value : values)
        sum += value;
    double squares = 0.0;
    for (double value : values)
        squares += (value - sum / n) * (value - sum / n);
    return { sum / n, std::sqrt(squares / (n * std::max(1.0, n - 1))) };
}

class AlikeEnds
{
public:
    AlikeEnds(const Measure &measure, Web *w)
        : isPlain(!measure.hard && measure.taken <= 0.0), web(*w)
    { }

    void settle()
    {
        for (std::size_t j = 0; j < web.joints.size(); ++j) {
            Leaving leaving;
            if (leavesAt(j, &leaving))
                all.push_back(leaving);
        }
        std::stable_sort(all.begin(), all.end(),
                         [](const Leaving &a, const Leaving &b) { return a.radius < b.radius; });
        std::vector<bool> taken(all.size(), false);
        for (std::size_t k = 0; k < all.size(); ++k) {
            if (!taken[k])
                settleGroup(groupOf(k, &taken));
        }
    }

private:
    Atom &atom(const AtomEnd &end) { return web.atoms[std::size_t(end.atom)]; }

    bool isWhole(const AtomEnd &end)
    {
        const Atom &one = atom(end);
        return one.alive && one.shape <= Shape::Arc && one.dashing.type == DashType::None
            && one.role == Role::Line;
    }

    // What goes on: the straighter one of two.
    bool leavesAt(std::size_t joint, Leaving *leaving)
    {
        const Meeting &meeting = web.meetings[joint];
        if (meeting.ends.size() != 2 || !meeting.through.empty() || !isWhole(meeting.ends[0])
            || !isWhole(meeting.ends[1]))
            return false;
        const auto bend = [&](int k) {
            const fit::Primitive &carrier = atom(meeting.ends[std::size_t(k)]).carrier;
            return carrier.arc ? 1 / carrier.radius : 0.0;
        };
        const bool first = bend(0) > bend(1);
        leaving->arc = meeting.ends[first ? 0 : 1];
        leaving->other = meeting.ends[first ? 1 : 0];
        const Atom &arc = atom(leaving->arc);
        const Atom &other = atom(leaving->other);
        if (!arc.carrier.arc || leaving->arc.atom == leaving->other.atom || !measureAt(leaving))
            return false;
        leaving->turned = std::fabs(sweepOf(arc.samples, arc.carrier.point).turned);
        leaving->width = arc.width;
        const Point out = outwardsOf(other, leaving->other.end);
        const Point along = other.carrier.tangent(leaving->touch);
        leaving->onwards = (fit::dot(along, out) > 0 ? -1.0 : 1.0) * along;
        return std::fabs(leaving->cut) < kMostCut && arc.samples.size() >= kLeastArc
            && leaving->radius < kMostStraightened * arc.carrier.radius
            && fit::dot(outwardsOf(arc, leaving->arc.end), leaving->onwards) > 0;
    }

    // Where the circle is farthest beyond the other, and by how much.
    bool measureAt(Leaving *leaving)
    {
        const fit::Primitive &arc = atom(leaving->arc).carrier;
        const fit::Primitive &other = atom(leaving->other).carrier;
        leaving->radius = arc.radius;
        if (!other.arc) {
            leaving->touch = other.foot(arc.point);
            leaving->cut = arc.radius - std::fabs(other.distance(arc.point));
            return true;
        }
        const Point way = arc.point - other.point;
        const double d = std::hypot(way.x, way.y);
        if (!(d > 1e-9))
            return false;
        const bool outside = d > other.radius;
        leaving->touch = other.point + (other.radius / d) * way;
        leaving->cut = outside ? other.radius + arc.radius - d : d + arc.radius - other.radius;
        const double bend = 1 / arc.radius + (outside ? 1.0 : -1.0) / other.radius;
        leaving->radius = 1 / std::max(1e-9, bend);
        return true;
    }

    bool areAlike(const Leaving &a, const Leaving &b)
    {
        return std::max(a.width, b.width) < kWidthRatio * std::min(a.width, b.width)
            && std::fabs(a.turned - b.turned) < kTurnApart
            && atom(a.other).carrier.arc == atom(b.other).carrier.arc;
    }

    std::vector<std::size_t> groupOf(std::size_t first, std::vector<bool> *taken)
    {
        const double most = (1 + kRadiusPart) * all[first].radius + kRadiusPixels;
        std::vector<std::size_t> group;
        for (std::size_t k = first; k < all.size() && all[k].radius < most; ++k) {
            if ((*taken)[k] || !areAlike(all[first], all[k]))
                continue;
            (*taken)[k] = true;
            group.push_back(k);
        }
        return group;
    }

    // How far the cross-sections lie on the way from the other to the arc where the circle is
    // beyond it: 0 where they are the other's, 1 where they are the arc's.
    double partOfArc(const Leaving &leaving, double cut)
    {
        const fit::Primitive &other = atom(leaving.other).carrier;
        const double side = other.distance(atom(leaving.arc).carrier.point) < 0 ? 1.0 : -1.0;
        double seen = 0.0;
        double most = 0.0;
        for (const AtomEnd &end : { leaving.other, leaving.arc }) {
            for (const Section &section : atom(end).samples) {
                const double x = fit::dot(section.centre - leaving.touch, leaving.onwards);
                const double rise = cut - x * x / (2 * leaving.radius);
                const double y = side * other.distance(section.centre);
                if (rise > 0 && std::fabs(y) < leaving.width) {
                    seen += rise * y;
                    most += rise * rise;
                }
            }
        }
        return most > 0 ? seen / most : 0.5;
    }

    void settleGroup(const std::vector<std::size_t> &group)
    {
        if (group.size() < kLeastAlike) {
            for (std::size_t k : group)
                settleAlone(all[k]);
            return;
        }
        std::vector<double> cuts;
        for (std::size_t k : group)
            cuts.push_back(all[k].cut);
        const Mean cut = meanOf(cuts);
        if (cut.value < kCutErrors * cut.error)
            return;
        std::vector<double> parts;
        for (std::size_t k : group)
            parts.push_back(partOfArc(all[k], cut.value));
        const Mean part = meanOf(parts);
        if (std::fabs(part.value - 0.5) < kSideErrors * part.error)
            return;
        for (std::size_t k : group)
            put(all[k], (part.value < 0.5 ? -1.0 : 1.0) * std::sqrt(2 * all[k].radius * cut.value));
    }

    // Clean greys tell of one arc what one bit tells of many.
    void settleAlone(const Leaving &leaving)
    {
        if (!isPlain || leaving.cut < kPlainCut
            || std::min(atom(leaving.arc).samples.size(), atom(leaving.other).samples.size())
                < kPlainArc)
            return;
        const double part = partOfArc(leaving, leaving.cut);
        if (std::fabs(part - 0.5) > kPlainSide)
            put(leaving, (part < 0.5 ? -1.0 : 1.0) * std::sqrt(2 * leaving.radius * leaving.cut));
    }

    // Pixels from where they would touch along the other, away from the arc.
    void put(const Leaving &leaving, double onwards)
    {
        const Point place = leaving.touch + onwards * leaving.onwards;
        const Point onArc = atom(leaving.arc).carrier.foot(place);
        atom(leaving.arc).place[leaving.arc.end] = onArc;
        atom(leaving.other).place[leaving.other.end] = onArc;
    }

    const bool isPlain; // clean greys
    Web &web;
    std::vector<Leaving> all; // by their radius
};

} // namespace

void settleAlikeEnds(const Measure &measure, Web *web)
{
    AlikeEnds(measure, web).settle();
}

} // namespace ztrace::strokes
