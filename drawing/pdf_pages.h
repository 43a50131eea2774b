// (c) the ztrace developers. Licence: see LICENSE.
//
// The page of a PDF that writePdf() wrote, taken apart, so that it can become one of several.
#ifndef ZTRACE_DRAWING_PDF_PAGES_H
#define ZTRACE_DRAWING_PDF_PAGES_H

#include <QByteArray>

#include <vector>

namespace ztrace {

// Numbers of objects in each such file: the catalogue, the list of pages, and then what is the
// page's: itself first, its contents, and a group a layer.
const int kPdfCatalog = 1;
const int kPdfPages = 2;
const int kPdfFirstOfPage = 3;

struct PdfPage
{
    struct Object
    {
        int number; // from kPdfFirstOfPage, without a gap
        QByteArray body;
    };
    std::vector<Object> objects; // in the file's order
    QByteArray groups;           // references with a space behind each
};

// False for anything but what writePdf() writes: other programs' files, those that were cut.
bool takePdfPage(const QByteArray &file, PdfPage *page);

// The same text with references to the page's objects `more` higher.
QByteArray renumberedPdf(const QByteArray &text, int more);

} // namespace ztrace

#endif
