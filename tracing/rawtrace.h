// (c) the ztrace developers. Licence: see LICENSE.
//
// The engine alone: a picture as it is, with the engine's own palette.
#ifndef ZTRACE_TRACING_RAWTRACE_H
#define ZTRACE_TRACING_RAWTRACE_H

#include <QImage>

#include "engine/labels.h"
#include "imaging/LabelPlane.h"
#include "plan.h"

namespace ztrace {

struct RawTrace
{
    TracedLabels traced;
    LabelPlane plane;      // the engine's indices, and the colours of its palette
    EngineOptions options; // all twelve
};

// The same outlines that a script gets. Throws a TraceError when the engine cannot hold the picture
// or make the palette.
RawTrace rawTrace(QImage picture, const EngineOptions &options);

} // namespace ztrace

#endif
