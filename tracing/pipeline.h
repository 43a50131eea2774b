// (c) the ztrace developers. Licence: see LICENSE.
//
// From a picture to a drawing.
#ifndef ZTRACE_TRACING_PIPELINE_H
#define ZTRACE_TRACING_PIPELINE_H

#include "imaging/Picture.h"
#include "plan.h"
#include "report.h"
#include "stages.h"

namespace ztrace {

struct TraceResult
{
    Drawing drawing;
    TraceReport report;
};

// Seeds the engine's random numbers and traces the picture as the plan says. The picture is taken
// over, so that it does not use memory twice; a background is put under it before it is classified,
// by the caller. Throws a TraceError where memory cannot hold what the
// plan asks for, and std::bad_alloc.
TraceResult traceImage(Picture picture, const TracePlan &plan,
                       const StageSink &announce = StageSink());

} // namespace ztrace

#endif
