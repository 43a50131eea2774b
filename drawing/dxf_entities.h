// (c) the ztrace developers. Licence: see LICENSE.
//
// Entities of DXF, one by one.
#ifndef ZTRACE_DRAWING_DXF_ENTITIES_H
#define ZTRACE_DRAWING_DXF_ENTITIES_H

#include "arcs.h"
#include "dxf_skeleton.h"

namespace ztrace {

// What an entity has besides its shape.
struct DxfLook
{
    const DxfLayer *layer = nullptr;
    QRgb colour = 0;
    const DxfLineType *lineType = nullptr; // null: the layer's
    double lineTypeScale = 1.0;
    int lineWeight = -1; // hundredths of a millimetre; negative: the layer's
};

// Writes entities of one look after the other. Coordinates are in pixels, multiplied by `scale`.
// R12 has none of ellipse and spline, nor LWPOLYLINE, in whose place stands a POLYLINE.
class DxfEntities
{
public:
    DxfEntities(DxfText *target, DxfVersion version, double scale);

    void setLook(const DxfLook &next) { look = next; }

    void line(const PathPiece &piece);
    void arc(const PathPiece &piece);
    void circle(const Point &center, double radius);
    void ellipse(const PathPiece &piece); // an elliptic arc
    void wholeEllipse(const Ellipse &ellipse);
    void spline(const PathPiece &piece); // quadratic or cubic
    // Closed where the last vertex is the first one.
    void polyline(std::vector<BulgeVertex> vertices);
    // A filled area: a ring around it, then rings that are cut out, each closed. Not in R12.
    void fill(const std::vector<std::vector<BulgeVertex>> &rings);

private:
    void begin(const char *kind, const char *subclass);
    void colour();
    void point(int code, const Point &p);
    void point3(int code, const Point &p);
    void lightPolyline(const std::vector<BulgeVertex> &vertices, bool closed);
    void oldPolyline(const std::vector<BulgeVertex> &vertices, bool closed);
    void ellipse(const Ellipse &ellipse, double start, double end);

    DxfText &out;
    const bool old;
    const double scale;
    DxfLook look;
    const std::string quadraticHead;
    const std::string cubicHead;
};

} // namespace ztrace

#endif
