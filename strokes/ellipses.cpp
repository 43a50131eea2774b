// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/ellipses.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kPi = 3.14159265358979323846;
const int kSteps = 20;         // of Gauss and Newton's method
const int kFootSteps = 6;      // of Newton's method for the nearest point
const double kSettled = 1e-6;  // pixels and radians
const double kLeastHalf = 0.5; // pixels of the shorter half axis
const double kMostHalf = 1e5;
const std::size_t kLeastSamples = 8;

// Five equations with five unknowns; the sixth column is the right side. False where they tell too
// little.
bool solve(double a[5][6], double x[5])
{
    for (int i = 0; i < 5; ++i) {
        int pivot = i;
        for (int k = i + 1; k < 5; ++k) {
            if (std::fabs(a[k][i]) > std::fabs(a[pivot][i]))
                pivot = k;
        }
        if (!(std::fabs(a[pivot][i]) > 1e-12))
            return false;
        std::swap_ranges(a[i], a[i] + 6, a[pivot]);
        for (int k = i + 1; k < 5; ++k) {
            const double f = a[k][i] / a[i][i];
            for (int j = i; j < 6; ++j)
                a[k][j] -= f * a[i][j];
        }
    }
    for (int i = 4; i >= 0; --i) {
        x[i] = a[i][5];
        for (int j = i + 1; j < 5; ++j)
            x[i] -= a[i][j] * x[j];
        x[i] /= a[i][i];
    }
    return std::isfinite(x[0] + x[1] + x[2] + x[3] + x[4]);
}

void addRow(const double row[6], double a[5][6])
{
    for (int i = 0; i < 5; ++i) {
        for (int j = 0; j < 6; ++j)
            a[i][j] += row[i] * row[j];
    }
}

fit::Piece pieceOf(Point centre, double a, double b, double angle)
{
    fit::Piece piece = {};
    piece.kind = fit::Kind::Ellipse;
    if (b > a) {
        std::swap(a, b);
        angle += kPi / 2;
    }
    piece.centre = centre;
    piece.half[0] = a;
    piece.half[1] = b;
    piece.angle = angle - kPi * std::floor(angle / kPi + 0.5);
    piece.start = piece.end = pointOn(piece, 0.0);
    return piece;
}

// The conic p xx + q xy + r yy + s x + t y = 1 of least algebraic distance, around the samples'
// mean and in units of their spread: Halir and Flusser's reason for moving and scaling.
bool conicOf(const std::vector<Section> &samples, fit::Piece *ellipse)
{
    Point mean = { 0, 0 };
    for (const Section &section : samples)
        mean = mean + (1.0 / double(samples.size())) * section.centre;
    double spread = 0.0;
    for (const Section &section : samples)
        spread = std::max(spread, std::hypot(section.centre.x - mean.x, section.centre.y - mean.y));
    if (!(spread > kLeastHalf))
        return false;
    double a[5][6] = {};
    for (const Section &section : samples) {
        const Point p = (1 / spread) * (section.centre - mean);
        const double row[6] = { p.x * p.x, p.x * p.y, p.y * p.y, p.x, p.y, 1.0 };
        addRow(row, a);
    }
    double c[5];
    if (!solve(a, c))
        return false;
    const double det = 4 * c[0] * c[2] - c[1] * c[1];
    if (!(det > 1e-9))
        return false;
    const Point centre
        = { (c[1] * c[4] - 2 * c[2] * c[3]) / det, (c[1] * c[3] - 2 * c[0] * c[4]) / det };
    const double level = 1 - 0.5 * (c[3] * centre.x + c[4] * centre.y);
    const double angle = 0.5 * std::atan2(c[1], c[0] - c[2]);
    const double half = 0.5 * (c[0] + c[2]);
    const double root = std::hypot(0.5 * (c[0] - c[2]), 0.5 * c[1]);
    const double u = level / (half + root);
    const double v = level / (half - root);
    if (!(u > 0) || !(v > 0))
        return false;
    *ellipse = pieceOf(mean + spread * centre, spread * std::sqrt(u), spread * std::sqrt(v), angle);
    return ellipse->half[1] > kLeastHalf && ellipse->half[0] < kMostHalf;
}

// A distance and its change by centre, half axes and angle.
void rowOf(const fit::Piece &ellipse, Point p, double row[6])
{
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const Point d = p - ellipse.centre;
    const double u = c * d.x + s * d.y;
    const double v = c * d.y - s * d.x;
    const double a = ellipse.half[0];
    const double b = ellipse.half[1];
    const double scale = std::max(1e-9, std::hypot(u / a, v / b));
    const double gu = u / (a * a * scale);
    const double gv = v / (b * b * scale);
    const double length = std::max(1e-12, std::hypot(gu, gv));
    const double change[5]
        = { -(c * gu - s * gv), -(s * gu + c * gv), -gu * u / a, -gv * v / b, gu * v - gv * u };
    for (int k = 0; k < 5; ++k)
        row[k] = change[k] / length;
    row[5] = -(scale - 1) / length;
}

} // namespace

double distanceFrom(const fit::Piece &ellipse, Point place)
{
    double row[6];
    rowOf(ellipse, place, row);
    return -row[5];
}

Point pointOn(const fit::Piece &ellipse, double angle)
{
    const double x = ellipse.half[0] * std::cos(angle);
    const double y = ellipse.half[1] * std::sin(angle);
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    return ellipse.centre + Point { c * x - s * y, s * x + c * y };
}

double angleAt(const fit::Piece &ellipse, Point place)
{
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const Point d = place - ellipse.centre;
    const double u = c * d.x + s * d.y;
    const double v = c * d.y - s * d.x;
    const double a = ellipse.half[0];
    const double b = ellipse.half[1];
    double t = std::atan2(v * a, u * b);
    for (int step = 0; step < kFootSteps; ++step) {
        // Derivative of half the squared distance, and its own.
        const double x = a * std::cos(t);
        const double y = b * std::sin(t);
        const double slope = -(x - u) * a * std::sin(t) + (y - v) * b * std::cos(t);
        const double bend = a * a * std::sin(t) * std::sin(t) + b * b * std::cos(t) * std::cos(t)
            - (x - u) * x - (y - v) * y;
        if (!(bend > 0))
            break;
        t -= std::clamp(slope / bend, -0.5, 0.5);
    }
    return t;
}

fit::Primitive circleAlong(const fit::Piece &ellipse, Point place)
{
    const double t = angleAt(ellipse, place);
    const double a = ellipse.half[0];
    const double b = ellipse.half[1];
    const double speed = std::hypot(a * std::sin(t), b * std::cos(t));
    const double radius = speed * speed * speed / (a * b);
    // Inwards: across the tangent, to the side of the centre.
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const Point inwards = { -b * std::cos(t) / speed, -a * std::sin(t) / speed };
    const Point centre = pointOn(ellipse, t)
        + radius * Point { c * inwards.x - s * inwards.y, s * inwards.x + c * inwards.y };
    return { true, centre, { 1, 0 }, radius, 1, 0 };
}

bool ellipseOf(const std::vector<Section> &samples, fit::Piece *ellipse)
{
    if (samples.size() < kLeastSamples || !conicOf(samples, ellipse))
        return false;
    for (int step = 0; step < kSteps; ++step) {
        double a[5][6] = {};
        for (const Section &section : samples) {
            double row[6];
            rowOf(*ellipse, section.centre, row);
            addRow(row, a);
        }
        // The angle of a circle is no matter.
        for (int i = 0; i < 5; ++i)
            a[i][i] += 1e-6;
        double change[5];
        if (!solve(a, change))
            return false;
        *ellipse = pieceOf(ellipse->centre + Point { change[0], change[1] },
                           ellipse->half[0] + change[2], ellipse->half[1] + change[3],
                           ellipse->angle + change[4]);
        if (!(ellipse->half[1] > kLeastHalf) || !(ellipse->half[0] < kMostHalf))
            return false;
        double largest = 0.0;
        for (double part : change)
            largest = std::max(largest, std::fabs(part));
        if (largest < kSettled)
            break;
    }
    return true;
}

} // namespace ztrace::strokes
