// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines of scanned pages that are about as light as the threshold, so that noise decides where
// they are ink: docs/imaging/scan.md, "Pale lines".
#ifndef ZTRACE_IMAGING_PALELINES_H
#define ZTRACE_IMAGING_PALELINES_H

#include "GreyPicture.h"

namespace ztrace {

// Makes ink of such lines all along, in a page of one byte a pixel whose paper has a lightness and
// in which what is at most as light as the threshold (0 to 255, darker than the paper) is ink.
// Only what lies along the middle of a line becomes darker. A page of one bit a pixel, or without
// such lines, stays as it is and is not copied where it is shared.
void mendPaleLines(int threshold, int paper, GreyPicture *page);

} // namespace ztrace

#endif
