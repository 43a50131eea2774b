// (c) the ztrace developers. Licence: see LICENSE.
//
// The shape of an outline: a chain of lines, arcs and curves.
#ifndef ZTRACE_DRAWING_PATH_H
#define ZTRACE_DRAWING_PATH_H

#include <cmath>
#include <cstddef>
#include <cstdint>
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

// Beyond this a coordinate is as good as infinite; up to it, what units make of it is a number.
const double kFarthest = 1e300;

inline bool isPlace(const Point &p)
{
    return std::fabs(p.x) <= kFarthest && std::fabs(p.y) <= kFarthest;
}

// One piece between two points.
struct PathPiece
{
    // Spline: a curve of another degree, or of more control points, as hosts know them.
    enum Kind : uint8_t { Line, Quadratic, Cubic, Arc, EllipticArc, Spline };

    Kind kind = Line;
    uint8_t degree = 1; // of a Spline
    Point start;
    Point control1; // Quadratic, Cubic
    Point control2; // Cubic
    Point end;
    double bulge = 0.0; // Arc: tangent of a quarter of its angle, positive to the left
    // EllipticArc: what becomes an arc of that bulge when the plane is stretched by 1 / ratio
    // across the direction of `angle`, in radians, which is that of the longer axis. 0 < ratio
    // <= 1.
    double ratio = 1.0;
    double angle = 0.0;
    const Point *inner = nullptr; // Spline: its control points between the ends; the path's own
    std::size_t innerCount = 0;
};

// Pieces in order; each starts where the one before it ends. Coordinates may be no finite numbers:
// writers leave out what cannot be drawn (pieces.h). A line takes 24 bytes, a quadratic 40: a
// photograph has half a million of them.
class Path
{
    // A piece: its points are those of the path from where the one before it ends, `points` of
    // them. An arc's first one is its bulge; an elliptic arc's first two are bulge, ratio and
    // angle.
    struct Step
    {
        PathPiece::Kind kind;
        uint8_t degree;
        uint32_t points;
    };

public:
    // Goes over the pieces and puts each together.
    class Iterator
    {
    public:
        Iterator(const Step *atStep, const Point *atStart) : step(atStep), start(atStart) { }

        PathPiece operator*() const;
        Iterator &operator++()
        {
            start += step->points;
            ++step;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return step != other.step; }

    private:
        const Step *step;
        const Point *start;
    };

    class Pieces
    {
    public:
        explicit Pieces(const Path &p) : path(p) { }

        Iterator begin() const { return Iterator(path.steps.data(), path.points.data()); }
        Iterator end() const { return Iterator(path.steps.data() + path.steps.size(), nullptr); }
        std::size_t size() const { return path.steps.size(); }
        bool empty() const { return path.steps.empty(); }

    private:
        const Path &path;
    };

    bool isEmpty() const { return points.empty(); }
    Point start() const { return points.empty() ? Point() : points.front(); }
    Point end() const { return points.empty() ? Point() : points.back(); }
    Pieces pieces() const { return Pieces(*this); }

    // The first point, before all else; a path of it alone has no pieces.
    void moveTo(const Point &point) { points.assign(1, point); }

    // Each goes on from the end.
    void lineTo(const Point &point);
    void arcTo(const Point &point, double bulge); // a line for a bulge of 0
    // Likewise, and an arc for a ratio of 1.
    void ellipticArcTo(const Point &point, double bulge, double ratio, double angle);
    void quadraticTo(const Point &control, const Point &point);
    void cubicTo(const Point &control1, const Point &control2, const Point &point);
    // A quadratic or cubic where the degree, 1 to 255, and the number of points make one.
    void splineTo(int degree, const std::vector<Point> &innerControls, const Point &point);

    // Room for pieces with so many points, the first one among them.
    void reserve(std::size_t pieceCount, std::size_t pointCount);

    friend bool operator==(const Path &a, const Path &b);

private:
    std::vector<Step> steps;
    std::vector<Point> points;
};

// Exact comparison, piece by piece; not-a-number equals nothing.
bool operator==(const Path &a, const Path &b);
inline bool operator!=(const Path &a, const Path &b)
{
    return !(a == b);
}

// An upright rectangle around points. Points that are no places are left out.
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
