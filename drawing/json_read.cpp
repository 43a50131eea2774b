// (c) the ztrace developers. Licence: see LICENSE.
//
// Time and memory are of the order of the text, and so is what any writer makes of the drawing:
// the bounds below see to that.
#include "json.h"

#include "chains.h"
#include "pens.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace ztrace {

namespace {

const double kLargestSize = 2147483647.0;
const int kHighestDegree = 3; // the cost of a point grows with the square of the degree

const int kMostDashes = 64;

// Pixels an inch, where they are known: what coordinates are divided by.
const double kLeastDpi = 1e-5;
const double kMostDpi = 1e9;

// An outline may be cut out of several that lie around each other, and is written with each of
// them. Pieces that are written so, for each piece of the drawing: drawings of ours have at most a
// handful. Below the second number nobody cares.
const qint64 kMostCutPieces = 64;
const qint64 kFreeCutPieces = 100000;

// Of the drawing itself; all others say how it came about.
const char *const kOwnMembers[]
    = { "format",    "version", "width", "height",    "dpi",      "unit",
        "precision", "ground",  "pens",  "gradients", "outlines", "chains" };

// Unwinds to readJson.
struct Refusal
{
    QString reason;
};

[[noreturn]] void refuse(const QString &reason)
{
    throw Refusal { reason };
}

[[noreturn]] void refuse(const char *reason)
{
    refuse(QString::fromLatin1(reason));
}

QJsonValue member(const QJsonObject &object, const char *name)
{
    return object.value(QLatin1String(name));
}

int wholeNumber(const QJsonValue &value, double least, double most, const char *what)
{
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(number >= least && number <= most && number == std::floor(number))) {
        refuse(QString::fromLatin1("%1 has to be a whole number from %2 to %3")
                   .arg(QLatin1String(what))
                   .arg(least, 0, 'f', 0)
                   .arg(most, 0, 'f', 0));
    }
    return static_cast<int>(number);
}

double positive(const QJsonValue &value, const char *what)
{
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(number >= 0.0 && number <= kFarthest))
        refuse(
            QString::fromLatin1("%1 has to be a number from 0 to 1e300").arg(QLatin1String(what)));
    return number;
}

QJsonArray list(const QJsonValue &value, const char *what)
{
    if (!value.isArray() && !value.isUndefined())
        refuse(QString::fromLatin1("%1 has to be a list").arg(QLatin1String(what)));
    return value.toArray();
}

QString text(const QJsonValue &value, const char *what)
{
    if (!value.isString() && !value.isUndefined())
        refuse(QString::fromLatin1("%1 has to be text").arg(QLatin1String(what)));
    return value.toString();
}

QRgb colour(const QJsonValue &value, const char *what)
{
    const QColor colour(value.toString());
    if (!colour.isValid())
        refuse(QString::fromLatin1("%1 has to be a colour, such as \"#ff8000\"")
                   .arg(QLatin1String(what)));
    return colour.rgb();
}

// A number, or the string of one that JSON has no form for.
double coordinate(const QJsonValue &value)
{
    if (value.isDouble())
        return value.toDouble();
    const QString name = value.toString();
    if (name == QLatin1String("-0"))
        return -0.0;
    if (name == QLatin1String("inf"))
        return std::numeric_limits<double>::infinity();
    if (name == QLatin1String("-inf"))
        return -std::numeric_limits<double>::infinity();
    if (name != QLatin1String("nan"))
        refuse("a coordinate is no number");
    return std::numeric_limits<double>::quiet_NaN();
}

Point pointAt(const QJsonArray &numbers, int place)
{
    return Point(coordinate(numbers.at(place)), coordinate(numbers.at(place + 1)));
}

void appendSpline(const QJsonArray &piece, int fields, int degree, Path *shape)
{
    std::vector<Point> inner;
    int i = fields;
    for (; i + 2 < piece.size(); i += 2)
        inner.push_back(pointAt(piece, i));
    shape->splineTo(degree, inner, pointAt(piece, i));
}

void appendEllipticArc(const QJsonArray &piece, Path *shape)
{
    if (piece.size() != 6)
        refuse("bulge, ratio, angle and the end point have to be five numbers");
    const double ratio = coordinate(piece.at(2));
    if (!(ratio > 0.0 && ratio <= 1.0))
        refuse("the ratio of the axes has to be above 0, and at most 1");
    const double angle = coordinate(piece.at(3));
    if (!std::isfinite(angle))
        refuse("the angle has to be a number");
    shape->ellipticArcTo(pointAt(piece, 4), coordinate(piece.at(1)), ratio, angle);
}

void appendPiece(const QJsonArray &piece, Path *shape)
{
    const QString kind = piece.at(0).toString();
    const char letter = kind.size() == 1 ? kind.at(0).toLatin1() : '\0';
    const int fields = letter == 'A' || letter == 'S' ? 2 : 1;
    const int numbers = piece.size() - fields;
    switch (letter) {
    case 'L':
    case 'A':
        if (numbers != 2)
            refuse("the end point has to be two numbers");
        shape->arcTo(pointAt(piece, fields), letter == 'A' ? coordinate(piece.at(1)) : 0.0);
        return;
    case 'E':
        appendEllipticArc(piece, shape);
        return;
    case 'Q':
    case 'S':
        if (numbers < 2 || numbers % 2 != 0)
            refuse("coordinates come in pairs");
        appendSpline(piece, fields,
                     letter == 'Q' ? 2 : wholeNumber(piece.at(1), 1, kHighestDegree, "the degree"),
                     shape);
        return;
    }
    refuse("there are pieces \"L\", \"Q\", \"A\", \"E\" and \"S\"");
}

void readShape(const QJsonObject &object, Path *shape)
{
    const QJsonArray pieces = list(member(object, "pieces"), "\"pieces\"");
    const QJsonArray start = list(member(object, "start"), "\"start\"");
    if (start.isEmpty() && pieces.isEmpty())
        return;
    if (start.size() != 2)
        refuse("\"start\" has to be two numbers");
    shape->moveTo(pointAt(start, 0));
    for (int i = 0; i < pieces.size(); ++i) {
        try {
            appendPiece(pieces.at(i).toArray(), shape);
        } catch (const Refusal &refusal) {
            refuse(QString::fromLatin1("piece %1: %2").arg(i).arg(refusal.reason));
        }
    }
}

Pen readPen(const QJsonObject &object)
{
    Pen pen;
    pen.width = positive(member(object, "width"), "\"width\"");
    if (!(pen.width > 0.0))
        refuse("\"width\" has to be a number above 0");
    const QJsonValue type = member(object, "type");
    if (!type.isUndefined() && !lineTypeOfName(type.toString(), &pen.lineType))
        refuse("\"type\" has to be \"continuous\", \"hidden\", \"center\", \"phantom\" or \"dot\"");
    const QJsonArray dashes = list(member(object, "dashes"), "\"dashes\"");
    if (dashes.size() > kMostDashes)
        refuse(QString::fromLatin1("there are more than %1 dashes").arg(kMostDashes));
    for (const QJsonValue &dash : dashes)
        pen.dashes.push_back(positive(dash, "a dash"));
    if (!pen.dashes.empty() && !(sumOf(pen.dashes) > 0.0 && std::isfinite(sumOf(pen.dashes))))
        refuse("the dashes have no length");
    const QJsonValue ends = member(object, "ends");
    const QString name = ends.toString();
    if (!ends.isUndefined() && name != QLatin1String("round") && name != QLatin1String("flat"))
        refuse("\"ends\" has to be \"round\" or \"flat\"");
    pen.roundEnds = ends.isUndefined() || name == QLatin1String("round");
    return pen;
}

// Each by itself; a refusal says which of them, called `what`, it is about.
template<typename Read>
auto readEach(const QJsonArray &array, const char *what, const Read &read)
{
    std::vector<decltype(read(QJsonObject()))> all;
    for (int i = 0; i < array.size(); ++i) {
        try {
            all.push_back(read(array.at(i).toObject()));
        } catch (const Refusal &refusal) {
            refuse(QString::fromLatin1("%1 %2: %3")
                       .arg(QLatin1String(what))
                       .arg(i)
                       .arg(refusal.reason));
        }
    }
    return all;
}

Point readPlace(const QJsonObject &object, const char *name)
{
    const QJsonArray numbers = list(member(object, name), name);
    const Point place = numbers.size() == 2 ? pointAt(numbers, 0) : Point(HUGE_VAL, 0.0);
    if (!(std::fabs(place.x) <= kFarthestGradient && std::fabs(place.y) <= kFarthestGradient)) {
        refuse(QString::fromLatin1("\"%1\" has to be two numbers of at most 1e9")
                   .arg(QLatin1String(name)));
    }
    return place;
}

GradientStop readStop(const QJsonValue &value, double least)
{
    const QJsonArray pair = value.toArray();
    const double at = pair.isEmpty() ? -1.0 : coordinate(pair.at(0));
    if (pair.size() != 2 || !(at >= least && at <= 1.0))
        refuse("stops have to be numbers from 0 to 1 that do not fall, each with a colour");
    return { at, colour(pair.at(1), "the colour of a stop") };
}

Gradient readGradient(const QJsonObject &object)
{
    Gradient gradient;
    const QString type = member(object, "type").toString();
    gradient.radial = type == QLatin1String("radial");
    if (!gradient.radial && type != QLatin1String("linear"))
        refuse("\"type\" has to be \"linear\" or \"radial\"");
    gradient.start = readPlace(object, gradient.radial ? "center" : "from");
    if (gradient.radial)
        gradient.radius = positive(member(object, "radius"), "\"radius\"");
    else
        gradient.end = readPlace(object, "to");
    const QJsonArray stops = list(member(object, "stops"), "\"stops\"");
    if (stops.size() < 2 || std::size_t(stops.size()) > kMostStops)
        refuse(QString::fromLatin1("there have to be 2 to %1 stops").arg(kMostStops));
    for (const QJsonValue stop : stops)
        gradient.stops.push_back(
            readStop(stop, gradient.stops.empty() ? 0.0 : gradient.stops.back().at));
    if (!isUsable(gradient))
        refuse(gradient.radial ? "\"radius\" has to be above 0, and at most 1e9"
                               : "\"from\" and \"to\" are one point");
    return gradient;
}

// How many of each the drawing has.
struct Numbers
{
    int pens;
    int gradients;
    int outlines;
    int chains;
};

Outline readOutline(const QJsonObject &object, const Numbers &numbers)
{
    Outline outline;
    const QJsonValue alpha = member(object, "alpha");
    const int opacity = alpha.isUndefined() ? 255 : wholeNumber(alpha, 0, 255, "\"alpha\"");
    outline.colour = (colour(member(object, "color"), "\"color\"") & 0xFFFFFFu)
        | (static_cast<QRgb>(opacity) << 24);
    outline.layer = text(member(object, "layer"), "\"layer\"");
    const QJsonValue seam = member(object, "seam");
    outline.seam = seam.isUndefined() ? 0.0 : positive(seam, "\"seam\"");
    const QJsonValue pen = member(object, "pen");
    if (!pen.isUndefined() && numbers.pens == 0)
        refuse("there are no pens");
    const QJsonValue gradient = member(object, "gradient");
    if (!gradient.isUndefined() && numbers.gradients == 0)
        refuse("there are no gradients");
    outline.gradient = gradient.isUndefined()
        ? -1
        : wholeNumber(gradient, 0, numbers.gradients - 1, "\"gradient\"");
    outline.pen = pen.isUndefined() ? -1 : wholeNumber(pen, 0, numbers.pens - 1, "\"pen\"");
    for (const QJsonValue hole : list(member(object, "holes"), "\"holes\""))
        outline.holes.push_back(wholeNumber(hole, 0, numbers.outlines - 1, "a hole"));
    readShape(object, &outline.shape);
    const QJsonArray rings = list(member(object, "rings"), "\"rings\"");
    if (!rings.isEmpty() && numbers.chains == 0)
        refuse("there are no chains");
    for (const QJsonValue ring : rings) {
        outline.rings.emplace_back();
        for (const QJsonValue chain : list(ring, "a ring"))
            outline.rings.back().push_back(
                wholeNumber(chain, -numbers.chains, numbers.chains - 1, "a chain of a ring"));
    }
    for (const QJsonValue ring : list(member(object, "under"), "\"under\"")) {
        outline.under.emplace_back();
        readShape(ring.toObject(), &outline.under.back());
    }
    const QJsonValue ground = member(object, "ground");
    if (!ground.isUndefined() && !ground.isBool())
        refuse("\"ground\" of an outline has to be true or false");
    outline.isGround = ground.toBool();
    if (outline.pen >= 0 && (outline.isGround || !outline.under.empty()))
        refuse("strokes are not filled: \"under\" and \"ground\" are of areas");
    return outline;
}

BoundaryChain readChain(const QJsonObject &object, int outlines)
{
    BoundaryChain chain;
    chain.left = wholeNumber(member(object, "left"), -1, outlines - 1, "\"left\"");
    chain.right = wholeNumber(member(object, "right"), -1, outlines - 1, "\"right\"");
    readShape(object, &chain.path);
    return chain;
}

[[noreturn]] void refuseOutline(int index, const QString &reason)
{
    refuse(QString::fromLatin1("outline %1: %2").arg(index).arg(reason));
}

std::size_t at(int index)
{
    return static_cast<std::size_t>(index);
}

// No outline is twice a hole of another one, and together they do not multiply the drawing.
void checkHoles(const std::vector<Outline> &outlines)
{
    std::vector<int> lastOf(outlines.size(), -1);
    qint64 pieces = 0;
    qint64 cut = 0;
    for (int i = 0; at(i) < outlines.size(); ++i) {
        pieces += static_cast<qint64>(outlines[at(i)].shape.pieces().size());
        for (int hole : outlines[at(i)].holes) {
            if (lastOf[at(hole)] == i)
                refuseOutline(i, QString::fromLatin1("outline %1 is twice its hole").arg(hole));
            if (outlines[at(hole)].pen >= 0 || outlines[at(i)].pen >= 0)
                refuseOutline(i, QString::fromLatin1("strokes are no holes, and have none"));
            lastOf[at(hole)] = i;
            cut += static_cast<qint64>(outlines[at(hole)].shape.pieces().size());
        }
    }
    if (cut > kFreeCutPieces && cut > kMostCutPieces * pieces)
        refuse("the holes have too many pieces");
}

// No outline is a hole in itself, or in one of its holes. Without recursion: depth is the file's.
void checkNesting(const std::vector<Outline> &outlines)
{
    enum State : char { New, Open, Done };
    std::vector<State> states(outlines.size(), New);
    std::vector<std::size_t> next(outlines.size(), 0); // hole that is to be looked at
    std::vector<int> path;
    for (int i = 0; at(i) < outlines.size(); ++i) {
        if (states[at(i)] == New)
            path.push_back(i);
        while (!path.empty()) {
            const int outline = path.back();
            states[at(outline)] = Open;
            const RareList<int> &holes = outlines[at(outline)].holes;
            if (next[at(outline)] == holes.size()) {
                states[at(outline)] = Done;
                path.pop_back();
                continue;
            }
            const int hole = holes[next[at(outline)]++];
            if (states[at(hole)] == Open)
                refuseOutline(hole, QString::fromLatin1("it is a hole of its own holes"));
            if (states[at(hole)] == New)
                path.push_back(hole);
        }
    }
}

std::vector<Outline> readOutlines(const QJsonArray &array, const Drawing &drawing)
{
    std::vector<Outline> outlines;
    outlines.reserve(at(array.size()));
    const Numbers numbers = { int(drawing.pens.size()), int(drawing.gradients.size()), array.size(),
                              int(drawing.chains.size()) };
    for (int i = 0; i < array.size(); ++i) {
        try {
            outlines.push_back(readOutline(array.at(i).toObject(), numbers));
        } catch (const Refusal &refusal) {
            refuseOutline(i, refusal.reason);
        }
    }
    checkHoles(outlines);
    checkNesting(outlines);
    return outlines;
}

Drawing readDrawing(const QJsonObject &object)
{
    if (member(object, "format").toString() != QLatin1String(kJsonFormatName))
        refuse("not a drawing");
    const double version = member(object, "version").toDouble();
    if (version != kJsonFormatVersion && version != kJsonFormatVersionOfPens)
        refuse("a drawing of another version");
    if (!member(object, "outlines").isArray())
        refuse("there are no outlines");
    Drawing drawing;
    drawing.width = wholeNumber(member(object, "width"), 0, kLargestSize, "\"width\"");
    drawing.height = wholeNumber(member(object, "height"), 0, kLargestSize, "\"height\"");
    drawing.dpi = positive(member(object, "dpi"), "\"dpi\"");
    if (drawing.dpi != 0.0 && !(drawing.dpi >= kLeastDpi && drawing.dpi <= kMostDpi))
        refuse("\"dpi\" has to be 0, or from 0.00001 to 1e9");
    const QJsonValue unit = member(object, "unit");
    if (!unit.isUndefined() && !unitOfName(unit.toString(), &drawing.unit))
        refuse("\"unit\" has to be \"px\", \"mm\" or \"in\"");
    const QJsonValue precision = member(object, "precision");
    if (!precision.isUndefined())
        drawing.precision = positive(precision, "\"precision\"");
    const QJsonValue ground = member(object, "ground");
    if (!ground.isUndefined())
        drawing.ground = colour(ground, "\"ground\"");
    drawing.about = object;
    for (const char *own : kOwnMembers)
        drawing.about.remove(QLatin1String(own));
    drawing.pens = readEach(list(member(object, "pens"), "\"pens\""), "pen", readPen);
    drawing.gradients
        = readEach(list(member(object, "gradients"), "\"gradients\""), "gradient", readGradient);
    const QJsonArray outlines = member(object, "outlines").toArray();
    drawing.chains = readEach(
        list(member(object, "chains"), "\"chains\""), "chain",
        [&outlines](const QJsonObject &chain) { return readChain(chain, outlines.size()); });
    drawing.outlines = readOutlines(outlines, drawing);
    const QString flaw = flawOfChains(drawing);
    if (!flaw.isEmpty())
        refuse(flaw);
    return drawing;
}

} // namespace

bool readJson(const QByteArray &text, Drawing *drawing, QString *error)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text, &problem);
    if (problem.error != QJsonParseError::NoError) {
        *error
            = QString::fromLatin1("%1, at byte %2").arg(problem.errorString()).arg(problem.offset);
        return false;
    }
    try {
        *drawing = readDrawing(document.object());
        return true;
    } catch (const Refusal &refusal) {
        *error = refusal.reason;
        return false;
    }
}

} // namespace ztrace
