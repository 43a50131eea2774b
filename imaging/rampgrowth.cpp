// (c) the ztrace developers. Licence: see LICENSE.
#include "rampgrowth.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

const double kFar = 4000.0;      // pixels that a ramp is tried beyond what it has
const double kTolerance = 2.0;   // of a channel; a step of less is not seen
const double kNoises = 2.5;      // deviations of what noise does to a tile
const double kFlat = 0.6;        // of a channel over a tile: less has no direction
const double kRounder = 0.7;     // part of the error of a straight ramp that a radial one may leave
const int kMostPasses = 40;      // over the tiles of one ramp
const double kGrowing = 1.01;    // times the tiles that it has to have for another pass
const std::size_t kFewTiles = 3; // that go on beyond a bend
const std::size_t kFewAtOnce = 14; // tiles that a start of nine comes to; less is texture
const std::size_t kLeastTiles = 6;
const std::size_t kWidePads = 4; // times the tiles that a ramp changes over, all in all

class Growth
{
public:
    Growth(const RampTiles &t, const std::vector<bool> &f)
        : tiles(t), tolerance(toleranceOf(t)), free(f), tried(f.size(), false), mark(f.size(), 0)
    { }

    std::vector<GrownRamp> run()
    {
        std::vector<GrownRamp> ramps;
        for (std::size_t tile = 0; tile < free.size(); ++tile) {
            if (!isSeed(tile))
                continue;
            GrownRamp grown = grow(tile);
            for (std::size_t member : grown.members)
                tried[member] = true;
            tried[tile] = true;
            if (grown.members.size() < kLeastTiles)
                continue;
            for (std::size_t member : grown.members)
                free[member] = false;
            ramps.push_back(std::move(grown));
        }
        return ramps;
    }

private:
    bool isOpen(std::size_t tile) const { return free[tile] && tiles.tiles[tile].smooth; }

    bool isFlat(const RampTile &tile) const
    {
        float most = 0.0f; // squared
        for (std::size_t c = 0; c < 3; ++c)
            most
                = std::max(most, tile.slopeX[c] * tile.slopeX[c] + tile.slopeY[c] * tile.slopeY[c]);
        return double(most) * tiles.side * tiles.side < kFlat * kFlat;
    }

    // The middle of three by three tiles on one plane.
    bool isSeed(std::size_t tile) const
    {
        if (!tiles.tiles[tile].smooth || isFlat(tiles.tiles[tile]) || tried[tile])
            return false;
        const std::size_t columns = std::size_t(tiles.columns);
        const std::size_t x = tile % columns;
        const std::size_t y = tile / columns;
        if (x == 0 || y == 0 || x + 1 >= columns || y + 1 >= std::size_t(tiles.rows))
            return false;
        const std::array<std::size_t, 9> nine = around(tile);
        return std::all_of(nine.begin(), nine.end(),
                           [this](std::size_t other) { return isOpen(other); });
    }

    std::array<std::size_t, 9> around(std::size_t tile) const
    {
        const std::size_t columns = std::size_t(tiles.columns);
        std::array<std::size_t, 9> nine = {};
        for (std::size_t k = 0; k < nine.size(); ++k)
            nine[k] = tile + (k / 3 * columns) + k % 3 - columns - 1;
        return nine;
    }

    template<typename Use>
    void forEachNeighbour(std::size_t tile, Use use) const
    {
        const std::size_t columns = std::size_t(tiles.columns);
        const std::size_t x = tile % columns;
        if (x > 0)
            use(tile - 1);
        if (x + 1 < columns)
            use(tile + 1);
        if (tile >= columns)
            use(tile - columns);
        if (tile + columns < tiles.tiles.size())
            use(tile + columns);
    }

    // Open tiles on the ramp that hang together with members that are.
    std::vector<std::size_t> flood(const std::vector<std::size_t> &members, const Ramp &ramp)
    {
        ++serial;
        std::vector<std::size_t> reached;
        const auto look = [&](std::size_t tile) {
            if (mark[tile] == serial || !isOpen(tile))
                return;
            mark[tile] = serial;
            if (differenceOf(tiles, tile, ramp) <= tolerance)
                reached.push_back(tile);
        };
        for (std::size_t member : members)
            look(member);
        for (std::size_t k = 0; k < reached.size(); ++k)
            forEachNeighbour(reached[k], look);
        return reached;
    }

    GrownRamp grow(std::size_t seed)
    {
        GrownRamp grown;
        const std::array<std::size_t, 9> nine = around(seed);
        grown.members.assign(nine.begin(), nine.end());
        const std::vector<RampSample> samples = samplesOf(tiles, grown.members);
        grown.ramp = fitLinear(samples);
        if (errorOf(grown.ramp, samples) > tolerance * tolerance)
            return GrownRamp();
        std::vector<double> inner;
        for (int pass = 0; pass < kMostPasses; ++pass) {
            Ramp further = grown.ramp;
            extendEnds(kFar, kFar, &further);
            std::vector<std::size_t> next = flood(grown.members, further);
            if (next.size() < kLeastTiles)
                return GrownRamp();
            if (pass == 1 && next.size() < kFewAtOnce)
                return GrownRamp();
            const bool larger = double(next.size()) > kGrowing * double(grown.members.size());
            grown.members = std::move(next);
            fit(inner, &grown);
            if (!larger && !goOn(&inner, &grown))
                break;
        }
        return grown;
    }

    void fit(const std::vector<double> &inner, GrownRamp *grown) const
    {
        const std::vector<RampSample> samples = samplesOf(tiles, grown->members);
        const double error = refineRamp(samples, inner, &grown->ramp);
        if (grown->ramp.radial || !inner.empty())
            return;
        const Ramp round = fitRadial(tiles, grown->members, samples);
        if (errorOf(round, samples) < kRounder * error)
            grown->ramp = round;
    }

    // Of the samples of all members. Fits look at every few; here one tile at an end tells.
    RampRange rangeOfMembers(const GrownRamp &grown) const
    {
        RampRange range = { 1e300, -1e300 };
        for (std::size_t member : grown.members) {
            const double x = tiles.middleX(member);
            const double y = tiles.middleY(member);
            const double distance = grown.ramp.distanceAt(x, y);
            if (distance - tiles.side > range.least && distance + tiles.side < range.most)
                continue;
            for (const RampSample &sample : samplesOf(tiles, member)) {
                const double at = grown.ramp.distanceAt(sample.x, sample.y);
                range.least = std::min(range.least, at);
                range.most = std::max(range.most, at);
            }
        }
        return range;
    }

    // Beyond a bend of the colours, at either end: the tiles there become members, and the bend a
    // stop. False where nothing goes on.
    bool goOn(std::vector<double> *inner, GrownRamp *grown)
    {
        if (inner->size() + 2 >= kMostRampStops)
            return false;
        const std::size_t before = grown->members.size();
        const RampRange range = rangeOfMembers(*grown);
        std::vector<std::size_t> beyond[2];
        ++serial;
        for (std::size_t member : grown->members)
            mark[member] = serial;
        for (std::size_t member : grown->members) {
            forEachNeighbour(member, [&](std::size_t tile) {
                if (mark[tile] == serial || !isOpen(tile))
                    return;
                const int end = endBeyond(tile, member, range, grown->ramp);
                if (end < 0)
                    return;
                mark[tile] = serial;
                beyond[end].push_back(tile);
            });
        }
        for (int end : { 0, 1 }) {
            if (beyond[end].size() < kFewTiles || inner->size() + 2 >= kMostRampStops)
                continue;
            const double at
                = end == 0 ? range.least + 0.5 * tiles.side : range.most - 0.5 * tiles.side;
            inner->insert(end == 0 ? inner->begin() : inner->end(), at);
            grown->members.insert(grown->members.end(), beyond[end].begin(), beyond[end].end());
        }
        if (grown->members.size() == before)
            return false;
        settleStops(samplesOf(tiles, grown->members), grown->ramp, inner);
        fit(*inner, grown);
        return true;
    }

    // 0 or 1 for a tile that goes on from a member beyond the first or the last stop, -1 for
    // others.
    int endBeyond(std::size_t place, std::size_t member, const RampRange &range,
                  const Ramp &ramp) const
    {
        const double x = tiles.middleX(place);
        const double y = tiles.middleY(place);
        const double distance = ramp.distanceAt(x, y);
        // The tiles at the ends reach beyond the bend.
        const int end = distance < range.least + tiles.side ? 0
            : distance > range.most - tiles.side            ? 1
                                                            : -1;
        if (end < 0)
            return -1;
        const RampTile &tile = tiles.tiles[place];
        const RampTile &from = tiles.tiles[member];
        const double stepX = x - tiles.middleX(member);
        const double stepY = y - tiles.middleY(member);
        const double alongX = ramp.radial ? (x - ramp.x) / distance : ramp.alongX;
        const double alongY = ramp.radial ? (y - ramp.y) / distance : ramp.alongY;
        for (std::size_t c = 0; c < 3; ++c) {
            const double slopeX = double(tile.slopeX[c]);
            const double slopeY = double(tile.slopeY[c]);
            const double across = slopeX * alongY - slopeY * alongX;
            const double here = slopeX * stepX + slopeY * stepY;
            const double there = double(from.slopeX[c]) * stepX + double(from.slopeY[c]) * stepY;
            const double jump = double(tile.colour[c] - from.colour[c]) - 0.5 * (here + there);
            // A bend between the two may be at the end of either.
            const double loose = tolerance + 0.25 * std::fabs(here - there);
            if (std::fabs(across) * tiles.side > tolerance || std::fabs(jump) > loose)
                return -1;
        }
        return end;
    }

    const RampTiles &tiles;
    const double tolerance;
    std::vector<bool> free;
    std::vector<bool> tried;
    std::vector<unsigned> mark;
    unsigned serial = 0;
};

} // namespace

double toleranceOf(const RampTiles &tiles)
{
    // What noise does to the plane of a tile, at the samples.
    return kTolerance + kNoises * std::sqrt(3.0) * tiles.noise / tiles.side;
}

namespace {

// The same where the ramp is a plane all over the tile: what differs there is a plane too, and the
// mean of its squares at the samples is that of its middle and its two slopes.
double differenceOfPlanes(const RampTile &tile, const Ramp &ramp, std::size_t first,
                          double distance, double squaredOffset)
{
    const RampStop &a = ramp.stops[first];
    const RampStop &b = ramp.stops[first + 1];
    const double over = 1.0 / (b.at - a.at);
    double error = 0.0;
    for (std::size_t c = 0; c < 3; ++c) {
        const double slope = over * (b.colour[c] - a.colour[c]);
        const double middle = a.colour[c] + slope * (distance - a.at) - double(tile.colour[c]);
        const double alongX = slope * ramp.alongX - double(tile.slopeX[c]);
        const double alongY = slope * ramp.alongY - double(tile.slopeY[c]);
        error += middle * middle + squaredOffset * (alongX * alongX + alongY * alongY);
    }
    return std::sqrt(error / 3.0);
}

} // namespace

double differenceOf(const RampTiles &tiles, std::size_t tile, const Ramp &ramp)
{
    const double distance = ramp.distanceAt(tiles.middleX(tile), tiles.middleY(tile));
    if (!ramp.radial) {
        const double reach = tiles.side; // of the samples, and more
        for (std::size_t k = 0; k + 1 < ramp.stops.size(); ++k) {
            if (distance - reach > ramp.stops[k].at && distance + reach < ramp.stops[k + 1].at)
                return differenceOfPlanes(tiles.tiles[tile], ramp, k, distance,
                                          (double(tiles.side) * tiles.side - 1.0) / 12.0);
        }
    }
    double error = 0.0;
    for (const RampSample &sample : samplesOf(tiles, tile)) {
        const RampColour colour = ramp.colourAt(sample.x, sample.y);
        for (std::size_t c = 0; c < 3; ++c)
            error += (colour[c] - sample.colour[c]) * (colour[c] - sample.colour[c]);
    }
    return std::sqrt(error / 12.0);
}

void leaveWidePads(const RampTiles &tiles, GrownRamp *grown)
{
    const std::vector<RampStop> &stops = grown->ramp.stops;
    if (stops.size() < 3)
        return;
    const auto isPad = [](const RampStop &a, const RampStop &b) {
        return farthestChannel(a.colour, b.colour) < kTolerance;
    };
    const double first = isPad(stops[0], stops[1]) ? stops[1].at : -1e300;
    const double last
        = isPad(stops[stops.size() - 2], stops.back()) ? stops[stops.size() - 2].at : 1e300;
    std::vector<std::size_t> within;
    for (std::size_t member : grown->members) {
        const double distance
            = grown->ramp.distanceAt(tiles.middleX(member), tiles.middleY(member));
        if (distance >= first && distance <= last)
            within.push_back(member);
    }
    if (within.size() >= kLeastTiles && kWidePads * within.size() < grown->members.size())
        grown->members = within;
}

std::vector<GrownRamp> growRamps(const RampTiles &tiles, const std::vector<bool> &free)
{
    return Growth(tiles, free).run();
}

} // namespace ztrace
