// (c) the ztrace developers. Licence: see LICENSE.
//
// The pieces that the program may choose between, and what a joint of two of them costs.
#ifndef ZTRACE_FIT_CANDIDATES_H
#define ZTRACE_FIT_CANDIDATES_H

#include "fit/prices.h"
#include "fit/spanlanes.h"
#include "fit/sums.h"

namespace ztrace::fit {

// A line or an arc through the points first to last - 1, fitted to them alone.
struct Span
{
    int first;
    int last;
    Primitive primitive;
    double misfit; // nats
    bool smooth;   // joins the span before it with a common tangent
};

// Where and how a span meets its neighbour.
struct SpanEnd
{
    bool arc;
    Point foot; // of the middle between the two points at the break
    Point tangent;
    double length;     // of the span's points
    bool ball = false; // of few steps: the end of a bar and a square notch look the same
};

// Degrees of turn below which a joint counts as smooth, and pixels that the two free fits may lie
// apart there. Twelve degrees is what a joint of two fits of 8 points at .1 px can be off.
const double kSmoothTurn = 12;
const double kSmoothCosine = 0.97814760073380563793; // of that
const double kSmoothGap = 0.6;
// Radians a single arc may sweep, and its fewest points.
const double kLargestSweep = 4.7;
const int kArcPoints = 5;

// What spans are measured with; all references must outlive it.
struct Table
{
    const Points &points;
    const Sums &sums;
    const Prices &prices;
    const Judgement &judgement;

    double numbers(double count) const { return judgement.lambda * count; }
    double priceOf(const Span &span) const
    {
        return numbers(span.primitive.arc ? prices.arc : prices.line);
    }
};

// The two kinds of one span. A line is not there where the walk turns back; an arc not where the
// line is as good, where it would sweep too far, or where its sagitta is below one sigma. Neither
// is where its misfit and price exceed `most`.
struct SpanPair
{
    bool hasLine;
    bool hasArc;
    Span line; // void unless hasLine
    Span arc;
};
const double kAnyCost = 1e300;
SpanPair spansOf(const Table &table, int first, int last, double most);

// The same for spans that begin at one point, several at a time.
class SpanMeter
{
public:
    explicit SpanMeter(const Table &t) : table(t), kernels(spanKernels()) { }

    // Of 1 to kSpanLanes spans from `first` to before each of `last`, with what each may cost, and
    // what it may as a line, which is not more.
    void measure(int first, const int *last, const double *most, const double *mostOfLine,
                 int count);
    // Of span k, 0 <= k < count, valid until the next call: the line, null where there is none;
    // misfits, which are those of all lines and circles, kAnyCost where no arc is in question; and
    // the arc of that misfit, null where there is none or it costs more than `most`.
    const Span *lineOf(int k);
    double lineMisfitOf(int k) const { return lineMisfits[k]; }
    double arcMisfitOf(int k) const;
    const Span *arcOf(int k, double misfit, double most);

private:
    bool completeLine(int k);
    bool completeArc(int k, double misfit);
    bool staysNear(const Span &span) const;

    const Table &table;
    const SpanKernels &kernels;
    SpanLanes lanes;
    Point origins[kSpanLanes];
    int begin = 0;
    int ends[kSpanLanes];
    double mosts[kSpanLanes];
    double mostsOfLines[kSpanLanes];
    bool ahead[kSpanLanes]; // may be lines
    double lineMisfits[kSpanLanes];
    bool mayBeArc[kSpanLanes];
    Span line;
    Span arc;
};

SpanEnd startOf(const Points &points, const Span &span);
SpanEnd endOf(const Points &points, const Span &span);

// Pixels that two fits may have to be drawn on until they meet. Farther, a cap is drawn from the
// one to the other. Of a corner, pixels show half until it is about a pixel wide: the part over the
// tangent of half its angle. Short sides need not be straight that far: serifs would become wedges.
const double kMeetingReach = 1.2;
const double kMeetingReachSharp = 0.5;
const double kMeetingReachPart = 0.05; // of the shorter side
const double kLargestMeetingReach = 2.5;
// Pixels by which they may have met before, and of the length of a span: pixels see both sides of a
// corner, but a span must not vanish between its neighbours.
const double kMetBefore = 1.0;
const double kMetBeforePart = 0.35;
bool meetNear(const SpanEnd &before, const SpanEnd &after, Meeting meeting);

// Pixels from the corner and its sides within which points may be left out: pixels that see both
// sides are up to .3 off, serifs and caps are farther away.
const double kLeftOutWithin = 0.45;
// Whether all points between two spans, in a closed chain past its end, may be left out.
bool mayLeaveOut(const Points &points, const Span &before, const Span &after);

// Nats for the joint of two spans between which `leftOut` points belong to neither: nothing where
// it is smooth, a corner, or the line and the two corners of a cap.
double jointCost(const Table &table, const SpanEnd &before, const SpanEnd &after, int leftOut,
                 bool *smooth);

} // namespace ztrace::fit

#endif
