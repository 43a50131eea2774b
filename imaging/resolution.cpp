// (c) the ztrace developers. Licence: see LICENSE.
#include "resolution.h"

#include "GreyPicture.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ztrace {

namespace {

const double kMostStretch = 5.0;          // of pixels; beyond it a resolution is an error
const double kUntold = 96.0;              // pixels an inch, where the file says nothing
const long long kMostSquared = 1LL << 30; // pixels, as many as are traced

double dpiOf(int dotsPerMetre)
{
    const double kMetresPerInch = 0.0254;
    const double kRoundingOfFormats = 0.02; // whole dots a metre, of whole dots an inch
    const double dpi = dotsPerMetre * kMetresPerInch;
    if (!(dpi > 0.0))
        return kUntold;
    const double whole = std::round(dpi);
    return std::fabs(dpi - whole) < kRoundingOfFormats ? whole : dpi;
}

// Where the pixels of a longer line lie on a shorter one: the two nearest and 256 times the weight
// of the second.
struct Place
{
    int first;
    int second;
    int weight;
};

std::vector<Place> placesOn(int shorter, int longer)
{
    std::vector<Place> places;
    for (int i = 0; i < longer; ++i) {
        const double at = (i + 0.5) * shorter / longer - 0.5;
        const int first = static_cast<int>(std::floor(at));
        places.push_back({ std::max(0, first), std::min(shorter - 1, first + 1),
                           static_cast<int>(std::lround(256.0 * (at - first))) });
    }
    return places;
}

// Lightnesses between the nearest pixels, in one byte a pixel. Null when it does not fit into
// memory.
QImage stretched(const GreyPicture &page, const QSize &size)
{
    QImage target(size, QImage::Format_Grayscale8);
    if (target.isNull())
        return target;
    const auto mixed = [](int a, int b, int weight) {
        return static_cast<uint8_t>((a * (256 - weight) + b * weight + 128) >> 8);
    };
    const std::vector<Place> across = placesOn(page.width(), size.width());
    const std::vector<Place> down = placesOn(page.height(), size.height());
    std::vector<uint8_t> buffers[2];
    std::vector<uint8_t> line(static_cast<std::size_t>(page.width()));
    for (std::vector<uint8_t> &buffer : buffers)
        buffer.resize(line.size());
    for (int y = 0; y < size.height(); ++y) {
        const Place &rows = down[static_cast<std::size_t>(y)];
        const uint8_t *above = page.row(rows.first, buffers[0].data());
        const uint8_t *below = page.row(rows.second, buffers[1].data());
        for (std::size_t x = 0; x < line.size(); ++x)
            line[x] = mixed(above[x], below[x], rows.weight);
        uint8_t *row = target.scanLine(y);
        if (size.width() == page.width()) {
            std::copy(line.begin(), line.end(), row);
            continue;
        }
        for (std::size_t x = 0; x < across.size(); ++x) {
            row[x] = mixed(line[static_cast<std::size_t>(across[x].first)],
                           line[static_cast<std::size_t>(across[x].second)], across[x].weight);
        }
    }
    return target;
}

} // namespace

bool Resolution::isSquare() const
{
    const double kRounding = 1.02;
    return std::max(across / down, down / across) < kRounding;
}

Resolution resolutionOf(const QImage &image)
{
    Resolution resolution;
    resolution.across = dpiOf(image.dotsPerMeterX());
    resolution.down = dpiOf(image.dotsPerMeterY());
    // One that is not told, or cannot be true, is the other one.
    const double larger = std::max(resolution.across, resolution.down);
    const double smaller = std::min(resolution.across, resolution.down);
    if (resolution.across == kUntold)
        resolution.across = resolution.down;
    else if (resolution.down == kUntold)
        resolution.down = resolution.across;
    else if (larger > kMostStretch * smaller)
        resolution.across = resolution.down = larger;
    return resolution;
}

bool tellsResolution(const QImage &image)
{
    return resolutionOf(image).across != kUntold || resolutionOf(image).down != kUntold;
}

QImage withSquarePixels(const QImage &image)
{
    const Resolution resolution = resolutionOf(image);
    const double finer = std::max(resolution.across, resolution.down);
    const auto length = [finer](int pixels, double dpi) {
        return std::max(1, static_cast<int>(std::lround(pixels * finer / dpi)));
    };
    const QSize size(length(image.width(), resolution.across),
                     length(image.height(), resolution.down));
    if (1LL * size.width() * size.height() > kMostSquared)
        return QImage();
    QImage square;
    if (GreyPicture::isGrey(image))
        square = stretched(GreyPicture(image), size);
    else
        square = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const int dotsPerMetre = std::max(image.dotsPerMeterX(), image.dotsPerMeterY());
    square.setDotsPerMeterX(dotsPerMetre);
    square.setDotsPerMeterY(dotsPerMetre);
    return square;
}

} // namespace ztrace
