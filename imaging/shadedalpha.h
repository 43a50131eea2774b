// (c) the ztrace developers. Licence: see LICENSE.
//
// Transparency of shaded pictures: shadows, glows and glass in few levels: docs/imaging/alpha.md.
#ifndef ZTRACE_IMAGING_SHADEDALPHA_H
#define ZTRACE_IMAGING_SHADEDALPHA_H

#include <QImage>

namespace ztrace {

// Gives every pixel of an ARGB32 image the alpha of an area: at most one level between clear and
// opaque for every four of `colours` (at least 1), areas of such a level as large as pay for their
// borders at `price` (regions.h). Soft edges go to one of their sides. Where next to nothing would
// be left to see the commonest alpha stays. Clear pixels get one colour. An opaque image is left as
// it is, and not copied where it is shared.
void settleShadedAlpha(QImage *image, int colours, double price);

// The same image on white, with its alpha: colours that differ as much as can be seen of them.
QImage seenOnWhite(const QImage &image);

} // namespace ztrace

#endif
