// (c) the ztrace developers. Licence: see LICENSE.
#include "svg.h"

#include "TextSink.h"
#include "pens.h"
#include "pieces.h"
#include "text.h"

#include <cmath>

namespace ztrace {

namespace {

const int kSizeDecimals = 9; // a nanometre and less
const int kPenDecimals = 4;  // of widths and dashes in pixels
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
        : drawing(d), options(o), frame(frameOf(d)), sink(device)
    { }

    bool write()
    {
        writeHead();
        if (options.style.byLayer) {
            const std::vector<Layer> layers = drawing.layered();
            if (layers.empty() || !layers.front().hasGround)
                writeGround();
            for (std::size_t i = 0; i < layers.size(); ++i)
                writeLayer(layers[i], static_cast<int>(i) + 1);
        } else {
            writeGround();
            for (const Outline &outline : drawing.outlines)
                writeOutline(outline);
        }
        sink.text() += "</svg>\n";
        return sink.finish();
    }

private:
    void number(double value) { appendNumber(&sink.text(), value, options.decimals); }

    void point(const Point &p)
    {
        number(p.x - frame.x);
        sink.text() += ' ';
        number(frame.y + frame.height - p.y);
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
        if (options.style.byLayer)
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
        if (qAlpha(drawing.ground) == 0 || options.style.stroked)
            return;
        std::string &text = sink.text();
        text += "<rect width=\"";
        number(frame.width);
        text += "\" height=\"";
        number(frame.height);
        text += "\" fill=\"" + colourName(drawing.ground) + "\"/>\n";
    }

    void writeLayer(const Layer &layer, int serial)
    {
        sink.text() += "<g inkscape:groupmode=\"layer\" id=\"layer" + QByteArray::number(serial)
            + "\" inkscape:label=\"" + escaped(layer.name) + "\">\n";
        if (layer.hasGround)
            writeGround();
        for (const Outline *outline : layer.outlines)
            writeOutline(*outline);
        sink.text() += "</g>\n";
    }

    void writeOutline(const Outline &outline)
    {
        const bool stroked = options.style.stroked || outline.pen >= 0;
        if (!isPainted(outline))
            return;
        std::string &text = sink.text();
        text += "<path";
        if (outline.pen >= 0)
            writePen(outline);
        else if (stroked)
            writeStroke(outline);
        else
            writeFill(outline);
        text += " d=\"";
        writePath(outline.shape);
        if (!stroked) {
            for (int hole : outline.holes)
                writePath(drawing.outlines[static_cast<std::size_t>(hole)].shape);
        }
        text += "\"/>\n";
        sink.flushIfLarge();
    }

    void writeOpacity(const char *name, QRgb colour)
    {
        if (qAlpha(colour) == 255)
            return;
        sink.text() += QByteArray(" ") + name + "=\"";
        appendNumber(&sink.text(), qAlpha(colour) / 255.0, 4);
        sink.text() += '"';
    }

    bool isPainted(const Outline &outline) const
    {
        return !outline.shape.pieces().empty()
            && (qAlpha(outline.colour) != 0 || options.style.stroked);
    }

    void writePen(const Outline &outline)
    {
        const Pen pen = penOf(drawing, outline);
        std::string &text = sink.text();
        text += " fill=\"none\" stroke=\"" + colourName(outline.colour) + "\" stroke-width=\"";
        appendNumber(&text, pen.width, kPenDecimals);
        text += '"';
        if (pen.roundEnds)
            text += " stroke-linecap=\"round\" stroke-linejoin=\"round\"";
        const char *separator = " stroke-dasharray=\"";
        const std::vector<double> dashes = paintedDashesOf(pen);
        for (double dash : dashes) {
            text += separator;
            appendNumber(&text, dash, kPenDecimals);
            separator = " ";
        }
        if (!dashes.empty())
            text += '"';
        if (qAlpha(outline.colour) != 0)
            writeOpacity("stroke-opacity", outline.colour);
    }

    void writeStroke(const Outline &outline)
    {
        std::string &text = sink.text();
        text += " fill=\"none\" stroke=\"" + colourName(outline.colour) + "\" stroke-width=\"";
        appendNumber(&text, options.style.strokeWidth);
        text += '"';
        // An outline of a transparent region is drawn only when it was asked for: visibly.
        if (qAlpha(outline.colour) != 0)
            writeOpacity("stroke-opacity", outline.colour);
    }

    void writeFill(const Outline &outline)
    {
        std::string &text = sink.text();
        text += " fill=\"" + colourName(outline.colour) + '"';
        writeOpacity("fill-opacity", outline.colour);
        if (!outline.holes.empty())
            text += " fill-rule=\"evenodd\"";
        if (outline.seam > 0.0) {
            text += " stroke=\"" + colourName(outline.colour) + "\" stroke-width=\"";
            appendNumber(&text, outline.seam, 4);
            text += "\" stroke-linejoin=\"round\"";
        }
    }

    void writePath(const Path &shape)
    {
        piecesOf(shape, &pieces);
        if (pieces.empty())
            return;
        std::string &text = sink.text();
        text += 'M';
        point(pieces.front().start);
        for (const PathPiece &piece : pieces)
            writePiece(piece);
        if (isClosed(pieces))
            text += 'Z';
    }

    void endArc(const PathPiece &piece)
    {
        std::string &text = sink.text();
        text += std::fabs(piece.bulge) > 1.0 ? " 1 " : " 0 ";
        text += piece.bulge < 0.0 ? "1 " : "0 "; // y is turned over, and the sense with it
    }

    void writePiece(const PathPiece &piece)
    {
        std::string &text = sink.text();
        switch (piece.kind) {
        case PathPiece::Spline: // piecesOf leaves none
        case PathPiece::Line:
            text += 'L';
            break;
        case PathPiece::Quadratic:
            text += 'Q';
            point(piece.control1);
            text += ' ';
            break;
        case PathPiece::EllipticArc: {
            const Ellipse ellipse = ellipseOf(piece);
            text += 'A';
            number(ellipse.major);
            text += ' ';
            number(ellipse.minor);
            text += ' ';
            number(-ellipse.angle * kDegrees); // y is turned over
            endArc(piece);
            break;
        }
        case PathPiece::Cubic:
            text += 'C';
            point(piece.control1);
            text += ' ';
            point(piece.control2);
            text += ' ';
            break;
        case PathPiece::Arc: {
            const Circle circle = circleOf(piece);
            text += 'A';
            number(circle.radius);
            text += ' ';
            number(circle.radius);
            text += " 0";
            endArc(piece);
            break;
        }
        }
        point(piece.end);
    }

    const Drawing &drawing;
    const SvgOptions &options;
    const Frame frame;
    TextSink sink;
    std::vector<PathPiece> pieces; // of one outline, kept for its memory
};

} // namespace

bool writeSvg(const Drawing &drawing, const SvgOptions &options, QIODevice *device)
{
    return SvgWriter(drawing, options, device).write();
}

} // namespace ztrace
