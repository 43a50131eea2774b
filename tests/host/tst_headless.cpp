// (c) the ztrace developers. Licence: see LICENSE.
//
// The headless host as a program: arguments, plug-in folders, scripts that fail, exit codes.
#include "HostFolder.h"

#include <QImage>
#include <QtTest>

using tests::environment;
typedef tests::HostRun Run;

class tst_Headless : public QObject, private tests::HostFolder
{
    Q_OBJECT

private slots:
    void init() { QVERIFY(prepare()); }
    void scriptRuns();
    void argumentsReachTheScript();
    void wrongUsage_data();
    void wrongUsage();
    void helpAndVersion();
    void imagesThatEndEarlyAreTold();
    void damagedImagesAreTold();
    void missingScript_data();
    void missingScript();
    void missingPluginFolder_data();
    void missingPluginFolder();
    void noPluginIsAnError_data();
    void noPluginIsAnError();
    void lifeCycleOfAPlugin();
    void refusedSiblings_data();
    void refusedSiblings();
    void allSiblingsTogether();
    void uncaughtErrors_data();
    void uncaughtErrors();
    void quitEndsAtOnce_data();
    void quitEndsAtOnce();
    void codesThatNoProcessHas_data();
    void codesThatNoProcessHas();
    void includeIsRelativeAndGlobal();
    void debugLinesOnRequest();
    void runsAreRepeatable();
    void traceImageLeavesRandomNumbers();
};

void tst_Headless::scriptRuns()
{
    const Run r
        = runText("var t = new ZTraceBitmap(); print(t.getClassName(), 1, true); t.destroy()");
    QCOMPARE(r.err, QString());
    QCOMPARE(r.out, QString("ZTraceBitmap 1 true\n"));
    QCOMPARE(r.code, 0);
}

void tst_Headless::argumentsReachTheScript()
{
    const Run r = runText("print(args.length); args.forEach(function(a) { print(a); })",
                          QStringList() << "a b"
                                        << "-plugin" << QString::fromUtf8("\xC3\xA4"));
    QCOMPARE(r.out, QString::fromUtf8("3\na b\n-plugin\n\xC3\xA4\n"));
    QCOMPARE(r.code, 0);
}

void tst_Headless::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("nothing") << QStringList() << "no script given";
    QTest::newRow("unknown option") << QStringList("--plugin") << "cannot make sense of --plugin";
    QTest::newRow("option without value")
        << QStringList("--plugins") << "cannot make sense of --plugins";
    QTest::newRow("seed that is no number") << (QStringList() << "--seed"
                                                              << "x"
                                                              << "a.js")
                                            << "no seed: x";
    QTest::newRow("negative seed") << (QStringList() << "--seed=-1"
                                                     << "a.js")
                                   << "no seed: -1";
    QTest::newRow("folder alone") << (QStringList() << "--plugins"
                                                    << ".")
                                  << "no script given";
}

void tst_Headless::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const Run r = run(arguments);
    QCOMPARE(r.code, 2);
    QCOMPARE(r.out, QString());
    QCOMPARE(r.err.section('\n', 0, 0), "zelvora-headless: " + message);
    QVERIFY(r.err.contains("Usage: "));
}

void tst_Headless::helpAndVersion()
{
    const Run help = run(QStringList("--help"));
    QCOMPARE(help.code, 0);
    QVERIFY(help.out.startsWith("Usage: zelvora-headless [OPTIONS] SCRIPT.js [ARGS...]\n"));
    QCOMPARE(help.err, QString());
    QFile manual(QLatin1String(ZTRACE_SOURCE_DIR "/host/man/zelvora-headless.1"));
    QVERIFY(manual.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(manual.readAll()).remove(QLatin1Char('\\'));
    int options = 0;
    for (const QString &line : help.out.split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1String("  --")))
            continue;
        ++options;
        const QString option = line.trimmed().section(QLatin1Char(' '), 0, 0);
        const QString text = line.mid(18).section(QLatin1Char(';'), 0, 0);
        QVERIFY2(page.contains(option), qPrintable(option));
        QVERIFY2(page.contains(QString(text).replace("C library's", "C library(aqs")),
                 qPrintable(text));
    }
    QCOMPARE(options, 6);
    const Run version = run(QStringList("--version"));
    QCOMPARE(version.code, 0);
    QCOMPARE(version.out, QString("zelvora-headless 3.27.8\n"));
}

void tst_Headless::imagesThatEndEarlyAreTold()
{
    QImage image(40, 40, QImage::Format_RGB32);
    image.fill(Qt::white);
    for (const char *format : { "bmp", "jpg", "xbm" }) {
        const QString name = folder->path() + "/a." + format;
        QVERIFY(image.save(name));
        const QString script = "print(new QImage('" + name + "').width())";
        const Run whole = runText(script);
        QCOMPARE(whole.err, QString());
        QFile file(name);
        QVERIFY(file.resize(file.size() - 3));
        const Run cut = runText(script);
        QCOMPARE(cut.err, "zelvora-headless: " + name + ": the image is incomplete\n");
        QCOMPARE(cut.out, whole.out);
        QCOMPARE(cut.code, 0);
    }
}

void tst_Headless::damagedImagesAreTold()
{
    QImage image(400, 400, QImage::Format_RGB32);
    for (int y = 0; y < 400; ++y) {
        for (int x = 0; x < 400; ++x)
            image.setPixel(x, y, qRgb(x * y % 251, x % 256, y % 256));
    }
    const QString name = folder->path() + "/a.jpg";
    QVERIFY(image.save(name, "jpg", 90));
    QFile file(name);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(file.size() / 2));
    QCOMPARE(file.write(QByteArray("\xFF\xD3\xFF\xD9", 4)), 4LL);
    file.close();
    const Run run = runText("var t = traceImage('" + name
                            + "'); print(t.report.remarks.length);"
                              "new QImage('"
                            + name + "');");
    QCOMPARE(run.err.count("zelvora-headless: " + name + ": the image"), 1);
    QCOMPARE(run.err.count('\n'), 1);
    QVERIFY(run.out.toInt() > 0);
}

void tst_Headless::missingScript_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no such file") << "nothing.js"
                                  << "No such file or directory";
    QTest::newRow("a folder") << "plugins"
                              << "It is a folder";
}

void tst_Headless::missingScript()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const Run r = run(QStringList() << "--plugins" << plugins << name);
    QCOMPARE(r.code, 3);
    QCOMPARE(r.err, QString("zelvora-headless: cannot read the script %1: %2\n").arg(name, reason));
}

void tst_Headless::missingPluginFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("no such folder") << "nothing";
    QTest::newRow("a file") << "script.js";
}

void tst_Headless::missingPluginFolder()
{
    QFETCH(QString, name);
    const QString script = write("script.js", "print(1)");
    const Run r = run(QStringList() << "--plugins=" + name << script);
    QCOMPARE(r.code, 6);
    QCOMPARE(r.out, QString());
    QCOMPARE(r.err, QString("zelvora-headless: no folder of plug-ins: %1\n").arg(name));
}

void tst_Headless::noPluginIsAnError_data()
{
    QTest::addColumn<QString>("sibling");
    QTest::newRow("nothing there") << QString();
    QTest::newRow("all refused") << "unwilling";
}

void tst_Headless::noPluginIsAnError()
{
    QFETCH(QString, sibling);
    QVERIFY(QFile::remove(plugins + "/libztrace.so"));
    QVERIFY(sibling.isEmpty() || !plugIn(sibling).isEmpty());
    const Run r = runText("print(1)");
    QCOMPARE(r.code, 6);
    QVERIFY(!r.out.contains("1\n"));
    QVERIFY2(r.err.endsWith(QString("zelvora-headless: no plug-in in %1\n").arg(plugins)),
             qPrintable(r.err));
}

void tst_Headless::lifeCycleOfAPlugin()
{
    QVERIFY(!plugIn("working").isEmpty());
    const Run r = runText("print(sibling, typeof ZTraceBitmap)");
    QCOMPARE(r.err, QString());
    QCOMPARE(r.out,
             QString("sibling: init\nsibling: initTranslations\nsibling: postInit, all\n"
                     "sibling: initScriptExtensions\ntrue function\n"
                     "sibling: uninit\nsibling: deleted\n"));
    const Run failing = runText("throw new Error('a')");
    QCOMPARE(failing.code, 5);
    QVERIFY2(failing.out.endsWith("sibling: uninit\nsibling: deleted\n"), qPrintable(failing.out));
}

void tst_Headless::refusedSiblings_data()
{
    QTest::addColumn<QString>("sibling");
    QTest::addColumn<QString>("reason");
    QTest::newRow("library without entry point") << "noentry"
                                                 << "Failed to extract plugin meta data";
    QTest::newRow("library that is missing") << "absent"
                                             << "cannot open shared object file";
    QTest::newRow("plug-in of another host")
        << "stranger"
        << "The plug-in does not offer the interface example.zelvora.Zelvora.ZPluginInterface/1.0.";
    QTest::newRow("init says no") << "unwilling"
                                  << "The plug-in could not be initialised.";
    QTest::newRow("text file") << "notes.txt"
                               << "is not an ELF object";
    QTest::newRow("text file named as a library") << "libtext.so"
                                                  << "is not an ELF object";
    QTest::newRow("empty file") << "libempty.so"
                                << "";
}

void tst_Headless::refusedSiblings()
{
    QFETCH(QString, sibling);
    QFETCH(QString, reason);
    QString name;
    if (sibling.contains('.'))
        name = write("plugins/" + sibling, sibling == "libempty.so" ? "" : "just some notes\n");
    else
        name = plugIn(sibling);
    QVERIFY(!name.isEmpty());
    const Run r = runText("var t = new ZTraceBitmap(); t.destroy(); print('ran')");
    QCOMPARE(r.code, 0);
    QVERIFY2(r.out.contains("ran\n"), qPrintable(r.out));
    const QStringList lines = r.err.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.at(0).startsWith("zelvora-headless: plug-in refused: " + name + ": "),
             qPrintable(r.err));
    QVERIFY2(lines.at(0).contains(reason), qPrintable(r.err));
}

void tst_Headless::allSiblingsTogether()
{
    const QStringList names = QStringList() << "absent"
                                            << "noentry"
                                            << "stranger"
                                            << "unwilling"
                                            << "working";
    for (const QString &name : names)
        QVERIFY(!plugIn(name).isEmpty());
    write("plugins/notes.txt", "notes");
    const Run r = runText("var t = new ZTraceBitmap(); t.destroy(); print(sibling)");
    QCOMPARE(r.code, 0);
    QCOMPARE(r.err.count("plug-in refused"), 5);
    QVERIFY(r.out.contains("sibling: postInit, some refused\n"));
    QVERIFY(r.out.contains("true\n"));
}

void tst_Headless::uncaughtErrors_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("text");
    QTest::newRow("thrown error")
        << "function f() {\n  throw new Error('bad');\n}\nf();\n"
        << "script.js:2: Error: bad\n    f() at script.js:2\n    <global>() at script.js:4\n";
    QTest::newRow("native method")
        << "var t = new ZTraceBitmap();\n\nt.trace(42);\n"
        << "script.js:3: Error: Wrong number/types of arguments for ZTraceBitmap.trace().\n"
           "    <global>() at script.js:3\n";
    QTest::newRow("syntax") << "var a = 1;\nvar = 2;\n"
                            << "script.js:2: SyntaxError: Parse error\n";
    QTest::newRow("not an Error") << "throw 'only text'\n"
                                  << "script.js:1: only text\n    <global>() at script.js:1\n";
    QTest::newRow("undefined function")
        << "nothing()\n"
        << "script.js:1: ReferenceError: Can't find variable: nothing\n"
           "    <global>() at script.js:1\n";
}

void tst_Headless::uncaughtErrors()
{
    QFETCH(QString, script);
    QFETCH(QString, text);
    write("script.js", script);
    const Run r = run(QStringList() << "--plugins" << plugins << "script.js");
    QCOMPARE(r.err, text);
    QCOMPARE(r.code, 5);
    QCOMPARE(r.out, QString());
}

void tst_Headless::quitEndsAtOnce_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("code");
    QTest::newRow("without a code") << "quit(); print('after')" << 0;
    QTest::newRow("with a code") << "quit(7); print('after')" << 7;
    QTest::newRow("the largest code") << "quit(255)" << 255;
    QTest::newRow("no catch stops it")
        << "try { quit(3); print('after') } catch (e) { print(e) } finally { print('finally') }"
        << 3;
    QTest::newRow("in a callback") << "[1, 2].forEach(function() { quit(4); print('after') })" << 4;
    QTest::newRow("in an included file") << "include('quit.js'); print('after')" << 9;
    QTest::newRow("before an error") << "quit(1); throw new Error('after')" << 1;
}

void tst_Headless::quitEndsAtOnce()
{
    QFETCH(QString, script);
    QFETCH(int, code);
    write("quit.js", "quit(9); print('after')");
    const Run r = runText(script);
    QCOMPARE(r.out, QString());
    QCOMPARE(r.err, QString());
    QCOMPARE(r.code, code);
}

void tst_Headless::codesThatNoProcessHas_data()
{
    QTest::addColumn<QString>("code");
    const char *const codes[] = { "256", "300", "-1", "1.5", "NaN", "Infinity" };
    for (const char *code : codes)
        QTest::newRow(code) << code;
}

// The system keeps the lowest eight bits: quit(256) would look like success.
void tst_Headless::codesThatNoProcessHas()
{
    QFETCH(QString, code);
    const Run r = runText(QString("quit(%1)").arg(code));
    QCOMPARE(r.code, 5);
    QVERIFY2(r.err.contains("quit(): The code is a whole number from 0 to 255."),
             qPrintable(r.err));
}

void tst_Headless::includeIsRelativeAndGlobal()
{
    write("lib/a.js", "var fromA = 1; include('b.js'); function twice(x) { return 2 * x; }");
    write("lib/b.js", "var fromB = 2;");
    const Run r = runText("function load() { include('lib/a.js'); } load();"
                          "print(fromA, fromB, twice(21));");
    QCOMPARE(r.err, QString());
    QCOMPARE(r.out, QString("1 2 42\n"));

    const Run missing = runText("try { include('none.js'); } catch (e) { print(e.message); }");
    QCOMPARE(missing.out, QString("include(): none.js: No such file or directory\n"));
    write("broken.js", "\nthrow new Error('inside');\n");
    const Run broken = runText("include('broken.js')");
    QCOMPARE(broken.code, 5);
    QVERIFY2(broken.err.contains("broken.js:2: Error: inside\n"), qPrintable(broken.err));
}

void tst_Headless::debugLinesOnRequest()
{
    const QString script = write("script.js", "new ZTraceBitmap().destroy()");
    QCOMPARE(run(QStringList() << "--plugins" << plugins << script).err, QString());
    const Run r = run(QStringList() << "--verbose"
                                    << "--plugins" << plugins << script);
    QCOMPARE(r.err.count("tuples:"), 16);
    QCOMPARE(r.err.count("lines:"), 1);
}

// A random start palette from a picture of many colours tells seeds apart.
void tst_Headless::runsAreRepeatable()
{
    const QString script
        = write("script.js",
                "var img = new QImage(48, 48);"
                "for (var y = 0; y < 48; ++y) for (var x = 0; x < 48; ++x)"
                " img.setPixel(x, y, 0xff000000 + x * 5 * 65536 + y * 5 * 256 + ((x * y) & 255));"
                "var t = new ZTraceBitmap(); t.setOption('monochrome', 0);"
                "t.trace(img).forEach(function(p) { print(p, p.getLength()); }); t.destroy();");
    const QStringList base = QStringList() << "--plugins" << plugins;
    const Run one = run(QStringList(base) << script);
    QVERIFY(!one.out.isEmpty());
    QCOMPARE(run(QStringList(base) << script).out, one.out);
    QCOMPARE(run(QStringList(base) << "--seed"
                                   << "1" << script)
                 .out,
             one.out);
    const Run two = run(QStringList(base) << "--seed=2" << script);
    QCOMPARE(run(QStringList(base) << "--seed"
                                   << "2" << script)
                 .out,
             two.out);
    QVERIFY(two.out != one.out);
}

void tst_Headless::traceImageLeavesRandomNumbers()
{
    const QString text
        = "var img = new QImage(48, 48);"
          "for (var y = 0; y < 48; ++y) for (var x = 0; x < 48; ++x)"
          " img.setPixel(x, y, 0xff000000 + x * 5 * 65536 + y * 5 * 256 + ((x * y) & 255));"
          "if (args[0] === 'between') traceImage(img, { preset: 'photo', seed: 7 });"
          "var t = new ZTraceBitmap(); t.setOption('monochrome', 0);"
          "t.trace(img).forEach(function(p) { print(p, p.getLength()); }); t.destroy();";
    const Run alone = runText(text);
    QVERIFY2(!alone.out.isEmpty(), qPrintable(alone.err));
    QCOMPARE(runText(text, QStringList("between")).out, alone.out);
}

QTEST_GUILESS_MAIN(tst_Headless)
#include "tst_headless.moc"
