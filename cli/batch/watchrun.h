// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_CLI_BATCH_WATCHRUN_H
#define ZTRACE_CLI_BATCH_WATCHRUN_H

#include "batchrun.h"

namespace ztrace {

// Traces what comes into the folders that are watched, until a signal, which is the usual end here.
// Throws a Failure.
void traceWhatComes(BatchRun *run);

} // namespace ztrace

#endif
