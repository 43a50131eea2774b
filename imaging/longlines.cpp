// (c) the ztrace developers. Licence: see LICENSE.
#include "longlines.h"

#include "colour.h"
#include "forest.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numeric>

namespace ztrace {

namespace {

// A line of so many pixels, so many rows or columns long, that goes at most so far from what is
// beside it towards another colour is none of that colour, or it would be .7 pixels wide at most
// all along: letters come to their colour somewhere. How far it goes is what a tenth of its pixels
// exceed. Casings of the roads of a map were near-black, and dashed: 3,517 segments, now 1,366.
const uint32_t kLongLine = 48;
const uint32_t kReach = 32;
const double kDiluted = 0.72;
const double kStrongest = 0.9;
const double kOneWay = 0.9;      // cosine; pixels of a line differ so from what is beside them
const double kOffMixture = 12.0; // a length; from mixtures with what is beside the line, at most

// Pixels of lines that hang together by sides or corners.
class Lines
{
public:
    Lines(const QImage &i, const EdgeMap &edges) : image(i), width(uint32_t(i.width()))
    {
        for (const EdgeMap::RidgePixel &ridge : edges.ridges()) {
            if (!edges.isLine(int(ridge.pixel % width), int(ridge.pixel / width))
                || qAlpha(wordOf(ridge) & ridge.beside) != 255)
                continue;
            pixels.push_back(ridge);
            away.push_back(difference(OpaqueKind::of(wordOf(ridge)), OpaqueKind::of(ridge.beside)));
        }
        lineOf.resize(pixels.size());
        std::iota(lineOf.begin(), lineOf.end(), 0u);
        joinNeighbours();
    }

    std::vector<LongLine> found()
    {
        std::vector<uint32_t> sizes(pixels.size(), 0);
        for (uint32_t k = 0; k < pixels.size(); ++k)
            ++sizes[lineOf[k] = rootOf(&lineOf, k)];
        std::map<uint32_t, std::vector<uint32_t>> members;
        for (uint32_t k = 0; k < pixels.size(); ++k) {
            if (sizes[lineOf[k]] >= kLongLine)
                members[lineOf[k]].push_back(k);
        }
        std::vector<LongLine> lines;
        for (auto &line : members) {
            if (isLong(line.second))
                lines.push_back({ strongestOf(&line.second), line.second.size() });
        }
        std::stable_sort(lines.begin(), lines.end(),
                         [](const LongLine &a, const LongLine &b) { return a.pixels > b.pixels; });
        return lines;
    }

private:
    QRgb wordOf(const EdgeMap::RidgePixel &ridge) const
    {
        return row(image, int(ridge.pixel / width))[ridge.pixel % width];
    }

    // With the pixel before in the row, and the three above.
    void joinNeighbours()
    {
        std::size_t above = 0;
        for (std::size_t k = 1; k < pixels.size(); ++k) {
            if (pixels[k - 1].pixel + 1 == pixels[k].pixel)
                join(k - 1, k);
            while (pixels[above].pixel + width + 1 < pixels[k].pixel)
                ++above;
            for (std::size_t i = above; i < k && pixels[i].pixel + width <= pixels[k].pixel + 1;
                 ++i)
                join(i, k);
        }
    }

    void join(std::size_t i, std::size_t k)
    {
        const int columns = int(pixels[i].pixel % width) - int(pixels[k].pixel % width);
        if (std::abs(columns) <= 1 && isAligned(away[i], away[k], kOneWay))
            lineOf[rootOf(&lineOf, uint32_t(k))] = rootOf(&lineOf, uint32_t(i));
    }

    // The members are in the order of their pixels.
    bool isLong(const std::vector<uint32_t> &members) const
    {
        uint32_t left = width;
        uint32_t right = 0;
        for (uint32_t k : members) {
            left = std::min(left, pixels[k].pixel % width);
            right = std::max(right, pixels[k].pixel % width);
        }
        const uint32_t rows
            = pixels[members.back()].pixel / width - pixels[members.front()].pixel / width;
        return std::max(rows, right - left) >= kReach;
    }

    Ridge strongestOf(std::vector<uint32_t> *members) const
    {
        const auto strong = members->begin() + std::ptrdiff_t(kStrongest * double(members->size()));
        std::nth_element(members->begin(), strong, members->end(), [this](uint32_t a, uint32_t b) {
            const auto one = square(away[a]);
            const auto other = square(away[b]);
            return one != other ? one < other : a < b;
        });
        return { true, wordOf(pixels[*strong]), pixels[*strong].beside };
    }

    const QImage &image;
    const uint32_t width;
    std::vector<EdgeMap::RidgePixel> pixels;
    std::vector<OpaqueKind::Colour> away; // from what is beside each
    std::vector<uint32_t> lineOf;         // a forest
};

} // namespace

std::vector<LongLine> longLinesIn(const QImage &image, const EdgeMap &edges)
{
    return Lines(image, edges).found();
}

bool isDilutedAllAlong(const LongLine &line, const std::vector<QRgb> &palette)
{
    const VisibleColour own = visible(line.ridge.colour);
    const VisibleColour beside = visible(line.ridge.beside);
    const double depth = length(difference(own, beside));
    bool isExplained = false;
    for (QRgb colour : palette) {
        const VisibleColour other = visible(colour);
        if (qAlpha(colour) != 255 || std::sqrt(squareToMixture(own, beside, other)) > kOffMixture)
            continue;
        if (depth > kDiluted * length(difference(other, beside)))
            return false;
        isExplained = true;
    }
    return isExplained;
}

} // namespace ztrace
