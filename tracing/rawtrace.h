// (c) the ztrace developers. Licence: see LICENSE.
//
// The engine alone: a picture as it is, with the engine's own palette.
#ifndef ZTRACE_TRACING_RAWTRACE_H
#define ZTRACE_TRACING_RAWTRACE_H

#include <QImage>

#include "Areas.h"
#include "plan.h"
#include "shapes.h"

namespace ztrace {

struct RawTrace
{
    ShapeOutlines outlines;
    Areas areas;           // of the engine's indices, in the colours of its palette
    EngineOptions options; // all twelve
};

// The same outlines that a script gets. Throws a TraceError when the engine cannot hold the picture
// or make the palette.
RawTrace rawTrace(QImage picture, const EngineOptions &options);

} // namespace ztrace

#endif
