// (c) the ztrace developers. Licence: see LICENSE.
//
// The pages that a TIFF lists, without decoding them.
#ifndef ZTRACE_CLI_TIFFPAGES_H
#define ZTRACE_CLI_TIFFPAGES_H

#include "ending.h"

#include <vector>

namespace ztrace {

// For each page whether its directory and its pixels are there, and all other values that the
// directory points at (colours, resolution). Empty for what is no TIFF.
std::vector<Ending> tiffPages(const QByteArray &bytes);

} // namespace ztrace

#endif
