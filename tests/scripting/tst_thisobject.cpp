// (c) the ztrace developers. Licence: see LICENSE.
//
// Every method on every kind of `this`: which tracer it finds, and which errors it raises, in
// order.
//
// The helper that raises errors is defined here and takes the place of the library's, so that the
// first of two errors in one call can be seen: a script only ever catches the second.
#include "ScriptRig.h"

#include "ZEcmaHelper.h"

#include <QtTest>

using tests::ScriptRig;

namespace {

QStringList raised;

} // namespace

QScriptValue ZEcmaHelper::throwError(const QString &message, QScriptContext *context)
{
    raised.append(message);
    return context->throwError(message);
}

class tst_ThisObject : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { tests::silenceDebugLines(); }

    void errorsInOrder_data();
    void errorsInOrder();
    void kinds_data();
    void kinds();
    void selfIsResolvedBeforeTheArguments();
    void destroyStripsTheObject();
    void destroyLeavesTheOthers();
    void destroyIgnoresArguments();
};

void tst_ThisObject::errorsInOrder_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("first");
    QTest::newRow("setOption") << "setOption.call({}, 'ltres', 1)"
                               << "setOption";
    QTest::newRow("trace") << "trace.call({}, 'a.png')"
                           << "trace";
    QTest::newRow("preprocess") << "preprocess.call({}, null)"
                                << "preprocess";
    QTest::newRow("destroy names the class") << "destroy.call({})"
                                             << "ZTraceBitmap";
}

void tst_ThisObject::errorsInOrder()
{
    QFETCH(QString, call);
    QFETCH(QString, first);
    ScriptRig rig;
    raised.clear();
    QCOMPARE(rig.run("ZTraceBitmap.prototype." + call), QString("!self is NULL"));
    QCOMPARE(raised,
             QStringList() << "ZTraceBitmap." + first + "(): This object is not a ZTraceBitmap"
                           << "self is NULL");
}

void tst_ThisObject::kinds_data()
{
    QTest::addColumn<QString>("object");
    QTest::addColumn<bool>("leadsToTracer");
    QTest::newRow("plain object") << "({})" << false;
    QTest::newRow("array") << "[]" << false;
    QTest::newRow("array of a tracer") << "[t]" << false;
    QTest::newRow("function") << "(function() {})" << false;
    QTest::newRow("the constructor") << "ZTraceBitmap" << false;
    QTest::newRow("Date") << "new Date()" << false;
    QTest::newRow("RegExp") << "/a/" << false;
    QTest::newRow("Error") << "new Error('a')" << false;
    QTest::newRow("number") << "5" << false;
    QTest::newRow("text") << "'a'" << false;
    QTest::newRow("boolean") << "true" << false;
    QTest::newRow("null, so the global object") << "null" << false;
    QTest::newRow("undefined, so the global object") << "undefined" << false;
    QTest::newRow("QObject") << "object" << false;
    QTest::newRow("variant of a number") << "number" << false;
    QTest::newRow("variant of a text") << "text" << false;
    QTest::newRow("variant of nothing") << "nothing" << false;
    QTest::newRow("image by pointer") << "img" << false;
    QTest::newRow("image by value") << "byValue" << false;
    QTest::newRow("null tracer pointer") << "nullTracer" << false;
    QTest::newRow("the prototype") << "ZTraceBitmap.prototype" << false;
    QTest::newRow("object inheriting from the prototype")
        << "Object.create(ZTraceBitmap.prototype)" << false;
    QTest::newRow("object without prototype") << "Object.create(null)" << false;
    QTest::newRow("object inheriting at two removes") << "Object.create(Object.create(t))" << false;
    QTest::newRow("destroyed tracer") << "gone" << false;
    QTest::newRow("object inheriting from a destroyed tracer") << "Object.create(gone)" << false;
    QTest::newRow("tracer") << "t" << true;
    QTest::newRow("object inheriting from a tracer") << "Object.create(t)" << true;
    QTest::newRow("new object of a function with a tracer as prototype")
        << "(function() { function F() {} F.prototype = t; return new F(); })()" << true;
    QTest::newRow("stand-in with a getter")
        << "({ getBaseClasses: function() { return ['A', 'ZTraceBitmap']; },"
           " getZTraceBitmap: function() { return t; } })"
        << true;
}

void tst_ThisObject::kinds()
{
    QFETCH(QString, object);
    QFETCH(bool, leadsToTracer);
    QImage image = tests::squareImage();
    ZTraceBitmap tracer;
    ScriptRig rig;
    rig.setTracer("t", &tracer);
    rig.setTracer("nullTracer", 0);
    rig.setImage("img", &image);
    rig.set("byValue", rig.engine.newVariant(QVariant(image)));
    rig.set("object", rig.engine.newQObject(this));
    rig.set("number", rig.engine.newVariant(QVariant(5)));
    rig.set("text", rig.engine.newVariant(QVariant("a")));
    rig.set("nothing", rig.engine.newVariant(QVariant()));
    rig.run("var gone = new ZTraceBitmap(); gone.destroy(); var p = ZTraceBitmap.prototype;"
            "var o = "
            + object + ";");

    const QString null("!self is NULL");
    QCOMPARE(rig.run("p.setOption.call(o, 'ltres', 3)"), leadsToTracer ? "undefined" : null);
    QCOMPARE(tracer.options.value("ltres"), leadsToTracer ? 3.0 : 1.0);
    QCOMPARE(rig.run("p.trace.call(o, '').length"), leadsToTracer ? "0" : null);
    QCOMPARE(rig.run("p.preprocess.call(o, img)"), leadsToTracer ? "undefined" : null);
    QCOMPARE(
        rig.run("p.toString.call(o)"),
        QString("ZTraceBitmap(0x%1)").arg(leadsToTracer ? quint64(quintptr(&tracer)) : 0, 0, 16));
    QCOMPARE(rig.run("p.getClassName.call(o)"), QString("ZTraceBitmap"));
    QCOMPARE(rig.run("p.getBaseClasses.call(o).length"), QString("0"));
    if (!leadsToTracer)
        QCOMPARE(rig.run("p.destroy.call(o)"), null);
}

void tst_ThisObject::selfIsResolvedBeforeTheArguments()
{
    ScriptRig rig;
    raised.clear();
    QCOMPARE(rig.run("ZTraceBitmap.prototype.trace.call({})"), QString("!self is NULL"));
    QCOMPARE(raised.size(), 2);
    raised.clear();
    ZTraceBitmap tracer;
    rig.setTracer("t", &tracer);
    QCOMPARE(rig.run("t.trace()"),
             QString("!Wrong number/types of arguments for ZTraceBitmap.trace()."));
    QCOMPARE(raised.size(), 1);
}

void tst_ThisObject::destroyStripsTheObject()
{
    ScriptRig rig;
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); t.destroy()"), QString("undefined"));
    QCOMPARE(rig.run("typeof t"), QString("object"));
    QCOMPARE(rig.run("typeof t.trace + typeof t.setOption + typeof t.destroy + typeof t.toString"),
             QString("undefinedundefinedundefinedundefined"));
    QCOMPARE(rig.run("Object.getPrototypeOf(t)"), QString("null"));
    QCOMPARE(rig.run("t instanceof ZTraceBitmap"), QString("false"));
    QVERIFY(!rig.engine.globalObject().property("t").isVariant());
    QCOMPARE(rig.run("ZTraceBitmap.prototype.toString.call(t)"), QString("ZTraceBitmap(0x0)"));
    QCOMPARE(rig.run("ZTraceBitmap.prototype.destroy.call(t)"), QString("!self is NULL"));
    QVERIFY(rig.run("t.destroy()").startsWith('!'));
}

void tst_ThisObject::destroyLeavesTheOthers()
{
    ScriptRig rig;
    rig.run("var a = new ZTraceBitmap(), b = new ZTraceBitmap(); a.destroy();");
    QCOMPARE(rig.run("b.setOption('ltres', 2)"), QString("undefined"));
    QCOMPARE(rig.run("var c = new ZTraceBitmap(); c.setOption('ltres', 2)"), QString("undefined"));
    QCOMPARE(rig.run("typeof ZTraceBitmap.prototype.trace"), QString("function"));
    QVERIFY(
        rig.engine.globalObject().property("ZTraceBitmap").property("prototype").data().isNull());
    rig.run("b.destroy(); c.destroy();");
}

void tst_ThisObject::destroyIgnoresArguments()
{
    ScriptRig rig;
    QCOMPARE(rig.run("var t = new ZTraceBitmap(); t.destroy(1, 'a', {})"), QString("undefined"));
    QCOMPARE(rig.run("typeof t.trace"), QString("undefined"));
}

QTEST_GUILESS_MAIN(tst_ThisObject)
#include "tst_thisobject.moc"
