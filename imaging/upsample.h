// (c) the ztrace developers. Licence: see LICENSE.
//
// Outlines finer than pixels: where an edge is soft, the colours on it tell where between the
// pixels it runs.
#ifndef ZTRACE_IMAGING_UPSAMPLE_H
#define ZTRACE_IMAGING_UPSAMPLE_H

#include <QImage>

#include <functional>

#include "LabelPlane.h"

namespace ztrace {

const int kMostUpsampling = 8;

// Whether many pixels beside a border have a colour between those of the two sides, so that it runs
// between the pixels.
bool hasSoftEdges(const QImage &image, const LabelPlane &plane);

// How many times as fine an image is worth to be traced: 1 where hardly any of the pixels on the
// borders of labels are mixtures of colours, and for images that are large enough as they are.
// `plane` holds the image's labels, one a pixel.
int usefulUpsampling(const QImage &image, const LabelPlane &plane);

// The labels on a grid `factor` times as fine (1 to kMostUpsampling). Every part of a pixel chooses
// among the labels of the pixel and its eight neighbours the one most similar to the colour
// interpolated there.
LabelPlane upsampled(const QImage &image, const LabelPlane &plane, int factor);

// Takes a row as runs: where each begins, the first at 0, and its label, which no neighbour has.
// Both are valid during the call.
typedef std::function<void(const int32_t *starts, const uint16_t *labels, std::size_t count)>
    TakeRuns;

// The same row by row from the top, for those that need not keep them: factor squared times as many
// labels as the plane has. Costs what its borders do, and a byte a pixel.
void forEachUpsampledRow(const QImage &image, const LabelPlane &plane, int factor,
                         const TakeRuns &take);

} // namespace ztrace

#endif
