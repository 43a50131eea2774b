// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/snaplines.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

namespace ztrace::strokes {

namespace {

const double kQuarter = 2.0 * std::atan(1.0); // a quarter turn
const double kNearAngle = 0.035;              // radians between directions that may be one
const double kMostChance = 0.05;              // random directions as near, for each that is taken
const double kLeastLength = 6.0;              // pixels of a line that tells a direction
const double kLeastSine = 0.1;                // of lines whose crossing is a place
const double kOnLine = 1e-3;                  // pixels from a line of an end that lies on it
const double kSamePlace = 1e-6;               // pixels between ends that are one
const int kMostRounds = 200;                  // of taking back what is not allowed

// From -1/8 to 1/8 of a turn: lines that are parallel or at right angles have the same.
double folded(double angle)
{
    return std::remainder(angle, kQuarter);
}

struct Line
{
    std::size_t stroke;
    double angle;
    double variance;
    Point middle; // of its cross-sections
    double weight;
    double asked = 0; // the direction that it shall have
    bool isAsked = false;
};

// Where strokes end, and which lines go through there.
struct Node
{
    Point place;
    std::vector<std::pair<std::size_t, int>> ends; // strokes, 0 for the start and 1 for the end
    std::vector<std::size_t> lines;                // strokes that are lines, ending there or not
};

// Which lines come near to a place, in ascending order.
class LinePlaces
{
public:
    explicit LinePlaces(const std::vector<Stroke> &strokes)
    {
        for (std::size_t k = 0; k < strokes.size(); ++k) {
            const fit::Piece &line = strokes[k].piece;
            if (line.kind != fit::Kind::Line)
                continue;
            const Point along = line.end - line.start;
            // A point on the line is at most a quarter of a cell from one of these.
            const int steps = 1 + int(2 * std::hypot(along.x, along.y) / kCell);
            for (int step = 0; step <= steps; ++step) {
                std::vector<std::size_t> &cell
                    = cells[cellOf(line.start + (double(step) / steps) * along)];
                if (cell.empty() || cell.back() != k)
                    cell.push_back(k);
            }
        }
    }

    std::vector<std::size_t> near(Point place) const
    {
        std::vector<std::size_t> found;
        const std::pair<int, int> middle = cellOf(place);
        for (int k = 0; k < 9; ++k) {
            const auto cell = cells.find({ middle.first + k % 3 - 1, middle.second + k / 3 - 1 });
            if (cell != cells.end())
                found.insert(found.end(), cell->second.begin(), cell->second.end());
        }
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
        return found;
    }

private:
    static constexpr double kCell = 32.0; // pixels

    static std::pair<int, int> cellOf(Point p)
    {
        return { int(std::floor(p.x / kCell)), int(std::floor(p.y / kCell)) };
    }

    std::map<std::pair<int, int>, std::vector<std::size_t>> cells;
};

class LineOrder
{
public:
    LineOrder(bool a, StrokeDrawing *d) : amongAll(a), sigma(d->sigma), strokes(d->strokes)
    {
        lineOf.assign(strokes.size(), -1);
        for (std::size_t k = 0; k < strokes.size(); ++k)
            addLine(k);
        findNodes();
    }

    void run()
    {
        askForAxes();
        askForEachOther();
        for (int round = 0; round < kMostRounds; ++round) {
            placeCarriers();
            bool agrees = placeNodes();
            std::vector<fit::Piece> pieces = drawn();
            agrees = takeBackWhatIsOff(pieces) && agrees;
            if (!agrees)
                continue;
            for (std::size_t k = 0; k < strokes.size(); ++k)
                strokes[k].piece = pieces[k];
            return;
        }
    }

private:
    // The line of least squares through the cross-sections.
    void addLine(std::size_t k)
    {
        const Stroke &stroke = strokes[k];
        const Point along = stroke.piece.end - stroke.piece.start;
        const double length = std::hypot(along.x, along.y);
        if (stroke.piece.kind != fit::Kind::Line || stroke.role == Role::Text
            || length < kLeastLength || stroke.samples.size() < kLeastSections)
            return;
        const double count = double(stroke.samples.size());
        Point middle = { 0, 0 };
        for (const Section &section : stroke.samples)
            middle = middle + (1 / count) * section.centre;
        double tt = 0, td = 0, dd = 0;
        for (const Section &section : stroke.samples) {
            const Point p = section.centre - middle;
            const double t = dot(p, along) / length;
            const double d = cross(along, p) / length;
            tt += t * t;
            td += t * d;
            dd += d * d;
        }
        if (!(tt > 0))
            return;
        const double scale = std::max(1.0, (dd - td * td / tt) / (count * sigma * sigma));
        const double unknown = 2 * kUnknown / length;
        lineOf[k] = int(lines.size());
        lines.push_back({ k, folded(std::atan2(along.y, along.x) + std::atan(td / tt)),
                          scale * sigma * sigma / tt + unknown * unknown, middle, count });
    }

    void findNodes()
    {
        std::map<std::pair<double, double>, std::size_t> known;
        nodeOf.assign(strokes.size(), { -1, -1 });
        for (std::size_t k = 0; k < strokes.size(); ++k) {
            if (fit::isWhole(strokes[k].piece.kind))
                continue;
            for (int end : { 0, 1 }) {
                const Point place = end == 0 ? strokes[k].piece.start : strokes[k].piece.end;
                const auto key = std::make_pair(std::round(place.x / kSamePlace),
                                                std::round(place.y / kSamePlace));
                const auto found = known.emplace(key, nodes.size());
                if (found.second)
                    nodes.push_back({ place, {}, {} });
                nodes[found.first->second].ends.push_back({ k, end });
                nodeOf[k][std::size_t(end)] = int(found.first->second);
            }
        }
        const LinePlaces linePlaces(strokes);
        for (Node &node : nodes) {
            for (std::size_t k : linePlaces.near(node.place)) {
                if (passes(strokes[k].piece, node.place))
                    node.lines.push_back(k);
            }
        }
    }

    static bool passes(const fit::Piece &line, Point p)
    {
        if (p.x < std::min(line.start.x, line.end.x) - kOnLine
            || p.x > std::max(line.start.x, line.end.x) + kOnLine
            || p.y < std::min(line.start.y, line.end.y) - kOnLine
            || p.y > std::max(line.start.y, line.end.y) + kOnLine)
            return false;
        return fit::distanceTo(line, p) < kOnLine;
    }

    bool near(double difference, double variance) const
    {
        return std::fabs(difference) <= std::min(std::sqrt(fit::kMostRise * variance), kNearAngle);
    }

    // Of so many random directions, how many are as near.
    static double byChance(double variance, std::size_t among)
    {
        return 2 * std::sqrt(fit::kMostRise * variance) * double(among) / kQuarter;
    }

    void askForAxes()
    {
        for (Line &line : lines) {
            line.isAsked
                = near(line.angle, line.variance) && byChance(line.variance, 1) <= kMostChance;
            line.asked = 0;
        }
    }

    // The most certain line gathers what is near it, then the next one of the others. The more it
    // has, the less it is chance that one more is near.
    void askForEachOther()
    {
        findNeighbours();
        std::vector<std::size_t> order;
        for (std::size_t k = 0; k < lines.size(); ++k) {
            if (!lines[k].isAsked)
                order.push_back(k);
        }
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return lines[a].variance < lines[b].variance;
        });
        for (std::size_t seed : order) {
            if (!lines[seed].isAsked)
                gather(seed, order);
        }
    }

    // Lines that meet a line.
    void findNeighbours()
    {
        neighbours.assign(lines.size(), {});
        for (const Node &node : nodes) {
            for (std::size_t a : node.lines) {
                for (std::size_t b : node.lines) {
                    if (a != b && lineOf[a] >= 0 && lineOf[b] >= 0)
                        neighbours[std::size_t(lineOf[a])].push_back(std::size_t(lineOf[b]));
                }
            }
        }
    }

    void gather(std::size_t seed, const std::vector<std::size_t> &order)
    {
        std::vector<std::size_t> found(1, seed);
        double weight = 1 / lines[seed].variance;
        double offset = 0;
        std::vector<char> isSeen(lines.size(), 0);
        isSeen[seed] = 1;
        const auto look = [&](const std::vector<std::size_t> &candidates) {
            for (std::size_t k : candidates) {
                if (isSeen[k] || lines[k].isAsked)
                    continue;
                isSeen[k] = 1;
                const double difference = folded(lines[k].angle - lines[seed].angle) - offset;
                const double variance = lines[k].variance + 1 / weight;
                if (!near(difference, variance)
                    || byChance(variance, candidates.size()) > kMostChance * double(found.size()))
                    continue;
                found.push_back(k);
                weight += 1 / lines[k].variance;
                offset += difference / (lines[k].variance * weight);
            }
        };
        for (std::size_t k = 0; k < found.size(); ++k)
            look(neighbours[found[k]]);
        if (amongAll)
            look(order);
        if (found.size() < 2)
            return;
        for (std::size_t k : found) {
            lines[k].isAsked = true;
            lines[k].asked = lines[seed].angle + offset;
        }
    }

    // A point and a direction of every line that is asked for one. Lines that go on from one
    // another have one carrier.
    void placeCarriers()
    {
        carrierMiddle.clear();
        carrierAlong.clear();
        leader.clear();
        for (std::size_t k = 0; k < lines.size(); ++k) {
            const fit::Piece &piece = strokes[lines[k].stroke].piece;
            carrierMiddle.push_back(lines[k].middle);
            carrierAlong.push_back(directed(piece.end - piece.start, lines[k].asked));
            leader.push_back(k);
        }
        for (std::size_t k = 0; k < lines.size(); ++k) {
            for (std::size_t other : neighbours[k]) {
                if (lines[k].isAsked && lines[other].isAsked && lines[k].asked == lines[other].asked
                    && std::fabs(cross(carrierAlong[k], carrierAlong[other])) < 1e-9
                    && std::fabs(cross(carrierAlong[k], carrierMiddle[other] - carrierMiddle[k]))
                        < kMostMoved)
                    leader[leaderOf(other)] = leaderOf(k);
            }
        }
        std::vector<double> weights(lines.size(), 0);
        std::vector<Point> sums(lines.size(), Point { 0, 0 });
        for (std::size_t k = 0; k < lines.size(); ++k) {
            weights[leaderOf(k)] += lines[k].weight;
            sums[leaderOf(k)] = sums[leaderOf(k)] + lines[k].weight * lines[k].middle;
        }
        for (std::size_t k = 0; k < lines.size(); ++k) {
            carrierMiddle[k] = (1 / weights[leaderOf(k)]) * sums[leaderOf(k)];
            carrierAlong[k] = carrierAlong[leaderOf(k)];
        }
    }

    std::size_t leaderOf(std::size_t k) const
    {
        while (leader[k] != k)
            k = leader[k];
        return k;
    }

    // A unit vector at that angle or at a right one to it, exact where it is upright.
    static Point directed(Point v, double angle)
    {
        const Point u = angle == 0 ? Point { 1, 0 } : Point { std::cos(angle), std::sin(angle) };
        const Point w = { -u.y, u.x };
        return std::fabs(dot(v, u)) >= std::fabs(dot(v, w)) ? u : w;
    }

    bool isAsked(std::size_t stroke) const
    {
        return lineOf[stroke] >= 0 && lines[std::size_t(lineOf[stroke])].isAsked;
    }

    void carrierOf(std::size_t stroke, Point *on, Point *direction) const
    {
        if (isAsked(stroke)) {
            *on = carrierMiddle[std::size_t(lineOf[stroke])];
            *direction = carrierAlong[std::size_t(lineOf[stroke])];
            return;
        }
        const fit::Piece &piece = strokes[stroke].piece;
        const Point whole = piece.end - piece.start;
        *on = piece.start;
        *direction = (1 / std::max(1e-12, std::hypot(whole.x, whole.y))) * whole;
    }

    // False where lines do not agree on a place: of these the least certain one is not asked any
    // more.
    bool placeNodes()
    {
        bool agrees = true;
        places.clear();
        for (const Node &node : nodes) {
            places.push_back(node.place);
            std::vector<std::size_t> order = node.lines;
            std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
                return certaintyOf(a) > certaintyOf(b);
            });
            if (order.empty() || !isAsked(order.front()))
                continue;
            places.back() = meetingOf(node.place, order);
            const Point moved = places.back() - node.place;
            for (std::size_t k = order.size(); k-- > 0;) {
                if (!isAsked(order[k])
                    || (isOn(order[k], places.back())
                        && std::hypot(moved.x, moved.y) <= kMostMoved))
                    continue;
                lines[std::size_t(lineOf[order[k]])].isAsked = false;
                agrees = false;
                break;
            }
        }
        return agrees;
    }

    double certaintyOf(std::size_t stroke) const
    {
        return isAsked(stroke) ? 1 / lines[std::size_t(lineOf[stroke])].variance : 0;
    }

    bool isOn(std::size_t stroke, Point p) const
    {
        Point on, direction;
        carrierOf(stroke, &on, &direction);
        return std::fabs(cross(direction, p - on)) < 1e-6;
    }

    // Where the first line meets the first one of the others that is not parallel to it; without
    // such a one the nearest place on it.
    Point meetingOf(Point place, const std::vector<std::size_t> &order) const
    {
        Point on, direction;
        carrierOf(order.front(), &on, &direction);
        for (std::size_t k = 1; k < order.size(); ++k) {
            Point other, across;
            carrierOf(order[k], &other, &across);
            const double sine = cross(direction, across);
            if (std::fabs(sine) < kLeastSine)
                continue;
            Point met = on + (cross(other - on, across) / sine) * direction;
            keepExact(on, direction, &met);
            keepExact(other, across, &met);
            return met;
        }
        Point foot = on + dot(place - on, direction) * direction;
        keepExact(on, direction, &foot);
        return foot;
    }

    static void keepExact(Point on, Point direction, Point *place)
    {
        if (direction.x == 0)
            place->x = on.x;
        if (direction.y == 0)
            place->y = on.y;
    }

    std::vector<fit::Piece> drawn() const
    {
        std::vector<fit::Piece> pieces;
        for (std::size_t k = 0; k < strokes.size(); ++k) {
            pieces.push_back(strokes[k].piece);
            if (nodeOf[k][0] < 0)
                continue;
            pieces.back().start = places[std::size_t(nodeOf[k][0])];
            pieces.back().end = places[std::size_t(nodeOf[k][1])];
        }
        return pieces;
    }

    // True where all is allowed; else what is not, or what moved it, is not asked any more.
    bool takeBackWhatIsOff(const std::vector<fit::Piece> &pieces)
    {
        bool allowed = true;
        for (std::size_t k = 0; k < strokes.size(); ++k) {
            const fit::Piece &own = strokes[k].piece;
            const bool moved = own.start.x != pieces[k].start.x || own.start.y != pieces[k].start.y
                || own.end.x != pieces[k].end.x || own.end.y != pieces[k].end.y;
            if (!moved
                || misfitOf(own, strokes[k].samples, sigma)
                       .allows(misfitOf(pieces[k], strokes[k].samples, sigma)))
                continue;
            allowed = false;
            takeBack(k);
        }
        return allowed;
    }

    void takeBack(std::size_t stroke)
    {
        if (isAsked(stroke)) {
            lines[std::size_t(lineOf[stroke])].isAsked = false;
            return;
        }
        for (int node : nodeOf[stroke]) {
            for (std::size_t line : nodes[std::size_t(node)].lines) {
                if (isAsked(line))
                    lines[std::size_t(lineOf[line])].isAsked = false;
            }
        }
    }

    const bool amongAll;
    const double sigma;
    std::vector<Stroke> &strokes;
    std::vector<Line> lines;
    std::vector<int> lineOf; // of every stroke; -1: none that tells a direction
    std::vector<Node> nodes;
    std::vector<std::array<int, 2>> nodeOf; // of every stroke's ends; -1 of whole shapes
    std::vector<std::vector<std::size_t>> neighbours;
    std::vector<Point> carrierMiddle; // of lines that are asked
    std::vector<Point> carrierAlong;
    std::vector<std::size_t> leader; // of lines with a common carrier
    std::vector<Point> places;
};

} // namespace

Misfit misfitOf(const fit::Piece &piece, const std::vector<Section> &samples, double sigma)
{
    Misfit misfit;
    for (const Section &section : samples) {
        const double distance = fit::distanceTo(piece, section.centre) / sigma;
        misfit.chi2 += distance * distance;
        misfit.weights += 1 / (sigma * sigma);
        ++misfit.sections;
    }
    return misfit;
}

void snapLines(bool amongAll, StrokeDrawing *drawing)
{
    LineOrder(amongAll, drawing).run();
}

} // namespace ztrace::strokes
