// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/areatones.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

namespace ztrace {

namespace {

const int kBlurReach = 3;       // pixels
const int kLeastOwnPixels = 12; // that tell an area's own tone
// The deviation of normal errors over the mean absolute difference of two of them.
const double kDeviationOfDifference = 0.8862;

struct Inner
{
    int begin;
    int end;
    uint32_t area;
};

// The stretches of a row that are `reach` pixels from other areas along it.
void shrunkRow(const BoundaryMap &map, int y, int reach, std::vector<Inner> *row)
{
    row->clear();
    const Runs &runs = map.runs;
    const uint32_t past = runs.rowEnd(y);
    for (uint32_t run = runs.rowBegin(y); run < past; ++run) {
        const int begin = runs.start[run] + reach;
        const int end = runs.end(run) - reach;
        if (begin < end)
            row->push_back({ begin, end, map.areas.ofRun[run] });
    }
}

// What two rows have in common, in `a`.
void intersect(std::vector<Inner> *a, const std::vector<Inner> &b, std::vector<Inner> *room)
{
    room->clear();
    auto other = b.begin();
    for (auto own = a->begin(); own != a->end() && other != b.end();) {
        const int begin = std::max(own->begin, other->begin);
        const int end = std::min(own->end, other->end);
        if (begin < end && own->area == other->area)
            room->push_back({ begin, end, own->area });
        if (own->end < other->end)
            ++own;
        else
            ++other;
    }
    a->swap(*room);
}

// Of neighbours, along each axis.
struct Differences
{
    double sum[2] = { 0, 0 };
    double pairs[2] = { 0, 0 };

    void add(const Differences &other)
    {
        for (int axis : { 0, 1 }) {
            sum[axis] += other.sum[axis];
            pairs[axis] += other.pairs[axis];
        }
    }
    bool isKnown() const { return pairs[0] >= kLeastOwnPixels && pairs[1] >= kLeastOwnPixels; }
    // The smaller one: across the bands of a gradient colours differ without any noise.
    double mean() const
    {
        return pairs[0] > 0 && pairs[1] > 0 ? std::min(sum[0] / pairs[0], sum[1] / pairs[1]) : 0.0;
    }
};

// The sums of each channel over so many bytes, as many for each; in blocks of which the compiler
// makes vectors.
template<int channels>
std::array<uint32_t, kMostChannels> sumsOf(const uint8_t *values, std::size_t bytes)
{
    const std::size_t kBlock = 16;
    std::array<uint32_t, kBlock> lanes = {};
    std::size_t k = 0;
    for (; k + kBlock <= bytes; k += kBlock) {
        for (std::size_t lane = 0; lane < kBlock; ++lane)
            lanes[lane] += values[k + lane];
    }
    for (; k < bytes; ++k)
        lanes[k % kBlock] += values[k];
    std::array<uint32_t, kMostChannels> sums = { { 0, 0, 0, 0 } };
    for (std::size_t lane = 0; lane < kBlock; ++lane)
        sums[lane % channels] += lanes[lane];
    return sums;
}

struct Nothing
{
    void operator()(int, int, int, uint32_t) const { }
};

// Calls `work` for the stretches of pixels in the middle of squares of 2 * reach + 1 pixels that
// are all of one area, and `below` for those that lie below another one of their area.
template<typename Work, typename Below = Nothing>
void forEachInner(const EdgePicture &picture, const BoundaryMap &map, int reach, const Work &work,
                  const Below &below = Below())
{
    std::vector<Inner> row, before, other, room;
    for (int y = reach; y + reach < picture.height; ++y) {
        shrunkRow(map, y, reach, &row);
        // The farthest first: they leave least.
        for (int k = reach; k > 0; --k) {
            for (int beside : { y - k, y + k }) {
                if (row.empty())
                    break;
                shrunkRow(map, beside, reach, &other);
                intersect(&row, other, &room);
            }
        }
        for (const Inner &stretch : row)
            work(y, stretch.begin, stretch.end, stretch.area);
        if (std::is_same_v<Below, Nothing>)
            continue;
        intersect(&before, row, &room);
        for (const Inner &stretch : before)
            below(y, stretch.begin, stretch.end, stretch.area);
        before.swap(row);
    }
}

} // namespace

AreaTones areaTones(const EdgePicture &picture, const BoundaryMap &map,
                    const std::vector<Tone> &tones)
{
    const int channels = picture.channels;
    const std::size_t count = map.areas.list.size();
    std::vector<std::array<double, kMostChannels>> sums(count, { { 0, 0, 0, 0 } });
    std::vector<uint32_t> pixels(count, 0);
    std::vector<Differences> differences(count);
    forEachInner(picture, map, 1, [&](int y, int begin, int end, uint32_t area) {
        const uint8_t *values = picture.at(begin, y);
        const auto length = std::size_t(end - begin);
        const std::array<uint32_t, kMostChannels> sum
            = channels == 1 ? sumsOf<1>(values, length) : sumsOf<kMostChannels>(values, 4 * length);
        for (std::size_t c = 0; c < kMostChannels; ++c)
            sums[area][c] += sum[c];
        pixels[area] += uint32_t(end - begin);
    });
    // Neighbours that both lie inside, along both axes: a turned picture has the same noise.
    const auto compare
        = [&](const uint8_t *a, const uint8_t *b, int length, uint32_t area, int axis) {
              uint32_t sum = 0;
              for (int k = 0; k < length * channels; ++k)
                  sum += uint32_t(std::abs(int(a[k]) - int(b[k])));
              differences[area].sum[axis] += sum;
              differences[area].pairs[axis] += length;
          };
    forEachInner(
        picture, map, kBlurReach,
        [&](int y, int begin, int end, uint32_t area) {
            compare(picture.at(begin, y), picture.at(begin + 1, y), end - begin - 1, area, 0);
        },
        [&](int y, int begin, int end, uint32_t area) {
            compare(picture.at(begin, y), picture.at(begin, y - 1), end - begin, area, 1);
        });
    struct Sum
    {
        double tone[kMostChannels] = { 0, 0, 0, 0 };
        double pixels = 0;
        Differences differences;
    };
    std::vector<Sum> ofLabel(tones.size());
    for (std::size_t a = 0; a < count; ++a) {
        Sum &label = ofLabel[map.areas.list[a].label];
        for (std::size_t c = 0; c < kMostChannels; ++c)
            label.tone[c] += sums[a][c];
        label.pixels += pixels[a];
        label.differences.add(differences[a]);
    }
    AreaTones result;
    result.toneOf.resize(count);
    result.noiseOf.resize(count);
    for (std::size_t a = 0; a < count; ++a) {
        const std::size_t label = map.areas.list[a].label;
        const Sum &all = ofLabel[label];
        result.noiseOf[a] = kDeviationOfDifference / channels
            * (differences[a].isKnown() ? differences[a].mean() : all.differences.mean());
        for (std::size_t c = 0; c < kMostChannels; ++c) {
            if (int(pixels[a]) >= kLeastOwnPixels)
                result.toneOf[a][c] = float(sums[a][c] / pixels[a]);
            else if (all.pixels >= kLeastOwnPixels && picture.tones.empty())
                result.toneOf[a][c] = float(all.tone[c] / all.pixels);
            else
                result.toneOf[a][c] = tones[label][c];
        }
    }
    return result;
}

} // namespace ztrace
