// (c) the ztrace developers. Licence: see LICENSE.
//
// Midpoints of path edges and the directions between them.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Grids.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

using ztrace::difference;

namespace {

using Path = QVector<QVector<int>>;
using Internodes = QVector<QVector<double>>;

Internodes of(const Path &path)
{
    return ZTraceBitmap().internodes({ path }).at(0);
}

} // namespace

class tst_Internodes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void singlePixel();
    void directionCodes_data();
    void directionCodes();
    void straightRunAlongX();
    void straightRunBackAlongX();
    void lastTwoDirectionsWrapAround();
    void onePoint();
    void emptyPath();
    void twoPoints();
    void onePathEachInOrder();
    void batchKeepsEveryLayer();
    void nodeCodesAreNotRead();
};

void tst_Internodes::singlePixel()
{
    const Internodes expected({ { 0.5, 0, 1 }, { 1, 0.5, 3 }, { 0.5, 1, 5 }, { 0, 0.5, 7 } });
    const Internodes result = of({ { 0, 0, 4 }, { 1, 0, 8 }, { 1, 1, 1 }, { 0, 1, 2 } });
    QCOMPARE(difference(result, expected), QString());
}

void tst_Internodes::directionCodes_data()
{
    QTest::addColumn<int>("dx");
    QTest::addColumn<int>("dy");
    QTest::addColumn<double>("code");
    QTest::newRow("east") << 1 << 0 << 0.0;
    QTest::newRow("south-east") << 1 << 1 << 1.0;
    QTest::newRow("south") << 0 << 1 << 2.0;
    QTest::newRow("south-west") << -1 << 1 << 3.0;
    QTest::newRow("west") << -1 << 0 << 4.0;
    QTest::newRow("north-west") << -1 << -1 << 5.0;
    QTest::newRow("north") << 0 << -1 << 6.0;
    QTest::newRow("north-east") << 1 << -1 << 7.0;
    QTest::newRow("no movement") << 0 << 0 << 8.0;
}

void tst_Internodes::directionCodes()
{
    QFETCH(int, dx);
    QFETCH(int, dy);
    QFETCH(double, code);
    // Between the midpoints of (0, 1) and (1, 2) lies half the step from point 0 to point 2.
    const Internodes result = of({ { 5, 5, 0 }, { 9, 2, 0 }, { 5 + dx, 5 + dy, 0 } });
    QCOMPARE(result.at(0), QVector<double>({ 7, 3.5, code }));
}

void tst_Internodes::straightRunAlongX()
{
    const Internodes result = of({ { 3, 7, 3 }, { 4, 7, 3 }, { 5, 7, 3 }, { 6, 7, 3 } });
    QCOMPARE(result.at(0), QVector<double>({ 3.5, 7, 0 }));
    QCOMPARE(result.at(1), QVector<double>({ 4.5, 7, 0 }));
}

void tst_Internodes::straightRunBackAlongX()
{
    const Internodes result = of({ { 6, 7, 3 }, { 5, 7, 3 }, { 4, 7, 3 }, { 3, 7, 3 } });
    QCOMPARE(result.at(0), QVector<double>({ 5.5, 7, 4 }));
    QCOMPARE(result.at(1), QVector<double>({ 4.5, 7, 4 }));
}

void tst_Internodes::lastTwoDirectionsWrapAround()
{
    const Internodes result = of({ { 0, 0, 0 }, { 10, 0, 0 }, { 10, 20, 0 }, { -4, 6, 0 } });
    QCOMPARE(result.at(2), QVector<double>({ 3, 13, 5 })); // towards (-2, 3)
    QCOMPARE(result.at(3), QVector<double>({ -2, 3, 7 })); // towards (5, 0)
}

void tst_Internodes::onePoint()
{
    QCOMPARE(of({ { 3, -4, 5 } }), Internodes({ { 3, -4, 8 } }));
}

void tst_Internodes::emptyPath()
{
    QVERIFY(of(Path()).isEmpty());
    QVERIFY(ZTraceBitmap().internodes(QVector<Path>()).isEmpty());
}

void tst_Internodes::twoPoints()
{
    QCOMPARE(of({ { 0, 0, 0 }, { 1, 0, 0 } }), Internodes({ { 0.5, 0, 8 }, { 0.5, 0, 8 } }));
}

void tst_Internodes::onePathEachInOrder()
{
    const QVector<Path> paths({ { { 0, 0, 0 }, { 1, 0, 0 } },
                                {},
                                { { 4, 4, 0 } },
                                { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } } });
    const auto result = ZTraceBitmap().internodes(paths);
    QCOMPARE(result.size(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(result.at(i).size(), paths.at(i).size());
        QCOMPARE(result.at(i), of(paths.at(i)));
    }
}

void tst_Internodes::batchKeepsEveryLayer()
{
    ZTraceBitmap tracer;
    const QVector<Path> paths({ { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } } });
    const auto result = tracer.batchinternodes({ {}, paths, {} });
    QCOMPARE(result.size(), 3);
    QVERIFY(result.at(0).isEmpty());
    QCOMPARE(result.at(1), tracer.internodes(paths));
    QVERIFY(result.at(2).isEmpty());
    QVERIFY(tracer.batchinternodes({}).isEmpty());
}

void tst_Internodes::nodeCodesAreNotRead()
{
    const Internodes one = of({ { 0, 0, 4 }, { 1, 0, 8 }, { 1, 1, 1 }, { 0, 1, 2 } });
    const Internodes other = of({ { 0, 0, 15 }, { 1, 0, -3 }, { 1, 1, 99 }, { 0, 1, 0 } });
    QCOMPARE(one, other);
}

QTEST_GUILESS_MAIN(tst_Internodes)
#include "tst_internodes.moc"
