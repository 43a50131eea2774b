// (c) the ztrace developers. Licence: see LICENSE.
//
// Noise of scans, and a picture with less of it.
#ifndef ZTRACE_STROKES_NOISE_H
#define ZTRACE_STROKES_NOISE_H

#include "strokes/InkPicture.h"

namespace ztrace::strokes {

// Whether pixels of the paper deviate by more than kNoisy of what the ink is darker by, or, in a
// picture of two tones, whether more than kRagged of the pixels of its edges have bumps: drawings
// that were never scanned have .0056 at most, scans with a threshold .01 and more. Or whether, for
// every pixel of edges, more than kStrayPart of ink have at most one neighbour: of 190 drawings
// that were never scanned .0005 at most, of a bad scan whose lines are rows of dots .056.
bool isNoisy(const InkPicture &picture, bool hard);
const double kNoisy = 0.032;
const double kRagged = 0.0068;
const double kStrayPart = 0.003;

// Deviation of the paper's lightness, by pixels beside which nothing is darker than paper by a good
// part of what ink is: a page full of hatch or of contours has ink in most of all pairs. 255 where
// noise is so strong, or ink so dense, that next to nothing is bare, and where paper is clean but
// much of the ink is dots alone.
double bareDeviation(const InkPicture &picture);

// The lightnesses under weights of 1 2 1 across and down: noise falls to three eighths, edges of
// ink stay where they are. For telling what hangs together; lines of one pixel would vanish.
std::vector<uint8_t> smoothed(const InkPicture &picture);

} // namespace ztrace::strokes

#endif
