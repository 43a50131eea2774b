// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/meeting.h"

#include "strokes/connections.h"
#include "strokes/cusps.h"
#include "strokes/ellipses.h"
#include "strokes/endpairs.h"
#include "strokes/touches.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_map>

namespace ztrace::strokes {

namespace {

const double kCrossing = 0.2; // sine of the least angle at which carriers are crossed; 12 degrees
const double kCrossingOfLines = 0.03; // the same of two lines, which may meet far away
const double kFarthestMeeting = 120;  // pixels from a joint that lines meet, where ink leads there
const double kFarthestCorner = 24;    // pixels and widths apart that two ends of a corner are
// A line that touches an arc does so at the foot of its centre, unless the arc is no true tangent:
// part of the way from there to the break of their cross-sections, of which steps tell nothing.
const double kBreakPart = 0.5;
const double kTouchError = 0.25; // pixels that circles in greys miss each other by where they touch
const double kSquare = 0.5;      // sine of the least angle at which an end is put on a line
const std::size_t kBody = 12;    // cross-sections of such a line
const double kMostPairs = 4e7;   // ends times lines that are compared
// Pixels of a line that is seen beyond another one, those of them with paper on both sides, and
// pixels between the places that are looked at: a third line may lie across them.
const double kStub = 1.6;
const double kStubAlone = 1.0;
const double kStubStep = 0.5;
// A break of a worn pen: widths of the line, and pixels.
const double kBreakWidths = 1.1;
const double kBreakPixels = 6.0;
const double kMeetingReach = 2.0; // pixels around a joint's ink in which its lines may meet
// Dots right ahead of a thin line are of it, in parts of what noise takes in one place.
const double kDotsApart = 3.0;
const double kTipWidths = 2.0; // widths beyond a shared tip that its ink is followed for
const double kBackwards = 3.0; // pixels that an end may lie before its last cross-section
const double kMeetsAll = 1.5;  // pixels from a common place that its carriers may pass by

double distanceBetween(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

// Where an end meets a carrier, how much that counts among others, and how far before the last
// cross-section it may lie.
struct Place
{
    Point at = { 0, 0 };
    double weight = 0.0;
    double back = 0.0;
};

class Settler
{
public:
    Settler(const Coverage &c, const Measure &m, Web *w)
        : coverage(c), measure(m), hard(m.hard), web(*w)
    { }

    bool settle()
    {
        tips = formOfTips(coverage, measure, web);
        for (std::size_t j = 0; j < web.joints.size(); ++j)
            settleAt(j);
        endInCorners();
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &atom = web.atoms[k];
            if (!atom.alive || atom.shape > Shape::Arc)
                continue;
            for (int end = 0; end < 2; ++end) {
                if (atom.joint[end] < 0)
                    free.push_back({ int(k), end });
            }
        }
        const bool round = settleFree();
        for (Atom &line : connections)
            web.atoms.push_back(std::move(line));
        return round;
    }

private:
    Atom &atom(const AtomEnd &end) { return web.atoms[std::size_t(end.atom)]; }

    int living(int number) const
    {
        while (number >= 0 && !web.atoms[std::size_t(number)].alive)
            number = web.atoms[std::size_t(number)].heir;
        return number;
    }

    std::vector<int> throughAt(std::size_t joint) const
    {
        std::vector<int> through;
        for (int number : web.meetings[joint].through) {
            const int heir = living(number);
            if (heir >= 0)
                through.push_back(heir);
        }
        std::sort(through.begin(), through.end());
        through.erase(std::unique(through.begin(), through.end()), through.end());
        return through;
    }

    void settleAt(std::size_t joint)
    {
        const std::vector<AtomEnd> ends = web.meetings[joint].ends;
        const std::vector<int> through = throughAt(joint);
        const Joint &at = web.joints[joint];
        if (ends.size() + through.size() > kHubEnds || (through.empty() && ends.size() < 2)) {
            // One place does not tell where the ends of a hub are.
            free.insert(free.end(), ends.begin(), ends.end());
        } else if (!through.empty()) {
            for (const AtomEnd &end : ends)
                endOnThrough(end, through, at);
        } else if (at.kind == JointKind::Tip) {
            endInTip(ends, at);
        } else {
            meetAll(ends, at);
        }
    }

    void endInTip(const std::vector<AtomEnd> &ends, const Joint &at)
    {
        for (const AtomEnd &end : ends) {
            Atom &ending = atom(end);
            const double less = 0.5 * tips.part * ending.width;
            const double most
                = distanceBetween(lastSample(end), at.place) + kTipWidths * ending.width;
            const double ink = inkAhead(coverage, ending, end.end, most, 0.0);
            ending.place[end.end] = alongCarrier(ending, end.end, ink - less);
        }
    }

    // A skeleton runs into the outside of a corner, so that one of the lines that meet there goes
    // through the joint and ends freely behind it, without being seen any more. It ends where it
    // meets the others.
    void endInCorners()
    {
        std::unordered_map<int, std::vector<std::size_t>> passed;
        for (std::size_t j = 0; j < web.joints.size(); ++j) {
            for (int number : throughAt(j))
                passed[number].push_back(j);
        }
        std::vector<AtomEnd> alone;
        for (const AtomEnd &end : free) {
            const auto found = passed.find(end.atom);
            Point place = { 0, 0 };
            if (found == passed.end() || !isInCorner(end, found->second, &place))
                alone.push_back(end);
            else
                putEnd(end, place, 0.0);
        }
        free = std::move(alone);
    }

    // Whether lines end on one that goes through joints, beside its own end, and where the last
    // does.
    bool isInCorner(const AtomEnd &end, const std::vector<std::size_t> &joints, Point *place)
    {
        double farthest = -1e300;
        double thickness = 0.0;
        for (std::size_t j : joints) {
            const Joint &at = web.joints[j];
            const double reach = at.radius + atom(end).width + kMeetingReach;
            if (distanceBetween(lastSample(end), at.place) > reach
                || web.meetings[j].ends.size() > kHubEnds)
                continue;
            for (const AtomEnd &other : web.meetings[j].ends) {
                const Atom &ending = atom(other);
                const double sine = std::fabs(
                    fit::cross(outwardsOf(atom(end), end.end), ending.carrier.tangent(at.place)));
                const Crossings crossings = crossingsOf(atom(end).carrier, ending.carrier);
                for (int c = 0; c < crossings.count && sine > kCrossing; ++c) {
                    const double ahead = along(end, crossings.place[c]);
                    if (distanceBetween(crossings.place[c], at.place) > reach || ahead < farthest)
                        continue;
                    farthest = ahead;
                    thickness = 0.5 * ending.width / sine;
                    *place = crossings.place[c];
                }
            }
        }
        return farthest > -1e299 && !goesBeyond(end, *place, thickness);
    }

    // Pixels along an end's carrier from its last cross-section to a place.
    double along(const AtomEnd &end, Point place)
    {
        const Atom &ending = atom(end);
        const Point last
            = end.end == 0 ? ending.samples.front().centre : ending.samples.back().centre;
        const double ahead = fit::dot(place - last, outwardsOf(ending, end.end));
        return (ahead < 0 ? -1.0 : 1.0) * distanceBetween(place, last);
    }

    // Whether ink leads from an end to a place, but for a break of so many pixels.
    bool leadsTo(const AtomEnd &end, Point place, double broken = 0.0)
    {
        const double ahead = along(end, place);
        const double width = atom(end).width;
        const double gap = measure.takenOf(width);
        const double dots = std::max(kDotsApart * gap, broken);
        return ahead > -kBackwards - width
            && ahead < inkAhead(coverage, atom(end), end.end, ahead + 1.0, dots) + 0.5 * width
                + kMeetingReach + gap;
    }

    // Pixels that a worn pen may leave out of a line.
    double breakOf(double width) const
    {
        return measure.mayBreak(width) ? kBreakWidths * width + kBreakPixels : 0.0;
    }

    // Whether the line is seen again beyond a break, before it comes to an edge that far ahead.
    bool isSeenAgain(const AtomEnd &end, double edge)
    {
        double ink = inkAhead(coverage, atom(end), end.end, edge, 0.0);
        for (ink += kStubStep; ink < edge; ink += kStubStep) {
            if (coverage.at(alongCarrier(atom(end), end.end, ink)) >= 0.5)
                return edge - ink >= kStub;
        }
        return false;
    }

    double touchReach(const Atom &a, const Atom &b, const fit::Primitive &ofB) const
    {
        return a.carrier.arc == ofB.arc ? 0.0 : footReach(a, b, ofB, measure) + kMeetingReach;
    }

    // Whether the circles of an end and of another arc touch each other near a joint, but for the
    // error of their fits, and where: two turns of a spring. Their ink is one long before and
    // behind.
    bool touchesRound(const AtomEnd &end, const Atom &other, const fit::Primitive &b,
                      const Joint &at, Place *result)
    {
        const fit::Primitive &a = atom(end).carrier;
        const double error = hard ? kStepError : kTouchError;
        Point place;
        if (!touchingPlace(a, b, error, &place))
            return false;
        const double run = std::sqrt(2 * std::min(a.radius, b.radius) * error)
            + std::sqrt(2 * std::min(a.radius, b.radius) * other.width);
        if (distanceBetween(place, at.place) > at.radius + kMeetingReach + run
            || !leadsTo(end, place))
            return false;
        result->at = place;
        result->back = run;
        return true;
    }

    // The place where an end meets a carrier near a joint, or as far away as ink leads.
    bool meet(const AtomEnd &end, const Atom &other, const fit::Primitive &b, const Joint &at,
              Place *result)
    {
        const Atom &own = atom(end);
        const fit::Primitive &a = own.carrier;
        const Point foot = a.foot(at.place);
        const double sine = std::fabs(fit::cross(a.tangent(foot), b.tangent(b.foot(at.place))));
        const double reach = (at.radius + kMeetingReach) / std::max(sine, kCrossing);
        result->weight = sine * sine + 1e-3;
        result->back = 0.0;
        const bool lines = !a.arc && !b.arc;
        if (touchesRound(end, other, b, at, result))
            return true;
        if (sine > (lines ? kCrossingOfLines : kCrossing) || cutsInto(own, other, b, measure)) {
            const Crossings crossings = crossingsOf(a, b);
            double nearest = lines ? std::max(kFarthestMeeting, reach) : reach;
            bool found = false;
            for (int k = 0; k < crossings.count; ++k) {
                const double d = distanceBetween(crossings.place[k], at.place);
                if (d < nearest && leadsTo(end, crossings.place[k])) {
                    nearest = d;
                    result->at = crossings.place[k];
                    found = true;
                }
            }
            if (found) {
                if (!lines && sine < kCrossing)
                    result->at = betweenTouchAndCrossing(a, b, result->at);
                return true;
            }
        }
        const double touchable = hard ? std::max(reach, touchReach(own, other, b)) : reach;
        const Point touched = touching(a, b, at.place, touchable, hard ? 0.0 : kBreakPart);
        if (std::fabs(a.distance(touched)) + std::fabs(b.distance(touched)) > kMeetsAll)
            return false;
        result->at = touched;
        result->back = hard ? touchReach(own, other, b) : 0.0;
        return true;
    }

    void endOnThrough(const AtomEnd &end, const std::vector<int> &through, const Joint &at)
    {
        Place best = { atom(end).carrier.foot(at.place), -1.0, 0.0 };
        double thickness = 0.0;
        std::optional<Point> nearest; // on the other lines that go through
        for (int number : through) {
            Place candidate;
            const Atom &other = web.atoms[std::size_t(number)];
            const fit::Primitive carrier = other.shape == Shape::Ellipse
                ? circleAlong(other.ellipse, at.place)
                : other.carrier;
            const Point foot = carrier.foot(at.place);
            if (number != end.atom
                && (!nearest
                    || distanceBetween(foot, at.place) < distanceBetween(*nearest, at.place)))
                nearest = foot;
            if (number != end.atom && meet(end, other, carrier, at, &candidate)
                && candidate.weight > best.weight) {
                best = candidate;
                thickness = 0.5 * other.width / std::max(std::sqrt(best.weight), kCrossing);
            }
        }
        if (best.weight > kCrossing * kCrossing && goesBeyond(end, best.at, thickness)) {
            free.push_back(end);
            return;
        }
        putEnd(end, best.at, best.back);
        if (best.weight < 0.0 && nearest)
            connect(end, *nearest);
    }

    void connect(const AtomEnd &end, Point to)
    {
        Atom line;
        if (makeConnection(atom(end), end.end, to, measure, &line))
            connections.push_back(std::move(line));
    }

    // Whether the line is seen again beyond the one that it meets, which is that thick there.
    bool goesBeyond(const AtomEnd &end, Point place, double thickness)
    {
        const Atom &ending = atom(end);
        const double start = along(end, place) + thickness;
        const double most = start + kFarthestMeeting;
        const double ink = inkAhead(coverage, ending, end.end, most, 0.0);
        if (ink < start + kStub || ink >= most)
            return false;
        double alone = 0.0;
        for (double s = start + 0.5 * kStubStep; s < ink; s += kStubStep)
            alone += isAlone(coverage, ending, end.end, s) ? kStubStep : 0.0;
        if (alone < kStubAlone)
            return false;
        seenBeyond[keyOf(end)] = ink;
        return true;
    }

    // The same in noise, where short stubs of a corner are taken for spurs.
    bool isSeenBeyond(const AtomEnd &end, const std::vector<AtomEnd> &ends, Point place)
    {
        const double thickness = measure.taken > 0.0 ? thicknessAcross(web, end, ends) : 0.0;
        return thickness > 0.0 && goesBeyond(end, place, thickness);
    }

    static std::size_t keyOf(const AtomEnd &end)
    {
        return 2 * std::size_t(end.atom) + std::size_t(end.end);
    }

    void meetAll(const std::vector<AtomEnd> &ends, const Joint &at)
    {
        Point sum = { 0, 0 };
        double all = 0.0;
        double back = 0.0;
        for (std::size_t i = 0; i < ends.size(); ++i) {
            for (std::size_t k = i + 1; k < ends.size(); ++k) {
                Place place;
                const Atom &other = atom(ends[k]);
                if (!meet(ends[i], other, other.carrier, at, &place))
                    continue;
                sum = sum + place.weight * place.at;
                all += place.weight;
                back = std::max(back, place.back);
            }
        }
        const Point middle = all > 0.0 ? (1 / all) * sum : at.place;
        for (const AtomEnd &end : ends) {
            if (isSeenBeyond(end, ends, middle)) {
                free.push_back(end);
                continue;
            }
            const bool passesBy = std::fabs(atom(end).carrier.distance(middle)) > kMeetsAll;
            putEnd(end, passesBy ? atom(end).carrier.foot(at.place) : middle, back);
            if (passesBy)
                connect(end, middle);
        }
    }

    // `back`: pixels that a tangent may have run on into its arc.
    void putEnd(const AtomEnd &end, Point place, double back)
    {
        Atom &ending = atom(end);
        const Point last = lastSample(end);
        if (fit::dot(place - last, outwardsOf(ending, end.end)) < -kBackwards - ending.width - back)
            place = ending.carrier.foot(last);
        ending.place[end.end] = place;
    }

    Point lastSample(const AtomEnd &end)
    {
        const Atom &ending = atom(end);
        return end.end == 0 ? ending.samples.front().centre : ending.samples.back().centre;
    }

    // Whether two ends that meet nothing are the two of a corner, and where. A worn pen may have
    // left out what is before it.
    bool isCorner(const AtomEnd &a, const AtomEnd &b, bool worn, Point *place)
    {
        if (a.atom == b.atom || (worn && !(mayBeBroken(a) && mayBeBroken(b))))
            return false;
        const double widths = atom(a).width + atom(b).width;
        const double broken = worn ? breakOf(std::min(atom(a).width, atom(b).width)) : 0.0;
        const Point between = 0.5 * (lastSample(a) + lastSample(b));
        if (distanceBetween(lastSample(a), lastSample(b)) > widths + 2 * kMeetingReach + broken
            || std::fabs(fit::cross(outwardsOf(atom(a), a.end), outwardsOf(atom(b), b.end)))
                < (worn ? kSquare : kCrossing))
            return false;
        const Crossings crossings = crossingsOf(atom(a).carrier, atom(b).carrier);
        for (int k = 0; k < crossings.count; ++k) {
            *place = crossings.place[k];
            if (distanceBetween(*place, between) < widths + kMeetingReach + broken
                && along(a, *place) > -kBackwards && along(b, *place) > -kBackwards
                && leadsTo(a, *place, broken) && leadsTo(b, *place, broken))
                return true;
        }
        return false;
    }

    // Whether what is missing of a line may be a break; dashes and letters have gaps of their own.
    bool mayBeBroken(const AtomEnd &end)
    {
        const Atom &ending = atom(end);
        return ending.dashing.type == DashType::None && ending.role == Role::Line
            && double(ending.samples.size()) > 2 * breakOf(ending.width);
    }

    // Corners whose skeleton came apart: their two ends are in joints of their own.
    void meetFreely(bool worn)
    {
        std::sort(free.begin(), free.end(), [this](const AtomEnd &a, const AtomEnd &b) {
            const double x = lastSample(a).x;
            const double y = lastSample(b).x;
            return x < y || (x == y && (a.atom < b.atom || (a.atom == b.atom && a.end < b.end)));
        });
        std::vector<bool> met(free.size(), false);
        for (std::size_t i = 0; i < free.size(); ++i) {
            const double far = lastSample(free[i]).x + 3.2 * atom(free[i]).width + kFarthestCorner;
            for (std::size_t k = i + 1; k < free.size() && !met[i]; ++k) {
                Point place;
                if (lastSample(free[k]).x > far)
                    break;
                if (met[k] || !isCorner(free[i], free[k], worn, &place))
                    continue;
                for (std::size_t end : { i, k }) {
                    met[end] = !isSeenBeyond(free[end], { free[i], free[k] }, place);
                    if (met[end])
                        atom(free[end]).place[free[end].end] = place;
                }
            }
        }
        std::vector<AtomEnd> alone;
        for (std::size_t i = 0; i < free.size(); ++i) {
            if (!met[i])
                alone.push_back(free[i]);
        }
        free = std::move(alone);
    }

    // Ends that meet nothing in their own joint, but the middle of a line beside it.
    void endOnNeighbours(bool worn)
    {
        if (double(free.size()) * double(web.atoms.size()) > kMostPairs)
            return;
        std::vector<AtomEnd> alone;
        for (const AtomEnd &end : free) {
            if (!endOnNeighbour(end, worn))
                alone.push_back(end);
        }
        free = std::move(alone);
    }

    bool endOnNeighbour(const AtomEnd &end, bool worn)
    {
        if (worn && !mayBeBroken(end))
            return false;
        const double broken = worn ? breakOf(atom(end).width) : 0.0;
        const Point last = lastSample(end);
        const Point out = outwardsOf(atom(end), end.end);
        double nearest = 1e300;
        double thickness = 0.0;
        Point place = last;
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &other = web.atoms[k];
            const double reach = other.width + atom(end).width + 2 * kMeetingReach + 2 * broken;
            if (!other.alive || int(k) == end.atom || other.shape == Shape::Ellipse
                || other.samples.size() < kBody || std::fabs(other.carrier.distance(last)) > reach)
                continue;
            const double sine = std::fabs(fit::cross(out, other.carrier.tangent(last)));
            if (sine < kSquare)
                continue;
            const Crossings crossings = crossingsOf(atom(end).carrier, other.carrier);
            for (int c = 0; c < crossings.count; ++c) {
                const double ahead = along(end, crossings.place[c]);
                if (ahead > -kBackwards && ahead < std::min(reach / sine, nearest)
                    && liesOn(other, crossings.place[c], other.width + kMeetingReach)
                    && leadsTo(end, crossings.place[c], broken)
                    && (!worn || isSeenAgain(end, ahead - 0.5 * other.width / sine))) {
                    nearest = ahead;
                    place = crossings.place[c];
                    thickness = 0.5 * other.width / sine;
                }
            }
        }
        if (nearest > 1e299 || goesBeyond(end, place, thickness))
            return false;
        putEnd(end, place, 0.0);
        return true;
    }

    // Corners that did not meet have a form of their own.
    bool isTip(const AtomEnd &end)
    {
        const int joint = atom(end).joint[end.end];
        return joint < 0 || web.joints[std::size_t(joint)].kind == JointKind::Tip;
    }

    // Whether an end shows what form this pen's ends have: dashes are cut square whatever it is,
    // and where other ink runs into the end, as in the tip between two turns of a coil, it is that
    // ink's form.
    bool tellsForm(const AtomEnd &end)
    {
        const Atom &ending = atom(end);
        if (!isTip(end) || ending.dashing.type != DashType::None)
            return false;
        if (measure.taken > 0.0)
            return true;
        return isAloneUpTo(coverage, ending, end.end);
    }

    bool settleFree()
    {
        meetFreely(false);
        endOnNeighbours(false);
        if (measure.taken > 0.0) {
            meetFreely(true);
            endOnNeighbours(true);
        }
        std::vector<FreeEnd> measured;
        std::vector<double> widths;
        std::vector<FreeEnd> telling;
        std::vector<double> tellingWidths;
        const bool anyWhole = std::any_of(free.begin(), free.end(),
                                          [this](const AtomEnd &end) { return tellsForm(end); });
        for (const AtomEnd &end : free) {
            measured.push_back(freeEndOf(coverage, atom(end), end.end));
            widths.push_back(atom(end).width);
            if (isTip(end) && (!anyWhole || tellsForm(end))) {
                telling.push_back(measured.back());
                tellingWidths.push_back(widths.back());
            }
        }
        const EndForm form = formOfEnds(telling, tellingWidths, hard, measure.taken > 0.0);
        for (std::size_t k = 0; k < free.size(); ++k) {
            const double less = 0.5 * form.part * widths[k];
            Atom &ending = atom(free[k]);
            const auto beyond = seenBeyond.find(keyOf(free[k]));
            const double ink = std::max(
                { measured[k].middle,
                  lastInk(coverage, ending, free[k].end, kDotsApart * measure.takenOf(widths[k])),
                  beyond == seenBeyond.end() ? 0.0 : beyond->second });
            ending.place[free[k].end] = alongCarrier(ending, free[k].end, ink - less);
        }
        return form.round;
    }

    const Coverage &coverage;
    const Measure &measure;
    const bool hard; // no values between ink and paper
    Web &web;
    EndForm tips;
    std::vector<AtomEnd> free;
    std::vector<Atom> connections;
    // Pixels of ink ahead of ends that go on beyond the lines that they meet, by keyOf().
    std::unordered_map<std::size_t, double> seenBeyond;
};

} // namespace

bool settleEnds(const Coverage &coverage, const Measure &measure, Web *web)
{
    return Settler(coverage, measure, web).settle();
}

} // namespace ztrace::strokes
