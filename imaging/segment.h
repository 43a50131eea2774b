// (c) the ztrace developers. Licence: see LICENSE.
//
// From an image to few colours, for the methods that do not leave it to one trace.
#ifndef ZTRACE_IMAGING_SEGMENT_H
#define ZTRACE_IMAGING_SEGMENT_H

#include <QImage>

#include <vector>

#include "LabelPlane.h"

namespace ztrace {

// Every pixel gets one of the colours: the most similar one. On edges (isEdge) that would draw
// fringes of a third colour, so that a pixel there chooses among the labels that have reached it
// from the pixels around it, unless it is of exactly one of the colours.
LabelPlane reduceFlat(const QImage &image, const std::vector<QRgb> &colours);


} // namespace ztrace

#endif
