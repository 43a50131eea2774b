// (c) the ztrace developers. Licence: see LICENSE.
//
// A real script engine with the script class installed, and short ways to run scripts in it.
#ifndef ZTRACE_TESTS_SCRIPTRIG_H
#define ZTRACE_TESTS_SCRIPTRIG_H

#include "ZEcmaTraceBitmap.h"
#include "ZTraceBitmap.h"

#include <QImage>
#include <QLoggingCategory>
#include <QScriptEngine>
#include <QScriptValueIterator>

namespace tests {

inline void silenceDebugLines()
{
    QLoggingCategory::setFilterRules(QLatin1String("default.debug=false"));
}

// A dark square on white, opaque; the tracer's defaults turn it black altogether.
inline QImage squareImage(int side = 24)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(0xFFFFFFFFu);
    for (int y = side / 4; y < side - side / 4; ++y) {
        for (int x = side / 4; x < side - side / 4; ++x)
            image.setPixel(x, y, 0xFF202020u);
    }
    return image;
}

class ScriptRig
{
public:
    enum Globals { ToolkitGlobals, OwnGlobals };

    // OwnGlobals: with a global object that heeds flags, as the hosts use it.
    explicit ScriptRig(Globals globals = ToolkitGlobals)
    {
        if (globals == OwnGlobals) {
            QScriptValue object = engine.newObject();
            QScriptValueIterator it(engine.globalObject());
            while (it.hasNext()) {
                it.next();
                object.setProperty(it.name(), it.value(), QScriptValue::SkipInEnumeration);
            }
            engine.setGlobalObject(object);
        }
        ZEcmaTraceBitmap::initEcma(engine, 0);
    }

    // The result of a script as text; "!" and the message of what it throws.
    QString run(const QString &script)
    {
        const QScriptValue value = engine.evaluate(script);
        if (!engine.hasUncaughtException())
            return value.toString();
        const QString text = QLatin1Char('!') + value.property(QLatin1String("message")).toString();
        engine.clearExceptions();
        return text;
    }

    void set(const char *name, const QScriptValue &value)
    {
        engine.globalObject().setProperty(QLatin1String(name), value);
    }

    // Hands a native pointer to the scripts, the way other bindings do.
    template<class T>
    void setPointer(const char *name, const char *type, T *pointer)
    {
        set(name, engine.newVariant(QVariant(qRegisterMetaType<T *>(type), &pointer)));
    }

    void setTracer(const char *name, ZTraceBitmap *tracer)
    {
        setPointer(name, "ZTraceBitmap*", tracer);
    }

    void setImage(const char *name, QImage *image) { setPointer(name, "QImage*", image); }

    QScriptEngine engine;
};

} // namespace tests

#endif
