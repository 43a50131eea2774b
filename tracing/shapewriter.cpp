// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/shapewriter.h"

#include "drawing/wholeshape.h"

#include <cmath>
#include <utility>

namespace ztrace {

namespace {

const double kQuarterTurn = 2.0 * std::atan(1.0);

class ShapeWriter
{
public:
    explicit ShapeWriter(int pictureHeight) : height(pictureHeight) { }

    Path pathOf(const std::vector<fit::Piece> &pieces) const
    {
        Path path;
        if (pieces.empty())
            return path;
        if (fit::isWhole(pieces.front().kind))
            return whole(pieces.front());
        path.moveTo(at(pieces.front().start));
        path.reserve(pieces.size(), 2 * pieces.size() + 1);
        for (const fit::Piece &piece : pieces)
            append(piece, &path);
        return path;
    }

private:
    Point at(fit::Point p) const { return Point(p.x, height - p.y); }

    void append(const fit::Piece &piece, Path *path) const
    {
        switch (piece.kind) {
        case fit::Kind::Arc:
            path->arcTo(at(piece.end), -piece.bulge); // turned over with y
            break;
        case fit::Kind::EllipticArc: {
            // The control point lies to the right of a chord from which the way turns to the left.
            const fit::EllipseShape ellipse = fit::ellipseShape(piece);
            const double bulge = std::sqrt((1 - piece.weight) / (1 + piece.weight));
            const bool left = cross(piece.end - piece.start, piece.control - piece.start) < 0;
            appendElliptic(at(piece.end), left ? -bulge : bulge, ellipse.half, ellipse.angle, path);
            break;
        }
        case fit::Kind::Quadratic:
            path->quadraticTo(at(piece.control), at(piece.end));
            break;
        case fit::Kind::Cubic:
            path->cubicTo(at(piece.control), at(piece.control2), at(piece.end));
            break;
        default:
            path->lineTo(at(piece.end));
        }
    }

    // The longer axis first; angles turn over with y.
    static void appendElliptic(Point end, double bulge, const double half[2], double angle,
                               Path *path)
    {
        if (half[0] >= half[1])
            path->ellipticArcTo(end, bulge, half[1] / half[0], -angle);
        else
            path->ellipticArcTo(end, bulge, half[0] / half[1], -angle - kQuarterTurn);
    }

    // Clockwise on the screen, as areas' outlines go.
    Path whole(const fit::Piece &piece) const
    {
        WholeShape shape;
        shape.kind = piece.kind == fit::Kind::Circle ? WholeShape::Circle
            : piece.kind == fit::Kind::Ellipse       ? WholeShape::Ellipse
                                                     : WholeShape::Rectangle;
        shape.center = at(piece.centre);
        shape.half[0] = piece.half[0];
        shape.half[1] = piece.half[1];
        shape.angle = piece.kind == fit::Kind::Circle ? 0.0 : -piece.angle;
        shape.radius = piece.radius;
        if (shape.kind == WholeShape::Ellipse && shape.half[0] < shape.half[1]) {
            std::swap(shape.half[0], shape.half[1]);
            shape.angle -= kQuarterTurn;
        }
        return ztrace::pathOf(shape);
    }

    double height;
};

} // namespace

Path pathOf(const std::vector<fit::Piece> &pieces, int pictureHeight)
{
    return ShapeWriter(pictureHeight).pathOf(pieces);
}

} // namespace ztrace
