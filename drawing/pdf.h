// (c) the ztrace developers. Licence: see LICENSE.
//
// PDF: a page of the size of each drawing on paper.
#ifndef ZTRACE_DRAWING_PDF_H
#define ZTRACE_DRAWING_PDF_H

#include <QByteArray>

#include <memory>

#include "Drawing.h"

class QIODevice;

namespace ztrace {

// What these files begin with, by which they are known again; the odd bytes tell other programs
// that a file is no text.
const char kPdfBeginning[] = "%PDF-1.5\n%\xE2\xE3\xCF\xD3 ztrace\n";

// Several drawings, each with a page of its own; otherwise as writePdf().
class PdfBook
{
public:
    PdfBook();
    ~PdfBook();
    PdfBook(const PdfBook &) = delete;
    PdfBook &operator=(const PdfBook &) = delete;

    // Puts a drawing on the next page.
    void add(const Drawing &drawing, const PaintStyle &style);

    // Puts the page of a file that writePdf() wrote there: the book is then the same, byte for
    // byte, as if the drawing had been added. False for any other file.
    bool addPage(const QByteArray &file);

    bool isEmpty() const;

    // What writePdf() would return. Nothing is added afterwards.
    bool write(QIODevice *device);

private:
    void addKid(int page);

    struct Parts;
    std::unique_ptr<Parts> parts;
};

// Writes the drawing. Quadratics become cubics, exactly but for rounding; with style.byLayer every
// layer is an optional content group that viewers list. The file carries no date and no random
// name, so that the same drawing gives the same bytes. Returns false when the device took less
// than everything.
bool writePdf(const Drawing &drawing, const PaintStyle &style, QIODevice *device);

} // namespace ztrace

#endif
