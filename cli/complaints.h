// (c) the ztrace developers. Licence: see LICENSE.
//
// What image libraries say of files that they decode nevertheless.
#ifndef ZTRACE_CLI_COMPLAINTS_H
#define ZTRACE_CLI_COMPLAINTS_H

#include <QByteArray>

namespace ztrace {

// The first of the lines that is about pixels which are damaged; empty when there is none. `format`
// is the toolkit's name ("tiff"). What libraries say of pictures that look as they should is passed
// over: tags they do not know, colour profiles, bytes before an end mark.
QByteArray complaintIn(const QByteArray &lines, const QByteArray &format);

} // namespace ztrace

#endif
