// (c) the ztrace developers. Licence: see LICENSE.
//
// Boundaries drawn once, as lines of one pen: what cutters and plotters follow.
#include "drawing/pieces.h"
#include "imaging/Picture.h"
#include "imaging/failure.h"
#include "tracing/pipeline.h"

#include <QPainter>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace;

namespace {

const QRgb kWhite = 0xFFFFFFFFu;
const QRgb kRed = 0xFFCC0000u;
const QRgb kYellow = 0xFFFFDD00u;
const QRgb kNavy = 0xFF000066u;

QImage sheet(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(kWhite);
    return image;
}

void fill(QImage *image, int x, int y, int width, int height, QRgb colour)
{
    for (int j = y; j < y + height; ++j) {
        for (int i = x; i < x + width; ++i)
            image->setPixel(i, j, colour);
    }
}

TracePlan plan(std::vector<QRgb> palette)
{
    Flat flat;
    flat.palette = std::move(palette);
    TracePlan result;
    result.segmentation = flat;
    result.geometry.fit = Geometry::Fit::Fair;
    result.geometry.edges = true;
    result.geometry.leastBorder = 0.0;
    return result;
}

Drawing edgesOf(const QImage &image, const TracePlan &plan)
{
    return traceImage(Picture(image), plan).drawing;
}

double lengthOf(const Path &path)
{
    std::vector<PathPiece> pieces;
    piecesOf(path, &pieces);
    double length = 0.0;
    for (const PathPiece &piece : pieces) {
        std::vector<Point> points(1, piece.start);
        flatten(piece, 1e-4, &points);
        for (std::size_t k = 1; k < points.size(); ++k)
            length += std::hypot(points[k].x - points[k - 1].x, points[k].y - points[k - 1].y);
    }
    return length;
}

double lengthOn(const Drawing &drawing, const char *layer)
{
    double length = 0.0;
    for (const Outline &outline : drawing.outlines) {
        if (outline.layer == QLatin1String(layer))
            length += lengthOf(outline.shape);
    }
    return length;
}

bool near(double a, double b)
{
    return std::fabs(a - b) < 0.05;
}

} // namespace

class tst_EdgeLines : public QObject
{
    Q_OBJECT

private slots:
    void neighboursShareOneLine()
    {
        QImage image = sheet(80, 60);
        fill(&image, 10, 10, 20, 30, kRed);
        fill(&image, 30, 10, 40, 30, kYellow);
        const Drawing drawing = edgesOf(image, plan({ kWhite, kRed, kYellow }));
        QCOMPARE(drawing.outlines.size(), std::size_t(3));
        QCOMPARE(drawing.pens.size(), std::size_t(1));
        for (const Outline &outline : drawing.outlines)
            QCOMPARE(outline.pen, 0);
        // Red against white and yellow, which are both lighter; yellow against white.
        QVERIFY(near(lengthOn(drawing, "COLOR_CC0000"), 20 + 30 + 20 + 30));
        QVERIFY(near(lengthOn(drawing, "COLOR_FFDD00"), 40 + 30 + 40));
    }

    // All boundaries of a plane of squares, wherever the squares of a colour hang together: cut by
    // the squares' sides, each unit of length comes once.
    void nothingIsDrawnTwice()
    {
        const int kSquares = 6;
        const int kSide = 12;
        const std::vector<QRgb> colours = { kWhite, kRed, kYellow, kNavy };
        std::mt19937 random(7);
        for (int round = 0; round < 20; ++round) {
            QImage image = sheet(kSquares * kSide, kSquares * kSide);
            std::vector<unsigned> chosen;
            for (int k = 0; k < kSquares * kSquares; ++k) {
                chosen.push_back(unsigned(random() % colours.size()));
                fill(&image, k % kSquares * kSide, k / kSquares * kSide, kSide, kSide,
                     colours[chosen.back()]);
            }
            int borders = 0;
            for (int k = 0; k < kSquares * kSquares; ++k) {
                const auto at = [&](int i) { return chosen[std::size_t(i)]; };
                borders += k % kSquares + 1 < kSquares && at(k) != at(k + 1);
                borders += k + kSquares < kSquares * kSquares && at(k) != at(k + kSquares);
            }
            double length = 0.0;
            double rim = 0.0;
            for (const Outline &outline : edgesOf(image, plan(colours)).outlines) {
                const Bounds bounds = boundsOf(outline.shape);
                const auto isRim = [](double low, double high) {
                    return low == high && (low == 0.0 || low == kSquares * kSide);
                };
                const bool onRim
                    = isRim(bounds.low.x, bounds.high.x) || isRim(bounds.low.y, bounds.high.y);
                (onRim ? rim : length) += lengthOf(outline.shape);
            }
            // Chamfered corners are a little shorter than the cracks.
            QVERIFY2(length <= borders * kSide + 0.05 && length > 0.95 * borders * kSide,
                     qPrintable(QString("%1 of %2").arg(length).arg(borders * kSide)));
            QVERIFY(rim <= 4 * kSquares * kSide + 0.05);
        }
    }

    void whatTouchesTheRimIsClosedThere()
    {
        QImage image = sheet(60, 40);
        fill(&image, 0, 10, 20, 20, kRed);
        const Drawing drawing = edgesOf(image, plan({ kWhite, kRed }));
        QVERIFY(near(lengthOn(drawing, "COLOR_CC0000"), 80));
        QCOMPARE(drawing.layers(), QStringList("COLOR_CC0000")); // and nothing around the page
    }

    void aRingIsTwoCircles()
    {
        QImage image = sheet(120, 120);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(kNavy), 12));
        painter.drawEllipse(QPointF(60, 60), 40, 40);
        painter.end();
        TracePlan ink = plan({});
        ink.segmentation = Ink();
        const Drawing drawing = edgesOf(image, ink);
        QCOMPARE(drawing.outlines.size(), std::size_t(2));
        for (const Outline &outline : drawing.outlines) {
            for (const PathPiece piece : outline.shape.pieces())
                QCOMPARE(int(piece.kind), int(PathPiece::Arc));
            const double length
                = lengthOf(outline.shape); // of chords, as the painter's stroker makes them
            QVERIFY2(std::fabs(length - 92 * M_PI) < 1.0 || std::fabs(length - 68 * M_PI) < 1.0,
                     qPrintable(QString::number(length / M_PI)));
        }
    }

    void whatIsClearIsLighterThanAll()
    {
        QImage image = sheet(60, 40);
        image.fill(0u);
        fill(&image, 10, 10, 20, 20, kWhite);
        const Drawing drawing = edgesOf(image, plan({ kWhite, 0u }));
        QCOMPARE(drawing.layers(), QStringList("COLOR_FFFFFF"));
        QVERIFY(near(lengthOn(drawing, "COLOR_FFFFFF"), 80));
    }

    void onlyBoundariesOfTheColour()
    {
        QImage image = sheet(80, 60);
        fill(&image, 10, 10, 20, 30, kRed);
        fill(&image, 30, 10, 40, 30, kYellow);
        TracePlan yellow = plan({ kWhite, kRed, kYellow });
        yellow.composition.onlyColours = { kYellow };
        const Drawing drawing = edgesOf(image, yellow);
        QVERIFY(near(lengthOn(drawing, "COLOR_CC0000"), 30));
        QVERIFY(near(lengthOn(drawing, "COLOR_FFDD00"), 110));
    }

    void tooManyAreasAreRefused()
    {
        QImage image = sheet(2200, 2200);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = y % 2; x < image.width(); x += 2)
                reinterpret_cast<QRgb *>(image.scanLine(y))[x] = kNavy;
        }
        TracePlan all = plan({ kWhite, kNavy });
        QVERIFY_EXCEPTION_THROWN(edgesOf(image, all), TraceError);
    }
};

QTEST_GUILESS_MAIN(tst_EdgeLines)
#include "tst_edgelines.moc"
