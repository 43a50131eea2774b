// (c) the ztrace developers. Licence: see LICENSE.
#include "ramphats.h"

#include <algorithm>

namespace ztrace {

namespace {

const double kWeak = 1e-6; // of a sample's weight: what holds a stop between its neighbours

} // namespace

RampHats::RampHats(const RampRange &range, const std::vector<double> &inner)
{
    at[count++] = range.least;
    for (double stop : inner) {
        if (stop > at[count - 1] + 1.0 && stop < range.most - 1.0 && count + 1 < kMostRampStops)
            at[count++] = stop;
    }
    at[count++] = range.most;
    for (std::size_t k = 0; k + 1 < count; ++k)
        over[k] = 1.0 / (at[k + 1] - at[k]);
}

void RampHats::add(std::size_t place, const RampMoments &moments)
{
    // b = (distance - at) * over of all of them, and a = 1 - b.
    const double from = at[place];
    const double scale = over[place];
    const double b = (moments.sum - from * moments.count) * scale;
    const double bb = (moments.squares - 2.0 * from * moments.sum + from * from * moments.count)
        * scale * scale;
    own[place] += moments.count - 2.0 * b + bb;
    next[place] += b - bb;
    own[place + 1] += bb;
    for (std::size_t c = 0; c < 3; ++c) {
        const double second = (moments.byDistance[c] - from * moments.colours[c]) * scale;
        right[place][c] += moments.colours[c] - second;
        right[place + 1][c] += second;
    }
    samples += moments.count;
}

double RampHats::solve(std::vector<RampStop> *stops) const
{
    // Three diagonals, two of them equal: first one downwards, then the colours upwards.
    const double weak = kWeak * samples;
    PerStop pivot = own;
    PerStop factor = {};
    std::array<RampColour, kMostRampStops> colours = right;
    for (std::size_t i = 0; i < count; ++i)
        pivot[i] += i > 0 && i + 1 < count ? 2.0 * weak : weak;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        factor[i] = (next[i] - weak) / pivot[i];
        pivot[i + 1] -= factor[i] * (next[i] - weak);
        for (std::size_t c = 0; c < 3; ++c)
            colours[i + 1][c] -= factor[i] * colours[i][c];
    }
    for (std::size_t i = count; i-- > 0;) {
        for (std::size_t c = 0; c < 3; ++c) {
            colours[i][c] /= pivot[i];
            if (i + 1 < count)
                colours[i][c] -= factor[i] * colours[i + 1][c];
        }
    }
    // The squares of what is left, without another look at the samples.
    double error = squares;
    stops->resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        (*stops)[i] = { at[i], colours[i] };
        for (std::size_t c = 0; c < 3; ++c) {
            const double after = i + 1 < count ? 2.0 * next[i] * colours[i + 1][c] : 0.0;
            error += colours[i][c] * (own[i] * colours[i][c] + after - 2.0 * right[i][c]);
        }
    }
    return std::max(0.0, error) / (3.0 * samples);
}

} // namespace ztrace
