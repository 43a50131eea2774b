// (c) the ztrace developers. Licence: see LICENSE.
//
// A run over many pictures: what its ways of finding pictures (all at once, parts that are shared
// with other runs, folders that are watched) have in common.
#ifndef ZTRACE_CLI_BATCH_BATCHRUN_H
#define ZTRACE_CLI_BATCH_BATCHRUN_H

#include <cstddef>
#include <functional>
#include <string>

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

    // 0: go on; 1: begin nothing new; 2: leave everything.
    int stopWish() const;

    CommandLine line;
    const BatchSettings &batch;
    QByteArray fingerprint;
    Agenda agenda;
    Books books;
    Ledger ledger;
    Outcomes *outcomes = nullptr; // as long as pictures are traced
    std::size_t leftOut = 0;      // pictures without a drawing, told already

private:
    Duties usualDuties(const std::function<void()> &everyRound);
    bool nextPicture(ItemList::Reader *pictures, Item *item);
    void pass(const Item &item, Verdict verdict);
    void deliver();
    Job jobOf(const Item &item, int attempt) const;

    Crew crew;
    int jobs;
};

} // namespace ztrace

#endif
