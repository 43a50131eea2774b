// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/paleink.h"

#include "strokes/distance.h"
#include "strokes/parts.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace ztrace::strokes {

namespace {

// Pixels that pale lines are at most wide, and that a part has at least and is long: artefacts of a
// compression are smaller.
const double kWidest = 9.0;
const int kLeastPixels = 4;
const int kLeastExtent = 4;
// Part of the ink's darkness from which on nothing is a pale line's: a thin line between the
// threshold and that is ink in some places and pale in others, and came in dashes.
const double kStrong = 0.75;
const int kReach = 3; // pixels within which a line's darkest place tells where its edges are
// Part of the picture that pale lines cover at most: more are the shades of a picture.
const double kMostCovered = 0.25;

typedef std::array<std::size_t, 256> Counts;

int quantile(const Counts &counts, int from, int to, double part)
{
    const auto first = counts.begin() + from;
    const auto last = counts.begin() + to;
    const double all = double(std::accumulate(first, last, std::size_t(0)));
    double seen = 0.0;
    for (int v = from; v < to; ++v) {
        seen += double(counts[std::size_t(v)]);
        if (seen > part * all)
            return v;
    }
    return to - 1;
}

// The largest of each value and those within `reach` cells, in rows and columns.
void spread(std::vector<uint8_t> *values, int reach, std::size_t stride)
{
    std::vector<uint8_t> result(values->size());
    for (std::size_t away : { std::size_t(1), stride }) {
        result = *values;
        for (std::size_t step = 1; step <= std::size_t(reach); ++step) {
            const std::size_t by = step * away;
            for (std::size_t i = by; i < values->size(); ++i)
                result[i] = std::max(result[i], (*values)[i - by]);
            for (std::size_t i = by; i < values->size(); ++i)
                result[i - by] = std::max(result[i - by], (*values)[i]);
        }
        values->swap(result);
    }
}

class PaleFinder
{
public:
    explicit PaleFinder(const InkPicture &p) : picture(p), depths(p.width, p.height) { }

    PaleInk find()
    {
        if (!tellTones() || !takeDepths())
            return {};
        PaleInk result;
        const Plane lines = linesOf(&result);
        if (!lines.cells.empty())
            result.grey = liftedBy(lines);
        return result;
    }

private:
    // The tones of paper and ink, each the one in the middle. Whether anything may be pale.
    bool tellTones()
    {
        Counts counts = {};
        const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
        for (std::size_t i = 0; i < pixels; ++i)
            ++counts[picture.grey[i]];
        const int light = picture.threshold + 1;
        if (light < 1 || light > 255)
            return false;
        paper = quantile(counts, light, 256, 0.5);
        ink = quantile(counts, 0, light, 0.5);
        least = std::max(1, int(kPale * (paper - ink)));
        return ink < paper && paper - least > picture.threshold
            && std::any_of(counts.begin() + light, counts.begin() + (paper - least) + 1,
                           [](std::size_t count) { return count > 0; });
    }

    // How much darker than paper pale cells are, and cells of weak ink; 0 in others. Whether there
    // are pale cells with no ink beside them.
    bool takeDepths()
    {
        besideInk = Plane(picture.width, picture.height);
        Plane besideStrong = besideInk;
        const int strong = paper - int(kStrong * (paper - ink));
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const uint32_t cell = besideInk.cellOf(x, y);
                const bool isInk = picture.isInk(x, y);
                besideInk.cells[cell] = isInk ? 1 : 0;
                besideStrong.cells[cell] = isInk && picture.grey[picture.at(x, y)] < strong ? 1 : 0;
            }
        }
        spread(&besideInk.cells, kBesideInk, std::size_t(besideInk.stride()));
        spread(&besideStrong.cells, kBesideInk, std::size_t(besideStrong.stride()));
        bool any = false;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const uint32_t cell = depths.cellOf(x, y);
                const int depth = paper - picture.grey[picture.at(x, y)];
                const bool isWeak = depth > 0 && besideStrong.cells[cell] == 0;
                depths.cells[cell] = isWeak ? uint8_t(depth) : 0;
                any = any || (isWeak && depth >= least && besideInk.cells[cell] == 0);
            }
        }
        if (!any)
            return false;
        peaks = depths;
        spread(&peaks.cells, kReach, std::size_t(peaks.stride()));
        return true;
    }

    bool isLine(uint32_t cell) const
    {
        return depths.cells[cell] >= least && 2 * depths.cells[cell] > peaks.cells[cell];
    }

    // 1 in the cells of lines; of no size where there are none.
    Plane linesOf(PaleInk *result) const
    {
        Plane pale(picture.width, picture.height);
        for (std::size_t cell = 0; cell < pale.cells.size(); ++cell)
            pale.cells[cell] = isLine(uint32_t(cell)) ? 1 : 0;
        const Plane distance = inkDistance(pale);
        Plane lines(picture.width, picture.height);
        std::size_t covered = 0;
        for (std::size_t first = 0; first < pale.cells.size(); ++first) {
            if (pale.cells[first] == 0)
                continue;
            const Part part = partAround(uint32_t(first), pale, [&pale](uint32_t cell) {
                const bool isNew = pale.cells[cell] != 0;
                pale.cells[cell] = 0;
                return isNew;
            });
            const std::ptrdiff_t bare
                = std::count_if(part.cells.begin(), part.cells.end(),
                                [this](uint32_t cell) { return besideInk.cells[cell] == 0; });
            if (bare == 0 || part.pixels() < kLeastPixels || part.extent() < kLeastExtent)
                continue;
            const bool isWide
                = std::any_of(part.cells.begin(), part.cells.end(), [&distance](uint32_t cell) {
                      return 2 * radiusOf(distance.cells[cell]) > kWidest;
                  });
            (isWide ? result->left : result->lines).add(int(bare), part.x(), part.y());
            for (uint32_t cell : part.cells)
                lines.cells[cell] = isWide ? 0 : 1;
            covered += isWide ? 0 : part.cells.size();
        }
        if (result->lines.count > 0 && double(covered) <= kMostCovered * double(pale.cells.size()))
            return lines;
        result->left.add(result->lines);
        result->lines = LeftOutParts();
        return Plane();
    }

    // Around lines every depth in relation to the deepest near it.
    std::vector<uint8_t> liftedBy(Plane lines) const
    {
        spread(&lines.cells, 2, std::size_t(lines.stride()));
        std::vector<uint8_t> grey(
            picture.grey, picture.grey + std::size_t(picture.width) * std::size_t(picture.height));
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const uint32_t cell = depths.cellOf(x, y);
                if (lines.cells[cell] == 0 || depths.cells[cell] == 0)
                    continue;
                grey[picture.at(x, y)]
                    = uint8_t(paper - (paper - ink) * int(depths.cells[cell]) / peaks.cells[cell]);
            }
        }
        return grey;
    }

    const InkPicture &picture;
    int paper = 255;
    int ink = 0;
    int least = 255;
    Plane besideInk; // not 0 in ink and beside it
    Plane depths;
    Plane peaks;
};

} // namespace

PaleInk paleInkOf(const InkPicture &picture)
{
    if (picture.width < 1 || picture.height < 1)
        return {};
    return PaleFinder(picture).find();
}

} // namespace ztrace::strokes
