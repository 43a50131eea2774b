// (c) the ztrace developers. Licence: see LICENSE.
//
// Pages full of lines, and hubs of thousands of ends.
#include "StrokesRig.h"

#include "strokes/endpairs.h"
#include "strokes/noise.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace::strokes;

namespace {

const int kSize = 240;

InkPicture pictureOf(const std::vector<uint8_t> &grey)
{
    InkPicture picture;
    picture.width = kSize;
    picture.height = kSize;
    picture.grey = grey.data();
    return picture;
}

// Thin lines at 45 degrees all over the page.
std::vector<uint8_t> hatchOf(double pitch, double width = 1.0)
{
    Sheet sheet(kSize, kSize);
    for (double x = -kSize; x < kSize; x += pitch)
        sheet.line({ x - 4, -4 }, { x + kSize + 4, kSize + 4.0 }, width);
    return sheet.grey(Sheet::Tones::Soft);
}

// As a scan has it: blurred, paper of 230 and ink of 40, noise of about that deviation.
void scan(std::vector<uint8_t> *grey, double blur, double deviation)
{
    blurred(grey, kSize, kSize, blur);
    std::mt19937 random(11);
    for (uint8_t &value : *grey) {
        double sum = 0.0; // of twelve evenly spread numbers, which is nearly normal
        for (int k = 0; k < 12; ++k)
            sum += double(random()) / 4294967296.0 - 0.5;
        value = uint8_t(std::clamp(40.0 + value * 190.0 / 255.0 + deviation * sum, 0.0, 255.0));
    }
}

double lengthOf(const StrokeDrawing &drawing)
{
    double length = 0.0;
    for (const Stroke &stroke : drawing.strokes) {
        const Point along = stroke.piece.end - stroke.piece.start;
        length += std::hypot(along.x, along.y);
    }
    return length;
}

std::vector<AtomEnd> endsOf(int count)
{
    std::vector<AtomEnd> ends;
    for (int k = 0; k < count; ++k)
        ends.push_back({ k, 0 });
    return ends;
}

} // namespace

class tst_DenseInk : public QObject
{
    Q_OBJECT

private slots:
    void aPageFullOfHatchIsNoNoise_data();
    void aPageFullOfHatchIsNoNoise();
    void aHatchInNoiseIsNoisy();
    void everyLineOfAPageFullOfHatchIsDrawn();
    void aGridInStrongNoiseIsDrawn_data();
    void aGridInStrongNoiseIsDrawn();
    void aDenseHatchInStrongNoiseIsDrawnOrTold();
    void theCheapestPairComesFirst();
    void pairsOfWhatHasChangedAreLookedAtAgain();
    void farEndsOfAHubAreNoPairs();
};

void tst_DenseInk::aPageFullOfHatchIsNoNoise_data()
{
    QTest::addColumn<double>("pitch");
    QTest::newRow("seven pixels along the row") << 7.0;
    QTest::newRow("no whole number") << 8.3;
    QTest::newRow("wide") << 15.0;
}

void tst_DenseInk::aPageFullOfHatchIsNoNoise()
{
    QFETCH(double, pitch);
    const std::vector<uint8_t> grey = hatchOf(pitch);
    QVERIFY(!isNoisy(pictureOf(grey), false));
}

void tst_DenseInk::aHatchInNoiseIsNoisy()
{
    std::vector<uint8_t> grey = hatchOf(15.0);
    scan(&grey, 0.6, 16.0);
    QVERIFY(isNoisy(pictureOf(grey), false));
}

void tst_DenseInk::everyLineOfAPageFullOfHatchIsDrawn()
{
    const StrokeDrawing drawing = strokesOn(hatchOf(10.0), kSize, kSize);
    const double length = lengthOf(drawing);
    // Of lines ten pixels apart along a row a tenth of every row's pixels, as long as the diagonal.
    const double all = kSize * kSize / 10.0 * std::sqrt(2.0);
    QVERIFY2(std::fabs(length / all - 1.0) < 0.03, qPrintable(QString::number(length / all)));
}

void tst_DenseInk::aGridInStrongNoiseIsDrawn_data()
{
    QTest::addColumn<double>("deviation");
    QTest::newRow("scan") << 6.0;
    QTest::newRow("bad scan") << 16.0;
}

// No part of the page is quiet, and most of what is darker than paper is no noise.
void tst_DenseInk::aGridInStrongNoiseIsDrawn()
{
    QFETCH(double, deviation);
    Sheet sheet(kSize, kSize);
    double all = 0.0;
    for (double at = 10.5; at < kSize; at += 20.0) {
        sheet.bar({ 5, at }, { 235, at }, 2).bar({ at, 5 }, { at, 235 }, 2);
        all += 460.0;
    }
    std::vector<uint8_t> grey = sheet.grey(Sheet::Tones::Soft);
    scan(&grey, 1.0, deviation);
    const double length = lengthOf(strokesOn(grey, kSize, kSize));
    QVERIFY2(std::fabs(length / all - 1.0) < 0.03, qPrintable(QString::number(length / all)));
}

// So dense that blur leaves hardly any paper between the lines: what is not drawn is said.
void tst_DenseInk::aDenseHatchInStrongNoiseIsDrawnOrTold()
{
    std::vector<uint8_t> grey = hatchOf(8.0, 1.4);
    scan(&grey, 1.0, 16.0);
    InkPicture picture = pictureOf(grey);
    picture.threshold = 160;
    StrokeDrawing drawing;
    QVERIFY(strokesOf(picture, StrokeOptions(), &drawing));
    QVERIFY2(
        lengthOf(drawing) > 4000.0 || drawing.leftOut.pale.count > 10,
        qPrintable(
            QString("%1 drawn, %2 told").arg(lengthOf(drawing)).arg(drawing.leftOut.pale.count)));
}

void tst_DenseInk::theCheapestPairComesFirst()
{
    EndPairs pairs(
        endsOf(4), [](AtomEnd) { return Point(); },
        [](AtomEnd a, AtomEnd b) -> std::optional<double> {
            if (a.atom == 0 && b.atom == 1)
                return std::nullopt;
            return a.atom == 2 && b.atom == 3 ? 1.0 : 2.0;
        });
    const auto first = pairs.take();
    QVERIFY(first.has_value());
    QCOMPARE(first->first.atom, 2);
    QCOMPARE(first->second.atom, 3);
    const auto second = pairs.take();
    QVERIFY(second.has_value());
    QCOMPARE(second->first.atom, 0);
    QCOMPARE(second->second.atom, 2);
}

// The second atom's other end is at the joint, too: it is the first one's now.
void tst_DenseInk::pairsOfWhatHasChangedAreLookedAtAgain()
{
    std::vector<AtomEnd> ends = endsOf(3);
    ends.push_back({ 1, 1 });
    bool joined = false;
    EndPairs pairs(
        ends, [](AtomEnd) { return Point(); },
        [&joined](AtomEnd a, AtomEnd b) -> std::optional<double> {
            if (a.atom == b.atom)
                return std::nullopt;
            return joined ? 5.0 : 1.0 + a.atom;
        });
    const auto first = pairs.take();
    QVERIFY(first.has_value());
    QCOMPARE(first->first.atom, 0);
    QCOMPARE(first->second.atom, 1);
    joined = true;
    pairs.follow(first->first, first->second, [](AtomEnd end) { return end.end == 1; });
    const auto second = pairs.take();
    QVERIFY(second.has_value());
    QCOMPARE(second->first.atom, 2);
    QCOMPARE(second->second.atom, 0);
    QCOMPARE(second->second.end, 1);
    pairs.follow(second->second, second->first, [](AtomEnd) { return false; });
    QVERIFY(!pairs.take().has_value());
}

void tst_DenseInk::farEndsOfAHubAreNoPairs()
{
    const auto place = [](AtomEnd end) { return Point { 20.0 * end.atom, 0.0 }; };
    for (int count : { 100, 300 }) {
        std::size_t asked = 0;
        EndPairs pairs(endsOf(count), place, [&asked](AtomEnd, AtomEnd) {
            ++asked;
            return std::optional<double>();
        });
        const std::size_t all = std::size_t(count) * std::size_t(count - 1) / 2;
        QCOMPARE(asked, std::size_t(count) > kHubEnds ? std::size_t(count - 1) : all);
    }
}

QTEST_APPLESS_MAIN(tst_DenseInk)
#include "tst_denseink.moc"
