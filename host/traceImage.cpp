// (c) the ztrace developers. Licence: see LICENSE.
#include "traceImage.h"

#include "DrawingContent.h"
#include "binding.h"
#include "interruption.h"
#include "scriptsettings.h"
#include "textFiles.h"

#include "cli/failure.h"
#include "cli/tracejob.h"
#include "engine/kernels/stop.h"
#include "imaging/failure.h"

#include <QFile>
#include <QStringList>

#include <cstdlib>

namespace {

using namespace zelvora;

// A trace seeds the C library's random numbers. While this lives they are others than the script's,
// which go on afterwards as if nothing had been: a tracer draws from them, and --seed starts them.
class OwnRandomNumbers
{
public:
    OwnRandomNumbers() : before(initstate(1, state, sizeof state)) { }
    ~OwnRandomNumbers() { setstate(before); }
    OwnRandomNumbers(const OwnRandomNumbers &) = delete;
    OwnRandomNumbers &operator=(const OwnRandomNumbers &) = delete;

private:
    alignas(long) char state[128]; // bytes; the size that rand() begins with, or it would differ
    char *before;
};

// The drawing is for any format.
std::vector<ztrace::Output> allOutputs()
{
    std::vector<ztrace::Output> outputs;
    for (const ztrace::Format &format : ztrace::allFormats())
        outputs.push_back({ QString(), &format });
    return outputs;
}

QImage imageOfFile(const ztrace::TraceJob &job)
{
    const ztrace::Settings &settings = job.settings;
    const ztrace::ImageSource source(job.input, { settings.maxPixels, settings.maxMemory });
    if (source.isDrawing())
        throw ztrace::Failure(ztrace::kInputUnreadable, job.input + ": it is a drawing already");
    if (settings.page == 0) {
        throw ztrace::Failure(ztrace::kWrongUsage,
                              "--page: a script traces one page after the other");
    }
    warnOfSource(source, job);
    ztrace::Remarks remarks;
    QImage image = source.read(settings.page, !settings.raw, &remarks);
    warnOfRemarks(remarks, job);
    warnOfEnding(source.ending(settings.page), job);
    return image;
}

// The script's own image, which no file has to be read for.
QImage imageOfScript(const QImage &image, ztrace::TraceJob *job)
{
    job->input = "image";
    if (image.isNull())
        throw ztrace::Failure(ztrace::kInputUnreadable, "the image is null");
    if (qint64(image.width()) * image.height() > ztrace::kMostPixels)
        throw ztrace::Failure(ztrace::kFailed, "the image is too large to be traced");
    for (const char *name : { "page", "max-pixels", "max-memory" }) {
        if (job->onTheSpot.erase(name) > 0)
            job->warn(std::string("--") + name + " has no effect: no file is read");
    }
    return image;
}

QScriptValue paletteToScript(const std::vector<QRgb> &palette, QScriptEngine *engine)
{
    QScriptValue list = engine->newArray();
    for (std::size_t i = 0; i < palette.size(); ++i) {
        QScriptValue entry = engine->newObject();
        entry.setProperty(QLatin1String("color"),
                          QString::fromLatin1(ztrace::colourName(palette[i])));
        entry.setProperty(QLatin1String("alpha"), qAlpha(palette[i]));
        list.setProperty(static_cast<quint32>(i), entry);
    }
    return list;
}

QScriptValue countsToScript(const ztrace::Drawing &drawing, QScriptEngine *engine)
{
    const ztrace::Counts counts = ztrace::countPieces(drawing);
    QScriptValue object = engine->newObject();
    object.setProperty(QLatin1String("outlines"), counts.outlines);
    object.setProperty(QLatin1String("lines"), counts.lines);
    object.setProperty(QLatin1String("curves"), counts.curves);
    return object;
}

// Names with numbers.
template<typename Pairs>
QScriptValue numbersToScript(const Pairs &pairs, QScriptEngine *engine)
{
    QScriptValue object = engine->newObject();
    for (const auto &pair : pairs)
        object.setProperty(textOf(pair.first), pair.second);
    return object;
}

QScriptValue reportToScript(const ztrace::TracedPicture &traced, const QStringList &remarks,
                            QScriptEngine *engine)
{
    const ztrace::TraceReport &report = traced.result.report;
    QScriptValue object = engine->newObject();
    object.setProperty(QLatin1String("preset"), textOf(traced.look.preset));
    object.setProperty(QLatin1String("reason"), textOf(traced.look.reason));
    object.setProperty(QLatin1String("palette"), paletteToScript(report.palette, engine));
    object.setProperty(QLatin1String("threshold"),
                       report.threshold >= 0 ? QScriptValue(report.threshold)
                                             : engine->nullValue());
    object.setProperty(QLatin1String("upsampling"), report.upsampling);
    object.setProperty(QLatin1String("fit"), QLatin1String(report.shapes ? "fair" : "engine"));
    object.setProperty(QLatin1String("angle"), report.angle);
    object.setProperty(QLatin1String("evened"), report.evenedOut);
    object.setProperty(QLatin1String("counts"), countsToScript(traced.result.drawing, engine));
    object.setProperty(QLatin1String("options"), numbersToScript(report.engine, engine));
    object.setProperty(QLatin1String("seconds"), numbersToScript(report.seconds, engine));
    object.setProperty(QLatin1String("remarks"), qScriptValueFromSequence(engine, remarks));
    return object;
}

QScriptValue resultToScript(ztrace::TracedPicture *traced, const QStringList &remarks,
                            QScriptEngine *engine)
{
    QScriptValue result = engine->newObject();
    result.setProperty(QLatin1String("report"), reportToScript(*traced, remarks, engine));
    ZDrawing value;
    value.content->drawing = std::move(traced->result.drawing);
    value.content->settings = std::move(traced->settings);
    result.setProperty(QLatin1String("drawing"), engine->newVariant(QVariant::fromValue(value)));
    return result;
}

// `image` may be null: then the job's input is read.
QScriptValue traceJob(const QImage *image, const QScriptValue &options, ztrace::TraceJob *job,
                      QScriptEngine *engine)
{
    QStringList remarks;
    job->warn = [&remarks](const std::string &text) { remarks.append(textOf(text)); };
    job->onTheSpot = storeOptions(options, OptionsOf::Tracing, &job->settings);
    if (engine->hasUncaughtException())
        return engine->uncaughtException();
    job->given = job->onTheSpot;
    job->outputs = allOutputs();
    job->announce = [](const char *) { ztrace::stopWhereAsked(); };
    useConfiguration(&job->settings, &job->given);
    QImage pixels = image ? imageOfScript(*image, job) : imageOfFile(*job);
    const OwnRandomNumbers own;
    ztrace::TracedPicture traced = tracePicture(std::move(pixels), *job);
    return resultToScript(&traced, remarks, engine);
}

} // namespace

QScriptValue zelvora::traceImage(QScriptContext *context, QScriptEngine *engine)
{
    const QScriptValue source = context->argument(0);
    const QImage *image = source.isString() ? nullptr : ZEcmaHelper::scriptValueTo<QImage>(source);
    if (context->argumentCount() < 1 || context->argumentCount() > 2
        || (!source.isString() && !image) || !isOptions(context->argument(1)))
        return raise(QString::fromLatin1("Wrong number/types of arguments for traceImage()."),
                     context);
    // Getters of the options may let go of the script's image.
    const QImage held = image ? *image : QImage();
    const QString whyNot = image ? QString() : whyNoFileName(source.toString());
    if (!whyNot.isEmpty())
        return raise(QLatin1String("traceImage(): ") + whyNot, context);
    ztrace::TraceJob job;
    if (!image)
        job.input = QFile::encodeName(source.toString()).toStdString();
    const ztrace::StoppedBy stop(&stopFlag());
    try {
        return traceJob(image ? &held : nullptr, context->argument(1), &job, engine);
    } catch (const ztrace::Stopped &) {
        takesStop();
        return raise(QString::fromLatin1(kInterruptedText), context);
    } catch (const ztrace::Failure &failure) {
        return raise(QLatin1String("traceImage(): ") + textOf(failure.what()), context);
    } catch (const ztrace::TraceError &error) {
        // A tracer that was stopped has no outlines either.
        if (takesStop())
            return raise(QString::fromLatin1(kInterruptedText), context);
        return raise(QLatin1String("traceImage(): ") + textOf(error.what()), context);
    }
}
