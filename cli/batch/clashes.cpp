// (c) the ztrace developers. Licence: see LICENSE.
#include "clashes.h"

#include "spoolarray.h"

#include "cli/messages.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <sys/stat.h>

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
        if (drawings.size() > 0)
            comparePictures();
        return clashes;
    }

private:
    void take(const Item &item)
    {
        for (const std::string &output : agenda.outputsOf(item)) {
            names.add(hashOf(output));
            if (const std::uint64_t identity = identityOf(out + '/' + output))
                drawings.add(identity);
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

    void tellOf(const Item &first, const Item &second, const std::string &output)
    {
        if (first.path != second.path) {
            clashes.push_back(first.path + " and " + second.path + " would both become " + output
                              + " (see --names)");
        } else if (first.kind == ItemKind::Book || second.kind == ItemKind::Book) {
            clashes.push_back("pages of " + first.path + " are asked for several times, which all "
                              + "would become " + output + " ({page} in --names tells them apart)");
        } else if (first.page == second.page) {
            clashes.push_back(second.path + ": is given twice");
        } else {
            clashes.push_back("pages " + std::to_string(first.page) + " and "
                              + std::to_string(second.page) + " of " + second.path
                              + " would both become " + output
                              + ": {page} tells them apart in --names (PDF alone holds several)");
        }
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

    const Agenda &agenda;
    const std::string &out;
    SpoolArray<std::uint64_t> names;    // hashes, of all drawings
    SpoolArray<std::uint64_t> drawings; // those that are there
    std::vector<std::string> clashes;
};

} // namespace

void refuseClashes(const Agenda &agenda, const std::string &out)
{
    const std::vector<std::string> clashes = Clashes(agenda, out).find();
    if (clashes.empty())
        return;
    for (std::size_t i = 0; i + 1 < clashes.size(); ++i)
        tell(clashes[i]);
    throw Failure(kWrongUsage, clashes.back());
}

} // namespace ztrace
