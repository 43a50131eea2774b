// (c) the ztrace developers. Licence: see LICENSE.
//
// Palettes chosen for an image.
#ifndef ZTRACE_IMAGING_PALETTE_H
#define ZTRACE_IMAGING_PALETTE_H

#include <QImage>

#include <vector>

#include "edges.h"

namespace ztrace {

// Colours of the areas of an ARGB32 image, without those of soft edges: flat colours as they
// are, shaded areas in steps. Few pixels count as well as many when their colour is far from
// all others. Fully transparent pixels get one colour that does not count towards `most`.
std::vector<QRgb> flatPalette(const QImage &image, const EdgeMap &edges, int most);

// At most `most` colours: one for each level of transparency (see settleAlpha), the others for the
// image's opaque pixels by a library's median cut. Fully transparent pixels get one colour that
// does not count.
std::vector<QRgb> medianPalette(const QImage &image, int most);

} // namespace ztrace

#endif
