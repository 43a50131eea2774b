// (c) the ztrace developers. Licence: see LICENSE.
#include "Path.h"

#include "pieces.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace ztrace {

namespace {

const double kQuarterTurn = 2.0 * std::atan(1.0);

const double kLargestShort = 1e6; // far below what single precision holds

// Numbers that a block has room for.
std::size_t roomFor(std::size_t numbers, std::size_t codes)
{
    const std::size_t head = 2;
    return head + numbers + (codes + sizeof(double) - 1) / sizeof(double);
}

// Whether single precision holds it. The sign of a zero is kept as well.
bool isShortPoint(const Point &point)
{
    return std::fabs(point.x) <= kLargestShort && std::fabs(point.y) <= kLargestShort
        && double(float(point.x)) == point.x && double(float(point.y)) == point.y;
}

double shortPoint(const Point &point)
{
    const float both[] = { float(point.x), float(point.y) };
    double number;
    static_assert(sizeof both == sizeof number, "two of single precision");
    std::memcpy(&number, both, sizeof number);
    return number;
}

// The points where the arc turns: its crossings of the axes through its center.
void growByArc(const PathPiece &piece, Bounds *bounds)
{
    const Circle circle = circleOf(piece);
    const double low = std::min(circle.startAngle, circle.startAngle + circle.sweep);
    const double high = std::max(circle.startAngle, circle.startAngle + circle.sweep);
    for (double quarter = std::ceil(low / kQuarterTurn); quarter * kQuarterTurn <= high;
         quarter += 1.0) {
        const double angle = quarter * kQuarterTurn;
        bounds->grow(Point(circle.center.x + circle.radius * std::cos(angle),
                           circle.center.y + circle.radius * std::sin(angle)));
    }
}

// Where x or y of an ellipse is largest or least: x = major cos(t) cos(angle) - minor sin(t)
// sin(angle), and y likewise.
void growByEllipticArc(const PathPiece &piece, Bounds *bounds)
{
    const Ellipse ellipse = ellipseOf(piece);
    const double low = std::min(ellipse.start, ellipse.start + ellipse.sweep);
    const double high = std::max(ellipse.start, ellipse.start + ellipse.sweep);
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const double half = 2.0 * kQuarterTurn;
    for (double turn : { std::atan2(-ellipse.minor * s, ellipse.major * c),
                         std::atan2(ellipse.minor * c, ellipse.major * s) }) {
        for (double k = std::ceil((low - turn) / half); turn + k * half <= high; k += 1.0)
            bounds->grow(pointOn(ellipse, turn + k * half));
    }
}

// A quadratic turns where its derivative is zero: t = (P0 - P1) / (P0 - 2 P1 + P2).
void growByQuadratic(const PathPiece &piece, Bounds *bounds)
{
    const auto turn = [](double a, double b, double c) { return (a - b) / (a - 2.0 * b + c); };
    for (double t : { turn(piece.start.x, piece.control1.x, piece.end.x),
                      turn(piece.start.y, piece.control1.y, piece.end.y) }) {
        if (t > 0.0 && t < 1.0)
            bounds->grow(pointOn(piece, t));
    }
}

} // namespace

std::size_t Path::Pieces::lines() const
{
    std::size_t count = 0;
    const uint8_t *end = path.isEmpty() ? nullptr : path.codes() - path.head().codes;
    for (const uint8_t *code = path.isEmpty() ? nullptr : path.codes(); code != end;
         code -= *code == kSpline ? kCodesOfSpline : 1)
        count += *code == kLine || *code == kShortLine ? 1u : 0u;
    return count;
}

Path::Path(const Path &other)
{
    if (other.isEmpty())
        return;
    const Head &from = other.head();
    resize(roomFor(from.numbers, from.codes));
    std::copy_n(other.numbers(), from.numbers, block.get() + kHead);
    std::copy_n(other.codes() + 1 - from.codes, from.codes,
                const_cast<uint8_t *>(codes() + 1 - from.codes));
    head().numbers = from.numbers;
    head().codes = from.codes;
    head().pieces = from.pieces;
}

Path &Path::operator=(const Path &other)
{
    if (this != &other)
        *this = Path(other);
    return *this;
}

Point Path::end() const
{
    if (isEmpty())
        return Point();
    const double *behind = numbers() + head().numbers;
    const bool isLastShort = head().codes > 0 && isShort(*(codes() + 1 - head().codes));
    return isLastShort ? shortPointAt(behind - 1) : pointAt(behind - 2);
}

void Path::moveTo(const Point &point)
{
    makeRoom(2, 0);
    head().numbers = 0;
    head().codes = 0;
    head().pieces = 0;
    addNumber(point.x);
    addNumber(point.y);
}

void Path::reserve(std::size_t pieceCount, std::size_t pointCount)
{
    const std::size_t room = roomFor(2 * pointCount, pieceCount);
    if (!block || room > head().room)
        resize(room);
}

void Path::lineTo(const Point &point)
{
    addPiece(kLine, {}, point);
}

void Path::arcTo(const Point &point, double bulge)
{
    if (bulge == 0.0)
        lineTo(point);
    else
        addPiece(kArc, { bulge }, point);
}

void Path::ellipticArcTo(const Point &point, double bulge, double ratio, double angle)
{
    if (bulge == 0.0 || ratio == 1.0)
        arcTo(point, bulge);
    else
        addPiece(kEllipticArc, { bulge, ratio, angle }, point);
}

void Path::quadraticTo(const Point &control, const Point &point)
{
    addPiece(kQuadratic, { control.x, control.y }, point);
}

void Path::cubicTo(const Point &control1, const Point &control2, const Point &point)
{
    addPiece(kCubic, { control1.x, control1.y, control2.x, control2.y }, point);
}

void Path::splineTo(int degree, const std::vector<Point> &innerControls, const Point &point)
{
    const std::size_t count = innerControls.size();
    if (degree == 2 && count == 1) {
        quadraticTo(innerControls[0], point);
        return;
    }
    if (degree == 3 && count == 2) {
        cubicTo(innerControls[0], innerControls[1], point);
        return;
    }
    if (isEmpty())
        moveTo(Point());
    makeRoom(2 * (count + 1), kCodesOfSpline);
    addCode(kSpline);
    addCode(unsigned(degree));
    for (int k = 0; k < kBytesOfCount; ++k)
        addCode(unsigned(count >> 8 * k & 0xFFu));
    addCode(kSpline);
    for (const Point &control : innerControls) {
        addNumber(control.x);
        addNumber(control.y);
    }
    addNumber(point.x);
    addNumber(point.y);
    ++head().pieces;
}

void Path::addPiece(uint8_t code, std::initializer_list<double> before, const Point &point)
{
    if (isEmpty())
        moveTo(Point());
    makeRoom(before.size() + 2, 1);
    for (double number : before)
        addNumber(number);
    const bool shortened = (code == kLine || code == kQuadratic) && isShortPoint(point);
    addCode(shortened ? code + (kShortLine - kLine) : unsigned(code));
    if (shortened) {
        addNumber(shortPoint(point));
    } else {
        addNumber(point.x);
        addNumber(point.y);
    }
    ++head().pieces;
}

void Path::addCode(unsigned byte)
{
    *const_cast<uint8_t *>(codes() - head().codes++) = uint8_t(byte);
}

void Path::makeRoom(std::size_t moreNumbers, std::size_t moreCodes)
{
    const std::size_t room = block ? roomFor(head().numbers + moreNumbers, head().codes + moreCodes)
                                   : roomFor(moreNumbers, moreCodes);
    if (!block || room > head().room)
        resize(block ? std::max(room, 2 * std::size_t(head().room)) : room);
}

// Keeps what is there; not for less room than that takes.
void Path::resize(std::size_t room)
{
    if (room > std::numeric_limits<uint32_t>::max())
        throw std::bad_alloc();
    std::unique_ptr<double[]> old(new double[room]);
    old.swap(block);
    const Head from = old ? *reinterpret_cast<const Head *>(old.get()) : Head { 0, 0, 0, 0 };
    head() = from;
    head().room = uint32_t(room);
    if (!old)
        return;
    std::copy_n(old.get() + kHead, from.numbers, block.get() + kHead);
    std::copy_n(reinterpret_cast<const uint8_t *>(old.get() + from.room) - from.codes, from.codes,
                const_cast<uint8_t *>(codes() + 1 - from.codes));
}

namespace {

bool areEqual(const PathPiece &a, const PathPiece &b)
{
    return a.kind == b.kind && a.degree == b.degree && a.start == b.start && a.end == b.end
        && a.control1 == b.control1 && a.control2 == b.control2 && a.bulge == b.bulge
        && a.ratio == b.ratio && a.angle == b.angle && a.innerCount == b.innerCount
        && std::equal(a.inner, a.inner + a.innerCount, b.inner);
}

} // namespace

bool operator==(const Path &a, const Path &b)
{
    if (a.isEmpty() != b.isEmpty() || a.pieces().size() != b.pieces().size()
        || a.start() != b.start())
        return false;
    Path::Iterator other = b.pieces().begin();
    for (const PathPiece piece : a.pieces()) {
        if (!areEqual(piece, *other))
            return false;
        ++other;
    }
    return true;
}

void Bounds::grow(const Point &point)
{
    if (!isPlace(point))
        return;
    if (!valid) {
        valid = true;
        low = high = point;
        return;
    }
    low.x = point.x < low.x ? point.x : low.x;
    low.y = point.y < low.y ? point.y : low.y;
    high.x = point.x > high.x ? point.x : high.x;
    high.y = point.y > high.y ? point.y : high.y;
}

void Bounds::grow(const Bounds &other)
{
    if (!other.valid)
        return;
    grow(other.low);
    grow(other.high);
}

Bounds boundsOf(const Path &path)
{
    Bounds bounds;
    if (!path.isEmpty())
        bounds.grow(path.start());
    for (const PathPiece piece : path.pieces()) {
        bounds.grow(piece.end);
        if (piece.kind == PathPiece::Arc)
            growByArc(piece, &bounds);
        else if (piece.kind == PathPiece::EllipticArc)
            growByEllipticArc(piece, &bounds);
        else if (piece.kind == PathPiece::Quadratic)
            growByQuadratic(piece, &bounds);
        if (piece.kind == PathPiece::Cubic) {
            bounds.grow(piece.control1);
            bounds.grow(piece.control2);
        }
        for (std::size_t i = 0; i < piece.innerCount; ++i)
            bounds.grow(piece.inner[i]);
    }
    return bounds;
}

} // namespace ztrace
