// (c) the ztrace developers. Licence: see LICENSE.
//
// From an image to few colours, for the methods that do not leave it to one trace.
#ifndef ZTRACE_IMAGING_SEGMENT_H
#define ZTRACE_IMAGING_SEGMENT_H

#include <QImage>

#include <vector>

#include "LabelPlane.h"
#include "edges.h"

namespace ztrace {

// Every pixel of an ARGB32 image gets one of the colours, of which there is at least one: the most
// similar one. On edges that would draw fringes of a third colour, so that a pixel there chooses
// among the labels that have reached it from the pixels around it, unless it is of exactly one of
// the colours. The edges are those of the image, and used up. `known` has the labels that pixels
// have already, kUnlabelled (labelwindow.h) for the others; empty, none has one.
LabelPlane reduceFlat(const QImage &image, EdgeMap edges, const std::vector<QRgb> &colours,
                      const std::vector<uint16_t> &known = {});

} // namespace ztrace

#endif
