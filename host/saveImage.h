// (c) the ztrace developers. Licence: see LICENSE.
//
// An image into a file, in the format that the file's ending names.
#ifndef ZELVORA_SAVEIMAGE_H
#define ZELVORA_SAVEIMAGE_H

class QImage;
class QString;

namespace zelvora {

// Writes the whole file or leaves an existing one as it was. False when it did not, because there
// is no such format, no image, or no room on the disk.
bool saveImage(const QImage &image, const QString &fileName);

} // namespace zelvora

#endif
