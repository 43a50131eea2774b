// (c) the ztrace developers. Licence: see LICENSE.
//
// Files that a run writes besides its drawings: result lines, table, events and report. None of
// them may go over another one, a picture, a drawing, or what the run reads; nor may a drawing go
// over what it reads.
#ifndef ZTRACE_CLI_BATCH_SIDEFILES_H
#define ZTRACE_CLI_BATCH_SIDEFILES_H

#include <string>
#include <vector>

#include "agenda.h"
#include "cli/Settings.h"

namespace ztrace {

// Before anything is begun, with the name of the file of result lines, or empty. Throws a Failure
// that names both.
void refuseSideFiles(const Settings &settings, const std::string &results, const Agenda &agenda);

// Of a summary, which reads only these.
void refuseSideFiles(const Settings &settings, const std::vector<std::string> &inputs);

// What would fail after the work as well: folders that are not there.
void requireSideFolders(const Settings &settings);

} // namespace ztrace

#endif
