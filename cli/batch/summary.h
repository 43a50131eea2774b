// (c) the ztrace developers. Licence: see LICENSE.
//
// `ztrace batch summary`: the result lines of any number of runs as one.
#ifndef ZTRACE_CLI_BATCH_SUMMARY_H
#define ZTRACE_CLI_BATCH_SUMMARY_H

#include <functional>

#include "cli/commandline.h"
#include "cli/failure.h"
#include "results.h"

namespace ztrace {

// Result files of a folder, those of killed and of other runs among them, in the order of their
// names.
std::vector<std::string> resultFilesIn(const std::string &folder);

// Prints counts, reasons of failures and percentiles of what FILEs and folders say, and writes what
// is asked for. Throws a Failure.
ExitCode runSummary(const CommandLine &line);

// Writes the report, the table and the events that the settings name, of a ledger.
void writeSummaries(const Ledger &ledger, const Settings &settings);

// The value that a share of the sorted values is not above; 0 for none.
double percentile(const std::vector<double> &sorted, double share);

// A field of CSV.
std::string csvField(const std::string &text);

} // namespace ztrace

#endif
