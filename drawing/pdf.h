// (c) the ztrace developers. Licence: see LICENSE.
//
// PDF: one page of the drawing's size on paper.
#ifndef ZTRACE_DRAWING_PDF_H
#define ZTRACE_DRAWING_PDF_H

#include "Drawing.h"

class QIODevice;

namespace ztrace {

// Writes the drawing. Quadratics become cubics, exactly but for rounding; with style.byLayer every
// layer is an optional content group that viewers list. The file carries no date and no random
// name, so that the same drawing gives the same bytes. Returns false when the device took less
// than everything.
bool writePdf(const Drawing &drawing, const PaintStyle &style, QIODevice *device);

} // namespace ztrace

#endif
