// (c) the ztrace developers. Licence: see LICENSE.
//
// Labels for the pixels of soft edges.
#ifndef ZTRACE_IMAGING_SPREAD_H
#define ZTRACE_IMAGING_SPREAD_H

#include <QImage>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LabelPlane.h"
#include "edges.h"
#include "labelwindow.h"
#include "nearestcolour.h"

namespace ztrace {

const std::size_t kMostColoursOfPlane = 65534; // so that no label is that

// Spreads labels into `waiting`, the unlabelled pixels of the plane (y * width + x, in any order),
// one ring of pixels at a time: every pixel takes the most similar of the labels within two pixels,
// so that both sides of a soft edge are in the choice, and of several the lowest. Labels of thin
// lines (EdgeMap::kOfLine, which spreads with them) go no farther than to pixels that no other
// colour is more similar to, and what is clear to no opaque pixel. Pixels that no label reaches get
// the one most similar to them.
//
// image    ARGB32, of the plane's size; edges are its own
// nearest  of the plane's colours
void spreadLabels(const QImage &image, std::vector<uint32_t> waiting, NearestColour *nearest,
                  EdgeMap *edges, LabelPlane *plane);

} // namespace ztrace

#endif
