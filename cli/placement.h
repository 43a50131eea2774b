// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the input lies in a map: a world file beside it, or what a GeoTIFF says.
#ifndef ZTRACE_CLI_PLACEMENT_H
#define ZTRACE_CLI_PLACEMENT_H

#include <QByteArray>

#include <string>
#include <vector>

#include "drawing/Placement.h"

namespace ztrace {

// Names that the world file of an image may have, likeliest first: of a.tif they are a.tfw, a.tifw
// and a.wld.
std::vector<std::string> worldFileNames(const std::string &imageName);

// The first of them that is there; empty where none is. Throws a Failure where that cannot be told.
std::string worldFileOf(const std::string &imageName);

// The six numbers of a world file, a line each: the steps in x and y of a column, those of a row
// (columnX, columnY, rowX, rowY), and the middle of the upper left pixel. False for any other text.
bool readWorldFile(const std::string &text, Placement *placement);

// What the first page of a TIFF says by its tags ModelPixelScale and ModelTiepoint, or by
// ModelTransformation, and GeoKeyDirectory. Unknown where there are none.
Placement placementOfTiff(const QByteArray &bytes);

// Of an image file, "-" for standard input. The world file wins over the tags but for the number
// of the reference system. Throws a Failure for a world file that is none.
Placement placementOf(const std::string &imageName, const QByteArray &bytes);

} // namespace ztrace

#endif
