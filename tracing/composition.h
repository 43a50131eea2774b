// (c) the ztrace developers. Licence: see LICENSE.
//
// What the engine's outlines are in a drawing: colours, layers, what is cut out of what.
#ifndef ZTRACE_TRACING_COMPOSITION_H
#define ZTRACE_TRACING_COMPOSITION_H

#include "drawing/Drawing.h"
#include "Areas.h"
#include "containment.h"
#include "plan.h"
#include "shapes.h"

namespace ztrace {

// How areas are painted beside each other.
enum class Painting {
    InkOnPaper, // two tones: the paper is the ground, and nothing shows between them
    Areas,      // side by side, on a ground of the commonest colour
    AsTheyAre   // the engine's own outlines
};

// Makes a drawing of outlines. `areas` are what they were traced in, on a grid
// `upsampling` times as fine as the pixels of the picture, which the drawing is measured in;
// `connection` says which of their pixels one outline is of: Corners of the engine's, Split of true
// shapes.
// Painted in order, the outlines give the picture back: later ones lie over earlier ones. What is
// not opaque is cut out of everything that it would be painted over by. Fully transparent outlines
// stay only as such holes, unless they are asked for.
Drawing compose(ShapeOutlines shapes, const Areas &areas, int upsampling, Connection connection,
                Painting painting, const Composition &composition);

// The same of boundaries (edgesOf), all with one pen.
Drawing composeEdges(ShapeOutlines edges, const Areas &areas, const Composition &composition);

// The layer of a colour: "COLOR_" and its six digits, or "TRANSPARENT"; valid in every format.
QString layerOfColour(QRgb colour);

} // namespace ztrace

#endif
