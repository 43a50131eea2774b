// (c) the ztrace developers. Licence: see LICENSE.
#include "svg_path.h"

#include "text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace ztrace {

namespace {

const double kLargestPlace = 1e15;
const int kMostMoreDecimals = 8;  // of an arc's radii
const double kMiddleMoves = 0.75; // units of the last decimal; the middle of an arc by rounding
const double kMovesMore = 0.25;   // than by its ends alone
const int kLeastTurnDecimals = 2; // of degrees
const double kDegrees = 45.0 / std::atan(1.0);
const double kHalfTurn = 4.0 * std::atan(1.0);

// llround, in place: nearly all the numbers of a page go through it.
int64_t rounded(double value)
{
    const int64_t whole = static_cast<int64_t>(value);
    const double rest = value - static_cast<double>(whole);
    return whole + (rest >= 0.5 ? 1 : 0) - (rest <= -0.5 ? 1 : 0);
}

} // namespace

// A number of whole units of 10^-decimals.
class SvgPath::Text
{
public:
    Text(int64_t units, int decimals)
    {
        if (units == 0) {
            *end++ = '0';
            return;
        }
        char digits[20]; // of 2^63, and one to spare
        const uint64_t size = units < 0 ? uint64_t(0) - uint64_t(units) : uint64_t(units);
        const std::ptrdiff_t count
            = std::to_chars(digits, digits + sizeof digits, size).ptr - digits;
        const std::ptrdiff_t whole = std::max(count - decimals, std::ptrdiff_t(0));
        std::ptrdiff_t last = count; // of what is written: no zeros at the end of a fraction
        while (last > whole && digits[last - 1] == '0')
            --last;
        if (units < 0)
            *end++ = '-';
        end = std::copy(digits, digits + whole, end);
        if (last == whole)
            return;
        *end++ = '.';
        end = std::fill_n(end, std::max(decimals - count, std::ptrdiff_t(0)), '0');
        end = std::copy(digits + whole, digits + last, end);
    }

    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;

    const char *data() const { return letters; }
    std::size_t size() const { return std::size_t(end - letters); }

private:
    char letters[20 + kMostCompactDecimals + 2] = {};
    char *end = letters;
};

// Numbers after a letter, or after a number that has a point or none. Keeps its memory.
class SvgPath::Numbers
{
public:
    explicit Numbers(std::string *room, bool afterLetter, bool afterPoint = false)
        : text(*room), hadPoint(afterPoint), isFirst(afterLetter)
    {
        text.clear();
    }

    template<typename Number>
    void add(const Number &number)
    {
        const char *begin = number.data();
        const bool apart = *begin == '-' || (*begin == '.' && hadPoint);
        if (!isFirst && !apart)
            text += ' ';
        text.append(begin, number.size());
        hadPoint = std::find(begin, begin + number.size(), '.') != begin + number.size();
        isFirst = false;
    }

    std::string &text;
    bool hadPoint;

private:
    bool isFirst;
};

void appendShort(std::string *text, double value, int decimals)
{
    std::string number;
    appendNumber(&number, value, decimals);
    const std::size_t digits = number[0] == '-' ? 1 : 0;
    if (number.compare(digits, 2, "0.") == 0)
        number.erase(digits, 1);
    *text += number;
}

SvgPath::SvgPath(double l, double t, int d, bool inUnits)
    : left(l), top(t), decimals(d), unit(std::pow(10.0, d)), written(inUnits ? 0 : d)
{ }

SvgPath::Text SvgPath::textOf(int64_t units) const
{
    return Text(units, written);
}

SvgPath::Place SvgPath::placeOf(const Point &p) const
{
    return { rounded((p.x - left) * unit), rounded((top - p.y) * unit) };
}

Point SvgPath::pointOf(const Place &place) const
{
    return Point(left + static_cast<double>(place.x) / unit,
                 top - static_cast<double>(place.y) / unit);
}

bool SvgPath::canWrite(const std::vector<PathPiece> &pieces) const
{
    const auto fits = [this](const Point &p) {
        return std::fabs(p.x - left) * unit < kLargestPlace
            && std::fabs(p.y - top) * unit < kLargestPlace;
    };
    return std::all_of(pieces.begin(), pieces.end(), [&](const PathPiece &piece) {
        const bool isArc = piece.kind == PathPiece::Arc || piece.kind == PathPiece::EllipticArc;
        return fits(piece.start) && fits(piece.control1) && fits(piece.control2) && fits(piece.end)
            && (!isArc || ellipseOf(piece).major * unit < kLargestPlace);
    });
}

void SvgPath::endWithLongestLine(std::vector<PathPiece> *pieces) const
{
    if (!isClosed(*pieces))
        return;
    std::size_t longest = pieces->size();
    std::size_t most = 0;
    for (std::size_t k = pieces->size(); k-- > 0;) {
        const PathPiece &piece = (*pieces)[k];
        if (piece.kind != PathPiece::Line)
            continue;
        const Place from = placeOf(piece.start);
        const Place to = placeOf(piece.end);
        const std::size_t bytes = (from.x != to.x ? textOf(to.x - from.x).size() : 0)
            + (from.y != to.y ? textOf(to.y - from.y).size() : 0);
        if (bytes > most) {
            most = bytes;
            longest = k;
        }
    }
    if (longest + 1 < pieces->size())
        std::rotate(pieces->begin(), pieces->begin() + std::ptrdiff_t(longest) + 1, pieces->end());
}

void SvgPath::append(const std::vector<PathPiece> &pieces, std::string *text)
{
    const Place start = placeOf(pieces.front().start);
    moveTo(start, text);
    const bool closed = isClosed(pieces);
    bool isDrawn = false; // a dot is a line without length
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const PathPiece &piece = pieces[i];
        const bool isLast = i + 1 == pieces.size();
        const Place to = placeOf(piece.end);
        const Place controls[3] = { placeOf(piece.control1), placeOf(piece.control2), to };
        const Place quadratic[2] = { controls[0], to };
        switch (piece.kind) {
        case PathPiece::Spline: // piecesOf leaves none
        case PathPiece::Line:
            if ((isLast && closed && isDrawn)
                || (to.x == at.x && to.y == at.y && (isDrawn || !isLast)))
                continue;
            lineTo(to, text);
            break;
        case PathPiece::Quadratic:
            curveTo('q', quadratic, 2, text);
            break;
        case PathPiece::Cubic:
            curveTo('c', controls, 3, text);
            break;
        case PathPiece::Arc:
        case PathPiece::EllipticArc:
            arcTo(piece, text);
            break;
        }
        isDrawn = true;
    }
    if (!closed)
        return;
    *text += 'z';
    at = start;
    letter = '\0';
}

// At the begin of the data numbers are absolute either way.
void SvgPath::moveTo(const Place &to, std::string *text)
{
    Numbers absolute(&absoluteRoom, true);
    absolute.add(textOf(to.x));
    absolute.add(textOf(to.y));
    Numbers relative(&relativeRoom, true);
    relative.add(textOf(to.x - at.x));
    relative.add(textOf(to.y - at.y));
    const bool isRelative
        = !text->empty() && text->back() == 'z' && relative.text.size() < absolute.text.size();
    *text += isRelative ? 'm' : 'M';
    *text += isRelative ? relative.text : absolute.text;
    hadPoint = isRelative ? relative.hadPoint : absolute.hadPoint;
    letter = isRelative ? 'l' : 'L';
    at = to;
}

void SvgPath::lineTo(const Place &to, std::string *text)
{
    if (to.x != at.x && to.y != at.y) {
        curveTo('l', &to, 1, text);
        return;
    }
    const bool upright = to.x == at.x;
    const int64_t before = upright ? at.y : at.x;
    const int64_t after = upright ? to.y : to.x;
    const Text absolute = textOf(after);
    const Text relative = textOf(after - before);
    const bool isRelative = relative.size() <= absolute.size();
    const Text &shorter = isRelative ? relative : absolute;
    letter = upright ? (isRelative ? 'v' : 'V') : (isRelative ? 'h' : 'H');
    *text += letter;
    text->append(shorter.data(), shorter.size());
    hadPoint = false;
    at = to;
}

// A line or a curve; the letter is the small one.
void SvgPath::curveTo(char small, const Place *points, int count, std::string *text)
{
    const char capital = static_cast<char>(small - 'a' + 'A');
    Numbers relative(&relativeRoom, small != letter, hadPoint);
    Numbers absolute(&absoluteRoom, capital != letter, hadPoint);
    for (int i = 0; i < count; ++i) {
        relative.add(textOf(points[i].x - at.x));
        relative.add(textOf(points[i].y - at.y));
        absolute.add(textOf(points[i].x));
        absolute.add(textOf(points[i].y));
    }
    const bool isRelative = relative.text.size() + (small != letter ? 1 : 0)
        <= absolute.text.size() + (capital != letter ? 1 : 0);
    const char own = isRelative ? small : capital;
    if (own != letter)
        *text += own;
    *text += isRelative ? relative.text : absolute.text;
    letter = own;
    hadPoint = isRelative ? relative.hadPoint : absolute.hadPoint;
    at = points[count - 1];
}

// Nearly a whole turn may end where it began when it is rounded: as two parts it does not.
void SvgPath::arcTo(const PathPiece &piece, std::string *text)
{
    const Place to = placeOf(piece.end);
    const Ellipse ellipse = ellipseOf(piece);
    if (to.x != at.x || to.y != at.y || std::fabs(piece.bulge) < 1.0) {
        appendArc(piece, text);
        return;
    }
    PathPiece half = piece;
    half.bulge = std::tan(0.125 * ellipse.sweep);
    half.end = pointOn(ellipse, ellipse.start + 0.5 * ellipse.sweep);
    appendArc(half, text);
    half.start = half.end;
    half.end = piece.end;
    appendArc(half, text);
}

// From the ends as they are written and the height of the arc over them, both where the ellipse is
// a circle: that keeps the middle of the arc in its place.
void SvgPath::appendArc(const PathPiece &piece, std::string *text)
{
    const Place to = placeOf(piece.end);
    if (to.x == at.x && to.y == at.y)
        return;
    const Ellipse ellipse = ellipseOf(piece);
    const Point a = pointOf(at);
    const Point b = pointOf(to);
    const double c = std::cos(ellipse.angle);
    const double s = std::sin(ellipse.angle);
    const double ratio = ellipse.minor / ellipse.major;
    const double half = 0.5
        * std::hypot(c * (b.x - a.x) + s * (b.y - a.y),
                     (c * (b.y - a.y) - s * (b.x - a.x)) / ratio);
    const double height = ellipse.major * (1.0 - std::cos(0.5 * ellipse.sweep));
    const double radius = (half * half + height * height) / (2.0 * height);
    const bool isRound = piece.kind == PathPiece::Arc;
    const double exact[2] = { radius, radius * ratio };
    // Where the ends are a little elsewhere the middle is, too, whatever the radii: of a flat
    // ellipse by more.
    const double most = std::max(
        kMiddleMoves, kMovesMore + unit * distanceOfMiddle(ellipse, to, exact, ellipse.angle));
    const double perUnit = std::pow(10.0, decimals - written);
    std::string radii[2];
    std::string turn;
    for (int more = 0; more <= kMostMoreDecimals; ++more) {
        const int places = std::min(decimals + more, kMostCompactDecimals + 3);
        double rounded[2];
        for (int i = 0; i < 2; ++i) {
            radii[i].clear();
            appendShort(&radii[i], exact[i] * perUnit, places - decimals + written);
            rounded[i] = std::stod(radii[i]) / perUnit;
        }
        turn.clear();
        appendShort(&turn, isRound ? 0.0 : -std::remainder(ellipse.angle, kHalfTurn) * kDegrees,
                    kLeastTurnDecimals + more);
        if (rounded[1] > 0.0
            && distanceOfMiddle(ellipse, to, rounded, -std::stod(turn) / kDegrees) * unit <= most)
            break;
    }
    Numbers absolute(&absoluteRoom, true);
    Numbers relative(&relativeRoom, true);
    for (Numbers *numbers : { &absolute, &relative }) {
        for (const std::string *number : { &radii[0], &radii[1], &turn })
            numbers->add(*number);
        numbers->add(std::string_view(std::fabs(piece.bulge) > 1.0 ? "1" : "0"));
        // y is turned over, and the sense with it.
        numbers->add(std::string_view(piece.bulge < 0.0 ? "1" : "0"));
    }
    absolute.add(textOf(to.x));
    absolute.add(textOf(to.y));
    relative.add(textOf(to.x - at.x));
    relative.add(textOf(to.y - at.y));
    const bool isRelative = relative.text.size() <= absolute.text.size();
    const char own = isRelative ? 'a' : 'A';
    if (own != letter)
        *text += own;
    else
        *text += ' ';
    *text += isRelative ? relative.text : absolute.text;
    hadPoint = isRelative ? relative.hadPoint : absolute.hadPoint;
    letter = own;
    at = to;
}

// How far the middle of the arc that readers draw is from that of the ellipse's. Source: readers
// put the center beside the chord, as far as the radii tell, and make radii that do not reach
// larger.
double SvgPath::distanceOfMiddle(const Ellipse &ellipse, const Place &to, const double radii[2],
                                 double turn) const
{
    const Point a = pointOf(at);
    const Point b = pointOf(to);
    const double c = std::cos(turn);
    const double s = std::sin(turn);
    // A chord of the unit circle.
    const double u = (c * (b.x - a.x) + s * (b.y - a.y)) / radii[0];
    const double v = (c * (b.y - a.y) - s * (b.x - a.x)) / radii[1];
    const double half = 0.5 * std::hypot(u, v);
    const double size = std::max(1.0, half);
    const double deep = std::sqrt(std::max(0.0, size * size - half * half));
    const bool isLarge = std::fabs(ellipse.sweep) > kHalfTurn;
    const double height = isLarge ? size + deep : size - deep;
    // To the right of the chord where the arc turns to the left.
    const double side = (ellipse.sweep > 0.0 ? height : -height) / (2.0 * half);
    const double x = (0.5 * u + v * side) * radii[0];
    const double y = (0.5 * v - u * side) * radii[1];
    const Point middle(a.x + c * x - s * y, a.y + s * x + c * y);
    const Point wanted = pointOn(ellipse, ellipse.start + 0.5 * ellipse.sweep);
    return std::hypot(middle.x - wanted.x, middle.y - wanted.y);
}

} // namespace ztrace
