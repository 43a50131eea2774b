// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings that would have one name, and drawings on pictures.
#ifndef ZTRACE_CLI_BATCH_CLASHES_H
#define ZTRACE_CLI_BATCH_CLASHES_H

#include "agenda.h"

namespace ztrace {

// Throws a Failure when two drawings would have one name, or one that of a picture; all of them are
// told, up to some. Takes 8 bytes a drawing, and 8 for one that is there already, in a SpoolArray.
void refuseClashes(const Agenda &agenda, const std::string &out);

// The same for names that are one in this folder, which is there, because it does not tell upper
// and lower case letters apart.
void refuseFoldedClashes(const Agenda &agenda, const std::string &out);

} // namespace ztrace

#endif
