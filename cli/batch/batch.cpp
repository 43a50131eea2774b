// (c) the ztrace developers. Licence: see LICENSE.
#include "batch.h"

#include "agenda.h"
#include "crew.h"
#include "fingerprint.h"
#include "inputs.h"
#include "leases.h"
#include "meter.h"
#include "preview.h"
#include "results.h"
#include "summary.h"
#include "task.h"
#include "tracedline.h"
#include "watch.h"
#include "worker.h"

#include "cli/messages.h"
#include "cli/tracejob.h"

#include "drawing/json.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <memory>
#include <unordered_map>

#include <sched.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kMostAttempts = 2;          // the second one alone
const useconds_t kLeaseWait = 500000; // microseconds between looks for a part
const int kWatchWait = 1000;          // milliseconds between looks at folders

// Where --time-limit does not say it: a hundred times what large scans take, so that only a picture
// that hangs is given up.
const double kSecondsOfAPicture = 600.0;

volatile std::sig_atomic_t signalCount = 0;
volatile std::sig_atomic_t lastSignal = 0;

void noteSignal(int number)
{
    signalCount = signalCount + 1;
    lastSignal = number;
}

// The first signal ends the run when its pictures of the moment are finished, the next one at once.
void watchSignals()
{
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    for (int number : { SIGINT, SIGTERM, SIGHUP }) {
        struct sigaction old = {};
        sigaction(number, nullptr, &old);
        if (old.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
}

// As the shell is to see it.
void endBySignal()
{
    if (lastSignal == 0)
        return;
    std::fflush(nullptr);
    std::signal(lastSignal, SIG_DFL);
    std::raise(lastSignal);
}

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
        : line(commandLine), batch(line.settings.batch), fingerprint(fingerprintOf(line)),
          crew(greetingOf(argc, argv), fingerprint,
               line.settings.timeLimit.value_or(kSecondsOfAPicture))
    {
        useConfiguration(&line.settings, &line.given);
        jobs = batch.jobs > 0 ? batch.jobs : processors();
    }

    ExitCode run()
    {
        if (batch.out.empty())
            throw Failure(kWrongUsage, "batch: give the folder of the drawings (--out DIR)");
        agenda = collectAgenda(line);
        countPages();
        refuseClashes(agenda, batch.out);
        if (batch.dryRun)
            return tellPlan();
        makeFolder();
        ResultFile ownResults(resultsName(batch));
        results = &ownResults;
        Meter ownMeter(line.settings);
        meter = &ownMeter;
        try {
            traceEverything();
        } catch (const Failure &) {
            // What is finished is not to be done again; there may be room for so much.
            results->append(arrived);
            throw;
        }
        results->sync(true);
        ownMeter.clear();
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
        if (signalCount > 0)
            return signalCount > 1 ? 2 : 1;
        return batch.failFast && tally.failed > 0 ? 1 : 0;
    }

    // Pages are counted by workers: a file may be made to break its reader.
    void countPages()
    {
        std::vector<std::size_t> whole;
        for (std::size_t i = 0; i < agenda.items.size(); ++i) {
            if (agenda.items[i].page == 0)
                whole.push_back(i);
        }
        if (whole.empty())
            return;
        std::size_t at = 0;
        Duties duties;
        duties.next = [&](Job *job) {
            if (at == whole.size())
                return false;
            job->number = whole[at++];
            job->item = agenda.items[job->number];
            QJsonObject message;
            message.insert(QLatin1String("count"), true);
            message.insert(QLatin1String("path"), packed(job->item.path));
            job->message = jsonValue(message) + '\n';
            return true;
        };
        duties.answered = [&](const Job &job, char, const QByteArray &text) {
            agenda.items[job.number].pages = std::max(1, text.toInt());
        };
        duties.lost = [&](const Job &job, const Loss &) { agenda.items[job.number].pages = 1; };
        duties.afterRound = [] {};
        duties.stop = [this] { return signalCount > 0 ? 2 : 0; };
        crew.work(jobs, true, duties);
        spreadPages([](const Item &item) { return item.pages; }, &agenda);
    }

    ExitCode tellPlan()
    {
        for (const Item &item : agenda.items) {
            for (const std::string &output : agenda.outputsOf(item)) {
                const std::string page
                    = item.pages > 1 ? ", page " + std::to_string(item.page) : std::string();
                std::printf("%s%s -> %s/%s\n", item.path.c_str(), page.c_str(), batch.out.c_str(),
                            output.c_str());
            }
        }
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
        ledger = Ledger();
        const std::string own = resultsName(batch);
        for (const std::string &name : resultFilesIn(batch.out)) {
            if (name != own)
                ledger.read(name);
        }
        ledger.read(own);
    }

    void traceAll()
    {
        tally.all += agenda.items.size();
        std::size_t at = 0;
        Duties duties;
        duties.answered = [this](const Job &job, char letter, const QByteArray &text) {
            takeAnswer(job, letter, text);
        };
        duties.lost = [this](const Job &job, const Loss &loss) { takeLoss(job, loss); };
        duties.afterRound = [this] {
            deliver();
            meter->draw(tally);
            if (leases)
                leases->keep();
        };
        duties.stop = [this] { return stopWish(); };
        duties.next = [&](Job *job) {
            if (at == agenda.items.size())
                return false;
            *job = jobOf(agenda.items[at++], 1);
            return true;
        };
        crew.work(jobs, !batch.failFast, duties);
        // Those whose workers were lost, once more and alone, each with a worker of its own.
        duties.next = [this](Job *job) {
            crew.dismiss();
            if (again.empty())
                return false;
            *job = jobOf(again.front(), kMostAttempts);
            again.pop_front();
            return true;
        };
        crew.work(1, false, duties);
        deliver();
    }

    // Part after part, beside other runs.
    void traceParts()
    {
        Leases own(batch.out, batch.leases);
        const std::vector<Item> all = std::move(agenda.items);
        while (stopWish() == 0) {
            bool othersWork = false;
            const int part = own.take(&othersWork);
            if (part == 0 && !othersWork)
                break;
            if (part == 0) {
                ::usleep(kLeaseWait);
                continue;
            }
            agenda.items.clear();
            for (const Item &item : all) {
                if (chunkOf(item.path, batch.leases) == part)
                    agenda.items.push_back(item);
            }
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
        while (signalCount == 0 && stopWish() == 0) {
            watch.wait(kWatchWait);
            std::vector<std::string> problems;
            agenda.items = watch.takeComplete(&problems);
            for (const std::string &problem : problems)
                tell(problem);
            if (agenda.items.empty())
                continue;
            for (Item &item : agenda.items) {
                item.page = line.settings.page;
                item.ranges = line.settings.pages;
            }
            countPages();
            leaveOutClashes(&owners);
            readLedger();
            traceAll();
            meter->draw(tally);
        }
    }

    // A picture that comes later has no right to another one's drawing.
    void leaveOutClashes(std::unordered_map<std::string, std::string> *owners)
    {
        std::vector<Item> good;
        for (Item &item : agenda.items) {
            const std::string drawing = agenda.outputsOf(item).front();
            const auto owner = owners->insert({ drawing, item.path }).first;
            if (owner->second == item.path) {
                good.push_back(std::move(item));
                continue;
            }
            tell(item.path + ": is left out, " + drawing + " is the drawing of " + owner->second
                 + " (see --names)");
            ++leftOut;
        }
        agenda.items = std::move(good);
    }

    Job jobOf(const Item &item, int attempt) const
    {
        Task task;
        task.item = item;
        task.outputs = agenda.outputsOf(item);
        task.before = ledger.lineOf(item.path, item.page);
        task.preview = batch.report.empty() ? 0 : previewSide(agenda.items.size());
        task.retry = batch.retryFailed;
        task.attempt = attempt;
        return { item, 0, attempt, lineOfTask(task) };
    }

    std::string nameOf(const Item &item) const
    {
        return item.pages > 1 ? item.path + ", page " + std::to_string(item.page) : item.path;
    }

    void takeAnswer(const Job &job, char letter, const QByteArray &text)
    {
        const Item &item = job.item;
        if (letter == kSkipped) {
            const bool wasDone = text == kDone;
            ++(wasDone ? tally.finished : tally.failed);
            if (!wasDone)
                ++failedBefore;
            return;
        }
        if (letter == kLineOfMemory && job.attempt < kMostAttempts) {
            again.push_back(job.item);
            return;
        }
        arrived += text + '\n';
        if (letter == kLineOfDone) {
            ++tally.done;
            meter->line(tally, "done " + nameOf(item), false);
            return;
        }
        const QJsonObject result = QJsonDocument::fromJson(text).object();
        const bool done = isDone(result);
        ++(done ? tally.done : tally.failed);
        const QJsonArray flags = result.value(QLatin1String("flags")).toArray();
        tally.flagged += !flags.isEmpty();
        if (!done) {
            const std::string error = result.value(QLatin1String("error")).toString().toStdString();
            const bool isNamed = error.compare(0, item.path.size(), item.path) == 0;
            meter->line(tally, isNamed && item.pages == 1 ? error : nameOf(item) + ": " + error,
                        true);
            return;
        }
        std::string note = "done " + nameOf(item);
        for (const QJsonValue &flag : flags)
            note += (flag == flags.first() ? " (look at it: " : ", ")
                + flag.toString().toStdString();
        meter->line(tally, flags.isEmpty() ? note : note + ")", false);
    }

    void takeLoss(const Job &job, const Loss &loss)
    {
        if (stopWish() == 2)
            return;
        if (job.attempt < kMostAttempts) {
            again.push_back(job.item);
            return;
        }
        const Item &item = job.item;
        QJsonObject result;
        beginLine(item, fingerprintOf(fingerprint, item.settings), job.attempt, &result);
        if (!loss.sha256.empty())
            result.insert(QLatin1String("sha256"), QString::fromStdString(loss.sha256));
        result.insert(QLatin1String("outcome"), QLatin1String(loss.outcome));
        result.insert(QLatin1String("code"), int(kFailed));
        result.insert(QLatin1String("error"),
                      QString::fromUtf8((item.path + ": " + loss.reason).c_str()));
        // What an earlier run has finished was only to be looked at: its line stays.
        const QByteArray before = ledger.lineOf(item.path, item.page);
        if (!isDone(QJsonDocument::fromJson(before).object()))
            arrived += lineText(result) + '\n';
        ++tally.failed;
        meter->line(tally, nameOf(item) + ": " + loss.reason, true);
    }

    // All lines of a round at once: waiting for the disk is what costs.
    void deliver()
    {
        if (!arrived.isEmpty())
            results->append(arrived);
        arrived.clear();
        results->sync(false);
    }

    ExitCode conclude()
    {
        const std::size_t open = tally.all - tally.past();
        if (!line.settings.quiet) {
            std::string text = std::to_string(tally.done) + " done";
            const auto add = [&text](std::size_t number, const char *what) {
                if (number > 0)
                    text += ", " + std::to_string(number) + what;
            };
            add(tally.finished, " finished before");
            add(tally.failed, " failed");
            add(tally.flagged, " to be looked at");
            add(open, " left (start again to go on)");
            tell(text + "; results in " + resultsName(batch));
            if (failedBefore > 0)
                tell(std::to_string(failedBefore)
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
        if (batch.watch.empty())
            endBySignal();
        errno = 0;
        requireArrival(stdout);
        return tally.failed == 0 && open == 0 && leftOut == 0 && agenda.problems.empty() ? kSuccess
                                                                                         : kFailed;
    }

    CommandLine line;
    const BatchSettings &batch;
    QByteArray fingerprint;
    Crew crew;
    int jobs = 1;
    Agenda agenda;
    Ledger ledger;
    ResultFile *results = nullptr;
    Meter *meter = nullptr;
    Tally tally;
    Leases *leases = nullptr; // while a part is worked on
    std::size_t failedBefore = 0;
    std::size_t leftOut = 0;
    std::deque<Item> again;
    QByteArray arrived; // lines that are not written yet
};

} // namespace

ExitCode runBatch(const CommandLine &line, int argc, char **argv)
{
    watchSignals();
    return BatchRun(line, argc, argv).run();
}

} // namespace ztrace
