// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings for geographic information systems.
#ifndef ZTRACE_GEOJSON_H
#define ZTRACE_GEOJSON_H

#include "Drawing.h"
#include "text.h"

class QIODevice;

namespace ztrace {

// A FeatureCollection (RFC 7946): a Polygon an area, outer rings counterclockwise, with what is cut
// out of it as holes; a LineString a centre line. Properties: layer, color, alpha below 1, and the
// width of a line in pixels. Curves are chains of lines at most a twentieth of a pixel away, the
// same on both sides of a boundary, so that neighbours leave no gap.
//
// Coordinates are those of the map where the drawing's placement is known; one with a number has
// the member `crs` of the format's older form, which programs still read. Else they are in the
// drawing's unit, y upwards from the lower left corner, and a member says so. Decimals are of
// pixels: on a map as many more as a pixel is smaller than 1.
//
// Returns whether the device took everything.
bool writeGeoJson(const Drawing &drawing, int decimals, QIODevice *device);

} // namespace ztrace

#endif
