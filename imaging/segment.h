// (c) the ztrace developers. Licence: see LICENSE.
//
// From an image to few colours, for the methods that do not leave it to one trace.
#ifndef ZTRACE_IMAGING_SEGMENT_H
#define ZTRACE_IMAGING_SEGMENT_H

#include <QImage>

#include <map>
#include <string>

#include "LabelPlane.h"

namespace ztrace {

// Every pixel gets one of the colours: the most similar one. On edges (isEdge) that would draw
// fringes of a third colour, so that a pixel there chooses among the labels that have reached it
// from the pixels around it, unless it is of exactly one of the colours.
LabelPlane reduceFlat(const QImage &image, const std::vector<QRgb> &colours);

// The engine's quantisation from a start palette, refined in its cycles. An empty palette leaves
// the start to the engine.
LabelPlane reduceBlend(const QImage &image, const std::vector<QRgb> &start,
                       const std::map<std::string, double> &engineOptions);

// The engine's own black and white, with its preprocessing: `engineOptions` have monochrome set.
LabelPlane reduceInk(QImage image, const std::map<std::string, double> &engineOptions);

// The colour that a stored palette entry stands for when the image was handed over with the top
// bits of its channels inverted. Nearly opaque and nearly transparent ones are taken as such.
QRgb colourOfEntry(const QVector<char> &entry);

// The palette entry that stands for a colour, as colourOfEntry reads it.
QVector<char> entryOfColour(QRgb colour);

// The image with the top bit of every channel inverted: the engine's signed bytes then keep the
// order of the channel values.
void invertTopBits(QImage *image);

} // namespace ztrace

#endif
