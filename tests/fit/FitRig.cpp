// (c) the ztrace developers. Licence: see LICENSE.
#include "FitRig.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
const double kStep = 0.02; // pixels between the vertices that stand for a curve in the raster

double lengthOf(const Piece &piece)
{
    double sum = 0;
    for (int i = 0; i < 256; ++i) {
        const Point d = pointAt(piece, (i + 1) / 256.0) - pointAt(piece, i / 256.0);
        sum += std::hypot(d.x, d.y);
    }
    return sum;
}

std::vector<Point> flattened(const Truth &truth)
{
    std::vector<Point> points;
    for (const Piece &piece : truth) {
        const bool corners = piece.kind == Kind::Line;
        const int steps
            = corners ? 1 : std::max(8, static_cast<int>(std::sqrt(lengthOf(piece)) / kStep));
        for (int i = 0; i < steps; ++i)
            points.push_back(pointAt(piece, static_cast<double>(i) / steps));
    }
    return points;
}

// The area between an edge and the right border of the picture, signed by the edge's direction, as
// differences along the rows: cell (x, y) gets what the row's sum changes by from x on.
class Accumulator
{
public:
    Accumulator(int w, int h)
        : width(w), height(h), cells(static_cast<std::size_t>((w + 2) * h), 0.0)
    { }

    void edge(Point a, Point b)
    {
        if (a.y == b.y)
            return;
        const double sign = a.y < b.y ? 1 : -1;
        if (sign < 0)
            std::swap(a, b);
        const double slope = (b.x - a.x) / (b.y - a.y);
        for (int row = static_cast<int>(std::floor(a.y)); row < b.y && row < height; ++row) {
            const double top = std::max(a.y, static_cast<double>(row));
            const double bottom = std::min(b.y, row + 1.0);
            if (row >= 0 && bottom > top)
                slice(row, a.x + slope * (top - a.y), a.x + slope * (bottom - a.y),
                      sign * (bottom - top));
        }
    }

    Raster raster() const
    {
        Raster result = { width, height, {} };
        for (int y = 0; y < height; ++y) {
            double sum = 0;
            for (int x = 0; x < width; ++x) {
                sum += cells[index(x, y)];
                result.coverage.push_back(std::min(1.0, std::fabs(sum)));
            }
        }
        return result;
    }

private:
    std::size_t index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width + 2)
            + static_cast<std::size_t>(std::min(std::max(x, 0), width));
    }

    // Part of an edge within one row; split where it crosses columns.
    void slice(int row, double from, double to, double height_)
    {
        const double low = std::min(from, to);
        const double high = std::max(from, to);
        if (high - low < 1e-12) {
            column(row, low, low, height_);
            return;
        }
        for (double x = low; x < high;) {
            const double next = std::min(high, std::floor(x) + 1);
            column(row, x, next, height_ * (next - x) / (high - low));
            x = next;
        }
    }

    void column(int row, double low, double high, double height_)
    {
        const int cell = static_cast<int>(std::floor(0.5 * (low + high)));
        const double inside = cell + 1 - 0.5 * (low + high);
        cells[index(cell, row)] += height_ * inside;
        cells[index(cell + 1, row)] += height_ * (1 - inside);
    }

    int width;
    int height;
    std::vector<double> cells;
};

// Where a straight edge with this unit normal covers `area` of a unit pixel: the distance of the
// edge from the pixel's centre along the normal, the covered side behind it. Bisection: plainly
// right.
double edgeOffset(Point normal, double area)
{
    const double a = std::fabs(normal.x);
    const double b = std::fabs(normal.y);
    const auto covered = [a, b](double d) {
        // Area of the unit square below a x + b y = d + (a + b) / 2.
        const double s = d + 0.5 * (a + b);
        const auto part = [](double v) { return v > 0 ? v * v : 0; };
        if (std::min(a, b) < 1e-9)
            return std::min(1.0, std::max(0.0, s / std::max(a, b)));
        return (part(s) - part(s - a) - part(s - b) + part(s - a - b)) / (2 * a * b);
    };
    double low = -0.5 * (a + b);
    double high = -low;
    for (int i = 0; i < 50; ++i) {
        const double middle = 0.5 * (low + high);
        (covered(middle) < area ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

Point sobel(const Raster &r, int x, int y)
{
    const auto row = [&r, x](int v) { return r.at(x + 1, v) - r.at(x - 1, v); };
    const auto column = [&r, y](int v) { return r.at(v, y + 1) - r.at(v, y - 1); };
    return { row(y - 1) + 2 * row(y) + row(y + 1), column(x - 1) + 2 * column(x) + column(x + 1) };
}

struct Pixel
{
    int x;
    int y;
};

// One crack: from its node, in direction 0 right, 1 down, 2 left, 3 up, the shape on its right.
struct Crack
{
    int x;
    int y;
    int heading;

    Point middle() const
    {
        static const double dx[4] = { 0.5, 0, -0.5, 0 };
        static const double dy[4] = { 0, 0.5, 0, -0.5 };
        return { x + dx[heading], y + dy[heading] };
    }
    Pixel inside() const
    {
        static const int dx[4] = { 0, -1, -1, 0 };
        static const int dy[4] = { 0, 0, -1, -1 };
        return { x + dx[heading], y + dy[heading] };
    }
    Pixel outside() const
    {
        static const int dx[4] = { 0, 0, -1, -1 };
        static const int dy[4] = { -1, 0, 0, -1 };
        return { x + dx[heading], y + dy[heading] };
    }
};

bool isInside(const Raster &r, Pixel p)
{
    return r.at(p.x, p.y) >= 0.5;
}

std::vector<Crack> walkOutline(const Raster &r)
{
    std::vector<Crack> walk;
    Crack start = { -1, -1, 0 };
    for (int y = 0; y < r.height && start.x < 0; ++y) {
        for (int x = 0; x < r.width && start.x < 0; ++x) {
            if (isInside(r, { x, y }))
                start = { x, y, 0 };
        }
    }
    if (start.x < 0)
        return walk;
    static const int dx[4] = { 1, 0, -1, 0 };
    static const int dy[4] = { 0, 1, 0, -1 };
    Crack crack = start;
    do {
        walk.push_back(crack);
        const int x = crack.x + dx[crack.heading];
        const int y = crack.y + dy[crack.heading];
        // To the left first: pixels that touch at a corner hang together.
        for (const int turn : { 3, 0, 1 }) {
            crack = { x, y, (walk.back().heading + turn) & 3 };
            if (isInside(r, crack.inside()) && !isInside(r, crack.outside()))
                break;
        }
    } while (crack.x != start.x || crack.y != start.y || crack.heading != start.heading);
    return walk;
}

void softPoint(const Raster &r, const Crack &crack, double noise, ChainData *data)
{
    const Pixel in = crack.inside();
    const Pixel out = crack.outside();
    const double a = r.at(in.x, in.y);
    const double b = r.at(out.x, out.y);
    const double share = a > b ? (a - 0.5) / (a - b) : 0.5;
    const Point ga = sobel(r, in.x, in.y);
    const Point gb = sobel(r, out.x, out.y);
    Point normal = -1.0 * ((1 - share) * ga + share * gb); // out of the shape
    const double length = std::hypot(normal.x, normal.y);
    normal = length > 0 ? (1 / length) * normal : Point { 1, 0 };
    const Pixel pixel = a - 0.5 < 0.5 - b ? in : out;
    const double area = std::min(1.0, std::max(0.0, r.at(pixel.x, pixel.y)));
    const double offset = edgeOffset(normal, area);
    const Point centre = { pixel.x + 0.5, pixel.y + 0.5 };
    const Point middle = crack.middle();
    const Point p = middle + (offset - dot(normal, middle - centre)) * normal;
    // Pixels per coverage at this coverage.
    const double h = 0.02;
    const double slope = (edgeOffset(normal, std::min(1 - 1e-6, area + h))
                          - edgeOffset(normal, std::max(1e-6, area - h)))
        / (2 * h);
    data->x.push_back(p.x);
    data->y.push_back(p.y);
    data->sigma.push_back(std::hypot(kSoftFloor, noise * std::min(slope, 3.0)));
}

} // namespace

double Noise::uniform()
{
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state >> 11) / 9007199254740992.0;
}

double Noise::normal()
{
    const double r = std::sqrt(-2 * std::log(1 - uniform()));
    return r * std::cos(2 * kPi * uniform());
}

Truth circleTruth(Point centre, double radius)
{
    Piece piece = {};
    piece.kind = Kind::Circle;
    piece.centre = centre;
    piece.half[0] = piece.half[1] = radius;
    return { piece };
}

Truth ellipseTruth(Point centre, double a, double b, double angle)
{
    Piece piece = {};
    piece.kind = Kind::Ellipse;
    piece.centre = centre;
    piece.half[0] = a;
    piece.half[1] = b;
    piece.angle = angle;
    return { piece };
}

Truth rectangleTruth(Point centre, double width, double height, double angle, double radius)
{
    if (radius > 0) {
        Truth truth = ellipseTruth(centre, width / 2, height / 2, angle);
        truth[0].kind = Kind::RoundedRectangle;
        truth[0].radius = radius;
        return truth;
    }
    const Point along = { std::cos(angle) * width / 2, std::sin(angle) * width / 2 };
    const Point across = { -std::sin(angle) * height / 2, std::cos(angle) * height / 2 };
    return polygonTruth({ centre - along - across, centre + along - across, centre + along + across,
                          centre - along + across });
}

Truth polygonTruth(const std::vector<Point> &corners)
{
    Truth truth;
    for (std::size_t i = 0; i < corners.size(); ++i)
        truth.push_back(linePiece(corners[i], corners[(i + 1) % corners.size()]));
    return truth;
}

Raster rasterOf(const Truth &truth, int width, int height)
{
    Accumulator sums(width, height);
    const std::vector<Point> points = flattened(truth);
    for (std::size_t i = 0; i < points.size(); ++i)
        sums.edge(points[i], points[(i + 1) % points.size()]);
    return sums.raster();
}

void addNoise(Raster *raster, double deviation, Noise *noise)
{
    for (double &value : raster->coverage)
        value += deviation * noise->normal();
}

Chain ChainData::view() const
{
    Chain chain = {};
    chain.x = x.data();
    chain.y = y.data();
    chain.sigma = sigma.empty() ? nullptr : sigma.data();
    chain.size = static_cast<int>(x.size());
    chain.closed = closed;
    chain.edge = edge;
    return chain;
}

ChainData outlineOf(const Raster &raster, Edge edge, double noise)
{
    ChainData data = { {}, {}, {}, edge, true };
    for (const Crack &crack : walkOutline(raster)) {
        if (edge == Edge::Soft) {
            softPoint(raster, crack, noise, &data);
        } else {
            data.x.push_back(crack.middle().x);
            data.y.push_back(crack.middle().y);
        }
    }
    return data;
}

Score scoreOf(const Path &path, const Truth &truth, const Settings &settings)
{
    Score score = {};
    double sum = 0;
    int samples = 0;
    for (std::size_t k = 0; k < path.pieces.size(); ++k) {
        const Piece &piece = path.pieces[k];
        const int steps = std::max(4, static_cast<int>(lengthOf(piece) / 0.5));
        for (int i = 0; i < steps; ++i) {
            const Point p = pointAt(piece, (i + 0.5) / steps);
            double nearest = INFINITY;
            for (const Piece &part : truth)
                nearest = std::min(nearest, distanceTo(part, p));
            sum += nearest * nearest;
            score.worst = std::max(score.worst, nearest);
            ++samples;
        }
        if (offered(priceOf(piece, settings.prices)))
            score.numbers += priceOf(piece, settings.prices);
        score.turning += turningOf(piece) * 180 / kPi;
        if (isWhole(piece.kind) || (k == 0 && !path.closed))
            continue;
        const Piece &before = path.pieces[k > 0 ? k - 1 : path.pieces.size() - 1];
        const Point a = endTangent(before);
        const Point b = startTangent(piece);
        const double turn = std::fabs(std::atan2(cross(a, b), dot(a, b))) * 180 / kPi;
        score.turning += turn;
        score.kinks += turn > 3 ? 1 : 0;
    }
    score.pieces = static_cast<int>(path.pieces.size());
    score.rms = samples > 0 ? std::sqrt(sum / samples) : 0;
    return score;
}

namespace {

void writePath(std::ostream &out, const std::vector<Piece> &pieces, const char *style)
{
    out << "<path fill=\"none\" " << style << " d=\"";
    for (std::size_t k = 0; k < pieces.size(); ++k) {
        const int steps = pieces[k].kind == Kind::Line ? 1 : 64;
        for (int i = 0; i <= steps; ++i) {
            const Point p = pointAt(pieces[k], static_cast<double>(i) / steps);
            out << (i == 0 && k == 0 ? "M" : "L") << p.x << " " << p.y;
        }
    }
    out << "\"/>\n";
}

} // namespace

std::string svgOf(const Path &path, const Truth &truth, const ChainData &data)
{
    Box box = { { data.x[0], data.y[0] }, { data.x[0], data.y[0] } };
    for (std::size_t i = 0; i < data.x.size(); ++i) {
        box.low = { std::min(box.low.x, data.x[i]), std::min(box.low.y, data.y[i]) };
        box.high = { std::max(box.high.x, data.x[i]), std::max(box.high.y, data.y[i]) };
    }
    const Point size = box.high - box.low;
    std::ostringstream out;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << 4 * (size.x + 8)
        << "\" height=\"" << 4 * (size.y + 8) << "\" viewBox=\"" << box.low.x - 4 << " "
        << box.low.y - 4 << " " << size.x + 8 << " " << size.y + 8 << "\">\n"
        << "<rect x=\"-999\" y=\"-999\" width=\"9999\" height=\"9999\" fill=\"white\"/>\n";
    writePath(out, truth, "stroke=\"#8c8\" stroke-width=\".6\"");
    for (std::size_t i = 0; i < data.x.size(); ++i)
        out << "<circle cx=\"" << data.x[i] << "\" cy=\"" << data.y[i]
            << "\" r=\".18\" fill=\"#36c\"/>\n";
    writePath(out, path.pieces, "stroke=\"black\" stroke-width=\".2\"");
    for (const Piece &piece : path.pieces)
        out << "<circle cx=\"" << piece.start.x << "\" cy=\"" << piece.start.y
            << "\" r=\".45\" fill=\"" << (piece.smooth ? "orange" : "red") << "\"/>\n";
    out << "</svg>\n";
    return out.str();
}

Truth leaf(Point at)
{
    return { cubicPiece(at, at + Point { 20, -15 }, at + Point { 60, -10 }, at + Point { 80, 20 }),
             cubicPiece(at + Point { 80, 20 }, at + Point { 70, 45 }, at + Point { 20, 50 },
                        at + Point { 5, 30 }),
             linePiece(at + Point { 5, 30 }, at) };
}

bool isJoined(const Path &path)
{
    for (std::size_t k = 0; k + 1 < path.pieces.size(); ++k) {
        const Point a = path.pieces[k].end;
        const Point b = path.pieces[k + 1].start;
        if (a.x != b.x || a.y != b.y)
            return false;
    }
    return true;
}

Point phase(Noise *noise, double at)
{
    return { at + noise->uniform(), at + noise->uniform() };
}

int sizeFor(const Truth &truth)
{
    double size = 0;
    for (const Piece &piece : truth)
        size = std::max(size, std::max(boxOf(piece).high.x, boxOf(piece).high.y));
    return static_cast<int>(size) + 8;
}

Path fitOf(const Truth &truth, Edge edge, const Settings &settings, double deviation, Noise *noise)
{
    const int size = sizeFor(truth);
    Raster raster = rasterOf(truth, size, size);
    if (noise)
        addNoise(&raster, deviation, noise);
    return fitChain(outlineOf(raster, edge, deviation).view(), settings);
}

} // namespace ztrace::fit
