// (c) the ztrace developers. Licence: see LICENSE.
#include "fit.h"

namespace ztrace {

namespace {

// Only sequences that wrap other than by end 0 can need more: those of a whole path halve inside
// themselves.
const long long kSplitsPerPoint = 8;

struct Point
{
    double x;
    double y;
};

// The internodes start to end of one path, and what the two tests share.
struct Sequence
{
    const InternodePath &path;
    int start;
    int end;
    int size;     // internodes of the path
    double steps; // of the sequence, as a number to divide by

    Sequence(const InternodePath &p, int s, int e)
        : path(p), start(s), end(e), size(p.size()), steps(e - s)
    {
        if (steps < 0)
            steps += size;
    }

    Point at(int i) const
    {
        const size_t k = static_cast<size_t>(i % size);
        const Point point = { path.x[k], path.y[k] };
        return point;
    }
};

struct TestResult
{
    bool fits;
    int worst; // first internode with the largest error
};

double squared(double dx, double dy)
{
    return dx * dx + dy * dy;
}

TestResult testLine(const Sequence &s, double tolerance)
{
    const Point S = s.at(s.start);
    const Point E = s.at(s.end);
    const double vx = (E.x - S.x) / s.steps;
    const double vy = (E.y - S.y) / s.steps;
    TestResult result = { true, s.start };
    double largest = 0.0;
    for (int i = (s.start + 1) % s.size; i != s.end; i = (i + 1) % s.size) {
        double pl = i - s.start;
        if (pl < 0)
            pl += s.size;
        const Point P = s.at(i);
        const double d2 = squared(P.x - (S.x + vx * pl), P.y - (S.y + vy * pl));
        if (d2 > tolerance)
            result.fits = false;
        if (d2 > largest) {
            largest = d2;
            result.worst = i;
        }
    }
    return result;
}

// The control point that makes the curve pass through the internode `through` at its place in the
// sequence. With a negative tolerance it may be not-a-number, and is kept.
Point controlPoint(const Sequence &s, int through)
{
    const Point S = s.at(s.start);
    const Point E = s.at(s.end);
    const Point P = s.at(through);
    const double t = (through - s.start) / s.steps;
    const double t1 = (1.0 - t) * (1.0 - t);
    const double t2 = 2.0 * (1.0 - t) * t;
    const double t3 = t * t;
    const Point control = { ((t1 * S.x + t3 * E.x) - P.x) / (-t2),
                            ((t1 * S.y + t3 * E.y) - P.y) / (-t2) };
    return control;
}

TestResult testQuadratic(const Sequence &s, const Point &control, int through, double tolerance)
{
    const Point S = s.at(s.start);
    const Point E = s.at(s.end);
    TestResult result = { true, through };
    double largest = 0.0;
    for (int i = s.start + 1; i != s.end; i = (i + 1) % s.size) {
        const double t = (i - s.start) / s.steps;
        const double t1 = (1.0 - t) * (1.0 - t);
        const double t2 = 2.0 * (1.0 - t) * t;
        const double t3 = t * t;
        const Point P = s.at(i);
        const double d2 = squared(P.x - (t1 * S.x + t2 * control.x + t3 * E.x),
                                  P.y - (t1 * S.y + t2 * control.y + t3 * E.y));
        if (d2 > tolerance)
            result.fits = false;
        if (d2 > largest) {
            largest = d2;
            result.worst = i;
        }
    }
    return result;
}

Segment lineSegment(const Point &S, const Point &E)
{
    const Segment segment = { { kLineType, S.x, S.y, E.x, E.y, 0.0, 0.0 } };
    return segment;
}

Segment quadraticSegment(const Point &S, const Point &C, const Point &E)
{
    const Segment segment = { { kQuadraticType, S.x, S.y, C.x, C.y, E.x, E.y } };
    return segment;
}

} // namespace

void fitSequence(const InternodePath &path, const Tolerances &tolerances, int start, int end,
                 std::vector<Segment> *segments)
{
    const int size = path.size();
    if (end < 0 || end > size || size == 0 || start < 0 || start >= size)
        return;
    if (end == size)
        end = 0; // one past the last internode is the first one

    struct Range
    {
        int start;
        int end;
    };
    std::vector<Range> pending(1, Range{ start, end });
    long long splitsLeft = kSplitsPerPoint * size;
    while (!pending.empty()) {
        const Range range = pending.back();
        pending.pop_back();
        const Sequence s(path, range.start, range.end);
        const Point S = s.at(s.start);
        const Point E = s.at(s.end);
        const TestResult line = testLine(s, tolerances.line);
        if (line.fits || splitsLeft <= 0) {
            segments->push_back(lineSegment(S, E));
            continue;
        }
        const Point control = controlPoint(s, line.worst);
        const TestResult quadratic = testQuadratic(s, control, line.worst, tolerances.quadratic);
        if (quadratic.fits) {
            segments->push_back(quadraticSegment(S, control, E));
            continue;
        }
        const int split = (line.worst + quadratic.worst) / 2;
        pending.push_back(Range{ split, range.end });
        pending.push_back(Range{ range.start, split });
        --splitsLeft;
    }
}

void fitPath(const InternodePath &path, const Tolerances &tolerances,
             std::vector<Segment> *segments)
{
    const int n = path.size();
    if (n < 1)
        return;
    const std::vector<double> &code = path.code;
    int start = 0;
    for (;;) {
        const double first = code[static_cast<size_t>(start)];
        double second = -1.0;
        int end = start + 1;
        while (end < n - 1) {
            const double here = code[static_cast<size_t>(end)];
            if (here != first && here != second && second != -1.0)
                break;
            if (here != first && second == -1.0)
                second = here;
            ++end;
        }
        // A run that reaches the last internode is carried on to the first and closes the path,
        // whatever the last one's code is.
        if (end >= n - 1)
            end = 0;
        fitSequence(path, tolerances, start, end, segments);
        if (end == 0)
            return;
        start = end;
    }
}

} // namespace ztrace
