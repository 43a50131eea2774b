// (c) the ztrace developers. Licence: see LICENSE.
//
// An image out of a file, as the toolkit reads it.
#ifndef ZELVORA_READIMAGE_H
#define ZELVORA_READIMAGE_H

class QImage;
class QString;

namespace zelvora {

// Null when there is no such image. What is there of a file that ends early, or is damaged, is read
// as well, and told in a line on standard error: the toolkit fills the rest in without a word.
QImage readImage(const QString &fileName);

} // namespace zelvora

#endif
