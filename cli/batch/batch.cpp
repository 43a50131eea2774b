// (c) the ztrace developers. Licence: see LICENSE.
#include "batch.h"

#include "agenda.h"
#include "books.h"
#include "clashes.h"
#include "crew.h"
#include "fingerprint.h"
#include "inputs.h"
#include "leases.h"
#include "limits.h"
#include "meter.h"
#include "outcomes.h"
#include "preview.h"
#include "results.h"
#include "sidefiles.h"
#include "stopsignals.h"
#include "summary.h"
#include "task.h"
#include "watch.h"
#include "worker.h"

#include "cli/messages.h"
#include "cli/pages.h"
#include "cli/tracejob.h"

#include "drawing/json.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <unordered_map>

#include <sched.h>
#include <unistd.h>

namespace ztrace {

namespace {

const useconds_t kLeaseWait = 500000; // microseconds between looks for a part
const int kWatchWait = 1000;          // milliseconds between looks at folders

int processors()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    return sched_getaffinity(0, sizeof set, &set) == 0 ? std::max(1, CPU_COUNT(&set)) : 1;
}

QByteArray greetingOf(int argc, char **argv)
{
    QJsonArray words;
    for (int i = 0; i < argc; ++i)
        words.append(packed(argv[i]));
    QJsonObject greeting;
    greeting.insert(QLatin1String("words"), words);
    return jsonValue(greeting) + '\n';
}

CommandLine configured(CommandLine line)
{
    useConfiguration(&line.settings, &line.given);
    return line;
}

std::string resultsName(const BatchSettings &batch)
{
    if (!batch.results.empty())
        return batch.results;
    if (batch.leases > 0)
        return batch.out + "/ztrace-results-" + Leases::owner() + ".jsonl";
    const std::string part = batch.chunks == 1
        ? ""
        : "-" + std::to_string(batch.chunk) + "-of-" + std::to_string(batch.chunks);
    return batch.out + "/ztrace-results" + part + ".jsonl";
}

class BatchRun
{
public:
    BatchRun(const CommandLine &commandLine, int argc, char **argv)
        : line(configured(commandLine)), batch(line.settings.batch),
          fingerprint(fingerprintOf(commandLine)),
          crew(greetingOf(argc, argv), fingerprint, secondsAPicture(line.settings))
    {
        jobs = batch.jobs > 0 ? batch.jobs : processors();
    }

    ExitCode run()
    {
        if (batch.out.empty())
            throw Failure(kWrongUsage, "batch: give the folder of the drawings (--out DIR)");
        agenda = collectAgenda(line);
        countPages();
        refuseClashes(agenda, batch.out);
        refuseSideFiles(line.settings, resultsName(batch), agenda);
        if (batch.dryRun)
            return tellPlan();
        makeFolder();
        requireSideFolders(line.settings);
        ResultFile results(resultsName(batch));
        Meter meter(line.settings);
        Outcomes own(fingerprint, &ledger, &results, &meter);
        outcomes = &own;
        try {
            traceEverything();
        } catch (const Failure &) {
            // What is finished is not to be done again; there may be room for so much.
            own.deliver();
            throw;
        }
        results.sync(true);
        meter.clear();
        return conclude();
    }

private:
    void traceEverything()
    {
        if (batch.leases > 0) {
            traceParts();
        } else {
            readLedger();
            traceAll();
        }
        if (!batch.watch.empty() && stopWish() == 0)
            traceWhatComes();
    }

    int stopWish() const
    {
        if (signalsSoFar() > 0)
            return signalsSoFar() > 1 ? 2 : 1;
        const Tally &tally = outcomes->soFar();
        return batch.failFast && tally.failed + tally.failedBooks > 0 ? 1 : 0;
    }

    // Pages are counted by workers: a file may be made to break its reader. Files whose workers
    // were lost get a second one.
    void countPages()
    {
        ItemList::Reader files(agenda.items);
        SpoolArray<int> pages; // of files that are taken whole; 0: could not be counted
        std::deque<Job> again;
        Duties duties;
        duties.next = [&](Job *job) {
            do {
                if (!files.next(&job->item))
                    return false;
            } while (job->item.page != 0);
            job->number = pages.size();
            job->attempt = 1;
            pages.add(0);
            QJsonObject message;
            message.insert(QLatin1String("count"), true);
            message.insert(QLatin1String("path"), packed(job->item.path));
            job->message = jsonValue(message) + '\n';
            return true;
        };
        duties.answered = [&](const Job &job, char, const QByteArray &text) {
            pages.begin()[job.number] = text.toInt();
        };
        duties.lost = [&](const Job &job, const Loss &) {
            if (job.attempt < kMostAttempts)
                again.push_back(job);
        };
        duties.afterRound = [] {};
        duties.stop = [] { return signalsSoFar() > 0 ? 2 : 0; };
        crew.work(jobs, true, duties);
        duties.next = [&](Job *job) {
            if (again.empty())
                return false;
            crew.dismiss();
            *job = std::move(again.front());
            again.pop_front();
            job->attempt = kMostAttempts;
            return true;
        };
        crew.work(1, false, duties);
        if (pages.size() > 0)
            spreadPages(pages, &agenda);
    }

    ExitCode tellPlan()
    {
        agenda.items.forEach([this](const Item &item) {
            std::string page;
            if (item.kind == ItemKind::Book)
                page = ", pages " + rangesText(pagesWithin(item.ranges, item.pages));
            else if (item.pages > 1)
                page = ", page " + std::to_string(item.page);
            for (const std::string &output : agenda.outputsOf(item))
                std::printf("%s%s -> %s/%s\n", item.path.c_str(), page.c_str(), batch.out.c_str(),
                            output.c_str());
        });
        errno = 0;
        requireArrival(stdout);
        return agenda.problems.empty() ? kSuccess : kFailed;
    }

    void makeFolder()
    {
        errno = 0;
        if (!QDir().mkpath(QFile::decodeName(batch.out.c_str())))
            throw Failure(kOutputNotWritable,
                          batch.out + ": " + std::strerror(errno != 0 ? errno : ENOTDIR));
    }

    // What all runs into this folder have finished; the own lines come last and win.
    void readLedger()
    {
        ledger.clear();
        const std::string own = resultsName(batch);
        for (const std::string &name : resultFilesIn(batch.out)) {
            if (name != own)
                ledger.read(name);
        }
        ledger.read(own);
    }

    void traceAll()
    {
        outcomes->expect(agenda.items.pictures());
        ItemList::Reader pictures(agenda.items);
        Duties duties;
        duties.answered = [this](const Job &job, char letter, const QByteArray &text) {
            pass(job.item, outcomes->takeAnswer(job, letter, text));
        };
        duties.lost = [this](const Job &job, const Loss &loss) {
            if (stopWish() < 2)
                pass(job.item, outcomes->takeLoss(job, loss));
        };
        duties.afterRound = [this] {
            deliver();
            outcomes->draw();
            if (leases)
                leases->keep();
        };
        duties.stop = [this] { return stopWish(); };
        Item item;
        duties.next = [&](Job *job) {
            if (!books.takeReady(&item) && !nextPicture(&pictures, &item))
                return false;
            *job = jobOf(item, 1);
            return true;
        };
        crew.work(jobs, !batch.failFast, duties);
        // Those whose workers were lost, once more and alone, each with a worker of its own.
        duties.next = [&](Job *job) {
            crew.dismiss();
            const bool isAgain = outcomes->takeAgain(&item);
            if (!isAgain && !books.takeReady(&item))
                return false;
            *job = jobOf(item, isAgain ? kMostAttempts : 1);
            return true;
        };
        crew.work(1, false, duties);
        deliver();
    }

    // Books are put together when their pages are past.
    bool nextPicture(ItemList::Reader *pictures, Item *item)
    {
        while (pictures->next(item)) {
            if (item->kind == ItemKind::Page)
                books.begin(*item);
            if (item->kind != ItemKind::Book)
                return true;
            books.close(*item);
            if (books.takeReady(item))
                return true;
        }
        return false;
    }

    void pass(const Item &item, Verdict verdict)
    {
        if (verdict == Verdict::Later)
            return;
        if (item.kind == ItemKind::Page)
            books.pass(item, verdict == Verdict::Good);
        else if (item.kind == ItemKind::Book)
            books.finish(item, verdict == Verdict::Good);
    }

    // Parts go after the line of their book is there.
    void deliver()
    {
        outcomes->deliver();
        books.removeParts(batch.out);
    }

    // Part after part, beside other runs.
    void traceParts()
    {
        Leases own(batch.out, batch.leases);
        const ItemList all = std::move(agenda.items);
        while (stopWish() == 0) {
            bool othersWork = false;
            const int part = own.take(&othersWork);
            if (part == 0 && !othersWork)
                break;
            if (part == 0) {
                ::usleep(kLeaseWait);
                continue;
            }
            agenda.items = ItemList();
            all.forEach([&](const Item &item) {
                if (chunkOf(item.path, batch.leases) == part)
                    agenda.items.add(item);
            });
            readLedger();
            leases = &own;
            traceAll();
            leases = nullptr;
            if (stopWish() != 0)
                own.giveBack();
            else
                own.finish();
        }
    }

    // Until a signal, which is the usual end here.
    void traceWhatComes()
    {
        const Walk walk = { batch.recursive, batch.patterns, batch.out };
        Watch watch(batch.watch, walk);
        std::unordered_map<std::string, std::string> owners; // of drawings
        while (signalsSoFar() == 0 && stopWish() == 0) {
            watch.wait(kWatchWait);
            std::vector<std::string> problems;
            const std::vector<Item> complete = watch.takeComplete(&problems);
            for (const std::string &problem : problems)
                tell(problem);
            if (complete.empty())
                continue;
            agenda.items = ItemList();
            for (Item item : complete) {
                item.page = line.settings.page;
                item.ranges = line.settings.pages;
                agenda.items.add(item);
            }
            countPages();
            leaveOutClashes(&owners);
            readLedger();
            traceAll();
            outcomes->draw();
        }
    }

    // A picture that comes later has no right to another one's drawing.
    void leaveOutClashes(std::unordered_map<std::string, std::string> *owners)
    {
        ItemList good;
        agenda.items.forEach([&](const Item &item) {
            std::vector<std::string> drawings = agenda.outputsOf(item);
            if (item.kind == ItemKind::Page)
                drawings.push_back(agenda.outputsOf(Agenda::bookOf(item)).front());
            for (const std::string &drawing : drawings) {
                const auto owner = owners->insert({ drawing, item.path }).first;
                if (owner->second == item.path)
                    continue;
                if (item.kind != ItemKind::Book) {
                    tell(item.path + ": is left out, " + drawing + " is the drawing of "
                         + owner->second + " (see --names)");
                    ++leftOut;
                }
                return;
            }
            good.add(item);
        });
        agenda.items = std::move(good);
    }

    Job jobOf(const Item &item, int attempt) const
    {
        Task task;
        task.item = item;
        task.outputs = agenda.outputsOf(item);
        task.before = ledger.lineOf(item.path, item.page);
        task.preview = batch.report.empty() ? 0 : previewSide(agenda.items.pictures());
        task.retry = batch.retryFailed;
        task.attempt = attempt;
        if (item.kind == ItemKind::Page) {
            task.part = partName(item.path, item.page);
            task.books = agenda.outputsOf(Agenda::bookOf(item));
            task.bookBefore = ledger.lineOf(item.path, 0);
            task.pages = books.askedOf(item);
        } else if (item.kind == ItemKind::Book) {
            task.pages = books.tracedOf(item);
            task.missing = books.missingOf(item);
        }
        return { item, 0, attempt, lineOfTask(task) };
    }

    ExitCode conclude()
    {
        const Tally &tally = outcomes->soFar();
        const std::size_t open = tally.all - tally.past() + books.open();
        if (line.settings.quiet && open > 0)
            tell(std::to_string(open) + " left (start again to go on)");
        if (!line.settings.quiet) {
            std::string text = std::to_string(tally.done) + " done";
            const auto add = [&text](std::size_t number, const char *what) {
                if (number > 0)
                    text += ", " + std::to_string(number) + what;
            };
            add(tally.finished, " finished before");
            add(tally.books, tally.books == 1 ? " file of all its pages" : " files of all pages");
            add(tally.failed + tally.failedBooks, " failed");
            add(tally.flagged, " to be looked at");
            add(tally.warned, " with warnings");
            add(open, " left (start again to go on)");
            tell(text + "; results in " + resultsName(batch));
        }
        // These no line has told.
        if (outcomes->failedInEarlierRuns() > 0) {
            tell(std::to_string(outcomes->failedInEarlierRuns())
                 + " of the failures are of earlier runs (see --retry failed)");
        }
        if (!batch.report.empty() || !batch.csv.empty() || !batch.premis.empty()) {
            Ledger now;
            for (const std::string &name : resultFilesIn(batch.out))
                now.read(name);
            if (!batch.results.empty())
                now.read(batch.results);
            writeSummaries(now, line.settings);
        }
        if (batch.chunks == 1 && batch.leases == 0 && batch.results.empty())
            removeFolderOfParts(batch.out); // no other run writes there
        if (batch.watch.empty())
            endBySignal();
        errno = 0;
        requireArrival(stdout);
        const bool isGood = tally.failed + tally.failedBooks + open + leftOut == 0;
        return isGood && agenda.problems.empty() ? kSuccess : kFailed;
    }

    CommandLine line;
    const BatchSettings &batch;
    QByteArray fingerprint;
    Crew crew;
    int jobs = 1;
    Agenda agenda;
    Books books;
    Ledger ledger;
    Outcomes *outcomes = nullptr;
    Leases *leases = nullptr; // while a part is worked on
    std::size_t leftOut = 0;
};

} // namespace

ExitCode runBatch(const CommandLine &line, int argc, char **argv)
{
    watchSignals();
    return BatchRun(line, argc, argv).run();
}

} // namespace ztrace
