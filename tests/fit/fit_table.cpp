// (c) the ztrace developers. Licence: see LICENSE.
//
// Prints how well shapes of known geometry come back: fit_table [--svg DIR].
// With --svg every row's worst picture is written as an SVG: truth green, points blue, fit black,
// corners red, smooth joints orange, four times enlarged.
#include "FitRig.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QFont>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <cstring>

using namespace ztrace::fit;

namespace {

const double kPi = 3.14159265358979323846;

struct Row
{
    std::string name;
    double noise;
    std::function<Truth(Noise *)> draw; // a shape in a new phase
    int count;
};

std::string svgFolder;
int repeats = 1; // of every fit, for its time

double cornerError(const Path &path, const Truth &truth)
{
    double worst = 0;
    for (const Piece &side : truth) {
        double nearest = INFINITY;
        for (const Piece &piece : path.pieces) {
            std::vector<Point> ends = { piece.start };
            if (piece.kind == Kind::RoundedRectangle) {
                const Point u
                    = piece.half[0] * Point { std::cos(piece.angle), std::sin(piece.angle) };
                const Point v
                    = piece.half[1] * Point { -std::sin(piece.angle), std::cos(piece.angle) };
                ends = { piece.centre + u + v, piece.centre + u - v, piece.centre - u + v,
                         piece.centre - u - v };
            }
            for (const Point end : ends) {
                const Point d = end - side.start;
                nearest = std::min(nearest, std::hypot(d.x, d.y));
            }
        }
        worst = std::max(worst, nearest);
    }
    return worst;
}

double lengthOfTruth(const Truth &truth)
{
    double sum = 0;
    for (const Piece &piece : truth) {
        for (int i = 0; i < 64; ++i) {
            const Point d = pointAt(piece, (i + 1) / 64.0) - pointAt(piece, i / 64.0);
            sum += std::hypot(d.x, d.y);
        }
    }
    return sum;
}

void print(const Row &row, Edge edge, const Settings &settings)
{
    Noise noise(1);
    double rms = 0, worst = 0, numbers = 0, turning = 0, bias = 0, corners = 0, seconds = 0;
    int kinks = 0, whole = 0, points = 0;
    double truthNumbers = 0, length = 0;
    for (int i = 0; i < row.count; ++i) {
        const Truth truth = row.draw(&noise);
        const int size = sizeFor(truth);
        Raster raster = rasterOf(truth, size, size);
        if (row.noise > 0)
            addNoise(&raster, row.noise, &noise);
        const ChainData data = outlineOf(raster, edge, row.noise);
        const std::clock_t begin = std::clock();
        Path path;
        for (int k = 0; k < repeats; ++k)
            path = fitChain(data.view(), settings);
        seconds += static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC / repeats;
        points += static_cast<int>(data.x.size());
        const Score score = scoreOf(path, truth, settings);
        rms += score.rms * score.rms;
        worst = std::max(worst, score.rms);
        numbers += score.numbers;
        turning += score.turning;
        kinks += score.kinks;
        whole += !path.pieces.empty() && isWhole(path.pieces[0].kind);
        if (truth[0].kind == Kind::Circle && !path.pieces.empty()
            && path.pieces[0].kind == Kind::Circle)
            bias += path.pieces[0].half[0] - truth[0].half[0];
        if (truth[0].kind == Kind::Line && truth.size() <= 40)
            corners = std::max(corners, cornerError(path, truth));
        for (const Piece &piece : truth)
            truthNumbers += priceOf(piece, svgPrices());
        length += lengthOfTruth(truth);
        if (score.rms >= worst && !svgFolder.empty()) {
            std::ofstream out(svgFolder + "/" + row.name + (edge == Edge::Soft ? "-aa" : "-bw")
                              + ".svg");
            out << svgOf(path, truth, data);
        }
    }
    const double n = row.count;
    std::printf(
        "| %-26s | %s | %.4f | %.3f | %7.1f | %7.1f | %d/%d | %+.4f | %.3f | %6.1f | %5.1f | %.2f "
        "| %.0f |\n",
        row.name.c_str(), edge == Edge::Soft ? "aa" : "bw", std::sqrt(rms / n), worst, numbers / n,
        truthNumbers / n, whole, row.count, bias / n, corners, turning / n, kinks / n,
        kinks / length * 100, 1e9 * seconds / points);
    std::fflush(stdout);
}

Truth glyph(const QChar letter, double pixels, Noise *noise, const char *family)
{
    QFont font(family);
    font.setPixelSize(1000);
    font.setHintingPreference(QFont::PreferNoHinting);
    QPainterPath path;
    path.addText(0, 0, font, QString(letter));
    const double scale = pixels / 1000;
    const QRectF box = path.boundingRect();
    const Point shift = phase(noise, 4);
    const auto place = [&](const QPainterPath::Element &e) {
        return Point { (e.x - box.left()) * scale + shift.x, (e.y - box.top()) * scale + shift.y };
    };
    Truth truth;
    Point at = place(path.elementAt(0));
    for (int i = 1; i < path.elementCount() && !path.elementAt(i).isMoveTo();) {
        const QPainterPath::Element e = path.elementAt(i);
        const bool curve = e.isCurveTo();
        const Point end = place(path.elementAt(curve ? i + 2 : i));
        const Point gap = end - at;
        if (curve)
            truth.push_back(cubicPiece(at, place(e), place(path.elementAt(i + 1)), end));
        else if (dot(gap, gap) > 1e-12)
            truth.push_back(linePiece(at, end));
        at = end;
        i += curve ? 3 : 1;
    }
    return truth;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    std::string only;
    const Prices *prices = nullptr;
    const Prices svg = svgPrices(), dxf = dxfPrices(), host = hostPrices();
    prices = &svg;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--svg"))
            svgFolder = argv[i + 1];
        if (!std::strcmp(argv[i], "--only"))
            only = argv[i + 1];
        if (!std::strcmp(argv[i], "--repeat"))
            repeats = std::max(1, std::atoi(argv[i + 1]));
        if (!std::strcmp(argv[i], "--prices"))
            prices = argv[i + 1][0] == 'd' ? &dxf : argv[i + 1][0] == 'h' ? &host : &svg;
    }
    std::vector<Row> rows;
    for (const double r : { 5., 10., 20., 50., 100., 300. }) {
        rows.push_back({ "circle-" + std::to_string(int(r)), 0,
                         [r](Noise *n) { return circleTruth(phase(n, r + 4), r); }, 20 });
    }
    for (const double degrees : { 0., 3., 10., 17., 30., 45. }) {
        rows.push_back({ "rectangle-" + std::to_string(int(degrees)), 0,
                         [degrees](Noise *n) {
                             return rectangleTruth(phase(n, 70), 90 + 10 * n->uniform(),
                                                   50 + 10 * n->uniform(), degrees * kPi / 180);
                         },
                         20 });
    }
    rows.push_back({ "ellipse-40-20", 0,
                     [](Noise *n) { return ellipseTruth(phase(n, 50), 40, 20, 3 * n->uniform()); },
                     20 });
    rows.push_back({ "ellipse-90-70", 0,
                     [](Noise *n) { return ellipseTruth(phase(n, 100), 90, 70, 3 * n->uniform()); },
                     20 });
    rows.push_back({ "ellipse-12-8", 0,
                     [](Noise *n) { return ellipseTruth(phase(n, 20), 12, 8, 3 * n->uniform()); },
                     20 });
    for (const double r : { 3., 5., 8., 15. }) {
        rows.push_back({ "rounded-" + std::to_string(int(r)), 0,
                         [r](Noise *n) {
                             return rectangleTruth(phase(n, 80), 100, 60, 1.6 * n->uniform(), r);
                         },
                         20 });
    }
    for (const double width : { 1., 1.5, 2., 3., 6. }) {
        rows.push_back({ "line-" + std::to_string(width).substr(0, 3), 0,
                         [width](Noise *n) {
                             return rectangleTruth(phase(n, 60), 100, width, 3.14 * n->uniform());
                         },
                         20 });
    }
    rows.push_back(
        { "long-line", 0,
          [](Noise *n) { return rectangleTruth(phase(n, 760), 1480, 20, 3.14 * n->uniform()); },
          20 });
    rows.push_back(
        { "long-line-flat", 0,
          [](Noise *n) { return rectangleTruth(phase(n, 760), 1480, 20, 0.02 * n->uniform()); },
          20 });
    rows.push_back({ "long-triangle", 0,
                     [](Noise *n) {
                         const Point p = phase(n, 8);
                         return polygonTruth({ p, p + Point { 1200, 8 * n->uniform() },
                                               p + Point { 1200 * n->uniform(), 700 } });
                     },
                     20 });
    rows.push_back(
        { "star", 0,
          [](Noise *n) {
              const Point c = phase(n, 60);
              const double turn = n->uniform();
              std::vector<Point> corners;
              for (int k = 0; k < 10; ++k) {
                  const double a = turn + k * kPi / 5;
                  corners.push_back(c + (k % 2 ? 22.0 : 55.0) * Point { std::cos(a), std::sin(a) });
              }
              return polygonTruth(corners);
          },
          20 });
    for (const double size : { 24., 60., 120. }) {
        const char *letters = "SaRgCe5tfG&m";
        for (const char *family : { "DejaVu Sans", "DejaVu Serif" }) {
            int k = 0;
            rows.push_back({ std::string(family + 7) + "-" + std::to_string(int(size)), 0,
                             [letters, size, family, k](Noise *n) mutable {
                                 return glyph(QChar(letters[k++ % 12]), size, n, family);
                             },
                             12 });
        }
    }
    const std::size_t plain = rows.size();
    for (std::size_t i = 0; i < plain; ++i) {
        Row noisy = rows[i];
        noisy.name += "-noise8";
        noisy.noise = 8.0 / 255;
        if (noisy.name.find("long") == std::string::npos)
            rows.push_back(noisy);
    }
    Settings settings = settingsFor(*prices);
    std::printf(
        "| shape | edge | rms | worst | numbers | truth's | whole | bias | corner | turning "
        "| kinks | kinks/100px | ns/pt |\n|---|---|---|---|---|---|---|---|---|---|---|---|---|\n");
    for (const Row &row : rows) {
        if (!only.empty() && row.name.find(only) == std::string::npos)
            continue;
        print(row, Edge::Soft, settings);
        print(row, Edge::Hard, settings);
    }
    return 0;
}
