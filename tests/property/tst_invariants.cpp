// (c) the ztrace developers. Licence: see LICENSE.
//
// What holds of every stage's result, whatever the picture.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Grids.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

#include <cmath>
#include <cstdlib>

using ztrace::difference;
using ztrace::Picture;
using ztrace::Random;

namespace {

using Path = QVector<QVector<int>>;
using Internodes = QVector<QVector<double>>;
using Segments = QVector<QVector<double>>;

// A tracer that has quantized a random picture into few colours.
struct Quantized : ZTraceBitmap
{
    explicit Quantized(Random &random)
    {
        const Picture picture = ztrace::randomPicture(random, 30);
        setOption("monochrome", random.below(2));
        setOption("alphathreshold", 255);
        setOption("numberofcolors", random.between(1, 9));
        setOption("blurradius", random.between(0, 5));
        shape = picture.describe();
        QImage image = picture.toImage();
        preprocess(image);
        loadImageData(image);
        std::srand(static_cast<unsigned>(random.below(1000)));
        colorquantization();
    }
    QString shape;
};

bool isUnitStep(const QVector<int> &from, const QVector<int> &to)
{
    return std::abs(to.at(0) - from.at(0)) + std::abs(to.at(1) - from.at(1)) == 1;
}

QVector<double> endOf(const QVector<double> &segment)
{
    return segment.mid(segment.at(0) == 1.0 ? 3 : 5, 2);
}

// Twice the area that a closed path walks round, clockwise positive as seen on the screen.
long long doubledArea(const Path &path)
{
    long long area = 0;
    for (int i = 0; i < path.size(); ++i) {
        const QVector<int> &a = path.at(i);
        const QVector<int> &b = path.at((i + 1) % path.size());
        area += static_cast<long long>(a.at(0)) * b.at(1)
            - static_cast<long long>(b.at(0)) * a.at(1);
    }
    return area;
}

// Largest squared distance of an inner internode of start .. end from the segment, at the place
// that evenly spaced internodes have on it.
double worstError(const Internodes &path, const QVector<double> &segment, int start, int end)
{
    const int n = int(path.size());
    const int steps = end > start ? end - start : end - start + n;
    double worst = 0;
    for (int i = 1; i < steps; ++i) {
        const double t = double(i) / steps;
        const QVector<double> &p = path.at((start + i) % n);
        double at[2];
        for (int axis = 0; axis < 2; ++axis) {
            const double s = segment.at(1 + axis);
            if (segment.at(0) == 1.0)
                at[axis] = s + (segment.at(3 + axis) - s) * t;
            else
                at[axis] = (1 - t) * (1 - t) * s + 2 * (1 - t) * t * segment.at(3 + axis)
                    + t * t * segment.at(5 + axis);
        }
        worst = qMax(worst, std::pow(p.at(0) - at[0], 2) + std::pow(p.at(1) - at[1], 2));
    }
    return worst;
}

} // namespace

class tst_Invariants : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void everyPixelHasItsNearestEntry();
    void layerCodesEqualTheDefinition();
    void pathsCloseInUnitSteps();
    void pathsWalkRoundTheirRegions();
    void internodesMatchPointsOneToOne();
    void segmentsChainAndClose();
    void innerPointsAreWithinTolerance();
    void polylinesAreOrderedAndClosed();
    void callersImageIsUntouched();
    void oneOutlineAPathWhenStartsDiffer();
};

void tst_Invariants::everyPixelHasItsNearestEntry()
{
    Random random(ztrace::testSeed());
    for (int round = 0; round < 400; ++round) {
        Quantized q(random);
        for (int y = 0; y < q.imageHeight; ++y) {
            for (int x = 0; x < q.imageWidth; ++x) {
                const char *pixel = q.imageData.constData() + 4 * (y * q.imageWidth + x);
                QVector<int> distances;
                for (const QVector<char> &entry : q.currentPalette) {
                    int d = 3 * std::abs(entry.at(3) - pixel[3]);
                    for (int c = 0; c < 4; ++c)
                        d += std::abs(entry.at(c) - pixel[c]);
                    distances.append(d);
                }
                const int nearest = *std::min_element(distances.begin(), distances.end());
                const int expected = nearest < 1024 ? distances.indexOf(nearest) : 0;
                QCOMPARE(q.indexedImage.indices.at(y + 1).at(x + 1), expected);
            }
        }
    }
}

void tst_Invariants::layerCodesEqualTheDefinition()
{
    Random random(ztrace::testSeed() + 1);
    for (int round = 0; round < 400; ++round) {
        Quantized q(random);
        const auto layers = q.layering();
        QCOMPARE(layers.size(), q.indexedImage.palette.size());
        for (int k = 0; k < layers.size(); ++k) {
            const auto expected = ztrace::layerByDefinition(q.indexedImage.indices, k);
            const QString found = difference(layers.at(k), expected);
            QVERIFY2(found.isEmpty(), qPrintable(q.shape + found));
        }
    }
}

void tst_Invariants::pathsCloseInUnitSteps()
{
    Random random(ztrace::testSeed() + 2);
    for (int round = 0; round < 400; ++round) {
        Quantized q(random);
        for (const auto &paths : q.batchpathscan(q.layering(), 0)) {
            for (const Path &path : paths) {
                QVERIFY(path.size() >= 4);
                QVERIFY(path.size() % 2 == 0);
                for (int i = 0; i < path.size(); ++i) {
                    QVERIFY(isUnitStep(path.at(i), path.at((i + 1) % path.size())));
                    QVERIFY(path.at(i).at(0) >= 0 && path.at(i).at(0) <= q.imageWidth);
                    QVERIFY(path.at(i).at(1) >= 0 && path.at(i).at(1) <= q.imageHeight);
                    QVERIFY(path.at(i).at(2) > 0 && path.at(i).at(2) < 15);
                }
            }
        }
    }
}

void tst_Invariants::pathsWalkRoundTheirRegions()
{
    Random random(ztrace::testSeed() + 3);
    for (int round = 0; round < 400; ++round) {
        Quantized q(random);
        const auto layers = q.layering();
        const auto batch = q.batchpathscan(layers, 0);
        for (int k = 0; k < layers.size(); ++k) {
            long long enclosed = 0;
            for (const Path &path : batch.at(k)) {
                const long long area = doubledArea(path);
                QVERIFY(area > 0);
                enclosed += area / 2;
            }
            long long pixels = 0;
            for (const QVector<int> &row : q.indexedImage.indices)
                pixels += row.count(k);
            QVERIFY(enclosed >= pixels); // more only where there are holes
        }
    }
}

void tst_Invariants::internodesMatchPointsOneToOne()
{
    Random random(ztrace::testSeed() + 4);
    for (int round = 0; round < 300; ++round) {
        Quantized q(random);
        for (const auto &paths : q.batchpathscan(q.layering(), 0)) {
            const auto points = q.internodes(paths);
            QCOMPARE(points.size(), paths.size());
            for (int p = 0; p < paths.size(); ++p) {
                const Path &path = paths.at(p);
                QCOMPARE(points.at(p).size(), path.size());
                for (int i = 0; i < path.size(); ++i) {
                    const QVector<int> &next = path.at((i + 1) % path.size());
                    const QVector<double> &point = points.at(p).at(i);
                    QCOMPARE(point.size(), 3);
                    QCOMPARE(point.at(0), (path.at(i).at(0) + next.at(0)) / 2.0);
                    QCOMPARE(point.at(1), (path.at(i).at(1) + next.at(1)) / 2.0);
                    QVERIFY(point.at(2) >= 0 && point.at(2) <= 7);
                }
            }
        }
    }
}

void tst_Invariants::segmentsChainAndClose()
{
    Random random(ztrace::testSeed() + 5);
    for (int round = 0; round < 400; ++round) {
        Quantized q(random);
        const float tolerance = static_cast<float>(random.unit() * 2);
        const auto points = q.batchinternodes(q.batchpathscan(q.layering(), 0));
        for (const auto &layer : points) {
            for (const Internodes &path : layer) {
                const Segments segments = q.tracepath(path, tolerance, tolerance / 2);
                QVERIFY(!segments.isEmpty());
                QCOMPARE(segments.first().mid(1, 2), path.first().mid(0, 2));
                for (int i = 0; i < segments.size(); ++i) {
                    QCOMPARE(segments.at(i).size(), 7);
                    const QVector<double> &next = segments.at((i + 1) % segments.size());
                    QCOMPARE(endOf(segments.at(i)), next.mid(1, 2));
                }
            }
        }
    }
}

void tst_Invariants::innerPointsAreWithinTolerance()
{
    Random random(ztrace::testSeed() + 6);
    for (int round = 0; round < 400; ++round) {
        Quantized q(random);
        const float ltres = static_cast<float>(random.unit() * 2);
        const float qtres = static_cast<float>(random.unit() * 2);
        const auto points = q.batchinternodes(q.batchpathscan(q.layering(), 0));
        for (const auto &layer : points) {
            for (const Internodes &path : layer) {
                // Segments end on internodes in order; a place may be passed twice, at a saddle
                // only, so the first internode there that is not behind is the right one or the
                // error is found below.
                int at = 0;
                for (const QVector<double> &segment : q.tracepath(path, ltres, qtres)) {
                    const QVector<double> end = endOf(segment);
                    const double limit = double(segment.at(0) == 1.0 ? ltres : qtres) + 1e-9;
                    bool fits = false;
                    int next = at;
                    do {
                        next = (next + 1) % int(path.size());
                        if (path.at(next).mid(0, 2) == end)
                            fits = worstError(path, segment, at, next) <= limit;
                    } while (!fits && next != 0);
                    QVERIFY(fits);
                    at = next;
                }
                QCOMPARE(at, 0);
            }
        }
    }
}

void tst_Invariants::polylinesAreOrderedAndClosed()
{
    Random random(ztrace::testSeed() + 7);
    for (int round = 0; round < 300; ++round) {
        const Picture picture = ztrace::randomPicture(random, 30);
        ZTraceBitmap tracer;
        tracer.setOption("monochrome", 0);
        tracer.setOption("pathomit", 0);
        double last = -1;
        for (const ZPolyline &polyline : tracer.trace(picture.toImage())) {
            const ZVector start = polyline.getStartPoint();
            QCOMPARE(difference(polyline.getEndPoint(), start), QString());
            const double key = picture.width * (picture.height - start.y) + start.x;
            QVERIFY(key > last);
            last = key;
        }
    }
}

void tst_Invariants::callersImageIsUntouched()
{
    Random random(ztrace::testSeed() + 8);
    for (int round = 0; round < 300; ++round) {
        const Picture picture = ztrace::randomPicture(random, 25);
        const QImage image = picture.toImage();
        ZTraceBitmap tracer;
        const QMap<QString, double> options = ztrace::randomOptions(random);
        for (auto it = options.begin(); it != options.end(); ++it)
            tracer.setOption(it.key(), it.value());
        tracer.trace(image);
        QVERIFY2(image == picture.toImage(), qPrintable(picture.describe()));
    }
}

// As many polylines as paths, less those that share their start with a later one.
void tst_Invariants::oneOutlineAPathWhenStartsDiffer()
{
    Random random(ztrace::testSeed() + 9);
    for (int round = 0; round < 300; ++round) {
        const Picture picture = ztrace::randomPicture(random, 25);
        ZTraceBitmap tracer;
        tracer.setOption("monochrome", 0);
        tracer.setOption("pathomit", 0);
        const auto result = tracer.trace(picture.toImage());
        QSet<QString> starts;
        for (const auto &layer : tracer.indexedImage.tracedLayers) {
            for (const Segments &path : layer) {
                const double key = picture.width * path.at(0).at(2) + path.at(0).at(1);
                starts.insert(QString::number(key, 'g', 17));
            }
        }
        QCOMPARE(result.size(), starts.size());
    }
}

QTEST_GUILESS_MAIN(tst_Invariants)
#include "tst_invariants.moc"
