// (c) the ztrace developers. Licence: see LICENSE.
//
// The lightness of colours, without a QColor a pixel.
#ifndef ZTRACE_IMAGING_LIGHTNESS_H
#define ZTRACE_IMAGING_LIGHTNESS_H

#include <QRgb>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// QColor::lightness() depends on a colour's largest and smallest channel alone; it is asked once
// for every pair of them that is met. A grey's lightness is its own value.
class LightnessTable
{
public:
    uint8_t operator()(QRgb word)
    {
        const int red = qRed(word);
        const int green = qGreen(word);
        const int blue = qBlue(word);
        if (red == green && green == blue)
            return static_cast<uint8_t>(red);
        const int largest = std::max(red, std::max(green, blue));
        const int smallest = std::min(red, std::min(green, blue));
        const int16_t known = byExtremes[static_cast<std::size_t>(256 * largest + smallest)];
        return known >= 0 ? static_cast<uint8_t>(known) : ask(largest, smallest);
    }

private:
    uint8_t ask(int largest, int smallest);

    std::vector<int16_t> byExtremes = std::vector<int16_t>(std::size_t(256) * 256, -1);
};

} // namespace ztrace

#endif
