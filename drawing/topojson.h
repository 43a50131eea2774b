// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings for maps in which neighbours share their boundary.
#ifndef ZTRACE_TOPOJSON_H
#define ZTRACE_TOPOJSON_H

#include "Drawing.h"
#include "text.h"

class QIODevice;

namespace ztrace {

// A Topology (TopoJSON 1) with one collection `areas` of the shapes and properties that GeoJSON
// has: the arcs of their boundaries once each, polygons as references to these. Coordinates are
// those of writeGeoJson; rounded, as they are but for kExactDecimals, they are whole numbers with a
// `transform`, each the difference from the one before in its arc. `crs` and `coordinates` are
// members as there.
//
// Returns whether the device took everything.
bool writeTopoJson(const Drawing &drawing, int decimals, QIODevice *device);

} // namespace ztrace

#endif
