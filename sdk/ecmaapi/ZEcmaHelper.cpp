// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaHelper.h"

#include <QByteArray>

namespace {

const int kDeepestLookUp = 64;

thread_local int depth = 0;
// Stays set on the way out: what is called there could otherwise go down again, each level as
// often as it likes.
thread_local bool isOverflowing = false;

} // namespace

ZEcmaHelper::LookUp::LookUp(const QScriptValue &value)
{
    isOverflowing = ++depth > kDeepestLookUp || isOverflowing;
    if (isOverflowing && value.engine())
        value.engine()->currentContext()->throwError(
            QString::fromLatin1("Too many calls inside each other"));
}

ZEcmaHelper::LookUp::~LookUp()
{
    isOverflowing = --depth > 0 && isOverflowing;
}

bool ZEcmaHelper::LookUp::isTooDeep() const
{
    return isOverflowing;
}

void ZEcmaHelper::registerFunction(QScriptEngine &engine, QScriptValue *proto,
                                   QScriptEngine::FunctionSignature function, const char *name)
{
    proto->setProperty(QLatin1String(name), engine.newFunction(function),
                       QScriptValue::SkipInEnumeration);
}

QScriptValue ZEcmaHelper::throwError(const QString &message, QScriptContext *context)
{
    return context->throwError(message);
}

// What the value's own getBaseClasses returns; not valid when it has none. A property that is no
// function gives an invalid value too.
QScriptValue ZEcmaHelper::baseClassesOf(const QScriptValue &value)
{
    return value.property(QLatin1String("getBaseClasses")).call(value);
}

QString ZEcmaHelper::nameOfBaseClass(const QScriptValue &list, quint32 index)
{
    return list.property(index).toString();
}

QScriptValue ZEcmaHelper::baseObject(const QScriptValue &value, const QString &className)
{
    return value.property(QLatin1String("get") + className).call(value);
}

// True for a variant of any other type than "X" and "X*", where pointerType is that of "X*".
bool ZEcmaHelper::holdsAnother(const QScriptValue &value, int pointerType)
{
    if (!value.isVariant())
        return false;
    const int type = value.toVariant().userType();
    if (type == pointerType)
        return false;
    const QByteArray pointerName(QMetaType::typeName(pointerType));
    return type == 0
        || type != QMetaType::type(pointerName.left(pointerName.size() - 1).constData());
}
