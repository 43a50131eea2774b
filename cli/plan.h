// (c) the ztrace developers. Licence: see LICENSE.
//
// From what the user said to what is done.
#ifndef ZTRACE_CLI_PLAN_H
#define ZTRACE_CLI_PLAN_H

#include "Settings.h"
#include "tracing/plan.h"

namespace ztrace {

// The plan for settings that are complete: preset and configuration file are in them. Throws a
// Failure for more colours than a palette can have.
TracePlan planOf(const Settings &settings);

// What draws the outlines. Where that is not said: true shapes for ink and flat colours, the engine
// for all else and where an option is given that it alone knows.
Geometry::Fit fitOf(const Settings &settings);

} // namespace ztrace

#endif
