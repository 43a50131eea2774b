// (c) the ztrace developers. Licence: see LICENSE.
//
// The command ztrace: an image in, a drawing out.
#include "batch/batch.h"
#include "batch/summary.h"
#include "batch/version.h"
#include "batch/worker.h"
#include "commandline.h"
#include "converters.h"
#include "failure.h"
#include "formats.h"
#include "heap.h"
#include "help.h"
#include "lastwords.h"
#include "messages.h"
#include "pages.h"
#include "presets.h"
#include "progress.h"
#include "report.h"
#include "source.h"
#include "timelimit.h"
#include "toolkit.h"
#include "tracejob.h"

#include "drawing/output.h"
#include "drawing/pdf.h"
#include "imaging/failure.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QTextCodec>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <system_error>

namespace ztrace {

namespace {

void listPresets()
{
    std::printf("%-12s %s\n", kAutoPreset, "one of these, by the look of the image");
    for (const Preset &preset : allPresets()) {
        if (!preset.error.empty()) {
            tell(preset.error);
            continue;
        }
        std::printf("%-12s %s%s\n", preset.name.c_str(), preset.description.c_str(),
                    preset.origin == kBuiltIn ? "" : (" (" + preset.origin + ")").c_str());
    }
}

class Run
{
public:
    explicit Run(const CommandLine &commandLine) : line(commandLine) { }

    ExitCode all()
    {
        onCommandLine = line.given;
        useConfiguration(&line.settings, &line.given);
        if (line.settings.timeLimit.value_or(0.0) > 0.0)
            endAfter(*line.settings.timeLimit);
        ImageSource::requireFile(line.input);
        const std::vector<Output> outputs = outputsFor(line.input, line.settings);
        ProgressLine progressLine(line.settings);
        progress = &progressLine;
        progress->stage("reading " + line.input);
        ImageSource source(line.input, { line.settings.maxPixels, line.settings.maxMemory });
        if (source.isDrawing()) {
            convert(source, outputs);
            return kSuccess;
        }
        job = jobOfLine();
        if (line.settings.page > 0) {
            traceOnly(&source, line.settings.page, outputs);
            return kSuccess;
        }
        return traceAllPages(&source, outputs);
    }

private:
    void warn(const std::string &text)
    {
        if (!line.settings.quiet && told.insert(text).second)
            tell(text);
    }

    TraceJob jobOfLine()
    {
        TraceJob made;
        made.input = line.input;
        made.settings = line.settings;
        made.given = line.given;
        made.onTheSpot = onCommandLine;
        made.warn = [this](const std::string &text) { warn(text); };
        made.announce = [this](const char *stage) { progress->stage(stage); };
        return made;
    }

    // One of several; what is wrong with it is told.
    ExitCode tracePage(const ImageSource &source, int page, const std::vector<Output> &outputs)
    {
        const auto failed = [&](ExitCode code, const std::string &why) {
            tell("page " + std::to_string(page) + ": " + why);
            return code;
        };
        try {
            trace(source, page, outputs);
            return kSuccess;
        } catch (const Failure &failure) {
            return failed(failure.code, failure.what());
        } catch (const TraceError &error) {
            return failed(kFailed, error.what());
        } catch (const std::bad_alloc &) {
            return failed(kFailed, "not enough memory");
        }
    }

    // A page that cannot be traced keeps no other from it.
    ExitCode traceAllPages(ImageSource *source, const std::vector<Output> &outputs)
    {
        const int pages = source->pages();
        const int claimed = std::max(pages, source->pagesClaimed());
        const std::vector<int> wanted = pagesWithin(line.settings.pages, claimed);
        if (const int last = lastBeyond(line.settings.pages, claimed))
            warn(inputName(line.input) + ": there is no page " + std::to_string(last)
                 + " (the file has " + std::to_string(claimed) + ")");
        if (claimed == 1 && wanted == std::vector<int>(1, 1)) {
            for (const Output &output : outputs)
                refuseToReplace(output.fileName, line.settings);
            traceOnly(source, 1, outputs);
            return kSuccess;
        }
        std::vector<Output> single; // files with one page
        for (const Output &output : outputs)
            (output.format->capabilities & kHoldsPages ? books : single).push_back(output);
        for (const Output &output : books)
            refuseToReplace(output.fileName, line.settings);
        if (!books.empty())
            book = std::make_unique<PdfBook>();
        std::vector<std::vector<Output>> outputsOfPages;
        for (const int page : wanted)
            outputsOfPages.push_back(
                outputsForPage(single, page, claimed, line.input, line.settings));
        std::size_t failed = 0;
        std::set<ExitCode> codes;
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const bool isThere = wanted[i] <= pages || claimed == pages; // else told below, once
            const ExitCode code
                = isThere ? tracePage(*source, wanted[i], outputsOfPages[i]) : kInputUnreadable;
            if (code == kSuccess)
                continue;
            codes.insert(code);
            ++failed;
        }
        if (claimed > pages && wanted.back() > pages) {
            tell(inputName(line.input) + ": only " + std::to_string(pages) + " of "
                 + std::to_string(claimed) + " pages can be read");
        }
        writeBook();
        if (failed == 0)
            return kSuccess;
        return failed == wanted.size() && codes.size() == 1 ? *codes.begin() : kFailed;
    }

    // All pages that could be traced in one file.
    void writeBook()
    {
        if (!book || book->isEmpty())
            return;
        OutputFiles files;
        stageBook(books, book.get(), &files);
        commitOutputs(&files);
    }

    // The file's contents make room for the trace of it.
    void traceOnly(ImageSource *source, int page, const std::vector<Output> &outputs)
    {
        TraceJob pageJob;
        QImage image = read(*source, page, outputs, &pageJob);
        source->forget();
        trace(std::move(image), page, pageJob, outputs);
    }

    void trace(const ImageSource &source, int page, const std::vector<Output> &outputs)
    {
        TraceJob pageJob;
        QImage image = read(source, page, outputs, &pageJob);
        trace(std::move(image), page, pageJob, outputs);
    }

    QImage read(const ImageSource &source, int page, const std::vector<Output> &outputs,
                TraceJob *pageJob)
    {
        traced = TracedPicture(); // that of the page before
        Remarks remarks;
        QImage image = source.read(page, !line.settings.raw, &remarks);
        warnOfSource(source, job); // nothing of it is traced where that fails
        warnOfRemarks(remarks, job);
        *pageJob = job;
        pageJob->outputs = outputs;
        pageJob->outputs.insert(pageJob->outputs.end(), books.begin(), books.end());
        warnOfEnding(source.ending(page), *pageJob);
        usePlacement(source, page, pageJob);
        return image;
    }

    void trace(QImage image, int page, const TraceJob &pageJob, const std::vector<Output> &outputs)
    {
        forgetCode(); // of the toolkit's start and of decoding
        traced = tracePicture(std::move(image), pageJob);
        const TraceResult &result = traced.result;
        if (book)
            book->add(result.drawing, traced.settings.style);
        write(result.drawing, traced.settings, outputs, [&](std::FILE *stream) {
            if (traced.settings.stats)
                printStatistics(result, traced.look, stream);
            if (traced.settings.json)
                printJson(result.drawing, line.input, page, aboutRun(result, traced.look), stream);
        });
    }

    void convert(const ImageSource &source, const std::vector<Output> &outputs)
    {
        TraceJob drawn = jobOfLine();
        drawn.outputs = outputs;
        const Drawing drawing = readDrawing(source, &drawn);
        line.settings = drawn.settings;
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
    TraceJob job;                        // of every page
    std::set<std::string> onCommandLine; // settings that were given there, not in a file
    std::set<std::string> told;          // warnings are given once, not once a page
    ProgressLine *progress = nullptr;
    std::vector<Output> books;     // that get all pages, where there are several
    std::unique_ptr<PdfBook> book; // for them
    TracedPicture traced;          // of the last page
};

// Stays until the process ends, which leaves it where it is (toolkit.h, leave): to take the drawing
// of a photograph apart, outline by outline, takes a twentieth of the processor time of its run.
Run &runOf(const CommandLine &line)
{
    static Run run(line);
    return run;
}

ExitCode perform(int argc, char **argv)
{
    if (isWorker(argc, argv))
        return runWorker();
    const CommandLine line = parseCommandLine(argc, argv);
    errno = 0;
    switch (line.action) {
    case CommandLine::Trace:
        return runOf(line).all();
    case CommandLine::Batch:
        return runBatch(line, argc, argv);
    case CommandLine::BatchSummary:
        return runSummary(line);
    case CommandLine::ListPresets:
        listPresets();
        break;
    case CommandLine::ListFormats:
        listFormats();
        break;
    case CommandLine::Help:
        std::fputs(helpText(helpWidth()).c_str(), stdout);
        break;
    case CommandLine::Version:
        std::printf("ztrace %s\n", programVersion());
        break;
    }
    requireArrival(stdout);
    return kSuccess;
}

} // namespace

namespace {

int runGuarded(int argc, char **argv)
{
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
    } catch (const std::system_error &error) { // a thread that is refused
        tell(error.what());
        return kFailed;
    }
}

} // namespace

} // namespace ztrace

int main(int argc, char **argv)
{
    using namespace ztrace;
    reserveStandardDescriptors();
    // What becomes of a worker is seen, and told, by the run that it works for; and memory that it
    // kept would count as that of its next picture.
    if (!isWorker(argc, argv)) {
        keepHeap();
        sayLastWords("ztrace", kFailed);
    }
    ignoreSignalsOfWrites();
    waitForReaders();
    // Image readers may draw text, which needs a platform; none that shows anything.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Its loop is another library's else, which ends the process when it gets no memory.
    qputenv("QT_NO_GLIB", "1");
    // What an image reader complains of is no reason to end.
    qunsetenv("QT_FATAL_WARNINGS");
    qunsetenv("QT_FATAL_CRITICALS");
    // Its rules are read to the end, which a pipe or a device may not have.
    qunsetenv("QT_LOGGING_CONF");
    qInstallMessageHandler(toolkitMessage);
    QLoggingCategory::setFilterRules(QString::fromLatin1("*.debug=false"));
    // An image that says nothing of its resolution is then taken for one of 96 dots an inch.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);
    std::unique_ptr<QCoreApplication> application = startToolkit(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    // File names are bytes; this codec maps them one to one, whatever the locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    const int code = runGuarded(argc, argv);
    leave(code, std::move(application));
}
