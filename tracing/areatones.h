// (c) the ztrace developers. Licence: see LICENSE.
//
// What colour areas have inside, and how noisy they are.
#ifndef ZTRACE_TRACING_AREATONES_H
#define ZTRACE_TRACING_AREATONES_H

#include "tracing/softedges.h"

#include <vector>

namespace ztrace {

struct AreaTones
{
    std::vector<Tone> toneOf;    // of every area
    std::vector<double> noiseOf; // of every area: deviation of a pixel, in steps of 255
};

// An area's tone is the mean of the pixels with nothing else around them. Noise is measured between
// neighbours where no blurred edge can reach. Areas with too few such pixels have what all of their
// label have, or the tone of the label in `tones`; that at once where the picture tells tones.
AreaTones areaTones(const EdgePicture &picture, const BoundaryMap &map,
                    const std::vector<Tone> &tones);

} // namespace ztrace

#endif
