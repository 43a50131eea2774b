// (c) the ztrace developers. Licence: see LICENSE.
//
// Image formats of the toolkit that are not read.
#ifndef ZTRACE_CLI_DISTRUST_H
#define ZTRACE_CLI_DISTRUST_H

#include <QByteArray>

namespace ztrace {

// A format, by the toolkit's name, whose reader writes beyond its picture when a file says two
// things of its size: MNG. Its library has had no release for years. Held by tst_source,
// distrustedFormats.
inline bool isDistrusted(const QByteArray &format)
{
    return format == "mng";
}

} // namespace ztrace

#endif
