// (c) the ztrace developers. Licence: see LICENSE.
//
// Gradients as PDF has them: patterns of axial and radial shadings.
#ifndef ZTRACE_DRAWING_PDF_GRADIENTS_H
#define ZTRACE_DRAWING_PDF_GRADIENTS_H

#include <QByteArray>

#include "Drawing.h"

namespace ztrace {

// The resources of a page that has the drawing, " /Pattern << ... >>": one for every gradient that
// can be painted; empty where there is none.
QByteArray pdfPatterns(const Drawing &drawing);

// The name of a gradient there, with its slash.
QByteArray pdfPatternName(int gradient);

} // namespace ztrace

#endif
