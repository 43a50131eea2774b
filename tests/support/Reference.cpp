// (c) the ztrace developers. Licence: see LICENSE.
//
// The reference tracer: options, pixels, palette, quantization, blur, polylines.
#include "Reference.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace ztrace::reference {

namespace {

const int kLargestPalette = 16777216;
const double kRandMax = 2147483647.0;

std::vector<double> gaussianKernel(int radius)
{
    switch (radius) {
    case 1:
        return { 0.27901, 0.44198, 0.27901 };
    case 2:
        return { 0.135336, 0.228569, 0.272192, 0.228569, 0.135336 };
    case 3:
        return { 0.086776, 0.136394, 0.178908, 0.195843, 0.178908, 0.136394, 0.086776 };
    case 4:
        return { 0.063327, 0.093095, 0.122589, 0.144599, 0.152781,
                 0.144599, 0.122589, 0.093095, 0.063327 };
    default:
        return { 0.049692, 0.069304, 0.089767, 0.107988, 0.120651, 0.125194,
                 0.120651, 0.107988, 0.089767, 0.069304, 0.049692 };
    }
}

// The low byte of a number, read as signed.
signed char lowByte(int value)
{
    const int byte = value & 255;
    return static_cast<signed char>(byte < 128 ? byte : byte - 256);
}

signed char randomByte()
{
    const double value = std::floor(std::rand() / kRandMax * 255.0) - 128;
    return lowByte(truncatedInt(value));
}

signed char blurredByte(double sum, double weights)
{
    const double value = std::floor(sum / weights);
    if (std::isnan(value))
        return 0;
    return lowByte(truncatedInt(value));
}

} // namespace

int truncatedInt(double value)
{
    if (std::isnan(value))
        return INT_MIN;
    if (value >= 2147483647.0)
        return INT_MAX;
    if (value <= -2147483648.0)
        return INT_MIN;
    return static_cast<int>(value);
}

int flooredInt(double value)
{
    return truncatedInt(std::floor(value));
}

Reference::Reference(Lightness lightnessOfColor) : lightness(std::move(lightnessOfColor))
{
    options["monochrome"] = 1;
    options["numberofcolors"] = 16;
    options["mincolorratio"] = 0.02;
    options["colorquantcycles"] = 3;
    options["colorsampling"] = 1;
    options["blurradius"] = 1;
    options["blurdelta"] = 2000;
    options["pathomit"] = 8;
    options["ltres"] = 1;
    options["qtres"] = 1;
    options["alphathreshold"] = 200;
    options["brightnessthreshold"] = 200;
}

void Reference::preprocess(Words &words, int w, int h)
{
    if (!(options["monochrome"] > 0))
        return;
    const int alphaLimit = flooredInt(options["alphathreshold"]);
    const int lightnessLimit = flooredInt(options["brightnessthreshold"]);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            std::uint32_t &word = words[static_cast<std::size_t>(y) * static_cast<std::size_t>(w)
                                        + static_cast<std::size_t>(x)];
            const int alpha = static_cast<int>(word >> 24 & 255);
            const int red = static_cast<int>(word >> 16 & 255);
            const int green = static_cast<int>(word >> 8 & 255);
            const int blue = static_cast<int>(word & 255);
            if (alpha > alphaLimit)
                word = 0xFF000000u;
            else if (lightness(red, green, blue) > lightnessLimit)
                word = 0xFF000000u;
            else
                word = 0xFFFFFFFFu;
        }
    }
}

void Reference::loadImageData(const Words &words, int w, int h)
{
    Bytes bytes;
    for (const std::uint32_t word : words) {
        bytes.push_back(lowByte(static_cast<int>(word >> 16 & 255)));
        bytes.push_back(lowByte(static_cast<int>(word >> 8 & 255)));
        bytes.push_back(lowByte(static_cast<int>(word & 255)));
        bytes.push_back(lowByte(static_cast<int>(word >> 24 & 255)));
    }
    imageWidth = w;
    imageHeight = h;
    imageData = bytes;
}

Palette Reference::generatepalette(int numberofcolors)
{
    const int n = numberofcolors;
    if (n <= 0 || n > kLargestPalette)
        return Palette();
    if (n == 1)
        return Palette(1, Bytes { -128, -128, -128, 127 });

    Palette result;
    if (n < 8) {
        const double step = 255.0 / (n - 1);
        for (int i = 0; i < n; ++i) {
            const int v = truncatedInt(std::round(i * step));
            result.push_back(Bytes { lowByte(v - 128), lowByte(v - 128), lowByte(v - 128), 127 });
        }
        return result;
    }

    const int q = truncatedInt(std::floor(std::pow(static_cast<double>(n), 0.3333333333333333)));
    const int step
        = truncatedInt(static_cast<double>(std::floor(255.0f / static_cast<float>(q - 1)))) & 255;
    for (int r = 0; r < q; ++r)
        for (int g = 0; g < q; ++g)
            for (int b = 0; b < q; ++b)
                result.push_back(Bytes { lowByte(r * step - 128), lowByte(g * step - 128),
                                         lowByte(b * step - 128), 127 });
    while (result.size() < static_cast<std::size_t>(n)) {
        Bytes entry;
        for (int c = 0; c < 4; ++c)
            entry.push_back(randomByte());
        result.push_back(entry);
    }
    return result;
}

Palette Reference::samplepalette(int numberofcolors)
{
    const int n = numberofcolors;
    if (n <= 0 || n > kLargestPalette)
        return Palette();
    const double bytes = static_cast<double>(imageData.size());
    const double pixels = static_cast<double>(imageData.size() / 4);
    Palette result;
    for (int k = 0; k < n; ++k) {
        const double u = std::rand() / kRandMax;
        double p = std::floor(bytes * u * 0.25);
        if (p > pixels - 1)
            p = pixels - 1;
        Bytes entry(4, 0);
        if (p >= 0) {
            const std::size_t i = static_cast<std::size_t>(p * 4.0);
            for (std::size_t c = 0; c < 4; ++c)
                entry[c] = imageData[i + c];
        }
        result.push_back(entry);
    }
    return result;
}

void Reference::colorquantization()
{
    const int numberofcolors = flooredInt(options["numberofcolors"]);
    const double mincolorratio = options["mincolorratio"];
    const std::int64_t cycles = flooredInt(options["colorquantcycles"]);

    const std::size_t rows = static_cast<std::size_t>(imageHeight) + 2;
    const std::size_t cols = static_cast<std::size_t>(imageWidth) + 2;
    Grid grid(rows);
    for (std::vector<int> &row : grid) {
        row.assign(cols, 0);
        row[0] = -1;
        row[cols - 1] = -1;
    }
    for (std::size_t c = 0; c < cols; ++c) {
        grid[0][c] = -1;
        grid[rows - 1][c] = -1;
    }

    if (currentPalette.empty()) {
        if (options["colorsampling"] == 0.0)
            currentPalette = generatepalette(numberofcolors);
        else
            currentPalette = samplepalette(numberofcolors);
    }

    if (options["blurradius"] > 0.0)
        blur(static_cast<float>(options["blurradius"]), static_cast<float>(options["blurdelta"]));

    // Four channel sums, then the count.
    std::vector<std::vector<std::int64_t>> colorSums(currentPalette.size(),
                                                     std::vector<std::int64_t>(5, 0));
    // The product wraps as a 32-bit one does.
    const double pixelCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(imageWidth)
                                                        * static_cast<std::uint32_t>(imageHeight));

    for (std::int64_t cycle = 0; cycle < cycles; ++cycle) {
        if (cycle > 0) {
            for (std::size_t k = 0; k < currentPalette.size(); ++k) {
                const std::int64_t count = colorSums[k][4];
                if (colorSums[k][3] > 0) {
                    for (std::size_t c = 0; c < 4; ++c)
                        currentPalette[k][c]
                            = lowByte(static_cast<int>(colorSums[k][c] / count - 128));
                }
                const float ratio = static_cast<float>(static_cast<double>(count) / pixelCount);
                if (mincolorratio > static_cast<double>(ratio) && cycle < cycles - 1) {
                    for (std::size_t c = 0; c < 4; ++c)
                        currentPalette[k][c] = randomByte();
                }
            }
        }
        for (std::vector<std::int64_t> &sums : colorSums)
            sums.assign(5, 0);

        for (int y = 0; y < imageHeight; ++y) {
            for (int x = 0; x < imageWidth; ++x) {
                const std::size_t i
                    = (static_cast<std::size_t>(y) * static_cast<std::size_t>(imageWidth)
                       + static_cast<std::size_t>(x))
                    * 4;
                std::size_t best = 0;
                int bestDistance = 1024;
                for (std::size_t k = 0; k < currentPalette.size(); ++k) {
                    const Bytes &entry = currentPalette[k];
                    const int distance = std::abs(entry[0] - imageData[i])
                        + std::abs(entry[1] - imageData[i + 1])
                        + std::abs(entry[2] - imageData[i + 2])
                        + 4 * std::abs(entry[3] - imageData[i + 3]);
                    if (distance < bestDistance) {
                        best = k;
                        bestDistance = distance;
                    }
                }
                if (!colorSums.empty()) {
                    for (std::size_t c = 0; c < 4; ++c)
                        colorSums[best][c] += imageData[i + c] + 128;
                    colorSums[best][4] += 1;
                }
                grid[static_cast<std::size_t>(y) + 1][static_cast<std::size_t>(x) + 1]
                    = static_cast<int>(best);
            }
        }
    }

    indexedImage.width = static_cast<int>(grid[0].size()) - 2;
    indexedImage.height = static_cast<int>(grid.size()) - 2;
    indexedImage.indices = grid;
    indexedImage.palette = currentPalette;
    indexedImage.tracedLayers.clear();
}

void Reference::blur(float radius, float delta)
{
    int r = truncatedInt(static_cast<double>(std::floor(radius)));
    if (r < 1)
        return;
    const std::size_t w = static_cast<std::size_t>(imageWidth);
    Bytes horizontal(imageData.size(), 0);
    int limit = truncatedInt(static_cast<double>(std::fabs(delta)));
    if (limit > 1024)
        limit = 1024;
    if (r > 5)
        r = 5;
    const std::vector<double> kernel = gaussianKernel(r);
    const auto at = [w](int x, int y) {
        return (static_cast<std::size_t>(y) * w + static_cast<std::size_t>(x)) * 4;
    };

    for (int y = 0; y < imageHeight; ++y) {
        for (int x = 0; x < imageWidth; ++x) {
            double sums[4] = { 0.0, 0.0, 0.0, 0.0 };
            double weights = 0.0;
            for (int k = -r; k <= r; ++k) {
                const int c = x + k;
                if (c > 0 && c < imageWidth) {
                    const double weight = kernel[static_cast<std::size_t>(k + r)];
                    for (std::size_t channel = 0; channel < 4; ++channel)
                        sums[channel] += imageData[at(c, y) + channel] * weight;
                    weights += weight;
                }
            }
            for (std::size_t channel = 0; channel < 4; ++channel)
                horizontal[at(x, y) + channel] = blurredByte(sums[channel], weights);
        }
    }

    Bytes vertical = horizontal;
    for (int y = 0; y < imageHeight; ++y) {
        for (int x = 0; x < imageWidth; ++x) {
            double sums[4] = { 0.0, 0.0, 0.0, 0.0 };
            double weights = 0.0;
            for (int k = -r; k <= r; ++k) {
                const int c = y + k;
                if (c > 0 && c < imageHeight) {
                    const double weight = kernel[static_cast<std::size_t>(k + r)];
                    for (std::size_t channel = 0; channel < 4; ++channel)
                        sums[channel] += horizontal[at(x, c) + channel] * weight;
                    weights += weight;
                }
            }
            for (std::size_t channel = 0; channel < 4; ++channel)
                vertical[at(x, y) + channel] = blurredByte(sums[channel], weights);
        }
    }

    for (int y = 0; y < imageHeight; ++y) {
        for (int x = 0; x < imageWidth; ++x) {
            int d = 0;
            for (std::size_t channel = 0; channel < 4; ++channel)
                d += std::abs(vertical[at(x, y) + channel] - imageData[at(x, y) + channel]);
            if (d > limit) {
                for (std::size_t channel = 0; channel < 4; ++channel)
                    vertical[at(x, y) + channel] = imageData[at(x, y) + channel];
            }
        }
    }
    imageData = vertical;
}

Point Reference::transform(const Point &point) const
{
    return Point { point.x, imageHeight - point.y };
}

std::vector<Polyline> Reference::getPolylines() const
{
    std::map<double, std::vector<std::size_t>> order;
    const TracedLayers &layers = indexedImage.tracedLayers;
    for (std::size_t k = 0; k < layers.size(); ++k) {
        for (std::size_t p = 0; p < layers[k].size(); ++p) {
            if (layers[k][p].empty())
                continue;
            const Segment &first = layers[k][p][0];
            const double key = static_cast<double>(indexedImage.width) * first[2] + first[1];
            order[key] = std::vector<std::size_t> { k, p };
        }
    }

    std::vector<Polyline> result;
    for (const auto &entry : order) {
        const TracedPath &segments = layers[entry.second[0]][entry.second[1]];
        Polyline polyline;
        polyline.first = transform(Point { segments[0][1], segments[0][2] });
        for (const Segment &s : segments) {
            if (s[0] == 1.0) {
                polyline.pieces.push_back(
                    Piece { Piece::Line, { transform(Point { s[3], s[4] }) } });
            } else {
                polyline.pieces.push_back(
                    Piece { Piece::Quadratic,
                            { polyline.endPoint(), transform(Point { s[3], s[4] }),
                              transform(Point { s[5], s[6] }) } });
            }
        }
        result.push_back(polyline);
    }
    return result;
}

std::vector<Polyline> Reference::trace(const Words &words, int w, int h)
{
    Words copy = words;
    preprocess(copy, w, h);
    loadImageData(copy, w, h);
    colorquantization();
    const std::vector<Grid> edgeLayers = layering();
    const float pathomit = static_cast<float>(flooredInt(options["pathomit"]));
    const std::vector<Paths> paths = batchpathscan(edgeLayers, pathomit);
    const std::vector<InternodePaths> points = batchinternodes(paths);
    const float qtres = static_cast<float>(options["qtres"]);
    const float ltres = static_cast<float>(options["ltres"]);
    indexedImage.tracedLayers = batchtracelayers(points, ltres, qtres);
    return getPolylines();
}

} // namespace ztrace::reference
