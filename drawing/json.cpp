// (c) the ztrace developers. Licence: see LICENSE.
#include "json.h"

#include "TextSink.h"
#include "text.h"

#include "ZSpline.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace ztrace {

namespace {

const char kFormatName[] = "ztrace drawing";
const int kFormatVersion = 1;
const double kLargestSize = 2147483647.0;
const char *const kUnitNames[] = { "px", "mm", "in" };
// Of the drawing itself; all others say how it came about.
const char *const kOwnMembers[]
    = { "format", "version", "width", "height", "dpi", "unit", "ground", "outlines" };

// A piece without its start: ["L", x, y], ["A", bulge, x, y], or ["S", degree, x, y, ...] with
// all control points but the first; a quadratic, the most frequent one, is ["Q", x, y, x, y].
QByteArray pieceText(const ZPolyline &shape, int index)
{
    QByteArray text;
    switch (shape.getPieceKind(index)) {
    case ZPolyline::LinePiece:
        text = "[\"L\"";
        break;
    case ZPolyline::ArcPiece:
        text = "[\"A\"," + jsonNumber(shape.getBulgeAt(index));
        break;
    case ZPolyline::SplinePiece:
        if (shape.getPieceDegree(index) == 2 && shape.countPiecePoints(index) == 3)
            text = "[\"Q\"";
        else
            text = "[\"S\"," + QByteArray::number(shape.getPieceDegree(index));
        break;
    }
    for (int i = 1; i < shape.countPiecePoints(index); ++i) {
        const ZVector &point = shape.getPiecePointAt(index, i);
        text += ',' + jsonNumber(point.x) + ',' + jsonNumber(point.y);
    }
    return text + ']';
}

void appendOutline(const Outline &outline, QByteArray *text)
{
    *text += "{\"layer\":" + jsonText(outline.layer) + ",\"color\":\"" + colourName(outline.colour)
        + "\",\"alpha\":" + QByteArray::number(qAlpha(outline.colour));
    if (outline.seam != 0.0)
        *text += ",\"seam\":" + jsonNumber(outline.seam);
    if (!outline.holes.empty()) {
        *text += ",\"holes\":[";
        for (std::size_t i = 0; i < outline.holes.size(); ++i)
            *text += (i ? "," : "") + QByteArray::number(outline.holes[i]);
        *text += ']';
    }
    if (!outline.shape.isEmpty()) {
        const ZVector start = outline.shape.getStartPoint();
        *text += ",\"start\":[" + jsonNumber(start.x) + ',' + jsonNumber(start.y) + ']';
    }
    *text += ",\"pieces\":[";
    for (int i = 0; i < outline.shape.countPieces(); ++i)
        *text += (i ? "," : "") + pieceText(outline.shape, i);
    *text += "]}";
}

double numberIn(const QJsonValue &value)
{
    if (value.isDouble())
        return value.toDouble();
    const QString text = value.toString();
    if (text == QLatin1String("-0"))
        return -0.0;
    if (text == QLatin1String("inf"))
        return std::numeric_limits<double>::infinity();
    if (text == QLatin1String("-inf"))
        return -std::numeric_limits<double>::infinity();
    return std::numeric_limits<double>::quiet_NaN();
}

bool refuse(QString *error, const char *reason)
{
    *error = QString::fromLatin1(reason);
    return false;
}

QVector<ZVector> pointsIn(const QJsonArray &piece, int from)
{
    QVector<ZVector> points;
    for (int i = from; i + 1 < piece.size(); i += 2)
        points.append(ZVector(numberIn(piece.at(i)), numberIn(piece.at(i + 1))));
    return points;
}

// The bulge of a polyline belongs to the vertex before the piece, so vertices are appended when
// the piece after them is known.
bool appendPiece(const QJsonArray &piece, const ZVector &from, ZPolyline *shape)
{
    const QString kind = piece.at(0).toString();
    const bool isLine = kind == QLatin1String("L");
    const bool isArc = kind == QLatin1String("A");
    const bool isQuadratic = kind == QLatin1String("Q");
    const bool isSpline = kind == QLatin1String("S");
    const int fields = isArc || isSpline ? 2 : 1;
    const QVector<ZVector> points = pointsIn(piece, fields);
    if (points.isEmpty() || piece.size() != fields + 2 * points.size())
        return false;
    if (isQuadratic || isSpline) {
        ZSpline spline;
        spline.setDegree(isQuadratic ? 2 : piece.at(1).toInt());
        spline.appendControlPoint(from);
        for (const ZVector &point : points)
            spline.appendControlPoint(point);
        return shape->appendShape(spline, false);
    }
    if (!isLine && !isArc)
        return false;
    ZPolyline step;
    step.appendVertex(from, isArc ? numberIn(piece.at(1)) : 0.0);
    step.appendVertex(points.first());
    return shape->appendShape(step, false);
}

bool readShape(const QJsonObject &object, ZPolyline *shape)
{
    const QJsonArray pieces = object.value(QLatin1String("pieces")).toArray();
    const QJsonArray start = object.value(QLatin1String("start")).toArray();
    if (start.size() != 2)
        return start.isEmpty() && pieces.isEmpty();
    ZVector from(numberIn(start.at(0)), numberIn(start.at(1)));
    shape->appendVertex(from);
    for (const QJsonValue &piece : pieces) {
        if (!appendPiece(piece.toArray(), from, shape))
            return false;
        from = shape->getEndPoint();
    }
    return true;
}

bool readOutline(const QJsonObject &object, int count, Outline *outline)
{
    const QColor colour(object.value(QLatin1String("color")).toString());
    if (!colour.isValid())
        return false;
    const int alpha = object.value(QLatin1String("alpha")).toInt(255) & 255;
    outline->colour = (colour.rgb() & 0xFFFFFFu) | (static_cast<QRgb>(alpha) << 24);
    outline->layer = object.value(QLatin1String("layer")).toString();
    outline->seam = object.value(QLatin1String("seam")).toDouble(0.0);
    for (const QJsonValue &hole : object.value(QLatin1String("holes")).toArray()) {
        if (hole.toInt(-1) < 0 || hole.toInt() >= count)
            return false;
        outline->holes.push_back(hole.toInt());
    }
    return readShape(object, &outline->shape);
}

} // namespace

QByteArray jsonText(const QString &text)
{
    QByteArray result = "\"";
    for (const char letter : text.toUtf8()) {
        if (letter == '"' || letter == '\\')
            result += '\\';
        if (static_cast<unsigned char>(letter) < 0x20)
            result += "\\u" + QByteArray::number(letter, 16).rightJustified(4, '0');
        else
            result += letter;
    }
    return result + '"';
}

QByteArray jsonNumber(double value)
{
    if (std::isnan(value))
        return "\"nan\"";
    if (std::isinf(value))
        return value > 0.0 ? "\"inf\"" : "\"-inf\"";
    if (value == 0.0 && std::signbit(value))
        return "\"-0\""; // parsers take the number for an integer and drop the sign
    return numberText(value);
}

QByteArray jsonValue(const QJsonValue &value)
{
    const QByteArray list = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    return list.mid(1, list.size() - 2);
}

QJsonValue jsonNumberValue(double value)
{
    const QByteArray text = jsonNumber(value);
    return text.startsWith('"') ? QJsonValue(QString::fromLatin1(text.mid(1, text.size() - 2)))
                                : QJsonValue(value);
}

bool writeJson(const Drawing &drawing, QIODevice *device)
{
    TextSink sink(device);
    QByteArray &text = sink.text();
    text += QByteArray("{\"format\":\"") + kFormatName + "\",\"version\":"
        + QByteArray::number(kFormatVersion) + ",\n\"width\":" + QByteArray::number(drawing.width)
        + ",\"height\":" + QByteArray::number(drawing.height)
        + ",\"dpi\":" + jsonNumber(drawing.dpi) + ",\"unit\":\""
        + kUnitNames[static_cast<int>(drawing.unit)] + '"';
    if (qAlpha(drawing.ground) != 0)
        text += ",\"ground\":\"" + colourName(drawing.ground) + '"';
    for (auto member = drawing.about.begin(); member != drawing.about.end(); ++member)
        text += ",\n" + jsonText(member.key()) + ':' + jsonValue(member.value());
    text += ",\n\"outlines\":[";
    for (std::size_t i = 0; i < drawing.outlines.size(); ++i) {
        text += i ? ",\n" : "\n";
        appendOutline(drawing.outlines[i], &text);
        sink.flushIfLarge();
    }
    text += "\n]}\n";
    return sink.finish();
}

bool readJson(const QByteArray &text, Drawing *drawing, QString *error)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text, &problem);
    if (problem.error != QJsonParseError::NoError) {
        *error = problem.errorString();
        return false;
    }
    const QJsonObject object = document.object();
    if (object.value(QLatin1String("format")).toString() != QLatin1String(kFormatName))
        return refuse(error, "not a drawing");
    if (object.value(QLatin1String("version")).toInt() != kFormatVersion)
        return refuse(error, "a drawing of another version");
    for (const char *name : { "width", "height" }) {
        const double size = object.value(QLatin1String(name)).toDouble(-1.0);
        if (!(size >= 0.0 && size <= kLargestSize && size == std::floor(size)))
            return refuse(error, "the size is none");
    }
    const QJsonValue dpi = object.value(QLatin1String("dpi"));
    if (!dpi.isDouble() || dpi.toDouble() < 0.0)
        return refuse(error, "the resolution is none");
    if (!object.value(QLatin1String("outlines")).isArray())
        return refuse(error, "there are no outlines");
    Drawing result;
    result.width = object.value(QLatin1String("width")).toInt();
    result.height = object.value(QLatin1String("height")).toInt();
    result.dpi = object.value(QLatin1String("dpi")).toDouble();
    const QString unit = object.value(QLatin1String("unit")).toString();
    for (int i = 0; i < 3; ++i) {
        if (unit == QLatin1String(kUnitNames[i]))
            result.unit = static_cast<Unit>(i);
    }
    const QColor ground(object.value(QLatin1String("ground")).toString());
    if (ground.isValid())
        result.ground = ground.rgb();
    result.about = object;
    for (const char *own : kOwnMembers)
        result.about.remove(QLatin1String(own));
    const QJsonArray outlines = object.value(QLatin1String("outlines")).toArray();
    for (const QJsonValue &value : outlines) {
        Outline outline;
        if (!readOutline(value.toObject(), outlines.size(), &outline))
            return refuse(error, "an outline is damaged");
        result.outlines.push_back(outline);
    }
    *drawing = result;
    return true;
}

} // namespace ztrace
