// (c) the ztrace developers. Licence: see LICENSE.
//
// Lines lighter than the threshold. docs/strokes/leftovers.md.
#ifndef ZTRACE_STROKES_PALEINK_H
#define ZTRACE_STROKES_PALEINK_H

#include "strokes/InkPicture.h"
#include "strokes/leftout.h"

namespace ztrace::strokes {

// The lightnesses of a clean picture in greys with its pale lines as dark as the others; none where
// it has no pale lines. `left` are pale parts that are no lines, `lines` those that are.
//
// Pale is what is lighter than the threshold and darker than the paper by kPale of what the ink is,
// with no ink within kBesideInk pixels: edges of ink are no pale lines. What goes on from there in
// ink that is hardly darker than the threshold is of the same line.
struct PaleInk
{
    std::vector<uint8_t> grey;
    LeftOutParts lines;
    LeftOutParts left;
};
PaleInk paleInkOf(const InkPicture &picture);
const double kPale = 0.1;
const int kBesideInk = 2;

} // namespace ztrace::strokes

#endif
