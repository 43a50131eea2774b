// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink as centre lines: what pens have drawn becomes strokes, what is solid stays an area.
// docs/strokes/strokes.md.
#ifndef ZTRACE_TRACING_STROKES_H
#define ZTRACE_TRACING_STROKES_H

#include "imaging/Picture.h"
#include "plan.h"
#include "stages.h"

namespace ztrace {

// The strokes of a picture of ink, a layer a pen, and the outlines of its solid parts on a layer of
// their own. `dpi` is 0 where the picture's resolution is not known: pens are then numbered instead
// of named by their width. Throws a TraceError where a picture has more lines than any drawing.
Drawing traceStrokes(Picture picture, const TracePlan &plan, const Ink &ink, double dpi,
                     Stages *stages, TraceReport *report);

// The nearest of the standard line widths of technical drawings (ISO 128-20), in millimetres.
double standardWidth(double millimetres);

const char *const kSolidLayer = "SOLID";
const char *const kAreaLayer = kFilledLayer;
const char *const kDimensionLayer = "DIM";
const char *const kTextLayer = kLetteringLayer;
const char *const kHatchLayer = "HATCH";

} // namespace ztrace

#endif
