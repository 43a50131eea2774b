// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_CLI_BATCH_VERSION_H
#define ZTRACE_CLI_BATCH_VERSION_H

namespace ztrace {

// What `ztrace --version` says, without the name.
const char *programVersion();

} // namespace ztrace

#endif
