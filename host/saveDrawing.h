// (c) the ztrace developers. Licence: see LICENSE.
//
// A drawing into a file, in the format that the file's ending names.
#ifndef ZELVORA_SAVEDRAWING_H
#define ZELVORA_SAVEDRAWING_H

#include "drawing/formats.h"

namespace zelvora {

// Writes the whole file or leaves an existing one as it was. False with the reason in `error`.
bool saveDrawing(const ztrace::Drawing &drawing, const ztrace::WriteOptions &options,
                 const QString &fileName, QString *error);

// The format of the name's ending; null when there is none.
const ztrace::Format *formatOfDrawing(const QString &fileName);

} // namespace zelvora

#endif
