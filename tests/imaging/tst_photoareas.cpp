// (c) the ztrace developers. Licence: see LICENSE.
//
// Photographs in drawn pictures: where they are, and their labels beside those of the rest.
#include "imaging/photoareas.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QtTest>

#include <cmath>
#include <random>

using namespace ztrace;

namespace {

// A textured landscape, coloured, without a flat pixel.
QImage photograph(int width, int height)
{
    std::mt19937 dice(4);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double wave = 60.0 * std::sin(x / 7.0) * std::cos(y / 5.0);
            const int noise = int(dice() % 25);
            const auto channel = [&](double mean) { return int(mean + wave) + noise; };
            image.setPixel(x, y, qRgb(channel(120), channel(110 + 0.2 * y), channel(90 + 0.2 * x)));
        }
    }
    return image;
}

QImage dialog()
{
    QImage image(400, 300, QImage::Format_ARGB32);
    image.fill(QColor(236, 236, 232));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(30, 30, 40), 1.3));
    for (int y = 10; y < 290; y += 14) {
        for (int x = 10; x < 130; x += 9) {
            painter.drawEllipse(QRectF(x, y, 5, 7));
            painter.drawLine(QPointF(x + 6, y), QPointF(x + 7, y + 8));
        }
    }
    painter.setPen(Qt::NoPen);
    for (int k = 0; k < 12; ++k) {
        painter.setBrush(QColor::fromHsv(30 * k, 200, 180));
        painter.drawEllipse(QPointF(350, 15 + 24 * k), 11, 11);
    }
    return image;
}

QImage asJpeg(const QImage &image)
{
    QBuffer file;
    file.open(QIODevice::ReadWrite);
    image.convertToFormat(QImage::Format_RGB32).save(&file, "jpg", 75);
    return QImage::fromData(file.data(), "jpg").convertToFormat(QImage::Format_ARGB32);
}

QImage withPhotograph(QImage image, const QRect &place)
{
    const QImage photo = photograph(place.width(), place.height());
    QPainter(&image).drawImage(place.topLeft(), photo);
    return image;
}

} // namespace

class tst_PhotoAreas : public QObject
{
    Q_OBJECT

private slots:
    void photographsAreFound()
    {
        const QRect place(150, 60, 160, 130);
        const std::vector<uint8_t> marks = photographsIn(withPhotograph(dialog(), place));
        QCOMPARE(marks.size(), std::size_t(400 * 300));
        int inside = 0;
        for (int y = 0; y < 300; ++y) {
            for (int x = 0; x < 400; ++x) {
                const bool isMarked = marks[std::size_t(400 * y + x)] != 0;
                inside += isMarked && place.contains(x, y);
                if (isMarked)
                    QVERIFY(place.adjusted(-8, -8, 8, 8).contains(x, y));
            }
        }
        QVERIFY2(inside > 0.95 * place.width() * place.height(),
                 qPrintable(QString::number(inside)));
    }

    // A bright sky in it, which is calm.
    void calmPlacesAreOfIt()
    {
        QImage image = withPhotograph(dialog(), QRect(150, 60, 160, 130));
        QPainter(&image).fillRect(200, 110, 24, 24, QColor(250, 250, 250));
        const std::vector<uint8_t> marks = photographsIn(image);
        QVERIFY(!marks.empty());
        QVERIFY(marks[std::size_t(400 * 122 + 212)] != 0);
    }

    void othersHaveNone_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::newRow("a dialog") << dialog();
        QTest::newRow("a dialog as JPEG") << asJpeg(dialog());
        QTest::newRow("a photographic icon") << withPhotograph(dialog(), QRect(200, 100, 48, 48));
        QImage ramp(300, 200, QImage::Format_ARGB32);
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 300; ++x)
                ramp.setPixel(x, y, qRgb(x / 2, 80, 255 - y / 2));
        }
        QTest::newRow("a ramp") << ramp;
        QImage glass = photograph(200, 200);
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 200; ++x)
                glass.setPixel(x, y, (glass.pixel(x, y) & 0x00FFFFFFu) | 0x80000000u);
        }
        QTest::newRow("what can be seen through") << glass;
        QTest::newRow("one pixel") << photograph(1, 1);
        QTest::newRow("one row") << photograph(4000, 1);
    }
    void othersHaveNone()
    {
        QFETCH(QImage, image);
        QVERIFY(photographsIn(image).empty());
    }

    void onlyMarkedPixelsAreLeft()
    {
        const QImage image = photograph(2, 2);
        const std::vector<uint8_t> marks = { 1, 0, 0, 1 };
        const QImage marked = onlyMarked(image, marks, 1);
        const QImage rest = onlyMarked(image, marks, 0);
        for (int k = 0; k < 4; ++k) {
            const bool isMarked = marks[std::size_t(k)] != 0;
            QCOMPARE(marked.pixel(k % 2, k / 2), isMarked ? image.pixel(k % 2, k / 2) : 0u);
            QCOMPARE(rest.pixel(k % 2, k / 2), isMarked ? 0u : image.pixel(k % 2, k / 2));
        }
    }

    void equalColoursAreOneLabel()
    {
        LabelPlane plane { 3, 1, { 0, 1, 0 }, { 0xFFFFFFFFu, 0u } };
        const LabelPlane photo { 3, 1, { 0, 2, 1 }, { 0u, 0xFFFFFFFFu, 0xFF203040u } };
        putMarked(photo, { 0, 1, 1 }, &plane);
        QCOMPARE(plane.colours, std::vector<QRgb>({ 0xFFFFFFFFu, 0u, 0xFF203040u }));
        QCOMPARE(plane.labels, std::vector<uint16_t>({ 0, 2, 0 }));
    }
};

QTEST_GUILESS_MAIN(tst_PhotoAreas)
#include "tst_photoareas.moc"
