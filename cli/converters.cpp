// (c) the ztrace developers. Licence: see LICENSE.
#include "converters.h"

#include "distrust.h"
#include "failure.h"
#include "imageplugins.h"
#include "outside.h"

#include "drawing/formats.h"

#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <set>

#include <unistd.h>

namespace ztrace {

namespace {

const int kUsualDpi = 300;
const int kLeastDpi = 72;
const int kMostDpi = 1200;
const double kPointsAnInch = 72.0;

const char kPoppler[] = "poppler-utils";
const char kHeif[] = "libheif-examples";

const char kSeeLimits[] = " (see --max-pixels and --max-memory)";

[[noreturn]] void fail(const std::string &name, const std::string &reason)
{
    throw Failure(kInputUnreadable, name + ": " + reason);
}

// A file that other programs look at.
struct Seen
{
    const std::string &name; // of the input, for messages
    QString file;            // what they open
    ForeignLimits limits;

    QByteArray by(const char *program, const QStringList &arguments,
                  QByteArray *complaints = nullptr) const
    {
        return outputOf(program, kPoppler, arguments, name, limits.bytes, complaints);
    }
};

// The programs draw what they make out of a damaged file, complain, and end well. What the
// libraries of pictures within say comes without a word before it. Of their warnings ("Syntax
// Warning", "Config Error: no display font") most are about files that look as they should.
bool isOfDamage(const QByteArray &line)
{
    const char *const kBeginnings[]
        = { "syntax error", "internal error",    "i/o error", "error",
            "warning",      "corrupt jpeg data", "premature", "could not" };
    const QByteArray lower = line.toLower();
    return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                       [&](const char *beginning) { return lower.startsWith(beginning); });
}

void remarkOn(const char *program, const QByteArray &complaints, Remarks *remarks)
{
    for (const QByteArray &line : complaints.split('\n')) {
        if (!isOfDamage(line))
            continue;
        remarks->texts.push_back(std::string("the image may be wrong, as the file is damaged: ")
                                 + program + " says \"" + line.trimmed().toStdString() + "\"");
        return;
    }
}

QStringList onlyPage(int page)
{
    const QString number = QString::number(page);
    return { QLatin1String("-f"), number, QLatin1String("-l"), number };
}

// The largest resolution of the page's images.
int dpiOf(const Seen &pdf, int page)
{
    const QByteArray table = pdf.by(
        "pdfimages", QStringList(QLatin1String("-list")) + onlyPage(page) + QStringList(pdf.file));
    const int kColumn = 12; // x-ppi
    int dpi = 0;
    for (const QByteArray &line : table.split('\n').mid(2)) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() > kColumn)
            dpi = std::max(dpi, fields[kColumn].toInt());
    }
    return dpi == 0 ? kUsualDpi : std::min(kMostDpi, std::max(kLeastDpi, dpi));
}

// The last match: what stands before it is the file's own text, which may look like anything.
QRegularExpressionMatch lastMatch(const char *expression, const QByteArray &text)
{
    const QRegularExpression lines(QLatin1String(expression), QRegularExpression::MultilineOption);
    QRegularExpressionMatchIterator all = lines.globalMatch(QString::fromLatin1(text));
    QRegularExpressionMatch last;
    while (all.hasNext())
        last = all.next();
    return last;
}

// Inches, of a page as it is shown.
QSizeF sizeOf(const Seen &pdf, int page)
{
    const QByteArray text = pdf.by("pdfinfo", onlyPage(page) + QStringList(pdf.file));
    const QRegularExpressionMatch match
        = lastMatch("^Page\\s+\\d+\\s+size:\\s+(\\S+) x (\\S+)", text);
    const QSizeF size(match.captured(1).toDouble(), match.captured(2).toDouble());
    const bool isSize = size.width() > 0.0 && size.height() > 0.0 && std::isfinite(size.width())
        && std::isfinite(size.height());
    if (!isSize)
        fail(pdf.name, "the size of page " + std::to_string(page) + " is not told");
    return size / kPointsAnInch;
}

double pixelsOf(const QSizeF &inches, int dpi)
{
    return std::ceil(inches.width() * dpi) * std::ceil(inches.height() * dpi);
}

QByteArray pdfPage(const Seen &pdf, int page, Remarks *remarks)
{
    const int wanted = dpiOf(pdf, page);
    const QSizeF inches = sizeOf(pdf, page);
    int dpi = wanted;
    if (pixelsOf(inches, dpi) > pdf.limits.pixels) {
        const double fitting = std::sqrt(pdf.limits.pixels / (inches.width() * inches.height()));
        dpi = static_cast<int>(std::min<double>(dpi, std::floor(fitting)));
    }
    while (dpi > 0 && pixelsOf(inches, dpi) > pdf.limits.pixels)
        --dpi; // parts of pixels are whole ones
    if (dpi < 1) {
        throw LimitFailure(kInputUnreadable,
                           pdf.name + ": page " + std::to_string(page)
                               + " has too many pixels even at one an inch" + kSeeLimits);
    }
    if (dpi < wanted) {
        remarks->isMadeSmaller = true;
        remarks->texts.push_back("page " + std::to_string(page) + " is taken at "
                                 + std::to_string(dpi) + " pixels an inch instead of "
                                 + std::to_string(wanted) + kSeeLimits);
    }
    QByteArray complaints;
    const QStringList how({ QLatin1String("-png"), QLatin1String("-r"), QString::number(dpi) });
    QByteArray png = pdf.by("pdftoppm", how + onlyPage(page) + QStringList(pdf.file), &complaints);
    remarkOn("pdftoppm", complaints, remarks);
    return png;
}

// The program writes a file with an ending, or one each where there are several pictures: in a
// folder that goes in any case.
QByteArray heicPicture(const Seen &heic, int page, Remarks *remarks)
{
    const EndsLater guard;
    const QTemporaryDir folder;
    QByteArray complaints;
    outputOf("heif-convert", kHeif, { heic.file, folder.filePath(QLatin1String("image.png")) },
             heic.name, heic.limits.bytes, &complaints);
    remarkOn("heif-convert", complaints, remarks);
    const QString numbered = QString::fromLatin1("image-%1.png").arg(page);
    for (const QString &file : { QString::fromLatin1("image.png"), numbered }) {
        QFile picture(folder.filePath(file));
        if (picture.open(QIODevice::ReadOnly)
            && static_cast<double>(picture.size()) <= heic.limits.bytes)
            return picture.readAll();
    }
    return QByteArray();
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

int foreignPages(Foreign kind, const std::string &name, const QByteArray &contents,
                 const ForeignLimits &limits)
{
    const NamedContents file(contents);
    const Seen seen = { name, file.name(), limits };
    if (kind == Foreign::Heic) {
        const QByteArray text = outputOf("heif-info", kHeif, { file.name() }, name, limits.bytes);
        return std::max(1, ('\n' + text).count("\nimage: "));
    }
    const QByteArray text = seen.by("pdfinfo", { file.name() });
    return std::max(1, lastMatch("^Pages:\\s+(\\d+)", text).captured(1).toInt());
}

QByteArray foreignPicture(Foreign kind, const std::string &name, const QByteArray &contents,
                          int page, const ForeignLimits &limits, Remarks *remarks)
{
    const int pages = foreignPages(kind, name, contents, limits);
    if (page > pages)
        fail(name,
             "there is no page " + std::to_string(page) + " (the file has " + std::to_string(pages)
                 + ")");
    const NamedContents file(contents);
    const Seen seen = { name, file.name(), limits };
    return kind == Foreign::Pdf ? pdfPage(seen, page, remarks) : heicPicture(seen, page, remarks);
}

void listFormats()
{
    // The toolkit's reader of tga claims the format and then refuses each file.
    std::set<QByteArray> formats;
    useImagePlugins();
    for (const QByteArray &format : QImageReader::supportedImageFormats()) {
        if (!isDistrusted(format.toLower()) && format.toLower() != "tga")
            formats.insert(format.toLower());
    }
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
        { "tiff", nullptr, "qt5-image-formats-plugins", "tiff webp icns wbmp" },
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
