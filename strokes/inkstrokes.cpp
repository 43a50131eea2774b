// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/inkstrokes.h"

#include "strokes/inks.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Widths and pixels that a stretch of an ink has at least; a line of another ink across is less.
const double kStretchWidths = 3.0;
const double kStretchPixels = 6.0;

// Cross-sections first to last - 1, drawn in an ink.
struct Stretch
{
    std::size_t first;
    std::size_t last;
    int ink;
};

// The ink that most have; 0 where nothing tells.
int commonest(const std::vector<uint8_t> &inks)
{
    std::array<std::size_t, 256> counts = {};
    for (uint8_t ink : inks)
        counts[ink] += ink == kNoInk ? 0u : 1u;
    return int(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

std::vector<uint8_t> inksAlong(const InkAt &inkAt, const Stroke &stroke)
{
    std::vector<uint8_t> inks;
    for (const Section &section : stroke.samples)
        inks.push_back(inkAt(section.centre));
    return inks;
}

// Stretches of one ink each that are long enough, the first from the beginning, each up to the
// middle of what lies between it and the next.
std::vector<Stretch> stretchesOf(const std::vector<uint8_t> &inks, double least)
{
    std::vector<Stretch> stretches;
    for (std::size_t first = 0; first < inks.size();) {
        std::size_t last = first + 1;
        while (last < inks.size() && inks[last] == inks[first])
            ++last;
        if (inks[first] != kNoInk && double(last - first) >= least) {
            if (!stretches.empty() && stretches.back().ink == inks[first])
                stretches.back().last = last;
            else
                stretches.push_back({ first, last, inks[first] });
        }
        first = last;
    }
    for (std::size_t k = 1; k < stretches.size(); ++k)
        stretches[k - 1].last = stretches[k].first
            = (stretches[k - 1].last + stretches[k].first) / 2;
    if (!stretches.empty()) {
        stretches.front().first = 0;
        stretches.back().last = inks.size();
    }
    return stretches;
}

// The part of a line or arc between two places on it.
fit::Piece between(const fit::Piece &piece, Point from, Point to)
{
    if (piece.kind != fit::Kind::Arc)
        return fit::linePiece(from, to);
    const fit::ArcShape arc = fit::arcShape(piece);
    const Point a = from - arc.centre;
    const Point b = to - arc.centre;
    double sweep = std::atan2(fit::cross(a, b), fit::dot(a, b));
    const double kTurn = 2 * 3.14159265358979323846;
    if (sweep * arc.sweep < 0)
        sweep += arc.sweep < 0 ? -kTurn : kTurn;
    return fit::arcPiece(from, to, std::tan(0.25 * sweep));
}

Point onPiece(const fit::Piece &piece, Point p)
{
    if (piece.kind == fit::Kind::Arc) {
        const fit::ArcShape arc = fit::arcShape(piece);
        const Point arm = p - arc.centre;
        return arc.centre + (arc.radius / std::max(1e-9, std::hypot(arm.x, arm.y))) * arm;
    }
    const Point along = piece.end - piece.start;
    const double square = std::max(1e-12, fit::dot(along, along));
    return piece.start + (fit::dot(p - piece.start, along) / square) * along;
}

std::vector<Stroke> parted(const Stroke &whole, const std::vector<Stretch> &stretches)
{
    std::vector<Stroke> parts;
    Point from = whole.piece.start;
    for (std::size_t k = 0; k < stretches.size(); ++k) {
        const bool isLast = k + 1 == stretches.size();
        const Stretch &stretch = stretches[k];
        Point to = whole.piece.end;
        if (!isLast)
            to = onPiece(whole.piece,
                         0.5
                             * (whole.samples[stretch.last - 1].centre
                                + whole.samples[stretch.last].centre));
        Stroke part = whole;
        part.piece = between(whole.piece, from, to);
        part.ink = stretch.ink;
        part.joint[0] = k == 0 ? whole.joint[0] : -1;
        part.joint[1] = isLast ? whole.joint[1] : -1;
        part.samples.assign(whole.samples.begin() + std::ptrdiff_t(stretch.first),
                            whole.samples.begin() + std::ptrdiff_t(stretch.last));
        parts.push_back(std::move(part));
        from = to;
    }
    return parts;
}

bool mayBeParted(const Stroke &stroke)
{
    return stroke.dashing.type == DashType::None
        && (stroke.piece.kind == fit::Kind::Line || stroke.piece.kind == fit::Kind::Arc);
}

} // namespace

void takeInks(const InkAt &inkAt, StrokeDrawing *drawing)
{
    std::vector<Stroke> strokes;
    for (Stroke &stroke : drawing->strokes) {
        const std::vector<uint8_t> inks = inksAlong(inkAt, stroke);
        stroke.ink = commonest(inks);
        const std::vector<Stretch> stretches
            = stretchesOf(inks, kStretchWidths * stroke.width + kStretchPixels);
        if (stretches.size() < 2 || !mayBeParted(stroke)) {
            strokes.push_back(std::move(stroke));
            continue;
        }
        for (Stroke &part : parted(stroke, stretches))
            strokes.push_back(std::move(part));
    }
    drawing->strokes = std::move(strokes);
    for (Arrow &arrow : drawing->arrows) {
        const uint8_t ink
            = inkAt((1.0 / 3.0) * (arrow.corner[0] + arrow.corner[1] + arrow.corner[2]));
        arrow.ink = ink == kNoInk ? 0 : ink;
    }
    for (LineDot &dot : drawing->dots) {
        const uint8_t ink = inkAt(dot.centre);
        dot.ink = ink == kNoInk ? 0 : ink;
    }
}

} // namespace ztrace::strokes
