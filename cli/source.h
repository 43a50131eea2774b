// (c) the ztrace developers. Licence: see LICENSE.
//
// The image to be traced.
#ifndef ZTRACE_CLI_SOURCE_H
#define ZTRACE_CLI_SOURCE_H

#include <QByteArray>
#include <QImage>

#include <string>

namespace ztrace {

// Largest number of pixels that the tracer can hold.
const long long kMostPixels = ((1LL << 31) - 65) / 4;

// An image file, or standard input for "-", read by its contents, whatever its name. Every
// operation throws a Failure that says what is wrong: no such file, a folder, empty, not an image,
// damaged, no such page, or too large for the tracer.
class ImageSource
{
public:
    explicit ImageSource(const std::string &fileName);

    // Throws when there is no such file, before anything else is found wrong.
    static void requireFile(const std::string &fileName);

    // Pages of a file that has several; 1 for all others.
    int pages() const;

    // Pages that a TIFF lists; its reader stops at the first that it cannot make sense of. 0 for
    // all others.
    int pagesClaimed() const;

    // Page 1 is the first. `upright` turns the image as its own note on orientation says.
    QImage read(int page, bool upright) const;

    // True for a JPEG that ends before its picture does. Its reader gives what is there and fills
    // the rest; every other format that ends early cannot be read.
    bool isCutShort() const;

    // True for a drawing that was written as JSON, and for other JSON, which readJson refuses.
    bool isDrawing() const;

    // The file's bytes.
    const QByteArray &contents() const { return data; }

private:
    std::string name;
    QByteArray data;
};

} // namespace ztrace

#endif
