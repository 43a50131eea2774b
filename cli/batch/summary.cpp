// (c) the ztrace developers. Licence: see LICENSE.
#include "summary.h"

#include "premis.h"
#include "reportfile.h"
#include "sidefiles.h"

#include "cli/messages.h"
#include "cli/values.h"

#include "drawing/json.h"
#include "drawing/output.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <map>

namespace ztrace {

namespace {

const double kMillion = 1e6;
const double kAllDigits = 999.95; // from here on four digits leave none behind the point

std::string textIn(const QJsonObject &line, const char *name)
{
    return line.value(QLatin1String(name)).toString().toStdString();
}

double numberIn(const QJsonObject &line, const char *group, const char *name)
{
    return line.value(QLatin1String(group)).toObject().value(QLatin1String(name)).toDouble();
}

// Without the name of the picture, which no two failures share.
std::string reasonIn(const QJsonObject &line)
{
    const std::string path = nameIn(line, "path") + ": ";
    std::string reason = textIn(line, "error");
    if (reason.compare(0, path.size(), path) == 0)
        reason.erase(0, path.size());
    return reason;
}

struct Summary
{
    std::size_t pictures = 0;
    std::size_t books = 0; // that are no pictures
    std::size_t flagged = 0;
    std::size_t warned = 0;
    std::map<std::string, std::size_t> outcomes;
    std::map<std::string, std::size_t> reasons;
    std::map<std::string, std::size_t> flags;
    std::map<std::string, std::size_t> presets;
    std::vector<double> seconds;
    std::vector<double> peaks; // bytes
    std::vector<double> numbers;
    std::vector<double> agreements;

    void add(const QJsonObject &line)
    {
        if (!isDone(line))
            ++reasons[reasonIn(line)];
        if (isBook(line)) {
            books += isDone(line);
            return;
        }
        ++pictures;
        ++outcomes[textIn(line, "outcome")];
        if (!isDone(line))
            return;
        const QJsonArray found = line.value(QLatin1String("flags")).toArray();
        flagged += !found.isEmpty();
        warned += !line.value(QLatin1String("warnings")).toArray().isEmpty();
        for (const QJsonValue &flag : found)
            ++flags[flag.toString().toStdString()];
        if (!textIn(line, "preset").empty())
            ++presets[textIn(line, "preset")];
        seconds.push_back(numberIn(line, "seconds", "total"));
        peaks.push_back(line.value(QLatin1String("peak")).toDouble());
        numbers.push_back(numberIn(line, "counts", "lines") + numberIn(line, "counts", "arcs")
                          + numberIn(line, "counts", "curves"));
        const QJsonObject check = line.value(QLatin1String("check")).toObject();
        if (check.contains(QLatin1String("agreement")))
            agreements.push_back(check.value(QLatin1String("agreement")).toDouble());
    }

    void sort()
    {
        for (std::vector<double> *values : { &seconds, &peaks, &numbers, &agreements })
            std::sort(values->begin(), values->end());
    }
};

// The members are called as in result lines; what is printed may have a unit of its own.
const struct
{
    const char *member;
    const char *printed;
    double unit;
    std::vector<double> Summary::*values;
} kMeasures[] = {
    { "seconds", "seconds", 1.0, &Summary::seconds },
    { "peak", "peak MB", kMillion, &Summary::peaks },
    { "pieces", "pieces", 1.0, &Summary::numbers },
    { "agreement", "agreement", 1.0, &Summary::agreements },
};

const double kShares[] = { 0.0, 0.01, 0.1, 0.5, 0.9, 0.99, 1.0 };

void printCounts(const char *what, const std::map<std::string, std::size_t> &counts)
{
    std::vector<std::pair<std::size_t, std::string>> sorted;
    for (const auto &count : counts)
        sorted.push_back({ count.second, count.first });
    std::sort(sorted.begin(), sorted.end(), [](const auto &a, const auto &b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    for (const auto &count : sorted)
        std::printf("%-10s %8zu  %s\n", what, count.first, printable(count.second).c_str());
}

// Four digits, all of those before the point, and no more than six behind it.
std::string numberText(double value)
{
    char text[400]; // the largest double has 309 digits
    const double size = std::abs(value);
    const char *format = size >= kAllDigits ? "%.0f" : size > 0.0 && size < 1e-3 ? "%.6f" : "%.4g";
    std::snprintf(text, sizeof text, format, value);
    return text;
}

void print(const Summary &summary)
{
    std::printf("%-10s %8zu\n", "pictures", summary.pictures);
    printCounts("outcome", summary.outcomes);
    printCounts("reason", summary.reasons);
    std::printf("%-10s %8zu\n", "flagged", summary.flagged);
    printCounts("flag", summary.flags);
    std::printf("%-10s %8zu\n", "warnings", summary.warned);
    printCounts("preset", summary.presets);
    if (summary.books > 0)
        std::printf("%-10s %8zu  files of all pages\n", "books", summary.books);
    std::printf("%-10s %10s %10s %10s %10s %10s %10s %10s\n", "", "least", "1 %", "10 %", "median",
                "90 %", "99 %", "most");
    for (const auto &measure : kMeasures) {
        std::printf("%-10s", measure.printed);
        for (double share : kShares)
            std::printf(
                " %10s",
                numberText(percentile(summary.*(measure.values), share) / measure.unit).c_str());
        std::printf("\n");
    }
}

QJsonObject objectOf(const std::map<std::string, std::size_t> &counts)
{
    QJsonObject object;
    for (const auto &count : counts)
        object.insert(QString::fromUtf8(count.first.c_str()), double(count.second));
    return object;
}

void printAsJson(const Summary &summary)
{
    QJsonObject object;
    object.insert(QLatin1String("pictures"), double(summary.pictures));
    object.insert(QLatin1String("books"), double(summary.books));
    object.insert(QLatin1String("flagged"), double(summary.flagged));
    object.insert(QLatin1String("warnings"), double(summary.warned));
    object.insert(QLatin1String("outcomes"), objectOf(summary.outcomes));
    object.insert(QLatin1String("reasons"), objectOf(summary.reasons));
    object.insert(QLatin1String("flags"), objectOf(summary.flags));
    object.insert(QLatin1String("presets"), objectOf(summary.presets));
    for (const auto &measure : kMeasures) {
        QJsonObject percentiles;
        for (double share : kShares)
            percentiles.insert(QString::fromStdString(shortText(share)),
                               percentile(summary.*(measure.values), share));
        object.insert(QLatin1String(measure.member), percentiles);
    }
    std::printf("%s\n", jsonValue(object).constData());
}

void writeFile(const std::string &name, const DeviceWriter &write)
{
    QString error;
    if (!writeWhole(QFile::decodeName(name.c_str()), write, &error))
        throw Failure(kOutputNotWritable, name + ": " + error.toLocal8Bit().toStdString());
}

const struct
{
    const char *group;
    const char *name;
} kColumns[] = {
    { nullptr, "path" },      { nullptr, "page" },      { nullptr, "outcome" },
    { nullptr, "error" },     { nullptr, "flags" },     { nullptr, "preset" },
    { nullptr, "reason" },    { nullptr, "width" },     { nullptr, "height" },
    { nullptr, "dpi" },       { nullptr, "threshold" }, { nullptr, "colours" },
    { "counts", "outlines" }, { "counts", "strokes" },  { "counts", "lines" },
    { "counts", "arcs" },     { "counts", "curves" },   { "check", "agreement" },
    { "check", "lost" },      { "check", "lostShare" }, { "check", "colourError" },
    { "check", "ink" },       { "seconds", "total" },   { nullptr, "peak" },
    { nullptr, "bytes" },     { nullptr, "sha256" },    { nullptr, "version" },
    { nullptr, "settings" },  { nullptr, "attempts" },  { nullptr, "time" },
};

std::string fieldOf(const QJsonObject &line, const char *group, const char *name)
{
    const QJsonObject from = group ? line.value(QLatin1String(group)).toObject() : line;
    const QJsonValue value = from.value(QLatin1String(name));
    if (value.isDouble())
        return shortText(value.toDouble());
    if (!value.isArray())
        return value.toString().toStdString();
    std::string text;
    for (const QJsonValue &entry : value.toArray())
        text += (text.empty() ? "" : " ") + entry.toString().toStdString();
    return text;
}

bool writeCsv(const Ledger &ledger, QIODevice *device)
{
    const auto put = [device](const std::string &text) {
        return device->write(text.data(), static_cast<qint64>(text.size()))
            == static_cast<qint64>(text.size());
    };
    std::string head;
    for (const auto &column : kColumns)
        head += (head.empty() ? "" : ",") + std::string(column.name);
    bool good = put(head + "\r\n");
    ledger.forEach([&](const QJsonObject &line) {
        std::string row;
        for (const auto &column : kColumns)
            row += (&column == kColumns ? "" : ",")
                + csvField(fieldOf(line, column.group, column.name));
        good = good && put(row + "\r\n");
    });
    return good;
}

} // namespace

double percentile(const std::vector<double> &sorted, double share)
{
    if (sorted.empty())
        return 0.0;
    const double rank = std::ceil(share * double(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(1.0, rank)) - 1];
}

std::string csvField(const std::string &text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string field = "\"";
    for (const char letter : text)
        field += letter == '"' ? std::string("\"\"") : std::string(1, letter);
    return field + '"';
}

std::vector<std::string> resultFilesIn(const std::string &folder)
{
    std::vector<std::string> files;
    const QDir dir(QFile::decodeName(folder.c_str()));
    for (const QString &file :
         dir.entryList({ QString::fromLatin1("ztrace-results*.jsonl") }, QDir::Files, QDir::Name))
        files.push_back(folder + '/' + QFile::encodeName(file).toStdString());
    return files;
}

void writeSummaries(const Ledger &ledger, const Settings &settings)
{
    const BatchSettings &batch = settings.batch;
    if (!batch.csv.empty())
        writeFile(batch.csv, [&](QIODevice *device) { return writeCsv(ledger, device); });
    if (!batch.premis.empty())
        writeFile(batch.premis, [&](QIODevice *device) { return writePremis(ledger, device); });
    if (batch.report.empty())
        return;
    Shown shown;
    writeFile(batch.report, [&](QIODevice *device) { return writeReport(ledger, device, &shown); });
    if (shown.missing > 0 && !settings.quiet)
        tell(batch.report + ": " + std::to_string(shown.missing) + " of "
             + std::to_string(shown.traced)
             + " drawings are not shown there (the same ztrace batch again with --report shows "
               "those "
               "that are SVG, JSON or PNG)");
}

ExitCode runSummary(const CommandLine &line)
{
    if (line.inputs.empty())
        throw Failure(kWrongUsage,
                      "batch summary: give files of result lines, or folders with them");
    refuseSideFiles(line.settings, line.inputs);
    requireSideFolders(line.settings);
    Ledger ledger;
    for (const std::string &input : line.inputs) {
        if (!QFileInfo(QFile::decodeName(input.c_str())).exists())
            throw Failure(kInputUnreadable, input + ": " + std::strerror(ENOENT));
        if (!QFileInfo(QFile::decodeName(input.c_str())).isDir()) {
            ledger.read(input);
            continue;
        }
        for (const std::string &file : resultFilesIn(input))
            ledger.read(file);
    }
    if (ledger.size() == 0)
        throw Failure(kInputUnreadable, line.inputs.front() + ": has no result lines");
    Summary summary;
    ledger.forEach([&](const QJsonObject &result) { summary.add(result); });
    summary.sort();
    errno = 0;
    if (line.settings.json)
        printAsJson(summary);
    else if (!line.settings.quiet)
        print(summary);
    requireArrival(stdout);
    writeSummaries(ledger, line.settings);
    if (ledger.wrongLines() > 0 && !line.settings.quiet)
        tell(std::to_string(ledger.wrongLines()) + " lines are no result lines, left out");
    return kSuccess;
}

} // namespace ztrace
