// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines that a threshold has left in dots become lines again. docs/strokes/scans.md.
#ifndef ZTRACE_STROKES_BRIDGES_H
#define ZTRACE_STROKES_BRIDGES_H

#include "strokes/InkPicture.h"

namespace ztrace::strokes {

// The lightnesses of a picture of two tones with ink, 0, where there is none but a thin line of it
// goes on to both sides within a few pixels. Gaps of dashes are longer, edges of wide lines stay.
std::vector<uint8_t> bridged(const InkPicture &picture);

} // namespace ztrace::strokes

#endif
