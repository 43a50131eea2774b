// (c) the ztrace developers. Licence: see LICENSE.
//
// The pages that a TIFF lists, without decoding them.
#ifndef ZTRACE_CLI_TIFFPAGES_H
#define ZTRACE_CLI_TIFFPAGES_H

#include "ending.h"

#include <map>
#include <vector>

namespace ztrace {

// Whole numbers of a directory by their tags.
typedef std::map<qint64, std::vector<qint64>> TiffValues;

// For each page whether its directory and its pixels are there, and all other values that the
// directory points at (colours, resolution). Empty for what is no TIFF.
std::vector<Ending> tiffPages(const QByteArray &bytes);

// Those of one of the pages, 1 is the first; none where there is no such page, or no TIFF.
TiffValues tiffValues(const QByteArray &bytes, int page);

} // namespace ztrace

#endif
