// (c) the ztrace developers. Licence: see LICENSE.
//
// Options that change nothing.
#ifndef ZTRACE_CLI_EFFECTS_H
#define ZTRACE_CLI_EFFECTS_H

#include <set>
#include <string>
#include <vector>

#include "Settings.h"
#include "formats.h"

namespace ztrace {

// One sentence for each of the options `given` that has no effect together with the others, in
// alphabetical order. `settings` are complete: preset and configuration file are in them. A drawing
// as the input has its colours and outlines already.
std::vector<std::string> withoutEffect(const std::set<std::string> &given, bool isDrawing,
                                       const Settings &settings,
                                       const std::vector<Output> &outputs);

} // namespace ztrace

#endif
