// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas and lines as maps have them: rings of points on the ground. What GeoJSON and TopoJSON
// share.
#ifndef ZTRACE_MAPSHAPES_H
#define ZTRACE_MAPSHAPES_H

#include "Drawing.h"
#include "rings.h"

#include <string>

namespace ztrace {

// A polygon, whose first ring is the outer one, counterclockwise, and whose others are holes,
// clockwise, each ending with its first point; or a line with one list of points.
struct MapShape
{
    const Outline *outline = nullptr;
    bool isLine = false;
    std::vector<Ring> rings;
};

class MapShapes
{
public:
    // Decimals are of pixels, or one of text.h's; the drawing has to stay.
    MapShapes(const Drawing &drawing, int decimalsOfPixels);

    // Of coordinates: as many more as a pixel is smaller than 1, or kExactDecimals.
    int decimals() const { return places; }

    // Curves are chains of lines at most a twentieth of a pixel away, the same on both sides of a
    // boundary; a line closes outlines of areas that do not return to their start. An area that
    // hangs together by corners only is a polygon for each of its parts. None for what paints
    // nothing and for what has too few points.
    std::vector<MapShape> shapesOf(const Outline &outline) const;

    // Members of the whole file about where it is, each with a comma behind it: `crs` where the
    // drawing's placement has a number, `coordinates` where there is no placement.
    void appendReference(std::string *text) const;

    // The object of a shape's properties: layer, color, alpha below 1, width of a line in pixels.
    void appendProperties(const Outline &outline, std::string *text) const;

private:
    double pixelSize() const;
    int decimalsFor(int asked) const;
    Ring pointsOf(const Path &shape) const;
    void addRing(Ring ring, bool isOuter, MapShape *shape) const;
    std::vector<Ring> holesOf(const Outline &outline) const;
    void place(Ring *points) const;

    const Drawing &drawing;
    const double height;
    const int places;
    const double flatness; // pixels that lines may be from the curves that they stand for
};

} // namespace ztrace

#endif
