// (c) the ztrace developers. Licence: see LICENSE.
//
// What is wrong with files that are decoded nevertheless: what image libraries say of them, and
// what they pass over in silence.
#ifndef ZTRACE_CLI_COMPLAINTS_H
#define ZTRACE_CLI_COMPLAINTS_H

#include <QByteArray>

namespace ztrace {

// The first of the lines that is about pixels which are damaged; empty when there is none. `format`
// is the toolkit's name ("tiff"), and `bytes` are the file's. What libraries say of pictures that
// look as they should is passed over: tags they do not know, colour profiles, padding before an end
// mark. The reader of JPEG says one thing of a file: where that is about its header it is decoded
// once more, without that.
QByteArray complaintIn(const QByteArray &lines, const QByteArray &format, const QByteArray &bytes);

// The same of the bytes of a file, or of a page of it, where no library says it: a few words, or
// nothing.
QByteArray complaintOf(const QByteArray &bytes, const QByteArray &format, int page = 1);

// The same of what other programs and readers decode without a word: whether the coded picture of a
// WebP, or of a file of boxes (HEIC, AVIF, JPEG XL), has a hole, a run of zeros that no picture of
// so many pixels has. A copy that was not finished looks like that.
QByteArray complaintOfHoles(const QByteArray &bytes, qint64 pixels);

} // namespace ztrace

#endif
