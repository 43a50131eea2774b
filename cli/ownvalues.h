// (c) the ztrace developers. Licence: see LICENSE.
//
// Values that one option alone has: what it may be and what it sets.
#ifndef ZTRACE_CLI_OWNVALUES_H
#define ZTRACE_CLI_OWNVALUES_H

#include "optionvalues.h"

namespace ztrace {

const int kMostChunks = 1000000; // of a batch

OptionValue formatName();  // of the drawing
OptionValue formatNames(); // of a batch, with commas between them
OptionValue thresholdOrWord();
OptionValue paletteOrFile();
OptionValue presetName();
OptionValue engineAssignment(); // NAME=VALUE
OptionValue pageOrPages();
OptionValue chunkOfChunks(); // I/N

} // namespace ztrace

#endif
