// (c) the ztrace developers. Licence: see LICENSE.
#include "clashes.h"

#include "spoolarray.h"

#include "cli/messages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const std::size_t kMostClashes = 20;
const std::size_t kMostSuspects = 1000; // hashes of which the names are compared

std::uint64_t hashOf(const std::string &bytes)
{
    return std::hash<std::string>()(bytes);
}

// Of a file, whatever it is called; 0 when it is not there.
std::uint64_t identityOf(const std::string &name)
{
    struct stat info;
    if (stat(name.c_str(), &info) != 0)
        return 0;
    return hashOf(std::to_string(info.st_dev) + ' ' + std::to_string(info.st_ino)) | 1;
}

bool isLink(const std::string &name)
{
    struct stat info;
    return lstat(name.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

class Clashes
{
public:
    Clashes(const Agenda &theAgenda, const std::string &folder) : agenda(theAgenda), out(folder) { }

    std::vector<std::string> find()
    {
        agenda.items.forEach([this](const Item &item) { take(item); });
        std::sort(names.begin(), names.end());
        std::sort(drawings.begin(), drawings.end());
        compareNames();
        compareFolders();
        if (drawings.size() > 0)
            comparePictures();
        if (!links.empty())
            compareLinks();
        compareLinksToNothing();
        if (all > kMostClashes)
            clashes.push_back("and " + std::to_string(all - kMostClashes)
                              + " more drawings have the names of others");
        return clashes;
    }

private:
    void take(const Item &item)
    {
        for (const std::string &output : agenda.outputsOf(item)) {
            names.add(hashOf(output));
            const std::string name = out + '/' + output;
            const std::uint64_t identity = identityOf(name);
            if (identity != 0)
                drawings.add(identity);
            if (!isLink(name))
                continue;
            if (identity != 0)
                links.insert(identity);
            else
                takeLinkToNothing(name, output);
        }
    }

    // Names with one hash are few; they are looked at themselves.
    void compareNames()
    {
        std::set<std::uint64_t> suspects;
        for (std::size_t i = 1; i < names.size() && suspects.size() < kMostSuspects; ++i) {
            if (names.begin()[i - 1] == names.begin()[i])
                suspects.insert(names.begin()[i]);
        }
        if (suspects.empty())
            return;
        for (std::size_t i = 1; i < names.size(); ++i)
            all += names.begin()[i - 1] == names.begin()[i];
        std::unordered_map<std::string, Item> owners;
        agenda.items.forEach([&](const Item &item) {
            for (const std::string &output : agenda.outputsOf(item)) {
                if (clashes.size() == kMostClashes || suspects.count(hashOf(output)) == 0)
                    continue;
                const auto owner = owners.insert({ output, item });
                if (!owner.second)
                    tellOf(owner.first->second, item, output);
            }
        });
    }

    // No drawing is where the folder of another one is to be.
    void compareFolders()
    {
        agenda.items.forEach([this](const Item &item) {
            for (const std::string &output : agenda.outputsOf(item)) {
                for (std::size_t slash = output.find('/'); slash != std::string::npos;
                     slash = output.find('/', slash + 1)) {
                    const std::string folder = output.substr(0, slash);
                    if (clashes.size() < kMostClashes
                        && std::binary_search(names.begin(), names.end(), hashOf(folder)))
                        clashes.push_back(folder + " would be a drawing, and the folder of "
                                          + output + " (see --names)");
                }
            }
        });
    }

    void tellOf(const Item &first, const Item &second, const std::string &output)
    {
        if (first.path != second.path) {
            clashes.push_back(first.path + " and " + second.path + " would both become " + output
                              + " (" + wayOut(first, second) + ')');
        } else if (first.kind == ItemKind::Book || second.kind == ItemKind::Book) {
            clashes.push_back("pages of " + first.path + " are asked for several times, which all "
                              + "would become " + output + " ({page} in --names tells them apart)");
        } else {
            clashes.push_back(second.path + ": is given twice");
        }
    }

    // The template that tells two pictures apart, where one does.
    std::string wayOut(const Item &first, const Item &second) const
    {
        const std::string longer = withSuffixes(agenda.names);
        const std::string suffix = agenda.suffixes.front().text;
        if (longer.empty()
            || outputNameOf(first, longer, suffix) == outputNameOf(second, longer, suffix))
            return "see --names";
        return "--names '" + longer + "' tells them apart";
    }

    void comparePictures()
    {
        std::set<std::uint64_t> hit;
        agenda.items.forEach([&](const Item &item) {
            const std::uint64_t identity = identityOf(item.path);
            if (hit.size() < kMostClashes && identity != 0
                && std::binary_search(drawings.begin(), drawings.end(), identity))
                hit.insert(identity);
        });
        if (hit.empty())
            return;
        agenda.items.forEach([&](const Item &item) {
            for (const std::string &output : agenda.outputsOf(item)) {
                const std::string name = out + '/' + output;
                if (clashes.size() < kMostClashes && hit.count(identityOf(name)) > 0)
                    clashes.push_back(name + ": is a picture of this run (see --out and --names)");
            }
        });
    }

    // Where it leads a drawing will be.
    void takeLinkToNothing(const std::string &name, const std::string &output)
    {
        const QFileInfo link(QFile::decodeName(name.c_str()));
        const QFileInfo target(link.symLinkTarget());
        const std::string place
            = QFile::encodeName(target.dir().canonicalPath() + '/' + target.fileName())
                  .toStdString();
        const auto owner = linksToNothing.insert({ place, output });
        if (!owner.second && clashes.size() < kMostClashes)
            tellOfLink(owner.first->second, output);
    }

    void compareLinksToNothing()
    {
        const std::string folder
            = QFileInfo(QFile::decodeName(out.c_str())).canonicalFilePath().toStdString() + '/';
        for (const auto &link : linksToNothing) {
            const std::string place = link.first.substr(std::min(folder.size(), link.first.size()));
            if (link.first.compare(0, folder.size(), folder) == 0 && clashes.size() < kMostClashes
                && std::binary_search(names.begin(), names.end(), hashOf(place)))
                tellOfLink(link.second, place);
        }
    }

    void tellOfLink(const std::string &first, const std::string &second)
    {
        clashes.push_back(first + " and " + second
                          + " are one file by a link: two drawings would go there");
    }

    // A drawing is written where a link leads, which may be the place of another one.
    void compareLinks()
    {
        std::unordered_map<std::uint64_t, std::string> owners;
        agenda.items.forEach([&](const Item &item) {
            for (const std::string &output : agenda.outputsOf(item)) {
                const std::uint64_t identity = identityOf(out + '/' + output);
                if (clashes.size() == kMostClashes || links.count(identity) == 0)
                    continue;
                const auto owner = owners.insert({ identity, output });
                if (!owner.second)
                    tellOfLink(owner.first->second, output);
            }
        });
    }

    const Agenda &agenda;
    const std::string &out;
    std::set<std::uint64_t> links; // what those of the drawings lead to that are links
    std::unordered_map<std::string, std::string> linksToNothing; // drawings by where they will be
    SpoolArray<std::uint64_t> names;                             // hashes, of all drawings
    SpoolArray<std::uint64_t> drawings;                          // those that are there
    std::size_t all = 0; // drawings with the name of another one
    std::vector<std::string> clashes;
};

// As file systems see names that do not tell upper and lower case letters apart.
std::string folded(const std::string &name)
{
    return QString::fromUtf8(name.c_str())
        .normalized(QString::NormalizationForm_C)
        .toCaseFolded()
        .toStdString();
}

// Found out with a file, as its settings may be a folder's own.
bool foldsNames(const std::string &folder)
{
    const std::string number = std::to_string(getpid());
    const std::string name = folder + "/.ztrace-case-" + number;
    const int file = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false; // drawings will say why
    ::close(file);
    const bool folds = ::access((folder + "/.ZTRACE-CASE-" + number).c_str(), F_OK) == 0;
    ::unlink(name.c_str());
    return folds;
}

// Pairs that differ in the case of letters alone.
std::vector<std::string> foldedClashes(const Agenda &agenda)
{
    SpoolArray<std::uint64_t> names; // hashes, of all drawings
    const auto forEach = [&agenda](const std::function<void(const std::string &)> &take) {
        agenda.items.forEach([&](const Item &item) {
            for (const std::string &output : agenda.outputsOf(item))
                take(output);
        });
    };
    forEach([&](const std::string &name) { names.add(hashOf(folded(name))); });
    std::sort(names.begin(), names.end());
    std::set<std::uint64_t> suspects;
    for (std::size_t i = 1; i < names.size() && suspects.size() < kMostClashes; ++i) {
        if (names.begin()[i - 1] == names.begin()[i])
            suspects.insert(names.begin()[i]);
    }
    std::vector<std::string> clashes;
    std::unordered_map<std::uint64_t, std::string> owners;
    if (suspects.empty())
        return clashes;
    forEach([&](const std::string &name) {
        const std::uint64_t hash = hashOf(folded(name));
        if (suspects.count(hash) == 0 || clashes.size() == kMostClashes)
            return;
        const auto owner = owners.insert({ hash, name });
        if (!owner.second)
            clashes.push_back(owner.first->second + " and " + name
                              + " would be one file, as that folder does not tell upper and lower "
                                "case letters apart (see --names)");
    });
    return clashes;
}

void refuse(const std::vector<std::string> &clashes)
{
    if (clashes.empty())
        return;
    for (std::size_t i = 0; i + 1 < clashes.size(); ++i)
        tell(clashes[i]);
    throw Failure(kWrongUsage, clashes.back());
}

} // namespace

void refuseClashes(const Agenda &agenda, const std::string &out)
{
    refuse(Clashes(agenda, out).find());
}

void refuseFoldedClashes(const Agenda &agenda, const std::string &out)
{
    const std::vector<std::string> clashes = foldedClashes(agenda);
    if (!clashes.empty() && foldsNames(out))
        refuse(clashes);
}

} // namespace ztrace
