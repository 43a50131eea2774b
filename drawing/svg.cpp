// (c) the ztrace developers. Licence: see LICENSE.
#include "svg.h"

#include "PointText.h"
#include "TextSink.h"
#include "paintorder.h"
#include "pens.h"
#include "pieces.h"
#include "strokepaths.h"
#include "svg_gradients.h"
#include "svg_path.h"
#include "text.h"
#include "wholeshape.h"

#include <QHash>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <tuple>
#include <unordered_map>

namespace ztrace {

namespace {

const int kSizeDecimals = 9;            // a nanometre and less
const int kPenDecimals = 4;             // of widths and dashes in pixels
const std::size_t kFewOutlines = 1000;  // each is an element of its own
const std::size_t kMostInOnePath = 100; // of more outlines
const double kSmallestShape = 4.0;      // pixels; half a side, or a radius
const int kTurnDecimals = 2;            // more than those of pixels, of degrees
const double kDegrees = 45.0 / std::atan(1.0);

// Text in an attribute's value.
QByteArray escaped(const QString &text)
{
    QString valid = text;
    for (QChar &letter : valid) {
        const ushort code = letter.unicode();
        // XML has no way to write these.
        if ((code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code >= 0xFFFE)
            letter = QLatin1Char('_');
    }
    return valid.toHtmlEscaped().toUtf8();
}

class SvgWriter
{
public:
    SvgWriter(const Drawing &d, const SvgOptions &o, QIODevice *device)
        : drawing(d), style(o.style),
          decimals(o.decimals == kDecimalsOfDrawing ? decimalsFor(d.precision) : o.decimals),
          frame(frameOf(d)), sink(device),
          isCompact(decimals >= 0 && decimals <= kMostCompactDecimals),
          inUnits(o.decimals == kDecimalsOfDrawing && decimals > 0 && isPlainPage()),
          compact(frame.x, frame.y + frame.height, isCompact ? decimals : 0, inUnits)
    { }

    bool write()
    {
        writeHead();
        if (!style.stroked)
            appendSvgGradients(&sink.text(), drawing, frame, decimals);
        if (style.byLayer) {
            const std::vector<Layer> layers = drawing.layered();
            if (layers.empty() || !layers.front().hasGround)
                writeGround();
            for (std::size_t i = 0; i < layers.size(); ++i)
                writeLayer(layers[i], static_cast<int>(i) + 1);
        } else {
            writeGround();
            std::vector<const Outline *> outlines;
            for (const Outline &outline : drawing.outlines)
                outlines.push_back(&outline);
            if (inUnits)
                writeScale();
            writeOutlines(outlines);
            if (inUnits)
                sink.text() += "</g>\n";
        }
        sink.text() += "</svg>\n";
        return sink.finish();
    }

private:
    void number(double value) { appendNumber(&sink.text(), value, decimals); }

    void point(const Point &place)
    {
        PointText text(frame, decimals, &sink.text());
        text.add(' ', { &place });
        text.flush();
    }

    // A length of the whole picture in the drawing's unit.
    void size(const char *name, double pixels)
    {
        std::string &text = sink.text();
        text += ' ';
        text += name;
        text += "=\"";
        appendNumber(&text, pixels * drawing.unitsPerPixel(), kSizeDecimals);
        text += drawing.unit == Unit::Millimetre ? "mm" : drawing.unit == Unit::Inch ? "in" : "";
        text += '"';
    }

    void writeHead()
    {
        std::string &text = sink.text();
        text += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                "<svg xmlns=\"http://www.w3.org/2000/svg\"";
        if (style.byLayer)
            text += " xmlns:inkscape=\"http://www.inkscape.org/namespaces/inkscape\"";
        size("width", frame.width);
        size("height", frame.height);
        text += " viewBox=\"0 0 ";
        number(frame.width);
        text += ' ';
        number(frame.height);
        text += "\">\n";
    }

    void writeGround()
    {
        if (qAlpha(drawing.ground) == 0 || style.stroked)
            return;
        std::string &text = sink.text();
        text += "<rect width=\"";
        number(frame.width);
        text += "\" height=\"";
        number(frame.height);
        text += "\" fill=\"" + colourName(drawing.ground) + "\"/>\n";
    }

    // Many opaque or clear areas and nothing else. Nobody edits its numbers, and they are much of
    // the file.
    bool isPlainPage() const
    {
        const auto isPlain = [](const Outline &outline) {
            return outline.pen < 0 && outline.seam == 0.0 && outline.gradient < 0;
        };
        return isCompact && hasMany() && !style.byLayer && !style.stroked
            && std::all_of(drawing.outlines.begin(), drawing.outlines.end(), isPlain);
    }

    void writeScale()
    {
        std::string &text = sink.text();
        text += "<g transform=\"scale(";
        appendShort(&text, std::pow(10.0, -decimals), decimals);
        text += ")\">\n";
    }

    void writeLayer(const Layer &layer, int serial)
    {
        sink.text() += "<g inkscape:groupmode=\"layer\" id=\"layer" + QByteArray::number(serial)
            + "\" inkscape:label=\"" + escaped(layer.name) + "\">\n";
        if (layer.hasGround)
            writeGround();
        writeOutlines(layer.outlines);
        sink.text() += "</g>\n";
    }

    // What several in a row look like is said once, of strokes and where bytes count.
    void writeOutlines(const std::vector<const Outline *> &outlines)
    {
        std::vector<const Outline *> painted;
        for (const Outline *outline : outlines) {
            if (isPainted(*outline))
                painted.push_back(outline);
        }
        const auto reaches = [](const Outline *outline) { return !outline->under.empty(); };
        if (isCompact && (hasMany() || std::any_of(painted.begin(), painted.end(), reaches)))
            painted = sortedByLooks(painted);
        for (std::size_t i = 0; i < painted.size();) {
            const std::string &looks = looksOf(*painted[i]);
            std::size_t end = i + 1;
            while ((isCompact || painted[i]->pen >= 0) && end < painted.size()
                   && looksOf(*painted[end]) == looks)
                ++end;
            const bool isGroup = end - i > 1;
            if (isGroup)
                sink.text() += "<g" + looks + ">\n";
            while (i < end)
                i = writeNext(painted, i, end, isGroup ? std::string() : looks);
            if (isGroup)
                sink.text() += "</g>\n";
        }
    }

    bool hasMany() const { return drawing.outlines.size() > kFewOutlines; }

    // A pixel more than they reach, since they share the pixels on their rim with others.
    Bounds boxOf(const Outline &outline) const
    {
        const double width = outline.pen >= 0 ? kMiterLimit * penOf(drawing, outline).width
            : style.stroked                   ? kMiterLimit * style.strokeWidth
                                              : outline.seam;
        const double margin = 0.5 * width + 1.0;
        Bounds box = boundsOf(paintedShape(outline));
        box.low = Point(box.low.x - margin, box.low.y - margin);
        box.high = Point(box.high.x + margin, box.high.y + margin);
        return box;
    }

    std::vector<const Outline *> sortedByLooks(const std::vector<const Outline *> &painted) const
    {
        QHash<QByteArray, int> numbers;
        std::vector<Bounds> boxes;
        std::vector<int> looks;
        for (const Outline *outline : painted) {
            const QByteArray text = QByteArray::fromStdString(looksOf(*outline));
            if (!numbers.contains(text))
                numbers.insert(text, numbers.size());
            looks.push_back(numbers.value(text));
            boxes.push_back(boxOf(*outline));
        }
        std::vector<const Outline *> sorted;
        for (std::size_t place : paintOrder(boxes, looks))
            sorted.push_back(painted[place]);
        return sorted;
    }

    // A drawing has many outlines and few looks. Valid as long as the writer.
    const std::string &looksOf(const Outline &outline) const
    {
        const LooksKey key(outline.colour, isCut(outline), outline.pen, outline.seam,
                           outline.gradient);
        std::string &text = knownLooks[key];
        if (text.empty()) {
            text = outline.pen >= 0 ? penLooks(outline)
                : style.stroked     ? strokeLooks(outline)
                                    : fillLooks(outline);
        }
        return text;
    }

    bool isPainted(const Outline &outline) const
    {
        if (outline.shape.pieces().empty()
            || (outline.isGround && isArea(outline) && !style.byLayer))
            return false;
        return qAlpha(outline.colour) != 0 || style.stroked;
    }

    // An outline, or of very many several in one path: areas of a logo are things to be edited,
    // letters of a page and specks of a scan are not, and elements for each are much of the file.
    // Returns where the next one begins.
    std::size_t writeNext(const std::vector<const Outline *> &painted, std::size_t first,
                          std::size_t end, const std::string &looks)
    {
        std::size_t next = first;
        while (next < end && next < first + kMostInOnePath && isOneOfMany(*painted[next]))
            ++next;
        if (next < first + 2) {
            writeOutline(*painted[first], looks);
            return first + 1;
        }
        sink.text() += "<path" + looks + " d=\"";
        for (std::size_t i = first; i < next; ++i)
            writePath(paintedShape(*painted[i]), true);
        sink.text() += "\"/>\n";
        sink.flushIfLarge();
        return next;
    }

    // Opaque areas without holes go the same way around, so that together they look the same.
    bool isOneOfMany(const Outline &outline) const
    {
        const Path &shape = paintedShape(outline);
        return isCompact && hasMany() && isArea(outline) && qAlpha(outline.colour) == 255
            && !isCut(outline) && shape.start() == shape.end() && !isLargeShape(shape);
    }

    bool isLargeShape(const Path &shape) const
    {
        const WholeShape whole = wholeShapeOf(shape);
        const bool isTurned = whole.kind != WholeShape::Circle && whole.angle != 0.0;
        return whole.kind != WholeShape::None && !isTurned
            && std::min(whole.half[0], whole.half[1]) >= kSmallestShape;
    }

    bool isArea(const Outline &outline) const { return outline.pen < 0 && !style.stroked; }

    bool isCut(const Outline &outline) const
    {
        return !outline.holes.empty() || (outline.under.size() > 1 && !style.byLayer);
    }

    const Path &paintedShape(const Outline &outline) const
    {
        return isArea(outline) && !style.byLayer ? filledShape(outline) : outline.shape;
    }

    void writeOutline(const Outline &outline, const std::string &looks)
    {
        const bool area = isArea(outline);
        if (isCompact && (!area || !isCut(outline))
            && (!hasMany() || isLargeShape(paintedShape(outline)))
            && writeWhole(wholeShapeOf(paintedShape(outline)), looks))
            return;
        std::string &text = sink.text();
        text.append("<path").append(looks).append(" d=\"");
        writePath(paintedShape(outline), area);
        if (area) {
            for (const Path *hole : cutOutOf(outline, drawing, !style.byLayer))
                writePath(*hole, true);
        }
        text += "\"/>\n";
        sink.flushIfLarge();
    }

    // A length in pixels.
    void pixels(double value, int places)
    {
        const int fewer = inUnits ? decimals : 0;
        appendShort(&sink.text(), value * std::pow(10.0, fewer), places - fewer);
    }

    void attribute(const char *name, double value, int places)
    {
        std::string &text = sink.text();
        text += std::string(" ") + name + "=\"";
        pixels(value, places);
        text += '"';
    }

    // An element of its own; false where there is none that is shorter or says more.
    bool writeWhole(const WholeShape &shape, const std::string &looks)
    {
        const double x = shape.center.x - frame.x;
        const double y = frame.y + frame.height - shape.center.y;
        // Better known than the points of a path, and few.
        const int finer = decimals + 1;
        std::string &text = sink.text();
        switch (shape.kind) {
        case WholeShape::Circle:
        case WholeShape::Ellipse:
            text += (shape.kind == WholeShape::Circle ? "<circle" : "<ellipse") + looks;
            attribute("cx", x, finer);
            attribute("cy", y, finer);
            if (shape.kind == WholeShape::Circle) {
                attribute("r", shape.half[0], finer);
            } else {
                attribute("rx", shape.half[0], finer);
                attribute("ry", shape.half[1], finer);
                turn(shape, x, y);
            }
            break;
        case WholeShape::Rectangle:
            if (shape.angle != 0.0 && shape.radius == 0.0)
                return false;
            text += "<rect" + looks;
            sides(Point(x - shape.half[0], y - shape.half[1]),
                  Point(x + shape.half[0], y + shape.half[1]));
            if (shape.radius > 0.0)
                attribute("rx", shape.radius, decimals);
            turn(shape, x, y);
            break;
        case WholeShape::None:
            return false;
        }
        text += "/>\n";
        sink.flushIfLarge();
        return true;
    }

    // Both ends are rounded, as the same ends of neighbours are.
    void sides(const Point &low, const Point &high)
    {
        const double unit = std::pow(10.0, decimals);
        const double left = std::round(low.x * unit);
        const double upper = std::round(low.y * unit);
        attribute("x", left / unit, decimals);
        attribute("y", upper / unit, decimals);
        attribute("width", (std::round(high.x * unit) - left) / unit, decimals);
        attribute("height", (std::round(high.y * unit) - upper) / unit, decimals);
    }

    // None where it would move no point by half of the last decimal.
    void turn(const WholeShape &shape, double x, double y)
    {
        const double angle = std::remainder(shape.angle, 4.0 * std::atan(1.0));
        const double reach = std::hypot(shape.half[0], shape.half[1]);
        if (std::fabs(angle) * reach * std::pow(10.0, decimals) < 0.5)
            return;
        const double degrees = -angle * kDegrees;
        std::string &text = sink.text();
        text += " transform=\"rotate(";
        appendShort(&text, degrees, decimals + kTurnDecimals);
        for (double number : { x, y }) {
            text += ' ';
            pixels(number, decimals);
        }
        text += ")\"";
    }

    std::string opacityOf(const char *name, QRgb colour) const
    {
        if (qAlpha(colour) == 255)
            return std::string();
        std::string text = std::string(" ") + name + "=\"";
        appendNumber(&text, qAlpha(colour) / 255.0, 4);
        return text + '"';
    }

    // "#rgb" says the same in three letters less.
    std::string colourText(QRgb colour) const
    {
        std::string name = colourName(colour).toStdString();
        if (isCompact && name[1] == name[2] && name[3] == name[4] && name[5] == name[6])
            return { '#', name[1], name[3], name[5] };
        return name;
    }

    std::string penLooks(const Outline &outline) const
    {
        const Pen pen = penOf(drawing, outline);
        std::string text
            = " fill=\"none\" stroke=\"" + colourText(outline.colour) + "\" stroke-width=\"";
        appendNumber(&text, pen.width, kPenDecimals);
        text += '"';
        if (pen.roundEnds)
            text += " stroke-linecap=\"round\" stroke-linejoin=\"round\"";
        const std::vector<double> dashes = paintedDashesOf(pen);
        const char *separator = " stroke-dasharray=\"";
        for (double dash : dashes) {
            text += separator;
            appendNumber(&text, dash, kPenDecimals);
            separator = " ";
        }
        if (!dashes.empty())
            text += '"';
        return text + strokeOpacity(outline.colour);
    }

    // An outline of a transparent region is drawn only when it was asked for: visibly.
    std::string strokeOpacity(QRgb colour) const
    {
        return qAlpha(colour) == 0 ? std::string() : opacityOf("stroke-opacity", colour);
    }

    std::string strokeLooks(const Outline &outline) const
    {
        std::string text
            = " fill=\"none\" stroke=\"" + colourText(outline.colour) + "\" stroke-width=\"";
        appendNumber(&text, style.strokeWidth);
        return text + '"' + strokeOpacity(outline.colour);
    }

    std::string fillLooks(const Outline &outline) const
    {
        const std::string paint = gradientOf(drawing, outline)
            ? svgGradientReference(outline.gradient)
            : colourText(outline.colour);
        std::string text = " fill=\"" + paint + '"';
        text += opacityOf("fill-opacity", outline.colour);
        if (isCut(outline))
            text += " fill-rule=\"evenodd\"";
        if (outline.seam > 0.0) {
            text += " stroke=\"" + paint + "\" stroke-width=\"";
            appendNumber(&text, outline.seam, 4);
            text += "\" stroke-linejoin=\"round\"";
        }
        return text;
    }

    // An area begins anywhere; where the longest line closes it, that is not written.
    void writePath(const Path &shape, bool isArea = false)
    {
        if (!isCompact) {
            writeFreely(shape);
            return;
        }
        piecesOf(shape, &pieces);
        if (pieces.empty())
            return;
        if (!compact.canWrite(pieces)) {
            writeFreely(shape);
            return;
        }
        if (isArea)
            compact.endWithLongestLine(&pieces);
        compact.append(pieces, &sink.text());
    }

    // Piece by piece, with absolute numbers.
    void writeFreely(const Path &shape)
    {
        PointText text(frame, decimals, &sink.text());
        bool isFirst = true;
        Point start;
        Point end;
        forEachDrawn(shape, [&](const PathPiece &piece) {
            if (isFirst) {
                start = piece.start;
                text.add('M', { &start });
            }
            isFirst = false;
            end = piece.end;
            if (piece.kind == PathPiece::Line) {
                text.add('L', { &piece.end });
            } else if (piece.kind == PathPiece::Quadratic) {
                text.add('Q', { &piece.control1, &piece.end });
            } else if (piece.kind == PathPiece::Cubic) {
                text.add('C', { &piece.control1, &piece.control2, &piece.end });
            } else {
                text.flush();
                writeArc(piece);
            }
        });
        text.flush();
        if (!isFirst && start == end)
            sink.text() += 'Z';
    }

    void startArc(double major, double minor, double degrees)
    {
        sink.text() += 'A';
        number(major);
        sink.text() += ' ';
        number(minor);
        sink.text() += ' ';
        number(degrees);
    }

    void endArc(const PathPiece &piece)
    {
        std::string &text = sink.text();
        text += std::fabs(piece.bulge) > 1.0 ? " 1 " : " 0 ";
        text += piece.bulge < 0.0 ? '1' : '0'; // y is turned over, and the sense with it
        point(piece.end);
    }

    void writeArc(const PathPiece &piece)
    {
        if (piece.kind == PathPiece::EllipticArc) {
            const Ellipse ellipse = ellipseOf(piece);
            startArc(ellipse.major, ellipse.minor, -ellipse.angle * kDegrees); // y is turned over
        } else {
            const Circle circle = circleOf(piece);
            startArc(circle.radius, circle.radius, 0.0);
        }
        endArc(piece);
    }

    const Drawing &drawing;
    const PaintStyle &style;
    const int decimals;
    const Frame frame;
    TextSink sink;
    const bool isCompact; // rounded, which leaves a choice of how to write
    const bool inUnits;   // coordinates are written in units of the last decimal
    SvgPath compact;
    std::vector<PathPiece> pieces; // of one outline, kept for its memory
    // Colour, holes, pen, seam and gradient.
    typedef std::tuple<QRgb, bool, int, double, int> LooksKey;
    // What tells most of them apart.
    struct LooksHash
    {
        std::size_t operator()(const LooksKey &key) const
        {
            return std::get<0>(key) * 2 + std::get<1>(key) + std::hash<double>()(std::get<3>(key));
        }
    };
    mutable std::unordered_map<LooksKey, std::string, LooksHash> knownLooks;
};

} // namespace

bool writeSvg(const Drawing &drawing, const SvgOptions &options, QIODevice *device)
{
    const std::optional<Drawing> joined = withCorners(drawing);
    return SvgWriter(joined ? *joined : drawing, options, device).write();
}

} // namespace ztrace
