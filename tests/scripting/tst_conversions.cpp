// (c) the ztrace developers. Licence: see LICENSE.
//
// Script values to tracers and images, and lists of polylines to arrays.
#include "ScriptRig.h"

#include "ZPolyline.h"
#include "conversions.h"

#include <QtTest>

using tests::ScriptRig;

class tst_Conversions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { tests::silenceDebugLines(); }

    void typeNames();
    void tracerFromScript_data();
    void tracerFromScript();
    void gettersAreAskedInOrder();
    void getterIsCalledOnTheObject();
    void errorOfAGetterStaysPending();
    void imageFromScript_data();
    void imageFromScript();
    void imageByValueIsTheScriptsOwn();
    void listKeepsOrderAndLength();
    void listElementsAreCopies();
    void listWithoutEngineIsInvalid();
    void pointersAreNotOwned();
};

void tst_Conversions::typeNames()
{
    ScriptRig rig;
    QCOMPARE(QMetaType::type("ZTraceBitmap*"), ztrace::tracerType());
    QCOMPARE(QMetaType::typeName(ztrace::tracerType()), "ZTraceBitmap*");
    QCOMPARE(qMetaTypeId<ZTraceBitmap *>(), ztrace::tracerType());
    QVERIFY(ztrace::tracerType() >= int(QMetaType::User));
}

void tst_Conversions::tracerFromScript_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("found");
    const QString standIn("({ getBaseClasses: function() { return %1; },"
                          " getZTraceBitmap: function() { return t; },"
                          " getA: function() { return 5; },"
                          " getOther: function() { return {}; } })");
    QTest::newRow("tracer") << "t" << true;
    QTest::newRow("plain object") << "({})" << false;
    QTest::newRow("null") << "null" << false;
    QTest::newRow("undefined") << "undefined" << false;
    QTest::newRow("number") << "17" << false;
    QTest::newRow("inheriting") << "Object.create(t)" << true;
    QTest::newRow("inheriting at two removes") << "Object.create(Object.create(t))" << false;
    QTest::newRow("class at index 1") << standIn.arg("['A', 'ZTraceBitmap']") << true;
    QTest::newRow("index 0 is never asked") << standIn.arg("['ZTraceBitmap']") << false;
    QTest::newRow("class at index 3") << standIn.arg("['A', 'A', 'Other', 'ZTraceBitmap']") << true;
    QTest::newRow("empty text ends the list") << standIn.arg("['A', '', 'ZTraceBitmap']") << false;
    QTest::newRow("missing entry ends the list") << standIn.arg("['A', , 'ZTraceBitmap']") << false;
    QTest::newRow("undefined does not end it")
        << standIn.arg("['A', undefined, 'ZTraceBitmap']") << true;
    QTest::newRow("entry without a getter") << standIn.arg("['A', 'None', 'ZTraceBitmap']") << true;
    QTest::newRow("empty list") << standIn.arg("[]") << false;
    QTest::newRow("no list") << standIn.arg("5") << false;
    QTest::newRow("list is undefined") << standIn.arg("undefined") << false;
    QTest::newRow("an object for a list") << standIn.arg("({ 1: 'ZTraceBitmap' })") << true;
    QTest::newRow("getBaseClasses is no function")
        << "({ getBaseClasses: ['A', 'ZTraceBitmap'], getZTraceBitmap: function() { return t; } })"
        << false;
    QTest::newRow("no getBaseClasses")
        << "({ getZTraceBitmap: function() { return t; } })" << false;
    QTest::newRow("getter gives an inheriting object")
        << "({ getBaseClasses: function() { return ['A', 'X']; },"
           " getX: function() { return Object.create(t); } })"
        << false;
    QTest::newRow("methods inherited from a prototype")
        << "Object.create({ getBaseClasses: function() { return ['A', 'X']; },"
           " getX: function() { return t; } })"
        << true;
    QTest::newRow("own empty list of the class")
        << "Object.create(ZTraceBitmap.prototype)" << false;
}

void tst_Conversions::tracerFromScript()
{
    QFETCH(QString, value);
    QFETCH(bool, found);
    ScriptRig rig;
    ZTraceBitmap tracer;
    rig.setTracer("t", &tracer);
    const QScriptValue script = rig.engine.evaluate(value);
    QVERIFY2(!rig.engine.hasUncaughtException(), qPrintable(script.toString()));
    QCOMPARE(ztrace::tracerFromScript(script), found ? &tracer : static_cast<ZTraceBitmap *>(0));
    QVERIFY(!rig.engine.hasUncaughtException());
}

void tst_Conversions::gettersAreAskedInOrder()
{
    ScriptRig rig;
    ZTraceBitmap first;
    ZTraceBitmap second;
    rig.setTracer("first", &first);
    rig.setTracer("second", &second);
    const QScriptValue object = rig.engine.evaluate(
        "var asked = []; ({ getBaseClasses: function() { return ['Z', 'A', 'B', 'C']; },"
        " getZ: function() { asked.push('Z'); return second; },"
        " getA: function() { asked.push('A'); return null; },"
        " getB: function() { asked.push('B'); return first; },"
        " getC: function() { asked.push('C'); return second; } })");
    QCOMPARE(ztrace::tracerFromScript(object), &first);
    QCOMPARE(rig.run("asked.join()"), QString("A,B"));
}

void tst_Conversions::getterIsCalledOnTheObject()
{
    ScriptRig rig;
    ZTraceBitmap tracer;
    rig.setTracer("t", &tracer);
    const QScriptValue object = rig.engine.evaluate(
        "({ mine: t, names: ['A', 'X'],"
        " getBaseClasses: function() { return arguments.length ? [] : this.names; },"
        " getX: function() { return arguments.length ? null : this.mine; } })");
    QCOMPARE(ztrace::tracerFromScript(object), &tracer);
}

void tst_Conversions::errorOfAGetterStaysPending()
{
    ScriptRig rig;
    QCOMPARE(rig.run("ZTraceBitmap.prototype.toString.call("
                     "{ getBaseClasses: function() { throw new Error('mine'); } })"),
             QString("!mine"));
    QCOMPARE(rig.run("ZTraceBitmap.prototype.trace.call("
                     "{ getBaseClasses: function() { throw new Error('mine'); } }, 'a')"),
             QString("!self is NULL"));
}

void tst_Conversions::imageFromScript_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("found");
    QTest::newRow("pointer") << "img" << true;
    QTest::newRow("null pointer") << "nullImage" << false;
    QTest::newRow("null") << "null" << false;
    QTest::newRow("undefined") << "undefined" << false;
    QTest::newRow("number") << "1" << false;
    QTest::newRow("text") << "'a.png'" << false;
    QTest::newRow("object") << "({})" << false;
    QTest::newRow("QObject") << "object" << false;
    QTest::newRow("inheriting") << "Object.create(img)" << false;
    QTest::newRow("variant of nothing") << "nothing" << false;
}

void tst_Conversions::imageFromScript()
{
    QFETCH(QString, value);
    QFETCH(bool, found);
    ScriptRig rig;
    QImage image = tests::squareImage();
    rig.setImage("img", &image);
    rig.setImage("nullImage", 0);
    rig.set("object", rig.engine.newQObject(this));
    rig.set("nothing", rig.engine.newVariant(QVariant()));
    QCOMPARE(ztrace::imageFromScript(rig.engine.evaluate(value)),
             found ? &image : static_cast<QImage *>(0));
}

void tst_Conversions::imageByValueIsTheScriptsOwn()
{
    ScriptRig rig;
    const QImage image = tests::squareImage();
    rig.set("img", rig.engine.newVariant(QVariant(image)));
    const QScriptValue value = rig.engine.evaluate("img");
    QImage *inside = ztrace::imageFromScript(value);
    QVERIFY(inside && inside != &image);
    QCOMPARE(ztrace::imageFromScript(value), inside);
    rig.run("var t = new ZTraceBitmap(); t.preprocess(img); t.destroy()");
    QCOMPARE(value.toVariant().value<QImage>().pixel(0, 0), 0xFF000000u);
    QCOMPARE(image.pixel(0, 0), 0xFFFFFFFFu);
}

namespace {

ZPolyline lineTo(double x)
{
    ZPolyline polyline;
    polyline.appendVertex(ZVector(0.0, 0.0));
    polyline.appendVertex(ZVector(x, 0.0));
    return polyline;
}

} // namespace

void tst_Conversions::listKeepsOrderAndLength()
{
    QScriptEngine engine;
    const QList<ZPolyline> list = QList<ZPolyline>() << lineTo(3) << lineTo(1) << lineTo(2);
    const QScriptValue array = ztrace::polylinesToScript(&engine, list);
    QVERIFY(array.isArray());
    QCOMPARE(array.property("length").toInt32(), 3);
    for (int i = 0; i < 3; ++i) {
        const QScriptValue element = array.property(quint32(i));
        QVERIFY(element.isVariant());
        QCOMPARE(element.toVariant().userType(), QMetaType::type("ZPolyline"));
        QVERIFY(element.toVariant().value<ZPolyline>() == list.at(i));
    }
    const QScriptValue empty = ztrace::polylinesToScript(&engine, QList<ZPolyline>());
    QVERIFY(empty.isArray());
    QCOMPARE(empty.property("length").toInt32(), 0);
}

Q_DECLARE_METATYPE(ZPolyline *)

void tst_Conversions::listElementsAreCopies()
{
    QScriptEngine engine;
    const QList<ZPolyline> list = QList<ZPolyline>() << lineTo(3);
    const QScriptValue array = ztrace::polylinesToScript(&engine, list);
    ZPolyline *inside = qscriptvalue_cast<ZPolyline *>(array.property(0));
    QVERIFY(inside);
    inside->appendVertex(ZVector(9.0, 9.0));
    QCOMPARE(qscriptvalue_cast<ZPolyline *>(array.property(0))->countPieces(), 2);
    QCOMPARE(list.at(0).countPieces(), 1);
}

void tst_Conversions::listWithoutEngineIsInvalid()
{
    QVERIFY(!ztrace::polylinesToScript(0, QList<ZPolyline>() << lineTo(3)).isValid());
    QVERIFY(!ztrace::polylinesToScript(0, QList<ZPolyline>()).isValid());
}

namespace {

int destroyedTracers = 0;

class CountedTracer : public ZTraceBitmap
{
public:
    ~CountedTracer() override { ++destroyedTracers; }
};

} // namespace

void tst_Conversions::pointersAreNotOwned()
{
    destroyedTracers = 0;
    CountedTracer stays;
    {
        ScriptRig rig;
        rig.setTracer("a", &stays);
        rig.run("a = null");
        rig.engine.collectGarbage();
        QCOMPARE(destroyedTracers, 0);
        rig.setTracer("b", new CountedTracer);
        QCOMPARE(rig.run("b.destroy()"), QString("undefined"));
        QCOMPARE(destroyedTracers, 1);
    }
    QCOMPARE(destroyedTracers, 1);
}

QTEST_GUILESS_MAIN(tst_Conversions)
#include "tst_conversions.moc"
