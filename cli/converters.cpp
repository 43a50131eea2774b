// (c) the ztrace developers. Licence: see LICENSE.
#include "converters.h"

#include "failure.h"

#include "drawing/files.h"
#include "drawing/formats.h"

#include <QImageReader>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kUsualDpi = 300;
const int kLeastDpi = 72;
const int kMostDpi = 1200;
const double kPointsAnInch = 72.0;

const char kPoppler[] = "poppler-utils";
const char kHeif[] = "libheif-examples";

[[noreturn]] void fail(const std::string &name, const std::string &reason)
{
    throw Failure(kInputUnreadable, name + ": " + reason);
}

// Contents under a name for another program, without a file on a disk.
class NamedContents
{
public:
    explicit NamedContents(const QByteArray &contents)
        : file(static_cast<int>(::memfd_create("ztrace", 0)))
    {
        if (!file.isOpen() || writeAll(file.get(), contents.constData(), contents.size()) != 0)
            failForMemory();
    }
    QString name() const
    {
        return QString::fromLatin1("/proc/%1/fd/%2").arg(::getpid()).arg(file.get());
    }

private:
    Descriptor file;
};

QByteArray outputOf(const char *program, const char *package, const QStringList &arguments,
                    const std::string &name)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QLatin1String(program), arguments, QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        fail(name,
             std::string("reading it takes ") + program + " (Debian package " + package + ")");
    process.waitForFinished(-1);
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return process.readAllStandardOutput();
    const QByteArray said = process.readAllStandardError().split('\n').value(0);
    fail(name, std::string("cannot be read by ") + program + ": " + said.toStdString());
}

// The largest resolution of the page's images.
int dpiOf(const QString &file, int page, const std::string &name)
{
    const QString number = QString::number(page);
    const QByteArray table = outputOf(
        "pdfimages", kPoppler,
        { QLatin1String("-list"), QLatin1String("-f"), number, QLatin1String("-l"), number, file },
        name);
    const int kColumn = 12; // x-ppi
    int dpi = 0;
    for (const QByteArray &line : table.split('\n').mid(2)) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() > kColumn)
            dpi = std::max(dpi, fields[kColumn].toInt());
    }
    return dpi == 0 ? kUsualDpi : std::min(kMostDpi, std::max(kLeastDpi, dpi));
}

// Inches, of a page as it is shown.
QSizeF sizeOf(const QString &file, int page, const std::string &name)
{
    const QString number = QString::number(page);
    const QByteArray text
        = outputOf("pdfinfo", kPoppler,
                   { QLatin1String("-f"), number, QLatin1String("-l"), number, file }, name);
    static const QRegularExpression size(
        QLatin1String("Page\\s+\\d+\\s+size:\\s+([\\d.]+) x ([\\d.]+)"));
    const QRegularExpressionMatch match = size.match(QString::fromLatin1(text));
    return QSizeF(match.captured(1).toDouble(), match.captured(2).toDouble()) / kPointsAnInch;
}

QImage pdfPage(const std::string &name, const QByteArray &contents, int page, double mostPixels)
{
    const NamedContents file(contents);
    int dpi = dpiOf(file.name(), page, name);
    const QSizeF inches = sizeOf(file.name(), page, name);
    const double area = inches.width() * inches.height();
    if (area * dpi * dpi > mostPixels)
        dpi = std::max(1, static_cast<int>(std::floor(std::sqrt(mostPixels / area))));
    const QString number = QString::number(page);
    const QByteArray png
        = outputOf("pdftoppm", kPoppler,
                   { QLatin1String("-png"), QLatin1String("-r"), QString::number(dpi),
                     QLatin1String("-f"), number, QLatin1String("-l"), number, file.name() },
                   name);
    return QImage::fromData(png, "PNG");
}

QImage heicImage(const std::string &name, const QByteArray &contents)
{
    const NamedContents file(contents);
    const QTemporaryDir folder;
    const QString output = folder.filePath(QLatin1String("image.png"));
    outputOf("heif-convert", kHeif, { file.name(), output }, name);
    return QImage(output);
}

bool isInstalled(const char *program)
{
    return !QStandardPaths::findExecutable(QLatin1String(program)).isEmpty();
}

} // namespace

Foreign foreignKind(const QByteArray &contents)
{
    if (contents.left(1024).contains("%PDF-"))
        return Foreign::Pdf;
    static const std::set<QByteArray> brands = { "heic", "heix", "hevc", "heim", "heis", "mif1" };
    return contents.mid(4, 4) == "ftyp" && brands.count(contents.mid(8, 4)) ? Foreign::Heic
                                                                            : Foreign::None;
}

int foreignPages(Foreign kind, const std::string &name, const QByteArray &contents)
{
    if (kind != Foreign::Pdf)
        return 1;
    const NamedContents file(contents);
    const QString text = QString::fromLatin1(outputOf("pdfinfo", kPoppler, { file.name() }, name));
    static const QRegularExpression pages(QLatin1String("(?m)^Pages:\\s+(\\d+)"));
    return std::max(1, pages.match(text).captured(1).toInt());
}

QImage foreignImage(Foreign kind, const std::string &name, const QByteArray &contents, int page,
                    double mostPixels)
{
    const int pages = foreignPages(kind, name, contents);
    if (page > pages)
        fail(name,
             "there is no page " + std::to_string(page) + " (the file has " + std::to_string(pages)
                 + ")");
    const QImage image = kind == Foreign::Pdf ? pdfPage(name, contents, page, mostPixels)
                                              : heicImage(name, contents);
    if (image.isNull())
        fail(name, "the image is damaged or incomplete");
    return image;
}

void listFormats()
{
    std::set<QByteArray> formats;
    for (const QByteArray &format : QImageReader::supportedImageFormats())
        formats.insert(format.toLower());
    std::string read;
    for (const QByteArray &format : formats)
        read += (read.empty() ? "" : " ") + format.toStdString();
    const auto add = [&](const char *format, const char *program) {
        if (isInstalled(program))
            read += std::string(" ") + format;
    };
    add("pdf", "pdftoppm");
    if (!formats.count("heic"))
        add("heic", "heif-convert");
    std::printf("read   %s json\nwrite ", read.c_str());
    for (const Format &format : allFormats())
        std::printf(" %s", format.name);
    std::printf("\n");
    const struct
    {
        const char *format;
        const char *program; // that reads it; null: an image plug-in
        const char *package;
        const char *adds;
    } kPackages[] = {
        { "tiff", nullptr, "qt5-image-formats-plugins", "tiff webp tga icns wbmp" },
        { "svg", nullptr, "libqt5svg5", "svg svgz" },
        { "xcf", nullptr, "kimageformat-plugins", "xcf psd kra ora exr pcx eps and more" },
        { "pdf", "pdftoppm", kPoppler, "pages of pdf" },
        { "heic", "heif-convert", kHeif, "heic heif" },
    };
    for (const auto &entry : kPackages) {
        const bool isThere
            = formats.count(entry.format) || (entry.program && isInstalled(entry.program));
        if (!isThere)
            std::printf("%s would add %s\n", entry.package, entry.adds);
    }
}

} // namespace ztrace
