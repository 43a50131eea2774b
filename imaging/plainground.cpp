// (c) the ztrace developers. Licence: see LICENSE.
#include "plainground.h"

#include "colour.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace ztrace {

namespace {

const int kRows = 512;             // looked at
const int kLeastSide = 64;         // pixels; icons stay what they are
const double kFlatBeside = 0.05;   // so few of the other pixels are flat,
const double kShadedBeside = 0.42; // and so many are shades far from the ground
const int kNear = 24;              // steps of a channel that shades and speckle differ by
// Squares that tell where the shades are, the other pixels that one has to have to count, how few
// shades make it bare, and what part of those that count may be bare: of a page of text with a
// photograph .74 are, of four renders and scans none, of drawings with a ramp .17 to .48.
const int kTile = 32;
const int kLeastOfTile = 8;
const double kBare = 0.05;
const double kMostBare = 0.6;

bool isNear(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) <= kNear && std::abs(qGreen(a) - qGreen(b)) <= kNear
        && std::abs(qBlue(a) - qBlue(b)) <= kNear;
}

// Whether a pixel is near to the next ones, and not of their colour either.
bool isShade(const QRgb *words, const QRgb *above, const QRgb *below, int x)
{
    bool same = true;
    for (QRgb next : { words[x - 1], words[x + 1], above[x], below[x] }) {
        if (!isNear(words[x], next))
            return false;
        same = same && hueDistance(words[x], next) == 0;
    }
    return !same;
}

// Pixels beside the ground, and shades among them, square by square.
class Tiles
{
public:
    Tiles(int width, int height)
        : columns(width / kTile + 1),
          others(std::size_t(columns) * std::size_t(height / kTile + 1)), shades(others.size())
    { }

    void add(int x, int y, bool isShaded)
    {
        const std::size_t tile = std::size_t(y / kTile * columns + x / kTile);
        ++others[tile];
        shades[tile] += isShaded ? 1 : 0;
    }

    double bareShare() const
    {
        double counted = 0.0;
        double bare = 0.0;
        for (std::size_t k = 0; k < others.size(); ++k) {
            if (others[k] < kLeastOfTile)
                continue;
            counted += 1.0;
            bare += shades[k] < kBare * others[k] ? 1.0 : 0.0;
        }
        return counted > 0.0 ? bare / counted : 0.0;
    }

private:
    const int columns;
    std::vector<int> others;
    std::vector<int> shades;
};

} // namespace

bool isShadedOnPlainGround(const QImage &image, const ColourFeatures &features)
{
    const double others = double(features.visible - features.ground);
    if (std::min(image.width(), image.height()) < kLeastSide || features.ground == 0
        || double(features.flat - features.ground) > kFlatBeside * others)
        return false;
    const int step = std::max(1, image.height() / kRows);
    double pixels = 0.0;
    double shaded = 0.0;
    Tiles tiles(image.width(), image.height());
    for (int y = 1; y + 1 < image.height(); y += step) {
        const QRgb *words = row(image, y);
        for (int x = 1; x + 1 < image.width(); ++x) {
            pixels += 1.0;
            if (isNear(words[x], features.groundColour))
                continue;
            const bool isShaded = isShade(words, row(image, y - 1), row(image, y + 1), x);
            shaded += isShaded;
            tiles.add(x, y, isShaded);
        }
    }
    return shaded / pixels >= kShadedBeside * others / double(features.visible)
        && tiles.bareShare() <= kMostBare;
}

} // namespace ztrace
