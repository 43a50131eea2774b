// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/snap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ztrace::fit {

namespace {

const double kQuarter = 2.0 * std::atan(1.0); // a quarter turn
const double kUnknown = 0.01;                 // pixels that a picture does not tell
const double kNearCentre = 0.75;              // pixels between centres that may be one
const double kNearAngle = 0.035;              // radians between directions that may be one
const double kMostChance = 0.05;              // of a random direction to be as near to another one
const double kBesideCorner = 1.5;             // pixels from a corner where points see both lines
const double kLeastLength = 6.0;              // pixels of a line that tells a direction
const std::size_t kLeastPoints = 4;           // likewise
const int kLeastKnown = 3;     // points of a shape that speak for or against something
const double kMostMoved = 0.5; // pixels that a corner goes, and a side

// Without what renderers add by drawing curves as chords (kSoftSigma): straight sides are where
// they are, and circles that were drawn so show it in their misfit.
double sigmaOf(const Chain &chain, int k)
{
    const bool soft = chain.edge == Edge::Soft;
    const double least = soft ? kSoftFloor : kHardFloor;
    const double own = chain.sigma ? chain.sigma[k] : soft ? kSoftSigma : kStaircaseSigma;
    const double added = soft ? kSoftSigma * kSoftSigma - kSoftFloor * kSoftFloor : 0;
    return std::sqrt(std::max(least * least, own * own - added));
}

// Sum of (distance / sigma) squared, in points whose sigma is that.
struct Misfit
{
    double chi2 = 0;
    double weights = 0; // sum of 1 / sigma squared
    double points = 0;

    void add(double distance, double sigma)
    {
        chi2 += distance * distance / (sigma * sigma);
        weights += 1 / (sigma * sigma);
        ++points;
    }

    // How many times larger errors are than their sigmas say, squared.
    double scale() const { return std::max(1.0, chi2 / std::max(points, 1.0)); }

    bool allows(const Misfit &other) const
    {
        return other.chi2 - chi2 <= kMostRise * scale() + kUnknown * kUnknown * weights;
    }
};

Misfit misfitOf(const Piece &piece, const Chain &chain)
{
    Misfit misfit;
    for (int k = 0; k < chain.size; ++k) {
        const Point p = { chain.x[k], chain.y[k] };
        if (std::isfinite(p.x) && std::isfinite(p.y))
            misfit.add(distanceTo(piece, p), sigmaOf(chain, k));
    }
    return misfit;
}

// From -1/8 to 1/8 of a turn: lines that are parallel or at right angles have the same.
double folded(double angle)
{
    return std::remainder(angle, kQuarter);
}

// A direction with its variance, from the points of one line or from a rectangle's sides.
struct Direction
{
    std::size_t shape;
    int side; // of a polygon; -1: of the whole shape
    double angle;
    double variance;
    Point middle;
    double asked = 0; // what it shall be
    bool isAsked = false;
};

class Orderer
{
public:
    Orderer(std::vector<Ordered> *s, bool betweenThem) : shapes(*s), among(betweenThem) { }

    void run()
    {
        for (std::size_t k = 0; k < shapes.size(); ++k) {
            if (mayBeOrdered(shapes[k].path) && shapes[k].points.size >= kLeastKnown)
                addShape(k);
        }
        orderDirections();
        orderSquares();
        if (!among)
            return;
        orderRadii();
        orderCentres();
    }

private:
    Piece &whole(std::size_t k) { return shapes[k].path.pieces.front(); }

    bool isWholeShape(std::size_t k) { return isWhole(whole(k).kind); }

    void addShape(std::size_t k)
    {
        if (!isWholeShape(k)) {
            addPolygon(k);
            return;
        }
        wholes.push_back(k);
        if (whole(k).kind == Kind::Circle)
            circles.push_back(k);
        if (whole(k).kind == Kind::RoundedRectangle)
            addRectangle(k);
    }

    // A rectangle's angle by the curvature of its chi square.
    void addRectangle(std::size_t k)
    {
        const Misfit own = misfitOf(whole(k), shapes[k].points);
        const double step = kUnknown / std::max(1.0, std::max(whole(k).half[0], whole(k).half[1]));
        double sum = 0;
        for (double side : { -step, step }) {
            Piece turned = whole(k);
            turned.angle += side;
            sum += misfitOf(turned, shapes[k].points).chi2;
        }
        const double curvature = (sum - 2 * own.chi2) / (2 * step * step);
        if (curvature > 0)
            directions.push_back({ k, -1, folded(whole(k).angle),
                                   own.scale() / curvature + step * step, whole(k).centre });
    }

    // The points of each side but those beside its corners.
    std::vector<std::vector<int>> pointsOfSides(std::size_t k)
    {
        const std::vector<Piece> &pieces = shapes[k].path.pieces;
        const Chain &chain = shapes[k].points;
        std::vector<std::vector<int>> result(pieces.size());
        for (int i = 0; i < chain.size; ++i) {
            const Point p = { chain.x[i], chain.y[i] };
            if (!std::isfinite(p.x) || !std::isfinite(p.y))
                continue;
            std::size_t best = 0;
            double least = distanceTo(pieces[0], p);
            for (std::size_t s = 1; s < pieces.size(); ++s) {
                const double distance = distanceTo(pieces[s], p);
                if (distance < least) {
                    least = distance;
                    best = s;
                }
            }
            const Point a = p - pieces[best].start;
            const Point b = p - pieces[best].end;
            if (std::min(dot(a, a), dot(b, b)) > kBesideCorner * kBesideCorner)
                result[best].push_back(i);
        }
        return result;
    }

    void addPolygon(std::size_t k)
    {
        const std::vector<std::vector<int>> points = pointsOfSides(k);
        for (std::size_t s = 0; s < points.size(); ++s) {
            const Piece &line = shapes[k].path.pieces[s];
            const Point along = line.end - line.start;
            const double length = std::sqrt(dot(along, along));
            if (length < kLeastLength || points[s].size() < kLeastPoints)
                continue;
            addSide(k, int(s), points[s], (1 / length) * along, length);
        }
    }

    // The line of least squares through the points of a side.
    void addSide(std::size_t k, int side, const std::vector<int> &points, Point along,
                 double length)
    {
        const Chain &chain = shapes[k].points;
        Point middle = { 0, 0 };
        for (int i : points)
            middle = middle + (1.0 / double(points.size())) * Point { chain.x[i], chain.y[i] };
        double tt = 0, td = 0, weights = 0;
        for (int i : points) {
            const Point p = Point { chain.x[i], chain.y[i] } - middle;
            const double t = dot(p, along);
            tt += t * t;
            td += t * cross(along, p);
            weights += 1 / (sigmaOf(chain, i) * sigmaOf(chain, i));
        }
        if (!(tt > 0))
            return;
        const double slope = td / tt;
        Misfit own;
        for (int i : points) {
            const Point p = Point { chain.x[i], chain.y[i] } - middle;
            own.add(cross(along, p) - slope * dot(p, along), sigmaOf(chain, i));
        }
        const double sigma2 = double(points.size()) / weights;
        const double unknown = 2 * kUnknown / length;
        directions.push_back({ k, side, folded(std::atan2(along.y, along.x) + std::atan(slope)),
                               own.scale() * sigma2 / tt + unknown * unknown, middle });
    }

    // The axes first, then directions that several have.
    void orderDirections()
    {
        for (Direction &direction : directions) {
            if (isNear(direction.angle, direction.variance, 1)) {
                direction.isAsked = true;
                direction.asked = 0;
            }
        }
        std::vector<std::size_t> order;
        for (std::size_t k = 0; k < directions.size(); ++k) {
            if (!directions[k].isAsked)
                order.push_back(k);
        }
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return directions[a].variance < directions[b].variance;
        });
        for (std::size_t k = 0; k < order.size(); ++k)
            gather(order, k);
        for (std::size_t k = 0; k < directions.size();) {
            std::size_t end = k + 1;
            while (end < directions.size() && directions[end].shape == directions[k].shape)
                ++end;
            turn(k, end);
            k = end;
        }
    }

    // Within three standard deviations, which a random direction is hardly ever of one among so
    // many.
    static bool isNear(double difference, double variance, std::size_t among)
    {
        const double most = std::sqrt(kMostRise * variance);
        return std::fabs(difference) <= std::min(most, kNearAngle)
            && 2 * most * double(among) <= kMostChance * kQuarter;
    }

    // All that have the direction of the most certain one; its own shape's sides first, which are
    // few.
    void gather(const std::vector<std::size_t> &order, std::size_t from)
    {
        Direction &seed = directions[order[from]];
        if (seed.isAsked)
            return;
        double weight = 1 / seed.variance;
        double offset = 0;
        std::vector<std::size_t> found(1, order[from]);
        for (bool ofOthers : { false, true }) {
            for (std::size_t k = from + 1; k < order.size(); ++k) {
                const Direction &other = directions[order[k]];
                if (other.isAsked || (other.shape != seed.shape) != ofOthers
                    || (ofOthers && !among))
                    continue;
                const double difference = folded(other.angle - seed.angle);
                const std::size_t many
                    = ofOthers ? order.size() : shapes[seed.shape].path.pieces.size();
                if (!isNear(difference - offset, other.variance + 1 / weight, many))
                    continue;
                found.push_back(order[k]);
                weight += 1 / other.variance;
                offset += (difference - offset) / (other.variance * weight);
            }
        }
        for (std::size_t k : found) {
            directions[k].isAsked = found.size() > 1;
            directions[k].asked = seed.angle + offset;
        }
    }

    // One shape to the directions from there to there.
    void turn(std::size_t from, std::size_t end)
    {
        const std::size_t k = directions[from].shape;
        if (isWholeShape(k)) {
            Piece turned = whole(k);
            turned.angle += folded(directions[from].asked - turned.angle);
            if (directions[from].isAsked)
                take(k, turned);
            return;
        }
        const std::vector<Piece> &pieces = shapes[k].path.pieces;
        std::vector<Point> middle;
        std::vector<Point> along;
        for (const Piece &piece : pieces) {
            middle.push_back(0.5 * (piece.start + piece.end));
            along.push_back(piece.end - piece.start);
        }
        bool isAsked = false;
        for (std::size_t d = from; d < end; ++d) {
            if (!directions[d].isAsked)
                continue;
            isAsked = true;
            const std::size_t side = std::size_t(directions[d].side);
            middle[side] = directions[d].middle;
            along[side] = directed(along[side], directions[d].asked);
        }
        if (isAsked)
            takeSides(k, middle, along);
    }

    // The nearest vector at that angle or at a right one to it, exact where it is upright.
    static Point directed(Point v, double angle)
    {
        const double length = std::sqrt(dot(v, v));
        const Point u = { std::cos(angle), std::sin(angle) };
        const Point w = { -u.y, u.x };
        const double a = dot(v, u);
        const double b = dot(v, w);
        return std::fabs(a) >= std::fabs(b) ? std::copysign(length, a) * u
                                            : std::copysign(length, b) * w;
    }

    // Corners where the lines of neighbouring sides meet.
    void takeSides(std::size_t k, const std::vector<Point> &middle, const std::vector<Point> &along)
    {
        Path path = shapes[k].path;
        const std::size_t count = path.pieces.size();
        for (std::size_t s = 0; s < count; ++s) {
            const std::size_t next = (s + 1) % count;
            const double sine = cross(along[s], along[next]);
            if (!(std::fabs(sine)
                  > 0.1 * std::sqrt(dot(along[s], along[s]) * dot(along[next], along[next]))))
                return;
            const double t = cross(middle[next] - middle[s], along[next]) / sine;
            Point corner = middle[s] + t * along[s];
            keepExact(middle[s], along[s], &corner);
            keepExact(middle[next], along[next], &corner);
            const Point moved = corner - path.pieces[s].end;
            if (!(dot(moved, moved) <= kMostMoved * kMostMoved))
                return;
            path.pieces[s].end = path.pieces[next].start = corner;
        }
        if (misfitOfSides(shapes[k].path, k).allows(misfitOfSides(path, k))) {
            shapes[k].path = path;
            shapes[k].changed = true;
        }
    }

    static void keepExact(Point middle, Point along, Point *corner)
    {
        if (along.x == 0)
            corner->x = middle.x;
        if (along.y == 0)
            corner->y = middle.y;
    }

    Misfit misfitOfSides(const Path &path, std::size_t k)
    {
        const Chain &chain = shapes[k].points;
        Misfit misfit;
        for (int i = 0; i < chain.size; ++i) {
            const Point p = { chain.x[i], chain.y[i] };
            double least = HUGE_VAL;
            for (const Piece &piece : path.pieces)
                least = std::min(least, distanceTo(piece, p));
            if (std::isfinite(least))
                misfit.add(least, sigmaOf(chain, i));
        }
        return misfit;
    }

    bool allows(std::size_t k, const Piece &piece)
    {
        return misfitOf(whole(k), shapes[k].points).allows(misfitOf(piece, shapes[k].points));
    }

    bool take(std::size_t k, const Piece &piece)
    {
        if (!allows(k, piece))
            return false;
        whole(k) = piece;
        whole(k).start = whole(k).end = pointAt(piece, 0);
        shapes[k].changed = true;
        return true;
    }

    void orderSquares()
    {
        for (std::size_t k : wholes) {
            const Piece &own = whole(k);
            if (own.kind != Kind::RoundedRectangle || own.half[0] == own.half[1]
                || std::fabs(own.half[0] - own.half[1]) > kMostMoved)
                continue;
            Piece square = own;
            square.half[0] = square.half[1] = 0.5 * (own.half[0] + own.half[1]);
            take(k, square);
        }
    }

    double weightOf(std::size_t k) const { return double(shapes[k].points.size); }

    // Circles in the order of their radii, as long as the mean does for all.
    void orderRadii()
    {
        std::vector<std::size_t> order = circles;
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return whole(a).half[0] < whole(b).half[0];
        });
        for (std::size_t from = 0; from < order.size();) {
            std::size_t end = from + 1;
            double radius = whole(order[from]).half[0];
            while (end < order.size() && commonRadius(order, from, end + 1, &radius))
                ++end;
            for (std::size_t k = from; k < end && end - from > 1; ++k)
                take(order[k], withRadius(order[k], radius));
            from = end;
        }
    }

    Piece withRadius(std::size_t k, double radius)
    {
        Piece circle = whole(k);
        circle.half[0] = circle.half[1] = radius;
        return circle;
    }

    // The first and the last one are farthest from the mean.
    bool commonRadius(const std::vector<std::size_t> &order, std::size_t from, std::size_t end,
                      double *radius)
    {
        if (whole(order[end - 1]).half[0] - whole(order[from]).half[0] > kMostMoved)
            return false;
        double sum = 0, weights = 0;
        for (std::size_t k = from; k < end; ++k) {
            sum += weightOf(order[k]) * whole(order[k]).half[0];
            weights += weightOf(order[k]);
        }
        for (std::size_t k : { from, end - 1 }) {
            if (!allows(order[k], withRadius(order[k], sum / weights)))
                return false;
        }
        *radius = sum / weights;
        return true;
    }

    // Circles, ellipses and rectangles around one centre, from left to right.
    void orderCentres()
    {
        std::vector<std::size_t> order = wholes;
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return whole(a).centre.x < whole(b).centre.x;
        });
        std::vector<char> isUsed(order.size(), 0);
        for (std::size_t from = 0; from < order.size(); ++from) {
            if (isUsed[from])
                continue;
            std::vector<std::size_t> found(1, order[from]);
            Point centre = whole(order[from]).centre;
            for (std::size_t k = from + 1; k < order.size()
                 && whole(order[k]).centre.x - whole(order[from]).centre.x <= kNearCentre;
                 ++k) {
                if (!isUsed[k] && commonCentre(&found, order[k], &centre))
                    isUsed[k] = 1;
            }
            for (std::size_t k : found) {
                if (found.size() > 1)
                    take(k, withCentre(k, centre));
            }
        }
    }

    Piece withCentre(std::size_t k, Point centre)
    {
        Piece piece = whole(k);
        piece.centre = centre;
        return piece;
    }

    bool commonCentre(std::vector<std::size_t> *found, std::size_t k, Point *centre)
    {
        const Point away = whole(k).centre - *centre;
        if (dot(away, away) > kNearCentre * kNearCentre)
            return false;
        found->push_back(k);
        Point sum = { 0, 0 };
        double weights = 0;
        for (std::size_t member : *found) {
            sum = sum + weightOf(member) * whole(member).centre;
            weights += weightOf(member);
        }
        const Point mean = (1 / weights) * sum;
        for (std::size_t member : *found) {
            if (!allows(member, withCentre(member, mean))) {
                found->pop_back();
                return false;
            }
        }
        *centre = mean;
        return true;
    }

    std::vector<Ordered> &shapes;
    const bool among; // shapes among each other
    std::vector<std::size_t> wholes;
    std::vector<std::size_t> circles;
    std::vector<Direction> directions; // of one shape one after the other
};

} // namespace

bool mayBeOrdered(const Path &path)
{
    if (path.pieces.empty() || !path.closed)
        return false;
    if (isWhole(path.pieces.front().kind))
        return true;
    return path.pieces.size() >= 3 && path.pieces.size() <= std::size_t(kMostSides)
        && std::all_of(path.pieces.begin(), path.pieces.end(),
                       [](const Piece &piece) { return piece.kind == Kind::Line; });
}

void putInOrder(std::vector<Ordered> *shapes, Snap snap)
{
    if (snap != Snap::None)
        Orderer(shapes, snap == Snap::All).run();
}

} // namespace ztrace::fit
