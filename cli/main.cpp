// (c) the ztrace developers. Licence: see LICENSE.
//
// The command ztrace: an image in, a drawing out.
#include "commandline.h"
#include "effects.h"
#include "failure.h"
#include "formats.h"
#include "help.h"
#include "messages.h"
#include "onlycolours.h"
#include "plan.h"
#include "presets.h"
#include "progress.h"
#include "report.h"
#include "source.h"
#include "textfile.h"

#include "drawing/json.h"
#include "drawing/output.h"
#include "drawing/signals.h"
#include "drawing/text.h"
#include "imaging/classify.h"
#include "imaging/failure.h"
#include "imaging/paper.h"
#include "imaging/resolution.h"
#include "tracing/pipeline.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTextCodec>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
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
            tell(preset.error);
            continue;
        }
        std::printf("%-12s %s%s\n", preset.name.c_str(), preset.description.c_str(),
                    preset.origin == kBuiltIn ? "" : (" (" + preset.origin + ")").c_str());
    }
}

const char *presetOf(Kind kind)
{
    switch (kind) {
    case Kind::LineArt:
        return "lineart";
    case Kind::Logo:
        return "logo";
    case Kind::Poster:
        return "poster";
    case Kind::Photo:
        break;
    }
    return "photo";
}

Look lookAt(Picture *picture)
{
    const Classification classified = classify(picture);
    return { presetOf(classified.kind), classified.reason };
}

const char *sentenceOf(Remark remark)
{
    switch (remark) {
    case Remark::NoClearDirection:
        return "--deskew: no clear direction was found within 6 degrees";
    case Remark::NoSoftEdges:
        return "--upsample has no effect: the image has no soft edges";
    case Remark::TooManyShapes:
        break;
    }
    return "--fit shapes has no effect: the image has too many small areas";
}

class Run
{
public:
    explicit Run(const CommandLine &commandLine) : line(commandLine) { }

    ExitCode all()
    {
        useConfiguration();
        ImageSource::requireFile(line.input);
        const std::vector<Output> outputs = outputsFor(line.input, line.settings);
        ProgressLine progressLine(line.settings);
        progress = &progressLine;
        progress->stage("reading " + line.input);
        const ImageSource source(line.input, { line.settings.maxPixels, line.settings.maxMemory });
        if (source.isDrawing()) {
            convert(source, outputs);
            return kSuccess;
        }
        tellOfSource(source);
        if (line.settings.page > 0) {
            trace(source, line.settings.page, outputs);
            return kSuccess;
        }
        return traceAllPages(source, outputs);
    }

private:
    void warn(const std::string &text)
    {
        if (!line.settings.quiet && told.insert(text).second)
            tell(text);
    }

    void tellOfSource(const ImageSource &source)
    {
        const std::string name = inputName(line.input);
        if (source.filesLeftOut() > 0)
            warn(name + ": files that the image names are not loaded");
        if (line.given.count("page"))
            return;
        const int pages = std::max(source.pages(), source.pagesClaimed());
        if (pages > 1) {
            warn(name + ": page 1 of " + std::to_string(pages)
                 + " is traced (see --page; --page all takes every one)");
        }
    }

    void tellOfEnding(Ending ending)
    {
        const std::string name = inputName(line.input);
        if (ending == Ending::CutShort)
            warn(name + ": the image is incomplete; what is missing has one colour");
        if (ending == Ending::Untold)
            warn(name + ": whether the image is complete cannot be told of this format");
    }

    void useConfiguration()
    {
        onCommandLine = line.given;
        const std::string &file = line.settings.config;
        if (!file.empty())
            applySettings(parseSettings(textOfFile(file), file, Role::Configuration), file,
                          &line.given, &line.settings);
        if (!file.empty())
            line.settings.filesRead.push_back(file);
        // A wrong name is to be told before the work.
        if (line.settings.preset == kAuto)
            return;
        const Preset preset = findPreset(line.settings.preset);
        if (preset.origin != kBuiltIn)
            line.settings.filesRead.push_back(preset.origin);
    }

    // A page that cannot be traced keeps no other from it.
    ExitCode traceAllPages(const ImageSource &source, const std::vector<Output> &outputs)
    {
        const int pages = source.pages();
        const int claimed = std::max(pages, source.pagesClaimed());
        if (claimed == 1) {
            for (const Output &output : outputs)
                refuseToReplace(output.fileName, line.settings);
            trace(source, 1, outputs);
            return kSuccess;
        }
        std::vector<std::vector<Output>> outputsOfPages;
        for (int page = 1; page <= pages; ++page)
            outputsOfPages.push_back(outputsForPage(outputs, page, line.input, line.settings));
        int failed = claimed - pages;
        std::set<ExitCode> codes;
        if (failed > 0)
            codes.insert(kInputUnreadable);
        for (int page = 1; page <= pages; ++page) {
            try {
                trace(source, page, outputsOfPages[static_cast<std::size_t>(page - 1)]);
                continue;
            } catch (const Failure &failure) {
                tell("page " + std::to_string(page) + ": " + failure.what());
                codes.insert(failure.code);
            } catch (const TraceError &error) {
                tell("page " + std::to_string(page) + ": " + error.what());
                codes.insert(kFailed);
            } catch (const std::bad_alloc &) {
                tell("page " + std::to_string(page) + ": not enough memory");
                codes.insert(kFailed);
            }
            ++failed;
        }
        if (claimed > pages) {
            tell(inputName(line.input) + ": only " + std::to_string(pages) + " of "
                 + std::to_string(claimed) + " pages can be read");
        }
        if (failed == 0)
            return kSuccess;
        return failed == claimed && codes.size() == 1 ? *codes.begin() : kFailed;
    }

    Settings settingsFor(Picture *picture, Look *look)
    {
        Settings settings = line.settings;
        if (settings.raw)
            return settings;
        *look = settings.preset == kAuto ? lookAt(picture) : Look { settings.preset, "" };
        const Preset preset = findPreset(look->preset);
        std::set<std::string> given = line.given;
        applySettings(parseSettings(preset.text, preset.origin, Role::Preset), preset.origin,
                      &given, &settings);
        return settings;
    }

    void trace(const ImageSource &source, int page, const std::vector<Output> &outputs)
    {
        QImage image = source.read(page, !line.settings.raw);
        tellOfEnding(source.ending(page));
        Look look = { "raw", "" };
        progress->stage("looking");
        if (line.settings.background && !line.settings.raw) {
            image = image.convertToFormat(QImage::Format_ARGB32);
            putOnPaper(&image, *line.settings.background);
        }
        Picture picture(std::move(image));
        const Settings settings = settingsFor(&picture, &look);
        for (const std::string &sentence : withoutEffect(onCommandLine, false, settings, outputs))
            warn(sentence);
        useResolution(settings, outputs, &picture);
        TraceResult result = traceOnly(std::move(picture), planOf(settings));
        for (Remark remark : result.report.remarks)
            warn(sentenceOf(remark));
        result.drawing.about = aboutTrace(result, look, settings);
        write(result.drawing, settings, outputs, [&](std::FILE *stream) {
            if (settings.stats)
                printStatistics(result, look, stream);
            if (settings.json)
                printJson(result.drawing, line.input, page, aboutRun(result, look), stream);
        });
    }

    // The colours that are to be kept are among the palette's, which is known after a trace.
    TraceResult traceOnly(Picture picture, TracePlan plan)
    {
        const auto announce = [this](const char *stage) { progress->stage(stage); };
        const std::vector<QRgb> wanted = plan.composition.onlyColours;
        if (wanted.empty())
            return traceImage(std::move(picture), plan, announce);
        TraceResult result = traceImage(picture, plan, announce);
        std::vector<std::string> notes;
        plan.composition.onlyColours = nearestInPalette(wanted, result.report.palette, &notes);
        for (const std::string &note : notes)
            warn(note);
        if (plan.composition.onlyColours == wanted)
            return result;
        return traceImage(std::move(picture), plan, announce);
    }

    // Pixels that are not square are made so, and what has to be guessed is told.
    void useResolution(const Settings &settings, const std::vector<Output> &outputs,
                       Picture *picture)
    {
        const bool given = settings.dpi && *settings.dpi > 0.0;
        const Resolution resolution = resolutionOf(picture->asImage());
        if (!given && !resolution.isSquare()) {
            const std::string sizes = numberText(resolution.across, 2).toStdString() + " x "
                + numberText(resolution.down, 2).toStdString() + " pixels an inch";
            if (settings.raw) {
                warn(inputName(line.input) + ": " + sizes
                     + " are taken as square, since --raw changes nothing");
            } else {
                warn(inputName(line.input) + ": " + sizes + " are made square");
                const Uninterrupted inherited;
                QImage square = withSquarePixels(picture->asImage());
                if (square.isNull())
                    failForMemory();
                *picture = Picture(std::move(square));
            }
        }
        if (settings.unit == Unit::Pixel)
            return;
        if (!given && !tellsResolution(picture->asImage()))
            warn(inputName(line.input)
                 + ": 96 pixels an inch are taken, as it says nothing else (see --dpi)");
        for (const Output &output : outputs) {
            if ((output.format->capabilities & kChoosesCurves)
                && settings.dxf.version == DxfVersion::R12)
                warn("r12 has no place for the unit; programs have to be told when they read it");
        }
    }

    void convert(const ImageSource &source, const std::vector<Output> &outputs)
    {
        Drawing drawing;
        QString error;
        if (!readJson(source.contents(), &drawing, &error))
            throw Failure(kInputUnreadable, inputName(line.input) + ": " + error.toStdString());
        if (line.settings.dpi && *line.settings.dpi > 0.0)
            drawing.dpi = *line.settings.dpi;
        if (line.given.count("units"))
            drawing.unit = line.settings.unit;
        line.settings.style.byLayer = false; // its areas are not cut out of each other
        for (const std::string &sentence :
             withoutEffect(onCommandLine, true, line.settings, outputs))
            warn(sentence);
        write(drawing, line.settings, outputs, [&](std::FILE *stream) {
            if (line.settings.stats)
                printStatistics(drawing, stream);
            if (line.settings.json)
                printJson(drawing, line.input, 1, QJsonObject(), stream);
        });
    }

    // Outputs first: a reader of the report that goes away early takes no drawing with it.
    void write(const Drawing &drawing, const Settings &settings, const std::vector<Output> &outputs,
               const std::function<void(std::FILE *)> &report)
    {
        progress->stage("writing");
        if (drawing.outlines.empty())
            warn(inputName(line.input) + ": the drawing is empty");
        OutputFiles files;
        stageOutputs(outputs, drawing, settings, &files);
        commitOutputs(&files);
        std::FILE *stream = reportStream(outputs);
        errno = 0;
        report(stream);
        requireArrival(stream);
    }

    // Standard output is for one thing at a time.
    static std::FILE *reportStream(const std::vector<Output> &outputs)
    {
        for (const Output &output : outputs) {
            if (output.fileName == QLatin1String("-"))
                return messageStream();
        }
        return stdout;
    }

    CommandLine line;
    std::set<std::string> onCommandLine; // settings that were given there, not in a file
    std::set<std::string> told;          // warnings are given once, not once a page
    ProgressLine *progress = nullptr;
};

ExitCode perform(int argc, char **argv)
{
    const CommandLine line = parseCommandLine(argc, argv);
    errno = 0;
    switch (line.action) {
    case CommandLine::Trace:
        return Run(line).all();
    case CommandLine::ListPresets:
        listPresets();
        break;
    case CommandLine::Help:
        std::fputs(helpText(helpWidth()).c_str(), stdout);
        break;
    case CommandLine::Version:
        std::puts("ztrace " ZTRACE_VERSION);
        break;
    }
    requireArrival(stdout);
    return kSuccess;
}

} // namespace

} // namespace ztrace

int main(int argc, char **argv)
{
    using namespace ztrace;
    reserveStandardDescriptors();
    // A reader that goes away is a failure to write, not the end.
    std::signal(SIGPIPE, SIG_IGN);
    // Image readers may draw text, which needs a platform; none that shows anything.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // What an image reader complains of is no reason to end.
    qunsetenv("QT_FATAL_WARNINGS");
    qunsetenv("QT_FATAL_CRITICALS");
    qInstallMessageHandler(toolkitMessage);
    QLoggingCategory::setFilterRules(QString::fromLatin1("*.debug=false"));
    // An image that says nothing of its resolution is then taken for one of 96 dots an inch.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
    int ownName = 1; // the toolkit has options of its own, which are not ours
    QGuiApplication application(ownName, argv);
    std::setlocale(LC_NUMERIC, "C");
    // File names are bytes; this codec maps them one to one, whatever the locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    try {
        return perform(argc, argv);
    } catch (const Failure &failure) {
        tell(failure.what());
        return failure.code;
    } catch (const TraceError &error) {
        tell(error.what());
        return kFailed;
    } catch (const std::bad_alloc &) {
        tell("not enough memory");
        return kFailed;
    }
}
