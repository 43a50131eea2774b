// (c) the ztrace developers. Licence: see LICENSE.
//
// The script class as a script sees it: constructor, methods, results and error texts.
#include "ScriptRig.h"

#include "ZPolyline.h"

#include <QtTest>

#include <cstdlib>

using tests::ScriptRig;

namespace {

int tuplesLines = 0;

void countTuples(QtMsgType, const QMessageLogContext &, const QString &text)
{
    if (text.startsWith(QLatin1String("tuples:")))
        ++tuplesLines;
}

} // namespace

class tst_TraceClass : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { tests::silenceDebugLines(); }

    void constructorNeedsNew_data();
    void constructorNeedsNew();
    void constructorTakesNoArguments();
    void newMakesAnObjectOfTheClass();
    void constructorIsAPropertyOfLengthTwo();
    void globalIsNotEnumerated();
    void prototypeHasSevenMethods();
    void prototypePassedInIsUsed();
    void toStringGivesTheAddress();
    void classNameAndBaseClasses();
    void nativeCallsWithoutEngine();
    void setOptionStoresTheNumber();
    void setOptionArguments_data();
    void setOptionArguments();
    void traceReturnsPolylines();
    void traceReadsAFile();
    void traceOfAnUnreadableFileIsEmpty();
    void traceLeavesTheImage();
    void preprocessChangesTheImage();
    void imageArguments_data();
    void imageArguments();
    void getSelfShellRaisesForToString();
};

void tst_TraceClass::constructorNeedsNew_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("plain call") << "ZTraceBitmap()";
    QTest::newRow("with arguments") << "ZTraceBitmap(1, 2)";
    QTest::newRow("through this") << "this.ZTraceBitmap()";
    QTest::newRow("detached") << "(0, ZTraceBitmap)()";
    QTest::newRow("as a callback") << "[1].forEach(ZTraceBitmap)";
    QTest::newRow("call with null") << "ZTraceBitmap.call(null)";
    QTest::newRow("in eval") << "eval('ZTraceBitmap()')";
    QTest::newRow("in a function") << "(function() { return ZTraceBitmap(); })()";
}

void tst_TraceClass::constructorNeedsNew()
{
    QFETCH(QString, script);
    const QString text("!ZTraceBitmap(): Did you forget to construct with 'new'?");
    ScriptRig plain;
    QCOMPARE(plain.run(script), text);
    ScriptRig custom(ScriptRig::OwnGlobals);
    QCOMPARE(custom.run(script), text);
}

void tst_TraceClass::constructorTakesNoArguments()
{
    ScriptRig rig;
    tests::silenceDebugLines();
    QLoggingCategory::setFilterRules(QLatin1String("default.debug=true"));
    const QtMessageHandler before = qInstallMessageHandler(countTuples);
    tuplesLines = 0;
    const QString one = rig.run("new ZTraceBitmap(1)");
    const QString undefined = rig.run("new ZTraceBitmap(undefined)");
    const int afterRefusals = tuplesLines;
    const QString made = rig.run("var t = new ZTraceBitmap; typeof t");
    const int afterOne = tuplesLines;
    qInstallMessageHandler(before);
    tests::silenceDebugLines();

    QCOMPARE(one, QString("!ZTraceBitmap(): no matching constructor found."));
    QCOMPARE(undefined, one);
    QCOMPARE(made, QString("object"));
    QCOMPARE(afterRefusals, 0);
    QCOMPARE(afterOne, 16);
    rig.run("t.destroy()");
}

void tst_TraceClass::newMakesAnObjectOfTheClass()
{
    ScriptRig rig;
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); t instanceof ZTraceBitmap"), QString("true"));
    QCOMPARE(rig.run("t.constructor === ZTraceBitmap"), QString("true"));
    QCOMPARE(rig.run("Object.getPrototypeOf(t) === ZTraceBitmap.prototype"), QString("true"));
    QCOMPARE(rig.run("t === t.valueOf()"), QString("true"));
    QVERIFY(rig.run("var u = new ZTraceBitmap(); u.toString()") != rig.run("t.toString()"));
    QCOMPARE(rig.run("t.destroy()"), QString("undefined"));
    QCOMPARE(rig.run("u.destroy()"), QString("undefined"));
}

void tst_TraceClass::constructorIsAPropertyOfLengthTwo()
{
    ScriptRig rig;
    QCOMPARE(rig.run("typeof ZTraceBitmap"), QString("function"));
    QCOMPARE(rig.run("ZTraceBitmap.length"), QString("2"));
    QCOMPARE(rig.run("ZTraceBitmap.prototype.constructor === ZTraceBitmap"), QString("true"));
}

void tst_TraceClass::globalIsNotEnumerated()
{
    const QString list("var names = []; for (var name in this) names.push(name); names.join()");
    ScriptRig rig(ScriptRig::OwnGlobals);
    QCOMPARE(rig.run(list), QString("names,name"));
    QCOMPARE(rig.run("Object.keys(this).indexOf('ZTraceBitmap')"), QString("-1"));
}

void tst_TraceClass::prototypeHasSevenMethods()
{
    ScriptRig rig;
    QCOMPARE(
        rig.run("Object.getOwnPropertyNames(ZTraceBitmap.prototype).sort().join()"),
        QString("constructor,destroy,getBaseClasses,getClassName,preprocess,setOption,toString,"
                "trace"));
    // Any pointer of the type gets the methods, whoever made it.
    ZTraceBitmap tracer;
    rig.setTracer("native", &tracer);
    QCOMPARE(rig.run("native.getClassName()"), QString("ZTraceBitmap"));
    QCOMPARE(rig.run("native instanceof ZTraceBitmap"), QString("true"));
}

void tst_TraceClass::prototypePassedInIsUsed()
{
    QScriptEngine engine;
    QScriptValue proto = engine.newObject();
    proto.setProperty("mark", 7);
    ZEcmaTraceBitmap::initEcma(engine, &proto);
    QCOMPARE(engine.evaluate("ZTraceBitmap.prototype.mark").toInt32(), 7);
    QCOMPARE(engine.evaluate("var t = new ZTraceBitmap(); t.mark + t.getClassName()").toString(),
             QString("7ZTraceBitmap"));
    engine.evaluate("t.destroy()");
    QVERIFY(proto.property("trace").isFunction());
}

void tst_TraceClass::toStringGivesTheAddress()
{
    ScriptRig rig;
    ZTraceBitmap tracer;
    rig.setTracer("t", &tracer);
    const QString expected = QString("ZTraceBitmap(0x%1)").arg(quint64(quintptr(&tracer)), 0, 16);
    QCOMPARE(rig.run("t.toString()"), expected);
    QCOMPARE(rig.run("'' + t"), expected);
    QCOMPARE(expected, expected.toLower().replace("ztracebitmap", "ZTraceBitmap"));
}

void tst_TraceClass::classNameAndBaseClasses()
{
    ScriptRig rig;
    const QString names("[{}, null, 5, 'a', ZTraceBitmap.prototype].map(function(o) {"
                        " return ZTraceBitmap.prototype.getClassName.call(o); }).join()");
    QCOMPARE(rig.run(names),
             QString("ZTraceBitmap,ZTraceBitmap,ZTraceBitmap,ZTraceBitmap,ZTraceBitmap"));
    QCOMPARE(rig.run("var b = ZTraceBitmap.prototype.getBaseClasses.call({});"
                     "Array.isArray(b) + ' ' + b.length"),
             QString("true 0"));
}

void tst_TraceClass::nativeCallsWithoutEngine()
{
    QVERIFY(!ZEcmaTraceBitmap::getClassName(0, 0).isValid());
    QVERIFY(!ZEcmaTraceBitmap::getBaseClasses(0, 0).isValid());
}

void tst_TraceClass::setOptionStoresTheNumber()
{
    ScriptRig rig;
    ZTraceBitmap tracer;
    rig.setTracer("t", &tracer);
    QCOMPARE(rig.run("t.setOption('ltres', 2)"), QString("undefined"));
    QCOMPARE(tracer.options.value("ltres"), 2.0);
    QCOMPARE(rig.run("t.setOption('ltres', -0.25)"), QString("undefined"));
    QCOMPARE(tracer.options.value("ltres"), -0.25);
    QCOMPARE(tracer.options.size(), 12);
    QCOMPARE(rig.run("t.setOption('nosuchoption', 5)"), QString("undefined"));
    QCOMPARE(tracer.options.value("nosuchoption"), 5.0);
    QCOMPARE(tracer.options.size(), 13);
    QCOMPARE(rig.run("t.setOption('', NaN)"), QString("undefined"));
    QVERIFY(tracer.options.contains(QString()));
    QVERIFY(qIsNaN(tracer.options.value("")));
}

void tst_TraceClass::setOptionArguments_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::newRow("none") << "";
    QTest::newRow("name alone") << "'ltres'";
    QTest::newRow("three") << "'ltres', 2, 3";
    QTest::newRow("number as name") << "1, 2";
    QTest::newRow("text as value") << "'ltres', '2'";
    QTest::newRow("boolean as value") << "'ltres', true";
    QTest::newRow("null as value") << "'ltres', null";
    QTest::newRow("undefined as value") << "'ltres', undefined";
    QTest::newRow("String object as name") << "new String('ltres'), 2";
    QTest::newRow("Number object as value") << "'ltres', new Number(2)";
    QTest::newRow("swapped") << "2, 'ltres'";
}

void tst_TraceClass::setOptionArguments()
{
    QFETCH(QString, arguments);
    ScriptRig rig;
    ZTraceBitmap tracer;
    const QMap<QString, double> before = tracer.options;
    rig.setTracer("t", &tracer);
    QCOMPARE(rig.run(QString("t.setOption(%1)").arg(arguments)),
             QString("!Wrong number/types of arguments for ZTraceBitmap.setOption()."));
    QCOMPARE(tracer.options, before);
}

void tst_TraceClass::traceReturnsPolylines()
{
    QImage image = tests::squareImage();
    ScriptRig rig;
    rig.setImage("img", &image);
    rig.run("var t = new ZTraceBitmap(); t.setOption('monochrome', 0);"
            "t.setOption('numberofcolors', 2); t.setOption('colorsampling', 0);");
    std::srand(7);
    const QScriptValue list = rig.engine.evaluate("t.trace(img)");
    QVERIFY(list.isArray());

    ZTraceBitmap tracer;
    tracer.setOption("monochrome", 0);
    tracer.setOption("numberofcolors", 2);
    tracer.setOption("colorsampling", 0);
    std::srand(7);
    const QList<ZPolyline> expected = tracer.trace(image);
    QVERIFY(!expected.isEmpty());
    QCOMPARE(list.property("length").toInt32(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        const QVariant variant = list.property(quint32(i)).toVariant();
        QCOMPARE(variant.typeName(), "ZPolyline");
        QVERIFY(variant.value<ZPolyline>() == expected.at(i));
    }
    rig.run("t.destroy()");
}

void tst_TraceClass::traceReadsAFile()
{
    QTemporaryDir folder;
    const QString name = folder.filePath("square.png");
    QVERIFY(tests::squareImage().save(name));
    QImage image(name);
    ScriptRig rig;
    rig.setImage("img", &image);
    rig.set("name", name);
    rig.run("function tracer() { var t = new ZTraceBitmap(); t.setOption('colorsampling', 0);"
            " t.setOption('monochrome', 0); t.setOption('mincolorratio', 0);"
            " t.setOption('numberofcolors', 8); return t; }" // no random entries
            "var a = tracer(), b = tracer();");
    std::srand(7); // the tracer draws colours; the script engine has seeded from the clock
    const QScriptValue fromFile = rig.engine.evaluate("a.trace(name)");
    std::srand(7);
    const QScriptValue fromImage = rig.engine.evaluate("b.trace(img)");
    QVERIFY(fromFile.property("length").toInt32() > 0);
    QCOMPARE(fromFile.property("length").toInt32(), fromImage.property("length").toInt32());
    for (quint32 i = 0; i < fromFile.property("length").toUInt32(); ++i) {
        QVERIFY(fromFile.property(i).toVariant().value<ZPolyline>()
                == fromImage.property(i).toVariant().value<ZPolyline>());
    }
    rig.run("a.destroy(); b.destroy()");
}

void tst_TraceClass::traceOfAnUnreadableFileIsEmpty()
{
    ScriptRig rig;
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); var r = t.trace('no such file.png');"
                     "Array.isArray(r) + ' ' + r.length"),
             QString("true 0"));
    QCOMPARE(rig.run("t.trace('').length"), QString("0"));
    rig.run("t.destroy()");
}

void tst_TraceClass::traceLeavesTheImage()
{
    QImage image = tests::squareImage();
    const QImage before = image.copy();
    ScriptRig rig;
    rig.setImage("img", &image);
    rig.run("var t = new ZTraceBitmap(); t.trace(img); t.destroy()");
    QCOMPARE(image, before);
}

void tst_TraceClass::preprocessChangesTheImage()
{
    QImage image = tests::squareImage();
    ScriptRig rig;
    rig.setImage("img", &image);
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); t.setOption('alphathreshold', 255);"
                     "t.preprocess(img)"),
             QString("undefined"));
    QCOMPARE(image.pixel(0, 0), 0xFF000000u);
    QCOMPARE(image.pixel(12, 12), 0xFFFFFFFFu);

    const QImage before = image.copy();
    QCOMPARE(rig.run("t.setOption('monochrome', 0); t.preprocess(img)"), QString("undefined"));
    QCOMPARE(image, before);
    rig.run("t.destroy()");
}

void tst_TraceClass::imageArguments_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("trace");
    QTest::addColumn<QString>("preprocess");
    const QString none("!ZTraceBitmap: Argument 0 is not of type QImage*.");
    const QString trace("!Wrong number/types of arguments for ZTraceBitmap.trace().");
    const QString pre("!Wrong number/types of arguments for ZTraceBitmap.preprocess().");
    QTest::newRow("none") << "" << trace << pre;
    QTest::newRow("undefined") << "undefined" << trace << pre;
    QTest::newRow("number") << "42" << trace << pre;
    QTest::newRow("boolean") << "true" << trace << pre;
    QTest::newRow("plain object") << "{}" << trace << pre;
    QTest::newRow("array") << "[]" << trace << pre;
    QTest::newRow("array of an image") << "[byPointer]" << trace << pre;
    QTest::newRow("function") << "function() {}" << trace << pre;
    QTest::newRow("Date") << "new Date()" << trace << pre;
    QTest::newRow("RegExp") << "/a/" << trace << pre;
    QTest::newRow("String object") << "new String('a.png')" << trace << pre;
    QTest::newRow("object inheriting from an image") << "Object.create(byPointer)" << trace << pre;
    QTest::newRow("destroyed tracer") << "gone" << trace << pre;
    QTest::newRow("two images") << "byPointer, byPointer" << trace << pre;
    QTest::newRow("image and undefined") << "byPointer, undefined" << trace << pre;
    QTest::newRow("two names") << "'a.png', 'b.png'" << trace << pre;
    QTest::newRow("null") << "null" << none << none;
    QTest::newRow("QObject") << "object" << none << none;
    QTest::newRow("variant of a number") << "number" << none << none;
    QTest::newRow("variant of a text") << "text" << none << none;
    QTest::newRow("variant of nothing") << "nothing" << none << none;
    QTest::newRow("null image pointer") << "nullPointer" << none << none;
    QTest::newRow("a tracer") << "t" << none << none;
    QTest::newRow("a tracer's prototype") << "ZTraceBitmap.prototype" << none << none;
    QTest::newRow("image by pointer") << "byPointer"
                                      << "ok"
                                      << "undefined";
    QTest::newRow("image by value") << "byValue"
                                    << "ok"
                                    << "undefined";
    QTest::newRow("file name") << "'no such file.png'"
                               << "ok" << pre;
}

void tst_TraceClass::imageArguments()
{
    QFETCH(QString, arguments);
    QFETCH(QString, trace);
    QFETCH(QString, preprocess);
    QImage image = tests::squareImage();
    ZTraceBitmap tracer;
    ScriptRig rig;
    rig.setTracer("t", &tracer);
    rig.setImage("byPointer", &image);
    rig.setImage("nullPointer", 0);
    rig.set("byValue", rig.engine.newVariant(QVariant(image)));
    rig.set("object", rig.engine.newQObject(this));
    rig.set("number", rig.engine.newVariant(QVariant(5)));
    rig.set("text", rig.engine.newVariant(QVariant("a.png")));
    rig.set("nothing", rig.engine.newVariant(QVariant()));
    rig.run("var gone = new ZTraceBitmap(); gone.destroy()");

    QCOMPARE(rig.run(QString("Array.isArray(t.trace(%1)) ? 'ok' : 'no array'").arg(arguments)),
             trace);
    QCOMPARE(rig.run(QString("t.preprocess(%1)").arg(arguments)), preprocess);
}

namespace {

QScriptValue askShell(QScriptContext *context, QScriptEngine *)
{
    const QString name = context->argument(0).toString();
    return QScriptValue(ZEcmaTraceBitmap::getSelfShell(name, context) != 0);
}

} // namespace

void tst_TraceClass::getSelfShellRaisesForToString()
{
    ScriptRig rig;
    ZTraceBitmap tracer;
    rig.setTracer("t", &tracer);
    rig.set("ask", rig.engine.newFunction(askShell));
    QCOMPARE(rig.run("ask.call(t, 'toString')"), QString("true"));
    QCOMPARE(rig.run("ask.call({}, 'toString')"),
             QString("!ZTraceBitmap.toString(): This object is not a ZTraceBitmap"));
    QCOMPARE(rig.run("ask.call({}, 'trace')"),
             QString("!ZTraceBitmap.trace(): This object is not a ZTraceBitmap"));
}

QTEST_GUILESS_MAIN(tst_TraceClass)
#include "tst_traceclass.moc"
