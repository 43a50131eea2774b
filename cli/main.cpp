// (c) the ztrace developers. Licence: see LICENSE.
//
// The command ztrace: an image in, a drawing out.
#include "commandline.h"
#include "effects.h"
#include "failure.h"
#include "formats.h"
#include "look.h"
#include "presets.h"
#include "progress.h"
#include "report.h"
#include "source.h"
#include "tracing.h"

#include "drawing/json.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTextCodec>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <new>
#include <set>
#include <string>

namespace ztrace {

namespace {

const char kAuto[] = "auto";

void listPresets()
{
    std::printf("%-12s %s\n", kAuto, "one of these, by the look of the image");
    for (const Preset &preset : allPresets()) {
        if (!preset.error.empty()) {
            std::fprintf(stderr, "ztrace: %s\n", preset.error.c_str());
            continue;
        }
        std::printf("%-12s %s%s\n", preset.name.c_str(), preset.description.c_str(),
                    preset.origin == "built in" ? "" : (" (" + preset.origin + ")").c_str());
    }
}

// While this lives, interrupting the program waits: files are whole or not there.
class Uninterrupted
{
public:
    Uninterrupted()
    {
        sigset_t blocked;
        sigemptyset(&blocked);
        for (int number : { SIGINT, SIGTERM, SIGHUP })
            sigaddset(&blocked, number);
        pthread_sigmask(SIG_BLOCK, &blocked, &saved);
    }
    ~Uninterrupted() { pthread_sigmask(SIG_SETMASK, &saved, nullptr); }
    Uninterrupted(const Uninterrupted &) = delete;
    Uninterrupted &operator=(const Uninterrupted &) = delete;

private:
    sigset_t saved;
};

bool isDrawing(const std::string &name)
{
    const std::string ending = ".json";
    return name.size() > ending.size()
        && name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

class Run
{
public:
    explicit Run(const CommandLine &commandLine) : line(commandLine) { }

    void all()
    {
        useConfiguration();
        ImageSource::requireFile(line.input);
        const std::vector<Output> outputs = outputsFor(line.input, line.settings);
        ProgressLine progressLine(line.settings);
        progress = &progressLine;
        progress->stage("reading " + line.input);
        const ImageSource source(line.input);
        if (source.isCutShort())
            warn(line.input + ": the image is incomplete; what is missing has one colour");
        if (isDrawing(line.input)) {
            convert(source, outputs);
            return;
        }
        if (line.settings.page > 0) {
            trace(source, line.settings.page, outputs);
            return;
        }
        const int pages = source.pages();
        for (int page = 1; page <= pages; ++page)
            trace(source, page, pages > 1 ? outputsForPage(outputs, page, line.input) : outputs);
    }

private:
    void warn(const std::string &text)
    {
        if (!line.settings.quiet && told.insert(text).second)
            std::fprintf(stderr, "ztrace: %s\n", text.c_str());
    }

    void useConfiguration()
    {
        onCommandLine = line.given;
        const std::string &file = line.settings.config;
        if (!file.empty())
            applySettings(parseSettings(settingsFile(file), file), file, &line.given,
                          &line.settings);
        // A wrong name is to be told before the work.
        if (line.settings.preset != kAuto)
            findPreset(line.settings.preset);
    }

    Settings settingsFor(const QImage &image, Look *look)
    {
        Settings settings = line.settings;
        if (settings.raw)
            return settings;
        *look = settings.preset == kAuto ? lookAt(image) : Look { settings.preset, "" };
        const Preset preset = findPreset(look->preset);
        std::set<std::string> given = line.given;
        applySettings(parseSettings(preset.text, preset.origin), preset.origin, &given, &settings);
        return settings;
    }

    void trace(const ImageSource &source, int page, const std::vector<Output> &outputs)
    {
        QImage image = source.read(page, !line.settings.raw);
        Look look = { "raw", "" };
        progress->stage("looking");
        const Settings settings = settingsFor(image, &look);
        for (const std::string &sentence : withoutEffect(onCommandLine, settings, outputs))
            warn(sentence);
        const TraceResult result = traceImage(
            std::move(image), settings, [this](const char *stage) { progress->stage(stage); });
        if (result.drawing.outlines.empty() && !settings.onlyColours.empty())
            warn("no area has a colour of --only-color (--stats lists the palette)");
        write(result.drawing, settings, outputs, aboutTrace(result, look, settings));
        report(result, look, settings, outputs, page);
    }

    void convert(const ImageSource &source, const std::vector<Output> &outputs)
    {
        Drawing drawing;
        QString error;
        if (!readJson(source.contents(), &drawing, &error))
            throw Failure(kInputUnreadable, line.input + ": " + error.toStdString());
        if (line.settings.dpi && *line.settings.dpi > 0.0)
            drawing.dpi = *line.settings.dpi;
        if (line.given.count("units"))
            drawing.unit = line.settings.unit;
        for (const std::string &sentence :
             withoutEffectOnDrawings(onCommandLine, line.settings, outputs))
            warn(sentence);
        write(drawing, line.settings, outputs, QByteArray());
    }

    void write(const Drawing &drawing, const Settings &settings, const std::vector<Output> &outputs,
               const QByteArray &about)
    {
        progress->stage("writing");
        const Uninterrupted guard;
        for (const Output &output : outputs)
            writeOutput(output, drawing, settings, about);
    }

    void report(const TraceResult &result, const Look &look, const Settings &settings,
                const std::vector<Output> &outputs, int page) const
    {
        // Standard output is for one thing at a time.
        bool isTaken = false;
        for (const Output &output : outputs)
            isTaken = isTaken || output.fileName == QLatin1String("-");
        std::FILE *stream = isTaken ? stderr : stdout;
        if (settings.stats)
            printStatistics(result, look, stream);
        if (settings.json)
            printJson(result, look, settings, line.input, page, stream);
    }

    CommandLine line;
    std::set<std::string> onCommandLine; // settings that were given there, not in a file
    std::set<std::string> told;          // warnings are given once, not once a page
    ProgressLine *progress = nullptr;
};

void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

} // namespace ztrace

int main(int argc, char **argv)
{
    using namespace ztrace;
    // Image readers may draw text, which needs a platform; none that shows anything.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // What goes wrong is said once, by this program; the engine's own lines are for scripts.
    qInstallMessageHandler(dropMessage);
    QLoggingCategory::setFilterRules(QString::fromLatin1("*.debug=false"));
    // An image that says nothing of its resolution is then taken for one of 96 dots an inch.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
    int ownName = 1; // the toolkit has options of its own, which are not ours
    QGuiApplication application(ownName, argv);
    std::setlocale(LC_NUMERIC, "C");
    // File names are bytes; this codec maps them one to one, whatever the locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    try {
        const CommandLine line = parseCommandLine(argc, argv);
        if (line.action == CommandLine::ListPresets)
            listPresets();
        else if (line.action == CommandLine::Trace)
            Run(line).all();
        return kSuccess;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "ztrace: %s\n", failure.what());
        return failure.code;
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "ztrace: not enough memory\n");
        return kFailed;
    }
}
