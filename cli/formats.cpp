// (c) the ztrace developers. Licence: see LICENSE.
#include "formats.h"

#include "failure.h"

#include "drawing/json.h"
#include "drawing/output.h"
#include "drawing/pdf.h"
#include "drawing/png.h"
#include "drawing/svg.h"

#include <QFile>
#include <QFileInfo>
#include <QIODevice>

#include <algorithm>
#include <cmath>
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

std::string listOfFormats()
{
    std::string list;
    for (const std::string &name : formatNames())
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

std::string formatByEnding(const QString &fileName)
{
    const std::string ending
        = QFile::encodeName(QFileInfo(fileName).suffix().toLower()).toStdString();
    const std::vector<std::string> &names = formatNames();
    if (std::find(names.begin(), names.end(), ending) == names.end()) {
        throw Failure(kWrongUsage,
                      bytesOf(fileName) + ": the ending tells no format (there are "
                          + listOfFormats() + ")");
    }
    return ending;
}

QString besideInput(const std::string &input, const std::string &format)
{
    const QFileInfo info(QFile::decodeName(input.c_str()));
    return info.path() + QLatin1Char('/') + info.completeBaseName() + QLatin1Char('.')
        + QString::fromStdString(format);
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

// What the settings were read from, where that is a file.
std::vector<std::string> filesOf(const Settings &settings)
{
    std::vector<std::string> files;
    for (const char *name : { "palette", "preset" }) {
        const auto said = settings.said.find(name);
        if (said != settings.said.end())
            files.insert(files.end(), said->second.begin(), said->second.end());
    }
    if (!settings.config.empty())
        files.push_back(settings.config);
    return files;
}

// The same for all names of a file.
QString identityOf(const QString &fileName)
{
    const QFileInfo file(fileName);
    if (fileName == QLatin1String(kStandardOutput))
        return fileName;
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
    if (file.isDir())
        throw Failure(kOutputNotWritable, nameOf(output.fileName) + ": it is a folder");
    if (!QFileInfo(file.path()).isDir())
        throw Failure(kOutputNotWritable,
                      nameOf(output.fileName) + ": there is no folder " + bytesOf(file.path()));
}

void requirePicture(const Output &output, const Drawing &drawing, double scale)
{
    const Frame frame = frameOf(drawing);
    const double width = std::ceil(frame.width * scale);
    const double height = std::ceil(frame.height * scale);
    if (width > kLargestPictureSide || height > kLargestPictureSide) {
        throw Failure(kOutputNotWritable,
                      nameOf(output.fileName) + ": a picture of more than "
                          + std::to_string(kLargestPictureSide) + " pixels a side (see --scale)");
    }
}

bool writeTo(QIODevice *device, const std::string &format, const Drawing &drawing,
             const Settings &settings)
{
    if (format == "dxf")
        return writeDxf(drawing, settings.dxf, device);
    if (format == "pdf")
        return writePdf(drawing, settings.style, device);
    if (format == "png") {
        const QImage picture = renderDrawing(drawing, settings.style, settings.scale);
        if (picture.isNull())
            failForMemory();
        return savePng(picture, device);
    }
    if (format == "json")
        return writeJson(drawing, device);
    SvgOptions options;
    options.style = settings.style;
    options.decimals = settings.decimals;
    return writeSvg(drawing, options, device);
}

} // namespace

std::string inputName(const std::string &input)
{
    return input == kStandardOutput ? "standard input" : input;
}

const std::vector<std::string> &formatNames()
{
    static const std::vector<std::string> names = { "svg", "dxf", "pdf", "png", "json" };
    return names;
}

std::vector<Output> outputsFor(const std::string &input, const Settings &settings)
{
    const std::string chosen = settings.format.empty() ? formatNames().front() : settings.format;
    std::vector<Output> outputs;
    std::set<QString> names;
    for (const std::string &name : settings.outputs) {
        if (name.empty())
            throw Failure(kWrongUsage, "--output: a file name is wanted");
        const QString fileName = withoutAlias(QFile::decodeName(name.c_str()));
        if (!names.insert(identityOf(fileName)).second)
            throw Failure(kWrongUsage, "--output: " + name + " is given twice");
        const bool isFile = fileName != QLatin1String(kStandardOutput)
            && (settings.format.empty() || !QFileInfo(fileName).suffix().isEmpty());
        // A device has no ending; neither has standard output.
        outputs.push_back(
            { fileName, isFile && !isStream(fileName) ? formatByEnding(fileName) : chosen });
    }
    if (outputs.empty() && input == kStandardOutput)
        outputs.push_back({ QString::fromLatin1(kStandardOutput), chosen });
    if (outputs.empty())
        outputs.push_back({ besideInput(input, chosen), chosen });
    for (const Output &output : outputs) {
        refuseInputAsOutput(input, output.fileName);
        for (const std::string &other : filesOf(settings)) {
            const QString file = QFile::decodeName(other.c_str()); // or a list, or a preset's name
            if (QFileInfo(file).isFile() && identityOf(output.fileName) == identityOf(file))
                throw Failure(kWrongUsage, other + ": the output would overwrite it");
        }
        requireFolder(output);
    }
    return outputs;
}

std::vector<Output> outputsForPage(std::vector<Output> outputs, int page, const std::string &input)
{
    for (Output &output : outputs) {
        if (output.fileName == QLatin1String(kStandardOutput))
            throw Failure(kWrongUsage, "--page all: several pages do not fit into standard output");
        const QFileInfo info(output.fileName);
        if (isStream(output.fileName))
            continue; // a device takes all pages
        const QString ending
            = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
        output.fileName = info.path() + QLatin1Char('/') + info.completeBaseName()
            + QLatin1Char('-') + QString::number(page) + ending;
        refuseInputAsOutput(input, output.fileName);
    }
    return outputs;
}

void stageOutputs(const std::vector<Output> &outputs, const Drawing &drawing,
                  const Settings &settings, OutputFiles *files)
{
    for (const Output &output : outputs) {
        if (output.format == "png")
            requirePicture(output, drawing, settings.scale);
    }
    for (const Output &output : outputs) {
        const auto write
            = [&](QIODevice *device) { return writeTo(device, output.format, drawing, settings); };
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
