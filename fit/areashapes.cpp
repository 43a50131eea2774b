// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/areashapes.h"

#include "fit/areas.h"
#include "fit/shapes.h"

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
const double kLargest = 12;          // pixels that a shape is long at the most
const std::size_t kMostOfSmall = 12; // pieces of a path in whose place a shape is tried
const double kLeastHalf = 0.25;      // pixels of a half axis or half side
const double kMostElongated = 1.5;   // of the axes of inertia, from which they tell the direction
const int kDirections = 4;           // in a quarter turn that are tried where they do not
// Area over the root of the inertia's determinant: 12.6 for ellipses, 12 for rectangles, 10.4 for
// triangles; letters have less.
const double kLeastRatio = 11;
const int kPlacesOfBend = 4; // of a bent piece, for its inertia
const int kRounds = 6;
const double kFlatnessOfEllipse = 0.012; // pixels that its chords may be off
const double kStep = 1e-3;               // pixels, radians: of a difference
const double kSettled = 1;               // of chi squared
// Times what the one kind is off by before it is fitted the other may be, or it is not fitted: with
// both always a dialog takes 1.5 % more instructions, and draws the same.
const double kClearly = 3;
// Chi squared a mixed pixel of a path in whose place nothing is tried. At 5 discs of 4 px have 2.9
// % too little area (.5 now), and a dialog takes 1 % fewer instructions.
const double kGoodEnough = 2;
const double kMixed = 0.02;       // of coverage
const double kFarthestMiddle = 1; // pixels from the centre of mass

using Vector = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, 5, 1>;
using Square = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, 5, 5>;

// x and y of the centre, half axes or half sides, direction; of circles the first three.
Piece shapeOf(Kind kind, const Vector &v)
{
    Piece piece = {};
    piece.kind = kind;
    piece.centre = { v[0], v[1] };
    piece.half[0] = v[2];
    piece.half[1] = v.size() > 3 ? v[3] : v[2];
    piece.angle = v.size() > 4 ? v[4] : 0;
    return piece;
}

// Arcs of a quarter turn, and lines between them where there is room.
void addRounded(const Piece &shape, Point along, Point across, Path *path)
{
    const double r = std::min(shape.radius, std::min(shape.half[0], shape.half[1]));
    const double u = shape.half[0] - r;
    const double v = shape.half[1] - r;
    const Point signs[] = { { 1, 1 }, { -1, 1 }, { -1, -1 }, { 1, -1 } };
    std::array<Point, 8> places;
    for (std::size_t k = 0; k < 4; ++k) {
        const Point corner = shape.centre + (signs[k].x * u) * along + (signs[k].y * v) * across;
        const Point one = (signs[k].x * r) * along;
        const Point other = (signs[k].y * r) * across;
        places[2 * k] = corner + (k % 2 ? other : one);
        places[2 * k + 1] = corner + (k % 2 ? one : other);
    }
    for (std::size_t k = 0; k < 8; ++k) {
        const Point start = places[k];
        const Point end = places[(k + 1) % 8];
        if (k % 2 == 0 && r > 0)
            path->pieces.push_back(arcPiece(start, end, std::tan(kPi / 8)));
        else if (start.x != end.x || start.y != end.y)
            path->pieces.push_back(linePiece(start, end));
    }
}

// Chords whose ends lie a little outside, so that they go round as much as the ellipse.
void addEllipse(const Piece &shape, Point along, Point across, Path *path)
{
    const double longest = std::max(shape.half[0], shape.half[1]);
    const int count
        = 4 * static_cast<int>(std::ceil(kPi / 8 * std::sqrt(longest / kFlatnessOfEllipse) + 1));
    const double step = 2 * kPi / count;
    const double out = std::sqrt(step / std::sin(step));
    const Point turn = { std::cos(step), std::sin(step) };
    const auto at = [&](Point p) {
        return shape.centre + (p.x * shape.half[0]) * along + (p.y * shape.half[1]) * across;
    };
    Point p = { out, 0 };
    const Point first = at(p);
    Point before = first;
    path->pieces.reserve(static_cast<std::size_t>(count));
    for (int k = 1; k <= count; ++k) {
        p = { p.x * turn.x - p.y * turn.y, p.x * turn.y + p.y * turn.x };
        const Point end = k == count ? first : at(p);
        path->pieces.push_back(linePiece(before, end));
        before = end;
    }
}

class SmallShapes
{
public:
    SmallShapes(const Path &p, const Coverage &c, double l)
        : path(p), coverage(c), lambda(l), inside(coverage.right)
    {
        const std::vector<double> drawn = coverOf(path, coverage);
        double sum = 0;
        for (std::size_t k = 0; k < drawn.size(); ++k)
            sum += coverage.counts[k] ? (drawn[k] - 0.5) * (coverage.right[k] - 0.5) : 0;
        if (sum < 0)
            std::transform(inside.begin(), inside.end(), inside.begin(),
                           [](double part) { return 1 - part; });
        chi2 = chi2Of(drawn);
    }

    std::optional<Path> run()
    {
        if (chi2 < kGoodEnough * mixed() || !measure())
            return std::nullopt;
        const double before = 0.5 * chi2 + lambda * path.numbers;
        best = before;
        tryShapes();
        if (!(best < before))
            return std::nullopt;
        for (const Piece &piece : path.pieces)
            result.count += piece.count;
        result.first = path.pieces.front().first;
        result.misfit = path.misfit;
        return Path { { result }, true, path.misfit, numbersOf({ result }, true, svgPrices()) };
    }

    bool showsItself() const { return showsAreas(outlineOf(path.pieces.front()), coverage); }

private:
    double mixed() const
    {
        double count = 0;
        for (std::size_t k = 0; k < inside.size(); ++k)
            count += coverage.counts[k] && inside[k] > kMixed && inside[k] < 1 - kMixed ? 1 : 0;
        return count;
    }

    double chi2Of(const std::vector<double> &cover) const
    {
        double sum = 0;
        for (std::size_t k = 0; k < cover.size(); ++k) {
            const double off = coverage.counts[k] ? inside[k] - cover[k] : 0;
            sum += off * off;
        }
        return sum / (coverage.sigma * coverage.sigma);
    }

    // Area, middle and inertia of what is covered.
    bool measure()
    {
        double xx = 0, yy = 0, xy = 0;
        for (std::size_t k = 0; k < inside.size(); ++k) {
            const double part = weightOf(k);
            area += part;
            middle = middle + part * placeOf(k);
        }
        if (!(area > 0))
            return false;
        middle = (1 / area) * middle;
        for (std::size_t k = 0; k < inside.size(); ++k) {
            const Point away = placeOf(k) - middle;
            xx += weightOf(k) / area * away.x * away.x;
            yy += weightOf(k) / area * away.y * away.y;
            xy += weightOf(k) / area * away.x * away.y;
        }
        const double mean = 0.5 * (xx + yy);
        const double half = std::hypot(0.5 * (xx - yy), xy);
        const double ofPixel = 1.0 / 12;
        const double least = kLeastHalf * kLeastHalf / 4;
        longer = std::sqrt(std::max(least, mean + half - ofPixel));
        shorter = std::sqrt(std::max(least, mean - half - ofPixel));
        axis = 0.5 * std::atan2(2 * xy, xx - yy);
        return true;
    }

    double weightOf(std::size_t k) const
    {
        return coverage.counts[k] && inside[k] > kMixed ? inside[k] : 0;
    }

    Point placeOf(std::size_t k) const
    {
        const int row = static_cast<int>(k) / coverage.width;
        const int column = static_cast<int>(k) - row * coverage.width;
        return { coverage.left + column + 0.5, coverage.top + row + 0.5 };
    }

    struct Start
    {
        Kind kind;
        Vector values;
        double chi2;
    };

    // Of round shapes and rectangles those that are as expected before they are fitted, by what
    // they are off by; the other kind too where that is not clear.
    void tryShapes()
    {
        const double a = std::sqrt(3.0) * longer;
        const double b = std::sqrt(3.0) * shorter;
        Start ellipse = startOf(Kind::Ellipse, { 2 * longer, 2 * shorter, axis });
        Start rectangle = startOf(Kind::RoundedRectangle, { a, b, axis });
        for (int k = 1; longer < kMostElongated * shorter && k < kDirections; ++k) {
            const double turn = 0.5 * kPi * k / kDirections;
            const Start turned = startOf(Kind::RoundedRectangle, { a, b, axis + turn });
            if (turned.chi2 < rectangle.chi2)
                rectangle = turned;
        }
        if (ellipse.chi2 < kClearly * rectangle.chi2) {
            enter(startOf(Kind::Circle, { std::sqrt(area / kPi) }));
            enter(ellipse);
        }
        if (rectangle.chi2 < kClearly * ellipse.chi2) {
            // An upright one where that is as good: a number less, and it stands on the page.
            const bool lies = std::fabs(std::cos(axis)) > std::sqrt(0.5);
            enter(startOf(Kind::RoundedRectangle, { lies ? a : b, lies ? b : a }));
            enter(rectangle);
        }
    }

    Start startOf(Kind kind, const std::vector<double> &sizes) const
    {
        Start start = { kind, Vector(Eigen::Index(2 + sizes.size())), 0 };
        start.values[0] = middle.x;
        start.values[1] = middle.y;
        for (std::size_t k = 0; k < sizes.size(); ++k)
            start.values[Eigen::Index(2 + k)] = sizes[k];
        start.chi2 = chi2Of(coverOfShape(kind, start.values));
        return start;
    }

    std::vector<double> coverOfShape(Kind kind, const Vector &v) const
    {
        return coverOf(outlineOf(shapeOf(kind, v)), coverage);
    }

    // Fits a shape and keeps it where it is the cheapest.
    void enter(Start start)
    {
        const Kind kind = start.kind;
        Vector &v = start.values;
        const double off = fitted(kind, &v);
        Piece piece = shapeOf(kind, v);
        const bool isUpright = kind == Kind::RoundedRectangle && v.size() == 4;
        const double numbers = priceOf(piece, svgPrices()) - (isUpright ? 1 : 0);
        const double cost = 0.5 * off + lambda * numbers;
        const Point away = piece.centre - middle;
        if (!(cost < best) || !(std::min(piece.half[0], piece.half[1]) >= kLeastHalf)
            || !(std::max(piece.half[0], piece.half[1]) <= kLargest)
            || !(dot(away, away) < kFarthestMiddle * kFarthestMiddle)
            || !(off < kGoodEnough * mixed() || showsAreas(outlineOf(piece), coverage)))
            return;
        best = cost;
        piece.angle -= kPi * std::floor(piece.angle / kPi + 0.5);
        result = piece;
    }

    // Steps may lead to sizes below nothing, which have no outline.
    static bool isShape(Kind kind, const Vector &v)
    {
        const Piece piece = shapeOf(kind, v);
        return std::min(piece.half[0], piece.half[1]) > 0 && v.allFinite();
    }

    // Gauss and Newton's method, damped, with differences; what it is off by in the end.
    double fitted(Kind kind, Vector *v) const
    {
        std::vector<double> cover = coverOfShape(kind, *v);
        double off = chi2Of(cover);
        double damping = 1e-3;
        for (int round = 0; round < kRounds; ++round) {
            const Vector step = stepOf(kind, *v, cover, damping);
            const Vector next = *v + step;
            if (!isShape(kind, next)) {
                damping *= 30;
                continue;
            }
            std::vector<double> then = coverOfShape(kind, next);
            const double after = chi2Of(then);
            if (!(after < off)) {
                damping *= 30;
                continue;
            }
            const bool settled = off - after < kSettled;
            *v = next;
            off = after;
            cover.swap(then);
            damping *= 0.3;
            if (settled)
                break;
        }
        return off;
    }

    Vector stepOf(Kind kind, const Vector &v, const std::vector<double> &cover,
                  double damping) const
    {
        const Eigen::Index n = v.size();
        std::vector<std::vector<double>> moved;
        for (Eigen::Index i = 0; i < n; ++i) {
            Vector other = v;
            other[i] += kStep;
            moved.push_back(coverOfShape(kind, other));
        }
        Square normal = Square::Zero(n, n);
        Vector right = Vector::Zero(n);
        for (std::size_t k = 0; k < cover.size(); ++k) {
            if (!coverage.counts[k])
                continue;
            Vector slope(n);
            bool moves = false;
            for (Eigen::Index i = 0; i < n; ++i) {
                slope[i] = (moved[static_cast<std::size_t>(i)][k] - cover[k]) / kStep;
                moves |= slope[i] != 0;
            }
            if (!moves)
                continue;
            normal += slope * slope.transpose();
            right += (inside[k] - cover[k]) * slope;
        }
        // A circle has no direction: a little of everything keeps the solution finite.
        normal.diagonal() = normal.diagonal() * (1 + damping) + Vector::Constant(n, 1e-6);
        return normal.llt().solve(right);
    }

    const Path &path;
    Coverage coverage; // of what the loop goes round
    const double lambda;
    std::vector<double> &inside;
    double chi2 = 0; // of the path
    double area = 0;
    Point middle = { 0, 0 };
    double longer = 0; // deviations along the axes of inertia
    double shorter = 0;
    double axis = 0;
    double best = 0; // nats
    Piece result = {};
};

// Whether a path is small, and goes round about as much as a whole shape of its inertia.
bool isSmall(const Path &path)
{
    if (!path.closed || path.pieces.empty() || path.pieces.size() > kMostOfSmall)
        return false;
    Box box = boxOf(path.pieces.front());
    for (const Piece &piece : path.pieces) {
        const Box one = boxOf(piece);
        box.low = { std::min(box.low.x, one.low.x), std::min(box.low.y, one.low.y) };
        box.high = { std::max(box.high.x, one.high.x), std::max(box.high.y, one.high.y) };
    }
    if (box.high.x - box.low.x > kLargest || box.high.y - box.low.y > kLargest)
        return false;
    if (isWhole(path.pieces.front().kind))
        return true;
    Points outline;
    for (const Piece &piece : path.pieces) {
        const int places = piece.kind == Kind::Line ? 1 : kPlacesOfBend;
        for (int k = 0; k < places; ++k) {
            const Point p = pointAt(piece, double(k) / places) - box.low;
            outline.x.push_back(p.x);
            outline.y.push_back(p.y);
        }
    }
    const AreaMoments m = areaMoments(outline);
    const double spread = m.xx * m.yy - m.xy * m.xy;
    return spread > 0 && std::fabs(m.area) > kLeastRatio * std::sqrt(spread);
}

} // namespace

Path outlineOf(const Piece &shape)
{
    const Point along = { std::cos(shape.angle), std::sin(shape.angle) };
    const Point across = { -along.y, along.x };
    Path path = { {}, true, 0, 0 };
    if (shape.kind == Kind::Ellipse) {
        addEllipse(shape, along, across, &path);
        return path;
    }
    Piece rounded = shape;
    if (shape.kind == Kind::Circle)
        rounded.radius = shape.half[0];
    addRounded(rounded, along, across, &path);
    return path;
}

bool wholeShowsAreas(const Path &path, const Coverage &coverage, double lambda)
{
    SmallShapes shapes(path, coverage, lambda);
    return shapes.showsItself() || (isSmall(path) && shapes.run());
}

std::optional<Path> smallShape(const Path &path, const Coverage &coverage, double lambda)
{
    if (!isSmall(path))
        return std::nullopt;
    return SmallShapes(path, coverage, lambda).run();
}

} // namespace ztrace::fit
