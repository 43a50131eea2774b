// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaDrawing.h"

#include "binding.h"
#include "saveDrawing.h"

#include "drawing/hostpath.h"

#include <QStringList>

#include <memory>

// The drawing behind a script object. A method holds it by a pointer of its own: scripts that run
// meanwhile may put something else into the object, or let go of it.
struct ZDrawing
{
    std::shared_ptr<ztrace::Drawing> drawing = std::make_shared<ztrace::Drawing>();
};

Q_DECLARE_METATYPE(ZDrawing)
Q_DECLARE_METATYPE(ZDrawing *)

namespace {

using namespace zelvora;

const char kClass[] = "ZDrawing";

// The drawing of `this`; null, with an error raised, when there is none.
std::shared_ptr<ztrace::Drawing> drawingOf(const char *method, QScriptContext *context)
{
    const ZDrawing *self = selfOf<ZDrawing>(kClass, method, context);
    return self ? self->drawing : nullptr;
}

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
    outline.shape = ztrace::pathOf(*polyline);
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
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("addObject", context);
    if (!drawing)
        return QScriptValue();
    std::vector<ztrace::Outline> outlines;
    if (context->argumentCount() != 1 || !appendAll(context->argument(0), &outlines))
        return raiseWrongArguments(kClass, "addObject", context);
    std::vector<ztrace::Outline> &all = drawing->outlines;
    all.insert(all.end(), outlines.begin(), outlines.end());
    return engine->undefinedValue();
}

QScriptValue count(QScriptContext *context, QScriptEngine *)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("count", context);
    if (!drawing)
        return QScriptValue();
    if (context->argumentCount() != 0)
        return raiseWrongArguments(kClass, "count", context);
    return QScriptValue(double(drawing->outlines.size()));
}

QScriptValue setPage(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("setPage", context);
    if (!drawing)
        return QScriptValue();
    if (!areNumbers(context, 2) || integerArgument(context, 0) < 1
        || integerArgument(context, 1) < 1)
        return raiseWrongArguments(kClass, "setPage", context);
    drawing->width = integerArgument(context, 0);
    drawing->height = integerArgument(context, 1);
    return engine->undefinedValue();
}

QScriptValue save(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("save", context);
    if (!drawing)
        return QScriptValue();
    if (context->argumentCount() != 1 || !context->argument(0).isString())
        return raiseWrongArguments(kClass, "save", context);
    QString error;
    if (saveDrawing(*drawing, context->argument(0).toString(), &error))
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
        QString::fromLatin1("ZDrawing(%1 objects)").arg(self->drawing->outlines.size()));
}

} // namespace

void ZEcmaDrawing::initEcma(QScriptEngine &engine)
{
    static const Method kMethods[] = {
        { "toString", guarded<toString> },
        { "getClassName", guarded<getClassName> },
        { "getBaseClasses", guarded<getBaseClasses> },
        { "addObject", guarded<addObject> },
        { "count", guarded<count> },
        { "setPage", guarded<setPage> },
        { "save", guarded<save> },
    };
    const QScriptValue proto
        = makePrototype<ZDrawing>(engine, kMethods, sizeof(kMethods) / sizeof(kMethods[0]));
    installConstructor(engine, kClass, guarded<create>, proto);
}
