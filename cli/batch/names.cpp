// (c) the ztrace developers. Licence: see LICENSE.
#include "names.h"

#include "cli/failure.h"
#include "cli/pages.h"
#include "cli/suggest.h"
#include "cli/values.h"

#include "drawing/formats.h"

#include <algorithm>
#include <functional>

namespace ztrace {

namespace {

const std::vector<std::string> kPlaces = { "folder", "name", "suffix", "page", "format" };

std::string fileOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

// Of ".profile" everything is the name.
std::size_t dotOf(const std::string &file)
{
    const std::size_t dot = file.rfind('.');
    return dot == 0 || dot == std::string::npos ? file.size() : dot;
}

// Without empty parts, and without those that would lead elsewhere.
std::string cleaned(const std::string &path)
{
    std::string result;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        const std::string part = path.substr(at, slash - at);
        if (!part.empty() && part != "." && part != "..")
            result += (result.empty() ? "" : "/") + part;
        at = slash + 1;
    }
    return result;
}

std::string filled(const std::string &pattern,
                   const std::function<std::string(const std::string &)> &valueOf)
{
    std::string result;
    for (std::size_t at = 0; at < pattern.size();) {
        const std::size_t open = pattern.find('{', at);
        const std::size_t close = pattern.find('}', open);
        if (open == std::string::npos || close == std::string::npos)
            return result + pattern.substr(at);
        result
            += pattern.substr(at, open - at) + valueOf(pattern.substr(open + 1, close - open - 1));
        at = close + 1;
    }
    return result;
}

const char kName[] = "{name}";
const char kSuffix[] = "{suffix}";
const char kPage[] = "{page}";
const char kFormat[] = "{format}";

} // namespace

bool namesPages(const std::string &pattern)
{
    return pattern.find(kPage) != std::string::npos;
}

std::string withSuffixes(const std::string &pattern)
{
    std::string names = pattern.empty() ? kUsualNames : pattern;
    if (names.find(kSuffix) != std::string::npos)
        return std::string();
    const std::string name = kName;
    return names.insert(names.rfind(name) + name.size(), std::string("-") + kSuffix);
}

void checkTemplate(const std::string &pattern)
{
    bool tellsPictures = false;
    filled(pattern, [&](const std::string &place) {
        if (std::find(kPlaces.begin(), kPlaces.end(), place) == kPlaces.end()) {
            throw Failure(kWrongUsage,
                          "--names: there is no {" + shortened(place) + "}; there are "
                              + listOfWords(kPlaces) + suggestion(place, kPlaces));
        }
        tellsPictures = tellsPictures || place == "name";
        return std::string();
    });
    if (!tellsPictures)
        throw Failure(kWrongUsage, "--names: without {name} all drawings have one name");
    const std::string parts = '/' + pattern + '/';
    if (pattern.front() == '/' || parts.find("/../") != std::string::npos)
        throw Failure(kWrongUsage,
                      "--names: \"" + shortened(pattern) + "\" leads out of the folder of --out");
}

std::string endingOf(const std::string &pattern)
{
    const std::string file = fileOf(pattern);
    const std::size_t dot = file.rfind('.');
    std::string ending = dot == std::string::npos ? std::string() : file.substr(dot + 1);
    if (ending == kFormat)
        return std::string();
    if (formatOfSuffix(QString::fromStdString(ending)))
        return ending;
    throw Failure(kWrongUsage,
                  "--names: \"" + shortened(pattern)
                      + "\" does not end with .{format}, nor as drawings of one format do");
}

std::string outputNameOf(const Item &item, const std::string &pattern,
                         const std::string &suffixOfFormat)
{
    const std::string file = fileOf(item.path);
    const std::size_t dot = dotOf(file);
    const bool isNumbered = item.pages > 1 && item.kind != ItemKind::Book;
    std::string whole = pattern.empty() ? kUsualNames : pattern;
    if (isNumbered && !namesPages(whole))
        whole.insert(whole.rfind('.'), std::string("-") + kPage);
    const std::string name = filled(whole, [&](const std::string &place) {
        if (place == "folder")
            return item.folder;
        if (place == "name")
            return file.substr(0, dot);
        if (place == "suffix")
            return dot < file.size() ? file.substr(dot + 1) : std::string();
        if (place == "page")
            return pageNumber(item.page, item.pages);
        return suffixOfFormat;
    });
    return cleaned(name);
}

} // namespace ztrace
