// (c) the ztrace developers. Licence: see LICENSE.
//
// What was done, as archives keep it: objects, events and agents of the PREMIS data dictionary 3.
#ifndef ZTRACE_CLI_BATCH_PREMIS_H
#define ZTRACE_CLI_BATCH_PREMIS_H

#include "results.h"

class QIODevice;

namespace ztrace {

// An object for every picture and drawing, and an event for every result line. Returns false when
// the device took less than everything.
bool writePremis(const Ledger &ledger, QIODevice *device);

} // namespace ztrace

#endif
