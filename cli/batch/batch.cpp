// (c) the ztrace developers. Licence: see LICENSE.
#include "batch.h"

#include "batchrun.h"
#include "clashes.h"
#include "conclusion.h"
#include "leaserun.h"
#include "sidefiles.h"
#include "stopsignals.h"
#include "watch.h"
#include "watchrun.h"

#include "cli/messages.h"

#include "drawing/signals.h"
#include "drawing/traces.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <set>

namespace ztrace {

namespace {

// Each would leave out what the other one does.
void refuseOddWords(const BatchSettings &batch)
{
    if (batch.leases > 0 && batch.chunks > 1)
        throw Failure(kWrongUsage,
                      "batch: --leases and --chunk both divide the pictures: give one of them");
    if (batch.leases > 0 && !batch.watch.empty())
        throw Failure(kWrongUsage,
                      "batch: --leases divides pictures that are there already, and --watch waits "
                      "for others: give one of them");
    if (batch.results == "-")
        throw Failure(kWrongUsage,
                      "--results: result lines go to a file, which later runs read (--csv - writes "
                      "a table to standard output)");
    requireFolders(batch.watch);
}

ExitCode tellPlan(const BatchRun &run)
{
    const Agenda &agenda = run.agenda;
    agenda.items.forEach([&](const Item &item) {
        std::string page;
        if (item.kind == ItemKind::Book)
            page = ", pages " + rangesText(pagesWithin(item.ranges, item.pages));
        else if (item.pages > 1)
            page = ", page " + std::to_string(item.page);
        for (const std::string &output : agenda.outputsOf(item))
            std::printf(
                "%s\n",
                printable(item.path + page + " -> " + run.batch.out + '/' + output).c_str());
    });
    errno = 0;
    requireArrival(stdout);
    return agenda.problems.empty() ? kSuccess : kFailed;
}

void makeFolder(const std::string &out)
{
    errno = 0;
    if (!QDir().mkpath(QFile::decodeName(out.c_str())))
        throw Failure(kOutputNotWritable, out + ": " + std::strerror(errno != 0 ? errno : ENOTDIR));
}

void traceEverything(BatchRun *run)
{
    if (run->batch.leases > 0) {
        traceParts(run);
    } else {
        run->readLedger();
        run->outcomes->expect(run->agenda.items.pictures());
        run->traceAll([] {});
    }
    if (!run->batch.watch.empty() && run->stopWish() == 0)
        traceWhatComes(run);
}

// What workers that were killed have left: others look for it where they write something, which may
// be nowhere. Those of the moment a worker dies are only given up when it has gone.
void removeLeftovers(const BatchRun &run)
{
    const std::string &out = run.batch.out;
    std::set<std::string> folders
        = { out + '/', out + "/.ztrace-pages/", out + "/.ztrace-previews/" };
    run.agenda.items.forEach([&](const Item &item) {
        for (const std::string &output : run.agenda.outputsOf(item))
            folders.insert(out + '/' + output.substr(0, output.rfind('/') + 1));
    });
    const Uninterrupted guard;
    for (const std::string &folder : folders)
        recoverFolder(QByteArray::fromStdString(folder));
}

} // namespace

ExitCode runBatch(const CommandLine &line, int argc, char **argv)
{
    watchSignals();
    BatchRun run(line, argc, argv);
    const std::string &out = run.batch.out;
    if (out.empty())
        throw Failure(kWrongUsage, "batch: give the folder of the drawings (--out DIR)");
    refuseOddWords(run.batch);
    run.collect();
    refuseClashes(run.agenda, out);
    refuseSideFiles(run.line.settings, resultsName(run.batch), run.agenda);
    if (run.batch.dryRun)
        return tellPlan(run);
    makeFolder(out);
    refuseFoldedClashes(run.agenda, out);
    requireSideFolders(run.line.settings);
    ResultFile results(resultsName(run.batch));
    Meter meter(run.line.settings);
    Outcomes outcomes(run.fingerprint, &run.ledger, &results, &meter);
    run.results = &results;
    run.meter = &meter;
    run.outcomes = &outcomes;
    try {
        traceEverything(&run);
    } catch (const Failure &) {
        // What is finished is not to be done again; there may be room for so much.
        outcomes.deliver();
        meter.clear();
        tell("at most " + std::to_string(leftOf(run)) + " left (start again to go on)");
        throw;
    }
    results.sync(true);
    removeLeftovers(run);
    if (run.batch.leases > 0 && run.batch.results.empty())
        results.removeIfEmpty(); // no other run will write there
    meter.clear();
    return conclude(run);
}

} // namespace ztrace
