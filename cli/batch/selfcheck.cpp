// (c) the ztrace developers. Licence: see LICENSE.
#include "selfcheck.h"

#include "drawing/png.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace ztrace {

namespace {

const double kMostPixels = 1e6;     // of the grid; what is lost on it is a hundredth of an inch
const double kInk = 0.5;            // coverage from which a pixel is ink for sure
const double kFaintInk = 0.35;      // and in the picture, when nothing is drawn there
const double kSomeInk = 0.2;        // and from which it may be the edge of some
const int kTile = 64;               // pixels of the grid that share a tone of the paper
const double kLeastContrast = 40.0; // of 255, between paper and ink
const double kNearColour = 0.16;    // distance of colours, 0 to 1, that is still the same one
const int kLeastLost = 8;           // pixels of the grid that make a region

struct Plane
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> values;

    Plane(int w, int h) : width(w), height(h), values(std::size_t(w) * std::size_t(h)) { }
    uint8_t &at(int x, int y)
    {
        return values[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    }
    uint8_t at(int x, int y) const
    {
        return values[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    }
};

QImage overWhite(const QImage &image, const QSize &size, double degrees = 0.0)
{
    QImage result(size, QImage::Format_RGB32);
    if (result.isNull())
        return result;
    result.fill(Qt::white);
    QPainter painter(&result);
    if (degrees != 0.0) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.translate(size.width() / 2.0, size.height() / 2.0);
        painter.rotate(degrees);
        painter.translate(-size.width() / 2.0, -size.height() / 2.0);
    }
    painter.drawImage(QPoint(0, 0), image);
    return result;
}

// On the grid, over white.
QImage pictureOnGrid(const QImage &picture, const QSize &size, double degrees)
{
    QImage image = picture.hasAlphaChannel() ? picture.convertToFormat(QImage::Format_ARGB32)
        : picture.isGrayscale()              ? picture.convertToFormat(QImage::Format_Grayscale8)
                                             : picture.convertToFormat(QImage::Format_RGB32);
    if (image.size() != size)
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return overWhite(image, size, degrees);
}

Plane greyOf(const QImage &image)
{
    Plane plane(image.width(), image.height());
    for (int y = 0; y < plane.height; ++y) {
        const QRgb *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < plane.width; ++x)
            plane.at(x, y) = static_cast<uint8_t>(qGray(row[x]));
    }
    return plane;
}

// The value that a share of the pixels of a part is below.
int valueAt(const std::array<int, 256> &counts, double share)
{
    int total = 0;
    for (int count : counts)
        total += count;
    int sum = 0;
    for (int value = 0; value < 256; ++value) {
        sum += counts[static_cast<std::size_t>(value)];
        if (sum > share * total)
            return value;
    }
    return 255;
}

std::array<int, 256> countsOf(const Plane &grey, int left, int top, int right, int bottom)
{
    std::array<int, 256> counts {};
    for (int y = std::max(0, top); y < std::min(grey.height, bottom); ++y) {
        for (int x = std::max(0, left); x < std::min(grey.width, right); ++x)
            ++counts[grey.at(x, y)];
    }
    return counts;
}

// How much of a pixel is ink, 0 to 255, seen from the paper around it. Solid areas that fill a tile
// have the paper of the page.
Plane coverageOf(const Plane &grey)
{
    Plane coverage(grey.width, grey.height);
    const std::array<int, 256> all = countsOf(grey, 0, 0, grey.width, grey.height);
    const int pagePaper = valueAt(all, 0.75);
    const int pageInk = valueAt(all, 0.002);
    for (int top = 0; top < grey.height; top += kTile) {
        for (int left = 0; left < grey.width; left += kTile) {
            const auto around = countsOf(grey, left - kTile / 2, top - kTile / 2,
                                         left + 3 * kTile / 2, top + 3 * kTile / 2);
            int paper = valueAt(around, 0.75);
            if (paper < pageInk + (pagePaper - pageInk) / 2)
                paper = pagePaper;
            const double contrast = std::max(kLeastContrast, double(paper - pageInk));
            for (int y = top; y < std::min(top + kTile, grey.height); ++y) {
                for (int x = left; x < std::min(left + kTile, grey.width); ++x) {
                    const double share = (paper - grey.at(x, y)) / contrast;
                    coverage.at(x, y)
                        = static_cast<uint8_t>(255.0 * std::min(1.0, std::max(0.0, share)));
                }
            }
        }
    }
    return coverage;
}

// The largest value within a pixel.
Plane widened(const Plane &plane)
{
    Plane rows(plane.width, plane.height);
    Plane result(plane.width, plane.height);
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            uint8_t most = plane.at(x, y);
            if (x > 0)
                most = std::max(most, plane.at(x - 1, y));
            if (x + 1 < plane.width)
                most = std::max(most, plane.at(x + 1, y));
            rows.at(x, y) = most;
        }
    }
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            uint8_t most = rows.at(x, y);
            if (y > 0)
                most = std::max(most, rows.at(x, y - 1));
            if (y + 1 < plane.height)
                most = std::max(most, rows.at(x, y + 1));
            result.at(x, y) = most;
        }
    }
    return result;
}

// Regions of marked pixels, corners joined, of at least `least`: their number and pixels. Unmarks.
void countRegions(Plane *marks, int least, int *regions, long long *pixels)
{
    std::vector<std::pair<int, int>> open;
    for (int y = 0; y < marks->height; ++y) {
        for (int x = 0; x < marks->width; ++x) {
            if (!marks->at(x, y))
                continue;
            int size = 0;
            open.assign(1, { x, y });
            marks->at(x, y) = 0;
            while (!open.empty()) {
                const std::pair<int, int> one = open.back();
                open.pop_back();
                ++size;
                for (int v = std::max(0, one.second - 1);
                     v <= std::min(marks->height - 1, one.second + 1); ++v) {
                    for (int u = std::max(0, one.first - 1);
                         u <= std::min(marks->width - 1, one.first + 1); ++u) {
                        if (marks->at(u, v)) {
                            marks->at(u, v) = 0;
                            open.push_back({ u, v });
                        }
                    }
                }
            }
            if (size >= least) {
                ++*regions;
                *pixels += size;
            }
        }
    }
}

// Pixels that are ink against the darkest ones within two pixels, however faint ink is there.
long long inkPixels(const Plane &coverage)
{
    const Plane darkest = widened(widened(coverage));
    const int some = static_cast<int>(kSomeInk * 255);
    long long count = 0;
    for (std::size_t i = 0; i < coverage.values.size(); ++i)
        count += coverage.values[i] >= some && 2 * coverage.values[i] >= darkest.values[i];
    return count;
}

SelfCheck compareInk(const QImage &picture, const QImage &drawn, int least)
{
    const Plane source = coverageOf(greyOf(picture));
    const Plane grey = greyOf(drawn);
    Plane drawing(grey.width, grey.height);
    for (std::size_t i = 0; i < grey.values.size(); ++i)
        drawing.values[i] = static_cast<uint8_t>(255 - grey.values[i]);
    const Plane nearSource = widened(source);
    const Plane nearDrawing = widened(drawing);
    const int ink = static_cast<int>(kInk * 255);
    const int faint = static_cast<int>(kFaintInk * 255);
    const int some = static_cast<int>(kSomeInk * 255);
    long long inks[2] = { 0, 0 };
    long long alike[2] = { 0, 0 };
    long long difference = 0;
    Plane lacking(grey.width, grey.height);
    for (std::size_t i = 0; i < grey.values.size(); ++i) {
        inks[0] += source.values[i] >= ink;
        inks[1] += drawing.values[i] >= ink;
        alike[0] += source.values[i] >= ink && nearDrawing.values[i] >= some;
        alike[1] += drawing.values[i] >= ink && nearSource.values[i] >= some;
        lacking.values[i] = source.values[i] >= faint && nearDrawing.values[i] < some;
        difference += std::abs(source.values[i] - drawing.values[i]);
    }
    SelfCheck check;
    for (int side : { 0, 1 }) {
        if (inks[side] > 0)
            check.agreement = std::min(check.agreement, double(alike[side]) / double(inks[side]));
    }
    check.ink = double(inkPixels(drawing)) / double(std::max(1LL, inkPixels(source)));
    long long pixels = 0;
    countRegions(&lacking, least, &check.lost, &pixels);
    check.lostShare = inks[0] > 0 ? double(pixels) / double(inks[0]) : 0.0;
    check.colourError
        = double(difference) / 255.0 / double(std::max<std::size_t>(1, grey.values.size()));
    return check;
}

double distanceOf(QRgb a, QRgb b)
{
    const int red = qRed(a) - qRed(b);
    const int green = qGreen(a) - qGreen(b);
    const int blue = qBlue(a) - qBlue(b);
    return std::sqrt(double(red * red + green * green + blue * blue) / 3.0) / 255.0;
}

// To the nearest colour of the other one within a pixel.
double nearestDistance(QRgb colour, const QImage &other, int x, int y)
{
    double least = 1.0;
    for (int v = std::max(0, y - 1); v <= std::min(other.height() - 1, y + 1); ++v) {
        const QRgb *row = reinterpret_cast<const QRgb *>(other.constScanLine(v));
        for (int u = std::max(0, x - 1); u <= std::min(other.width() - 1, x + 1); ++u)
            least = std::min(least, distanceOf(colour, row[u]));
    }
    return least;
}

SelfCheck compareColours(const QImage &picture, const QImage &drawn, int least)
{
    Plane lacking(picture.width(), picture.height());
    long long unlike = 0;
    double sum = 0.0;
    for (int y = 0; y < picture.height(); ++y) {
        const QRgb *source = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        const QRgb *drawing = reinterpret_cast<const QRgb *>(drawn.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const double distance = distanceOf(source[x], drawing[x]);
            sum += distance;
            if (distance <= kNearColour)
                continue;
            const bool lacks = nearestDistance(source[x], drawn, x, y) > kNearColour;
            lacking.at(x, y) = lacks;
            unlike += lacks || nearestDistance(drawing[x], picture, x, y) > kNearColour;
        }
    }
    const double pixels = double(picture.width()) * double(picture.height());
    SelfCheck check;
    check.agreement = 1.0 - double(unlike) / pixels;
    check.colourError = sum / pixels;
    long long lost = 0;
    countRegions(&lacking, least, &check.lost, &lost);
    check.lostShare = double(lost) / pixels;
    return check;
}

} // namespace

SelfCheck compareDrawing(const QImage &picture, const Drawing &drawing, CheckKind kind, int speck,
                         double degrees)
{
    SelfCheck nothing;
    nothing.agreement = 0.0;
    if (picture.isNull() || drawing.width <= 0 || drawing.height <= 0)
        return nothing;
    const double pixels = double(drawing.width) * double(drawing.height);
    const double scale = std::min(1.0, std::sqrt(kMostPixels / pixels));
    QImage drawn = renderDrawing(drawing, PaintStyle(), scale);
    if (drawn.isNull())
        return nothing;
    const QSize size = drawn.size();
    drawn = overWhite(drawn, size);
    const QImage source = pictureOnGrid(picture, size, degrees);
    if (drawn.isNull() || source.isNull())
        return nothing;
    const int least = std::max(kLeastLost, static_cast<int>(std::ceil(speck * scale * scale)));
    return kind == CheckKind::Ink ? compareInk(source, drawn, least)
                                  : compareColours(source, drawn, least);
}

} // namespace ztrace
