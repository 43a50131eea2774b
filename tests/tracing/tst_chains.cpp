// (c) the ztrace developers. Licence: see LICENSE.
//
// Chains of a drawing and the rings of its areas: docs/command.md, "The JSON file".
#include "Planes.h"

#include "drawing/chains.h"
#include "drawing/json.h"
#include "drawing/pieces.h"
#include "imaging/Picture.h"
#include "tracing/pipeline.h"
#include "tracing/shapewriter.h"

#include <QBuffer>
#include <QtTest>

#include <cmath>

using namespace ztrace;

Q_DECLARE_METATYPE(ztrace::Drawing)

namespace {

const std::vector<QRgb> kColours
    = { 0xFFC81E1Eu, 0xFF1E5AC8u, 0xFF141414u, 0xFFF0C828u, 0xFF3CA03Cu, 0xFFFFFFFFu };

// Discs and half planes, painted over each other; 4 x 4 places a pixel where it is soft.
QImage shapesAt(unsigned seed, bool soft, bool clear)
{
    const int finer = soft ? 4 : 1;
    planes::Random random(seed);
    QImage image(60 * finer, 44 * finer, QImage::Format_ARGB32);
    image.fill(clear ? 0u : 0xFFFFFFFFu);
    for (int n = 0; n < 8; ++n) {
        const QRgb colour = kColours[planes::at(planes::below(&random, int(kColours.size())))];
        const double x = planes::below(&random, image.width());
        const double y = planes::below(&random, image.height());
        const double size = (4 + planes::below(&random, 16)) * finer;
        const double squeeze = 1 + planes::below(&random, 3);
        for (int row = 0; row < image.height(); ++row) {
            for (int column = 0; column < image.width(); ++column) {
                if (std::hypot(column - x, squeeze * (row - y)) < size)
                    image.setPixel(column, row, colour);
            }
        }
    }
    return soft ? image.scaled(60, 44, Qt::IgnoreAspectRatio, Qt::SmoothTransformation) : image;
}

QImage imageOf(const reference::Plane &plane)
{
    QImage image(plane.width, plane.height, QImage::Format_RGB32);
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x)
            image.setPixel(x, y,
                           kColours[planes::at(plane.labels[planes::at(y * plane.width + x)])]);
    }
    return image;
}

TracePlan planOf(bool ink, bool layers)
{
    TracePlan plan;
    Flat flat;
    flat.colours = 16;
    plan.segmentation = ink ? Segmentation(Ink()) : Segmentation(flat);
    plan.geometry.fit = Geometry::Fit::Fair;
    plan.geometry.leastBorder = 0;
    plan.composition.byLayer = layers;
    plan.composition.chains = true;
    return plan;
}

QByteArray textOf(const Drawing &drawing)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writeJson(drawing, &buffer);
    return buffer.data();
}

// Of what is drawn, by chords of curves; positive counterclockwise.
double areaOf(const Path &path)
{
    std::vector<Point> points = { path.start() };
    for (const PathPiece piece : path.pieces())
        flatten(piece, 1e-3, &points);
    double sum = 0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const Point &p = points[k];
        const Point &q = points[(k + 1) % points.size()];
        sum += p.x * q.y - p.y * q.x;
    }
    return 0.5 * sum;
}

// What fits together in a drawing of its own, and each of these rings gives its shape.
Drawing twoSquares()
{
    const Point corners[] = { { 0, 2 }, { 2, 2 }, { 2, 0 }, { 0, 0 } };
    const auto boundary = [](std::vector<Point> points, int left, int right) {
        BoundaryChain chain;
        chain.left = left;
        chain.right = right;
        chain.path.moveTo(points.front());
        for (std::size_t k = 1; k < points.size(); ++k)
            chain.path.lineTo(points[k]);
        return chain;
    };
    Drawing drawing;
    drawing.width = drawing.height = 2;
    drawing.chains = { boundary({ corners[3], corners[0], corners[1] }, -1, 0),
                       boundary({ corners[1], corners[3] }, 1, 0),
                       boundary({ corners[1], corners[2], corners[3] }, -1, 1) };
    drawing.outlines.resize(2);
    drawing.outlines[0].rings = { { 0, 1 } };
    drawing.outlines[1].rings = { { 2, ~1 } };
    for (Outline &outline : drawing.outlines)
        outline.shape = pathAlong(drawing.chains, outline.rings.front());
    return drawing;
}

} // namespace

class tst_Chains : public QObject
{
    Q_OBJECT

private slots:
    void ringsAreTheOutlines_data()
    {
        QTest::addColumn<QImage>("image");
        planes::Random random(5);
        for (unsigned seed = 1; seed <= 12; ++seed) {
            QTest::addRow("soft, %u", seed) << shapesAt(seed, true, false);
            QTest::addRow("hard, %u", seed) << shapesAt(seed + 100, false, false);
            QTest::addRow("soft on nothing, %u", seed) << shapesAt(seed + 200, true, true);
            QTest::addRow("hard on nothing, %u", seed) << shapesAt(seed + 300, false, true);
            QTest::addRow("noise, %u", seed)
                << imageOf(planes::noise(&random, 11, 9, 2 + seed % 4));
        }
    }

    // flawOfChains says so of every drawing, read again from its text as well: rings are the
    // outlines to the bit, and every side of a chain is in one ring, once.
    void ringsAreTheOutlines()
    {
        QFETCH(QImage, image);
        for (const bool ink : { false, true }) {
            for (const bool layers : { false, true }) {
                const Drawing drawing = traceImage(Picture(image), planOf(ink, layers)).drawing;
                QCOMPARE(flawOfChains(drawing), QString());
                QVERIFY(!drawing.chains.empty());
                const QByteArray text = textOf(drawing);
                Drawing again;
                QString error;
                QVERIFY2(readJson(text, &again, &error), qPrintable(error));
                QCOMPARE(textOf(again), text);
                QCOMPARE(again.chains.size(), drawing.chains.size());
            }
        }
    }

    // With all areas there, clear ones too, rings less their holes are the picture.
    void ringsSumToThePicture_data() { ringsAreTheOutlines_data(); }

    void ringsSumToThePicture()
    {
        QFETCH(QImage, image);
        TracePlan plan = planOf(false, true);
        plan.composition.transparent = true;
        const Drawing drawing = traceImage(Picture(image), plan).drawing;
        double sum = 0;
        for (const Outline &outline : drawing.outlines) {
            for (const std::vector<int> &ring : outline.rings)
                sum -= areaOf(pathAlong(drawing.chains, ring));
        }
        QVERIFY2(std::fabs(sum - image.width() * image.height()) < 1e-9,
                 qPrintable(QString::number(sum, 'g', 17)));
    }

    void sidesWithoutAnOutlineAreOpen()
    {
        TracePlan plan = planOf(false, false);
        plan.composition.frame = false;
        QImage image(40, 30, QImage::Format_RGB32);
        image.fill(0xFFFFFFFFu);
        for (int k = 0; k < 200; ++k)
            image.setPixel(10 + k % 20, 10 + k / 20, 0xFFC81E1Eu);
        const Drawing drawing = traceImage(Picture(image), plan).drawing;
        QCOMPARE(drawing.outlines.size(), std::size_t(1));
        QCOMPARE(drawing.chains.size(), std::size_t(1)); // that of the page is of nothing
        QCOMPARE(std::max(drawing.chains[0].left, drawing.chains[0].right), 0);
        QCOMPARE(std::min(drawing.chains[0].left, drawing.chains[0].right), -1);
        QCOMPARE(flawOfChains(drawing), QString());
    }

    void ellipticArcsAreTheSameBothWays()
    {
        planes::Random random(9);
        const auto place = [&random] {
            return fit::Point { planes::below(&random, 4000) / 97.0,
                                planes::below(&random, 4000) / 89.0 };
        };
        for (int k = 0; k < 500; ++k) {
            const fit::Point start = place();
            const fit::Piece piece = fit::conicPiece(
                start, place(), 0.05 + planes::below(&random, 90) / 100.0, place());
            BoundaryChain there, back;
            there.path = pathOf({ piece }, 60);
            back.path = pathOf({ fit::reversed(piece) }, 60);
            QVERIFY(pathAlong({ there }, { ~0 }) == back.path);
        }
    }

    void onlyWhereTheyAreAskedFor()
    {
        TracePlan plan = planOf(false, false);
        plan.composition.chains = false;
        const QImage image = shapesAt(1, true, false);
        const Drawing without = traceImage(Picture(image), plan).drawing;
        QVERIFY(without.chains.empty());
        QVERIFY(!textOf(without).contains("rings"));
        plan.composition.chains = true;
        plan.geometry.fit = Geometry::Fit::Engine; // draws one by one
        QVERIFY(traceImage(Picture(image), plan).drawing.chains.empty());
    }

    void flawsAreFound_data()
    {
        QTest::addColumn<Drawing>("drawing");
        QTest::addColumn<QString>("flaw");
        const auto row = [](const char *name, const char *flaw, auto change) {
            Drawing drawing = twoSquares();
            change(&drawing);
            QTest::newRow(name) << drawing << QString::fromLatin1(flaw);
        };
        row("none", "", [](Drawing *) {});
        row("no such outline", "chain 0: there is no outline 2",
            [](Drawing *d) { d->chains[0].left = 2; });
        row("side of a stroke", "chain 0: outline 0 is no area",
            [](Drawing *d) { d->outlines[0].pen = 0; });
        row("chain of nothing", "chain 1: it has no pieces",
            [](Drawing *d) { d->chains[1].path = Path(); });
        row("ring of nothing", "outline 1: a ring has no chains",
            [](Drawing *d) { d->outlines[1].rings.push_back({}); });
        row("no such chain", "outline 1: there is no chain 3",
            [](Drawing *d) { d->outlines[1].rings[0][0] = 3; });
        row("wrong side", "outline 1: it is not on that side of chain 1",
            [](Drawing *d) { d->outlines[1].rings[0][1] = 1; });
        row("twice", "outline 0: chain 0 is in its rings twice",
            [](Drawing *d) { d->outlines[0].rings.push_back({ 0 }); });
        row("in none", "chain 1: one of its sides is in no ring",
            [](Drawing *d) { d->outlines[1].rings.clear(), d->chains[2].right = -1; });
        row("apart", "outline 0: the next chain does not begin where chain 0 ends", [](Drawing *d) {
            d->chains[0].path.lineTo({ 3, 3 });
        });
        row("another shape", "outline 0: the chains of its first ring are not its shape",
            [](Drawing *d) {
                d->outlines[0].shape.lineTo({ 3, 3 });
            });
    }

    void flawsAreFound()
    {
        QFETCH(Drawing, drawing);
        QFETCH(QString, flaw);
        QCOMPARE(flawOfChains(drawing), flaw);
        // The reader refuses the text of it.
        if (drawing.outlines[0].pen >= 0)
            drawing.pens.resize(1);
        Drawing again;
        QString error;
        QCOMPARE(readJson(textOf(drawing), &again, &error), flaw.isEmpty());
        QCOMPARE(error.isEmpty(), flaw.isEmpty());
    }

    void whatIsReadNamesChainsThatAreThere()
    {
        Drawing drawing = twoSquares();
        drawing.chains.clear();
        Drawing again;
        QString error;
        QVERIFY(!readJson(textOf(drawing), &again, &error));
        QCOMPARE(error, QLatin1String("outline 0: there are no chains"));
    }
};

QTEST_GUILESS_MAIN(tst_Chains)
#include "tst_chains.moc"
