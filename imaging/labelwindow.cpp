// (c) the ztrace developers. Licence: see LICENSE.
#include "labelwindow.h"

#include <algorithm>
#include <array>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ztrace {

namespace {

constexpr uint64_t bitAt(int dx, int dy)
{
    return uint64_t(1) << (LabelWindow::kMiddle + 8 * dy + dx);
}

// The pixels that touch the middle, in the order of their bits, as a number of eight bits.
constexpr unsigned nearNumber(uint64_t set)
{
    return unsigned((set >> 9 & 7) | (set >> 17 & 1) << 3 | (set >> 19 & 1) << 4
                    | (set >> 25 & 7) << 5);
}

// What is behind lines that touch the middle, in the direction of one corner.
constexpr uint64_t behindNear(uint64_t lines, int dx, int dy)
{
    const bool across = (lines & bitAt(dx, 0)) != 0;
    const bool down = (lines & bitAt(0, dy)) != 0;
    const bool corner = (lines & bitAt(dx, dy)) != 0;
    uint64_t set = 0;
    if (across && down)
        set |= bitAt(dx, dy);
    if (across)
        set |= bitAt(2 * dx, 0);
    if (down)
        set |= bitAt(0, 2 * dy);
    if (across || corner)
        set |= bitAt(2 * dx, dy);
    if (down || corner)
        set |= bitAt(dx, 2 * dy);
    if (corner || (across && down))
        set |= bitAt(2 * dx, 2 * dy);
    return set;
}

// For every set of lines among the eight pixels that touch the middle.
constexpr std::array<uint64_t, 256> behindAllNear()
{
    std::array<uint64_t, 256> table = {};
    for (uint64_t k = 0; k < table.size(); ++k) {
        const uint64_t lines
            = (k & 7) << 9 | (k >> 3 & 1) << 17 | (k >> 4 & 1) << 19 | (k >> 5) << 25;
        table[k] = behindNear(lines, -1, -1) | behindNear(lines, 1, -1) | behindNear(lines, -1, 1)
            | behindNear(lines, 1, 1);
    }
    return table;
}

constexpr std::array<uint64_t, 256> kBehindNear = behindAllNear();

} // namespace

uint64_t behind(uint64_t lines)
{
    uint64_t set = kBehindNear[nearNumber(lines)];
    if ((lines & ~LabelWindow::kNear) == 0)
        return set;
    for (const int dx : { -1, 1 }) {
        for (const int dy : { -1, 1 }) {
            const uint64_t beside = bitAt(2 * dx, dy) | bitAt(dx, 2 * dy);
            if ((lines & beside) == beside)
                set |= bitAt(2 * dx, 2 * dy);
        }
    }
    return set;
}

LabelWindow::LabelWindow(const LabelPlane &plane, const EdgeMap &edges, int x, int y)
{
    const std::size_t width = std::size_t(plane.width);
    const bool isAmid = x >= kReach && x - kReach + int(kStride) <= plane.width && y >= kReach
        && y + kReach < plane.height;
    if (isAmid) {
        const uint16_t *from
            = plane.labels.data() + std::size_t(y - kReach) * width + std::size_t(x - kReach);
        const uint8_t *bytes = edges.row(y - kReach) + x - kReach;
        for (std::size_t row = 0; row < kSide; ++row) {
            std::memcpy(labels + kStride * row, from + row * width, sizeof(uint16_t) * kStride);
            std::memcpy(marks + kStride * row, bytes + row * width, kStride);
        }
        return;
    }
    std::fill(std::begin(labels), std::end(labels), kUnlabelled);
    std::fill(std::begin(marks), std::end(marks), uint8_t(0));
    const int left = std::max(0, x - kReach);
    const int right = std::min(plane.width - 1, x + kReach);
    for (int v = std::max(0, y - kReach); v <= std::min(plane.height - 1, y + kReach); ++v) {
        const uint16_t *from = plane.labels.data() + std::size_t(v) * width;
        const std::size_t to
            = kStride * std::size_t(v - y + kReach) + std::size_t(left - x + kReach);
        std::copy(from + left, from + right + 1, labels + to);
        std::copy(edges.row(v) + left, edges.row(v) + right + 1, marks + to);
    }
}

uint64_t LabelWindow::pixelsOf(uint16_t label) const
{
#ifdef __SSE2__
    const __m128i all = _mm_set1_epi16(static_cast<short>(label));
    const auto row = [&](std::size_t y) {
        const void *from = labels + kStride * y;
        return _mm_cmpeq_epi16(all, _mm_loadu_si128(static_cast<const __m128i *>(from)));
    };
    const auto bits = [](__m128i one, __m128i other) {
        return uint64_t(unsigned(_mm_movemask_epi8(_mm_packs_epi16(one, other))));
    };
    const __m128i last = row(4);
    return kAll & (bits(row(0), row(1)) | bits(row(2), row(3)) << 16 | bits(last, last) << 32);
#else
    uint64_t set = 0;
    for (std::size_t bit = 0; bit < kStride * kSide; ++bit)
        set |= uint64_t(labels[bit] == label) << bit;
    return kAll & set;
#endif
}

uint64_t LabelWindow::marked(uint8_t bits) const
{
#ifdef __SSE2__
    const __m128i all = _mm_set1_epi8(static_cast<char>(bits));
    const auto without = [&](__m128i rows) {
        const __m128i none = _mm_cmpeq_epi8(_mm_and_si128(all, rows), _mm_setzero_si128());
        return uint64_t(unsigned(_mm_movemask_epi8(none)));
    };
    const auto *from = reinterpret_cast<const __m128i *>(marks);
    return kAll
        & ~(without(_mm_loadu_si128(from)) | without(_mm_loadu_si128(from + 1)) << 16
            | without(_mm_loadl_epi64(from + 2)) << 32);
#else
    uint64_t set = 0;
    for (std::size_t bit = 0; bit < kStride * kSide; ++bit)
        set |= uint64_t((marks[bit] & bits) != 0) << bit;
    return kAll & set;
#endif
}

uint64_t LabelWindow::admitted() const
{
    const uint8_t kOfLines = EdgeMap::kOfLine | EdgeMap::kFlank | EdgeMap::kRule;
    if (marked(kOfLines) == 0)
        return kAll;
    const uint64_t cores = marked(EdgeMap::kOfLine);
    const uint64_t ofLines = cores | marked(EdgeMap::kFlank);
    const uint64_t lines = cores | marked(EdgeMap::kRule);
    return kAll & ((cores & kNear) | (~ofLines & ~behind(lines)));
}

} // namespace ztrace
