// (c) the ztrace developers. Licence: see LICENSE.
#include "conclusion.h"

#include "fingerprint.h"
#include "stopsignals.h"
#include "summary.h"

#include "cli/messages.h"
#include "cli/values.h"

#include <QJsonDocument>

#include <cerrno>

namespace ztrace {

namespace {

void tellNumbers(const BatchRun &run)
{
    const Tally &tally = run.outcomes->soFar();
    const std::size_t open = leftOf(run);
    if (run.line.settings.quiet) {
        if (open > 0)
            tell(std::to_string(open) + " left (start again to go on)");
        return;
    }
    std::string text = std::to_string(tally.done) + " done";
    const auto add = [&text](std::size_t number, const char *what) {
        if (number > 0)
            text += ", " + std::to_string(number) + what;
    };
    add(tally.finished, " finished before");
    add(run.doneByOthers, " done by other runs");
    add(tally.books, tally.books == 1 ? " file of all its pages" : " files of all pages");
    add(tally.failed + tally.failedBooks, " failed");
    add(run.failedWithOthers, " failed in other runs");
    add(tally.flagged, " to be looked at");
    add(tally.warned, " with warnings");
    add(run.agenda.problems.size(), " not accessible");
    add(open, " left (start again to go on)");
    tell(text + "; results in " + resultsName(run.batch));
    const int wrong = run.ledger.wrongLines();
    if (wrong > 0)
        tell(std::to_string(wrong)
             + (wrong == 1 ? " line of earlier runs is no result line, left out"
                           : " lines of earlier runs are no result lines, left out"));
}

// These no line has told.
void tellEarlierFailures(const BatchRun &run)
{
    const std::size_t all = run.outcomes->failedInEarlierRuns();
    if (all == 0)
        return;
    tell(std::to_string(all)
         + (all == 1 ? " of the failures is of an earlier run"
                     : " of the failures are of earlier runs")
         + " (see --retry failed):");
    const std::vector<Item> &first = run.outcomes->firstFailedInEarlierRuns();
    for (const Item &item : first) {
        const QByteArray lines = run.ledger.linesOf(item.path, item.page,
                                                    fingerprintOf(run.fingerprint, item.settings));
        const QJsonObject line = QJsonDocument::fromJson(lines.split('\n').front()).object();
        std::string text = line.value(QLatin1String("error")).toString().toStdString();
        const std::string name = shortened(item.path, kLongestName);
        if (text.compare(0, name.size(), name) != 0)
            text = name + ": " + text;
        if (item.pages > 1)
            text += " (page " + std::to_string(item.page) + ')';
        tell("  " + text);
    }
    if (all > first.size())
        tell("  and " + std::to_string(all - first.size())
             + " more (--csv FILE writes all reasons)");
}

void summarise(const BatchRun &run)
{
    const BatchSettings &batch = run.batch;
    if (batch.report.empty() && batch.csv.empty() && batch.premis.empty())
        return;
    Ledger now;
    for (const std::string &name : resultFilesIn(batch.out))
        now.read(name);
    if (!batch.results.empty())
        now.read(batch.results);
    now.prefer(run.fingerprint);
    writeSummaries(now, run.line.settings);
}

} // namespace

std::size_t leftOf(const BatchRun &run)
{
    const Tally &tally = run.outcomes->soFar();
    return tally.all - tally.past() + run.books.open();
}

ExitCode conclude(const BatchRun &run)
{
    const BatchSettings &batch = run.batch;
    tellNumbers(run);
    tellEarlierFailures(run);
    summarise(run);
    if (batch.chunks == 1 && batch.leases == 0 && batch.results.empty())
        removeFolderOfParts(batch.out); // no other run writes there
    if (batch.watch.empty())
        endBySignal();
    errno = 0;
    requireArrival(stdout);
    const Tally &tally = run.outcomes->soFar();
    const bool isGood
        = tally.failed + tally.failedBooks + run.failedWithOthers + leftOf(run) + run.leftOut == 0;
    return isGood && run.agenda.problems.empty() ? kSuccess : kFailed;
}

} // namespace ztrace
