// (c) the ztrace developers. Licence: see LICENSE.
//
// Photographs in what is drawn otherwise, as in screenshots: docs/imaging/photoareas.md.
#ifndef ZTRACE_IMAGING_PHOTOAREAS_H
#define ZTRACE_IMAGING_PHOTOAREAS_H

#include <QImage>

#include <cstdint>
#include <vector>

#include "LabelPlane.h"

namespace ztrace {

// Which pixels of an ARGB32 image are of a photograph, rows from the top; empty where none is.
std::vector<uint8_t> photographsIn(const QImage &image);

// The image with every pixel clear whose mark is not `kept`.
QImage onlyMarked(const QImage &image, const std::vector<uint8_t> &marks, uint8_t kept);

// Takes the labels of marked pixels from another plane of the same size. Colours that both have
// become one.
void putMarked(const LabelPlane &other, const std::vector<uint8_t> &marks, LabelPlane *plane);

} // namespace ztrace

#endif
