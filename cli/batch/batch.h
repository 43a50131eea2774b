// (c) the ztrace developers. Licence: see LICENSE.
//
// `ztrace batch`: many pictures, each by itself, in several processes; what is finished is known
// when the run is started again. docs/batch.md describes it.
#ifndef ZTRACE_CLI_BATCH_BATCH_H
#define ZTRACE_CLI_BATCH_BATCH_H

#include "cli/commandline.h"
#include "cli/failure.h"

namespace ztrace {

// Throws a Failure when nothing can be begun or the run cannot go on; what is wrong with a picture
// is in its result line.
ExitCode runBatch(const CommandLine &line, int argc, char **argv);

} // namespace ztrace

#endif
