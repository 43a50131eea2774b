// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/cusps.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Widths of the stretch before a tip in which the ink of both is one, and pixels: circles of eight
// widths that touch from outside are a width apart after four.
const double kStemWidths = 4.5;
const double kStemPixels = 4.0;
const double kStemAside = 0.6; // widths beside either carrier that what they share may lie
// Sine of the angle at which carriers may run into each other at the tip: turns of a coil that are
// a little more than half circles cross at ten degrees.
const double kAcute = 0.35;
const double kTouching = 0.25;   // sine between what touches in a tip whose form is told
const std::size_t kTelling = 16; // cross-sections of a line or arc that tell where it goes

class Cusps
{
public:
    explicit Cusps(Web *w) : web(*w) { }

    void take()
    {
        for (std::size_t j = 0; j < web.joints.size(); ++j) {
            if (!takeStem(j))
                takeThrough(j);
        }
    }

private:
    Atom &atom(int number) { return web.atoms[std::size_t(number)]; }

    bool isTelling(int number)
    {
        const Atom &one = atom(number);
        return one.alive && one.shape <= Shape::Arc && one.dashing.type == DashType::None
            && one.role == Role::Line && one.samples.size() >= kTelling;
    }

    // Whether a joint is the tip of nothing but one atom.
    bool isTipOf(int joint, int number)
    {
        if (joint < 0 || web.joints[std::size_t(joint)].kind != JointKind::Tip)
            return false;
        const Meeting &meeting = web.meetings[std::size_t(joint)];
        return meeting.through.empty() && meeting.ends.size() == 1
            && meeting.ends[0].atom == number;
    }

    // Whether two carriers, of which one is round, run into each other at a place.
    static bool touchNear(const Atom &a, const Atom &b, Point tip)
    {
        if (!a.carrier.arc && !b.carrier.arc)
            return false;
        const Point one = a.carrier.tangent(a.carrier.foot(tip));
        const Point other = b.carrier.tangent(b.carrier.foot(tip));
        return std::fabs(fit::cross(one, other)) < kAcute
            && std::fabs(a.carrier.distance(tip)) < kStemAside * a.width
            && std::fabs(b.carrier.distance(tip)) < kStemAside * b.width;
    }

    void takeOut(int joint, int number)
    {
        std::vector<AtomEnd> &ends = web.meetings[std::size_t(joint)].ends;
        ends.erase(std::remove_if(ends.begin(), ends.end(),
                                  [&](const AtomEnd &end) { return end.atom == number; }),
                   ends.end());
    }

    // Three that meet, one of which is what the two others share up to a tip.
    bool takeStem(std::size_t joint)
    {
        const Meeting &meeting = web.meetings[joint];
        if (meeting.ends.size() != 3 || !meeting.through.empty())
            return false;
        for (std::size_t k = 0; k < 3; ++k) {
            const AtomEnd stem = meeting.ends[k];
            const AtomEnd one = meeting.ends[(k + 1) % 3];
            const AtomEnd other = meeting.ends[(k + 2) % 3];
            if (!isStem(stem, one, other))
                continue;
            Atom &gone = atom(stem.atom);
            takeOut(gone.joint[1 - stem.end], stem.atom);
            takeOut(int(joint), stem.atom);
            web.joints[joint].place = tipOf(gone, 1 - stem.end);
            web.joints[joint].kind = JointKind::Tip;
            gone.alive = false;
            gone.heir = one.atom;
            gone.samples = std::vector<Section>();
            return true;
        }
        return false;
    }

    static Point tipOf(const Atom &stem, int end)
    {
        return (end == 0 ? stem.samples.front() : stem.samples.back()).centre;
    }

    bool isStem(const AtomEnd &stem, const AtomEnd &one, const AtomEnd &other)
    {
        const Atom &shared = atom(stem.atom);
        if (one.atom == other.atom || !shared.alive || shared.samples.empty()
            || shared.dashing.type != DashType::None || !isTelling(one.atom)
            || !isTelling(other.atom)
            || double(shared.samples.size()) > kStemWidths * shared.width + kStemPixels
            || !isTipOf(shared.joint[1 - stem.end], stem.atom))
            return false;
        const Atom &a = atom(one.atom);
        const Atom &b = atom(other.atom);
        return touchNear(a, b, tipOf(shared, 1 - stem.end))
            && std::all_of(shared.samples.begin(), shared.samples.end(), [&](const Section &s) {
                   return std::fabs(a.carrier.distance(s.centre)) < kStemAside * a.width
                       && std::fabs(b.carrier.distance(s.centre)) < kStemAside * b.width;
               });
    }

    // One that goes through a joint on to its tip, and one that ends there and touches it.
    void takeThrough(std::size_t joint)
    {
        Meeting &meeting = web.meetings[joint];
        if (meeting.ends.size() != 1 || meeting.through.empty() || !isTelling(meeting.ends[0].atom))
            return;
        for (std::size_t k = 0; k < meeting.through.size(); ++k) {
            int number = meeting.through[k];
            while (number >= 0 && !atom(number).alive)
                number = atom(number).heir;
            if (number < 0 || number == meeting.ends[0].atom || !isTelling(number))
                continue;
            Atom &whole = atom(number);
            for (int end = 0; end < 2; ++end) {
                const Point tip = tipOf(whole, end);
                const Point at = web.joints[joint].place;
                if (!isTipOf(whole.joint[end], number)
                    || std::hypot(tip.x - at.x, tip.y - at.y)
                        > kStemWidths * whole.width + kStemPixels
                    || !touchNear(whole, atom(meeting.ends[0].atom), tip))
                    continue;
                takeOut(whole.joint[end], number);
                whole.joint[end] = int(joint);
                web.joints[joint].place = tip;
                web.joints[joint].kind = JointKind::Tip;
                meeting.ends.push_back({ number, end });
                meeting.through.erase(meeting.through.begin() + std::ptrdiff_t(k));
                return;
            }
        }
    }

    Web &web;
};

} // namespace

void takeCusps(Web *web)
{
    Cusps(web).take();
}

EndForm formOfTips(const Coverage &coverage, const Measure &measure, const Web &web)
{
    if (measure.taken > 0.0)
        return {};
    std::vector<FreeEnd> measured;
    std::vector<double> widths;
    for (std::size_t j = 0; j < web.joints.size(); ++j) {
        const Meeting &meeting = web.meetings[j];
        if (web.joints[j].kind != JointKind::Tip || meeting.ends.size() != 2
            || !meeting.through.empty())
            continue;
        const AtomEnd &end = meeting.ends[0];
        const Atom &one = web.atoms[std::size_t(end.atom)];
        const Atom &other = web.atoms[std::size_t(meeting.ends[1].atom)];
        const Point tip = web.joints[j].place;
        if (std::fabs(fit::cross(one.carrier.tangent(tip), other.carrier.tangent(tip))) > kTouching)
            continue;
        const Point last = (end.end == 0 ? one.samples.front() : one.samples.back()).centre;
        const double ahead = std::hypot(tip.x - last.x, tip.y - last.y) - one.width;
        measured.push_back(freeEndOf(coverage, one, end.end, ahead));
        widths.push_back(one.width);
    }
    return formOfEnds(measured, widths, measure.hard, false);
}

} // namespace ztrace::strokes
