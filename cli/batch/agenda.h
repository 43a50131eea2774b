// (c) the ztrace developers. Licence: see LICENSE.
//
// What a run is to do: its pictures and the names of their drawings, in order and without clashes.
#ifndef ZTRACE_CLI_BATCH_AGENDA_H
#define ZTRACE_CLI_BATCH_AGENDA_H

#include <string>
#include <vector>

#include "cli/commandline.h"
#include "cli/failure.h"
#include "itemlist.h"
#include "spoolarray.h"

namespace ztrace {

struct Agenda
{
    ItemList items;
    struct Suffix
    {
        std::string text; // of a format
        bool holdsPages;
    };
    std::vector<Suffix> suffixes;
    std::string names;                 // template, empty for the usual one
    std::vector<std::string> problems; // folders that could not be read
    std::vector<std::string> notes;    // of pages that are not there, not told yet

    // Drawings below their folder.
    std::vector<std::string> outputsOf(const Item &item) const;

    // The book that a page goes into.
    static Item bookOf(const Item &page);

    // Whether all pages of a file go into one drawing, for some format.
    bool makesBooks() const;
};

// Finds the pictures of the command line; those of other chunks are left out. Tells what was left
// out, and every error of a manifest. Throws a Failure for wrong usage.
Agenda collectAgenda(const CommandLine &line);

// Which of `chunks` a file belongs to, from 1: by its name alone.
int chunkOf(const std::string &path, int chunks);

// Puts every page of files with page 0 in their place, and behind them the file's book. `pages` has
// how many there are, for one such file after the other; 0: they could not be counted.
void spreadPages(const SpoolArray<int> &pages, Agenda *agenda);

} // namespace ztrace

#endif
