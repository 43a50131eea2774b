// (c) the ztrace developers. Licence: see LICENSE.
//
// Loading of an image into the tracer, with and without the reduction to black and white.
#include "ZTraceBitmap.h"

#include "kernels/convert.h"
#include "kernels/memory.h"
#include "qtcompat.h"
#include "reduction.h"

#include <QDebug>
#include <QImage>

#include <climits>
#include <cstring>
#include <new>

namespace {

// 4 MB as a grid of indices.
const int kMostCellsWithoutPixels = 1 << 20;

// A word 0xAARRGGBB as the four bytes R, G, B, A.
inline void storePixel(QRgb word, char *pixel)
{
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    const QRgb swapped = (word & 0xFF00FF00u) | ((word >> 16) & 0xFFu) | ((word & 0xFFu) << 16);
#else
    const QRgb swapped = (word << 8) | (word >> 24);
#endif
    std::memcpy(pixel, &swapped, sizeof swapped);
}

void storeWords(const QRgb *words, QRgb alwaysSet, int width, char *row)
{
    for (int x = 0; x < width; ++x)
        storePixel(words[x] | alwaysSet, row + size_t(4) * size_t(x));
}

const QRgb *wordsOf(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

// One row as QImage::pixel gives it. The words of the two plain formats are what pixel() returns,
// but for the alpha of Format_RGB32; premultiplied ones are too where they are opaque.
void loadRow(const QImage &image, int y, char *row)
{
    const int width = image.width();
    switch (image.format()) {
    case QImage::Format_RGB32: {
        static const QRgb alwaysSet = ztrace::alwaysSetInRgb32();
        storeWords(wordsOf(image, y), alwaysSet, width, row);
        break;
    }
    case QImage::Format_ARGB32:
        storeWords(wordsOf(image, y), 0, width, row);
        break;
    case QImage::Format_ARGB32_Premultiplied: {
        const QRgb *words = wordsOf(image, y);
        for (int x = 0; x < width; ++x)
            storePixel(qAlpha(words[x]) == 255 ? words[x] : image.pixel(x, y),
                       row + size_t(4) * size_t(x));
        break;
    }
    case QImage::Format_Indexed8: {
        // pixel() answers 0 beyond the colour table, in the newer release; the older one trusts it.
        const QVector<QRgb> colours = image.colorTable();
        const uchar *indices = image.constScanLine(y);
        for (int x = 0; x < width; ++x)
            storePixel(colours.value(indices[x]), row + size_t(4) * size_t(x));
        break;
    }
    default:
        for (int x = 0; x < width; ++x)
            storePixel(image.pixel(x, y), row + size_t(4) * size_t(x));
    }
}

// imageData while it is filled row by row. The container clears what it grows by, so it grows by
// one row at a time, which is still in the cache when the row is written.
class GrowingImage
{
public:
    GrowingImage(int imageWidth, int imageHeight) : rowBytes(4 * imageWidth)
    {
        const int bytes = rowBytes * imageHeight;
        data.reserve(bytes);
        ztrace::preferHugePages(data.data(), size_t(bytes));
    }

    // The next row, 4 * width bytes.
    char *appendRow()
    {
        const int size = data.size();
        data.resize(size + rowBytes);
        return data.data() + size;
    }

    QVector<char> data;

private:
    int rowBytes;
};

void announceLoading()
{
    if (!ztrace::debugOutputIsOn())
        return;
    // Both lines have always printed 0; scripts' logs rely on nothing but their presence.
    qDebug() << "b:" << 0;
    qDebug() << "w:" << 0;
}

} // namespace

// imageData holds at most what one container can: INT_MAX bytes less the container's own header.
bool ZTraceBitmap::canHold(int width, int height)
{
    return width >= 0 && height >= 0 && qint64(width) * height <= (INT_MAX - 64) / 4;
}

void ZTraceBitmap::loadImageData(const QImage &image)
{
    if (!canHold(image.width(), image.height())) {
        announceLoading();
        forgetImage();
        return;
    }
    GrowingImage target(image.width(), image.height());
    for (int y = 0; y < image.height(); ++y)
        loadRow(image, y, target.appendRow());
    takeImageData(image.width(), image.height(), &target.data);
}

void ZTraceBitmap::loadImageData(const QString &fileName)
{
    loadImageData(QImage(fileName));
}

// What preprocess of a copy and then loadImageData of it give, in one pass and without the copy.
void ZTraceBitmap::loadReduced(const QImage &image)
{
    if (!(option("monochrome") > 0.0)) {
        loadImageData(image);
        return;
    }
    const int alphaLimit = integerOption("alphathreshold");
    ztrace::Reduction reduction(alphaLimit, integerOption("brightnessthreshold"));
    const QImage source = ztrace::hasColourWords(image) || image.isNull()
        ? image
        : image.convertToFormat(QImage::Format_ARGB32);
    if (source.size() != image.size())
        throw std::bad_alloc(); // the conversion found no memory; trace() answers for it
    const int width = source.width();
    GrowingImage target(width, source.height());
    QVector<QRgb> reduced(width);
    for (int y = 0; y < source.height(); ++y) {
        reduction.reduceRow(wordsOf(source, y), reduced.data(), width);
        storeWords(reduced.constData(), 0, width, target.appendRow());
    }
    takeImageData(width, source.height(), &target.data);
}

// Replaces the three image members together.
void ZTraceBitmap::takeImageData(int width, int height, QVector<char> *data)
{
    announceLoading();
    imageWidth = width;
    imageHeight = height;
    imageData.swap(*data);
}

// False for an empty image, and where a caller left the members at odds with each other.
bool ZTraceBitmap::hasPixels() const
{
    return imageWidth > 0 && imageHeight > 0
        && qint64(imageWidth) * imageHeight <= imageData.size() / 4;
}

// False where the sizes claim much and no pixels stand behind them. What a loader leaves is sound,
// and so is a small grid without pixels.
bool ZTraceBitmap::sizesAreSound() const
{
    return canHold(imageWidth, imageHeight)
        && (hasPixels()
            || (qint64(imageWidth) + 2) * (qint64(imageHeight) + 2) <= kMostCellsWithoutPixels);
}

void ZTraceBitmap::forgetImage()
{
    imageWidth = 0;
    imageHeight = 0;
    imageData.clear();
    indexedImage = IndexedImage();
}
