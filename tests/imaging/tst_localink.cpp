// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink that is rare where it is, but common elsewhere, is a label of its own.
#include "imaging/localink.h"

#include <QtTest>

#include <algorithm>
#include <functional>

using namespace ztrace;

namespace {

LabelPlane drawn(int width, int height, const std::vector<QRgb> &colours,
                 const std::function<int(int, int)> &labelOf)
{
    LabelPlane plane { width, height, {}, colours };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            plane.labels.push_back(uint16_t(labelOf(x, y)));
    }
    return plane;
}

const std::vector<QRgb> kPage = { 0xFFFFFFFFu, 0xFF3080C0u };

// A white page with a blue button, on which a white line one pixel wide falls along a diagonal.
LabelPlane button(int line)
{
    return drawn(60, 60, kPage, [line](int x, int y) {
        const bool inside = x >= 5 && x < 35 && y >= 5 && y < 35;
        return inside && !(x == y && x >= 10 && x < 10 + line) ? 1 : 0;
    });
}

std::size_t pixelsOf(const LabelPlane &plane, std::size_t label)
{
    return std::size_t(std::count(plane.labels.begin(), plane.labels.end(), label));
}

} // namespace

class tst_LocalInk : public QObject
{
    Q_OBJECT

private slots:
    void aLineOnAButtonIsACopyOfThePage()
    {
        LabelPlane plane = button(12);
        partLocalInk(2, &plane);
        QCOMPARE(plane.colours, std::vector<QRgb>({ kPage[0], kPage[1], kPage[0] }));
        QCOMPARE(pixelsOf(plane, 2), std::size_t(12));
        for (int k = 10; k < 22; ++k)
            QCOMPARE(int(plane.labels[std::size_t(60 * k + k)]), 2);
    }

    void othersStayAsTheyAre_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("ink that is rare anyway") << 0;
        QTest::newRow("ink that hangs together with the page") << 1;
        QTest::newRow("a pattern of both") << 2;
        QTest::newRow("one pixel") << 3;
        QTest::newRow("one row") << 4;
        QTest::newRow("a label that must not be copied") << 5;
        QTest::newRow("clear lines in a button") << 6;
    }
    void othersStayAsTheyAre()
    {
        QFETCH(int, kind);
        LabelPlane plane;
        if (kind == 0)
            plane = drawn(40, 40, kPage, [](int x, int y) { return x == y ? 1 : 0; });
        else if (kind == 1)
            plane = button(25);
        else if (kind == 2)
            plane = drawn(41, 41, kPage, [](int x, int y) { return (x + y) % 2; });
        else if (kind >= 5)
            plane = button(12);
        else
            plane = drawn(kind == 3 ? 1 : 9, 1, kPage, [](int x, int) { return x % 2; });
        if (kind == 6)
            plane.colours[0] = 0u;
        const LabelPlane before = plane;
        partLocalInk(kind == 5 ? 0 : 2, &plane);
        QCOMPARE(plane.labels, before.labels);
        QCOMPARE(plane.colours, before.colours);
    }

    // Two lines on one button share a copy, lines on two buttons of one colour as well; a button of
    // another colour has its own.
    void everyGroundHasItsCopy()
    {
        std::vector<QRgb> colours = kPage;
        colours.push_back(0xFF60A030u);
        LabelPlane plane = drawn(200, 100, colours, [](int x, int y) {
            const int u = x % 50;
            const bool inside = x < 150 && u >= 5 && u < 35 && y >= 5 && y < 35;
            const bool line = (u == y && u >= 8 && u < 14) || (u == y && u >= 20 && u < 28);
            return !inside || line ? 0 : x < 100 ? 1 : 2;
        });
        partLocalInk(3, &plane);
        QCOMPARE(plane.colours.size(), std::size_t(5));
        QCOMPARE(pixelsOf(plane, 3), std::size_t(28));
        QCOMPARE(pixelsOf(plane, 4), std::size_t(14));
    }

    // Bars that are joined at one end and the other in turn: from wherever the corners ask, all of
    // it is found.
    void inkIsFoundAroundEveryBend()
    {
        const auto isInk = [](int x, int y) {
            const int bar = y / 8;
            const bool isBar = y % 8 < 3 && x >= 20 && x < 100;
            const bool isJoint = bar % 2 == 0 ? x >= 97 && x < 100 : x >= 20 && x < 23;
            const bool isSlanted = bar == 4 && x - 100 == y - 32 && x >= 100 && x < 110;
            return y >= 8 && y < 56 && (isBar || (isJoint && y < 48) || isSlanted);
        };
        LabelPlane plane = drawn(300, 64, kPage, [&](int x, int y) {
            const bool isButton = x >= 4 && x < 140 && y >= 2 && y < 62;
            return isButton && !isInk(x, y) ? 1 : 0;
        });
        const LabelPlane before = plane;
        partLocalInk(2, &plane);
        QCOMPARE(plane.colours.size(), std::size_t(3));
        for (std::size_t k = 0; k < plane.labels.size(); ++k) {
            const bool ink = isInk(int(k % 300), int(k / 300));
            QCOMPARE(int(plane.labels[k]), ink ? 2 : int(before.labels[k]));
        }
    }

    void copiesAreRarerThanTheirGround()
    {
        // Lines that together have more pixels than the button: nothing that is as large is copied.
        LabelPlane plane = drawn(60, 60, kPage, [](int x, int y) {
            return x >= 20 && x < 26 && y >= 20 && y < 26 && (x != y || x == 20) ? 1 : 0;
        });
        partLocalInk(2, &plane);
        for (std::size_t label = 2; label < plane.colours.size(); ++label)
            QVERIFY(pixelsOf(plane, label) < pixelsOf(plane, 1));
    }

    // 60,000 corners at which it is asked, and as many copies as there may be at most.
    void copiesAreBounded()
    {
        std::vector<QRgb> colours;
        for (QRgb k = 0; k < 1300; ++k)
            colours.push_back(0xFF000000u | k);
        LabelPlane plane = drawn(520, 520, colours, [](int x, int y) {
            const int u = x % 12;
            const int v = y % 12;
            const bool ground = u > 0 && v > 0 && u < 11 && v < 11 && !(u == v && u > 3 && u < 8);
            return ground ? 1 + (y / 12 * 43 + x / 12) % 1299 : 0;
        });
        partLocalInk(1300, &plane);
        QCOMPARE(plane.colours.size(), std::size_t(2300));
    }
};

QTEST_GUILESS_MAIN(tst_LocalInk)
#include "tst_localink.moc"
