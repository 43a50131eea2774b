// (c) the ztrace developers. Licence: see LICENSE.
//
// Which small areas are worth their borders, and that these stay.
#include "tracing/smallmarks.h"

#include <QTest>

#include <cstdlib>
#include <set>

using namespace ztrace;

namespace {

const QRgb kPaper = 0xFFFFFFFFu;
const QRgb kBlack = 0xFF000000u;

QImage page(QRgb mark)
{
    QImage image(9, 5, QImage::Format_ARGB32);
    image.fill(kPaper);
    image.setPixel(4, 2, mark);
    return image;
}

SmallArea pixelAmid(const std::vector<uint16_t> &around)
{
    return { { 2 * 9 + 4 }, 4, around };
}

} // namespace

class tst_SmallMarks : public QObject
{
    Q_OBJECT

private slots:
    // A pixel pays for 4 edges and the 16 of an area at 400 each: a distance of 90 of 765.
    void whatStandsOutDoes_data()
    {
        QTest::addColumn<QRgb>("mark");
        QTest::addColumn<bool>("isMark");
        QTest::newRow("black") << kBlack << true;
        QTest::newRow("a third of black") << qRgb(170, 170, 170) << true;
        QTest::newRow("40 steps of grey") << qRgb(215, 215, 215) << true;
        QTest::newRow("15 steps of grey") << qRgb(240, 240, 240) << false;
        QTest::newRow("red") << qRgb(255, 0, 0) << true;
        QTest::newRow("translucent") << qRgba(0, 0, 0, 128) << false;
    }
    void whatStandsOutDoes()
    {
        QFETCH(QRgb, mark);
        QFETCH(bool, isMark);
        QCOMPARE(standsOut(pixelAmid({ 0 }), page(mark), { kPaper, kBlack }), isMark);
    }

    // As soft edges are.
    void mixturesOfTheNeighboursDoNot()
    {
        const std::vector<QRgb> colours = { kPaper, kBlack, qRgb(255, 0, 0) };
        const QImage grey = page(qRgb(128, 128, 128));
        QVERIFY(!standsOut(pixelAmid({ 0, 1 }), grey, colours));
        QVERIFY(standsOut(pixelAmid({ 0, 2 }), grey, colours));
        QVERIFY(!standsOut(pixelAmid({}), grey, colours));
    }

    // Black amid nothing, whose word may be that of black without alpha, and a hole.
    void whatIsClearIsNoColour()
    {
        const QRgb clear = 0u;
        const std::vector<QRgb> colours = { clear, kBlack, kPaper, qRgba(0, 0, 0, 128) };
        QVERIFY(standsOut(pixelAmid({ 0 }), page(kBlack), colours));
        QVERIFY(standsOut(pixelAmid({ 0, 2 }), page(kBlack), colours));
        QVERIFY(!standsOut(pixelAmid({ 0, 1 }), page(kBlack), colours));
        QVERIFY(standsOut(pixelAmid({ 2 }), page(clear), colours));
        QVERIFY(!standsOut(pixelAmid({ 2, 3 }), page(clear), colours));
    }

    void theyStay()
    {
        std::vector<uint16_t> labels(45, 0);
        labels[2 * 9 + 4] = 1;
        labels[2 * 9 + 7] = 1;
        QImage image = page(kBlack);
        image.setPixel(7, 2, qRgb(245, 245, 245));
        Runs runs = scanRuns(labels.data(), 9, 5);
        QVERIFY(mergeSmallRegions(
            &runs, 8, 0, [](uint16_t, uint16_t) { return 1; },
            [&](const SmallArea &area) {
                return standsOut(area, image, { kPaper, kBlack });
            }));
        paint(runs, labels.data());
        for (std::size_t k = 0; k < labels.size(); ++k)
            QCOMPARE(labels[k], uint16_t(k == 2 * 9 + 4));
    }

    void mixturesAreBetweenTwo()
    {
        QVERIFY(isMixtureOf(qRgb(128, 128, 128), kPaper, kBlack));
        QVERIFY(isMixtureOf(qRgb(128, 128, 140), kPaper, kBlack));
        QVERIFY(!isMixtureOf(qRgb(128, 128, 160), kPaper, kBlack));
        QVERIFY(!isMixtureOf(qRgb(255, 0, 0), kBlack, qRgb(255, 255, 0)));
        QVERIFY(!isMixtureOf(qRgba(128, 128, 128, 128), kPaper, kBlack));
    }

    // A row of grey between white and black is the soft edge of these, and goes to the nearer one;
    // longer ones are lines, and what ends at black alone is a tick at an axis.
    void rimsGoToWhatTheyAreARimOf()
    {
        struct Row
        {
            int y;
            int height;
            int width;
            bool goes;
        };
        for (const Row &row :
             { Row { 2, 1, 3, true }, Row { 2, 1, 8, true }, Row { 2, 1, 9, false },
               Row { 2, 2, 4, false }, Row { 1, 1, 4, false } }) {
            std::vector<uint16_t> labels(14 * 8, 0);
            for (std::size_t k = 3 * 14; k < labels.size(); ++k)
                labels[k] = 1;
            const int top = row.height > 1 ? row.y - 1 : row.y;
            for (int y = top; y < top + row.height; ++y) {
                for (int x = 3; x < 3 + row.width; ++x)
                    labels[std::size_t(14 * y + x)] = 2;
            }
            const std::vector<QRgb> colours = { kPaper, kBlack, qRgb(90, 90, 90) };
            Runs runs = scanRuns(labels.data(), 14, 8);
            mergeSmallRegions(
                &runs, 8, 48,
                [&](uint16_t a, uint16_t b) {
                    return 3 * std::abs(qRed(colours[a]) - qRed(colours[b]));
                },
                [](const SmallArea &) { return true; },
                [&](uint16_t own, uint16_t a, uint16_t b) {
                    return isMixtureOf(colours[own], colours[a], colours[b]);
                });
            paint(runs, labels.data());
            QCOMPARE(labels[std::size_t(14 * row.y + 4)], uint16_t(row.goes ? 1 : 2));
        }
    }

    // Pixels and labels around, of areas of several rows.
    void areasAreToldAsTheyAre()
    {
        std::vector<uint16_t> labels(45, 0);
        labels[9 + 3] = labels[2 * 9 + 3] = 1;
        for (std::size_t y = 0; y < 5; ++y) {
            for (std::size_t x = 4; x < 9; ++x)
                labels[9 * y + x] = 2;
        }
        Runs runs = scanRuns(labels.data(), 9, 5);
        int asked = 0;
        mergeSmallRegions(
            &runs, 8, 0, [](uint16_t, uint16_t) { return 1; },
            [&](const SmallArea &area) {
                ++asked;
                const std::set<uint16_t> around(area.around.begin(), area.around.end());
                return area.pixels == std::vector<uint32_t> { 12, 21 } && area.border == 6
                    && around == std::set<uint16_t> { 0, 2 };
            });
        QCOMPARE(asked, 1);
        QCOMPARE(runs.label[runs.rowBegin(1) + 1], uint16_t(1));
    }
};

QTEST_GUILESS_MAIN(tst_SmallMarks)
#include "tst_smallmarks.moc"
