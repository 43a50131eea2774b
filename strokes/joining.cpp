// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/joining.h"

#include "strokes/endpairs.h"
#include "strokes/inkgap.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kPi = 3.14159265358979323846;
const int kMostRounds = 6;
// Widths of one pen: their ratio, and pixels that they may differ in any case.
const double kWidthRatio = 1.45;
const double kWidthSlack = 1.2;
// Cosine of the turn that may lie between two parts of one line or arc.
const double kGoesOn = 0.5;
// Part of an arc's sweep that its samples may go back by.
const double kGoesBack = 0.05;
const double kOverlap = 0.1; // radians that the parts of a circle may lie over each other
// Cross-sections for a pixel of an arc: of less, junctions make arcs that nobody has drawn.
const double kSeenPart = 0.4;
// Radians of samples that make a circle, and where both ends are in one joint.
const double kWholeSweep = 2 * kPi * 0.93;
const double kMeetingSweep = 2 * kPi * 0.7;
// Gaps without ink: in widths of the line and pixels, and in parts of the shorter neighbour.
const GapLimits kCleanGaps;
// Bars of two letters may lie a width and a half apart.
const GapLimits kLetterGaps = { 0.3, 1.0, 0.5, 0.0, 0.0, false };
// A pen that leaves out leaves gaps of up to its width and some pixels; thresholds widen them.
// Long lines on one carrier may be farther apart.
const GapLimits kWornGaps = { 1.1, 6.0, 0.8, 0.25, 30.0, true };
const double kMuchTaken = 2.0; // pixels; lines that noise takes more of may have any gaps of these
const double kClosingSweep = 2 * kPi * 0.6; // radians of an arc that ink may close
// Widths beside a line, and cross-sections, up to which something within it is left over of it.
const double kExplained = 0.35;
const std::size_t kLeftOver = 24;
const double kInside = 0.6; // widths beside a circle that what it shares with others lies
// Two lines are a corner where they turn by more than that cosine and an arc misses the samples of
// either so many times, and so many pixels, more than its own line does.
const double kStraightOn = 0.87;
const double kBentTimes = 1.3;
const double kBentPixels = 0.12;
const double kSeam = 1.5;            // pixels without ink that say nothing
const double kMostTurnApart = 0.06;  // radians between lines of one carrier
const double kNear = 2.5;            // pixels that the middle of one may lie beside it
const std::size_t kShort = 16;       // cross-sections of an atom whose direction is not known well
const std::size_t kManyAtoms = 6000; // carriers of more atoms are not compared

std::vector<Section> inOrder(const Atom &atom, int lastEnd)
{
    std::vector<Section> samples = atom.samples;
    if (lastEnd == 0)
        std::reverse(samples.begin(), samples.end());
    return samples;
}

Point endSample(const Atom &atom, int end)
{
    return end == 0 ? atom.samples.front().centre : atom.samples.back().centre;
}

// Unit tangent along the carrier out of an end.
Point outwards(const Atom &atom, int end)
{
    const Point last = endSample(atom, end);
    const std::size_t n = atom.samples.size();
    const std::size_t back = std::min<std::size_t>(n - 1, 12);
    const Point before = (end == 0 ? atom.samples[back] : atom.samples[n - 1 - back]).centre;
    Point tangent = atom.carrier.tangent(last);
    if (fit::dot(tangent, last - before) < 0)
        tangent = -1.0 * tangent;
    return tangent;
}

bool isOnePen(const Atom &a, const Atom &b)
{
    const double thin = std::min(a.width, b.width);
    const double thick = std::max(a.width, b.width);
    return thick < kWidthRatio * thin || thick - thin < kWidthSlack;
}

bool isJoinable(const Atom &atom)
{
    return atom.alive && atom.shape <= Shape::Arc && atom.dashing.type == DashType::None;
}

struct Union
{
    fit::Primitive carrier;
    double cost = 0.0;
    double gain = 0.0; // nats less than apart
    double loss = 0.0; // chi squared more than apart
};

class Joiner
{
public:
    Joiner(const Measure &m, const GapLimits &g, Web *w) : measure(m), gaps(g), web(*w) { }

    // Of atoms of at least so many cross-sections.
    void acrossJoints(std::size_t leastSamples)
    {
        least = leastSamples;
        isOpen.assign(web.joints.size(), true);
        bool changed = true;
        for (int round = 0; round < kMostRounds && changed; ++round) {
            changed = false;
            for (std::size_t j = 0; j < web.joints.size(); ++j) {
                changed = (isOpen[j] && joinAllAt(j)) || changed;
                isOpen[j] = false;
            }
        }
    }

    void alongCarriers(const Coverage &coverage)
    {
        std::vector<int> order;
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            if (isJoinable(web.atoms[k]))
                order.push_back(int(k));
        }
        if (order.size() > kManyAtoms)
            return;
        std::sort(order.begin(), order.end(), [this](int a, int b) {
            const std::size_t m = atom(a).samples.size();
            const std::size_t n = atom(b).samples.size();
            return m > n || (m == n && a < b);
        });
        for (std::size_t i = 0; i < order.size(); ++i) {
            for (bool changed = true; changed;) {
                changed = false;
                for (std::size_t k = i + 1; k < order.size() && isJoinable(atom(order[i])); ++k)
                    changed = joinAlong(order[i], order[k], coverage) || changed;
            }
        }
        for (int number : order)
            closeOverInk(number, coverage);
    }

private:
    Atom &atom(int number) { return web.atoms[std::size_t(number)]; }
    const Atom &atom(int number) const { return web.atoms[std::size_t(number)]; }

    static double numbersOf(const fit::Primitive &carrier)
    {
        return carrier.arc ? kNumbersOfArc : kNumbersOfLine;
    }

    // Whether a's end and b's end can be one place in a line or arc.
    bool unite(AtomEnd a, AtomEnd b, Union *result) const
    {
        const Atom &first = atom(a.atom);
        const Atom &second = atom(b.atom);
        if (std::min(first.samples.size(), second.samples.size()) < least || a.atom == b.atom
            || !isJoinable(first) || !isJoinable(second) || !isOnePen(first, second))
            return false;
        const Point from = endSample(first, 1 - a.end);
        const Point to = endSample(second, 1 - b.end);
        const fit::Moments sum = together(first.moments, second.moments);
        if (!cheapest(sum, measure, from, to, &result->carrier, &result->cost))
            return false;
        // Each for itself: a long line has slack that could hide a short one at an angle to it.
        result->cost = costOn(first, result->carrier) + costOn(second, result->carrier)
            + measure.lambda * numbersOf(result->carrier);
        result->gain = first.cost + second.cost + measure.lambda * kNumbersOfJoint - result->cost;
        result->loss = measure.lambda
                * (kNumbersOfJoint + numbersOf(first.carrier) + numbersOf(second.carrier)
                   - numbersOf(result->carrier))
            - result->gain;
        return result->gain > 0.0 && goesOn(first, a.end, second, b.end, *result)
            && !isBent(first, a.end, second, b.end, *result);
    }

    // Whether two lines with a corner were made an arc: in noise, and in steps of one bit, a few
    // cross-sections of each are no evidence against it by their cost alone.
    bool isBent(const Atom &first, int a, const Atom &second, int b, const Union &joined) const
    {
        if (!joined.carrier.arc || (first.carrier.arc && second.carrier.arc)
            || -fit::dot(outwards(first, a), outwards(second, b)) > kStraightOn)
            return false;
        const auto isWorse = [&](const Atom &part) {
            const double own = std::sqrt(chi2Of(part.moments, part.carrier) / part.moments.w);
            const double arc = std::sqrt(chi2Of(part.moments, joined.carrier) / part.moments.w);
            return arc > kBentTimes * own + kBentPixels;
        };
        return isWorse(first) || isWorse(second);
    }

    double costOn(const Atom &part, const fit::Primitive &carrier) const
    {
        return measure.misfit(chi2Of(part.moments, carrier), part.moments.w / measure.weight());
    }

    // Joins pair after pair, always that which loses least.
    bool joinAllAt(std::size_t joint)
    {
        const std::vector<AtomEnd> &ends = web.meetings[joint].ends;
        const auto isHere = [this, joint](AtomEnd e) {
            return isJoinable(atom(e.atom)) && atom(e.atom).joint[e.end] == int(joint);
        };
        EndPairs pairs(
            ends,
            [this](AtomEnd end) {
                const Atom &part = atom(end.atom);
                return isJoinable(part) ? endSample(part, end.end) : Point();
            },
            [this](AtomEnd a, AtomEnd b) {
                Union joined;
                return unite(a, b, &joined) ? std::optional<double>(joined.loss) : std::nullopt;
            });
        bool changed = false;
        while (const auto pair = pairs.take()) {
            // What a circle has taken in is gone without a join of its own.
            if (!isHere(pair->first) || !isHere(pair->second))
                continue;
            join(pair->first, pair->second);
            pairs.follow(pair->first, pair->second, isHere);
            changed = true;
        }
        return changed;
    }

    // An atom has changed: what it ends in is looked at again.
    void touch(int number)
    {
        for (int joint : atom(number).joint) {
            if (joint >= 0 && !isOpen.empty())
                isOpen[std::size_t(joint)] = true;
        }
    }

    // The walk along both goes one way.
    bool goesOn(const Atom &first, int a, const Atom &second, int b, const Union &joined) const
    {
        const Point gap = endSample(second, b) - endSample(first, a);
        const double slack = 0.5 * (first.width + second.width) + 2.0;
        if (!joined.carrier.arc) {
            const Point out = outwards(first, a);
            return fit::dot(out, outwards(second, b)) < -kGoesOn && fit::dot(gap, out) > -slack;
        }
        std::vector<Section> samples = inOrder(first, a);
        const std::vector<Section> more = inOrder(second, 1 - b);
        samples.insert(samples.end(), more.begin(), more.end());
        const Sweep sweep = sweepOf(samples, joined.carrier.point);
        const double turned = std::fabs(sweep.turned);
        if (double(samples.size()) < kSeenPart * turned * joined.carrier.radius)
            return false;
        const double noise = kOverlap + slack / joined.carrier.radius;
        return turned < 2 * kPi + noise && sweep.walked - turned < kGoesBack * turned + noise;
    }

    void join(AtomEnd a, AtomEnd b)
    {
        Atom &first = atom(a.atom);
        Atom &second = atom(b.atom);
        const int from = first.joint[1 - a.end];
        const int to = second.joint[1 - b.end];
        const int at[2] = { first.joint[a.end], second.joint[b.end] };
        for (int joint : at)
            takeOut(joint, a, b);
        rename(from, { a.atom, 1 - a.end }, { a.atom, 0 });
        rename(to, { b.atom, 1 - b.end }, { a.atom, 1 });
        for (int k = 0; k < 2; ++k) {
            if (at[k] >= 0 && (k == 0 || at[1] != at[0]))
                web.meetings[std::size_t(at[k])].through.push_back(a.atom);
        }
        std::vector<Section> samples = inOrder(first, a.end);
        const std::vector<Section> more = inOrder(second, 1 - b.end);
        samples.insert(samples.end(), more.begin(), more.end());
        first.samples = std::move(samples);
        first.joint[0] = from;
        first.joint[1] = to;
        second.alive = false;
        second.heir = a.atom;
        second.samples = std::vector<Section>();
        refit(&first, measure);
        touch(a.atom);
        closeIfWhole(a.atom);
    }

    void closeIfWhole(int number)
    {
        Atom &arc = atom(number);
        if (!arc.carrier.arc)
            return;
        const double turned = std::fabs(sweepOf(arc.samples, arc.carrier.point).turned);
        const bool meets = arc.joint[0] >= 0 && arc.joint[0] == arc.joint[1];
        if (turned >= (meets ? kMeetingSweep : kWholeSweep))
            makeCircle(number);
    }

    void makeCircle(int number)
    {
        Atom &arc = atom(number);
        std::vector<int> joints;
        arc.shape = Shape::Circle;
        for (int end = 0; end < 2; ++end) {
            const int joint = arc.joint[end];
            if (joint < 0)
                continue;
            takeOut(joint, { number, 0 }, { number, 1 });
            web.meetings[std::size_t(joint)].through.push_back(number);
            joints.push_back(joint);
            arc.joint[end] = -1;
        }
        for (int joint : joints)
            absorbLeftOvers(number, joint);
    }

    // The ink that two rounds of an 8 have in common is seen as a line between their joints.
    void absorbLeftOvers(int circle, int joint)
    {
        const std::vector<AtomEnd> ends = web.meetings[std::size_t(joint)].ends;
        for (const AtomEnd &end : ends) {
            const Atom &other = atom(end.atom);
            if (isJoinable(other) && other.samples.size() < kLeftOver
                && passesAt(circle, other.joint[0]) && passesAt(circle, other.joint[1])
                && liesIn(other, atom(circle)))
                absorb(circle, end.atom);
        }
    }

    bool passesAt(int number, int joint) const
    {
        if (joint < 0)
            return false;
        const std::vector<int> &through = web.meetings[std::size_t(joint)].through;
        return std::find(through.begin(), through.end(), number) != through.end();
    }

    static bool liesIn(const Atom &part, const Atom &circle)
    {
        return std::all_of(part.samples.begin(), part.samples.end(), [&](const Section &section) {
            return std::fabs(circle.carrier.distance(section.centre)) < kInside * circle.width;
        });
    }

    void takeOut(int joint, AtomEnd a, AtomEnd b)
    {
        if (joint < 0)
            return;
        std::vector<AtomEnd> &ends = web.meetings[std::size_t(joint)].ends;
        const auto isOne = [&](const AtomEnd &end) {
            return (end.atom == a.atom && end.end == a.end)
                || (end.atom == b.atom && end.end == b.end);
        };
        ends.erase(std::remove_if(ends.begin(), ends.end(), isOne), ends.end());
    }

    void rename(int joint, AtomEnd from, AtomEnd to)
    {
        if (joint < 0)
            return;
        for (AtomEnd &end : web.meetings[std::size_t(joint)].ends) {
            if (end.atom == from.atom && end.end == from.end) {
                end = to;
                return;
            }
        }
    }

    // Cheap reasons why two atoms have no common carrier.
    static bool mayShareCarrier(const Atom &a, const Atom &b)
    {
        const Point middle = b.samples[b.samples.size() / 2].centre;
        if (std::fabs(a.carrier.distance(middle)) > kNear)
            return false;
        if (a.carrier.arc != b.carrier.arc)
            return a.carrier.arc || a.samples.size() < kShort;
        if (!a.carrier.arc)
            return std::fabs(fit::cross(a.carrier.direction, b.carrier.direction)) < kMostTurnApart
                || b.samples.size() < kShort;
        return true;
    }

    // Whether a place lies on an atom between its ends.
    static bool isWithin(const Atom &whole, Point place)
    {
        const Point first = whole.samples.front().centre;
        if (std::fabs(whole.carrier.distance(place)) > kExplained * whole.width + 0.5)
            return false;
        if (!whole.carrier.arc) {
            const double t = fit::dot(place - first, whole.carrier.direction);
            const double end
                = fit::dot(whole.samples.back().centre - first, whole.carrier.direction);
            return t > std::min(0.0, end) && t < std::max(0.0, end);
        }
        const double turned = sweepOf(whole.samples, whole.carrier.point).turned;
        const Point from = first - whole.carrier.point;
        const Point to = place - whole.carrier.point;
        double angle = std::atan2(fit::cross(from, to), fit::dot(from, to));
        if (turned < 0)
            angle = -angle;
        return (angle < 0 ? angle + 2 * kPi : angle) < std::fabs(turned);
    }

    // Whether a short atom is nothing but what was left over of a long one beside a joint, or a
    // piece of a line that others have been joined across.
    static bool isExplained(const Atom &part, const Atom &whole)
    {
        return 2 * part.samples.size() < whole.samples.size() && isWithin(whole, endSample(part, 0))
            && isWithin(whole, endSample(part, 1))
            && (part.samples.size() < kLeftOver || isPieceOf(part, whole));
    }

    static bool isPieceOf(const Atom &part, const Atom &whole)
    {
        return !whole.carrier.arc && !part.carrier.arc && isOnePen(part, whole)
            && std::all_of(part.samples.begin(), part.samples.end(),
                           [&](const Section &section) { return isWithin(whole, section.centre); });
    }

    void absorb(int whole, int part)
    {
        Atom &gone = atom(part);
        for (int end = 0; end < 2; ++end) {
            takeOut(gone.joint[end], { part, 0 }, { part, 1 });
            if (gone.joint[end] >= 0)
                web.meetings[std::size_t(gone.joint[end])].through.push_back(whole);
        }
        gone.alive = false;
        gone.heir = whole;
        gone.samples = std::vector<Section>();
    }

    bool joinAlong(int a, int b, const Coverage &coverage)
    {
        if (!isJoinable(atom(b)) || !mayShareCarrier(atom(a), atom(b)))
            return false;
        if (isExplained(atom(b), atom(a))) {
            absorb(a, b);
            return true;
        }
        // The ends that face each other: those that are nearest, or for arcs the shortest way.
        AtomEnd best[2] = { { -1, 0 }, { -1, 0 } };
        double shortest = 1e300;
        for (int i = 0; i < 2; ++i) {
            for (int k = 0; k < 2; ++k) {
                const Point gap = endSample(atom(b), k) - endSample(atom(a), i);
                const double length = std::hypot(gap.x, gap.y);
                Union candidate;
                if (length >= shortest || !unite({ a, i }, { b, k }, &candidate)
                    || !hasInk({ a, i }, { b, k }, candidate.carrier, coverage))
                    continue;
                shortest = length;
                best[0] = { a, i };
                best[1] = { b, k };
            }
        }
        if (best[0].atom < 0)
            return false;
        join(best[0], best[1]);
        return true;
    }

    // Whether there is ink along the carrier from one end to the other, but for short gaps.
    bool hasInk(AtomEnd a, AtomEnd b, const fit::Primitive &carrier, const Coverage &coverage) const
    {
        const Point from = carrier.foot(endSample(atom(a.atom), a.end));
        const Point to = carrier.foot(endSample(atom(b.atom), b.end));
        double length = std::hypot(to.x - from.x, to.y - from.y);
        double angle = 0.0;
        double start = 0.0;
        if (carrier.arc) {
            const Point u = from - carrier.point;
            const Point v = to - carrier.point;
            start = std::atan2(u.y, u.x);
            angle = std::atan2(fit::cross(u, v), fit::dot(u, v));
            length = std::fabs(angle) * carrier.radius;
        }
        const double width = std::min(atom(a.atom).width, atom(b.atom).width);
        const double shorter
            = double(std::min(atom(a.atom).samples.size(), atom(b.atom).samples.size()));
        const bool isLetter = atom(a.atom).role == Role::Text || atom(b.atom).role == Role::Text;
        const GapLimits limits = isLetter ? kLetterGaps : gapLimits(gaps, measure, width);
        const double ofLong
            = !isLetter && measure.takenOf(width) > kMuchTaken ? limits.part : limits.ofLong;
        const double allowed
            = std::min(std::max(limits.of(width), std::min(ofLong * shorter, limits.longest)),
                       limits.part * shorter);
        const double gap
            = inkGap({ carrier, from, to, start, angle, length }, sidesOf(width), coverage);
        return gap <= allowed && (gap <= kSeam || mayBeGap(a, b, limits.worn));
    }

    // Whether paper between two ends may be a gap in one line, and not a space between two that end
    // where they meet something.
    bool mayBeGap(AtomEnd a, AtomEnd b, bool worn) const
    {
        const int met = int(meetsOthers(a)) + int(meetsOthers(b));
        return met < (worn ? 2 : 1);
    }

    bool meetsOthers(AtomEnd end) const
    {
        const int joint = atom(end.atom).joint[end.end];
        if (joint < 0)
            return false;
        const Meeting &meeting = web.meetings[std::size_t(joint)];
        const auto isBody = [this](int number) {
            while (number >= 0 && !atom(number).alive)
                number = atom(number).heir;
            return number >= 0 && atom(number).samples.size() >= kLeftOver;
        };
        return std::any_of(meeting.through.begin(), meeting.through.end(), isBody)
            || std::any_of(meeting.ends.begin(), meeting.ends.end(), [&](const AtomEnd &other) {
                   return other.atom != end.atom && isBody(other.atom);
               });
    }

    // An arc that was lost where its circle runs into other ink.
    void closeOverInk(int number, const Coverage &coverage)
    {
        const Atom &arc = atom(number);
        if (!isJoinable(arc) || !arc.carrier.arc)
            return;
        const double turned = sweepOf(arc.samples, arc.carrier.point).turned;
        const double open = 2 * kPi - std::fabs(turned);
        if (std::fabs(turned) < kClosingSweep || open < 0.0)
            return;
        const Point end = arc.samples.back().centre - arc.carrier.point;
        const double gap = inkGap({ arc.carrier,
                                    {},
                                    {},
                                    std::atan2(end.y, end.x),
                                    turned < 0 ? -open : open,
                                    open * arc.carrier.radius },
                                  0.0, coverage);
        // Openings of letters are their form: what is 3 is not to become 8.
        const GapLimits limits
            = arc.role == Role::Text ? kLetterGaps : gapLimits(gaps, measure, arc.width);
        if (gap <= limits.of(arc.width))
            makeCircle(number);
    }

    const Measure &measure;
    const GapLimits gaps;
    Web &web;
    std::size_t least = 0;
    std::vector<bool> isOpen; // joints whose ends may have changed since they were looked at
};

} // namespace

GapLimits gapLimits(bool noisy)
{
    return noisy ? kWornGaps : kCleanGaps;
}

GapLimits gapLimits(const GapLimits &page, const Measure &measure, double width)
{
    return measure.mayBreak(width) ? page : kCleanGaps;
}

Web webOf(std::vector<Atom> atoms, std::vector<Joint> joints)
{
    Web web;
    web.atoms = std::move(atoms);
    web.joints = std::move(joints);
    web.meetings.resize(web.joints.size());
    for (std::size_t k = 0; k < web.atoms.size(); ++k) {
        for (int end = 0; end < 2; ++end) {
            const int joint = web.atoms[k].joint[end];
            if (joint >= 0)
                web.meetings[std::size_t(joint)].ends.push_back({ int(k), end });
        }
    }
    return web;
}

void joinAcrossJoints(const Measure &measure, std::size_t leastSamples, Web *web)
{
    Joiner(measure, kCleanGaps, web).acrossJoints(leastSamples);
}

void joinAlongCarriers(const Coverage &coverage, const Measure &measure, const GapLimits &gaps,
                       Web *web)
{
    Joiner(measure, gaps, web).alongCarriers(coverage);
}

} // namespace ztrace::strokes
