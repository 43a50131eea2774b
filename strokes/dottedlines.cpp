// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dottedlines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

namespace ztrace::strokes {

namespace {

const int kDotExtent = 20;            // pixels across, at most
const int kDotPixels = 50;            // of its ink
const int kAlone = 3;                 // pixels around a dot without larger ink: its edge is ragged
const std::size_t kMostDots = 20000;  // of a page
const std::size_t kMostAround = 160;  // dots around one: more are a screen, or noise
const double kAround = 96.0;          // pixels around a dot in which its row is looked for
const double kTelling = 24.0;         // pixels between two dots that tell a direction
const double kWithin = 1.5;           // pixels that dots lie beside their row, at most
const double kTaken = 2.5;            // the same of what is of no other row any more
const double kBesideFrom = 4.0;       // pixels beside a row, from and to, where dots are counted
const double kBesideTo = 14.0;        // as those that are there anyway
const std::size_t kLeastRow = 8;      // dots; fewer of an arc's are as straight
const std::size_t kLeastInFamily = 5; // the same in a direction that other rows have
const std::size_t kLeastAround = 4;   // of them within kAround of one
const double kGapSpacings = 5.0;      // mean spacings to the next dot: e^-5 are farther
const double kLeastGap = 20.0;        // pixels, of these
const double kMostGap = 100.0;        // pixels, of these
const double kEndSpacings = 3.0;      // mean spacings from the last dot to what a row ends on
const double kFalseAlarms = 1e-2;     // rows that chance makes in a page
const double kTimesBeside = 3.0;      // more dots in a row than are beside it, as dense
const double kEvenSteps = 0.5;        // deviation of spacings over their mean; of chance it is 1
const double kMostInk = 0.5;          // part of a row that its dots cover: more are dashes
const double kMostTurn = 0.02;        // radians between rows of one direction: hatches
const std::size_t kLeastFamily = 3;   // rows of one direction that others are looked for in
const double kJoinedPart = 0.5;       // of the shorter of two rows on one line, the gap between
const double kLeastBow = 0.6;         // pixels that the dots of an arc lie off a line, at least
const double kBowSigmas = 2.5;        // and deviations of what chance makes of it
const double kHalfWidth = 1.0;        // pixels, of what is drawn

struct Dot
{
    Point middle = { 0, 0 };
    std::vector<std::size_t> pixels;
    double extent = 0.0;
    bool isUsed = false;
};

// A straight row; `first` and `last` are places along it.
struct Row
{
    Point point = { 0, 0 };
    Point axis = { 1, 0 };
    std::vector<int> dots;
    double first = 0.0;
    double last = 0.0;
    double spacing() const { return (last - first) / double(dots.size() - 1); }
    double along(Point p) const { return fit::dot(p - point, axis); }
    double beside(Point p) const { return std::fabs(fit::cross(p - point, axis)); }
    Point at(double t) const { return point + t * axis; }
};

// The logarithm of the chance that so many and more come where `expected` do, events of no order.
double logOfTail(std::size_t count, double expected)
{
    double term = -expected;
    for (std::size_t k = 1; k <= count; ++k)
        term += std::log(expected / double(k));
    double sum = 0.0;
    double part = 1.0;
    for (std::size_t k = count + 1; part > 1e-9 && k < count + 1000; ++k) {
        sum += part;
        part *= expected / double(k);
    }
    return std::min(0.0, term + std::log(sum));
}

class DottedLines
{
public:
    DottedLines(const InkPicture &p, std::vector<uint8_t> *g) : picture(p), grey(*g) { }

    std::size_t draw()
    {
        findDots();
        if (dots.size() < kLeastRow || dots.size() > kMostDots)
            return 0;
        for (std::size_t k = 0; k < dots.size(); ++k)
            grid[keyOf(dots[k].middle)].push_back(int(k));
        growAll({});
        const std::vector<Point> families = familiesOf();
        if (!families.empty())
            growAll(families);
        joinRows();
        std::vector<Row> ended = rows;
        for (Row &row : ended)
            settleEnds(&row);
        for (const Row &row : ended)
            erase(row);
        for (const Row &row : ended)
            paint(row);
        return rows.size();
    }

private:
    static uint64_t keyOf(Point p)
    {
        return (uint64_t(uint32_t(p.x / kAround)) << 32) | uint32_t(p.y / kAround);
    }

    bool isInk(int x, int y) const
    {
        return x >= 0 && y >= 0 && x < picture.width && y < picture.height
            && grey[picture.at(x, y)] <= picture.threshold;
    }

    // Parts of the ink, of which the small ones are dots and all others `solid`.
    void findDots()
    {
        solid.assign(grey.size(), 0);
        std::vector<uint8_t> seen(grey.size(), 0);
        std::vector<std::size_t> part;
        for (std::size_t cell = 0; cell < grey.size(); ++cell) {
            if (seen[cell] != 0 || grey[cell] > picture.threshold)
                continue;
            part.assign(1, cell);
            seen[cell] = 1;
            for (std::size_t k = 0; k < part.size(); ++k)
                addNeighbours(part[k], &seen, &part);
            if (!addDot(part)) {
                for (std::size_t of : part)
                    solid[of] = 1;
            }
        }
        dots.erase(std::remove_if(dots.begin(), dots.end(),
                                  [this](const Dot &dot) { return isBesideInk(dot); }),
                   dots.end());
    }

    void addNeighbours(std::size_t cell, std::vector<uint8_t> *seen,
                       std::vector<std::size_t> *part) const
    {
        const int x = xOf(cell);
        const int y = yOf(cell);
        for (int v = y - 1; v <= y + 1; ++v) {
            for (int u = x - 1; u <= x + 1; ++u) {
                if (isInk(u, v) && (*seen)[picture.at(u, v)] == 0) {
                    (*seen)[picture.at(u, v)] = 1;
                    part->push_back(picture.at(u, v));
                }
            }
        }
    }

    int xOf(std::size_t cell) const { return int(cell % std::size_t(picture.width)); }
    int yOf(std::size_t cell) const { return int(cell / std::size_t(picture.width)); }

    bool addDot(const std::vector<std::size_t> &part)
    {
        if (part.size() > std::size_t(kDotPixels))
            return false;
        int low[2] = { xOf(part[0]), yOf(part[0]) };
        int high[2] = { low[0], low[1] };
        Point sum = { 0, 0 };
        for (std::size_t cell : part) {
            const int at[2] = { xOf(cell), yOf(cell) };
            for (int k = 0; k < 2; ++k) {
                low[k] = std::min(low[k], at[k]);
                high[k] = std::max(high[k], at[k]);
            }
            sum = sum + Point { at[0] + 0.5, at[1] + 0.5 };
        }
        const int extent = std::max(high[0] - low[0], high[1] - low[1]) + 1;
        if (extent > kDotExtent)
            return false;
        Dot dot;
        dot.extent = extent;
        dot.middle = (1.0 / double(part.size())) * sum;
        dot.pixels = part;
        dots.push_back(std::move(dot));
        return true;
    }

    bool isBesideInk(const Dot &dot) const
    {
        return std::any_of(dot.pixels.begin(), dot.pixels.end(), [this](std::size_t cell) {
            return hasSolid(xOf(cell), yOf(cell), kAlone);
        });
    }

    bool hasSolid(int x, int y, int reach) const
    {
        for (int v = std::max(0, y - reach); v <= std::min(picture.height - 1, y + reach); ++v) {
            for (int u = std::max(0, x - reach); u <= std::min(picture.width - 1, x + reach); ++u) {
                if (solid[picture.at(u, v)] != 0)
                    return true;
            }
        }
        return false;
    }

    // Dots of no row yet in the cells around a place; a cell is kAround wide.
    std::vector<int> around(Point place) const
    {
        std::vector<int> found;
        for (double dy : { -kAround, 0.0, kAround }) {
            for (double dx : { -kAround, 0.0, kAround }) {
                const Point at = place + Point { dx, dy };
                const auto cell = at.x < 0 || at.y < 0 ? grid.end() : grid.find(keyOf(at));
                if (cell == grid.end())
                    continue;
                std::copy_if(cell->second.begin(), cell->second.end(), std::back_inserter(found),
                             [this](int k) { return !dots[std::size_t(k)].isUsed; });
            }
        }
        return found;
    }

    Point middleOf(int dot) const { return dots[std::size_t(dot)].middle; }

    // Rows in the given directions, or in any, those of most dots first.
    void growAll(const std::vector<Point> &axes)
    {
        std::vector<Row> seeds;
        tests = 0.0;
        inFamily = !axes.empty();
        for (std::size_t k = 0; k < dots.size(); ++k) {
            if (dots[k].isUsed)
                continue;
            Row row = seedAt(dots[k].middle, axes);
            if (row.dots.size() >= kLeastAround)
                seeds.push_back(std::move(row));
        }
        std::stable_sort(seeds.begin(), seeds.end(),
                         [](const Row &a, const Row &b) { return a.dots.size() > b.dots.size(); });
        for (const Row &seed : seeds)
            growFrom(seed);
    }

    // The directions that several rows have.
    std::vector<Point> familiesOf() const
    {
        std::vector<Point> families;
        const auto isAlong
            = [](Point a, Point b) { return std::fabs(fit::cross(a, b)) < kMostTurn; };
        for (const Row &row : rows) {
            const auto count = std::count_if(rows.begin(), rows.end(), [&](const Row &other) {
                return isAlong(row.axis, other.axis);
            });
            const bool isKnown = std::any_of(families.begin(), families.end(),
                                             [&](Point axis) { return isAlong(row.axis, axis); });
            if (std::size_t(count) >= kLeastFamily && !isKnown)
                families.push_back(row.axis);
        }
        return families;
    }

    std::vector<int> within(Point place, double reach) const
    {
        std::vector<int> near = around(place);
        near.erase(std::remove_if(near.begin(), near.end(),
                                  [&](int k) {
                                      const Point away = middleOf(k) - place;
                                      return fit::dot(away, away) > reach * reach;
                                  }),
                   near.end());
        return near;
    }

    // The row through a dot that has most others near it.
    Row seedAt(Point place, const std::vector<Point> &axes)
    {
        Row best;
        const std::vector<int> near = within(place, kAround);
        if (near.size() < kLeastAround || near.size() > kMostAround)
            return best;
        std::vector<Point> tried = axes;
        for (int k : near) {
            const Point away = middleOf(k) - place;
            const double distance = std::hypot(away.x, away.y);
            if (axes.empty() && distance >= kTelling)
                tried.push_back((1.0 / distance) * away);
        }
        tests += double(tried.size());
        std::size_t most = 0;
        for (Point axis : tried) {
            const auto count = std::count_if(near.begin(), near.end(), [&](int other) {
                return std::fabs(fit::cross(middleOf(other) - place, axis)) <= kWithin;
            });
            if (std::size_t(count) > most) {
                most = std::size_t(count);
                best.axis = axis;
            }
        }
        best.point = place;
        for (int k : near) {
            if (most > 0 && best.beside(middleOf(k)) <= kWithin && !isCut(place, middleOf(k)))
                best.dots.push_back(k);
        }
        return best;
    }

    // Whether larger ink lies between two places.
    bool isCut(Point from, Point to) const
    {
        const double length = std::hypot(to.x - from.x, to.y - from.y);
        for (double s = 0.5; s < length; s += 1.0) {
            const Point p = from + (s / length) * (to - from);
            const int x = int(std::floor(p.x));
            const int y = int(std::floor(p.y));
            if (x >= 0 && y >= 0 && x < picture.width && y < picture.height
                && solid[picture.at(x, y)] != 0)
                return true;
        }
        return false;
    }

    // Rows on one line, of which less is missing between them than half of the shorter one.
    void joinRows()
    {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            for (std::size_t k = 0; k < rows.size(); ++k) {
                if (k == i || !areOne(rows[i], rows[k]))
                    continue;
                rows[i].dots.insert(rows[i].dots.end(), rows[k].dots.begin(), rows[k].dots.end());
                refit(&rows[i]);
                rows.erase(rows.begin() + std::ptrdiff_t(k));
                i = std::size_t(-1);
                break;
            }
        }
    }

    bool areOne(const Row &a, const Row &b) const
    {
        if (std::fabs(fit::cross(a.axis, b.axis)) > kMostTurn)
            return false;
        const Point ends[2] = { b.at(b.first), b.at(b.last) };
        if (a.beside(ends[0]) > kTaken || a.beside(ends[1]) > kTaken)
            return false;
        const double low = std::min(a.along(ends[0]), a.along(ends[1]));
        const double high = std::max(a.along(ends[0]), a.along(ends[1]));
        const double gap = std::max(low - a.last, a.first - high);
        const double shorter = std::min(a.last - a.first, b.last - b.first);
        return gap < kJoinedPart * shorter
            && !(low > a.last ? isCut(a.at(a.last), a.at(low)) : isCut(a.at(high), a.at(a.first)));
    }

    void growFrom(Row row)
    {
        row.dots.erase(std::remove_if(row.dots.begin(), row.dots.end(),
                                      [this](int k) { return dots[std::size_t(k)].isUsed; }),
                       row.dots.end());
        if (row.dots.size() < kLeastAround)
            return;
        refit(&row);
        for (bool grown = true; grown;)
            grown = addNext(&row, false);
        for (bool grown = true; grown;)
            grown = addNext(&row, true);
        if (!isRow(row))
            return;
        for (const double end : { row.first, row.last }) {
            for (int k : around(row.at(end)))
                dots[std::size_t(k)].isUsed = isTaken(row, k);
        }
        for (double t = row.first; t < row.last; t += kAround) {
            for (int k : around(row.at(t)))
                dots[std::size_t(k)].isUsed = isTaken(row, k);
        }
        for (int k : row.dots)
            dots[std::size_t(k)].isUsed = true;
        rows.push_back(std::move(row));
    }

    bool isTaken(const Row &row, int dot) const
    {
        const double t = row.along(middleOf(dot));
        return t >= row.first && t <= row.last && row.beside(middleOf(dot)) <= kTaken;
    }

    // The line of least squared distances through the dots of a row, and where they lie on it.
    void refit(Row *row) const
    {
        Point middle = { 0, 0 };
        for (int k : row->dots)
            middle = middle + (1.0 / double(row->dots.size())) * middleOf(k);
        double xx = 0.0;
        double xy = 0.0;
        double yy = 0.0;
        for (int k : row->dots) {
            const Point p = middleOf(k) - middle;
            xx += p.x * p.x;
            xy += p.x * p.y;
            yy += p.y * p.y;
        }
        const double angle = 0.5 * std::atan2(2.0 * xy, xx - yy);
        const Point axis = { std::cos(angle), std::sin(angle) };
        row->point = middle;
        row->axis = fit::dot(axis, row->axis) < 0 ? -1.0 * axis : axis;
        row->first = 1e300;
        row->last = -1e300;
        for (int k : row->dots) {
            row->first = std::min(row->first, row->along(middleOf(k)));
            row->last = std::max(row->last, row->along(middleOf(k)));
        }
    }

    bool addNext(Row *row, bool backwards) const
    {
        const double most = std::clamp(kGapSpacings * row->spacing(), kLeastGap, kMostGap);
        const double end = backwards ? row->first : row->last;
        int next = -1;
        double nearest = most;
        for (int k : around(row->at(end))) {
            const double t = row->along(middleOf(k));
            const double ahead = backwards ? end - t : t - end;
            if (ahead > 0.0 && ahead < nearest && row->beside(middleOf(k)) <= kWithin
                && !isCut(row->at(end), middleOf(k))) {
                nearest = ahead;
                next = k;
            }
        }
        if (next < 0)
            return false;
        row->dots.push_back(next);
        refit(row);
        return true;
    }

    // Dots in the stripes on both sides of a row.
    std::size_t countBeside(const Row &row) const
    {
        std::size_t count = 0;
        for (const Dot &dot : dots) {
            const double t = row.along(dot.middle);
            const double aside = row.beside(dot.middle);
            count += t >= row.first && t <= row.last && aside >= kBesideFrom && aside <= kBesideTo
                ? 1u
                : 0u;
        }
        return count;
    }

    // Whether neither chance nor a pen that draws dots has put these in a row. The dots that the
    // row was laid through tell nothing.
    bool isRow(const Row &row) const
    {
        if (row.dots.size() < (inFamily ? kLeastInFamily : kLeastRow))
            return false;
        const double expected = double(countBeside(row) + 1) * kWithin / (kBesideTo - kBesideFrom);
        return double(row.dots.size()) > kTimesBeside * expected
            && logOfTail(row.dots.size() - (inFamily ? 1 : 2), expected) + std::log(tests)
            < std::log(kFalseAlarms)
            && !isEven(row) && !areDashes(row) && !isBowed(row);
    }

    // Whether the dots are those of an arc: how their offsets go with the square of their places,
    // which are -1 to 1 from end to end and have a mean square of a third.
    bool isBowed(const Row &row) const
    {
        const double half = 0.5 * (row.last - row.first);
        double products = 0.0;
        double squares = 0.0;
        double offsets = 0.0;
        for (int k : row.dots) {
            const double place = (row.along(middleOf(k)) - row.first) / half - 1.0;
            const double bend = place * place - 1.0 / 3.0;
            const double offset = fit::cross(row.axis, middleOf(k) - row.point);
            products += bend * offset;
            squares += bend * bend;
            offsets += offset * offset;
        }
        const double bow = std::fabs(products) / squares;
        const double error = std::sqrt(offsets / double(row.dots.size()) / squares);
        return bow > kLeastBow && bow > kBowSigmas * error;
    }

    bool areDashes(const Row &row) const
    {
        double inked = 0.0;
        for (int k : row.dots)
            inked += dots[std::size_t(k)].extent;
        return inked > kMostInk * (row.last - row.first);
    }

    bool isEven(const Row &row) const
    {
        std::vector<double> places;
        for (int k : row.dots)
            places.push_back(row.along(middleOf(k)));
        std::sort(places.begin(), places.end());
        double squares = 0.0;
        for (std::size_t k = 1; k < places.size(); ++k) {
            const double off = places[k] - places[k - 1] - row.spacing();
            squares += off * off / double(places.size() - 1);
        }
        return squares < kEvenSteps * kEvenSteps * row.spacing() * row.spacing();
    }

    void settleEnds(Row *row) const
    {
        const double most = std::clamp(kEndSpacings * row->spacing(), kLeastGap, kMostGap);
        const double ahead = distanceToEnd(*row, row->last, 1.0, most);
        const double behind = distanceToEnd(*row, row->first, -1.0, most);
        row->last += ahead;
        row->first -= behind;
    }

    // Pixels from a row's outer dot to what it ends on, 0 where that is too far away.
    double distanceToEnd(const Row &row, double from, double sign, double most) const
    {
        for (double s = 0.0; s <= most; s += 1.0) {
            const Point p = row.at(from + sign * s);
            if (hasSolid(int(std::floor(p.x)), int(std::floor(p.y)), 1))
                return s + 1.0;
        }
        double nearest = most;
        bool found = false;
        for (const Row &other : rows) {
            const double sine = fit::cross(row.axis, other.axis);
            if (std::fabs(sine) < 0.2)
                continue;
            const double t = fit::cross(other.point - row.point, other.axis) / sine;
            const double ahead = sign * (t - from);
            const double on = other.along(row.at(t));
            if (ahead >= 0.0 && ahead < nearest && on > other.first - most
                && on < other.last + most) {
                nearest = ahead;
                found = true;
            }
        }
        return found ? nearest : 0.0;
    }

    void erase(const Row &row)
    {
        for (int k : row.dots) {
            for (std::size_t cell : dots[std::size_t(k)].pixels)
                grey[cell] = 255;
        }
    }

    void paint(const Row &row)
    {
        for (double t = row.first; t <= row.last; t += 0.5) {
            const Point p = row.at(t);
            for (int y = int(p.y) - 2; y <= int(p.y) + 2; ++y) {
                for (int x = int(p.x) - 2; x <= int(p.x) + 2; ++x) {
                    const Point middle = { x + 0.5, y + 0.5 };
                    const double on = row.along(middle);
                    if (x >= 0 && y >= 0 && x < picture.width && y < picture.height
                        && on >= row.first && on <= row.last && row.beside(middle) <= kHalfWidth)
                        grey[picture.at(x, y)] = 0;
                }
            }
        }
    }

    const InkPicture &picture;
    std::vector<uint8_t> &grey;
    std::vector<uint8_t> solid; // a byte a pixel
    std::vector<Dot> dots;
    std::unordered_map<uint64_t, std::vector<int>> grid; // of dots, by cells of kAround
    std::vector<Row> rows;
    double tests = 1.0;    // rows that were looked at
    bool inFamily = false; // in given directions alone
};

} // namespace

std::size_t drawDottedLines(const InkPicture &picture, std::vector<uint8_t> *grey)
{
    return DottedLines(picture, grey).draw();
}

} // namespace ztrace::strokes
