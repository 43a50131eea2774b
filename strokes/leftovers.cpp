// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/leftovers.h"

#include "strokes/distance.h"
#include "strokes/parts.h"
#include "strokes/pieces.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

const double kStep = 0.75; // pixels along a stroke
// Pixels beside a stroke's edge that its ink may cover, as the middle of a pixel that it touches is
// within .71 of it; what is left over begins there.
const double kEdge = 0.71;
// The same in a letter, where it tells more: a serif is two pixels.
const double kLetterEdge = 0.9;
// Edges of wide pens are more ragged: parts of half their width, and pixels at most.
const double kRaggedPart = 0.48;
const double kMostRagged = 1.6;
// Ink that a letter's strokes may miss, and pixels without ink that they may cover well inside of
// their edges, in parts of the letter's ink and in pixels. Of letters of 10 to 30 pixels those that
// read as drawn miss .02 at most, those without a limb .04 and more.
const double kMissed = 0.035;
const double kFewMissed = 3.5;
const double kOverPaper = 0.05;
const double kFewOverPaper = 3.5;
const double kInside = 0.7; // pixels
// Times, and pixels, that the widest stroke of a letter is wider than its thinnest at least, that
// it was not drawn: R in 24 pixels' type had a leg of 2 pixels and a bowl of 3.
const double kTwoPens = 1.35;
const double kTwoPensApart = 0.7;
// Letters of clean pages that are less high than so many pixels, or less wide if they stand on end,
// are areas in any case: of type of 12 to 18 pixels many read otherwise as strokes (t as l, 1 as a
// bar, ra as one), of 20 and more few. Strokes beside them that were not taken for lettering may
// miss this.
const int kSmallLetter = 14;
const double kSmallMissed = 1.5;
// Letters of a pen so many pixels and such a part of their height wide are set in bold type, not
// drawn: pens of drawings are a tenth to a seventh (ISO 3098), bold stems a quarter, and between
// discs so wide the counters of a, e and g are gone.
const double kBoldPen = 2.5;
const double kBoldPart = 0.22;
// Ink that what may be a letter misses: of a word that blur has joined .25 and more.
const double kMuchMissed = 0.15;
const double kSomeMissed = 8.0;
// Ink no longer than so many times the largest disc in it, which has such a part of its breadth at
// least, is a mark that was filled, no line: squares, triangles and half discs have .55 and more,
// letters, bold ones as well, .45 at most.
const double kMarkLength = 3.0;
const double kCompact = 0.5;
// Or one with a hole: such a part of its rectangle is ink. Of a square, of a ring .7.
const double kFull = 0.8;
// Of such it is one whatever its strokes explain, where it is as short as this: pens that are
// clustered make them as wide as the lines.
const double kBrief = 2.4;
// Pixels of that disc in scans: blur fills circles that are smaller.
const double kScannedMark = 8.0;
// Pixels that a letter is high at most, and that letters are long that blur has joined: more hangs
// together with the drawing's lines.
const int kLargestLetter = 64;
const int kLongestWord = 256;
// Of its own size, that it is beside others of its row, how often its neighbours' are asked in
// turn, which takes in six letters to either side, and pixels that a full stop has.
const double kBesideLetter = 1.0;
const int kPasses = 6;
const int kLeastPoint = 4;
// Pixels of ink beside what is drawn that are drawn as well. In scans what stands alone has so
// many, or is so long: specks are smaller.
const int kLeastPart = 3;
const int kLeastRagged = 8; // of ragged edges
const int kLeastScanned = 24;
const int kLongScanned = 9;
// Mean part of the ink's depth that a part of a scan has: folds have less, are so many pixels long
// and hardly wider than that.
const double kDepth = 0.5;
const int kFoldExtent = 30;
const double kFoldWidth = 4.0;

// How far cells are from what is drawn: 0 is beyond kBeyond, 1 within it.
const uint8_t kBeside = 2;    // kLetterEdge
const uint8_t kCovered = 3;   // kEdge
const uint8_t kWithinInk = 4; // inside by kInside
const uint8_t kTaken = 5;     // left over, and of a part

// Marks of what is drawn, a byte a cell.
class Drawn
{
public:
    Drawn(const Plane &like, const StrokeDrawing &drawing) : marks(like.width, like.height)
    {
        for (const Stroke &stroke : drawing.strokes)
            add(stroke.piece, stroke.width, stroke.dashing.pattern);
        for (const Arrow &arrow : drawing.arrows)
            add(arrow);
        for (const LineDot &dot : drawing.dots)
            addDisc(dot.centre, dot.radius);
    }

    uint8_t at(uint32_t cell) const { return marks.cells[cell]; }
    uint8_t &at(uint32_t cell) { return marks.cells[cell]; }

private:
    // What lies in the gaps of a pattern is not drawn; a pattern is dashes and gaps by turns.
    void add(const fit::Piece &piece, double width, const std::vector<double> &pattern)
    {
        const double half = 0.5 * width;
        const double length = lengthOf(piece);
        const double period = std::accumulate(pattern.begin(), pattern.end(), 0.0);
        const int steps = std::max(1, int(std::ceil(length / kStep)));
        for (int k = 0; k <= steps; ++k) {
            const double along = length * k / steps;
            if (period > 0.0 && isInGap(pattern, std::fmod(along, period)))
                continue;
            addDisc(fit::pointAt(piece, double(k) / steps), half);
        }
    }

    static bool isInGap(const std::vector<double> &pattern, double along)
    {
        std::size_t k = 0;
        while (k + 1 < pattern.size() && along >= pattern[k]) {
            along -= pattern[k];
            ++k;
        }
        return k % 2 != 0 && along > kStep && pattern[k] - along > kStep; // dots have no length
    }

    void addDisc(Point middle, double radius)
    {
        const double far = radius + kBeyond;
        const double edge = std::clamp(kRaggedPart * radius, kLetterEdge, kMostRagged);
        const double inside = std::max(kInside, kRaggedPart * radius);
        const double reach[] = { far, radius + edge, radius + kEdge, radius - inside };
        const int left = std::max(0, int(std::floor(middle.x - far)));
        const int right = std::min(marks.width - 1, int(std::floor(middle.x + far)));
        const int top = std::max(0, int(std::floor(middle.y - far)));
        const int bottom = std::min(marks.height - 1, int(std::floor(middle.y + far)));
        for (int y = top; y <= bottom; ++y) {
            for (int x = left; x <= right; ++x) {
                const double dx = x + 0.5 - middle.x;
                const double dy = y + 0.5 - middle.y;
                const double square = dx * dx + dy * dy;
                uint8_t mark = 0;
                for (double r : reach)
                    mark = uint8_t(mark + (r > 0.0 && square <= r * r ? 1 : 0));
                uint8_t &cell = marks.cells[marks.cellOf(x, y)];
                cell = std::max(cell, mark);
            }
        }
    }

    void add(const Arrow &arrow)
    {
        const Point middle = (1.0 / 3.0) * (arrow.corner[0] + arrow.corner[1] + arrow.corner[2]);
        double reach = 0.0;
        for (const Point &corner : arrow.corner)
            reach = std::max(reach, lengthOf(corner - middle));
        addDisc(middle, reach);
    }

    Plane marks;
};

uint32_t cellAt(const Plane &plane, Point place)
{
    return plane.cellOf(std::clamp(int(std::floor(place.x)), 0, plane.width - 1),
                        std::clamp(int(std::floor(place.y)), 0, plane.height - 1));
}

// A part of the ink that is no larger than letters are, and the strokes that were seen in it.
struct Letter
{
    Part part;
    std::vector<std::size_t> strokes;
    bool isText = false;    // or has lettering beside it
    bool hasText = false;   // strokes of lettering
    bool isOther = false;   // a dash, a head's line, or part of what is larger
    bool isRing = false;    // by itself, or in a letter
    bool isCompact = false; // a mark that was filled
    bool isBrief = false;   // so much so that no line is like it
    bool isTangled = false; // a stroke of it is of others as well
    double widest = 0.0;    // of those, in pixels
    double thinnest = 1e300;
};

// The letters of a page: parts with strokes of lettering, and such parts beside them as a row has
// that were taken for something else, full stops and all.
class LetterFinder
{
public:
    LetterFinder(const InkToExplain &i, const std::vector<Stroke> &s) : ink(i), strokes(s) { }

    std::vector<Letter> find()
    {
        takeParts();
        for (std::size_t k = 0; k < strokes.size(); ++k)
            give(k);
        giveCompany();
        return std::move(letters);
    }

private:
    void takeParts()
    {
        std::vector<uint8_t> open = ink.distance.cells;
        for (std::size_t first = 0; first < open.size(); ++first) {
            if (open[first] == 0)
                continue;
            Letter letter;
            letter.part = partAround(uint32_t(first), ink.distance, [&open](uint32_t cell) {
                const bool isNew = open[cell] != 0;
                open[cell] = 0;
                return isNew;
            });
            judge(&letter);
            if (!letter.isCompact
                && (letter.part.breadth() > kLargestLetter || letter.part.extent() > kLongestWord))
                continue;
            for (uint32_t cell : letter.part.cells)
                letterAt.push_back({ cell, letters.size() });
            letters.push_back(std::move(letter));
        }
        std::sort(letterAt.begin(), letterAt.end());
    }

    void judge(Letter *letter) const
    {
        uint8_t deepest = 0;
        for (uint32_t cell : letter->part.cells)
            deepest = std::max(deepest, ink.distance.cells[cell]);
        const double disc = 2.0 * radiusOf(deepest);
        const Part &part = letter->part;
        const bool isFull = part.pixels() >= kFull * part.extent() * part.breadth();
        letter->isCompact = (disc >= kCompact * part.breadth() || isFull)
            && part.extent() < kMarkLength * disc && (!ink.isNoisy || disc >= kScannedMark);
        letter->isBrief = letter->isCompact && part.extent() < kBrief * disc;
    }

    // The letter that a place is in, if any; the number of letters where there is none.
    std::size_t letterOf(Point place) const
    {
        const uint32_t cell = cellAt(ink.distance, place);
        const auto found = std::lower_bound(letterAt.begin(), letterAt.end(),
                                            std::make_pair(cell, std::size_t(0)));
        return found != letterAt.end() && found->first == cell ? found->second : letters.size();
    }

    void give(std::size_t number)
    {
        const Stroke &stroke = strokes[number];
        std::vector<std::size_t> within;
        const bool isRound
            = stroke.piece.kind == fit::Kind::Circle || stroke.piece.kind == fit::Kind::Ellipse;
        bool isOther = stroke.dashing.type != DashType::None || stroke.role == Role::Dimension;
        for (const Section &section : stroke.samples) {
            const uint32_t cell = cellAt(ink.distance, section.centre);
            const std::size_t letter = letterOf(section.centre);
            if (letter == letters.size())
                isOther = isOther || ink.distance.cells[cell] != 0;
            else if (std::find(within.begin(), within.end(), letter) == within.end())
                within.push_back(letter);
        }
        for (std::size_t k : within) {
            Letter &letter = letters[k];
            letter.strokes.push_back(number);
            letter.widest = std::max(letter.widest, stroke.width);
            letter.thinnest = std::min(letter.thinnest, stroke.width);
            letter.hasText = letter.hasText || stroke.role == Role::Text;
            letter.isText = letter.hasText;
            letter.isOther = letter.isOther || isOther;
            letter.isRing = letter.isRing || (isRound && stroke.role != Role::Text);
            letter.isTangled = letter.isTangled || within.size() > 1;
        }
    }

    // Again and again, as what was taken for something else may be beside another such.
    void giveCompany()
    {
        Plane beside(ink.distance.width, ink.distance.height);
        for (int pass = 0; pass < kPasses; ++pass) {
            for (const Letter &letter : letters) {
                if (letter.isText)
                    mark(letter.part, &beside);
            }
            for (Letter &letter : letters) {
                const Part &part = letter.part;
                const auto isBeside
                    = [&](int x) { return beside.cells[beside.cellOf(x, part.y())] != 0; };
                letter.isText = letter.isText
                    || (part.pixels() >= kLeastPoint
                        && (isBeside(part.low[0]) || isBeside(part.high[0])));
            }
        }
    }

    // To either side of a letter.
    static void mark(const Part &part, Plane *beside)
    {
        const int far = int(kBesideLetter * std::min(part.extent(), kLargestLetter / 2));
        const int left = std::max(0, part.low[0] - far);
        const int right = std::min(beside->width - 1, part.high[0] + far);
        for (int y = part.low[1]; y <= part.high[1]; ++y)
            std::fill(beside->cells.begin() + beside->cellOf(left, y),
                      beside->cells.begin() + beside->cellOf(right, y) + 1, uint8_t(1));
    }

    const InkToExplain &ink;
    const std::vector<Stroke> &strokes;
    std::vector<Letter> letters;
    std::vector<std::pair<uint32_t, std::size_t>> letterAt; // by cells
};

// Cells of a letter's ink that are not drawn, and how much of what is drawn beside it is paper.
double missedOf(const Letter &letter, const Drawn &drawn)
{
    return double(std::count_if(letter.part.cells.begin(), letter.part.cells.end(),
                                [&drawn](uint32_t cell) { return drawn.at(cell) < kBeside; }));
}

double overPaperOf(const Letter &letter, const InkToExplain &ink, const Drawn &drawn)
{
    const Plane &plane = ink.distance;
    double sum = 0.0;
    const int rim = 3;
    for (int y = std::max(0, letter.part.low[1] - rim);
         y <= std::min(plane.height - 1, letter.part.high[1] + rim); ++y) {
        for (int x = std::max(0, letter.part.low[0] - rim);
             x <= std::min(plane.width - 1, letter.part.high[0] + rim); ++x) {
            const uint32_t cell = plane.cellOf(x, y);
            if (drawn.at(cell) == kWithinInk && plane.cells[cell] == 0)
                sum += 1.0 - std::min(1.0, ink.coverage.ofPixel(x, y));
        }
    }
    return sum;
}

bool isFilledMark(const Letter &letter)
{
    return letter.isCompact && !letter.isText;
}

// What was drawn has one pen a letter: where strokes differ, some are of ink that is none of
// theirs.
bool hasTwoPens(const Letter &letter)
{
    return letter.widest > kTwoPens * letter.thinnest
        && letter.widest - letter.thinnest > kTwoPensApart;
}

// Whether strokes do not explain a letter, or next to nothing of a part that may be one.
bool isUnclear(const Letter &letter, const InkToExplain &ink, const Drawn &drawn)
{
    const bool isBold
        = letter.widest >= kBoldPen && letter.widest > kBoldPart * letter.part.extent();
    const bool isMark = isFilledMark(letter);
    if (letter.isOther || (letter.isRing && !isMark && !(isBold && letter.isText)))
        return false;
    const double all = double(letter.part.pixels());
    const double missed = missedOf(letter, drawn);
    if (letter.strokes.empty() || (isBold && !isMark))
        return letter.isText;
    const bool isSmall = !ink.isNoisy && letter.isText && letter.part.breadth() < kSmallLetter;
    if (!letter.hasText && isSmall)
        return missed > std::max(kSmallMissed, kMissed * all)
            || overPaperOf(letter, ink, drawn) > std::max(kSmallMissed, kOverPaper * all);
    if (!letter.hasText && !isMark)
        return missed > std::max(kSomeMissed, kMuchMissed * all);
    return isSmall || letter.isTangled || (ink.tellsHairlines && !isMark && hasTwoPens(letter))
        || (isMark && letter.isBrief) || missed > std::max(kFewMissed, kMissed * all)
        || overPaperOf(letter, ink, drawn) > std::max(kFewOverPaper, kOverPaper * all);
}

void give(const Part &part, const Plane &like, Plane *plane)
{
    if (plane->cells.empty())
        *plane = Plane(like.width, like.height);
    for (uint32_t cell : part.cells)
        plane->cells[cell] = 1;
}

double depthOf(const Part &part, const InkToExplain &ink)
{
    double sum = 0.0;
    for (uint32_t cell : part.cells)
        sum += ink.coverage.ofPixel(ink.distance.xOf(cell), ink.distance.yOf(cell));
    return sum / double(part.cells.size());
}

bool isFold(const Part &part, const InkToExplain &ink)
{
    return ink.tellsDepth && part.extent() >= kFoldExtent
        && part.pixels() < kFoldWidth * part.extent() && depthOf(part, ink) < kDepth;
}

// With the ink that the strokes beside it lie on, so that no paper shows between them.
Part reachingUnder(Part part, const Plane &plane)
{
    std::vector<uint32_t> rim = part.cells;
    std::vector<uint32_t> own = part.cells;
    std::sort(own.begin(), own.end());
    const uint32_t stride = uint32_t(plane.stride());
    for (int step = 0; step < kUnder; ++step) {
        std::vector<uint32_t> next;
        for (uint32_t cell : rim) {
            for (uint32_t other : { cell - stride, cell - 1, cell + 1, cell + stride }) {
                if (plane.cells[other] != 0 && !std::binary_search(own.begin(), own.end(), other))
                    next.push_back(other);
            }
        }
        std::sort(next.begin(), next.end());
        next.erase(std::unique(next.begin(), next.end()), next.end());
        for (uint32_t cell : next)
            part.take(cell, plane);
        own.insert(own.end(), next.begin(), next.end());
        std::sort(own.begin(), own.end());
        rim = std::move(next);
    }
    return part;
}

// Outlines of what is no larger than letters are no lines of the drawing either.
void draw(const Part &part, const Plane &plane, const Plane &solid, StrokeDrawing *drawing)
{
    const bool isSolid = part.extent() > kLargestLetter
        || (!solid.cells.empty()
            && std::any_of(part.cells.begin(), part.cells.end(),
                           [&solid](uint32_t cell) { return solid.cells[cell] != 0; }));
    give(reachingUnder(part, plane), plane, isSolid ? &drawing->solids : &drawing->letters);
}

} // namespace

void outlineUnclearLetters(const InkToExplain &ink, StrokeDrawing *drawing)
{
    std::vector<Stroke> &strokes = drawing->strokes;
    const std::vector<Letter> letters = LetterFinder(ink, strokes).find();
    if (letters.empty())
        return;
    const Drawn drawn(ink.distance, *drawing);
    std::vector<bool> isDropped(strokes.size(), false);
    for (const Letter &letter : letters) {
        if (!isUnclear(letter, ink, drawn))
            continue;
        give(letter.part, ink.distance,
             isFilledMark(letter) ? &drawing->solids : &drawing->letters);
        for (std::size_t number : letter.strokes)
            isDropped[number] = true;
    }
    std::size_t kept = 0;
    for (std::size_t k = 0; k < strokes.size(); ++k) {
        if (isDropped[k]) {
            ++drawing->outlined.strokes;
            drawing->outlined.length += lengthOf(strokes[k].piece);
            drawing->outlined.area += lengthOf(strokes[k].piece) * strokes[k].width;
            continue;
        }
        if (kept != k)
            strokes[kept] = std::move(strokes[k]);
        ++kept;
    }
    strokes.resize(kept);
}

void takeLeftovers(const InkToExplain &ink, const Plane &solid, StrokeDrawing *drawing)
{
    const Plane &plane = ink.distance;
    Drawn drawn(plane, *drawing);
    const auto isSolid = [drawing](uint32_t cell) {
        return (!drawing->letters.cells.empty() && drawing->letters.cells[cell] != 0)
            || (!drawing->solids.cells.empty() && drawing->solids.cells[cell] != 0);
    };
    const auto isLeft = [&](uint32_t cell) {
        return plane.cells[cell] != 0 && drawn.at(cell) < kCovered && !isSolid(cell);
    };
    for (std::size_t first = 0; first < plane.cells.size(); ++first) {
        if (plane.cells[first] == 0 || drawn.at(uint32_t(first)) != 0 || !isLeft(uint32_t(first)))
            continue;
        bool isAlone = true;
        const Part part = partAround(uint32_t(first), plane, [&](uint32_t cell) {
            if (!isLeft(cell)) {
                isAlone = isAlone && (plane.cells[cell] == 0 || drawn.at(cell) == kTaken);
                return false;
            }
            drawn.at(cell) = kTaken;
            return true;
        });
        const int pixels = part.pixels();
        if (!isAlone && pixels < (ink.isNoisy ? kLeastRagged : kLeastPart))
            continue;
        const bool isSmall
            = ink.isNoisy && isAlone && pixels < kLeastScanned && part.extent() < kLongScanned;
        if (isSmall)
            drawing->leftOut.specks.add(pixels, part.x(), part.y());
        else if (isFold(part, ink))
            drawing->leftOut.pale.add(pixels, part.x(), part.y());
        else
            draw(part, plane, solid, drawing);
    }
}

} // namespace ztrace::strokes
