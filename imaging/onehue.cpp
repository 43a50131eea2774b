// (c) the ztrace developers. Licence: see LICENSE.
#include "onehue.h"

#include "colour.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ztrace {

namespace {

const int kSide = 256;         // pixels looked at along a side
const double kHueNoise = 10.0; // root mean square, steps of a channel; compression leaves so much

// Sums for a straight line through points.
struct Line
{
    double n = 0.0;
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;

    void add(double u, double v)
    {
        n += 1.0;
        x += u;
        y += v;
        xx += u * u;
        xy += u * v;
        yy += v * v;
    }

    // Root mean square of what the best line leaves.
    double rest() const
    {
        if (n < 1.0)
            return 0.0;
        const double u = xx - x * x / n;
        const double v = yy - y * y / n;
        const double both = xy - x * y / n;
        return std::sqrt(std::max(0.0, v - (u > 0.0 ? both * both / u : 0.0)) / n);
    }
};

} // namespace

bool isOfOneHue(const QImage &image)
{
    const int stepX = std::max(1, image.width() / kSide);
    const int stepY = std::max(1, image.height() / kSide);
    Line red;
    Line blue;
    for (int y = 0; y < image.height(); y += stepY) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); x += stepX) {
            const double light = qGray(words[x]);
            red.add(light, qRed(words[x]) - qGreen(words[x]));
            blue.add(light, qBlue(words[x]) - qGreen(words[x]));
        }
    }
    return red.rest() <= kHueNoise && blue.rest() <= kHueNoise;
}

double meanInkRun(const GreyPicture &page, int threshold)
{
    std::vector<uint8_t> buffer(static_cast<std::size_t>(page.width()));
    double pixels = 0.0;
    double runs = 0.0;
    for (int y = 0; y < page.height(); ++y) {
        const uint8_t *line = page.row(y, buffer.data());
        bool before = false;
        for (int x = 0; x < page.width(); ++x) {
            const bool ink = line[x] <= threshold;
            pixels += ink;
            runs += ink && !before;
            before = ink;
        }
    }
    return runs > 0.0 ? pixels / runs : 0.0;
}

} // namespace ztrace
