// (c) the ztrace developers. Licence: see LICENSE.
//
// Reduction of an image to black and white, and its loading into the tracer.
#include "ZTraceBitmap.h"

#include "kernels/convert.h"
#include "qtcompat.h"
#include "reduction.h"

#include <QDebug>
#include <QImage>

#include <climits>

namespace {

// The formats whose scan lines are 32-bit words 0xAARRGGBB.
bool hasColourWords(const QImage &image)
{
    return image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32
        || image.format() == QImage::Format_ARGB32_Premultiplied;
}

// imageData holds at most what one container can: INT_MAX bytes less the container's own header.
bool fitsOneContainer(int width, int height)
{
    return 4LL * width * height <= INT_MAX - 64;
}

void storePixel(QRgb word, char *pixel)
{
    pixel[0] = static_cast<char>(ztrace::lowByte(qRed(word)));
    pixel[1] = static_cast<char>(ztrace::lowByte(qGreen(word)));
    pixel[2] = static_cast<char>(ztrace::lowByte(qBlue(word)));
    pixel[3] = static_cast<char>(ztrace::lowByte(qAlpha(word)));
}

// One row as QImage::pixel gives it. The words of the two plain formats are what pixel() returns;
// premultiplied ones are too where they are opaque.
void loadRow(const QImage &image, int y, char *row)
{
    const int width = image.width();
    if (!hasColourWords(image)) {
        for (int x = 0; x < width; ++x)
            storePixel(image.pixel(x, y), row + 4 * x);
        return;
    }
    const QRgb *words = reinterpret_cast<const QRgb *>(image.constScanLine(y));
    switch (image.format()) {
    case QImage::Format_RGB32:
        for (int x = 0; x < width; ++x)
            storePixel(words[x] | 0xFF000000u, row + 4 * x);
        break;
    case QImage::Format_ARGB32:
        for (int x = 0; x < width; ++x)
            storePixel(words[x], row + 4 * x);
        break;
    default:
        for (int x = 0; x < width; ++x)
            storePixel(qAlpha(words[x]) == 255 ? words[x] : image.pixel(x, y), row + 4 * x);
    }
}

void announceLoading()
{
    if (!ztrace::debugOutputIsOn())
        return;
    // Both lines have always printed 0; scripts' logs rely on nothing but their presence.
    qDebug() << "b:" << 0;
    qDebug() << "w:" << 0;
}

} // namespace

void ZTraceBitmap::preprocess(QImage &image)
{
    if (!(option("monochrome") > 0.0))
        return;
    const ztrace::Reduction reduction(integerOption("alphathreshold"),
                                      integerOption("brightnessthreshold"));
    if (!hasColourWords(image) && !image.isNull())
        image = image.convertToFormat(QImage::Format_ARGB32);
    const int width = image.width();
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image.scanLine(y));
        reduction.reduceRow(words, words, width);
    }
}

void ZTraceBitmap::loadImageData(const QImage &image)
{
    const int width = image.width();
    const int height = image.height();
    if (!fitsOneContainer(width, height)) {
        forgetImage();
        return;
    }
    QVector<char> data(4 * width * height);
    for (int y = 0; y < height; ++y)
        loadRow(image, y, data.data() + qptrdiff(4) * width * y);
    announceLoading();
    imageWidth = width;
    imageHeight = height;
    imageData.swap(data);
}

void ZTraceBitmap::loadImageData(const QString &fileName)
{
    loadImageData(QImage(fileName));
}

// preprocess of a copy, then loadImageData of it, without the copy.
void ZTraceBitmap::loadReduced(const QImage &image)
{
    QImage work(image);
    preprocess(work);
    loadImageData(work);
}

void ZTraceBitmap::forgetImage()
{
    imageWidth = 0;
    imageHeight = 0;
    imageData.clear();
    indexedImage = IndexedImage();
}
