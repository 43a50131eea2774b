// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/hatchfill.h"

#include "strokes/meeting.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;       // pixels between the levels along a line
const double kAside = 0.8;      // pixels that faint ink may lie beside the carrier
const int kWindow = 28;         // levels that tell whether there is faint ink
const double kFaint = 0.4;      // part of a line's own level that faint ink has
const double kFaintest = 0.2;   // the same in every window of a gap
const double kBetween = 0.4;    // of a line's level, what there is half way between two, at most
const double kOneCarrier = 1.3; // pixels that pieces of a line may lie beside each other
const double kCrumbPart = 0.5;  // of a hatch line, that what lies within it is long at most
const double kFewPixels = 8.0;  // missing up to an outline, without any ink
const double kUnseen = 10.0;    // the same for every pixel that noise may take
const std::size_t kLeastOutline = 8; // cross-sections of a line that hatches end on
const double kLeastAngle = 0.1;      // sine between that and the hatch
const double kFarthest = 90.0;       // pixels, and with faint ink
const double kOnOther = 1.0;         // pixels from an end to the line that it lies on
const double kBeyondEnd = 2.0;       // pixels that a line ends before one that is met
const double kOwnPlace = 0.35;       // of the distance of neighbours, around a missing line's place
const double kLongEnough = 5.0;      // widths of a line that is added
const double kMoreAlong = 1.5; // distances of neighbours that it may be longer than they at an end
const std::size_t kNeighbours = 8; // lines to either side that tell the distance
const double kMostPairs = 4e7;

// A line of a family: its offset across, and where it begins and ends along the direction.
struct Strip
{
    int atom = -1;
    double offset = 0.0;
    double from = 0.0;
    double to = 0.0;
    double level = 0.0; // mean of its ink
};

class Filler
{
public:
    Filler(const Coverage &c, const Measure &m, const HatchFamily &f, Web *w)
        : coverage(c), measure(m), u(f.direction), v({ -f.direction.y, f.direction.x }), web(*w)
    {
        for (int number : f.atoms) {
            if (atomOf(number).alive)
                strips.push_back(stripOf(number));
        }
        sort();
    }

    void fill()
    {
        joinPieces();
        for (Strip &strip : strips) {
            if (isHatch(strip))
                reachOutlines(&strip);
        }
        addMissing();
        dropCrumbs();
    }

private:
    Atom &atomOf(int number) { return web.atoms[std::size_t(number)]; }
    const Atom &atomOf(int number) const { return web.atoms[std::size_t(number)]; }
    bool isHatch(const Strip &strip) const { return atomOf(strip.atom).role == Role::Hatch; }

    void sort()
    {
        std::sort(strips.begin(), strips.end(), [](const Strip &a, const Strip &b) {
            return a.offset < b.offset || (!(b.offset < a.offset) && a.atom < b.atom);
        });
    }

    Strip stripOf(int number) const
    {
        const Atom &atom = atomOf(number);
        Strip strip;
        strip.atom = number;
        strip.offset = fit::dot(0.5 * (atom.place[0] + atom.place[1]), v);
        strip.from = std::min(fit::dot(atom.place[0], u), fit::dot(atom.place[1], u));
        strip.to = std::max(fit::dot(atom.place[0], u), fit::dot(atom.place[1], u));
        strip.level = meanOf(levelsBetween(atom.place[0], atom.place[1]));
        return strip;
    }

    // The darkest of three rows, at steps.
    std::vector<double> levelsBetween(Point a, Point b) const
    {
        const Point way = b - a;
        const double length = std::hypot(way.x, way.y);
        const int steps = std::max(1, int(length / kStep));
        const Point aside = (kAside / std::max(length, 1e-9)) * Point { -way.y, way.x };
        std::vector<double> levels;
        levels.reserve(std::size_t(steps));
        for (int k = 0; k < steps; ++k) {
            const Point p = a + ((k + 0.5) / steps) * way;
            levels.push_back(
                std::max({ coverage.at(p), coverage.at(p + aside), coverage.at(p - aside) }));
        }
        return levels;
    }

    static double meanOf(const std::vector<double> &levels)
    {
        double sum = 0.0;
        for (double level : levels)
            sum += level;
        return levels.empty() ? 0.0 : sum / double(levels.size());
    }

    // Least mean of so many levels in a row; of all where there are less.
    static double faintestOf(const std::vector<double> &levels)
    {
        const std::size_t n = levels.size();
        if (n <= std::size_t(kWindow))
            return meanOf(levels);
        double sum = 0.0;
        double least = 1e9;
        for (std::size_t k = 0; k < n; ++k) {
            sum += levels[k];
            if (k >= std::size_t(kWindow))
                sum -= levels[k - std::size_t(kWindow)];
            if (k + 1 >= std::size_t(kWindow))
                least = std::min(least, sum / kWindow);
        }
        return least;
    }

    bool hasFaintInk(Point a, Point b, double level) const
    {
        const std::vector<double> levels = levelsBetween(a, b);
        return meanOf(levels) > kFaint * level && faintestOf(levels) > kFaintest * level;
    }

    // The end of a line that is farther along the direction, or the other one.
    int endAt(const Atom &atom, bool far) const
    {
        const bool ascending = fit::dot(atom.place[1] - atom.place[0], u) > 0;
        return ascending == far ? 1 : 0;
    }

    void joinPieces()
    {
        for (std::size_t k = 0; k < strips.size(); ++k) {
            for (std::size_t i = k + 1; i < strips.size();) {
                if (strips[i].offset - strips[k].offset > 4 * kOneCarrier)
                    break;
                // What is longer now may go on with what did not fit before.
                i = join(k, i) ? k + 1 : i + 1;
            }
        }
        sort();
    }

    // Short lines within a hatch line whose slope noise has turned: they are drawn beside its ink.
    void dropCrumbs()
    {
        for (const Strip &strip : strips) {
            const Atom &line = atomOf(strip.atom);
            if (!line.alive || line.role != Role::Hatch)
                continue;
            for (Atom &other : web.atoms) {
                if (other.alive && &other != &line && other.shape <= Shape::Arc
                    && other.role == Role::Line && isWithin(other.place[0], strip, line)
                    && isWithin(other.place[1], strip, line)
                    && length(other) < kCrumbPart * (strip.to - strip.from))
                    absorb(&other, strip.atom);
            }
        }
    }

    static double length(const Atom &atom)
    {
        const Point way = atom.place[1] - atom.place[0];
        return std::hypot(way.x, way.y);
    }

    bool isWithin(Point place, const Strip &strip, const Atom &line) const
    {
        const double at = fit::dot(place, u);
        return at > strip.from - kOneCarrier && at < strip.to + kOneCarrier
            && std::fabs(line.carrier.distance(place)) < kOneCarrier;
    }

    bool join(std::size_t k, std::size_t i)
    {
        Strip &one = strips[k].from < strips[i].from ? strips[k] : strips[i];
        Strip &other = strips[k].from < strips[i].from ? strips[i] : strips[k];
        if (!isHatch(one) && !isHatch(other))
            return false;
        Atom &a = atomOf(one.atom);
        Atom &b = atomOf(other.atom);
        const int last = endAt(a, true);
        const int first = endAt(b, false);
        const double gap = other.from - one.to;
        const Atom &longer = one.to - one.from > other.to - other.from ? a : b;
        const Atom &shorter = &longer == &a ? b : a;
        if (std::fabs(longer.carrier.distance(shorter.place[0])) > kOneCarrier
            || std::fabs(longer.carrier.distance(shorter.place[1])) > kOneCarrier
            || !(gap < kOneCarrier
                 || hasFaintInk(a.place[last], b.place[first], std::min(one.level, other.level))
                 || (gap < unseenOf(longer) && !isCrossed(a, last, b, first))))
            return false;
        if (other.to < one.to)
            absorb(&b, one.atom); // drawn beside the same ink
        else
            become(&a, last, &b, first, one.atom);
        strips[k] = stripOf(one.atom);
        strips.erase(strips.begin() + std::ptrdiff_t(i));
        return true;
    }

    // Pixels that may be missing of a line up to an outline, or between two parts of it where none
    // is: of thin lines a threshold leaves stretches without any ink.
    double unseenOf(const Atom &atom) const
    {
        return kFewPixels + kUnseen * measure.takenOf(atom.width);
    }

    // Whether an outline lies between two ends.
    bool isCrossed(const Atom &a, int last, const Atom &b, int first) const
    {
        const Point way = b.place[first] - a.place[last];
        const double length = std::hypot(way.x, way.y);
        Point place;
        return length > kOnOther
            && outlineAhead(a, last, (1 / length) * way, length + kBeyondEnd, &place);
    }

    // One line of both, the first end of which is the first line's other end.
    void become(Atom *a, int last, Atom *b, int first, int heir)
    {
        std::vector<Section> samples = a->samples;
        if (last == 0)
            std::reverse(samples.begin(), samples.end());
        std::vector<Section> more = b->samples;
        if (first == 1)
            std::reverse(more.begin(), more.end());
        samples.insert(samples.end(), more.begin(), more.end());
        const Point ends[] = { a->place[1 - last], b->place[1 - first] };
        const int joints[] = { a->joint[1 - last], b->joint[1 - first] };
        a->moments = together(a->moments, b->moments);
        a->carrier = fit::lineOf(a->moments, fit::lineMoments(a->moments), ends[0], ends[1]);
        a->width = samples.size() > 0 && more.size() > a->samples.size() ? b->width : a->width;
        a->samples = std::move(samples);
        for (int end = 0; end < 2; ++end) {
            a->place[end] = a->carrier.foot(ends[end]);
            a->joint[end] = joints[end];
        }
        a->role = Role::Hatch;
        absorb(b, heir);
    }

    static void absorb(Atom *atom, int heir)
    {
        atom->alive = false;
        atom->heir = heir;
        atom->samples = std::vector<Section>();
    }

    // Whether a place lies on an atom, not only on its carrier.
    static bool isOn(const Atom &other, Point place)
    {
        if (other.carrier.arc)
            return other.shape == Shape::Circle
                || std::any_of(other.samples.begin(), other.samples.end(), [&](const Section &s) {
                       return std::hypot(s.centre.x - place.x, s.centre.y - place.y)
                           < other.width + kBeyondEnd;
                   });
        const Point way = other.place[1] - other.place[0];
        const double length = std::hypot(way.x, way.y);
        const double at = fit::dot(place - other.place[0], (1 / std::max(length, 1e-9)) * way);
        return at > -other.width - kBeyondEnd && at < length + other.width + kBeyondEnd;
    }

    // Ends of a line that lie on no other one go on to the next.
    void reachOutlines(Strip *strip)
    {
        for (bool far : { false, true }) {
            Atom &atom = atomOf(strip->atom);
            const int end = endAt(atom, far);
            Point place = atom.place[end];
            if (!isOnOutline(atom, end)
                && outlineAhead(atom, end, far ? u : -1.0 * u, kFarthest, &place)
                && (fit::dot(place - atom.place[end], far ? u : -1.0 * u) < unseenOf(atom)
                    || hasFaintInk(atom.place[end], place, strip->level)))
                atom.place[end] = place;
        }
        *strip = stripOf(strip->atom);
    }

    bool isOutline(const Atom &other) const
    {
        return other.alive && other.shape != Shape::Ellipse && other.role != Role::Text
            && other.role != Role::Hatch && other.samples.size() >= kLeastOutline
            && (other.carrier.arc
                || std::fabs(fit::cross(other.carrier.direction, u)) > kLeastAngle);
    }

    bool isOnOutline(const Atom &atom, int end) const
    {
        const Point place = atom.place[end];
        return std::any_of(web.atoms.begin(), web.atoms.end(), [&](const Atom &other) {
            return isOutline(other) && std::fabs(other.carrier.distance(place)) < kOnOther
                && isOn(other, place);
        });
    }

    // The first outline from an end on, within so many pixels.
    bool outlineAhead(const Atom &atom, int end, Point out, double within, Point *place) const
    {
        double nearest = within;
        for (const Atom &other : web.atoms) {
            if (!isOutline(other))
                continue;
            const Crossings crossings = crossingsOf(atom.carrier, other.carrier);
            for (int c = 0; c < crossings.count; ++c) {
                const Point at = crossings.place[c];
                const double ahead = fit::dot(at - atom.place[end], out);
                if (ahead > -kBeyondEnd && ahead < nearest && isOn(other, at)) {
                    nearest = ahead;
                    *place = at;
                }
            }
        }
        return nearest < within;
    }

    // Distance to the next hatch beside a line on one side; 0 where there is none.
    double distanceBeside(std::size_t k, int side) const
    {
        const Strip &strip = strips[k];
        const std::ptrdiff_t n = std::ptrdiff_t(strips.size());
        for (std::ptrdiff_t i = std::ptrdiff_t(k) + side; i >= 0 && i < n; i += side) {
            const Strip &other = strips[std::size_t(i)];
            const double distance = std::fabs(other.offset - strip.offset);
            const double common = std::min(strip.to, other.to) - std::max(strip.from, other.from);
            const double shorter = std::min(strip.to - strip.from, other.to - other.from);
            if (isHatch(other) && common > 0.4 * shorter && distance > 2 * kOneCarrier)
                return distance;
        }
        return 0.0;
    }

    // The distance of the lines around one.
    double pitchAt(std::size_t k) const
    {
        std::vector<double> distances;
        const std::size_t first = k < kNeighbours ? 0 : k - kNeighbours;
        for (std::size_t i = first; i < std::min(strips.size(), k + kNeighbours + 1); ++i) {
            const double common
                = std::min(strips[i].to, strips[k].to) - std::max(strips[i].from, strips[k].from);
            const double distance = isHatch(strips[i]) && common > 0 ? distanceBeside(i, 1) : 0.0;
            if (distance > 0.0)
                distances.push_back(distance);
        }
        if (distances.size() < 3)
            return 0.0;
        const auto middle = distances.begin() + std::ptrdiff_t(distances.size() / 2);
        std::nth_element(distances.begin(), middle, distances.end());
        return *middle;
    }

    // Beside every line, and beside those that were added.
    void addMissing()
    {
        std::vector<int> left;
        for (const Strip &strip : strips) {
            if (isHatch(strip))
                left.push_back(strip.atom);
        }
        std::size_t most = 2 * left.size();
        for (std::size_t next = 0; next < left.size(); ++next) {
            const int number = left[next];
            for (int side : { -1, 1 }) {
                const auto found
                    = std::find_if(strips.begin(), strips.end(),
                                   [number](const Strip &s) { return s.atom == number; });
                const std::size_t k = std::size_t(found - strips.begin());
                const double pitch = pitchAt(k);
                if (!(pitch > 0.0) || left.size() >= most || !addBeside(k, side, pitch))
                    continue;
                left.push_back(strips.back().atom);
                sort();
            }
        }
    }

    // Parts of the place beside a line that other lines take.
    bool isTaken(const Strip &strip, double offset, double pitch) const
    {
        double taken = 0.0;
        for (const Strip &other : strips) {
            if (std::fabs(other.offset - offset) < kOwnPlace * pitch)
                taken += std::max(0.0,
                                  std::min(strip.to, other.to) - std::max(strip.from, other.from));
        }
        return taken > kOwnPlace * (strip.to - strip.from);
    }

    bool addBeside(std::size_t k, int side, double pitch)
    {
        const Strip strip = strips[k];
        const double offset = strip.offset + side * pitch;
        if (isTaken(strip, offset, pitch))
            return false;
        const double from = strip.from - kMoreAlong * pitch;
        const double to = strip.to + kMoreAlong * pitch;
        double bestOffset = offset;
        double best = -1.0;
        for (double aside = -1.5; aside < 1.6; aside += 0.5) {
            const double level = meanOf(levelsAt(offset + aside, strip.from, strip.to));
            if (level > best) {
                best = level;
                bestOffset = offset + aside;
            }
        }
        double begin = 0.0;
        double end = 0.0;
        if (!longestRun(levelsAt(bestOffset, from, to), kFaint * strip.level, &begin, &end))
            return false;
        const Atom &like = atomOf(strip.atom);
        begin += from;
        end += from;
        if (isTaken({ -1, bestOffset, begin, end, 0.0 }, bestOffset, pitch))
            return false;
        const double inside = meanOf(levelsAt(bestOffset, begin, end));
        const double beside = meanOf(levelsAt(bestOffset + 0.5 * side * pitch, begin, end));
        const double before = meanOf(levelsAt(bestOffset - 0.5 * side * pitch, begin, end));
        if (end - begin < kLongEnough * like.width + kFewPixels
            || !isInkedAllAlong(levelsAt(bestOffset, begin, end), strip.level)
            || std::max(beside, before) > kBetween * inside)
            return false;
        return add(like.width, bestOffset, begin, end);
    }

    // An outline that crosses a place without a hatch leaves ink in its middle alone.
    static bool isInkedAllAlong(const std::vector<double> &levels, double level)
    {
        const auto third = std::ptrdiff_t(levels.size() / 3);
        return meanOf({ levels.begin(), levels.begin() + third }) > kFaintest * level
            && meanOf({ levels.end() - third, levels.end() }) > kFaintest * level;
    }

    std::vector<double> levelsAt(double offset, double from, double to) const
    {
        return levelsBetween(from * u + offset * v, to * u + offset * v);
    }

    // The longest stretch with faint ink all along, in pixels from the first level.
    static bool longestRun(const std::vector<double> &levels, double least, double *from,
                           double *to)
    {
        std::size_t longest = 0;
        std::size_t length = 0;
        double sum = 0.0;
        for (std::size_t k = 0; k < levels.size(); ++k) {
            sum += levels[k];
            if (k >= std::size_t(kWindow))
                sum -= levels[k - std::size_t(kWindow)];
            length = k + 1 >= std::size_t(kWindow) && sum / kWindow > least ? length + 1 : 0;
            if (length > longest) {
                longest = length;
                *to = (double(k) + 1 - 0.25 * kWindow) * kStep;
                *from = (double(k) + 1 - double(length) - 0.75 * kWindow) * kStep;
            }
        }
        return longest > 0;
    }

    bool add(double width, double offset, double from, double to)
    {
        Atom atom;
        for (double t = from; t <= to; t += 1.0) {
            Section section;
            section.centre = t * u + offset * v;
            section.width = width;
            section.clear = true;
            atom.samples.push_back(section);
        }
        refit(&atom, measure);
        atom.shape = Shape::Line;
        atom.carrier = fit::lineOf(atom.moments, fit::lineMoments(atom.moments),
                                   atom.samples.front().centre, atom.samples.back().centre);
        atom.width = width;
        atom.place[0] = from * u + offset * v;
        atom.place[1] = to * u + offset * v;
        atom.role = Role::Hatch;
        web.atoms.push_back(std::move(atom));
        Strip strip = stripOf(int(web.atoms.size()) - 1);
        reachOutlines(&strip);
        strips.push_back(strip);
        return true;
    }

    const Coverage &coverage;
    const Measure &measure;
    const Point u;
    const Point v;
    Web &web;
    std::vector<Strip> strips;
};

} // namespace

void fillHatches(const Coverage &coverage, const Measure &measure,
                 const std::vector<HatchFamily> &families, Web *web)
{
    for (const HatchFamily &family : families) {
        if (double(family.atoms.size()) * double(web->atoms.size()) < kMostPairs)
            Filler(coverage, measure, family, web).fill();
    }
}

} // namespace ztrace::strokes
