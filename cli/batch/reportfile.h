// (c) the ztrace developers. Licence: see LICENSE.
//
// The report of a run: one HTML file that needs nothing else, with pictures, drawings and numbers.
#ifndef ZTRACE_CLI_BATCH_REPORTFILE_H
#define ZTRACE_CLI_BATCH_REPORTFILE_H

#include "results.h"

class QIODevice;

namespace ztrace {

// report.html, with a place for the data.
extern const char *const kReportTemplate;

// Traced pictures of a report, and those of them that had no preview to be shown.
struct Shown
{
    std::size_t traced = 0;
    std::size_t missing = 0;
};

// Pictures are the previews that lie beside the result files. Takes memory for one of them at a
// time. Returns false when the device took less than everything.
bool writeReport(const Ledger &ledger, QIODevice *device, Shown *shown);

} // namespace ztrace

#endif
