// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/areatones.h"

#include <algorithm>
#include <cstdlib>

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

// Calls for the stretches whose pixels have nothing else within `reach` pixels along both axes.
template<typename Work>
void forEachInner(const EdgePicture &picture, const BoundaryMap &map, int reach, const Work &work)
{
    std::vector<Inner> row, other, room;
    for (int y = reach; y + reach < picture.height; ++y) {
        shrunkRow(map, y, reach, &row);
        for (int beside : { y - reach, y + reach }) {
            if (row.empty())
                break;
            shrunkRow(map, beside, reach, &other);
            intersect(&row, other, &room);
        }
        for (const Inner &stretch : row)
            work(y, stretch.begin, stretch.end, stretch.area);
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
    std::vector<double> differences(count, 0.0);
    std::vector<uint32_t> compared(count, 0);
    forEachInner(picture, map, 1, [&](int y, int begin, int end, uint32_t area) {
        const uint8_t *value = picture.at(begin, y);
        std::array<uint32_t, kMostChannels> sum = { { 0, 0, 0, 0 } };
        for (int x = begin; x < end; ++x, value += channels) {
            for (int c = 0; c < channels; ++c)
                sum[std::size_t(c)] += value[c];
        }
        for (std::size_t c = 0; c < kMostChannels; ++c)
            sums[area][c] += sum[c];
        pixels[area] += uint32_t(end - begin);
    });
    forEachInner(picture, map, kBlurReach, [&](int y, int begin, int end, uint32_t area) {
        const uint8_t *value = picture.at(begin, y);
        uint32_t sum = 0;
        for (int k = channels; k < (end - begin) * channels; ++k)
            sum += uint32_t(std::abs(int(value[k]) - int(value[k - channels])));
        differences[area] += sum;
        compared[area] += uint32_t(end - begin - 1);
    });
    struct Sum
    {
        double tone[kMostChannels] = { 0, 0, 0, 0 };
        double pixels = 0;
        double differences = 0;
        double compared = 0;
    };
    std::vector<Sum> ofLabel(tones.size());
    for (std::size_t a = 0; a < count; ++a) {
        Sum &label = ofLabel[map.areas.list[a].label];
        for (std::size_t c = 0; c < kMostChannels; ++c)
            label.tone[c] += sums[a][c];
        label.pixels += pixels[a];
        label.differences += differences[a];
        label.compared += compared[a];
    }
    AreaTones result;
    result.toneOf.resize(count);
    result.noiseOf.resize(count);
    for (std::size_t a = 0; a < count; ++a) {
        const std::size_t label = map.areas.list[a].label;
        const Sum &all = ofLabel[label];
        result.noiseOf[a] = kDeviationOfDifference / channels
            * (int(compared[a]) >= kLeastOwnPixels ? differences[a] / compared[a]
                   : all.compared > 0              ? all.differences / all.compared
                                                   : 0.0);
        for (std::size_t c = 0; c < kMostChannels; ++c) {
            if (int(pixels[a]) >= kLeastOwnPixels)
                result.toneOf[a][c] = float(sums[a][c] / pixels[a]);
            else if (all.pixels >= kLeastOwnPixels)
                result.toneOf[a][c] = float(all.tone[c] / all.pixels);
            else
                result.toneOf[a][c] = tones[label][c];
        }
    }
    return result;
}

} // namespace ztrace
