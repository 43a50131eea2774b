// (c) the ztrace developers. Licence: see LICENSE.
#include "watchrun.h"

#include "stopsignals.h"
#include "watch.h"

#include "cli/messages.h"

#include <algorithm>
#include <set>
#include <unordered_map>

namespace ztrace {

namespace {

const int kWatchWait = 1000; // milliseconds between looks at folders

typedef std::unordered_map<std::string, std::string> Owners; // pictures by their drawings

void putOnAgenda(const std::vector<Item> &complete, BatchRun *run)
{
    run->agenda.items = ItemList();
    for (Item item : complete) {
        item.page = run->line.settings.page;
        item.ranges = run->line.settings.pages;
        run->agenda.items.add(item);
    }
}

// A picture that comes later has no right to another one's drawing.
bool isClash(const Item &item, Owners *owners, BatchRun *run)
{
    std::vector<std::string> drawings = run->agenda.outputsOf(item);
    if (item.kind == ItemKind::Page)
        drawings.push_back(run->agenda.outputsOf(Agenda::bookOf(item)).front());
    for (const std::string &drawing : drawings) {
        const auto owner = owners->insert({ drawing, item.path }).first;
        if (owner->second == item.path)
            continue;
        if (item.kind != ItemKind::Book) {
            tell(item.path + ": is left out, " + drawing + " is the drawing of " + owner->second
                 + " (see --names)");
            ++run->leftOut;
        }
        return true;
    }
    return false;
}

void leaveOutClashes(Owners *owners, BatchRun *run)
{
    ItemList good;
    run->agenda.items.forEach([&](const Item &item) {
        if (!isClash(item, owners, run))
            good.add(item);
    });
    run->agenda.items = std::move(good);
}

// They were told when they came; a folder may have been among the pictures too.
void addProblems(const std::set<std::string> &problems, BatchRun *run)
{
    std::vector<std::string> &known = run->agenda.problems;
    for (const std::string &problem : problems) {
        if (std::find(known.begin(), known.end(), problem) == known.end())
            known.push_back(problem);
    }
}

} // namespace

void traceWhatComes(BatchRun *run)
{
    const BatchSettings &batch = run->batch;
    OwnFiles own(batch);
    const FolderWalk walk = { batch.recursive, batch.patterns, batch.out, false, &own };
    Watch watch(batch.watch, walk);
    Owners owners;
    while (signalsSoFar() == 0 && run->stopWish() == 0) {
        watch.wait(kWatchWait);
        if (!batch.patterns.empty())
            own.readLines();
        std::vector<std::string> problems;
        const std::vector<Item> complete = watch.takeComplete(&problems);
        for (const std::string &problem : problems)
            tell(problem);
        if (complete.empty())
            continue;
        putOnAgenda(complete, run);
        run->countPages();
        leaveOutClashes(&owners, run);
        run->readLedger();
        run->outcomes->expect(run->agenda.items.pictures());
        run->traceAll([] {});
        run->outcomes->draw();
    }
    run->meter->clear();
    addProblems(watch.problems(), run);
    for (const std::string &sentence : watch.incomplete()) {
        tell(sentence);
        ++run->leftOut;
    }
}

} // namespace ztrace
