// (c) the ztrace developers. Licence: see LICENSE.
//
// PBM, PGM and PPM, in letters (P1 to P3) and in bytes (P4 to P6): where their pixels end, and
// whether their samples are what they may be. Anything else gives false.
#ifndef ZTRACE_CLI_PNMFILE_H
#define ZTRACE_CLI_PNMFILE_H

#include <QByteArray>

namespace ztrace {

// Whether a PNM of bytes has all of its pixels.
bool pnmEnds(const QByteArray &bytes);

// Whether it is followed by another one, which its reader does not know of.
bool hasAnotherPnm(const QByteArray &bytes);

// Whether a sample lies above the largest one that the file names, or a digit of black and white is
// neither 0 nor 1. Readers make some tone of it. What is behind the pixels is not looked at.
bool hasOddSamples(const QByteArray &bytes);

} // namespace ztrace

#endif
