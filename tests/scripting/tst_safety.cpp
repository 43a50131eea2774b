// (c) the ztrace developers. Licence: see LICENSE.
//
// What a script can do that nobody meant: it may get errors, but the process must live and no
// memory may be lost or touched after its end.
#include "ScriptRig.h"

#include "ZPolyline.h"
#include "conversions.h"
#include "support/heap.h"

#include <QtTest>

#include <cstdlib>
#include <new>

using tests::ScriptRig;

namespace {

bool refusesTracers = false;

} // namespace

// Stands in for memory that runs out when a tracer is made.
void *operator new(std::size_t size)
{
    void *const memory
        = refusesTracers && size == sizeof(ZTraceBitmap) ? nullptr : std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

class tst_Safety : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { tests::silenceDebugLines(); }

    void prototypeIsNoTracer();
    void variantWithoutPrototypeOfItsOwn();
    void firstObjectIsDeadAfterDestroyThrough_data();
    void firstObjectIsDeadAfterDestroyThrough();
    void addressOfARetiredTracerIsNotReused();
    void hostTracerAtAFreedAddressIsAlive();
    void getterThatDestroys();
    void callOnAnObjectKeepsNoTracer_data();
    void callOnAnObjectKeepsNoTracer();
    void callOnOtherValuesWorks_data();
    void callOnOtherValuesWorks();
    void disguisedVariants_data();
    void disguisedVariants();
    void secondVariantOfADestroyedTracer();
    void recursionThroughOwnMethods_data();
    void recursionThroughOwnMethods();
    void lookUpsWorkAgainAfterTooManyInsideEachOther();
    void outOfMemoryIsAScriptError();
    void roundsDoNotGrow();
};

// The prototype's own prototype is the toolkit's variant of nothing, which the toolkit takes for a
// tracer at a junk address as long as the name "ZTraceBitmap" is unknown to it.
void tst_Safety::prototypeIsNoTracer()
{
    ScriptRig rig;
    QCOMPARE(rig.run("ZTraceBitmap.prototype.toString()"), QString("ZTraceBitmap(0x0)"));
    QCOMPARE(rig.run("ZTraceBitmap.prototype.destroy()"), QString("!self is NULL"));
    QCOMPARE(rig.run("ZTraceBitmap.prototype.setOption('ltres', 1)"), QString("!self is NULL"));
    QCOMPARE(rig.run("ZTraceBitmap.prototype.trace(null)"), QString("!self is NULL"));
    QCOMPARE(rig.run("typeof ZTraceBitmap.prototype.trace"), QString("function"));
    QVERIFY(QMetaType::type("ZTraceBitmap") != 0);
}

void tst_Safety::variantWithoutPrototypeOfItsOwn()
{
    ScriptRig rig;
    QImage image = tests::squareImage();
    rig.setImage("img", &image);
    rig.run("img.destroy = ZTraceBitmap.prototype.destroy;"
            "img.toText = ZTraceBitmap.prototype.toString");
    QCOMPARE(rig.run("img.toText()"), QString("ZTraceBitmap(0x0)"));
    QCOMPARE(rig.run("img.destroy()"), QString("!self is NULL"));
}

void tst_Safety::firstObjectIsDeadAfterDestroyThrough_data()
{
    QTest::addColumn<QString>("other");
    QTest::newRow("an inheriting object") << "Object.create(t)";
    QTest::newRow("an object made by new")
        << "(function() { function F() {} F.prototype = t; return new F(); })()";
    QTest::newRow("a stand-in")
        << "({ getBaseClasses: function() { return ['', 'T']; }, getT: function() { return t; } })";
}

void tst_Safety::firstObjectIsDeadAfterDestroyThrough()
{
    QFETCH(QString, other);
    ScriptRig rig;
    rig.run("var t = new ZTraceBitmap(); var o = " + other
            + "; var o2 = Object.create(t); var p = ZTraceBitmap.prototype");
    QCOMPARE(rig.run("p.destroy.call(o)"), QString("undefined"));
    QCOMPARE(rig.run("t.setOption('ltres', 2)"), QString("!self is NULL"));
    QCOMPARE(rig.run("t.trace('')"), QString("!self is NULL"));
    QCOMPARE(rig.run("t.preprocess(null)"), QString("!self is NULL"));
    QCOMPARE(rig.run("t.toString()"), QString("ZTraceBitmap(0x0)"));
    QCOMPARE(rig.run("o2.setOption('ltres', 2)"), QString("!self is NULL"));
    QCOMPARE(rig.run("p.toString.call(o)"), QString("ZTraceBitmap(0x0)"));
    QCOMPARE(rig.run("t.destroy()"), QString("!self is NULL"));
    QCOMPARE(rig.run("p.destroy.call(o2)"), QString("!self is NULL"));
}

void tst_Safety::addressOfARetiredTracerIsNotReused()
{
    ScriptRig rig;
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); Object.create(t).destroy(); var clash = 0;"
                     "for (var i = 0; i < 200; ++i) { var n = new ZTraceBitmap();"
                     " if (t.toString() !== 'ZTraceBitmap(0x0)') ++clash;"
                     " if (n.toString() === 'ZTraceBitmap(0x0)') ++clash; n.destroy(); } clash"),
             QString("0"));
}

// The allocator likes to give the same address again at once.
void tst_Safety::hostTracerAtAFreedAddressIsAlive()
{
    ScriptRig rig;
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(rig.run("var a = new ZTraceBitmap(); a.destroy()"), QString("undefined"));
        ZTraceBitmap *tracer = new ZTraceBitmap;
        rig.setTracer("t", tracer);
        QCOMPARE(rig.run("t.setOption('ltres', 7)"), QString("undefined"));
        QCOMPARE(tracer->options.value("ltres"), 7.0);
        QCOMPARE(rig.run("t.destroy()"), QString("undefined"));
    }
}

void tst_Safety::getterThatDestroys()
{
    ScriptRig rig;
    rig.run("var t = new ZTraceBitmap(); var o = {"
            " getBaseClasses: function() { return ['', 'T']; },"
            " getT: function() { t.destroy(); return t; } }");
    QCOMPARE(rig.run("ZTraceBitmap.prototype.setOption.call(o, 'ltres', 1)"),
             QString("!self is NULL"));
}

void tst_Safety::callOnAnObjectKeepsNoTracer_data()
{
    QTest::addColumn<QString>("object");
    QTest::newRow("plain object") << "{}";
    QTest::newRow("array") << "[]";
    QTest::newRow("function") << "ZTraceBitmap";
    QTest::newRow("Date") << "new Date()";
}

void tst_Safety::callOnAnObjectKeepsNoTracer()
{
    QFETCH(QString, object);
    ScriptRig rig;
    const QString call = QString("ZTraceBitmap.call(%1)").arg(object);
    QCOMPARE(rig.run(call), QString("undefined"));

    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &) {}); // the toolkit's warnings
    const QString many = QString("for (var i = 0; i < 300; ++i) %1;").arg(call);
    rig.run(many);
    rig.engine.collectGarbage();
    const size_t start = tests::allocatedBytes();
    rig.run(many);
    rig.engine.collectGarbage();
    const size_t end = tests::allocatedBytes();
    qInstallMessageHandler(before);
    // A tracer's tables take 20 KB and more: 300 lost ones would be megabytes.
    QVERIFY2(end < start + 300000, qPrintable(QString("%1 -> %2").arg(start).arg(end)));
}

void tst_Safety::callOnOtherValuesWorks_data()
{
    QTest::addColumn<QString>("object");
    QTest::newRow("undefined") << "undefined";
    QTest::newRow("number") << "5";
    QTest::newRow("text") << "'a'";
    QTest::newRow("boolean") << "true";
}

// `this` is then no object, or the global one: an error, or a tracer that works.
void tst_Safety::callOnOtherValuesWorks()
{
    QFETCH(QString, object);
    ScriptRig rig;
    const QString text = rig.run(QString("var t = ZTraceBitmap.call(%1); typeof t").arg(object));
    if (text.startsWith('!')) {
        QCOMPARE(text, QString("!ZTraceBitmap(): Did you forget to construct with 'new'?"));
        return;
    }
    QCOMPARE(text, QString("object"));
    QCOMPARE(rig.run("t.setOption('ltres', 1)"), QString("undefined"));
    QCOMPARE(rig.run("t.destroy()"), QString("undefined"));
}

void tst_Safety::disguisedVariants_data()
{
    QTest::addColumn<QString>("script");
    const QString image("ZTraceBitmap: Argument 0 is not of type QImage*.");
    QTest::newRow("image as this") << "img.__proto__ = ZTraceBitmap.prototype; img.trace('')";
    QTest::newRow("polyline as this")
        << "line.__proto__ = ZTraceBitmap.prototype; line.setOption('ltres', 1)";
    QTest::newRow("polyline destroyed")
        << "line.__proto__ = ZTraceBitmap.prototype; line.destroy()";
    QTest::newRow("number as this")
        << "number.__proto__ = ZTraceBitmap.prototype; number.trace('')";
    QTest::newRow("inheriting from one")
        << "img.__proto__ = ZTraceBitmap.prototype; Object.create(img).trace('')";
    QTest::newRow("through a getter")
        << "img.__proto__ = ZTraceBitmap.prototype; ZTraceBitmap.prototype.trace.call("
           "{ getBaseClasses: function() { return ['', 'X']; }, getX: function() { return img; } },"
           " '')";
    QTest::newRow("polyline as an image") << "line.__proto__ = imgProto; t.trace(line)";
    QTest::newRow("tracer as an image") << "t.__proto__ = imgProto; p.trace.call(t, t)";
    QTest::newRow("tracer to preprocess") << "t.__proto__ = imgProto; p.preprocess.call(t, t)";
    QTest::newRow("nothing as this")
        << "nothing.__proto__ = ZTraceBitmap.prototype; nothing.setOption('ltres', 1)";
    QTest::newRow("nothing destroyed")
        << "nothing.__proto__ = ZTraceBitmap.prototype; nothing.destroy()";
    QTest::newRow("nothing as an image") << "nothing.__proto__ = imgProto; t.trace(nothing)";
    QTest::newRow("nothing to preprocess") << "nothing.__proto__ = imgProto; t.preprocess(nothing)";
}

void tst_Safety::disguisedVariants()
{
    QFETCH(QString, script);
    QImage image = tests::squareImage();
    ZTraceBitmap tracer;
    ScriptRig rig;
    rig.setTracer("t", &tracer);
    rig.setImage("img", &image);
    rig.setImage("imgProto", 0);
    rig.set("number", rig.engine.newVariant(QVariant(5)));
    rig.set("nothing", rig.engine.newVariant(QVariant()));
    rig.set("line", rig.engine.newVariant(QVariant::fromValue(ZPolyline())));
    rig.run("var p = ZTraceBitmap.prototype");
    const QString text = rig.run(script);
    QVERIFY2(text == "!self is NULL" || text == "!ZTraceBitmap: Argument 0 is not of type QImage*.",
             qPrintable(text));
}

// The toolkit makes a second variant object of a pointer that passes through a QVariant.
void tst_Safety::secondVariantOfADestroyedTracer()
{
    ScriptRig rig;
    rig.run("var first = new ZTraceBitmap()");
    rig.set("second", rig.engine.newVariant(rig.engine.evaluate("first").toVariant()));
    QCOMPARE(rig.run("second.setOption('ltres', 2); first.toString() == second.toString()"),
             QString("true"));
    rig.run("first.destroy()");
    QCOMPARE(rig.run("second.setOption('ltres', 2)"), QString("!self is NULL"));
    QCOMPARE(rig.run("second.toString()"), QString("ZTraceBitmap(0x0)"));
    QCOMPARE(rig.run("second.destroy()"), QString("!self is NULL"));
}

// Methods of the tracer that call each other by way of the look-up of `this`: no script runs in
// between, so the engine does not see how deep they are.
void tst_Safety::recursionThroughOwnMethods_data()
{
    const QString tooDeep("!ZTraceBitmap.toString(): Too many calls inside each other");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");
    QTest::newRow("toString") << "o.getBaseClasses = p.toString; p.toString.call(o)" << tooDeep;
    const char *const names[] = { "trace", "setOption", "preprocess", "destroy" };
    for (const char *name : names) {
        QTest::newRow(name)
            << QString("o.getBaseClasses = p.%1; p.%1.call(o)").arg(QLatin1String(name))
            << "!self is NULL";
    }
    QTest::newRow("a getter") << "o.__defineGetter__('getBaseClasses', p.toString);"
                                 "p.toString.call(o)"
                              << tooDeep;
    QTest::newRow("a native getter") << "o.getBaseClasses = function() { return ['', 'A'] };"
                                        "o.getA = p.toString; p.toString.call(o)"
                                     << tooDeep;
    QTest::newRow("many getters, each level going down again")
        << "o.getBaseClasses = function() { return ['', 'A', 'A', 'A', 'A'] };"
           "o.getA = p.toString; p.toString.call(o)"
        << tooDeep;
    QTest::newRow("a name that is asked for its text")
        << "o.getBaseClasses = function() { return [o, o, o] }; o.toString = p.toString;"
           "p.toString.call(o)"
        << tooDeep;
    QTest::newRow("the error caught on the way")
        << "o.getBaseClasses = function() {"
           "  try { return p.toString.call(o) } catch (e) { return [e, e, e] } };"
           "o.getError = p.trace; p.toString.call(o)"
        << "";
}

void tst_Safety::recursionThroughOwnMethods()
{
    QFETCH(QString, script);
    QFETCH(QString, result);
    ScriptRig rig;
    const QString got = rig.run("var p = ZTraceBitmap.prototype; var o = {};" + script);
    if (!result.isEmpty())
        QCOMPARE(got, result);
}

void tst_Safety::lookUpsWorkAgainAfterTooManyInsideEachOther()
{
    ScriptRig rig;
    rig.run("var p = ZTraceBitmap.prototype; var o = { getBaseClasses: p.toString };"
            "p.toString.call(o)");
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); var s = { getBaseClasses: function() { return"
                     " ['', 'T'] }, getT: function() { return t } };"
                     "p.setOption.call(s, 'ltres', 2); p.destroy.call(s)"),
             QString("undefined"));
}

void tst_Safety::outOfMemoryIsAScriptError()
{
    ScriptRig rig;
    refusesTracers = true;
    const QString text
        = rig.run("var kept = []; for (var i = 0; i < 100; ++i) kept.push(new ZTraceBitmap())");
    refusesTracers = false;
    QCOMPARE(text, QString("!ZTraceBitmap: There is not enough memory."));
    QCOMPARE(rig.run("kept.forEach(function(t) { t.destroy() }); new ZTraceBitmap().destroy()"),
             QString("undefined"));
}

void tst_Safety::roundsDoNotGrow()
{
    QImage image = tests::squareImage(12);
    ScriptRig rig;
    rig.setImage("img", &image);
    rig.run("function round() { var t = new ZTraceBitmap(); t.setOption('monochrome', 0);"
            " t.setOption('numberofcolors', 2); t.setOption('colorquantcycles', 1);"
            " t.trace(img); t.destroy(); }"
            "function rounds(n) { for (var i = 0; i < n; ++i) round(); return n; }");
    QCOMPARE(rig.run("rounds(1000)"), QString("1000"));
    rig.engine.collectGarbage();
    const size_t start = tests::allocatedBytes();
    QCOMPARE(rig.run("rounds(10000)"), QString("10000"));
    rig.engine.collectGarbage();
    const size_t end = tests::allocatedBytes();
    // 10,000 rounds that lost 16 bytes each would show.
    QVERIFY2(end < start + 160000, qPrintable(QString("%1 -> %2").arg(start).arg(end)));
}

QTEST_GUILESS_MAIN(tst_Safety)
#include "tst_safety.moc"
