// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/corners.h"

#include "strokes/carriers.h"
#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kLongest = 8.0;   // widths of a side that what is seen between two is long
const double kLeastSide = 3.0; // widths that a side is long
const double kLeastSine = 0.5; // between the sides; 30 degrees
const double kBackwards = 1.0; // widths that the crossing may lie before a side's last section
const double kBeyond = 0.3;    // widths of ink beyond the crossing: a rounded corner passes it by
const double kInInk = 0.5;     // widths beside the sides, and pixels, that all that is seen lies
const double kInInkPixels = 1.0;
const std::size_t kMostSides = 16; // at either joint: in hubs of thousands nothing is a cut corner

class CornerFinder
{
public:
    CornerFinder(const Coverage &c, Web *w) : coverage(c), web(*w) { }

    void find()
    {
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &part = web.atoms[k];
            if (isPlain(part))
                meetAround({ { int(k) }, { part.joint[0], part.joint[1] } });
        }
        for (std::size_t j = 0; j < web.joints.size(); ++j) {
            const Meeting &meeting = web.meetings[j];
            if (meeting.ends.size() != 2 || !meeting.through.empty())
                continue;
            const AtomEnd one = meeting.ends[0];
            const AtomEnd other = meeting.ends[1];
            if (one.atom != other.atom && isPlain(atom(one)) && isPlain(atom(other)))
                meetAround({ { one.atom, other.atom },
                             { atom(one).joint[1 - one.end], atom(other).joint[1 - other.end] } });
        }
    }

private:
    // What is seen around a corner: one atom or two, from joint to joint.
    struct Around
    {
        std::vector<int> parts;
        int joint[2];
        bool has(int number) const
        {
            return std::find(parts.begin(), parts.end(), number) != parts.end();
        }
    };

    static bool isPlain(const Atom &atom)
    {
        return atom.alive && atom.shape <= Shape::Arc && atom.dashing.type == DashType::None
            && atom.role == Role::Line && !atom.samples.empty();
    }

    const Atom &atom(const AtomEnd &end) const { return web.atoms[std::size_t(end.atom)]; }

    // The lines that end at a joint and are long enough to be the side of a corner.
    std::vector<AtomEnd> sidesAt(int joint, const Around &around) const
    {
        std::vector<AtomEnd> sides;
        for (const AtomEnd &end : web.meetings[std::size_t(joint)].ends) {
            const Atom &line = atom(end);
            if (!around.has(end.atom) && isPlain(line) && line.shape == Shape::Line
                && double(line.samples.size()) > kLeastSide * line.width)
                sides.push_back(end);
        }
        return sides;
    }

    void meetAround(const Around &around)
    {
        if (around.joint[0] < 0 || around.joint[1] < 0 || around.joint[0] == around.joint[1])
            return;
        const std::vector<AtomEnd> sides[]
            = { sidesAt(around.joint[0], around), sidesAt(around.joint[1], around) };
        if (sides[0].size() > kMostSides || sides[1].size() > kMostSides)
            return;
        for (const AtomEnd &a : sides[0]) {
            for (const AtomEnd &b : sides[1]) {
                Point place;
                if (a.atom == b.atom || !meets(around, a, b, &place))
                    continue;
                meetAt(around, a, b, place);
                return;
            }
        }
    }

    bool meets(const Around &around, const AtomEnd &a, const AtomEnd &b, Point *place) const
    {
        const Atom &one = atom(a);
        const Atom &other = atom(b);
        if (std::fabs(fit::cross(one.carrier.direction, other.carrier.direction)) < kLeastSine)
            return false;
        const Crossings crossings = crossingsOf(one.carrier, other.carrier);
        if (crossings.count == 0)
            return false;
        *place = crossings.place[0];
        return leadsTo(a, *place) && leadsTo(b, *place) && liesIn(around, one, other);
    }

    // Whether all that is seen is short and lies in the ink of the lines or beside it.
    bool liesIn(const Around &around, const Atom &one, const Atom &other) const
    {
        const double width = std::max(one.width, other.width);
        const double within = kInInk * width + kInInkPixels;
        std::size_t length = 0;
        for (int number : around.parts) {
            const std::vector<Section> &samples = web.atoms[std::size_t(number)].samples;
            length += samples.size();
            const auto isIn = [&](const Section &section) {
                return std::min(std::fabs(one.carrier.distance(section.centre)),
                                std::fabs(other.carrier.distance(section.centre)))
                    < within;
            };
            if (!std::all_of(samples.begin(), samples.end(), isIn))
                return false;
        }
        return double(length) <= kLongest * width;
    }

    // Whether a line goes on in ink to a place ahead and a bit beyond, but not far.
    bool leadsTo(const AtomEnd &end, Point place) const
    {
        const Atom &line = atom(end);
        const Point last = end.end == 0 ? line.samples.front().centre : line.samples.back().centre;
        const double ahead = fit::dot(place - last, outwardsOf(line, end.end));
        const double needed = ahead + kBeyond * line.width;
        return ahead > -kBackwards * line.width && ahead < kLongest * line.width
            && inkAhead(coverage, line, end.end, needed, 0.0) >= needed - 0.5;
    }

    void meetAt(const Around &around, const AtomEnd &a, const AtomEnd &b, Point place)
    {
        const int corner = int(web.joints.size());
        web.joints.push_back(
            { place, 0.5 * std::max(atom(a).width, atom(b).width), JointKind::Corner });
        web.meetings.emplace_back();
        web.meetings.back().ends = { a, b };
        const AtomEnd sides[] = { a, b };
        for (int k = 0; k < 2; ++k) {
            takeOut(around.joint[k], sides[k]);
            web.meetings[std::size_t(around.joint[k])].through.push_back(sides[k].atom);
            web.atoms[std::size_t(sides[k].atom)].joint[sides[k].end] = corner;
        }
        for (int number : around.parts) {
            Atom &part = web.atoms[std::size_t(number)];
            for (int end = 0; end < 2; ++end)
                takeOut(part.joint[end], { number, end });
            part.alive = false;
            part.heir = a.atom;
            part.samples = std::vector<Section>();
        }
    }

    void takeOut(int joint, const AtomEnd &gone)
    {
        std::vector<AtomEnd> &ends = web.meetings[std::size_t(joint)].ends;
        ends.erase(std::remove_if(ends.begin(), ends.end(),
                                  [&](const AtomEnd &end) {
                                      return end.atom == gone.atom && end.end == gone.end;
                                  }),
                   ends.end());
    }

    const Coverage &coverage;
    Web &web;
};

} // namespace

void meetInCutCorners(const Coverage &coverage, Web *web)
{
    CornerFinder(coverage, web).find();
}

} // namespace ztrace::strokes
