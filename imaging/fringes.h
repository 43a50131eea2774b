// (c) the ztrace developers. Licence: see LICENSE.
//
// Text that was drawn for the red, green and blue stripes of a screen, as text drawn for whole
// pixels: docs/imaging/fringes.md.
#ifndef ZTRACE_IMAGING_FRINGES_H
#define ZTRACE_IMAGING_FRINGES_H

#include <QImage>

namespace ztrace {

// Takes the coloured fringes from the text of a screenshot in ARGB32: every pixel of such text
// becomes the mixture of the text's colour and the ground that it was meant to be. A picture
// without such text is left alone and not even copied where it is shared. Returns whether there
// was any.
bool removeFringes(QImage *image);

} // namespace ztrace

#endif
