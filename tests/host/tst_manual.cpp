// (c) the ztrace developers. Licence: see LICENSE.
//
// Every sample of docs/scripting.md is run, and prints what the page says.
#include "HostRun.h"

#include <QtTest>

class tst_Manual : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void samples_data();
    void samples();
    void picturesAreThere();
    void optionTable();

private:
    QString page;
    QTemporaryDir folder;
};

void tst_Manual::initTestCase()
{
    QFile file(QString(ZTRACE_SOURCE_DIR) + "/docs/scripting.md");
    QVERIFY(file.open(QIODevice::ReadOnly));
    page = QString::fromUtf8(file.readAll());
    const tests::HostRun r = tests::runScript(QStringList() << QString(ZTRACE_SOURCE_DIR)
                                                      + "/examples/draw_pictures.js"
                                                            << ".",
                                              folder.path());
    QCOMPARE(r.err, QString());
    QCOMPARE(r.code, 0);
}

void tst_Manual::samples_data()
{
    QTest::addColumn<QString>("sample");
    int line = 1;
    int first = 0;
    QString sample;
    for (const QString &text : page.split('\n')) {
        ++line;
        if (text == "```js") {
            first = line;
            sample.clear();
        } else if (first && text == "```") {
            QTest::newRow(qPrintable(QString("line %1").arg(first))) << sample;
            first = 0;
        } else if (first) {
            sample += text + '\n';
        }
    }
}

void tst_Manual::samples()
{
    QFETCH(QString, sample);
    const QString name = folder.filePath("sample.js");
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(sample.toUtf8());
    file.close();

    const QString mark("// -> ");
    QString expected;
    for (const QString &text : sample.split('\n')) {
        if (text.startsWith(mark))
            expected += text.mid(mark.size()) + '\n';
    }
    const tests::HostRun r = tests::runScript(QStringList(name), folder.path());
    QCOMPARE(r.err, QString());
    QCOMPARE(r.out, expected);
    QCOMPARE(r.code, 0);
}

void tst_Manual::picturesAreThere()
{
    QRegularExpression link("!\\[[^]]*\\]\\(([^)]*)\\)");
    QRegularExpressionMatchIterator it = link.globalMatch(page);
    int count = 0;
    for (; it.hasNext(); ++count) {
        const QString name = it.next().captured(1);
        QVERIFY2(QFile::exists(QString(ZTRACE_SOURCE_DIR) + "/docs/" + name), qPrintable(name));
    }
    QCOMPARE(count, 16);
}

// The table names the options and the defaults of the tracer, neither more nor less.
void tst_Manual::optionTable()
{
    const QStringList known = QStringList() << "monochrome|1"
                                            << "alphathreshold|200"
                                            << "brightnessthreshold|200"
                                            << "numberofcolors|16"
                                            << "colorsampling|1"
                                            << "mincolorratio|0.02"
                                            << "colorquantcycles|3"
                                            << "blurradius|1"
                                            << "blurdelta|2000"
                                            << "pathomit|8"
                                            << "ltres|1"
                                            << "qtres|1";
    QStringList found;
    QRegularExpression row("^\\| `(\\w+)` \\| ([0-9.]+) \\|", QRegularExpression::MultilineOption);
    QRegularExpressionMatchIterator it = row.globalMatch(page);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        found.append(match.captured(1) + '|' + match.captured(2));
    }
    QCOMPARE(found, known);
}

QTEST_GUILESS_MAIN(tst_Manual)
#include "tst_manual.moc"
