// (c) the ztrace developers. Licence: see LICENSE.
//
// Shading that no flat colour is near to, in what is drawn: docs/imaging/unexplained.md.
#ifndef ZTRACE_IMAGING_UNEXPLAINED_H
#define ZTRACE_IMAGING_UNEXPLAINED_H

#include <QImage>

#include <cstdint>
#include <vector>

#include "LabelPlane.h"

namespace ztrace {

enum class Explained : uint8_t {
    Well,   // near the colour of its label, or a pixel of a soft edge or a thin line
    Beside, // far from it, within two pixels of one that is not explained
    Not     // far from it, as all eight pixels about it are, and no mixture of labels beside it
};

// Of every pixel of an ARGB32 image, rows from the top; empty where hardly one is not explained.
std::vector<Explained> unexplainedBy(const LabelPlane &plane, const QImage &image);

} // namespace ztrace

#endif
