// (c) the ztrace developers. Licence: see LICENSE.
#include "CorpusImages.h"

#include <QFile>
#include <QPainter>

#include <cmath>
#include <cstdio>

namespace {

typedef QMap<QString, double> Options;

BenchImage scanImage(const char *name, const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    return BenchImage { QLatin1String(name), argb, argb, lineartOptions() };
}

BenchImage colourImage(const char *name, const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    return BenchImage { QLatin1String(name), withInvertedTopBits(argb), argb, colourOptions() };
}

QImage load(const QString &path)
{
    const QImage image(path);
    if (image.isNull())
        std::fprintf(stderr, "benchmarks: no image %s\n", qPrintable(path));
    return image;
}

// Four pages side by side as one sheet.
QImage scoreSheet(const QString &folder)
{
    QImage sheet;
    for (int page = 2; page <= 5; ++page) {
        const QImage image = load(folder + QString::fromLatin1("/bois-%1.tif").arg(page));
        if (image.isNull())
            return QImage();
        if (sheet.isNull())
            sheet = QImage(image.width() * 2, image.height() * 2, QImage::Format_ARGB32);
        QPainter painter(&sheet);
        painter.drawImage((page % 2) * image.width(), ((page - 2) / 2) * image.height(), image);
    }
    return sheet;
}

QImage spiral(int size)
{
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(0xFFFFFFFF);
    // One arm, two pixels wide with a gap of two, from the border inwards.
    int left = 0;
    int top = 0;
    int right = size - 1;
    int bottom = size - 1;
    QPainter painter(&image);
    while (right - left > 6 && bottom - top > 6) {
        painter.fillRect(QRect(QPoint(left, top), QPoint(right, top + 1)), Qt::black);
        painter.fillRect(QRect(QPoint(right - 1, top), QPoint(right, bottom)), Qt::black);
        painter.fillRect(QRect(QPoint(left + 4, bottom - 1), QPoint(right, bottom)), Qt::black);
        painter.fillRect(QRect(QPoint(left + 4, top + 4), QPoint(left + 5, bottom)), Qt::black);
        left += 4;
        top += 4;
        right -= 4;
        bottom -= 4;
    }
    return image;
}

QImage byPixel(int size, bool (*black)(int x, int y))
{
    QImage image(size, size, QImage::Format_ARGB32);
    for (int y = 0; y < size; ++y) {
        QRgb *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size; ++x)
            row[x] = black(x, y) ? 0xFF000000u : 0xFFFFFFFFu;
    }
    return image;
}

// One-pixel regions by a fixed hash, so that every run sees the same noise.
bool noisePixel(int x, int y)
{
    quint32 h = quint32(x) * 0x9E3779B1u ^ quint32(y) * 0x85EBCA77u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 13;
    return (h & 3) == 0;
}

QImage drawnPicture(int size, bool smooth)
{
    QImage image(size, size, QImage::Format_ARGB32);
    if (smooth) {
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const double wave = 60.0 * std::sin(x * 0.05) * std::cos(y * 0.07);
                image.setPixel(x, y,
                               qRgb(int(x * 255.0 / size), int(128 + wave), int(y * 255.0 / size)));
            }
        }
        return image;
    }
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 12; ++i) {
        painter.setBrush(QColor::fromHsv(i * 30, 200, 220));
        painter.drawEllipse(
            QRectF(size * 0.07 * i, size * 0.05 * ((i * 5) % 12), size * 0.3, size * 0.2));
    }
    return image;
}

} // namespace

Options lineartOptions()
{
    Options options;
    options.insert(QLatin1String("monochrome"), 1);
    options.insert(QLatin1String("alphathreshold"), 255);
    options.insert(QLatin1String("brightnessthreshold"), 127);
    options.insert(QLatin1String("colorsampling"), 0);
    options.insert(QLatin1String("numberofcolors"), 2);
    options.insert(QLatin1String("colorquantcycles"), 1);
    options.insert(QLatin1String("blurradius"), 0);
    return options;
}

Options colourOptions(int colours)
{
    Options options;
    options.insert(QLatin1String("monochrome"), 0);
    options.insert(QLatin1String("numberofcolors"), colours);
    return options;
}

QImage withInvertedTopBits(const QImage &image)
{
    QImage result = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < result.height(); ++y) {
        QRgb *row = reinterpret_cast<QRgb *>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            row[x] ^= 0x80808080u;
    }
    return result;
}

QList<BenchImage> corpusImages(const QString &folder)
{
    const QString scans = folder + QLatin1String("/src-leptonlib/prog");
    const QString clipart
        = folder + QLatin1String("/pkg-openclipart-png/usr/share/openclipart/png");
    const QString papers
        = folder + QLatin1String("/pkg-plasma-workspace-wallpapers/usr/share/wallpapers");
    QList<BenchImage> images;
    images
        << scanImage("text page", load(scans + QLatin1String("/feyn.tif")))
        << scanImage("score sheet", scoreSheet(scans))
        << colourImage("clip art",
                       load(clipart
                            + QLatin1String("/animals/mammals/big_cats/"
                                            "tiger_graig_ryan_smith_-_01.png")))
        << colourImage("cartoon",
                       load(papers + QLatin1String("/FlyingKonqui/contents/images/2560x1600.png")))
        << colourImage("photo 2M",
                       load(papers + QLatin1String("/EveningGlow/contents/images/1920x1080.jpg")))
        << colourImage("photo 12M",
                       load(papers + QLatin1String("/Patak/contents/images/5120x2880.png"))
                           .copy(560, 0, 4166, 2880));
    for (int i = images.size() - 1; i >= 0; --i) {
        if (images.at(i).image.isNull())
            images.removeAt(i);
    }
    return images;
}

QList<BenchImage> drawnImages()
{
    return QList<BenchImage>() << scanImage("drawn lines", drawnPicture(256, false))
                               << colourImage("drawn flat", drawnPicture(256, false))
                               << colourImage("drawn smooth", drawnPicture(256, true));
}

QList<BenchImage> pathologicalImages(int size)
{
    return QList<BenchImage>()
        << scanImage("checkerboard", byPixel(size, [](int x, int y) { return ((x ^ y) & 1) == 0; }))
        << scanImage("noise", byPixel(size, noisePixel)) << scanImage("spiral", spiral(size))
        << scanImage("staircase", byPixel(size, [](int x, int y) { return x < y; }));
}

QImage tiled(const QImage &image, qint64 pixels)
{
    const double factor = double(pixels) / (double(image.width()) * image.height());
    const int side = int(std::ceil(std::sqrt(factor)));
    if (side <= 1)
        return image;
    QImage result(image.width() * side, image.height() * side, QImage::Format_ARGB32);
    for (int y = 0; y < result.height(); ++y) {
        const uchar *source = image.constScanLine(y % image.height());
        for (int k = 0; k < side; ++k)
            std::copy(source, source + 4 * image.width(),
                      result.scanLine(y) + 4 * image.width() * k);
    }
    return result;
}
