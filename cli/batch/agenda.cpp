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

namespace ztrace {

namespace {

Agenda::Suffix suffixOf(const Format &format)
{
    return { format.suffix, (format.capabilities & kHoldsPages) != 0 };
}

// Of the formats that are asked for; a template may say one by its ending.
std::vector<Agenda::Suffix> suffixesOf(const Settings &settings)
{
    std::vector<std::string> names = settings.batch.formats;
    if (names.empty() && !settings.format.empty())
        names.push_back(settings.format);
    const std::string &pattern = settings.batch.names;
    const std::string ending = pattern.empty() ? std::string() : endingOf(pattern);
    if (!ending.empty()) {
        const Format *format = formatOfSuffix(QString::fromStdString(ending));
        if (!names.empty() && (names.size() > 1 || findFormat(names.front()) != format))
            throw Failure(kWrongUsage,
                          "--names: all drawings would end with ." + ending
                              + ", other formats are asked for ({format} stands for theirs)");
        return { suffixOf(*format) };
    }
    if (names.empty())
        names.push_back(allFormats().front().name);
    std::vector<Agenda::Suffix> suffixes;
    suffixes.reserve(names.size());
    for (const std::string &name : names)
        suffixes.push_back(suffixOf(*findFormat(name)));
    return suffixes;
}

Collected collectAll(const CommandLine &line)
{
    const BatchSettings &batch = line.settings.batch;
    OwnFiles own(batch);
    if (!batch.patterns.empty())
        own.readLines();
    const FolderWalk walk = { batch.recursive, batch.patterns, batch.out, true, &own };
    Collected collected;
    collected.page = line.settings.page;
    if (collected.page == 0)
        collected.ranges = line.settings.pages;
    for (const std::string &input : line.inputs) {
        if (input == "-")
            collectList(input, &collected);
        else
            collect(input, walk, &collected);
    }
    for (const std::string &list : batch.lists)
        collectList(list, &collected);
    std::vector<std::string> errors;
    for (const std::string &manifest : batch.manifests)
        readManifest(manifest, &collected.items, &errors);
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
    for (const Suffix &suffix : suffixes) {
        if (item.kind == ItemKind::Alone || (item.kind == ItemKind::Book) == suffix.holdsPages)
            outputs.push_back(outputNameOf(item, names, suffix.text));
    }
    return outputs;
}

Item Agenda::bookOf(const Item &page)
{
    Item book = page;
    book.kind = ItemKind::Book;
    book.page = 0;
    return book;
}

bool Agenda::makesBooks() const
{
    return !namesPages(names)
        && std::any_of(suffixes.begin(), suffixes.end(),
                       [](const Suffix &suffix) { return suffix.holdsPages; });
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
    if (collected.items.isEmpty() && agenda.problems.empty() && batch.watch.empty())
        throw Failure(kInputUnreadable, "batch: there is no picture");
    if (batch.chunks == 1) {
        agenda.items = std::move(collected.items);
        return agenda;
    }
    collected.items.forEach([&](const Item &item) {
        if (chunkOf(item.path, batch.chunks) == batch.chunk)
            agenda.items.add(item);
    });
    return agenda;
}

void spreadPages(const SpoolArray<int> &pages, Agenda *agenda)
{
    ItemList spread;
    const int *count = pages.begin();
    agenda->items.forEach([&](Item item) {
        if (item.page != 0) {
            spread.add(item);
            return;
        }
        const std::vector<int> wanted = pagesWithin(item.ranges, std::max(1, *count));
        item.pages = *count > 1 || wanted.size() > 1 ? std::max(2, *count) : *count;
        item.kind = item.pages > 1 && agenda->makesBooks() ? ItemKind::Page : ItemKind::Alone;
        if (const int last = *count > 0 ? lastBeyond(item.ranges, *count) : 0)
            agenda->notes.push_back(item.path + ": there is no page " + std::to_string(last)
                                    + " (the file has " + std::to_string(*count) + ")");
        ++count;
        for (const int page : wanted) {
            item.page = page;
            spread.add(item);
        }
        if (item.kind == ItemKind::Page)
            spread.add(Agenda::bookOf(item));
    });
    agenda->items = std::move(spread);
}

} // namespace ztrace
