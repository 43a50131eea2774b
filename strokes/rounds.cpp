// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/rounds.h"

#include "strokes/ellipses.h"
#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kPi = 3.14159265358979323846;
const double kNumbersOfEllipse = 5;
const double kGoesOn = 0.8;          // cosine between an arc and the one that follows it
const double kLeastTurn = 1.3 * kPi; // radians that have been seen of a round
const double kWidthRatio = 1.45;     // of one pen, and pixels that its widths differ by at least
const double kWidthSlack = 1.2;
const double kInked = 0.5;       // coverage of the middle, and on both sides of it
const double kBeside = 0.3;      // widths to either side that have to be ink where nothing was seen
const double kLeastPart = 0.9;   // of the places around that have to be ink
const double kMostHidden = 0.35; // of the way around that lies under other lines at most
const double kNoCircle = 1.5;    // widths of the least radius
const double kOffPart = 0.6;     // widths that leftovers lie beside the middle at most
const std::size_t kMostParts = 200; // arcs of one round
// Widths and pixels of paper that a round may have in one place: one that is open is an arc,
// however little is missing. Crossings leave no paper, worn pens a width and six pixels.
const double kPaperWidths = 1.5;
const double kPaperPixels = 6.0;
const double kGrazing = 0.35;    // sine of the angle at which a line shares ink with a round
const double kMostShared = 0.25; // of the cross-sections that may see such lines as well

struct Part
{
    int atom;
    int end; // that the walk goes in by
    // The cross-sections that count.
    std::size_t first = 0;
    std::size_t last = 0;
};

// A circle or an ellipse with its cost in nats.
struct Round
{
    bool isCircle = false;
    fit::Primitive circle = {};
    fit::Piece ellipse = {};
    double cost = 1e300;

    double distance(Point p) const
    {
        return isCircle ? circle.distance(p) : distanceFrom(ellipse, p);
    }
};

class RoundFinder
{
public:
    RoundFinder(const Coverage &c, const Measure &m, Web *w) : coverage(c), measure(m), web(*w) { }

    void find()
    {
        std::vector<std::pair<std::size_t, int>> order;
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            if (isPart(web.atoms[k]))
                order.push_back({ web.atoms[k].samples.size(), int(k) });
        }
        std::sort(order.begin(), order.end(), [](const auto &a, const auto &b) {
            return a.first > b.first || (a.first == b.first && a.second < b.second);
        });
        seen.assign(web.atoms.size(), false);
        for (const auto &entry : order) {
            if (!seen[std::size_t(entry.second)] && isPart(atom(entry.second)))
                growFrom(entry.second);
        }
    }

private:
    Atom &atom(int number) { return web.atoms[std::size_t(number)]; }
    const Atom &atom(int number) const { return web.atoms[std::size_t(number)]; }

    static bool isPart(const Atom &atom)
    {
        return atom.alive && atom.shape == Shape::Arc && atom.dashing.type == DashType::None
            && atom.role == Role::Line && atom.samples.size() > 2;
    }

    // Whether an arc turns as x does into y when the walk goes in by an end.
    bool turnsLeft(const Part &part) const
    {
        return (sweepOf(atom(part.atom).samples, atom(part.atom).carrier.point).turned > 0)
            == (part.end == 0);
    }

    bool isOnePen(const Atom &a, const Atom &b) const
    {
        const double thin = std::min(a.width, b.width);
        const double thick = std::max(a.width, b.width);
        return thick < kWidthRatio * thin || thick - thin < kWidthSlack;
    }

    // Unit tangent out of an end where its carrier passes the joint: small arcs turn far on the
    // way.
    Point leaving(const Atom &arc, int end) const
    {
        const Point last = end == 0 ? arc.samples.front().centre : arc.samples.back().centre;
        const Point out = outwardsOf(arc, end);
        const Point at = web.joints[std::size_t(arc.joint[end])].place;
        const Point tangent = arc.carrier.tangent(at);
        const bool same = fit::dot(arc.carrier.tangent(last), out) > 0;
        return same ? tangent : -1.0 * tangent;
    }

    // The arc that goes on best where a part ends; -1 for none.
    Part following(const Part &part) const
    {
        Part best = { -1, 0, 0, 0 };
        const Atom &last = atom(part.atom);
        const int out = 1 - part.end;
        if (last.joint[out] < 0)
            return best;
        double straightest = kGoesOn;
        for (const AtomEnd &other : web.meetings[std::size_t(last.joint[out])].ends) {
            const Atom &next = atom(other.atom);
            if (other.atom == part.atom || !isPart(next) || !isOnePen(last, next)
                || turnsLeft({ other.atom, other.end, 0, 0 }) != turnsLeft(part))
                continue;
            const double straight = -fit::dot(leaving(last, out), leaving(next, other.end));
            if (straight > straightest) {
                straightest = straight;
                best = { other.atom, other.end, 0, 0 };
            }
        }
        return best;
    }

    // True where the walk comes back to its begin.
    bool walk(std::vector<Part> *parts) const
    {
        while (parts->size() < kMostParts) {
            const Part next = following(parts->back());
            if (next.atom < 0)
                return false;
            for (const Part &part : *parts) {
                if (part.atom == next.atom)
                    return next.atom == parts->front().atom && parts->size() > 1;
            }
            parts->push_back(next);
        }
        return false;
    }

    void growFrom(int number)
    {
        std::vector<Part> parts = { { number, 0, 0, 0 } };
        const bool closed = walk(&parts);
        if (!closed) {
            std::reverse(parts.begin(), parts.end());
            for (Part &part : parts)
                part.end = 1 - part.end;
            walk(&parts);
        }
        // What is met where a circle touches another line may lead astray.
        if (!tryAll(parts) && parts.size() > 1)
            tryAll({ { number, 0, 0, 0 } });
        for (const Part &part : parts)
            seen[std::size_t(part.atom)] = true;
    }

    bool tryAll(std::vector<Part> parts)
    {
        std::vector<Section> samples;
        double apart = 0.0;
        double turned = 0.0;
        for (Part &part : parts) {
            const Atom &one = atom(part.atom);
            part.first = 0;
            part.last = one.samples.size();
            samples.insert(samples.end(), one.samples.begin(), one.samples.end());
            if (part.end == 1)
                std::reverse(samples.end() - std::ptrdiff_t(one.samples.size()), samples.end());
            apart += one.cost + measure.lambda * kNumbersOfJoint;
            turned += std::fabs(sweepOf(one.samples, one.carrier.point).turned);
        }
        if (turned < kLeastTurn)
            return false;
        Round round = roundOf(parts);
        if (!(round.cost < apart) && leaveOutShared(&parts))
            round = roundOf(parts);
        if (!(round.cost < apart) || !isInked(round, samples, atom(parts[0].atom).width))
            return false;
        take(parts, round, std::move(samples));
        return true;
    }

    // Whether another line runs into an end of a part and goes along with it for a while.
    bool isGrazed(const Part &part, int end) const
    {
        const Atom &one = atom(part.atom);
        if (one.joint[end] < 0)
            return false;
        const Meeting &meeting = web.meetings[std::size_t(one.joint[end])];
        const Point place = web.joints[std::size_t(one.joint[end])].place;
        const Point out = one.carrier.tangent(place);
        const auto isAlong = [&](int number) {
            const Atom &other = atom(number);
            return number != part.atom && other.alive && other.shape == Shape::Line
                && std::fabs(fit::cross(out, other.carrier.direction)) < kGrazing;
        };
        return std::any_of(meeting.ends.begin(), meeting.ends.end(),
                           [&](const AtomEnd &other) { return isAlong(other.atom); })
            || std::any_of(meeting.through.begin(), meeting.through.end(), isAlong);
    }

    // Leaves out what sees a line as well that touches the round: as long as both are nearer than
    // their width.
    bool leaveOutShared(std::vector<Part> *parts) const
    {
        std::size_t all = 0;
        std::size_t shared = 0;
        for (Part &part : *parts) {
            const Atom &one = atom(part.atom);
            const std::size_t n = one.samples.size();
            const double both = std::sqrt(2 * one.carrier.radius * one.width) + one.width;
            const std::size_t most = std::size_t(std::min(both, double(n)));
            part.first = isGrazed(part, 0) ? most : 0;
            part.last = isGrazed(part, 1) ? n - most : n;
            part.last = std::max(part.first, part.last);
            all += n;
            shared += n - (part.last - part.first);
        }
        return shared > 0 && double(shared) < kMostShared * double(all);
    }

    // Each part for itself: a long one has slack that could hide a short one that lies off.
    double costOf(const std::vector<Part> &parts, const Round &round, double numbers) const
    {
        double cost = measure.lambda * numbers;
        for (const Part &part : parts) {
            double chi2 = 0.0;
            for (std::size_t k = part.first; k < part.last; ++k) {
                const double d = round.distance(atom(part.atom).samples[k].centre);
                chi2 += d * d * measure.weight();
            }
            cost += measure.misfit(chi2, double(part.last - part.first));
        }
        return cost;
    }

    Round roundOf(const std::vector<Part> &parts) const
    {
        std::vector<Section> samples;
        for (const Part &part : parts) {
            const std::vector<Section> &own = atom(part.atom).samples;
            samples.insert(samples.end(), own.begin() + std::ptrdiff_t(part.first),
                           own.begin() + std::ptrdiff_t(part.last));
        }
        Round circle;
        circle.isCircle = true;
        circle.circle = atom(parts[0].atom).carrier;
        polishCircle(samples, &circle.circle);
        circle.cost = costOf(parts, circle, kNumbersOfArc);
        Round ellipse;
        if (!ellipseOf(samples, &ellipse.ellipse))
            return circle;
        ellipse.cost = costOf(parts, ellipse, kNumbersOfEllipse);
        const double least = circle.circle.radius;
        return circle.cost <= ellipse.cost && least > kNoCircle * atom(parts[0].atom).width
            ? circle
            : ellipse;
    }

    static Point placeOn(const Round &round, double angle)
    {
        if (!round.isCircle)
            return pointOn(round.ellipse, angle);
        return round.circle.point
            + round.circle.radius * Point { std::cos(angle), std::sin(angle) };
    }

    static double angleOn(const Round &round, Point p)
    {
        const Point d = p - round.circle.point;
        return round.isCircle ? std::atan2(d.y, d.x) : angleAt(round.ellipse, p);
    }

    // Whether there is ink all the way around: the middle of a pen's width where nothing of the
    // round itself was seen, else at least the middle.
    bool isInked(const Round &round, const std::vector<Section> &samples, double width) const
    {
        const double longest = round.isCircle ? round.circle.radius : round.ellipse.half[0];
        const int places = std::clamp(int(2 * kPi * longest), 24, 4000);
        std::vector<bool> known(std::size_t(places), false);
        for (const Section &section : samples) {
            const double turn = angleOn(round, section.centre) / (2 * kPi);
            const int at = int((turn - std::floor(turn)) * places) % places;
            for (int k = -2; k <= 2; ++k)
                known[std::size_t((at + k + places) % places)] = true;
        }
        int inked = 0;
        int hidden = 0;
        for (int k = 0; k < places; ++k) {
            const double angle = 2 * kPi * (k + 0.5) / places;
            const Point p = placeOn(round, angle);
            bool ink = coverage.at(p) >= kInked;
            if (!known[std::size_t(k)]) {
                ++hidden;
                const Point ahead = placeOn(round, angle + 1e-4);
                const double step = std::hypot(ahead.x - p.x, ahead.y - p.y);
                const Point normal
                    = (kBeside * width / step) * Point { p.y - ahead.y, ahead.x - p.x };
                ink = ink && coverage.at(p + normal) >= kInked && coverage.at(p - normal) >= kInked;
            }
            inked += ink ? 1 : 0;
        }
        return inked >= kLeastPart * places && hidden <= kMostHidden * places
            && mostPaper(round, places) <= kPaperWidths * width + kPaperPixels;
    }

    // Pixels of the longest stretch of paper on the way around.
    double mostPaper(const Round &round, int places) const
    {
        double longest = 0.0;
        double open = 0.0;
        Point last = placeOn(round, 0.0);
        // Twice around: a stretch may begin before the end.
        for (int k = 1; k <= 2 * places; ++k) {
            const Point p = placeOn(round, 2 * kPi * k / places);
            open = coverage.at(p) < kInked ? open + std::hypot(p.x - last.x, p.y - last.y) : 0.0;
            longest = std::max(longest, open);
            last = p;
        }
        return longest;
    }

    void take(const std::vector<Part> &parts, const Round &round, std::vector<Section> samples)
    {
        Atom whole;
        whole.samples = std::move(samples);
        refit(&whole, measure);
        whole.cost = round.cost;
        whole.shape = round.isCircle ? Shape::Circle : Shape::Ellipse;
        if (round.isCircle)
            whole.carrier = round.circle;
        whole.ellipse = round.ellipse;
        const int heir = int(web.atoms.size());
        std::vector<int> joints;
        for (const Part &part : parts) {
            for (int end = 0; end < 2; ++end)
                joints.push_back(atom(part.atom).joint[end]);
            give(part.atom, heir);
        }
        dropLeftOvers(joints, round, whole.width, heir);
        web.atoms.push_back(std::move(whole));
        seen.push_back(true);
    }

    // An atom becomes part of another one, which goes through where it ended.
    void give(int number, int heir)
    {
        Atom &gone = atom(number);
        for (int end = 0; end < 2; ++end) {
            if (gone.joint[end] < 0)
                continue;
            Meeting &meeting = web.meetings[std::size_t(gone.joint[end])];
            std::vector<AtomEnd> &ends = meeting.ends;
            ends.erase(std::remove_if(ends.begin(), ends.end(),
                                      [number](const AtomEnd &e) { return e.atom == number; }),
                       ends.end());
            meeting.through.push_back(heir);
        }
        gone.alive = false;
        gone.heir = heir;
        gone.samples = std::vector<Section>();
    }

    // Where the round touches another line, what was seen of both at once lies between them: from
    // joint to joint of the round, and within its ink.
    void dropLeftOvers(const std::vector<int> &joints, const Round &round, double width, int heir)
    {
        const auto isOurs = [&joints](int joint) {
            return joint >= 0 && std::find(joints.begin(), joints.end(), joint) != joints.end();
        };
        std::vector<int> leftOver;
        for (int joint : joints) {
            if (joint < 0)
                continue;
            for (const AtomEnd &end : web.meetings[std::size_t(joint)].ends) {
                const Atom &other = atom(end.atom);
                if (other.alive && isOurs(other.joint[0]) && isOurs(other.joint[1])
                    && std::all_of(
                        other.samples.begin(), other.samples.end(), [&](const Section &section) {
                            return std::fabs(round.distance(section.centre)) < kOffPart * width;
                        }))
                    leftOver.push_back(end.atom);
            }
        }
        for (int number : leftOver) {
            if (atom(number).alive)
                give(number, heir);
        }
    }

    const Coverage &coverage;
    const Measure &measure;
    Web &web;
    std::vector<bool> seen;
};

} // namespace

void takeRounds(const Coverage &coverage, const Measure &measure, Web *web)
{
    RoundFinder(coverage, measure, web).find();
}

} // namespace ztrace::strokes
