// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/areaedits.h"

#include "fit/areapolish.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const int kRoundsOfEdit = 4;
// Turn of a tip, 95 degrees, pixels of its sides that are cut off, and part of its sides that may
// go.
const double kTipCosine = -0.087;
const double kTipCuts[] = { 0.7, 1.5 };
const double kTipPart = 0.6;
const double kLeastCorner = 0.6; // radians that a corner in a line turns
const double kLeastSplit = 1.2;  // pixels of a piece that a corner may divide
const double kMostSplit = 12;
const double kBeside = 1; // pixels
// Times the price of a number for detail: at 1 logos take more joints for nothing that is seen.
const double kDetail = 2;
const double kLeastWide = 1.9; // radians that an arc turns that may be two corners
const double kMostWide = 5;
const double kMostRadius = 6;    // pixels
const double kCornersForArc = 4; // numbers: three lines and two corners for an arc
const double kSplitArc = 5;
const double kBendLine = 3;
const double kSlightBulge = 1e-3;
const double kShort = 1.6;        // pixels of a line that may be left out
const double kMeetingSine = 0.3;  // of two that are drawn on to where they meet
const std::size_t kEdited = 5;    // joints that are fitted around a change
const double kAroundEdit = 4;     // pixels that pieces keep within as they are fitted
const double kCapPrice = 2 + 1.5; // numbers: a line and a corner

bool isSimple(const Piece &piece)
{
    return piece.kind == Kind::Line || piece.kind == Kind::Arc;
}

// The stretch of a line or an arc, 0 to 1.
Piece stretchOf(const Piece &piece, double from, double to)
{
    Piece result = piece;
    result.start = from > 0 ? pointAt(piece, from) : piece.start;
    result.end = to < 1 ? pointAt(piece, to) : piece.end;
    if (piece.kind == Kind::Arc)
        result.bulge = std::tan((to - from) * std::atan(piece.bulge));
    return result;
}

double chordOf(const Piece &piece)
{
    const Point chord = piece.end - piece.start;
    return std::sqrt(dot(chord, chord));
}

// The tip at the begin of a piece cut off square; false where there is none.
bool cutTip(std::size_t joint, double most, std::vector<Piece> *pieces)
{
    const std::size_t n = pieces->size();
    Piece &after = (*pieces)[joint];
    Piece &before = (*pieces)[(joint + n - 1) % n];
    if (!isSimple(before) || !isSimple(after) || after.smooth)
        return false;
    const double cosine = -dot(endTangent(before), startTangent(after));
    if (cosine < -kTipCosine)
        return false;
    const double shorter = std::min(chordOf(before), chordOf(after));
    const double back = std::min(most, kTipPart * shorter);
    if (!(back > kShortest))
        return false;
    before = stretchOf(before, 0, 1 - back / chordOf(before));
    after = stretchOf(after, back / chordOf(after), 1);
    Piece cap = linePiece(before.end, after.start);
    cap.first = after.first;
    pieces->insert(pieces->begin() + static_cast<std::ptrdiff_t>(joint), cap);
    return true;
}

// A short line left out, between pieces that are drawn on to where they meet, or half way; false
// where there is none.
bool dropShort(std::size_t number, std::vector<Piece> *pieces)
{
    const std::size_t n = pieces->size();
    const Piece line = (*pieces)[number];
    Piece &before = (*pieces)[(number + n - 1) % n];
    Piece &after = (*pieces)[(number + 1) % n];
    if (n < 5 || line.kind != Kind::Line || line.smooth || after.smooth || chordOf(line) > kShort)
        return false;
    Point corner = 0.5 * (line.start + line.end);
    const Point one = endTangent(before);
    const Point other = startTangent(after);
    const double sine = cross(one, other);
    if (std::fabs(sine) > kMeetingSine) {
        const Point met = line.start + (cross(line.end - line.start, other) / sine) * one;
        const Point away = met - corner;
        if (dot(away, away) < kShort * kShort)
            corner = met;
    }
    before.end = after.start = corner;
    pieces->erase(pieces->begin() + static_cast<std::ptrdiff_t>(number));
    return true;
}

double turnBefore(const std::vector<Piece> &pieces, std::size_t number)
{
    return angleBetween(endTangent(pieces[number - 1]), startTangent(pieces[number]));
}

// A wide arc as the two corners of a counter: where the tangents of its ends meet that of its
// middle.
bool cornersForArc(std::size_t number, std::vector<Piece> *pieces)
{
    const Piece arc = (*pieces)[number];
    const double sweep = 4 * std::fabs(std::atan(arc.bulge));
    if (arc.kind != Kind::Arc || sweep < kLeastWide || sweep > kMostWide
        || arcShape(arc).radius > kMostRadius)
        return false;
    std::vector<Point> corners;
    for (double from : { 0.0, 0.5 }) {
        const Piece half = stretchOf(arc, from, from + 0.5);
        const Point one = startTangent(half);
        const Point other = endTangent(half);
        corners.push_back(half.start
                          + (cross(half.end - half.start, other) / cross(one, other)) * one);
    }
    const Point places[] = { arc.start, corners[0], corners[1], arc.end };
    for (std::size_t k = 0; k < 3; ++k) {
        Piece line = linePiece(places[k], places[k + 1]);
        line.first = arc.first;
        line.count = k == 0 ? arc.count : 0;
        line.smooth = k == 0 && arc.smooth;
        if (k == 0)
            (*pieces)[number] = line;
        else
            pieces->insert(pieces->begin() + static_cast<std::ptrdiff_t>(number + k), line);
    }
    return true;
}

// A line or an arc in two: lines with a corner in the middle, arcs that go over smoothly.
bool splitPiece(std::size_t number, bool smooth, std::vector<Piece> *pieces)
{
    const Piece whole = (*pieces)[number];
    if (!isSimple(whole) || chordOf(whole) < kLeastSplit || chordOf(whole) > kMostSplit
        || (smooth && whole.kind != Kind::Arc))
        return false;
    Piece before = stretchOf(whole, 0, 0.5);
    Piece after = stretchOf(whole, 0.5, 1);
    before.end = after.start;
    after.smooth = smooth;
    (*pieces)[number] = before;
    pieces->insert(pieces->begin() + static_cast<std::ptrdiff_t>(number) + 1, after);
    return true;
}

// A line as an arc, to be bent.
bool bendLine(std::size_t number, std::vector<Piece> *pieces)
{
    Piece &piece = (*pieces)[number];
    if (piece.kind != Kind::Line || chordOf(piece) < kLeastSplit || chordOf(piece) > kMostSplit)
        return false;
    piece.kind = Kind::Arc;
    piece.bulge = kSlightBulge;
    return true;
}

// The pixels of a window that a box reaches to.
Coverage croppedTo(const Box &box, const Coverage &whole)
{
    Coverage part = {};
    part.sigma = whole.sigma;
    const auto inside = [](double at, int first, int count) {
        return static_cast<int>(std::min<double>(first + count, std::max<double>(first, at)));
    };
    part.left = inside(std::floor(box.low.x), whole.left, whole.width);
    part.top = inside(std::floor(box.low.y), whole.top, whole.height);
    part.width = inside(std::ceil(box.high.x), whole.left, whole.width) - part.left;
    part.height = inside(std::ceil(box.high.y), whole.top, whole.height) - part.top;
    for (int y = 0; y < part.height; ++y) {
        const std::ptrdiff_t from
            = std::ptrdiff_t(part.top - whole.top + y) * whole.width + (part.left - whole.left);
        part.right.insert(part.right.end(), whole.right.begin() + from,
                          whole.right.begin() + from + part.width);
        part.counts.insert(part.counts.end(), whole.counts.begin() + from,
                           whole.counts.begin() + from + part.width);
    }
    return part;
}

// Where what is drawn may change as a path is fitted around a joint.
Box boxAround(const std::vector<Piece> &pieces, std::size_t joint)
{
    const std::size_t n = pieces.size();
    Box box = boxOf(pieces[joint]);
    for (std::size_t k = 0; k < std::min(n, kEdited + 1); ++k) {
        const Box one = boxOf(pieces[(joint + n - kEdited / 2 - 1 + k) % n]);
        box.low = { std::min(box.low.x, one.low.x), std::min(box.low.y, one.low.y) };
        box.high = { std::max(box.high.x, one.high.x), std::max(box.high.y, one.high.y) };
    }
    const Point around = { kAroundEdit, kAroundEdit };
    return { box.low - around, box.high + around };
}

// Tips cut, short lines left out, two corners for arcs, one in lines, wherever that pays.
class Editor
{
public:
    Editor(const Coverage &c, double l) : coverage(c), lambda(l) { }

    // Tips and short lines.
    bool cleanEnds(std::vector<Piece> *pieces)
    {
        bool any = false;
        lookAt(*pieces);
        for (std::size_t k = 0; k < pieces->size() && pieces->size() < kMostJoints; ++k) {
            std::vector<Piece> dropped = *pieces;
            if (cutsTip(k, pieces)) {
                any = true;
                ++k;
            } else if (dropShort(k, &dropped)
                       && isBetter(dropped, k % dropped.size(), -kCapPrice, pieces)) {
                any = true;
            }
        }
        return any;
    }

    // Corners and bends.
    bool addDetail(std::vector<Piece> *pieces)
    {
        bool any = false;
        lookAt(*pieces);
        for (std::size_t k = 0; k < pieces->size() && pieces->size() < kMostJoints; ++k) {
            const std::size_t before = pieces->size();
            if (getsBetter(k, pieces)) {
                any = true;
                k += pieces->size() - before;
            }
        }
        return any;
    }

private:
    void lookAt(const std::vector<Piece> &pieces) { off = residuals(pieces, coverage); }

    // The best of what a piece may become, only where pixels beside it are off by more than it
    // costs.
    bool getsBetter(std::size_t number, std::vector<Piece> *pieces)
    {
        const double room = 0.5 * offBeside(*pieces, number);
        double best = 0;
        std::vector<Piece> result;
        const auto attempt = [&](double numbers, const auto &edit) {
            std::vector<Piece> edited = *pieces;
            if (!(room > lambda * numbers) || !edit(&edited))
                return;
            const double loss = lossOf(&edited, (number + 1) % edited.size(), numbers);
            const bool isCorner = edited.size() > pieces->size() && !edited[number + 1].smooth;
            if (isCorner && std::fabs(turnBefore(edited, number + 1)) < kLeastCorner)
                return; // a curve
            if (loss < best) {
                best = loss;
                result = edited;
            }
        };
        using Pieces = std::vector<Piece>;
        attempt(kCornersForArc, [&](Pieces *p) { return cornersForArc(number, p); });
        attempt(kSplitArc, [&](Pieces *p) { return splitPiece(number, true, p); });
        attempt(kBendLine, [&](Pieces *p) { return bendLine(number, p); });
        if ((*pieces)[number].kind == Kind::Line)
            attempt(kCapPrice, [&](Pieces *p) { return splitPiece(number, false, p); });
        if (best < 0) {
            pieces->swap(result);
            lookAt(*pieces);
        }
        return best < 0;
    }

    // Chi square of the pixels around a piece.
    double offBeside(const std::vector<Piece> &pieces, std::size_t number) const
    {
        Box box = boxOf(pieces[number]);
        double sum = 0;
        for (int y = 0; y < coverage.height; ++y) {
            for (int x = 0; x < coverage.width; ++x) {
                const double px = coverage.left + x + 0.5;
                const double py = coverage.top + y + 0.5;
                if (px < box.low.x - kBeside || px > box.high.x + kBeside
                    || py < box.low.y - kBeside || py > box.high.y + kBeside)
                    continue;
                const double o = off[static_cast<std::size_t>(y * coverage.width + x)];
                sum += o * o;
            }
        }
        return sum / (coverage.sigma * coverage.sigma);
    }

    bool cutsTip(std::size_t joint, std::vector<Piece> *pieces)
    {
        for (double most : kTipCuts) {
            std::vector<Piece> cut = *pieces;
            if (!cutTip(joint, most, &cut))
                return false;
            if (isBetter(cut, joint, kCapPrice, pieces))
                return true;
        }
        return false;
    }

    // Fits the joints around one of an edited path, and takes it where it pays.
    bool isBetter(std::vector<Piece> edited, std::size_t joint, double numbers,
                  std::vector<Piece> *result)
    {
        if (!(lossOf(&edited, joint, numbers) < 0))
            return false;
        *result = edited;
        lookAt(edited);
        return true;
    }

    // The same, and what it costs more than before; 0 where it goes astray or cannot pay.
    double lossOf(std::vector<Piece> *edited, std::size_t joint, double numbers) const
    {
        const std::size_t n = edited->size();
        const Coverage near = croppedTo(boxAround(*edited, joint), coverage);
        const double before = squaresIn(near) / (coverage.sigma * coverage.sigma);
        if (!(0.5 * before > lambda * numbers))
            return 0; // there is not that much to win
        Polish local(*edited, near, (joint + n - kEdited / 2) % n, std::min(n, kEdited));
        const double after = local.run(kRoundsOfEdit, before - 2 * lambda * numbers);
        if (!isTame(*edited, local.result()))
            return 0;
        *edited = local.result();
        return lambda * numbers - 0.5 * (before - after);
    }

    // What the path as it is is off by in a part of the window.
    double squaresIn(const Coverage &part) const
    {
        double sum = 0;
        for (int y = 0; y < part.height; ++y) {
            const std::ptrdiff_t from = std::ptrdiff_t(part.top - coverage.top + y) * coverage.width
                + (part.left - coverage.left);
            for (int x = 0; x < part.width; ++x) {
                const double o = off[static_cast<std::size_t>(from + x)];
                sum += o * o;
            }
        }
        return sum;
    }

    const Coverage &coverage;
    const double lambda;
    std::vector<double> off; // of the path as it is
};

} // namespace

bool cleanEnds(const Coverage &coverage, double lambda, std::vector<Piece> *pieces)
{
    return Editor(coverage, lambda).cleanEnds(pieces);
}

bool addDetail(const Coverage &coverage, double lambda, std::vector<Piece> *pieces)
{
    return Editor(coverage, kDetail * lambda).addDetail(pieces);
}

} // namespace ztrace::fit
