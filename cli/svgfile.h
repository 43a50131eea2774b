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

} // namespace ztrace

#endif
