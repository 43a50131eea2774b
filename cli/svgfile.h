// (c) the ztrace developers. Licence: see LICENSE.
//
// SVG as an input: text that may name files, and may be compressed.
#ifndef ZTRACE_CLI_SVGFILE_H
#define ZTRACE_CLI_SVGFILE_H

#include <QByteArray>

namespace ztrace {

// Whether the text, or what is compressed in it, has an end.
bool svgEnds(const QByteArray &bytes);

// The text, uncompressed, without what it would have loaded from files: style sheets, and images
// whose reference is not an image in pixels itself ("data:"). `leftOut` counts them; text that has
// none stays as it is. Null, and -1, when it is not well formed or has more than `most` bytes.
QByteArray withoutNamedFiles(const QByteArray &bytes, qint64 most, int *leftOut);

// What the toolkit's reader has to do for a text before anything is drawn.
struct SvgDemand
{
    double pixels = 0.0;   // of all images that are written out within
    double rules = 0.0;    // selectors of style sheets, each of which is tried at each element
    double elements = 0.0; // all of them
    double stops = 0.0;    // of gradients; each is put among those before it, so of each the square
};

SvgDemand demandOf(const QByteArray &text);

} // namespace ztrace

#endif
