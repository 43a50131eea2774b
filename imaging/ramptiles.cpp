// (c) the ztrace developers. Licence: see LICENSE.
#include "ramptiles.h"

#include "colour.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

// Of a channel. Rounding alone deviates by 0.3, JPEG at quality 85 by up to 2.5 in its blocks of
// coarse hues; twice the strongest noise that counts as soft is texture.
const double kLeastDeviation = 2.5;
const double kMostNoise = 4.0;
const double kNoises = 1.5;        // times the picture's noise that a tile may deviate
const double kShareOfNoise = 0.25; // of the tiles that do, which noise is taken from

// Sums over the pixels of a tile; places count from its middle.
struct TileSums
{
    RampColour sum = {};
    RampColour byX = {};
    RampColour byY = {};
    RampColour squares = {};
    bool opaque = true;
};

TileSums sumsOf(const QImage &image, int left, int top, int side)
{
    TileSums sums;
    const double middle = 0.5 * (side - 1);
    for (int y = 0; y < side; ++y) {
        const QRgb *words = row(image, top + y) + left;
        for (int x = 0; x < side; ++x) {
            sums.opaque = sums.opaque && qAlpha(words[x]) == 255;
            const RampColour colour = rampColourOf(words[x]);
            for (std::size_t k = 0; k < colour.size(); ++k) {
                sums.sum[k] += colour[k];
                sums.byX[k] += colour[k] * (x - middle);
                sums.byY[k] += colour[k] * (y - middle);
                sums.squares[k] += colour[k] * colour[k];
            }
        }
    }
    return sums;
}

bool isOneColour(const QImage &image, int left, int top, int side)
{
    const QRgb first = row(image, top)[left];
    for (int y = 0; y < side; ++y) {
        const QRgb *words = row(image, top + y) + left;
        if (!std::all_of(words, words + side, [first](QRgb word) { return word == first; }))
            return false;
    }
    return true;
}

RampTile tileOf(const QImage &image, int left, int top, int side)
{
    RampTile tile;
    if (isOneColour(image, left, top, side)) {
        tile.colour = rampColourOf(row(image, top)[left]);
        tile.smooth = qAlpha(row(image, top)[left]) == 255;
        return tile;
    }
    const TileSums sums = sumsOf(image, left, top, side);
    const double pixels = double(side) * side;
    const double spread = pixels * (pixels - 1.0) / 12.0; // of the squares of x
    double error = 0.0;
    for (std::size_t k = 0; k < tile.colour.size(); ++k) {
        tile.colour[k] = sums.sum[k] / pixels;
        tile.slopeX[k] = sums.byX[k] / spread;
        tile.slopeY[k] = sums.byY[k] / spread;
        error += sums.squares[k] - sums.sum[k] * tile.colour[k]
            - spread * (tile.slopeX[k] * tile.slopeX[k] + tile.slopeY[k] * tile.slopeY[k]);
    }
    const double freedom = 3.0 * (pixels - 3.0); // a plane has three numbers a channel
    tile.deviation = std::sqrt(std::max(0.0, error) / freedom);
    tile.smooth = sums.opaque;
    return tile;
}

// Of a picture most of which is flat, drawn, and has no noise, it is about nothing.
double noiseOf(const std::vector<RampTile> &tiles)
{
    std::vector<double> deviations;
    for (const RampTile &tile : tiles) {
        if (tile.smooth)
            deviations.push_back(tile.deviation);
    }
    if (deviations.empty())
        return 0.0;
    const auto middle
        = deviations.begin() + std::ptrdiff_t(kShareOfNoise * double(deviations.size() - 1));
    std::nth_element(deviations.begin(), middle, deviations.end());
    return std::min(*middle, kMostNoise);
}

} // namespace

RampTiles tilesOf(const QImage &image, int side)
{
    RampTiles tiles;
    tiles.side = side;
    tiles.columns = image.width() / side;
    tiles.rows = image.height() / side;
    tiles.tiles.reserve(std::size_t(tiles.columns) * std::size_t(tiles.rows));
    for (int y = 0; y < tiles.rows; ++y) {
        for (int x = 0; x < tiles.columns; ++x)
            tiles.tiles.push_back(tileOf(image, x * side, y * side, side));
    }
    tiles.noise = noiseOf(tiles.tiles);
    const double most = std::max(kLeastDeviation, kNoises * tiles.noise);
    for (RampTile &tile : tiles.tiles)
        tile.smooth = tile.smooth && tile.deviation <= most;
    return tiles;
}

} // namespace ztrace
