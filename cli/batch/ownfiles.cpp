// (c) the ztrace developers. Licence: see LICENSE.
#include "ownfiles.h"

#include "results.h"
#include "summary.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <algorithm>
#include <functional>

#include <fnmatch.h>
#include <sys/stat.h>

namespace ztrace {

namespace {

const char kResultFiles[] = "ztrace-results*.jsonl";

std::uint64_t hashOf(const std::string &place)
{
    return std::hash<std::string>()(place);
}

qint64 sizeOf(const std::string &name)
{
    struct stat info;
    return ::stat(name.c_str(), &info) == 0 ? info.st_size : 0;
}

} // namespace

OwnFiles::OwnFiles(const BatchSettings &batch) : out(batch.out), results(batch.results)
{
    for (const std::string &name : { batch.results, batch.csv, batch.premis, batch.report }) {
        if (!name.empty())
            sides.insert(placeOf(name));
    }
}

// With the links of its folder followed; the file itself may be one.
std::string OwnFiles::placeOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "./" : path.substr(0, slash + 1);
    if (folder != lastFolder) {
        const QDir dir(QFile::decodeName(folder.c_str()));
        const QString place = dir.canonicalPath();
        lastPlace = QFile::encodeName(place.isEmpty() ? dir.absolutePath() : place).toStdString();
        lastFolder = place.isEmpty() ? std::string() : folder; // it may come
    }
    return lastPlace + '/' + path.substr(slash + 1);
}

void OwnFiles::readLines()
{
    std::vector<std::string> files = resultFilesIn(out);
    if (!results.empty())
        files.push_back(results);
    const std::size_t before = drawings.size();
    for (const std::string &name : files) {
        qint64 &from = read[name];
        const qint64 size = sizeOf(name);
        if (size == from)
            continue;
        from = size < from ? 0 : from; // somebody has begun it anew
        forEachLine(
            name,
            [this](const QJsonObject &line, qint64, int) {
                for (const QJsonValue &output : line.value(QLatin1String("outputs")).toArray())
                    drawings.add(hashOf(placeOf(out + '/' + nameIn(output.toObject(), "file"))));
            },
            &from);
    }
    if (drawings.size() != before)
        std::sort(drawings.begin(), drawings.end());
}

bool OwnFiles::isSideFile(const std::string &path)
{
    const std::string place = placeOf(path);
    if (sides.count(place) > 0)
        return true;
    const std::string file = place.substr(place.rfind('/') + 1);
    return fnmatch(kResultFiles, file.c_str(), 0) == 0 && place == placeOf(out + '/' + file);
}

bool OwnFiles::isDrawing(const std::string &path)
{
    return drawings.size() > 0
        && std::binary_search(drawings.begin(), drawings.end(), hashOf(placeOf(path)));
}

} // namespace ztrace
