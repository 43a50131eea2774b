// (c) the ztrace developers. Licence: see LICENSE.
//
// The conversions here are the shortest that can be: they rely on nothing but the toolkit's casts.
#ifndef ZECMAHELPER_H
#define ZECMAHELPER_H

#include <QScriptContext>
#include <QScriptEngine>
#include <QScriptValue>

class ZEcmaHelper
{
public:
#ifdef MINIMAL_SDK_TAKES_POINTERS
    static void registerFunction(QScriptEngine *engine, QScriptValue *proto,
                                 QScriptEngine::FunctionSignature function, const QString &name)
    {
        proto->setProperty(name, engine->newFunction(function));
    }
#else
    static void registerFunction(QScriptEngine &engine, QScriptValue *proto,
                                 QScriptEngine::FunctionSignature function, const QString &name)
    {
        proto->setProperty(name, engine.newFunction(function));
    }
#endif

    static QScriptValue throwError(const QString &message, QScriptContext *context)
    {
        return context->throwError(message);
    }

    template<class T>
    static T *scriptValueTo(QScriptValue value)
    {
        T *self = qscriptvalue_cast<T *>(value);
        return self ? self : qscriptvalue_cast<T *>(value.prototype());
    }

    template<class T>
    static QScriptValue listToScriptValue(QScriptEngine *engine, const QList<T> &list)
    {
        QVariantList variants;
        for (int i = 0; i < list.size(); ++i)
            variants.append(QVariant::fromValue(list.at(i)));
        return qScriptValueFromValue(engine, variants);
    }
};

#endif
