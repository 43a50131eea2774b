// (c) the ztrace developers. Licence: see LICENSE.
#include "inputs.h"

#include "results.h"

#include "cli/distrust.h"
#include "cli/failure.h"
#include "cli/formats.h"
#include "cli/imageplugins.h"
#include "cli/strangers.h"
#include "cli/values.h"

#include <QFile>
#include <QImageReader>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

namespace ztrace {

namespace {

typedef std::pair<dev_t, ino_t> Identity;

// Of a list or a manifest, read as a whole: ten million names of a hundred letters.
const std::size_t kMostBytesOfList = 1000000000;

const char kMark[] = "\xEF\xBB\xBF";

// What images are called besides the names of the toolkit's formats.
const char *const kOtherSuffixes[] = { "pdf", "heic", "heif", "jpe", "jfif" };

std::string lowered(const std::string &text)
{
    return QByteArray::fromStdString(text).toLower().toStdString();
}

const std::set<std::string> &imageSuffixes()
{
    static const std::set<std::string> suffixes = [] {
        std::set<std::string> all(std::begin(kOtherSuffixes), std::end(kOtherSuffixes));
        useImagePlugins();
        for (const QByteArray &format : QImageReader::supportedImageFormats()) {
            if (!isDistrusted(format.toLower()) && !format.toLower().startsWith("svg"))
                all.insert(format.toLower().toStdString());
        }
        return all;
    }();
    return suffixes;
}

bool isWanted(const std::string &name, const std::vector<std::string> &patterns)
{
    if (patterns.empty()) {
        const std::size_t dot = name.rfind('.');
        return dot != std::string::npos && imageSuffixes().count(lowered(name.substr(dot + 1)));
    }
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string &pattern) {
        return fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0;
    });
}

// What drawings are called, which lie beside their pictures.
bool isDrawing(const std::string &name)
{
    const std::string suffix = lowered(name.substr(name.rfind('.') + 1));
    return suffix == "svg" || suffix == "svgz";
}

// What may be one in spite of a picture's name.
bool isLikeDrawing(const std::string &name)
{
    const std::string suffix = lowered(name.substr(name.rfind('.') + 1));
    return suffix == "pdf" || suffix == "png";
}

// What is in one folder, one name after the other in one text.
class Names
{
public:
    void add(const char *name)
    {
        places.push_back(static_cast<std::uint32_t>(text.size()));
        text.append(name).push_back('\0');
    }
    void sort()
    {
        std::sort(places.begin(), places.end(), [this](std::uint32_t a, std::uint32_t b) {
            return std::strcmp(text.data() + a, text.data() + b) < 0;
        });
    }
    std::size_t size() const { return places.size(); }
    const char *at(std::size_t index) const { return text.data() + places[index]; }

private:
    std::string text;
    std::vector<std::uint32_t> places;
};

class Walker
{
public:
    Walker(const FolderWalk &how, Collected *to) : walk(how), collected(to)
    {
        struct stat info;
        if (!walk.out.empty() && stat(walk.out.c_str(), &info) == 0)
            out = { info.st_dev, info.st_ino };
    }

    void visit(const std::string &path, const std::string &folder)
    {
        struct stat info;
        if (stat(path.c_str(), &info) != 0) {
            problem(path, errno);
            return;
        }
        const Identity identity(info.st_dev, info.st_ino);
        if (identity == out && !visited.empty()) {
            collected->notes.push_back(path + ": is the folder of the drawings, left out");
            return;
        }
        if (!visited.insert(identity).second) {
            collected->notes.push_back(path + ": a folder that was there already, left out");
            return;
        }
        Names names;
        if (!read(path, &names))
            return;
        names.sort();
        for (std::size_t i = 0; i < names.size(); ++i)
            take(path, folder, names.at(i));
    }

    // Where no pattern was asked for: drawings, and files that are not called as images are.
    std::size_t drawingsLeftOut() const { return drawings; }
    std::size_t othersLeftOut() const { return others; }

    // Whatever was asked for: drawings of runs into the same folder.
    std::size_t ownLeftOut() const { return own; }

private:
    void problem(const std::string &path, int error)
    {
        collected->problems.push_back(path + ": " + std::strerror(error));
    }

    bool read(const std::string &path, Names *names)
    {
        const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(path.c_str()), closedir);
        if (!folder) {
            problem(path, errno);
            return false;
        }
        errno = 0;
        while (const dirent *entry = readdir(folder.get())) {
            if (entry->d_name[0] != '.')
                names->add(entry->d_name);
        }
        if (errno != 0)
            problem(path, errno);
        return true;
    }

    void take(const std::string &path, const std::string &folder, const std::string &name)
    {
        const std::string full = path + (path.back() == '/' ? "" : "/") + name;
        const bool wanted = isWanted(name, walk.patterns);
        const bool isUsual = walk.patterns.empty();
        drawings += !wanted && isUsual && isDrawing(name);
        if (!walk.recursive && !wanted && !isUsual)
            return;
        struct stat info;
        if (stat(full.c_str(), &info) != 0) {
            if (wanted)
                problem(full, errno); // a link to nothing, or in a circle
            return;
        }
        if (S_ISDIR(info.st_mode)) {
            if (walk.recursive)
                visit(full, folder.empty() ? name : folder + '/' + name);
        } else if (S_ISREG(info.st_mode) && walk.own && walk.own->isSideFile(full)
                   && !isWanted(name, {})) {
            return; // one that is called as a picture is refused
        } else if (!wanted) {
            others += isUsual && !isDrawing(name) && S_ISREG(info.st_mode);
        } else if (isUsual && walk.opensFiles && isLikeDrawing(name) && S_ISREG(info.st_mode)
                   && isOwnDrawing(QFile::decodeName(full.c_str()))) {
            ++drawings;
        } else if (S_ISREG(info.st_mode) && walk.own && walk.own->isDrawing(full)) {
            ++own;
        } else if (!S_ISREG(info.st_mode)) {
            collected->notes.push_back(full + ": is no file, left out");
        } else {
            Item item;
            item.path = full;
            item.folder = folder;
            collected->add(std::move(item));
        }
    }

    const FolderWalk &walk;
    Collected *collected;
    std::size_t drawings = 0; // left out
    std::size_t others = 0;   // as well
    std::size_t own = 0;      // as well
    Identity out = { 0, 0 };
    std::set<Identity> visited;
};

} // namespace

void collect(const std::string &said, const FolderWalk &walk, Collected *collected)
{
    const std::string input = plainPath(said);
    struct stat info;
    if (stat(input.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        Walker walker(walk, collected);
        walker.visit(input, std::string());
        if (const std::size_t drawings = walker.drawingsLeftOut())
            collected->notes.push_back(input + ": drawings left out: " + std::to_string(drawings)
                                       + " (--pattern takes them)");
        if (const std::size_t others = walker.othersLeftOut())
            collected->notes.push_back(input
                                       + ": files that are not called as images are, left out: "
                                       + std::to_string(others) + " (--pattern takes them)");
        if (const std::size_t own = walker.ownLeftOut())
            collected->notes.push_back(input + ": drawings of runs into " + walk.out
                                       + ", left out: " + std::to_string(own));
        return;
    }
    Item item;
    item.path = input;
    collected->add(std::move(item));
}

void forEachPortion(const std::string &fileName,
                    const std::function<void(const std::string &)> &take)
{
    const bool isInput = fileName == "-";
    const auto close = [&](std::FILE *file) { return isInput ? 0 : std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> file(
        isInput ? stdin : std::fopen(fileName.c_str(), "rbe"), close);
    if (!file)
        throw Failure(kInputUnreadable,
                      shortened(fileName, kLongestName) + ": " + std::strerror(errno));
    std::string portion(1 << 16, '\0');
    std::size_t total = 0;
    while (const std::size_t size = std::fread(&portion[0], 1, portion.size(), file.get())) {
        total += size;
        if (total > kMostBytesOfList) {
            throw Failure(kInputUnreadable,
                          inputName(fileName) + ": has more than "
                              + std::to_string(kMostBytesOfList / 1000000) + " million bytes");
        }
        portion.resize(size);
        take(portion);
        portion.resize(1 << 16);
    }
    if (std::ferror(file.get()))
        throw Failure(kInputUnreadable, inputName(fileName) + ": " + std::strerror(errno));
}

void collectList(const std::string &fileName, Collected *collected)
{
    char end = 0;
    std::string name;
    bool isFirst = true;
    const auto takeName = [&] {
        if (end == '\n' && !name.empty() && name.back() == '\r')
            name.pop_back();
        Item item;
        item.path = plainPath(name);
        // Names in a list may be equal but for their folders.
        if (!name.empty() && name[0] != '/' && name.find('/') != std::string::npos)
            item.folder = name.substr(0, name.rfind('/'));
        if (!name.empty())
            collected->add(std::move(item));
        name.clear();
    };
    forEachPortion(fileName, [&](const std::string &portion) {
        // No name is as long as the first portion.
        // Some programs begin a text with a mark.
        const bool isMarked = isFirst && portion.compare(0, sizeof kMark - 1, kMark) == 0;
        if (isFirst)
            end = portion.find('\0') != std::string::npos ? '\0' : '\n';
        isFirst = false;
        for (std::size_t at = isMarked ? sizeof kMark - 1 : 0; at < portion.size();) {
            const std::size_t next = std::min(portion.find(end, at), portion.size());
            name.append(portion, at, next - at);
            if (next < portion.size())
                takeName();
            at = next + 1;
        }
    });
    takeName();
}

} // namespace ztrace
