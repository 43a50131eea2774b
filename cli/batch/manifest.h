// (c) the ztrace developers. Licence: see LICENSE.
//
// Lists of pictures that say more than their names.
#ifndef ZTRACE_CLI_BATCH_MANIFEST_H
#define ZTRACE_CLI_BATCH_MANIFEST_H

#include <string>
#include <vector>

#include "names.h"

namespace ztrace {

// Reads CSV with a first line of column names, or JSON lines: "path", and as wanted "page",
// "settings" and "sha256". Settings are those of a settings file: in CSV "preset=logo;colors=4", in
// JSON an object; the engine's are "set.ltres=1". A path that is not absolute begins at the
// manifest's folder. What is wrong goes to `errors` with its line, up to a hundred of them.
// Throws a Failure for a file that cannot be read.
std::vector<Item> readManifest(const std::string &fileName, std::vector<std::string> *errors);

// The fields of CSV lines, each with the number of its line: quotes, doubled quotes in quotes, and
// line ends in quotes. False, and the line, for a quote without an end.
struct CsvRow
{
    int line = 0;
    std::vector<std::string> fields;
};
bool parseCsv(const std::string &text, std::vector<CsvRow> *rows, int *wrongLine);

} // namespace ztrace

#endif
