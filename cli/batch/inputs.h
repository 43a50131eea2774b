// (c) the ztrace developers. Licence: see LICENSE.
//
// The files that a run is about: named, in folders, or in lists.
#ifndef ZTRACE_CLI_BATCH_INPUTS_H
#define ZTRACE_CLI_BATCH_INPUTS_H

#include <functional>
#include <string>
#include <vector>

#include "itemlist.h"
#include "ownfiles.h"

namespace ztrace {

struct Collected
{
    ItemList items;
    std::vector<std::string> problems; // what could not be looked at, in sentences
    std::vector<std::string> notes;    // what was left out on purpose
    int page = 1;                      // of every file that is found; 0: these
    PageRanges ranges = {};

    void add(Item item)
    {
        item.page = page;
        item.ranges = ranges;
        items.add(item);
    }
};

// How folders are walked.
struct FolderWalk
{
    bool recursive = false;
    // As shells have them; empty: what images are called, but for SVG and for PDF and PNG that this
    // program made, as these are drawings.
    std::vector<std::string> patterns;
    std::string out;         // this folder is left out where it is found in another one
    bool opensFiles = true;  // else all PDF and PNG are taken
    OwnFiles *own = nullptr; // what is never taken: side files, and drawings that it has read of
};

// Adds a file, or what is in a folder: in the order of the bytes of the names, hidden ones left
// out, each folder once whatever links lead to it. A file that is not there is no problem here: it
// gets its result like any other.
void collect(const std::string &said, const FolderWalk &walk, Collected *collected);

// Adds the files that a list names, one a line, "-" for standard input; empty lines are left out. A
// zero byte in it says that names end with those. Throws a Failure.
void collectList(const std::string &fileName, Collected *collected);

// Gives the bytes of a file, "-" for standard input, portion by portion; none is empty, and the
// first has at least 64 kB unless the file is shorter. Throws a Failure, also when they are more
// than a thousand million, which endless input is.
void forEachPortion(const std::string &fileName,
                    const std::function<void(const std::string &)> &take);

} // namespace ztrace

#endif
