// (c) the ztrace developers. Licence: see LICENSE.
#include "arcs.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kMostHalvings = 10;
const double kLargestBulge = 0.5; // wider arcs are not like a parabola
const int kProbes = 8;            // parts of a curve with one largest distance at most

Point mean(const Point &a, const Point &b)
{
    return Point(0.5 * (a.x + b.x), 0.5 * (a.y + b.y));
}

double cross(const Point &origin, const Point &a, const Point &b)
{
    return (a.x - origin.x) * (b.y - origin.y) - (a.y - origin.y) * (b.x - origin.x);
}

double distance(const Point &a, const Point &b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

// Bulge of the arc from `start` to `end` that leaves in the direction of `ahead`. Source: the
// angle between an arc's tangent and its chord is half the arc's angle.
double bulgeFrom(const Point &start, const Point &ahead, const Point &end)
{
    const double dx = ahead.x - start.x;
    const double dy = ahead.y - start.y;
    const double cx = end.x - start.x;
    const double cy = end.y - start.y;
    return std::tan(0.5 * std::atan2(dx * cy - dy * cx, dx * cx + dy * cy));
}

// The line or the circle that a vertex with its bulge starts, and how far a curve is from it.
class Track
{
public:
    Track(const Point &start, const Point &end, double bulge)
        : from(start), to(end), straight(bulge == 0.0)
    {
        PathPiece arc;
        arc.start = start;
        arc.end = end;
        arc.bulge = bulge;
        circle = straight ? Circle() : circleOf(arc);
    }

    // Along the track at its end, not of length 1.
    Point directionAtEnd() const
    {
        return straight ? Point(to.x - from.x, to.y - from.y)
                        : Point(circle.center.y - to.y, to.x - circle.center.x);
    }

    double distanceTo(const Point &p) const
    {
        if (!straight)
            return std::fabs(distance(p, circle.center) - circle.radius);
        const double length = distance(from, to);
        return length > 0.0 ? std::fabs(cross(from, to, p)) / length : distance(from, p);
    }

    // Largest distance of a quadratic between two parameters: at one of them, or where the distance
    // stops growing.
    double farthest(const PathPiece &curve, double first, double last) const
    {
        double worst
            = std::max(distanceTo(pointOn(curve, first)), distanceTo(pointOn(curve, last)));
        double before = first;
        for (int i = 1; i <= kProbes; ++i) {
            const double t = first + (last - first) * i / kProbes;
            const double change = changeAt(curve, before);
            if ((change < 0.0) != (changeAt(curve, t) < 0.0)) {
                const double turn = zeroBetween(before, t, [&](double u) {
                    return (changeAt(curve, u) < 0.0) == (change < 0.0);
                });
                worst = std::max(worst, distanceTo(pointOn(curve, turn)));
            }
            before = t;
        }
        return worst;
    }

    // The place between two where something that is true at the first ceases to be.
    template<class Test>
    static double zeroBetween(double first, double last, const Test &isStill)
    {
        const int kBisections = 40;
        for (int i = 0; i < kBisections; ++i) {
            const double middle = 0.5 * (first + last);
            (isStill(middle) ? first : last) = middle;
        }
        return first;
    }

private:
    // Of the sign of the derivative of the distance, up to a sign that is the same everywhere.
    double changeAt(const PathPiece &curve, double t) const
    {
        const Point d(mixed(curve.control1.x - curve.start.x, curve.end.x - curve.control1.x, t),
                      mixed(curve.control1.y - curve.start.y, curve.end.y - curve.control1.y, t));
        if (straight)
            return (to.x - from.x) * d.y - (to.y - from.y) * d.x;
        const Point p = pointOn(curve, t);
        return (p.x - circle.center.x) * d.x + (p.y - circle.center.y) * d.y;
    }

    static double mixed(double a, double b, double t) { return a + t * (b - a); }

    Point from;
    Point to;
    bool straight;
    Circle circle;
};

// A cubic or the arc of an ellipse, by a parameter.
class Smooth
{
public:
    explicit Smooth(const PathPiece &p) : piece(p)
    {
        if (piece.kind == PathPiece::EllipticArc)
            ellipse = ellipseOf(piece);
    }

    Point at(double t) const
    {
        if (t <= 0.0 || t >= 1.0)
            return t <= 0.0 ? piece.start : piece.end;
        return piece.kind == PathPiece::EllipticArc
            ? pointOn(ellipse, ellipse.start + t * ellipse.sweep)
            : pointOn(piece, t);
    }

    // The way to go on from t, not of length 1.
    Point ahead(double t) const
    {
        if (piece.kind == PathPiece::EllipticArc) {
            const double turn = ellipse.sweep < 0.0 ? -2.0 : 2.0; // a quarter, in units of pi / 4
            const Point p
                = pointOn(ellipse, ellipse.start + t * ellipse.sweep + turn * std::atan(1.0));
            return Point(p.x - ellipse.center.x, p.y - ellipse.center.y);
        }
        const double s = 1.0 - t;
        const auto slope = [&](double a, double b, double c, double d) {
            return s * s * (b - a) + 2.0 * s * t * (c - b) + t * t * (d - c);
        };
        const PathPiece &p = piece;
        return Point(slope(p.start.x, p.control1.x, p.control2.x, p.end.x),
                     slope(p.start.y, p.control1.y, p.control2.y, p.end.y));
    }

private:
    const PathPiece &piece;
    Ellipse ellipse = {};
};

// Two arcs from a to c that have the tangents a-b and b-c and touch at the in-center of the
// triangle.
struct ArcPair
{
    ArcPair(const Point &a, const Point &b, const Point &c)
    {
        const double toStart = distance(b, c);
        const double chord = distance(a, c);
        const double toEnd = distance(a, b);
        const double around = toStart + chord + toEnd;
        joint = Point((toStart * a.x + chord * b.x + toEnd * c.x) / around,
                      (toStart * a.y + chord * b.y + toEnd * c.y) / around);
        first = bulgeFrom(a, b, joint);
        second = -bulgeFrom(c, b, joint);
    }

    bool areModest() const
    {
        return std::fabs(first) < kLargestBulge && std::fabs(second) < kLargestBulge;
    }

    Point joint;
    double first; // bulges
    double second;
};

class Chain
{
public:
    Chain(double t, std::vector<BulgeVertex> *v) : tolerance(t), vertices(v) { }

    // Appends everything but the end of the curve.
    void appendQuadratic(const PathPiece &curve, int halvings)
    {
        const Point &a = curve.start;
        const Point &b = curve.control1;
        const Point &c = curve.end;
        const double chord = distance(a, c);
        if (chord == 0.0 && distance(a, b) == 0.0)
            return;
        // A curve bends away from its chord by half of what its control point does.
        if (chord > 0.0 && std::fabs(cross(a, c, b)) / chord < tolerance && between(a, b, c)) {
            vertices->push_back({ a, 0.0 });
            return;
        }
        const ArcPair arcs(a, b, c);
        // Beyond an end of the chord the curve folds back, where arcs would not follow.
        if (chord > 0.0 && between(a, b, c) && arcs.areModest()
            && isWithin(curve, arcs.joint, arcs.first, arcs.second)) {
            append(a, arcs);
            return;
        }
        if (halvings == kMostHalvings) {
            vertices->push_back({ a, 0.0 });
            return;
        }
        PathPiece left = curve;
        PathPiece right = curve;
        left.control1 = mean(a, b);
        right.control1 = mean(b, c);
        left.end = right.start = mean(left.control1, right.control1);
        appendQuadratic(left, halvings + 1);
        appendQuadratic(right, halvings + 1);
    }

    // The same of a part of a cubic or an elliptic arc.
    void appendSmooth(const Smooth &curve, double from, double to, int halvings)
    {
        const Point a = curve.at(from);
        const Point c = curve.at(to);
        if (isStraight(curve, from, to)) {
            vertices->push_back({ a, 0.0 });
            return;
        }
        const Point ahead = curve.ahead(from);
        const Point back = curve.ahead(to);
        const double across = ahead.x * back.y - ahead.y * back.x;
        const double along = ((c.x - a.x) * back.y - (c.y - a.y) * back.x) / across;
        const Point b(a.x + along * ahead.x, a.y + along * ahead.y);
        // Both tangents have to meet in front of the start and behind the end.
        if (along > 0.0 && (c.x - b.x) * back.x + (c.y - b.y) * back.y > 0.0
            && appendPair(curve, from, to, b))
            return;
        if (halvings == kMostHalvings) {
            vertices->push_back({ a, 0.0 });
            return;
        }
        const double middle = 0.5 * (from + to);
        appendSmooth(curve, from, middle, halvings + 1);
        appendSmooth(curve, middle, to, halvings + 1);
    }

private:
    static const int kSamples = 16;            // of a part that are looked at
    static constexpr double kOfSampled = 0.97; // of the tolerance: what may lie between them

    bool isStraight(const Smooth &curve, double from, double to) const
    {
        const Track line(curve.at(from), curve.at(to), 0.0);
        for (int i = 1; i < kSamples; ++i) {
            if (!(line.distanceTo(curve.at(from + (to - from) * i / kSamples)) < 0.5 * tolerance))
                return false;
        }
        return true;
    }

    // The pair of arcs in the triangle with the corner b; false where it is too far away.
    bool appendPair(const Smooth &curve, double from, double to, const Point &b)
    {
        const Point a = curve.at(from);
        const Point c = curve.at(to);
        const ArcPair arcs(a, b, c);
        if (!arcs.areModest())
            return false;
        const Point &joint = arcs.joint;
        const Track before(a, joint, arcs.first);
        const Track after(joint, c, arcs.second);
        const Point ahead = before.directionAtEnd();
        const Point beside(joint.x - ahead.y, joint.y + ahead.x);
        const bool side = cross(joint, beside, a) < 0.0;
        for (int i = 1; i < kSamples; ++i) {
            const Point p = curve.at(from + (to - from) * i / kSamples);
            const Track &track = (cross(joint, beside, p) < 0.0) == side ? before : after;
            if (!(track.distanceTo(p) <= kOfSampled * tolerance))
                return false;
        }
        append(a, arcs);
        return true;
    }

    void append(const Point &start, const ArcPair &arcs)
    {
        vertices->push_back({ start, arcs.first });
        vertices->push_back({ arcs.joint, arcs.second });
    }

    // Whether b lies beside the chord and not beyond one of its ends.
    static bool between(const Point &a, const Point &b, const Point &c)
    {
        const double along = (b.x - a.x) * (c.x - a.x) + (b.y - a.y) * (c.y - a.y);
        const double chord = distance(a, c);
        return along >= 0.0 && along <= chord * chord;
    }

    // Each arc stands for the part of the curve on its side of the line across their joint.
    bool isWithin(const PathPiece &curve, const Point &joint, double first, double second) const
    {
        const Track before(curve.start, joint, first);
        const Track after(joint, curve.end, second);
        const Point ahead = before.directionAtEnd();
        const double side = cross(joint, Point(joint.x - ahead.y, joint.y + ahead.x), curve.start);
        const double split = Track::zeroBetween(0.0, 1.0, [&](double t) {
            const Point p = pointOn(curve, t);
            return (cross(joint, Point(joint.x - ahead.y, joint.y + ahead.x), p) < 0.0)
                == (side < 0.0);
        });
        return before.farthest(curve, 0.0, split) <= tolerance
            && after.farthest(curve, split, 1.0) <= tolerance;
    }

    double tolerance;
    std::vector<BulgeVertex> *vertices;
};

} // namespace

std::vector<BulgeVertex> bulgeChain(const std::vector<PathPiece> &pieces, double tolerance)
{
    std::vector<BulgeVertex> vertices;
    Chain chain(tolerance, &vertices);
    for (const PathPiece &piece : pieces) {
        switch (piece.kind) {
        case PathPiece::Spline: // piecesOf leaves none
        case PathPiece::Line:
            vertices.push_back({ piece.start, 0.0 });
            break;
        case PathPiece::Arc:
            vertices.push_back({ piece.start, piece.bulge });
            break;
        case PathPiece::Quadratic:
            chain.appendQuadratic(piece, 0);
            break;
        case PathPiece::Cubic:
        case PathPiece::EllipticArc:
            chain.appendSmooth(Smooth(piece), 0.0, 1.0, 0);
            break;
        }
    }
    if (!pieces.empty())
        vertices.push_back({ pieces.back().end, 0.0 });
    return vertices;
}

std::vector<BulgeVertex> lineChain(const std::vector<PathPiece> &pieces, double tolerance)
{
    std::vector<BulgeVertex> vertices;
    if (pieces.empty())
        return vertices;
    std::vector<Point> points(1, pieces.front().start);
    for (const PathPiece &piece : pieces)
        flatten(piece, tolerance, &points);
    for (const Point &point : points)
        vertices.push_back({ point, 0.0 });
    return vertices;
}

} // namespace ztrace
