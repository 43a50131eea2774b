// (c) the ztrace developers. Licence: see LICENSE.
#include "json.h"

#include "TextSink.h"
#include "pens.h"
#include "text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const char kRoundEnds[] = "round";
const char kFlatEnds[] = "flat";

void appendJsonNumber(std::string *text, double value)
{
    if (std::isnan(value))
        *text += "\"nan\"";
    else if (std::isinf(value))
        *text += value > 0.0 ? "\"inf\"" : "\"-inf\"";
    else if (value == 0.0 && std::signbit(value))
        *text += "\"-0\""; // parsers take the number for an integer and drop the sign
    else
        appendNumber(text, value);
}

void appendPoint(std::string *text, const Point &point)
{
    appendJsonNumber(text, point.x);
    *text += ',';
    appendJsonNumber(text, point.y);
}

// A piece without its start: ["L", x, y], ["A", bulge, x, y], ["E", bulge, ratio, angle, x, y], or
// ["S", degree, x, y, ...] with all control points but the first; a quadratic, the most frequent
// one, is ["Q", x, y, x, y].
void appendPiece(std::string *text, const PathPiece &piece)
{
    const auto append = [text](const Point &point) {
        *text += ',';
        appendPoint(text, point);
    };
    switch (piece.kind) {
    case PathPiece::Line:
        *text += "[\"L\"";
        break;
    case PathPiece::Arc:
        *text += "[\"A\",";
        appendJsonNumber(text, piece.bulge);
        break;
    case PathPiece::EllipticArc:
        *text += "[\"E\"";
        for (double number : { piece.bulge, piece.ratio, piece.angle }) {
            *text += ',';
            appendJsonNumber(text, number);
        }
        break;
    case PathPiece::Quadratic:
        *text += "[\"Q\"";
        append(piece.control1);
        break;
    case PathPiece::Cubic:
        *text += "[\"S\",3";
        append(piece.control1);
        append(piece.control2);
        break;
    case PathPiece::Spline:
        *text += "[\"S\",";
        appendWhole(text, piece.degree);
        for (std::size_t i = 0; i < piece.innerCount; ++i)
            append(piece.inner[i]);
        break;
    }
    append(piece.end);
    *text += ']';
}

// "[1,2]", with at least one number.
template<typename Numbers>
void appendList(std::string *text, const Numbers &numbers)
{
    char separator = '[';
    for (int number : numbers) {
        *text += separator;
        appendWhole(text, number);
        separator = ',';
    }
    *text += ']';
}

void appendRings(std::string *text, const RareList<std::vector<int>> &rings)
{
    char separator = '[';
    *text += ",\"rings\":";
    for (const std::vector<int> &ring : rings) {
        *text += separator;
        appendList(text, ring);
        separator = ',';
    }
    *text += ']';
}

// "start" where there is one, and "pieces".
void appendShape(std::string *text, const Path &shape)
{
    if (!shape.isEmpty()) {
        *text += "\"start\":[";
        appendPoint(text, shape.start());
        *text += "],";
    }
    *text += "\"pieces\":[";
    bool isFirst = true;
    for (const PathPiece piece : shape.pieces()) {
        if (!isFirst)
            *text += ',';
        isFirst = false;
        appendPiece(text, piece);
    }
    *text += ']';
}

void appendOutline(std::string *text, const Outline &outline)
{
    *text += "{\"layer\":" + jsonText(outline.layer) + ",\"color\":\"" + colourName(outline.colour)
        + "\",\"alpha\":";
    appendWhole(text, qAlpha(outline.colour));
    if (outline.pen >= 0) {
        *text += ",\"pen\":";
        appendWhole(text, outline.pen);
    }
    if (outline.gradient >= 0) {
        *text += ",\"gradient\":";
        appendWhole(text, outline.gradient);
    }
    if (outline.seam != 0.0) {
        *text += ",\"seam\":";
        appendJsonNumber(text, outline.seam);
    }
    if (!outline.holes.empty()) {
        *text += ",\"holes\":";
        appendList(text, outline.holes);
    }
    if (!outline.rings.empty())
        appendRings(text, outline.rings);
    if (outline.isGround)
        *text += ",\"ground\":true";
    for (std::size_t k = 0; k < outline.under.size(); ++k) {
        *text += k == 0 ? ",\"under\":[{" : "},{";
        appendShape(text, outline.under[k]);
    }
    if (!outline.under.empty())
        *text += "}]";
    *text += ',';
    appendShape(text, outline.shape);
    *text += '}';
}

void appendPen(std::string *text, const Pen &pen)
{
    *text += "{\"width\":";
    appendJsonNumber(text, pen.width);
    *text += std::string(",\"type\":\"") + nameOf(pen.lineType) + '"';
    if (!pen.dashes.empty()) {
        char separator = '[';
        *text += ",\"dashes\":";
        for (double dash : pen.dashes) {
            *text += separator;
            appendJsonNumber(text, dash);
            separator = ',';
        }
        *text += ']';
    }
    *text += std::string(",\"ends\":\"") + (pen.roundEnds ? kRoundEnds : kFlatEnds) + "\"}";
}

void appendPens(std::string *text, const std::vector<Pen> &pens)
{
    *text += ",\n\"pens\":[";
    for (std::size_t i = 0; i < pens.size(); ++i) {
        *text += i ? ",\n" : "\n";
        appendPen(text, pens[i]);
    }
    *text += "\n]";
}

// {"type":"linear","from":[x,y],"to":[x,y],...} or {"type":"radial","center":[x,y],"radius":r,...}
// with "stops":[[at,"#rrggbb"],...].
void appendGradient(std::string *text, const Gradient &gradient)
{
    *text += gradient.radial ? "{\"type\":\"radial\",\"center\":["
                             : "{\"type\":\"linear\",\"from\":[";
    appendPoint(text, gradient.start);
    if (gradient.radial) {
        *text += "],\"radius\":";
        appendJsonNumber(text, gradient.radius);
    } else {
        *text += "],\"to\":[";
        appendPoint(text, gradient.end);
        *text += ']';
    }
    char separator = '[';
    *text += ",\"stops\":";
    for (const GradientStop &stop : gradient.stops) {
        *text += separator;
        *text += '[';
        appendJsonNumber(text, stop.at);
        *text += ",\"" + colourName(stop.colour) + "\"]";
        separator = ',';
    }
    *text += gradient.stops.empty() ? "[]}" : "]}";
}

void appendGradients(std::string *text, const std::vector<Gradient> &gradients)
{
    *text += ",\n\"gradients\":[";
    for (std::size_t i = 0; i < gradients.size(); ++i) {
        *text += i ? ",\n" : "\n";
        appendGradient(text, gradients[i]);
    }
    *text += "\n]";
}

// {"left":1,"right":0,"start":[x,y],"pieces":[...]}, -1 for a side on which there is nothing.
void appendChain(std::string *text, const BoundaryChain &chain)
{
    *text += "{\"left\":";
    appendWhole(text, chain.left);
    *text += ",\"right\":";
    appendWhole(text, chain.right);
    *text += ',';
    appendShape(text, chain.path);
    *text += '}';
}

bool hasEllipticArc(const Path &path)
{
    for (const PathPiece piece : path.pieces()) {
        if (piece.kind == PathPiece::EllipticArc)
            return true;
    }
    return false;
}

int versionOf(const Drawing &drawing)
{
    const auto isNew
        = [](const Outline &outline) { return outline.pen >= 0 || hasEllipticArc(outline.shape); };
    const auto isNewChain = [](const BoundaryChain &chain) { return hasEllipticArc(chain.path); };
    return !drawing.pens.empty()
            || std::any_of(drawing.outlines.begin(), drawing.outlines.end(), isNew)
            || std::any_of(drawing.chains.begin(), drawing.chains.end(), isNewChain)
        ? kJsonFormatVersionOfPens
        : kJsonFormatVersion;
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
    std::string text;
    appendJsonNumber(&text, value);
    return QByteArray::fromStdString(text);
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
    std::string &text = sink.text();
    text += QByteArray("{\"format\":\"") + kJsonFormatName
        + "\",\"version\":" + QByteArray::number(versionOf(drawing)) + ",\n\"width\":"
        + QByteArray::number(drawing.width) + ",\"height\":" + QByteArray::number(drawing.height)
        + ",\"dpi\":" + jsonNumber(drawing.dpi) + ",\"unit\":\"" + nameOf(drawing.unit) + '"';
    if (drawing.precision != 0.0)
        text += ",\"precision\":" + jsonNumber(drawing.precision);
    if (qAlpha(drawing.ground) != 0)
        text += ",\"ground\":\"" + colourName(drawing.ground) + '"';
    if (!drawing.pens.empty())
        appendPens(&text, drawing.pens);
    if (!drawing.gradients.empty())
        appendGradients(&text, drawing.gradients);
    for (auto member = drawing.about.begin(); member != drawing.about.end(); ++member)
        text += ",\n" + jsonText(member.key()) + ':' + jsonValue(member.value());
    text += ",\n\"outlines\":[";
    for (std::size_t i = 0; i < drawing.outlines.size(); ++i) {
        text += i ? ",\n" : "\n";
        appendOutline(&text, drawing.outlines[i]);
        sink.flushIfLarge();
    }
    if (!drawing.chains.empty())
        text += "\n],\n\"chains\":[";
    for (std::size_t i = 0; i < drawing.chains.size(); ++i) {
        text += i ? ",\n" : "\n";
        appendChain(&text, drawing.chains[i]);
        sink.flushIfLarge();
    }
    text += "\n]}\n";
    return sink.finish();
}

} // namespace ztrace
