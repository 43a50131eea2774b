// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/hulls.h"

#include "tracing/cellgrid.h"
#include "tracing/workers.h"
#include "fit/segment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

namespace ztrace {

namespace {

using fit::Point;

// Pixels, with what rounding may do to hulls and chords.
const double kLeastGap = kTouching + 1e-6;
// Cosine of the angle to the way of which nothing turns away by more: two that part come kTouching
// apart within kSameCorner.
const double kOneWay = 0.3;
// Pixels from a piece's start to its end that make two joints more than a corner.
const double kShort = 2 * kSameCorner;
// Cells that a thread takes at a time, and pieces that a further thread is worth: half a
// millisecond.
const std::size_t kCellsAtOnce = 256;
const std::size_t kItemsAThread = 512;
// Tangent of a quarter of the sweep of three quarters of a turn.
const double kLargestBulge = 2.414;
// The same of a quarter of a turn: parts are no closer.
const double kSlightBulge = 0.2;
// Of an ellipse: pixels between a strip's line and the outline, and how many strips.
const double kStripOff = 4;
const int kLeastStrips = 8;
const int kMostStrips = 64;
// What a quarter of a turn is off from its corner's sides at most, in radii.
const double kRoundedOff = 0.293;
// Pixels from which a strip is split.
const double kWideStrip = 16;
const double kPi = 3.14159265358979323846;

Hull hullOfBox(const fit::Box &box)
{
    return { { box.low, { box.high.x, box.low.y }, box.high, { box.low.x, box.high.y } },
             4,
             false };
}

// The tangents at both ends and that in the middle.
Hull hullOfArc(const fit::Piece &arc)
{
    const Point chord = arc.end - arc.start;
    const double b = arc.bulge;
    const Point along = 0.25 * (1 - b * b) * chord;
    const Point out = 0.5 * b * Point { chord.y, -chord.x };
    return { { arc.start, arc.start + along + out, arc.end - along + out, arc.end }, 4, true };
}

fit::Box boxOf(const Hull &hull)
{
    fit::Box box = { hull.corner[0], hull.corner[0] };
    for (int k = 1; k < hull.count; ++k) {
        const Point p = hull.corner[k];
        box.low = { std::min(box.low.x, p.x), std::min(box.low.y, p.y) };
        box.high = { std::max(box.high.x, p.x), std::max(box.high.y, p.y) };
    }
    return box;
}

// Whether the hulls are apart in a direction of any length.
bool areApartAlong(const Hull &a, const Hull &b, Point direction)
{
    double lowA = dot(a.corner[0], direction), highA = lowA;
    double lowB = dot(b.corner[0], direction), highB = lowB;
    for (int k = 1; k < a.count; ++k) {
        const double at = dot(a.corner[k], direction);
        lowA = std::min(lowA, at);
        highA = std::max(highA, at);
    }
    for (int k = 1; k < b.count; ++k) {
        const double at = dot(b.corner[k], direction);
        lowB = std::min(lowB, at);
        highB = std::max(highB, at);
    }
    const double gap = std::max(lowA - highB, lowB - highA);
    return gap > 0 && gap * gap > kLeastGap * kLeastGap * dot(direction, direction);
}

Point acrossChord(const Hull &hull)
{
    const Point chord = hull.corner[hull.count - 1] - hull.corner[0];
    return { -chord.y, chord.x };
}

// Whether hulls whose boxes are not apart are so in the direction across one of them.
bool areApartAcross(const Hull &a, const Hull &b)
{
    return areApartAlong(a, b, acrossChord(a)) || areApartAlong(a, b, acrossChord(b));
}

// Whether no leg turns away from a direction of length 1.
bool goesAlong(const Hull &hull, Point direction)
{
    for (int k = 1; k < hull.count; ++k) {
        const Point leg = hull.corner[k] - hull.corner[k - 1];
        const double along = dot(leg, direction);
        if (!(along >= 0 && along * along >= kOneWay * kOneWay * dot(leg, leg)))
            return false;
    }
    return true;
}

Point unit(Point v)
{
    const double length = std::sqrt(dot(v, v));
    return length > 0 ? (1 / length) * v : Point { 0, 0 };
}

Point lastLeg(const Hull &hull)
{
    return hull.corner[hull.count - 1] - hull.corner[hull.count - 2];
}

// The parts of a piece, in order: the more of them, the closer their hulls.
const int kMostParts = 4;
struct Parts
{
    Hull hull[kMostParts];
    int count = 0;

    explicit Parts(const fit::Piece &piece) { add(piece, isBent(piece) ? 2 : 0); }

    // Others are one part, with the piece's own hull.
    static bool isBent(const fit::Piece &piece)
    {
        return piece.kind == fit::Kind::Quadratic || piece.kind == fit::Kind::Cubic
            || (piece.kind == fit::Kind::Arc && std::fabs(piece.bulge) > kSlightBulge
                && std::fabs(piece.bulge) < kLargestBulge);
    }

private:
    void add(const fit::Piece &piece, int times)
    {
        if (times == 0) {
            hull[count++] = hullOf(piece);
            return;
        }
        const std::pair<fit::Piece, fit::Piece> halves = halvesOf(piece);
        add(halves.first, times - 1);
        add(halves.second, times - 1);
    }

    static std::pair<fit::Piece, fit::Piece> halvesOf(const fit::Piece &p)
    {
        const auto middle = [](Point a, Point b) { return 0.5 * (a + b); };
        if (p.kind == fit::Kind::Arc) {
            const Point chord = p.end - p.start;
            const Point top = middle(p.start, p.end) + 0.5 * p.bulge * Point { chord.y, -chord.x };
            const double bulge = p.bulge / (1 + std::sqrt(1 + p.bulge * p.bulge));
            return { fit::arcPiece(p.start, top, bulge), fit::arcPiece(top, p.end, bulge) };
        }
        const bool cubic = p.kind == fit::Kind::Cubic;
        const Point a = middle(p.start, p.control);
        const Point c = middle(cubic ? p.control2 : p.control, p.end);
        if (!cubic)
            return { fit::quadraticPiece(p.start, a, middle(a, c)),
                     fit::quadraticPiece(middle(a, c), c, p.end) };
        const Point b = middle(p.control, p.control2);
        const Point ab = middle(a, b);
        const Point bc = middle(b, c);
        return { fit::cubicPiece(p.start, a, ab, middle(ab, bc)),
                 fit::cubicPiece(middle(ab, bc), bc, c, p.end) };
    }
};

// Whether no part of the one comes near to any of the other, but where they are joined.
bool partsAreApart(const Parts &a, const Parts &b, bool isNext, bool isBefore)
{
    for (int i = 0; i < a.count; ++i) {
        for (int k = 0; k < b.count; ++k) {
            if (!(isNext && i + 1 == a.count && k == 0 && goOneWay(a.hull[i], b.hull[k]))
                && !(isBefore && i == 0 && k + 1 == b.count && goOneWay(b.hull[k], a.hull[i]))
                && !arePlainlyApart(a.hull[i], b.hull[k]))
                return false;
        }
    }
    return true;
}

Strip stripOf(const Hull &hull)
{
    const Point a = hull.corner[0];
    const Point b = hull.corner[hull.isWay ? hull.count - 1 : 2];
    double off = 0;
    for (int k = 0; k < hull.count; ++k)
        off = std::max(off, toSegment(hull.corner[k], a, b));
    return { a, b, off + kLeastGap };
}

// The corners of the box around a whole shape, along its axes.
std::array<Point, 4> cornersAround(const fit::Piece &whole)
{
    const Point along = { std::cos(whole.angle), std::sin(whole.angle) };
    const Point first = whole.half[0] * along;
    const Point second = whole.half[1] * Point { -along.y, along.x };
    return { whole.centre + first + second, whole.centre - first + second,
             whole.centre - first - second, whole.centre + first - second };
}

// What lies inside of a whole shape is not near to it: its outline is taken in strips.
template<typename Work>
void forEachStripOfWhole(const fit::Piece &whole, const Work &work)
{
    if (whole.kind == fit::Kind::RoundedRectangle) {
        const std::array<Point, 4> corners = cornersAround(whole);
        const double radius = std::min(whole.radius, std::min(whole.half[0], whole.half[1]));
        const double margin = kRoundedOff * radius + kLeastGap;
        for (std::size_t k = 0; k < corners.size(); ++k)
            work(Strip { corners[k], corners[(k + 1) % corners.size()], margin });
        return;
    }
    const double most = std::max(whole.half[0], whole.half[1]);
    const int chords
        = std::max(kLeastStrips,
                   std::min(kMostStrips, int(std::ceil(kPi * std::sqrt(most / (2 * kStripOff))))));
    const double margin = most * (1 - std::cos(kPi / chords)) + kLeastGap;
    Point a = pointAt(whole, 0);
    for (int k = 1; k <= chords; ++k) {
        const Point b = pointAt(whole, double(k) / chords);
        work(Strip { a, b, margin });
        a = b;
    }
}

// Where a piece may be: the larger it is, the more strips.
template<typename Work>
void forEachStripOf(const fit::Piece &piece, const Work &work)
{
    if (fit::isWhole(piece.kind)) {
        forEachStripOfWhole(piece, work);
        return;
    }
    const Strip strip = stripOf(hullOf(piece));
    if (strip.margin < kWideStrip) {
        work(strip);
        return;
    }
    const Parts parts(piece);
    for (int k = 0; k < parts.count; ++k)
        work(stripOf(parts.hull[k]));
}

struct Item
{
    Hull hull;
    fit::Box box;
    PlaceOfPiece place;
    bool looked;
    bool isBent; // of more than one part
};

// What is compared first.
struct Near
{
    fit::Box box;
    uint32_t item;
};

struct StripOfItem
{
    Strip strip;
    uint32_t item;
};

class Filter
{
public:
    Filter(const std::vector<fit::Path> &p, int width, int height, const std::vector<char> &l)
        : paths(p), looked(l), grid(width, height)
    { }

    std::vector<PiecePair> run(unsigned threads)
    {
        std::size_t pieces = 0;
        for (uint32_t k = 0; k < paths.size(); ++k)
            pieces += isLooked(k) ? paths[k].pieces.size() : 0;
        items.reserve(pieces);
        strips.reserve(pieces);
        for (uint32_t k = 0; k < paths.size(); ++k) {
            if (isLooked(k))
                addPieces(k, [](const fit::Box &) { return true; });
        }
        fillGrid();
        if (!looked.empty()) {
            for (uint32_t k = 0; k < paths.size(); ++k) {
                if (!isLooked(k))
                    addPieces(k, [this](const fit::Box &box) { return grid.hasSome(box); });
            }
            fillGrid();
        }
        comparePairs(threads);
        const auto before = [](const PiecePair &p, const PiecePair &q) {
            return std::make_tuple(p.a.path, p.b.path, p.a.piece, p.b.piece)
                < std::make_tuple(q.a.path, q.b.path, q.a.piece, q.b.piece);
        };
        const auto same
            = [](const PiecePair &p, const PiecePair &q) { return p.a == q.a && p.b == q.b; };
        std::sort(pairs.begin(), pairs.end(), before);
        pairs.erase(std::unique(pairs.begin(), pairs.end(), same), pairs.end());
        return std::move(pairs);
    }

private:
    void comparePairs(unsigned threads)
    {
        std::vector<std::vector<PiecePair>> found(1 + grid.cells() / kCellsAtOnce);
        const std::size_t most = 1 + items.size() / kItemsAThread;
        forEachOnThreads(found.size(), unsigned(std::min<std::size_t>(threads, most)),
                         [&](std::size_t part) {
                             const std::size_t from = part * kCellsAtOnce;
                             std::vector<Near> near;
                             for (std::size_t cell = from;
                                  cell < std::min(from + kCellsAtOnce, grid.cells()); ++cell)
                                 compareIn(cell, &near, &found[part]);
                         });
        for (const std::vector<PiecePair> &part : found)
            pairs.insert(pairs.end(), part.begin(), part.end());
    }

    // Those of a cell side by side, since there may be many, and those that are looked at first: of
    // others none is compared with one of its kind.
    void compareIn(std::size_t cell, std::vector<Near> *near, std::vector<PiecePair> *found) const
    {
        near->clear();
        std::size_t count = 0;
        for (const bool isLooked : { true, false }) {
            grid.forEachIn(cell, [&](uint32_t strip) {
                const uint32_t item = strips[strip].item;
                if (items[item].looked == isLooked)
                    near->push_back({ items[item].box, item });
            });
            count = isLooked ? near->size() : count;
            if (count == 0)
                return;
        }
        for (std::size_t k = 0; k < count; ++k) {
            const Near one = (*near)[k];
            for (std::size_t i = k + 1; i < near->size(); ++i) {
                const Near &other = (*near)[i];
                if (!areApart(one.box, other.box) && one.item != other.item)
                    compare(items[one.item], items[other.item], found);
            }
        }
    }

    bool isLooked(uint32_t path) const { return looked.empty() || looked[path]; }

    void fillGrid()
    {
        grid.fill(strips.size(), [this](uint32_t k) { return strips[k].strip; });
    }

    template<typename IsWanted>
    void addPieces(uint32_t number, const IsWanted &isWanted)
    {
        const fit::Path &path = paths[number];
        for (uint32_t k = 0; k < path.pieces.size(); ++k) {
            const Hull hull = hullOf(path.pieces[k]);
            const fit::Box box = boxOf(hull);
            if (!isWanted(box))
                continue;
            const PlaceOfPiece place = { number, k };
            const auto item = uint32_t(items.size());
            items.push_back({ hull, box, place, isLooked(number), Parts::isBent(path.pieces[k]) });
            forEachStripOf(path.pieces[k], [&](const Strip &strip) {
                strips.push_back({ strip, item });
            });
            if (isLooked(number) && !cannotMeetItself(path.pieces[k]))
                pairs.push_back({ place, place, box });
        }
    }

    // Of two whose boxes are not apart.
    void compare(const Item &one, const Item &other, std::vector<PiecePair> *found) const
    {
        const Item &a = one.place < other.place ? one : other;
        const Item &b = one.place < other.place ? other : one;
        if (areApartAcross(a.hull, b.hull))
            return;
        const bool isNext = follows(a.place, b.place);
        const bool isBefore = follows(b.place, a.place);
        if (!a.isBent && !b.isBent
                ? (isNext && goOneWay(a.hull, b.hull)) || (isBefore && goOneWay(b.hull, a.hull))
                : partsAreApart(Parts(pieceAt(a.place)), Parts(pieceAt(b.place)), isNext, isBefore))
            return;
        const fit::Box common = { { std::max(a.box.low.x, b.box.low.x) - kLeastGap,
                                    std::max(a.box.low.y, b.box.low.y) - kLeastGap },
                                  { std::min(a.box.high.x, b.box.high.x) + kLeastGap,
                                    std::min(a.box.high.y, b.box.high.y) + kLeastGap } };
        found->push_back({ a.place, b.place, common });
    }

    const fit::Piece &pieceAt(const PlaceOfPiece &place) const
    {
        return paths[place.path].pieces[place.piece];
    }

    // Whether one piece comes after the other, and not before it as well.
    bool follows(const PlaceOfPiece &before, const PlaceOfPiece &after) const
    {
        const fit::Path &path = paths[before.path];
        const auto count = uint32_t(path.pieces.size());
        return before.path == after.path && count > 2
            && (before.piece + 1 == after.piece
                || (path.closed && after.piece == 0 && before.piece + 1 == count));
    }

    static bool areApart(const fit::Box &a, const fit::Box &b)
    {
        return a.high.x + kLeastGap < b.low.x || b.high.x + kLeastGap < a.low.x
            || a.high.y + kLeastGap < b.low.y || b.high.y + kLeastGap < a.low.y;
    }

    const std::vector<fit::Path> &paths;
    const std::vector<char> &looked;
    CellGrid grid;
    std::vector<Item> items;
    std::vector<StripOfItem> strips;
    std::vector<PiecePair> pairs;
};

} // namespace

Hull hullOf(const fit::Piece &piece)
{
    switch (piece.kind) {
    case fit::Kind::Line:
        return { { piece.start, piece.end, {}, {} }, 2, true };
    case fit::Kind::Quadratic:
    case fit::Kind::EllipticArc:
        return { { piece.start, piece.control, piece.end, {} }, 3, true };
    case fit::Kind::Cubic:
        return { { piece.start, piece.control, piece.control2, piece.end }, 4, true };
    case fit::Kind::Arc:
        if (std::fabs(piece.bulge) < kLargestBulge)
            return hullOfArc(piece);
        break;
    default:
        break;
    }
    return hullOfBox(fit::boxOf(piece));
}

bool arePlainlyApart(const Hull &a, const Hull &b)
{
    return areApartAlong(a, b, { 1, 0 }) || areApartAlong(a, b, { 0, 1 }) || areApartAcross(a, b);
}

bool cannotMeetItself(const fit::Piece &piece)
{
    if (fit::isWhole(piece.kind))
        return true;
    const Hull hull = hullOf(piece);
    const Point chord = hull.corner[hull.count - 1] - hull.corner[0];
    return hull.isWay && dot(chord, chord) > kShort * kShort
        && (piece.kind == fit::Kind::Arc || goesAlong(hull, unit(chord)));
}

bool goOneWay(const Hull &before, const Hull &after)
{
    if (!before.isWay || !after.isWay)
        return false;
    const Point joint = after.corner[0];
    const Point direction = unit(unit(lastLeg(before)) + unit(after.corner[1] - joint));
    return goesAlong(before, direction) && goesAlong(after, direction)
        && dot(joint - before.corner[0], direction) > kShort
        && dot(after.corner[after.count - 1] - joint, direction) > kShort;
}

std::vector<PiecePair> piecesThatMayMeet(const std::vector<fit::Path> &paths, int width, int height,
                                         const std::vector<char> &looked, unsigned threads)
{
    return Filter(paths, width, height, looked).run(threads);
}

} // namespace ztrace
