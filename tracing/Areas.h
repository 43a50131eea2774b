// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture as areas of few colours.
#ifndef ZTRACE_TRACING_AREAS_H
#define ZTRACE_TRACING_AREAS_H

#include <QRgb>

#include <vector>

#include "imaging/ramp.h"
#include "runs.h"

namespace ztrace {

// Runs of labels, each below colours.size(). Colours carry alpha and are not premultiplied; several
// labels may have one colour. Labels of ramps have the mean of theirs.
struct Areas
{
    Runs runs;
    std::vector<QRgb> colours;
    std::vector<Ramp> ramps = {};
    std::vector<int> rampOf
        = {}; // by label, into ramps, -1 for none; empty where there are no ramps

    int rampOfLabel(std::size_t label) const { return rampOf.empty() ? -1 : rampOf[label]; }
};

} // namespace ztrace

#endif
