// (c) the ztrace developers. Licence: see LICENSE.
//
// The script helpers with a class that has nothing to do with tracing.
#include "ZEcmaHelper.h"

#include <QtTest>

struct Box
{
    int content = 0;
};
struct Unregistered
{
    int content = 0;
};

Q_DECLARE_METATYPE(Box)
Q_DECLARE_METATYPE(Box *)
Q_DECLARE_METATYPE(Unregistered *)

namespace {

QScriptValue seven(QScriptContext *, QScriptEngine *)
{
    return QScriptValue(7);
}

QScriptValue failing(QScriptContext *context, QScriptEngine *)
{
    const QScriptValue first = ZEcmaHelper::throwError("first", context);
    const QScriptValue second = ZEcmaHelper::throwError("second", context);
    return first.isError() && second.isError() ? second : QScriptValue();
}

} // namespace

class tst_EcmaHelper : public QObject
{
    Q_OBJECT

private slots:
    void registeredFunction();
    void raisedError();
    void valueOfAPointer();
    void valueByValue();
    void unregisteredValueName();
    void disguise();
    void standIn();
    void lists();
};

void tst_EcmaHelper::registeredFunction()
{
    QScriptEngine engine;
    QScriptValue proto = engine.newObject();
    ZEcmaHelper::registerFunction(engine, &proto, seven, "seven");
    engine.globalObject().setProperty("o", proto);
    QCOMPARE(engine.evaluate("o.seven()").toInt32(), 7);
    QCOMPARE(engine.evaluate("Object.keys(o).length").toInt32(), 0);
}

void tst_EcmaHelper::raisedError()
{
    QScriptEngine engine;
    engine.globalObject().setProperty("f", engine.newFunction(failing));
    QCOMPARE(engine.evaluate("try { f(); } catch (e) { e instanceof Error ? e.message : '' }")
                 .toString(),
             QString("second"));
}

void tst_EcmaHelper::valueOfAPointer()
{
    QScriptEngine engine;
    Box box;
    const QScriptValue value = engine.newVariant(QVariant::fromValue(&box));
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(value), &box);
    engine.globalObject().setProperty("b", value);
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(engine.evaluate("Object.create(b)")), &box);
    const char *const others[] = { "null", "undefined", "5", "'a'", "({})", "[]", "new Date()" };
    for (const char *other : others)
        QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(engine.evaluate(other)), static_cast<Box *>(0));
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(QScriptValue()), static_cast<Box *>(0));
}

void tst_EcmaHelper::valueByValue()
{
    QScriptEngine engine;
    Box box;
    box.content = 3;
    const QScriptValue value = engine.newVariant(QVariant::fromValue(box));
    Box *inside = ZEcmaHelper::scriptValueTo<Box>(value);
    QVERIFY(inside && inside != &box);
    QCOMPARE(inside->content, 3);
    inside->content = 4;
    QCOMPARE(value.toVariant().value<Box>().content, 4);
}

// The engine's own prototype of variants holds nothing; the toolkit's cast takes it for one of a
// type whose name it does not know.
void tst_EcmaHelper::unregisteredValueName()
{
    QCOMPARE(QMetaType::type("Unregistered"), 0);
    QScriptEngine engine;
    const QScriptValue nothing = engine.newVariant(QVariant());
    QCOMPARE(ZEcmaHelper::scriptValueTo<Unregistered>(nothing), static_cast<Unregistered *>(0));
    QCOMPARE(ZEcmaHelper::scriptValueTo<Unregistered>(nothing.prototype()),
             static_cast<Unregistered *>(0));
    const QScriptValue number = engine.newVariant(QVariant(5));
    QCOMPARE(ZEcmaHelper::scriptValueTo<Unregistered>(number), static_cast<Unregistered *>(0));
}

void tst_EcmaHelper::disguise()
{
    QScriptEngine engine;
    engine.globalObject().setProperty("proto", engine.newVariant(QVariant::fromValue<Box *>(0)));
    engine.globalObject().setProperty("five", engine.newVariant(QVariant(5)));
    engine.evaluate("five.__proto__ = proto");
    QVERIFY(qscriptvalue_cast<Box *>(engine.evaluate("five")) != 0); // what the guard is for
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(engine.evaluate("five")), static_cast<Box *>(0));
}

void tst_EcmaHelper::standIn()
{
    QScriptEngine engine;
    Box box;
    engine.globalObject().setProperty("b", engine.newVariant(QVariant::fromValue(&box)));
    const QString object("({ getBaseClasses: function() { return %1; }, getBox: function() {"
                         " return b; } })");
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(engine.evaluate(object.arg("['My', 'Box']"))), &box);
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(engine.evaluate(object.arg("['Box']"))),
             static_cast<Box *>(0));
    QCOMPARE(ZEcmaHelper::scriptValueTo<Box>(engine.evaluate(object.arg("['', '', 'Box']"))),
             static_cast<Box *>(0));
}

void tst_EcmaHelper::lists()
{
    QScriptEngine engine;
    QList<Box> list;
    for (int i = 0; i < 3; ++i) {
        Box box;
        box.content = i;
        list.append(box);
    }
    const QScriptValue array = ZEcmaHelper::listToScriptValue(&engine, list);
    QVERIFY(array.isArray());
    QCOMPARE(array.property("length").toInt32(), 3);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(array.property(quint32(i)).toVariant().value<Box>().content, i);
    const QScriptValue empty = ZEcmaHelper::listToScriptValue(&engine, QList<Box>());
    QVERIFY(empty.isArray());
    QCOMPARE(empty.property("length").toInt32(), 0);
    QVERIFY(!ZEcmaHelper::listToScriptValue(0, list).isValid());
}

QTEST_GUILESS_MAIN(tst_EcmaHelper)
#include "tst_ecmahelper.moc"
