// (c) the ztrace developers. Licence: see LICENSE.
//
// Lists of pictures that say more than their names.
#ifndef ZTRACE_CLI_BATCH_MANIFEST_H
#define ZTRACE_CLI_BATCH_MANIFEST_H

#include <string>
#include <vector>

#include "itemlist.h"

namespace ztrace {

// Reads CSV with a first line of column names, or JSON lines: "path", and as wanted "page",
// "settings" and "sha256". Settings are those of a settings file: in CSV "preset=logo;colors=4", in
// JSON an object; the engine's are "set.ltres=1". A path that is not absolute begins at the
// manifest's folder. What is wrong goes to `errors` with its line, up to a hundred of them.
// Throws a Failure for a file that cannot be read.
void readManifest(const std::string &fileName, ItemList *items, std::vector<std::string> *errors);

} // namespace ztrace

#endif
