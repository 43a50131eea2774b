// (c) the ztrace developers. Licence: see LICENSE.
//
// Where between the pixels a boundary runs, from the colours on both sides of it:
// docs/tracing/shapes.md, "Points".
#ifndef ZTRACE_TRACING_SOFTEDGES_H
#define ZTRACE_TRACING_SOFTEDGES_H

#include "tracing/areaplane.h"
#include "tracing/boundarymap.h"

#include "fit/areafit.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace ztrace {

const int kMostChannels = 4;
typedef std::array<float, kMostChannels> Tone; // 0 to 255; channels that are not there are 0

// A picture as its edges are looked at: 1 channel of lightness or 4 of colour, times alpha, and
// alpha; interleaved, rows from the top without gaps.
struct EdgePicture
{
    int width = 0;
    int height = 0;
    int channels = 1;
    bool hard = false;  // a threshold has been applied: nothing lies between the tones
    int threshold = -1; // of lightness: what is at most this light is one area; -1: none
    std::vector<uint8_t> values;
    // What each label has where nothing else is in its pixels, where that is known beforehand;
    // none: it is found out, and where that cannot be it is the labels' colours.
    std::vector<Tone> tones;

    const uint8_t *at(int x, int y) const
    {
        return values.data()
            + (std::size_t(y) * std::size_t(width) + std::size_t(x)) * std::size_t(channels);
    }
};

// Rounded to so many bits behind the point; for |value| < 2^(51 - bits).
inline double onGrid(double value, int bits)
{
    const double shift = 1.5 * double(uint64_t(1) << (52 - bits));
    return (value + shift) - shift;
}
inline fit::Point onGrid(fit::Point p, int bits)
{
    return { onGrid(p.x, bits), onGrid(p.y, bits) };
}
// Of what is measured, a millionth of a pixel or of coverage, so that sums in another order, as in
// a turned picture, come out the same.
const int kPointGrid = 20;

// Points of a chain in the order of its walk, nodes not included.
struct ChainPoints
{
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> sigma;
    std::vector<uint32_t> crack; // of the chain that the point stands for
    fit::Edge edge = fit::Edge::Hard;

    bool isSoft() const { return edge == fit::Edge::Soft; }
};

// Both must outlive it; the picture has the size of the plane.
class SoftEdges
{
public:
    // `tones` are the tones of the labels, used for areas without pixels that are all their own.
    SoftEdges(const EdgePicture &picture, const BoundaryMap &map, const std::vector<Tone> &tones);

    // May be called from several threads. Chains on the rim have their cracks' midpoints. Where
    // both sides may be a thin stroke the right one is it, or the left one where `mirrored`.
    ChainPoints pointsOf(uint32_t chain, bool mirrored = false) const;
    // The middles of the cracks, whatever the picture tells: lines through them never cross.
    ChainPoints cracksOf(uint32_t chain) const;
    // What a loop has on its right of the pixels around it. Those count that only its two areas are
    // near to, and others of their labels of which `coverOf` tells what they cover of the window's
    // pixels: one entry a pixel, or nothing where it does not know.
    using CoverOf = std::function<std::vector<double>(uint32_t area, const fit::Coverage &window)>;
    fit::Coverage coverageAround(uint32_t chain, const CoverOf &coverOf) const;

private:
    struct Side;
    struct Crack;

    bool isSoft(uint32_t chain, const Side &side) const;
    uint32_t areaAt(int x, int y) const;
    double coverageOf(const Side &side, const uint8_t *value) const;
    double coverageAt(const Side &side, int x, int y) const;
    double coverageIn(const Side &side, int x, int y) const;
    fit::Point normalAt(const Side &side, int x, int y) const;
    bool crossesThinLine(const Side &side, const Crack &crack) const;
    bool isAcross(const Crack &crack, bool ofRight, uint32_t stroke, int most) const;
    bool softPoint(const Side &side, const Crack &crack, bool everywhere, bool mirrored,
                   ChainPoints *points) const;
    void roughPoint(const Side &side, const Crack &crack, ChainPoints *points) const;
    ChainPoints softPoints(uint32_t chain, const Side &side, bool everywhere, bool mirrored) const;
    bool columnOffset(const Side &side, const Crack &crack, bool ofStroke, double *offset,
                      int *mixed) const;
    bool strokeOffset(const Side &side, const Crack &crack, bool ofRight, double *offset,
                      int *mixed) const;
    Side sideOf(uint32_t chain) const;
    void sideBetween(uint32_t left, uint32_t right, Side *result) const;

    const EdgePicture &picture;
    const BoundaryMap &map;
    AreaPlane areas;
    std::vector<Tone> toneOf;    // of every area
    std::vector<double> noiseOf; // of every area: deviation of a pixel, in steps of 255
};

// Signed distance from a pixel's centre, along the unit normal, of the straight edge that covers
// the given part of the pixel on the side that the normal points away from.
double offsetOfCoverage(fit::Point normal, double coverage);

} // namespace ztrace

#endif
