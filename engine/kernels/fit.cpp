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
    const double *x;
    const double *y;
    int start;
    int end;
    int size;     // internodes of the path
    double steps; // of the sequence, as a number to divide by

    template<typename Code>
    Sequence(const PathView<Code> &path, int s, int e)
        : x(path.x), y(path.y), start(s), end(e), size(path.size), steps(e - s)
    {
        if (steps < 0)
            steps += size;
    }

    Point at(int i) const
    {
        const int k = i < size ? i : i - size;
        const Point point = { x[k], y[k] };
        return point;
    }

    // True when the inner internodes are start + 1, start + 2, ... without a gap: the rule for
    // every sequence of a whole path.
    bool runsOn() const { return end > start || (end == 0 && start > 0); }
    int runEnd() const { return end == 0 ? size : end; }
};

// The largest error so far and the first internode that has it.
struct TestResult
{
    double largest;
    int worst;
    bool fits;

    explicit TestResult(int first) : largest(0.0), worst(first), fits(true) { }

    void add(int i, double d2, double tolerance)
    {
        fits = fits && !(d2 > tolerance);
        worst = d2 > largest ? i : worst;
        largest = d2 > largest ? d2 : largest;
    }
};

double squared(double dx, double dy)
{
    return dx * dx + dy * dy;
}

// Squared distance of internode i to the line's point after pl of its steps.
struct LineError
{
    Point S;
    double vx;
    double vy;

    explicit LineError(const Sequence &s) : S(s.at(s.start))
    {
        const Point E = s.at(s.end);
        vx = (E.x - S.x) / s.steps;
        vy = (E.y - S.y) / s.steps;
    }

    double at(const Point &P, double pl) const
    {
        return squared(P.x - (S.x + vx * pl), P.y - (S.y + vy * pl));
    }
};

TestResult testLine(const Sequence &s, double tolerance)
{
    const LineError error(s);
    TestResult result(s.start);
    if (s.runsOn()) {
        const int end = s.runEnd();
        for (int i = s.start + 1; i < end; ++i)
            result.add(i, error.at(s.at(i), i - s.start), tolerance);
        return result;
    }
    for (int i = (s.start + 1) % s.size; i != s.end; i = (i + 1) % s.size) {
        double pl = i - s.start;
        if (pl < 0)
            pl += s.size;
        result.add(i, error.at(s.at(i), pl), tolerance);
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
    const Point control
        = { ((t1 * S.x + t3 * E.x) - P.x) / (-t2), ((t1 * S.y + t3 * E.y) - P.y) / (-t2) };
    return control;
}

TestResult testQuadratic(const Sequence &s, const Point &control, int through, double tolerance)
{
    const Point S = s.at(s.start);
    const Point E = s.at(s.end);
    TestResult result(through);
    const auto add = [&](int i) {
        const double t = (i - s.start) / s.steps;
        const double t1 = (1.0 - t) * (1.0 - t);
        const double t2 = 2.0 * (1.0 - t) * t;
        const double t3 = t * t;
        const Point P = s.at(i);
        result.add(i,
                   squared(P.x - (t1 * S.x + t2 * control.x + t3 * E.x),
                           P.y - (t1 * S.y + t2 * control.y + t3 * E.y)),
                   tolerance);
    };
    if (s.runsOn()) {
        const int end = s.runEnd();
        for (int i = s.start + 1; i < end; ++i)
            add(i);
        return result;
    }
    for (int i = s.start + 1; i != s.end; i = (i + 1) % s.size)
        add(i);
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

template<typename Code>
void Fitter::fitSequence(const PathView<Code> &path, int start, int end,
                         std::vector<Segment> *segments)
{
    const int size = path.size;
    if (end < 0 || end > size || size == 0 || start < 0 || start >= size)
        return;
    if (end == size)
        end = 0; // one past the last internode is the first one

    pending.push_back(Range { start, end });
    long long splitsLeft = kSplitsPerPoint * size;
    while (!pending.empty()) {
        const Range range = pending.back();
        pending.pop_back();
        const Sequence s(path, range.start, range.end);
        const Point S = s.at(s.start);
        const Point E = s.at(s.end);
        const TestResult line = testLine(s, limits.line);
        if (line.fits || splitsLeft <= 0) {
            segments->push_back(lineSegment(S, E));
            continue;
        }
        const Point control = controlPoint(s, line.worst);
        const TestResult quadratic = testQuadratic(s, control, line.worst, limits.quadratic);
        if (quadratic.fits) {
            segments->push_back(quadraticSegment(S, control, E));
            continue;
        }
        const int split = (line.worst + quadratic.worst) / 2;
        pending.push_back(Range { split, range.end });
        pending.push_back(Range { range.start, split });
        --splitsLeft;
    }
}

template<typename Code>
void Fitter::fitPath(const PathView<Code> &path, std::vector<Segment> *segments)
{
    const int n = path.size;
    if (n < 1)
        return;
    const Code none = static_cast<Code>(-1);
    int start = 0;
    for (;;) {
        const Code first = path.code[start];
        Code second = none;
        int end = start + 1;
        for (; end < n - 1; ++end) {
            const Code here = path.code[end];
            if (here == first || here == second)
                continue;
            if (second != none)
                break;
            second = here;
        }
        // A run that reaches the last internode is carried on to the first and closes the path,
        // whatever the last one's code is.
        if (end >= n - 1)
            end = 0;
        fitSequence(path, start, end, segments);
        if (end == 0)
            return;
        start = end;
    }
}

template void Fitter::fitSequence(const PathView<double> &, int, int, std::vector<Segment> *);
template void Fitter::fitPath(const PathView<double> &, std::vector<Segment> *);
template void Fitter::fitPath(const PathView<uint8_t> &, std::vector<Segment> *);

} // namespace ztrace
