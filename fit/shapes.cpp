// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/shapes.h"

#include "fit/shapefits.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
// Area over the root of the moments' determinant: 4 pi for ellipses, which is the largest there is,
// 12 for rectangles, between them for rounded ones. Room for noise and the steps of small shapes.
const double kLeastRatio = 11.6;
// Pixels from both sides of a corner within which pixels see both.
const double kCornerZone = 2;
// Points of a shape for each that may be left out there: of the smallest all are near corners.
const int kCountedALeftOut = 6;
// Radii below this cannot be told from a corner: its points are all in the zone.
const double kLeastRadius = 1.5;
// Half the width from which ends of bars tell whether they are flat or round: of 400 lines of 2.8
// px four were slots, of 3 px and more none.
const double kLeastRadiusOfSlot = 1.45;
const double kLeastRadiusOfSteps = 2.3;
// Half the length between the ends' centres, in radii: shorter ones are discs.
const double kLeastSlot = 0.25;
// What a point that was left out at a corner of a rectangle counts beside a slot. Lines of 2.5 and
// 3 px leave 0 to 5 out, and as slots are farther off by 10 to 120; of slots 4 to 8. And by how
// much a slot of one bit must be nearer: of 400 lines of 5 px six are slots, of 400 slots 31 are
// none; 17 and five without.
const double kChi2OfLeftOut = 3;
const double kClearlyRound = 10;
// Points to both sides for directions along a rectangle's sides.
const int kDirectionReach = 4;
// Points of a small staircase, whose chords tell no direction, and directions in a quarter turn
// that are tried there: with one a square of 5 px was found in two of ten places.
const int kFewSteps = 32;
const int kDirectionsOfFew = 4;
const double kClearlyNearer = 4; // sum of squares by which another direction is better
// Of these by how much a circle or an ellipse must be farther off, as a sum of squares, than a
// rectangle, if that is drawn. Of discs of 3 to 5 px 2 % are; of squares of 4, 5 and 6 px a half,
// nine and all of ten.
const double kRatherRectangle = 15;

// Length over width from which the axis of inertia is the better direction, and the area the better
// width.
const double kLong = 4;
// Pixels by which points of a staircase may lie farther off than half a crack: corners of pixels at
// the corners of the shape.
const double kStepsRoom = 0.4;
// The same of a circle that is consistent with all of its steps, whatever they add up to: up to
// this many deviations squared a point. Of a hundred circles in one bit a few are beyond what is
// expected and were ellipses and rounded squares.
const double kConsistentRoom = 0.13;
const double kConsistentChi2 = 1.75;
// Pixels that a point of a large soft circle or ellipse may be off, as a deviation: renderers draw
// curves as polygons, the farther off the larger they are. And how many points make it a large one.
const double kSigmaOfWhole = 0.085;
const int kManyPoints = 100;
const double kAnyWeight = 1e9;
// Pixels between the axes of an ellipse that is drawn as a circle.
const double kNearlyRound = 0.15;

Piece wholePiece(Kind kind, const Points &points, Point centre, double a, double b, double angle)
{
    Piece piece = {};
    piece.kind = kind;
    piece.count = points.size();
    piece.centre = centre;
    // The first axis is the longer one, its angle within half a turn.
    if (b > a && kind == Kind::Ellipse) {
        std::swap(a, b);
        angle += kPi / 2;
    }
    piece.half[0] = a;
    piece.half[1] = b;
    piece.angle = angle - kPi * std::floor(angle / kPi + 0.5);
    return piece;
}

class Finder
{
public:
    Finder(const Table &t) : table(t), points(t.points), moments(areaMoments(t.points)) { }

    std::vector<WholeShape> run()
    {
        if (!points.closed || points.size() < kShapePoints || !isPossible())
            return {};
        const bool isRound = offered(table.prices.circle) && circle();
        if (isRound && !(isFewSteps() && shapes.front().chi2 > kRatherRectangle))
            return shapes;
        if (offered(table.prices.ellipse) && !isRound) {
            ellipse();
            preferCircle();
        }
        if (offered(table.prices.rectangle) || offered(table.prices.roundedRectangle))
            rectangle();
        if (isFewSteps())
            dropRound();
        if (isRound && !shapes.empty() && shapes.front().piece.kind == Kind::Circle)
            shapes.erase(shapes.begin() + 1, shapes.end());
        std::stable_sort(shapes.begin(), shapes.end(), [](const auto &a, const auto &b) {
            return a.asExpected != b.asExpected ? a.asExpected : a.cost < b.cost;
        });
        return shapes;
    }

private:
    bool isPossible()
    {
        const double mean = 0.5 * (moments.xx + moments.yy);
        const double half = 0.5 * (moments.xx - moments.yy);
        const double root = std::hypot(half, moments.xy);
        axis = 0.5 * std::atan2(moments.xy, half);
        isLong = mean + root > kLong * kLong * (mean - root);
        // The steps of a staircase widen strokes of a pixel or two.
        const double steps = points.edge == Edge::Hard ? kStaircaseSigma * kStaircaseSigma : 0;
        const double across = std::max(mean - root - steps, 1e-3);
        return mean > 0
            && std::fabs(moments.area) > kLeastRatio * std::sqrt((mean + root) * across);
    }

    bool isFewSteps() const { return points.edge == Edge::Hard && points.size() <= kFewSteps; }

    // Circles and ellipses, where a rectangle is as expected and clearly nearer.
    void dropRound()
    {
        double nearest = kAnyWeight;
        for (const WholeShape &shape : shapes) {
            if (shape.piece.kind == Kind::RoundedRectangle && shape.piece.radius == 0
                && shape.asExpected)
                nearest = std::min(nearest, shape.chi2);
        }
        shapes.erase(std::remove_if(shapes.begin(), shapes.end(),
                                    [nearest](const WholeShape &shape) {
                                        return shape.piece.kind != Kind::RoundedRectangle
                                            && shape.chi2 > nearest + kRatherRectangle;
                                    }),
                     shapes.end());
    }

    // Enters a shape; true where nothing else needs to be tried.
    template<typename Shape>
    bool enter(Piece piece, const Shape &shape, bool corners)
    {
        double chi2 = 0;
        int leftOut = 0;
        double farthest = 0; // beyond half a crack
        const double most = largestWeight(piece.kind);
        int leftAt[4] = { 0, 0, 0, 0 };
        for (int i = 0; i < points.size(); ++i) {
            const double d = shape.residual(points.at(i)).distance;
            const double part = d * d * std::min(points.weightOf(i), most);
            const bool out = corners && table.judgement.slope * part > table.judgement.leftOut
                && nearCorner(piece, points.at(i))
                && (leftOut + 1) * kCountedALeftOut <= points.size()
                && leftAt[cornerOf(piece, points.at(i))]++ < table.judgement.mayLeaveOut;
            leftOut += out ? 1 : 0;
            chi2 += out ? 0 : part;
            farthest = std::max(farthest, std::fabs(d) - kHalfCrack * points.sigmaOf(i));
        }
        const int counted = points.size() - leftOut;
        piece.misfit = table.judgement.misfit(chi2, counted) + leftOut * table.judgement.leftOut;
        const double tied = isSlot(piece) ? 1 : 0; // the radius is half of the height
        const double cost = piece.misfit + table.numbers(priceOf(piece, table.prices) - tied);
        if (!std::isfinite(cost) || !hasArea(piece))
            return false;
        const bool near = points.edge == Edge::Soft || farthest < kStepsRoom;
        const bool expected = near && isAsExpected(points.edge, chi2, counted);
        const bool consistent = piece.kind == Kind::Circle && points.edge == Edge::Hard
            && farthest < kConsistentRoom && chi2 < kConsistentChi2 * counted;
        shapes.push_back({ piece, cost, expected || consistent, chi2, leftOut });
        return shapes.back().asExpected;
    }

    static bool isSlot(const Piece &piece)
    {
        return piece.kind == Kind::RoundedRectangle && piece.radius == piece.half[1];
    }

    // What a point counts at the most.
    double largestWeight(Kind kind) const
    {
        const bool isRound = kind == Kind::Circle || kind == Kind::Ellipse;
        return isRound && points.edge == Edge::Soft && points.size() >= kManyPoints
            ? 1 / (kSigmaOfWhole * kSigmaOfWhole)
            : kAnyWeight;
    }

    static bool nearCorner(const Piece &piece, Point p)
    {
        const Point d = p - piece.centre;
        const Point axis = { std::cos(piece.angle), std::sin(piece.angle) };
        const double u = std::fabs(dot(d, axis));
        const double v = std::fabs(cross(axis, d));
        return u > piece.half[0] - kCornerZone && v > piece.half[1] - kCornerZone;
    }

    // Which of the four a point is nearest to.
    static int cornerOf(const Piece &piece, Point p)
    {
        const Point d = p - piece.centre;
        const Point along = { std::cos(piece.angle), std::sin(piece.angle) };
        return (dot(d, along) > 0 ? 1 : 0) + (cross(along, d) > 0 ? 2 : 0);
    }

    // Points alone do not say how long a thin shape is: all may lie along its sides.
    bool hasArea(const Piece &piece) const
    {
        const double full = 4 * piece.half[0] * piece.half[1];
        const double area = piece.kind == Kind::RoundedRectangle
            ? full - (4 - kPi) * piece.radius * piece.radius
            : full * kPi / 4;
        const double perPoint = points.edge == Edge::Soft ? 0.05 : 0.15;
        return std::fabs(area - std::fabs(moments.area)) < 2 + perPoint * points.size();
    }

    bool circle()
    {
        Vector3 s(moments.centre.x, moments.centre.y, std::sqrt(std::fabs(moments.area) / kPi));
        if (!gaussNewton<3, ToCircle>(points, &s, [](Vector3 *) {}) || !(s[2] > 0))
            return false;
        const Piece piece = wholePiece(Kind::Circle, points, { s[0], s[1] }, s[2], s[2], 0);
        return enter(piece, ToCircle(s), false);
    }

    // Where an ellipse is as expected only because its two more numbers took up some steps.
    void preferCircle()
    {
        if (shapes.size() < 2)
            return;
        WholeShape *circle = &shapes[0];
        const WholeShape &ellipse = shapes[1];
        const bool isNearlyRound = points.edge == Edge::Soft
            && std::fabs(ellipse.piece.half[0] - ellipse.piece.half[1]) <= kNearlyRound;
        if (circle->cost < ellipse.cost || isNearlyRound) {
            circle->asExpected |= ellipse.asExpected;
            shapes.pop_back();
        }
    }

    void ellipse()
    {
        const double mean = 0.5 * (moments.xx + moments.yy);
        const double root = std::hypot(0.5 * (moments.xx - moments.yy), moments.xy);
        Vector5 s;
        s << moments.centre.x, moments.centre.y, 2 * std::sqrt(mean + root),
            2 * std::sqrt(std::max(mean - root, 1e-6)), axis;
        const auto limit = [](Vector5 *v) {
            (*v)[2] = std::max((*v)[2], 0.1);
            (*v)[3] = std::max((*v)[3], 0.1);
        };
        if (!gaussNewton<5, ToEllipse>(points, &s, limit))
            return;
        const Piece piece = wholePiece(Kind::Ellipse, points, { s[0], s[1] }, s[2], s[3], s[4]);
        enter(piece, ToEllipse(s), false);
    }

    // The direction of the sides: the mean of chords' directions, each taken four times around.
    double sideAngle() const
    {
        const int n = points.size();
        const int reach = std::min(kDirectionReach, n / 4);
        std::complex<double> sum = 0;
        for (int i = 0; i < n; ++i) {
            const Point chord = points.at(i + reach < n ? i + reach : i + reach - n)
                - points.at(i < reach ? i - reach + n : i - reach);
            const std::complex<double> z(chord.x, chord.y);
            const double square = std::norm(z);
            if (square > 0)
                sum += z * z * z * z / (square * square);
        }
        return std::arg(sum) / 4;
    }

    void rectangle()
    {
        const double angle = isLong ? axis : sideAngle();
        const int directions = isFewSteps() && !isLong ? kDirectionsOfFew : 1;
        rectangleAt(angle, true);
        for (int k = 1; k < directions; ++k) {
            const std::size_t before = shapes.size();
            rectangleAt(angle + 0.5 * kPi * k / directions, false);
            if (shapes.size() > before && !isNearerThanBefore())
                shapes.pop_back();
        }
    }

    // Whether the last shape is a clearly nearer one than the rectangles before it: steps alone
    // turn an upright one a little.
    bool isNearerThanBefore() const
    {
        return std::none_of(shapes.begin(), shapes.end() - 1, [this](const WholeShape &shape) {
            return shape.piece.kind == Kind::RoundedRectangle
                && shape.chi2 < shapes.back().chi2 + kClearlyNearer;
        });
    }

    void rectangleAt(double angle, bool rounded)
    {
        const double c = std::cos(angle);
        const double n = std::sin(angle);
        const double along = c * c * moments.xx + 2 * c * n * moments.xy + n * n * moments.yy;
        const double across = n * n * moments.xx - 2 * c * n * moments.xy + c * c * moments.yy;
        const double a = std::sqrt(3 * std::max(along, 1e-6));
        const double b
            = isLong ? std::fabs(moments.area) / (4 * a) : std::sqrt(3 * std::max(across, 1e-6));
        Vector6 s;
        s << moments.centre.x, moments.centre.y, a, b, angle, 0;
        // Both where both are offered: few points tell a small rounding from a corner.
        if (offered(table.prices.rectangle))
            fitRectangle<false>(s);
        if (!rounded || !offered(table.prices.roundedRectangle))
            return;
        if (!isFewSteps())
            slot();
        // The inertia is a little smaller than without the rounding; what the area lacks is the
        // corners.
        const double lacking = std::max(0.0, 4 * a * b - std::fabs(moments.area));
        const double least = std::min(a, b);
        s[5] = std::min(0.9 * least, std::max(0.2 * least, std::sqrt(lacking / (4 - kPi))));
        fitRectangle<true>(s);
    }

    template<bool rounded>
    bool fitRectangle(Vector6 s)
    {
        const auto limit = [](Vector6 *v) {
            (*v)[2] = std::max((*v)[2], 0.1);
            (*v)[3] = std::max((*v)[3], 0.1);
            const double most = std::min((*v)[2], (*v)[3]);
            (*v)[5] = rounded ? std::min(most, std::max((*v)[5], 0.1)) : 0;
        };
        if (!gaussNewton<6, ToRectangle<rounded>>(points, &s, limit))
            return false;
        if (!rounded && points.edge == Edge::Soft)
            awayFromCorners(&s, limit);
        if (rounded && s[5] < kLeastRadius)
            return false;
        Piece piece = wholePiece(Kind::RoundedRectangle, points, { s[0], s[1] }, s[2], s[3], s[4]);
        piece.radius = s[5];
        return enter(piece, ToRectangle<rounded>(s), !rounded);
    }

    // A bar with round ends: a rounded rectangle of one number less.
    void slot()
    {
        const double across
            = 0.5 * (moments.xx + moments.yy - std::hypot(moments.xx - moments.yy, 2 * moments.xy));
        const double area = std::fabs(moments.area);
        const double radius = std::sqrt(3 * std::max(across, 1e-2));
        Vector5 s;
        s << moments.centre.x, moments.centre.y,
            std::max(radius, (area / radius - kPi * radius) / 4), radius, axis;
        const auto limit = [](Vector5 *v) {
            (*v)[2] = std::max((*v)[2], 0.1);
            (*v)[3] = std::max((*v)[3], 0.1);
        };
        const double least = points.edge == Edge::Soft ? kLeastRadiusOfSlot : kLeastRadiusOfSteps;
        if (!gaussNewton<5, ToSlot>(points, &s, limit) || s[3] < least || s[2] < kLeastSlot * s[3])
            return;
        Piece piece
            = wholePiece(Kind::RoundedRectangle, points, { s[0], s[1] }, s[2] + s[3], s[3], s[4]);
        piece.radius = s[3];
        const std::size_t before = shapes.size();
        enter(piece, ToSlot(s), false);
        if (shapes.size() > before)
            chooseEnds(before);
    }

    // Of a slot and the rectangles that are as expected before it those that the ends speak for:
    // corners may be left out, half circles are near all of their points.
    void chooseEnds(std::size_t slot)
    {
        const double own = shapes[slot].chi2 + (points.edge == Edge::Hard ? kClearlyRound : 0);
        const auto isFlat = [](const WholeShape &shape) {
            return shape.asExpected && shape.piece.kind == Kind::RoundedRectangle
                && shape.piece.radius == 0;
        };
        const auto end = shapes.begin() + static_cast<std::ptrdiff_t>(slot);
        if (std::any_of(shapes.begin(), end, [&](const WholeShape &shape) {
                return isFlat(shape) && own >= shape.chi2 + kChi2OfLeftOut * shape.leftOut;
            }))
            shapes.pop_back();
        else
            shapes.erase(std::remove_if(shapes.begin(), end, isFlat), end);
    }

    // Once more without the points near the corners, unless nearly none are left (the caps of
    // lines).
    template<typename Limit>
    void awayFromCorners(Vector6 *s, Limit limit) const
    {
        const Piece piece = wholePiece(Kind::RoundedRectangle, points, { (*s)[0], (*s)[1] },
                                       (*s)[2], (*s)[3], (*s)[4]);
        if (std::min(piece.half[0], piece.half[1]) < 2 * kCornerZone)
            return;
        Points sides = points;
        for (int i = 0; i < points.size(); ++i) {
            if (nearCorner(piece, points.at(i)))
                sides.weight[static_cast<std::size_t>(i)] = 0;
        }
        Vector6 again = *s;
        if (gaussNewton<6, ToRectangle<false>>(sides, &again, limit))
            *s = again;
    }

    const Table &table;
    const Points &points;
    const AreaMoments moments;
    double axis = 0; // of the largest inertia
    bool isLong = false;
    std::vector<WholeShape> shapes;
};

} // namespace

AreaMoments areaMoments(const Points &points)
{
    const int n = points.size();
    AreaMoments m = {};
    if (n == 0)
        return m;
    // Around a point of the chain: its first one is the origin.
    double x = 0;
    double y = 0;
    for (int i = 0; i < n; ++i) {
        const Point p = points.at(i);
        const Point q = points.at(i + 1 < n ? i + 1 : 0);
        const double c = cross(p, q);
        m.area += c / 2;
        x += c * (p.x + q.x) / 6;
        y += c * (p.y + q.y) / 6;
        m.xx += c * (p.x * p.x + p.x * q.x + q.x * q.x) / 12;
        m.yy += c * (p.y * p.y + p.y * q.y + q.y * q.y) / 12;
        m.xy += c * (2 * p.x * p.y + p.x * q.y + q.x * p.y + 2 * q.x * q.y) / 24;
    }
    if (m.area == 0)
        return {};
    m.centre = { x / m.area, y / m.area };
    m.xx = m.xx / m.area - m.centre.x * m.centre.x;
    m.yy = m.yy / m.area - m.centre.y * m.centre.y;
    m.xy = m.xy / m.area - m.centre.x * m.centre.y;
    return m;
}

bool isAsExpected(Edge edge, double chi2, int n)
{
    // White noise: four standard deviations. Steps of a staircase scatter less than noise of their
    // variance would, but small shapes have few of them.
    if (edge == Edge::Soft)
        return chi2 <= n + 4 * std::sqrt(2.0 * n) + 4;
    return chi2 <= 1.2 * n + 6;
}

std::vector<WholeShape> wholeShapes(const Table &table)
{
    return Finder(table).run();
}

} // namespace ztrace::fit
