// (c) the ztrace developers. Licence: see LICENSE.
//
// What the host's script bindings share: meta types, the look-up of `this`, and the error texts.
//
// The value types travel as variants that the script engine owns and frees; a method works on the
// variant's own copy, so that changes show in every script variable that holds the object.
#ifndef ZELVORA_BINDING_H
#define ZELVORA_BINDING_H

#include "ZEcmaHelper.h"
#include "ZPolyline.h"

#include <QImage>
#include <QMetaType>

#include <exception>

Q_DECLARE_METATYPE(QImage *)
Q_DECLARE_METATYPE(ZPolyline *)

namespace zelvora {

typedef QScriptValue (*NativeFunction)(QScriptContext *, QScriptEngine *);

// "There is not enough memory."
QScriptValue raiseOutOfMemory(QScriptContext *context);

// A native function as the engine may call it: memory that runs out is a script error. The engine's
// own code cannot be passed through by an exception.
template<NativeFunction function>
QScriptValue guarded(QScriptContext *context, QScriptEngine *engine)
{
    try {
        return function(context, engine);
    } catch (const std::exception &) {
        return raiseOutOfMemory(context);
    }
}

struct Method
{
    const char *name;
    NativeFunction function;
};

// Raises "<what>" as a script error.
QScriptValue raise(const QString &what, QScriptContext *context);

// "Wrong number/types of arguments for QImage.pixel()."
QScriptValue raiseWrongArguments(const char *className, const char *method,
                                 QScriptContext *context);

// True, with an error raised, for a constructor that was called as a plain function.
bool calledWithoutNew(const char *className, QScriptContext *context, QScriptEngine *engine);

// True when the arguments are exactly `count` numbers.
bool areNumbers(QScriptContext *context, int count);

// Argument `index` as an integer; what is no number of that range gives the nearest end, or 0.
int integerArgument(QScriptContext *context, int index);

// A plain script object { x, y }.
QScriptValue pointToScript(const ZVector &point, QScriptEngine *engine);

// A prototype with its methods, made the engine's default for T and T*. It holds no T of its own:
// whatever inherits from it alone leads to none.
template<class T>
QScriptValue makePrototype(QScriptEngine &engine, const Method *methods, int count)
{
    QScriptValue proto = engine.newVariant(QVariant::fromValue(static_cast<T *>(nullptr)));
    for (int i = 0; i < count; ++i)
        ZEcmaHelper::registerFunction(engine, &proto, methods[i].function, methods[i].name);
    engine.setDefaultPrototype(qMetaTypeId<T>(), proto);
    engine.setDefaultPrototype(qMetaTypeId<T *>(), proto);
    return proto;
}

// Makes `constructor` the global `name`, not listed in enumerations.
void installConstructor(QScriptEngine &engine, const char *name, NativeFunction constructor,
                        const QScriptValue &proto);

// The T of the context's `this`; null, with an error raised, when there is none. It is gone as soon
// as a script runs or the engine makes an object: a stand-in's getter may have returned a T that
// nobody else holds, and any setter can put another one in its place.
template<class T>
T *selfOf(const char *className, const char *method, QScriptContext *context)
{
    T *self = ZEcmaHelper::scriptValueTo<T>(context->thisObject());
    if (!self) {
        raise(QString::fromLatin1("%1.%2(): This object is not a %1")
                  .arg(QLatin1String(className), QLatin1String(method)),
              context);
    }
    return self;
}

} // namespace zelvora

#endif
