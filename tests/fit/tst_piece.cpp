// (c) the ztrace developers. Licence: see LICENSE.
//
// Pieces by themselves: distances, directions, ellipses.
#include "FitRig.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace ztrace::fit;

class tst_Piece : public QObject
{
    Q_OBJECT

private slots:
    void distanceEqualsSampledOne();
    void reversedPieceIsTheSameCurve();
    void partIsTheSameCurve();
    void ellipticArcIsOnItsEllipse();
};

void tst_Piece::distanceEqualsSampledOne()
{
    std::vector<Piece> pieces = {
        linePiece({ 1, 2 }, { 9, 5 }),
        arcPiece({ 1, 2 }, { 9, 5 }, 0.4),
        arcPiece({ 1, 2 }, { 9, 5 }, -1.7),
        quadraticPiece({ 1, 2 }, { 6, 9 }, { 9, 5 }),
        cubicPiece({ 1, 2 }, { 3, 9 }, { 8, -4 }, { 9, 5 }),
        conicPiece({ 1, 2 }, { 6, 9 }, 0.6, { 9, 5 }),
        circleTruth({ 4, 4 }, 3)[0],
        ellipseTruth({ 4, 4 }, 6, 2, 0.7)[0],
        // The tip of a narrow one, and a sharp bend of a long curve, are between two places.
        ellipseTruth({ 5 - 80, 5 }, 80, 9, 0)[0],
        ellipseTruth({ 5, 5 + 40 }, 3, 40, 0)[0],
        cubicPiece({ -90, 4 }, { 38, 4 }, { 38, 6 }, { -90, 6 }),
        rectangleTruth({ 4, 4 }, 8, 5, 0.4, 1.5)[0],
    };
    Noise random(8);
    for (const Piece &piece : pieces) {
        for (int round = 0; round < 20; ++round) {
            const Point p = { 10 * random.uniform(), 10 * random.uniform() };
            double nearest = INFINITY;
            for (int i = 0; i <= 20000; ++i) {
                const Point q = pointAt(piece, i / 20000.0);
                nearest = std::min(nearest, std::hypot(q.x - p.x, q.y - p.y));
            }
            QVERIFY2(std::fabs(distanceTo(piece, p) - nearest) < 2e-3,
                     qPrintable(QString("kind %1: %2 against %3")
                                    .arg(int(piece.kind))
                                    .arg(distanceTo(piece, p))
                                    .arg(nearest)));
        }
    }
}

void tst_Piece::reversedPieceIsTheSameCurve()
{
    for (const Piece &piece :
         { arcPiece({ 1, 2 }, { 9, 5 }, 0.4), quadraticPiece({ 1, 2 }, { 6, 9 }, { 9, 5 }),
           cubicPiece({ 1, 2 }, { 3, 9 }, { 8, -4 }, { 9, 5 }) }) {
        const Piece back = reversed(piece);
        for (const double t : { 0., 0.2, 0.5, 1. }) {
            const Point gap = pointAt(piece, t) - pointAt(back, 1 - t);
            QVERIFY(std::hypot(gap.x, gap.y) < 1e-9);
        }
        const Point sum = startTangent(piece) + endTangent(back);
        QVERIFY(std::hypot(sum.x, sum.y) < 1e-9);
        // The tangent is where the curve goes.
        const Point step = pointAt(piece, 1e-6) - piece.start;
        QVERIFY(dot(step, startTangent(piece)) > 0.999 * std::hypot(step.x, step.y));
    }
}

void tst_Piece::partIsTheSameCurve()
{
    for (const Piece &piece :
         { linePiece({ 1, 2 }, { 9, 5 }), arcPiece({ 1, 2 }, { 9, 5 }, 0.4),
           arcPiece({ 1, 2 }, { 9, 5 }, -1.7), quadraticPiece({ 1, 2 }, { 6, 9 }, { 9, 5 }),
           cubicPiece({ 1, 2 }, { 3, 9 }, { 8, -4 }, { 9, 5 }) }) {
        const Piece part = cutOut(piece, 0.3, 0.8);
        for (const double t : { 0., 0.2, 0.5, 1. }) {
            const Point gap = pointAt(piece, 0.3 + 0.5 * t) - pointAt(part, t);
            QVERIFY(std::hypot(gap.x, gap.y) < 1e-9);
        }
        QVERIFY(cutOut(piece, 0, 0.5).start.x == piece.start.x);
        QVERIFY(cutOut(piece, 0.5, 1).end.y == piece.end.y);
    }
}

void tst_Piece::ellipticArcIsOnItsEllipse()
{
    const Piece conic = conicPiece({ 1, 2 }, { 6, 9 }, 0.6, { 9, 5 });
    const EllipseShape shape = ellipseShape(conic);
    for (const double t : { 0., 0.1, 0.3, 0.7, 1. }) {
        const Point d = pointAt(conic, t) - shape.centre;
        const double u
            = (std::cos(shape.angle) * d.x + std::sin(shape.angle) * d.y) / shape.half[0];
        const double v
            = (std::cos(shape.angle) * d.y - std::sin(shape.angle) * d.x) / shape.half[1];
        QVERIFY(std::fabs(u * u + v * v - 1) < 1e-9);
    }
}

QTEST_APPLESS_MAIN(tst_Piece)
#include "tst_piece.moc"
