// (c) the ztrace developers. Licence: see LICENSE.
#include "worker.h"

#include "fingerprint.h"
#include "itemsettings.h"
#include "preview.h"
#include "results.h"
#include "selfcheck.h"
#include "tracedline.h"
#include "version.h"

#include "cli/commandline.h"
#include "cli/source.h"
#include "cli/tracejob.h"

#include "drawing/output.h"
#include "drawing/png.h"
#include "imaging/failure.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
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

bool saysNoRoom(const std::string &text)
{
    for (int error : { ENOSPC, EDQUOT, EROFS, EIO }) {
        const std::string reason = std::strerror(error);
        if (text.size() >= reason.size()
            && text.compare(text.size() - reason.size(), reason.size(), reason) == 0)
            return true;
    }
    return false;
}

std::vector<Said> saidIn(const QJsonValue &value)
{
    std::vector<Said> said;
    for (const QJsonValue &pair : value.toArray())
        said.push_back({ unpacked(pair.toArray().at(0)), unpacked(pair.toArray().at(1)) });
    return said;
}

std::string shaOfFile(const std::string &fileName, const SourceLimits &limits)
{
    try {
        return sha256Of(contentsOf(fileName, limits)).toStdString();
    } catch (const Failure &) {
        return std::string();
    }
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Processor time of this process.
double processorSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// The process's largest memory since this was called with true, in bytes; 0 where that is unknown.
double peakMemory(bool begin)
{
    if (begin) {
        const int file = open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
        if (file >= 0) {
            (void)!::write(file, "5", 1);
            close(file);
        }
        return 0.0;
    }
    char text[4096];
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    const ssize_t size = file >= 0 ? ::read(file, text, sizeof text - 1) : 0;
    if (file >= 0)
        close(file);
    text[std::max<ssize_t>(0, size)] = 0;
    const char *line = std::strstr(text, "VmHWM:");
    return line ? std::strtod(line + 6, nullptr) * 1024.0 : 0.0;
}

// Beyond what the process has by now. Sanitizers have their own idea of memory.
void limitMemory(double millions)
{
#if !defined(__SANITIZE_ADDRESS__)
    if (millions <= 0.0)
        return;
    long long pages = 0;
    if (std::FILE *file = std::fopen("/proc/self/statm", "re")) {
        if (std::fscanf(file, "%lld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    rlimit limit;
    if (getrlimit(RLIMIT_AS, &limit) != 0)
        return;
    const double bytes = millions * 1e6 + double(pages) * double(sysconf(_SC_PAGESIZE));
    if (bytes < double(limit.rlim_cur)) {
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        setrlimit(RLIMIT_AS, &limit);
    }
#else
    (void)millions;
#endif
}

// One picture, as the run asks for it.
struct Task
{
    Item item;
    std::vector<std::string> outputs; // below the folder of the drawings
    QJsonObject before;               // its line of an earlier run
    int preview = 0;                  // its longer side; 0: none
    bool retry = false;               // also when that one failed
    int attempt = 1;
};

Task taskOf(const QJsonObject &message)
{
    Task task;
    task.item.path = unpacked(message.value(QLatin1String("path")));
    task.item.page = message.value(QLatin1String("page")).toInt(1);
    task.item.pages = message.value(QLatin1String("pages")).toInt(1);
    task.item.sha256 = unpacked(message.value(QLatin1String("sha256")));
    task.item.settings = saidIn(message.value(QLatin1String("settings")));
    for (const QJsonValue &output : message.value(QLatin1String("outputs")).toArray())
        task.outputs.push_back(unpacked(output));
    const QByteArray before = message.value(QLatin1String("before")).toString().toUtf8();
    task.before = QJsonDocument::fromJson(before).object();
    task.preview = message.value(QLatin1String("preview")).toInt();
    task.retry = message.value(QLatin1String("retry")).toBool();
    task.attempt = message.value(QLatin1String("attempt")).toInt(1);
    return task;
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
        limits = { line.settings.maxPixels, line.settings.maxMemory };
        limitMemory(line.settings.batch.memoryLimit);
        answer(kReady, fingerprint);
    }

    void count(const QJsonObject &message)
    {
        const std::string path = unpacked(message.value(QLatin1String("path")));
        int pages = 1;
        try {
            const ImageSource &file = sourceOf(path);
            pages = file.isDrawing() ? 1 : std::max(file.pages(), file.pagesClaimed());
        } catch (const Failure &) {
            pages = 1; // its one page says why
        }
        answer(kPages, QByteArray::number(pages));
    }

    void trace(const QJsonObject &message)
    {
        const Task task = taskOf(message);
        QJsonObject result;
        char letter = kLine;
        try {
            if (!attempt(task, &result))
                return;
        } catch (const Failure &failure) {
            if (failure.code == kOutputNotWritable && saysNoRoom(failure.what()))
                throw NoRoom(failure.what());
            fail(failure.code, failure.what(), &result);
        } catch (const TraceError &error) {
            fail(kFailed, error.what(), &result);
        } catch (const std::bad_alloc &) {
            letter = kLineOfMemory;
            files.reset();
            source.reset();
            fail(kFailed, "not enough memory", &result);
            result.insert(QLatin1String("outcome"), QLatin1String(kOutcomeMemory));
        }
        if (result.value(QLatin1String("outcome")).toString() != QLatin1String(kDone))
            files.reset(); // what it has staged
        answer(letter, lineText(result));
    }

    static void answer(char letter, const QByteArray &text)
    {
        const QByteArray bytes = letter + text + '\n';
        if (writeAll(kWorkerSocket, bytes.constData(), bytes.size()) != 0)
            _exit(kFailed); // the run has gone
    }

private:
    std::string fullName(const std::string &output) const
    {
        return line.settings.batch.out + '/' + output;
    }

    // The file's bytes and what is known of them are kept from page to page.
    const ImageSource &sourceOf(const std::string &path)
    {
        struct stat info = {};
        const bool isThere = ::stat(path.c_str(), &info) == 0;
        const bool isSame = isThere && source && path == sourcePath
            && info.st_ino == sourceInfo.st_ino && info.st_dev == sourceInfo.st_dev
            && info.st_size == sourceInfo.st_size
            && std::memcmp(&info.st_mtim, &sourceInfo.st_mtim, sizeof info.st_mtim) == 0
            && std::memcmp(&info.st_ctim, &sourceInfo.st_ctim, sizeof info.st_ctim) == 0;
        if (isSame)
            return *source;
        source.reset();
        sourceSha.clear();
        QByteArray bytes = contentsOf(path, limits);
        sourceBytes = bytes.size();
        sourceSha = sha256Of(bytes).toStdString();
        sourcePath = path;
        sourceInfo = info;
        source = std::make_unique<ImageSource>(path, std::move(bytes), limits);
        return *source;
    }

    static void fail(ExitCode code, const std::string &text, QJsonObject *result)
    {
        result->insert(QLatin1String("outcome"), QLatin1String(kOutcomeFailed));
        result->insert(QLatin1String("code"), int(code));
        result->insert(QLatin1String("error"), QString::fromUtf8(text.c_str()));
    }

    // Whether an earlier run has finished the picture as this one would.
    bool isFinished(const Task &task, const QByteArray &settings)
    {
        const QJsonObject &before = task.before;
        const auto said = [&](const char *name) {
            return before.value(QLatin1String(name)).toString().toStdString();
        };
        if (before.isEmpty() || said("version") != programVersion()
            || said("settings") != settings.toStdString()
            || (said("sha256") != sourceSha && !(sourceSha.empty() && isDone(before))))
            return false; // a picture that has gone needs no new drawing
        if (!isDone(before))
            return !task.retry;
        const QJsonArray outputs = before.value(QLatin1String("outputs")).toArray();
        if (outputs.size() != int(task.outputs.size()))
            return false;
        for (int i = 0; i < outputs.size(); ++i) {
            const QJsonObject output = outputs.at(i).toObject();
            const std::string &name = task.outputs[std::size_t(i)];
            if (nameIn(output, "file") != name
                || output.value(QLatin1String("sha256")).toString().toStdString()
                    != shaOfFile(fullName(name), SourceLimits()))
                return false;
        }
        return true;
    }

    // False when there was nothing to do, which has been told.
    bool attempt(const Task &task, QJsonObject *result)
    {
        peakMemory(true);
        const auto start = std::chrono::steady_clock::now();
        const double begin = processorSeconds();
        const QByteArray settings = fingerprintOf(fingerprint, task.item.settings);
        beginLine(task.item, settings, task.attempt, result);
        std::string whyNot;
        const ImageSource *image = nullptr;
        try {
            image = &sourceOf(task.item.path);
        } catch (const Failure &failure) {
            whyNot = failure.what();
        }
        if (!sourceSha.empty()) {
            result->insert(QLatin1String("sha256"), QString::fromStdString(sourceSha));
            result->insert(QLatin1String("bytes"), double(sourceBytes));
            answer(kStarted, QByteArray::fromStdString(sourceSha));
        }
        if (isFinished(task, settings)) {
            if (image && isDone(task.before))
                showAgain(task, *image);
            answer(kSkipped, task.before.value(QLatin1String("outcome")).toString().toUtf8());
            return false;
        }
        if (!task.item.sha256.empty() && !sourceSha.empty() && sourceSha != task.item.sha256)
            throw Failure(kInputUnreadable,
                          task.item.path + ": its SHA-256 is not the expected one");
        if (!image)
            throw Failure(kInputUnreadable, whyNot);
        draw(task, *image, result);
        result->insert(QLatin1String("peak"), peakMemory(false));
        QJsonObject seconds = result->value(QLatin1String("seconds")).toObject();
        seconds.insert(QLatin1String("total"), secondsSince(start));
        seconds.insert(QLatin1String("processor"), processorSeconds() - begin);
        result->insert(QLatin1String("seconds"), seconds);
        return true;
    }

    TraceJob jobOf(const Task &task, QJsonArray *warnings)
    {
        TraceJob job;
        job.input = task.item.path;
        job.settings = line.settings;
        job.given = line.given;
        job.onTheSpot = onCommandLine;
        applyItemSettings(task.item.settings, &job.settings, &job.given);
        job.settings.page = task.item.page;
        job.settings.outputs.clear();
        for (const std::string &output : task.outputs)
            job.settings.outputs.push_back(fullName(output));
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
                throw Failure(kOutputNotWritable, folder + ": " + std::strerror(errno));
        }
    }

    void draw(const Task &task, const ImageSource &image, QJsonObject *result)
    {
        QJsonArray warnings;
        TraceJob job = jobOf(task, &warnings);
        makeFolders(job.settings.outputs);
        job.outputs = outputsFor(task.item.path, job.settings);
        if (image.isDrawing()) {
            const Drawing drawing = readDrawing(image, &job);
            write(drawing, job.settings, job.outputs, result);
            addDrawing(drawing, result);
        } else {
            if (task.item.pages == 1)
                warnOfSource(image, job);
            tracePage(task, image, job, result);
        }
        if (!warnings.isEmpty())
            result->insert(QLatin1String("warnings"), warnings);
        addOutputs(task, job.outputs, result);
        result->insert(QLatin1String("outcome"), QLatin1String(kDone));
    }

    void tracePage(const Task &task, const ImageSource &image, const TraceJob &job,
                   QJsonObject *result)
    {
        auto start = std::chrono::steady_clock::now();
        std::string remark;
        QImage picture = image.read(task.item.page, !job.settings.raw, &remark);
        if (!remark.empty())
            job.warn(inputName(task.item.path) + ": " + remark);
        const double reading = secondsSince(start);
        const Ending ending = image.ending(task.item.page);
        warnOfEnding(ending, job);
        const bool checks = line.settings.batch.check;
        const QImage shown = checks || task.preview > 0 ? picture : QImage();
        const TracedPicture traced = tracePicture(std::move(picture), job);
        addTrace(traced, result);
        QJsonObject seconds = result->value(QLatin1String("seconds")).toObject();
        seconds.insert(QLatin1String("reading"), reading);
        start = std::chrono::steady_clock::now();
        write(traced.result.drawing, traced.settings, job.outputs, result);
        seconds.insert(QLatin1String("writing"), secondsSince(start));
        start = std::chrono::steady_clock::now();
        if (checks)
            addCheck(shown, traced, line.settings.batch.flagBelow, ending, result);
        seconds.insert(QLatin1String("checking"), secondsSince(start));
        if (task.preview > 0)
            show(task, shown, drawnSmall(traced.result.drawing, task.preview));
        result->insert(QLatin1String("seconds"), seconds);
    }

    static QImage drawnSmall(const Drawing &drawing, int side)
    {
        const double longer = std::max(1, std::max(drawing.width, drawing.height));
        return renderDrawing(drawing, PaintStyle(), std::min(1.0, side / longer));
    }

    void show(const Task &task, const QImage &picture, const QImage &drawn)
    {
        const std::string name
            = previewName(line.settings.batch.out, task.item.path, task.item.page);
        makeFolders({ name });
        const QByteArray bytes = previewOf(picture, drawn, task.preview);
        QString ignored; // a report without one picture is still a report
        writeWhole(
            QFile::decodeName(name.c_str()),
            [&](QIODevice *device) { return device->write(bytes) == bytes.size(); }, &ignored);
    }

    // The preview of a picture that an earlier run has finished without one.
    void showAgain(const Task &task, const ImageSource &image)
    {
        const std::string name
            = previewName(line.settings.batch.out, task.item.path, task.item.page);
        if (task.preview == 0 || image.isDrawing() || access(name.c_str(), F_OK) == 0)
            return;
        try {
            std::vector<std::string> drawings;
            for (const std::string &output : task.outputs)
                drawings.push_back(fullName(output));
            show(task, image.read(task.item.page, true), drawnFrom(drawings, task.preview));
        } catch (const Failure &) {
        } catch (const std::bad_alloc &) { }
    }

    void write(const Drawing &drawing, const Settings &settings, const std::vector<Output> &outputs,
               QJsonObject *)
    {
        if (!files)
            files = std::make_unique<OutputFiles>();
        stageOutputs(outputs, drawing, settings, files.get());
        commitOutputs(files.get());
    }

    void addOutputs(const Task &task, const std::vector<Output> &outputs, QJsonObject *result) const
    {
        QJsonArray list;
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            const QByteArray bytes = contentsOf(fullName(task.outputs[i]), SourceLimits());
            QJsonObject output;
            insertName("file", task.outputs[i], &output);
            output.insert(QLatin1String("format"), QLatin1String(outputs[i].format->name));
            output.insert(QLatin1String("sha256"), QLatin1String(sha256Of(bytes)));
            output.insert(QLatin1String("bytes"), bytes.size());
            list.append(output);
        }
        result->insert(QLatin1String("outputs"), list);
    }

    CommandLine line;
    std::set<std::string> onCommandLine;
    QByteArray fingerprint;
    SourceLimits limits;
    std::unique_ptr<ImageSource> source;
    std::string sourcePath;
    std::string sourceSha;
    qint64 sourceBytes = 0;
    struct stat sourceInfo = {};
    std::unique_ptr<OutputFiles> files; // kept, as it knows which folders are in order
};

void serve(Worker *worker, const QJsonObject &message)
{
    if (message.contains(QLatin1String("words")))
        worker->greet(message);
    else if (message.value(QLatin1String("count")).toBool())
        worker->count(message);
    else
        worker->trace(message);
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

ExitCode runWorker()
{
    Worker worker;
    QByteArray text;
    std::vector<char> part(1 << 16);
    for (;;) {
        const ssize_t size = ::read(kWorkerSocket, part.data(), part.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return size == 0 ? kSuccess : kWrongUsage; // somebody's curiosity has no socket
        text.append(part.data(), static_cast<int>(size));
        for (int end = text.indexOf('\n'); end >= 0; end = text.indexOf('\n')) {
            const QJsonObject message = QJsonDocument::fromJson(text.left(end)).object();
            text.remove(0, end + 1);
            try {
                serve(&worker, message);
            } catch (const NoRoom &noRoom) {
                Worker::answer(kNoRoom, noRoom.what());
            } catch (const Failure &failure) {
                Worker::answer(kRefused, QByteArray::number(failure.code) + ' ' + failure.what());
            }
        }
    }
}

} // namespace ztrace
