// (c) the ztrace developers. Licence: see LICENSE.
#include "worker.h"

#include "books.h"
#include "earlier.h"
#include "fingerprint.h"
#include "finisher.h"
#include "itemsettings.h"
#include "keptsource.h"
#include "limits.h"
#include "preview.h"
#include "results.h"
#include "selfcheck.h"
#include "task.h"
#include "tracedline.h"
#include "version.h"

#include "cli/commandline.h"
#include "cli/pages.h"
#include "cli/placement.h"
#include "cli/source.h"
#include "cli/tracejob.h"

#include "drawing/output.h"
#include "drawing/pdf.h"
#include "drawing/png.h"
#include "imaging/failure.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <vector>

#include <malloc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

// Nothing can be written: no picture is to blame for it.
class NoRoom : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Of the world file that a map is placed by; empty where none is asked for, or none is there.
std::string shaOfWorldFile(const Task &task)
{
    const auto isMap = [](const std::string &output) {
        const Format *format = formatOfSuffix(
            QString::fromStdString(output.substr(std::min(output.rfind('.') + 1, output.size()))));
        return format && (format->capabilities & kIsAMap) != 0;
    };
    const bool asks
        = task.item.page == 1 && std::any_of(task.outputs.begin(), task.outputs.end(), isMap);
    const std::string name = asks ? worldFileOf(task.item.path) : std::string();
    return name.empty() ? name : shaOfFile(name);
}

int pagesOf(const ImageSource &file)
{
    return file.isDrawing() ? 1 : std::max({ 1, file.pages(), file.pagesClaimed() });
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class Worker
{
public:
    void greet(const QJsonObject &message)
    {
        std::vector<std::string> words;
        for (const QJsonValue &word : message.value(QLatin1String("words")).toArray())
            words.push_back(unpacked(word));
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(&word[0]);
        line = parseCommandLine(static_cast<int>(argv.size()), argv.data());
        fingerprint = fingerprintOf(line);
        onCommandLine = line.given;
        useConfiguration(&line.settings, &line.given);
        source.setLimits({ line.settings.maxPixels, line.settings.maxMemory });
        finisher = std::make_unique<Finisher>(); // what it needs is no picture's
        limitMemory(line.settings.batch.memoryLimit);
        answer(kReady, fingerprint);
    }

    void count(const QJsonObject &message)
    {
        const std::string path = unpacked(message.value(QLatin1String("path")));
        ++begun;
        int pages = 0;
        try {
            pages = pagesOf(source.of(path));
        } catch (const Failure &) { // its first page says why
        } catch (const std::bad_alloc &) {
            source.drop();
        }
        answer(kPages, QByteArray::number(pages));
    }

    void trace(const QJsonObject &message)
    {
        const Task task = taskOf(message);
        ++begun;
        Traced traced;
        try {
            attempt(task, &traced);
        } catch (const Failure &failure) {
            if (failure.code == kOutputNotWritable && saysNoRoom(failure.what()))
                throw NoRoom(failure.what());
            addFailure(failure.code, failure.what(), &traced.line);
        } catch (const TraceError &error) {
            addFailure(kFailed, error.what(), &traced.line);
        } catch (const std::bad_alloc &) {
            traced.letter = kLineOfMemory;
            source.drop();
            addFailure(kFailed, "not enough memory", &traced.line);
            traced.line.insert(QLatin1String("outcome"), QLatin1String(kOutcomeMemory));
        }
        const bool isFine = traced.letter == kSkipped || isDone(traced.line);
        if (!isFine) {
            traced.files.reset();
            cleanFolders.reset(); // to be looked at again
        } else if (traced.letter == kLine && !traced.line.contains(QLatin1String("flags"))
                   && !traced.line.contains(QLatin1String("warnings"))) {
            traced.letter = kLineOfDone;
        }
        finisher->add(std::move(traced));
    }

    // There is nothing to do for the moment.
    void rest()
    {
        if (begun == toldBegun)
            return;
        toldBegun = begun;
        answer(kTraced, QByteArray::number(begun));
        finisher->hurry();
    }

    // So that answers of this thread come after those of pictures.
    void flush()
    {
        if (finisher)
            finisher->flush();
    }

    bool isGreeted() const { return finisher != nullptr; }

    static void answer(char letter, const QByteArray &text) { answerAll(letter + text + '\n'); }

private:
    std::string fullName(const std::string &output) const
    {
        return line.settings.batch.out + '/' + output;
    }

    void attempt(const Task &task, Traced *traced)
    {
        peakMemory(true);
        const auto start = std::chrono::steady_clock::now();
        const double begin = processorSeconds();
        QJsonObject *result = &traced->line;
        const QByteArray settings = fingerprintOf(fingerprint, task.item.settings);
        beginLine(task.item, settings, task.attempt, result);
        std::string whyNot;
        const ImageSource *image = open(task.item.path, &whyNot);
        // Its other pages are not among the pictures. Without a checksum the next run tries again.
        if (task.item.pages == 0 && image && pagesOf(*image) > 1)
            throw Failure(
                kInputUnreadable,
                task.item.path
                    + ": its pages could not be counted before (start again to trace them)");
        const std::string worldSha = shaOfWorldFile(task);
        addSource(worldSha, result);
        answer(kStarted,
               QByteArray::number(begun) + ' ' + QByteArray::fromStdString(source.sha256()));
        if (isFinishedBefore(task,
                             { line.settings.batch.out, settings, source.sha256(), worldSha })) {
            skip(task, image, traced);
            return;
        }
        if (!task.item.sha256.empty() && !source.sha256().empty()
            && source.sha256() != task.item.sha256)
            throw Failure(kInputUnreadable,
                          task.item.path + ": its SHA-256 is not the expected one");
        if (!image)
            throw Failure(kInputUnreadable, whyNot);
        if (task.item.kind == ItemKind::Book)
            putTogether(task, traced);
        else
            draw(task, *image, traced);
        result->insert(QLatin1String("peak"), peakMemory(false));
        QJsonObject seconds = result->value(QLatin1String("seconds")).toObject();
        seconds.insert(QLatin1String("total"), secondsSince(start));
        seconds.insert(QLatin1String("processor"), processorSeconds() - begin);
        result->insert(QLatin1String("seconds"), seconds);
    }

    // Null, and why, for what cannot be read.
    const ImageSource *open(const std::string &path, std::string *whyNot)
    {
        try {
            return &source.of(path);
        } catch (const Failure &failure) {
            *whyNot = failure.what();
            return nullptr;
        }
    }

    void addSource(const std::string &worldSha, QJsonObject *result) const
    {
        if (!source.sha256().empty()) {
            result->insert(QLatin1String("sha256"), QString::fromStdString(source.sha256()));
            result->insert(QLatin1String("bytes"), double(source.size()));
        }
        if (!worldSha.empty())
            result->insert(QLatin1String("worldFile"), QString::fromStdString(worldSha));
    }

    // The picture is finished already.
    void skip(const Task &task, const ImageSource *image, Traced *traced)
    {
        const QJsonObject before = QJsonDocument::fromJson(task.before).object();
        if (image && isDone(before))
            showAgain(task, *image, traced);
        traced->letter = kSkipped;
        traced->text = before.value(QLatin1String("outcome")).toString().toUtf8();
        traced->line = QJsonObject();
    }

    TraceJob jobOf(const Task &task, QJsonArray *warnings)
    {
        TraceJob job;
        job.threads = 1; // the processes of a batch are side by side already
        job.input = task.item.path;
        job.settings = line.settings;
        job.given = line.given;
        job.onTheSpot = onCommandLine;
        applyItemSettings(task.item.settings, &job.settings, &job.given);
        job.settings.page = task.item.page;
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

    static void makeFolders(const std::vector<std::string> &outputs)
    {
        for (const std::string &output : outputs) {
            const std::string folder = output.substr(0, output.rfind('/'));
            errno = 0;
            if (!QDir().mkpath(QFile::decodeName(folder.c_str())))
                throw Failure(kOutputNotWritable,
                              folder + ": " + reasonText(errno).toLocal8Bit().toStdString());
        }
    }

    void draw(const Task &task, const ImageSource &image, Traced *traced)
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
        if (!warnings.isEmpty())
            traced->line.insert(QLatin1String("warnings"), warnings);
        addOutputs(task, job.outputs, traced);
        traced->line.insert(QLatin1String("outcome"), QLatin1String(kDone));
    }

    void tracePage(const Task &task, const ImageSource &image, TraceJob job, Traced *traced)
    {
        auto start = std::chrono::steady_clock::now();
        std::string remark;
        QImage picture = image.read(task.item.page, !job.settings.raw, &remark);
        if (!remark.empty())
            job.warn(inputName(task.item.path) + ": " + remark);
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
        traced->line.insert(QLatin1String("seconds"), seconds);
    }

    static QImage drawnSmall(const Drawing &drawing, int side)
    {
        const double longer = std::max(1, std::max(drawing.width, drawing.height));
        return renderDrawing(drawing, PaintStyle(), std::min(1.0, side / longer));
    }

    void show(const Task &task, const QImage &picture, const QImage &drawn, Traced *traced)
    {
        const std::string name
            = previewName(line.settings.batch.out, task.item.path, task.item.page);
        makeFolders({ name });
        const QByteArray bytes = previewOf(picture, drawn, task.preview);
        QString ignored; // a report without one picture is still a report
        traced->extra = freshFiles();
        if (!traced->extra->add(
                QFile::decodeName(name.c_str()),
                [&](QIODevice *device) { return device->write(bytes) == bytes.size(); }, &ignored))
            traced->extra.reset();
    }

    // The preview of a picture that an earlier run has finished without one.
    void showAgain(const Task &task, const ImageSource &image, Traced *traced)
    {
        const std::string name
            = previewName(line.settings.batch.out, task.item.path, task.item.page);
        if (task.preview == 0 || image.isDrawing() || access(name.c_str(), F_OK) == 0)
            return;
        try {
            std::vector<std::string> drawings;
            for (const std::string &output : task.outputs)
                drawings.push_back(fullName(output));
            show(task, image.read(task.item.page, true), drawnFrom(drawings, task.preview), traced);
        } catch (const Failure &) {
        } catch (const std::bad_alloc &) { }
    }

    std::unique_ptr<OutputFiles> freshFiles()
    {
        if (!cleanFolders)
            cleanFolders = std::make_shared<QSet<QByteArray>>();
        return std::make_unique<OutputFiles>(cleanFolders);
    }

    void stage(const Drawing &drawing, const Settings &settings, const std::vector<Output> &outputs,
               Traced *traced)
    {
        traced->files = freshFiles();
        stageOutputs(outputs, drawing, settings, traced->files.get());
    }

    static void addOutputs(const Task &task, const std::vector<Output> &outputs, Traced *traced)
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

    // All pages that could be traced, in one drawing.
    void putTogether(const Task &task, Traced *traced)
    {
        PdfBook book;
        for (const int page :
             pagesWithin(pagesValue("pages", task.pages, kMostPages), kMostPages)) {
            if (!book.addPage(partOf(task.item.path, page)))
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
        if (!task.missing.empty())
            traced->line.insert(QLatin1String("missing"), QString::fromStdString(task.missing));
        traced->line.insert(QLatin1String("outcome"), QLatin1String(kDone));
    }

    QByteArray partOf(const std::string &path, int page) const
    {
        QFile file(QFile::decodeName(fullName(partName(path, page)).c_str()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    CommandLine line;
    std::set<std::string> onCommandLine;
    QByteArray fingerprint;
    KeptSource source;
    OutputFiles::CleanFolders cleanFolders;
    qint64 begun = 0; // pictures, since the start
    qint64 toldBegun = 0;
    std::unique_ptr<Finisher> finisher;
};

void serve(Worker *worker, const QJsonObject &message)
{
    const bool isGreeting = message.contains(QLatin1String("words"));
    // A part of what the run has said did not arrive: it tries the picture with another worker.
    if (message.isEmpty() || (!isGreeting && !worker->isGreeted()))
        _exit(kFailed);
    try {
        if (isGreeting)
            worker->greet(message);
        else if (message.value(QLatin1String("count")).toBool())
            worker->count(message);
        else
            worker->trace(message);
    } catch (const NoRoom &noRoom) {
        worker->flush();
        Worker::answer(kNoRoom, noRoom.what());
    } catch (const Failure &failure) {
        worker->flush();
        Worker::answer(kRefused, QByteArray::number(failure.code) + ' ' + failure.what());
    }
}

// What the run has to say by now; rests when it has nothing.
ssize_t hear(Worker *worker, std::vector<char> *part)
{
    const ssize_t size = ::recv(kWorkerSocket, part->data(), part->size(), MSG_DONTWAIT);
    if (size >= 0 || errno != EAGAIN)
        return size;
    worker->rest();
    return ::read(kWorkerSocket, part->data(), part->size());
}

} // namespace

QString packed(const std::string &bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

std::string unpacked(const QJsonValue &value)
{
    return value.toString().toLatin1().toStdString();
}

bool isWorker(int argc, const char *const *argv)
{
    return argc == 2 && std::strcmp(argv[1], kWorkerArgument) == 0;
}

void answerAll(const QByteArray &answers)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    if (writeAll(kWorkerSocket, answers.constData(), answers.size()) != 0)
        _exit(kFailed); // the run has gone
}

ExitCode runWorker()
{
    mallopt(M_ARENA_MAX, 1); // memory of its own for the second thread would count as a picture's
    Worker worker;
    QByteArray text;
    std::vector<char> part(1 << 16);
    for (;;) {
        const ssize_t size = hear(&worker, &part);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return size == 0 ? kSuccess : kWrongUsage; // somebody's curiosity has no socket
        text.append(part.data(), static_cast<int>(size));
        int at = 0;
        for (int end = text.indexOf('\n'); end >= 0; end = text.indexOf('\n', at)) {
            const QByteArray message = text.mid(at, end - at);
            at = end + 1;
            serve(&worker, QJsonDocument::fromJson(message).object());
        }
        text.remove(0, at);
    }
}

} // namespace ztrace
