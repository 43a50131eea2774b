// (c) the ztrace developers. Licence: see LICENSE.
//
// The end of a run over many pictures.
#ifndef ZTRACE_CLI_BATCH_CONCLUSION_H
#define ZTRACE_CLI_BATCH_CONCLUSION_H

#include "batchrun.h"

namespace ztrace {

// Pictures and books that are not past.
std::size_t leftOf(const BatchRun &run);

// Tells what has become of the pictures, writes the summaries that are asked for, and ends the
// process as a signal would have, when one ended the run. Throws a Failure.
ExitCode conclude(const BatchRun &run);

} // namespace ztrace

#endif
