// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_CLI_BATCH_LEASERUN_H
#define ZTRACE_CLI_BATCH_LEASERUN_H

#include "batchrun.h"

namespace ztrace {

// Traces part after part of what is on the agenda, beside other runs. Throws a Failure.
void traceParts(BatchRun *run);

} // namespace ztrace

#endif
