// (c) the ztrace developers. Licence: see LICENSE.
//
// Sets of files that get their names at one time: each set together or not at all, whatever becomes
// of the others. Waiting for the disk is what naming costs, and it is waited for once for all.
#ifndef ZTRACE_DRAWING_NAMEGROUP_H
#define ZTRACE_DRAWING_NAMEGROUP_H

#include "naming.h"

#include <vector>

namespace ztrace {

struct NamedSet
{
    std::vector<NewFile> files; // at least one; their contents are on the disk

    // What has come of it.
    int error = 0;            // a number of <cerrno>
    std::size_t position = 0; // of the file that it is about
    bool isGiven = false; // with an error: the system did not say that the names are on the disk
    QByteArray remainder = {}; // a hidden name that could not be removed
};

// No signal ends the process meanwhile.
void nameSets(std::vector<NamedSet> *sets);

} // namespace ztrace

#endif
