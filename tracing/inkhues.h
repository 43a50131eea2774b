// (c) the ztrace developers. Licence: see LICENSE.
//
// The colours of stamps, signatures and coloured pens on a page of black ink:
// docs/imaging/ink.md, "Hues".
#ifndef ZTRACE_TRACING_INKHUES_H
#define ZTRACE_TRACING_INKHUES_H

#include <QImage>

#include "tracing/Areas.h"

namespace ztrace {

// Gives parts of the ink, label 0 on paper of label 1, labels of their own where they clearly have
// a hue, and adds the colours of these inks. What hangs together stays of one ink. The picture has
// `upsampling` (1 to 8) times fewer pixels a side than the plane; greys have no hue. Returns
// whether there are any.
bool keepHues(const QImage &picture, int upsampling, Areas *areas);

} // namespace ztrace

#endif
