// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashheir.h"

#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Pixels that a row may lie beside a circle, more than by half the width of both: a few dashes of
// a circle tell it as little as that.
const double kBesideCircle = 0.5;

// Part of a gap by which a row may end before or behind its last dash where it meets others. A
// pattern begins with a dash: farther off all dashes would come to lie in gaps.
const double kOfGap = 0.5;

double gapOf(const Dashing &dashing)
{
    return dashing.pattern.size() < 2 ? 0.0 : std::fabs(dashing.pattern[1]);
}

Section sectionOf(Point centre, double width)
{
    Section section;
    section.centre = centre;
    section.width = width;
    section.clear = true;
    return section;
}

// An atom gives its ends to its heir: the outermost ones are the heir's, at all others it goes
// through.
void inherit(const Chain &chain, const Next &next, int number, int heir, Atom *whole, Web *web)
{
    Atom &atom = web->atoms[std::size_t(number)];
    for (int end = 0; end < 2; ++end) {
        const int joint = atom.joint[end];
        if (joint < 0)
            continue;
        Meeting &meeting = web->meetings[std::size_t(joint)];
        const bool isFirst = next.dash == chain.dashes.front().dash && end == next.near;
        const bool isLast = next.dash == chain.dashes.back().dash && end != next.near;
        const bool isOuter = !chain.closed && (isFirst || isLast);
        std::vector<AtomEnd> kept;
        for (const AtomEnd &other : meeting.ends) {
            if (other.atom != number || other.end != end)
                kept.push_back(other);
            else if (isOuter)
                kept.push_back({ heir, isFirst ? 0 : 1 });
        }
        meeting.ends = std::move(kept);
        if (isOuter)
            whole->joint[isFirst ? 0 : 1] = joint;
        else
            meeting.through.push_back(heir);
    }
    atom.alive = false;
    atom.heir = heir;
    atom.samples = std::vector<Section>();
}

} // namespace

void goThrough(int number, int heir, Web *web)
{
    Atom &atom = web->atoms[std::size_t(number)];
    for (int joint : atom.joint) {
        if (joint < 0)
            continue;
        Meeting &meeting = web->meetings[std::size_t(joint)];
        meeting.ends.erase(std::remove_if(meeting.ends.begin(), meeting.ends.end(),
                                          [&](const AtomEnd &end) { return end.atom == number; }),
                           meeting.ends.end());
        meeting.through.push_back(heir);
    }
    atom.alive = false;
    atom.heir = heir;
    atom.samples = std::vector<Section>();
}

void becomeOne(const Chain &chain, const Dashing &dashing, double width, const Point ends[2],
               const Measure &measure, std::vector<Dash> *dashes, Web *web)
{
    Atom whole;
    for (const Next &next : chain.dashes) {
        Dash &one = (*dashes)[std::size_t(next.dash)];
        one.isUsed = true;
        if (one.isDot()) {
            whole.samples.push_back(sectionOf(one.end[0], width));
            continue;
        }
        std::vector<Section> samples = web->atoms[std::size_t(one.atom)].samples;
        if (next.near == 1)
            std::reverse(samples.begin(), samples.end());
        whole.samples.insert(whole.samples.end(), samples.begin(), samples.end());
    }
    refit(&whole, measure);
    whole.width = width;
    whole.dashing = dashing;
    whole.inkEnd[0] = ends[0];
    whole.inkEnd[1] = ends[1];
    if (chain.closed && whole.carrier.arc)
        whole.shape = Shape::Circle;
    const int heir = int(web->atoms.size());
    for (const Next &next : chain.dashes) {
        const int number = (*dashes)[std::size_t(next.dash)].atom;
        if (number >= 0)
            inherit(chain, next, number, heir, &whole, web);
    }
    web->atoms.push_back(std::move(whole));
}

void takeRowsOnCircles(Web *web)
{
    const auto isDashed
        = [](const Atom &atom) { return atom.alive && atom.dashing.type != DashType::None; };
    for (std::size_t k = 0; k < web->atoms.size(); ++k) {
        Atom &circle = web->atoms[k];
        if (!isDashed(circle) || circle.shape != Shape::Circle)
            continue;
        const fit::Primitive carrier = circle.carrier;
        bool changed = false;
        for (std::size_t i = 0; i < web->atoms.size(); ++i) {
            Atom &part = web->atoms[i];
            const double most = 0.5 * std::min(circle.width, part.width) + kBesideCircle;
            if (i == k || !isDashed(part) || part.shape == Shape::Ellipse
                || !std::all_of(part.samples.begin(), part.samples.end(),
                                [&](const Section &section) {
                                    return std::fabs(carrier.distance(section.centre)) < most;
                                }))
                continue;
            circle.samples.insert(circle.samples.end(), part.samples.begin(), part.samples.end());
            goThrough(int(i), int(k), web);
            changed = true;
        }
        if (changed)
            polishCircle(circle.samples, &circle.carrier);
    }
}

void settleDashes(Web *web)
{
    for (std::size_t k = 0; k < web->atoms.size(); ++k) {
        Atom &atom = web->atoms[k];
        if (!atom.alive || atom.dashing.type == DashType::None || atom.shape > Shape::Arc)
            continue;
        for (int end = 0; end < 2; ++end) {
            const int joint = atom.joint[end];
            const Meeting *meeting = joint < 0 ? nullptr : &web->meetings[std::size_t(joint)];
            const double less = atom.dashing.roundEnds ? 0.5 * atom.width : 0.0;
            const Point outwards = outwardsOf(atom, end);
            const Point ended = atom.carrier.foot(atom.inkEnd[end]) - less * outwards;
            if (meeting && (meeting->ends.size() > 1 || !meeting->through.empty())
                && std::fabs(dot(atom.place[end] - ended, outwards))
                    <= kOfGap * gapOf(atom.dashing))
                continue;
            atom.place[end] = ended;
        }
    }
}

} // namespace ztrace::strokes
