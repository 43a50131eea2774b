// (c) the ztrace developers. Licence: see LICENSE.
#include "shaded.h"

#include "alpha.h"
#include "colour.h"
#include "regionpalette.h"
#include "regions.h"
#include "shadedalpha.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>

namespace ztrace {

namespace {

// Of the price of an edge: what one of a pixel's four sides costs when it chooses a label, and what
// one of its four corners does. Together they make the edges of a straight border at any angle cost
// about as much, so that none is turned towards the axes.
const float kPriceOfSide = 0.5f;
const float kPriceOfCorner = 0.35f;

const int kSweeps = 1; // over the borders; a third changes hardly a pixel

// Pixels on borders choose again among the labels beside them: the colour that is near and a short
// border, which takes chips and combs off.
class Smoothing
{
public:
    Smoothing(const QImage &i, const SeenColours &s, const std::vector<PaletteColour> &p,
              double price, std::vector<uint16_t> *l)
        : image(i), seen(s), palette(p), labels(l->data())
    {
        for (unsigned same = 0; same < priceOfSides.size(); ++same) {
            float others = 0.0f;
            for (std::size_t k = 0; k < kSides; ++k)
                others += (same >> k & 1) == 0 ? 1.0f : 0.0f;
            priceOfSides[same] = float(price) * kPriceOfSide * others;
            priceOfCorners[same] = float(price) * kPriceOfCorner * others;
        }
    }

    // Which pixels are on borders is found many at a time, from the labels that the row has before.
    // Where one is changed the next one is on a border, too; one that is on none any more has no
    // other label to choose.
    void sweep()
    {
        const int width = image.width();
        const int height = image.height();
        std::vector<uint64_t> borders(std::size_t(width) / 64 + 2);
        uint16_t *own = labels;
        for (int y = 0; y < height; ++y, own += width) {
            const QRgb *words = row(image, y);
            const uint16_t *above = y > 0 ? own - width : own;
            const uint16_t *below = y + 1 < height ? own + width : own;
            markBorders(own, above, below, std::size_t(width), borders.data());
            for (std::size_t k = 0; 64 * k < std::size_t(width); ++k) {
                while (borders[k] != 0) {
                    const int x = int(64 * k) + __builtin_ctzll(borders[k]);
                    borders[k] &= borders[k] - 1;
                    const int left = x > 0 ? x - 1 : x;
                    const int right = x + 1 < width ? x + 1 : x;
                    const uint16_t best
                        = choose(words[x], own[x],
                                 { { own[left], own[right], above[x], below[x], above[left],
                                     above[right], below[left], below[right] } });
                    const std::size_t next = std::size_t(x) + 1;
                    borders[next / 64] |= uint64_t(best != own[x] && right > x) << next % 64;
                    own[x] = best;
                }
            }
        }
    }

private:
    static const std::size_t kSides = 4;

    typedef std::array<uint16_t, 2 * kSides> Around; // labels of the sides, and of the corners

    // A bit for each pixel with another label on one of its four sides, the first one in the lowest
    // bit of the first word; `bits` has width / 64 + 2 words.
    static void markBorders(const uint16_t *own, const uint16_t *above, const uint16_t *below,
                            std::size_t width, uint64_t *bits)
    {
        std::fill_n(bits, width / 64 + 2, 0);
        std::size_t x = 0;
        const auto mark = [&] {
            const uint16_t label = own[x];
            const bool isBorder = (above[x] != label) | (below[x] != label)
                | (own[x > 0 ? x - 1 : x] != label) | (own[x + 1 < width ? x + 1 : x] != label);
            bits[x / 64] |= uint64_t(isBorder) << x % 64;
        };
#ifdef __SSE2__
        const auto eight = [](const uint16_t *labels) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i *>(labels));
        };
        for (; x < std::min(width, std::size_t(8)); ++x)
            mark();
        for (; x + 8 < width; x += 8) {
            const __m128i here = eight(own + x);
            const __m128i across = _mm_and_si128(_mm_cmpeq_epi16(here, eight(own + x - 1)),
                                                 _mm_cmpeq_epi16(here, eight(own + x + 1)));
            const __m128i along = _mm_and_si128(_mm_cmpeq_epi16(here, eight(above + x)),
                                                _mm_cmpeq_epi16(here, eight(below + x)));
            const __m128i amid = _mm_packs_epi16(_mm_and_si128(across, along), _mm_set1_epi16(-1));
            bits[x / 64] |= uint64_t(~unsigned(_mm_movemask_epi8(amid)) & 0xFFu) << x % 64;
        }
#endif
        for (; x < width; ++x)
            mark();
    }

    // Of the labels beside it each other one is looked at once: mostly that is one, where all four
    // would be looked at otherwise. Whether it is better is hard to foretell.
    uint16_t choose(QRgb word, uint16_t own, const Around &around) const
    {
        std::array<uint16_t, kSides> others;
        const std::size_t count = othersIn(around, own, &others);
        const SeenColour colour = seen.of(word);
        const int alpha = palette[own].alpha;
        uint16_t best = own;
        float least = cost(colour, own, around);
        for (std::size_t k = 0; k < count; ++k) {
            const uint16_t label = others[k];
            const float other = cost(colour, label, around);
            const bool isBetter = (other < least) & (palette[label].alpha == alpha);
            best = isBetter ? label : best;
            least = isBetter ? other : least;
        }
        return best;
    }

    // The labels of the sides but the pixel's own, each once, in the order of the sides; returns
    // how many there are.
    static std::size_t othersIn(const Around &around, uint16_t own,
                                std::array<uint16_t, kSides> *others)
    {
        std::size_t count = 0;
        for (std::size_t k = 0; k < kSides; ++k) {
            bool isNew = around[k] != own;
            for (std::size_t before = 0; before < k; ++before)
                isNew &= around[k] != around[before];
            (*others)[count] = around[k];
            count += isNew ? 1u : 0u;
        }
        return count;
    }

    // A bit for each that is of the label.
    static unsigned sameIn(const Around &around, uint16_t label)
    {
#ifdef __SSE2__
        const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i *>(around.data()));
        const __m128i same = _mm_cmpeq_epi16(all, _mm_set1_epi16(short(label)));
        return unsigned(_mm_movemask_epi8(_mm_packs_epi16(same, _mm_setzero_si128())));
#else
        unsigned same = 0;
        for (std::size_t k = 0; k < around.size(); ++k)
            same |= unsigned(around[k] == label) << k;
        return same;
#endif
    }

    float cost(const SeenColour &colour, uint16_t label, const Around &around) const
    {
        const unsigned same = sameIn(around, label);
        return squaredDistance(colour, palette[label].colour) + priceOfSides[same & 0xFu]
            + priceOfCorners[same >> kSides];
    }

    const QImage &image;
    const SeenColours &seen;
    const std::vector<PaletteColour> &palette;
    std::array<float, 1u << kSides> priceOfSides; // by those of the four that are of a label
    std::array<float, 1u << kSides> priceOfCorners;
    uint16_t *labels;
};

std::vector<uint16_t> labelPixels(const RegionGraph &graph,
                                  const std::vector<uint16_t> &labelOfRegion)
{
    std::vector<uint16_t> labelOfStart;
    labelOfStart.reserve(graph.regionOfStart.size());
    for (uint32_t region : graph.regionOfStart)
        labelOfStart.push_back(labelOfRegion[region]);
    const std::size_t width = std::size_t(graph.width);
    std::vector<uint16_t> labels(width * std::size_t(graph.height));
    PixelJoins::Rows<uint16_t> rows(graph.joins, labelOfStart);
    uint16_t *own = labels.data();
    for (int y = 0; y < graph.height; ++y, own += width)
        rows.next(y > 0 ? own - width : own, own);
    return labels;
}

// Of the pixels of a label.
struct Mean
{
    std::array<uint64_t, 3> sums = {};
    uint64_t pixels = 0;

    QRgb colour(int alpha) const
    {
        const auto rounded = [this](uint64_t sum) { return int((sum + pixels / 2) / pixels); };
        return alpha == 0 ? 0u : qRgba(rounded(sums[0]), rounded(sums[1]), rounded(sums[2]), alpha);
    }
};

std::vector<Mean> meansOf(const QImage &image, const std::vector<uint16_t> &labels,
                          std::size_t count)
{
    std::vector<Mean> means(count);
    const int width = image.width();
    const uint16_t *label = labels.data();
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < width;) {
            const int begin = x++;
            while (x < width && words[x] == words[begin] && label[x] == label[begin])
                ++x;
            const uint64_t pixels = uint64_t(x - begin);
            Mean &mean = means[label[begin]];
            mean.sums[0] += pixels * uint64_t(qRed(words[begin]));
            mean.sums[1] += pixels * uint64_t(qGreen(words[begin]));
            mean.sums[2] += pixels * uint64_t(qBlue(words[begin]));
            mean.pixels += pixels;
        }
        label += width;
    }
    return means;
}

// The colours of a plane: means of its pixels, the commonest first; equal ones are one label.
void settleColours(const QImage &image, const std::vector<PaletteColour> &palette,
                   LabelPlane *plane)
{
    const std::vector<Mean> means = meansOf(image, plane->labels, palette.size());
    std::vector<std::size_t> order(means.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(), [&means](std::size_t a, std::size_t b) {
        return means[a].pixels > means[b].pixels;
    });
    std::map<QRgb, uint16_t> known;
    std::vector<uint16_t> labelOf(means.size(), 0);
    for (std::size_t entry : order) {
        if (means[entry].pixels == 0)
            break;
        const QRgb colour = means[entry].colour(palette[entry].alpha);
        const auto place = known.emplace(colour, uint16_t(plane->colours.size()));
        if (place.second)
            plane->colours.push_back(colour);
        labelOf[entry] = place.first->second;
    }
    for (uint16_t &label : plane->labels)
        label = labelOf[label];
}

} // namespace

LabelPlane reduceShaded(const QImage &image, int colours, double price)
{
    const SeenColours seen;
    const QImage visible = isOpaque(image) ? image : seenOnWhite(image);
    RegionGraph graph = findRegions(visible, seen, price);
    const std::vector<PaletteColour> palette = paletteOf(graph.regions, colours);
    const std::vector<uint16_t> labelOfRegion = labelRegions(graph, palette, price);
    LabelPlane plane;
    plane.width = image.width();
    plane.height = image.height();
    plane.labels = labelPixels(graph, labelOfRegion);
    graph = RegionGraph();
    Smoothing smoothing(visible, seen, palette, price, &plane.labels);
    for (int sweep = 0; sweep < kSweeps; ++sweep)
        smoothing.sweep();
    settleColours(image, palette, &plane);
    return plane;
}

} // namespace ztrace
