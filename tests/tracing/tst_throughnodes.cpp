// (c) the ztrace developers. Licence: see LICENSE.
//
// Boundaries that go on where other areas begin or end beside them are one curve.
#include "FitRig.h"
#include "PaintedTruth.h"

#include "imaging/Picture.h"
#include "tracing/pipeline.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;

namespace {

const QRgb kRed = qRgb(200, 30, 45);
const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kPale = qRgb(222, 236, 200);
const QRgb kGround = qRgb(235, 235, 235);
const int kSide = 90;

Drawing trace(const QImage &image, int colours)
{
    Flat flat;
    flat.colours = colours;
    TracePlan plan;
    plan.segmentation = flat;
    plan.geometry.fit = Geometry::Fit::Fair;
    return traceImage(Picture(image), plan).drawing;
}

QImage picture(QRgb colour)
{
    QImage image(kSide, kSide, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

} // namespace

class tst_ThroughNodes : public QObject
{
    Q_OBJECT

private slots:
    void discsOverBandsAreRound_data();
    void discsOverBandsAreRound();
    void bandsEndOnALine_data();
    void bandsEndOnALine();
    void dashesAreNoPartOfTheirLine();
};

void tst_ThroughNodes::discsOverBandsAreRound_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("degrees");
    for (double width : { 2.0, 5.0, 11.0 }) {
        for (double degrees : { 0.0, 12.0, 45.0 })
            QTest::addRow("%g pixels, %g degrees", width, degrees) << width << degrees;
    }
}

void tst_ThroughNodes::discsOverBandsAreRound()
{
    QFETCH(double, width);
    QFETCH(double, degrees);
    const double angle = degrees * std::acos(-1.0) / 180;
    const fit::Point normal = { -std::sin(angle), std::cos(angle) };
    const fit::Point centre = { 45.3, 44.8 };
    const double radius = 27.4;
    QImage image = picture(kWhite);
    for (double at : { -14.0, 3.0, 21.0 })
        paint(fit::rectangleTruth(centre + at * normal, 300, width, angle), kPale, &image);
    paint(fit::circleTruth(centre, radius), kRed, &image);
    const Drawing drawing = trace(image, 3);
    int joints = 0;
    double worst = 0;
    for (const Outline &outline : drawing.outlines) {
        if (qGreen(outline.colour) > 100)
            continue;
        for (const PathPiece piece : outline.shape.pieces()) {
            const double off
                = std::hypot(piece.start.x - centre.x, (kSide - piece.start.y) - centre.y) - radius;
            worst = std::max(worst, std::fabs(off));
            ++joints;
        }
    }
    QVERIFY(joints >= 12);
    QVERIFY2(worst < 0.06, qPrintable(QString::number(worst)));
}

void tst_ThroughNodes::bandsEndOnALine_data()
{
    QTest::addColumn<double>("left");
    QTest::addColumn<double>("top");
    QTest::addRow("near the middle of pixels") << 20.45 << 12.6;
    QTest::addRow("a third of a pixel") << 20.3 << 12.3;
    QTest::addRow("two thirds") << 20.7 << 12.75;
}

// Mixtures of red and white look like the ground.
void tst_ThroughNodes::bandsEndOnALine()
{
    QFETCH(double, left);
    QFETCH(double, top);
    QImage image = picture(kGround);
    paint(fit::rectangleTruth({ left + 20, top + 28 }, 40, 56, 0), kWhite, &image);
    for (double at : { 0.0, 16.0, 32.0, 48.0 })
        paint(fit::rectangleTruth({ left + 20, top + at + 4 }, 40, 8, 0), kRed, &image);
    const Drawing drawing = trace(image, 3);
    int bands = 0;
    for (const Outline &outline : drawing.outlines) {
        if (qGreen(outline.colour) > 100)
            continue;
        ++bands;
        double least = kSide;
        double most = 0;
        for (const PathPiece piece : outline.shape.pieces()) {
            const double off
                = std::min(std::fabs(piece.start.x - left), std::fabs(piece.start.x - left - 40));
            QVERIFY2(off < 0.1, qPrintable(QString::number(off)));
            least = std::min(least, piece.start.y);
            most = std::max(most, piece.start.y);
        }
        QVERIFY2(std::fabs(most - least - 8) < 0.1, qPrintable(QString::number(most - least)));
    }
    QCOMPARE(bands, 4);
}

// A dash stands out from the bar that it touches by two pixels, so that the bar's side ends there.
void tst_ThroughNodes::dashesAreNoPartOfTheirLine()
{
    QImage image = picture(kWhite);
    paint(fit::rectangleTruth({ 30.5, 45 }, 21, 70, 0), qRgb(20, 60, 150), &image);
    for (double at : { 20.0, 32.0, 44.0, 56.0, 68.0 })
        paint(fit::rectangleTruth({ 43, at + 0.5 }, 4, 3, 0), kRed, &image);
    const Drawing drawing = trace(image, 3);
    int dashes = 0;
    for (const Outline &outline : drawing.outlines) {
        if (qRed(outline.colour) < 150 || qGreen(outline.colour) > 100)
            continue;
        ++dashes;
        double least = kSide;
        double most = 0;
        for (const PathPiece piece : outline.shape.pieces()) {
            least = std::min(least, piece.start.x);
            most = std::max(most, piece.start.x);
        }
        QVERIFY2(std::fabs(most - least - 4) < 0.3, qPrintable(QString::number(most - least)));
    }
    QCOMPARE(dashes, 5);
}

QTEST_GUILESS_MAIN(tst_ThroughNodes)
#include "tst_throughnodes.moc"
