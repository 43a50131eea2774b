// (c) the ztrace developers. Licence: see LICENSE.
//
// Palettes chosen for an image.
#ifndef ZTRACE_IMAGING_PALETTE_H
#define ZTRACE_IMAGING_PALETTE_H

#include <QImage>

#include <vector>

namespace ztrace {

// Colours of the areas of an ARGB32 image, without those of soft edges (isEdge): flat colours as
// they are, shaded areas in steps. Few pixels count as well as many when their colour is far from
// all others. Fully transparent pixels get one colour that does not count towards `most`.
std::vector<QRgb> flatPalette(const QImage &image, int most);

// At most `most` colours: one for each level of transparency (see settleAlpha), the others for the
// image's opaque pixels by a library's median cut. Fully transparent pixels get one colour that
// does not count.
std::vector<QRgb> medianPalette(const QImage &image, int most);

// Gives soft edges away: pixels neither opaque nor fully transparent become one or the other,
// except in areas of at least `kLeastTranslucent` pixels of one alpha. Of these alphas as many stay
// as suit a palette of `most` colours, one in four. Fully transparent pixels get one colour.
void settleAlpha(QImage *image, int most);

// Pixels that are nearly opaque or nearly transparent become wholly so.
void roundAlpha(QImage *image);

// Pixels less than half opaque become fully transparent, the others opaque.
void makeAlphaBinary(QImage *image);

const int kLeastTranslucent = 64;

} // namespace ztrace

#endif
