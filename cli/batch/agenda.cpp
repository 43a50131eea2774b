// (c) the ztrace developers. Licence: see LICENSE.
#include "agenda.h"

#include "inputs.h"
#include "itemsettings.h"
#include "manifest.h"
#include "results.h"

#include "cli/formats.h"
#include "cli/messages.h"
#include "cli/options.h"
#include "cli/tracejob.h"

#include <algorithm>
#include <cstring>

#include <sys/stat.h>

namespace ztrace {

namespace {

const std::size_t kMostClashes = 20;

typedef std::pair<dev_t, ino_t> Identity;

std::vector<std::string> suffixesOf(const Settings &settings)
{
    std::vector<std::string> names = settings.batch.formats;
    if (names.empty() && !settings.format.empty())
        names.push_back(settings.format);
    if (names.empty())
        names.push_back(allFormats().front().name);
    std::vector<std::string> suffixes;
    for (const std::string &name : names)
        suffixes.push_back(findFormat(name)->suffix);
    return suffixes;
}

void append(std::vector<Item> &&items, std::vector<Item> *to)
{
    to->insert(to->end(), std::make_move_iterator(items.begin()),
               std::make_move_iterator(items.end()));
}

Collected collectAll(const CommandLine &line)
{
    const BatchSettings &batch = line.settings.batch;
    const Walk walk = { batch.recursive, batch.patterns, batch.out };
    Collected collected;
    for (const std::string &input : line.inputs) {
        if (input == "-")
            collectList(input, &collected);
        else
            collect(input, walk, &collected);
    }
    for (const std::string &list : batch.lists)
        collectList(list, &collected);
    for (Item &item : collected.items) {
        item.page = line.settings.page;
        if (item.page == 0)
            item.ranges = line.settings.pages;
    }
    std::vector<std::string> errors;
    for (const std::string &manifest : batch.manifests)
        append(readManifest(manifest, &errors), &collected.items);
    if (errors.empty())
        return collected;
    for (std::size_t i = 0; i + 1 < errors.size(); ++i)
        tell(errors[i]);
    throw Failure(kWrongUsage, errors.back());
}

} // namespace

std::vector<std::string> Agenda::outputsOf(const Item &item) const
{
    std::vector<std::string> outputs;
    for (const std::string &suffix : suffixes)
        outputs.push_back(outputNameOf(item, names, suffix));
    return outputs;
}

int chunkOf(const std::string &path, int chunks)
{
    const std::string key = keyOf(path, 0);
    unsigned long long number = 0;
    std::memcpy(&number, key.data(), sizeof number);
    return static_cast<int>(number % static_cast<unsigned long long>(chunks)) + 1;
}

Agenda collectAgenda(const CommandLine &line)
{
    const BatchSettings &batch = line.settings.batch;
    if (!batch.names.empty())
        checkTemplate(batch.names);
    if (line.inputs.empty() && batch.lists.empty() && batch.manifests.empty()
        && batch.watch.empty())
        throw Failure(kWrongUsage,
                      "batch: no input: give images, folders, --files-from or --manifest "
                      "(see ztrace --help)");
    Collected collected = collectAll(line);
    Agenda agenda;
    agenda.suffixes = suffixesOf(line.settings);
    agenda.names = batch.names;
    agenda.problems = std::move(collected.problems);
    if (!line.settings.quiet) {
        for (const std::string &note : collected.notes)
            tell(note);
    }
    for (const std::string &problem : agenda.problems)
        tell(problem);
    if (collected.items.empty() && agenda.problems.empty() && batch.watch.empty())
        throw Failure(kInputUnreadable, "batch: there is no picture");
    for (Item &item : collected.items) {
        if (chunkOf(item.path, batch.chunks) == batch.chunk)
            agenda.items.push_back(std::move(item));
    }
    return agenda;
}

void spreadPages(const std::function<int(const Item &)> &pages, Agenda *agenda)
{
    const auto isWhole = [](const Item &item) { return item.page == 0; };
    if (std::none_of(agenda->items.begin(), agenda->items.end(), isWhole))
        return;
    std::vector<Item> spread;
    for (Item &item : agenda->items) {
        if (!isWhole(item)) {
            spread.push_back(std::move(item));
            continue;
        }
        const int count = pages(item);
        const std::vector<int> wanted = pagesWithin(item.ranges, count);
        item.pages = count > 1 || wanted.size() > 1 ? std::max(2, count) : 1;
        for (const int page : wanted) {
            item.page = page;
            spread.push_back(item);
        }
    }
    agenda->items = std::move(spread);
}

void refuseClashes(const Agenda &agenda, const std::string &out)
{
    std::vector<std::string> clashes
        = clashesOf(agenda.items, agenda.names, agenda.suffixes, kMostClashes);
    std::vector<Identity> inputs;
    struct stat info;
    for (const Item &item : agenda.items) {
        if (stat(item.path.c_str(), &info) == 0)
            inputs.push_back({ info.st_dev, info.st_ino });
    }
    std::sort(inputs.begin(), inputs.end());
    for (const Item &item : agenda.items) {
        for (const std::string &output : agenda.outputsOf(item)) {
            const std::string name = out + '/' + output;
            if (clashes.size() < kMostClashes && stat(name.c_str(), &info) == 0
                && std::binary_search(inputs.begin(), inputs.end(),
                                      Identity(info.st_dev, info.st_ino)))
                clashes.push_back(name + ": is a picture of this run (see --out and --names)");
        }
    }
    if (clashes.empty())
        return;
    for (std::size_t i = 0; i + 1 < clashes.size(); ++i)
        tell(clashes[i]);
    throw Failure(kWrongUsage, clashes.back());
}

} // namespace ztrace
