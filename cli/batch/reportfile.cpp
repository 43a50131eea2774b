// (c) the ztrace developers. Licence: see LICENSE.
#include "reportfile.h"

#include "preview.h"

#include "drawing/json.h"

#include <QFile>
#include <QJsonArray>

#include <cstring>

namespace ztrace {

namespace {

const char kDataMark[] = "<!--data-->";
const double kMillion = 1e6;

bool put(QIODevice *device, const QByteArray &bytes)
{
    return device->write(bytes) == bytes.size();
}

void copy(const QJsonObject &from, const char *name, const char *as, QJsonObject *to)
{
    const QJsonValue value = from.value(QLatin1String(name));
    if (!value.isUndefined())
        to->insert(QLatin1String(as), value);
}

QJsonObject rowOf(const QJsonObject &line)
{
    QJsonObject row;
    const int page = line.value(QLatin1String("page")).toInt(1);
    QString name = line.value(QLatin1String("path")).toString();
    if (isBook(line))
        name += QLatin1String(", its pages in one file");
    else if (page > 1)
        name += QLatin1String(", page ") + QString::number(page);
    row.insert(QLatin1String("name"), name);
    for (const char *member :
         { "outcome", "error", "flags", "preset", "reason", "width", "height" })
        copy(line, member, member, &row);
    copy(line.value(QLatin1String("seconds")).toObject(), "total", "seconds", &row);
    const QJsonObject check = line.value(QLatin1String("check")).toObject();
    copy(check, "agreement", "agreement", &row);
    copy(check, "lost", "lost", &row);
    copy(check, "colourError", "colour", &row);
    const QJsonObject counts = line.value(QLatin1String("counts")).toObject();
    if (!counts.isEmpty()) {
        double pieces = 0.0;
        for (const char *kind : { "lines", "arcs", "curves" })
            pieces += counts.value(QLatin1String(kind)).toDouble();
        row.insert(QLatin1String("pieces"), pieces);
    }
    if (line.contains(QLatin1String("peak")))
        row.insert(QLatin1String("peak"), line.value(QLatin1String("peak")).toDouble() / kMillion);
    QJsonArray files;
    for (const QJsonValue &output : line.value(QLatin1String("outputs")).toArray())
        files.append(output.toObject().value(QLatin1String("file")));
    if (!files.isEmpty())
        row.insert(QLatin1String("outputs"), files);
    return row;
}

} // namespace

bool writeReport(const Ledger &ledger, QIODevice *device)
{
    const char *mark = std::strstr(kReportTemplate, kDataMark);
    bool good = put(device, QByteArray(kReportTemplate, static_cast<int>(mark - kReportTemplate)));
    // Previews first, each an element of its own, so that the browser makes pictures of those alone
    // that are in sight.
    QByteArray rows;
    int previews = 0;
    ledger.forEachIn([&](const QJsonObject &line, const std::string &file) {
        if (isBook(line) && isDone(line))
            return; // its pages are there
        QJsonObject row = rowOf(line);
        QFile preview(QFile::decodeName(previewName(folderOfFile(file), nameIn(line, "path"),
                                                    line.value(QLatin1String("page")).toInt(1))
                                            .c_str()));
        if (isDone(line) && preview.open(QIODevice::ReadOnly)) {
            row.insert(QLatin1String("preview"), previews);
            good = good
                && put(device,
                       "<script type=\"text/plain\" id=\"p" + QByteArray::number(previews++) + "\">"
                           + preview.readAll().toBase64() + "</script>\n");
        }
        QByteArray text = jsonValue(row);
        text.replace('<', "\\u003c"); // no end of the script
        rows += (rows.isEmpty() ? "[" : ",\n") + text;
    });
    return good && put(device, "<script type=\"application/json\" id=\"rows\">")
        && put(device, rows.isEmpty() ? "[]" : rows + "]") && put(device, "</script>")
        && put(device, QByteArray(mark + std::strlen(kDataMark)));
}

} // namespace ztrace
