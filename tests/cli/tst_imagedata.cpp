// (c) the ztrace developers. Licence: see LICENSE.
//
// Files that have their end marks and less data than their image takes.
#include "smallfiles.h"

#include "cli/ending.h"
#include "cli/imagedata.h"

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
    void codesOfAGif();
    void fullTablesOfCodes();
    void runsOfABmp();
    void valuesOfAnXbm();
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

QTEST_GUILESS_MAIN(tst_ImageData)
#include "tst_imagedata.moc"
