// (c) the ztrace developers. Licence: see LICENSE.
//
// A run over many pictures: what its ways of finding pictures (all at once, parts that are shared
// with other runs, folders that are watched) have in common.
#ifndef ZTRACE_CLI_BATCH_BATCHRUN_H
#define ZTRACE_CLI_BATCH_BATCHRUN_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "agenda.h"
#include "books.h"
#include "crew.h"
#include "outcomes.h"
#include "results.h"

namespace ztrace {

// The file that a run's result lines go to.
std::string resultsName(const BatchSettings &batch);

class BatchRun
{
public:
    // `argc` and `argv` are the command's own: workers are told them. Throws a Failure.
    BatchRun(const CommandLine &line, int argc, char **argv);

    // Finds the pictures and counts their pages. Throws a Failure.
    void collect();

    // Counts the pages of what is on the agenda, and puts them in their files' places.
    void countPages();

    // What all runs into this folder have finished, since the last time.
    void readLedger();

    // Traces what is on the agenda and not finished. `everyRound` is called ten times a second at
    // least.
    void traceAll(const std::function<void()> &everyRound);

    // After a traceAll that came to no end: what it has left open is forgotten.
    void forget();

    // 0: go on; 1: begin nothing new; 2: leave everything.
    int stopWish() const;

    CommandLine line;
    const BatchSettings &batch;
    QByteArray fingerprint;
    Agenda agenda;
    Books books;
    Ledger ledger;
    ResultFile *results = nullptr; // as long as pictures are traced
    Outcomes *outcomes = nullptr;  // likewise
    Meter *meter = nullptr;        // likewise
    bool isTakenAway = false;      // what is on the agenda is no longer for this run
    std::size_t leftOut = 0;       // pictures without a drawing, told already
    std::size_t doneByOthers = 0;  // pictures, by runs beside this one
    std::size_t failedWithOthers = 0;

private:
    Duties usualDuties(const std::function<void()> &everyRound);
    bool nextPicture(ItemList::Reader *pictures, Item *item);
    void pass(const Item &item, Verdict verdict, const PagePart &part);
    void deliver();
    Job jobOf(const Item &item, int attempt);
    QByteArray bookLinesFor(const Item &page, const QByteArray &settings);

    Crew crew;
    int jobs;
    std::string keyOfBook; // of what the last page belongs to
    std::vector<QJsonObject> linesOfBook;
};

} // namespace ztrace

#endif
