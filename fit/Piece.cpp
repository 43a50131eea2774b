// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/Piece.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
const int kSteps = 12;                  // Newton's, from the nearest place
const double kSettledOnCurve = 1e-9;    // of a curve
const int kStepsOfEllipse = 30;         // 11 were the most of half axes 1 : 2000
const double kSettledOfEllipse = 1e-14; // of the larger half axis squared

Point unit(Point v)
{
    const double length = std::hypot(v.x, v.y);
    return length > 0 ? (1 / length) * v : Point { 1, 0 };
}

Point turned(Point v, double angle)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return { c * v.x - s * v.y, s * v.x + c * v.y };
}

Piece openPiece(Kind kind, Point start, Point end)
{
    Piece piece = {};
    piece.kind = kind;
    piece.start = start;
    piece.end = end;
    return piece;
}

Point onBezier(const Piece &p, double t)
{
    const double u = 1 - t;
    if (p.kind == Kind::Cubic)
        return u * u * u * p.start + 3 * u * u * t * p.control + 3 * u * t * t * p.control2
            + t * t * t * p.end;
    const double w = p.kind == Kind::EllipticArc ? p.weight : 1;
    const double total = u * u + 2 * u * t * w + t * t;
    return (1 / total) * (u * u * p.start + 2 * u * t * w * p.control + t * t * p.end);
}

// A rounded rectangle's outline, by length, from the middle of its right side.
Point onRoundedRectangle(const Piece &p, double t)
{
    const double r = std::min(p.radius, std::min(p.half[0], p.half[1]));
    const double a = p.half[0] - r;
    const double b = p.half[1] - r;
    const double quarter = a + b + r * kPi / 2;
    double s = t * 4 * quarter;
    const int side = std::min(3, static_cast<int>(s / quarter));
    s -= side * quarter;
    // Quarters mirror each other: odd ones run backwards.
    if (side % 2)
        s = quarter - s;
    Point q = { a + r, s };
    if (s > b + r * kPi / 2) {
        q = { a - (s - b - r * kPi / 2), b + r };
    } else if (s > b && r > 0) {
        q = { a + r * std::cos((s - b) / r), b + r * std::sin((s - b) / r) };
    }
    if (side == 1 || side == 2)
        q.x = -q.x;
    if (side >= 2)
        q.y = -q.y;
    return p.centre + turned(q, p.angle);
}

double distanceToRoundedRectangle(const Piece &p, Point point)
{
    const Point q = turned(point - p.centre, -p.angle);
    const double r = std::min(p.radius, std::min(p.half[0], p.half[1]));
    const double x = std::fabs(q.x) - (p.half[0] - r);
    const double y = std::fabs(q.y) - (p.half[1] - r);
    const double outside = std::hypot(std::max(x, 0.0), std::max(y, 0.0));
    return std::fabs(outside + std::min(std::max(x, y), 0.0) - r);
}

double distanceToLine(const Piece &p, Point point)
{
    const Point d = p.end - p.start;
    const double length2 = dot(d, d);
    const double t = length2 > 0 ? dot(point - p.start, d) / length2 : 0;
    const Point gap = point - (p.start + std::min(1.0, std::max(0.0, t)) * d);
    return std::hypot(gap.x, gap.y);
}

double distanceToArc(const Piece &p, Point point)
{
    const ArcShape shape = arcShape(p);
    const Point d = point - shape.centre;
    double turn = std::atan2(d.y, d.x) - shape.startAngle;
    turn = shape.sweep < 0 ? -turn : turn;
    turn -= 2 * kPi * std::floor(turn / (2 * kPi));
    if (turn <= std::fabs(shape.sweep))
        return std::fabs(std::hypot(d.x, d.y) - shape.radius);
    const Point a = point - p.start;
    const Point b = point - p.end;
    return std::min(std::hypot(a.x, a.y), std::hypot(b.x, b.y));
}

// The foot of a point on an ellipse is half[k]^2 * p[k] / (t + half[k]^2) for the largest root t of
// f below, which falls and is convex beyond its last pole: Newton's method comes to the root from
// its left side, however narrow the ellipse is.
double distanceToEllipse(const Piece &p, Point point)
{
    const Point q = turned(point - p.centre, -p.angle);
    const double ux = std::fabs(q.x);
    const double uy = std::fabs(q.y);
    const double axx = p.half[0] * p.half[0];
    const double ayy = p.half[1] * p.half[1];
    double t = std::max(p.half[0] * ux - axx, p.half[1] * uy - ayy);
    for (int step = 0; step < kStepsOfEllipse && t + axx > 0 && t + ayy > 0; ++step) {
        const double x = p.half[0] * ux / (t + axx);
        const double y = p.half[1] * uy / (t + ayy);
        const double slope = -2 * (x * x / (t + axx) + y * y / (t + ayy));
        const double next = t - (x * x + y * y - 1) / slope;
        if (!(next > t + kSettledOfEllipse * std::max(axx, ayy)))
            break;
        t = next;
    }
    // On an axis, near the centre, the root is the pole: the foot is beside the axis there.
    const auto foot = [t](double half, double u, double square) {
        return t + square > 0 ? square * u / (t + square) : half;
    };
    double x = foot(p.half[0], ux, axx);
    double y = foot(p.half[1], uy, ayy);
    const auto beside
        = [](double half, double part) { return half * std::sqrt(std::max(0.0, 1 - part * part)); };
    if (axx >= ayy)
        y = beside(p.half[1], x / p.half[0]);
    else
        x = beside(p.half[0], y / p.half[1]);
    return std::hypot(x - ux, y - uy);
}

// Along curves: from the best of several places, improved by Newton's method on the squared
// distance with differences of pointAt, which stays between the places beside it.
double distanceToCurve(const Piece &p, Point point)
{
    double bestT = 0;
    double best = INFINITY;
    for (int i = 0; i <= kPlacesOnCurve; ++i) {
        const double t = static_cast<double>(i) / kPlacesOnCurve;
        const Point gap = pointAt(p, t) - point;
        if (dot(gap, gap) < best) {
            best = dot(gap, gap);
            bestT = t;
        }
    }
    double low = std::max(0.0, bestT - 1.0 / kPlacesOnCurve);
    double high = std::min(1.0, bestT + 1.0 / kPlacesOnCurve);
    double t = bestT;
    for (int step = 0; step < kSteps; ++step) {
        const double h = 1e-4;
        const Point q = pointAt(p, t);
        const Point ahead = pointAt(p, t + h);
        const Point behind = pointAt(p, t - h);
        const Point d1 = (0.5 / h) * (ahead - behind);
        const Point d2 = (1 / (h * h)) * (ahead + behind - 2.0 * q);
        const double slope = dot(q - point, d1);
        const double bend = dot(d1, d1) + dot(q - point, d2);
        (slope > 0 ? high : low) = t;
        const double next = t - slope / bend;
        const double before = t;
        t = bend > 0 && next >= low && next <= high ? next : 0.5 * (low + high);
        const Point gap = pointAt(p, t) - point;
        best = std::min(best, dot(gap, gap));
        if (std::fabs(t - before) < kSettledOnCurve)
            break;
    }
    return std::sqrt(best);
}

} // namespace

Piece linePiece(Point start, Point end)
{
    return openPiece(Kind::Line, start, end);
}

Piece arcPiece(Point start, Point end, double bulge)
{
    Piece piece = openPiece(Kind::Arc, start, end);
    piece.bulge = bulge;
    return piece;
}

Piece quadraticPiece(Point start, Point control, Point end)
{
    Piece piece = openPiece(Kind::Quadratic, start, end);
    piece.control = control;
    return piece;
}

Piece cubicPiece(Point start, Point control, Point control2, Point end)
{
    Piece piece = openPiece(Kind::Cubic, start, end);
    piece.control = control;
    piece.control2 = control2;
    return piece;
}

Piece conicPiece(Point start, Point control, double weight, Point end)
{
    Piece piece = openPiece(Kind::EllipticArc, start, end);
    piece.control = control;
    piece.weight = weight;
    return piece;
}

ArcShape arcShape(const Piece &arc)
{
    const Point chord = arc.end - arc.start;
    const double half = 0.5 * std::hypot(chord.x, chord.y);
    const double s = arc.bulge * half;
    const Point t = unit(chord);
    const Point outward = { t.y, -t.x };
    // The signed radius; the centre lies s - radius from the chord's middle.
    const double r = (s * s + half * half) / (2 * s);
    const Point centre = 0.5 * (arc.start + arc.end) + (s - r) * outward;
    const Point spoke = arc.start - centre;
    return { centre, std::fabs(r), std::atan2(spoke.y, spoke.x), 4 * std::atan(arc.bulge) };
}

Point pointAt(const Piece &piece, double t)
{
    switch (piece.kind) {
    case Kind::Line:
        return piece.start + t * (piece.end - piece.start);
    case Kind::Arc: {
        const ArcShape a = arcShape(piece);
        const double angle = a.startAngle + t * a.sweep;
        return a.centre + a.radius * Point { std::cos(angle), std::sin(angle) };
    }
    case Kind::Circle:
    case Kind::Ellipse: {
        const double angle = 2 * kPi * t;
        const Point q = { piece.half[0] * std::cos(angle), piece.half[1] * std::sin(angle) };
        return piece.centre + turned(q, piece.angle);
    }
    case Kind::RoundedRectangle:
        return onRoundedRectangle(piece, t - std::floor(t));
    default:
        return onBezier(piece, t);
    }
}

Point startTangent(const Piece &piece)
{
    const Point chord = piece.end - piece.start;
    switch (piece.kind) {
    case Kind::Line:
        return unit(chord);
    case Kind::Arc:
        return turned(unit(chord), -2 * std::atan(piece.bulge));
    case Kind::Circle:
    case Kind::Ellipse:
    case Kind::RoundedRectangle:
        return turned({ 0, 1 }, piece.angle);
    default:
        break;
    }
    Point d = piece.control - piece.start;
    if (dot(d, d) == 0 && piece.kind == Kind::Cubic)
        d = piece.control2 - piece.start;
    return unit(dot(d, d) > 0 ? d : chord);
}

Point endTangent(const Piece &piece)
{
    if (isWhole(piece.kind))
        return startTangent(piece);
    return -1.0 * startTangent(reversed(piece));
}

Piece reversed(const Piece &piece)
{
    Piece result = piece;
    std::swap(result.start, result.end);
    result.bulge = -piece.bulge;
    if (piece.kind == Kind::Cubic)
        std::swap(result.control, result.control2);
    return result;
}

EllipseShape ellipseShape(const Piece &conic)
{
    // With M the chord's middle, T the control point and w the weight, the curve is the affine
    // image of a circle's arc: half chord c along one conjugate diameter, T - M along the other.
    const double w = conic.weight;
    const Point middle = 0.5 * (conic.start + conic.end);
    const Point toControl = conic.control - middle;
    const Point half = 0.5 * (conic.end - conic.start);
    const double rest = 1 - w * w;
    const Point centre = middle - (w * w / rest) * toControl;
    const Point u = (w / rest) * toControl; // from the centre to the top
    const Point v = (1 / std::sqrt(rest)) * half;
    // Principal axes of the conjugate half diameters u and v.
    const double angle = 0.5 * std::atan2(2 * dot(u, v), dot(u, u) - dot(v, v));
    const Point a = std::cos(angle) * u + std::sin(angle) * v;
    const Point b = std::cos(angle) * v - std::sin(angle) * u;
    return { centre, { std::hypot(a.x, a.y), std::hypot(b.x, b.y) }, std::atan2(a.y, a.x) };
}

double turningOf(const Piece &piece)
{
    if (isWhole(piece.kind))
        return 2 * kPi;
    if (piece.kind == Kind::Line)
        return 0;
    if (piece.kind == Kind::Arc)
        return 4 * std::fabs(std::atan(piece.bulge));
    // The hodograph's steps; a curve may turn both ways.
    double sum = 0;
    Point before = startTangent(piece);
    const int steps = 64;
    for (int i = 0; i < steps; ++i) {
        const Point step = pointAt(piece, (i + 1.0) / steps) - pointAt(piece, 1.0 * i / steps);
        if (dot(step, step) == 0)
            continue;
        sum += std::fabs(std::atan2(cross(before, step), dot(before, step)));
        before = step;
    }
    const Point last = endTangent(piece);
    return sum + std::fabs(std::atan2(cross(before, last), dot(before, last)));
}

Box boxOf(const Piece &piece)
{
    Box box = { piece.start, piece.start };
    const auto take = [&box](Point p) {
        box.low = { std::min(box.low.x, p.x), std::min(box.low.y, p.y) };
        box.high = { std::max(box.high.x, p.x), std::max(box.high.y, p.y) };
    };
    if (isWhole(piece.kind)) {
        const double r = piece.radius;
        const bool box4 = piece.kind == Kind::RoundedRectangle;
        const double a = piece.half[0] - (box4 ? r : 0);
        const double b = piece.half[1] - (box4 ? r : 0);
        const double c = std::fabs(std::cos(piece.angle));
        const double s = std::fabs(std::sin(piece.angle));
        const Point reach = box4 ? Point { a * c + b * s + r, a * s + b * c + r }
                                 : Point { std::hypot(a * c, b * s), std::hypot(a * s, b * c) };
        return { piece.centre - reach, piece.centre + reach };
    }
    take(piece.end);
    if (piece.kind == Kind::Arc && piece.bulge != 0) {
        const ArcShape a = arcShape(piece);
        for (int k = -8; k <= 8; ++k) {
            const double turn = (k * kPi / 2 - a.startAngle) / a.sweep;
            if (turn > 0 && turn < 1)
                take(pointAt(piece, turn));
        }
    } else if (piece.kind != Kind::Line && piece.kind != Kind::Arc) {
        take(piece.control);
        if (piece.kind == Kind::Cubic)
            take(piece.control2);
    }
    return box;
}

double distanceTo(const Piece &piece, Point p)
{
    switch (piece.kind) {
    case Kind::Line:
        return distanceToLine(piece, p);
    case Kind::Arc:
        return piece.bulge == 0 ? distanceToLine(piece, p) : distanceToArc(piece, p);
    case Kind::Circle: {
        const Point d = p - piece.centre;
        return std::fabs(std::hypot(d.x, d.y) - piece.half[0]);
    }
    case Kind::Ellipse:
        return distanceToEllipse(piece, p);
    case Kind::RoundedRectangle:
        return distanceToRoundedRectangle(piece, p);
    default:
        return distanceToCurve(piece, p);
    }
}

Piece cutOut(const Piece &piece, double from, double to)
{
    const auto mean = [](Point a, Point b, double t) { return a + t * (b - a); };
    Piece result = piece;
    if (piece.kind != Kind::EllipticArc) {
        result.start = from > 0 ? pointAt(piece, from) : piece.start;
        result.end = to != 1 ? pointAt(piece, to) : piece.end;
    }
    if (piece.kind == Kind::Arc) {
        result.bulge = std::tan((to - from) * std::atan(piece.bulge));
    } else if (piece.kind == Kind::Quadratic) {
        result.control = mean(mean(piece.start, piece.control, from),
                              mean(piece.control, piece.end, from), to);
    } else if (piece.kind == Kind::Cubic) {
        // The polar form: each control at one end twice and at the other once.
        const auto polar = [&](double a, double b, double c) {
            const Point p = mean(piece.start, piece.control, a);
            const Point q = mean(piece.control, piece.control2, a);
            const Point r = mean(piece.control2, piece.end, a);
            return mean(mean(p, q, b), mean(q, r, b), c);
        };
        result.control = polar(from, from, to);
        result.control2 = polar(from, to, to);
    }
    return result;
}

void move(Piece *piece, Point by)
{
    for (Point *p :
         { &piece->start, &piece->end, &piece->control, &piece->control2, &piece->centre })
        *p = *p + by;
}

double priceOf(const Piece &piece, const Prices &prices)
{
    switch (piece.kind) {
    case Kind::Line:
        return prices.line;
    case Kind::Arc:
        return prices.arc;
    case Kind::EllipticArc:
        return prices.ellipticArc;
    case Kind::Quadratic:
        return prices.quadratic;
    case Kind::Cubic:
        return prices.cubic;
    case Kind::Circle:
        return prices.circle;
    case Kind::Ellipse:
        return prices.ellipse;
    case Kind::RoundedRectangle:
        break;
    }
    return piece.radius > 0 ? prices.roundedRectangle : prices.rectangle;
}

double numbersOf(const std::vector<Piece> &pieces, bool closed, const Prices &prices)
{
    double sum = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        sum += priceOf(pieces[i], prices);
        const bool joint = (i > 0 || closed) && !isWhole(pieces[i].kind);
        if (joint && !pieces[i].smooth)
            sum += prices.corner;
    }
    return sum;
}

} // namespace ztrace::fit
