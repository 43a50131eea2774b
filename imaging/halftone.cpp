// (c) the ztrace developers. Licence: see LICENSE.
#include "halftone.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace ztrace {

namespace {

const int kSquare = 40;        // pixels a side
const int kSquaresASide = 6;   // looked at
const std::size_t kLeast = 10; // squares; icons of pages have fewer
const int kMean = 7;           // pixels to each side of the mean that is taken away
const int kShortest = 3;       // pixels from dot to dot
const int kLongest = 12;
const double kPlain = 30.0;  // variance of what the mean leaves
const double kBetween = 0.3; // of the repetition: what is half as far on is that unlike at least

using Square = std::array<double, std::size_t(kSquare) * std::size_t(kSquare)>;

double &at(Square *square, int x, int y)
{
    return (*square)[std::size_t(y * kSquare + x)];
}

double at(const Square &square, int x, int y)
{
    return square[std::size_t(y * kSquare + x)];
}

// Means along rows or columns, as far as the square goes.
Square smoothed(const Square &square, bool down)
{
    Square means = {};
    for (int line = 0; line < kSquare; ++line) {
        for (int k = 0; k < kSquare; ++k) {
            const int first = std::max(0, k - kMean);
            const int last = std::min(kSquare - 1, k + kMean);
            double sum = 0.0;
            for (int i = first; i <= last; ++i)
                sum += down ? at(square, line, i) : at(square, i, line);
            at(&means, down ? line : k, down ? k : line) = sum / (last - first + 1);
        }
    }
    return means;
}

// Lightness less its mean around each pixel.
Square detailOf(const GreyPicture &picture, int left, int top, std::vector<uint8_t> *buffer)
{
    Square lights = {};
    for (int y = 0; y < kSquare; ++y) {
        const uint8_t *tones = picture.row(top + y, buffer->data()) + left;
        std::copy(tones, tones + kSquare, &at(&lights, 0, y));
    }
    const Square means = smoothed(smoothed(lights, false), true);
    for (std::size_t k = 0; k < lights.size(); ++k)
        lights[k] -= means[k];
    return lights;
}

// Mean product of a square and itself `dx` to the right and `dy` down; dy is not below 0.
double product(const Square &square, int dx, int dy)
{
    const int from = std::max(0, -dx);
    const int to = kSquare - std::max(0, dx);
    double sum = 0.0;
    for (int y = 0; y + dy < kSquare; ++y) {
        for (int x = from; x < to; ++x)
            sum += at(square, x, y) * at(square, x + dx, y + dy);
    }
    return sum / ((to - from) * (kSquare - dy));
}

// The best repetition that is one: half as far on the square is unlike itself.
double repetitionOf(const Square &square, double variance)
{
    double best = 0.0;
    for (int dy = 0; dy <= kLongest; ++dy) {
        for (int dx = -kLongest; dx <= kLongest; ++dx) {
            const int squares = dx * dx + dy * dy;
            if (squares < kShortest * kShortest || squares > kLongest * kLongest)
                continue;
            const double found = product(square, dx, dy) / variance;
            if (found > best && product(square, dx / 2, dy / 2) / variance <= kBetween * found)
                best = found;
        }
    }
    return best;
}

std::vector<int> placesAlong(int length)
{
    std::vector<int> places;
    const int count = std::min(kSquaresASide, length / kSquare);
    for (int k = 0; k < count; ++k)
        places.push_back((length - kSquare) * (2 * k + 1) / (2 * count));
    return places;
}

} // namespace

double repetitionOf(const GreyPicture &picture)
{
    std::vector<uint8_t> buffer(std::size_t(picture.width()));
    std::vector<double> found;
    for (int top : placesAlong(picture.height())) {
        for (int left : placesAlong(picture.width())) {
            const Square detail = detailOf(picture, left, top, &buffer);
            const double variance = product(detail, 0, 0);
            if (variance >= kPlain)
                found.push_back(repetitionOf(detail, variance));
        }
    }
    if (found.size() < kLeast)
        return 0.0;
    const auto middle = found.begin() + std::ptrdiff_t(found.size() / 2);
    std::nth_element(found.begin(), middle, found.end());
    return *middle;
}

} // namespace ztrace
