// (c) the ztrace developers. Licence: see LICENSE.
#include "formats.h"

#include "failure.h"
#include "messages.h"
#include "strangers.h"

#include "drawing/files.h"
#include "drawing/output.h"
#include "drawing/pdf.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>

#include <cerrno>
#include <cstring>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const char kStandardOutput[] = "-";

std::string bytesOf(const QString &fileName)
{
    return QFile::encodeName(fileName).toStdString();
}

std::string nameOf(const QString &fileName)
{
    return fileName == QLatin1String(kStandardOutput) ? "standard output" : bytesOf(fileName);
}

[[noreturn]] void failToWrite(const std::string &name, const QString &reason)
{
    throw Failure(kOutputNotWritable, name + ": " + reason.toLocal8Bit().toStdString());
}

const Format *formatByEnding(const QString &fileName)
{
    const Format *format = formatOfSuffix(QFileInfo(fileName).suffix());
    if (!format) {
        throw Failure(kWrongUsage,
                      bytesOf(fileName) + ": the ending tells no format (there are "
                          + namesOfFormats().toStdString() + ")");
    }
    return format;
}

// What a name stands for, links followed.
enum class FileKind {
    Nothing,
    File,
    Folder,
    Stream // a terminal or other device, a pipe, a socket
};

FileKind kindOf(const QString &fileName)
{
    if (fileName == QLatin1String(kStandardOutput))
        return FileKind::Stream;
    struct stat info;
    if (stat(QFile::encodeName(fileName).constData(), &info) != 0) {
        if (errno != ENOENT && errno != ENOTDIR)
            failToWrite(bytesOf(fileName), reasonText(errno));
        return FileKind::Nothing;
    }
    if (S_ISDIR(info.st_mode))
        return FileKind::Folder;
    return isStreamMode(info.st_mode) ? FileKind::Stream : FileKind::File;
}

QString besideInput(const std::string &input, const Format &format)
{
    const QFileInfo info(QFile::decodeName(input.c_str()));
    return info.path() + QLatin1Char('/') + info.completeBaseName() + QLatin1Char('.')
        + QLatin1String(format.suffix);
}

// Whether standard input was redirected from this file.
bool isStandardInput(const QString &fileName)
{
    struct stat in;
    struct stat file;
    return fstat(STDIN_FILENO, &in) == 0
        && stat(QFile::encodeName(fileName).constData(), &file) == 0 && S_ISREG(in.st_mode)
        && in.st_dev == file.st_dev && in.st_ino == file.st_ino;
}

void refuseInputAsOutput(const std::string &input, const QString &output)
{
    const QFileInfo in(QFile::decodeName(input.c_str()));
    const QFileInfo out(output);
    if (input == kStandardOutput
            ? isStandardInput(output)
            : in.exists() && out.exists() && in.canonicalFilePath() == out.canonicalFilePath())
        throw Failure(kWrongUsage, inputName(input) + ": the output would overwrite the input");
}

// The same for all names of a file, be it there or not; what cannot be looked up fails later.
QString identityOf(const QString &fileName)
{
    if (fileName == QLatin1String(kStandardOutput))
        return fileName;
    Target target;
    QString error;
    lookUp(fileName, &target, &error);
    if (!target.path.isEmpty())
        return QFile::decodeName(target.path);
    const QFileInfo file(fileName);
    return file.exists()
        ? file.canonicalFilePath()
        : QFileInfo(file.path()).canonicalFilePath() + QLatin1Char('/') + file.fileName();
}

// Standard output by its name in the file system would be opened anew, and what is in it be lost.
QString withoutAlias(const QString &fileName)
{
    for (const char *alias : { "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1" }) {
        if (fileName == QLatin1String(alias))
            return QString::fromLatin1(kStandardOutput);
    }
    return fileName;
}

// What fails here would fail after the work as well.
void requireFolder(const Output &output)
{
    if (output.fileName == QLatin1String(kStandardOutput))
        return;
    const QFileInfo file(output.fileName);
    if (kindOf(output.fileName) == FileKind::Folder)
        throw Failure(kOutputNotWritable, nameOf(output.fileName) + ": it is a folder");
    if (!QFileInfo(file.path()).isDir())
        throw Failure(kOutputNotWritable,
                      nameOf(output.fileName) + ": there is no folder " + bytesOf(file.path()));
}

// One file that the outputs would go over.
void refuseOthers(const QString &fileName, const std::string &input, const Settings &settings)
{
    refuseInputAsOutput(input, fileName);
    for (const std::string &other : settings.filesRead) {
        if (identityOf(fileName) == identityOf(QFile::decodeName(other.c_str())))
            throw Failure(kWrongUsage, other + ": the output would overwrite it");
    }
}

void refuseTwins(const std::vector<Output> &outputs)
{
    std::set<QString> files;
    for (const Output &output : outputs) {
        if (!files.insert(identityOf(output.fileName)).second)
            throw Failure(kWrongUsage, "--output: " + bytesOf(output.fileName) + " is given twice");
    }
}

// The format that was chosen, or is written when nothing is said.
const Format *chosenFormat(const Settings &settings)
{
    return settings.format.empty() ? &allFormats().front() : findFormat(settings.format);
}

Output outputNamed(const std::string &name, const Settings &settings)
{
    if (name.empty())
        throw Failure(kWrongUsage, "--output: the file name is empty");
    const QString fileName = withoutAlias(QFile::decodeName(name.c_str()));
    // A device has no ending; neither has standard output.
    const bool tellsFormat = settings.format.empty() || !QFileInfo(fileName).suffix().isEmpty();
    const FileKind kind = kindOf(fileName);
    if (kind == FileKind::Folder)
        throw Failure(kOutputNotWritable, bytesOf(fileName) + ": it is a folder");
    return { fileName,
             kind != FileKind::Stream && tellsFormat ? formatByEnding(fileName)
                                                     : chosenFormat(settings) };
}

} // namespace

std::string inputName(const std::string &input)
{
    return input == kStandardOutput ? "standard input" : input;
}

void refuseToReplace(const QString &fileName, const Settings &settings)
{
    if (settings.overwrite && !settings.noClobber)
        return;
    if (kindOf(fileName) != FileKind::File)
        return;
    if (settings.noClobber)
        throw Failure(kWrongUsage, nameOf(fileName) + ": the file exists (--no-clobber)");
    if (isStrangersWork(fileName)) {
        throw Failure(
            kWrongUsage,
            nameOf(fileName)
                + ": the file is an image or a drawing that ztrace has not made; --overwrite "
                  "replaces it");
    }
}

std::vector<Output> outputsFor(const std::string &input, const Settings &settings)
{
    std::vector<Output> outputs;
    for (const std::string &name : settings.outputs)
        outputs.push_back(outputNamed(name, settings));
    refuseTwins(outputs);
    const Format *chosen = chosenFormat(settings);
    if (outputs.empty() && input == kStandardOutput)
        outputs.push_back({ QString::fromLatin1(kStandardOutput), chosen });
    if (outputs.empty())
        outputs.push_back({ besideInput(input, *chosen), chosen });
    for (const Output &output : outputs) {
        refuseOthers(output.fileName, input, settings);
        requireFolder(output);
        if (settings.page > 0)
            refuseToReplace(output.fileName, settings);
    }
    return outputs;
}

std::vector<Output> outputsForPage(std::vector<Output> outputs, int page, int pages,
                                   const std::string &input, const Settings &settings)
{
    for (Output &output : outputs) {
        if (output.fileName == QLatin1String(kStandardOutput))
            throw Failure(kWrongUsage, "--page all: several pages do not fit into standard output");
        if (kindOf(output.fileName) == FileKind::Stream)
            continue; // a device takes all pages
        const QFileInfo info(output.fileName);
        const QString ending
            = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
        output.fileName = info.path() + QLatin1Char('/') + info.completeBaseName()
            + QLatin1Char('-') + QString::fromStdString(pageNumber(page, pages)) + ending;
        refuseOthers(output.fileName, input, settings);
        refuseToReplace(output.fileName, settings);
    }
    refuseTwins(outputs);
    return outputs;
}

WriteOptions writeOptions(const Settings &settings)
{
    WriteOptions options;
    options.style = settings.style;
    options.decimals = settings.decimals.value_or(kDecimalsOfDrawing);
    options.scale = settings.scale;
    options.dxf = settings.dxf;
    return options;
}

void stageOutputs(const std::vector<Output> &outputs, const Drawing &drawing,
                  const Settings &settings, OutputFiles *files)
{
    const WriteOptions options = writeOptions(settings);
    for (const Output &output : outputs) {
        const QString obstacle
            = output.format->obstacle ? output.format->obstacle(drawing, options) : QString();
        if (!obstacle.isEmpty()) {
            failToWrite(nameOf(output.fileName),
                        obstacle
                            + QLatin1String(
                                output.format->capabilities & kIsRaster ? " (see --scale)" : ""));
        }
    }
    for (const Output &output : outputs) {
        Written written = Written::Whole;
        const auto write = [&](QIODevice *device) {
            written = output.format->write(drawing, options, device);
            return written == Written::Whole;
        };
        QString error;
        const Silence silence;
        const bool isStaged = files->add(output.fileName, write, &error);
        if (written == Written::NoMemory)
            throw MemoryFailure(nameOf(output.fileName) + ": the picture does not fit into memory");
        if (!isStaged)
            failToWrite(nameOf(output.fileName), error);
    }
}

void stageBook(const std::vector<Output> &outputs, PdfBook *book, OutputFiles *files)
{
    QBuffer pages;
    pages.open(QIODevice::WriteOnly);
    book->write(&pages);
    const auto write = [&pages](QIODevice *device) {
        return device->write(pages.data()) == pages.data().size();
    };
    for (const Output &output : outputs) {
        QString error;
        if (!files->add(output.fileName, write, &error))
            failToWrite(nameOf(output.fileName), error);
    }
}

void commitOutputs(OutputFiles *files)
{
    QString name;
    QString error;
    if (!files->commit(&name, &error))
        failToWrite(nameOf(name), error);
}

} // namespace ztrace
