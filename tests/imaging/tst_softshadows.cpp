// (c) the ztrace developers. Licence: see LICENSE.
//
// Soft shadows and glows on nothing: which pixels are theirs, and what lies between them and what
// casts them.
#include "imaging/softshadows.h"

#include <QImage>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>

using namespace ztrace;

namespace {

QImage drawn(int width, int height, const std::function<QRgb(int, int)> &wordOf)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, wordOf(x, y));
    }
    return image;
}

// How far a pixel is from the box 30..89 x 30..69.
double awayFrom(int x, int y)
{
    const double dx = std::max({ 30.0 - x, x - 89.0, 0.0 });
    const double dy = std::max({ 30.0 - y, y - 69.0, 0.0 });
    return std::hypot(dx, dy);
}

// A solid box with a shadow that falls by 10 a pixel from 120 on.
QImage window()
{
    return drawn(120, 100, [](int x, int y) {
        const double away = awayFrom(x, y);
        return away == 0.0 ? qRgb(230, 230, 235)
                           : qRgba(0, 0, 0, std::max(0, int(130 - 10 * away)));
    });
}

// A solid disc whose rim is soft over so many pixels.
QImage disc(double rim)
{
    return drawn(80, 80, [rim](int x, int y) {
        const double inside = (30.0 - std::hypot(x - 40.0, y - 40.0)) / rim + 0.5;
        return qRgba(200, 30, 30, int(255 * std::clamp(inside, 0.0, 1.0)));
    });
}

QImage glass(int left, int right)
{
    return drawn(80, 80, [=](int x, int y) {
        return x < left || x > right || y < 20 || y > 60 ? 0u : qRgba(30, 30, 200, 128);
    });
}

// A net of thin blue lines on glass, nowhere opaque: beside its knots hardly a pixel has all around
// it that fall.
QImage net()
{
    return drawn(140, 100, [](int x, int y) {
        double covered = 0;
        for (const double slant : { 0.21, -0.34 }) {
            const double across = std::remainder(y + slant * x, 11.0);
            covered = std::max(covered, 0.8 * std::clamp(1.4 - std::abs(across), 0.0, 1.0));
        }
        return qRgba(40, 60, 255, 89 + int(166 * covered));
    });
}

} // namespace

class tst_SoftShadows : public QObject
{
    Q_OBJECT

private slots:
    void shadowsAreMarkedAndWhatCastsThemIsNot()
    {
        const QImage image = window();
        const std::vector<uint8_t> marks = softShadowsIn(image);
        QCOMPARE(marks.size(), std::size_t(120 * 100));
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 120; ++x) {
                const int alpha = qAlpha(image.pixel(x, y));
                QCOMPARE(int(marks[std::size_t(120 * y + x)]), alpha != 0 && alpha != 255 ? 1 : 0);
            }
        }
    }

    void glowsAreMarkedWithTheirSteepEnds()
    {
        // Falls by 60 a pixel at its end, with nothing solid near.
        const QImage image = drawn(100, 100, [](int x, int y) {
            const double away = std::hypot(x - 50.0, y - 50.0);
            const double alpha = away < 20.0 ? 200.0 - 3.0 * away : 140.0 - 60.0 * (away - 20.0);
            return qRgba(90, 140, 255, std::max(0, int(alpha)));
        });
        const std::vector<uint8_t> marks = softShadowsIn(image);
        QVERIFY(!marks.empty());
        for (int x = 50; x < 100; ++x)
            QCOMPARE(marks[std::size_t(100 * 50 + x)] != 0, qAlpha(image.pixel(x, 50)) != 0);
    }

    void othersHaveNone_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::newRow("opaque") << QImage(window().convertToFormat(QImage::Format_RGB32))
                                       .convertToFormat(QImage::Format_ARGB32);
        QTest::newRow("soft edge of a pixel") << disc(1.0);
        QTest::newRow("soft edge of two pixels") << disc(2.0);
        QTest::newRow("glass of one colour") << glass(20, 60);
        QTest::newRow("a thin line of glass") << glass(20, 23);
        QTest::newRow("glass beside a slanted line") << drawn(120, 60, [](int x, int y) {
            const double away = std::abs(y - 10.0 - 0.15 * x) - 2.0;
            const double line = std::clamp(0.5 - away, 0.0, 1.0);
            return y < 6 || y > 32 ? 0u
                                   : qRgba(30, 30, int(200 * (1 - line)), 128 + int(127 * line));
        });
        QTest::newRow("a net on glass") << net();
        QTest::newRow("a speck of a glow") << window().copy(20, 20, 7, 9);
        QTest::newRow("one pixel") << drawn(1, 1, [](int, int) { return qRgba(0, 0, 0, 100); });
        QTest::newRow("one row") << window().copy(0, 50, 30, 1);
    }
    void othersHaveNone()
    {
        QFETCH(QImage, image);
        QVERIFY(softShadowsIn(image).empty());
    }

    void softEdgesStayEdgesBesideShadows()
    {
        QImage image = window();
        for (int y = 30; y < 70; ++y)
            image.setPixel(89, y, qRgba(230, 230, 235, 190)); // between 120 and 255
        const std::vector<uint8_t> marks = softShadowsIn(image);
        QVERIFY(!marks.empty());
        QCOMPARE(int(marks[std::size_t(120 * 50 + 89)]), 0);
        QCOMPARE(int(marks[std::size_t(120 * 50 + 91)]), 1);
    }

    void gapsGetTheNearestShadow()
    {
        const QImage image = drawn(4, 1, [](int x, int) {
            const int alphas[] = { 255, 110, 100, 40 };
            return qRgba(0, 0, 0, alphas[x]);
        });
        LabelPlane plane { 4, 1, { 0, 1, 2, 3 }, { 0xFF000000u, 0u, 0x64000000u, 0x28000000u } };
        closeGaps(image, { 0, 0, 1, 1 }, &plane);
        QCOMPARE(plane.labels, std::vector<uint16_t>({ 0, 2, 2, 3 }));
    }

    void whatIsNearerToClearStaysClear()
    {
        const QImage image
            = drawn(3, 1, [](int x, int) { return qRgba(0, 0, 0, x == 1 ? 20 : 100); });
        LabelPlane plane { 3, 1, { 1, 0, 1 }, { 0u, 0x64000000u } };
        closeGaps(image, { 1, 0, 1 }, &plane);
        QCOMPARE(plane.labels, std::vector<uint16_t>({ 1, 0, 1 }));
    }
};

QTEST_GUILESS_MAIN(tst_SoftShadows)
#include "tst_softshadows.moc"
