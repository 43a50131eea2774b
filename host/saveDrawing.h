// (c) the ztrace developers. Licence: see LICENSE.
//
// A drawing into a file, in the format that the file's ending names.
#ifndef ZELVORA_SAVEDRAWING_H
#define ZELVORA_SAVEDRAWING_H

#include "drawing/Drawing.h"

namespace zelvora {

// Writes the whole file or leaves an existing one as it was. False with the reason in `error`.
bool saveDrawing(const ztrace::Drawing &drawing, const QString &fileName, QString *error);

} // namespace zelvora

#endif
