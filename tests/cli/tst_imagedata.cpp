// (c) the ztrace developers. Licence: see LICENSE.
//
// Files that have their end marks and less data than their image takes.
#include "smallfiles.h"

#include "cli/complaints.h"
#include "cli/ending.h"
#include "cli/imagedata.h"
#include "cli/pnmfile.h"

#include <QBuffer>
#include <QImageWriter>
#include <QtTest>

using namespace ztrace;

namespace {

// Pixels that no shorter code stands for.
QImage busyPicture(int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            image.setPixel(x, y, qRgb(x * y % 251, x * 5 % 256, y * 7 % 256));
    }
    return image;
}

QByteArray progressiveJpeg()
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpg");
    writer.setProgressiveScanWrite(true);
    return writer.write(busyPicture(64)) ? bytes : QByteArray();
}

// Codes of nine bits, from the lowest bit on.
QByteArray nineBits(const QVector<int> &codes)
{
    QByteArray bytes(codes.size() * 9 / 8 + 1, '\0');
    for (int i = 0; i < codes.size() * 9; ++i) {
        if (codes.at(i / 9) >> i % 9 & 1)
            bytes[i / 8] = static_cast<char>(bytes.at(i / 8) | 1 << i % 8);
    }
    return bytes;
}

QByteArray segment(char mark, const QByteArray &content)
{
    const int size = 2 + content.size();
    return QByteArray("\xFF") + mark + static_cast<char>(size >> 8) + static_cast<char>(size)
        + content;
}

// One grey row of `blocks` blocks, black and white in turn, with a restart mark after each. Codes:
// 0 for the tone before, 10 for a difference of eleven bits, 0 for a block of one tone.
QByteArray jpegWithRestarts(int blocks)
{
    QByteArray sums = segment('\xDB', QByteArray(1, '\0') + QByteArray(64, '\1'));
    const QByteArray counts("\1\1", 2), none(14, '\0');
    sums += segment('\xC4', QByteArray(1, '\0') + counts + none + QByteArray("\0\x0B", 2));
    sums += segment('\xC4', QByteArray("\x10\1", 2) + QByteArray(15, '\0') + '\0');
    sums += segment('\xC0',
                    QByteArray("\x08\0\x08", 3) + static_cast<char>(8 * blocks >> 8)
                        + static_cast<char>(8 * blocks) + QByteArray("\1\1\x11\0", 4));
    sums += segment('\xDD', QByteArray("\0\1", 2));
    sums += segment('\xDA', QByteArray("\1\1\0\0\x3F\0", 6));
    for (int i = 0; i < blocks; ++i) {
        // 10, then 1023 or what stands for -1024, then 0; ones to the end of the byte.
        sums += i % 2 ? QByteArray("\x9F\xFB", 2) : QByteArray("\xBF\xFB", 2);
        if (i + 1 < blocks)
            sums += QByteArray("\xFF") + static_cast<char>(0xD0 + i % 8);
    }
    return "\xFF\xD8" + sums + "\xFF\xD9";
}

// Rows of five pixels in runs, of a picture three rows high.
QByteArray runsBmp(const QByteArray &runs)
{
    QByteArray header("BM\0\0\0\0\0\0\0\0\x3E\0\0\0\x28\0\0\0\5\0\0\0\3\0\0\0\1\0\x08\0\1\0\0\0",
                      34);
    return header.leftJustified(0x3E, '\0') + runs;
}

} // namespace

class tst_ImageData : public QObject
{
    Q_OBJECT

private slots:
    void scansOfAJpeg();
    void restartsOfAJpeg();
    void samplesOfAPnm_data();
    void samplesOfAPnm();
    void codesOfAGif();
    void fullTablesOfCodes();
    void runsOfABmp();
    void valuesOfAnXbm();
    void holes_data();
    void holes();
};

void tst_ImageData::scansOfAJpeg()
{
    QCOMPARE(endingOf(written("jpg", busyPicture(64)), "jpeg"), Ending::Whole);
    const QByteArray whole = progressiveJpeg();
    if (!whole.contains("\xFF\xC2"))
        QSKIP("the toolkit writes no progressive JPEG");
    QCOMPARE(endingOf(whole, "jpeg"), Ending::Whole);
    const QByteArray scan("\xFF\xDA");
    int cuts = 0;
    for (int at = whole.lastIndexOf(scan); at > whole.indexOf(scan); ++cuts) {
        const QByteArray cut = whole.left(at) + "\xFF\xD9";
        QCOMPARE(endingOf(cut, "jpeg"), Ending::Coarse);
        at = whole.lastIndexOf(scan, at - 1);
    }
    QVERIFY(cuts > 3);
    for (int size = 2; size < whole.size(); ++size)
        QVERIFY(endingOf(whole.left(size), "jpeg") != Ending::Whole);
}

// Eight marks more or fewer have the same number, and decoders say nothing.
void tst_ImageData::restartsOfAJpeg()
{
    const int kBlocks = 30, kBytes = 4; // of a block and its mark
    const QByteArray whole = jpegWithRestarts(kBlocks);
    QImage image;
    QVERIFY(image.loadFromData(whole));
    QCOMPARE(image.size(), QSize(8 * kBlocks, 8));
    QVERIFY(areRestartsComplete(whole));
    QCOMPARE(complaintOf(whole, "jpeg"), QByteArray());
    const int first = whole.indexOf("\xFF\xD0");
    for (int blocks = 1; blocks < kBlocks - 1; ++blocks) {
        QByteArray without = whole;
        without.remove(first, blocks * kBytes);
        QVERIFY2(!areRestartsComplete(without), qPrintable(QString::number(blocks)));
        QVERIFY(!complaintOf(without, "jpeg").isEmpty());
    }
    QByteArray swapped = whole;
    swapped[first + 1] = '\xD1';
    QVERIFY(!areRestartsComplete(swapped));
    // Bytes of the scan that are no mark, and marks behind the last unit.
    QByteArray stuffed = whole;
    stuffed.insert(first, QByteArray("\xFF\0", 2));
    QVERIFY(areRestartsComplete(stuffed));
    QByteArray more = whole;
    more.insert(whole.size() - 2, "\xFF\xD5");
    QVERIFY(areRestartsComplete(more));
    for (int size = 0; size < whole.size(); ++size)
        areRestartsComplete(whole.left(size));                     // it ends
    QVERIFY(areRestartsComplete(written("jpg", busyPicture(64)))); // it has none
}

void tst_ImageData::samplesOfAPnm_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("areOdd");
    const auto row = [](const char *name, const QByteArray &bytes, bool areOdd) {
        QTest::newRow(name) << bytes << areOdd;
    };
    row("digits", "P1 2 2 1 0 0 1\n", false);
    row("digits together behind a comment", "P1\n2 2 #7\n10#9\n01\n", false);
    row("a digit above one", "P1 2 2\n1007\n1\n", true);
    row("a letter among digits", "P1 2 2 1 0 x 1 1\n", true);
    row("digits behind the last pixel", "P1 2 2 1 0 0 1 9\n", false);
    row("grey numbers", "P2 2 2 100\n0 1 99 100\n", false);
    row("a grey number above the largest", "P2 2 2 100\n0 1 101 100\n", true);
    row("numbers behind the last pixel", "P2 1 1 100\n0 101\n", false);
    row("a colour above the largest", "P3 1 1 9 1 2 10\n", true);
    row("bytes", "P5 2 1 100\nd\1", false);
    row("a byte above the largest", "P5 2 1 100\n\1e", true);
    row("a byte behind the last pixel", "P5 2 1 100\n\1\1e", false);
    row("all bytes are samples", "P6 1 1 255\n\xFF\xFF\xFF", false);
    row("pairs", QByteArray("P5 1 1 300\n\1\x2C", 13), false);
    row("a pair above the largest", QByteArray("P5 1 1 300\n\1\x2D", 13), true);
    row("bits", "P4 8 1\n\xFF", false);
    row("cut short", "P5 9 9 100\n\1", false);
    row("sizes alone", "P5 9 9 100", false);
    row("nothing", "", false);
}

void tst_ImageData::samplesOfAPnm()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, areOdd);
    QCOMPARE(hasOddSamples(bytes), areOdd);
    QCOMPARE(complaintOf(bytes, "ppm").isEmpty(), !areOdd);
}

void tst_ImageData::codesOfAGif()
{
    const int clear = 256, end = 257;
    // 1, then what that has become, and what this is about to become: 1, 2 and 3 pixels.
    const QByteArray codes = nineBits({ clear, 1, 258, 259, end });
    QVERIFY(areCodesEnough(codes, 8, 6));
    QVERIFY(!areCodesEnough(codes, 8, 7));
    QVERIFY(!areCodesEnough(nineBits({ clear, 1, 260 }), 8, 3)); // not known yet
    QVERIFY(!areCodesEnough(nineBits({ clear, 258 }), 8, 2));
    QVERIFY(areCodesEnough(nineBits({ clear, 1, 258, clear, 7, 258 }), 8, 6));
    QVERIFY(!areCodesEnough(QByteArray(), 8, 1));
    QVERIFY(areCodesEnough(QByteArray(), 8, 0));

    const QByteArray whole = gif(2);
    QCOMPARE(endingOf(whole, "gif"), Ending::Whole);
    const int frame = whole.lastIndexOf(QByteArray(",\0\0\0\0", 5));
    const int size = static_cast<unsigned char>(whole.at(frame + 11));
    QByteArray without = whole;
    without.remove(frame + 11, size + 1);
    QCOMPARE(endingOf(without, "gif"), Ending::CutShort);
}

// Codes grow to twelve bits and stay there without a clear code.
void tst_ImageData::fullTablesOfCodes()
{
    QByteArray bytes;
    unsigned waiting = 0;
    int bits = 0, size = 9, next = 258;
    const auto put = [&](int code) {
        waiting |= static_cast<unsigned>(code) << bits;
        for (bits += size; bits >= 8; bits -= 8, waiting >>= 8)
            bytes += static_cast<char>(waiting & 255);
    };
    put(256);
    for (int i = 0; i < 6000; ++i) {
        put(i % 256);
        if (i > 0 && next < 4096 && ++next == 1 << size && size < 12)
            ++size;
    }
    put(257);
    bytes += static_cast<char>(waiting);
    QVERIFY(areCodesEnough(bytes, 8, 6000));
    QVERIFY(!areCodesEnough(bytes, 8, 6001));
}

void tst_ImageData::runsOfABmp()
{
    const QByteArray row("\5\1\0\0", 4), last("\5\1", 2), end("\0\1", 2);
    QCOMPARE(endingOf(runsBmp(row + row + row + end), "bmp"), Ending::Whole);
    QCOMPARE(endingOf(runsBmp(row + row + last + end), "bmp"), Ending::Whole);
    QCOMPARE(endingOf(runsBmp(row + last + end), "bmp"), Ending::CutShort);
    const QByteArray step("\0\2\0\2", 4); // two rows up
    QCOMPARE(endingOf(runsBmp(step + last + end), "bmp"), Ending::Whole);
    QCOMPARE(endingOf(runsBmp(end), "bmp"), Ending::CutShort);
}

void tst_ImageData::valuesOfAnXbm()
{
    const QByteArray whole = "#define a_width 9\n#define a_height 2\nstatic char a_bits[] = {\n"
                             " 0x01, 0x00, 0XFF,\n0x00 };\n";
    QCOMPARE(endingOf(whole, "xbm"), Ending::Whole);
    QCOMPARE(endingOf(QByteArray(whole).replace(" 0x00,", ""), "xbm"), Ending::CutShort);
}

void tst_ImageData::holes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("pixels");
    QTest::addColumn<bool>("isHole");
    const int kPixels = 200 * 100;
    const auto webp = [](const char *name, const QByteArray &content) {
        const QByteArray chunk = name + little(content.size(), 4) + content;
        return "RIFF" + little(4 + chunk.size(), 4) + "WEBP" + chunk;
    };
    const auto heic = [](const char *name, const QByteArray &content) {
        return QByteArray::fromHex("00000010") + "ftypheicmif1" + QByteArray::fromHex("000000")
            + static_cast<char>(0) + name + content;
    };
    const QByteArray few(80, '\0'), some(90, '\0'), many(5000, '\0'), code("code");
    QTest::newRow("few zeros") << webp("VP8 ", code + few + code) << kPixels << false;
    QTest::newRow("zeros at the end") << webp("VP8 ", code + some) << kPixels << true;
    QTest::newRow("zeros in between") << webp("VP8L", code + some + code) << kPixels << true;
    QTest::newRow("of more pixels") << webp("VP8 ", code + some) << 2 * kPixels << false;
    QTest::newRow("zeros of notes") << webp("EXIF", code + many) << kPixels << false;
    QTest::newRow("zeros behind all") << webp("VP8 ", code) + many << kPixels << false;
    QTest::newRow("a cut chunk") << webp("VP8 ", code + many).left(2000) << kPixels << true;
    QTest::newRow("boxes with zeros") << heic("mdat", code + many) << kPixels << true;
    QTest::newRow("boxes with few") << heic("mdat", code + some + code) << kPixels << false;
    QTest::newRow("boxes for nothing") << heic("free", code + many) << kPixels << false;
    QTest::newRow("another format") << "P5 9999 1 255 " + many << kPixels << false;
}

void tst_ImageData::holes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, pixels);
    QFETCH(bool, isHole);
    QCOMPARE(!complaintOfHoles(bytes, pixels).isEmpty(), isHole);
}

QTEST_GUILESS_MAIN(tst_ImageData)
#include "tst_imagedata.moc"
