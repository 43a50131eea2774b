// (c) the ztrace developers. Licence: see LICENSE.
//
// What a worker may use, and what it has used.
#ifndef ZTRACE_CLI_BATCH_LIMITS_H
#define ZTRACE_CLI_BATCH_LIMITS_H

#include <chrono>

#include "cli/Settings.h"

namespace ztrace {

double secondsSince(std::chrono::steady_clock::time_point start);

// Processor time of the calling thread.
double processorSeconds();

// The process's largest memory since this was called with true, in bytes; 0 where that is unknown.
double peakMemory(bool begin);

// That --time-limit gives a picture, or what is usual; 0: any.
double secondsAPicture(const Settings &settings);

// Beyond what the process has by now. Sanitizers have their own idea of memory.
void limitMemory(double millions);

} // namespace ztrace

#endif
