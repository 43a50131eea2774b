// (c) the ztrace developers. Licence: see LICENSE.
//
// Files that somebody else has made, which are not to be lost by a slip of the hand.
#ifndef ZTRACE_CLI_STRANGERS_H
#define ZTRACE_CLI_STRANGERS_H

#include <QString>

namespace ztrace {

// Whether a file is an image, a drawing or a map that this program has not written, or that another
// one has saved since. What cannot be read is none, and fails later.
bool isStrangersWork(const QString &fileName);

// Whether a file that is called PDF or PNG, as pictures are, is a drawing that this program has
// written.
bool isOwnDrawing(const QString &fileName);

} // namespace ztrace

#endif
