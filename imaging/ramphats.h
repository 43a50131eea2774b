// (c) the ztrace developers. Licence: see LICENSE.
//
// The best colours of stops at given distances, by linear least squares on hats between them:
// docs/imaging/ramps.md, "Fit".
#ifndef ZTRACE_IMAGING_RAMPHATS_H
#define ZTRACE_IMAGING_RAMPHATS_H

#include "rampfit.h"

namespace ztrace {

// Sums of what lies at some distances; those of many samples are as good as the samples.
struct RampMoments
{
    double count = 0.0;
    double sum = 0.0;     // of the distances
    double squares = 0.0; // of the distances
    RampColour colours = {};
    RampColour byDistance = {}; // colours times distances

    void add(double distance, const RampColour &colour)
    {
        count += 1.0;
        sum += distance;
        squares += distance * distance;
        for (std::size_t c = 0; c < 3; ++c) {
            colours[c] += colour[c];
            byDistance[c] += distance * colour[c];
        }
    }
};

class RampHats
{
public:
    // Stops at the ends, and at those of `inner` that are more than a pixel from others.
    RampHats(const RampRange &range, const std::vector<double> &inner);

    // Of a sample between the ends, without the squares of its colour.
    void add(double distance, const RampColour &colour)
    {
        std::size_t i = 0;
        while (i + 2 < count && at[i + 1] < distance)
            ++i;
        const double b = (distance - at[i]) * over[i];
        const double a = 1.0 - b;
        own[i] += a * a;
        next[i] += a * b;
        own[i + 1] += b * b;
        for (std::size_t c = 0; c < 3; ++c) {
            right[i][c] += a * colour[c];
            right[i + 1][c] += b * colour[c];
        }
        samples += 1.0;
    }

    // Of samples between two stops, the first of which is at `place`, without the squares of their
    // colours.
    void add(std::size_t place, const RampMoments &moments);

    // These squares, of samples that are added either way.
    void addSquares(double sum) { squares += sum; }

    std::size_t stops() const { return count; }
    double distanceOf(std::size_t stop) const { return at[stop]; }

    // Returns the mean squared difference of a channel. A stop that nothing is near to goes between
    // its neighbours.
    double solve(std::vector<RampStop> *stops) const;

private:
    typedef std::array<double, kMostRampStops> PerStop;

    std::size_t count = 0;
    PerStop at = {};
    PerStop over = {}; // the distance to the next stop
    PerStop own = {};  // squares of the hats, and products with the next
    PerStop next = {};
    std::array<RampColour, kMostRampStops> right = {};
    double squares = 0.0; // of the colours
    double samples = 0.0;
};

} // namespace ztrace

#endif
