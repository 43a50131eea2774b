// (c) the ztrace developers. Licence: see LICENSE.
#include "taskwork.h"

#include "books.h"
#include "fingerprint.h"
#include "itemsettings.h"
#include "limits.h"
#include "preview.h"
#include "results.h"
#include "selfcheck.h"
#include "tracedline.h"

#include "cli/pages.h"
#include "cli/placement.h"

#include "drawing/pdf.h"
#include "drawing/png.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>

#include <unistd.h>

namespace ztrace {

namespace {

void makeFolders(const std::vector<std::string> &outputs)
{
    for (const std::string &output : outputs) {
        const std::string folder = output.substr(0, output.rfind('/'));
        errno = 0;
        if (!QDir().mkpath(QFile::decodeName(folder.c_str())))
            throw Failure(kOutputNotWritable,
                          folder + ": " + reasonText(errno).toLocal8Bit().toStdString());
    }
}

void addOutputs(const Task &task, const std::vector<Output> &outputs, Traced *traced)
{
    QJsonArray list;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const QByteArray bytes = traced->files->contentsOf(outputs[i].fileName);
        const QString sha = QString::fromLatin1(sha256Of(bytes));
        if (i == task.outputs.size()) {
            traced->line.insert(QLatin1String("part"), sha);
            continue;
        }
        QJsonObject output;
        insertName("file", task.outputs[i], &output);
        output.insert(QLatin1String("format"), QLatin1String(outputs[i].format->name));
        output.insert(QLatin1String("sha256"), sha);
        output.insert(QLatin1String("bytes"), bytes.size());
        list.append(output);
    }
    traced->line.insert(QLatin1String("outputs"), list);
}

} // namespace

TaskWork::TaskWork(const CommandLine &commandLine, const std::set<std::string> &said)
    : line(commandLine), onCommandLine(said)
{ }

std::string TaskWork::fullName(const std::string &output) const
{
    return line.settings.batch.out + '/' + output;
}

TraceJob TaskWork::jobOf(const Task &task, QJsonArray *warnings) const
{
    TraceJob job;
    job.threads = 1; // the processes of a batch are side by side already
    job.input = task.item.path;
    job.settings = line.settings;
    job.given = line.given;
    job.onTheSpot = onCommandLine;
    applyItemSettings(task.item.settings, &job.settings, &job.given);
    job.settings.page = task.item.page;
    if (task.item.page > 1)
        job.given.insert("page"); // by a manifest, say
    job.settings.outputs.clear();
    for (const std::string &output : task.outputs)
        job.settings.outputs.push_back(fullName(output));
    if (!task.part.empty())
        job.settings.outputs.push_back(fullName(task.part));
    job.warn = [warnings](const std::string &text) {
        warnings->append(QString::fromUtf8(text.c_str()));
    };
    return job;
}

void TaskWork::draw(const Task &task, const ImageSource &image, Traced *traced)
{
    QJsonArray warnings;
    TraceJob job = jobOf(task, &warnings);
    makeFolders(job.settings.outputs);
    job.outputs = outputsFor(task.item.path, job.settings);
    if (image.isDrawing()) {
        const Drawing drawing = readDrawing(image, &job);
        stage(drawing, job.settings, job.outputs, traced);
        addDrawing(drawing, &traced->line);
    } else {
        if (task.item.pages <= 1)
            warnOfSource(image, job);
        tracePage(task, image, job, traced);
    }
    for (const QJsonValue &warning : qAsConst(warnings))
        addWarning(warning.toString().toStdString(), &traced->line);
    addOutputs(task, job.outputs, traced);
    traced->line.insert(QLatin1String("outcome"), QLatin1String(kDone));
}

void TaskWork::tracePage(const Task &task, const ImageSource &image, TraceJob job, Traced *traced)
{
    auto start = std::chrono::steady_clock::now();
    Remarks remarks;
    QImage picture = image.read(task.item.page, !job.settings.raw, &remarks);
    warnOfRemarks(remarks, job);
    if (remarks.isMadeSmaller)
        traced->line.insert(QLatin1String(kLimits), limitsOf(line.settings));
    const double reading = secondsSince(start);
    const Ending ending = image.ending(task.item.page);
    warnOfEnding(ending, job);
    usePlacement(image, task.item.page, &job);
    const bool checks = line.settings.batch.check;
    const QImage shown = checks || task.preview > 0 ? picture : QImage();
    const TracedPicture page = tracePicture(std::move(picture), job);
    addTrace(page, &traced->line);
    QJsonObject seconds = traced->line.value(QLatin1String("seconds")).toObject();
    seconds.insert(QLatin1String("reading"), reading);
    start = std::chrono::steady_clock::now();
    stage(page.result.drawing, page.settings, job.outputs, traced);
    seconds.insert(QLatin1String("writing"), secondsSince(start));
    start = std::chrono::steady_clock::now();
    if (checks)
        addCheck(shown, page, line.settings.batch.flagBelow, ending, &traced->line);
    seconds.insert(QLatin1String("checking"), secondsSince(start));
    if (task.preview > 0)
        show(task, shown, drawnSmall(page.result.drawing, task.preview), traced);
    else // of an earlier drawing
        ::unlink(previewName(line.settings.batch.out, task.item.path, task.item.page).c_str());
    traced->line.insert(QLatin1String("seconds"), seconds);
}

// A report without one picture is still a report: what hinders this alone is a warning.
void TaskWork::show(const Task &task, const QImage &picture, const QImage &drawn, Traced *traced)
{
    const std::string name = previewName(line.settings.batch.out, task.item.path, task.item.page);
    try {
        makeFolders({ name });
        const QByteArray bytes = previewOf(picture, drawn, task.preview);
        QString error;
        traced->extra = freshFiles();
        if (!traced->extra->add(
                QFile::decodeName(name.c_str()),
                [&](QIODevice *device) { return device->write(bytes) == bytes.size(); }, &error))
            throw Failure(kOutputNotWritable, name + ": " + error.toLocal8Bit().toStdString());
    } catch (const Failure &failure) {
        if (saysNoRoom(failure.what(), line.settings.batch.out))
            throw;
        traced->extra.reset();
        missPreview(name, failure.what(), &traced->line);
    }
}

void TaskWork::showAgain(const Task &task, const ImageSource &image, Traced *traced)
{
    const std::string name = previewName(line.settings.batch.out, task.item.path, task.item.page);
    if (task.preview == 0 || image.isDrawing() || access(name.c_str(), F_OK) == 0)
        return;
    try {
        std::vector<std::string> drawings;
        for (const std::string &output : task.outputs)
            drawings.push_back(fullName(output));
        const QImage drawn = drawnFrom(drawings, task.preview);
        if (!drawn.isNull())
            show(task, image.read(task.item.page, true), drawn, traced);
    } catch (const Failure &failure) {
        if (saysNoRoom(failure.what(), line.settings.batch.out))
            throw;
    } catch (const std::bad_alloc &) { }
}

std::unique_ptr<OutputFiles> TaskWork::freshFiles()
{
    if (!cleanFolders)
        cleanFolders = std::make_shared<QSet<QByteArray>>();
    return std::make_unique<OutputFiles>(cleanFolders);
}

void TaskWork::stage(const Drawing &drawing, const Settings &settings,
                     const std::vector<Output> &outputs, Traced *traced)
{
    traced->files = freshFiles();
    stageOutputs(outputs, drawing, settings, traced->files.get());
}

void TaskWork::putTogether(const Task &task, Traced *traced)
{
    PdfBook book;
    for (const int page : pagesWithin(pagesValue("pages", task.pages, kMostPages), kMostPages)) {
        const QByteArray part = partOf(task.item.path, page);
        const QString number = QString::number(page);
        if (task.parts.value(number).toString() != QLatin1String(sha256Of(part))
            || !book.addPage(part))
            throw Failure(kInputUnreadable,
                          task.item.path + ": the drawing of page " + std::to_string(page)
                              + " has gone (start again to trace it once more)");
    }
    QJsonArray ignored;
    const TraceJob job = jobOf(task, &ignored);
    makeFolders(job.settings.outputs);
    const std::vector<Output> outputs = outputsFor(task.item.path, job.settings);
    traced->files = freshFiles();
    stageBook(outputs, &book, traced->files.get());
    addOutputs(task, outputs, traced);
    traced->line.insert(QLatin1String("pages"), QString::fromStdString(task.pages));
    traced->line.insert(QLatin1String(kParts), task.parts);
    if (task.isLimited)
        traced->line.insert(QLatin1String(kLimits), limitsOf(line.settings));
    if (!task.missing.empty())
        traced->line.insert(QLatin1String("missing"), QString::fromStdString(task.missing));
    traced->line.insert(QLatin1String("outcome"), QLatin1String(kDone));
}

QByteArray TaskWork::partOf(const std::string &path, int page) const
{
    QFile file(QFile::decodeName(fullName(partName(path, page)).c_str()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace ztrace
