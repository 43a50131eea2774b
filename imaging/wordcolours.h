// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours that words are written in. The page is docs/imaging/spotcolours.md.
#ifndef ZTRACE_IMAGING_WORDCOLOURS_H
#define ZTRACE_IMAGING_WORDCOLOURS_H

#include "edges.h"
#include "ridges.h"

#include <vector>

namespace ztrace {

struct WordColour
{
    Ridge ridge;        // of the very colour, beside the words' ground
    std::size_t pixels; // of all ridges of these words
};

// The colours that letters close together reach and do not exceed, exactly and in several places:
// those farthest from their ground first. Of an ARGB32 image, in its opaque parts.
std::vector<WordColour> wordColoursIn(const QImage &image, const EdgeMap &edges);

// Whether none of a palette's opaque colours is the colour of words or nearly so, or one that they
// come close to.
bool isMissing(const WordColour &word, const std::vector<QRgb> &palette);

} // namespace ztrace

#endif
