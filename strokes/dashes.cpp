// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashes.h"

#include "strokes/dashheir.h"
#include "strokes/dashrow.h"
#include "strokes/ends.h"
#include "strokes/track.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kCell = 32.0;       // pixels of the grid that ends are looked up in
const double kReachWidths = 9.0; // widths, and pixels, to the next dash: a gap, a dot and a gap
const double kReachPixels = 8.0;
const double kMostReach = 160.0; // pixels
const double kMostLength = 60.0; // widths of a dash
const double kOffWidths = 0.3;   // widths and pixels that a dash may lie beside the carrier
const double kOffPixels = 0.7;
const double kOffAhead = 0.12; // of the way to it, while the carrier has few dashes
const std::size_t kFew = 4;
const double kTurn = 0.12; // sine between dash and carrier, and pixels of error at its ends
const double kTurnPixels = 1.0;
const double kWidthPart = 0.4; // of the width that dashes differ by, and pixels
const double kWidthPixels = 1.0;
const double kRms = 0.35; // pixels, and sigmas, that the dashes' middles lie off
const double kRmsSigmas = 2.0;
const double kDotLength = 0.6; // widths between the outermost cross-sections of a dot
const double kDotWeight = 4.0; // cross-sections that a dot counts as
const double kDotWidths = 2.6; // widths of a line that a dot is long at most, and pixels
const double kDotPixels = 2.0;
const double kShortWidths = 3.0;  // widths of a dash that is short
const double kAloneWidths = 4.0;  // widths around a short dash that are looked at for specks
const double kMostCrowded = 0.4;  // part of the short dashes beside which there may be some
const double kMostCorners = 0.4;  // part of the inner ends of a row that are corners
const std::size_t kFewDots = 5;   // that a circle through them says nothing
const double kWornInk = 0.5;      // part of a line in pieces that is there
const double kWornGaps = 0.6;     // part of the gaps of a worn line that are short enough
const double kWornLength = 6.0;   // widths of a line that is put together of pieces
const std::size_t kMostTries = 4; // candidates that are looked at for the next dash

int cellAt(double v)
{
    return int(std::floor(v / kCell));
}

class DashFinder
{
public:
    DashFinder(const Coverage &c, const Measure &m, const GapLimits &g, Web *w)
        : coverage(c), measure(m), gaps(g), web(*w)
    { }

    void find(const std::vector<Dot> &dots)
    {
        takeAtoms();
        takeDots(dots);
        for (std::size_t k = 0; k < dashes.size(); ++k) {
            for (int end = 0; end < 2; ++end) {
                enter(int(k), end);
                if (dashes[k].isDot())
                    break;
            }
        }
        growAll();
        if (!gaps.worn)
            return;
        // Only what is left of all dashed lines may be a worn one.
        takesWorn = true;
        for (Dash &one : dashes)
            one.isTried = false;
        growAll();
    }

private:
    void growAll()
    {
        for (std::size_t k = 0; k < dashes.size(); ++k) {
            if (!dashes[k].isDot() && !dashes[k].isUsed && !dashes[k].isTried)
                growFrom(int(k));
        }
        for (std::size_t k = 0; k < dashes.size(); ++k) {
            if (dashes[k].isDot() && !dashes[k].isUsed && !dashes[k].isTried)
                growFromDot(int(k));
        }
    }

    Dash &dash(int number) { return dashes[std::size_t(number)]; }
    const Dash &dash(int number) const { return dashes[std::size_t(number)]; }

    void enter(int number, int end)
    {
        const Point p = dash(number).end[end];
        grid[keyOf(cellAt(p.x), cellAt(p.y))].push_back(2 * number + end);
    }

    void takeAtoms()
    {
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &atom = web.atoms[k];
            if (!atom.alive || atom.shape > Shape::Arc || atom.samples.size() < 2
                || atom.role != Role::Line)
                continue;
            Dash one;
            one.end[0] = atom.samples.front().centre;
            one.end[1] = atom.samples.back().centre;
            one.width = atom.width;
            one.atom = int(k);
            one.moments = atom.moments;
            const double length = one.length();
            if (length < kDotLength * atom.width) {
                // As good as round: it tells no direction.
                const Point middle = atom.samples[atom.samples.size() / 2].centre;
                dashes.push_back(dotAt(middle, atom.width, int(k)));
                continue;
            }
            if (!(length > 0.5) || length > kMostLength * std::max(2.0, atom.width))
                continue;
            one.axis = (1 / length) * (one.end[1] - one.end[0]);
            dashes.push_back(one);
        }
    }

    Dash dotAt(Point centre, double width, int atom) const
    {
        Dash one;
        one.end[0] = one.end[1] = centre;
        one.width = width;
        one.atom = atom;
        one.moments.ox = centre.x;
        one.moments.oy = centre.y;
        addTo(&one.moments, centre, kDotWeight * measure.weight());
        return one;
    }

    void takeDots(const std::vector<Dot> &dots)
    {
        for (const Dot &dot : dots) {
            dashes.push_back(dotAt(dot.centre, std::sqrt(dot.length[0] * dot.length[1]), -1));
        }
    }

    bool isOnePen(double width, const Dash &other) const
    {
        if (other.isDot())
            return other.width < kDotWidths * width + kDotPixels
                && other.width > width / kDotWidths - kDotPixels;
        return std::fabs(width - other.width) < kWidthPart * width + kWidthPixels;
    }

    bool isIn(const Chain &chain, int number) const
    {
        return inChain[std::size_t(number)] == stamp && !chain.dashes.empty();
    }

    // Dashes ahead of a place, the best first.
    std::vector<Next> candidates(const Chain &chain, Point from, Point heading) const
    {
        std::vector<Next> found;
        const double reach = std::min(kMostReach, kReachWidths * chain.width + kReachPixels);
        const double straying = chain.dashes.size() < kFew ? kOffAhead : 0.3 * kOffAhead;
        for (int y = cellAt(from.y - reach); y <= cellAt(from.y + reach); ++y) {
            for (int x = cellAt(from.x - reach); x <= cellAt(from.x + reach); ++x) {
                const auto cell = grid.find(keyOf(x, y));
                if (cell == grid.end())
                    continue;
                for (int entry : cell->second) {
                    const Dash &other = dash(entry / 2);
                    const int near = entry % 2;
                    const Point way = other.end[near] - from;
                    const double ahead = fit::dot(way, heading);
                    if (other.isUsed || ahead < 0.5 || ahead > reach
                        || !isOnePen(chain.width, other))
                        continue;
                    const double off = kOffWidths * chain.width + kOffPixels + straying * ahead;
                    const double beside = std::fabs(chain.carrier.distance(other.end[near]));
                    if (beside > off || !goesAlong(chain, other, near, heading))
                        continue;
                    found.push_back({ entry / 2, near, ahead + 4 * beside });
                }
            }
        }
        std::sort(found.begin(), found.end(), [](const Next &a, const Next &b) {
            return a.rank < b.rank || (a.rank == b.rank && a.dash < b.dash);
        });
        return found;
    }

    static bool goesAlong(const Chain &chain, const Dash &other, int near, Point heading)
    {
        if (other.isDot())
            return true;
        const Point axis = near == 0 ? other.axis : -1.0 * other.axis;
        const Point middle = 0.5 * (other.end[0] + other.end[1]);
        Point tangent = chain.carrier.tangent(middle);
        if (fit::dot(tangent, heading) < 0)
            tangent = -1.0 * tangent;
        const double few = chain.dashes.size() < kFew ? 1.0 : 0.5;
        return fit::dot(axis, tangent) > 0.5
            && std::fabs(fit::cross(axis, tangent))
            < few * kTurn + kTurnPixels / std::max(1.0, other.length());
    }

    // The walk's last place and the way it goes on.
    Point lastOf(const Chain &chain) const
    {
        const Next &last = chain.dashes.back();
        return dash(last.dash).end[1 - last.near];
    }

    Point headingOf(const Chain &chain) const
    {
        const Next &last = chain.dashes.back();
        const Point at = lastOf(chain);
        Point before = dash(last.dash).end[last.near];
        if (chain.dashes.size() > 1 && lengthOf(at - before) < 2.0) {
            const Next &other = chain.dashes[chain.dashes.size() - 2];
            before = dash(other.dash).end[other.near];
        }
        Point tangent = chain.carrier.tangent(at);
        if (fit::dot(tangent, at - before) < 0)
            tangent = -1.0 * tangent;
        return tangent;
    }

    // Whether the chain and a dash are on one line or arc; the chain then has it.
    bool append(Chain *chain, const Next &next)
    {
        const Dash &other = dash(next.dash);
        const fit::Moments sum = together(chain->moments, other.moments);
        fit::Primitive carrier = {};
        double cost = 0.0;
        const Next &front = chain->dashes.front();
        const Point first = dash(front.dash).end[front.near];
        const Point last = other.end[1 - next.near];
        if (!cheapest(sum, measure, first, last, &carrier, &cost))
            return false;
        // A few dots lie on any circle.
        if (carrier.arc && chain->areDots && other.isDot() && chain->dashes.size() < kFewDots)
            carrier = fit::lineOf(sum, fit::lineMoments(sum), first, last);
        const double rms = std::sqrt(std::max(0.0, carrier.chi2) / sum.w);
        if (rms > kRms + kRmsSigmas * measure.sigma)
            return false;
        if (carrier.arc && carrier.radius < 3 * chain->width)
            return false;
        chain->moments = sum;
        chain->carrier = carrier;
        chain->dashes.push_back(next);
        chain->areDots = chain->areDots && other.isDot();
        inChain[std::size_t(next.dash)] = stamp;
        return true;
    }

    void grow(Chain *chain)
    {
        for (bool grown = true; grown;) {
            grown = false;
            const std::vector<Next> ahead = candidates(*chain, lastOf(*chain), headingOf(*chain));
            std::size_t tries = 0;
            for (const Next &next : ahead) {
                if (next.dash == chain->dashes.front().dash && chain->dashes.size() > 2
                    && chain->carrier.arc) {
                    chain->closed = true;
                    return;
                }
                if (isIn(*chain, next.dash))
                    continue;
                if (++tries > kMostTries)
                    break;
                if (append(chain, next)) {
                    grown = true;
                    break;
                }
            }
        }
    }

    static void turnAround(Chain *chain)
    {
        std::reverse(chain->dashes.begin(), chain->dashes.end());
        for (Next &next : chain->dashes)
            next.near = 1 - next.near;
    }

    void beginChain()
    {
        inChain.resize(dashes.size(), 0);
        ++stamp;
    }

    void growFrom(int number)
    {
        beginChain();
        Chain chain;
        chain.dashes.push_back({ number, 0, 0.0 });
        inChain[std::size_t(number)] = stamp;
        chain.moments = dash(number).moments;
        chain.carrier = web.atoms[std::size_t(dash(number).atom)].carrier;
        chain.width = dash(number).width;
        growBothWays(&chain);
    }

    void growFromDot(int number)
    {
        const Dash &seed = dash(number);
        const double reach = kReachWidths * seed.width + kReachPixels;
        std::vector<Next> near;
        for (int y = cellAt(seed.end[0].y - reach); y <= cellAt(seed.end[0].y + reach); ++y) {
            for (int x = cellAt(seed.end[0].x - reach); x <= cellAt(seed.end[0].x + reach); ++x) {
                const auto cell = grid.find(keyOf(x, y));
                if (cell == grid.end())
                    continue;
                for (int entry : cell->second) {
                    const Dash &other = dash(entry / 2);
                    const double away = lengthOf(other.end[0] - seed.end[0]);
                    if (entry / 2 != number && other.isDot() && !other.isUsed && away < reach
                        && away > 1.0 && isOnePen(seed.width, other))
                        near.push_back({ entry / 2, 0, away });
                }
            }
        }
        std::sort(near.begin(), near.end(), [](const Next &a, const Next &b) {
            return a.rank < b.rank || (a.rank == b.rank && a.dash < b.dash);
        });
        near.resize(std::min(near.size(), kMostTries));
        for (const Next &other : near) {
            if (dash(number).isUsed || dash(number).isTried)
                return;
            beginChain();
            Chain chain;
            chain.dashes = { { number, 0, 0.0 } };
            chain.moments = dash(number).moments;
            chain.width = dash(number).width;
            chain.areDots = true;
            inChain[std::size_t(number)] = stamp;
            if (append(&chain, other))
                growBothWays(&chain);
        }
        dash(number).isTried = true;
    }

    void growBothWays(Chain *chain)
    {
        grow(chain);
        if (!chain->closed) {
            turnAround(chain);
            grow(chain);
        }
        if (chain->dashes.size() >= 3 && accept(*chain))
            return;
        if (takesWorn && takeWorn(*chain))
            return;
        for (const Next &next : chain->dashes) {
            if (!dash(next.dash).isDot() || chain->dashes.size() > kFewDots)
                dash(next.dash).isTried = true;
        }
    }

    // Looks at the ink along the carrier.
    bool accept(const Chain &chain)
    {
        const Next &front = chain.dashes.front();
        const Next &back = chain.dashes.back();
        const Point first = dash(front.dash).end[front.near];
        const Point last = dash(back.dash).end[1 - back.near];
        const Next &second = chain.dashes[1];
        const Dash &two = dash(second.dash);
        const Track track(chain.carrier, first, 0.5 * (two.end[0] + two.end[1]));
        const double width = widthOf(chain);
        const double beyond = 0.5 * width + 2.0;
        std::vector<Run> runs;
        if (chain.closed) {
            // From the middle of a gap to the same place again.
            const double gap = 0.5 * (track.whole() + track.lengthAt(last));
            const double start = gap - track.whole();
            runs = inkAlong(track, coverage, start, gap, width);
        } else {
            const double to = track.lengthAt(last);
            runs = inkAlong(track, coverage, -beyond, to + beyond, width);
            trimEnds(0.0, to, &runs);
        }
        Dashing dashing = dashingOf(runs, width, chain.closed ? track.whole() : 0.0);
        if (dashing.type == DashType::None || areSides(chain)
            || (dashing.pattern[0] < kShortWidths * width + kDotPixels && !isAlone(chain)))
            return false;
        const Point ends[] = { track.placeAt(runs.front().from), track.placeAt(runs.back().to) };
        becomeOne(chain, dashing, width, ends, measure, &dashes, &web);
        return true;
    }

    // Whether the ends that face each other are corners with lines of other directions: then they
    // are the sides of shapes in a row.
    bool areSides(const Chain &chain) const
    {
        std::size_t corners = 0;
        std::size_t inner = 0;
        for (std::size_t k = 0; k < chain.dashes.size(); ++k) {
            const Dash &one = dash(chain.dashes[k].dash);
            if (one.atom < 0)
                continue;
            for (int end = 0; end < 2; ++end) {
                const bool isFirst = k == 0 && end == chain.dashes[k].near;
                const bool isLast = k + 1 == chain.dashes.size() && end != chain.dashes[k].near;
                if (!chain.closed && (isFirst || isLast))
                    continue;
                ++inner;
                corners += isCorner(chain, web.atoms[std::size_t(one.atom)].joint[end]) ? 1u : 0u;
            }
        }
        return double(corners) > kMostCorners * double(inner);
    }

    // Whether something ends at a joint that is long and goes off the chain, and nothing goes on.
    bool isCorner(const Chain &chain, int joint) const
    {
        if (joint < 0)
            return false;
        const Meeting &meeting = web.meetings[std::size_t(joint)];
        return meeting.through.empty()
            && std::any_of(meeting.ends.begin(), meeting.ends.end(), [&](const AtomEnd &end) {
                   const Atom &atom = web.atoms[std::size_t(end.atom)];
                   const Point far
                       = (end.end == 0 ? atom.samples.back() : atom.samples.front()).centre;
                   return double(atom.samples.size()) > chain.width
                       && std::fabs(chain.carrier.distance(far)) > 2 * chain.width;
               });
    }

    // Parts of a chain between which there is next to nothing are one line that has come to pieces,
    // if most of it is there.
    bool takeWorn(const Chain &chain)
    {
        const double allowed = gaps.of(widthOf(chain));
        const std::size_t count = chain.dashes.size();
        std::vector<bool> goesOn(count, false);
        for (std::size_t k = 0; k + 1 < count; ++k) {
            const Next &after = chain.dashes[k + 1];
            const Point way = dash(after.dash).end[after.near] - endOf(chain.dashes[k]);
            goesOn[k] = lengthOf(way) < allowed + dash(chain.dashes[k].dash).width;
        }
        // Where only some gaps are narrow, they belong to dashes that noise has stretched.
        const auto narrow = std::count(goesOn.begin(), goesOn.end(), true);
        if (double(narrow) < kWornGaps * double(count - 1))
            return false;
        bool taken = false;
        Chain part;
        double ink = 0.0;
        for (std::size_t k = 0; k < count; ++k) {
            const Next &next = chain.dashes[k];
            part.dashes.push_back(next);
            ink += dash(next.dash).length() + dash(next.dash).width;
            if (goesOn[k])
                continue;
            taken = takePart(part, ink) || taken;
            part = Chain();
            ink = 0.0;
        }
        return taken;
    }

    Point endOf(const Next &next) const { return dash(next.dash).end[1 - next.near]; }

    bool takePart(const Chain &part, double ink)
    {
        const Next &front = part.dashes.front();
        const Point ends[] = { dash(front.dash).end[front.near], endOf(part.dashes.back()) };
        const double length = lengthOf(ends[1] - ends[0]);
        const double width = widthOf(part);
        const bool hasBody = std::any_of(part.dashes.begin(), part.dashes.end(),
                                         [this](const Next &n) { return !dash(n.dash).isDot(); });
        if (part.dashes.size() < 2 || !hasBody || length < kWornLength * width
            || ink < kWornInk * length)
            return false;
        becomeOne(part, Dashing(), width, ends, measure, &dashes, &web);
        return true;
    }

    // Short dashes say little by themselves: rows of them are found in every scatter of specks, but
    // there other specks lie beside them.
    bool isAlone(const Chain &chain) const
    {
        const double reach = std::min(kMostReach, kAloneWidths * chain.width + kReachPixels);
        std::size_t crowded = 0;
        for (const Next &next : chain.dashes)
            crowded += hasCompany(chain, dash(next.dash).end[next.near], reach) ? 1u : 0u;
        return double(crowded) <= kMostCrowded * double(chain.dashes.size());
    }

    bool hasCompany(const Chain &chain, Point at, double reach) const
    {
        for (int y = cellAt(at.y - reach); y <= cellAt(at.y + reach); ++y) {
            for (int x = cellAt(at.x - reach); x <= cellAt(at.x + reach); ++x) {
                const auto cell = grid.find(keyOf(x, y));
                if (cell == grid.end())
                    continue;
                for (int entry : cell->second) {
                    if (isStrange(chain, entry, at, reach))
                        return true;
                }
            }
        }
        return false;
    }

    // Dots beside the chain that are of no chain.
    bool isStrange(const Chain &chain, int entry, Point at, double reach) const
    {
        const Dash &other = dash(entry / 2);
        return other.length() < reach && !other.isUsed && !isIn(chain, entry / 2)
            && std::fabs(chain.carrier.distance(other.end[entry % 2])) > chain.width
            && lengthOf(other.end[entry % 2] - at) < reach;
    }

    // What begins only beyond the last dash is not of this row.
    static void trimEnds(double from, double to, std::vector<Run> *runs)
    {
        while (!runs->empty() && runs->back().from > to + 1.0)
            runs->pop_back();
        while (!runs->empty() && runs->front().to < from - 1.0)
            runs->erase(runs->begin());
    }

    double widthOf(const Chain &chain) const
    {
        std::vector<double> widths;
        for (const Next &next : chain.dashes) {
            if (!dash(next.dash).isDot())
                widths.push_back(dash(next.dash).width);
        }
        if (widths.empty()) {
            for (const Next &next : chain.dashes)
                widths.push_back(dash(next.dash).width);
        }
        const auto middle = widths.begin() + std::ptrdiff_t(widths.size() / 2);
        std::nth_element(widths.begin(), middle, widths.end());
        return *middle;
    }

    const Coverage &coverage;
    const Measure &measure;
    const GapLimits gaps;
    Web &web;
    std::vector<Dash> dashes;
    Grid grid;
    std::vector<int> inChain;
    int stamp = 0;
    bool takesWorn = false;
};

} // namespace

void joinDashes(const Coverage &coverage, const Measure &measure, const GapLimits &gaps,
                const std::vector<Dot> &dots, Web *web)
{
    DashFinder(coverage, measure, gaps, web).find(dots);
}

} // namespace ztrace::strokes
