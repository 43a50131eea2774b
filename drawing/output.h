// (c) the ztrace developers. Licence: see LICENSE.
//
// Files that appear whole or not at all.
#ifndef ZTRACE_DRAWING_OUTPUT_H
#define ZTRACE_DRAWING_OUTPUT_H

#include <QString>

#include <functional>

class QIODevice;

namespace ztrace {

// Calls `write` with a device, open for writing. Its contents get the file's name only when
// everything has arrived on the disk; otherwise a file of that name stays as it was, and `error`
// says why in one sentence without the file's name. A name that is no ordinary file (a terminal, a
// pipe) is written to directly; "-" is standard output.
bool writeWhole(const QString &fileName, const std::function<bool(QIODevice *)> &write,
                QString *error);

} // namespace ztrace

#endif
