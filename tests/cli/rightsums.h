// (c) the ztrace developers. Licence: see LICENSE.
//
// Numbers as files have them, and files that were damaged with their sums made right.
#ifndef ZTRACE_TESTS_RIGHTSUMS_H
#define ZTRACE_TESTS_RIGHTSUMS_H

#include <QByteArray>

namespace ztrace {

// A number in so many bytes, the least first; those beyond the fourth are 0.
QByteArray little(int value, int bytes);

// In four bytes, the greatest first.
QByteArray big(int value);

// Of a PNG's chunk, from its name and content.
QByteArray sum(const QByteArray &content);

// As a file of gzip.
QByteArray gzipped(const QByteArray &bytes);

// A PNG or MNG with the sums of all chunks that are whole, a gzip with that of what it unpacks to,
// where it does; so have the pixels of a PNG. Other files as they are.
QByteArray withRightSums(QByteArray bytes);

} // namespace ztrace

#endif
