// (c) the ztrace developers. Licence: see LICENSE.
#include "task.h"

#include "worker.h"

#include "drawing/json.h"

#include <QJsonArray>

namespace ztrace {

namespace {

std::vector<Said> saidIn(const QJsonValue &value)
{
    std::vector<Said> said;
    for (const QJsonValue &pair : value.toArray())
        said.push_back({ unpacked(pair.toArray().at(0)), unpacked(pair.toArray().at(1)) });
    return said;
}

QJsonArray packedAll(const std::vector<std::string> &names)
{
    QJsonArray packedNames;
    for (const std::string &name : names)
        packedNames.append(packed(name));
    return packedNames;
}

std::vector<std::string> unpackedAll(const QJsonValue &value)
{
    std::vector<std::string> names;
    for (const QJsonValue &name : value.toArray())
        names.push_back(unpacked(name));
    return names;
}

void insertBook(const Task &task, QJsonObject *message)
{
    message->insert(QLatin1String("kind"), int(task.item.kind));
    message->insert(QLatin1String("part"), packed(task.part));
    message->insert(QLatin1String("books"), packedAll(task.books));
    message->insert(QLatin1String("bookBefore"), QString::fromUtf8(task.bookBefore));
    message->insert(QLatin1String("ofPages"), packed(task.pages));
    message->insert(QLatin1String("missing"), packed(task.missing));
    message->insert(QLatin1String("parts"), task.parts);
    message->insert(QLatin1String("source"), packed(task.source));
    message->insert(QLatin1String("isLimited"), task.isLimited);
}

void takeBook(const QJsonObject &message, Task *task)
{
    task->item.kind = static_cast<ItemKind>(message.value(QLatin1String("kind")).toInt());
    task->part = unpacked(message.value(QLatin1String("part")));
    task->books = unpackedAll(message.value(QLatin1String("books")));
    task->bookBefore = message.value(QLatin1String("bookBefore")).toString().toUtf8();
    task->pages = unpacked(message.value(QLatin1String("ofPages")));
    task->missing = unpacked(message.value(QLatin1String("missing")));
    task->parts = message.value(QLatin1String("parts")).toObject();
    task->source = unpacked(message.value(QLatin1String("source")));
    task->isLimited = message.value(QLatin1String("isLimited")).toBool();
}

} // namespace

QByteArray lineOfTask(const Task &task)
{
    QJsonObject message;
    if (task.item.kind != ItemKind::Alone)
        insertBook(task, &message);
    message.insert(QLatin1String("path"), packed(task.item.path));
    message.insert(QLatin1String("page"), task.item.page);
    message.insert(QLatin1String("pages"), task.item.pages);
    message.insert(QLatin1String("outputs"), packedAll(task.outputs));
    if (!task.item.sha256.empty())
        message.insert(QLatin1String("sha256"), packed(task.item.sha256));
    QJsonArray settings;
    for (const Said &said : task.item.settings)
        settings.append(QJsonArray { packed(said.first), packed(said.second) });
    if (!task.item.settings.empty())
        message.insert(QLatin1String("settings"), settings);
    if (!task.before.isEmpty())
        message.insert(QLatin1String("before"), QString::fromUtf8(task.before));
    if (task.retry)
        message.insert(QLatin1String("retry"), true);
    if (task.preview > 0)
        message.insert(QLatin1String("preview"), task.preview);
    message.insert(QLatin1String("attempt"), task.attempt);
    return jsonValue(message) + '\n';
}

Task taskOf(const QJsonObject &message)
{
    Task task;
    task.item.path = unpacked(message.value(QLatin1String("path")));
    task.item.page = message.value(QLatin1String("page")).toInt(1);
    task.item.pages = message.value(QLatin1String("pages")).toInt(1);
    task.item.sha256 = unpacked(message.value(QLatin1String("sha256")));
    task.item.settings = saidIn(message.value(QLatin1String("settings")));
    task.outputs = unpackedAll(message.value(QLatin1String("outputs")));
    takeBook(message, &task);
    task.before = message.value(QLatin1String("before")).toString().toUtf8();
    task.preview = message.value(QLatin1String("preview")).toInt();
    task.retry = message.value(QLatin1String("retry")).toBool();
    task.attempt = message.value(QLatin1String("attempt")).toInt(1);
    return task;
}

} // namespace ztrace
