// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas of one even colour that lines and letters lie on, and what the picture is without them.
// docs/strokes/grounds.md.
#ifndef ZTRACE_STROKES_GROUNDS_H
#define ZTRACE_STROKES_GROUNDS_H

#include "strokes/InkPicture.h"
#include "strokes/inks.h"

namespace ztrace::strokes {

const uint8_t kNoGround = 255;

// colours  of paper, the first, and of the areas, as 0xffRRGGBB
// owners   of every pixel the ground it is on by its position in `colours`; kNoGround inside of
//          ink that is far from any. Beneath lines grounds meet in the middle.
// pixels   the picture with paper in place of every area, and the ink as it is; 0xffRRGGBB
// areas    pieces of all areas that hang together
// Both planes width * height, rows without gaps.
struct Grounds
{
    std::vector<uint32_t> colours;
    std::vector<uint8_t> owners;
    std::vector<uint32_t> pixels;
    std::size_t areas = 0;
};

// Whether rows of a picture, of which every fourth is enough, run through what may be an area. Most
// drawings have none, and cost no more than this.
bool mayHaveGrounds(const ColourPicture &rows);

// Finds the areas. False, and nothing, where there are none, or where tones pass into each other
// as in photographs.
bool groundsOf(const ColourPicture &picture, Grounds *grounds);

// The cells of an area's colour, and how much of every pixel something else covers, 0 to 255: soft
// edges between two grounds tell where these meet.
Plane cellsOf(const Grounds &grounds, const ColourPicture &picture, std::size_t ground);
std::vector<uint8_t> greyOf(const Grounds &grounds, const ColourPicture &picture,
                            std::size_t ground);

} // namespace ztrace::strokes

#endif
