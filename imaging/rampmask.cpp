// (c) the ztrace developers. Licence: see LICENSE.
#include "rampmask.h"

#include "colour.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kTilesAround = 3;        // tiles from those of a ramp that pixels of it are looked for
const std::size_t kMostNearby = 4; // ramps
const std::size_t kMostOfIslands = 64; // the largest ramps; each tile is held against all

// Of a channel, from the ramp: a pixel alone, and the mean of three by three.
const double kLeastPixel = 3.0;
const double kNoisesOfPixel = 3.0;
const double kLeastMean = 1.5;
const double kNoisesOfMean = 1.0;

const double kNearly = 24.0;           // of a channel: blocks of JPEG beside letters
const std::size_t kLargestSpeck = 150; // pixels; twice a block of JPEG

// The mean of the opaque pixels around a pixel, with itself.
RampColour meanAround(const QImage &image, int x, int y)
{
    RampColour sum = {};
    double count = 0.0;
    for (int j = std::max(0, y - 1); j <= std::min(image.height() - 1, y + 1); ++j) {
        for (int i = std::max(0, x - 1); i <= std::min(image.width() - 1, x + 1); ++i) {
            const RampColour colour = rampColourOf(row(image, j)[i]);
            for (std::size_t c = 0; c < 3; ++c)
                sum[c] += colour[c];
            count += 1.0;
        }
    }
    for (double &value : sum)
        value /= count;
    return sum;
}

// Whether a pixel is between the ends: beyond them a smooth area is another one.
bool reaches(const Ramp &ramp, int x, int y)
{
    const double distance = ramp.distanceAt(x + 0.5, y + 0.5);
    return distance >= ramp.stops.front().at && distance <= ramp.stops.back().at;
}

} // namespace

// Ramps with tiles near one, the nearest first, and how many tiles away the nearest is.
struct RampMask::Nearby
{
    std::array<uint16_t, kMostNearby> numbers = {};
    std::size_t count = 0;
    int away = 0;

    bool add(uint16_t number)
    {
        const auto end = numbers.begin() + std::ptrdiff_t(count);
        if (count == kMostNearby || std::find(numbers.begin(), end, number) != end)
            return false;
        numbers[count++] = number;
        return true;
    }
};

RampMask::RampMask(const QImage &picture)
    : image(picture), width(picture.width()), height(picture.height())
{ }

std::vector<bool> RampMask::freeTiles(const RampTiles &tiles) const
{
    std::vector<bool> free(tiles.tiles.size(), true);
    if (ofPixel.empty())
        return free;
    const std::size_t columns = std::size_t(std::max(1, tiles.columns));
    for (std::size_t tile = 0; tile < free.size(); ++tile) {
        const int left = int(tile % columns) * tiles.side;
        const int top = int(tile / columns) * tiles.side;
        for (int y = top; y < top + tiles.side && free[tile]; ++y) {
            const uint16_t *numbers = ofPixel.data() + std::size_t(y) * std::size_t(width);
            free[tile] = std::all_of(numbers + left, numbers + left + tiles.side,
                                     [](uint16_t number) { return number == 0; });
        }
    }
    return free;
}

void RampMask::addTile(const RampTiles &tiles, std::size_t tile, uint16_t number)
{
    const std::size_t columns = std::size_t(tiles.columns);
    const int left = int(tile % columns) * tiles.side;
    const int top = int(tile / columns) * tiles.side;
    for (int y = top; y < top + tiles.side; ++y) {
        const auto first
            = ofPixel.begin() + std::ptrdiff_t(y) * std::ptrdiff_t(width) + std::ptrdiff_t(left);
        std::fill(first, first + tiles.side, number);
    }
}

void RampMask::add(const RampTiles &tiles, const std::vector<GrownRamp> &grown)
{
    if (grown.empty())
        return;
    ofPixel.resize(std::size_t(width) * std::size_t(height), 0);
    const std::size_t first = list.size();
    std::vector<uint16_t> ofTile(tiles.tiles.size(), 0);
    std::vector<Ramp> further;
    for (const GrownRamp &own : grown) {
        list.push_back(own.ramp);
        further.push_back(own.ramp);
        extendEnds((kTilesAround + 1) * tiles.side, (kTilesAround + 1) * tiles.side,
                   &further.back());
        for (std::size_t member : own.members) {
            ofTile[member] = uint16_t(list.size());
            addTile(tiles, member, uint16_t(list.size()));
        }
    }
    addIslands(tiles, further, first, &ofTile);
    // Columns and rows that whole tiles leave out count as tiles here.
    const int columns = (width + tiles.side - 1) / tiles.side;
    const int rows = (height + tiles.side - 1) / tiles.side;
    std::vector<Nearby> nearby(std::size_t(columns) * std::size_t(rows));
    for (std::size_t tile = 0; tile < ofTile.size(); ++tile) {
        if (ofTile[tile] != 0)
            nearby[tile / std::size_t(tiles.columns) * std::size_t(columns)
                   + tile % std::size_t(tiles.columns)]
                .add(ofTile[tile]);
    }
    for (int away = 1; away <= kTilesAround; ++away) {
        const std::vector<Nearby> before = nearby;
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < columns; ++x) {
                Nearby &own = nearby[std::size_t(y * columns + x)];
                for (int j = std::max(0, y - 1); j <= std::min(rows - 1, y + 1); ++j) {
                    for (int i = std::max(0, x - 1); i <= std::min(columns - 1, x + 1); ++i) {
                        const Nearby &other = before[std::size_t(j * columns + i)];
                        const bool isNew = own.count == 0;
                        for (std::size_t k = 0; k < other.count; ++k)
                            own.add(other.numbers[k]);
                        if (isNew && own.count > 0)
                            own.away = away;
                    }
                }
            }
        }
    }
    addPixels(tiles, further, nearby, first);
    fillSpecks();
}

// Tiles of a ramp that others keep from hanging together with it. Flat ones could be anything.
void RampMask::addIslands(const RampTiles &tiles, const std::vector<Ramp> &further,
                          std::size_t first, std::vector<uint16_t> *ofTile)
{
    const double tolerance = toleranceOf(tiles);
    const std::vector<bool> free = freeTiles(tiles);
    for (std::size_t tile = 0; tile < free.size(); ++tile) {
        if (!free[tile] || !tiles.tiles[tile].smooth)
            continue;
        double least = 0.6 * tolerance;
        for (std::size_t k = 0; k < std::min(further.size(), kMostOfIslands); ++k) {
            const double x = tiles.middleX(tile);
            const double y = tiles.middleY(tile);
            const double distance = list[first + k].distanceAt(x, y);
            const std::vector<RampStop> &stops = list[first + k].stops;
            if (distance < stops.front().at || distance > stops.back().at)
                continue;
            const double step = 0.5 * tiles.side;
            if (farthestChannel(further[k].colourOf(distance - step),
                                further[k].colourOf(distance + step))
                < tolerance)
                continue;
            const double difference = differenceOf(tiles, tile, further[k]);
            if (difference < least) {
                least = difference;
                (*ofTile)[tile] = uint16_t(first + k + 1);
            }
        }
        if ((*ofTile)[tile] != 0)
            addTile(tiles, tile, (*ofTile)[tile]);
    }
}

void RampMask::addPixels(const RampTiles &tiles, const std::vector<Ramp> &further,
                         const std::vector<Nearby> &nearby, std::size_t first)
{
    const int columns = (width + tiles.side - 1) / tiles.side;
    for (int y = 0; y < height; ++y) {
        uint16_t *numbers = ofPixel.data() + std::size_t(y) * std::size_t(width);
        for (int x = 0; x < width; ++x) {
            const int column = x / tiles.side;
            const int line = y / tiles.side;
            const Nearby &near = nearby[std::size_t(line * columns + column)];
            if (numbers[x] != 0 || near.count == 0 || qAlpha(row(image, y)[x]) != 255)
                continue;
            const bool smooth
                = column < tiles.columns && line < tiles.rows && tiles.at(column, line).smooth;
            if (!smooth || near.away <= 1)
                numbers[x] = pixelOf(x, y, smooth, tiles.noise, further, near, first);
        }
    }
}

uint16_t RampMask::pixelOf(int x, int y, bool smooth, double noise,
                           const std::vector<Ramp> &further, const Nearby &near,
                           std::size_t first) const
{
    const RampColour colour = smooth ? meanAround(image, x, y) : rampColourOf(row(image, y)[x]);
    double least
        = smooth ? kLeastMean + kNoisesOfMean * noise : kLeastPixel + kNoisesOfPixel * noise;
    uint16_t best = 0;
    for (std::size_t k = 0; k < near.count; ++k) {
        const std::size_t place = std::size_t(near.numbers[k]) - 1 - first;
        if (smooth && !reaches(list[place + first], x, y))
            continue;
        const double difference
            = farthestChannel(colour, further[place].colourAt(x + 0.5, y + 0.5));
        if (difference < least) {
            least = difference;
            best = near.numbers[k];
        }
    }
    return best;
}

// Small specks of pixels that are nearly on the ramp, as noise and blocks of JPEG leave them. What
// is large is a shade, and what is beside something else its soft edge.
void RampMask::fillSpecks()
{
    std::vector<bool> seen(ofPixel.size(), false);
    std::vector<std::size_t> speck;
    for (std::size_t place = 0; place < ofPixel.size(); ++place) {
        const std::size_t x = place % std::size_t(width);
        if (ofPixel[place] == 0)
            continue;
        for (const std::ptrdiff_t step : { std::ptrdiff_t(1), std::ptrdiff_t(-1),
                                           std::ptrdiff_t(width), -std::ptrdiff_t(width) }) {
            const bool beyond
                = (step == 1 && x + 1 == std::size_t(width)) || (step == -1 && x == 0);
            const std::size_t other = std::size_t(std::ptrdiff_t(place) + step);
            if (beyond || other >= ofPixel.size() || ofPixel[other] != 0 || seen[other])
                continue;
            findSpeck(other, ofPixel[place], &seen, &speck);
            if (speck.size() <= kLargestSpeck) {
                for (std::size_t pixel : speck)
                    ofPixel[pixel] = ofPixel[place];
            }
        }
    }
}

void RampMask::findSpeck(std::size_t start, uint16_t number, std::vector<bool> *seen,
                         std::vector<std::size_t> *speck) const
{
    speck->clear();
    const auto look = [&](std::size_t place) {
        if (ofPixel[place] != 0 || (*seen)[place] || !isNearly(place, number))
            return;
        (*seen)[place] = true;
        speck->push_back(place);
    };
    look(start);
    for (std::size_t k = 0; k < speck->size(); ++k) {
        const std::size_t place = (*speck)[k];
        const std::size_t x = place % std::size_t(width);
        if (x > 0)
            look(place - 1);
        if (x + 1 < std::size_t(width))
            look(place + 1);
        if (place >= std::size_t(width))
            look(place - std::size_t(width));
        if (place + std::size_t(width) < ofPixel.size())
            look(place + std::size_t(width));
    }
}

// On the ramp within what JPEG does, and so are the pixels around.
bool RampMask::isNearly(std::size_t place, uint16_t number) const
{
    const int x = int(place % std::size_t(width));
    const int y = int(place / std::size_t(width));
    const Ramp &ramp = list[std::size_t(number) - 1];
    for (int j = std::max(0, y - 1); j <= std::min(height - 1, y + 1); ++j) {
        for (int i = std::max(0, x - 1); i <= std::min(width - 1, x + 1); ++i) {
            const QRgb word = row(image, j)[i];
            if (qAlpha(word) != 255
                || farthestChannel(ramp.colourAt(i + 0.5, j + 0.5), rampColourOf(word)) > kNearly)
                return false;
        }
    }
    return true;
}

void RampMask::finish(Ramps *ramps)
{
    struct Sums
    {
        RampColour sum = {};
        double pixels = 0.0;
        double least = 1e300;
        double most = -1e300;
    };
    std::vector<Sums> sums(list.size());
    for (int y = 0; y < height && !ofPixel.empty(); ++y) {
        const uint16_t *numbers = ofPixel.data() + std::size_t(y) * std::size_t(width);
        for (int x = 0; x < width; ++x) {
            if (numbers[x] == 0)
                continue;
            Sums &own = sums[std::size_t(numbers[x]) - 1];
            const RampColour colour = rampColourOf(row(image, y)[x]);
            for (std::size_t c = 0; c < 3; ++c)
                own.sum[c] += colour[c];
            own.pixels += 1.0;
            const double distance = list[std::size_t(numbers[x]) - 1].distanceAt(x + 0.5, y + 0.5);
            own.least = std::min(own.least, distance);
            own.most = std::max(own.most, distance);
        }
    }
    for (std::size_t k = 0; k < list.size(); ++k) {
        RampArea area;
        area.ramp = list[k];
        Sums &own = sums[k];
        for (double &value : own.sum)
            value /= std::max(1.0, own.pixels);
        area.mean = wordOf(own.sum);
        area.standIn = area.mean;
        if (own.pixels > 0.0)
            extendEnds(std::max(0.0, area.ramp.stops.front().at - own.least),
                       std::max(0.0, own.most - area.ramp.stops.back().at), &area.ramp);
        dropPads(&area.ramp);
        ramps->areas.push_back(area);
    }
    ramps->ofPixel = std::move(ofPixel);
}

} // namespace ztrace
