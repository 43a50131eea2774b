// (c) the ztrace developers. Licence: see LICENSE.
//
// Which runs need the toolkit's fonts.
#include "cli/toolkit.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace ztrace;

class tst_Toolkit : public QObject
{
    Q_OBJECT

private slots:
    void fileToWriteNeedsNoFonts_data()
    {
        QTest::addColumn<QList<QByteArray>>("before");
        QTest::addColumn<bool>("fonts");
        QTest::newRow("-o") << QList<QByteArray> { "-o" } << false;
        QTest::newRow("--output") << QList<QByteArray> { "--output" } << false;
        QTest::newRow("an input") << QList<QByteArray> {} << true;
        QTest::newRow("an input behind --") << QList<QByteArray> { "--", "-o" } << true;
    }
    void fileToWriteNeedsNoFonts()
    {
        QFETCH(QList<QByteArray>, before);
        QFETCH(bool, fonts);
        QTemporaryDir folder;
        const QByteArray input = folder.filePath("a.png").toLocal8Bit();
        const QByteArray output = folder.filePath("a.svg").toLocal8Bit();
        const std::pair<QByteArray, const char *> files[]
            = { { input, "\x89PNG\r\n\x1a\n" }, { output, "<svg/>" } };
        for (const auto &content : files) {
            QFile file(content.first);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content.second);
        }
        std::vector<const char *> argv = { "ztrace", input.constData() };
        for (const QByteArray &word : before)
            argv.push_back(word.constData());
        argv.push_back(output.constData());
        QCOMPARE(needsFonts(static_cast<int>(argv.size()), argv.data()), fonts);
    }

    void optionsAloneReadNothing()
    {
        const char *const version[] = { "ztrace", "--version" };
        QVERIFY(!needsFonts(2, version));
        const char *const nothing[] = { "ztrace" };
        QVERIFY(!needsFonts(1, nothing));
        const char *const standardInput[] = { "ztrace", "--layers", "-" };
        QVERIFY(needsFonts(3, standardInput));
    }

    void fontsAreForWhatMayHoldText_data()
    {
        QTest::addColumn<QList<QByteArray>>("contents");
        QTest::addColumn<bool>("fonts");
        const QByteArray png = "\x89PNG\r\n\x1a\n";
        QTest::newRow("a PNG") << QList<QByteArray> { png } << false;
        QTest::newRow("a JPEG") << QList<QByteArray> { "\xFF\xD8\xFF\xE0" } << false;
        QTest::newRow("a TIFF") << QList<QByteArray> { QByteArray("MM\0*", 4) } << false;
        QTest::newRow("a drawing as JSON") << QList<QByteArray> { "{\"format\":" } << false;
        QTest::newRow("an SVG") << QList<QByteArray> { "<svg/>" } << true;
        QTest::newRow("a packed SVG") << QList<QByteArray> { "\x1f\x8b\x08" } << true;
        QTest::newRow("an empty file") << QList<QByteArray> { "" } << true;
        QTest::newRow("a PNG and an SVG") << QList<QByteArray> { png, " <svg/>" } << true;
        QTest::newRow("no file, as for standard input") << QList<QByteArray> {} << true;
    }
    void fontsAreForWhatMayHoldText()
    {
        QFETCH(QList<QByteArray>, contents);
        QFETCH(bool, fonts);
        QTemporaryDir folder;
        std::vector<QByteArray> names = { "ztrace", "--colors", "8" };
        for (const QByteArray &content : contents) {
            QFile file(folder.filePath(QString::number(names.size())));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
            names.push_back(file.fileName().toLocal8Bit());
        }
        std::vector<const char *> argv;
        for (const QByteArray &name : names)
            argv.push_back(name.constData());
        QCOMPARE(needsFonts(static_cast<int>(argv.size()), argv.data()), fonts);
    }
};

QTEST_GUILESS_MAIN(tst_Toolkit)
#include "tst_toolkit.moc"
