// (c) the ztrace developers. Licence: see LICENSE.
//
// A chain's points to a path that stays with them: docs/tracing/shapes.md, "Fitting".
#ifndef ZTRACE_TRACING_CHAINFIT_H
#define ZTRACE_TRACING_CHAINFIT_H

#include "softedges.h"

#include "fit/fit.h"

namespace ztrace {

// A fit that leaves its points by more than kFarFromPoints is tried again for less, and given up
// for the points themselves, line by line. A chain that is not closed is pinned at its ends, a
// closed one may be a whole shape.
fit::Path fitPoints(const ChainPoints &points, bool closed, bool wholeShapes = true);
// A path that fitPoints found, as far as it covers the pixels better; of a sharp picture, or where
// it shows areas already.
fit::Path fitToAreas(const fit::Path &path, const fit::Coverage &coverage, bool isSharp);
// Whether mixed pixels show areas, by what such a path covers of them.
bool tellsAreas(const fit::Path &path, const fit::Coverage &coverage);
// The same with numbers at .4 of their price for every time, and no points left out; from
// kCloserTimes on line by line.
fit::Path fitPointsCloser(const ChainPoints &points, bool closed, int times);
// The same for the pieces of a path that `again` marks; the others stay.
fit::Path fitPartsCloser(const fit::Path &path, const std::vector<char> &again,
                         const ChainPoints &points, bool closed, int times);
// The pieces that `again` marks line by line through the cracks of their points.
fit::Path drawCracks(const fit::Path &path, const std::vector<char> &again,
                     const ChainPoints &points, const ChainPoints &cracks, bool closed);
const int kCloserTimes = 3;
// Times that cracks take the place of points, a little more of them each time.
const int kCrackTimes = 8;
const double kFarFromPoints = 1.8; // pixels

} // namespace ztrace

#endif
