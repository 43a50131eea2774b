// (c) the ztrace developers. Licence: see LICENSE.
//
// From an image to few colours by the engine's quantisation: docs/imaging/blend.md.
#ifndef ZTRACE_IMAGING_BLEND_H
#define ZTRACE_IMAGING_BLEND_H

#include <QImage>

#include <map>
#include <string>
#include <vector>

#include "LabelPlane.h"

namespace ztrace {

// The engine's quantisation of an ARGB32 image from a start palette, refined in its cycles. An
// empty palette leaves the start to the engine. `engineOptions` are the engine's by name, at its
// defaults where they say nothing. Channels keep the order of their values, so that 127 and 128 are
// near each other. Equal colours get one label, all transparent ones too; there may be labels
// without pixels. Random numbers are the C library's, drawn as the engine draws them. Throws a
// TraceError where no palette can be made, or one of more than 65534 colours.
LabelPlane reduceBlend(const QImage &image, const std::vector<QRgb> &start,
                       const std::map<std::string, double> &engineOptions);

// The engine's own black and white, with its preprocessing: `engineOptions` have monochrome set.
// A label for every entry of its palette. Throws as well.
LabelPlane reduceInk(QImage image, const std::map<std::string, double> &engineOptions);

// The colour that a palette entry (4 signed bytes R, G, B, A) stands for whose channels are stored
// as value - 128. Nearly opaque and nearly transparent ones are taken as such.
QRgb colourOfEntry(const signed char *entry);

// The palette entry that stands for a colour, as colourOfEntry reads it.
void appendEntryOf(QRgb colour, std::vector<signed char> *palette);

} // namespace ztrace

#endif
