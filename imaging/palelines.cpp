// (c) the ztrace developers. Licence: see LICENSE.
#include "palelines.h"

#include "failure.h"
#include "forest.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <utility>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ztrace {

namespace {

const int kBeside = 3; // pixels from the middle of a line to paper: lines are 3 wide at most
// Parts of the way from the threshold to the paper.
const double kPale = 0.45;    // lighter than the threshold: no line any more
const double kDepth = 0.3;    // a line is so much darker than what is to both sides of it
const double kDark = 0.3;     // darker than the threshold: noise does not decide, gaps are meant
const double kMended = 0.5;   // darker than the threshold: so an outline is most of a pixel wide
const uint32_t kLongest = 40; // pixels; letters of a page are shorter, and rules longer
const double kLeastInk
    = 0.1; // of a line, which is ink where its middle is a pixel's; folds are none

class PaleLines
{
public:
    PaleLines(int t, int p, const GreyPicture &page)
        : grey(page.asImage()), width(grey.width()), height(grey.height()), threshold(t),
          contrast(p - t), pale(t + int(kPale * contrast)),
          dark(std::max(0, t - int(2.0 * kDark * contrast))),
          depth(std::max(1, int(kDepth * contrast)))
    { }

    // Places of the pixels that are to become ink, from the top.
    std::vector<uint32_t> found()
    {
        if (contrast <= 0)
            return {};
        findRidges();
        std::vector<uint32_t> places;
        keepLines(
            across, [this](uint32_t place) { return place % uint32_t(width); }, &places);
        keepLines(
            down, [this](uint32_t place) { return place / uint32_t(width); }, &places);
        return places;
    }

    uint8_t mended() const { return uint8_t(std::max(0, threshold - int(kMended * contrast))); }

private:
    const uint8_t *rowAt(int y) const { return grey.constScanLine(y); }

    // The next pixel that may be of such a line; `end` where there is none.
    int firstLike(const uint8_t *tones, int x, int end) const
    {
#ifdef __SSE2__
        const __m128i least = _mm_set1_epi8(static_cast<char>(dark));
        const __m128i most = _mm_set1_epi8(static_cast<char>(std::min(pale, 255)));
        for (; x + 16 <= end; x += 16) {
            const __m128i own = _mm_loadu_si128(reinterpret_cast<const __m128i *>(tones + x));
            const __m128i isLike
                = _mm_cmpeq_epi8(_mm_max_epu8(_mm_min_epu8(own, most), least), own);
            const unsigned like = unsigned(_mm_movemask_epi8(isLike));
            if (like != 0)
                return x + __builtin_ctz(like);
        }
#endif
        while (x < end && (tones[x] > pale || tones[x] < dark))
            ++x;
        return x;
    }

    void findRidges()
    {
        for (int y = kBeside; y + kBeside < height; ++y) {
            const uint8_t *const tones = rowAt(y);
            const uint8_t *const above = rowAt(y - 1);
            const uint8_t *const below = rowAt(y + 1);
            const uint8_t *const farAbove = rowAt(y - kBeside);
            const uint8_t *const farBelow = rowAt(y + kBeside);
            for (int x = kBeside; x + kBeside < width; ++x) {
                x = firstLike(tones, x, width - kBeside);
                if (x == width - kBeside)
                    break;
                const int tone = tones[x];
                const uint32_t place = uint32_t(y) * uint32_t(width) + uint32_t(x);
                if (tone < above[x] && tone <= below[x] && farAbove[x] >= tone + depth
                    && farBelow[x] >= tone + depth)
                    across.push_back(place);
                if (tone < tones[x - 1] && tone <= tones[x + 1]
                    && tones[x - kBeside] >= tone + depth && tones[x + kBeside] >= tone + depth)
                    down.push_back(place);
            }
        }
    }

    // What hangs together of ridges, by sides or corners, and is pale, ink in part and long along a
    // coordinate.
    template<typename Coordinate>
    void keepLines(const std::vector<uint32_t> &ridges, Coordinate along,
                   std::vector<uint32_t> *places) const
    {
        const std::vector<uint32_t> lineOf = joined(ridges);
        std::vector<uint32_t> sizes(ridges.size(), 0);
        for (uint32_t line : lineOf)
            ++sizes[line];
        std::map<uint32_t, std::vector<uint32_t>> members;
        for (std::size_t k = 0; k < ridges.size(); ++k) {
            if (sizes[lineOf[k]] >= kLongest)
                members[lineOf[k]].push_back(ridges[k]);
        }
        for (const auto &line : members) {
            const auto ends = std::minmax_element(
                line.second.begin(), line.second.end(),
                [along](uint32_t a, uint32_t b) { return along(a) < along(b); });
            if (along(*ends.second) - along(*ends.first) >= kLongest && isLeftToNoise(line.second))
                places->insert(places->end(), line.second.begin(), line.second.end());
        }
    }

    // For every ridge the number of one that stands for its line.
    std::vector<uint32_t> joined(const std::vector<uint32_t> &ridges) const
    {
        std::vector<uint32_t> lineOf(ridges.size());
        std::iota(lineOf.begin(), lineOf.end(), 0u);
        const auto join = [&lineOf](std::size_t a, std::size_t b) {
            lineOf[rootOf(&lineOf, uint32_t(b))] = rootOf(&lineOf, uint32_t(a));
        };
        const uint32_t aRow = uint32_t(width);
        std::size_t above = 0;
        for (std::size_t k = 1; k < ridges.size(); ++k) {
            if (ridges[k - 1] + 1 == ridges[k])
                join(k - 1, k);
            while (ridges[above] + aRow + 1 < ridges[k])
                ++above;
            for (std::size_t i = above; i < k && ridges[i] + aRow <= ridges[k] + 1; ++i)
                join(i, k);
        }
        for (std::size_t k = 0; k < lineOf.size(); ++k)
            lineOf[k] = rootOf(&lineOf, uint32_t(k));
        return lineOf;
    }

    bool isLeftToNoise(const std::vector<uint32_t> &line) const
    {
        std::vector<uint8_t> tones;
        for (uint32_t place : line)
            tones.push_back(rowAt(int(place / uint32_t(width)))[place % uint32_t(width)]);
        const auto ink = std::count_if(tones.begin(), tones.end(),
                                       [this](uint8_t tone) { return tone <= threshold; });
        const auto middle = tones.begin() + std::ptrdiff_t(tones.size() / 2);
        std::nth_element(tones.begin(), middle, tones.end());
        return *middle >= threshold - kDark * contrast
            && double(ink) >= kLeastInk * double(tones.size()) && std::size_t(ink) < tones.size();
    }

    const QImage grey;
    const int width;
    const int height;
    const int threshold;
    const int contrast; // of the paper
    const int pale;
    const int dark; // darker than nearly all of a line that noise decides about
    const int depth;
    std::vector<uint32_t> across; // ridges of lines that go across, from the top
    std::vector<uint32_t> down;
};

} // namespace

void mendPaleLines(int threshold, int paper, GreyPicture *page)
{
    if (page->isNull() || page->isBilevel())
        return;
    std::vector<uint32_t> places;
    uint8_t mended = 0;
    {
        PaleLines lines(threshold, paper, *page);
        places = lines.found();
        mended = lines.mended();
    }
    if (places.empty())
        return;
    QImage grey = page->asImage();
    *page = GreyPicture(); // so that only what is shared is copied
    for (uint32_t place : places) {
        uint8_t *const tones = grey.scanLine(int(place / uint32_t(grey.width())));
        if (grey.isNull() || tones == nullptr)
            throwNoRoom();
        uint8_t &tone = tones[place % uint32_t(grey.width())];
        tone = std::min(tone, mended);
    }
    *page = GreyPicture(std::move(grey));
}

} // namespace ztrace
