// (c) the ztrace developers. Licence: see LICENSE.
//
// The shape of an outline: a chain of lines, arcs and curves.
#ifndef ZTRACE_DRAWING_PATH_H
#define ZTRACE_DRAWING_PATH_H

#include <cstddef>
#include <vector>

namespace ztrace {

struct Point
{
    double x = 0.0;
    double y = 0.0;

    Point() = default;
    Point(double px, double py) : x(px), y(py) { }
};

inline bool operator==(const Point &a, const Point &b)
{
    return a.x == b.x && a.y == b.y;
}
inline bool operator!=(const Point &a, const Point &b)
{
    return !(a == b);
}

// One piece between two points.
struct PathPiece
{
    // Spline: a curve of another degree, or of more control points, as hosts know them.
    enum Kind { Line, Quadratic, Cubic, Arc, Spline };

    Kind kind = Line;
    int degree = 1; // of a Spline
    Point start;
    Point control1; // Quadratic, Cubic
    Point control2; // Cubic
    Point end;
    double bulge = 0.0;         // Arc: tangent of a quarter of its angle, positive to the left
    std::size_t firstInner = 0; // Spline: its control points between the ends, in Path::inner
    std::size_t innerCount = 0;
};

// Pieces in order; each starts where the one before it ends. Coordinates may be no finite numbers:
// writers leave out what cannot be drawn (pieces.h).
class Path
{
public:
    bool isEmpty() const { return !started; }
    Point start() const { return first; }
    Point end() const { return parts.empty() ? first : parts.back().end; }
    const std::vector<PathPiece> &pieces() const { return parts; }
    const std::vector<Point> &inner() const { return innerPoints; }

    // The first point; a path of it alone has no pieces.
    void moveTo(const Point &point);

    // Each goes on from the end.
    void lineTo(const Point &point);
    void arcTo(const Point &point, double bulge); // a line for a bulge of 0
    void quadraticTo(const Point &control, const Point &point);
    void cubicTo(const Point &control1, const Point &control2, const Point &point);
    // A quadratic or cubic where the degree and the number of points make one.
    void splineTo(int degree, const std::vector<Point> &innerControls, const Point &point);

    void reserve(std::size_t pieces) { parts.reserve(pieces); }

private:
    PathPiece &append(PathPiece::Kind kind, const Point &point);

    bool started = false;
    Point first;
    std::vector<PathPiece> parts;
    std::vector<Point> innerPoints;
};

// Exact comparison, piece by piece; not-a-number equals nothing.
bool operator==(const Path &a, const Path &b);
inline bool operator!=(const Path &a, const Path &b)
{
    return !(a == b);
}

// An upright rectangle around points. Points that are not a number are left out.
struct Bounds
{
    bool valid = false;
    Point low;
    Point high;

    void grow(const Point &point);
    void grow(const Bounds &other);
};

// Of the curves themselves; a cubic or another spline counts with its control points.
Bounds boundsOf(const Path &path);

} // namespace ztrace

#endif
