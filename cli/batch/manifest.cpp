// (c) the ztrace developers. Licence: see LICENSE.
#include "manifest.h"

#include "csvrows.h"
#include "inputs.h"
#include "itemsettings.h"
#include "results.h"
#include "spoolarray.h"

#include "cli/failure.h"
#include "cli/pages.h"
#include "cli/suggest.h"
#include "cli/values.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace ztrace {

namespace {

const std::size_t kMostErrors = 100;
const std::vector<std::string> kColumns = { "path", "page", "settings", "sha256" };

// A field of the manifest in words, whichever kind of file it stands in.
struct Entry
{
    std::string path;
    std::string page;
    std::string sha256;
    std::vector<Said> settings;
};

const char kMark[] = "\xEF\xBB\xBF"; // that some programs begin a text with

class Reader
{
public:
    Reader(const std::string &name, std::vector<std::string> *errorsFound)
        : fileName(name), errors(errorsFound)
    {
        const std::size_t slash = fileName.rfind('/');
        folder = fileName == "-" || slash == std::string::npos ? "" : fileName.substr(0, slash + 1);
    }

    void read(ItemList *to)
    {
        Form form = Form::Unknown;
        CsvRows rows([this](const CsvRow &row) { takeRow(row); });
        std::string line; // of JSON lines, as far as it has come
        forEachPortion(fileName, [&](const std::string &portion) {
            const bool isMarked = form == Form::Unknown && portion.compare(0, 3, kMark) == 0;
            if (form == Form::Unknown)
                form = formOf(portion);
            if (form == Form::Csv)
                rows.add(isMarked ? portion.substr(3) : portion);
            else
                takeLines(portion, &line);
        });
        int wrongLine = 0;
        if (form == Form::JsonLines)
            takeLines("\n", &line);
        else if (!rows.end(&wrongLine))
            error(wrongLine, "a quote has no end");
        if (items.isEmpty() && errors->empty())
            error(1, "it names no picture");
        addNumbered(to);
    }

private:
    enum class Form { Unknown, Csv, JsonLines };

    void error(int line, const std::string &text)
    {
        if (errors->size() < kMostErrors)
            errors->push_back(fileName + ", line " + std::to_string(line) + ": " + text);
    }

    static Form formOf(const std::string &beginning)
    {
        const std::size_t first = beginning.find_first_not_of(" \t\r\n");
        return first != std::string::npos && beginning[first] == '{' ? Form::JsonLines : Form::Csv;
    }

    // A file that is there several times has pages with numbers.
    void addNumbered(ItemList *to)
    {
        SpoolArray<std::size_t> hashes;
        const std::hash<std::string> hash;
        items.forEach([&](const Item &item) { hashes.add(hash(item.path)); });
        std::sort(hashes.begin(), hashes.end());
        const auto isRepeated = [&](const Item &item) {
            const auto places = std::equal_range(hashes.begin(), hashes.end(), hash(item.path));
            return places.second - places.first > 1;
        };
        std::unordered_map<std::string, std::pair<int, int>> files; // times, last page
        items.forEach([&](const Item &item) {
            if (!isRepeated(item))
                return;
            std::pair<int, int> &file = files[item.path];
            ++file.first;
            file.second = std::max(file.second, item.page);
        });
        items.forEach([&](Item item) {
            const auto file = files.find(item.path);
            const bool hasPages = file != files.end() && file->second.first > 1;
            item.pages = hasPages ? std::max(2, file->second.second) : 1;
            to->add(item);
        });
    }

    bool checkColumns(const CsvRow &header)
    {
        bool good = true;
        const std::string &first = header.fields.front();
        const char other = first.find(';') != std::string::npos ? ';' : '\t';
        if (header.fields.size() == 1 && first.find(other) != std::string::npos) {
            error(header.line,
                  std::string(other == ';' ? "semicolons" : "tabs")
                      + " stand between the columns where commas are wanted");
            return false;
        }
        for (const std::string &name : header.fields) {
            if (std::find(kColumns.begin(), kColumns.end(), name) == kColumns.end()) {
                error(header.line,
                      "there is no column \"" + shortened(name) + "\"; there are "
                          + listOfWords(kColumns) + suggestion(name, kColumns));
                good = false;
            }
        }
        for (const std::string &name : kColumns) {
            const auto times = std::count(header.fields.begin(), header.fields.end(), name);
            if (times > 1 || (times == 0 && name == kColumns.front() && good)) {
                error(header.line,
                      (times == 0 ? "there is no column \"" : "there are several columns \"") + name
                          + '"');
                good = false;
            }
        }
        return good;
    }

    void takeRow(const CsvRow &row)
    {
        if (columns.empty()) {
            columns = row.fields;
            hasGoodColumns = checkColumns(row);
            return;
        }
        if (!hasGoodColumns)
            return;
        if (row.fields.size() != columns.size()) {
            error(row.line,
                  "there are " + std::to_string(row.fields.size())
                      + " fields where the first line has " + std::to_string(columns.size()));
            return;
        }
        Entry entry;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::string &field = row.fields[i];
            if (columns[i] == "path")
                entry.path = field;
            else if (columns[i] == "page")
                entry.page = field;
            else if (columns[i] == "sha256")
                entry.sha256 = field;
            else if (!takeSettings(field, row.line, &entry))
                return;
        }
        take(entry, row.line);
    }

    bool takeSettings(const std::string &field, int line, Entry *entry)
    {
        for (std::size_t at = 0; at < field.size();) {
            const std::size_t end = std::min(field.find(';', at), field.size());
            const std::string said = field.substr(at, end - at);
            at = end + 1;
            const std::size_t begin = said.find_first_not_of(' ');
            if (begin == std::string::npos)
                continue;
            const std::size_t equals = said.find('=');
            if (equals == std::string::npos) {
                error(line, "\"" + shortened(said) + "\" is not of the form name=value");
                return false;
            }
            entry->settings.push_back(
                { said.substr(begin, equals - begin), said.substr(equals + 1) });
        }
        return true;
    }

    // Those that end in a portion; what begins there is kept.
    void takeLines(const std::string &portion, std::string *text)
    {
        for (std::size_t at = 0; at < portion.size();) {
            const std::size_t end = std::min(portion.find('\n', at), portion.size());
            text->append(portion, at, end - at);
            at = end + 1;
            if (end == portion.size())
                return;
            takeLine(QByteArray::fromStdString(*text), ++lineNumber);
            text->clear();
        }
    }

    void takeLine(const QByteArray &bytes, int line)
    {
        if (bytes.trimmed().isEmpty())
            return;
        QJsonParseError wrong;
        const QJsonDocument document = QJsonDocument::fromJson(bytes, &wrong);
        if (document.isObject())
            takeObject(document.object(), line);
        else
            error(line,
                  "is no JSON object"
                      + (wrong.error == QJsonParseError::NoError
                             ? std::string()
                             : " (" + wrong.errorString().toStdString() + ")"));
    }

    void takeObject(const QJsonObject &object, int line)
    {
        Entry entry;
        for (auto it = object.begin(); it != object.end(); ++it) {
            const std::string name = it.key().toStdString();
            if (std::find(kColumns.begin(), kColumns.end(), name) == kColumns.end()) {
                error(line,
                      "there is no member \"" + shortened(name) + "\"; there are "
                          + listOfWords(kColumns) + suggestion(name, kColumns));
                return;
            }
        }
        for (const char *name : { "path", "page", "sha256" }) {
            const QJsonValue value = object.value(QLatin1String(name));
            const bool isNumber = value.isDouble() && std::strcmp(name, "page") == 0;
            if (!value.isUndefined() && !value.isString() && !isNumber) {
                error(line,
                      std::string("\"") + name + "\" is no text in quotes"
                          + (std::strcmp(name, "page") == 0 ? ", nor a number" : ""));
                return;
            }
        }
        entry.path = object.value(QLatin1String("path")).toString().toStdString();
        entry.page = textOf(object.value(QLatin1String("page")));
        entry.sha256 = object.value(QLatin1String("sha256")).toString().toStdString();
        const QJsonValue settings = object.value(QLatin1String("settings"));
        if (!settings.isUndefined() && !settings.isObject()) {
            error(line, "\"settings\" is no object");
            return;
        }
        addSettings(settings.toObject(), std::string(), &entry);
        take(entry, line);
    }

    static std::string textOf(const QJsonValue &value)
    {
        if (value.isDouble())
            return shortText(value.toDouble());
        if (value.isBool())
            return value.toBool() ? "true" : "false";
        return value.toString().toStdString();
    }

    static void addSettings(const QJsonObject &object, const std::string &before, Entry *entry)
    {
        for (auto it = object.begin(); it != object.end(); ++it) {
            const std::string name = before + it.key().toStdString();
            if (it.value().isObject()) {
                addSettings(it.value().toObject(), name + '.', entry);
            } else if (it.value().isArray()) {
                for (const QJsonValue &value : it.value().toArray())
                    entry->settings.push_back({ name, textOf(value) });
            } else {
                entry->settings.push_back({ name, textOf(it.value()) });
            }
        }
    }

    void take(Entry &entry, int line)
    {
        Item item;
        if (entry.path.empty()) {
            error(line, "there is no path");
            return;
        }
        item.path = plainPath(entry.path[0] == '/' ? entry.path : folder + entry.path);
        if (entry.path[0] != '/' && entry.path.find('/') != std::string::npos)
            item.folder = entry.path.substr(0, entry.path.rfind('/'));
        item.sha256 = QByteArray::fromStdString(entry.sha256).toLower().toStdString();
        if (!item.sha256.empty()
            && (item.sha256.size() != 64
                || item.sha256.find_first_not_of("0123456789abcdef") != std::string::npos)) {
            error(line,
                  "\"" + shortened(entry.sha256) + "\" is no SHA-256 of 64 hexadecimal digits");
            return;
        }
        item.settings = std::move(entry.settings);
        placeFiles(folder, &item.settings);
        try {
            if (!entry.page.empty())
                item.ranges = pagesValue("page", entry.page, kMostPages);
            const bool isOne = item.ranges.size() == 1
                && item.ranges.front().first == item.ranges.front().second;
            item.page = isOne ? item.ranges.front().first : item.ranges.empty() ? 1 : 0;
            checkItemSettings(item.settings);
        } catch (const Failure &failure) {
            error(line, failure.what());
            return;
        }
        items.add(item);
    }

    std::string fileName;
    std::string folder;
    std::vector<std::string> *errors;
    std::vector<std::string> columns;
    bool hasGoodColumns = false;
    int lineNumber = 0;
    ItemList items; // without the number of pages
};

} // namespace

void readManifest(const std::string &fileName, ItemList *items, std::vector<std::string> *errors)
{
    Reader(fileName, errors).read(items);
}

} // namespace ztrace
