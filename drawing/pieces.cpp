// (c) the ztrace developers. Licence: see LICENSE.
#include "pieces.h"

#include "hostpath.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kMostSteps = 1000;
const double kLargestRadius = 1e12; // pixels: its arcs are lines, and its points not exact any more
const std::size_t kStepsOfOtherSplines = 64; // for each control point
const std::size_t kLeastStepsOfSplines = 8;  // where that would be more than this:
const std::size_t kManySteps = 4096;

Point weighted(double a, const Point &p, double b, const Point &q, double c, const Point &r)
{
    return Point(a * p.x + b * q.x + c * r.x, a * p.y + b * q.y + c * r.y);
}

PathPiece lineTo(const Point &start, const Point &end)
{
    PathPiece piece;
    piece.start = start;
    piece.end = end;
    return piece;
}

bool isArc(const PathPiece &piece)
{
    return piece.kind == PathPiece::Arc || piece.kind == PathPiece::EllipticArc;
}

// Whether there is a circle or an ellipse that an arc is of.
bool isDrawable(const PathPiece &piece)
{
    if (!isArc(piece))
        return true;
    const Ellipse ellipse = ellipseOf(piece);
    return piece.ratio > 0.0 && piece.ratio <= 1.0 && std::isfinite(piece.angle)
        && isPlace(ellipse.center) && ellipse.major <= kLargestRadius && ellipse.minor > 0.0;
}

bool hasControls(const PathPiece &piece)
{
    bool are = isPlace(piece.control1) && isPlace(piece.control2);
    for (std::size_t i = 0; i < piece.innerCount; ++i)
        are = are && isPlace(piece.inner[i]);
    return are;
}

// A spline of another degree or with more control points: lines along it, fewer for each point
// where they are many, as a file may have millions.
void appendOtherSpline(const PathPiece &piece, std::vector<PathPiece> *pieces)
{
    const std::size_t spans = piece.innerCount + 1;
    const std::size_t steps = std::max(std::min(kStepsOfOtherSplines * spans, kManySteps),
                                       kLeastStepsOfSplines * spans);
    Point from = piece.start;
    for (const Point &to : pointsAlongSpline(piece, steps)) {
        pieces->push_back(lineTo(from, to));
        from = to;
    }
}

// Steps so that chords of a curve whose second derivative is at most `second` stay within the
// tolerance. Source: the chord error of a parabola, second / (8 steps^2).
int stepsFor(double second, double tolerance)
{
    const double steps = std::ceil(std::sqrt(second / (8.0 * tolerance)));
    if (!(steps > 1.0))
        return 1;
    return steps < kMostSteps ? static_cast<int>(steps) : kMostSteps;
}

double secondDifference(const Point &a, const Point &b, const Point &c)
{
    return std::hypot(a.x - 2.0 * b.x + c.x, a.y - 2.0 * b.y + c.y);
}

bool hasPlaces(const PathPiece &piece)
{
    return isPlace(piece.start) && isPlace(piece.end);
}

} // namespace

void appendAsDrawn(const PathPiece &piece, std::vector<PathPiece> *pieces)
{
    const bool drawable = hasControls(piece) && std::isfinite(piece.bulge)
        && !(isArc(piece) && piece.start == piece.end) && isDrawable(piece);
    if (drawable && piece.kind == PathPiece::Spline && piece.innerCount > 0)
        appendOtherSpline(piece, pieces);
    else if (drawable && piece.kind != PathPiece::Spline)
        pieces->push_back(piece);
    else
        pieces->push_back(lineTo(piece.start, piece.end));
}

void piecesOf(const Path &path, std::vector<PathPiece> *pieces)
{
    pieces->clear();
    forEachDrawn(path, [pieces](const PathPiece &piece) { pieces->push_back(piece); });
}

bool isDrawn(const Path &path)
{
    for (const PathPiece piece : path.pieces()) {
        if (!hasPlaces(piece) || !hasControls(piece) || !std::isfinite(piece.bulge))
            return false;
    }
    return path.isEmpty() || isPlace(path.start());
}

bool isClosed(const std::vector<PathPiece> &pieces)
{
    return !pieces.empty() && pieces.front().start.x == pieces.back().end.x
        && pieces.front().start.y == pieces.back().end.y;
}

Point pointOn(const PathPiece &piece, double t)
{
    const double s = 1.0 - t;
    if (piece.kind == PathPiece::Quadratic)
        return weighted(s * s, piece.start, 2.0 * s * t, piece.control1, t * t, piece.end);
    const Point inner = weighted(3.0 * s * s * t, piece.control1, 3.0 * s * t * t, piece.control2,
                                 0.0, piece.end);
    return weighted(s * s * s, piece.start, t * t * t, piece.end, 1.0, inner);
}

Circle circleOf(const PathPiece &arc)
{
    // Source: bulge = tan(angle / 4), chord = 2 r sin(angle / 2). The host's polyline knows the
    // same formula (sdk/entity/): it stands without this library, as this one does without the
    // host.
    const double dx = arc.end.x - arc.start.x;
    const double dy = arc.end.y - arc.start.y;
    const double offset = (1.0 - arc.bulge * arc.bulge) / (4.0 * arc.bulge);
    Circle circle;
    circle.center = Point(0.5 * (arc.start.x + arc.end.x) - dy * offset,
                          0.5 * (arc.start.y + arc.end.y) + dx * offset);
    circle.radius = std::hypot(arc.start.x - circle.center.x, arc.start.y - circle.center.y);
    circle.startAngle = std::atan2(arc.start.y - circle.center.y, arc.start.x - circle.center.x);
    circle.sweep = 4.0 * std::atan(arc.bulge);
    return circle;
}

Ellipse ellipseOf(const PathPiece &arc)
{
    // In a plane in which the ellipse is a circle, with the start as origin and the major axis as
    // x.
    const double c = std::cos(arc.angle);
    const double s = std::sin(arc.angle);
    const double dx = arc.end.x - arc.start.x;
    const double dy = arc.end.y - arc.start.y;
    PathPiece stretched;
    stretched.end = Point(c * dx + s * dy, (c * dy - s * dx) / arc.ratio);
    stretched.bulge = arc.bulge;
    const Circle circle = circleOf(stretched);
    const Point center(circle.center.x, circle.center.y * arc.ratio);
    Ellipse ellipse;
    ellipse.center = Point(arc.start.x + c * center.x - s * center.y,
                           arc.start.y + s * center.x + c * center.y);
    ellipse.major = circle.radius;
    ellipse.minor = circle.radius * arc.ratio;
    ellipse.angle = arc.angle;
    ellipse.start = circle.startAngle;
    ellipse.sweep = circle.sweep;
    return ellipse;
}

Point pointOn(const Ellipse &ellipse, double t)
{
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const double x = ellipse.major * std::cos(t);
    const double y = ellipse.minor * std::sin(t);
    return Point(ellipse.center.x + c * x - s * y, ellipse.center.y + s * x + c * y);
}

void appendCubics(const PathPiece &arc, double tolerance, std::vector<PathPiece> *cubics)
{
    const int kMostParts = 64;
    const Ellipse ellipse = ellipseOf(arc);
    int parts
        = static_cast<int>(std::ceil(std::fabs(ellipse.sweep) / (2.0 * std::atan(1.0)) - 1e-9));
    parts = std::max(1, parts);
    const auto error = [&ellipse](int count) {
        const double quarter = 0.25 * ellipse.sweep / count;
        return ellipse.major * 2.0 / 27.0 * std::pow(std::sin(quarter), 6.0)
            / std::pow(std::cos(quarter), 2.0);
    };
    while (parts < kMostParts && !(error(parts) <= tolerance))
        ++parts;
    const double step = ellipse.sweep / parts;
    // Tangents are the points a quarter turn ahead, seen from the center.
    const double reach = 4.0 / 3.0 * std::tan(0.25 * step);
    const double kQuarterTurn = 2.0 * std::atan(1.0);
    const auto beside = [&](const Point &p, double t, double length) {
        const Point ahead = pointOn(ellipse, t + kQuarterTurn);
        return Point(p.x + length * (ahead.x - ellipse.center.x),
                     p.y + length * (ahead.y - ellipse.center.y));
    };
    PathPiece cubic;
    cubic.kind = PathPiece::Cubic;
    cubic.degree = 3;
    cubic.start = arc.start;
    for (int i = 1; i <= parts; ++i) {
        const double t = ellipse.start + step * i;
        cubic.end = i == parts ? arc.end : pointOn(ellipse, t);
        cubic.control1 = beside(cubic.start, t - step, reach);
        cubic.control2 = beside(cubic.end, t, -reach);
        cubics->push_back(cubic);
        cubic.start = cubic.end;
    }
}

void replaceArcs(double tolerance, std::vector<PathPiece> *pieces)
{
    if (std::none_of(pieces->begin(), pieces->end(), isArc))
        return;
    std::vector<PathPiece> replaced;
    for (const PathPiece &piece : *pieces) {
        if (isArc(piece))
            appendCubics(piece, tolerance, &replaced);
        else
            replaced.push_back(piece);
    }
    pieces->swap(replaced);
}

int linesOf(const PathPiece &piece, double tolerance)
{
    switch (piece.kind) {
    case PathPiece::Spline: // piecesOf leaves none
    case PathPiece::Line:
        break;
    case PathPiece::Quadratic:
        return stepsFor(2.0 * secondDifference(piece.start, piece.control1, piece.end), tolerance);
    case PathPiece::Cubic:
        return stepsFor(
            6.0
                * std::max(secondDifference(piece.start, piece.control1, piece.control2),
                           secondDifference(piece.control1, piece.control2, piece.end)),
            tolerance);
    case PathPiece::Arc:
    case PathPiece::EllipticArc: {
        const Ellipse ellipse = ellipseOf(piece);
        return stepsFor(ellipse.major * ellipse.sweep * ellipse.sweep, tolerance);
    }
    }
    return 1;
}

void flatten(const PathPiece &piece, double tolerance, std::vector<Point> *points)
{
    const int steps = linesOf(piece, tolerance);
    if (piece.kind == PathPiece::Arc) {
        const Circle circle = circleOf(piece);
        for (int i = 1; i < steps; ++i) {
            const double angle = circle.startAngle + circle.sweep * i / steps;
            points->push_back(Point(circle.center.x + circle.radius * std::cos(angle),
                                    circle.center.y + circle.radius * std::sin(angle)));
        }
    } else if (piece.kind == PathPiece::EllipticArc) {
        const Ellipse ellipse = ellipseOf(piece);
        for (int i = 1; i < steps; ++i)
            points->push_back(pointOn(ellipse, ellipse.start + ellipse.sweep * i / steps));
    } else {
        for (int i = 1; i < steps; ++i)
            points->push_back(pointOn(piece, double(i) / double(steps)));
    }
    points->push_back(piece.end);
}

void appendReversed(const PathPiece &piece, Path *path)
{
    switch (piece.kind) {
    case PathPiece::Line:
        return path->lineTo(piece.start);
    case PathPiece::Arc:
        return path->arcTo(piece.start, -piece.bulge);
    case PathPiece::EllipticArc:
        return path->ellipticArcTo(piece.start, -piece.bulge, piece.ratio, piece.angle);
    case PathPiece::Quadratic:
        return path->quadraticTo(piece.control1, piece.start);
    case PathPiece::Cubic:
        return path->cubicTo(piece.control2, piece.control1, piece.start);
    case PathPiece::Spline:
        break;
    }
    std::vector<Point> inner(piece.inner, piece.inner + piece.innerCount);
    std::reverse(inner.begin(), inner.end());
    path->splineTo(piece.degree, inner, piece.start);
}

void appendForwards(const PathPiece &piece, Path *path)
{
    switch (piece.kind) {
    case PathPiece::Line:
        return path->lineTo(piece.end);
    case PathPiece::Arc:
        return path->arcTo(piece.end, piece.bulge);
    case PathPiece::EllipticArc:
        return path->ellipticArcTo(piece.end, piece.bulge, piece.ratio, piece.angle);
    case PathPiece::Quadratic:
        return path->quadraticTo(piece.control1, piece.end);
    case PathPiece::Cubic:
        return path->cubicTo(piece.control1, piece.control2, piece.end);
    case PathPiece::Spline:
        break;
    }
    path->splineTo(piece.degree, std::vector<Point>(piece.inner, piece.inner + piece.innerCount),
                   piece.end);
}

} // namespace ztrace
