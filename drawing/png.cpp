// (c) the ztrace developers. Licence: see LICENSE.
#include "png.h"

#include "TextSink.h"
#include "inches.h"
#include "pens.h"
#include "pieces.h"
#include "strokepaths.h"

#include <QBuffer>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ztrace {

namespace {

const double kArcTolerance = 0.001;  // pixels
const double kDot = 0.001;           // widths; the painter draws no dash without length
const double kMostDashes = 100000.0; // of a stroke; more are drawn throughout
const double kInchesPerMetre = 1000.0 / kMillimetresPerInch;

// The toolkit's painter takes memory without looking whether it has got it, and ends the process
// where it has not. So it is asked for before, in bytes. Measured on outlines of 5000 and 20,000
// pieces: fills take 40 for a line and 50 for each of the three elements of a curve, strokes 540
// and 740; twice of that is needed while a list grows.
const std::size_t kMemoryOfPainter = 4u << 20;
const std::size_t kMemoryOfFilledElement = 200;
const std::size_t kMemoryOfStrokedElement = 1500;
const std::size_t kElementsOfCurve = 3;

bool hasMemory(std::size_t bytes)
{
    void *volatile block = std::malloc(bytes); // would be optimised away otherwise
    std::free(block);
    return block != nullptr;
}

class Painter
{
public:
    Painter(const Drawing &d, const PaintStyle &s, QPainter *p)
        : drawing(d), style(s), frame(frameOf(d)), painter(*p)
    { }

    // False when memory does not suffice.
    bool paint()
    {
        if (qAlpha(drawing.ground) != 0 && !style.stroked) {
            painter.fillRect(QRectF(0.0, 0.0, frame.width, frame.height),
                             QColor::fromRgba(drawing.ground));
        }
        if (!style.byLayer) {
            return std::all_of(drawing.outlines.begin(), drawing.outlines.end(),
                               [this](const Outline &outline) { return paintOutline(outline); });
        }
        for (const Layer &layer : drawing.layered()) {
            for (const Outline *outline : layer.outlines) {
                if (!paintOutline(*outline))
                    return false;
            }
        }
        return true;
    }

private:
    QPointF point(const Point &p) const
    {
        return QPointF(p.x - frame.x, frame.y + frame.height - p.y);
    }

    // For all of the path with another shape.
    bool hasMemoryFor(bool stroked)
    {
        for (const PathPiece &piece : pieces) {
            elements += piece.kind == PathPiece::Line ? 1 : kElementsOfCurve;
        }
        return hasMemory(kMemoryOfPainter
                         + elements * (stroked ? kMemoryOfStrokedElement : kMemoryOfFilledElement));
    }

    bool addTo(QPainterPath *path, const Path &shape, bool stroked)
    {
        piecesOf(shape, &pieces);
        replaceArcs(kArcTolerance, &pieces);
        if (pieces.empty())
            return true;
        if (!hasMemoryFor(stroked))
            return false;
        path->moveTo(point(pieces.front().start));
        for (const PathPiece &piece : pieces) {
            switch (piece.kind) {
            case PathPiece::Quadratic:
                path->quadTo(point(piece.control1), point(piece.end));
                break;
            case PathPiece::Cubic:
                path->cubicTo(point(piece.control1), point(piece.control2), point(piece.end));
                break;
            case PathPiece::Spline: // piecesOf leaves none,
            case PathPiece::Arc:    // nor replaceArcs
            case PathPiece::EllipticArc:
            case PathPiece::Line:
                path->lineTo(point(piece.end));
                break;
            }
        }
        if (isClosed(pieces))
            path->closeSubpath();
        return true;
    }

    bool paintOutline(const Outline &outline)
    {
        const bool isArea = outline.pen < 0 && !style.stroked;
        if (isArea && (qAlpha(outline.colour) == 0 || outline.isGround))
            return true;
        if (qAlpha(outline.colour) == 0 && !style.stroked)
            return true;
        const bool stroked = !isArea || outline.seam > 0.0;
        QPainterPath path;
        elements = 0;
        if (!addTo(&path, isArea ? filledShape(outline) : outline.shape, stroked))
            return false;
        const QRgb colour
            = qAlpha(outline.colour) == 0 ? outline.colour | 0xFF000000u : outline.colour;
        if (outline.pen >= 0) {
            painter.strokePath(path, pen(colour, penOf(drawing, outline), path));
            return true;
        }
        if (style.stroked) {
            painter.strokePath(path, pen(colour, style.strokeWidth));
            return true;
        }
        const std::vector<const Path *> holes = cutOutOf(outline, drawing, true);
        for (const Path *hole : holes) {
            if (!addTo(&path, *hole, stroked))
                return false;
        }
        path.setFillRule(holes.empty() ? Qt::WindingFill : Qt::OddEvenFill);
        const QBrush brush = brushOf(outline);
        painter.fillPath(path, brush);
        if (outline.seam > 0.0) {
            painter.strokePath(
                path, QPen(brush, outline.seam, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        }
        return true;
    }

    QBrush brushOf(const Outline &outline) const
    {
        const Gradient *gradient = gradientOf(drawing, outline);
        if (!gradient)
            return QColor::fromRgba(outline.colour);
        const QLinearGradient linear(point(gradient->start), point(gradient->end));
        const QRadialGradient radial(point(gradient->start), gradient->radius);
        QGradient painted = gradient->radial ? QGradient(radial) : QGradient(linear);
        for (const GradientStop &stop : gradient->stops) {
            QColor colour = QColor::fromRgb(stop.colour);
            colour.setAlpha(qAlpha(outline.colour));
            painted.setColorAt(stop.at, colour);
        }
        return painted;
    }

    static QPen pen(QRgb colour, double width)
    {
        return QPen(QColor::fromRgba(colour), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    }

    // Dashes are counted in widths there.
    static QPen pen(QRgb colour, const Pen &looks, const QPainterPath &path)
    {
        QPen pen(QColor::fromRgba(colour), looks.width, Qt::SolidLine,
                 looks.roundEnds ? Qt::RoundCap : Qt::FlatCap,
                 looks.roundEnds ? Qt::RoundJoin : Qt::SvgMiterJoin);
        pen.setMiterLimit(kMiterLimit);
        QVector<qreal> pattern;
        for (double dash : paintedDashesOf(looks))
            pattern.append(std::max(dash / looks.width, kDot));
        const QRectF box = path.controlPointRect();
        const double longest = (box.width() + box.height()) * path.elementCount();
        if (!pattern.isEmpty() && longest <= kMostDashes * sumOf(paintedDashesOf(looks)))
            pen.setDashPattern(pattern);
        return pen;
    }

    const Drawing &drawing;
    const PaintStyle &style;
    const Frame frame;
    QPainter &painter;
    std::vector<PathPiece> pieces; // of one outline, kept for its memory
    std::size_t elements = 0;      // of the path that is being made
};

} // namespace

QImage renderDrawing(const Drawing &given, const PaintStyle &style, double scale)
{
    const std::optional<Drawing> joined = withCorners(given);
    const Drawing &drawing = joined ? *joined : given;
    const Frame frame = frameOf(drawing);
    const double width = std::max(1.0, std::ceil(frame.width * scale));
    const double height = std::max(1.0, std::ceil(frame.height * scale));
    if (!(width <= kLargestPictureSide && height <= kLargestPictureSide))
        return QImage();
    QImage image(static_cast<int>(width), static_cast<int>(height),
                 QImage::Format_ARGB32_Premultiplied);
    if (image.isNull() || !hasMemory(kMemoryOfPainter))
        return QImage();
    image.fill(Qt::transparent);
    const double dpi = drawing.dpi > 0.0 ? drawing.dpi : kScreenDpi;
    const int dotsPerMetre = static_cast<int>(std::min(1e9, dpi * scale * kInchesPerMetre + 0.5));
    image.setDotsPerMeterX(std::max(1, dotsPerMetre));
    image.setDotsPerMeterY(std::max(1, dotsPerMetre));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    if (!Painter(drawing, style, &painter).paint()) {
        painter.end();
        return QImage();
    }
    return image;
}

bool savePng(const QImage &image, QIODevice *device)
{
    // The encoder has words of its own for a full disk.
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG") && writeFully(device, buffer.data());
}

bool writePng(const Drawing &drawing, const PaintStyle &style, double scale, QIODevice *device)
{
    const QImage image = renderDrawing(drawing, style, scale);
    return !image.isNull() && savePng(image, device);
}

} // namespace ztrace
