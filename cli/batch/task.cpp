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

} // namespace

QByteArray lineOfTask(const Task &task)
{
    QJsonObject message;
    message.insert(QLatin1String("path"), packed(task.item.path));
    message.insert(QLatin1String("page"), task.item.page);
    message.insert(QLatin1String("pages"), task.item.pages);
    QJsonArray outputs;
    for (const std::string &output : task.outputs)
        outputs.append(packed(output));
    message.insert(QLatin1String("outputs"), outputs);
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
    for (const QJsonValue &output : message.value(QLatin1String("outputs")).toArray())
        task.outputs.push_back(unpacked(output));
    task.before = message.value(QLatin1String("before")).toString().toUtf8();
    task.preview = message.value(QLatin1String("preview")).toInt();
    task.retry = message.value(QLatin1String("retry")).toBool();
    task.attempt = message.value(QLatin1String("attempt")).toInt(1);
    return task;
}

} // namespace ztrace
