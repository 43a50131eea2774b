// (c) the ztrace developers. Licence: see LICENSE.
#include "shadedalpha.h"

#include "alpha.h"
#include "colour.h"
#include "failure.h"
#include "shaded.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace ztrace {

namespace {

// A soft edge is a change of alpha, of 255, by so much within 3 x 3 pixels, ...
const int kSteep = 72;
// ... which is so much of the change within 5 x 5. Of a shadow that falls evenly it is a half.
const double kWithinThree = 0.6;

const int kReach = 2; // pixels from a soft edge to the areas that it may be of
// Levels of thin lines, which are as far apart.
const int kLevelsOfLines = 3;
const int kLineStep = 256 / (kLevelsOfLines + 1);

const int kNearly = 8; // levels as near to clear or opaque are that: nobody sees 8 of 255

// Of the pixels that can be seen. A picture of which less would be kept has vanished.
const double kVanishing = 0.05;

// Of the colours of a palette one in so many may be translucent.
const int kOpaqueForOneTranslucent = 4;

typedef std::vector<uint8_t> Alphas; // of every pixel, rows from the top

Alphas alphasOf(const QImage &image)
{
    Alphas alphas;
    alphas.reserve(std::size_t(image.width()) * std::size_t(image.height()));
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x)
            alphas.push_back(uint8_t(qAlpha(words[x])));
    }
    return alphas;
}

// A plane of alphas.
struct AlphaPlane
{
    int width;
    int height;
    const Alphas &alphas;

    uint8_t at(int x, int y) const
    {
        return alphas[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    }

    // Calls use(place) for the pixels at most `reach` columns and rows away.
    template<typename Use>
    void forEachAround(int x, int y, int reach, Use use) const
    {
        for (int v = std::max(0, y - reach); v <= std::min(height - 1, y + reach); ++v) {
            for (int u = std::max(0, x - reach); u <= std::min(width - 1, x + reach); ++u)
                use(std::size_t(v) * std::size_t(width) + std::size_t(u));
        }
    }

    int changeAround(int x, int y, int reach) const
    {
        int least = 255;
        int most = 0;
        forEachAround(x, y, reach, [&](std::size_t place) {
            least = std::min<int>(least, alphas[place]);
            most = std::max<int>(most, alphas[place]);
        });
        return most - least;
    }

    bool isSoftEdge(int x, int y) const
    {
        const int change = changeAround(x, y, 1);
        return change >= kSteep && change >= kWithinThree * changeAround(x, y, 2);
    }
};

// Alphas as greys, soft edges as nothing.
QImage greysOf(const AlphaPlane &plane)
{
    QImage greys(plane.width, plane.height, QImage::Format_ARGB32);
    if (greys.isNull())
        throwNoRoom();
    for (int y = 0; y < plane.height; ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(greys.scanLine(y));
        for (int x = 0; x < plane.width; ++x) {
            const int alpha = plane.at(x, y);
            words[x] = plane.isSoftEdge(x, y) ? 0u : qRgb(alpha, alpha, alpha);
        }
    }
    return greys;
}

int levelOf(QRgb grey)
{
    const int level = qRed(grey);
    return level <= kNearly ? 0 : level >= 255 - kNearly ? 255 : level;
}

// The level of every pixel.
class Levels
{
public:
    // At most `most` levels between clear and opaque.
    Levels(const AlphaPlane &p, int most, double price)
        : plane(p), hasLines(most > kLevelsOfLines), levels(p.alphas.size(), 0),
          isArea(p.alphas.size(), false)
    {
        if (most > 0)
            takeAreas(hasLines ? most - kLevelsOfLines : most, price);
        for (int y = 0; y < plane.height; ++y) {
            for (int x = 0; x < plane.width; ++x) {
                if (!isArea[placeOf(x, y)])
                    levels[placeOf(x, y)] = uint8_t(sideOf(x, y));
            }
        }
    }

    // A picture that is faint all over would vanish: all that has at least half of its commonest
    // alpha gets that one.
    void keepFaint()
    {
        std::array<double, 256> counts = {};
        double kept = 0.0;
        double visible = 0.0;
        for (std::size_t k = 0; k < levels.size(); ++k) {
            if (plane.alphas[k] == 0)
                continue;
            ++counts[plane.alphas[k]];
            ++visible;
            kept += levels[k] > 0 ? 1.0 : 0.0;
        }
        if (kept >= kVanishing * visible)
            return;
        const int faint = int(std::max_element(counts.begin(), counts.end()) - counts.begin());
        for (std::size_t k = 0; k < levels.size(); ++k)
            levels[k] = uint8_t(2 * plane.alphas[k] >= faint ? faint : 0);
    }

    int at(int x, int y) const { return levels[placeOf(x, y)]; }

private:
    // Clear and opaque are levels besides.
    void takeAreas(int most, double price)
    {
        const LabelPlane areas = reduceShaded(greysOf(plane), most + 2, price);
        for (std::size_t k = 0; k < levels.size(); ++k) {
            const QRgb grey = areas.colours[areas.labels[k]];
            isArea[k] = qAlpha(grey) != 0;
            levels[k] = uint8_t(isArea[k] ? levelOf(grey) : 0);
        }
    }

    std::size_t placeOf(int x, int y) const
    {
        return std::size_t(y) * std::size_t(plane.width) + std::size_t(x);
    }

    // Of a soft edge: the nearest of clear, opaque and the levels of areas within reach. Amid what
    // is clear it is of a thin line, which is as wide as it has half of its greatest alpha.
    int sideOf(int x, int y) const
    {
        const int alpha = plane.at(x, y);
        int best = alpha < 128 ? 0 : 255;
        int core = 0;
        bool isLine = true;
        plane.forEachAround(x, y, kReach, [&](std::size_t place) {
            core = std::max<int>(core, plane.alphas[place]);
            if (!isArea[place])
                return;
            isLine = isLine && levels[place] == 0;
            if (std::abs(levels[place] - alpha) < std::abs(best - alpha))
                best = levels[place];
        });
        if (!isLine || !hasLines)
            return best;
        return 2 * alpha < core ? 0 : std::min(255, (core + kLineStep / 2) / kLineStep * kLineStep);
    }

    AlphaPlane plane;
    bool hasLines; // of levels of their own
    std::vector<uint8_t> levels;
    std::vector<bool> isArea;
};

} // namespace

void settleShadedAlpha(QImage *image, int colours, double price)
{
    if (isOpaque(*image))
        return;
    const Alphas alphas = alphasOf(*image);
    Levels levels({ image->width(), image->height(), alphas }, colours / kOpaqueForOneTranslucent,
                  price);
    levels.keepFaint();
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image->scanLine(y));
        for (int x = 0; x < image->width(); ++x) {
            const QRgb level = QRgb(levels.at(x, y));
            words[x] = level == 0 ? 0u : (words[x] & 0x00FFFFFFu) | level << 24;
        }
    }
}

QImage seenOnWhite(const QImage &image)
{
    QImage seen = image;
    for (int y = 0; y < seen.height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(seen.scanLine(y));
        for (int x = 0; x < seen.width(); ++x) {
            const int alpha = qAlpha(words[x]);
            if (alpha == 0 || alpha == 255)
                continue;
            const auto onWhite
                = [alpha](int value) { return 255 - ((255 - value) * alpha + 127) / 255; };
            words[x] = qRgba(onWhite(qRed(words[x])), onWhite(qGreen(words[x])),
                             onWhite(qBlue(words[x])), alpha);
        }
    }
    return seen;
}

} // namespace ztrace
