// (c) the ztrace developers. Licence: see LICENSE.
//
// Transparency of ARGB32 images, settled before colours are chosen: docs/imaging/alpha.md.
//
// Images without transparency are told by one pass and left as they are, not even copied when they
// are shared.
#ifndef ZTRACE_IMAGING_ALPHA_H
#define ZTRACE_IMAGING_ALPHA_H

#include <QImage>

namespace ztrace {

bool isOpaque(const QImage &image);

// Gives soft edges away: pixels neither opaque nor fully transparent become one or the other,
// except in areas of at least `kLeastTranslucent` pixels of one alpha. Of these alphas as many stay
// as suit a palette of `most` colours, one in four. Fully transparent pixels get one colour.
void settleAlpha(QImage *image, int most);

// Pixels that are nearly opaque or nearly transparent become wholly so.
void roundAlpha(QImage *image);

// Pixels less than half opaque become fully transparent, the others opaque.
void makeAlphaBinary(QImage *image);

// Pixels of one alpha that equal their neighbours to the right, below and between: fewer are a soft
// edge and no area. Half of it or twice as many would tell otherwise in 2 to 3 % of clip art.
const int kLeastTranslucent = 64;

} // namespace ztrace

#endif
