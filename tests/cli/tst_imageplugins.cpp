// (c) the ztrace developers. Licence: see LICENSE.
//
// When the toolkit's plug-ins for images are looked for.
#include "cli/imageplugins.h"
#include "cli/source.h"

#include <QImageReader>
#include <QTemporaryDir>
#include <QtTest>

using namespace ztrace;

class tst_ImagePlugins : public QObject
{
    Q_OBJECT

private slots:
    void init() { postponeImagePlugins(); }
    void cleanup() { useImagePlugins(); }

    void onlyOtherFormatsNeedThem_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<bool>("needed");
        QTest::newRow("PNG") << QByteArray("png") << false;
        QTest::newRow("JPEG") << QByteArray("jpeg") << true;
        QTest::newRow("a portable format") << QByteArray("ppm") << true;
    }
    void onlyOtherFormatsNeedThem()
    {
        QFETCH(QByteArray, format);
        QFETCH(bool, needed);
        const QString file = written(format);
        postponeImagePlugins();
        const ImageSource source(QFile::encodeName(file).toStdString(), SourceLimits());
        QCOMPARE(source.read(1, true).size(), QSize(3, 2));
        QCOMPARE(QCoreApplication::libraryPaths().isEmpty(), !needed);
    }

    void oncePutOffTheyAreStillFound()
    {
        QVERIFY(QCoreApplication::libraryPaths().isEmpty());
        useImagePlugins();
        QVERIFY(QImageReader::supportedImageFormats().contains("jpeg"));
    }

    void puttingOffTwiceForgetsNothing()
    {
        postponeImagePlugins();
        useImagePlugins();
        QVERIFY(!QCoreApplication::libraryPaths().isEmpty());
    }

private:
    // Writers need them as well.
    QString written(const QByteArray &format)
    {
        useImagePlugins();
        QImage image(3, 2, QImage::Format_RGB32);
        image.fill(Qt::red);
        const QString file = folder.filePath(QString::fromLatin1(format));
        return image.save(file, format.constData()) ? file : QString();
    }

    QTemporaryDir folder;
};

QTEST_GUILESS_MAIN(tst_ImagePlugins)
#include "tst_imageplugins.moc"
