// (c) the ztrace developers. Licence: see LICENSE.
#include "StrokesRig.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace ztrace::strokes {

namespace {

const int kFine = 6; // samples along a side of a pixel

double distanceToSegment(Point p, Point a, Point b)
{
    const Point d = b - a;
    const double length = fit::dot(d, d);
    const double t = length > 0 ? std::clamp(fit::dot(p - a, d) / length, 0.0, 1.0) : 0.0;
    const Point foot = a + t * d;
    return std::hypot(p.x - foot.x, p.y - foot.y);
}

} // namespace

Sheet::Sheet(int w, int h)
    : columns(w), rows(h), samples(std::size_t(w * kFine) * std::size_t(h * kFine), false)
{ }

template<typename Inside>
void Sheet::set(Point low, Point high, bool ink, Inside inside)
{
    const auto clampTo = [](double v, int most) {
        return std::clamp(int(std::floor(v * kFine)), 0, most * kFine);
    };
    for (int y = clampTo(low.y, rows); y < clampTo(high.y + 1, rows); ++y) {
        for (int x = clampTo(low.x, columns); x < clampTo(high.x + 1, columns); ++x) {
            if (inside(Point { (x + 0.5) / kFine, (y + 0.5) / kFine }))
                samples[std::size_t(y) * std::size_t(columns * kFine) + std::size_t(x)] = ink;
        }
    }
}

Sheet &Sheet::line(Point from, Point to, double width)
{
    const Point low = { std::min(from.x, to.x) - width, std::min(from.y, to.y) - width };
    const Point high = { std::max(from.x, to.x) + width, std::max(from.y, to.y) + width };
    set(low, high, true, [&](Point p) { return distanceToSegment(p, from, to) < 0.5 * width; });
    return *this;
}

Sheet &Sheet::arc(Point centre, double radius, double start, double sweep, double width)
{
    const double reach = radius + width;
    const Point ends[]
        = { centre + radius * Point { std::cos(start), std::sin(start) },
            centre + radius * Point { std::cos(start + sweep), std::sin(start + sweep) } };
    set(centre - Point { reach, reach }, centre + Point { reach, reach }, true, [&](Point p) {
        const Point d = p - centre;
        double angle = std::atan2(d.y, d.x) - start;
        angle -= 2 * M_PI * std::floor(angle / (2 * M_PI));
        if (angle < sweep)
            return std::fabs(std::hypot(d.x, d.y) - radius) < 0.5 * width;
        return std::min(std::hypot(p.x - ends[0].x, p.y - ends[0].y),
                        std::hypot(p.x - ends[1].x, p.y - ends[1].y))
            < 0.5 * width;
    });
    return *this;
}

Sheet &Sheet::bar(Point from, Point to, double width)
{
    const Point d = to - from;
    const double f = 0.5 * width / std::hypot(d.x, d.y);
    const Point side = { -f * d.y, f * d.x };
    return polygon({ from + side, to + side, to - side, from - side });
}

Sheet &Sheet::polygon(const std::vector<Point> &corners, bool ink)
{
    Point low = corners[0];
    Point high = corners[0];
    double area = 0.0;
    for (std::size_t k = 0; k < corners.size(); ++k) {
        low = { std::min(low.x, corners[k].x), std::min(low.y, corners[k].y) };
        high = { std::max(high.x, corners[k].x), std::max(high.y, corners[k].y) };
        area += fit::cross(corners[k], corners[(k + 1) % corners.size()]);
    }
    set(low, high, ink, [&](Point p) {
        for (std::size_t k = 0; k < corners.size(); ++k) {
            const Point side = corners[(k + 1) % corners.size()] - corners[k];
            if ((area > 0 ? 1.0 : -1.0) * fit::cross(side, p - corners[k]) < 0)
                return false;
        }
        return true;
    });
    return *this;
}

Sheet &Sheet::ellipse(Point centre, double a, double b, double angle, double width)
{
    const auto on = [&](double t) {
        const Point p = { a * std::cos(t), b * std::sin(t) };
        return centre
            + Point { std::cos(angle) * p.x - std::sin(angle) * p.y,
                      std::sin(angle) * p.x + std::cos(angle) * p.y };
    };
    const int steps = 720; // chords are off by .001 pixels
    for (int k = 0; k < steps; ++k)
        line(on(2 * M_PI * k / steps), on(2 * M_PI * (k + 1) / steps), width);
    return *this;
}

Sheet &Sheet::disc(Point centre, double radius)
{
    set(centre - Point { radius, radius }, centre + Point { radius, radius }, true,
        [&](Point p) { return std::hypot(p.x - centre.x, p.y - centre.y) < radius; });
    return *this;
}

Sheet &Sheet::paper(Point low, Point high)
{
    set(low, high, false,
        [&](Point p) { return p.x >= low.x && p.x < high.x && p.y >= low.y && p.y < high.y; });
    return *this;
}

std::vector<uint8_t> Sheet::grey(Tones tones) const
{
    std::vector<uint8_t> result;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            int ink = 0;
            for (int v = 0; v < kFine; ++v) {
                for (int u = 0; u < kFine; ++u)
                    ink += samples[std::size_t(y * kFine + v) * std::size_t(columns * kFine)
                                   + std::size_t(x * kFine + u)];
            }
            const double part = double(ink) / (kFine * kFine);
            result.push_back(uint8_t(tones == Tones::Soft ? std::lround(255 * (1 - part))
                                                          : (part > 0.5 ? 0 : 255)));
        }
    }
    return result;
}

void blurred(std::vector<uint8_t> *grey, int width, int height, double sigma)
{
    if (!(sigma > 0))
        return;
    const int reach = int(4 * sigma) + 1;
    std::vector<double> weights;
    double all = 0.0;
    for (int k = -reach; k <= reach; ++k) {
        weights.push_back(std::exp(-0.5 * k * k / (sigma * sigma)));
        all += weights.back();
    }
    std::vector<double> values(grey->begin(), grey->end());
    for (int pass = 0; pass < 2; ++pass) {
        const std::vector<double> before = values;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                double sum = 0.0;
                for (int k = -reach; k <= reach; ++k) {
                    const int u = std::clamp(pass == 0 ? x + k : x, 0, width - 1);
                    const int v = std::clamp(pass == 0 ? y : y + k, 0, height - 1);
                    sum += weights[std::size_t(k + reach)] * before[std::size_t(v * width + u)];
                }
                values[std::size_t(y * width + x)] = sum / all;
            }
        }
    }
    for (std::size_t k = 0; k < values.size(); ++k)
        (*grey)[k] = uint8_t(std::lround(values[k]));
}

StrokeDrawing strokesOn(const Sheet &sheet, Sheet::Tones tones)
{
    return strokesOn(sheet.grey(tones), sheet.width(), sheet.height(), tones == Sheet::Tones::Hard);
}

StrokeDrawing strokesOn(const std::vector<uint8_t> &grey, int width, int height, bool hard)
{
    InkPicture picture;
    picture.width = width;
    picture.height = height;
    picture.grey = grey.data();
    StrokeOptions options;
    options.hard = hard;
    StrokeDrawing drawing;
    if (!strokesOf(picture, options, &drawing))
        throw std::runtime_error("refused");
    return drawing;
}

int countOf(const StrokeDrawing &drawing, fit::Kind kind)
{
    return int(std::count_if(drawing.strokes.begin(), drawing.strokes.end(),
                             [kind](const Stroke &stroke) { return stroke.piece.kind == kind; }));
}

bool hasLine(const StrokeDrawing &drawing, Point a, Point b, double within)
{
    const auto near
        = [within](Point p, Point q) { return std::hypot(p.x - q.x, p.y - q.y) < within; };
    return std::any_of(drawing.strokes.begin(), drawing.strokes.end(), [&](const Stroke &stroke) {
        const fit::Piece &p = stroke.piece;
        return p.kind == fit::Kind::Line
            && ((near(p.start, a) && near(p.end, b)) || (near(p.start, b) && near(p.end, a)));
    });
}

std::string listOf(const StrokeDrawing &drawing)
{
    std::string text;
    for (const Stroke &stroke : drawing.strokes) {
        const fit::Piece &p = stroke.piece;
        char line[200];
        std::snprintf(line, sizeof line,
                      "kind %d (%.3f, %.3f) to (%.3f, %.3f) bulge %.4f centre (%.3f, %.3f) radius "
                      "%.3f width %.2f\n",
                      int(p.kind), p.start.x, p.start.y, p.end.x, p.end.y, p.bulge, p.centre.x,
                      p.centre.y, p.radius, stroke.width);
        text += line;
    }
    return text;
}

} // namespace ztrace::strokes
