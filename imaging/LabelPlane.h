// (c) the ztrace developers. Licence: see LICENSE.
//
// An image of few colours: a label a pixel, and the colour of every label.
#ifndef ZTRACE_IMAGING_LABELPLANE_H
#define ZTRACE_IMAGING_LABELPLANE_H

#include <QRgb>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// labels has width * height entries, rows from the top, each below colours.size(). Colours carry
// alpha and are plain (not premultiplied).
struct LabelPlane
{
    int width = 0;
    int height = 0;
    std::vector<uint16_t> labels;
    std::vector<QRgb> colours;

    std::size_t pixels() const { return labels.size(); }
};

} // namespace ztrace

#endif
