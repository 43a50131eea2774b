// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/sums.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

// More steps than the polynomial ever needed on 10^6 random spans.
const int kNewtonSteps = 12;
// Of the root, which is the mean squared distance; the next step is about the square of that.
const double kSettled = 1e-3;
const double kAnyRoot = 1e300;

template<typename Entry>
void add(Entry *sum, double w, double x, double y)
{
    const double z = x * x + y * y;
    sum->w += w;
    sum->x += w * x;
    sum->y += w * y;
    sum->xx += w * x * x;
    sum->xy += w * x * y;
    sum->yy += w * y * y;
    sum->xz += w * x * z;
    sum->yz += w * y * z;
    sum->zz += w * z * z;
}

void addTo(Moments *sum, const Moments &part)
{
    sum->w += part.w;
    sum->x += part.x;
    sum->y += part.y;
    sum->xx += part.xx;
    sum->xy += part.xy;
    sum->yy += part.yy;
    sum->xz += part.xz;
    sum->yz += part.yz;
    sum->zz += part.zz;
}

} // namespace

Moments shifted(const Moments &m, double ox, double oy)
{
    const double dx = m.ox - ox;
    const double dy = m.oy - oy;
    const double q = dx * dx + dy * dy;
    const double z = m.xx + m.yy;
    // Sum of w z' in the new frame.
    const double zNew = z + 2 * dx * m.x + 2 * dy * m.y + q * m.w;
    Moments r = m;
    r.ox = ox;
    r.oy = oy;
    r.x = m.x + dx * m.w;
    r.y = m.y + dy * m.w;
    r.xx = m.xx + 2 * dx * m.x + dx * dx * m.w;
    r.xy = m.xy + dx * m.y + dy * m.x + dx * dy * m.w;
    r.yy = m.yy + 2 * dy * m.y + dy * dy * m.w;
    r.xz = m.xz + 2 * dx * m.xx + 2 * dy * m.xy + q * m.x + dx * zNew;
    r.yz = m.yz + 2 * dx * m.xy + 2 * dy * m.yy + q * m.y + dy * zNew;
    r.zz = m.zz + 4 * dx * dx * m.xx + 4 * dy * dy * m.yy + q * q * m.w + 4 * dx * m.xz
        + 4 * dy * m.yz + 2 * q * z + 8 * dx * dy * m.xy + 4 * q * (dx * m.x + dy * m.y);
    return r;
}

Sums::Sums(const Points &points)
{
    const int n = points.size();
    prefix.reserve(static_cast<std::size_t>(n + n / kBlock + 1));
    for (int start = 0; start < n; start += kBlock) {
        const int end = std::min(n, start + kBlock);
        const Point origin = points.at((start + end) / 2);
        origins.push_back(origin);
        Entry sum = {};
        prefix.push_back(sum);
        for (int i = start; i < end; ++i) {
            const Point p = points.at(i) - origin;
            add(&sum, points.weightOf(i), p.x, p.y);
            prefix.push_back(sum);
        }
    }
}

Moments Sums::overBlocks(int first, int last) const
{
    const int firstBlock = first / kBlock;
    const int lastBlock = (last - 1) / kBlock;
    const Point origin = origins[static_cast<std::size_t>((firstBlock + lastBlock) / 2)];
    Moments sum = {};
    sum.ox = origin.x;
    sum.oy = origin.y;
    for (int block = firstBlock; block <= lastBlock; ++block) {
        const int start = std::max(first, block * kBlock);
        const int end = std::min(last, (block + 1) * kBlock);
        addTo(&sum, shifted(within(block, start, end), origin.x, origin.y));
    }
    return sum;
}

double Primitive::distance(Point p) const
{
    const Point d = p - point;
    return arc ? std::sqrt(dot(d, d)) - radius : cross(d, direction);
}

Point Primitive::foot(Point p) const
{
    const Point d = p - point;
    if (!arc)
        return point + dot(d, direction) * direction;
    const double length = std::sqrt(dot(d, d));
    return length > 0 ? point + (radius / length) * d : p;
}

Point Primitive::tangent(Point p) const
{
    if (!arc)
        return direction;
    const Point d = p - point;
    const double length = std::sqrt(dot(d, d));
    return length > 0 ? Point { -turn * d.y / length, turn * d.x / length } : Point { 1, 0 };
}

Primitive lineOf(const Moments &m, const LineMoments &c, Point first, Point last)
{
    // The eigenvector of the larger eigenvalue, from the row that keeps more digits.
    const double half = 0.5 * (c.xx - c.yy);
    const double root = std::sqrt(half * half + c.xy * c.xy);
    Point direction = half > 0 ? Point { half + root, c.xy } : Point { c.xy, root - half };
    const double length = std::sqrt(dot(direction, direction));
    direction = length > 0 ? (1 / length) * direction : Point { 1, 0 };
    if (dot(direction, last - first) < 0)
        direction = -1.0 * direction;
    return { false, { c.mx + m.ox, c.my + m.oy }, direction, 0, 0, c.least * m.w };
}

bool circleOf(const Moments &m, const LineMoments &c, Primitive *circle)
{
    const double part = 1 / m.w;
    const double mz = c.xx + c.yy;
    const double q = c.mx * c.mx + c.my * c.my;
    const double z = m.xx + m.yy;
    // Around the mean: shifted() with dx = -mean, written out for the three that are needed.
    const double zNew = z - 2 * c.mx * m.x - 2 * c.my * m.y + q * m.w;
    const double xz = (m.xz - 2 * c.mx * m.xx - 2 * c.my * m.xy + q * m.x - c.mx * zNew) * part;
    const double yz = (m.yz - 2 * c.mx * m.xy - 2 * c.my * m.yy + q * m.y - c.my * zNew) * part;
    const double zz = (m.zz + 4 * c.mx * c.mx * m.xx + 4 * c.my * c.my * m.yy + q * q * m.w
                       - 4 * c.mx * m.xz - 4 * c.my * m.yz + 2 * q * z + 8 * c.mx * c.my * m.xy
                       - 4 * q * (c.mx * m.x + c.my * m.y))
        * part;
    const double cov = c.xx * c.yy - c.xy * c.xy;
    const double a3 = 4 * mz;
    const double a2 = -3 * mz * mz - zz;
    const double a1 = zz * mz + 4 * cov * mz - xz * xz - yz * yz - mz * mz * mz;
    const double a0
        = xz * xz * c.yy + yz * yz * c.xx - zz * cov - 2 * xz * yz * c.xy + mz * mz * cov;
    double root = 0;
    double value = a0;
    for (int step = 0; step < kNewtonSteps; ++step) {
        const double slope = a1 + root * (2 * a2 + root * 3 * a3);
        const double next = root - value / slope;
        if (!(next > root) || !(next < kAnyRoot))
            break;
        const double nextValue = a0 + next * (a1 + next * (a2 + next * a3));
        const bool settled = next - root < kSettled * next;
        if (std::fabs(nextValue) >= std::fabs(value))
            break;
        root = next;
        value = nextValue;
        if (settled)
            break;
    }
    const double det = root * root - root * mz + cov;
    const double cx = (xz * (c.yy - root) - yz * c.xy) / (2 * det);
    const double cy = (yz * (c.xx - root) - xz * c.xy) / (2 * det);
    const double radius = std::sqrt(cx * cx + cy * cy + mz);
    if (!(radius < kLargestRadius) || !(radius > 0))
        return false;
    circle->arc = true;
    circle->point = { cx + c.mx + m.ox, cy + c.my + m.oy };
    circle->direction = { 1, 0 };
    circle->radius = radius;
    circle->turn = 1;
    circle->chi2 = root * m.w;
    return true;
}

} // namespace ztrace::fit
