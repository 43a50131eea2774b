// (c) the ztrace developers. Licence: see LICENSE.
#include "rampfit.h"

#include "colour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

const std::size_t kMostTiles = 1500;  // that a fit looks at; more change angles below 0.01 degrees
const std::size_t kMostPixels = 2000; // the same, one by one; four times as many take twice as long
const int kSteps = 8;                 // of least squares
const double kSettled = 1e-4;         // part of the error that a step has to take off
const std::size_t kBins = 96;         // distances that colours are averaged over

typedef std::array<std::array<double, kMostRampStops>, kMostRampStops> Matrix;

// Solves for three right hand sides at once, in place; the matrix is symmetric and positive but for
// rows that nothing is known of, which keep what is near them.
void solve(std::size_t n, Matrix *m, std::array<RampColour, kMostRampStops> *right)
{
    for (std::size_t i = 0; i < n; ++i) {
        const double pivot = (*m)[i][i];
        for (std::size_t j = i + 1; j < n; ++j) {
            const double factor = (*m)[j][i] / pivot;
            for (std::size_t k = i; k < n; ++k)
                (*m)[j][k] -= factor * (*m)[i][k];
            for (std::size_t c = 0; c < 3; ++c)
                (*right)[j][c] -= factor * (*right)[i][c];
        }
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t c = 0; c < 3; ++c) {
            double value = (*right)[i][c];
            for (std::size_t k = i + 1; k < n; ++k)
                value -= (*m)[i][k] * (*right)[k][c];
            (*right)[i][c] = value / (*m)[i][i];
        }
    }
}

// Which two stops a distance lies between, and how near to the second.
struct Between
{
    std::size_t first;
    double share;
};

Between between(const std::vector<RampStop> &stops, double distance)
{
    std::size_t first = 0;
    while (first + 2 < stops.size() && stops[first + 1].at < distance)
        ++first;
    return { first,
             std::clamp((distance - stops[first].at) / (stops[first + 1].at - stops[first].at), 0.0,
                        1.0) };
}

// How the distance of a sample changes with the ramp's numbers: the angle, or the centre's x and y.
typedef std::array<double, 2> Change;

Change changeOf(const Ramp &ramp, const RampSample &sample)
{
    if (!ramp.radial)
        return { { (sample.y - ramp.y) * ramp.alongX - (sample.x - ramp.x) * ramp.alongY, 0.0 } };
    const double distance = std::max(1e-9,
                                     std::sqrt((sample.x - ramp.x) * (sample.x - ramp.x)
                                               + (sample.y - ramp.y) * (sample.y - ramp.y)));
    return { { (ramp.x - sample.x) / distance, (ramp.y - sample.y) / distance } };
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
    MeanChanges(const Ramp &ramp, const std::vector<RampSample> &samples)
        : least(ramp.stops.front().at),
          width(std::max(1e-9, ramp.stops.back().at - least) / double(kBins))
    {
        for (const RampSample &sample : samples) {
            Bin &bin = bins[binOf(ramp.distanceAt(sample.x, sample.y))];
            const Change change = changeOf(ramp, sample);
            bin.sum[0] += change[0];
            bin.sum[1] += change[1];
            bin.count += 1.0;
        }
    }

    Change beyondMean(const Ramp &ramp, const RampSample &sample) const
    {
        const Bin &bin = bins[binOf(ramp.distanceAt(sample.x, sample.y))];
        const Change change = changeOf(ramp, sample);
        return { { change[0] - bin.sum[0] / bin.count, change[1] - bin.sum[1] / bin.count } };
    }

private:
    struct Bin
    {
        Change sum = {};
        double count = 0.0;
    };

    std::size_t binOf(double distance) const
    {
        return std::size_t(std::clamp((distance - least) / width, 0.0, double(kBins - 1)));
    }

    double least;
    double width;
    std::array<Bin, kBins> bins;
};

// One step of least squares, from all samples; nothing where they tell none.
Change stepOf(const Ramp &ramp, const std::vector<RampSample> &samples)
{
    const MeanChanges means(ramp, samples);
    std::array<double, 3> square = {}; // of the changes of the colours
    Change right = {};
    for (const RampSample &sample : samples) {
        const double distance = ramp.distanceAt(sample.x, sample.y);
        const Between place = between(ramp.stops, distance);
        const RampStop &a = ramp.stops[place.first];
        const RampStop &b = ramp.stops[place.first + 1];
        const Change change = means.beyondMean(ramp, sample);
        for (std::size_t c = 0; c < 3; ++c) {
            const double slope = (b.colour[c] - a.colour[c]) / (b.at - a.at);
            const double rest
                = sample.colour[c] - a.colour[c] - place.share * (b.colour[c] - a.colour[c]);
            square[0] += slope * slope * change[0] * change[0];
            square[1] += slope * slope * change[0] * change[1];
            square[2] += slope * slope * change[1] * change[1];
            right[0] += slope * rest * change[0];
            right[1] += slope * rest * change[1];
        }
    }
    if (!ramp.radial)
        return { { square[0] > 0.0 ? right[0] / square[0] : 0.0, 0.0 } };
    const double determinant = square[0] * square[2] - square[1] * square[1];
    if (!(determinant > 1e-12 * square[0] * square[2]))
        return {};
    return { { (right[0] * square[2] - right[1] * square[1]) / determinant,
               (right[1] * square[0] - right[0] * square[1]) / determinant } };
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
        samples[k] = { tiles.middleX(place) + dx, tiles.middleY(place) + dy, tile.colour };
        for (std::size_t c = 0; c < 3; ++c)
            samples[k].colour[c] += dx * tile.slopeX[c] + dy * tile.slopeY[c];
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

void fitStops(const std::vector<RampSample> &samples, const std::vector<double> &inner, Ramp *ramp)
{
    const RampRange range = rangeOf(*ramp, samples);
    ramp->stops.assign(1, { range.least, {} });
    for (double at : inner) {
        if (at > ramp->stops.back().at + 1.0 && at < range.most - 1.0
            && ramp->stops.size() + 1 < kMostRampStops)
            ramp->stops.push_back({ at, {} });
    }
    ramp->stops.push_back({ range.most, {} });
    Matrix matrix = {};
    std::array<RampColour, kMostRampStops> right = {};
    for (const RampSample &sample : samples) {
        const Between place = between(ramp->stops, ramp->distanceAt(sample.x, sample.y));
        const std::size_t i = place.first;
        const double a = 1.0 - place.share;
        const double b = place.share;
        matrix[i][i] += a * a;
        matrix[i][i + 1] += a * b;
        matrix[i + 1][i] += a * b;
        matrix[i + 1][i + 1] += b * b;
        for (std::size_t c = 0; c < 3; ++c) {
            right[i][c] += a * sample.colour[c];
            right[i + 1][c] += b * sample.colour[c];
        }
    }
    // A stop that nothing is near to goes between its neighbours.
    const double weak = 1e-6 * double(samples.size());
    for (std::size_t i = 0; i < ramp->stops.size(); ++i) {
        matrix[i][i] += weak;
        if (i > 0)
            matrix[i][i - 1] -= weak;
        if (i > 0)
            matrix[i - 1][i] -= weak;
        if (i > 0 && i + 1 < ramp->stops.size())
            matrix[i][i] += weak;
    }
    solve(ramp->stops.size(), &matrix, &right);
    for (std::size_t i = 0; i < ramp->stops.size(); ++i)
        ramp->stops[i].colour = right[i];
}

void refineRamp(const std::vector<RampSample> &samples, const std::vector<double> &inner,
                Ramp *ramp)
{
    fitStops(samples, inner, ramp);
    double error = errorOf(*ramp, samples);
    for (int step = 0; step < kSteps; ++step) {
        Change change = stepOf(*ramp, samples);
        bool better = false;
        for (int halving = 0; halving < 3 && !better; ++halving) {
            Ramp other = moved(*ramp, change);
            fitStops(samples, inner, &other);
            const double less = errorOf(other, samples);
            better = less < error * (1.0 - kSettled);
            if (better) {
                *ramp = other;
                error = less;
            }
            change = { { 0.5 * change[0], 0.5 * change[1] } };
        }
        if (!better)
            return;
    }
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
            const double nx = -tile.slopeY[c];
            const double ny = tile.slopeX[c];
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
