// (c) the ztrace developers. Licence: see LICENSE.
#include "resolution.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kMostStretch = 5.0; // of pixels; beyond it a resolution is an error
const double kUntold = 96.0;     // pixels an inch, where the file says nothing
const long long kMostSquared = ((1LL << 31) - 65) / 4; // pixels, as many as are traced

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
    const bool isGrey = image.format() == QImage::Format_Mono
        || image.format() == QImage::Format_MonoLSB || image.allGray();
    const QImage source = image.hasAlphaChannel() || !isGrey
        ? image
        : image.convertToFormat(QImage::Format_Grayscale8);
    QImage square = source.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const int dotsPerMetre = std::max(image.dotsPerMeterX(), image.dotsPerMeterY());
    square.setDotsPerMeterX(dotsPerMetre);
    square.setDotsPerMeterY(dotsPerMetre);
    return square;
}

} // namespace ztrace
