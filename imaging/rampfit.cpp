// (c) the ztrace developers. Licence: see LICENSE.
#include "rampfit.h"

#include "colour.h"
#include "ramphats.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

// Tiles that a fit looks at while a ramp grows, of larger ones every few: five times as many find
// the same ramps. The last fit is of pixels.
const std::size_t kMostTiles = 300;
const std::size_t kMostPixels = 2000; // the same, one by one; four times as many take twice as long
const int kSteps = 8;         // of least squares; with 3 a cartoon is 0.03 of CIE 1976 farther off
const double kSettled = 1e-4; // part of the error that a step has to take off
const std::size_t kBins = 96; // distances that colours are averaged over

typedef std::vector<double> Distances; // of the samples, along the ramp

// How the distance of a sample changes with the ramp's numbers: the angle, or the centre's x and y.
typedef std::array<double, 2> Change;

// The same of one sample, and the bin of its distance.
struct BinnedChange
{
    Change change;
    std::size_t bin;
};

Change changeOf(const Ramp &ramp, const RampSample &sample, double distance)
{
    if (!ramp.radial)
        return { { (sample.y - ramp.y) * ramp.alongX - (sample.x - ramp.x) * ramp.alongY, 0.0 } };
    const double over = 1.0 / std::max(1e-9, distance);
    return { { (ramp.x - sample.x) * over, (ramp.y - sample.y) * over } };
}

Ramp moved(const Ramp &ramp, const Change &step)
{
    Ramp other = ramp;
    if (ramp.radial) {
        other.x += step[0];
        other.y += step[1];
    } else {
        const double angle = std::atan2(ramp.alongY, ramp.alongX) + step[0];
        other.alongX = std::cos(angle);
        other.alongY = std::sin(angle);
    }
    return other;
}

// The mean of the changes of all samples at about the same distance: that part of a change any
// colours along the ramp make up for.
class MeanChanges
{
public:
    explicit MeanChanges(const Ramp &ramp)
        : least(ramp.stops.front().at),
          overWidth(double(kBins) / std::max(1e-9, ramp.stops.back().at - least))
    { }

    void add(std::size_t place, const Change &change)
    {
        Bin &bin = bins[place];
        bin.sum[0] += change[0];
        bin.sum[1] += change[1];
        bin.count += 1.0;
    }

    void finish()
    {
        for (Bin &bin : bins) {
            for (double &sum : bin.sum)
                sum /= std::max(1.0, bin.count);
        }
    }

    const Change &at(std::size_t bin) const { return bins[bin].sum; }

    std::size_t binOf(double distance) const
    {
        return std::size_t(std::clamp((distance - least) * overWidth, 0.0, double(kBins - 1)));
    }

private:
    struct Bin
    {
        Change sum = {}; // the mean, once it is finished
        double count = 0.0;
    };

    double least;
    double overWidth;
    std::array<Bin, kBins> bins;
};

// One step of least squares, from all samples; nothing where they tell none.
Change stepOf(const Ramp &ramp, const std::vector<RampSample> &samples, const Distances &distances,
              std::vector<BinnedChange> *changes)
{
    MeanChanges means(ramp);
    changes->resize(samples.size());
    for (std::size_t k = 0; k < samples.size(); ++k) {
        (*changes)[k] = { changeOf(ramp, samples[k], distances[k]), means.binOf(distances[k]) };
        means.add((*changes)[k].bin, (*changes)[k].change);
    }
    means.finish();
    std::array<RampColour, kMostRampStops> slopes = {};
    std::array<double, kMostRampStops> steeps = {}; // their squared lengths
    for (std::size_t k = 0; k + 1 < ramp.stops.size(); ++k) {
        const double over = 1.0 / (ramp.stops[k + 1].at - ramp.stops[k].at);
        for (std::size_t c = 0; c < 3; ++c) {
            slopes[k][c] = over * (ramp.stops[k + 1].colour[c] - ramp.stops[k].colour[c]);
            steeps[k] += slopes[k][c] * slopes[k][c];
        }
    }
    std::array<double, 3> square = {}; // of the changes of the colours
    Change right = {};
    for (std::size_t k = 0; k < samples.size(); ++k) {
        std::size_t first = 0;
        while (first + 2 < ramp.stops.size() && ramp.stops[first + 1].at < distances[k])
            ++first;
        const RampStop &stop = ramp.stops[first];
        const double along = distances[k] - stop.at;
        const Change &own = (*changes)[k].change;
        const Change &mean = means.at((*changes)[k].bin);
        const double change[2] = { own[0] - mean[0], own[1] - mean[1] };
        const double steep = steeps[first];
        double rests = 0.0;
        for (std::size_t c = 0; c < 3; ++c) {
            const double slope = slopes[first][c];
            rests += slope * (samples[k].colour[c] - stop.colour[c] - along * slope);
        }
        square[0] += steep * change[0] * change[0];
        square[1] += steep * change[0] * change[1];
        square[2] += steep * change[1] * change[1];
        right[0] += rests * change[0];
        right[1] += rests * change[1];
    }
    if (!ramp.radial)
        return { { square[0] > 0.0 ? right[0] / square[0] : 0.0, 0.0 } };
    const double determinant = square[0] * square[2] - square[1] * square[1];
    if (!(determinant > 1e-12 * square[0] * square[2]))
        return {};
    return { { (right[0] * square[2] - right[1] * square[1]) / determinant,
               (right[1] * square[0] - right[0] * square[1]) / determinant } };
}

// Sums that are the same wherever the ramp is.
struct ColourSums
{
    RampColour colours = {};
    double squares = 0.0; // of all channels

    explicit ColourSums(const std::vector<RampSample> &samples)
    {
        for (const RampSample &sample : samples) {
            for (std::size_t c = 0; c < 3; ++c) {
                colours[c] += sample.colour[c];
                squares += sample.colour[c] * sample.colour[c];
            }
        }
    }
};

// Of two stops, which most ramps have: from sums that need no second look at the samples.
double fitTwoColours(const std::vector<RampSample> &samples, const ColourSums &known,
                     Distances *distances, Ramp *ramp)
{
    RampRange range = { 1e300, -1e300 };
    const double from = ramp->distanceAt(samples[0].x, samples[0].y); // small numbers are exact
    RampMoments moments;
    moments.count = double(samples.size());
    moments.colours = known.colours;
    for (std::size_t k = 0; k < samples.size(); ++k) {
        const double distance = ramp->distanceAt(samples[k].x, samples[k].y);
        (*distances)[k] = distance;
        range.least = std::min(range.least, distance);
        range.most = std::max(range.most, distance);
        const double along = distance - from;
        moments.sum += along;
        moments.squares += along * along;
        for (std::size_t c = 0; c < 3; ++c)
            moments.byDistance[c] += along * samples[k].colour[c];
    }
    range.most = std::max(range.most, range.least + 1e-6);
    RampHats hats({ range.least - from, range.most - from }, {});
    hats.add(0, moments);
    hats.addSquares(known.squares);
    const double error = hats.solve(&ramp->stops);
    for (RampStop &stop : ramp->stops)
        stop.at += from;
    return error;
}

// The best colours at the ramp's own place. Returns the mean squared difference of a channel.
double fitColours(const std::vector<RampSample> &samples, const ColourSums &known,
                  const std::vector<double> &inner, Distances *distances, Ramp *ramp)
{
    distances->resize(samples.size());
    if (inner.empty())
        return fitTwoColours(samples, known, distances, ramp);
    RampRange range = { 1e300, -1e300 };
    for (std::size_t k = 0; k < samples.size(); ++k) {
        const double distance = ramp->distanceAt(samples[k].x, samples[k].y);
        (*distances)[k] = distance;
        range.least = std::min(range.least, distance);
        range.most = std::max(range.most, distance);
    }
    range.most = std::max(range.most, range.least + 1e-6);
    RampHats hats(range, inner);
    for (std::size_t k = 0; k < samples.size(); ++k)
        hats.add((*distances)[k], samples[k].colour);
    hats.addSquares(known.squares);
    return hats.solve(&ramp->stops);
}

} // namespace

std::array<RampSample, 4> samplesOf(const RampTiles &tiles, std::size_t place)
{
    // The pixels of a tile have their squares of x, on average, at this distance from its middle.
    const double offset = std::sqrt((double(tiles.side) * tiles.side - 1.0) / 12.0);
    const RampTile &tile = tiles.tiles[place];
    std::array<RampSample, 4> samples;
    for (std::size_t k = 0; k < samples.size(); ++k) {
        const double dx = k % 2 == 0 ? -offset : offset;
        const double dy = k / 2 == 0 ? -offset : offset;
        samples[k] = { tiles.middleX(place) + dx, tiles.middleY(place) + dy, {} };
        for (std::size_t c = 0; c < 3; ++c)
            samples[k].colour[c] = double(tile.colour[c]) + dx * double(tile.slopeX[c])
                + dy * double(tile.slopeY[c]);
    }
    return samples;
}

std::vector<RampSample> samplesOf(const RampTiles &tiles, const std::vector<std::size_t> &members)
{
    const std::size_t stride = members.size() / kMostTiles + 1;
    std::vector<RampSample> samples;
    samples.reserve(4 * (members.size() / stride + 1));
    for (std::size_t k = 0; k < members.size(); k += stride) {
        for (const RampSample &sample : samplesOf(tiles, members[k]))
            samples.push_back(sample);
    }
    return samples;
}

std::vector<RampSample> pixelsOf(const QImage &image, const RampTiles &tiles,
                                 const std::vector<std::size_t> &members)
{
    const std::size_t side = std::size_t(tiles.side);
    const std::size_t pixels = members.size() * side * side;
    const std::size_t stride = (pixels / kMostPixels) | 1u; // no column of the tiles alone
    std::vector<RampSample> samples;
    samples.reserve(pixels / stride + 1);
    for (std::size_t k = 0; k < pixels; k += stride) {
        const std::size_t tile = members[k / (side * side)];
        const std::size_t x = tile % std::size_t(tiles.columns) * side + k % side;
        const std::size_t y = tile / std::size_t(tiles.columns) * side + k / side % side;
        samples.push_back(
            { double(x) + 0.5, double(y) + 0.5, rampColourOf(row(image, int(y))[x]) });
    }
    return samples;
}

double errorOf(const Ramp &ramp, const std::vector<RampSample> &samples)
{
    double error = 0.0;
    for (const RampSample &sample : samples) {
        const RampColour colour = ramp.colourAt(sample.x, sample.y);
        for (std::size_t c = 0; c < 3; ++c)
            error += (colour[c] - sample.colour[c]) * (colour[c] - sample.colour[c]);
    }
    return error / (3.0 * double(samples.size()));
}

RampRange rangeOf(const Ramp &ramp, const std::vector<RampSample> &samples)
{
    RampRange range = { 1e300, -1e300 };
    for (const RampSample &sample : samples) {
        const double distance = ramp.distanceAt(sample.x, sample.y);
        range.least = std::min(range.least, distance);
        range.most = std::max(range.most, distance);
    }
    range.most = std::max(range.most, range.least + 1e-6);
    return range;
}

double refineRamp(const std::vector<RampSample> &samples, const std::vector<double> &inner,
                  Ramp *ramp)
{
    Distances distances;
    Distances others;
    std::vector<BinnedChange> changes;
    const ColourSums known(samples);
    double error = fitColours(samples, known, inner, &distances, ramp);
    for (int step = 0; step < kSteps; ++step) {
        Change change = stepOf(*ramp, samples, distances, &changes);
        bool better = false;
        for (int halving = 0; halving < 3 && !better; ++halving) {
            Ramp other = moved(*ramp, change);
            const double less = fitColours(samples, known, inner, &others, &other);
            better = less < error * (1.0 - kSettled);
            if (better) {
                *ramp = other;
                distances.swap(others);
                error = less;
            }
            change = { { 0.5 * change[0], 0.5 * change[1] } };
        }
        if (!better)
            break;
    }
    return error;
}

Ramp fitLinear(const std::vector<RampSample> &samples)
{
    const double n = double(samples.size());
    double middleX = 0.0;
    double middleY = 0.0;
    for (const RampSample &sample : samples) {
        middleX += sample.x / n;
        middleY += sample.y / n;
    }
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    RampColour byX = {};
    RampColour byY = {};
    for (const RampSample &sample : samples) {
        const double x = sample.x - middleX;
        const double y = sample.y - middleY;
        xx += x * x;
        xy += x * y;
        yy += y * y;
        for (std::size_t c = 0; c < 3; ++c) {
            byX[c] += x * sample.colour[c];
            byY[c] += y * sample.colour[c];
        }
    }
    // The planes of the three channels, and the direction that most of their slopes have.
    const double determinant = std::max(1e-12, xx * yy - xy * xy);
    double gxx = 0.0;
    double gxy = 0.0;
    double gyy = 0.0;
    for (std::size_t c = 0; c < 3; ++c) {
        const double gx = (byX[c] * yy - byY[c] * xy) / determinant;
        const double gy = (byY[c] * xx - byX[c] * xy) / determinant;
        gxx += gx * gx;
        gxy += gx * gy;
        gyy += gy * gy;
    }
    const double angle = 0.5 * std::atan2(2.0 * gxy, gxx - gyy);
    Ramp ramp;
    ramp.x = middleX;
    ramp.y = middleY;
    ramp.alongX = std::cos(angle);
    ramp.alongY = std::sin(angle);
    refineRamp(samples, {}, &ramp);
    return ramp;
}

Ramp fitRadial(const RampTiles &tiles, const std::vector<std::size_t> &members,
               const std::vector<RampSample> &samples)
{
    // The point that is nearest to the lines along the slopes, steep ones first.
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    double rightX = 0.0;
    double rightY = 0.0;
    for (std::size_t member : members) {
        const RampTile &tile = tiles.tiles[member];
        for (std::size_t c = 0; c < 3; ++c) {
            const double nx = -double(tile.slopeY[c]);
            const double ny = double(tile.slopeX[c]);
            const double at = nx * tiles.middleX(member) + ny * tiles.middleY(member);
            xx += nx * nx;
            xy += nx * ny;
            yy += ny * ny;
            rightX += nx * at;
            rightY += ny * at;
        }
    }
    const double determinant = xx * yy - xy * xy;
    if (!(determinant > 1e-9 * (xx + yy) * (xx + yy)))
        return fitLinear(samples);
    Ramp ramp;
    ramp.radial = true;
    ramp.x = (rightX * yy - rightY * xy) / determinant;
    ramp.y = (rightY * xx - rightX * xy) / determinant;
    refineRamp(samples, {}, &ramp);
    return ramp;
}

} // namespace ztrace
