// (c) the ztrace developers. Licence: see LICENSE.
//
// Colour quantization of the loaded image: the cycles of quantize.cpp on the members.
#include "ZTraceBitmap.h"

#include "nestedpalette.h"
#include "kernels/convert.h"
#include "quantize.h"

#include <cstring>

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
    const bool any = hasPixels();
    const ztrace::PixelView image = { reinterpret_cast<const signed char *>(imageData.constData()),
                                      any ? imageWidth : 0, any ? imageHeight : 0 };
    const ztrace::FlatPalette start = ztrace::flattened(currentPalette);
    ztrace::FlatPalette palette = start;
    ztrace::runCycles(image, ztrace::wrappingProduct(imageWidth, imageHeight), smallestShare,
                      cycles, &palette, plane);
    for (int k = 0; k < currentPalette.size(); ++k) {
        const size_t at = 4 * static_cast<size_t>(k);
        if (std::memcmp(start.data() + at, palette.data() + at, 4) != 0)
            currentPalette[k] = ztrace::entryOf(palette, k);
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
