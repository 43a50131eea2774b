// (c) the ztrace developers. Licence: see LICENSE.
#include "reportfile.h"

#include "preview.h"

#include "drawing/json.h"

#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QJsonArray>

#include <cstring>
#include <functional>
#include <set>

namespace ztrace {

namespace {

const char kDataMark[] = "<!--data-->";
const double kMillion = 1e6;
const int kShownDigits = 8; // of a hash
const int kNoPreview = -1;

// Of a row.
struct Preview
{
    int number; // kNoPreview for none
    int width;  // pixels of one of its two sides
};

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
    for (const char *member : { "path", "page", "outcome", "error", "flags", "preset", "reason",
                                "width", "height", "time", "version" })
        copy(line, member, member, &row);
    row.insert(QLatin1String("settings"),
               line.value(QLatin1String("settings")).toString().left(kShownDigits));
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

// Where the results lie, for the head of the page.
QJsonArray foldersOf(const Ledger &ledger)
{
    std::set<std::string> folders;
    ledger.forEachIn([&folders](const QJsonObject &, const std::string &file) {
        folders.insert(folderOfFile(file));
    });
    QJsonArray names;
    for (const std::string &folder : folders)
        names.append(QDir(QFile::decodeName(folder.c_str())).absolutePath());
    return names;
}

QByteArray textInPage(const QJsonValue &value)
{
    return jsonValue(value).replace('<', "\\u003c"); // no end of the script
}

// Books that are there have their pages to show.
void forEachRow(const Ledger &ledger,
                const std::function<void(const QJsonObject &line, const std::string &file)> &take)
{
    ledger.forEachIn([&take](const QJsonObject &line, const std::string &file) {
        if (!isBook(line) || !isDone(line))
            take(line, file);
    });
}

// Before the rows, each an element of its own, so that the browser makes pictures of those alone
// that are in sight.
bool writePreviews(const Ledger &ledger, QIODevice *device, SpoolArray<Preview> *previews,
                   Shown *shown)
{
    bool good = true;
    int count = 0;
    forEachRow(ledger, [&](const QJsonObject &line, const std::string &file) {
        QFile preview(QFile::decodeName(previewName(folderOfFile(file), nameIn(line, "path"),
                                                    line.value(QLatin1String("page")).toInt(1))
                                            .c_str()));
        // Others were drawings before.
        const bool isTraced = isDone(line) && line.contains(QLatin1String("preset"));
        shown->traced += isTraced;
        if (!isDone(line) || !preview.open(QIODevice::ReadOnly)) {
            shown->missing += isTraced;
            previews->add({ kNoPreview, 0 });
            return;
        }
        const int width = QImageReader(&preview).size().width() / 2;
        preview.seek(0);
        good = good
            && put(device,
                   "<script type=\"text/plain\" id=\"p" + QByteArray::number(count) + "\">"
                       + preview.readAll().toBase64() + "</script>\n");
        previews->add({ count++, width });
    });
    return good;
}

} // namespace

bool writeReport(const Ledger &ledger, QIODevice *device, Shown *shown)
{
    *shown = Shown();
    const char *mark = std::strstr(kReportTemplate, kDataMark);
    bool good = put(device, QByteArray(kReportTemplate, static_cast<int>(mark - kReportTemplate)));
    SpoolArray<Preview> previews; // one a row
    good = writePreviews(ledger, device, &previews, shown) && good;
    good = put(device, "<script type=\"application/json\" id=\"rows\">[") && good;
    std::size_t row = 0;
    forEachRow(ledger, [&](const QJsonObject &line, const std::string &) {
        QJsonObject members = rowOf(line);
        if (row < previews.size() && previews.begin()[row].number != kNoPreview) {
            members.insert(QLatin1String("preview"), previews.begin()[row].number);
            members.insert(QLatin1String("previewWidth"), previews.begin()[row].width);
        }
        good = good && put(device, (row > 0 ? ",\n" : "") + textInPage(members));
        ++row;
    });
    return good && put(device, "]</script>\n<script type=\"application/json\" id=\"folders\">")
        && put(device, textInPage(foldersOf(ledger)) + "</script>")
        && put(device, QByteArray(mark + std::strlen(kDataMark)));
}

} // namespace ztrace
