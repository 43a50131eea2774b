// (c) the ztrace developers. Licence: see LICENSE.
//
// The image to be traced.
#ifndef ZTRACE_CLI_SOURCE_H
#define ZTRACE_CLI_SOURCE_H

#include <QByteArray>
#include <QImage>

#include <string>

#include "converters.h"
#include "ending.h"

namespace ztrace {

struct SvgDemand;

// Largest number of pixels that the tracer can hold.
const long long kMostPixels = 1LL << 30;

// What an input may ask for before it is refused. In millions, as the options say them.
struct SourceLimits
{
    double pixels = 1e6;    // of an image
    double megabytes = 1e6; // that an image takes while it is traced, or a file has
};

// The bytes of a file, or of standard input for "-". Throws a Failure: no such file, a folder, too
// large for the limits.
QByteArray contentsOf(const std::string &fileName, const SourceLimits &limits);

// An image file, or standard input for "-", read by its contents, whatever its name. Every
// operation throws a Failure that says what is wrong: no such file, a folder, empty, not an image,
// damaged, no such page, or too large for the tracer or the limits.
class ImageSource
{
public:
    explicit ImageSource(const std::string &fileName, const SourceLimits &limits = SourceLimits());

    // The contents of a file that has been read (contentsOf).
    ImageSource(const std::string &fileName, QByteArray contents, const SourceLimits &limits);

    // Throws when there is no such file, before anything else is found wrong.
    static void requireFile(const std::string &fileName);

    // Pages of a file that has several, the frames of an animation too; 1 for all others.
    int pages() const;

    // Pages that a TIFF lists; its reader stops at the first that it cannot make sense of. 0 for
    // all others.
    int pagesClaimed() const;

    // Page 1 is the first. `upright` turns the image as its own note on orientation says. What is
    // to be told of an image that could not be read as it is goes to `remark`.
    QImage read(int page, bool upright, Remarks *remarks = nullptr) const;

    // Whether the file ends where its image does; of a TIFF whether the page is there. Its reader
    // may give what is there and fill the rest.
    Ending ending(int page) const;

    // Files that an SVG names; they are never loaded.
    int filesLeftOut() const { return leftOut; }

    // True for a drawing that was written as JSON, and for other JSON, which readJson refuses.
    bool isDrawing() const;

    // The file's bytes.
    const QByteArray &contents() const { return data; }

    // Gives back the contents; nothing is asked of it any more.
    void forget() { data = QByteArray(); }

private:
    void useContents();
    void useSvg();
    void refuseDemanding(const SvgDemand &demand) const;
    ForeignLimits foreignLimits() const;
    QImage readForeign(int page, Remarks *remarks) const;
    bool askForSize(int page, QSize *size, bool *isGrey) const;
    void refuseTooLarge(const QSize &size, bool isGrey) const;
    void refuseWithoutMemory(const QSize &size) const;

    std::string name;
    SourceLimits limits;
    QByteArray data;
    QByteArray format; // the toolkit's name of it; empty for drawings and what is no image
    Foreign foreign = Foreign::None; // what other programs read
    Ending end = Ending::Untold;
    int leftOut = 0;
};

} // namespace ztrace

#endif
