// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashgrids.h"

#include "strokes/dashheir.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kOffWidths = 0.3; // widths and pixels that a dash may lie beside its row
const double kOffPixels = 0.7;
const double kTurn = 0.06; // sine between dash and row, and pixels of error at its ends
const double kTurnPixels = 1.0;
const double kWidthPart = 0.4; // of the width that dashes differ by, and pixels
const double kWidthPixels = 1.0;
const double kDotWidths = 1.6; // widths of the row that a dot is long at most, and pixels
const double kDotPixels = 1.5;
const double kFirstReach = 64.0;  // pixels around a dash in which its row is looked for first
const double kReachLengths = 4.0; // and lengths of it
const double kGapWidths = 9.0;    // widths, pixels and lengths of dashes between two of a row
const double kGapPixels = 24.0;
const double kGapLengths = 2.0;
// Parts of a circle: that are looked at for an arc, and that one has at most; more is a circle.
const double kMostOfCircle = 0.88;
const double kMostOfArc = 0.7;
const std::size_t kLeastMarks = 4;
const int kMostTries = 3;           // rows that a dot is looked at in; a dash tells its only one
const std::size_t kMostDotWays = 4; // neighbours of a dot that lead to its row
const double kDotReach = 8.0;       // widths, and pixels, to these
const double kLeastSeed = 1.5;      // widths of a dash that tells a direction
const double kShortDash = 2.0;      // widths of dashes that other specks speak against
const double kAlone = 1.25;         // periods beside them without other specks
const double kMostCrowded = 0.3;    // part of the dashes beside which there may be some
const int kSureRow = 20;            // dots of a row that chance does not make of others
const double kMostCrossed = 0.6;    // the same part of these; of a screen it is 1
const double kScreenRows = 2.5;     // times that, in which rows beside a row are looked for
const double kScaleOff = 1.0;       // pixels that distances differ by which are not one
const double kWholeRow = 0.7;       // part of the dots of a row that those beside it have
const double kLongRow = 4.0;        // times the dots of a row that there are rows
// Cross-sections, in widths, of what may lie where rows cross, and pixels that they are off by more
// than half a width.
const double kCrossingWidths = 6.0;
const double kCrossingPixels = 0.75;
const double kTaken = 1.0; // pixels beyond a row that its parts may reach

// A dash or dot by where it lies along a row.
struct Mark
{
    int dash = -1;
    double from = 0.0;
    double to = 0.0;
};

// Part of a dash that the ends of a row have at least; less is the rim of something else.
const double kLeastOfDash = 0.5;

class GridFinder
{
public:
    GridFinder(const Coverage &c, const Measure &m, DashChains *d, Web *w)
        : coverage(c), measure(m), chains(*d), web(*w), tries(d->dashes.size(), 0),
          seen(d->dashes.size(), 0)
    { }

    void find()
    {
        for (std::size_t k = 0; k < chains.dashes.size(); ++k) {
            const Dash &one = chains.dashes[k];
            if (!one.isUsed && tries[k] < kMostTries && !isDotLike(one))
                tryFrom(one, one.axis);
        }
        for (std::size_t k = 0; k < chains.dashes.size(); ++k) {
            if (isDotLike(chains.dashes[k]))
                tryFromDot(int(k));
        }
        for (std::size_t k = 0; k < chains.dashes.size(); ++k) {
            const Dash &one = chains.dashes[k];
            if (!one.isUsed && !one.isTried && !isDotLike(one))
                tryArc(int(k));
        }
        takeCrossings();
    }

private:
    // Whether it tells no direction.
    static bool isDotLike(const Dash &one) { return one.length() <= kLeastSeed * one.width; }

    static Point middleOf(const Dash &one) { return 0.5 * (one.end[0] + one.end[1]); }

    void tryFromDot(int number)
    {
        const double reach = kDotReach * chains.dash(number).width + kGapPixels;
        std::vector<Next> near;
        const Point at = middleOf(chains.dash(number));
        forEachAround(at, reach, [&](int other) {
            const Dash &one = chains.dash(other);
            const double away = lengthOf(middleOf(one) - at);
            if (other != number && !one.isUsed && isDotLike(one) && away > 1.0 && away < reach)
                near.push_back({ other, 0, away });
        });
        std::sort(near.begin(), near.end(), [](const Next &a, const Next &b) {
            return a.rank < b.rank || (a.rank == b.rank && a.dash < b.dash);
        });
        near.resize(std::min(near.size(), kMostDotWays));
        for (const Next &next : near) {
            if (chains.dash(number).isUsed || tries[std::size_t(number)] >= kMostTries)
                return;
            const Point way = middleOf(chains.dash(next.dash)) - at;
            tryFrom(chains.dash(number), (1 / lengthOf(way)) * way);
        }
    }

    template<typename Visit>
    void forEachAround(Point at, double reach, Visit visit)
    {
        ++stamp;
        for (int y = dashCellAt(at.y - reach); y <= dashCellAt(at.y + reach); ++y) {
            for (int x = dashCellAt(at.x - reach); x <= dashCellAt(at.x + reach); ++x)
                visitCell(x, y, visit);
        }
    }

    template<typename Visit>
    void visitCell(int x, int y, Visit visit)
    {
        const auto cell = chains.grid.find(keyOf(x, y));
        if (cell == chains.grid.end())
            return;
        for (int entry : cell->second) {
            if (seen[std::size_t(entry / 2)] == stamp)
                continue;
            seen[std::size_t(entry / 2)] = stamp;
            visit(entry / 2);
        }
    }

    bool isOfRow(const Dash &other, const fit::Primitive &line, double width) const
    {
        if (other.isUsed || std::fabs(line.distance(middleOf(other))) > offOf(width))
            return false;
        if (other.isDot() || other.length() < kLeastSeed * width)
            return other.width < kDotWidths * width + kDotPixels;
        return std::fabs(width - other.width) < kWidthPart * width + kWidthPixels
            && std::fabs(fit::cross(other.axis, line.direction))
            < kTurn + kTurnPixels / std::max(1.0, other.length());
    }

    static double offOf(double width) { return kOffWidths * width + kOffPixels; }

    // Dashes on a line, within a reach to both sides of a place, in order.
    std::vector<Mark> marksOn(const fit::Primitive &line, Point at, double reach, double width)
    {
        std::vector<Mark> marks;
        ++stamp;
        const double beside = offOf(width) + 1.0;
        const Point across = { -beside * line.direction.y, beside * line.direction.x };
        for (double s = -reach; s <= reach; s += 0.5 * kDashCell) {
            const Point p = at + s * line.direction;
            for (const Point q : { p - across, p, p + across }) {
                visitCell(dashCellAt(q.x), dashCellAt(q.y), [&](int number) {
                    const Dash &one = chains.dash(number);
                    if (!isOfRow(one, line, width))
                        return;
                    const double a = fit::dot(one.end[0] - at, line.direction);
                    const double b = fit::dot(one.end[1] - at, line.direction);
                    marks.push_back({ number, std::min(a, b), std::max(a, b) });
                });
            }
        }
        std::sort(marks.begin(), marks.end(), [](const Mark &a, const Mark &b) {
            return a.from < b.from || (a.from == b.from && a.dash < b.dash);
        });
        return marks;
    }

    // Those that follow each other from the place 0 on to both sides.
    static void keepAround(double most, std::vector<Mark> *marks)
    {
        std::size_t start = 0;
        double nearest = HUGE_VAL;
        for (std::size_t k = 0; k < marks->size(); ++k) {
            const double away = std::fabs(0.5 * ((*marks)[k].from + (*marks)[k].to));
            if (away < nearest) {
                nearest = away;
                start = k;
            }
        }
        std::size_t end = start + 1;
        double to = marks->empty() ? 0.0 : (*marks)[start].to;
        while (end < marks->size() && (*marks)[end].from - to < most) {
            to = std::max(to, (*marks)[end].to);
            ++end;
        }
        while (start > 0 && (*marks)[start].from - (*marks)[start - 1].to < most)
            --start;
        if (end < marks->size())
            marks->resize(end);
        marks->erase(marks->begin(), marks->begin() + std::ptrdiff_t(start));
    }

    // The line through the marks' own cross-sections; short ones beside long ones are stubs of what
    // runs across, and tell no direction.
    bool lineThrough(const std::vector<Mark> &marks, double longest, fit::Primitive *line) const
    {
        fit::Moments sum = {};
        for (const Mark &mark : marks) {
            if (mark.to - mark.from < 0.4 * longest)
                continue;
            const fit::Moments &own = chains.dash(mark.dash).moments;
            sum = sum.w > 0 ? together(sum, own) : own;
        }
        if (!(sum.w > 0))
            return false;
        const Point first = middleOf(chains.dash(marks.front().dash));
        const Point last = middleOf(chains.dash(marks.back().dash));
        if (lengthOf(last - first) < 1.0)
            return false;
        const fit::Primitive found = fit::lineOf(sum, fit::lineMoments(sum), first, last);
        *line = found;
        return true;
    }

    void tryFrom(const Dash &given, Point axis)
    {
        const Dash seed = given;
        const Point at = middleOf(seed);
        fit::Primitive line = {};
        line.point = at;
        line.direction = axis;
        const double most = kGapWidths * seed.width + kGapPixels + kGapLengths * seed.length();
        std::vector<Mark> marks;
        double reach = std::max(kFirstReach, kReachLengths * seed.length());
        std::size_t had = 0;
        for (;;) {
            marks = marksOn(line, at, reach, seed.width);
            keepAround(most, &marks);
            if (marks.size() < kLeastMarks || !refitLine(&marks, &line))
                break;
            // A stub may have turned the line away from the rest, until others turn it back.
            if (std::max(-marks.front().from, marks.back().to) >= reach - most)
                reach *= 2.0;
            else if (marks.size() <= had)
                break;
            had = std::max(had, marks.size());
        }
        for (const Mark &mark : marks) {
            const bool isDot = isDotLike(chains.dash(mark.dash));
            tries[std::size_t(mark.dash)] += isDot ? 1 : kMostTries;
        }
        judge(marks, line);
    }

    bool refitLine(std::vector<Mark> *marks, fit::Primitive *line) const
    {
        double longest = 0.0;
        std::vector<double> lengths;
        for (const Mark &mark : *marks)
            lengths.push_back(mark.to - mark.from);
        std::sort(lengths.begin(), lengths.end());
        longest = lengths[lengths.size() / 2];
        return lineThrough(*marks, longest, line);
    }

    double widthOf(const std::vector<Mark> &marks) const
    {
        std::vector<double> widths;
        for (const Mark &mark : marks)
            widths.push_back(chains.dash(mark.dash).width);
        const auto middle = widths.begin() + std::ptrdiff_t(widths.size() / 2);
        std::nth_element(widths.begin(), middle, widths.end());
        return *middle;
    }

    // A chain of neighbours tells a circle; its row may go on where the chain has lost its way.
    void tryArc(int number)
    {
        Chain chain = chains.chainFrom(number);
        chains.grow(&chain);
        for (const Next &next : chain.dashes)
            chains.dash(next.dash).isTried = true;
        if (chain.closed || !chain.carrier.arc || chain.dashes.size() < kLeastMarks)
            return;
        const Next &front = chain.dashes.front();
        const Next &second = chain.dashes[1];
        const Track whole(chain.carrier, middleOf(chains.dash(front.dash)),
                          middleOf(chains.dash(second.dash)));
        const double middle = 0.5 * whole.lengthAt(middleOf(chains.dash(chain.dashes.back().dash)));
        // The place behind, where the circle is cut open.
        const double cut = middle - 0.5 * whole.whole();
        const Track track(chain.carrier, whole.placeAt(cut),
                          whole.placeAt(cut + 0.25 * whole.whole()));
        const double width = chain.width;
        const std::vector<Run> runs
            = inkAlong(track, coverage, 0.0, kMostOfCircle * whole.whole(), width, 0.0);
        DashBeat beat;
        // What it does not know more of is left to the chain.
        if (beatOf(track, coverage, runs, width, &beat) && beat.dash > kShortDash * width
            && beat.to() - beat.from() > 2 * middle + 2 * beat.period() && beat.from() > 0.0
            && beat.to() - beat.from() < kMostOfArc * whole.whole())
            take(track, chain.carrier, beat, width, runs);
    }

    // Other rows may lie on the same line, on either side of one.
    void judge(const std::vector<Mark> &marks, const fit::Primitive &line)
    {
        std::vector<std::vector<Mark>> left = { marks };
        while (!left.empty()) {
            const std::vector<Mark> tried = std::move(left.back());
            left.pop_back();
            if (tried.size() < kLeastMarks || !takeRow(tried, line))
                continue;
            std::vector<Mark> sides[2];
            bool isBehind = false;
            for (const Mark &mark : tried) {
                if (chains.dash(mark.dash).isUsed)
                    isBehind = true;
                else
                    sides[isBehind ? 1 : 0].push_back(mark);
            }
            for (std::vector<Mark> &side : sides)
                left.push_back(std::move(side));
        }
    }

    bool takeRow(const std::vector<Mark> &marks, const fit::Primitive &line)
    {
        const double width = widthOf(marks);
        const Track track(line, middleOf(chains.dash(marks.front().dash)),
                          middleOf(chains.dash(marks.back().dash)));
        double from = 0.0;
        double to = 0.0;
        for (const Mark &mark : marks) {
            for (const Point end : chains.dash(mark.dash).end) {
                from = std::min(from, track.lengthAt(end));
                to = std::max(to, track.lengthAt(end));
            }
        }
        const double beyond = kGapPixels + kGapWidths * width;
        const std::vector<Run> runs
            = inkAlong(track, coverage, from - beyond, to + beyond, width, 0.0);
        DashBeat beat;
        if (!beatOf(track, coverage, runs, width, &beat))
            return false;
        if (beat.dash < kShortDash * width && !isAlone(track, beat, width))
            return false;
        return take(track, line, beat, width, runs);
    }

    // Dots in several rows beside each other are a screen, not lines, and so are dots that lie
    // beside a row in no row of their own. Rows that have as many dots as this one, at distances of
    // which no two are alike, are lines of a scale that grows.
    bool isAlone(const Track &track, const DashBeat &beat, double width)
    {
        int crowded = 0;
        std::vector<double> beside;
        const double reach = kAlone * beat.period();
        for (int k = beat.first; k <= beat.last; ++k) {
            const double along = beat.middle(k) + 0.5 * beat.period();
            const Point at = track.placeAt(along);
            const Point heading = track.headingAt(along);
            bool found = false;
            forEachAround(at, kScreenRows * reach, [&](int other) {
                const Dash &one = chains.dash(other);
                const Point away = middleOf(one) - at;
                const double side = fit::cross(away, heading);
                if (one.length() >= beat.period() || std::fabs(side) <= width)
                    return;
                found = found || (!one.isUsed && lengthOf(away) < reach);
                if (std::fabs(fit::dot(away, heading)) < 0.5 * beat.period())
                    beside.push_back(side);
            });
            crowded += found ? 1 : 0;
        }
        const int all = beat.last - beat.first + 1;
        // Chance puts no such number on a beat: what lies beside some of them are rows across.
        const double most = all >= kSureRow ? kMostCrossed : kMostCrowded;
        return crowded <= most * all || isOfScale(std::move(beside), beat, all);
    }

    // Whether what lies beside a row is rows of as many dots each, with distances of a scale: no
    // two are alike, and that of two rows is not the step along them.
    static bool isOfScale(std::vector<double> beside, const DashBeat &beat, int all)
    {
        std::sort(beside.begin(), beside.end());
        std::vector<double> rowsAt = { 0.0 };
        for (std::size_t from = 0, to = 0; from < beside.size(); from = to) {
            while (to < beside.size() && beside[to] - beside[from] < 2.0 * kScaleOff)
                ++to;
            if (double(to - from) >= kWholeRow * all)
                rowsAt.push_back(0.5 * (beside[from] + beside[to - 1]));
            else if (double(to - from) > kMostCrowded * all)
                return false;
        }
        std::sort(rowsAt.begin(), rowsAt.end());
        std::vector<double> steps;
        for (std::size_t k = 1; k < rowsAt.size(); ++k)
            steps.push_back(rowsAt[k] - rowsAt[k - 1]);
        if (steps.size() == 1)
            steps.push_back(beat.period());
        std::sort(steps.begin(), steps.end());
        for (std::size_t k = 1; k < steps.size(); ++k) {
            if (steps[k] - steps[k - 1] < kScaleOff)
                return false;
        }
        return !steps.empty() && double(all) >= kLongRow * double(rowsAt.size());
    }

    // The end of a row: that of the dash behind its last gap, or where its ink ends before.
    static double endOf(const std::vector<Run> &runs, double gap, double dash, double way)
    {
        double end = gap + way * dash;
        for (const Run &run : runs) {
            const double inner = way > 0 ? run.from : run.to;
            const double outer = way > 0 ? run.to : run.from;
            if (std::fabs(inner - gap) < 2.0 && way * (end - outer) > 0)
                end = outer;
        }
        return end;
    }

    bool take(const Track &track, const fit::Primitive &line, const DashBeat &beat, double width,
              const std::vector<Run> &runs)
    {
        int first = beat.first;
        int last = beat.last;
        double from = endOf(runs, beat.middle(first) - 0.5 * beat.gap, beat.dash, -1.0);
        double to = endOf(runs, beat.middle(last) + 0.5 * beat.gap, beat.dash, 1.0);
        // A pattern begins with a dash: behind a gap that leads to hardly any ink there is none.
        if (first < last && beat.middle(first) - 0.5 * beat.gap - from < kLeastOfDash * beat.dash)
            from = beat.middle(first++) + 0.5 * beat.gap;
        if (first < last && to - beat.middle(last) - 0.5 * beat.gap < kLeastOfDash * beat.dash)
            to = beat.middle(last--) - 0.5 * beat.gap;
        std::vector<Run> drawn;
        drawn.push_back({ from, beat.middle(first) - 0.5 * beat.gap });
        for (int k = first; k <= last; ++k) {
            const double start = beat.middle(k) + 0.5 * beat.gap;
            drawn.push_back({ start, k < last ? start + beat.dash : to });
        }
        Dashing dashing = dashingOf(drawn, width, 0.0);
        if (dashing.type == DashType::None)
            return false;
        Chain chain;
        chain.carrier = line;
        chain.width = width;
        takeParts(track, from, to, width, &chain);
        if (chain.dashes.size() < kLeastMarks)
            return false;
        const Point ends[] = { track.placeAt(from), track.placeAt(to) };
        becomeOne(chain, dashing, width, ends, measure, &chains.dashes, &web);
        // Stubs of what runs across bend it.
        web.atoms.back().carrier = line;
        web.atoms.back().shape = line.arc ? Shape::Arc : Shape::Line;
        rows.push_back({ track, int(web.atoms.size()) - 1, width, from, to });
        return true;
    }

    // All that lies on a row between its ends.
    void takeParts(const Track &track, double from, double to, double width, Chain *chain)
    {
        std::vector<std::pair<double, Next>> parts;
        ++stamp;
        for (double s = from; s <= to + 0.5 * kDashCell; s += 0.5 * kDashCell) {
            const Point p = track.placeAt(std::min(s, to));
            const Point u = track.headingAt(std::min(s, to));
            const Point across = { -width * u.y, width * u.x };
            for (const Point q : { p - across, p, p + across }) {
                visitCell(dashCellAt(q.x), dashCellAt(q.y), [&](int number) {
                    const Dash &one = chains.dash(number);
                    if (one.isUsed || !isWithin(track, *chain, one, from, to))
                        return;
                    const double a = track.lengthAt(one.end[0]);
                    const double b = track.lengthAt(one.end[1]);
                    parts.push_back({ std::min(a, b), { number, a <= b ? 0 : 1, 0.0 } });
                });
            }
        }
        std::sort(parts.begin(), parts.end(), [](const auto &a, const auto &b) {
            return a.first < b.first || (a.first == b.first && a.second.dash < b.second.dash);
        });
        for (const auto &part : parts)
            chain->dashes.push_back(part.second);
    }

    static bool isWithin(const Track &track, const Chain &chain, const Dash &one, double from,
                         double to)
    {
        for (const Point p : { one.end[0], one.end[1], middleOf(one) }) {
            const double at = track.lengthAt(p);
            if (at < from - kTaken || at > to + kTaken
                || std::fabs(chain.carrier.distance(p)) > 0.5 * chain.width + 0.5)
                return false;
        }
        return true;
    }

    // Where rows cross and touch, their skeleton has bits that are of neither: what lies in the ink
    // of rows alone is explained by them.
    void takeCrossings()
    {
        if (rows.empty())
            return;
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &atom = web.atoms[k];
            if (!atom.alive || atom.dashing.type != DashType::None
                || double(atom.samples.size()) > kCrossingWidths * atom.width)
                continue;
            int heir = -1;
            if (std::all_of(atom.samples.begin(), atom.samples.end(), [&](const Section &section) {
                    heir = rowAt(section.centre);
                    return heir >= 0;
                }))
                goThrough(int(k), heir, &web);
        }
    }

    // The atom of a row that has a place in its ink; -1 for none.
    int rowAt(Point p) const
    {
        for (const Row &row : rows) {
            const double along = row.track.lengthAt(p);
            if (along > row.from - kTaken && along < row.to + kTaken
                && lengthOf(row.track.placeAt(along) - p) < 0.5 * row.width + kCrossingPixels)
                return row.atom;
        }
        return -1;
    }

    struct Row
    {
        Track track;
        int atom;
        double width;
        double from;
        double to;
    };

    const Coverage &coverage;
    const Measure &measure;
    DashChains &chains;
    Web &web;
    std::vector<Row> rows;
    std::vector<int> tries; // rows that each dash has been looked at in
    std::vector<int> seen;  // the last search that came across each
    int stamp = 0;
};

} // namespace

std::vector<Dot> takeDashGrids(const Coverage &coverage, const Measure &measure,
                               const std::vector<Dot> &dots, Web *web)
{
    DashChains chains(measure, web, dots);
    GridFinder(coverage, measure, &chains, web).find();
    // They stand behind the dashes that are atoms.
    const std::size_t atoms = chains.dashes.size() - dots.size();
    std::vector<Dot> left;
    for (std::size_t k = 0; k < dots.size(); ++k) {
        if (!chains.dashes[atoms + k].isUsed)
            left.push_back(dots[k]);
    }
    return left;
}

} // namespace ztrace::strokes
