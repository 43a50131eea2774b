// (c) the ztrace developers. Licence: see LICENSE.
//
// Whole traces of small pictures: areas, outlines, what is cut out of what, grounds and strokes.
#include "tracing/pipeline.h"
#include "tracing/segmentation.h"

#include "imaging/failure.h"
#include "../imaging/drawnpictures.h"
#include "support/Messages.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace;

namespace {

const QRgb kRed = 0xFFE02020u;
const QRgb kBlue = 0xFF2020E0u;
const QRgb kWhite = 0xFFFFFFFFu;
const QRgb kBlack = 0xFF000000u;

// Squares inside each other, the outermost first; every one is `step` pixels smaller on each side.
QImage nested(const std::vector<QRgb> &colours, int size = 60, int step = 10)
{
    QImage image(size, size, QImage::Format_ARGB32);
    int inset = 0;
    for (QRgb colour : colours) {
        for (int y = inset; y < size - inset; ++y) {
            for (int x = inset; x < size - inset; ++x)
                image.setPixel(x, y, colour);
        }
        inset += step;
    }
    return image;
}

TracePlan flatPlan(int colours = 8)
{
    TracePlan plan;
    Flat flat;
    flat.colours = colours;
    plan.segmentation = flat;
    return plan;
}

TracePlan inkPlan()
{
    TracePlan plan;
    plan.segmentation = Ink();
    return plan;
}

std::vector<QRgb> coloursOf(const Drawing &drawing)
{
    std::vector<QRgb> colours;
    for (const Outline &outline : drawing.outlines)
        colours.push_back(outline.colour);
    return colours;
}

} // namespace

class tst_Pipeline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { switchDebugOutput(false); }

    // What compression leaves around edges is neither a colour nor an area.
    void compressedArtHasItsOwnColours()
    {
        const QImage clean = drawn(200, 160, Qt::white, [](QPainter *painter) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(QColor(0x10, 0x30, 0x5A));
            painter->drawEllipse(QPointF(98.3, 80.6), 72, 70);
            painter->setBrush(QColor(0xFF, 0xD7, 0x00));
            for (int k = 0; k < 5; ++k)
                painter->drawEllipse(QPointF(50 + 24 * k, 80), 6, 9 + 2 * k);
        });
        TracePlan plan = flatPlan(64);
        plan.geometry.fit = Geometry::Fit::Fair;
        const auto count = [&plan](const QImage &image) {
            return traceImage(image, plan).drawing.outlines.size();
        };
        QCOMPARE(count(clean), std::size_t(7));
        QCOMPARE(count(asJpeg(clean, 75).convertToFormat(QImage::Format_ARGB32)), count(clean));
    }

    void paintedInOrderNestedAreasGiveThePicture()
    {
        const TraceResult result = traceImage(nested({ kRed, kBlue, kWhite }), flatPlan());
        QCOMPARE(coloursOf(result.drawing), (std::vector<QRgb> { kRed, kBlue, kWhite }));
        QCOMPARE(result.drawing.width, 60);
        for (const Outline &outline : result.drawing.outlines)
            QVERIFY(outline.holes.empty());
        QCOMPARE(result.drawing.outlines[1].layer, QString::fromLatin1("COLOR_2020E0"));
    }

    void commonestColourIsTheGround()
    {
        const TraceResult result = traceImage(nested({ kRed, kBlue }, 60, 20), flatPlan());
        QCOMPARE(result.drawing.ground, kRed);
    }

    void whatIsTransparentIsCutOut()
    {
        const TraceResult result = traceImage(nested({ kRed, 0u, kBlue }), flatPlan());
        QCOMPARE(result.drawing.ground, 0u);
        const Outline &red = result.drawing.outlines.at(0);
        QCOMPARE(red.holes.size(), std::size_t(1));
        const Outline &hole = result.drawing.outlines.at(std::size_t(red.holes[0]));
        QCOMPARE(qAlpha(hole.colour), 0);
        QCOMPARE(hole.layer, red.layer);
    }

    void byLayerEveryAreaIsCutOutOfTheOneAround()
    {
        TracePlan plan = flatPlan();
        plan.composition.byLayer = true;
        const TraceResult result = traceImage(nested({ kRed, kBlue, kWhite }), plan);
        QCOMPARE(result.drawing.outlines[0].holes.size(), std::size_t(1));
        QCOMPARE(result.drawing.outlines[0].holes[0], 1);
        QCOMPARE(result.drawing.outlines[1].holes.size(), std::size_t(1));
        QCOMPARE(result.drawing.outlines[1].holes[0], 2);
    }

    void onlyOneColourStays()
    {
        TracePlan plan = flatPlan();
        plan.composition.onlyColours = { kBlue };
        const TraceResult result = traceImage(nested({ kRed, kBlue, kWhite }), plan);
        QCOMPARE(result.drawing.outlines.size(), std::size_t(2)); // and its hole
        QCOMPARE(result.drawing.outlines[0].colour, kBlue);
        QCOMPARE(qAlpha(result.drawing.outlines[1].colour), 0);
        QCOMPARE(result.drawing.ground, 0u);
    }

    void frameOfThePageGoes()
    {
        TracePlan plan = inkPlan();
        const QImage page = nested({ kWhite, kBlack });
        QCOMPARE(traceImage(page, plan).drawing.outlines.size(), std::size_t(2));
        plan.composition.frame = false;
        const TraceResult result = traceImage(page, plan);
        QCOMPARE(coloursOf(result.drawing), (std::vector<QRgb> { kBlack }));
        QCOMPARE(result.drawing.ground, 0u);
    }

    void neighboursSideBySideAreTrapped()
    {
        QImage image(60, 40, QImage::Format_ARGB32);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 60; ++x)
                image.setPixel(x, y, x < 20 ? kRed : x < 40 ? kBlue : kWhite);
        }
        TracePlan plan = flatPlan();
        const auto strokes = [&] {
            const TraceResult result = traceImage(image, plan);
            return std::count_if(result.drawing.outlines.begin(), result.drawing.outlines.end(),
                                 [](const Outline &outline) { return outline.seam > 0.0; });
        };
        QVERIFY(strokes() > 0);
        plan.composition.trapping = false;
        QCOMPARE(strokes(), std::ptrdiff_t(0));
    }

    void penColoursAreThoseOfThePlan()
    {
        TracePlan plan = inkPlan();
        Ink ink;
        ink.inkColour = kBlue;
        ink.paperColour = kRed;
        plan.segmentation = ink;
        const TraceResult result = traceImage(nested({ kWhite, kBlack }), plan);
        QCOMPARE(coloursOf(result.drawing), (std::vector<QRgb> { kRed, kBlue }));
        QCOMPARE(result.report.palette, (std::vector<QRgb> { kBlue, kRed }));
    }

    void sameSeedSameDrawing()
    {
        TracePlan plan;
        plan.segmentation = Blend { 6, 0.0, false, { { "numberofcolors", 6 } } };
        const QImage image = nested({ kRed, 0xFFD03020u, kBlue, 0xFF3030D0u, kWhite }, 60, 6);
        const Drawing one = traceImage(image, plan).drawing;
        const Drawing two = traceImage(image, plan).drawing;
        QCOMPARE(one.outlines.size(), two.outlines.size());
        for (std::size_t i = 0; i < one.outlines.size(); ++i)
            QVERIFY(one.outlines[i].shape == two.outlines[i].shape);
    }

    void smallAreasGoToTheirNeighbours()
    {
        QImage image = nested({ kRed, kBlue });
        image.setPixel(30, 30, kWhite);
        TracePlan plan = flatPlan();
        plan.geometry.leastBorder = 8;
        QCOMPARE(traceImage(image, plan).drawing.outlines.size(), std::size_t(2));
    }

    void softEdgesAreToldWhenThereAreNone()
    {
        TracePlan plan = inkPlan();
        plan.geometry.upsampling = 3;
        const TraceResult result = traceImage(nested({ kWhite, kBlack }), plan);
        QCOMPARE(result.report.remarks.size(), std::size_t(1));
        QCOMPARE(int(result.report.remarks[0]), int(Remark::NoSoftEdges));
        QCOMPARE(result.report.upsampling, 1);
    }

    void rawLeavesAllToTheEngine()
    {
        TracePlan plan;
        plan.segmentation = Raw { { { "colorsampling", 1 }, { "numberofcolors", 4 } } };
        const TraceResult result = traceImage(nested({ kRed, kBlue }), plan);
        QCOMPARE(result.report.engine.size(), std::size_t(12));
        QCOMPARE(result.report.palette.size(), std::size_t(4));
        plan.segmentation = Raw { { { "numberofcolors", 0 } } };
        QVERIFY_EXCEPTION_THROWN(traceImage(nested({ kRed, kBlue }), plan), TraceError);
    }

    void gridsThatAreTooFineAreRefused()
    {
        requireRoom(6000, 3000, 7);
        QVERIFY_EXCEPTION_THROWN(requireRoom(6000, 3000, 8), TraceError);
    }

    void areasThatMustNotBeOneKeepTheirColour()
    {
        // A ring that closes over a corner only: the paper inside is not the paper outside.
        const std::vector<uint8_t> labels = { 1, 1, 1, 1, 1, //
                                              1, 0, 0, 1, 1, //
                                              1, 0, 1, 0, 1, //
                                              1, 0, 0, 0, 1, //
                                              1, 1, 1, 1, 1 };
        Segmented segmented;
        Areas &areas = segmented.areas;
        areas = { scanRuns(labels.data(), 5, 5), { kBlack, kWhite } };
        QVERIFY(separateAreas(&segmented));
        QVERIFY(areas.colours.size() > 2);
        for (std::size_t k = 2; k < areas.colours.size(); ++k)
            QVERIFY(areas.colours[k] == kWhite || areas.colours[k] == kBlack);
    }

    void ofTheReductionAreAllOptionsOfColours()
    {
        const EngineOptions options = reductionOptions({ { "blurradius", 2.0 }, { "ltres", 9.0 } });
        QCOMPARE(options.size(), std::size_t(9));
        QCOMPARE(options.at("blurradius"), 2.0);
        QCOMPARE(options.at("blurdelta"), 2000.0);
        QCOMPARE(options.count("ltres") + options.count("qtres") + options.count("pathomit"),
                 std::size_t(0));
    }

    void onlyOptionsThatHadAPartAreTold_data()
    {
        QTest::addColumn<bool>("ink");
        QTest::addColumn<bool>("fair");
        QTest::addColumn<int>("told");
        QTest::newRow("flat colours: those of the outlines") << false << false << 3;
        QTest::newRow("flat colours, true shapes: none") << false << true << 0;
        QTest::newRow("ink: all") << true << false << 12;
        QTest::newRow("ink, true shapes: those of colours") << true << true << 9;
    }

    void onlyOptionsThatHadAPartAreTold()
    {
        QFETCH(bool, ink);
        QFETCH(bool, fair);
        QFETCH(int, told);
        TracePlan plan = ink ? inkPlan() : flatPlan();
        plan.geometry.fit = fair ? Geometry::Fit::Fair : Geometry::Fit::Engine;
        const TraceResult result = traceImage(nested({ kWhite, kBlack }), plan);
        QCOMPARE(int(result.report.engine.size()), told);
    }

    // A page of a rake: the engine outlines as if it had been asked for.
    void denseInkIsOutlinedByTheEngine()
    {
        QImage image(1200, 200, QImage::Format_Grayscale8);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.scanLine(y)[x] = x % 2 ? (y == 100 ? 90 : 255) : 0;
        }
        const auto traced = [](const QImage &picture, Geometry::Fit fit) {
            TracePlan plan = inkPlan();
            plan.geometry.fit = fit;
            return traceImage(picture, plan);
        };
        const TraceResult dense = traced(image, Geometry::Fit::FairUnlessDense);
        const TraceResult engine = traced(image, Geometry::Fit::Engine);
        QVERIFY(!dense.report.shapes);
        QVERIFY(dense.report.remarks.empty());
        QCOMPARE(dense.report.threshold, engine.report.threshold);
        QCOMPARE(dense.report.upsampling, engine.report.upsampling);
        QCOMPARE(dense.drawing.outlines.size(), engine.drawing.outlines.size());
        for (std::size_t k = 0; k < dense.drawing.outlines.size(); ++k)
            QCOMPARE(dense.drawing.outlines[k].shape.pieces().size(),
                     engine.drawing.outlines[k].shape.pieces().size());
        QVERIFY(traced(image, Geometry::Fit::Fair).report.shapes);
        QVERIFY(traced(image.copy(0, 0, 400, 200), Geometry::Fit::FairUnlessDense).report.shapes);
    }

    // A scanned line of some three pixels has none that equals its neighbours.
    void linesThatAreNowhereFlatAreInk()
    {
        const int across[] = { 233, 148, 85, 63, 63, 85, 148, 233 };
        QImage image(160, 100, QImage::Format_Grayscale8);
        image.fill(255);
        for (int y = 10; y < 90; ++y) {
            for (int k = 0; k < 8; ++k)
                image.scanLine(y)[y + k] = uint8_t(across[k]);
            for (int x = 110; x < 150; ++x)
                image.scanLine(y)[x] = 30;
        }
        TracePlan plan = inkPlan();
        plan.geometry.fit = Geometry::Fit::Fair;
        const TraceResult result = traceImage(image, plan);
        QVERIFY(result.report.shapes);
        QCOMPARE(int(result.drawing.outlines.size()), 3); // paper, the line and the block
    }

    // Noise in shades: true shapes of a large picture of it would take long.
    void shadesOfManyBordersAreOutlinedByTheEngine()
    {
        const auto shapes = [](int size, Geometry::Fit fit) {
            QImage image(size, size, QImage::Format_RGB32);
            std::mt19937 random(5);
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x)
                    image.setPixel(x, y, qRgb(int(random() % 256), int(random() % 256), 90));
            }
            TracePlan plan;
            plan.segmentation = Blend { 16, 400.0, false, {} };
            plan.geometry.fit = fit;
            plan.geometry.leastBorder = 0.0;
            return traceImage(image, plan).report.shapes;
        };
        QVERIFY(shapes(64, Geometry::Fit::FairUnlessDense));
        QVERIFY(!shapes(600, Geometry::Fit::FairUnlessDense));
        QVERIFY(shapes(200, Geometry::Fit::FairUnlessDense));
        QVERIFY(shapes(600, Geometry::Fit::Fair));
        QVERIFY(!shapes(64, Geometry::Fit::Engine));
    }

    // A cheek of 24 pixels beside flat art, in bends too steep to be calm, with black beside it.
    void steepShadingHasColoursOfItsOwn()
    {
        QImage image = nested({ kWhite, kBlack, kWhite }, 96, 12);
        const auto shade
            = [](int x, int y) { return 150 + int(70 * std::sin(0.45 * x + 0.3 * y)); };
        for (int y = 36; y < 60; ++y) {
            for (int x = 36; x < 60; ++x)
                image.setPixel(x, y, qRgb(shade(x, y), shade(x, y) - 20, 60));
        }
        int most = 0;
        for (QRgb colour : coloursOf(traceImage(image, flatPlan(64)).drawing))
            most += qBlue(colour) > 30 && qBlue(colour) < 90 ? 1 : 0;
        QVERIFY2(most > 4, qPrintable(QString::number(most)));
    }

    // A stripe of two pixels, and an eye of one, in colours and in ink; not where small areas are
    // asked to go.
    void pixelsOfSmallPicturesStay()
    {
        QImage flag(3, 2, QImage::Format_ARGB32);
        QImage face = nested({ kWhite, kBlack }, 9, 2);
        face.setPixel(4, 4, kWhite);
        for (int y = 0; y < 2; ++y) {
            flag.setPixel(0, y, kBlue);
            flag.setPixel(1, y, kWhite);
            flag.setPixel(2, y, kRed);
        }
        TracePlan colours = flatPlan(64);
        TracePlan ink = inkPlan();
        for (TracePlan *plan : { &colours, &ink }) {
            plan->geometry.fit = Geometry::Fit::Fair;
            plan->geometry.marks = true;
        }
        QCOMPARE(coloursOf(traceImage(flag, colours).drawing),
                 std::vector<QRgb>({ kBlue, kWhite, kRed }));
        QCOMPARE(int(traceImage(face, ink).drawing.outlines.size()), 3);
        ink.geometry.marks = false;
        QCOMPARE(int(traceImage(face, ink).drawing.outlines.size()), 2);
    }

    void onePixelIsAnOutline()
    {
        QImage image(1, 1, QImage::Format_ARGB32);
        image.fill(kRed);
        for (const TracePlan &plan : { flatPlan(), inkPlan() })
            QCOMPARE(traceImage(image, plan).drawing.width, 1);
    }
};

QTEST_GUILESS_MAIN(tst_Pipeline)
#include "tst_pipeline.moc"
