// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings as GeoJSON. What another program reads of it is in tests/cli/test_maps.py.
#include "SmallAreas.h"

#include "drawing/coarseness.h"
#include "drawing/geojson.h"
#include "drawing/wholeshape.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;

namespace {

QJsonObject written(const Drawing &drawing, int decimals = kDecimalsOfDrawing)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!writeGeoJson(drawing, decimals, &buffer))
        return QJsonObject();
    return QJsonDocument::fromJson(buffer.data()).object();
}

QJsonObject feature(const QJsonObject &collection, int k)
{
    return collection.value("features").toArray().at(k).toObject();
}

QJsonArray rings(const QJsonObject &feature)
{
    return feature.value("geometry").toObject().value("coordinates").toArray();
}

double x(const QJsonValue &point)
{
    return point.toArray().at(0).toDouble();
}

double y(const QJsonValue &point)
{
    return point.toArray().at(1).toDouble();
}

double areaOf(const QJsonArray &ring)
{
    double twice = 0.0;
    for (int k = 1; k < ring.size(); ++k)
        twice += x(ring[k - 1]) * y(ring[k]) - x(ring[k]) * y(ring[k - 1]);
    return 0.5 * twice;
}

Drawing sheet()
{
    Drawing drawing;
    drawing.width = 40;
    drawing.height = 30;
    drawing.outlines = { area(rectangle(0, 0, 40, 30), 0xFFFFFFFFu),
                         area(rectangle(10, 10, 20, 20), 0xFFCC0000u) };
    drawing.outlines[0].holes = { 1 };
    return drawing;
}

// A cubic of four points, and back to its start by way of the corners.
Path besideCurve(const std::vector<Point> &cubic, const std::vector<Point> &corners)
{
    Path path;
    path.moveTo(cubic[0]);
    path.cubicTo(cubic[1], cubic[2], cubic[3]);
    for (const Point &corner : corners)
        path.lineTo(corner);
    path.lineTo(cubic[0]);
    return path;
}

} // namespace

class tst_GeoJson : public QObject
{
    Q_OBJECT

private slots:
    void areasAreLeftOfTheirRings()
    {
        const QJsonObject collection = written(sheet());
        QCOMPARE(collection.value("type").toString(), QString("FeatureCollection"));
        QCOMPARE(collection.value("features").toArray().size(), 2);
        const QJsonArray page = rings(feature(collection, 0));
        QCOMPARE(page.size(), 2);
        QCOMPARE(areaOf(page[0].toArray()), 1200.0);
        QCOMPARE(areaOf(page[1].toArray()), -100.0);
        QCOMPARE(areaOf(rings(feature(collection, 1))[0].toArray()), 100.0);
        const QJsonArray ring = page[0].toArray();
        QCOMPARE(ring[0].toArray(), ring[ring.size() - 1].toArray());
        const QJsonObject properties = feature(collection, 1).value("properties").toObject();
        QCOMPARE(properties.value("color").toString(), QString("#cc0000"));
        QCOMPARE(properties.value("layer").toString(), QString("L%1").arg(0xCC0000));
        QVERIFY(!collection.contains("crs"));
        QVERIFY(collection.value("coordinates").toString().contains("no coordinate reference"));
    }

    void coordinatesAreOfTheUnitWithoutAMap()
    {
        Drawing drawing = sheet();
        drawing.dpi = 254.0;
        drawing.unit = Unit::Millimetre;
        QCOMPARE(areaOf(rings(feature(written(drawing), 1))[0].toArray()), 1.0);
    }

    void coordinatesAreOfTheMap()
    {
        Drawing drawing = sheet();
        drawing.placement.isKnown = true;
        drawing.placement.origin = Point(500000, 4600000);
        drawing.placement.columnX = 2.5;
        drawing.placement.rowY = -2.5;
        drawing.placement.epsg = 32633;
        const QJsonObject collection = written(drawing);
        QCOMPARE(collection.value("crs").toObject().value("properties").toObject().value("name"),
                 QJsonValue("urn:ogc:def:crs:EPSG::32633"));
        const QJsonArray ring = rings(feature(collection, 1))[0].toArray();
        QCOMPARE(areaOf(ring), 625.0);
        for (const QJsonValue &point : ring) {
            QVERIFY(x(point) == 500025 || x(point) == 500050);
            QVERIFY(y(point) == 4600000 - 25 || y(point) == 4600000 - 50);
        }
    }

    // Degrees: a pixel is a ten thousandth of one, and nothing of it may be lost in rounding.
    void smallPixelsHaveMoreDecimals()
    {
        Drawing drawing = sheet();
        drawing.placement.isKnown = true;
        drawing.placement.origin = Point(12, 45);
        drawing.placement.columnX = 1e-4;
        drawing.placement.rowY = -1e-4;
        drawing.outlines[1].shape = rectangle(10, 10, 20.37, 20);
        const QJsonArray ring = rings(feature(written(drawing), 1))[0].toArray();
        double right = 0.0;
        for (const QJsonValue &point : ring)
            right = std::max(right, x(point));
        QVERIFY(std::fabs(right - (12 + 20.37e-4)) < 1e-8);
    }

    void neighboursHaveTheSamePointsOnACurve()
    {
        const Path left = besideCurve({ Point(20, 30), Point(25, 22), Point(14, 9), Point(21, 0) },
                                      { { 0, 0 }, { 0, 30 } });
        const Path right = besideCurve({ Point(21, 0), Point(14, 9), Point(25, 22), Point(20, 30) },
                                       { { 40, 30 }, { 40, 0 } });
        Drawing drawing = sheet();
        drawing.outlines = { area(left, 0xFF000000u), area(right, 0xFFFFFFFFu) };
        for (int decimals : { kDecimalsOfDrawing, kExactDecimals, 2 }) {
            const QJsonObject collection = written(drawing, decimals);
            const QJsonArray one = rings(feature(collection, 0))[0].toArray();
            const QJsonArray other = rings(feature(collection, 1))[0].toArray();
            int shared = 0;
            for (const QJsonValue &point : one)
                shared += other.contains(point);
            QVERIFY(shared > 6);
            QVERIFY(std::fabs(areaOf(one) + areaOf(other) - 1200.0) < 1e-9);
        }
    }

    void centreLinesAreLines()
    {
        Drawing drawing = sheet();
        drawing.pens = { Pen() };
        drawing.pens[0].width = 2.5;
        Path line;
        line.moveTo(Point(1, 2));
        line.lineTo(Point(30, 2));
        drawing.outlines = { area(line, 0xFF000000u) };
        drawing.outlines[0].pen = 0;
        const QJsonObject found = feature(written(drawing), 0);
        QCOMPARE(found.value("geometry").toObject().value("type").toString(),
                 QString("LineString"));
        QCOMPARE(found.value("properties").toObject().value("width").toDouble(), 2.5);
    }

    void whatIsClearIsNoFeature()
    {
        Drawing drawing = sheet();
        drawing.outlines[1].colour = 0x00CC0000u;
        QCOMPARE(written(drawing).value("features").toArray().size(), 1);
        drawing.outlines.clear();
        QCOMPARE(written(drawing).value("features").toArray().size(), 0);
    }

    // Other formats fill them.
    void openOutlinesAreClosed()
    {
        const auto open = [](std::vector<Point> corners) {
            Path path;
            path.moveTo(corners[0]);
            for (std::size_t k = 1; k < corners.size(); ++k)
                path.lineTo(corners[k]);
            return path;
        };
        Drawing drawing = sheet();
        drawing.outlines[0].shape = open({ { 0, 0 }, { 40, 0 }, { 0, 30 } });
        drawing.outlines[1].shape = open({ { 2, 2 }, { 8, 2 }, { 2, 8 } });
        const QJsonObject collection = written(drawing);
        QCOMPARE(collection.value("features").toArray().size(), 2);
        const QJsonArray triangle = rings(feature(collection, 0));
        QCOMPARE(triangle.size(), 2);
        QCOMPARE(areaOf(triangle[0].toArray()), 600.0);
        QCOMPARE(areaOf(triangle[1].toArray()), -18.0);
        for (const QJsonValue &ring : triangle)
            QCOMPARE(ring.toArray().first(), ring.toArray().last());
        // Two points bound nothing, as an area and as a hole.
        for (const bool returns : { false, true }) {
            drawing.outlines[1].shape = open({ { 2, 2 }, { 8, 2 } });
            if (returns)
                drawing.outlines[1].shape.lineTo(Point(2, 2));
            QCOMPARE(written(drawing).value("features").toArray().size(), 1);
            QCOMPARE(rings(feature(written(drawing), 0)).size(), 1);
        }
    }

    // JSON has no form for them.
    void numbersAreFinite()
    {
        const double kNowhere[] = { std::nan(""), HUGE_VAL, -1e308 };
        for (const double nowhere : kNowhere) {
            Path path = rectangle(0, 0, 40, 30);
            path.lineTo(Point(nowhere, 3));
            path.lineTo(Point(5, nowhere));
            path.lineTo(Point(7, 8));
            path.arcTo(Point(9, 8), nowhere);
            path.quadraticTo(Point(nowhere, 1), Point(0, 0));
            Drawing drawing = sheet();
            drawing.unit = Unit::Millimetre;
            drawing.dpi = 1e-5;
            drawing.outlines[0].shape = drawing.outlines[1].shape = path;
            const QJsonArray features = written(drawing).value("features").toArray();
            QCOMPARE(features.size(), 2);
            for (const QJsonValue &found : features)
                QVERIFY(!rings(found.toObject()).isEmpty());
        }
    }

    // Arcs whose circle is none, or has no end of radius, are lines.
    void arcsOfNoCircleAreLines()
    {
        for (const double bulge : { 1e300, -1e200, 1e-300, -1e-14 }) {
            Path path;
            path.moveTo(Point(0, 0));
            path.lineTo(Point(40, 0));
            path.lineTo(Point(40, 30));
            path.arcTo(Point(20, 10), bulge);
            Drawing drawing = sheet();
            drawing.outlines = { area(path, 0xFFFFFFFFu) };
            const QJsonArray ring = rings(feature(written(drawing), 0))[0].toArray();
            QCOMPARE(ring.size(), 5);
        }
    }

    void linesForCurvesHaveABound()
    {
        QCOMPARE(coarsenessOf(sheet()), 1.0);
        Path path;
        path.moveTo(Point(0, 0));
        for (int i = 1; i <= 2000; ++i)
            path.arcTo(Point(i % 2 * 1e9, i), 0.5);
        Drawing drawing = sheet();
        drawing.outlines = { area(path, 0xFFFFFFFFu) };
        QVERIFY(coarsenessOf(drawing) > 1.0);
        const QJsonArray ring = rings(feature(written(drawing), 0))[0].toArray();
        QVERIFY2(ring.size() > 4000 && ring.size() <= 300002,
                 qPrintable(QString::number(ring.size())));
        // As many small ones are as fine as ever.
        Path small;
        small.moveTo(Point(0, 0));
        for (int i = 1; i <= 2000; ++i)
            small.arcTo(Point(i % 2 * 1000, i), 0.5);
        drawing.outlines = { area(small, 0xFFFFFFFFu) };
        QCOMPARE(coarsenessOf(drawing), 1.0);
    }
};

QTEST_GUILESS_MAIN(tst_GeoJson)
#include "tst_geojson.moc"
