// (c) the ztrace developers. Licence: see LICENSE.
//
// From a picture to areas, as the plan says.
#ifndef ZTRACE_TRACING_SEGMENTATION_H
#define ZTRACE_TRACING_SEGMENTATION_H

#include "Areas.h"
#include "containment.h"
#include "imaging/Picture.h"
#include "plan.h"
#include "softedges.h"
#include "stages.h"

#include <optional>

namespace ztrace {

struct Segmented
{
    // Those that must not be one have labels of their own, also where they touch; not so for true
    // shapes.
    Areas areas;
    int upsampling = 1;                        // how many times as fine as pixels their grid is
    Geometry::Fit fit = Geometry::Fit::Engine; // which of the two draws the areas
    EdgePicture edges;                         // what the areas came from; for true shapes only
    EngineOptions engine;                      // that had a part in the areas, for the report
    std::optional<AreaGraph> graph;            // of the areas, from CornerSeparation
};

// Ink and paper.
Segmented segmentInk(Picture picture, const TracePlan &plan, const Ink &ink, Stages *stages,
                     TraceReport *report);

// Flat colours, or the colours of a palette. Areas too small to be kept have gone to their
// neighbours.
Segmented segmentColours(Picture picture, const TracePlan &plan, Stages *stages,
                         TraceReport *report);

// Sets options to values, whether they are there or not.
void setOptions(const EngineOptions &values, EngineOptions *options);

// All options of the engine that choose colours, at its defaults where `values` says nothing.
EngineOptions reductionOptions(const EngineOptions &values);

// Throws a TraceError where a picture on a grid `upsampling` times as fine has more pixels than
// runs can count.
void requireRoom(int width, int height, int upsampling);

// Gives areas that touch at a corner only, and must not be one, labels of their own; returns
// whether there were any.
bool separateAreas(Segmented *segmented);

} // namespace ztrace

#endif
