// (c) the ztrace developers. Licence: see LICENSE.
#include "version.h"

namespace ztrace {

const char *programVersion()
{
    return ZTRACE_VERSION;
}

} // namespace ztrace
