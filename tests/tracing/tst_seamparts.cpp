// (c) the ztrace developers. Licence: see LICENSE.
//
// Along which parts of an outline a seam is drawn.
#include "imaging/Picture.h"
#include "tracing/pipeline.h"
#include "tracing/seamparts.h"

#include <QImage>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <numeric>

using namespace ztrace;

namespace {

const QRgb kInk = qRgb(20, 22, 30);
const QRgb kRed = qRgb(200, 40, 30);
const QRgb kGreen = qRgb(40, 160, 90);
const QRgb kPale = qRgb(222, 236, 200);

void fill(QImage *image, const QRect &box, QRgb colour)
{
    for (int y = box.top(); y <= box.bottom(); ++y) {
        for (int x = box.left(); x <= box.right(); ++x)
            image->setPixel(x, y, colour);
    }
}

Drawing traced(const QImage &image)
{
    Flat flat;
    flat.colours = 8;
    TracePlan plan;
    plan.segmentation = flat;
    plan.geometry.fit = Geometry::Fit::Fair;
    return traceImage(Picture(image), plan).drawing;
}

const Outline &outlineOf(const Drawing &drawing, QRgb colour)
{
    return *std::find_if(drawing.outlines.begin(), drawing.outlines.end(),
                         [&](const Outline &outline) { return outline.colour == colour; });
}

double drawnLength(const Outline &outline)
{
    double length = 0;
    for (std::size_t k = 0; k < outline.seamDashes.size(); k += 2)
        length += outline.seamDashes[k];
    return length;
}

} // namespace

class tst_SeamParts : public QObject
{
    Q_OBJECT

private slots:
    void lengthsAreThoseOfThePieces()
    {
        const std::vector<fit::Piece> line = { fit::linePiece({ 1, 1 }, { 4, 5 }) };
        QCOMPARE(lengthOf(line), 5.0);
        // A bulge of 1 is half a circle.
        const double pi = 4 * std::atan(1.0);
        const std::vector<fit::Piece> half = { fit::arcPiece({ 0, 0 }, { 20, 0 }, 1.0) };
        QVERIFY(std::fabs(lengthOf(half) - 10 * pi) < 0.02 * pi);
        QCOMPARE(lengthOf(std::vector<fit::Piece>()), 0.0);
    }

    void dashesFollowTheParts_data()
    {
        QTest::addColumn<QVector<double>>("lengths");
        QTest::addColumn<QVector<bool>>("drawn");
        QTest::addColumn<QVector<double>>("dashes");
        typedef QVector<double> Lengths;
        typedef QVector<bool> Drawn;
        QTest::newRow("all of it") << Lengths { 3, 4 } << Drawn { true, true } << Lengths();
        QTest::newRow("the first part")
            << Lengths { 3, 5 } << Drawn { true, false } << Lengths { 3, 7 };
        QTest::newRow("the last part")
            << Lengths { 3, 5 } << Drawn { false, true } << Lengths { 0, 3, 5, 2 };
        QTest::newRow("equal ones side by side are one")
            << Lengths { 1, 2, 3, 4, 2 } << Drawn { true, true, false, false, true }
            << Lengths { 3, 7, 2, 3 };
    }
    void dashesFollowTheParts()
    {
        QFETCH(QVector<double>, lengths);
        QFETCH(QVector<bool>, drawn);
        QFETCH(QVector<double>, dashes);
        SharedParts parts;
        for (double length : lengths)
            parts.push_back({ 1, length });
        const std::vector<bool> flags(drawn.begin(), drawn.end());
        const std::vector<double> found = seamDashes(parts, flags);
        QCOMPARE(QVector<double>(found.begin(), found.end()), dashes);
    }

    void manyPartsAreMerged()
    {
        SharedParts parts;
        std::vector<bool> drawn;
        for (int k = 0; k < 200; ++k) {
            parts.push_back({ k, 1.0 + k % 7 });
            drawn.push_back(k % 2 == 0);
        }
        const std::vector<double> dashes = seamDashes(parts, drawn);
        QVERIFY(dashes.size() <= kMostSeamDashes);
        QCOMPARE(dashes.size() % 2, std::size_t(0));
        // Whole once round, and what is left out after the end.
        const double whole = std::accumulate(dashes.begin(), dashes.end(), 0.0);
        double length = 0;
        for (const SharedPart &part : parts)
            length += part.length;
        QVERIFY(std::fabs(whole - 1.25 * length) < 0.1);
    }

    // Two fields side by side in a dark frame on nothing: the hairline between them is closed, and
    // the frame keeps its width.
    void seamsSpareTheFrame()
    {
        QImage image(60, 40, QImage::Format_ARGB32);
        image.fill(0);
        fill(&image, QRect(4, 4, 52, 32), kInk);
        fill(&image, QRect(6, 6, 24, 28), kRed);
        fill(&image, QRect(30, 6, 24, 28), kGreen);
        const Drawing drawing = traced(image);
        const Outline &red = outlineOf(drawing, kRed);
        const Outline &green = outlineOf(drawing, kGreen);
        const Outline &first = red.seam > 0 ? red : green;
        QVERIFY(first.seam > 1.0);
        QVERIFY(std::fabs(drawnLength(first) - 28.0) < 1.0);
        QCOMPARE(&first == &red ? green.seam : red.seam, 0.0);
    }

    // On a ground as well.
    void seamsSpareLinesOnAGround()
    {
        QImage image(80, 40, QImage::Format_RGB32);
        image.fill(kPale);
        fill(&image, QRect(10, 4, 52, 32), kInk);
        fill(&image, QRect(12, 6, 24, 28), kRed);
        fill(&image, QRect(36, 6, 24, 28), kGreen);
        const Drawing drawing = traced(image);
        QCOMPARE(drawing.ground, kPale);
        const double both
            = drawnLength(outlineOf(drawing, kRed)) + drawnLength(outlineOf(drawing, kGreen));
        QVERIFY(std::fabs(both - 28.0) < 1.0);
    }
};

QTEST_GUILESS_MAIN(tst_SeamParts)
#include "tst_seamparts.moc"
