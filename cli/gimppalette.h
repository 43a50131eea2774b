// (c) the ztrace developers. Licence: see LICENSE.
//
// Palettes that a user gives.
#ifndef ZTRACE_CLI_GIMPPALETTE_H
#define ZTRACE_CLI_GIMPPALETTE_H

#include <QRgb>

#include <string>
#include <vector>

namespace ztrace {

// Whether the text of a palette names a file, which may lie in a folder (with a slash at its end).
bool isPaletteFile(const std::string &text, const std::string &folder = std::string());

// Colours from "#000000,#ff0000,orange" or from a palette file (.gpl: a line "GIMP Palette", then a
// colour a line as three numbers). Each colour once. Throws a Failure for text that is neither, for
// unreadable files and for no or too many colours.
std::vector<QRgb> paletteValue(const std::string &text);

} // namespace ztrace

#endif
