// (c) the ztrace developers. Licence: see LICENSE.
//
// A drawing: outlines with colour and layer, and the size of the picture they came from.
#ifndef ZTRACE_DRAWING_H
#define ZTRACE_DRAWING_H

#include <QJsonObject>
#include <QRgb>
#include <QString>
#include <QStringList>

#include <vector>

#include "Path.h"
#include "Placement.h"
#include "RareList.h"

namespace ztrace {

const double kScreenDpi = 96.0; // what a pixel means where nothing else is known

enum class Unit { Pixel, Millimetre, Inch };

// "px", "mm" or "in".
const char *nameOf(Unit unit);

// Returns false, and leaves the unit as it is, for any other name.
bool unitOfName(const QString &name, Unit *unit);

enum class LineType { Continuous, Hidden, Center, Phantom, Dot };

// What a centre line is drawn with.
struct Pen
{
    double width = 1.0; // in pixels
    LineType lineType = LineType::Continuous;
    // Pixels that are drawn and left out in turn, beginning with drawn ones; empty: drawn
    // throughout.
    std::vector<double> dashes;
    bool roundEnds = true; // else cut off square at the ends of the path
};

// At most; more are noise, and a burden to every viewer.
const std::size_t kMostStops = 16;
const double kFarthestGradient = 1e9; // pixels from the corner of the picture, and of a radius

// Where a gradient has which colour: `at` counts from 0, its start, to 1, its end.
struct GradientStop
{
    double at;
    QRgb colour;
};

// Colours that follow a line, or the distance from a point, in pixels of the source with y upwards.
// Between two stops red, green and blue are each linear; before the first and after the last one
// they stay.
struct Gradient
{
    bool radial = false;
    Point start;         // the centre of a radial one
    Point end;           // of a linear one
    double radius = 0.0; // of a radial one, where its end is
    std::vector<GradientStop> stops;
};

// Whether viewers can paint it: two stops or more, in order, and a length.
bool isUsable(const Gradient &gradient);

// Layer of lettering. Its areas are letters, which formats with filled areas have as such.
const char *const kLetteringLayer = "TEXT";
// Layer of areas of an even colour, whose outlines, where these are drawn, are strokes: likewise.
const char *const kFilledLayer = "AREA";

// One outline, in pixels of the source with y upwards, (0, 0) the lower left corner of the picture.
// Outlines are painted in the order of the drawing, later ones over earlier ones.
struct Outline
{
    Path shape;
    QString layer;             // empty: layer "0"
    QRgb colour = 0xFF000000u; // with alpha; an alpha of 0 paints nothing

    // By position in the drawing's pens: the shape is a centre line, open or closed, drawn with
    // that pen and never filled. Negative: the shape bounds an area, which is filled.
    int pen = -1;

    // By position in the drawing's gradients: what the area is filled with, and its seam drawn
    // with, where the format has gradients; `colour` is the mean. Negative: `colour` alone.
    int gradient = -1;

    // The ground, which has its colour, is all that is to be seen of the area: it need not be
    // filled.
    bool isGround = false;

    // Outlines of the same drawing, by position, that are cut out of this one when it is filled.
    RareList<int> holes;

    // Where the drawing has chains: the rings of the area as references to them, k for chain k, ~k
    // for the same backwards. The outer ring first, whose chains one after the other are the shape;
    // then what is not the area's in it. The area lies on the right of all. A ring may come to a
    // point twice, where it touches itself. Empty for what is no area of the picture.
    RareList<std::vector<int>> rings;

    // What is filled in place of the shape: the shape together with neighbours that are painted
    // later, so that nothing below shows between them. A ring around it, then rings that are cut
    // out, as the holes are. Empty: the shape.
    RareList<Path> under;

    // Width in pixels of a stroke of the fill's own colour that closes the hairline towards a
    // neighbour which is not painted over this outline; 0 for none.
    double seam = 0.0;
};

// A boundary between two areas: from a point where it meets others to the next, or closed.
struct BoundaryChain
{
    Path path;
    int left = -1; // outlines by position; negative: nothing of the drawing
    int right = -1;
};

// A layer and what is painted in it.
struct Layer
{
    QString name;
    std::vector<const Outline *> outlines; // in the order of the drawing
    bool hasGround = false;                // the ground is painted before them
};

// The outlines are all that a drawing must have. Writers treat a picture of 0 x 0 as having the
// bounding box of the outlines.
struct Drawing
{
    std::vector<Outline> outlines;
    std::vector<Pen> pens;
    std::vector<Gradient> gradients;

    // Every boundary of the areas once, with the sides as one walks along; none where areas were
    // drawn one by one. What refers to them are Outline::rings. flawOfChains (chains.h) tells
    // whether they fit together.
    std::vector<BoundaryChain> chains;

    int width = 0; // of the source picture, in pixels
    int height = 0;
    Placement placement; // in a map
    double dpi = 0.0;    // pixels an inch; 0: unknown, a pixel then is 1/96 inch on paper
    Unit unit = Unit::Pixel;

    // What coordinates are worth, in pixels: formats that round do so to a decimal of about this
    // unless they are told otherwise. 0: they are exact.
    double precision = 0.0;

    // Painted over the whole picture before the outlines, when its alpha is not 0: what shows
    // through the hairlines between neighbours. Part of fills only.
    QRgb ground = 0;

    // How the drawing came about: what JSON says besides (docs/command.md lists the members).
    QJsonObject about;

    // Drawing units that one pixel is long: 1 for pixels.
    double unitsPerPixel() const;
    // Points (1/72 inch) that one pixel is long on paper.
    double pointsPerPixel() const;
    // The layers in the order of their first outline. The layer of the ground's own colour comes
    // before all others, so that a ground painted in it is below everything, as one painted before
    // all layers is where no layer has that colour.
    std::vector<Layer> layered() const;
    // Their names.
    QStringList layers() const;
};

// What a picture of the outlines looks like; the geometry is the same for all.
struct PaintStyle
{
    bool stroked = false;     // strokes in the outline's colour instead of fills
    double strokeWidth = 1.0; // in pixels
    bool byLayer = false;     // one group a layer, where the format has groups
};

// The area that is drawn, in pixels with y upwards: the picture, or without one the bounding box.
struct Frame
{
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
};

Frame frameOf(const Drawing &drawing);

// What is filled of an outline that bounds an area.
inline const Path &filledShape(const Outline &outline)
{
    return outline.under.empty() ? outline.shape : outline.under.front();
}

// What is cut out of that, or of the shape alone.
std::vector<const Path *> cutOutOf(const Outline &outline, const Drawing &drawing, bool withUnder);

// "#rrggbb"; alpha is not part of it.
QByteArray colourName(QRgb colour);

// What the outline is filled with instead of its colour; null for none, for one that is not there,
// and for one that cannot be painted.
const Gradient *gradientOf(const Drawing &drawing, const Outline &outline);

// The layer's name, never empty.
QString layerName(const Outline &outline);

} // namespace ztrace

#endif
