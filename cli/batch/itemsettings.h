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
// make no sense, those in a preset among them. What may be there is what scripts may say; the page
// is not, nor are the limits of what is read, which hold for the run.
void checkItemSettings(const std::vector<Said> &said);

// Files that palettes and presets are read from, by names that begin at a folder (empty, or with a
// slash at its end).
void placeFiles(const std::string &folder, std::vector<Said> *said);

// Stores them; they win over what was said of all pictures, and their names join those given.
void applyItemSettings(const std::vector<Said> &said, Settings *settings,
                       std::set<std::string> *given);

} // namespace ztrace

#endif
