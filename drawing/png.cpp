// (c) the ztrace developers. Licence: see LICENSE.
#include "png.h"

#include "TextSink.h"
#include "pieces.h"

#include <QBuffer>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kArcTolerance = 0.01; // pixels
const double kInchesPerMetre = 1000.0 / 25.4;

class Painter
{
public:
    Painter(const Drawing &d, const PaintStyle &s, QPainter *p)
        : drawing(d), style(s), frame(frameOf(d)), painter(*p)
    { }

    void paint()
    {
        if (qAlpha(drawing.ground) != 0 && !style.stroked) {
            painter.fillRect(QRectF(0.0, 0.0, frame.width, frame.height),
                             QColor::fromRgba(drawing.ground));
        }
        if (!style.byLayer) {
            for (const Outline &outline : drawing.outlines)
                paintOutline(outline);
            return;
        }
        for (const Layer &layer : drawing.layered()) {
            for (const Outline *outline : layer.outlines)
                paintOutline(*outline);
        }
    }

private:
    QPointF point(const Point &p) const
    {
        return QPointF(p.x - frame.x, frame.y + frame.height - p.y);
    }

    void addTo(QPainterPath *path, const Path &shape)
    {
        piecesOf(shape, &pieces);
        if (pieces.empty())
            return;
        path->moveTo(point(pieces.front().start));
        for (const PathPiece &piece : pieces) {
            switch (piece.kind) {
            case PathPiece::Quadratic:
                path->quadTo(point(piece.control1), point(piece.end));
                break;
            case PathPiece::Cubic:
                path->cubicTo(point(piece.control1), point(piece.control2), point(piece.end));
                break;
            case PathPiece::Spline: // piecesOf leaves none
            case PathPiece::Line:
            case PathPiece::Arc: {
                std::vector<Point> points;
                flatten(piece, kArcTolerance, &points);
                for (const Point &p : points)
                    path->lineTo(point(p));
                break;
            }
            }
        }
        if (isClosed(pieces))
            path->closeSubpath();
    }

    void paintOutline(const Outline &outline)
    {
        if (qAlpha(outline.colour) == 0 && !style.stroked)
            return;
        QPainterPath path;
        addTo(&path, outline.shape);
        if (style.stroked) {
            const QRgb colour
                = qAlpha(outline.colour) == 0 ? outline.colour | 0xFF000000u : outline.colour;
            painter.strokePath(path, pen(colour, style.strokeWidth));
            return;
        }
        for (int hole : outline.holes)
            addTo(&path, drawing.outlines[static_cast<std::size_t>(hole)].shape);
        path.setFillRule(outline.holes.empty() ? Qt::WindingFill : Qt::OddEvenFill);
        painter.fillPath(path, QColor::fromRgba(outline.colour));
        if (outline.seam > 0.0)
            painter.strokePath(path, pen(outline.colour, outline.seam));
    }

    static QPen pen(QRgb colour, double width)
    {
        return QPen(QColor::fromRgba(colour), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    }

    const Drawing &drawing;
    const PaintStyle &style;
    const Frame frame;
    QPainter &painter;
    std::vector<PathPiece> pieces; // of one outline, kept for its memory
};

} // namespace

QImage renderDrawing(const Drawing &drawing, const PaintStyle &style, double scale)
{
    const Frame frame = frameOf(drawing);
    const double width = std::max(1.0, std::ceil(frame.width * scale));
    const double height = std::max(1.0, std::ceil(frame.height * scale));
    if (!(width <= kLargestPictureSide && height <= kLargestPictureSide))
        return QImage();
    QImage image(static_cast<int>(width), static_cast<int>(height),
                 QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.fill(Qt::transparent);
    const double dpi = drawing.dpi > 0.0 ? drawing.dpi : kScreenDpi;
    const int dotsPerMetre = static_cast<int>(std::min(1e9, dpi * scale * kInchesPerMetre + 0.5));
    image.setDotsPerMeterX(std::max(1, dotsPerMetre));
    image.setDotsPerMeterY(std::max(1, dotsPerMetre));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    Painter(drawing, style, &painter).paint();
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
