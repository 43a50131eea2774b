// (c) the ztrace developers. Licence: see LICENSE.
#include "ink.h"

#include "greyinterpolation.h"
#include "index.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ztrace {

namespace {

// Lightness; what is nearer to the mean of its side is pure. A third of the limit for colours,
// which sums three channels.
const int kToneMixture = 8;
const double kSoftShare = 0.2; // of the pixels on borders; a soft edge has one in two or three

typedef std::vector<uint8_t> Row;

// Labels of three rows at a time, and where the pixels of the middle one are on borders: not all of
// the up to nine pixels around have one label.
class Borders
{
public:
    Borders(const GreyPicture &p, int t) : page(p), threshold(t), buffer(at(p.width()))
    {
        for (Row *row : { &above, &own, &below })
            row->assign(at(page.width()), 0);
        some = every = Row(own.size() + 2, 0);
        onBorder = own;
        label(0, &below);
    }

    // Rows have to be asked for in order.
    void moveTo(int y)
    {
        above.swap(own);
        own.swap(below);
        if (y + 1 < page.height())
            label(y + 1, &below);
        const uint8_t *middle = own.data();
        const uint8_t *over = y > 0 ? above.data() : middle;
        const uint8_t *under = y + 1 < page.height() ? below.data() : middle;
        mark(over, middle, under, own.size(), some.data() + 1, every.data() + 1, onBorder.data());
    }

    const Row &labels() const { return own; }
    const Row &borders() const { return onBorder; }

private:
    // Plain loops over bytes that do not overlap, which the compiler works on side by side. `some`
    // and `every` have a pixel more on both sides, which repeats the last one.
    static void mark(const uint8_t *__restrict over, const uint8_t *__restrict middle,
                     const uint8_t *__restrict under, std::size_t width, uint8_t *__restrict some,
                     uint8_t *__restrict every, uint8_t *__restrict onBorder)
    {
        for (std::size_t x = 0; x < width; ++x) {
            some[x] = over[x] | middle[x] | under[x];
            every[x] = over[x] & middle[x] & under[x];
        }
        some[-1] = some[0];
        every[-1] = every[0];
        some[width] = some[width - 1];
        every[width] = every[width - 1];
        const uint8_t *someLeft = some - 1;
        const uint8_t *everyLeft = every - 1;
        for (std::size_t x = 0; x < width; ++x) {
            const uint8_t any = someLeft[x] | someLeft[x + 1] | someLeft[x + 2];
            const uint8_t all = everyLeft[x] & everyLeft[x + 1] & everyLeft[x + 2];
            onBorder[x] = any & static_cast<uint8_t>(1 ^ all);
        }
    }

    void label(int y, Row *labels)
    {
        const uint8_t *tones = page.row(y, buffer.data());
        uint8_t *target = labels->data();
        for (std::size_t x = 0; x < labels->size(); ++x)
            target[x] = tones[x] > threshold;
    }

    const GreyPicture &page;
    int threshold;
    Row buffer;
    Row above;
    Row own;
    Row below;
    Row some;  // of the three rows' labels
    Row every; // of them
    Row onBorder;
};

// The mean lightness of ink and of paper.
std::array<int, 2> meansOf(const Histogram &counts, int threshold)
{
    double pixels[2] = { 0.0, 0.0 };
    double sums[2] = { 0.0, 0.0 };
    for (int v = 0; v < 256; ++v) {
        pixels[v > threshold] += counts[at(v)];
        sums[v > threshold] += v * counts[at(v)];
    }
    std::array<int, 2> means = { { 0, 255 } };
    for (std::size_t side = 0; side < 2; ++side) {
        if (pixels[side] > 0.0)
            means[side] = static_cast<int>(sums[side] / pixels[side] + 0.5);
    }
    return means;
}

} // namespace

Runs inkRuns(const GreyPicture &page, int threshold)
{
    RunScanner scanner(page.width(), page.height());
    if (page.isBilevel()) {
        const uint16_t labels[2]
            = { uint16_t(page.toneOf(0) > threshold), uint16_t(page.toneOf(1) > threshold) };
        for (int y = 0; y < page.height(); ++y)
            scanner.addBits(page.bits(y), labels);
        return scanner.take();
    }
    Row labels(at(page.width()));
    for (int y = 0; y < page.height(); ++y) {
        const uint8_t *tones = page.row(y, nullptr);
        for (std::size_t x = 0; x < labels.size(); ++x)
            labels[x] = tones[x] > threshold;
        scanner.addRow(labels.data());
    }
    return scanner.take();
}

bool hasSoftInk(const GreyPicture &page, const Histogram &counts, int threshold)
{
    if (page.isBilevel())
        return false;
    const std::array<int, 2> means = meansOf(counts, threshold);
    Borders rows(page, threshold);
    std::size_t onBorder = 0;
    std::size_t soft = 0;
    const int width = page.width();
    for (int y = 0; y < page.height(); ++y) {
        rows.moveTo(y);
        const uint8_t *tones = page.row(y, nullptr);
        for (int x = 0; x < width; ++x) {
            if (!rows.borders()[at(x)])
                continue;
            ++onBorder;
            soft += std::abs(tones[x] - means[rows.labels()[at(x)]]) > kToneMixture;
        }
    }
    return soft > 0 && double(soft) >= kSoftShare * double(onBorder);
}

Runs fineInkRuns(const GreyPicture &page, int threshold, int factor)
{
    const int width = page.width();
    RunScanner scanner(width * factor, page.height() * factor);
    const GreyInterpolation interpolation(page, factor);
    Borders rows(page, threshold);
    std::vector<Row> fine(at(factor), Row(at(width) * at(factor)));
    for (int y = 0; y < page.height(); ++y) {
        rows.moveTo(y);
        const GreyInterpolation::Lines lines = interpolation.linesAt(y);
        for (int x = 0; x < width; ++x) {
            const bool onBorder = rows.borders()[at(x)];
            for (int j = 0; j < factor; ++j) {
                uint8_t *parts = fine[at(j)].data() + at(x) * at(factor);
                for (int i = 0; i < factor; ++i) {
                    parts[i] = onBorder ? interpolation.lightness(lines, x, i, j) > threshold
                                        : rows.labels()[at(x)];
                }
            }
        }
        for (const Row &row : fine)
            scanner.addRow(row.data());
    }
    return scanner.take();
}

} // namespace ztrace
