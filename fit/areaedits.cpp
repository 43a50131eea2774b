// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/areaedits.h"

#include "fit/areapolish.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const int kRoundsOfEdit = 4;
// Turn of a tip, 95 degrees, pixels of its sides that are cut off before they are fitted, and part
// of its sides that may go.
const double kTipCosine = -0.087;
const double kTipCut = 1.0;
const double kTipPart = 0.6;
// Of the price of a cap what the pixels within 1.5 of a tip must be off by. Of 540 that paid on
// three dialogs 7 had less; of the 6,400 others a quarter.
const double kTipHint = 0.1;
const double kNearTip = 1.5;
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
const double kNudge = 0.3;    // pixels that the middle of a line goes on trial
const double kMostNudges = 3; // of these where it begins
// Of the price of a corner or a bend in a line that moving its middle alone must promise. At .01
// the command takes 1.5 % more instructions for a dialog, and lettering of 12 to 24 px has the same
// rms within .001 px.
const double kHint = 0.04;
// Radians that a path turns at a tip of less than 54 degrees, and numbers that a square end costs
// in place of such a one: pixels hardly tell the end of a serif or of a bar of one pixel, and there
// are more of these than needles. At the price of a cap (3.5) 14 % of the corners of serif
// lettering of 16 px are missed, 12 at .5, 11 at -.5 and -1.5; at the last tips of small stars are
// cut.
const double kNeedle = 2.2;
const double kNeedlePrice = -0.5;
const double kShort = 1.6;                 // pixels of a line that may be left out
const double kMeetingSine = 0.3;           // of two that are drawn on to where they meet
const std::size_t kEdited = 5;             // joints that are fitted around a change
const double kAroundEdit = 4;              // pixels that pieces keep within as they are fitted
const double kCornerPrice = 1.5;           // numbers
const double kCapPrice = 2 + kCornerPrice; // a line and a corner
// Numbers that a smooth joint is worth in place of a corner of less than 35 degrees beside a curve:
// the corner itself, and a half since in lettering most such are smooth. At 2.5 the last few
// corners too many cost as many that are there.
const double kSmoothPrice = 2;
const double kLongestCut = 5;     // pixels of a line that cuts a bend off
const double kMostOfBend = 1.15;  // radians that a line turns at either end that cuts a bend off
const double kSettledTurn = 0.03; // radians that a joint that became smooth may turn

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

// Whether a piece begins with a tip between lines or arcs.
bool isTip(std::size_t joint, const std::vector<Piece> &pieces)
{
    const Piece &after = pieces[joint];
    const Piece &before = pieces[(joint + pieces.size() - 1) % pieces.size()];
    return isSimple(before) && isSimple(after) && !after.smooth
        && -dot(endTangent(before), startTangent(after)) >= -kTipCosine;
}

// It cut off square; false where its sides are too short.
bool cutTip(std::size_t joint, std::vector<Piece> *pieces)
{
    const std::size_t n = pieces->size();
    Piece &after = (*pieces)[joint];
    Piece &before = (*pieces)[(joint + n - 1) % n];
    const double shorter = std::min(chordOf(before), chordOf(after));
    const double back = std::min(kTipCut, kTipPart * shorter);
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
    const std::size_t before = (number + pieces.size() - 1) % pieces.size();
    return angleBetween(endTangent(pieces[before]), startTangent(pieces[number]));
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

// An arc in two that go over smoothly.
bool splitArc(std::size_t number, std::vector<Piece> *pieces)
{
    const Piece whole = (*pieces)[number];
    if (whole.kind != Kind::Arc || chordOf(whole) < kLeastSplit || chordOf(whole) > kMostSplit)
        return false;
    Piece before = stretchOf(whole, 0, 0.5);
    Piece after = stretchOf(whole, 0.5, 1);
    before.end = after.start;
    after.smooth = true;
    (*pieces)[number] = before;
    pieces->insert(pieces->begin() + static_cast<std::ptrdiff_t>(number) + 1, after);
    return true;
}

// Whether a line is of a length that details are added to.
bool isDivisible(const Piece &line)
{
    return line.kind == Kind::Line && chordOf(line) >= kLeastSplit && chordOf(line) <= kMostSplit;
}

// What came of a line in its place.
void replaceLine(std::size_t number, std::vector<Piece> parts, std::vector<Piece> *pieces)
{
    const Piece &line = (*pieces)[number];
    parts.front().first = line.first;
    parts.front().count = line.count;
    parts.front().smooth = line.smooth;
    (*pieces)[number] = parts.front();
    pieces->insert(pieces->begin() + static_cast<std::ptrdiff_t>(number) + 1, parts.begin() + 1,
                   parts.end());
}

// A line that is bent, or has a corner in its middle, so many pixels to its left.
std::vector<Piece> bentLine(const Piece &line, double by)
{
    return { arcPiece(line.start, line.end, -2 * by / std::max(kShortest, chordOf(line))) };
}
std::vector<Piece> brokenLine(const Piece &line, double by)
{
    const Point along = startTangent(line);
    const Point corner = 0.5 * (line.start + line.end) + by * Point { along.y, -along.x };
    return { linePiece(line.start, corner), linePiece(corner, line.end) };
}

// A line beside a curve that cuts its bend off, with corners at both ends, as an arc that goes over
// smoothly.
bool roundBend(std::size_t number, std::vector<Piece> *pieces)
{
    const std::size_t next = (number + 1) % pieces->size();
    const Piece &before = (*pieces)[(number + pieces->size() - 1) % pieces->size()];
    const Piece line = (*pieces)[number];
    if (before.kind == Kind::Line && (*pieces)[next].kind == Kind::Line)
        return false;
    const double one = turnBefore(*pieces, number);
    const double other = turnBefore(*pieces, next);
    if (!isDivisible(line) || chordOf(line) > kLongestCut || line.smooth || (*pieces)[next].smooth
        || one * other <= 0 || std::max(std::fabs(one), std::fabs(other)) > kMostOfBend)
        return false;
    Piece arc = arcPiece(line.start, line.end, std::tan((one + other) / 4));
    if (angleBetween(startTangent(arc), startTangent(line)) * one < 0)
        arc.bulge = -arc.bulge;
    arc.first = line.first;
    arc.count = line.count;
    arc.smooth = (*pieces)[next].smooth = true;
    (*pieces)[number] = arc;
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
    Editor(const Coverage &c, double l) : coverage(c), lambda(l), change(c) { }

    // Tips and short lines.
    bool cleanEnds(std::vector<Piece> *pieces)
    {
        bool any = false;
        lookAt(*pieces);
        for (std::size_t k = 0; k < pieces->size() && pieces->size() < kMostJoints; ++k) {
            if (cutsTip(k, pieces)) {
                any = true;
                ++k;
            } else if (dropsShort(k, pieces)) {
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

    // Joints of curves that turn little, and lines that cut bends off.
    bool smoothJoints(std::vector<Piece> *pieces)
    {
        bool any = false;
        lookAt(*pieces);
        for (std::size_t k = 0; k < pieces->size(); ++k)
            any = becomesRound(k, pieces) || becomesSmooth(k, pieces) || any;
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
            if (!(room > lambda * numbers))
                return;
            std::vector<Piece> edited = *pieces;
            if (!edit(&edited))
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
        attempt(kSplitArc, [&](Pieces *p) { return splitArc(number, p); });
        if (isDivisible((*pieces)[number])) {
            const Piece line = (*pieces)[number];
            const auto attemptShape = [&](double numbers, const auto &shape) {
                const Promise promise = promiseOf(line, shape);
                if (promise.nats > kHint * numbers * lambda)
                    attempt(numbers, [&](Pieces *p) {
                        replaceLine(number, shape(line, promise.by), p);
                        return true;
                    });
            };
            attemptShape(kBendLine, bentLine);
            attemptShape(kCapPrice, brokenLine);
        }
        if (best < 0) {
            pieces->swap(result);
            lookAt(*pieces);
        }
        return best < 0;
    }

    // What a line would win by going over into another shape, if all else stayed.
    struct Promise
    {
        double nats;
        double by; // pixels that its middle goes to the left
    };

    // By a step to either side: beside a border of pixels areas change otherwise on either one. As
    // far as pays where areas change evenly.
    template<typename Shape>
    Promise promiseOf(const Piece &line, const Shape &shape)
    {
        Promise best = { 0, 0 };
        for (double step : { -kNudge, kNudge }) {
            change.clear();
            change.add(line, -1);
            for (const Piece &piece : shape(line, step))
                change.add(piece, 1);
            double won = 0;
            double size = 0;
            change.forEach([&](std::size_t k, double area) {
                won += coverage.counts[k] ? area * off[k] : 0;
                size += coverage.counts[k] ? area * area : 0;
            });
            const double nats = 0.5 * won * won / (size * coverage.sigma * coverage.sigma);
            if (won > 0 && nats > best.nats)
                best = { nats, step * std::min(kMostNudges, won / size) };
        }
        return best;
    }

    // Chi square of the pixels around a piece.
    double offBeside(const std::vector<Piece> &pieces, std::size_t number) const
    {
        const Box box = boxOf(pieces[number]);
        // Of the pixels whose centres are that near.
        const auto first = [](double least, int begin, int count) {
            return static_cast<int>(
                std::min<double>(count, std::max(0.0, std::ceil(least - begin - 0.5))));
        };
        const auto past = [](double most, int begin, int count) {
            return static_cast<int>(
                std::min<double>(count, std::max(0.0, std::floor(most - begin + 0.5))));
        };
        const int left = first(box.low.x - kBeside, coverage.left, coverage.width);
        const int right = past(box.high.x + kBeside, coverage.left, coverage.width);
        const int top = first(box.low.y - kBeside, coverage.top, coverage.height);
        const int bottom = past(box.high.y + kBeside, coverage.top, coverage.height);
        double sum = 0;
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const double o = off[static_cast<std::size_t>(y * coverage.width + x)];
                sum += o * o;
            }
        }
        return sum / (coverage.sigma * coverage.sigma);
    }

    // Numbers that a square end is worth more than the tip there.
    static double endPrice(const std::vector<Piece> &pieces, std::size_t tip)
    {
        return std::fabs(turnBefore(pieces, tip)) > kNeedle ? kNeedlePrice : kCapPrice;
    }

    bool cutsTip(std::size_t joint, std::vector<Piece> *pieces)
    {
        const double price = endPrice(*pieces, joint);
        if (!isTip(joint, *pieces)
            || !(offNear((*pieces)[joint].start) > kTipHint * price * lambda))
            return false;
        std::vector<Piece> cut = *pieces;
        return cutTip(joint, &cut) && isBetter(cut, joint, price, pieces);
    }

    // Nats that the pixels next to a tip are off by.
    double offNear(Point tip) const
    {
        double sum = 0;
        const int left
            = std::max(0, static_cast<int>(std::floor(tip.x - kNearTip)) - coverage.left);
        const int top = std::max(0, static_cast<int>(std::floor(tip.y - kNearTip)) - coverage.top);
        for (int y = top; y < coverage.height && coverage.top + y < tip.y + kNearTip; ++y) {
            for (int x = left; x < coverage.width && coverage.left + x < tip.x + kNearTip; ++x) {
                const Point away = Point { coverage.left + x + 0.5, coverage.top + y + 0.5 } - tip;
                const double o = off[static_cast<std::size_t>(y * coverage.width + x)];
                sum += dot(away, away) < kNearTip * kNearTip ? o * o : 0;
            }
        }
        return 0.5 * sum / (coverage.sigma * coverage.sigma);
    }

    bool dropsShort(std::size_t number, std::vector<Piece> *pieces)
    {
        if (chordOf((*pieces)[number]) > kShort)
            return false;
        std::vector<Piece> dropped = *pieces;
        if (!dropShort(number, &dropped))
            return false;
        const std::size_t joint = number % dropped.size();
        return isBetter(dropped, joint, -endPrice(dropped, joint), pieces);
    }

    bool becomesSmooth(std::size_t joint, std::vector<Piece> *pieces)
    {
        const std::size_t n = pieces->size();
        const Piece &before = (*pieces)[(joint + n - 1) % n];
        const Piece &after = (*pieces)[joint];
        if (after.smooth || (before.kind == Kind::Line && after.kind == Kind::Line)
            || std::fabs(turnBefore(*pieces, joint)) > kLeastCorner)
            return false;
        std::vector<Piece> edited = *pieces;
        edited[joint].smooth = true;
        return staysSmooth(std::move(edited), joint, -kSmoothPrice, pieces);
    }

    bool becomesRound(std::size_t number, std::vector<Piece> *pieces)
    {
        std::vector<Piece> edited = *pieces;
        return roundBend(number, &edited)
            && staysSmooth(std::move(edited), number, kBendLine - 2 * kSmoothPrice, pieces);
    }

    // Takes an edited path where that pays and the piece has smooth ends in the end.
    bool staysSmooth(std::vector<Piece> edited, std::size_t number, double numbers,
                     std::vector<Piece> *pieces)
    {
        if (!(lossOf(&edited, number, numbers) < 0))
            return false;
        for (std::size_t joint : { number, (number + 1) % edited.size() }) {
            if (edited[joint].smooth && std::fabs(turnBefore(edited, joint)) > kSettledTurn)
                return false;
        }
        pieces->swap(edited);
        lookAt(*pieces);
        return true;
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
    Areas change;            // scratch
    std::vector<double> off; // of the path as it is
};

} // namespace

bool cleanEnds(const Coverage &coverage, double lambda, std::vector<Piece> *pieces)
{
    return Editor(coverage, lambda).cleanEnds(pieces);
}

bool smoothJoints(const Coverage &coverage, double lambda, std::vector<Piece> *pieces)
{
    return Editor(coverage, lambda).smoothJoints(pieces);
}

bool addDetail(const Coverage &coverage, double lambda, std::vector<Piece> *pieces)
{
    return Editor(coverage, kDetail * lambda).addDetail(pieces);
}

} // namespace ztrace::fit
