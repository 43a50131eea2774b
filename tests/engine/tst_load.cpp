// (c) the ztrace developers. Licence: see LICENSE.
//
// Pixels of an image of any format into the tracer, and image points into drawing points.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QTemporaryDir>
#include <QtTest>

using ztrace::CaughtMessages;
using ztrace::difference;

class tst_Load : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void threeByTwoImageHas24Elements();
    void opaqueRedIsStoredAsSignedBytes();
    void channelsStandInTheOrderOfTheLayout();
    void everyFormatGivesWhatPixelGives_data();
    void everyFormatGivesWhatPixelGives();
    void rowsOfAForeignBufferMayBePadded();
    void loadingReplacesTheImageBefore();
    void fileGivesItsImage();
    void fileTypeIsFoundFromItsContent();
    void unreadableFileIsAnEmptyImage_data();
    void unreadableFileIsAnEmptyImage();
    void imageIsNotChanged();
    void transformFlipsY();
    void transformKeepsTheValidityFlag();
    void twoDebugLines();
};

namespace {

// What QImage::pixel says, in the tracer's layout.
QVector<char> bytesByPixel(const QImage &image)
{
    QVector<char> bytes;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = image.pixel(x, y);
            bytes << char(qRed(word)) << char(qGreen(word)) << char(qBlue(word))
                  << char(qAlpha(word));
        }
    }
    return bytes;
}

} // namespace

void tst_Load::threeByTwoImageHas24Elements()
{
    ztrace::Picture picture = ztrace::uniformPicture(3, 2, 0xFF000000u);
    picture.at(2, 1) = 0x12000000u;
    ZTraceBitmap tracer;
    tracer.setOption("monochrome", 0);
    tracer.setOption("blurradius", 0);
    tracer.trace(picture.toImage());
    QCOMPARE(tracer.imageData.size(), 24);
    QCOMPARE(int(tracer.imageData.at(23)), 0x12);
    QCOMPARE(int(tracer.imageData.at(19)), -1);
}

void tst_Load::opaqueRedIsStoredAsSignedBytes()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(1, 1, 0xFFFF0000u).toImage());
    QCOMPARE(tracer.imageData, QVector<char>({ -1, 0, 0, -1 }));
}

void tst_Load::channelsStandInTheOrderOfTheLayout()
{
    ztrace::Picture picture = ztrace::uniformPicture(3, 2);
    for (std::size_t i = 0; i < 6; ++i)
        picture.words[i] = 0x04010203u + 0x08080808u * static_cast<std::uint32_t>(i);
    ZTraceBitmap tracer;
    tracer.loadImageData(picture.toImage());
    QCOMPARE(tracer.imageWidth, 3);
    QCOMPARE(tracer.imageHeight, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 4; ++c)
                QCOMPARE(int(tracer.imageData.at(4 * (y * 3 + x) + c)), 8 * (y * 3 + x) + c + 1);
}

void tst_Load::everyFormatGivesWhatPixelGives_data()
{
    QTest::addColumn<int>("format");
    for (int format = QImage::Format_Invalid + 1; format < QImage::NImageFormats; ++format)
        QTest::addRow("format %d", format) << format;
}

void tst_Load::everyFormatGivesWhatPixelGives()
{
    QFETCH(int, format);
    ztrace::Random random(static_cast<quint64>(format));
    for (int round = 0; round < 20; ++round) {
        const QImage source = ztrace::randomPicture(random, 40).toImage();
        QImage image = source.convertToFormat(static_cast<QImage::Format>(format));
        ZTraceBitmap tracer;
        tracer.loadImageData(image);
        QCOMPARE(difference(tracer.imageData, bytesByPixel(image)), QString());

        // And with bytes that no conversion made.
        if (image.depth() != 32 && image.depth() != 24 && image.depth() != 16)
            continue;
        for (int y = 0; y < image.height(); ++y) {
            uchar *line = image.scanLine(y);
            for (int i = 0; i < image.width() * image.depth() / 8; ++i)
                line[i] = static_cast<uchar>(random.below(256));
        }
        tracer.loadImageData(image);
        QCOMPARE(difference(tracer.imageData, bytesByPixel(image)), QString());
    }
}

void tst_Load::rowsOfAForeignBufferMayBePadded()
{
    const uchar buffer[] = { 1, 2, 3, 4, 9, 9, 9, 9, 5, 6, 7, 8, 9, 9, 9, 9 };
    const QImage image(buffer, 1, 2, 8, QImage::Format_ARGB32);
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    QCOMPARE(tracer.imageData, bytesByPixel(image));
    QCOMPARE(tracer.imageData.size(), 8);
}

void tst_Load::loadingReplacesTheImageBefore()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(5, 7).toImage());
    tracer.loadImageData(ztrace::uniformPicture(2, 3, 0x01020304u).toImage());
    QCOMPARE(tracer.imageWidth, 2);
    QCOMPARE(tracer.imageHeight, 3);
    QCOMPARE(tracer.imageData.size(), 24);
    QCOMPARE(tracer.imageData.mid(20), QVector<char>({ 2, 3, 4, 1 }));
}

void tst_Load::fileGivesItsImage()
{
    const QTemporaryDir folder;
    const QString name = folder.filePath("image.png");
    ztrace::Random random(3);
    const QImage image = ztrace::randomPicture(random, 20).toImage();
    QVERIFY(image.save(name));

    ZTraceBitmap fromImage;
    fromImage.loadImageData(image);
    ZTraceBitmap fromFile;
    fromFile.loadImageData(name);
    QCOMPARE(fromFile.imageWidth, image.width());
    QCOMPARE(fromFile.imageHeight, image.height());
    QCOMPARE(difference(fromFile.imageData, fromImage.imageData), QString());
}

void tst_Load::fileTypeIsFoundFromItsContent()
{
    const QTemporaryDir folder;
    const QString name = folder.filePath("portable-graphic.jpg");
    QVERIFY(ztrace::uniformPicture(4, 2, 0xFF123456u).toImage().save(name, "PNG"));
    ZTraceBitmap tracer;
    tracer.loadImageData(name);
    QCOMPARE(tracer.imageData.mid(0, 4), QVector<char>({ 0x12, 0x34, 0x56, -1 }));
}

void tst_Load::unreadableFileIsAnEmptyImage_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("no such file") << "/nowhere/no-such-file.png";
    QTest::newRow("empty name") << "";
    QTest::newRow("a directory") << "/";
    QTest::newRow("not an image") << QString(ZTRACE_SOURCE_DIR) + "/CMakeLists.txt";
}

void tst_Load::unreadableFileIsAnEmptyImage()
{
    QFETCH(QString, name);
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(5, 7).toImage());
    tracer.loadImageData(name);
    QCOMPARE(tracer.imageWidth, 0);
    QCOMPARE(tracer.imageHeight, 0);
    QVERIFY(tracer.imageData.isEmpty());
}

void tst_Load::imageIsNotChanged()
{
    ztrace::Random random(5);
    const QImage image = ztrace::randomPicture(random, 20).toImage();
    const QImage before = image.copy();
    const uchar *bits = image.constBits();
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    QCOMPARE(image, before);
    QVERIFY(image.constBits() == bits);
}

void tst_Load::transformFlipsY()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(ztrace::uniformPicture(2, 50).toImage());
    const ZVector point = tracer.transform(ZVector(10, 3, 0, true));
    QCOMPARE(difference(point, ZVector(10, 47, 0, true)), QString());
    const ZVector other = tracer.transform(ZVector(-1.5, 60.25, 8.5, true));
    QCOMPARE(difference(other, ZVector(-1.5, -10.25, 8.5, true)), QString());
}

void tst_Load::transformKeepsTheValidityFlag()
{
    ZTraceBitmap tracer;
    tracer.imageHeight = 50;
    QCOMPARE(tracer.transform(ZVector(10, 3, 0, false)).valid, false);
    QCOMPARE(tracer.transform(ZVector(10, 3, 0, true)).valid, true);
}

void tst_Load::twoDebugLines()
{
    ZTraceBitmap tracer;
    const QImage image = ztrace::uniformPicture(3, 3, 0xFFFFFFFFu).toImage();
    const CaughtMessages messages;
    tracer.loadImageData(image);
    QCOMPARE(messages.lines(), QStringList({ "b: 0", "w: 0" }));
    tracer.loadImageData(QImage());
    QCOMPARE(messages.lines(), QStringList({ "b: 0", "w: 0", "b: 0", "w: 0" }));
}

QTEST_GUILESS_MAIN(tst_Load)
#include "tst_load.moc"
