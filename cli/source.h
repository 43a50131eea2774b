// (c) the ztrace developers. Licence: see LICENSE.
//
// The image to be traced.
#ifndef ZTRACE_CLI_SOURCE_H
#define ZTRACE_CLI_SOURCE_H

#include <QImage>

#include <string>

namespace ztrace
{

// Reads an image file, or standard input for "-", by its contents, whatever its name. Throws a
// Failure that says what is wrong: no such file, a folder, empty, not an image, damaged, or too
// large for the tracer.
// `upright` turns the image as its own note on orientation says.
QImage readImage(const std::string &fileName, bool upright);

// Largest number of pixels that the tracer can hold.
const long long kMostPixels = ((1LL << 31) - 65) / 4;

} // namespace ztrace

#endif
