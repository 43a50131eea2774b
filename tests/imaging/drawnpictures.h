// (c) the ztrace developers. Licence: see LICENSE.
//
// What drawn pictures of the tests are made with: dice of a fixed seed, lettering, noise, JPEG.
#ifndef ZTRACE_TESTS_IMAGING_DRAWNPICTURES_H
#define ZTRACE_TESTS_IMAGING_DRAWNPICTURES_H

#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <functional>
#include <random>

namespace ztrace {

class Dice
{
public:
    explicit Dice(unsigned seed) : engine(seed) { }
    int below(int limit) { return int(engine() % unsigned(limit)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    QColor colour() { return QColor::fromHsv(below(360), between(90, 255), between(60, 255)); }

private:
    std::mt19937 engine;
};

// Strokes that look like a line of lettering.
inline void letter(QPainter *painter, Dice *dice, QPointF at, double height)
{
    const double w = 0.6 * height;
    switch (dice->below(4)) {
    case 0:
        painter->drawLine(at, at + QPointF(0, height));
        painter->drawLine(at + QPointF(0, height / 2), at + QPointF(w, height / 2));
        break;
    case 1:
        painter->drawEllipse(QRectF(at, QSizeF(w, height)));
        break;
    case 2:
        painter->drawLine(at, at + QPointF(w, height));
        painter->drawLine(at + QPointF(w, 0), at + QPointF(0, height));
        break;
    default:
        painter->drawLine(at, at + QPointF(w, 0));
        painter->drawLine(at + QPointF(w / 2, 0), at + QPointF(w / 2, height));
    }
}

inline void lettering(QPainter *painter, Dice *dice, QPointF at, double height, int letters)
{
    for (int k = 0; k < letters; ++k)
        letter(painter, dice, at + QPointF(k * 0.85 * height, 0), height);
}

inline QImage drawn(int width, int height, QColor ground,
                    const std::function<void(QPainter *)> &draw)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(ground);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(&painter);
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

inline QImage withNoise(QImage image, Dice *dice, int amount)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int by = dice->between(-amount, amount);
            const auto moved = [by](int v) { return std::max(0, std::min(255, v + by)); };
            const QRgb w = image.pixel(x, y);
            image.setPixel(x, y, qRgb(moved(qRed(w)), moved(qGreen(w)), moved(qBlue(w))));
        }
    }
    return image;
}

inline QImage asJpeg(const QImage &image, int quality)
{
    QBuffer file;
    file.open(QIODevice::ReadWrite);
    image.convertToFormat(QImage::Format_RGB32).save(&file, "jpg", quality);
    return QImage::fromData(file.data(), "jpg");
}

} // namespace ztrace

#endif
