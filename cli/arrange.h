// (c) the ztrace developers. Licence: see LICENSE.
//
// What the engine's outlines are in a drawing: colours, layers, what is cut out of what.
#ifndef ZTRACE_CLI_ARRANGE_H
#define ZTRACE_CLI_ARRANGE_H

#include "LabelPlane.h"
#include "Settings.h"
#include "drawing/Drawing.h"

class ZTraceBitmap;

namespace ztrace {

// Width in pixels of the strokes that close the hairlines between neighbours painted side by side.
// Where the picture has a ground, the narrow one will do (docs/decisions/0010-seams.md).
const double kSeamWidth = 1.0;
const double kSeamWidthWithoutGround = 1.5;
// Of outlines that reach what is not opaque: half of the stroke lies over it.
const double kSeamWidthBesideClear = 1.25;
// Of outlines inside of an opaque one, which is painted below them: the rest of the stroke lies
// over that.
const double kSeamWidthOnOpaque = 0.5;
// Of outlines that are cut out and painted over the stroke of a neighbour: wider gaps are closed
// from both sides.
const double kSeamWidthApart = 0.5;
// Of opaque outlines towards transparency: corners that the outline cuts off stay covered.
const double kSeamWidthAtRim = 0.25;

// Moves the outlines of the engine's last trace into a drawing. `colours` are what the palette
// entries stand for. Painted in order, the outlines give the picture back: later ones lie over
// earlier ones. What is not opaque is cut out of everything that it would be painted over by.
// Fully transparent outlines stay only as such holes, unless they are asked for. The engine's grid
// was `upsampling` times as fine as the pixels of the picture, which the drawing is measured in.
Drawing arrange(const QList<ZPolyline> &polylines, ZTraceBitmap *engine,
                const std::vector<QRgb> &colours, const Settings &settings, int upsampling);

// The layer of a colour: "COLOR_" and its six digits, or "TRANSPARENT"; valid in every format.
QString layerOfColour(QRgb colour);

} // namespace ztrace

#endif
