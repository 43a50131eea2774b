// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashes.h"

#include "strokes/dashchains.h"
#include "strokes/dashends.h"
#include "strokes/dashheir.h"
#include "strokes/dashparting.h"
#include "strokes/ends.h"
#include "strokes/track.h"
#include "strokes/worntypes.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

const double kShortWidths = 3.0; // widths, and pixels, of a dash that is short
const double kShortPixels = 2.0;
const double kAloneWidths = 4.0; // widths around a short dash that are looked at for specks
const double kMostCrowded = 0.4; // part of the short dashes beside which there may be some
const double kMostCorners = 0.4; // part of the inner ends of a row that are corners
// The same with those at which another line stops the row: a gap of centre lines may begin there.
const double kMostStops = 0.75;
// Widths that the far end of a line lies off a row that it bends away from: the rounded corners of
// boxes are not much larger than that.
const double kOffWidths = 1.2;
// Usual gaps, and pixels, that the longest gap of a dashed circle is long.
const double kLongGap = 1.5;
const double kLongGapPixels = 3.0;
const double kBreakPart = 0.4; // of the usual gap of a row, that breaks of its dashes are short of
// How a row goes on: parts of its dash and gap that have ink, the part of a dash that its end may
// be behind its place, pixels beside its ends that belong to it, and dashes of a row at most.
const double kNextDash = 0.6;
const double kNextGap = 0.5;
const double kBesideRow = 2.0;
const double kWornInk = 0.5;    // part of a line in pieces that is there
const double kWornGaps = 0.6;   // part of the gaps of a worn line that are short enough
const double kWornLength = 6.0; // widths of a line that is put together of pieces
// A line is broken where less of its pieces than that part was ink before it was bridged: pixels of
// gaps between them, the part that is there, and the reach over which its dashes are told.
const double kBrokenInk = 0.9;
const double kBrokenGap = 28.0;
const double kBrokenPart = 0.25;
const double kBrokenBlur = 3.0;
const double kBrokenAside = 0.7; // pixels that its ink may lie beside the middle
const double kReachPixels = 8.0; // and widths, from a short dash
const double kMostReach = 160.0;

// How a clean row goes on under or into what is not its own: parts of its dash that are ink, and of
// its gap that are.
const double kSureDash = 0.9;
const double kSureGap = 0.15;

class DashFinder
{
public:
    DashFinder(const DashInk &i, const Measure &m, const GapLimits &g, const std::vector<Dot> &dots,
               Web *w)
        : coverage(i.measured), bare(i.bare), measure(m), gaps(g), web(*w), chains(m, w, dots)
    { }

    void find()
    {
        growAll();
        takeRowsOnCircles(&web);
        if (!gaps.worn)
            return;
        // Only what is left of all dashed lines may be a worn one.
        takesWorn = true;
        for (Dash &one : chains.dashes)
            one.isTried = false;
        growAll();
        takeRowsOnCircles(&web);
    }

private:
    void growAll()
    {
        const auto isLeft = [](const Dash &one) { return !one.isUsed && !one.isTried; };
        for (std::size_t k = 0; k < chains.dashes.size(); ++k) {
            if (!chains.dashes[k].isDot() && isLeft(chains.dashes[k]))
                growFrom(int(k));
        }
        for (std::size_t k = 0; k < chains.dashes.size(); ++k) {
            if (chains.dashes[k].isDot() && isLeft(chains.dashes[k]))
                growFromDot(int(k));
        }
    }

    Dash &dash(int number) { return chains.dash(number); }
    const Dash &dash(int number) const { return chains.dash(number); }

    void growFrom(int number)
    {
        Chain chain = chains.chainFrom(number);
        chains.grow(&chain);
        judge(chain);
    }

    void growFromDot(int number)
    {
        for (const Next &other : chains.dotsAround(number)) {
            if (dash(number).isUsed || dash(number).isTried)
                return;
            Chain chain = chains.chainFrom(number);
            if (!chains.append(&chain, other))
                continue;
            chains.grow(&chain);
            judge(chain);
        }
        dash(number).isTried = true;
    }

    void judge(const Chain &chain)
    {
        if (chain.dashes.size() >= 3 && accept(chain))
            return;
        if (takesWorn && takeWorn(chain))
            return;
        for (const Next &next : chain.dashes) {
            if (!dash(next.dash).isDot() || chain.dashes.size() > kFewDots)
                dash(next.dash).isTried = true;
        }
    }

    // As its ink is, or as the ink of a broken line is on the whole.
    bool accept(const Chain &chain)
    {
        Chain around = chain;
        around.closed = true;
        if (!chain.closed && chain.carrier.arc && acceptBlurred(around, 0.0))
            return true;
        return (isBroken(chain) && acceptBlurred(chain, kBrokenBlur)) || acceptBlurred(chain, 0.0);
    }

    // From the first dash of a chain on.
    Track trackOf(const Chain &chain) const
    {
        const Next &front = chain.dashes.front();
        const Dash &two = dash(chain.dashes[chain.dashes.size() > 1 ? 1 : 0].dash);
        return Track(chain.carrier, dash(front.dash).end[front.near],
                     0.5 * (two.end[0] + two.end[1]));
    }

    // Looks at the ink along the carrier.
    bool acceptBlurred(const Chain &chain, double blur)
    {
        const Next &front = chain.dashes.front();
        const Next &back = chain.dashes.back();
        const Point last = dash(back.dash).end[1 - back.near];
        const Next &second = chain.dashes[1];
        const Track track = trackOf(chain);
        const double width = widthOf(chain);
        const double beyond = 0.5 * width + 2.0;
        std::vector<Run> runs;
        if (chain.closed) {
            // From the middle of a gap to the same place again.
            const double gap = 0.5
                * (track.lengthAt(endOf(front))
                   + track.lengthAt(dash(second.dash).end[second.near]));
            runs = inkAlong(track, coverage, gap, gap + track.whole(), width, blur);
            if (!goesAround(runs, gap, track.whole()))
                return false;
        } else {
            double to = track.lengthAt(last);
            to += to < 0 ? track.whole() : 0.0;
            runs = inkAlong(track, coverage, -beyond, to + beyond, width, blur);
            trimEnds(0.0, to, &runs);
            settleCuts(outerCutsOf(chain, chains), &runs);
            if (Chain parted = chain; part(track, runs, &parted))
                return acceptBlurred(parted, blur);
        }
        const double whole = chain.closed ? track.whole() : 0.0;
        Dashing dashing = dashingOf(runs, width, whole);
        if (dashing.type == DashType::None && gaps.worn && chain.closed) {
            runs = healed(runs);
            dashing = dashingOf(runs, width, whole);
        } else if (dashing.type == DashType::None && !chain.closed) {
            const std::vector<Run> own = withoutCrossings(track, coverage, runs, width);
            dashing = dashingOf(own, width, whole);
            // Breaks and lines across make chains of long and short pieces of a worn line.
            if (gaps.worn && dashing.type != DashType::Hidden)
                dashing = wornDashingOf(runs, width);
            else if (dashing.type != DashType::None)
                runs = own;
        }
        if (dashing.type == DashType::None || areSides(chain)
            || (dashing.pattern[0] < kShortWidths * width + kShortPixels && !isAlone(chain)))
            return false;
        Chain all = chain;
        if (chain.closed)
            takeAllBetween(track, 0.0, track.whole(), &all);
        if ((!gaps.worn || dashing.type == DashType::Dot || chain.carrier.arc) && !chain.closed)
            extendClean(track, dashing, width, &runs);
        if (gaps.worn && !chain.closed && !chain.carrier.arc && dashing.type != DashType::Dot) {
            extendRow(track, coverage, { dashing.pattern[0], periodOf(dashing), width }, &runs);
            stretchPattern(runs.back().to - runs.front().from, false, &dashing.pattern);
            takeAllBetween(track, runs.front().from, runs.back().to, &all);
            if (bare)
                settleOuterDashes(dashing.pattern[0], periodOf(dashing), &runs);
        }
        const Point ends[] = { track.placeAt(runs.front().from), track.placeAt(runs.back().to) };
        becomeOne(all, dashing, width, ends, measure, &chains.dashes, &web);
        return true;
    }

    // Whether a row's outer dashes went on into other lines; it has been parted from these then.
    bool part(const Track &track, std::vector<Run> runs, Chain *chain)
    {
        const OuterCuts cuts = cutOuterRuns(&runs);
        if (!cuts.any())
            return false;
        const double width = widthOf(*chain);
        const bool isHidden = dashingOf(runs, width, 0.0).type == DashType::Hidden
            || (gaps.worn && wornDashingOf(runs, width).type == DashType::Hidden);
        return isHidden && !areSides(*chain)
            && partOuterDashes(track, runs, cuts, measure, chain, &chains, &web);
    }

    static double periodOf(const Dashing &dashing)
    {
        return std::accumulate(dashing.pattern.begin(), dashing.pattern.end(), 0.0);
    }

    // Goes on with a row by one dash in a clean page: its last one may lie in what other lines, or
    // the next side of a rounded box, were seen in; the dot at a corner is that of another row as
    // well.
    void extendClean(const Track &track, const Dashing &dashing, double width,
                     std::vector<Run> *runs) const
    {
        const double period = periodOf(dashing);
        for (const double way : { 1.0, -1.0 }) {
            const double edge = way > 0 ? runs->back().to : runs->front().from;
            Run next = { edge + way * (period - dashing.pattern[0]), edge + way * period };
            if (next.from > next.to)
                std::swap(next.from, next.to);
            if ((dashing.type == DashType::Dot || dashing.type == DashType::Hidden)
                && isSureDash(track, edge, next, way, width))
                runs->insert(way > 0 ? runs->end() : runs->begin(), next);
        }
    }

    // Whether a stretch is ink, and what lies between it and an edge paper.
    bool isSureDash(const Track &track, double edge, const Run &next, double way,
                    double width) const
    {
        const double inner = way > 0 ? next.from : next.to;
        double inGap = 0.0;
        double inDash = 0.0;
        for (const Run &run : inkAlong(track, coverage, std::min(edge, next.from) - width,
                                       std::max(edge, next.to) + width, width, 0.0)) {
            inGap += std::max(0.0,
                              std::min(run.to, std::max(edge, inner))
                                  - std::max(run.from, std::min(edge, inner)));
            inDash += std::max(0.0, std::min(run.to, next.to) - std::max(run.from, next.from));
        }
        const double sureDash = gaps.worn ? kNextDash : kSureDash;
        const double sureGap = gaps.worn ? kNextGap : kSureGap;
        return inDash > sureDash * next.length() && inGap < sureGap * std::fabs(inner - edge);
    }

    // Adds to a chain what else lies on its line or circle between two lengths.
    void takeAllBetween(const Track &track, double from, double to, Chain *chain) const
    {
        const auto isOnIt = [&](Point end) {
            const double at = track.lengthAt(end);
            return at > from - kBesideRow && at < to + kBesideRow
                && std::fabs(chain->carrier.distance(end)) < 0.5 * chain->width + 0.5;
        };
        for (std::size_t k = 0; k < chains.dashes.size(); ++k) {
            const Dash &one = chains.dashes[k];
            if (!one.isUsed && !chains.isIn(*chain, int(k)) && isOnIt(one.end[0])
                && isOnIt(one.end[1]) && isOnIt(0.5 * (one.end[0] + one.end[1])))
                chain->dashes.push_back({ int(k), 0, 0.0 });
        }
        for (Next &next : chain->dashes) {
            const Dash &one = dash(next.dash);
            next.near = track.lengthAt(one.end[0]) <= track.lengthAt(one.end[1]) ? 0 : 1;
        }
        std::sort(chain->dashes.begin(), chain->dashes.end(), [&](const Next &a, const Next &b) {
            return track.lengthAt(dash(a.dash).end[a.near])
                < track.lengthAt(dash(b.dash).end[b.near]);
        });
    }

    // Without the breaks of its dashes: gaps far shorter than those that most of its paper is in.
    static std::vector<Run> healed(const std::vector<Run> &runs)
    {
        std::vector<double> gaps;
        double paper = 0.0;
        for (std::size_t k = 1; k < runs.size(); ++k) {
            gaps.push_back(runs[k].from - runs[k - 1].to);
            paper += gaps.back();
        }
        std::sort(gaps.begin(), gaps.end());
        double usual = 0.0;
        double before = 0.0;
        for (std::size_t k = 0; k < gaps.size() && 2 * before < paper; ++k) {
            usual = gaps[k];
            before += gaps[k];
        }
        std::vector<Run> whole;
        for (const Run &run : runs) {
            if (!whole.empty() && run.from - whole.back().to < kBreakPart * usual)
                whole.back().to = run.to;
            else
                whole.push_back(run);
        }
        return whole;
    }

    // Whether no gap of a circle from one place around to it is much longer than most are. A dash
    // that other lines cross is no dash of the chain, but ink.
    static bool goesAround(const std::vector<Run> &runs, double from, double whole)
    {
        std::vector<double> gaps;
        for (std::size_t k = 0; k < runs.size(); ++k)
            gaps.push_back(runs[k].from - (k == 0 ? from : runs[k - 1].to));
        if (gaps.size() < 3)
            return false;
        gaps[0] += from + whole - runs.back().to;
        std::sort(gaps.begin(), gaps.end());
        return gaps.back() < kLongGap * gaps[gaps.size() / 2] + kLongGapPixels;
    }

    // Whether the ends that face each other are corners with lines of other directions: then they
    // are the sides of shapes in a row.
    bool areSides(const Chain &chain) const
    {
        std::size_t corners = 0;
        std::size_t stops = 0;
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
                const int joint = web.atoms[std::size_t(one.atom)].joint[end];
                corners += isCorner(chain, joint) ? 1u : 0u;
                stops += isStop(chain, joint) ? 1u : 0u;
            }
        }
        return double(corners) > kMostCorners * double(inner)
            || double(corners + stops) > kMostStops * double(inner);
    }

    // Whether an atom is long and has an end that is not on the chain.
    bool goesOff(const Chain &chain, const Atom &atom, Point far) const
    {
        return double(atom.samples.size()) > chain.width
            && std::fabs(chain.carrier.distance(far)) > kOffWidths * chain.width;
    }

    bool goesOff(const Chain &chain, const AtomEnd &end) const
    {
        const Atom &atom = web.atoms[std::size_t(end.atom)];
        return goesOff(chain, atom,
                       (end.end == 0 ? atom.samples.back() : atom.samples.front()).centre);
    }

    // Whether something ends at a joint that is long and goes off the chain, and nothing goes on.
    bool isCorner(const Chain &chain, int joint) const
    {
        if (joint < 0)
            return false;
        const Meeting &meeting = web.meetings[std::size_t(joint)];
        return meeting.through.empty()
            && std::any_of(meeting.ends.begin(), meeting.ends.end(),
                           [&](const AtomEnd &end) { return goesOff(chain, end); });
    }

    // Whether a dash is the only one of its row that ends at a joint, on a line that goes through.
    bool isStop(const Chain &chain, int joint) const
    {
        if (joint < 0)
            return false;
        const Meeting &meeting = web.meetings[std::size_t(joint)];
        const auto goesOn = [&](const AtomEnd &end) { return !goesOff(chain, end); };
        if (std::count_if(meeting.ends.begin(), meeting.ends.end(), goesOn) > 1)
            return false;
        return std::any_of(meeting.through.begin(), meeting.through.end(), [&](int number) {
            while (number >= 0 && !web.atoms[std::size_t(number)].alive)
                number = web.atoms[std::size_t(number)].heir;
            if (number < 0 || web.atoms[std::size_t(number)].samples.empty())
                return false;
            const Atom &atom = web.atoms[std::size_t(number)];
            return goesOff(chain, atom, atom.samples.front().centre)
                && goesOff(chain, atom, atom.samples.back().centre);
        });
    }

    // Parts of a chain between which there is next to nothing are one line that has come to pieces,
    // if most of it is there.
    bool takeWorn(const Chain &chain)
    {
        const bool broken = isBroken(chain);
        const double width = widthOf(chain);
        const double allowed = broken ? kBrokenGap : gapLimits(gaps, measure, width).of(width);
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
            taken = takePart(part, ink, broken ? kBrokenPart : kWornInk) || taken;
            part = Chain();
            ink = 0.0;
        }
        return taken;
    }

    Point endOf(const Next &next) const { return dash(next.dash).end[1 - next.near]; }

    bool takePart(const Chain &part, double ink, double least)
    {
        const Next &front = part.dashes.front();
        const Point ends[] = { dash(front.dash).end[front.near], endOf(part.dashes.back()) };
        const double length = lengthOf(ends[1] - ends[0]);
        const double width = widthOf(part);
        const bool hasBody = std::any_of(part.dashes.begin(), part.dashes.end(),
                                         [this](const Next &n) { return !dash(n.dash).isDot(); });
        if (part.dashes.size() < 2 || !hasBody || length < kWornLength * width
            || ink < least * length)
            return false;
        becomeOne(part, Dashing(), width, ends, measure, &chains.dashes, &web);
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
        for (int y = dashCellAt(at.y - reach); y <= dashCellAt(at.y + reach); ++y) {
            for (int x = dashCellAt(at.x - reach); x <= dashCellAt(at.x + reach); ++x) {
                const auto cell = chains.grid.find(keyOf(x, y));
                if (cell == chains.grid.end())
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
        return other.length() < reach && !other.isUsed && !chains.isIn(chain, entry / 2)
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

    // Whether much of the ink of a chain's own dashes was put there by bridging.
    bool isBroken(const Chain &chain) const
    {
        if (!bare)
            return false;
        std::size_t steps = 0;
        std::size_t ink = 0;
        for (const Next &next : chain.dashes) {
            const Dash &one = dash(next.dash);
            if (one.isDot())
                continue;
            const Point aside = kBrokenAside * Point { -one.axis.y, one.axis.x };
            for (double s = 0.0; s < one.length(); s += 0.5) {
                const Point p = chain.carrier.foot(one.end[0] + s * one.axis);
                ++steps;
                ink += std::max({ bare->at(p), bare->at(p + aside), bare->at(p - aside) }) >= 0.5
                    ? 1u
                    : 0u;
            }
        }
        return steps > 0 && double(ink) < kBrokenInk * double(steps);
    }

    const Coverage &coverage;
    const Coverage *bare;
    const Measure &measure;
    const GapLimits gaps;
    Web &web;
    DashChains chains;
    bool takesWorn = false;
};

} // namespace

void joinDashes(const DashInk &inks, const Measure &measure, const GapLimits &gaps,
                const std::vector<Dot> &dots, Web *web)
{
    DashFinder(inks, measure, gaps, dots, web).find();
}

} // namespace ztrace::strokes
