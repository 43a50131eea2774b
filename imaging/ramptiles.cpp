// (c) the ztrace developers. Licence: see LICENSE.
#include "ramptiles.h"

#include "colour.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace ztrace {

namespace {

// Of a channel. Rounding alone deviates by 0.3, JPEG at quality 85 by up to 2.5 in its blocks of
// coarse hues; twice the strongest noise that counts as soft is texture.
const double kLeastDeviation = 2.5;
const double kMostNoise = 4.0;
const double kNoises = 1.5;        // times the picture's noise that a tile may deviate
const double kShareOfNoise = 0.25; // of the tiles that do, which noise is taken from

// Sums over the bytes of a tile, exact, by columns so that the compiler adds many at a time: `byY`
// counts rows by twice their distance from the middle.
template<int kSide>
struct TileSums
{
    static const std::size_t kBytes = 4 * std::size_t(kSide);

    int16_t columns[kBytes] = {};
    int16_t byY[kBytes] = {};
    int32_t squares = 0;

    void addRow(const QRgb *words, int weight)
    {
        uint8_t bytes[kBytes];
        std::memcpy(bytes, words, sizeof bytes);
        int32_t rowSquares = 0;
        for (std::size_t k = 0; k < kBytes; ++k) {
            columns[k] = int16_t(columns[k] + bytes[k]);
            byY[k] = int16_t(byY[k] + weight * bytes[k]);
            rowSquares += bytes[k] * bytes[k];
        }
        squares += rowSquares;
    }

    // Of a byte of every pixel, 0 for the first.
    int sumOf(int byte) const
    {
        int sum = 0;
        for (int x = 0; x < kSide; ++x)
            sum += columns[4 * x + byte];
        return sum;
    }
    int byXOf(int byte) const
    {
        int sum = 0;
        for (int x = 0; x < kSide; ++x)
            sum += (2 * x - kSide + 1) * columns[4 * x + byte];
        return sum;
    }
    int byYOf(int byte) const
    {
        int sum = 0;
        for (int x = 0; x < kSide; ++x)
            sum += byY[4 * x + byte];
        return sum;
    }
};

// Where alpha, red, green and blue lie in the bytes of a word.
const int kByteOfAlpha = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 3 : 0;
int byteOf(std::size_t channel)
{
    return Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 2 - int(channel) : 1 + int(channel);
}

template<int kSide>
bool isOneColour(const QRgb *const *rows, int left)
{
    const QRgb first = rows[0][left];
    for (int y = 0; y < kSide; ++y) {
        QRgb others = 0;
        for (int x = 0; x < kSide; ++x)
            others |= rows[y][left + x] ^ first;
        if (others != 0)
            return false;
    }
    return true;
}

template<int kSide>
RampTile tileOf(const QRgb *const *rows, int left)
{
    RampTile tile;
    if (isOneColour<kSide>(rows, left)) {
        const RampColour colour = rampColourOf(rows[0][left]);
        std::copy(colour.begin(), colour.end(), tile.colour.begin());
        tile.smooth = qAlpha(rows[0][left]) == 255;
        tile.plain = true;
        return tile;
    }
    TileSums<kSide> sums;
    for (int y = 0; y < kSide; ++y)
        sums.addRow(rows[y] + left, 2 * y - kSide + 1);
    const int pixels = kSide * kSide;
    if (sums.sumOf(kByteOfAlpha) != 255 * pixels)
        return tile;
    const double spread = pixels * (pixels - 1.0) / 12.0; // of the squares of x
    double error = sums.squares - 255 * 255 * pixels;
    for (std::size_t k = 0; k < tile.colour.size(); ++k) {
        const double sum = sums.sumOf(byteOf(k));
        const double slopeX = 0.5 * sums.byXOf(byteOf(k)) / spread;
        const double slopeY = 0.5 * sums.byYOf(byteOf(k)) / spread;
        error -= sum * sum / pixels + spread * (slopeX * slopeX + slopeY * slopeY);
        tile.colour[k] = float(sum / pixels);
        tile.slopeX[k] = float(slopeX);
        tile.slopeY[k] = float(slopeY);
    }
    const double freedom = 3.0 * (pixels - 3.0); // a plane has three numbers a channel
    tile.deviation = float(std::sqrt(std::max(0.0, error) / freedom));
    tile.smooth = true;
    return tile;
}

template<int kSide>
void addTiles(const QImage &image, const RampTiles *larger, RampTiles *tiles)
{
    for (int y = 0; y < tiles->rows; ++y) {
        const QRgb *rows[std::size_t(kSide)];
        for (int k = 0; k < kSide; ++k)
            rows[k] = row(image, y * kSide + k);
        const int known = larger && y / 2 < larger->rows ? 2 * larger->columns : 0;
        for (int x = 0; x < tiles->columns; ++x) {
            const RampTile *around = x < known ? &larger->at(x / 2, y / 2) : nullptr;
            if (around && around->plain)
                tiles->tiles.push_back(*around);
            else
                tiles->tiles.push_back(tileOf<kSide>(rows, x * kSide));
        }
    }
}

// Of a picture most of which is flat, drawn, and has no noise, it is about nothing.
double noiseOf(const std::vector<RampTile> &tiles)
{
    std::size_t smooth = 0;
    std::size_t plain = 0; // that deviate by nothing
    for (const RampTile &tile : tiles) {
        smooth += tile.smooth ? 1u : 0u;
        plain += tile.smooth && tile.deviation == 0.0f ? 1u : 0u;
    }
    const std::size_t place
        = std::size_t(kShareOfNoise * double(smooth - std::min<std::size_t>(1, smooth)));
    if (smooth == 0 || place < plain)
        return 0.0; // as of most drawings, whose tiles are not put in order for that
    std::vector<float> deviations;
    deviations.reserve(smooth);
    for (const RampTile &tile : tiles) {
        if (tile.smooth)
            deviations.push_back(tile.deviation);
    }
    const auto middle = deviations.begin() + std::ptrdiff_t(place);
    std::nth_element(deviations.begin(), middle, deviations.end());
    return std::min(double(*middle), kMostNoise);
}

} // namespace

RampTiles tilesOf(const QImage &image, TileSide tileSide, const RampTiles *larger)
{
    const int side = int(tileSide);
    RampTiles tiles;
    tiles.side = side;
    tiles.columns = image.width() / side;
    tiles.rows = image.height() / side;
    tiles.tiles.reserve(std::size_t(tiles.columns) * std::size_t(tiles.rows));
    if (tileSide == TileSide::Eight)
        addTiles<8>(image, larger, &tiles);
    else
        addTiles<4>(image, larger, &tiles);
    tiles.noise = noiseOf(tiles.tiles);
    const double most = std::max(kLeastDeviation, kNoises * tiles.noise);
    for (RampTile &tile : tiles.tiles)
        tile.smooth = tile.smooth && double(tile.deviation) <= most;
    return tiles;
}

} // namespace ztrace
