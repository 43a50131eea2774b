// (c) the ztrace developers. Licence: see LICENSE.
//
// What runs into a folder have written themselves, which is no picture whatever it is called.
#ifndef ZTRACE_CLI_BATCH_OWNFILES_H
#define ZTRACE_CLI_BATCH_OWNFILES_H

#include <QtGlobal>

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "settings.h"
#include "spoolarray.h"

namespace ztrace {

class OwnFiles
{
public:
    // Of runs into the folder of the drawings.
    explicit OwnFiles(const BatchSettings &batch);

    // Reads what has been added to result lines since the last time. Throws a Failure.
    void readLines();

    // Result lines, and the table, the events and the report of this run.
    bool isSideFile(const std::string &path);

    // What a line that was read tells of: 8 bytes a drawing.
    bool isDrawing(const std::string &path);

private:
    std::string placeOf(const std::string &path);

    std::string out;
    std::string results;
    std::set<std::string> sides;        // their places
    std::map<std::string, qint64> read; // bytes, by the name of the file
    SpoolArray<std::uint64_t> drawings; // hashes of their places
    std::string lastFolder;             // that was asked for
    std::string lastPlace;              // of it
};

} // namespace ztrace

#endif
