// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/cubics.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

// Points that a round looks at: more of them move no handle by a hundredth of a pixel. The misfit
// counts all.
const int kMostPoints = 32;
const int kRounds = 6;
const double kSettled = 1e-3;      // pixels; the next step is far below
const double kLongestHandle = 1.5; // chords
const double kShortestHandle = 0.02;
// Parameter by which a point may run past the ends: those beside a joint may project there.
const double kPast = 0.05;
const int kLookedAtOnce = 8; // points, between looks at what their misfit is already

// A cubic, or a conic whose inner points are one, in powers of t.
struct Bezier
{
    Point power[4];  // of the place; of a conic the place times `total`
    double total[3]; // of a conic
    bool conic = false;

    Bezier(Point a, Point b, Point c, Point d)
        : power { a, 3.0 * (b - a), 3.0 * (c - b) - 3.0 * (b - a), (d - a) - 3.0 * (c - b) }
    { }
    // `weight` of the control point.
    Bezier(Point a, Point control, Point d, double weight)
        : power { a, 2.0 * (weight * control - a), a + d - 2 * weight * control, { 0, 0 } },
          total { 1, 2 * (weight - 1), 2 * (1 - weight) }, conic(true)
    { }

    // Place and first derivative at t.
    void at(double t, Point *place, Point *change) const
    {
        const Point sum = power[0] + t * (power[1] + t * (power[2] + t * power[3]));
        const Point slope = power[1] + t * (2.0 * power[2] + 3 * t * power[3]);
        if (!conic) {
            *place = sum;
            *change = slope;
            return;
        }
        const double scale = 1 / (total[0] + t * (total[1] + t * total[2]));
        *place = scale * sum;
        *change = scale * (slope - (total[1] + 2 * t * total[2]) * *place);
    }

    // One step towards the foot of q. The curve's second derivative is left out: near the curve it
    // only slows the last digits.
    double nearer(double t, Point q) const
    {
        Point place, change;
        at(t, &place, &change);
        const double square = dot(change, change);
        const double next = square > 0 ? t + dot(q - place, change) / square : t;
        return std::min(1 + kPast, std::max(-kPast, next));
    }
};

// Misfit of all points; their parameters start as shares of the walk. kAnyCost where it is more
// than `most`, which a part of the points may tell.
double misfitOf(const Table &table, const Bezier &curve, int first, int last,
                double most = kAnyCost)
{
    const Points &points = table.points;
    const double total = std::max(1e-9, points.walk(first, last - 1));
    double chi2 = 0;
    for (int i = first; i < last; ++i) {
        if ((i - first) % kLookedAtOnce == 0 && table.judgement.misfit(chi2, last - first) > most)
            return kAnyCost;
        double t = points.walk(first, i) / total;
        for (int step = 0; step < 3; ++step)
            t = curve.nearer(t, points.at(i));
        Point place, change;
        curve.at(t, &place, &change);
        const Point gap = points.at(i) - place;
        chi2 += dot(gap, gap) * points.weightOf(i);
    }
    const double misfit = table.judgement.misfit(chi2, last - first);
    return std::isfinite(misfit) ? misfit : kAnyCost;
}

Point leftOf(Point v)
{
    return { -v.y, v.x };
}

// The unknowns: lengths of the handles, angles of the free tangents.
struct Handles
{
    Point tangent[2];
    double length[2];

    Point inner(const CurveEnds &ends, int which) const
    {
        return which == 0 ? ends.start + length[0] * tangent[0] : ends.end - length[1] * tangent[1];
    }

    Bezier curve(const CurveEnds &ends) const
    {
        return { ends.start, inner(ends, 0), inner(ends, 1), ends.end };
    }
};

void turn(Point *tangent, double angle)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    *tangent = { c * tangent->x - s * tangent->y, s * tangent->x + c * tangent->y };
}

class CubicFit
{
public:
    CubicFit(const Table &t, const CurveEnds &e, int f, int l)
        : table(t), ends(e), first(f), last(l), stride(std::max(1, (l - f) / kMostPoints))
    {
        const Point chord = e.end - e.start;
        reach = std::hypot(chord.x, chord.y);
        handles = { { e.startTangent, e.endTangent }, { reach / 3, reach / 3 } };
        const double total = std::max(1e-9, t.points.walk(f, l - 1));
        for (int i = f; i < l; i += stride)
            parameter.push_back(t.points.walk(f, i) / total);
    }

    bool run(double most, Piece *cubic)
    {
        if (!(reach > 1e-3))
            return false;
        for (int round = 0; round < kRounds; ++round) {
            const double step = improve();
            if (!(step < 10 * reach))
                return false;
            if (step < kSettled)
                break;
        }
        for (const double length : handles.length) {
            if (!(length > kShortestHandle * reach && length < kLongestHandle * reach))
                return false;
        }
        const Bezier curve = handles.curve(ends);
        if (!followsWalk(curve))
            return false;
        *cubic = cubicPiece(ends.start, handles.inner(ends, 0), handles.inner(ends, 1), ends.end);
        cubic->misfit = misfitOf(table, curve, first, last, most);
        return cubic->misfit < kAnyCost;
    }

private:
    // Points near the curve do not say that the curve is near the points: loops are longer than the
    // walk.
    bool followsWalk(const Bezier &curve) const
    {
        const int steps = 16;
        double length = 0;
        Point before = ends.start;
        for (int i = 1; i <= steps; ++i) {
            Point place, change;
            curve.at(static_cast<double>(i) / steps, &place, &change);
            length += std::sqrt(dot(place - before, place - before));
            before = place;
        }
        return length < 1.1 * table.points.walk(first, last - 1) + 2;
    }

    double improve()
    {
        // Lower triangle; a handle that no point sees stays as it is.
        double normal[4][4] = {};
        for (int r = 0; r < 4; ++r)
            normal[r][r] = 1e-3;
        double step[4] = { 0, 0, 0, 0 };
        const Bezier curve = handles.curve(ends);
        const Point left[2] = { handles.length[0] * leftOf(handles.tangent[0]),
                                handles.length[1] * leftOf(handles.tangent[1]) };
        std::size_t k = 0;
        for (int i = first; i < last; i += stride, ++k) {
            const Point q = table.points.at(i);
            const double t = curve.nearer(parameter[k], q);
            parameter[k] = t;
            Point place, change;
            curve.at(t, &place, &change);
            const double square = dot(change, change);
            if (!(square > 0))
                continue;
            const Point n = leftOf(change); // times the speed
            const double weight = table.points.weightOf(i) / square;
            const double u = 1 - t;
            const double a = 3 * u * u * t;
            const double b = -3 * u * t * t;
            const double j[4] = { a * dot(n, handles.tangent[0]), b * dot(n, handles.tangent[1]),
                                  ends.startFixed ? 0 : a * dot(n, left[0]),
                                  ends.endFixed ? 0 : b * dot(n, left[1]) };
            const double off = weight * dot(n, q - place);
            for (int r = 0; r < 4; ++r) {
                step[r] += off * j[r];
                for (int c = 0; c <= r; ++c)
                    normal[r][c] += weight * j[r] * j[c];
            }
        }
        if (!solve(normal, step))
            return INFINITY;
        double largest = 0;
        for (int h = 0; h < 2; ++h) {
            largest = std::max({ largest, std::fabs(step[h]), reach * std::fabs(step[2 + h]) });
            handles.length[h] += std::min(reach, std::max(-reach, step[h]));
            if (step[2 + h] != 0)
                turn(&handles.tangent[h], std::min(0.3, std::max(-0.3, step[2 + h])));
        }
        return std::isfinite(largest) ? largest : INFINITY;
    }

    // By Cholesky's factors, in place.
    static bool solve(double (&m)[4][4], double (&x)[4])
    {
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c <= r; ++c) {
                double sum = m[r][c];
                for (int k = 0; k < c; ++k)
                    sum -= m[r][k] * m[c][k];
                if (c == r && !(sum > 0))
                    return false;
                m[r][c] = c == r ? 1 / std::sqrt(sum) : sum * m[c][c];
            }
            for (int k = 0; k < r; ++k)
                x[r] -= m[r][k] * x[k];
            x[r] *= m[r][r];
        }
        for (int r = 3; r >= 0; --r) {
            for (int k = r + 1; k < 4; ++k)
                x[r] -= m[k][r] * x[k];
            x[r] *= m[r][r];
        }
        return true;
    }

    const Table &table;
    const CurveEnds &ends;
    const int first;
    const int last;
    const int stride;
    double reach;
    Handles handles;
    std::vector<double> parameter;
};

// Handles in lengths of the walk: a half circle has 1.5.
const double kLongestPolygon = 1.6;

bool tangentsMeet(const CurveEnds &ends, double walk, Point *control)
{
    const double sine = cross(ends.startTangent, ends.endTangent);
    const Point chord = ends.end - ends.start;
    const double ahead = cross(chord, ends.endTangent);
    const double back = cross(ends.startTangent, chord);
    if (!(std::fabs(sine) > 1e-6) || !(ahead / sine > 0) || !(back / sine > 0))
        return false;
    *control = ends.start + (ahead / sine) * ends.startTangent;
    return ahead / sine + back / sine < kLongestPolygon * walk + 2;
}

} // namespace

bool fitCubic(const Table &table, const CurveEnds &ends, int first, int last, double most,
              Piece *cubic)
{
    return CubicFit(table, ends, first, last).run(most, cubic);
}

bool fitQuadratic(const Table &table, const CurveEnds &ends, int first, int last, double most,
                  Piece *piece)
{
    Point control;
    if (!tangentsMeet(ends, table.points.walk(first, last - 1), &control))
        return false;
    *piece = quadraticPiece(ends.start, control, ends.end);
    const Bezier curve(ends.start, control, ends.end, 1);
    piece->misfit = misfitOf(table, curve, first, last, most);
    return piece->misfit < kAnyCost;
}

bool fitConic(const Table &table, const CurveEnds &ends, int first, int last, Piece *piece)
{
    Point control;
    if (!tangentsMeet(ends, table.points.walk(first, last - 1), &control)
        || last - first < kArcPoints)
        return false;
    // The shoulder, where the curve crosses the line from the chord's middle to the control point,
    // divides it as w / (1 + w): read off the points there.
    const Point middle = 0.5 * (ends.start + ends.end);
    const Point rise = control - middle;
    const double square = dot(rise, rise);
    if (!(square > 0))
        return false;
    double share = 0;
    double nearest = INFINITY;
    for (int i = first; i < last; ++i) {
        const Point q = table.points.at(i) - middle;
        if (std::fabs(cross(rise, q)) < nearest) {
            nearest = std::fabs(cross(rise, q));
            share = dot(q, rise) / square;
        }
    }
    double best = kAnyCost;
    // Around that, the best of a few: the misfit is smooth in the share.
    for (int k = -4; k <= 4; ++k) {
        const double s = share + 0.01 * k;
        if (!(s > 0.02 && s < 0.495))
            continue;
        const double w = s / (1 - s);
        const Bezier curve(ends.start, control, ends.end, w);
        const double misfit = misfitOf(table, curve, first, last);
        if (misfit < best) {
            best = misfit;
            *piece = conicPiece(ends.start, control, w, ends.end);
            piece->misfit = misfit;
        }
    }
    return best < kAnyCost;
}

} // namespace ztrace::fit
