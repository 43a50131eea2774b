// (c) the ztrace developers. Licence: see LICENSE.
#include "binding.h"

#include <climits>

QScriptValue zelvora::raise(const QString &what, QScriptContext *context)
{
    return ZEcmaHelper::throwError(what, context);
}

QScriptValue zelvora::raiseWrongArguments(const char *className, const char *method,
                                          QScriptContext *context)
{
    return raise(QString::fromLatin1("Wrong number/types of arguments for %1.%2().")
                     .arg(QLatin1String(className), QLatin1String(method)),
                 context);
}

QScriptValue zelvora::raiseOutOfMemory(QScriptContext *context)
{
    return raise(QString::fromLatin1("There is not enough memory."), context);
}

bool zelvora::calledWithoutNew(const char *className, QScriptContext *context,
                               QScriptEngine *engine)
{
    if (context->isCalledAsConstructor()
        && !context->thisObject().strictlyEquals(engine->globalObject()))
        return false;
    raise(QString::fromLatin1("%1(): Did you forget to construct with 'new'?")
              .arg(QLatin1String(className)),
          context);
    return true;
}

bool zelvora::areNumbers(QScriptContext *context, int count)
{
    if (context->argumentCount() != count)
        return false;
    for (int i = 0; i < count; ++i) {
        if (!context->argument(i).isNumber())
            return false;
    }
    return true;
}

int zelvora::integerArgument(QScriptContext *context, int index)
{
    const double number = context->argument(index).toNumber();
    if (number != number)
        return 0;
    if (number >= double(INT_MAX))
        return INT_MAX;
    return number <= double(INT_MIN) ? INT_MIN : int(number);
}

QScriptValue zelvora::pointToScript(const ZVector &point, QScriptEngine *engine)
{
    QScriptValue object = engine->newObject();
    object.setProperty(QLatin1String("x"), point.x);
    object.setProperty(QLatin1String("y"), point.y);
    return object;
}

void zelvora::installConstructor(QScriptEngine &engine, const char *name,
                                 NativeFunction constructor, const QScriptValue &proto)
{
    engine.globalObject().setProperty(QLatin1String(name), engine.newFunction(constructor, proto),
                                      QScriptValue::SkipInEnumeration);
}
