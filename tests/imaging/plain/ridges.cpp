// (c) the ztrace developers. Licence: see LICENSE.
#include "plain.h"

#include "imaging/colour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {
namespace plain {

namespace {

const int kReach = 3;          // pixels to either side
const double kClearly = 40.0;  // length of a difference
const double kFaintly = 13.0;  // the same, of faint ridges
const double kAligned = 0.5;   // cosine between the differences to both sides
const double kSameSlope = 0.9; // cosine between two steps of one slope
const double kWeightOfAlpha = 0.7;
const double kDoubt = 0.1;      // cost of supposing a line to be thinner than a pixel
const double kLeastPart = 0.3;  // of a line's own colour that must be left
const double kExplained = 0.15; // sine of the angle between a line's colour and the supposed one
const int kLeastAlpha = 96;     // of a line on transparency

// Red, green and blue on white paper, and alpha. Soft edges are straight lines in it.
typedef std::array<double, 4> Colour;

Colour visible(QRgb word)
{
    const double alpha = qAlpha(word) / 255.0;
    const auto onWhite = [alpha](int channel) { return 255.0 - (255 - channel) * alpha; };
    return { { onWhite(qRed(word)), onWhite(qGreen(word)), onWhite(qBlue(word)),
               kWeightOfAlpha * 255.0 * alpha } };
}

Colour difference(const Colour &a, const Colour &b)
{
    return { { a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3] } };
}

double product(const Colour &a, const Colour &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

double length(const Colour &a)
{
    return std::sqrt(product(a, a));
}

bool isAligned(const Colour &a, const Colour &b, double cosine)
{
    return product(a, b) > cosine * length(a) * length(b);
}

double distanceToMixture(const Colour &colour, const Colour &a, const Colour &b)
{
    const Colour along = difference(b, a);
    const Colour from = difference(colour, a);
    const double square = product(along, along);
    const double t
        = square > 0.0 ? std::max(0.0, std::min(1.0, product(from, along) / square)) : 0.0;
    Colour away = from;
    for (std::size_t i = 0; i < 4; ++i)
        away[i] -= t * along[i];
    return length(away);
}

// What lies to one side of a pixel: steps to the first one that differs clearly, 0 when there is
// none, and the foot of the slope that begins there.
struct Side
{
    int steps = 0;
    QRgb word = 0;
    Colour away = { { 0.0, 0.0, 0.0, 0.0 } };
};

Side sideOf(const QImage &image, int x, int y, int dx, int dy, double clearly = kClearly)
{
    const int kSlope = 2; // pixels that a soft edge goes on for
    const Colour own = visible(row(image, y)[x]);
    Side side;
    for (int step = 1; step <= (side.steps > 0 ? side.steps + kSlope : kReach); ++step) {
        const int u = x + step * dx;
        const int v = y + step * dy;
        if (u < 0 || v < 0 || u >= image.width() || v >= image.height())
            break;
        const QRgb word = row(image, v)[u];
        const Colour away = difference(own, visible(word));
        if (side.steps == 0 && length(away) <= clearly)
            continue;
        if (side.steps > 0
            && (length(away) <= length(side.away) || !isAligned(away, side.away, kSameSlope)))
            break;
        side.steps = side.steps > 0 ? side.steps : step;
        side.word = word;
        side.away = away;
    }
    return side;
}

bool isIn(const QImage &image, int x, int y)
{
    return x >= 0 && y >= 0 && x < image.width() && y < image.height();
}

// Pixels of the picture from a place, itself included, to the rim.
int toRim(const QImage &image, int x, int y, int dx, int dy)
{
    int count = 0;
    for (; isIn(image, x + count * dx, y + count * dy); ++count) { }
    return count;
}

// Three pixels before it and three after it, those of them that the picture has, are no clear
// edges away; one of the two sides is whole.
bool goesOn(const QImage &image, int x, int y, int dx, int dy)
{
    const Colour own = visible(row(image, y)[x]);
    for (int step : { -3, -2, -1, 1, 2, 3 }) {
        const int u = x + step * dx;
        const int v = y + step * dy;
        if (isIn(image, u, v) && length(difference(own, visible(row(image, v)[u]))) > kClearly)
            return false;
    }
    return isIn(image, x + 3 * dx, y + 3 * dy) || isIn(image, x - 3 * dx, y - 3 * dy);
}

// A line of at most three pixels between the rim and another colour, which is not its own and less
// transparent.
bool isOnRim(const QImage &image, int x, int y, int dx, int dy, const Side &inner)
{
    const QRgb own = row(image, y)[x];
    const bool isFainter
        = qAlpha(own) < qAlpha(inner.word) && hueDistance(own, inner.word) <= ztrace::kClearly;
    return qAlpha(own) >= kLeastAlpha && !isFainter && inner.steps > 0
        && toRim(image, x, y, -dx, -dy) - 1 + inner.steps <= kReach && goesOn(image, x, y, dy, dx);
}

Ridge ridgeAcross(const QImage &image, int x, int y, int dx, int dy)
{
    Ridge ridge;
    ridge.colour = row(image, y)[x];
    const Side one = sideOf(image, x, y, dx, dy);
    const Side other = sideOf(image, x, y, -dx, -dy);
    const bool two = one.steps > 0 && other.steps > 0;
    ridge.found = two
        ? one.steps + other.steps <= kReach + 1 && isAligned(one.away, other.away, kAligned)
        : isOnRim(image, x, y, dx, dy, one) || isOnRim(image, x, y, -dx, -dy, other);
    if (two)
        ridge.beside = length(one.away) < length(other.away) ? one.word : other.word;
    else
        ridge.beside = one.steps > 0 ? one.word : other.word;
    return ridge;
}

// With opaque words alone, as far as they are looked at.
Ridge faintRidgeAcross(const QImage &image, int x, int y, int dx, int dy)
{
    Ridge ridge;
    ridge.colour = row(image, y)[x];
    const Side one = sideOf(image, x, y, dx, dy, kFaintly);
    const Side other = sideOf(image, x, y, -dx, -dy, kFaintly);
    ridge.found = one.steps > 0 && other.steps > 0 && one.steps + other.steps <= kReach + 1
        && isAligned(one.away, other.away, kAligned);
    ridge.beside = length(one.away) < length(other.away) ? one.word : other.word;
    return ridge;
}

} // namespace

Ridge faintRidgeAt(const QImage &image, int x, int y)
{
    for (int dx = -1; dx <= 1; ++dx) {
        for (int dy = -1; dy <= 1; ++dy) {
            if ((dx == 0) != (dy == 0) && sideOf(image, x, y, dx, dy).steps > 0)
                return Ridge();
        }
    }
    const Ridge inRow = faintRidgeAcross(image, x, y, 1, 0);
    const Ridge inColumn = faintRidgeAcross(image, x, y, 0, 1);
    if (!inRow.found || !inColumn.found)
        return inColumn.found ? inColumn : inRow;
    return hueDistance(inColumn.colour, inColumn.beside) > hueDistance(inRow.colour, inRow.beside)
        ? inColumn
        : inRow;
}

bool isClean(const QImage &image)
{
    int clear = 0;
    int little = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x + 1 < image.width(); ++x) {
            const int distance = colourDistance(row(image, y)[x], row(image, y)[x + 1]);
            clear += distance > ztrace::kClearly;
            little += distance <= ztrace::kClearly && image.pixel(x, y) != image.pixel(x + 1, y);
        }
    }
    return 2 * little <= clear;
}

Ridge ridgeAt(const QImage &image, int x, int y)
{
    const Ridge inRow = ridgeAcross(image, x, y, 1, 0);
    const Ridge inColumn = ridgeAcross(image, x, y, 0, 1);
    const auto depth = [](const Ridge &ridge) {
        return ridge.found ? length(difference(visible(ridge.colour), visible(ridge.beside)))
                           : -1.0;
    };
    return depth(inColumn) > depth(inRow) ? inColumn : inRow;
}

int nearestTo(const Ridge &ridge, const std::vector<QRgb> &colours)
{
    const Colour own = visible(ridge.colour);
    const Colour beside = visible(ridge.beside);
    int best = -1;
    double least = 1e9;
    for (std::size_t k = 0; k < colours.size(); ++k) {
        const Colour colour = visible(colours[k]);
        const double unexplained = distanceToMixture(own, beside, colour);
        const double distance = unexplained + kDoubt * length(difference(own, colour));
        const double depth = length(difference(own, beside));
        const bool isLikely = unexplained <= kExplained * depth
            && depth >= kLeastPart * length(difference(colour, beside));
        if (isLikely && distance < least) {
            least = distance;
            best = static_cast<int>(k);
        }
    }
    return best;
}

RidgeMap::RidgeMap(const QImage &image) : width(image.width()), height(image.height())
{
    const bool clean = isClean(image);
    ridges.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < width; ++x) {
            ridges.push_back(
                qAlpha(words[x]) >= kLeastAlpha && isEdge(image, x, y)
                && (ridgeAt(image, x, y).found
                    || (clean && qAlpha(words[x]) == 255 && faintRidgeAt(image, x, y).found)));
        }
    }
}

int RidgeMap::crowdAt(int x, int y, int reach) const
{
    int count = 0;
    for (int v = std::max(0, y - reach); v <= std::min(height - 1, y + reach); ++v) {
        for (int u = std::max(0, x - reach); u <= std::min(width - 1, x + reach); ++u)
            count += at(u, v);
    }
    return count;
}

bool isEdge(const QImage &image, int x, int y)
{
    const int kClearly = 24; // colourDistance; shading from pixel to pixel stays below
    const QRgb *words = row(image, y);
    const QRgb own = words[x];
    const auto differs
        = [own](QRgb other) { return own != other && colourDistance(own, other) > kClearly; };
    return (x > 0 && differs(words[x - 1])) || (x + 1 < image.width() && differs(words[x + 1]))
        || (y > 0 && differs(row(image, y - 1)[x]))
        || (y + 1 < image.height() && differs(row(image, y + 1)[x]));
}

} // namespace plain
} // namespace ztrace
