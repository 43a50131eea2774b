// (c) the ztrace developers. Licence: see LICENSE.
//
// The script class "ZTraceBitmap" (docs/scripting.md).
//
// A tracer object is a variant object that holds a plain pointer: the engine never deletes the
// tracer, only the script method destroy does. All failures are script errors with fixed texts.
#ifndef ZECMATRACEBITMAP_H
#define ZECMATRACEBITMAP_H

#include <QScriptContext>
#include <QScriptEngine>
#include <QScriptValue>
#include <QString>

class ZTraceBitmap;

// Static operations only. Those that take a context and an engine have the signature of native
// script functions; they return the error value of the error that they raise.
class ZEcmaTraceBitmap
{
public:
    // Installs the class in an engine. A null `proto` makes the prototype here; another one is used
    // as it is and stays the caller's. Once per engine.
    static void initEcma(QScriptEngine &engine, QScriptValue *proto = nullptr);

    // new ZTraceBitmap()
    static QScriptValue createEcma(QScriptContext *context, QScriptEngine *engine);

    static QScriptValue getClassName(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue getBaseClasses(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue toString(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue destroy(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue setOption(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue trace(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue preprocess(QScriptContext *context, QScriptEngine *engine);

    // The tracer of the context's `this`. Null raises an error that names the function, but for
    // "toString", which works on any object. So does, whatever the function, a look-up too deep
    // inside others.
    static ZTraceBitmap *getSelf(const QString &functionName, QScriptContext *context);

    // The same, raising the error for "toString" as well.
    static ZTraceBitmap *getSelfShell(const QString &functionName, QScriptContext *context);
};

#endif
