// (c) the ztrace developers. Licence: see LICENSE.
//
// Path data in few bytes, read back by a reader of its own; whole shapes; the order of painting.
#include "drawing/paintorder.h"
#include "drawing/svg.h"
#include "drawing/svg_path.h"
#include "drawing/wholeshape.h"

#include <QBuffer>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <random>

using namespace ztrace;

namespace {

// A command with absolute points, y upwards: the ends of lines, control points and ends of curves;
// of an arc its middle and its end.
struct Read
{
    char command;
    std::vector<Point> points;
};

// Centre and sweep from the ends, as the standard's implementation notes say, and from them the
// middle.
Point middleOfArc(Point a, Point b, const std::vector<double> &n)
{
    double rx = n[0], ry = n[1];
    const double phi = n[2] * M_PI / 180, c = std::cos(phi), s = std::sin(phi);
    const double x = c * (a.x - b.x) / 2 + s * (a.y - b.y) / 2;
    const double y = -s * (a.x - b.x) / 2 + c * (a.y - b.y) / 2;
    const double grow = x * x / (rx * rx) + y * y / (ry * ry);
    if (grow > 1) {
        rx *= std::sqrt(grow);
        ry *= std::sqrt(grow);
    }
    const double below = rx * rx * y * y + ry * ry * x * x;
    const double sign = (n[3] != 0) == (n[4] != 0) ? -1 : 1;
    const double root = sign * std::sqrt(std::max(0.0, (rx * rx * ry * ry - below) / below));
    const double cx = root * rx * y / ry, cy = -root * ry * x / rx;
    const double from = std::atan2((y - cy) / ry, (x - cx) / rx);
    double sweep = std::atan2((-y - cy) / ry, (-x - cx) / rx) - from;
    if (n[4] != 0 && sweep < 0)
        sweep += 2 * M_PI;
    if (n[4] == 0 && sweep > 0)
        sweep -= 2 * M_PI;
    const double u = rx * std::cos(from + sweep / 2) + cx, v = ry * std::sin(from + sweep / 2) + cy;
    return Point(c * u - s * v + (a.x + b.x) / 2, s * u + c * v + (a.y + b.y) / 2);
}

std::vector<Read> readData(const QByteArray &data, double top)
{
    std::vector<Read> found;
    Point at, start;
    const QRegularExpression command("([A-Za-z])([^A-Za-z]*)");
    const QRegularExpression number("-?(?:\\d+\\.?\\d*|\\.\\d+)");
    QRegularExpressionMatchIterator commands = command.globalMatch(QString::fromLatin1(data));
    while (commands.hasNext()) {
        const QRegularExpressionMatch match = commands.next();
        char letter = match.captured(1).at(0).toLatin1();
        std::vector<double> numbers;
        QRegularExpressionMatchIterator all = number.globalMatch(match.captured(2));
        while (all.hasNext())
            numbers.push_back(all.next().captured().toDouble());
        const bool relative = letter >= 'a';
        const char kind = relative ? char(letter - 'a' + 'A') : letter;
        if (kind == 'Z') {
            found.push_back({ 'Z', { start } });
            at = start;
            continue;
        }
        const std::size_t each = kind == 'H' || kind == 'V' ? 1
            : kind == 'Q'                                   ? 4
            : kind == 'C'                                   ? 6
            : kind == 'A'                                   ? 7
                                                            : 2;
        for (std::size_t i = 0; i + each <= numbers.size(); i += each) {
            const std::vector<double> n(numbers.begin() + long(i),
                                        numbers.begin() + long(i + each));
            const Point base = relative ? at : Point(0, 0);
            Read read = { kind, {} };
            if (kind == 'H' || kind == 'V') {
                read.points.push_back(kind == 'H' ? Point(base.x + n[0], at.y)
                                                  : Point(at.x, base.y + n[0]));
                read.command = 'L';
            } else if (kind == 'A') {
                const Point end(base.x + n[5], base.y + n[6]);
                read.points = { middleOfArc(at, end, n), end };
            } else {
                for (std::size_t k = 0; k < each; k += 2)
                    read.points.push_back(Point(base.x + n[k], base.y + n[k + 1]));
                read.command = kind == 'M' && i > 0 ? 'L' : kind;
            }
            at = read.points.back();
            if (read.command == 'M')
                start = at;
            found.push_back(read);
        }
    }
    for (Read &read : found) {
        for (Point &p : read.points)
            p.y = top - p.y;
    }
    return found;
}

QByteArray dataOf(const Path &path, double top, int decimals)
{
    std::vector<PathPiece> pieces;
    piecesOf(path, &pieces);
    std::string text;
    SvgPath writer(0.0, top, decimals);
    writer.append(pieces, &text);
    return QByteArray::fromStdString(text);
}

QByteArray svgOf(const Drawing &drawing, int decimals = 2)
{
    SvgOptions options;
    options.decimals = decimals;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writeSvg(drawing, options, &buffer);
    return buffer.data();
}

Drawing drawingOf(const std::vector<Path> &paths)
{
    Drawing drawing;
    drawing.width = 100;
    drawing.height = 80;
    for (const Path &path : paths) {
        drawing.outlines.emplace_back();
        drawing.outlines.back().shape = path;
    }
    return drawing;
}

Path square(double x, double y, double side)
{
    Path path;
    path.moveTo(Point(x, y));
    path.lineTo(Point(x, y + side));
    path.lineTo(Point(x + side, y + side));
    path.lineTo(Point(x + side, y));
    path.lineTo(Point(x, y));
    return path;
}

} // namespace

class tst_SvgPath : public QObject
{
    Q_OBJECT

private slots:
    void fewBytes_data()
    {
        QTest::addColumn<int>("shape");
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("upright and flat lines, and no last one")
            << 0 << QByteArray("M10 70v-9.5h9.5V70z");
        QTest::newRow("no 0, no separator, no letter twice")
            << 1 << QByteArray("M.5 80l.25-.25.25.5L10 71");
        QTest::newRow("absolute where that is shorter") << 2 << QByteArray("M99 80 1 79l-.25-1");
        QTest::newRow("half a circle") << 3 << QByteArray("M10 70a5 5 0 0 1 10 0");
    }
    void fewBytes()
    {
        QFETCH(int, shape);
        Path path = square(10, 10, 9.5);
        if (shape > 0)
            path = Path();
        if (shape == 1) {
            path.moveTo(Point(0.5, 0));
            path.lineTo(Point(0.75, 0.25));
            path.lineTo(Point(1, -0.25));
            path.lineTo(Point(10, 9));
        } else if (shape == 2) {
            path.moveTo(Point(99, 0));
            path.lineTo(Point(1, 1));
            path.lineTo(Point(0.75, 2));
        } else if (shape == 3) {
            path.moveTo(Point(10, 10));
            path.arcTo(Point(20, 10), -1.0);
        }
        QTEST(dataOf(path, 80, 2), "data");
    }

    // Every point comes back to half a unit, and the middle of every arc to three quarters of one
    // and what its own ends are off.
    void whatIsWrittenIsReadBack()
    {
        std::mt19937 random(17);
        const auto real = [&random](double low, double high) {
            return std::uniform_real_distribution<double>(low, high)(random);
        };
        for (int round = 0; round < 300; ++round) {
            const int decimals = round % 4;
            const double unit = std::pow(10.0, -decimals);
            const double size = round % 3 == 0 && decimals > 1 ? 5.0 : 400.0;
            const auto point = [&] { return Point(real(-size, size), real(-size, size)); };
            Path path;
            path.moveTo(point());
            for (int k = 0; k < 8; ++k) {
                switch (random() % 5) {
                case 0:
                    path.lineTo(k % 2 ? point() : Point(path.end().x, real(-size, size)));
                    break;
                case 1:
                    path.quadraticTo(point(), point());
                    break;
                case 2:
                    path.cubicTo(point(), point(), point());
                    break;
                case 3:
                    path.arcTo(point(), real(-1.4, 1.4));
                    break;
                case 4:
                    path.ellipticArcTo(point(), real(-1.4, 1.4), real(0.2, 1), real(-3, 3));
                    break;
                }
            }
            const QByteArray data = dataOf(path, 80, decimals);
            const std::vector<Read> found = readData(data, 80);
            std::vector<PathPiece> pieces;
            piecesOf(path, &pieces);
            QVERIFY2(found.size() == pieces.size() + 1, data);
            const auto isNear = [](const Point &a, const Point &b, double most) {
                return std::fabs(a.x - b.x) <= most && std::fabs(a.y - b.y) <= most;
            };
            for (std::size_t i = 0; i < pieces.size(); ++i) {
                const PathPiece &piece = pieces[i];
                const Read &read = found[i + 1];
                const double half = 0.5 * unit + 1e-9;
                QVERIFY2(isNear(read.points.back(), piece.end, half), data);
                if (piece.kind == PathPiece::Quadratic || piece.kind == PathPiece::Cubic)
                    QVERIFY2(isNear(read.points[0], piece.control1, half), data);
                if (piece.kind == PathPiece::Arc || piece.kind == PathPiece::EllipticArc) {
                    const Ellipse e = ellipseOf(piece);
                    const Point middle = pointOn(e, e.start + 0.5 * e.sweep);
                    // Ends that are off move it: of a flat ellipse, or where it is far from them,
                    // by more.
                    const double chord
                        = std::hypot(piece.end.x - piece.start.x, piece.end.y - piece.start.y);
                    const double far = 1.0 + 2.0 * e.major / (chord * piece.ratio * piece.ratio);
                    QVERIFY2(isNear(read.points[0], middle,
                                    (piece.ratio == 1.0 && std::fabs(piece.bulge) < 1.2 ? 1.5 : far)
                                            * unit
                                        + 1e-6),
                             data);
                }
            }
        }
    }

    void manyPartsDoNotDrift()
    {
        Path path;
        path.moveTo(Point(0, 0));
        for (int k = 1; k <= 3000; ++k)
            path.lineTo(Point(k / 3.0, 10 * std::sin(k / 7.0)));
        const std::vector<Read> found = readData(dataOf(path, 80, 2), 80);
        QVERIFY(std::fabs(found.back().points.back().x - 1000.0) <= 0.005 + 1e-9);
    }

    void hugeNumbersAreWrittenAsTheyWere()
    {
        Path path;
        path.moveTo(Point(1e300, 0));
        path.lineTo(Point(0, 5));
        QVERIFY(svgOf(drawingOf({ path })).contains("L0 75"));
    }

    void wholeShapesHaveElements()
    {
        WholeShape shape;
        shape.center = Point(30, 40);
        shape.half[0] = 12.5;
        shape.half[1] = 8;
        shape.kind = WholeShape::Rectangle;
        QVERIFY2(
            svgOf(drawingOf({ pathOf(shape) }))
                .contains("<rect fill=\"#000\" x=\"17.5\" y=\"32\" width=\"25\" height=\"16\"/>"),
            svgOf(drawingOf({ pathOf(shape) })));
        shape.radius = 2.25;
        QVERIFY(svgOf(drawingOf({ pathOf(shape) })).contains("height=\"16\" rx=\"2.25\"/>"));
        shape.angle = M_PI / 6;
        QVERIFY(svgOf(drawingOf({ pathOf(shape) })).contains("transform=\"rotate(-30 30 40)\"/>"));
        shape.kind = WholeShape::Ellipse;
        QVERIFY(svgOf(drawingOf({ pathOf(shape) }))
                    .contains("<ellipse fill=\"#000\" cx=\"30\" cy=\"40\" rx=\"12.5\" ry=\"8\" "
                              "transform=\"rotate(-30 30 40)\"/>"));
        shape.angle = 1e-5; // moves nothing by half a hundredth
        QVERIFY(svgOf(drawingOf({ pathOf(shape) })).contains(" ry=\"8\"/>"));
        shape.kind = WholeShape::Circle;
        shape.half[1] = 12.5;
        QVERIFY(svgOf(drawingOf({ pathOf(shape) }))
                    .contains("<circle fill=\"#000\" cx=\"30\" cy=\"40\" r=\"12.5\"/>"));
    }

    void looksAreSaidOnce()
    {
        Drawing drawing
            = drawingOf({ square(1, 1, 9), square(20, 1, 9), square(40, 1, 9), square(60, 1, 9) });
        drawing.outlines[2].colour = 0xFFFF0000u;
        drawing.outlines[3].colour = 0xFF123456u;
        const QByteArray svg = svgOf(drawing);
        QCOMPARE(svg.count("<g fill=\"#000\">"), 1);
        QCOMPARE(svg.count("</g>"), 1);
        QVERIFY(svg.contains("<rect fill=\"#f00\" ") && svg.contains("<rect fill=\"#123456\" "));
        // What is exact is written outline by outline, as ever.
        QVERIFY(!svgOf(drawing, kExactDecimals).contains("<g"));
        QVERIFY(svgOf(drawing, kExactDecimals).contains("M1 79L1 70L10 70L10 79L1 79Z"));
    }

    void decimalsAreThoseOfTheDrawing()
    {
        Drawing drawing = drawingOf({ square(1.0 / 3.0, 1, 9) });
        QVERIFY(svgOf(drawing, kDecimalsOfDrawing).contains("0.3333333333333333 "));
        drawing.precision = 0.01;
        QVERIFY(svgOf(drawing, kDecimalsOfDrawing).contains("x=\".33\""));
        QCOMPARE(decimalsFor(0.1), 1);
        QCOMPARE(decimalsFor(3.0), 0);
        QCOMPARE(decimalsFor(1e-30), 9);
        QCOMPARE(decimalsFor(0.0), kExactDecimals);
    }

    // Boxes that touch keep their order where their looks differ, and those of the same looks
    // theirs.
    void whatTouchesKeepsItsOrder()
    {
        std::mt19937 random(5);
        std::vector<Bounds> boxes;
        std::vector<int> looks;
        for (int i = 0; i < 1200; ++i) {
            const double x = double(random() % 1000), y = double(random() % 1000);
            const double side = i % 50 == 0 ? 300.0 : double(random() % 30);
            Bounds box;
            box.grow(Point(x, y));
            box.grow(Point(x + side, y + side));
            boxes.push_back(box);
            looks.push_back(int(random() % 3));
        }
        const std::vector<std::size_t> order = paintOrder(boxes, looks);
        std::vector<std::size_t> place(order.size());
        int changes = 0;
        for (std::size_t i = 0; i < order.size(); ++i) {
            place[order[i]] = i;
            changes += i > 0 && looks[order[i]] != looks[order[i - 1]] ? 1 : 0;
        }
        for (std::size_t a = 0; a < boxes.size(); ++a) {
            for (std::size_t b = a + 1; b < boxes.size(); ++b) {
                const bool apart = boxes[a].high.x < boxes[b].low.x
                    || boxes[b].high.x < boxes[a].low.x || boxes[a].high.y < boxes[b].low.y
                    || boxes[b].high.y < boxes[a].low.y;
                if (!apart && looks[a] != looks[b])
                    QVERIFY(place[a] < place[b]);
            }
        }
        QVERIFY(changes < 300);
        // One that is nowhere leaves the order as it is.
        boxes[7] = Bounds();
        QCOMPARE(paintOrder(boxes, looks)[5], std::size_t(5));
        QVERIFY(paintOrder({}, {}).empty());
    }

    void ofVeryManySeveralAreInOnePath()
    {
        std::vector<Path> paths;
        for (int k = 0; k < 1500; ++k)
            paths.push_back(square(2 * (k % 50), 2 * (k / 50), 1.5));
        const QByteArray many = svgOf(drawingOf(paths));
        QCOMPARE(many.count("<path"), 15);
        QCOMPARE(many.count('z'), 1500);
        paths.resize(900);
        QCOMPARE(svgOf(drawingOf(paths)).count("<rect"), 900);
    }

    // Units of the last decimal, drawn to scale, where nothing was said of decimals.
    void ofVeryManyCoordinatesAreWhole()
    {
        std::vector<Path> paths;
        for (int k = 0; k < 1500; ++k)
            paths.push_back(square(2 * (k % 50) + 0.3, 2 * (k / 50), 1.5));
        WholeShape shape;
        shape.kind = WholeShape::Circle;
        shape.center = Point(20.26, 70);
        shape.half[0] = shape.half[1] = 5;
        paths.push_back(pathOf(shape));
        Drawing drawing = drawingOf(paths);
        drawing.precision = 0.1;
        const QByteArray svg = svgOf(drawing, kDecimalsOfDrawing);
        QCOMPARE(svg.count("<g transform=\"scale(.1)\">"), 1);
        QVERIFY2(svg.contains("d=\"M3 800v-15h15v15zm20 0v-15h15v15z"), svg);
        QVERIFY(svg.contains("<circle cx=\"202.6\" cy=\"100\" r=\"50\"/>"));
        QCOMPARE(svg.count("<g"), svg.count("</g>"));
        QVERIFY(svgOf(drawing, 1).contains("d=\"M.3 80v-1.5h1.5V80zm2 0v-1.5h1.5V80z"));
        drawing.outlines[7].seam = 0.5;
        QVERIFY(!svgOf(drawing, kDecimalsOfDrawing).contains("scale("));
        drawing.outlines[7].seam = 0.0;
        drawing.outlines.resize(900);
        QVERIFY(!svgOf(drawing, kDecimalsOfDrawing).contains("scale("));
    }

    void turnedEllipsesOfVeryManyAreArcs()
    {
        std::vector<Path> paths;
        for (int k = 0; k < 1500; ++k)
            paths.push_back(square(2 * (k % 50), 2 * (k / 50), 1.5));
        WholeShape shape;
        shape.kind = WholeShape::Ellipse;
        shape.center = Point(50, 70);
        shape.half[0] = 9;
        shape.half[1] = 6;
        paths.push_back(pathOf(shape));
        QCOMPARE(svgOf(drawingOf(paths)).count("<ellipse"), 1);
        shape.angle = 0.5;
        paths.back() = pathOf(shape);
        QCOMPARE(svgOf(drawingOf(paths)).count("<ellipse"), 0);
    }

    void areasEndWithTheirLongestLine()
    {
        Path path;
        path.moveTo(Point(10, 10));
        path.lineTo(Point(33.25, 14.5));
        path.quadraticTo(Point(30, 30), Point(20, 30));
        path.lineTo(Point(15, 30));
        path.quadraticTo(Point(10, 20), Point(10, 10));
        QVERIFY2(svgOf(drawingOf({ path })).contains("d=\"M33.25 65.5Q30 50 20 50h-5q-5 10-5 20z"),
                 svgOf(drawingOf({ path })));
        // A line that is stroked begins where it does, as its dashes do.
        Drawing drawing = drawingOf({ path });
        SvgOptions options;
        options.decimals = 2;
        options.style.stroked = true;
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        writeSvg(drawing, options, &buffer);
        QVERIFY2(buffer.data().contains("d=\"M10 70"), buffer.data());
    }
};

QTEST_GUILESS_MAIN(tst_SvgPath)
#include "tst_svgpath.moc"
