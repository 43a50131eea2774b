// (c) the ztrace developers. Licence: see LICENSE.
//
// The process around the scripts: standard streams, descriptors, memory, disks, the platform.
#include "HostFolder.h"

#include <QImage>
#include <QtTest>

using tests::environment;
typedef tests::HostRun Run;

class tst_HostProcess : public QObject, private tests::HostFolder
{
    Q_OBJECT

private slots:
    void init() { QVERIFY(prepare()); }
    void scriptOfStandardInput();
    void endlessScript();
    void lostOutput_data();
    void lostOutput();
    void readerThatLeaves();
    void slowReaderGetsEverything();
    void closedDescriptors();
    void platformOfTheEnvironment();
    void complaintsOfTheToolkitAreNoEnd();
    void fatalMessageIsShown();
    void noRoomForTheScriptEngine();
    void outOfMemoryIsAScriptError();
    void enginesOwnMemory_data();
    void enginesOwnMemory();
    void imageOnAFullDisk_data();
    void imageOnAFullDisk();
};

void tst_HostProcess::scriptOfStandardInput()
{
    const Run r = shell("echo 'print(args); throw new Error(7)' | \"$0\" --plugins \"$1\" - a -b");
    QCOMPARE(r.out, QString("a,-b\n"));
    QVERIFY2(r.err.startsWith("-:1: Error: 7\n"), qPrintable(r.err));
    QCOMPARE(r.code, 5);
}

void tst_HostProcess::endlessScript()
{
    const Run r = shell("\"$0\" --plugins \"$1\" /dev/zero");
    QCOMPARE(r.err,
             QString("zelvora-headless: cannot read the script /dev/zero: "
                     "It is larger than 64 megabytes\n"));
    QCOMPARE(r.code, 3);
}

void tst_HostProcess::lostOutput_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("to");
    const char *const places[] = { "/dev/full", "&-" };
    for (const char *place : places) {
        QTest::addRow("help to %s", place) << "--help" << place;
        QTest::addRow("version to %s", place) << "--version" << place;
        QTest::addRow("script to %s", place) << "--plugins \"$1\" print.js" << place;
        QTest::addRow("error caught, to %s", place) << "--plugins \"$1\" caught.js" << place;
    }
}

void tst_HostProcess::lostOutput()
{
    QFETCH(QString, arguments);
    QFETCH(QString, to);
    write("print.js", "print(1)");
    write("caught.js", "try { print(1) } catch (e) { }");
    const Run r = shell(QString("\"$0\" %1 >%2").arg(arguments, to));
    QCOMPARE(r.code, 4);
    QVERIFY2(r.err.contains("zelvora-headless: cannot write to standard output: "),
             qPrintable(r.err));
}

// The script learns of it and may go on: what it has to save is saved.
void tst_HostProcess::readerThatLeaves()
{
    write("script.js",
          "var error = null;"
          "try { for (var i = 0; i < 1e6; ++i) print('a line of a long report'); }"
          "catch (e) { error = e }"
          "if (error) new QImage(2, 2).save('saved.png')");
    const Run r = shell("{ \"$0\" --plugins \"$1\" script.js; echo $? >&2; } | true");
    QVERIFY2(r.err.endsWith("\n4\n"), qPrintable(r.err));
    QVERIFY(QFile::exists(folder->filePath("saved.png")));
}

void tst_HostProcess::slowReaderGetsEverything()
{
    write("script.js", "for (var i = 0; i < 20000; ++i) print('a line of a long report', i)");
    // The descriptor that both ends of a pipe share is made non-blocking by the first of them.
    write("run.py",
          "import os, subprocess, sys, time\n"
          "r, w = os.pipe()\n"
          "os.set_blocking(w, False)\n"
          "p = subprocess.Popen(sys.argv[1:], stdout=w)\n"
          "os.close(w)\n"
          "time.sleep(0.2)\n"
          "data = os.fdopen(r, 'rb').read()\n"
          "print(len(data.splitlines()), p.wait())\n");
    const Run r = shell("python3 run.py \"$0\" --plugins \"$1\" script.js");
    QCOMPARE(r.err, QString());
    QCOMPARE(r.out, QString("20000 0\n"));
}

// Else the first file that is opened gets the number of standard error.
void tst_HostProcess::closedDescriptors()
{
    write("script.js",
          "var d = new ZDrawing(); d.setPage(4, 4); d.save(args[0]);"
          "throw new Error('a report')");
    const Run open = shell("\"$0\" --plugins \"$1\" script.js open.svg");
    QCOMPARE(open.code, 5);
    const Run closed = shell("\"$0\" --plugins \"$1\" script.js closed.svg <&- >&- 2>&-");
    QCOMPARE(closed.code, 5);
    QFile expected(folder->filePath("open.svg"));
    QFile got(folder->filePath("closed.svg"));
    QVERIFY(expected.open(QIODevice::ReadOnly) && got.open(QIODevice::ReadOnly));
    QCOMPARE(got.readAll(), expected.readAll());
}

void tst_HostProcess::platformOfTheEnvironment()
{
    write("script.js", "print(1)");
    const Run r = shell("QT_LOGGING_CONF=/dev/zero QT_QPA_PLATFORM=nonsense "
                        "\"$0\" --plugins \"$1\" script.js");
    QCOMPARE(r.err, QString());
    QCOMPARE(r.out, QString("1\n"));
}

// Whatever the environment says of them; this constructor makes the toolkit complain.
void tst_HostProcess::complaintsOfTheToolkitAreNoEnd()
{
    write("script.js", "ZTraceBitmap.call(print); print(1)");
    const Run r
        = shell("QT_FATAL_WARNINGS=1 QT_FATAL_CRITICALS=1 \"$0\" --plugins \"$1\" script.js");
    QVERIFY(r.err.contains("newVariant()"));
    QCOMPARE(r.out, QString("1\n"));
    QCOMPARE(r.code, 0);
}

void tst_HostProcess::fatalMessageIsShown()
{
    QVERIFY(!plugIn("fatal").isEmpty());
    const Run r = runText("print(1)");
    QCOMPARE(r.err, QString("zelvora-headless: nothing goes on\n"));
    QCOMPARE(r.code, 1);
}

void tst_HostProcess::noRoomForTheScriptEngine()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer needs all of the address space for itself");
#endif
    write("script.js", "print(1)");
    const Run r = shell("ulimit -v 1000000; \"$0\" --plugins \"$1\" script.js");
    QVERIFY2(r.err.startsWith("zelvora-headless: there is not enough address space"),
             qPrintable(r.err));
    QCOMPARE(r.code, 1);
}

void tst_HostProcess::outOfMemoryIsAScriptError()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer needs all of the address space for itself");
#endif
    write("script.js",
          "var i = new QImage(8, 8); i.setPixel(3, 3, 0xff000000);"
          "var t = new ZTraceBitmap(); t.setOption('pathomit', 0);"
          "var p = t.trace(i)[0]; var many = []; var d = new ZDrawing();"
          "for (var k = 0; k < 10000; ++k) many.push(p);"
          "try { for (;;) d.addObject(many) } catch (e) { print(e.message) }"
          "for (;;) d.addObject(many)");
    const Run r = shell("ulimit -v 2700000; \"$0\" --plugins \"$1\" script.js");
    QCOMPARE(r.out, QString("There is not enough memory.\n"));
    QVERIFY2(r.err.startsWith("script.js:1: Error: There is not enough memory.\n"),
             qPrintable(r.err));
    QCOMPARE(r.code, 5);
}

void tst_HostProcess::enginesOwnMemory_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("texts")
        << "var a = []; for (;;) a.push(new Array(1000).join('xxxxxxxxxxxx' + a.length))";
    QTest::newRow("images") << "var a = []; for (;;) a.push(new QImage(4000, 4000))";
    QTest::newRow("objects") << "var a = []; for (;;) a.push({ a: a.length, b: [1, 2, 3] })";
}

// The script engine does not look at what it gets: an error in the script, or the end with a line,
// but no signal, neither there nor on the way out.
void tst_HostProcess::enginesOwnMemory()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer needs all of the address space for itself");
#endif
    QFETCH(QString, script);
    write("script.js", script);
    const Run r = shell("ulimit -c 0; ulimit -v 2500000; \"$0\" --plugins \"$1\" script.js");
    QVERIFY2(r.code == 1 || r.code == 5, qPrintable(QString::number(r.code) + r.err));
    QVERIFY(!r.err.isEmpty());
}

void tst_HostProcess::imageOnAFullDisk_data()
{
    QTest::addColumn<QString>("name");
    const char *const endings[] = { "png", "bmp", "jpg", "ppm", "tiff" };
    for (const char *ending : endings)
        QTest::newRow(ending) << QString("old.%1").arg(ending);
}

// A limit on the size of files stands for the disk.
void tst_HostProcess::imageOnAFullDisk()
{
    QFETCH(QString, name);
    write("script.js",
          "var i = new QImage(200, 200);"
          "for (var y = 0; y < 200; ++y) for (var x = 0; x < 200; ++x)"
          " i.setPixel(x, y, 0xff000000 + Math.random() * 0xffffff);"
          "print(i.save(args[0]))");
    write(name, "the old contents");
    const QStringList before = QDir(folder->path()).entryList(QDir::Files);
    const Run r = shell("trap '' XFSZ; ulimit -f 8; \"$0\" --plugins \"$1\" script.js " + name);
    QCOMPARE(r.out, QString("false\n"));
    QFile old(folder->filePath(name));
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), QByteArray("the old contents"));
    QCOMPARE(QDir(folder->path()).entryList(QDir::Files), before);
    const Run enough = shell("\"$0\" --plugins \"$1\" script.js " + name);
    QCOMPARE(enough.out, QString("true\n"));
    QVERIFY(!QImage(folder->filePath(name)).isNull());
}

QTEST_GUILESS_MAIN(tst_HostProcess)
#include "tst_hostprocess.moc"
