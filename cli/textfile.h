// (c) the ztrace developers. Licence: see LICENSE.
//
// Small files that options name: settings, presets, palettes.
#ifndef ZTRACE_CLI_TEXTFILE_H
#define ZTRACE_CLI_TEXTFILE_H

#include <string>

namespace ztrace {

// Text of a file; throws a Failure when it cannot be read or has more than a megabyte.
std::string textOfFile(const std::string &fileName);

} // namespace ztrace

#endif
