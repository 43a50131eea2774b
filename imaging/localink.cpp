// (c) the ztrace developers. Licence: see LICENSE.
#include "localink.h"

#include "fourcolours.h"

#include <algorithm>
#include <map>
#include <utility>

namespace ztrace {

namespace {

// Pixels to each side of a corner that tell which label is ink there: letters are 7 to 14 high.
const int kReach = 5;
// Ink has at most so much of what its ground has there. In patterns both are as common.
const double kMostOfGround = 0.8;
const std::size_t kMostCopies = 1000;
// What turns out to be too large costs time; so many looks a pixel are spent on it.
const std::size_t kMostLooks = 4;

class LocalInk
{
public:
    LocalInk(std::size_t first, LabelPlane *p)
        : plane(*p), end(first), originals(p->colours.size()), counts(originals, 0),
          budget(kMostLooks * p->pixels())
    {
        for (int y = 0; y < plane.height; ++y) {
            const uint16_t *labels = plane.labels.data() + placeOf(0, y);
            for (int x = 0, next = 0; x < plane.width; x = next) {
                next = endOfRun(labels, x, plane.width);
                counts[labels[x]] += std::size_t(next - x);
            }
        }
    }

    void part()
    {
        for (int y = 1; y < plane.height; ++y) {
            for (int x = nextCorner(1, y); x < plane.width; x = nextCorner(x + 1, y))
                settle(x, y, at(x, y), at(x - 1, y));
        }
    }

private:
    std::size_t placeOf(int x, int y) const
    {
        return std::size_t(y) * std::size_t(plane.width) + std::size_t(x);
    }
    uint16_t at(int x, int y) const { return plane.labels[placeOf(x, y)]; }

    // The first pixel of a row from `x` on at whose upper left corner two labels cross; beyond the
    // row where there is none.
    int nextCorner(int x, int y) const
    {
        const uint16_t *const below = plane.labels.data() + placeOf(0, y);
        const uint16_t *const above = below - plane.width;
#ifdef __SSE2__
        for (; x + 8 <= plane.width; x += 8) {
            const auto eight = [x](const uint16_t *labels) { return fourWords(labels + x); };
            const __m128i falling = _mm_cmpeq_epi16(eight(above - 1), eight(below));
            const __m128i rising = _mm_cmpeq_epi16(eight(above), eight(below - 1));
            const __m128i alike = _mm_cmpeq_epi16(eight(above), eight(below));
            const unsigned corners = unsigned(
                _mm_movemask_epi8(_mm_andnot_si128(alike, _mm_and_si128(falling, rising))));
            if (corners != 0)
                return x + __builtin_ctz(corners) / int(sizeof(uint16_t));
        }
#endif
        for (; x < plane.width; ++x) {
            if (above[x - 1] == below[x] && above[x] == below[x - 1] && above[x] != below[x])
                break;
        }
        return x;
    }

    // The upper left corner of a pixel x, y of label `a`, to the left of which is `b`.
    void settle(int x, int y, uint16_t a, uint16_t b)
    {
        if (counts[a] < counts[b])
            partAt(x, y, x - 1, b, a);
        else
            partAt(x, y, x, a, b);
    }

    // The corner where `common` would be parted, which the pixel left, y is of.
    void partAt(int cornerX, int y, int left, uint16_t common, uint16_t rare)
    {
        if (common >= end || qAlpha(plane.colours[common]) == 0
            || plane.colours.size() >= originals + kMostCopies || budget == 0
            || wasTooMuch(placeOf(left, y), counts[rare]) || !isInkNear(cornerX, y, common, rare))
            return;
        const std::vector<Stretch> ink = inkFrom(left, y, counts[rare]);
        if (ink.empty())
            return;
        std::size_t pixels = 0;
        for (const Stretch &stretch : ink)
            pixels += stretch.pixels();
        const uint16_t copy = copyFor(common, rare, pixels);
        for (const Stretch &stretch : ink)
            paint(stretch, copy);
        counts[common] -= pixels;
        counts[copy] += pixels;
    }

    bool isInkNear(int x, int y, uint16_t ink, uint16_t ground) const
    {
        int pixels[2] = { 0, 0 };
        const int left = std::max(0, x - kReach);
        const int count = std::min(plane.width, x + kReach) - left;
        const int top = std::max(0, y - kReach);
        const int bottom = std::min(plane.height, y + kReach);
#ifdef __SSE2__
        if (count == 2 * kReach) {
            __m128i sums[2] = { _mm_setzero_si128(), _mm_setzero_si128() };
            for (int v = top; v < bottom; ++v) {
                const uint16_t *labels = plane.labels.data() + placeOf(left, v);
                countInRow(labels, ink, &sums[0]);
                countInRow(labels, ground, &sums[1]);
            }
            for (int k = 0; k < 2; ++k)
                pixels[k] = sumOf(_mm_madd_epi16(sums[k], _mm_set1_epi16(1)));
            return pixels[0] <= kMostOfGround * pixels[1];
        }
#endif
        for (int v = top; v < bottom; ++v) {
            const uint16_t *labels = plane.labels.data() + placeOf(left, v);
            for (int k = 0; k < count; ++k) {
                pixels[0] += labels[k] == ink;
                pixels[1] += labels[k] == ground;
            }
        }
        return pixels[0] <= kMostOfGround * pixels[1];
    }

#ifdef __SSE2__
    // Adds those of 2 * kReach pixels that have a label, lane by lane.
    static void countInRow(const uint16_t *labels, uint16_t label, __m128i *sums)
    {
        static_assert(2 * kReach == 10, "eight and the last two of another eight");
        const __m128i own = _mm_set1_epi16(short(label));
        const __m128i lastTwo = _mm_setr_epi16(0, 0, 0, 0, 0, 0, -1, -1);
        const __m128i ofEight = _mm_cmpeq_epi16(fourWords(labels), own);
        const __m128i ofTwo = _mm_and_si128(_mm_cmpeq_epi16(fourWords(labels + 2), own), lastTwo);
        *sums = _mm_sub_epi16(_mm_sub_epi16(*sums, ofEight), ofTwo);
    }
#endif

    // Pixels of one label side by side in a row, with others before and behind them.
    struct Stretch
    {
        int y;
        int begin;
        int end;

        std::size_t pixels() const { return std::size_t(end - begin); }
    };

    // What hangs together with a pixel; nothing where that is as much as `most`. What was too much
    // before is not looked at again.
    std::vector<Stretch> inkFrom(int x, int y, std::size_t most)
    {
        const uint16_t label = at(x, y);
        std::vector<Stretch> found;
        std::size_t pixels = 0;
        bool isTooMuch = false;
        const auto take = [&](int u, int v) {
            const Stretch stretch = stretchAt(u, v);
            std::fill_n(plane.labels.begin() + std::ptrdiff_t(placeOf(stretch.begin, v)),
                        stretch.pixels(), kTaken);
            found.push_back(stretch);
            pixels += stretch.pixels();
            isTooMuch = isTooMuch || pixels >= most || wasTooMuch(placeOf(stretch.begin, v), most);
            return stretch.end;
        };
        take(x, y);
        for (std::size_t k = 0; k < found.size() && !isTooMuch; ++k) {
            const Stretch from = found[k];
            const int right = std::min(plane.width, from.end + 1); // corners count
            for (const int v : { from.y - 1, from.y + 1 }) {
                if (v < 0 || v >= plane.height)
                    continue;
                for (int u = nextOf(label, v, std::max(0, from.begin - 1), right);
                     u < right && !isTooMuch; u = nextOf(label, v, take(u, v), right)) { }
            }
        }
        for (const Stretch &stretch : found)
            paint(stretch, label);
        if (!isTooMuch)
            return found;
        noteTooMuch(found, most);
        budget -= std::min(budget, pixels);
        return {};
    }

    Stretch stretchAt(int x, int y) const
    {
        const uint16_t *labels = plane.labels.data() + placeOf(0, y);
        int begin = x;
        while (begin > 0 && labels[begin - 1] == labels[x])
            --begin;
        return { y, begin, endOfRun(labels, x, plane.width) };
    }

    // The first pixel of a row from `x` on with a label; `right` where there is none before it.
    int nextOf(uint16_t label, int y, int x, int right) const
    {
        const uint16_t *labels = plane.labels.data() + placeOf(0, y);
        for (; x < right && labels[x] != label; x = endOfRun(labels, x, right)) { }
        return x;
    }

    void paint(const Stretch &stretch, uint16_t label)
    {
        std::fill_n(plane.labels.begin() + std::ptrdiff_t(placeOf(stretch.begin, stretch.y)),
                    stretch.pixels(), label);
    }

    // All pixels of a stretch have the same size.
    void noteTooMuch(const std::vector<Stretch> &found, std::size_t most)
    {
        const auto known = std::find(sizes.begin(), sizes.end(), most);
        const std::size_t number = std::size_t(known - sizes.begin());
        if (number > 0xFF)
            return;
        if (known == sizes.end())
            sizes.push_back(most);
        tooMuch.resize(plane.pixels(), 0);
        for (const Stretch &stretch : found) {
            const std::size_t place = placeOf(stretch.begin, stretch.y);
            if (sizes[tooMuch[place]] < most)
                std::fill_n(tooMuch.begin() + std::ptrdiff_t(place), stretch.pixels(),
                            uint8_t(number));
        }
    }

    bool wasTooMuch(std::size_t place, std::size_t most) const
    {
        return !tooMuch.empty() && sizes[tooMuch[place]] >= most;
    }

    // A copy of a label that stays rarer than another one with so many pixels more.
    uint16_t copyFor(uint16_t label, uint16_t rare, std::size_t pixels)
    {
        const auto place = copies.emplace(std::make_pair(label, rare), kTaken).first;
        if (place->second == kTaken || counts[place->second] + pixels >= counts[rare]) {
            place->second = uint16_t(plane.colours.size());
            plane.colours.push_back(plane.colours[label]);
            counts.push_back(0);
        }
        return place->second;
    }

    static constexpr uint16_t kTaken = 0xFFFF;

    LabelPlane &plane;
    std::size_t end;
    std::size_t originals; // labels that were there before
    std::vector<std::size_t> counts;
    std::size_t budget; // pixels that may still be looked at in vain
    // A pixel: which of the sizes what it hangs together with has at least. Empty where nothing was
    // too much.
    std::vector<uint8_t> tooMuch;
    std::vector<std::size_t> sizes = { 0 }; // 256 at most
    std::map<std::pair<uint16_t, uint16_t>, uint16_t> copies;
};

} // namespace

void partLocalInk(std::size_t first, LabelPlane *plane)
{
    LocalInk(first, plane).part();
}

} // namespace ztrace
