// (c) the ztrace developers. Licence: see LICENSE.
//
// The part of the table of options that `ztrace batch` alone has.
#ifndef ZTRACE_CLI_BATCHOPTIONS_H
#define ZTRACE_CLI_BATCHOPTIONS_H

#include "optionentry.h"

#include <vector>

namespace ztrace {

std::vector<Entry> batchOptions();

} // namespace ztrace

#endif
