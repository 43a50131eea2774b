// (c) the ztrace developers. Licence: see LICENSE.
//
// zelvora-headless: runs a script with the plug-ins of a folder, without a display.
#include "PluginHost.h"
#include "ScriptWorld.h"
#include "interruption.h"
#include "process.h"

#include <QDir>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

namespace {

enum ExitCode {
    kOk = 0,
    kFailed = 1,
    kWrongUsage = 2,
    kNoScript = 3,
    kNoOutput = 4,
    kScriptError = 5,
    kNoPlugins = 6
};

const char kUsage[]
    = "Usage: zelvora-headless [OPTIONS] SCRIPT.js [ARGS...]\n"
      "\n"
      "Runs a script with the plug-ins of a folder, as the application would load them. With - as\n"
      "its name the script is read from standard input.\n"
      "\n"
      "  --plugins DIR   folder of plug-ins; without it, the one of the installation\n"
      "  --seed N        seeds the C library's random numbers before the script; 1 when not given\n"
      "  --time-limit SECONDS\n"
      "                  ends the run when it has taken so long; 0, when not given, is no limit\n"
      "  --verbose       shows the debug lines of the plug-ins\n"
      "  --version       prints the version\n"
      "  --help          prints this text\n"
      "\n"
      "Exit codes: what the script gives to quit(); 0 at its end, 1 failure of the host, such as\n"
      "too little memory, 2 wrong usage, 3 script not readable, 4 standard output lost, 5 error "
      "in\n"
      "the script, 6 no plug-ins, 7 the time of --time-limit is over. An interrupt, SIGTERM and "
      "the\n"
      "time limit are an error in the script first, so that its finally is run, and end the "
      "process\n"
      "5 seconds later, or when a second signal comes.\n";

struct Arguments
{
    QString pluginFolder;
    QString script;
    QStringList scriptArguments;
    uint seed = 1;
    double timeLimit = 0.0; // seconds; 0: none
    bool verbose = false;
    bool wantsHelp = false;
    bool wantsVersion = false;
    QString error;
};

void complain(const QString &text)
{
    std::fprintf(stderr, "zelvora-headless: %s\n", qPrintable(text));
}

// Nothing, or what is wrong with the text as a seed.
QString seedError(const QString &text, uint *seed)
{
    bool isNumber = false;
    *seed = text.toUInt(&isNumber);
    return isNumber ? QString() : QString::fromLatin1("no seed: %1").arg(text);
}

QString timeLimitError(const QString &text, double *seconds)
{
    bool isNumber = false;
    *seconds = text.toDouble(&isNumber);
    const bool isGood = isNumber && *seconds >= 0.0 && *seconds <= zelvora::kMostSeconds;
    return isGood ? QString() : QString::fromLatin1("no time limit: %1").arg(text);
}

// "-" alone is a script.
bool isOption(const QString &word)
{
    return word.size() > 1 && word.startsWith(QLatin1Char('-'));
}

Arguments parse(const QStringList &words)
{
    Arguments result;
    int i = 0;
    for (; i < words.size() && isOption(words.at(i)); ++i) {
        const QString &word = words.at(i);
        if (word == QLatin1String("--plugins") && i + 1 < words.size())
            result.pluginFolder = words.at(++i);
        else if (word.startsWith(QLatin1String("--plugins=")))
            result.pluginFolder = word.mid(10);
        else if (word == QLatin1String("--seed") && i + 1 < words.size())
            result.error += seedError(words.at(++i), &result.seed);
        else if (word.startsWith(QLatin1String("--seed=")))
            result.error += seedError(word.mid(7), &result.seed);
        else if (word == QLatin1String("--time-limit") && i + 1 < words.size())
            result.error += timeLimitError(words.at(++i), &result.timeLimit);
        else if (word.startsWith(QLatin1String("--time-limit=")))
            result.error += timeLimitError(word.mid(13), &result.timeLimit);
        else if (word == QLatin1String("--verbose"))
            result.verbose = true;
        else if (word == QLatin1String("--help"))
            result.wantsHelp = true;
        else if (word == QLatin1String("--version"))
            result.wantsVersion = true;
        else
            result.error = QString::fromLatin1("cannot make sense of %1").arg(word);
    }
    if (i < words.size())
        result.script = words.at(i);
    else if (result.error.isEmpty())
        result.error = QString::fromLatin1("no script given");
    result.scriptArguments = words.mid(i + 1);
    return result;
}

// The text on standard output; kNoOutput, with a complaint, when it does not arrive.
int show(const char *text)
{
    QString error;
    if (zelvora::writeToStandardOutput(QByteArray(text), &error))
        return kOk;
    complain(QString::fromLatin1("cannot write to standard output: %1").arg(error));
    return kNoOutput;
}

bool loadPlugins(const QString &folder, zelvora::PluginHost *plugins)
{
    if (!plugins->loadFolder(folder)) {
        complain(QString::fromLatin1("no folder of plug-ins: %1").arg(folder));
        return false;
    }
    for (const QString &refusal : plugins->refusals())
        complain(QString::fromLatin1("plug-in refused: %1").arg(refusal));
    if (plugins->count() == 0)
        complain(QString::fromLatin1("no plug-in in %1").arg(folder));
    return plugins->count() > 0;
}

int runScript(const Arguments &arguments, zelvora::ScriptWorld *world)
{
    // The script engine has seeded the generator from the clock; runs are to be repeatable.
    std::srand(arguments.seed);
    QString error;
    if (!world->run(arguments.script, &error)) {
        complain(QString::fromLatin1("cannot read the script %1: %2").arg(arguments.script, error));
        return kNoScript;
    }
    if (zelvora::isInterrupted() && !world->hasEndedItself()) {
        if (world->hasFailed())
            std::fprintf(stderr, "%s\n", qPrintable(world->failureText()));
        zelvora::endAsAsked();
    }
    if (world->hasFailed())
        std::fprintf(stderr, "%s\n", qPrintable(world->failureText()));
    if (!world->outputError().isEmpty()) {
        complain(
            QString::fromLatin1("cannot write to standard output: %1").arg(world->outputError()));
        return kNoOutput;
    }
    return world->hasFailed() ? int(kScriptError) : world->exitCode();
}

// Whether the script engine is taken down at the end. Its destructor can crash after a script has
// enumerated getters that are named __proto__, when all is done already; leak checkers need it.
bool takesEngineDown()
{
#if defined(__SANITIZE_ADDRESS__)
    return true;
#else
    return false;
#endif
}

int runWithPlugins(const Arguments &arguments)
{
    if (!zelvora::hasRoomForScripts()) {
        complain(
            QString::fromLatin1("there is not enough address space for the script engine, which"
                                " takes 2.1 gigabytes: see the limits of the shell (ulimit)"));
        return kFailed;
    }
    zelvora::PluginHost plugins;
    if (!loadPlugins(arguments.pluginFolder, &plugins))
        return kNoPlugins;
    zelvora::ScriptWorld *const world = new zelvora::ScriptWorld(arguments.scriptArguments);
    plugins.extend(world->engine());
    const int code = runScript(arguments, world);
    // Before the plug-ins whose classes it holds.
    if (takesEngineDown())
        delete world;
    return code;
}

} // namespace

namespace {

int perform(int argc, char *argv[])
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    Arguments arguments = parse(words);
    if (arguments.wantsHelp)
        return show(kUsage);
    if (arguments.wantsVersion)
        return show("zelvora-headless " ZTRACE_VERSION "\n");
    if (!arguments.error.isEmpty()) {
        complain(arguments.error);
        std::fputs(kUsage, stderr);
        return kWrongUsage;
    }
    if (arguments.pluginFolder.isEmpty()) {
        arguments.pluginFolder = QDir(QCoreApplication::applicationDirPath())
                                     .absoluteFilePath(QLatin1String(ZELVORA_PLUGIN_FOLDER));
    }
    if (arguments.timeLimit > 0.0)
        zelvora::limitTime(arguments.timeLimit);
    if (!arguments.verbose)
        QLoggingCategory::setFilterRules(QLatin1String("default.debug=false"));
    try {
        return runWithPlugins(arguments);
    } catch (const std::exception &) {
        complain(QString::fromLatin1("there is not enough memory"));
        return kFailed;
    }
}

} // namespace

int main(int argc, char *argv[])
{
    zelvora::reserveStandardDescriptors();
    zelvora::ignoreSignalsOfWrites();
    zelvora::prepareToolkit();
    // The toolkit needs no folder of a login session, whose absence it would complain about when it
    // starts, and never asks for again.
    QTemporaryDir runtimeFolder;
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));
    // It gets the program's name alone: it would take options like -plugin out of the script's.
    int nameAlone = 1;
    // An image that says nothing of its resolution is taken for one of 96 dots an inch.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
    std::unique_ptr<QCoreApplication> application
        = std::make_unique<QGuiApplication>(nameAlone, argv);
    runtimeFolder.remove(); // at once: a run that is killed would leave it
    // Numbers are written the same in every locale, the toolkit's plug-ins included.
    std::setlocale(LC_NUMERIC, "C");
    const int code = perform(argc, argv);
    zelvora::leave(code, std::move(application));
}
