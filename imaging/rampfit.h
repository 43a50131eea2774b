// (c) the ztrace developers. Licence: see LICENSE.
//
// The ramp that explains colours at places best: docs/imaging/ramps.md, "Fit".
#ifndef ZTRACE_IMAGING_RAMPFIT_H
#define ZTRACE_IMAGING_RAMPFIT_H

#include <array>
#include <cstddef>
#include <vector>

#include "ramptiles.h"

namespace ztrace {

const std::size_t kMostRampStops = 8;

struct RampSample
{
    double x;
    double y;
    RampColour colour;
};

// Of one tile, where they tell as much of its plane as all of its pixels do.
std::array<RampSample, 4> samplesOf(const RampTiles &tiles, std::size_t tile);
// The same of many; of very many tiles every few.
std::vector<RampSample> samplesOf(const RampTiles &tiles, const std::vector<std::size_t> &members);

// Pixels of the tiles themselves, of very many every few.
std::vector<RampSample> pixelsOf(const QImage &image, const RampTiles &tiles,
                                 const std::vector<std::size_t> &members);

// Mean squared difference of a channel.
double errorOf(const Ramp &ramp, const std::vector<RampSample> &samples);

// Least and largest distance of the samples.
struct RampRange
{
    double least;
    double most;
};
RampRange rangeOf(const Ramp &ramp, const std::vector<RampSample> &samples);

// Colours by least squares on hats between stops, and the angle or the centre by a few steps of
// least squares from where they are. Stops are at the ends of the samples and at `inner`, in order,
// between them. Returns the mean squared difference of a channel.
double refineRamp(const std::vector<RampSample> &samples, const std::vector<double> &inner,
                  Ramp *ramp);

// Of two stops; at least three samples that are not on one line.
Ramp fitLinear(const std::vector<RampSample> &samples);
// From the point that the tiles' slopes point to; linear where they point to none.
Ramp fitRadial(const RampTiles &tiles, const std::vector<std::size_t> &members,
               const std::vector<RampSample> &samples);

// The colours go on as they do at the ends, for so many pixels.
void extendEnds(double before, double after, Ramp *ramp);

// Every inner stop in turn goes where it leaves less, by steps that become shorter; the ramp's
// place stays.
void settleStops(const std::vector<RampSample> &samples, const Ramp &ramp,
                 std::vector<double> *inner);

// As few stops as leave no more than `visible` (of a channel), and what noise does, of the mean of
// the samples at any distance,
// up to kMostRampStops, each of which takes `gain` off errorOf; the place is refined with them.
void chooseStops(const std::vector<RampSample> &samples, double visible, double gain, Ramp *ramp);

// Without stops at the ends where the colour stays anyway; two always remain.
void dropPads(Ramp *ramp);

} // namespace ztrace

#endif
