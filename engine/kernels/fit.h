// (c) the ztrace developers. Licence: see LICENSE.
//
// Fitting of closed internode paths by straight lines and quadratic Bezier pieces.
#ifndef ZTRACE_KERNELS_FIT_H
#define ZTRACE_KERNELS_FIT_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// One fitted piece as seven numbers: the type, then the start point, then for a line the end point
// and two zeros, for a quadratic the control point and the end point.
struct Segment
{
    // The places of the fields, in nested vectors as well. The control point of a quadratic is its
    // second one.
    enum Field { kType, kX1, kY1, kX2, kY2, kX3, kY3, kFieldCount };

    double field[kFieldCount];
};

const double kLineType = 1.0;
const double kQuadraticType = 2.0;

// A closed path of internodes as three arrays of `size` elements: coordinates in pixels, and
// direction codes (direction.h), which are only compared with each other.
template<typename Code>
struct PathView
{
    const double *x;
    const double *y;
    const Code *code;
    int size;
};

// Squared distances in pixels. Single-precision values widened: every comparison is in double.
struct Tolerances
{
    double line;
    double quadratic;
};

// Fits paths one after the other; its working memory is kept from path to path.
class Fitter
{
public:
    explicit Fitter(const Tolerances &tolerances) : limits(tolerances) { }

    // Appends the segments that cover the internodes start to end, going forward and wrapping past
    // the path's end where end < start. First one line, else one quadratic, else two halves.
    //
    // The error of an inner internode is measured against evenly spaced points of the line, and
    // against the curve at its place in the sequence; the quadratic's parameters are not corrected
    // for wrapping, on purpose (docs/algorithm/fitseq.md, "Wrapping").
    // Nothing for an end below 0 or above the path's size, or for an empty path. A sequence that
    // wraps other than by end 0 can split outside itself; after kSplitsPerPoint splits a point
    // such a sequence is closed by lines, so that the call always ends.
    template<typename Code>
    void fitSequence(const PathView<Code> &path, int start, int end,
                     std::vector<Segment> *segments);

    // Appends the segments of a whole closed path: cut into runs of at most two direction codes,
    // each fitted by fitSequence. Every segment starts where the one before it ended, and the last
    // ends where the first starts.
    template<typename Code>
    void fitPath(const PathView<Code> &path, std::vector<Segment> *segments);

private:
    struct Range
    {
        int start;
        int end;
    };

    Tolerances limits;
    std::vector<Range> pending;
};

// Code is double (any numbers, as the stage operations take them) or uint8_t (the outlines').
extern template void Fitter::fitSequence(const PathView<double> &, int, int,
                                         std::vector<Segment> *);
extern template void Fitter::fitPath(const PathView<double> &, std::vector<Segment> *);
extern template void Fitter::fitPath(const PathView<uint8_t> &, std::vector<Segment> *);

} // namespace ztrace

#endif
