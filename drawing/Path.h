// (c) the ztrace developers. Licence: see LICENSE.
//
// The shape of an outline: a chain of lines, arcs and curves.
#ifndef ZTRACE_DRAWING_PATH_H
#define ZTRACE_DRAWING_PATH_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
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
// writers leave out what cannot be drawn (pieces.h). A photograph has a hundred thousand paths and
// half a million pieces: a path is one block of memory, where a piece takes a byte beside its
// points, and the end of a line or quadratic half the room of a point where single precision holds
// it.
class Path
{
public:
    // Goes over the pieces and puts each together.
    class Iterator
    {
    public:
        Iterator(const uint8_t *atCode, const double *atNumbers, const Point &from)
            : code(atCode), numbers(atNumbers), start(from)
        { }

        PathPiece operator*() const;
        Iterator &operator++();
        bool operator!=(const Iterator &other) const { return code != other.code; }

    private:
        std::size_t count() const;      // of the piece's numbers
        std::size_t innerCount() const; // of a Spline
        Point end() const;

        const uint8_t *code;   // of the piece; that of the next one is below
        const double *numbers; // its own
        Point start;
    };

    class Pieces
    {
    public:
        explicit Pieces(const Path &p) : path(p) { }

        Iterator begin() const;
        Iterator end() const;
        std::size_t size() const { return path.isEmpty() ? 0 : path.head().pieces; }
        std::size_t lines() const; // of them
        bool empty() const { return size() == 0; }

    private:
        const Path &path;
    };

    Path() = default;
    Path(const Path &other); // takes no more room than the pieces do
    Path(Path &&other) noexcept = default;
    Path &operator=(const Path &other);
    Path &operator=(Path &&other) noexcept = default;
    ~Path() = default;

    bool isEmpty() const { return !block || head().numbers == 0; }
    Point start() const;
    Point end() const;
    Pieces pieces() const { return Pieces(*this); }

    // The first point, before all else; a path of it alone has no pieces.
    void moveTo(const Point &point);

    // Each goes on from the end, or from (0, 0) where there was no first point.
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

private:
    // Codes of the pieces. Short ones have their end in the room of one number.
    enum Code : uint8_t {
        kLine,
        kShortLine,
        kQuadratic,
        kShortQuadratic,
        kCubic,
        kArc,         // after its bulge
        kEllipticArc, // after its bulge, its ratio and its angle
        kSpline       // its degree, the number of its inner points, and this code again
    };

    static const int kBytesOfCount = 4;
    static const std::ptrdiff_t kCodesOfSpline = 3 + kBytesOfCount;

    static bool isShort(uint8_t code) { return code == kShortLine || code == kShortQuadratic; }
    static Point pointAt(const double *numbers) { return Point(numbers[0], numbers[1]); }
    static Point shortPointAt(const double *number)
    {
        float both[2];
        std::memcpy(both, number, sizeof both);
        return Point(double(both[0]), double(both[1]));
    }

    // The block: this, then the numbers of the pieces from the front on, and their codes from the
    // back on.
    struct Head
    {
        uint32_t room;    // of the block, in numbers
        uint32_t numbers; // in use; two for the first point, and those of the pieces
        uint32_t codes;   // bytes in use
        uint32_t pieces;
    };

    Head &head() { return *reinterpret_cast<Head *>(block.get()); }
    const Head &head() const { return *reinterpret_cast<const Head *>(block.get()); }
    const double *numbers() const { return block.get() + kHead; }
    // The first code; the others are below it.
    const uint8_t *codes() const
    {
        return reinterpret_cast<const uint8_t *>(block.get() + head().room) - 1;
    }

    void addPiece(uint8_t code, std::initializer_list<double> before, const Point &point);
    void addCode(unsigned byte);
    void addNumber(double number) { block[kHead + head().numbers++] = number; }
    void makeRoom(std::size_t moreNumbers, std::size_t moreCodes);
    void resize(std::size_t room);

    static const std::size_t kHead = 2; // numbers

    std::unique_ptr<double[]> block;
};

// Here, so that what a loop does not ask of the pieces is not made.

inline std::size_t Path::Iterator::innerCount() const
{
    std::size_t inner = 0;
    for (int k = 0; k < kBytesOfCount; ++k)
        inner |= std::size_t(code[-2 - k]) << 8 * k;
    return inner;
}

inline std::size_t Path::Iterator::count() const
{
    static constexpr uint8_t kNumbersOf[] = { 2, 1, 4, 3, 6, 3, 5 };
    return *code == kSpline ? 2 * (innerCount() + 1) : kNumbersOf[*code];
}

inline Point Path::Iterator::end() const
{
    const double *behind = numbers + count();
    return isShort(*code) ? shortPointAt(behind - 1) : pointAt(behind - 2);
}

inline PathPiece Path::Iterator::operator*() const
{
    PathPiece piece;
    piece.start = start;
    piece.end = end();
    switch (*code) {
    case kLine:
    case kShortLine:
        break;
    case kQuadratic:
    case kShortQuadratic:
        piece.kind = PathPiece::Quadratic;
        piece.degree = 2;
        piece.control1 = pointAt(numbers);
        break;
    case kCubic:
        piece.kind = PathPiece::Cubic;
        piece.degree = 3;
        piece.control1 = pointAt(numbers);
        piece.control2 = pointAt(numbers + 2);
        break;
    case kEllipticArc:
        piece.ratio = numbers[1];
        piece.angle = numbers[2];
        [[fallthrough]];
    case kArc:
        piece.kind = *code == kArc ? PathPiece::Arc : PathPiece::EllipticArc;
        piece.degree = 2;
        piece.bulge = numbers[0];
        break;
    default:
        piece.kind = PathPiece::Spline;
        piece.degree = code[-1];
        piece.innerCount = innerCount();
        piece.inner = reinterpret_cast<const Point *>(numbers);
    }
    return piece;
}

inline Path::Iterator &Path::Iterator::operator++()
{
    start = end();
    numbers += count();
    code -= *code == kSpline ? kCodesOfSpline : 1;
    return *this;
}

inline Point Path::start() const
{
    return isEmpty() ? Point() : pointAt(numbers());
}

inline Path::Iterator Path::Pieces::begin() const
{
    return path.isEmpty() ? Iterator(nullptr, nullptr, Point())
                          : Iterator(path.codes(), path.numbers() + 2, path.start());
}

inline Path::Iterator Path::Pieces::end() const
{
    return Iterator(path.isEmpty() ? nullptr : path.codes() - path.head().codes, nullptr, Point());
}

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
