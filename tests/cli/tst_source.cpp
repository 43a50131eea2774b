// (c) the ztrace developers. Licence: see LICENSE.
//
// Input files: those that end early, at every byte and in every format that the toolkit reads;
// those that ask for too much; those that name other files.
#include "rightsums.h"
#include "smallfiles.h"

#include "cli/complaints.h"
#include "cli/distrust.h"
#include "cli/failure.h"
#include "cli/pnmfile.h"
#include "cli/source.h"
#include "cli/svgfile.h"
#include "cli/tiffpages.h"
#include "drawing/json.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QtTest>

#include <algorithm>

#include <sys/mman.h>
#include <unistd.h>

using namespace ztrace;

namespace {

// A file in memory alone.
std::string temporaryFile(const QByteArray &bytes)
{
    static const int file = memfd_create("input", 0);
    if (ftruncate(file, 0) != 0
        || pwrite(file, bytes.constData(), static_cast<std::size_t>(bytes.size()), 0)
            != bytes.size())
        qFatal("no temporary file");
    return "/proc/self/fd/" + std::to_string(file);
}

ImageSource sourceOf(const QByteArray &bytes, const SourceLimits &limits = SourceLimits())
{
    return ImageSource(temporaryFile(bytes), limits);
}

// What is said of the bytes; empty when they are read without a word.
QString complaint(const QByteArray &bytes, QImage *image,
                  const SourceLimits &limits = SourceLimits())
{
    try {
        const ImageSource source = sourceOf(bytes, limits);
        *image = source.read(1, true);
        if (source.ending(1) == Ending::Whole)
            return QString();
        const bool isCut = source.ending(1) == Ending::CutShort;
        return QString::fromLatin1(isCut                                       ? "cut short"
                                       : source.ending(1) == Ending::PartsLost ? "parts lost"
                                                                               : "untold");
    } catch (const Failure &failure) {
        return failure.code == kInputUnreadable ? QString::fromLocal8Bit(failure.what())
                                                : QString::fromLatin1("another code");
    }
}

} // namespace

class tst_Source : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }
    void wholeFilesAreWhole_data();
    void wholeFilesAreWhole();
    void filesCutAnywhereAreTold_data() { wholeFilesAreWhole_data(); }
    void filesCutAnywhereAreTold();
    void drawingsCutAnywhereAreRefused();
    void flippedBitsWithRightChecksums_data();
    void flippedBitsWithRightChecksums();
    void tgaEndsWithItsPixels();
    void sizesBeyondAllFiles();
    void directoriesThatShareTheirBytes();
    void everyFormatOfTheToolkitIsThere();
    void distrustedFormats();
    void sizesAreAskedFirst_data() { wholeFilesAreWhole_data(); }
    void sizesAreAskedFirst();
    void damagedPixelsAreTold();
    void bytesLeftOverByAJpeg_data();
    void bytesLeftOverByAJpeg();
    void whatIsDamage_data();
    void whatIsDamage();
    void framesOfAnAnimation();
    void framesOfAPngAreCounted();
    void endlessInput();
    void svgLoadsNoFiles_data();
    void svgLoadsNoFiles();
    void digitsMayStandTogether();
    void imagesBehindTheFirst();
    void svgKeepsItsOwn();
    void svgAsksForTooMuch();
};

void tst_Source::wholeFilesAreWhole_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("format");
    const auto row = [](const char *name, const QByteArray &bytes, const char *format) {
        QTest::newRow(name) << bytes << QString::fromLatin1(format);
    };
    const QImage colour = picture(QImage::Format_RGB32);
    const QImage grey = picture(QImage::Format_Grayscale8);
    const QImage mono = picture(QImage::Format_Mono);
    for (const char *format : { "bmp", "icns", "ico", "jpeg", "png", "ppm", "tiff", "webp", "xpm" })
        row(format,
            written(format,
                    QByteArray(format) == "icns" ? picture(QImage::Format_ARGB32, 16, 16) : colour),
            format);
    row("cur", written("cur", colour), "ico");
    row("bmp of one bit", written("bmp", mono), "bmp");
    row("bmp of eight bits", written("bmp", picture(QImage::Format_Indexed8)), "bmp");
    row("bmp in runs", bmpInRuns(), "bmp");
    row("tiff in lzw", written("tiff", colour, 1, -1, false), "tiff");
    row("tiff of one bit", written("tiff", mono), "tiff");
    row("tiff of colours", tiffOfColours(), "tiff");
    row("webp without loss", written("webp", colour, -1, 100, false), "webp");
    row("progressive jpeg", written("jpeg", colour, -1, 80, true), "jpeg");
    row("png of one bit", written("png", mono), "png");
    row("grey jpeg", written("jpeg", grey), "jpeg");
    row("pbm", written("pbm", mono), "pbm");
    row("pgm", written("pgm", grey), "pgm");
    row("pbm in letters", "P1\n# a comment\n3 2\n0 1 0\n1 0 1\n", "pbm");
    row("pbm in letters without spaces", "P1 #1\n3 2\n#01\n010\n1 01\n", "pbm");
    row("pgm in letters", "P2\n3 2 255\n0 17 204\n3 2 1\n", "pgm");
    row("ppm in letters", "P3\n2 1\n255\n0 17 204\n3 2 11\n", "ppm");
    row("pgm of sixteen bits", "P5 2 2 65535\nabcdefgh", "pgm");
    row("xbm", written("xbm", mono), "xbm");
    row("wbmp", written("wbmp", mono), "wbmp");
    row("gif", gif(1), "gif");
    row("animated gif", gif(2), "gif");
    const QByteArray drawing = svg("<rect width='9' height='7' fill='red'/>");
    row("svg", drawing, "svg");
    row("svgz", gzipped(drawing), "svgz");
    // Files that are larger than a reader's portions.
    const QImage large = picture(QImage::Format_RGB32, 150, 120);
    for (const char *format : { "bmp", "jpeg", "png", "ppm", "tiff", "webp" })
        row(("large " + QByteArray(format)).constData(), written(format, large), format);
}

void tst_Source::wholeFilesAreWhole()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, format);
    QImage image;
    QCOMPARE(complaint(bytes, &image), QString());
    QVERIFY(!image.isNull());
    QBuffer buffer(&bytes);
    QCOMPARE(QString::fromLatin1(QImageReader(&buffer).format()), format);
}

void tst_Source::filesCutAnywhereAreTold()
{
    QFETCH(QByteArray, bytes);
    QImage whole;
    complaint(bytes, &whole);
    const int step = 1 + bytes.size() / 1500;
    for (int size = 0; size<bytes.size(); size += size + 300> bytes.size() ? 1 : step) {
        QImage cut;
        const QString said = complaint(bytes.left(size), &cut);
        QVERIFY2(said != QString::fromLatin1("another code"), qPrintable(QString::number(size)));
        // What is lost may be nothing but the end of the last line.
        if (said.isEmpty()) {
            QVERIFY2(cut == whole && cut.dotsPerMeterX() == whole.dotsPerMeterX(),
                     qPrintable(QString::number(size)));
        }
    }
}

void tst_Source::drawingsCutAnywhereAreRefused()
{
    const QByteArray text
        = "{\"format\": \"ztrace drawing\", \"version\": 1, \"width\": 9, \"height\": 7, \"dpi\": "
          "96, "
          "\"unit\": \"mm\", \"outlines\": [{\"layer\": \"a\", \"color\": \"#ff0000\", \"start\": "
          "[0, 0], "
          "\"pieces\": [[\"L\", 4, 0], [\"Q\", 1, 2, 3, 4], [\"A\", 0.5, 0, 0]], \"holes\": [1]}, "
          "{\"layer\": \"a\", \"color\": \"#ffffff\"}]}";
    Drawing drawing;
    QString error;
    QVERIFY2(readJson(text, &drawing, &error), qPrintable(error));
    for (int size = 0; size < text.size(); ++size) {
        error.clear();
        QVERIFY(!readJson(text.left(size), &drawing, &error));
        QVERIFY(!error.isEmpty());
    }
}

void tst_Source::flippedBitsWithRightChecksums_data()
{
    wholeFilesAreWhole_data();
}

// Every bit of the first bytes and some of all others, where the format has sums with these made
// right: read, or refused in one way, within limits that keep a wrong size from being believed.
void tst_Source::flippedBitsWithRightChecksums()
{
    QFETCH(QByteArray, bytes);
    SourceLimits limits;
    limits.pixels = 4.0;
    limits.megabytes = 100.0;
    const int kHead = 64;
    const int step = 1 + bytes.size() / 200;
    QImage whole;
    complaint(bytes, &whole);
    bool isBelieved = false; // somewhere behind the head
    for (int at = 0; at < bytes.size(); at += at < kHead ? 1 : step) {
        for (int bit = 0; bit < 8; bit += at < kHead ? 1 : 3) {
            QByteArray flipped = bytes;
            flipped[at] = static_cast<char>(flipped.at(at) ^ (1 << bit));
            QImage image;
            const QString said = complaint(withRightSums(flipped), &image, limits);
            QVERIFY2(said != QString::fromLatin1("another code"), qPrintable(QString::number(at)));
            QVERIFY(!image.isNull() || !said.isEmpty());
            isBelieved = isBelieved || (at >= kHead && said.isEmpty() && image != whole);
        }
    }
    if (bytes.startsWith("\x89PNG") && bytes.size() > 2 * kHead)
        QVERIFY(isBelieved); // no sum stands before the readers
}

// The toolkit's reader of it takes none in this release, so that files of it are refused anyway.
void tst_Source::tgaEndsWithItsPixels()
{
    const QByteArray bytes = tga();
    QCOMPARE(endingOf(bytes, "tga"), Ending::Whole);
    for (int size = 0; size < bytes.size(); ++size)
        QCOMPARE(endingOf(bytes.left(size), "tga"), Ending::CutShort);
}

void tst_Source::sizesBeyondAllFiles()
{
    const QByteArray far(64, '\x7f');
    const QByteArray farther(64, '\xff');
    for (const QByteArray &format : QImageReader::supportedImageFormats()) {
        for (const QByteArray &bytes : { far, farther, "II*" + little(0, 1) + far, "MM" + farther })
            QVERIFY(endingOf(bytes, format) != Ending::Untold);
    }
    for (const char *text : { "P5 99999999999 99999999999 255\n", "P3 1073741824 1073741824 9 1 " })
        QCOMPARE(endingOf(text, "ppm"), Ending::CutShort);
    const QByteArray bmp = "BM" + little(0, 8) + little(54, 4) + little(40, 4)
        + little(0x7FFFFFFF, 4) + little(0x7FFFFFFF, 4) + little(1, 2) + little(0x7FFF, 2)
        + little(0, 24);
    QCOMPARE(endingOf(bmp, "bmp"), Ending::CutShort);
}

// A chain of directories, one at every twelfth byte, each with 65,535 entries: work grows with the
// bytes, not with their square.
void tst_Source::directoriesThatShareTheirBytes()
{
    const int kDirectories = 2000;
    const int kEntries = 2 + 12 * 65535;
    QByteArray bytes = "II*" + little(0, 1) + little(8, 4);
    for (int i = 0; i < kDirectories; ++i)
        bytes += little(0xFFFF, 2) + little(0, 10);
    bytes += QByteArray(8 + kEntries - bytes.size(), '\0');
    for (int i = 0; i < kDirectories; ++i)
        bytes += little(8 + 12 * (i + 1), 4) + little(0, 8);
    const std::size_t pages = tiffPages(bytes).size();
    QVERIFY(pages >= 2 && pages < 20);
    QCOMPARE(endingOf(bytes, "tiff"), Ending::CutShort);
}

// One more plug-in of the toolkit is one more row, and a check in cli/ending.cpp.
void tst_Source::everyFormatOfTheToolkitIsThere()
{
    for (const QByteArray &format : QImageReader::supportedImageFormats())
        QVERIFY2(endingOf(QByteArray(), format) == Ending::CutShort, format.constData());
    QCOMPARE(endingOf(QByteArray("xyz"), QByteArray("unheard-of")), Ending::Untold);
}

// Not even within another picture: the reader has been seen to write where no pixels are.
void tst_Source::distrustedFormats()
{
    QImage image;
    QVERIFY(
        complaint(mng(), &image)
            .endsWith(QLatin1String(": the format mng is not read, as its reader is not safe")));
    const QByteArray text = svg("<image width='20' height='20' xlink:href='data:image/png;base64,"
                                + mng().toBase64() + "'/>");
    QVERIFY(image.loadFromData(text));
    const ImageSource source = sourceOf(text);
    QCOMPARE(source.filesLeftOut(), 1);
    QCOMPARE(qAlpha(source.read(1, true).pixel(9, 7)), 0);
    for (const char *format : { "png", "jpeg", "tiff", "svg" })
        QVERIFY(!isDistrusted(format));
}

void tst_Source::sizesAreAskedFirst()
{
    QFETCH(QByteArray, bytes);
    QImage image;
    SourceLimits limits;
    limits.pixels = 1e-6;
    QVERIFY2(complaint(bytes, &image, limits)
                 .contains(QLatin1String("more than 1e-06 million pixels (see --max-pixels)")),
             qPrintable(complaint(bytes, &image, limits)));
    QVERIFY(image.isNull());
}

// Decoders make pixels of anything; what they say of it is told.
void tst_Source::damagedPixelsAreTold()
{
    const QByteArray jpeg = written("jpeg", picture(QImage::Format_RGB32, 150, 120));
    QByteArray damagedJpeg = jpeg;
    damagedJpeg.remove(jpeg.size() / 2, 200);
    // Lines like those before them, and the end; then a run of 64 in a line of eight.
    const std::pair<QByteArray, QByteArray> kFiles[]
        = { { jpeg, damagedJpeg },
            { fax(QByteArray::fromHex("ff001001")), fax(QByteArray::fromHex("3b350dff")) },
            { "P2 2 2 9 1 2 3 4\n", "P2 2 2 9 1 2 30 4\n" } };
    for (const auto &file : kFiles) {
        Remarks remarks;
        sourceOf(file.first).read(1, true, &remarks);
        QVERIFY2(remarks.texts.empty(), remarks.texts.empty() ? "" : remarks.texts[0].c_str());
        const ImageSource source = sourceOf(file.second);
        source.read(1, true, &remarks);
        QCOMPARE(source.ending(1), Ending::Whole);
        QCOMPARE(remarks.texts.size(), std::size_t(1));
        QVERIFY(remarks.texts[0].find("the image may be wrong, as the file is damaged: \"") == 0);
        QVERIFY(remarks.texts[0].find('\n') == std::string::npos);
    }
}

// Bytes that the codes of a scan leave over are damage, but for padding before the end mark.
void tst_Source::bytesLeftOverByAJpeg_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isDamage");
    const QByteArray whole = written("jpeg", picture(QImage::Format_RGB32, 150, 120));
    const QByteArray finer = written("jpeg", picture(QImage::Format_RGB32, 150, 120), -1, 80, true);
    const QByteArray end("\xFF\xD9");
    const QByteArray data = whole.left(whole.size() - 2);
    const int lastScan = finer.lastIndexOf("\xFF\xC4");
    const int firstScan = finer.indexOf("\xFF\xDA");
    QVERIFY(firstScan < lastScan);
    QTest::newRow("none") << whole << false;
    QTest::newRow("none between finer scans") << finer << false;
    QTest::newRow("zeros for padding") << data + QByteArray(5, '\0') + end << false;
    QTest::newRow("one byte for padding") << data + "x" + end << false;
    QTest::newRow("letters") << data + "left over" + end << true;
    QTest::newRow("the codes' end overwritten by zeros")
        << data.left(data.size() - 200) + QByteArray(200, '\0') + end << true;
    QTest::newRow("between finer scans")
        << finer.left(lastScan) + QByteArray(5, '\0') + finer.mid(lastScan) << true;
    // What is said of the revision keeps the reader from saying more.
    const auto withOddRevision = [](QByteArray bytes) {
        const int revision = bytes.indexOf(QByteArray("JFIF\0", 5)) + 5;
        bytes[revision] = '\x09';
        return bytes;
    };
    QTest::newRow("an odd revision alone") << withOddRevision(whole) << false;
    QTest::newRow("an odd revision before letters")
        << withOddRevision(data + "left over" + end) << true;
    QByteArray oddBand = whole;
    oddBand[oddBand.indexOf("\xFF\xDA") + 11] = '\x01';
    QTest::newRow("an odd band alone") << oddBand << false;
    oddBand.insert(oddBand.size() - 2, "left over");
    QTest::newRow("an odd band before letters") << oddBand << true;
}

void tst_Source::bytesLeftOverByAJpeg()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isDamage);
    Remarks remarks;
    const ImageSource source = sourceOf(bytes);
    source.read(1, true, &remarks);
    QCOMPARE(source.ending(1), Ending::Whole);
    QCOMPARE(!remarks.texts.empty(), isDamage);
}

void tst_Source::whatIsDamage_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<bool>("isDamage");
    const auto row = [](const char *line, const char *format, bool isDamage) {
        QTest::newRow(line) << QByteArray(line) << QByteArray(format) << isDamage;
    };
    row("Fax4Decode: Bad code word at line 3 of strip 0 (x 40).", "tiff", true);
    row("Fax3Decode1D: Warning, Line length mismatch at line 5", "tiff", true);
    row("JPEGLib: Warning, Corrupt JPEG data: premature end of data segment.", "tiff", true);
    row("TIFFReadDirectory: Warning, Unknown field with tag 33000 (0x80e8) encountered.", "tiff",
        false);
    row("TIFFFetchNormalTag: Warning, ASCII value for tag \"Artist\" contains null byte.", "tiff",
        false);
    row("TIFFFillStrip: Read error at scanline 7; got 5 bytes, expected 9.", "tiff", true);
    row("Corrupt JPEG data: bad Huffman code", "jpeg", true);
    row("Corrupt JPEG data: 12 extraneous bytes before marker 0xd4", "jpeg", true);
    row("Corrupt JPEG data: 79 extraneous bytes before marker 0xc4", "jpeg", true);
    row("Warning: unknown JFIF revision number 9.02", "jpeg", false);
    row("Corrupt JPEG data: bad ICC marker", "jpeg", false);
    row("Invalid path data; path truncated.", "svg", true);
    row("QImage: XPM pixels missing on image line 9 (possibly a C++ trigraph).", "xpm", true);
    row("libpng warning: iCCP: known incorrect sRGB profile", "png", false);
}

void tst_Source::whatIsDamage()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, format);
    QFETCH(bool, isDamage);
    QCOMPARE(complaintIn("\n" + line + "\nmore\n", format, QByteArray()),
             isDamage ? line : QByteArray());
}

void tst_Source::framesOfAnAnimation()
{
    const ImageSource source = sourceOf(gif(5));
    QCOMPARE(source.pages(), 5);
    for (int page : { 2, 3, 5 }) {
        const QImage frame = source.read(page, true);
        QCOMPARE(frame.pixelColor(0, 0) == QColor(Qt::white), (page - 1) % 3 == 0);
        QCOMPARE(frame.pixelColor(1, 0) == QColor(Qt::white), (1 + page - 1) % 3 == 0);
    }
    try {
        source.read(6, true);
        QFAIL("there is no page 6");
    } catch (const Failure &failure) {
        QVERIFY(std::string(failure.what()).find("there is no page 6 (the file has 5)")
                != std::string::npos);
    }
}

void tst_Source::framesOfAPngAreCounted()
{
    const QByteArray png = written("png", picture(QImage::Format_RGB32));
    const int kBehindHead = 8 + 12 + 13;
    const QByteArray content = "acTL" + big(5) + big(0);
    const QByteArray chunk = big(8) + content + sum(content);
    QCOMPARE(framesOfPng(png), 1LL);
    const QByteArray animated = png.left(kBehindHead) + chunk + png.mid(kBehindHead);
    QCOMPARE(framesOfPng(animated), 5LL);
    QCOMPARE(framesOfPng(png + chunk), 1LL);
    for (int size = 0; size < animated.size(); ++size)
        QVERIFY(framesOfPng(animated.left(size)) >= 1);
}

void tst_Source::endlessInput()
{
    SourceLimits limits;
    limits.megabytes = 3.0;
    try {
        ImageSource("/dev/zero", limits);
        QFAIL("it has no end");
    } catch (const Failure &failure) {
        QCOMPARE(failure.code, kInputUnreadable);
        QCOMPARE(QString::fromLatin1(failure.what()),
                 QString("/dev/zero: has more than 3 million bytes (see --max-memory)"));
    }
}

void tst_Source::svgLoadsNoFiles_data()
{
    QTest::addColumn<QByteArray>("text");
    static QTemporaryDir folder;
    const QByteArray name = folder.filePath(QString::fromLatin1("red.png")).toUtf8();
    QImage red(20, 20, QImage::Format_RGB32);
    red.fill(Qt::red);
    red.save(QString::fromUtf8(name));
    QFile sheet(folder.filePath(QString::fromLatin1("red.css")));
    sheet.open(QIODevice::WriteOnly);
    sheet.write("rect { fill: #ff0000 }");
    sheet.close();
    const QByteArray image = "<image width='20' height='20' xlink:href='" + name + "'/>";
    const QByteArray nested = svg(image).toBase64();
    QTest::newRow("by its name") << svg(image);
    QTest::newRow("in a group") << svg("<g><g>" + image + "</g></g><path d='M0 0h1'/>");
    QTest::newRow("in another svg") << svg(
        "<image width='20' height='20' xlink:href='data:image/svg+xml;base64," + nested + "'/>");
    QTest::newRow("by an entity") << "<!DOCTYPE svg [<!ENTITY n '" + name + "'>]>"
            + svg("<image width='20' height='20' xlink:href='&n;'/>");
    QTest::newRow("as a style sheet")
        << "<?xml version='1.0'?><?xml-stylesheet type=\"text/css\" href=\""
            + sheet.fileName().toUtf8() + "\"?>" + svg("<rect width='20' height='20'/>");
}

void tst_Source::svgLoadsNoFiles()
{
    QFETCH(QByteArray, text);
    QImage loaded;
    QVERIFY(loaded.loadFromData(text));
    QCOMPARE(loaded.pixelColor(9, 9), QColor(Qt::red)); // the toolkit does
    const ImageSource source = sourceOf(text);
    QCOMPARE(source.filesLeftOut(), 1);
    QVERIFY(source.read(1, true).pixelColor(9, 9) != QColor(Qt::red));
}

void tst_Source::digitsMayStandTogether()
{
    const QImage together = sourceOf("P1 #1\n3 2\n#01\n010\n1 01\n").read(1, true);
    const QImage apart = sourceOf("P1 3 2 0 1 0 1 0 1").read(1, true);
    QCOMPARE(together.convertToFormat(QImage::Format_RGB32),
             apart.convertToFormat(QImage::Format_RGB32));
    QVERIFY(apart.pixelColor(0, 0) != apart.pixelColor(1, 0));
}

void tst_Source::imagesBehindTheFirst()
{
    for (const QByteArray &one :
         { written("ppm", picture(QImage::Format_RGB32)),
           written("pbm", picture(QImage::Format_Mono)),
           written("pgm", picture(QImage::Format_Grayscale8)),
           QByteArray("P1\n3 2 #\n010\n#1\n1 01\n"), QByteArray("P2 2 1 9 5 5\n"),
           QByteArray("P3\n1 1 255 9 9 255\n") }) {
        QVERIFY(!hasAnotherPnm(one));
        QVERIFY(!hasAnotherPnm(one + "\nPlain words"));
        QVERIFY(hasAnotherPnm(one + one));
        for (int size = 0; size < one.size(); ++size)
            QVERIFY(!hasAnotherPnm(one.left(size)));
    }
}

void tst_Source::svgKeepsItsOwn()
{
    QImage green(20, 20, QImage::Format_RGB32);
    green.fill(Qt::green);
    const QByteArray text = svg("<image width='20' height='20' xlink:href='data:image/png;base64,"
                                + written("png", green).toBase64() + "'/>");
    int leftOut = 7;
    QCOMPARE(withoutNamedFiles(text, 1 << 20, &leftOut), text);
    QCOMPARE(leftOut, 0);
    QCOMPARE(sourceOf(text).read(1, true).pixelColor(9, 9), QColor(Qt::green));
    QVERIFY(withoutNamedFiles(text.left(text.size() - 4), 1 << 20, &leftOut).isNull());
}

// Before anything within it is decoded or matched.
void tst_Source::svgAsksForTooMuch()
{
    QImage image;
    const QByteArray one = "<image width='9' height='9' xlink:href='data:image/png;base64,"
        + written("png", picture(QImage::Format_RGB32, 100, 100)).toBase64() + "'/>";
    SourceLimits limits;
    limits.pixels = 0.025;
    QCOMPARE(complaint(svg(one + one), &image, limits), QString());
    QVERIFY(
        complaint(svg(one + one + one), &image, limits)
            .endsWith(QLatin1String(
                "the images within it have more than 0.025 million pixels (see --max-pixels)")));
    limits.pixels = 1.0;
    limits.megabytes = 0.3;
    QVERIFY(complaint(svg(one + one + one), &image, limits)
                .contains(QLatin1String("more than 0.3 (see --max-memory)")));
    const QByteArray sheet = "<style>" + QByteArray("rect,a{fill:red}").repeated(20) + "</style>";
    const QByteArray elements = QByteArray("<rect width='9' height='9'/>").repeated(50);
    const SvgDemand demand = demandOf(svg(sheet + elements));
    QCOMPARE(demand.rules, 40.0);
    QCOMPARE(demand.elements, 52.0);
    QCOMPARE(complaint(svg(sheet + elements), &image), QString());
    const QByteArray longSheet = "<style>" + QByteArray("a{}").repeated(200000) + "</style>";
    QVERIFY(complaint(svg(longSheet + elements), &image)
                .contains(QLatin1String("its style sheet asks for too much work: 200000 rules")));
    const QByteArray gradient
        = "<linearGradient>" + QByteArray("<stop/>").repeated(300) + "</linearGradient>";
    QCOMPARE(demandOf(svg(gradient + gradient)).stops, 2.0 * 300 * 300);
    const QByteArray stops
        = "<linearGradient>" + QByteArray("<stop/>").repeated(20001) + "</linearGradient>";
    QVERIFY(complaint(svg(stops), &image).contains(QLatin1String("have too many stops")));
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    tst_Source test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_source.moc"
