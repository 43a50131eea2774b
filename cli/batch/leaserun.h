// (c) the ztrace developers. Licence: see LICENSE.
//
// A run that shares its pictures with runs beside it.
#ifndef ZTRACE_CLI_BATCH_LEASERUN_H
#define ZTRACE_CLI_BATCH_LEASERUN_H

#include "batchrun.h"

namespace ztrace {

// Traces part after part of what is on the agenda, beside other runs with the same words, until
// each picture has its result line, whoever wrote it. Throws a Failure.
void traceParts(BatchRun *run);

} // namespace ztrace

#endif
