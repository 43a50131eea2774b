// (c) the ztrace developers. Licence: see LICENSE.
#include "ZSpline.h"

#include <algorithm>
#include <vector>

namespace {

ZVector mix(const ZVector &a, const ZVector &b, double t)
{
    return ZVector(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t, true);
}

// Knot i of a clamped uniform knot vector over 0..spans.
double knot(int i, int degree, int spans)
{
    return double(std::min(std::max(i - degree, 0), spans));
}

double polygonLength(const ZSpline &spline)
{
    double sum = 0.0;
    for (int i = 1; i < spline.countControlPoints(); ++i)
        sum += spline.getControlPointAt(i - 1).getDistanceTo(spline.getControlPointAt(i));
    return sum;
}

// Length of the curve between two parameters: chord and polygon of finer and finer pieces,
// accepted when two steps of Richardson's extrapolation agree.
double lengthBetween(const ZSpline &spline, double t0, double t1, const ZVector &p0,
                     const ZVector &p1, int depth)
{
    const double tm = 0.5 * (t0 + t1);
    const ZVector pm = spline.getPointAt(tm);
    const ZVector pa = spline.getPointAt(0.5 * (t0 + tm));
    const ZVector pb = spline.getPointAt(0.5 * (tm + t1));
    const double one = p0.getDistanceTo(p1);
    const double two = p0.getDistanceTo(pm) + pm.getDistanceTo(p1);
    const double four
        = p0.getDistanceTo(pa) + pa.getDistanceTo(pm) + pm.getDistanceTo(pb) + pb.getDistanceTo(p1);
    const double coarse = (4.0 * two - one) / 3.0;
    const double fine = (4.0 * four - two) / 3.0;
    const double best = (16.0 * fine - coarse) / 15.0;
    if (depth <= 0 || !(std::fabs(best - fine) > 1e-12 * best))
        return best;
    return lengthBetween(spline, t0, tm, p0, pm, depth - 1)
        + lengthBetween(spline, tm, t1, pm, p1, depth - 1);
}

} // namespace

ZSpline::ZSpline() : degree(3) { }
ZSpline::~ZSpline() { }

void ZSpline::setDegree(int d)
{
    degree = std::max(d, 1);
}

void ZSpline::appendControlPoint(const ZVector &point)
{
    controlPoints.append(point);
}

ZVector ZSpline::getPointAt(double t) const
{
    const int count = controlPoints.size();
    if (count == 0)
        return ZVector();
    const int p = std::min(degree, count - 1);
    const int spans = count - p;
    const double u = std::min(std::max(t, 0.0), 1.0) * spans;
    const int span = std::min(int(u), spans - 1) + p;

    std::vector<ZVector> work(controlPoints.constData() + (span - p),
                              controlPoints.constData() + (span + 1));
    for (int r = 1; r <= p; ++r) {
        for (int j = p; j >= r; --j) {
            const double low = knot(span - p + j, p, spans);
            const double high = knot(span + 1 + j - r, p, spans);
            const size_t k = static_cast<size_t>(j);
            work[k] = mix(work[k - 1], work[k], (u - low) / (high - low));
        }
    }
    return work.back();
}

ZVector ZSpline::getStartPoint() const
{
    return controlPoints.isEmpty() ? ZVector() : controlPoints.at(0);
}

ZVector ZSpline::getEndPoint() const
{
    return controlPoints.isEmpty() ? ZVector() : controlPoints.at(controlPoints.size() - 1);
}

ZBox ZSpline::getBoundingBox() const
{
    ZBox box;
    box.growToInclude(getStartPoint());
    box.growToInclude(getEndPoint());
    if (degree != 2 || controlPoints.size() != 3) {
        // The convex hull holds the curve; for other degrees its box is what is promised.
        for (int i = 0; i < controlPoints.size(); ++i)
            box.growToInclude(controlPoints.at(i));
        return box;
    }
    // A quadratic turns where its derivative is zero: t = (P0 - P1) / (P0 - 2 P1 + P2).
    const ZVector &a = controlPoints.at(0);
    const ZVector &b = controlPoints.at(1);
    const ZVector &c = controlPoints.at(2);
    const double turns[2]
        = { (a.x - b.x) / (a.x - 2.0 * b.x + c.x), (a.y - b.y) / (a.y - 2.0 * b.y + c.y) };
    for (int i = 0; i < 2; ++i) {
        if (turns[i] > 0.0 && turns[i] < 1.0)
            box.growToInclude(getPointAt(turns[i]));
    }
    return box;
}

double ZSpline::getLength() const
{
    if (degree == 1 || controlPoints.size() < 3)
        return polygonLength(*this);
    const int spans = controlPoints.size() - std::min(degree, controlPoints.size() - 1);
    double sum = 0.0;
    for (int i = 0; i < spans; ++i) {
        const double t0 = double(i) / spans;
        const double t1 = double(i + 1) / spans;
        sum += lengthBetween(*this, t0, t1, getPointAt(t0), getPointAt(t1), 24);
    }
    return sum;
}
