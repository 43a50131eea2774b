// (c) the ztrace developers. Licence: see LICENSE.
#include "ridges.h"

#include "colour.h"

#include <algorithm>

namespace ztrace {

namespace {

const int kRidgeReach = 3;                 // pixels to either side
const int kSlope = 2;                      // pixels that a soft edge goes on for
const int kFarAway = kRidgeReach + kSlope; // pixels that are looked at on either side, at most
const double kClearLength = 40.0;          // length of a difference
const double kFaintLength = 13.0; // the same where nothing near is clear; all edges have it
// Pixels to either side that a line on the rim goes on for. With 2 soft edges at 35 degrees to the
// rim are lines; with 4 fewer lines of icons are.
const int kAlongRim = 3;
const int kLeastOnRim = 96;     // alpha
const double kAligned = 0.5;    // cosine between the differences to both sides
const double kSameSlope = 0.9;  // cosine between two steps of one slope
const double kDoubt = 0.1;      // cost of supposing a line to be thinner than a pixel
const double kShade = 32.0;     // length; what is nearer may be another shade of the colour
const double kDilution = 0.05;  // cost of the rest of the way
const double kLeastPart = 0.3;  // of a line's own colour that must be left
const double kExplained = 0.15; // sine of the angle between a line's colour and the supposed one
// Cost of a colour that lies on the other side of what is beside the line: more than the contacts
// of a core with all that is near it can save.
const double kWrongWay = 1000.0;

// Whether the length of the difference is above kClearLength. Between opaque colours the sum of the
// channels' differences is at least the length and at most 1.74 times as much, so that it decides
// most cases alone; the others are whole numbers.
bool differsIn(QRgb a, QRgb b)
{
    if (qAlpha(a & b) == 255) {
        const int sum = hueDistance(a, b);
        return sum >= 70
            || (sum > 40 && square(difference(opaque(a), opaque(b))) > kClearLength * kClearLength);
    }
    return isRootAbove(square(difference(visible(a), visible(b))), kClearLength);
}

// How far apart two colours have to be. Most words that are compared are equal: so much is told
// without a call.
struct Clear
{
    static bool differs(QRgb a, QRgb b) { return a != b && differsIn(a, b); }
};

struct Faint
{
    static bool differs(QRgb a, QRgb b)
    {
        return a != b
            && (qAlpha(a & b) != 255
                || square(difference(opaque(a), opaque(b))) > kFaintLength * kFaintLength);
    }
};

// What it costs to suppose that a pixel so far from a colour is a dilution of it. How far it is
// diluted says little: the soft pixels of one letter have every shade there is.
double costOfDilution(double distance)
{
    return kDoubt * std::min(distance, kShade) + kDilution * std::max(0.0, distance - kShade);
}

// Steps to the first pixel that differs from one, at most `most`; 0 when there is none.
template<typename Contrast = Clear>
inline int stepsTo(const QRgb *middle, std::ptrdiff_t step, int most)
{
    const QRgb own = *middle;
    for (int i = 1; i <= most; ++i) {
        if (Contrast::differs(own, middle[i * step]))
            return i;
    }
    return 0;
}

// Whether two differences stay apart by more than the angle of kAligned, 60 degrees, however far
// their slopes are followed. Every step turns a difference by less than 26 degrees (kSameSlope), so
// that two of both sides take off 103.4 and need 163.4 at most, whose cosine is above this.
template<typename Colour>
bool isOpposite(const Colour &a, const Colour &b)
{
    const double kOpposite = 0.97;
    const auto product = ztrace::product(a, b);
    if (product >= 0)
        return false;
    const double along = product;
    return along * along > kOpposite * kOpposite * square(a) * square(b);
}

} // namespace

// The pixels in line with one, `step` words apart, and how many of them there are on either side.
struct RidgeFinder::Line
{
    const QRgb *middle;
    std::ptrdiff_t step;
    int before;
    int after;

    // Whether those that are near are there on one side at least, and are all like it.
    bool goesOn() const
    {
        for (int i = 1; i <= kAlongRim; ++i) {
            if ((i <= before && Clear::differs(*middle, middle[-i * step]))
                || (i <= after && Clear::differs(*middle, middle[i * step])))
                return false;
        }
        return std::max(before, after) >= kAlongRim;
    }
};

// What lies to one side of a pixel: steps to the first one that differs clearly, and the foot of
// the slope that begins there.
template<typename Kind>
struct RidgeFinder::Side
{
    typedef typename Kind::Colour Colour;

    const QRgb *middle;
    std::ptrdiff_t step;
    int count; // of pixels on this side
    int steps;
    QRgb word = 0;
    Colour away = {};
    bool isOfKind = true; // whether all words that were looked at are

    void look(const Colour &own)
    {
        word = middle[steps * step];
        isOfKind = Kind::holds(word);
        away = difference(own, Kind::of(word));
    }

    void followSlope(const Colour &own)
    {
        for (int i = steps + 1; i <= std::min(steps + kSlope, count); ++i) {
            const QRgb next = middle[i * step];
            if (next == word)
                break; // not farther away
            isOfKind = isOfKind && Kind::holds(next);
            const Colour farther = difference(own, Kind::of(next));
            if (!isRootAboveRoot(square(farther), square(away))
                || !isAligned(farther, away, kSameSlope))
                break;
            word = next;
            away = farther;
        }
    }
};

RidgeFinder::RidgeFinder(const QImage &image)
    : first(row(image, 0)), stride(image.bytesPerLine() / static_cast<int>(sizeof(QRgb))),
      width(image.width()), height(image.height())
{ }

// Whether a word is another one that can be seen through more: the soft rim of an area.
bool isFainter(QRgb word, QRgb other)
{
    return qAlpha(word) < qAlpha(other) && hueDistance(word, other) <= kClearly;
}

// A line on the rim has one side, which is near. What lies beyond the picture is supposed to be
// like that one, where the line goes on along the rim: soft edges that end there do not.
bool RidgeFinder::onRim(Side<VisibleKind> inner, const Line &along, QRgb *beside)
{
    if (qAlpha(*inner.middle) < kLeastOnRim || !along.goesOn())
        return false;
    const VisibleColour own = visible(*inner.middle);
    inner.look(own);
    inner.followSlope(own);
    *beside = inner.word;
    return !isFainter(*inner.middle, inner.word);
}

// Of a pixel that is so far from the rim that no side of it comes to an end.
bool RidgeFinder::amid(const QRgb *middle, std::ptrdiff_t step, QRgb *beside)
{
    const int after = stepsTo(middle, step, kRidgeReach);
    if (after == 0)
        return false;
    const int before = stepsTo(middle, -step, std::min(kRidgeReach, kRidgeReach + 1 - after));
    return before != 0 && isBetween({ middle, step, kFarAway, kFarAway }, after, before, beside);
}

bool RidgeFinder::isBetween(const Line &line, int after, int before, QRgb *beside)
{
    bool isOfKind = qAlpha(*line.middle) == 255;
    const bool found = isOfKind && between<OpaqueKind>(line, after, before, beside, &isOfKind);
    return isOfKind ? found : between<VisibleKind>(line, after, before, beside, &isOfKind);
}

bool RidgeFinder::across(const Line &line, const Line &along, QRgb *beside)
{
    const int after = stepsTo(line.middle, line.step, std::min(kRidgeReach, line.after));
    if (after == 0) {
        if (line.after >= kRidgeReach)
            return false;
        const int before = stepsTo(line.middle, -line.step, std::min(kRidgeReach, line.before));
        return before > 0 && line.after + before <= kRidgeReach
            && onRim({ line.middle, -line.step, line.before, before }, along, beside);
    }
    // No more than kRidgeReach + 1 steps to both sides together.
    const int most = std::min(kRidgeReach, kRidgeReach + 1 - after);
    const int before = stepsTo(line.middle, -line.step, std::min(most, line.before));
    if (before == 0)
        return line.before + after <= kRidgeReach
            && onRim({ line.middle, line.step, line.after, after }, along, beside);
    return isBetween(line, after, before, beside);
}

// With so many steps to what differs on either side. `isOfKind` becomes false, and the result is of
// no use, where a word is of another kind.
template<typename Kind>
bool RidgeFinder::between(const Line &line, int after, int before, QRgb *beside, bool *isOfKind)
{
    Side<Kind> one { line.middle, line.step, line.after, after };
    Side<Kind> other { line.middle, -line.step, line.before, before };
    const typename Kind::Colour own = Kind::of(*line.middle);
    one.look(own);
    other.look(own);
    *isOfKind = one.isOfKind && other.isOfKind;
    if (!*isOfKind || isOpposite(one.away, other.away))
        return false;
    one.followSlope(own);
    other.followSlope(own);
    *isOfKind = one.isOfKind && other.isOfKind;
    *beside = isRootAboveRoot(square(other.away), square(one.away)) ? one.word : other.word;
    return isAligned(one.away, other.away, kAligned);
}

bool RidgeFinder::find(int x, int y, QRgb *beside) const
{
    const QRgb *middle = first + y * stride + x;
    QRgb ofColumn = 0;
    bool inRow = false;
    bool inColumn = false;
    if (x >= kFarAway && y >= kFarAway && x + kFarAway < width && y + kFarAway < height) {
        inRow = amid(middle, 1, beside);
        inColumn = amid(middle, stride, &ofColumn);
    } else {
        const Line ofRow = { middle, 1, x, width - 1 - x };
        const Line down = { middle, stride, y, height - 1 - y };
        inRow = across(ofRow, down, beside);
        inColumn = across(down, ofRow, &ofColumn);
    }
    if (!inRow || !inColumn) {
        *beside = inColumn ? ofColumn : *beside;
        return inRow || inColumn;
    }
    const VisibleColour own = visible(*middle);
    if (square(difference(own, visible(ofColumn))) > square(difference(own, visible(*beside))))
        *beside = ofColumn;
    return true;
}

bool RidgeFinder::acrossFaint(const Line &line, QRgb *beside)
{
    const int after = stepsTo<Faint>(line.middle, line.step, std::min(kRidgeReach, line.after));
    if (after == 0)
        return false;
    const int most = std::min(kRidgeReach, kRidgeReach + 1 - after);
    const int before = stepsTo<Faint>(line.middle, -line.step, std::min(most, line.before));
    bool isOpaque = true;
    return before > 0 && between<OpaqueKind>(line, after, before, beside, &isOpaque) && isOpaque;
}

// Whether nothing on the line within reach differs clearly from its middle.
bool RidgeFinder::isFaint(const Line &line)
{
    return stepsTo(line.middle, line.step, std::min(kRidgeReach, line.after)) == 0
        && stepsTo(line.middle, -line.step, std::min(kRidgeReach, line.before)) == 0;
}

bool RidgeFinder::findFaint(int x, int y, QRgb *beside) const
{
    const QRgb *middle = first + y * stride + x;
    if (qAlpha(*middle) != 255)
        return false;
    // Most edges have something clear right beside them.
    if ((x > 0 && Clear::differs(*middle, middle[-1]))
        || (x + 1 < width && Clear::differs(*middle, middle[1]))
        || (y > 0 && Clear::differs(*middle, middle[-stride]))
        || (y + 1 < height && Clear::differs(*middle, middle[stride])))
        return false;
    const Line ofRow = { middle, 1, x, width - 1 - x };
    const Line down = { middle, stride, y, height - 1 - y };
    if (!isFaint(ofRow) || !isFaint(down))
        return false;
    QRgb ofColumn = 0;
    const bool inRow = acrossFaint(ofRow, beside);
    const bool inColumn = acrossFaint(down, &ofColumn);
    if (inColumn && (!inRow || hueDistance(*middle, ofColumn) > hueDistance(*middle, *beside)))
        *beside = ofColumn;
    return inRow || inColumn;
}

Ridge RidgeFinder::at(int x, int y) const
{
    Ridge ridge;
    ridge.colour = first[y * stride + x];
    ridge.found = find(x, y, &ridge.beside);
    return ridge;
}

// Two colours of a palette, channel by channel.
struct RidgeColours::Pair
{
    double channels[4][2];
};

RidgeColours::RidgeColours(const std::vector<QRgb> &palette) : words(palette)
{
    for (QRgb word : words)
        colours.push_back(visible(word));
    for (std::size_t k = 0; k + 2 <= colours.size(); k += 2) {
        pairs.emplace_back();
        for (std::size_t c = 0; c < 4; ++c) {
            pairs.back().channels[c][0] = colours[k][c];
            pairs.back().channels[c][1] = colours[k + 1][c];
        }
    }
}

RidgeColours::~RidgeColours() = default;

int RidgeColours::nearestTo(const Ridge &ridge) const
{
    const VisibleColour own = visible(ridge.colour);
    const VisibleColour beside = visible(ridge.beside);
    const double depth = length(difference(own, beside));
    int best = -1;
    double least = 1e9;
    for (std::size_t k = 0; k < colours.size(); ++k) {
        if (isRootAbove(square(difference(colours[k], beside)),
                        depth / kLeastPart * (1.0 + kMargin)))
            continue; // surely too little of it would be left
        const double unexplained = std::sqrt(squareToMixture(own, beside, colours[k]));
        const double distance = unexplained + kDoubt * length(difference(own, colours[k]));
        const bool isLikely = unexplained <= kExplained * depth
            && depth >= kLeastPart * length(difference(colours[k], beside));
        if (isLikely && distance < least) {
            least = distance;
            best = static_cast<int>(k);
        }
    }
    return best;
}

#ifdef __SSE2__
namespace {

// What costsOf computes, for two colours side by side: the same operations in the same order.
struct CostsOfTwo
{
    __m128d own[4];
    __m128d beside[4];
    __m128d from[4]; // own - beside
    double depth;

    CostsOfTwo(const VisibleColour &o, const VisibleColour &b, double d) : depth(d)
    {
        for (std::size_t c = 0; c < 4; ++c) {
            own[c] = _mm_set1_pd(o[c]);
            beside[c] = _mm_set1_pd(b[c]);
            from[c] = _mm_sub_pd(own[c], beside[c]);
        }
    }

    static __m128d product(const __m128d *a, const __m128d *b)
    {
        __m128d sum = _mm_mul_pd(a[0], b[0]);
        for (int c = 1; c < 4; ++c)
            sum = _mm_add_pd(sum, _mm_mul_pd(a[c], b[c]));
        return sum;
    }

    // Returns whether one of the two explains the ridge.
    bool of(const double (&colour)[4][2], float *costs) const
    {
        __m128d along[4];
        __m128d apart[4]; // from the colour itself
        for (int c = 0; c < 4; ++c) {
            const __m128d two = _mm_loadu_pd(colour[c]);
            along[c] = _mm_sub_pd(two, beside[c]);
            apart[c] = _mm_sub_pd(own[c], two);
        }
        const __m128d none = _mm_setzero_pd();
        const __m128d whole = product(along, along);
        const __m128d toward = product(from, along);
        const __m128d part
            = _mm_max_pd(_mm_min_pd(_mm_div_pd(toward, whole), _mm_set1_pd(1.0)), none);
        const __m128d t = _mm_and_pd(_mm_cmpgt_pd(whole, none), part);
        __m128d away[4];
        for (int c = 0; c < 4; ++c)
            away[c] = _mm_sub_pd(from[c], _mm_mul_pd(t, along[c]));
        const __m128d unexplained = _mm_sqrt_pd(product(away, away));
        const __m128d missing = _mm_sub_pd(_mm_mul_pd(_mm_set1_pd(kLeastPart), _mm_sqrt_pd(whole)),
                                           _mm_set1_pd(depth));
        const __m128d distance = _mm_sqrt_pd(product(apart, apart));
        const __m128d wrongWay = _mm_andnot_pd(_mm_cmpgt_pd(toward, none), _mm_set1_pd(kWrongWay));
        const __m128d sum = _mm_add_pd(
            _mm_add_pd(_mm_add_pd(unexplained, dilution(distance)), _mm_max_pd(missing, none)),
            wrongWay);
        _mm_storel_pi(reinterpret_cast<__m64 *>(costs), _mm_cvtpd_ps(sum));
        const __m128d explained
            = _mm_and_pd(_mm_cmple_pd(unexplained, _mm_set1_pd(kExplained * depth)),
                         _mm_cmple_pd(missing, none));
        return _mm_movemask_pd(explained) != 0;
    }

    // costOfDilution
    static __m128d dilution(__m128d distance)
    {
        const __m128d shade = _mm_set1_pd(kShade);
        return _mm_add_pd(_mm_mul_pd(_mm_set1_pd(kDoubt), _mm_min_pd(shade, distance)),
                          _mm_mul_pd(_mm_set1_pd(kDilution),
                                     _mm_max_pd(_mm_sub_pd(distance, shade), _mm_setzero_pd())));
    }
};

} // namespace
#endif

bool RidgeColours::costsOf(const Ridge &ridge, float *costs) const
{
    const VisibleColour own = visible(ridge.colour);
    const VisibleColour beside = visible(ridge.beside);
    const double depth = length(difference(own, beside));
    bool explained = false;
    std::size_t k = 0;
#ifdef __SSE2__
    const CostsOfTwo two(own, beside, depth);
    for (const Pair &pair : pairs) {
        explained |= two.of(pair.channels, costs + k);
        k += 2;
    }
#endif
    for (; k < colours.size(); ++k) {
        const double unexplained = std::sqrt(squareToMixture(own, beside, colours[k]));
        const double missing = kLeastPart * length(difference(colours[k], beside)) - depth;
        const bool goesThere
            = product(difference(own, beside), difference(colours[k], beside)) > 0.0;
        explained = explained || (unexplained <= kExplained * depth && missing <= 0.0);
        costs[k] = float(unexplained + costOfDilution(length(difference(own, colours[k])))
                         + std::max(0.0, missing) + (goesThere ? 0.0 : kWrongWay));
    }
    return explained;
}

double RidgeColours::costOf(const Ridge &ridge, std::size_t place) const
{
    const VisibleColour own = visible(ridge.colour);
    const VisibleColour beside = visible(ridge.beside);
    const VisibleColour &colour = colours[place];
    const double missing
        = kLeastPart * length(difference(colour, beside)) - length(difference(own, beside));
    return std::sqrt(squareToMixture(own, beside, colour))
        + kDoubt * length(difference(own, colour)) + std::max(0.0, missing);
}

} // namespace ztrace
