// (c) the ztrace developers. Licence: see LICENSE.
//
// How many pages the files of a run have.
#ifndef ZTRACE_CLI_BATCH_PAGECOUNT_H
#define ZTRACE_CLI_BATCH_PAGECOUNT_H

#include "agenda.h"
#include "crew.h"

namespace ztrace {

// Has the crew count the pages of files that are taken whole, as a file may be made to break its
// reader, and puts all their pages on the agenda. Throws what the crew throws.
void countPages(Crew *crew, int jobs, Agenda *agenda);

} // namespace ztrace

#endif
