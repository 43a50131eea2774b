// (c) the ztrace developers. Licence: see LICENSE.
#include "rampmask.h"

#include "colour.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace ztrace {

namespace {

const int kTilesAround = 3;        // tiles from those of a ramp that pixels of it are looked for
const std::size_t kMostNearby = 4; // ramps
const std::size_t kMostOfIslands = 64; // the largest ramps; each tile is held against all
const double kShareOfTolerance = 0.6;  // that a tile apart from the ramp may be off

// Of a channel, from the ramp: a pixel alone, and the mean of three by three.
const double kLeastPixel = 3.0;
const double kNoisesOfPixel = 3.0;
const double kLeastMean = 1.5;
const double kNoisesOfMean = 1.0;

const double kNearly = 24.0;           // of a channel: blocks of JPEG beside letters
const std::size_t kLargestSpeck = 150; // pixels; twice a block of JPEG

// All colours of a ramp: a quick look at whether a tile can be one of its own.
struct ColourBox
{
    ColourBox(const Ramp &ramp, double margin)
    {
        for (const RampStop &stop : ramp.stops) {
            for (std::size_t c = 0; c < 3; ++c) {
                least[c] = std::min(least[c], float(stop.colour[c] - margin));
                most[c] = std::max(most[c], float(stop.colour[c] + margin));
            }
        }
    }

    bool has(const RampTile &tile) const
    {
        bool isWithin = true;
        for (std::size_t c = 0; c < 3; ++c)
            isWithin = isWithin && tile.colour[c] >= least[c] && tile.colour[c] <= most[c];
        return isWithin;
    }

    RampTile::Channels least = { { 1e9f, 1e9f, 1e9f } };
    RampTile::Channels most = { { -1e9f, -1e9f, -1e9f } };
};

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
    uint8_t count = 0;
    uint8_t away = 0;

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
    : words(row(picture, 0)), wordsOfRow(std::size_t(picture.bytesPerLine()) / sizeof(QRgb)),
      width(picture.width()), height(picture.height())
{ }

std::vector<bool> RampMask::freeTiles(const RampTiles &tiles) const
{
    std::vector<bool> free(tiles.tiles.size(), true);
    if (ofPixel.empty())
        return free;
    const std::size_t columns = std::size_t(std::max(1, tiles.columns));
    for (std::size_t tile = 0; tile < free.size(); ++tile) {
        const std::size_t left = tile % columns * std::size_t(tiles.side);
        const std::size_t top = tile / columns * std::size_t(tiles.side);
        const uint16_t *numbers = ofPixel.data() + top * std::size_t(width) + left;
        uint64_t any = 0; // four numbers at once
        for (int y = 0; y < tiles.side; ++y, numbers += width) {
            for (int x = 0; x < tiles.side; x += 4) {
                uint64_t four = 0;
                std::memcpy(&four, numbers + x, sizeof four);
                any |= four;
            }
        }
        free[tile] = any == 0;
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

void RampMask::add(const RampTiles &tiles, const std::vector<bool> &free,
                   const std::vector<GrownRamp> &grown)
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
    addIslands(tiles, free, further, first, &ofTile);
    addPixels(tiles, further, nearbyOf(tiles, ofTile), first);
    fillSpecks(first);
}

// Columns and rows that whole tiles leave out count as tiles here. Within a ramp nothing is near:
// the numbers spread from its border only.
std::vector<RampMask::Nearby> RampMask::nearbyOf(const RampTiles &tiles,
                                                 const std::vector<uint16_t> &ofTile) const
{
    const int columns = (width + tiles.side - 1) / tiles.side;
    const int rows = (height + tiles.side - 1) / tiles.side;
    const auto forEachAround = [columns, rows](std::size_t tile, const auto &use) {
        const int x = int(tile % std::size_t(columns));
        const int y = int(tile / std::size_t(columns));
        for (int j = std::max(0, y - 1); j <= std::min(rows - 1, y + 1); ++j) {
            for (int i = std::max(0, x - 1); i <= std::min(columns - 1, x + 1); ++i)
                use(std::size_t(j) * std::size_t(columns) + std::size_t(i));
        }
    };
    std::vector<Nearby> nearby(std::size_t(columns) * std::size_t(rows));
    for (std::size_t tile = 0; tile < ofTile.size(); ++tile) {
        if (ofTile[tile] != 0)
            nearby[tile / std::size_t(tiles.columns) * std::size_t(columns)
                   + tile % std::size_t(tiles.columns)]
                .add(ofTile[tile]);
    }
    std::vector<std::size_t> changed;
    for (std::size_t tile = 0; tile < nearby.size(); ++tile) {
        bool isBorder = false;
        if (nearby[tile].count > 0)
            forEachAround(tile, [&](std::size_t other) {
                isBorder = isBorder || nearby[other].numbers != nearby[tile].numbers;
            });
        if (isBorder)
            changed.push_back(tile);
    }
    std::vector<int> lookedAt(nearby.size(), 0);
    for (int away = 1; away <= kTilesAround; ++away) {
        std::vector<std::pair<std::size_t, Nearby>> next;
        for (std::size_t from : changed) {
            forEachAround(from, [&](std::size_t tile) {
                if (lookedAt[tile] == away)
                    return;
                lookedAt[tile] = away;
                Nearby own = nearby[tile];
                if (own.count == 0)
                    own.away = uint8_t(away);
                bool isNew = false;
                forEachAround(tile, [&](std::size_t other) {
                    for (std::size_t k = 0; k < nearby[other].count; ++k)
                        isNew = own.add(nearby[other].numbers[k]) || isNew;
                });
                if (isNew)
                    next.emplace_back(tile, own);
            });
        }
        changed.clear();
        for (const auto &[tile, own] : next) {
            nearby[tile] = own;
            changed.push_back(tile);
        }
    }
    return nearby;
}

// Tiles of a ramp that others keep from hanging together with it. Flat ones could be anything.
void RampMask::addIslands(const RampTiles &tiles, const std::vector<bool> &free,
                          const std::vector<Ramp> &further, std::size_t first,
                          std::vector<uint16_t> *ofTile)
{
    const double tolerance = toleranceOf(tiles);
    const std::size_t ramps = std::min(further.size(), kMostOfIslands);
    std::vector<ColourBox> boxes;
    for (std::size_t k = 0; k < ramps; ++k)
        boxes.emplace_back(further[k], 4.0 * tolerance);
    for (std::size_t tile = 0; tile < free.size(); ++tile) {
        if (!free[tile] || (*ofTile)[tile] != 0 || !tiles.tiles[tile].smooth)
            continue;
        double least = kShareOfTolerance * tolerance;
        const double x = tiles.middleX(tile);
        const double y = tiles.middleY(tile);
        for (std::size_t k = 0; k < ramps; ++k) {
            if (!boxes[k].has(tiles.tiles[tile]))
                continue;
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
    for (std::size_t tile = 0; tile < nearby.size(); ++tile) {
        const Nearby &near = nearby[tile];
        if (near.count == 0 || near.away == 0) // a ramp's own has all of its pixels
            continue;
        const int column = int(tile % std::size_t(columns));
        const int line = int(tile / std::size_t(columns));
        const bool smooth
            = column < tiles.columns && line < tiles.rows && tiles.at(column, line).smooth;
        if (smooth && near.away > 1)
            continue;
        const int right = std::min(width, (column + 1) * tiles.side);
        for (int y = line * tiles.side; y < std::min(height, (line + 1) * tiles.side); ++y) {
            uint16_t *numbers = ofPixel.data() + std::size_t(y) * std::size_t(width);
            for (int x = column * tiles.side; x < right; ++x) {
                if (numbers[x] == 0 && qAlpha(wordAt(x, y)) == 255)
                    numbers[x] = pixelOf(x, y, smooth, tiles.noise, further, near, first);
            }
        }
    }
}

// The mean of the pixels around one, with itself.
RampColour RampMask::meanAround(int x, int y) const
{
    std::array<int, 3> sum = {};
    int count = 0;
    for (int j = std::max(0, y - 1); j <= std::min(height - 1, y + 1); ++j) {
        for (int i = std::max(0, x - 1); i <= std::min(width - 1, x + 1); ++i) {
            const QRgb word = wordAt(i, j);
            sum[0] += qRed(word);
            sum[1] += qGreen(word);
            sum[2] += qBlue(word);
            ++count;
        }
    }
    return { { double(sum[0]) / count, double(sum[1]) / count, double(sum[2]) / count } };
}

uint16_t RampMask::pixelOf(int x, int y, bool smooth, double noise,
                           const std::vector<Ramp> &further, const Nearby &near,
                           std::size_t first) const
{
    const RampColour colour = smooth ? meanAround(x, y) : rampColourOf(wordAt(x, y));
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

// Small specks of pixels that are nearly on one of the ramps from `first` on, as noise and blocks
// of JPEG leave them. What is large is a shade, and what is beside something else its soft edge.
void RampMask::fillSpecks(std::size_t first)
{
    const RampCells cells(ofPixel, width, height);
    std::vector<bool> seen(ofPixel.size(), false);
    std::vector<bool> large(ofPixel.size(), false);
    std::vector<std::size_t> speck;
    const auto look = [&](std::size_t place, std::size_t other) {
        if (ofPixel[other] != 0 || seen[other])
            return;
        if (!isSpeck(other, ofPixel[place], &seen, &large, &speck))
            return;
        for (std::size_t pixel : speck)
            ofPixel[pixel] = ofPixel[place];
    };
    for (int y = 0; y < height; ++y) {
        cells.forEachStretch(y, [&](int begin, int end) {
            for (int x = begin; x < end; ++x) {
                const std::size_t place = std::size_t(y) * std::size_t(width) + std::size_t(x);
                if (ofPixel[place] <= first)
                    continue;
                if (x + 1 < width)
                    look(place, place + 1);
                if (x > 0)
                    look(place, place - 1);
                if (y + 1 < height)
                    look(place, place + std::size_t(width));
                if (y > 0)
                    look(place, place - std::size_t(width));
            }
        });
    }
}

// Whether those that hang together with a pixel are few, and with none that belongs to many.
bool RampMask::isSpeck(std::size_t start, uint16_t number, std::vector<bool> *seen,
                       std::vector<bool> *large, std::vector<std::size_t> *speck) const
{
    speck->clear();
    bool isLarge = false;
    const auto look = [&](std::size_t place) {
        if (ofPixel[place] != 0)
            return;
        if ((*seen)[place]) {
            isLarge = isLarge || (*large)[place];
        } else if (isNearly(place, number)) {
            (*seen)[place] = true;
            speck->push_back(place);
        }
    };
    look(start);
    const std::size_t across = std::size_t(width);
    for (std::size_t k = 0; k < speck->size() && !isLarge; ++k) {
        const std::size_t place = (*speck)[k];
        if (place % across > 0)
            look(place - 1);
        if (place % across + 1 < across)
            look(place + 1);
        if (place >= across)
            look(place - across);
        if (place + across < ofPixel.size())
            look(place + across);
        isLarge = isLarge || speck->size() > kLargestSpeck;
    }
    for (std::size_t place : *speck)
        (*large)[place] = isLarge;
    return !isLarge;
}

// On the ramp within what JPEG does, and so are the pixels around.
bool RampMask::isNearly(std::size_t place, uint16_t number) const
{
    const int x = int(place % std::size_t(width));
    const int y = int(place / std::size_t(width));
    const Ramp &ramp = list[std::size_t(number) - 1];
    const auto isOff = [&](int i, int j) {
        const QRgb word = wordAt(i, j);
        return qAlpha(word) != 255
            || farthestChannel(ramp.colourAt(i + 0.5, j + 0.5), rampColourOf(word)) > kNearly;
    };
    if (isOff(x, y))
        return false;
    for (int j = std::max(0, y - 1); j <= std::min(height - 1, y + 1); ++j) {
        for (int i = std::max(0, x - 1); i <= std::min(width - 1, x + 1); ++i) {
            if (isOff(i, j))
                return false;
        }
    }
    return true;
}

namespace {

// Of the pixels of a ramp.
struct PixelSums
{
    std::array<uint64_t, 3> sum = {};
    uint64_t pixels = 0;
    double least = 1e300; // distances
    double most = -1e300;

    void reach(double distance)
    {
        least = std::min(least, distance);
        most = std::max(most, distance);
    }

    void add(const QRgb *words, int count)
    {
        for (int k = 0; k < count; ++k) {
            sum[0] += unsigned(qRed(words[k]));
            sum[1] += unsigned(qGreen(words[k]));
            sum[2] += unsigned(qBlue(words[k]));
        }
        pixels += unsigned(count);
    }

    QRgb mean() const
    {
        RampColour colour = {};
        for (std::size_t c = 0; c < 3; ++c)
            colour[c] = double(sum[c]) / std::max(1.0, double(pixels));
        return wordOf(colour);
    }
};

} // namespace

void RampMask::finish(Ramps *ramps)
{
    std::vector<PixelSums> sums(list.size());
    for (int y = 0; y < height && !ofPixel.empty(); ++y) {
        const uint16_t *numbers = ofPixel.data() + std::size_t(y) * std::size_t(width);
        for (int x = 0; x < width;) {
            const int begin = x;
            x = endOfRun(numbers, begin, width);
            if (numbers[begin] == 0)
                continue;
            const std::size_t own = std::size_t(numbers[begin]) - 1;
            sums[own].add(words + std::size_t(y) * wordsOfRow + begin, x - begin);
            // Along a row the least and most are at its ends, or where it passes the centre.
            sums[own].reach(list[own].distanceAt(begin + 0.5, y + 0.5));
            sums[own].reach(list[own].distanceAt(x - 0.5, y + 0.5));
            const double centre = std::clamp(std::floor(list[own].x), double(begin), x - 1.0);
            if (list[own].radial)
                sums[own].reach(list[own].distanceAt(centre + 0.5, y + 0.5));
        }
    }
    for (std::size_t k = 0; k < list.size(); ++k) {
        RampArea area;
        area.ramp = list[k];
        area.mean = sums[k].mean();
        area.standIn = area.mean;
        if (sums[k].pixels > 0)
            extendEnds(std::max(0.0, area.ramp.stops.front().at - sums[k].least),
                       std::max(0.0, sums[k].most - area.ramp.stops.back().at), &area.ramp);
        dropPads(&area.ramp);
        ramps->areas.push_back(area);
    }
    ramps->cells = RampCells(ofPixel, width, height);
    ramps->ofPixel = std::move(ofPixel);
}

} // namespace ztrace
