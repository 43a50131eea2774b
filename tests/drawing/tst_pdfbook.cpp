// (c) the ztrace developers. Licence: see LICENSE.
//
// Pages of a PDF put together: the book of pages is that of their drawings, byte for byte, and
// files of other makers, or parts of files, are refused.
#include "drawing/pdf.h"
#include "tests/drawing/Written.h"

#include <QTest>

using namespace ztrace;

namespace {

// A square of a size, its layer named, filled with a gradient and half seen through where `size` is
// even.
Drawing sheet(int size)
{
    Outline outline;
    outline.shape.moveTo(Point(0, 0));
    outline.shape.lineTo(Point(size, 0));
    outline.shape.lineTo(Point(size, size));
    outline.shape.lineTo(Point(0, 0));
    outline.layer = QLatin1String("3 0 R ") + QString::number(size);
    Drawing drawing;
    drawing.width = 2 * size;
    drawing.height = size;
    if (size % 2 == 0) {
        Gradient gradient;
        gradient.end = Point(size, 0);
        gradient.stops = { { 0.0, qRgb(255, 0, 0) }, { 1.0, qRgb(0, 0, 255) } };
        drawing.gradients = { gradient };
        outline.gradient = 0;
        outline.colour = qRgba(10, 20, 30, 128);
    }
    drawing.outlines = { outline, outline };
    drawing.outlines[1].layer = QLatin1String("other");
    return drawing;
}

QByteArray pdfOf(const Drawing &drawing, const PaintStyle &style)
{
    return written([&](QIODevice *device) { return writePdf(drawing, style, device); });
}

QByteArray bytesOf(PdfBook *book)
{
    return written([book](QIODevice *device) { return book->write(device); });
}

} // namespace

class tst_PdfBook : public QObject
{
    Q_OBJECT

private slots:
    void pagesMakeTheBookOfTheirDrawings_data()
    {
        QTest::addColumn<QList<int>>("sizes");
        QTest::addColumn<bool>("byLayer");
        QTest::newRow("one page is the file itself") << QList<int> { 8 } << false;
        QTest::newRow("two plain pages") << QList<int> { 7, 9 } << false;
        QTest::newRow("opacities and gradients") << QList<int> { 8, 7, 10, 12 } << false;
        QTest::newRow("layers are numbered on") << QList<int> { 8, 7, 10, 11 } << true;
    }
    void pagesMakeTheBookOfTheirDrawings()
    {
        QFETCH(QList<int>, sizes);
        QFETCH(bool, byLayer);
        PaintStyle style;
        style.byLayer = byLayer;
        PdfBook ofDrawings;
        PdfBook ofPages;
        for (const int size : sizes) {
            ofDrawings.add(sheet(size), style);
            QVERIFY(ofPages.addPage(pdfOf(sheet(size), style)));
        }
        QCOMPARE(bytesOf(&ofPages), bytesOf(&ofDrawings));
    }

    void contentsAreTakenAsTheyAre()
    {
        // Compressed bytes may look like a reference.
        QByteArray page = pdfOf(sheet(8), PaintStyle());
        const QByteArray like = "9 0 R";
        page.replace(page.indexOf("\nstream\n") + 12, like.size(), like);
        PdfBook book;
        book.add(sheet(7), PaintStyle());
        QVERIFY(book.addPage(page));
        QVERIFY(bytesOf(&book).contains(like));
    }

    void otherFilesAreRefused()
    {
        const QByteArray page = pdfOf(sheet(8), PaintStyle());
        PdfBook book;
        for (int size = 0; size < page.size(); ++size)
            QVERIFY2(!book.addPage(page.left(size)), qPrintable(QString::number(size)));
        QVERIFY(!book.addPage(page + page.right(1)));
        QVERIFY(!book.addPage("%PDF-1.5\nnonsense\nstartxref\n-3\n%%EOF\n"));
        PdfBook two;
        two.add(sheet(7), PaintStyle());
        two.add(sheet(8), PaintStyle());
        QVERIFY(!book.addPage(bytesOf(&two)));
        QVERIFY(book.isEmpty());
    }

    void anyByteMayBeWrong()
    {
        // Refused or taken, but never beyond the ends of the file.
        const QByteArray page = pdfOf(sheet(8), PaintStyle());
        for (int i = 0; i < page.size(); ++i) {
            for (const char wrong : { '9', ' ', '\n', '\xff' }) {
                QByteArray bytes = page;
                bytes[i] = wrong;
                PdfBook book;
                (void)book.addPage(bytes);
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_PdfBook)
#include "tst_pdfbook.moc"
