// (c) the ztrace developers. Licence: see LICENSE.
#include "CorpusImages.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

typedef QMap<QString, double> Options;

const int kDrawnSize = 256;

BenchImage scanImage(const QString &name, const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    return BenchImage { name, argb, argb, lineartOptions() };
}

BenchImage colourImage(const QString &name, const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    return BenchImage { name, withInvertedTopBits(argb), argb, colourOptions() };
}

// The package has some of its sizes as links to one larger file.
QImage scaledTo(const QImage &image, const QSize &size)
{
    if (image.isNull() || image.size() == size)
        return image;
    return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
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

QStringList corpusNames()
{
    return QStringList() << QLatin1String("text page") << QLatin1String("score sheet")
                         << QLatin1String("clip art") << QLatin1String("cartoon")
                         << QLatin1String("photo 2M") << QLatin1String("photo 12M");
}

BenchImage corpusImage(const QString &folder, const QString &name)
{
    const QString scans = folder + QLatin1String("/src-leptonlib/prog");
    const QString clipart
        = folder + QLatin1String("/pkg-openclipart-png/usr/share/openclipart/png");
    const QString papers
        = folder + QLatin1String("/pkg-plasma-workspace-wallpapers/usr/share/wallpapers");
    if (name == QLatin1String("text page"))
        return scanImage(name, load(scans + QLatin1String("/feyn.tif")));
    if (name == QLatin1String("score sheet"))
        return scanImage(name, scoreSheet(scans));
    if (name == QLatin1String("clip art"))
        return colourImage(name,
                           load(clipart
                                + QLatin1String("/animals/mammals/big_cats/"
                                                "tiger_graig_ryan_smith_-_01.png")));
    if (name == QLatin1String("cartoon"))
        return colourImage(
            name, load(papers + QLatin1String("/FlyingKonqui/contents/images/2560x1600.png")));
    if (name == QLatin1String("photo 2M"))
        return colourImage(
            name,
            scaledTo(load(papers + QLatin1String("/EveningGlow/contents/images/1920x1080.jpg")),
                     QSize(1920, 1080)));
    if (name == QLatin1String("photo 12M"))
        return colourImage(name,
                           load(papers + QLatin1String("/Patak/contents/images/5120x2880.png"))
                               .copy(560, 0, 4166, 2880));
    std::fprintf(stderr, "benchmarks: no image is called %s\n", qPrintable(name));
    return BenchImage();
}

QStringList drawnNames()
{
    return QStringList() << QLatin1String("drawn lines") << QLatin1String("drawn flat")
                         << QLatin1String("drawn smooth");
}

BenchImage drawnImage(const QString &name)
{
    if (name == QLatin1String("drawn lines"))
        return scanImage(name, drawnPicture(kDrawnSize, false));
    return colourImage(name, drawnPicture(kDrawnSize, name == QLatin1String("drawn smooth")));
}

BenchImage iconImage()
{
    return colourImage(QLatin1String("icon"), drawnPicture(16, false));
}

QStringList hardNames()
{
    return QStringList() << QLatin1String("checkerboard") << QLatin1String("noise")
                         << QLatin1String("noise, all kept") << QLatin1String("spiral")
                         << QLatin1String("staircase");
}

BenchImage hardImage(const QString &name, int size)
{
    if (name == QLatin1String("checkerboard"))
        return scanImage(name, byPixel(size, [](int x, int y) { return ((x ^ y) & 1) == 0; }));
    if (name == QLatin1String("spiral"))
        return scanImage(name, spiral(size));
    if (name == QLatin1String("staircase"))
        return scanImage(name, byPixel(size, [](int x, int y) { return x < y; }));
    BenchImage noise = scanImage(name, byPixel(size, noisePixel));
    if (name == QLatin1String("noise, all kept"))
        noise.options.insert(QLatin1String("pathomit"), 0);
    return noise;
}

QImage middleOf(const QImage &image, qint64 pixels)
{
    if (qint64(image.width()) * image.height() <= pixels)
        return image;
    const int side = int(std::sqrt(double(pixels)));
    const int width = std::min(image.width(), int(pixels / std::min(side, image.height())));
    const int height = std::min(image.height(), int(pixels / width));
    return image.copy((image.width() - width) / 2, (image.height() - height) / 2, width, height);
}

QImage tiled(const QImage &image, int side)
{
    if (side <= 1)
        return image;
    const size_t rowBytes = 4 * size_t(image.width());
    QImage result(image.width() * side, image.height() * side, QImage::Format_ARGB32);
    for (int y = 0; y < result.height(); ++y) {
        const uchar *source = image.constScanLine(y % image.height());
        uchar *target = result.scanLine(y);
        for (int k = 0; k < side; ++k, target += rowBytes)
            std::copy(source, source + rowBytes, target);
    }
    return result;
}
