// (c) the ztrace developers. Licence: see LICENSE.
//
// Pictures on transparency whose areas are too thin to be flat anywhere: lettering, lines, stars.
#ifndef ZTRACE_IMAGING_CLEARPICTURES_H
#define ZTRACE_IMAGING_CLEARPICTURES_H

#include <QImage>

namespace ztrace {

// Part of the mostly opaque pixels that have one of the four commonest colours, but for some steps
// of a channel and whatever their alpha: 0 to 1, 0 where there are none. An antialiased drawing on
// nothing has the colours it was drawn with all over, where a photograph that was cut out has many.
// Of an image of format ARGB32.
double commonColoursShare(const QImage &image);

} // namespace ztrace

#endif
