// (c) the ztrace developers. Licence: see LICENSE.
//
// True shapes: every boundary between two areas fitted once, the areas drawn from what was found.
// docs/tracing/shapes.md.
#ifndef ZTRACE_TRACING_SHAPES_H
#define ZTRACE_TRACING_SHAPES_H

#include "drawing/Drawing.h"
#include "fit/fit.h"
#include "Areas.h"
#include "boundarymap.h"
#include "softedges.h"

#include <memory>
#include <optional>

namespace ztrace {

// A map and what its chains are drawn with, an element a chain.
struct FittedBoundaries
{
    BoundaryMap map;
    std::vector<fit::Path> paths;

    // Of chains one after the other, in the directions of the references. Where the nodes between
    // them are not wanted, lines along the rim that go on are one.
    Path pathAlong(const uint32_t *references, std::size_t count, bool withNodes = true) const;
};

// Outer outlines of the areas (Connectivity::Split) in the order of their first pixels, which
// firstPixel tells: what lies in an area comes after it. Neighbours have the same pieces where
// they meet, forwards or backwards.
struct ShapeOutlines
{
    std::vector<Outline> outlines;
    std::vector<std::size_t> firstPixel;                // y * width + x
    double precision = 0.0;                             // what coordinates are worth, in pixels
    std::shared_ptr<const FittedBoundaries> boundaries; // of shapesOf: what they were made of
};

// As many as run at once here, at least 1.
unsigned threadsOfMachine();

// Fits in `threads` threads at most, which all have ended in the end; the outlines do not depend on
// how many there are. The picture has the size of
// the areas, which need no labels of their own where they touch at corners. Nothing where the areas
// have more boundaries than kMostChains or longer ones than kMostCracks: noise and checkerboards.
std::optional<ShapeOutlines> shapesOf(const Areas &areas, const EdgePicture &picture,
                                      unsigned threads = threadsOfMachine());

// The boundaries themselves, each once, as open or closed lines of pen 0 in the colour and on the
// layer of the darker side, in the order of the map's chains. Boundaries on the rim of the picture
// only where the area inside is not the page itself, so that what touches the rim is closed. With
// `onlyColours`, which may be empty, those beside such a colour. firstPixel stays empty. Nothing as
// for shapesOf.
std::optional<ShapeOutlines> edgesOf(const Areas &areas, const EdgePicture &picture,
                                     const std::vector<QRgb> &onlyColours,
                                     unsigned threads = threadsOfMachine());
const std::size_t kMostChains = 200000;
const std::size_t kMostCracks = 12000000;

} // namespace ztrace

#endif
