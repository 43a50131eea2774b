// (c) the ztrace developers. Licence: see LICENSE.
//
// The colours of --only-color among those that an image came to have.
#ifndef ZTRACE_CLI_ONLYCOLOURS_H
#define ZTRACE_CLI_ONLYCOLOURS_H

#include <QRgb>

#include <string>
#include <vector>

namespace ztrace {

// For each of the colours the nearest one of the palette, by the largest difference of a channel;
// `notes` gets a sentence where that is another one. Throws a Failure for a colour that nothing is
// near to: an empty drawing would be no answer. Clear entries of the palette do not count.
std::vector<QRgb> nearestInPalette(const std::vector<QRgb> &colours,
                                   const std::vector<QRgb> &palette,
                                   std::vector<std::string> *notes);

} // namespace ztrace

#endif
