// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/inks.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const int kPaperBits = 4;        // of a channel, in the counts that tell the paper
const int kNearPaper = 40;       // steps of a channel that paper may differ by
const double kLeastPaper = 0.5;  // of all pixels
const int kLeastLightness = 128; // of every channel of paper
const int kLeastDepth = 56;      // steps of a channel that tell a hue
const int kHueSteps = 16;        // cells of a channel in the counts of hues
// Of the deepest channel, that a hue may differ from its ink's, in any channel, and that the hues
// of two inks do.
const double kOneHue = 0.24;
const double kOtherHue = 0.34;
const double kLeastShare = 0.01;    // of all ink, that an ink has
const double kLeastExplained = 0.9; // of all ink, that the inks have
const double kLeastHue = 0.3;       // of the deepest channel, that channels of a colour differ by
const double kDeepPart = 0.75;      // of an ink's pixels that are less deep than it is
const double kDeepest = 0.9;        // of that depth, that pixels have which tell the colour
const double kLeastCoverage = 0.35; // of an ink, in a pixel that is its own

typedef std::array<int, 3> Steps;  // darker than the paper, a channel each
typedef std::array<double, 3> Hue; // the same in parts of the greatest
typedef std::array<uint32_t, 256> Counts;

int channel(uint32_t pixel, int k)
{
    return int(pixel >> (16 - 8 * k)) & 255;
}

int depthOf(const Steps &steps)
{
    return std::max({ steps[0], steps[1], steps[2] });
}

int quantile(const Counts &counts, double part)
{
    double all = 0.0;
    for (uint32_t count : counts)
        all += count;
    double seen = 0.0;
    for (int value = 0; value < 256; ++value) {
        seen += counts[std::size_t(value)];
        if (seen > part * all)
            return value;
    }
    return 255;
}

double apart(const Hue &a, const Hue &b)
{
    return std::max({ std::fabs(a[0] - b[0]), std::fabs(a[1] - b[1]), std::fabs(a[2] - b[2]) });
}

class InkFinder
{
public:
    InkFinder(const ColourPicture &p, Inks *i) : picture(p), inks(*i) { }

    bool find()
    {
        if (!findPaper())
            return false;
        countHues();
        if (!takeHues())
            return false;
        findColours();
        label();
        return true;
    }

private:
    template<typename Visit>
    void forEachPixel(Visit visit) const
    {
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x)
                visit(x, y, picture.at(x, y));
        }
    }

    // The commonest colour, by the median of each channel around it.
    bool findPaper()
    {
        std::vector<uint32_t> counts(std::size_t(1) << (3 * kPaperBits), 0);
        const auto cellOf = [](uint32_t pixel) {
            std::size_t cell = 0;
            for (int k = 0; k < 3; ++k)
                cell = cell << kPaperBits | std::size_t(channel(pixel, k) >> (8 - kPaperBits));
            return cell;
        };
        forEachPixel([&](int, int, uint32_t pixel) { ++counts[cellOf(pixel)]; });
        const std::size_t cell
            = std::size_t(std::max_element(counts.begin(), counts.end()) - counts.begin());
        Steps middle;
        for (int k = 0; k < 3; ++k) {
            const int bits = int(cell >> (kPaperBits * (2 - k))) & ((1 << kPaperBits) - 1);
            middle[std::size_t(k)] = (bits << (8 - kPaperBits)) + (1 << (7 - kPaperBits));
        }
        Counts channels[3] = {};
        std::size_t near = 0;
        forEachPixel([&](int, int, uint32_t pixel) {
            for (int k = 0; k < 3; ++k) {
                if (std::abs(channel(pixel, k) - middle[std::size_t(k)]) > kNearPaper)
                    return;
            }
            ++near;
            for (int k = 0; k < 3; ++k)
                ++channels[k][std::size_t(channel(pixel, k))];
        });
        inks.paper = 0xff000000u;
        for (int k = 0; k < 3; ++k) {
            paper[std::size_t(k)] = quantile(channels[k], 0.5);
            if (paper[std::size_t(k)] < kLeastLightness)
                return false;
            inks.paper |= uint32_t(paper[std::size_t(k)]) << (16 - 8 * k);
        }
        return double(near) >= kLeastPaper * double(picture.width) * double(picture.height);
    }

    Steps stepsOf(uint32_t pixel) const
    {
        Steps steps;
        for (int k = 0; k < 3; ++k) {
            const int light = paper[std::size_t(k)];
            steps[std::size_t(k)] = std::max(0, light - channel(pixel, k)) * 255 / light;
        }
        return steps;
    }

    static Hue hueOf(const Steps &steps)
    {
        const double most = std::max(1, depthOf(steps));
        return { steps[0] / most, steps[1] / most, steps[2] / most };
    }

    int depthAt(int x, int y) const
    {
        if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
            return 0;
        return depthOf(stepsOf(picture.at(x, y)));
    }

    // Edges have the hues of blur and compression; the middle of a line has its ink's.
    bool isRidge(int x, int y, int depth) const
    {
        return (depth >= depthAt(x - 1, y) && depth >= depthAt(x + 1, y))
            || (depth >= depthAt(x, y - 1) && depth >= depthAt(x, y + 1));
    }

    template<typename Visit>
    void forEachRidge(Visit visit) const
    {
        forEachPixel([&](int x, int y, uint32_t pixel) {
            const Steps steps = stepsOf(pixel);
            const int depth = depthOf(steps);
            if (depth >= kLeastDepth && isRidge(x, y, depth))
                visit(pixel, steps, depth);
        });
    }

    static std::size_t cellOf(const Hue &hue)
    {
        std::size_t cell = 0;
        for (double part : hue)
            cell = cell * (kHueSteps + 1) + std::size_t(std::lround(part * kHueSteps));
        return cell;
    }

    static Hue hueOfCell(std::size_t cell)
    {
        const std::size_t n = kHueSteps + 1;
        const std::size_t most = cell / n / n;
        const std::size_t middle = cell / n % n;
        return { double(most) / kHueSteps, double(middle) / kHueSteps,
                 double(cell % n) / kHueSteps };
    }

    void countHues()
    {
        const std::size_t n = kHueSteps + 1;
        weights.assign(n * n * n, 0.0);
        forEachRidge([&](uint32_t, const Steps &steps, int depth) {
            weights[cellOf(hueOf(steps))] += depth;
        });
    }

    // The mean of what lies around a hue, and its weight.
    Hue meanAround(const Hue &middle, double *weight) const
    {
        Hue sum = { 0.0, 0.0, 0.0 };
        *weight = 0.0;
        for (std::size_t cell = 0; cell < weights.size(); ++cell) {
            const Hue hue = hueOfCell(cell);
            if (!(weights[cell] > 0.0) || apart(hue, middle) > kOneHue)
                continue;
            *weight += weights[cell];
            for (std::size_t k = 0; k < 3; ++k)
                sum[k] += weights[cell] * hue[k];
        }
        for (double &part : sum)
            part /= std::max(*weight, 1e-9);
        return sum;
    }

    // The heaviest hues, each with what is near it. Whether they are those of flat inks.
    bool takeHues()
    {
        double all = 0.0;
        for (double weight : weights)
            all += weight;
        double explained = 0.0;
        bool coloured = false;
        while (int(hues.size()) < kMostInks && all > 0.0) {
            const auto heaviest = std::max_element(weights.begin(), weights.end());
            double weight = 0.0;
            Hue hue = meanAround(hueOfCell(std::size_t(heaviest - weights.begin())), &weight);
            hue = meanAround(hue, &weight);
            if (!(weight >= kLeastShare * all))
                break;
            for (std::size_t cell = 0; cell < weights.size(); ++cell) {
                if (apart(hueOfCell(cell), hue) <= kOtherHue) {
                    explained += weights[cell];
                    weights[cell] = 0.0;
                }
            }
            hues.push_back(hue);
            coloured = coloured || *std::min_element(hue.begin(), hue.end()) < 1.0 - kLeastHue;
        }
        return coloured && explained >= kLeastExplained * all;
    }

    std::size_t nearestInk(const Hue &hue) const
    {
        std::size_t best = 0;
        for (std::size_t k = 1; k < hues.size(); ++k) {
            if (apart(hue, hues[k]) < apart(hue, hues[best]))
                best = k;
        }
        return best;
    }

    // By the deep ones of an ink's pixels, the median of each channel: of flat colours it is exact.
    void findColours()
    {
        std::vector<Counts> depths(hues.size(), Counts {});
        forEachRidge([&](uint32_t, const Steps &steps, int depth) {
            ++depths[nearestInk(hueOf(steps))][std::size_t(depth)];
        });
        std::vector<int> least;
        for (const Counts &counts : depths)
            least.push_back(int(kDeepest * quantile(counts, kDeepPart)));
        std::vector<std::array<Counts, 3>> channels(hues.size(), std::array<Counts, 3> {});
        forEachRidge([&](uint32_t pixel, const Steps &steps, int depth) {
            const std::size_t ink = nearestInk(hueOf(steps));
            for (int k = 0; k < 3 && depth >= least[ink]; ++k)
                ++channels[ink][std::size_t(k)][std::size_t(channel(pixel, k))];
        });
        for (const std::array<Counts, 3> &counts : channels) {
            uint32_t colour = 0xff000000u;
            for (int k = 0; k < 3; ++k)
                colour |= uint32_t(quantile(counts[std::size_t(k)], 0.5)) << (16 - 8 * k);
            inks.colours.push_back(colour);
        }
    }

    void label()
    {
        std::vector<double> depths;
        for (uint32_t colour : inks.colours)
            depths.push_back(std::max(1, depthOf(stepsOf(colour))));
        const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
        inks.labels.reserve(pixels);
        inks.grey.reserve(pixels);
        forEachPixel([&](int, int, uint32_t pixel) {
            const Steps steps = stepsOf(pixel);
            const int depth = depthOf(steps);
            const std::size_t ink = depth > 0 ? nearestInk(hueOf(steps)) : 0;
            const double part = std::min(1.0, depth / depths[ink]);
            inks.labels.push_back(part >= kLeastCoverage ? uint8_t(ink) : kNoInk);
            inks.grey.push_back(uint8_t(std::lround(255.0 * (1.0 - part))));
        });
    }

    const ColourPicture &picture;
    Inks &inks;
    std::array<int, 3> paper = { { 255, 255, 255 } };
    std::vector<double> weights; // of hues, by cellOf()
    std::vector<Hue> hues;
};

} // namespace

bool inksOf(const ColourPicture &picture, Inks *inks)
{
    *inks = Inks();
    if (picture.width < 1 || picture.height < 1)
        return false;
    if (InkFinder(picture, inks).find())
        return true;
    *inks = Inks();
    return false;
}

} // namespace ztrace::strokes
