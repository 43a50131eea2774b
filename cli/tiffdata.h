// (c) the ztrace developers. Licence: see LICENSE.
//
// The pixels of a TIFF, by what its directory says of them and without decoding them.
#ifndef ZTRACE_CLI_TIFFDATA_H
#define ZTRACE_CLI_TIFFDATA_H

#include <QByteArray>

namespace ztrace {

// What is wrong with the strips or tiles of a page, 1 is the first, that decoders pass over, in a
// few words; empty where there is nothing, and for what is no TIFF. Of Deflate: codes that are
// none, or a sum of the pixels that is not theirs (RFC 1950, 2.2). Of LZW and PackBits: codes for
// more pixels than a strip has (TIFF 6.0, sections 13 and 9). What ends early the decoder tells; so
// it does of fax what ends late. Takes time in proportion to the pixels, and no memory.
QByteArray complaintOfStrips(const QByteArray &bytes, int page);

// Samples that the toolkit's reader refuses without saying why, or takes for whole numbers:
// "samples of 32 bits with a floating point". Empty where it knows them.
QByteArray unknownSamples(const QByteArray &bytes, int page);

// Whether samples are numbers with a sign, which the toolkit's reader takes for numbers without.
bool haveSamplesSigns(const QByteArray &bytes, int page);

} // namespace ztrace

#endif
