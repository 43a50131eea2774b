// (c) the ztrace developers. Licence: see LICENSE.
#include "batchrun.h"

#include "fingerprint.h"
#include "leases.h"
#include "limits.h"
#include "pagecount.h"
#include "preview.h"
#include "stopsignals.h"
#include "summary.h"
#include "task.h"
#include "worker.h"

#include "cli/messages.h"
#include "cli/tracejob.h"

#include "drawing/json.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

#include <sched.h>

namespace ztrace {

namespace {

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

} // namespace

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

BatchRun::BatchRun(const CommandLine &commandLine, int argc, char **argv)
    : line(configured(commandLine)), batch(line.settings.batch),
      fingerprint(fingerprintOf(commandLine)),
      crew(greetingOf(argc, argv), fingerprint, secondsAPicture(line.settings), batch.memoryLimit)
{
    jobs = batch.jobs > 0 ? batch.jobs : processors();
}

void BatchRun::collect()
{
    agenda = collectAgenda(line);
    countPages();
}

void BatchRun::countPages()
{
    ztrace::countPages(&crew, jobs, &agenda);
    if (!line.settings.quiet) {
        for (const std::string &note : agenda.notes)
            tell(note);
    }
    agenda.notes.clear();
}

void BatchRun::readLedger()
{
    keyOfBook.clear();
    for (const std::string &name : resultFilesIn(batch.out))
        ledger.read(name);
    if (!batch.results.empty())
        ledger.read(batch.results);
}

int BatchRun::stopWish() const
{
    if (signalsSoFar() > 0)
        return signalsSoFar() > 1 ? 2 : 1;
    const Tally &tally = outcomes->soFar();
    return batch.failFast && tally.failed + tally.failedBooks > 0 ? 1 : 0;
}

Duties BatchRun::usualDuties(const std::function<void()> &everyRound)
{
    Duties duties;
    duties.answered = [this](const Job &job, char letter, const QByteArray &text) {
        const Verdict verdict = outcomes->takeAnswer(job, letter, text);
        const bool hasPart = job.item.kind == ItemKind::Page && verdict == Verdict::Good;
        pass(job.item, verdict,
             hasPart ? partIn(QJsonDocument::fromJson(text).object()) : PagePart());
    };
    duties.lost = [this](const Job &job, const Loss &loss) {
        if (stopWish() < 2)
            pass(job.item, outcomes->takeLoss(job, loss), PagePart());
    };
    duties.afterRound = [this, everyRound] {
        deliver();
        outcomes->draw();
        everyRound();
    };
    duties.fewer = [this](const std::string &text) {
        meter->clear();
        tell(text);
    };
    duties.stop = [this] { return std::max(stopWish(), isTakenAway ? 1 : 0); };
    return duties;
}

void BatchRun::traceAll(const std::function<void()> &everyRound)
{
    ItemList::Reader pictures(agenda.items);
    Duties duties = usualDuties(everyRound);
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

void BatchRun::forget()
{
    Item item;
    while (outcomes->takeAgain(&item)) { }
    crew.forget();
    books = Books();
}

// Books are put together when their pages are past.
bool BatchRun::nextPicture(ItemList::Reader *pictures, Item *item)
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

void BatchRun::pass(const Item &item, Verdict verdict, const PagePart &part)
{
    if (verdict == Verdict::Later)
        return;
    if (item.kind == ItemKind::Page && verdict == Verdict::Good)
        books.pass(item, part);
    else if (item.kind == ItemKind::Page)
        books.passWithout(item);
    else if (item.kind == ItemKind::Book)
        books.finish(item, verdict == Verdict::Good);
}

// Parts go after the line of their book is there.
void BatchRun::deliver()
{
    outcomes->deliver();
    books.removeParts(batch.out);
}

// Its book's lines of earlier runs, with the part of this page alone: of all pages together they
// would have as many bytes as the square of their number. Pages of a file come one after the other.
QByteArray BatchRun::bookLinesFor(const Item &page, const QByteArray &settings)
{
    const std::string key = page.path + '\0' + settings.toStdString();
    if (key != keyOfBook) {
        keyOfBook = key;
        linesOfBook.clear();
        for (const QByteArray &text : ledger.linesOf(page.path, 0, settings).split('\n'))
            linesOfBook.push_back(QJsonDocument::fromJson(text).object());
    }
    const QLatin1String name(kParts);
    const QString number = QString::number(page.page);
    QByteArray lines;
    for (QJsonObject before : linesOfBook) {
        const QJsonValue part = before.value(name).toObject().value(number);
        before.insert(name, QJsonObject { { number, part } });
        lines += (lines.isEmpty() ? "" : "\n") + jsonValue(before);
    }
    return lines;
}

Job BatchRun::jobOf(const Item &item, int attempt)
{
    Task task;
    task.item = item;
    task.outputs = agenda.outputsOf(item);
    const QByteArray settings = fingerprintOf(fingerprint, item.settings);
    task.before = ledger.linesOf(item.path, item.page, settings);
    // A report has the pictures of earlier runs too.
    const std::size_t shown = std::max(outcomes->soFar().all, ledger.size());
    task.preview = batch.report.empty() ? 0 : previewSide(shown);
    task.retry = batch.retryFailed;
    task.attempt = attempt;
    if (item.kind == ItemKind::Page) {
        task.part = partName(item.path, item.page);
        task.books = agenda.outputsOf(Agenda::bookOf(item));
        task.bookBefore = bookLinesFor(item, settings);
        task.pages = books.askedOf(item);
    } else if (item.kind == ItemKind::Book) {
        task.pages = books.tracedOf(item);
        task.missing = books.missingOf(item);
        task.parts = books.partsOf(item);
        task.source = books.sourceOf(item);
        task.isLimited = books.isLimited(item);
    }
    return { item, 0, attempt, lineOfTask(task) };
}

} // namespace ztrace
