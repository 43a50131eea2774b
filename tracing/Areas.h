// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture as areas of few colours.
#ifndef ZTRACE_TRACING_AREAS_H
#define ZTRACE_TRACING_AREAS_H

#include <QRgb>

#include <vector>

#include "runs.h"

namespace ztrace {

// Runs of labels, each below colours.size(). Colours carry alpha and are not premultiplied; several
// labels may have one colour.
struct Areas
{
    Runs runs;
    std::vector<QRgb> colours;
};

} // namespace ztrace

#endif
