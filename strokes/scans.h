// (c) the ztrace developers. Licence: see LICENSE.
//
// What stands out of the noise of a scanned page. docs/strokes/scans.md.
#ifndef ZTRACE_STROKES_SCANS_H
#define ZTRACE_STROKES_SCANS_H

#include "strokes/InkPicture.h"
#include "strokes/leftout.h"

namespace ztrace::strokes {

// The lightnesses of a page as its paper would have them everywhere: each in relation to the paper
// around it, which is the median of cells of kPaperCell pixels, that of their neighbours where a
// cell is full of ink. `paper`: the lightness that all paper has then.
struct EvenPage
{
    std::vector<uint8_t> grey;
    int paper = 255;
};
EvenPage evenPageOf(const InkPicture &picture);
const int kPaperCell = 32;

// The ink of a noisy page: what is, of the smoothed lightnesses, more than half as dark against
// the paper as the darkest place within kPeakReach pixels, and stands out of the noise. So lines
// keep their width however thin they are, and narrow ones beside wide ones stay apart. Limbs of
// letters may be paler than ink is as a rule; other pale parts are `pale`. `least`: how much darker
// than paper somebody wants ink to be at least, in lightnesses; 0: nobody.
struct NoisyInk
{
    Plane ink;
    int threshold = 127; // half way from the paper to the ink; what is lighter is paper
    LeftOutParts pale;
};
NoisyInk inkOfNoisy(const InkPicture &picture, int paper, int least = 0);
const int kPeakReach = 3;

// The lightest of all pixels.
int lightestOf(const InkPicture &picture);

} // namespace ztrace::strokes

#endif
