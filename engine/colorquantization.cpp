// (c) the ztrace developers. Licence: see LICENSE.
//
// Colour quantization: an iterative nearest-colour clustering of the loaded image.
#include "ZTraceBitmap.h"

#include "kernels/IndexPlane.h"
#include "kernels/assign.h"
#include "kernels/convert.h"
#include "randombyte.h"

namespace {

typedef QVector<QVector<char>> Palette;

// The palette as the kernels take it: 4 signed bytes an entry, one after the other. An entry that
// a caller made shorter reads as 0 where it ends.
std::vector<signed char> flattened(const Palette &palette)
{
    std::vector<signed char> flat(4 * static_cast<size_t>(palette.size()), 0);
    for (int k = 0; k < palette.size(); ++k) {
        const QVector<char> &entry = palette.at(k);
        for (int c = 0; c < 4 && c < entry.size(); ++c)
            flat[4 * static_cast<size_t>(k) + static_cast<size_t>(c)]
                = static_cast<signed char>(entry.at(c));
    }
    return flat;
}

// Moves an entry to the mean of its pixels. The test is on the alpha sum, not on the count.
void recentre(const ztrace::ColourSum &sum, QVector<char> *entry)
{
    if (sum.channel[3] <= 0 || sum.count <= 0)
        return;
    if (entry->size() < 4)
        entry->resize(4);
    for (int c = 0; c < 4; ++c) {
        const int mean = static_cast<int>(sum.channel[c] / sum.count);
        (*entry)[c] = static_cast<char>(ztrace::lowByte(mean - 128));
    }
}

// The share of the pixels that an entry attracted, rounded to single precision before it is
// compared.
double share(const ztrace::ColourSum &sum, int pixels)
{
    return ztrace::roundedToSingle(static_cast<double>(sum.count) / static_cast<double>(pixels));
}

// Re-centres every entry, and gives the rare ones a random colour, entry by entry. True when an
// entry was drawn anew.
bool refine(const std::vector<ztrace::ColourSum> &sums, int pixels, double smallestShare,
            bool renewRare, Palette *palette)
{
    bool renewed = false;
    for (int k = 0; k < palette->size(); ++k) {
        const ztrace::ColourSum &sum = sums[static_cast<size_t>(k)];
        recentre(sum, &(*palette)[k]);
        if (smallestShare > share(sum, pixels) && renewRare) {
            (*palette)[k] = ztrace::randomEntry();
            renewed = true;
        }
    }
    return renewed;
}

} // namespace

void ZTraceBitmap::makeStartPalette()
{
    const int entries = integerOption("numberofcolors");
    if (!currentPalette.isEmpty())
        return;
    currentPalette
        = option("colorsampling") == 0.0 ? generatepalette(entries) : samplepalette(entries);
}

// Runs the cycles and leaves the indices of the last one in the plane.
void ZTraceBitmap::quantize(ztrace::IndexPlane *plane)
{
    const double smallestShare = option("mincolorratio");
    const long long cycles = integerOption("colorquantcycles");
    makeStartPalette();
    const double radius = option("blurradius");
    if (radius > 0.0)
        blur(static_cast<float>(ztrace::roundedToSingle(radius)),
             static_cast<float>(ztrace::roundedToSingle(option("blurdelta"))));

    const bool possible = sizesAreSound();
    plane->resize(possible ? imageWidth : 0, possible ? imageHeight : 0, currentPalette.size());
    if (currentPalette.isEmpty())
        return; // there is no entry to assign to: every index stays 0

    const bool any = hasPixels();
    const ztrace::PixelView image = { reinterpret_cast<const signed char *>(imageData.constData()),
                                      any ? imageWidth : 0, any ? imageHeight : 0 };
    const int pixels = ztrace::wrappingProduct(imageWidth, imageHeight);
    std::vector<ztrace::ColourSum> sums;
    std::vector<signed char> assigned;
    for (long long cycle = 0; cycle < cycles; ++cycle) {
        const bool last = cycle == cycles - 1;
        bool renewed = false;
        if (cycle > 0)
            renewed = refine(sums, pixels, smallestShare, !last, &currentPalette);
        const std::vector<signed char> palette = flattened(currentPalette);
        // A palette that a cycle leaves as it was gives the same sums again, and no draw follows
        // from them: all later cycles would repeat this one.
        const bool settled = cycle > 0 && !renewed && palette == assigned;
        if (settled || last) {
            ztrace::assignPixels(image, palette, nullptr, plane);
            return;
        }
        ztrace::assignPixels(image, palette, &sums, nullptr);
        assigned = palette;
    }
}

void ZTraceBitmap::publish(const ztrace::IndexPlane &plane)
{
    IndexedImage result;
    const int rows = plane.height() + 2;
    const int columns = plane.stride();
    result.indices.reserve(rows);
    plane.visit([&](const auto *cells) {
        for (int r = 0; r < rows; ++r, cells += columns) {
            QVector<int> row(columns);
            int *out = row.data();
            for (int c = 0; c < columns; ++c)
                out[c] = static_cast<int>(cells[c]);
            if (r == 0 || r == rows - 1)
                row.fill(-1);
            out = row.data();
            out[0] = out[columns - 1] = -1;
            result.indices.append(row);
        }
    });
    result.width = result.indices.first().size() - 2;
    result.height = result.indices.size() - 2;
    result.palette = currentPalette;
    indexedImage = result;
}

void ZTraceBitmap::colorquantization()
{
    ztrace::IndexPlane plane;
    quantize(&plane);
    publish(plane);
}
