// (c) the ztrace developers. Licence: see LICENSE.
//
// The pages that a TIFF lists, without decoding them.
#ifndef ZTRACE_CLI_TIFFPAGES_H
#define ZTRACE_CLI_TIFFPAGES_H

#include <QByteArray>

#include <vector>

namespace ztrace {

// For each page whether its directory, and all the data that this points at, is there. Empty for
// what is no TIFF.
std::vector<bool> tiffPages(const QByteArray &bytes);

} // namespace ztrace

#endif
