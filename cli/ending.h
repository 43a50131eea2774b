// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether an image file ends where its image does. The toolkit's readers give what is there of a
// file that was cut short, and fill the rest without a word.
#ifndef ZTRACE_CLI_ENDING_H
#define ZTRACE_CLI_ENDING_H

#include <QByteArray>

namespace ztrace {

enum class Ending {
    Whole,
    CutShort,
    Coarse,    // finer and finer scans of the whole image end early
    PartsLost, // all pixels are there, and not all that says what they mean
    Untold     // of a format that is not known here
};

// What the bytes of a file say themselves: their counts, sizes, places and end marks. `format` is
// the toolkit's name for it ("bmp"). Nothing is decoded: bytes that are wrong are the reader's to
// find. Takes time in proportion to the bytes at most.
Ending endingOf(const QByteArray &bytes, const QByteArray &format);

// Frames that a PNG says it has, of which its reader knows the first; 1 of all others.
qint64 framesOfPng(const QByteArray &bytes);

} // namespace ztrace

#endif
