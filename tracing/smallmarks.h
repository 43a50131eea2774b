// (c) the ztrace developers. Licence: see LICENSE.
//
// What small areas are worth: the dot of an i and the eye of an e are a pixel or two that nobody
// may miss. The page is docs/tracing/small-areas.md.
#ifndef ZTRACE_TRACING_SMALLMARKS_H
#define ZTRACE_TRACING_SMALLMARKS_H

#include <QImage>
#include <QRgb>

#include <vector>

#include "smallregions.h"

namespace ztrace {

// Whether an area of an ARGB32 image whose labels have these colours stands out from those
// around it so much that its border is paid for, as regions pay for theirs
// (docs/imaging/regions.md). Mixtures of two of the colours around do not: they are what soft edges
// are made of. What is opaque amid nothing does, and a clear hole in what is opaque; areas that are
// translucent do not.
bool standsOut(const SmallArea &area, const QImage &image, const std::vector<QRgb> &colours);

// Whether a colour is a mixture of two others, but for a few steps. Translucent ones are none.
bool isMixtureOf(QRgb colour, QRgb one, QRgb other);

} // namespace ztrace

#endif
