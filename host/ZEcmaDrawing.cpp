// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaDrawing.h"

#include "DrawingContent.h"
#include "binding.h"
#include "saveDrawing.h"
#include "scriptsettings.h"
#include "textFiles.h"

#include "cli/effects.h"
#include "cli/failure.h"
#include "cli/values.h"
#include "drawing/hostpath.h"

#include <QScriptValueIterator>
#include <QStringList>

#include <limits>

namespace {

using namespace zelvora;

const char kClass[] = "ZDrawing";

// The drawing of `this`; null, with an error raised, when there is none.
std::shared_ptr<DrawingContent> contentOf(const char *method, QScriptContext *context)
{
    const ZDrawing *self = selfOf<ZDrawing>(kClass, method, context);
    return self ? self->content : nullptr;
}

std::shared_ptr<ztrace::Drawing> drawingOf(const char *method, QScriptContext *context)
{
    const std::shared_ptr<DrawingContent> content = contentOf(method, context);
    return content ? std::shared_ptr<ztrace::Drawing>(content, &content->drawing) : nullptr;
}

// The same of a method that takes no arguments; null, with an error raised, otherwise.
std::shared_ptr<ztrace::Drawing> drawingAlone(const char *method, QScriptContext *context)
{
    std::shared_ptr<ztrace::Drawing> drawing = drawingOf(method, context);
    if (drawing && context->argumentCount() != 0) {
        raiseWrongArguments(kClass, method, context);
        return nullptr;
    }
    return drawing;
}

// "ZDrawing.save(): TEXT".
QScriptValue raiseIn(const char *method, const QString &text, QScriptContext *context)
{
    return raise(
        QString::fromLatin1("%1.%2(): %3").arg(QLatin1String(kClass), QLatin1String(method), text),
        context);
}

QScriptValue create(QScriptContext *context, QScriptEngine *engine)
{
    if (calledWithoutNew(kClass, context, engine))
        return engine->undefinedValue();
    if (context->argumentCount() != 0)
        return raise(QString::fromLatin1("ZDrawing(): no matching constructor found."), context);
    const ZDrawing drawing;
    drawing.content->settings.style.stroked = true; // polylines of scripts bound no areas
    return engine->newVariant(context->thisObject(), QVariant::fromValue(drawing));
}

// Appends the polyline of a script value; false when it holds none.
bool append(const QScriptValue &value, const ztrace::Outline &looks,
            std::vector<ztrace::Outline> *outlines)
{
    const ZPolyline *polyline = ZEcmaHelper::scriptValueTo<ZPolyline>(value);
    if (!polyline)
        return false;
    ztrace::Outline outline = looks;
    outline.shape = ztrace::pathOf(*polyline);
    outlines->push_back(outline);
    return true;
}

// All or nothing: an array with a stranger in it adds none of its polylines.
bool appendAll(const QScriptValue &value, const ztrace::Outline &looks,
               std::vector<ztrace::Outline> *outlines)
{
    if (!value.isArray())
        return append(value, looks, outlines);
    const quint32 count = value.property(QLatin1String("length")).toUInt32();
    for (quint32 i = 0; i < count; ++i) {
        if (!append(value.property(i), looks, outlines))
            return false;
    }
    return true;
}

// Layer and colour from { layer: "CUT", color: "#ff0000" }. Throws a ztrace::Failure; an error of a
// getter is left in the engine.
void readLooks(const QScriptValue &object, ztrace::Outline *looks)
{
    QScriptValueIterator it(object);
    while (it.hasNext()) {
        it.next();
        const QString name = it.name();
        const QScriptValue value = object.property(name);
        if (value.isUndefined() || object.engine()->hasUncaughtException())
            continue;
        if (name == QLatin1String("layer") && value.isString())
            looks->layer = value.toString();
        else if (name == QLatin1String("color"))
            looks->colour = ztrace::colourValue("color", value.toString().toStdString());
        else if (name == QLatin1String("layer"))
            throw ztrace::Failure(ztrace::kWrongUsage, "layer: the name is no text");
        else
            throw ztrace::Failure(ztrace::kWrongUsage,
                                  "there is no \"" + name.toStdString()
                                      + "\"; objects have layer and color");
    }
}

QScriptValue addObject(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("addObject", context);
    if (!drawing)
        return QScriptValue();
    const int count = context->argumentCount();
    if (count < 1 || count > 2 || !isOptions(context->argument(1)))
        return raiseWrongArguments(kClass, "addObject", context);
    ztrace::Outline looks;
    try {
        if (count == 2 && context->argument(1).isObject())
            readLooks(context->argument(1), &looks);
    } catch (const ztrace::Failure &failure) {
        return raiseIn("addObject", textOf(failure.what()), context);
    }
    if (engine->hasUncaughtException())
        return engine->uncaughtException();
    std::vector<ztrace::Outline> outlines;
    if (!appendAll(context->argument(0), looks, &outlines))
        return raiseWrongArguments(kClass, "addObject", context);
    std::vector<ztrace::Outline> &all = drawing->outlines;
    all.insert(all.end(), outlines.begin(), outlines.end());
    return engine->undefinedValue();
}

QScriptValue count(QScriptContext *context, QScriptEngine *)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingAlone("count", context);
    return drawing ? QScriptValue(double(drawing->outlines.size())) : QScriptValue();
}

// What `take` makes of the outline whose number is the one argument.
template<typename Take>
QScriptValue takeOfOutline(const char *method, QScriptContext *context, Take take)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf(method, context);
    if (!drawing)
        return QScriptValue();
    if (!areNumbers(context, 1))
        return raiseWrongArguments(kClass, method, context);
    const int index = integerArgument(context, 0);
    if (index < 0 || std::size_t(index) >= drawing->outlines.size())
        return raiseIn(method, QString::fromLatin1("There is no object of that number."), context);
    return take(drawing->outlines[std::size_t(index)]);
}

QScriptValue getObject(QScriptContext *context, QScriptEngine *engine)
{
    return takeOfOutline("getObject", context, [engine](const ztrace::Outline &outline) {
        return engine->newVariant(QVariant::fromValue(ztrace::polylineOf(outline.shape)));
    });
}

QScriptValue getLayer(QScriptContext *context, QScriptEngine *)
{
    return takeOfOutline("getLayer", context, [](const ztrace::Outline &outline) {
        return QScriptValue(ztrace::layerName(outline));
    });
}

QScriptValue getColor(QScriptContext *context, QScriptEngine *)
{
    return takeOfOutline("getColor", context, [](const ztrace::Outline &outline) {
        return QScriptValue(QString::fromLatin1(ztrace::colourName(outline.colour)));
    });
}

QScriptValue getLayers(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingAlone("getLayers", context);
    return drawing ? qScriptValueFromSequence(engine, drawing->layers()) : QScriptValue();
}

// Of a page, in pixels; a fraction is cut off.
bool isSide(double number)
{
    return number >= 1.0 && number <= double(std::numeric_limits<int>::max());
}

QScriptValue setPage(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("setPage", context);
    if (!drawing)
        return QScriptValue();
    if (!areNumbers(context, 2) || !isSide(context->argument(0).toNumber())
        || !isSide(context->argument(1).toNumber()))
        return raiseWrongArguments(kClass, "setPage", context);
    drawing->width = integerArgument(context, 0);
    drawing->height = integerArgument(context, 1);
    return engine->undefinedValue();
}

QScriptValue getPage(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingAlone("getPage", context);
    if (!drawing)
        return QScriptValue();
    QScriptValue page = engine->newObject();
    page.setProperty(QLatin1String("width"), drawing->width);
    page.setProperty(QLatin1String("height"), drawing->height);
    return page;
}

QScriptValue setUnit(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("setUnit", context);
    if (!drawing)
        return QScriptValue();
    if (context->argumentCount() != 1 || !context->argument(0).isString())
        return raiseWrongArguments(kClass, "setUnit", context);
    if (!ztrace::unitOfName(context->argument(0).toString(), &drawing->unit))
        return raiseIn("setUnit", QString::fromLatin1("The unit is px, mm or in."), context);
    return engine->undefinedValue();
}

QScriptValue getUnit(QScriptContext *context, QScriptEngine *)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingAlone("getUnit", context);
    return drawing ? QScriptValue(QString::fromLatin1(ztrace::nameOf(drawing->unit)))
                   : QScriptValue();
}

QScriptValue setResolution(QScriptContext *context, QScriptEngine *engine)
{
    const double kLeast = 0.01; // pixels an inch; as --dpi of the command
    const double kMost = 1e6;
    const std::shared_ptr<ztrace::Drawing> drawing = drawingOf("setResolution", context);
    if (!drawing)
        return QScriptValue();
    if (!areNumbers(context, 1))
        return raiseWrongArguments(kClass, "setResolution", context);
    const double dpi = context->argument(0).toNumber();
    if (!(dpi >= kLeast && dpi <= kMost)) {
        return raiseIn("setResolution",
                       QString::fromLatin1("It is a number of pixels an inch, 0.01 to 1000000."),
                       context);
    }
    drawing->dpi = dpi;
    return engine->undefinedValue();
}

QScriptValue getResolution(QScriptContext *context, QScriptEngine *)
{
    const std::shared_ptr<ztrace::Drawing> drawing = drawingAlone("getResolution", context);
    return drawing ? QScriptValue(drawing->dpi) : QScriptValue();
}

// An option that changes nothing in that file is an error: nothing else would tell of it.
void requireEffect(const std::set<std::string> &said, const ztrace::Settings &settings,
                   const ztrace::Format *format)
{
    const std::vector<std::string> sentences
        = ztrace::withoutEffect(said, false, settings, { { QString(), format } });
    if (!sentences.empty())
        throw ztrace::Failure(ztrace::kWrongUsage, sentences.front());
}

QScriptValue save(QScriptContext *context, QScriptEngine *engine)
{
    const std::shared_ptr<DrawingContent> content = contentOf("save", context);
    if (!content)
        return QScriptValue();
    const int count = context->argumentCount();
    if (count < 1 || count > 2 || !context->argument(0).isString()
        || !isOptions(context->argument(1)))
        return raiseWrongArguments(kClass, "save", context);
    const QString name = context->argument(0).toString();
    ztrace::Settings settings = content->settings;
    QString error;
    try {
        const std::set<std::string> said
            = storeOptions(context->argument(1), OptionsOf::Writing, &settings);
        if (engine->hasUncaughtException())
            return engine->uncaughtException();
        if (const ztrace::Format *format = formatOfDrawing(name))
            requireEffect(said, settings, format);
    } catch (const ztrace::Failure &failure) {
        return raiseIn("save", textOf(failure.what()), context);
    }
    if (saveDrawing(content->drawing, ztrace::writeOptions(settings), name, &error))
        return engine->undefinedValue();
    return raiseIn("save", aboutFile(name, error), context);
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
        QString::fromLatin1("ZDrawing(%1 objects)").arg(self->content->drawing.outlines.size()));
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
        { "getObject", guarded<getObject> },
        { "getLayer", guarded<getLayer> },
        { "getColor", guarded<getColor> },
        { "getLayers", guarded<getLayers> },
        { "setPage", guarded<setPage> },
        { "getPage", guarded<getPage> },
        { "setUnit", guarded<setUnit> },
        { "getUnit", guarded<getUnit> },
        { "setResolution", guarded<setResolution> },
        { "getResolution", guarded<getResolution> },
        { "save", guarded<save> },
    };
    const QScriptValue proto
        = makePrototype<ZDrawing>(engine, kMethods, sizeof(kMethods) / sizeof(kMethods[0]));
    installConstructor(engine, kClass, guarded<create>, proto);
}
