// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaTraceBitmap.h"

#include "TracerPool.h"
#include "ZTraceBitmap.h"
#include "conversions.h"

#include "ZEcmaHelper.h"
#include "ZPolyline.h"
#include "kernels/stop.h"

#include <QImage>
#include <QScopedPointer>
#include <QStringList>

#include <exception>

namespace {

QScriptValue raise(const char *message, QScriptContext *context)
{
    return ZEcmaHelper::throwError(QString::fromLatin1(message), context);
}

// One method of the prototype. Headers of the host differ in whether they take the engine by
// reference or by pointer; the overload that compiles is taken, the reference first.
template<class Helper>
auto registerMethod(QScriptEngine &engine, QScriptValue *proto,
                    QScriptEngine::FunctionSignature function, const char *name, int)
    -> decltype(Helper::registerFunction(engine, proto, function, name))
{
    return Helper::registerFunction(engine, proto, function, name);
}

template<class Helper>
auto registerMethod(QScriptEngine &engine, QScriptValue *proto,
                    QScriptEngine::FunctionSignature function, const char *name, long)
    -> decltype(Helper::registerFunction(&engine, proto, function, name))
{
    return Helper::registerFunction(&engine, proto, function, name);
}

// A native function as the engine may call it: memory that runs out is a script error. The engine's
// own code cannot be passed through by an exception.
template<QScriptEngine::FunctionSignature function>
QScriptValue guarded(QScriptContext *context, QScriptEngine *engine)
{
    try {
        return function(context, engine);
    } catch (const std::exception &) {
        return raise("ZTraceBitmap: There is not enough memory.", context);
    }
}

void registerMethods(QScriptEngine &engine, QScriptValue *proto)
{
    static const struct
    {
        QScriptEngine::FunctionSignature function;
        const char *name;
    } kMethods[] = {
        { guarded<ZEcmaTraceBitmap::toString>, "toString" },
        { guarded<ZEcmaTraceBitmap::destroy>, "destroy" },
        { guarded<ZEcmaTraceBitmap::getClassName>, "getClassName" },
        { guarded<ZEcmaTraceBitmap::getBaseClasses>, "getBaseClasses" },
        { guarded<ZEcmaTraceBitmap::preprocess>, "preprocess" },
        { guarded<ZEcmaTraceBitmap::trace>, "trace" },
        { guarded<ZEcmaTraceBitmap::setOption>, "setOption" },
    };
    for (const auto &method : kMethods)
        registerMethod<ZEcmaHelper>(engine, proto, method.function, method.name, 0);
}

QScriptValue raiseNotATracer(const QString &functionName, QScriptContext *context)
{
    return ZEcmaHelper::throwError(
        QString::fromLatin1("ZTraceBitmap.%1(): This object is not a ZTraceBitmap")
            .arg(functionName),
        context);
}

QScriptValue raiseTooDeep(const QString &functionName, QScriptContext *context)
{
    return ZEcmaHelper::throwError(
        QString::fromLatin1("ZTraceBitmap.%1(): Too many calls inside each other")
            .arg(functionName),
        context);
}

// One argument that may hold an image. Whether it does is asked afterwards, with an error of its
// own: a null and a QObject come this far and hold none.
bool hasImageArgument(QScriptContext *context)
{
    if (context->argumentCount() != 1)
        return false;
    const QScriptValue argument = context->argument(0);
    return argument.isVariant() || argument.isQObject() || argument.isNull();
}

QScriptValue raiseNotAnImage(QScriptContext *context)
{
    return raise("ZTraceBitmap: Argument 0 is not of type QImage*.", context);
}

// Where the application may say that its user wants the script to end: the address of a number that
// is not 0 then. Whoever raises the error sets it to 0. An application that knows nothing of it has
// no such property.
std::atomic<int> *stopFlagOf(QScriptEngine *engine)
{
    return static_cast<std::atomic<int> *>(engine->property("zelvoraStop").value<void *>());
}

// The outlines of an image or of a file's.
template<class Image>
QScriptValue traced(ZTraceBitmap *self, const Image &image, QScriptContext *context,
                    QScriptEngine *engine)
{
    std::atomic<int> *const stop = stopFlagOf(engine);
    const ztrace::StoppedBy guard(stop);
    const QList<ZPolyline> outlines = self->trace(image);
    if (stop && stop->exchange(0) != 0)
        return raise("The run was interrupted.", context);
    return ztrace::polylinesToScript(engine, outlines);
}

QScriptValue raiseSelfIsNull(QScriptContext *context)
{
    return raise("self is NULL", context);
}

} // namespace

void ZEcmaTraceBitmap::initEcma(QScriptEngine &engine, QScriptValue *proto)
{
    QScopedPointer<QScriptValue> ownProto;
    if (!proto) {
        ownProto.reset(new QScriptValue(engine.newVariant(ztrace::tracerVariant(nullptr))));
        proto = ownProto.data();
    }
    registerMethods(engine, proto);
    engine.setDefaultPrototype(ztrace::tracerType(), *proto);
    engine.globalObject().setProperty(QLatin1String("ZTraceBitmap"),
                                      engine.newFunction(guarded<createEcma>, *proto, 2),
                                      QScriptValue::SkipInEnumeration);
}

QScriptValue ZEcmaTraceBitmap::createEcma(QScriptContext *context, QScriptEngine *engine)
{
    if (context->thisObject().strictlyEquals(engine->globalObject()))
        return raise("ZTraceBitmap(): Did you forget to construct with 'new'?", context);
    if (context->argumentCount() != 0)
        return raise("ZTraceBitmap(): no matching constructor found.", context);

    ZTraceBitmap *tracer = ztrace::makeTracer();
    const QScriptValue object
        = engine->newVariant(context->thisObject(), ztrace::tracerVariant(tracer));
    // A call with an ordinary object as `this` cannot make a tracer of it; the toolkit says so by
    // an invalid value, and nobody would hold the tracer.
    if (!ztrace::holdsTracer(object, tracer))
        ztrace::destroyTracer(tracer, false);
    return object;
}

ZTraceBitmap *ZEcmaTraceBitmap::getSelf(const QString &functionName, QScriptContext *context)
{
    bool isTooDeep = false;
    ZTraceBitmap *self = ztrace::tracerFromScript(context->thisObject(), &isTooDeep);
    if (isTooDeep)
        raiseTooDeep(functionName, context);
    else if (!self && functionName != QLatin1String("toString"))
        raiseNotATracer(functionName, context);
    return self;
}

ZTraceBitmap *ZEcmaTraceBitmap::getSelfShell(const QString &functionName, QScriptContext *context)
{
    ZTraceBitmap *self = getSelf(functionName, context);
    if (!self)
        raiseNotATracer(functionName, context);
    return self;
}

QScriptValue ZEcmaTraceBitmap::toString(QScriptContext *context, QScriptEngine *engine)
{
    const ZTraceBitmap *self = getSelf(QLatin1String("toString"), context);
    const quint64 address = reinterpret_cast<quintptr>(self);
    return qScriptValueFromValue(engine,
                                 QString::fromLatin1("ZTraceBitmap(0x%1)").arg(address, 0, 16));
}

QScriptValue ZEcmaTraceBitmap::getClassName(QScriptContext *, QScriptEngine *engine)
{
    return qScriptValueFromValue(engine, QString::fromLatin1("ZTraceBitmap"));
}

QScriptValue ZEcmaTraceBitmap::getBaseClasses(QScriptContext *, QScriptEngine *engine)
{
    return qScriptValueFromValue(engine, QStringList());
}

QScriptValue ZEcmaTraceBitmap::destroy(QScriptContext *context, QScriptEngine *engine)
{
    // The error names the class and not the method; scripts know the text.
    ZTraceBitmap *self = getSelf(QLatin1String("ZTraceBitmap"), context);
    if (!self)
        return raiseSelfIsNull(context);

    QScriptValue object = context->thisObject();
    ztrace::destroyTracer(self, !ztrace::holdsTracer(object, self));

    object.setData(engine->nullValue());
    object.prototype().setData(engine->nullValue());
    object.setPrototype(engine->nullValue());
    object.setScriptClass(nullptr);
    return engine->undefinedValue();
}

QScriptValue ZEcmaTraceBitmap::setOption(QScriptContext *context, QScriptEngine *engine)
{
    ZTraceBitmap *self = getSelf(QLatin1String("setOption"), context);
    if (!self)
        return raiseSelfIsNull(context);

    if (context->argumentCount() == 2 && context->argument(0).isString()
        && context->argument(1).isNumber()) {
        self->setOption(context->argument(0).toString(), context->argument(1).toNumber());
        return engine->undefinedValue();
    }
    return raise("Wrong number/types of arguments for ZTraceBitmap.setOption().", context);
}

QScriptValue ZEcmaTraceBitmap::trace(QScriptContext *context, QScriptEngine *engine)
{
    ZTraceBitmap *self = getSelf(QLatin1String("trace"), context);
    if (!self)
        return raiseSelfIsNull(context);

    if (context->argumentCount() == 1 && context->argument(0).isString())
        return traced(self, context->argument(0).toString(), context, engine);
    if (hasImageArgument(context)) {
        const QImage *image = ztrace::imageFromScript(context->argument(0));
        if (!image)
            return raiseNotAnImage(context);
        return traced(self, *image, context, engine);
    }
    return raise("Wrong number/types of arguments for ZTraceBitmap.trace().", context);
}

QScriptValue ZEcmaTraceBitmap::preprocess(QScriptContext *context, QScriptEngine *engine)
{
    ZTraceBitmap *self = getSelf(QLatin1String("preprocess"), context);
    if (!self)
        return raiseSelfIsNull(context);

    if (hasImageArgument(context)) {
        QImage *image = ztrace::imageFromScript(context->argument(0));
        if (!image)
            return raiseNotAnImage(context);
        self->preprocess(*image);
        return engine->undefinedValue();
    }
    return raise("Wrong number/types of arguments for ZTraceBitmap.preprocess().", context);
}
