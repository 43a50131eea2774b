// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether the data of an image is as much as the image takes, in formats whose end marks may stand
// behind less. Nothing is drawn; what is wrong otherwise is the reader's to find.
#ifndef ZTRACE_CLI_IMAGEDATA_H
#define ZTRACE_CLI_IMAGEDATA_H

#include <QByteArray>

namespace ztrace {

// Whether the scans of a JPEG have sent every coefficient to its last bit (ITU-T T.81, G.1.1).
// Those of one that is not progressive do.
bool areScansComplete(const QByteArray &bytes);

// Whether each scan of a JPEG with restart marks has as many of them as its blocks take, each with
// the number that follows (T.81, B.2.1 and E.1.3). True for one without. Decoders go on at the next
// mark and paint what is lost in some way; where the lost marks are eight, without a word.
bool areRestartsComplete(const QByteArray &bytes);

// Whether so many bytes before the end mark of a JPEG, which no code took, are padding: all the
// same byte, and of no longer run of it, of which codes took a part. Some cameras fill up that way.
bool isPadded(const QByteArray &bytes, qint64 count);

// A JPEG of the same codes without what decoders remark upon in its header: application segments,
// comments, and bands of scans that a sequential one cannot have. Its colours may be others.
QByteArray withoutNotes(const QByteArray &bytes);

// Whether the codes of one frame of a GIF stand for so many pixels (GIF89a, appendix F). `codes`
// are its blocks without their sizes, and `bits` the size of codes that stands before them.
bool areCodesEnough(const QByteArray &codes, int bits, qint64 pixels);

// The longest run of zeros within the coded picture of a WebP or of a file of boxes (ISO/IEC
// 14496-12, 4.2). 0 of all others.
qint64 longestHole(const QByteArray &bytes);

// Whether an XBM has a value for every eight pixels of a row.
bool areValuesEnough(const QByteArray &text);

} // namespace ztrace

#endif
