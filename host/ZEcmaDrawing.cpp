// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaDrawing.h"

#include "binding.h"
#include "saveDrawing.h"

#include <QStringList>

// The drawing behind a script object; the variant of the object holds it by value.
struct ZDrawing
{
    ztrace::Drawing drawing;
};

Q_DECLARE_METATYPE(ZDrawing)
Q_DECLARE_METATYPE(ZDrawing *)

namespace {

using namespace zelvora;

const char kClass[] = "ZDrawing";

QScriptValue create(QScriptContext *context, QScriptEngine *engine)
{
    if (calledWithoutNew(kClass, context, engine))
        return engine->undefinedValue();
    if (context->argumentCount() != 0)
        return raise(QString::fromLatin1("ZDrawing(): no matching constructor found."), context);
    return engine->newVariant(context->thisObject(), QVariant::fromValue(ZDrawing()));
}

// Appends the polyline of a script value; false when it holds none.
bool append(const QScriptValue &value, std::vector<ztrace::Outline> *outlines)
{
    const ZPolyline *polyline = ZEcmaHelper::scriptValueTo<ZPolyline>(value);
    if (!polyline)
        return false;
    ztrace::Outline outline;
    outline.shape = *polyline;
    outlines->push_back(outline);
    return true;
}

// All or nothing: an array with a stranger in it adds none of its polylines.
bool appendAll(const QScriptValue &value, std::vector<ztrace::Outline> *outlines)
{
    if (!value.isArray())
        return append(value, outlines);
    const quint32 count = value.property(QLatin1String("length")).toUInt32();
    for (quint32 i = 0; i < count; ++i) {
        if (!append(value.property(i), outlines))
            return false;
    }
    return true;
}

QScriptValue addObject(QScriptContext *context, QScriptEngine *engine)
{
    ZDrawing *self = selfOf<ZDrawing>(kClass, "addObject", context);
    if (!self)
        return QScriptValue();
    std::vector<ztrace::Outline> outlines;
    if (context->argumentCount() != 1 || !appendAll(context->argument(0), &outlines))
        return raiseWrongArguments(kClass, "addObject", context);
    std::vector<ztrace::Outline> &all = self->drawing.outlines;
    all.insert(all.end(), outlines.begin(), outlines.end());
    return engine->undefinedValue();
}

QScriptValue count(QScriptContext *context, QScriptEngine *)
{
    const ZDrawing *self = selfOf<ZDrawing>(kClass, "count", context);
    if (!self)
        return QScriptValue();
    if (context->argumentCount() != 0)
        return raiseWrongArguments(kClass, "count", context);
    return QScriptValue(double(self->drawing.outlines.size()));
}

QScriptValue setPage(QScriptContext *context, QScriptEngine *engine)
{
    ZDrawing *self = selfOf<ZDrawing>(kClass, "setPage", context);
    if (!self)
        return QScriptValue();
    if (!areNumbers(context, 2) || integerArgument(context, 0) < 1
        || integerArgument(context, 1) < 1)
        return raiseWrongArguments(kClass, "setPage", context);
    self->drawing.width = integerArgument(context, 0);
    self->drawing.height = integerArgument(context, 1);
    return engine->undefinedValue();
}

QScriptValue save(QScriptContext *context, QScriptEngine *engine)
{
    const ZDrawing *self = selfOf<ZDrawing>(kClass, "save", context);
    if (!self)
        return QScriptValue();
    if (context->argumentCount() != 1 || !context->argument(0).isString())
        return raiseWrongArguments(kClass, "save", context);
    QString error;
    if (saveDrawing(self->drawing, context->argument(0).toString(), &error))
        return engine->undefinedValue();
    return raise(
        QString::fromLatin1("ZDrawing.save(): %1: %2").arg(context->argument(0).toString(), error),
        context);
}

QScriptValue getClassName(QScriptContext *, QScriptEngine *)
{
    return QScriptValue(QString::fromLatin1(kClass));
}

QScriptValue getBaseClasses(QScriptContext *, QScriptEngine *engine)
{
    return qScriptValueFromValue(engine, QStringList());
}

QScriptValue toString(QScriptContext *context, QScriptEngine *)
{
    const ZDrawing *self = ZEcmaHelper::scriptValueTo<ZDrawing>(context->thisObject());
    if (!self)
        return QScriptValue(QString::fromLatin1(kClass));
    return QScriptValue(
        QString::fromLatin1("ZDrawing(%1 objects)").arg(self->drawing.outlines.size()));
}

} // namespace

void ZEcmaDrawing::initEcma(QScriptEngine &engine)
{
    static const Method kMethods[] = {
        { "toString", toString },
        { "getClassName", getClassName },
        { "getBaseClasses", getBaseClasses },
        { "addObject", addObject },
        { "count", count },
        { "setPage", setPage },
        { "save", save },
    };
    const QScriptValue proto
        = makePrototype<ZDrawing>(engine, kMethods, sizeof(kMethods) / sizeof(kMethods[0]));
    installConstructor(engine, kClass, create, proto);
}
