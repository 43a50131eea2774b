// (c) the ztrace developers. Licence: see LICENSE.
//
// Strips of TIFF that decoders read without a word although they are damaged, and samples that are
// not read.
#include "smallfiles.h"

#include "cli/failure.h"
#include "cli/source.h"
#include "cli/tiffdata.h"

#include <QtTest>

using namespace ztrace;

namespace {

const int kSide = 12;
const int kNone = 1, kLzw = 5, kDeflate = 8, kPackBits = 32773;

// What a directory says of a grey picture.
struct Said
{
    int compression = kNone;
    int bits = 8;
    int format = 1; // of samples
    int height = kSide;
    int rows = kSide; // a strip
    int order = 1;    // of bits
};

// With a second strip where there are codes for it.
QByteArray tiff(const Said &said, const QByteArray &codes, const QByteArray &more = QByteArray())
{
    const int strips = more.isEmpty() ? 1 : 2;
    const int kEntries = 11;
    const int data = 8 + 2 + 12 * kEntries + 4;
    const QByteArray bytes = "II*" + little(0, 1) + little(8, 4) + little(kEntries, 2)
        + entry(256, 3, 1, kSide) + entry(257, 3, 1, said.height) + entry(258, 3, 1, said.bits)
        + entry(259, 3, 1, said.compression) + entry(262, 3, 1, 1) + entry(266, 3, 1, said.order)
        + entry(273, 3, strips, data | (data + codes.size()) << 16) + entry(277, 3, 1, 1)
        + entry(278, 3, 1, said.rows) + entry(279, 3, strips, codes.size() | more.size() << 16)
        + entry(339, 3, 1, said.format) + little(0, 4);
    return bytes + codes + more;
}

QByteArray tones(int rows = kSide)
{
    QByteArray bytes;
    for (int i = 0; i < rows * kSide; ++i)
        bytes += static_cast<char>(i * i * 7 % 256);
    return bytes;
}

QByteArray deflated(const QByteArray &bytes)
{
    return qCompress(bytes).mid(4); // behind a length of the toolkit's own
}

// Each byte as a code of nine bits, from the highest bit on, between the codes for begin and end.
QByteArray inNineBits(const QByteArray &bytes)
{
    const int kClear = 256, kEnd = 257;
    QVector<int> codes(1, kClear);
    for (const char byte : bytes)
        codes += static_cast<unsigned char>(byte);
    codes += kEnd;
    QByteArray packed((codes.size() * 9 + 7) / 8, '\0');
    for (int i = 0; i < codes.size() * 9; ++i) {
        if (codes.at(i / 9) >> (8 - i % 9) & 1)
            packed[i / 8] = static_cast<char>(packed.at(i / 8) | 0x80 >> i % 8);
    }
    return packed;
}

// Each row as so many bytes, the last of them as a run of one more.
QByteArray packed(const QByteArray &bytes)
{
    QByteArray codes;
    for (int at = 0; at < bytes.size(); at += kSide) {
        codes += static_cast<char>(kSide - 3);
        codes += bytes.mid(at, kSide - 2);
        codes += static_cast<char>(-1);
        codes += bytes.at(at + kSide - 1);
    }
    return codes;
}

QByteArray reversed(QByteArray bytes)
{
    for (char &byte : bytes) {
        int other = 0;
        for (int bit = 0; bit < 8; ++bit)
            other |= (byte >> bit & 1) << (7 - bit);
        byte = static_cast<char>(other);
    }
    return bytes;
}

// What is said of a file that is read, or why it is not.
QString saidOf(const QByteArray &bytes)
{
    try {
        Remarks remarks;
        ImageSource("a.tif", bytes, SourceLimits()).read(1, true, &remarks);
        return remarks.texts.empty() ? QString() : QString::fromStdString(remarks.texts[0]);
    } catch (const Failure &failure) {
        return QString::fromLatin1(failure.what());
    }
}

} // namespace

class tst_TiffData : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }
    void strips_data();
    void strips();
    void everyBitOfADeflatedStrip();
    void growingCodes();
    void samples_data();
    void samples();
};

void tst_TiffData::strips_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isDamage");
    const auto row = [](const char *name, const Said &said, const QByteArray &codes, bool damage) {
        QTest::newRow(name) << tiff(said, codes) << damage;
    };
    Said sums;
    sums.compression = kDeflate;
    const QByteArray whole = deflated(tones());
    QByteArray wrong = whole;
    wrong[wrong.size() - 1] = static_cast<char>(wrong.at(wrong.size() - 1) ^ 1);
    row("deflated", sums, whole, false);
    row("a sum that is not theirs", sums, wrong, true);
    row("no sum", sums, whole.left(whole.size() - 4), true);
    row("bytes behind the sum", sums, whole + "behind", false);
    sums.order = 2;
    row("deflated, lowest bit first", sums, reversed(whole), false);
    row("a wrong sum, lowest bit first", sums, reversed(wrong), true);

    Said lzw;
    lzw.compression = kLzw;
    row("codes", lzw, inNineBits(tones()), false);
    row("codes and padding", lzw, inNineBits(tones()) + QByteArray(40, '\0'), false);
    row("codes for a row more", lzw, inNineBits(tones(kSide + 1)), true);
    lzw.rows = 8;
    lzw.height = 8;
    row("one strip of all rows and more", lzw, inNineBits(tones(9)), true);
    lzw.height = 5;
    row("a strip has no more rows than the picture", lzw, inNineBits(tones(8)), true);
    lzw.height = kSide;
    const QByteArray first = inNineBits(tones(8));
    QTest::newRow("two strips") << tiff(lzw, first, inNineBits(tones(4))) << false;
    QTest::newRow("a last strip that is filled up") << tiff(lzw, first, first) << false;
    QTest::newRow("a last strip of other rows") << tiff(lzw, first, inNineBits(tones(5))) << true;

    Said counts;
    counts.compression = kPackBits;
    const QByteArray rows = packed(tones());
    QByteArray fewer = rows;
    fewer[0] = static_cast<char>(fewer.at(0) - 1);
    row("counts", counts, rows, false);
    row("counts, padding and nothing", counts, rows + QByteArray(2, '\x80'), false);
    row("a count less, so that tones are counts", counts, fewer, true);
    row("counts for a row more", counts, packed(tones(kSide + 1)), true);
}

void tst_TiffData::strips()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isDamage);
    const QString said = saidOf(bytes);
    QVERIFY2(said.isEmpty() != isDamage, qPrintable(said)); // some sums the reader looks at itself
    QCOMPARE(complaintOfStrips(bytes, 1).isEmpty(), !isDamage);
}

// None that changes a pixel is read without a word.
void tst_TiffData::everyBitOfADeflatedStrip()
{
    Said said;
    said.compression = kDeflate;
    const QByteArray codes = deflated(tones());
    const QImage whole = ImageSource("a.tif", tiff(said, codes), SourceLimits()).read(1, true);
    int told = 0;
    for (int bit = 0; bit < 8 * codes.size(); ++bit) {
        QByteArray flipped = codes;
        flipped[bit / 8] = static_cast<char>(flipped.at(bit / 8) ^ 1 << bit % 8);
        const QByteArray bytes = tiff(said, flipped);
        if (saidOf(bytes).isEmpty())
            QCOMPARE(ImageSource("a.tif", bytes, SourceLimits()).read(1, true), whole);
        else
            ++told;
    }
    QVERIFY(told > 8 * codes.size() - 8); // the last byte of the codes may have bits to spare
}

// The toolkit's own, whose codes get as long as they can.
void tst_TiffData::growingCodes()
{
    const QByteArray bytes = written("tiff", picture(QImage::Format_RGB32, 150, 120), 1, -1, false);
    QCOMPARE(saidOf(bytes), QString());
    QCOMPARE(complaintOfStrips(bytes, 1), QByteArray());
    QCOMPARE(complaintOfStrips(bytes, 2), QByteArray());
}

void tst_TiffData::samples_data()
{
    QTest::addColumn<int>("bits");
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("said");
    const auto row = [](const char *name, int bits, int format, const char *said) {
        QTest::newRow(name) << bits << format << QString::fromLatin1(said);
    };
    row("8 bits", 8, 1, "");
    row("16 bits", 16, 1, "");
    row("8 bits of a format that is not told", 8, 4, "");
    row("32 bits", 32, 1, "a.tif: samples of 32 bits are not read: convert it to 8 or 16 bits");
    row("12 bits", 12, 1, "a.tif: samples of 12 bits are not read: convert it to 8 or 16 bits");
    row("floats", 32, 3,
        "a.tif: samples of 32 bits with a floating point are not read: convert it to 8 or 16 bits");
    row("short floats", 16, 3,
        "a.tif: samples of 16 bits with a floating point are not read: convert it to 8 or 16 bits");
    row("complex numbers", 64, 6,
        "a.tif: samples of 64 bits that are complex numbers are not read: convert it to 8 or 16 "
        "bits");
    row("signs", 16, 2, "the image may be wrong, as its samples have signs, which are not heeded");
}

void tst_TiffData::samples()
{
    QFETCH(int, bits);
    QFETCH(int, format);
    QFETCH(QString, said);
    Said of;
    of.bits = bits;
    of.format = format;
    QCOMPARE(saidOf(tiff(of, QByteArray(kSide * kSide * 8, '\x55'))), said);
}

QTEST_APPLESS_MAIN(tst_TiffData)
#include "tst_tiffdata.moc"
