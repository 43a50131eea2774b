// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines of which a threshold has left single dots, far apart. docs/strokes/scans.md.
#ifndef ZTRACE_STROKES_DOTTEDLINES_H
#define ZTRACE_STROKES_DOTTEDLINES_H

#include "strokes/InkPicture.h"

namespace ztrace::strokes {

// Draws straight rows of small parts of the ink as lines, two pixels wide, where chance would not
// put them in a row: they are far more than those right beside it. Rows of an even step stay, as a
// pen has drawn those dots. A row ends on other ink, or where it crosses another row, when that is
// as near as dots of it are apart, else at its last dot.
//
// grey    lightnesses of the picture, of two tones: `picture.grey` may be the same values
// result  how many rows were drawn; 0 leaves everything as it is, also where the page has more
//         specks than drawings have
std::size_t drawDottedLines(const InkPicture &picture, std::vector<uint8_t> *grey);

} // namespace ztrace::strokes

#endif
