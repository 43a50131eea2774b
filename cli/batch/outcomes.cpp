// (c) the ztrace developers. Licence: see LICENSE.
#include "outcomes.h"

#include "fingerprint.h"
#include "tracedline.h"
#include "worker.h"

#include "cli/values.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace ztrace {

namespace {

const std::size_t kMostNamed = 20; // failures of earlier runs

std::string nameOf(const Item &item)
{
    const std::string name = shortened(item.path, kLongestName);
    if (item.kind == ItemKind::Book)
        return name + ", its pages in one file";
    return item.pages > 1 ? name + ", page " + std::to_string(item.page) : name;
}

// What is said of a picture that is named already.
std::string withoutName(const std::string &text, const Item &item)
{
    const std::string name = shortened(item.path, kLongestName) + ": ";
    return text.compare(0, name.size(), name) == 0 ? text.substr(name.size()) : text;
}

} // namespace

Outcomes::Outcomes(const QByteArray &fingerprintOfAll, const Ledger *theLedger,
                   ResultFile *theResults, Meter *theMeter)
    : fingerprint(fingerprintOfAll), ledger(theLedger), results(theResults), meter(theMeter)
{ }

Verdict Outcomes::takeAnswer(const Job &job, char letter, const QByteArray &text)
{
    const Item &item = job.item;
    if (letter == kSkipped)
        return takeSkipped(item, text);
    if (letter == kLineOfMemory && job.attempt < kMostAttempts) {
        again.push_back(job.item);
        return Verdict::Later;
    }
    arrived += text + '\n';
    if (letter == kLineOfDone && item.kind != ItemKind::Book) {
        ++tally.done;
        meter->line(tally, "done " + nameOf(item), false);
        return Verdict::Good;
    }
    const QJsonObject result = QJsonDocument::fromJson(text).object();
    if (!isDone(result))
        return takeFailure(item, result.value(QLatin1String("error")).toString().toStdString());
    if (item.kind == ItemKind::Book)
        return takeBook(item, result);
    takeDone(item, result);
    return Verdict::Good;
}

Verdict Outcomes::takeSkipped(const Item &item, const QByteArray &text)
{
    const QJsonObject said = QJsonDocument::fromJson(text).object();
    const bool wasDone = isDone(said);
    const std::string unreadable = unpacked(said.value(QLatin1String(kUnreadable)));
    if (wasDone && !unreadable.empty() && item.kind != ItemKind::Book) {
        ++tally.warned;
        meter->line(tally,
                    nameOf(item) + ": finished before, and not there any more ("
                        + withoutName(unreadable, item) + ")",
                    true);
    }
    if (item.kind == ItemKind::Book)
        return Verdict::Good; // of those only what is done is skipped
    ++(wasDone ? tally.finished : tally.failed);
    if (!wasDone && ++failedBefore <= kMostNamed)
        failed.push_back(item);
    return wasDone ? Verdict::Good : Verdict::Bad;
}

Verdict Outcomes::takeBook(const Item &item, const QJsonObject &result)
{
    ++tally.books;
    const std::string missing = result.value(QLatin1String("missing")).toString().toStdString();
    meter->line(tally, "done " + nameOf(item) + (missing.empty() ? "" : ", without " + missing),
                false);
    return Verdict::Good;
}

Verdict Outcomes::takeFailure(const Item &item, const std::string &error)
{
    ++(item.kind == ItemKind::Book ? tally.failedBooks : tally.failed);
    const bool isNamed = withoutName(error, item) != error;
    meter->line(tally,
                isNamed && item.pages <= 1 ? error : nameOf(item) + ": " + withoutName(error, item),
                true);
    return Verdict::Bad;
}

void Outcomes::takeDone(const Item &item, const QJsonObject &result)
{
    ++tally.done;
    const QJsonArray flags = result.value(QLatin1String("flags")).toArray();
    tally.flagged += !flags.isEmpty();
    std::string note = "done " + nameOf(item);
    for (const QJsonValue &flag : flags)
        note += (flag == flags.first() ? " (look at it: " : ", ") + flag.toString().toStdString();
    note += flags.isEmpty() ? "" : ")";
    const QJsonArray warnings = result.value(QLatin1String("warnings")).toArray();
    tally.warned += !warnings.isEmpty();
    for (const QJsonValue &warning : warnings)
        note += "; " + withoutName(warning.toString().toStdString(), item);
    meter->line(tally, note, false);
}

Verdict Outcomes::takeLoss(const Job &job, const Loss &loss)
{
    if (job.attempt < kMostAttempts) {
        again.push_back(job.item);
        return Verdict::Later;
    }
    const Item &item = job.item;
    QJsonObject result;
    beginLine(item, fingerprintOf(fingerprint, item.settings), job.attempt, &result);
    if (!loss.sha256.empty())
        result.insert(QLatin1String("sha256"), QString::fromStdString(loss.sha256));
    result.insert(QLatin1String("outcome"), QLatin1String(loss.outcome));
    if (loss.limit > 0.0)
        result.insert(QLatin1String(kLimit), loss.limit);
    result.insert(QLatin1String("code"), int(kFailed));
    result.insert(QLatin1String("error"),
                  QString::fromUtf8((item.path + ": " + loss.reason).c_str()));
    // What an earlier run has finished was only to be looked at: its line stays, unless it is of
    // another picture or of other settings.
    const QByteArray before = ledger->lineOf(item.path, item.page);
    const QJsonObject done = QJsonDocument::fromJson(before).object();
    const auto isAsBefore = [&](const char *name) {
        const QLatin1String key(name);
        return !result.contains(key) || result.value(key) == done.value(key);
    };
    if (!isDone(done) || !isAsBefore("settings") || !isAsBefore("sha256"))
        arrived += lineText(result) + '\n';
    return takeFailure(item, loss.reason);
}

void Outcomes::deliver()
{
    if (!arrived.isEmpty())
        results->append(arrived);
    arrived.clear();
    results->sync(false);
}

bool Outcomes::takeAgain(Item *item)
{
    if (again.empty())
        return false;
    *item = std::move(again.front());
    again.pop_front();
    return true;
}

} // namespace ztrace
