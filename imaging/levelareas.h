// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas of one lightness under noise and compression: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_LEVELAREAS_H
#define ZTRACE_IMAGING_LEVELAREAS_H

#include "GreyPicture.h"

namespace ztrace {

// Shares of an image's cells of 4 x 4 pixels, and the noise of its areas.
struct LevelAreas
{
    double level = 0.0;  // in areas of calm cells that are of one lightness throughout
    double shaded = 0.0; // in areas of calm cells that go from one lightness to another
    double away = 1.0;   // more than two cells from what is level
    double edges = 0.0;  // with an edge of 64 steps of lightness and more in them
    double noise = 0.0;  // root mean square within the level cells, in steps of lightness
};

// Of an image of format ARGB32 or RGB32. One of less than 48 pixels a side has no areas. Of one of
// more than 1024 pixels a side every k-th pixel of every k-th row is looked at, so that at most
// 1024 are.
LevelAreas levelAreasOf(const QImage &image);
LevelAreas levelAreasOf(const GreyPicture &picture);

// Whether an opaque image is drawn in areas of one colour that only noise and compression made
// uneven: flat art as JPEG, scans of it, screenshots. Dither and strong noise are none of it.
bool isDrawnInLevels(const LevelAreas &areas);

// Whether a grey picture is shaded nearly everywhere and without edges to speak of, as photographs
// are, and pages in falling light.
bool isShadedThroughout(const GreyPicture &picture);

} // namespace ztrace

#endif
