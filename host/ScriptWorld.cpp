// (c) the ztrace developers. Licence: see LICENSE.
#include "ScriptWorld.h"

#include "ZEcmaDrawing.h"
#include "ZEcmaPolyline.h"
#include "ZEcmaQImage.h"
#include "binding.h"
#include "interruption.h"
#include "process.h"
#include "textFiles.h"
#include "traceImage.h"

#include <QDir>
#include <QFileInfo>
#include <QScriptValueIterator>

#include <cmath>
#include <cstdio>

using zelvora::ScriptWorld;

namespace {

const char kWorldProperty[] = "zelvoraScriptWorld";

// The toolkit's default global object ignores flags: a property set to be skipped is enumerated all
// the same. An ordinary object in its place, with the same contents, heeds them.
void replaceGlobalObject(QScriptEngine &engine)
{
    QScriptValue global = engine.newObject();
    QScriptValueIterator builtIns(engine.globalObject());
    while (builtIns.hasNext()) {
        builtIns.next();
        global.setProperty(builtIns.scriptName(), builtIns.value(),
                           builtIns.flags() | QScriptValue::SkipInEnumeration);
    }
    engine.setGlobalObject(global);
}

} // namespace

ScriptWorld::ScriptWorld(const QStringList &arguments) : hasQuit(false), code(0)
{
    replaceGlobalObject(scriptEngine);
    scriptEngine.setProperty(kWorldProperty, QVariant::fromValue(static_cast<void *>(this)));
    static const Method kFunctions[] = {
        { "print", guarded<print> },           { "quit", guarded<quit> },
        { "include", guarded<include> },       { "readTextFile", guarded<readTextFile> },
        { "listFolder", guarded<listFolder> }, { "traceImage", guarded<traceImage> },
    };
    QScriptValue global = scriptEngine.globalObject();
    const QScriptValue::PropertyFlags hidden = QScriptValue::SkipInEnumeration;
    for (const Method &method : kFunctions) {
        global.setProperty(QLatin1String(method.name), scriptEngine.newFunction(method.function),
                           hidden);
    }
    global.setProperty(QLatin1String("args"), qScriptValueFromSequence(&scriptEngine, arguments),
                       hidden);
    ZEcmaQImage::initEcma(scriptEngine);
    ZEcmaPolyline::initEcma(scriptEngine);
    ZEcmaDrawing::initEcma(scriptEngine);
}

ScriptWorld *ScriptWorld::of(QScriptEngine *engine)
{
    return static_cast<ScriptWorld *>(engine->property(kWorldProperty).value<void *>());
}

bool ScriptWorld::run(const QString &fileName, QString *error)
{
    QString text;
    if (!readText(fileName, &text, error))
        return false;
    const Interruptible guard(&scriptEngine);
    const QScriptValue result = evaluateFile(fileName, text);
    if (!hasQuit && scriptEngine.hasUncaughtException())
        failure = describeFailure(result);
    return true;
}

QScriptValue ScriptWorld::evaluateFile(const QString &fileName, const QString &text)
{
    folders.append(QFileInfo(fileName).absolutePath());
    const QScriptValue result = scriptEngine.evaluate(text, fileName, 1);
    folders.removeLast();
    return result;
}

// "file.js:3: Error: text", then the calls that led there, the innermost first.
QString ScriptWorld::describeFailure(const QScriptValue &error) const
{
    const QStringList trace = scriptEngine.uncaughtExceptionBacktrace();
    QString place = QString::fromLatin1("%1:%2")
                        .arg(error.property(QLatin1String("fileName")).toString())
                        .arg(scriptEngine.uncaughtExceptionLineNumber());
    // A script may throw anything, and only an Error knows its file; the trace does as well.
    if (!error.isError() && !trace.isEmpty())
        place = trace.first().section(QLatin1String(" at "), -1);
    QString text = place + QLatin1String(": ") + error.toString();
    for (const QString &call : trace)
        text += QLatin1String("\n    ") + call;
    return text;
}

QScriptValue ScriptWorld::print(QScriptContext *context, QScriptEngine *engine)
{
    QStringList texts;
    for (int i = 0; i < context->argumentCount(); ++i) {
        texts.append(context->argument(i).toString());
        // The value's own toString may have thrown.
        if (engine->hasUncaughtException())
            return engine->uncaughtException();
    }
    QString *const error = &of(engine)->lossOfOutput;
    const QByteArray line = texts.join(QLatin1String(" ")).toUtf8() + '\n';
    if (error->isEmpty() && writeToStandardOutput(line, error))
        return engine->undefinedValue();
    if (takesStop()) {
        error->clear();
        return raise(QString::fromLatin1(kInterruptedText), context);
    }
    return raise(QString::fromLatin1("print(): cannot write to standard output: %1").arg(*error),
                 context);
}

QScriptValue ScriptWorld::quit(QScriptContext *context, QScriptEngine *engine)
{
    if (context->argumentCount() > 1
        || (context->argumentCount() == 1 && !context->argument(0).isNumber()))
        return raise(QString::fromLatin1("Wrong number/types of arguments for quit()."), context);
    const double number = context->argumentCount() == 1 ? context->argument(0).toNumber() : 0.0;
    if (!(number >= 0.0 && number <= 255.0) || std::floor(number) != number)
        return raise(QString::fromLatin1("quit(): The code is a whole number from 0 to 255."),
                     context);
    ScriptWorld *world = of(engine);
    world->code = static_cast<int>(number);
    world->hasQuit = true;
    // Not an error: no catch and no finally of the script stops it.
    engine->abortEvaluation();
    return engine->undefinedValue();
}

QScriptValue ScriptWorld::include(QScriptContext *context, QScriptEngine *engine)
{
    if (context->argumentCount() != 1 || !context->argument(0).isString())
        return raise(QString::fromLatin1("Wrong number/types of arguments for include()."),
                     context);
    ScriptWorld *world = of(engine);
    const QString name = context->argument(0).toString();
    const QString fileName = QDir(world->folders.value(world->folders.size() - 1)).filePath(name);
    QString text;
    QString error;
    if (!readText(fileName, &text, &error))
        return raise(QLatin1String("include(): ") + aboutFile(name, error), context);
    // evaluate() runs in the scope of this call: make that the global one.
    context->setActivationObject(engine->globalObject());
    context->setThisObject(engine->globalObject());
    const QScriptValue result = world->evaluateFile(fileName, text);
    if (world->hasQuit)
        engine->abortEvaluation();
    return result;
}
