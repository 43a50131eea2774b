// (c) the ztrace developers. Licence: see LICENSE.
//
// Even areas that lines lie on: docs/strokes/grounds.md.
#include "StrokesRig.h"

#include "strokes/grounds.h"

#include <QtTest>

#include <algorithm>

using namespace ztrace::strokes;

namespace {

const int kWidth = 200;
const int kHeight = 160;
const uint32_t kWhite = 0xffffffffu;
const uint32_t kBlue = 0xffc8dcf5u;
const uint32_t kPink = 0xfff5c8c8u;
const uint32_t kRed = 0xffdc1e1eu;
const uint32_t kBlack = 0xff000000u;

class Page
{
public:
    explicit Page(uint32_t paper = kWhite)
        : pixels(std::size_t(kWidth) * std::size_t(kHeight), paper)
    { }

    Page &fill(int left, int top, int right, int bottom, uint32_t colour)
    {
        for (int y = top; y < bottom; ++y)
            std::fill(&at(left, y), &at(left, y) + (right - left), colour);
        return *this;
    }

    // `part` of 255 of a colour over what is there.
    Page &cover(int left, int top, int right, int bottom, uint32_t colour, int part)
    {
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                uint32_t mixed = 0xff000000u;
                for (int shift : { 0, 8, 16 }) {
                    const int below = int(at(x, y) >> shift & 255u);
                    const int above = int(colour >> shift & 255u);
                    mixed |= uint32_t(((255 - part) * below + part * above + 127) / 255) << shift;
                }
                at(x, y) = mixed;
            }
        }
        return *this;
    }

    uint32_t &at(int x, int y) { return pixels[std::size_t(y) * kWidth + std::size_t(x)]; }
    ColourPicture picture() const { return { kWidth, kHeight, pixels.data(), kWidth }; }

    std::vector<uint32_t> pixels;
};

std::size_t placeOf(int x, int y)
{
    return std::size_t(y) * kWidth + std::size_t(x);
}

// Two areas side by side on paper, a black line of two pixels around each.
Page twoParcels()
{
    return Page()
        .fill(20, 20, 162, 102, kBlack)
        .fill(22, 22, 90, 100, kBlue)
        .fill(92, 22, 160, 100, kPink);
}

} // namespace

class tst_Grounds : public QObject
{
    Q_OBJECT

private slots:
    void areasMeetBeneathTheirOutlines()
    {
        const Page page = twoParcels();
        Grounds grounds;
        QVERIFY(groundsOf(page.picture(), &grounds));
        QCOMPARE(grounds.areas, std::size_t(2));
        QCOMPARE(grounds.colours, (std::vector<uint32_t> { kWhite, kBlue, kPink }));
        QCOMPARE(int(grounds.owners[placeOf(5, 5)]), 0);
        QCOMPARE(int(grounds.owners[placeOf(90, 60)]), 1);
        QCOMPARE(int(grounds.owners[placeOf(91, 60)]), 2);
        QVERIFY(mayHaveGrounds(page.picture()));
    }

    void onlyInkIsLeftOnPaper()
    {
        const Page page = twoParcels();
        Grounds grounds;
        QVERIFY(groundsOf(page.picture(), &grounds));
        const Page ink = Page()
                             .fill(20, 20, 162, 102, kBlack)
                             .fill(22, 22, 90, 100, kWhite)
                             .fill(92, 22, 160, 100, kWhite);
        QCOMPARE(grounds.pixels, ink.pixels);
    }

    void softEdgesOfLinesAreThoseOnPaper()
    {
        Page page;
        page.fill(20, 20, 140, 140, kBlue).fill(40, 79, 130, 82, kRed);
        page.cover(40, 78, 130, 79, kRed, 102).cover(40, 82, 130, 83, kRed, 51);
        Page wanted;
        wanted.cover(40, 78, 130, 79, kRed, 102).cover(40, 82, 130, 83, kRed, 51);
        Grounds grounds;
        QVERIFY(groundsOf(page.picture(), &grounds));
        for (int y : { 78, 82 }) {
            for (int shift : { 0, 8, 16 }) {
                const int is = int(grounds.pixels[placeOf(100, y)] >> shift & 255u);
                QVERIFY(std::abs(is - int(wanted.at(100, y) >> shift & 255u)) <= 2);
            }
        }
        QCOMPARE(grounds.pixels[placeOf(100, 80)], kRed);
    }

    void softEdgesOfAreasAreNoInk()
    {
        Page page;
        page.fill(20, 20, 100, 140, kBlue).cover(100, 20, 101, 140, kBlue, 64);
        Grounds grounds;
        QVERIFY(groundsOf(page.picture(), &grounds));
        QVERIFY(std::all_of(grounds.pixels.begin(), grounds.pixels.end(),
                            [](uint32_t pixel) { return pixel == kWhite; }));
        const std::vector<uint8_t> grey = greyOf(grounds, page.picture(), 1);
        QCOMPARE(int(grey[placeOf(99, 80)]), 0);
        QVERIFY(std::abs(int(grey[placeOf(100, 80)]) - 191) <= 5);
        QCOMPARE(int(grey[placeOf(102, 80)]), 255);
    }

    void routesAndWallsAreNoAreas()
    {
        Page page;
        page.fill(10, 30, 190, 40, kRed)
            .fill(60, 10, 74, 150, kBlue)
            .fill(120, 60, 180, 140, kBlack);
        Grounds grounds;
        QVERIFY(!groundsOf(page.picture(), &grounds));
        QVERIFY(grounds.owners.empty());
        QVERIFY(!mayHaveGrounds(Page().fill(120, 60, 180, 140, kBlack).picture()));
        QVERIFY(!mayHaveGrounds(Page().fill(20, 60, 180, 61, kBlue).picture()));
    }

    void headsOfLinesAreNoAreas()
    {
        Page page;
        page.fill(10, 78, 160, 82, kRed);
        for (int x = 160; x < 190; ++x)
            page.fill(x, 80 - (190 - x) / 2, x + 1, 80 + (190 - x) / 2, kRed);
        Grounds grounds;
        QVERIFY(!groundsOf(page.picture(), &grounds));
    }

    void shadesAreNoAreas()
    {
        Page page;
        for (int x = 20; x < 180; ++x)
            page.fill(x, 20, x + 1, 140, 0xff0000ffu | uint32_t(60 + x) << 16 | 0x8000u);
        Grounds grounds;
        QVERIFY(!groundsOf(page.picture(), &grounds));
    }

    void aDarkPageIsAnArea()
    {
        Page page(0xff334c80u);
        page.fill(40, 79, 160, 82, kBlack);
        Grounds grounds;
        QVERIFY(groundsOf(page.picture(), &grounds));
        QCOMPARE(grounds.colours.front(), kWhite);
        QCOMPARE(grounds.pixels, Page().fill(40, 79, 160, 82, kBlack).pixels);
    }
};

QTEST_APPLESS_MAIN(tst_Grounds)
#include "tst_grounds.moc"
