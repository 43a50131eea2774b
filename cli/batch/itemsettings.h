// (c) the ztrace developers. Licence: see LICENSE.
//
// Settings of one picture of a run, over those of all.
#ifndef ZTRACE_CLI_BATCH_ITEMSETTINGS_H
#define ZTRACE_CLI_BATCH_ITEMSETTINGS_H

#include <set>
#include <string>
#include <vector>

#include "cli/Settings.h"
#include "names.h"

namespace ztrace {

// Throws a Failure for settings that do not exist, that cannot be a picture's own, or whose values
// make no sense. What may be there is what scripts may say, and the page is not.
void checkItemSettings(const std::vector<Said> &said);

// Stores them; they win over what was said of all pictures, and their names join those given.
void applyItemSettings(const std::vector<Said> &said, Settings *settings,
                       std::set<std::string> *given);

} // namespace ztrace

#endif
