// (c) the ztrace developers. Licence: see LICENSE.
//
// Charts and pages with a little colour, told from black ink on paper: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_COLOUREDINK_H
#define ZTRACE_IMAGING_COLOUREDINK_H

#include <QImage>

namespace ztrace {

// Of what is drawn on clean paper, the share that has a hue, 0 to 1. Paper is clean where most
// pixels are the same word, as drawing programs leave it and scanners do not; else, or where hardly
// a pixel has a hue, it is 0. An ARGB32 or RGB32 image.
double colouredInkShare(const QImage &image);

} // namespace ztrace

#endif
