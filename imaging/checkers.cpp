// (c) the ztrace developers. Licence: see LICENSE.
#include "checkers.h"

#include "colour.h"
#include "fourcolours.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ztrace {

namespace {

// Middles of 3 x 3 pixels that have to hang together: less are letters and crosses of one pixel.
// The smallest area of 6 x 6 pixels is as many.
const std::size_t kLeastMiddles = 16;

// colourDistance of the two, a quarter of what parts black and white: a pattern of more contrast is
// seen as one, and is content. White and the grey of a toolkit are 145 apart.
const int kMostApart = 192;

// The first pixel from `x` on that its two neighbours in the row, which are equal, differ from;
// `end` where there is none. `end` is below the width.
int nextTurn(const QRgb *words, int x, int end)
{
#ifdef __SSE2__
    for (; x + 4 <= end; x += 4) {
        const __m128i left = fourWords(words + x - 1);
        const __m128i alike = _mm_cmpeq_epi32(left, fourWords(words + x + 1));
        const __m128i turns = _mm_andnot_si128(_mm_cmpeq_epi32(left, fourWords(words + x)), alike);
        const unsigned bits = unsigned(_mm_movemask_ps(_mm_castsi128_ps(turns)));
        if (bits != 0)
            return x + __builtin_ctz(bits);
    }
#endif
    while (x < end && (words[x] == words[x - 1] || words[x - 1] != words[x + 1]))
        ++x;
    return x;
}

// Whether the 3 x 3 pixels around one of row `here` are of two opaque colours that take turns.
bool isMiddle(const QRgb *above, const QRgb *here, const QRgb *below, int x)
{
    const QRgb own = here[x];
    const QRgb other = here[x + 1];
    return own != other && here[x - 1] == other && above[x] == other && below[x] == other
        && above[x - 1] == own && above[x + 1] == own && below[x - 1] == own && below[x + 1] == own
        && qAlpha(own & other) == 255 && colourDistance(own, other) <= kMostApart;
}

QRgb meanOf(QRgb a, QRgb b)
{
    return qRgb((qRed(a) + qRed(b) + 1) / 2, (qGreen(a) + qGreen(b) + 1) / 2,
                (qBlue(a) + qBlue(b) + 1) / 2);
}

class Checkers
{
public:
    explicit Checkers(const QImage &image) : width(image.width())
    {
        for (int y = 1; y + 1 < image.height(); ++y) {
            const QRgb *const here = row(image, y);
            const QRgb *const above = row(image, y - 1);
            const QRgb *const below = row(image, y + 1);
            for (int x = nextTurn(here, 1, width - 1); x < width - 1;
                 x = nextTurn(here, x + 1, width - 1)) {
                if (isMiddle(above, here, below, x))
                    middles.push_back(placeOf(x, y));
            }
        }
        taken.assign(middles.size(), 0);
    }

    // Places of the middles of areas that are large enough.
    std::vector<std::size_t> ofAreas()
    {
        std::vector<std::size_t> all;
        for (std::size_t k = 0; k < middles.size(); ++k) {
            if (taken[k] != 0)
                continue;
            const std::vector<std::size_t> area = areaFrom(k);
            if (area.size() >= kLeastMiddles)
                all.insert(all.end(), area.begin(), area.end());
        }
        return all;
    }

private:
    std::size_t placeOf(int x, int y) const
    {
        return std::size_t(y) * std::size_t(width) + std::size_t(x);
    }

    // Those that hang together with one by their sides. Neighbours have the same two colours.
    std::vector<std::size_t> areaFrom(std::size_t first)
    {
        std::vector<std::size_t> waiting { first };
        std::vector<std::size_t> area;
        taken[first] = 1;
        while (!waiting.empty()) {
            const std::size_t place = middles[waiting.back()];
            waiting.pop_back();
            area.push_back(place);
            const std::size_t row = std::size_t(width);
            for (std::size_t next : { place - row, place - 1, place + 1, place + row }) {
                const auto found = std::lower_bound(middles.begin(), middles.end(), next);
                const std::size_t k = std::size_t(found - middles.begin());
                if (k == middles.size() || middles[k] != next || taken[k] != 0)
                    continue;
                taken[k] = 1;
                waiting.push_back(k);
            }
        }
        return area;
    }

    const int width;
    std::vector<std::size_t> middles; // in reading order; none on the rim
    std::vector<uint8_t> taken;
};

} // namespace

bool evenCheckers(QImage *image)
{
    const std::vector<std::size_t> places = Checkers(*image).ofAreas();
    if (places.empty())
        return false;
    const QImage before = *image;
    const std::size_t width = std::size_t(image->width());
    for (std::size_t place : places) {
        const int x = int(place % width);
        const int y = int(place / width);
        const QRgb mean = meanOf(row(before, y)[x], row(before, y)[x + 1]);
        for (int v = y - 1; v <= y + 1; ++v) {
            QRgb *const words = reinterpret_cast<QRgb *>(image->scanLine(v));
            std::fill(words + x - 1, words + x + 2, mean);
        }
    }
    return true;
}

} // namespace ztrace
