// (c) the ztrace developers. Licence: see LICENSE.
//
// Lines and circles of several spans side by side. Same arithmetic, span by span, as lineMoments
// and circleOf in fit/moments.h, so the same bits: tst_spanlanes compares them.
#ifndef ZTRACE_FIT_SPANLANES_H
#define ZTRACE_FIT_SPANLANES_H

namespace ztrace::fit {

const int kSpanLanes = 4;

// In the order of the members of Moments, which sums come in.
enum SumOf { kSumW, kSumX, kSumY, kSumXX, kSumXY, kSumYY, kSumXZ, kSumYZ, kSumZZ, kSums };

// A number of every span.
typedef double Lanes[kSpanLanes];

// Sums as in Moments, around origins of the spans' own.
struct alignas(32) SpanLanes
{
    Lanes sums[kSums];
    // By measureLines: LineMoments; and the direction along the line, of unit length, maybe against
    // the walk, void where there is none.
    Lanes mx, my, cxx, cxy, cyy, least, alongX, alongY;
    // By measureCircles, from all of the above: the centre from the mean, the radius, which is that
    // of no circle where circleOf finds none, and the mean squared distance.
    Lanes centreX, centreY, radius, root;
};
static_assert(sizeof(Lanes) % 32 == 0, "every array stands as the vector units want it");

// A line, or a circle, and the points from it.
struct Nearness
{
    const double *x;
    const double *y;
    const double *sigma;
    bool arc;
    double pointX; // of the line, or the circle's centre
    double pointY;
    double directionX;
    double directionY;
    double radius;
    double least; // pixels, and standard deviations where that is more, that a point may be off
    double sigmas;
};

struct SpanKernels
{
    // The sums of lane k are those up to[k] without those from[...].
    void (*subtract)(const double *from, const double *const *to, SpanLanes *lanes);
    void (*measureLines)(SpanLanes *lanes);
    void (*measureCircles)(SpanLanes *lanes);
    // Whether every one of `count` points is near.
    bool (*allNear)(const Nearness &nearness, int count);
};

// All give the same results; spanKernels() chooses for the machine.
extern const SpanKernels kSpanBaseline;
extern const SpanKernels kSpanAvx2; // where the build has it
const SpanKernels &spanKernels();

} // namespace ztrace::fit

#endif
