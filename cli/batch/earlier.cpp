// (c) the ztrace developers. Licence: see LICENSE.
#include "earlier.h"

#include "fingerprint.h"
#include "results.h"
#include "version.h"

#include "cli/failure.h"
#include "cli/source.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace ztrace {

namespace {

std::string textIn(const QJsonObject &line, const char *name)
{
    return line.value(QLatin1String(name)).toString().toStdString();
}

bool isOfNow(const QJsonObject &line, const Conditions &now)
{
    if (line.isEmpty() || textIn(line, "version") != programVersion()
        || textIn(line, "settings") != now.settings.toStdString())
        return false;
    if (now.sha256.empty() && isDone(line))
        return true;
    // Other limits may give another drawing only where these had a part in it.
    const QLatin1String limits(kLimits);
    return textIn(line, "sha256") == now.sha256
        && (!line.contains(limits) || line.value(limits).toObject() == now.limits);
}

// Of a picture that failed: whether this run may do better. A damaged line says nothing.
bool isWorthATry(const QJsonObject &before, const Conditions &now)
{
    const std::string outcome = textIn(before, "outcome");
    const bool isKnown = outcome == kOutcomeFailed || outcome == kOutcomeDied
        || outcome == kOutcomeTime || outcome == kOutcomeMemory;
    const double limit = before.value(QLatin1String(kLimit)).toDouble();
    const double limitNow = outcome == kOutcomeTime ? now.seconds : now.memory;
    return !isKnown || before.value(QLatin1String(kAgain)).toBool()
        || (limit > 0.0 && (limitNow == 0.0 || limitNow > limit));
}

// In whatever order; the line may have more of them.
bool hasOutputs(const QJsonObject &line, const std::vector<std::string> &names,
                const std::string &out)
{
    const QJsonArray outputs = line.value(QLatin1String("outputs")).toArray();
    return std::all_of(names.begin(), names.end(), [&](const std::string &name) {
        return std::any_of(outputs.begin(), outputs.end(), [&](const QJsonValue &value) {
            const QJsonObject output = value.toObject();
            return nameIn(output, "file") == name
                && textIn(output, "sha256") == shaOfFile(out + '/' + name);
        });
    });
}

QJsonObject objectIn(const QByteArray &line)
{
    return QJsonDocument::fromJson(line).object();
}

// With these pages, whatever their parts are.
bool isBookFinished(const QJsonObject &line, const std::string &pages,
                    const std::vector<std::string> &names, const Conditions &now)
{
    return isOfNow(line, now) && isDone(line) && textIn(line, "pages") == pages
        && hasOutputs(line, names, now.out);
}

// Parts go when the book is there with all pages.
bool isPartThere(const Task &task, const QJsonObject &line, const Conditions &now)
{
    const std::string part = textIn(line, "part");
    if (part.empty())
        return false;
    if (part == shaOfFile(now.out + '/' + task.part))
        return true;
    const QList<QByteArray> books = task.bookBefore.split('\n');
    return std::any_of(books.begin(), books.end(), [&](const QByteArray &book) {
        const QJsonObject before = objectIn(book);
        const QString number = QString::number(task.item.page);
        return textIn(before.value(QLatin1String(kParts)).toObject(), number.toLatin1()) == part
            && isBookFinished(before, task.pages, task.books, now);
    });
}

bool isOfThisPicture(const QJsonObject &line, const Conditions &now)
{
    return isOfNow(line, now) && (now.sha256.empty() || textIn(line, "worldFile") == now.worldSha);
}

bool isDrawn(const Task &task, const QJsonObject &line, const Conditions &now)
{
    if (task.item.kind == ItemKind::Book)
        return line.value(QLatin1String(kParts)).toObject() == task.parts
            && isBookFinished(line, task.pages, task.outputs, now);
    return isOfThisPicture(line, now) && isDone(line) && hasOutputs(line, task.outputs, now.out)
        && (task.part.empty() || isPartThere(task, line, now));
}

} // namespace

std::string shaOfFile(const std::string &fileName)
{
    try {
        return sha256Of(contentsOf(fileName, SourceLimits())).toStdString();
    } catch (const Failure &) {
        return std::string();
    }
}

QByteArray finishedBefore(const Task &task, const Conditions &now)
{
    const QList<QByteArray> lines = task.before.split('\n');
    for (const QByteArray &line : lines) {
        if (isDrawn(task, objectIn(line), now))
            return line;
    }
    if (task.retry || task.item.kind == ItemKind::Book)
        return QByteArray();
    for (const QByteArray &line : lines) {
        const QJsonObject before = objectIn(line);
        if (isOfThisPicture(before, now))
            return isDone(before) || isWorthATry(before, now) ? QByteArray() : line;
    }
    return QByteArray();
}

} // namespace ztrace
