// (c) the ztrace developers. Licence: see LICENSE.
#include "strangers.h"

#include "imageplugins.h"
#include "messages.h"

#include "drawing/formats.h"

#include <QByteArray>
#include <QFile>
#include <QImageReader>
#include <QRegularExpression>

#include <algorithm>

namespace ztrace {

namespace {

// Bytes in which a drawing says what it is. Comments and entities may come before.
const qint64 kBeginning = 1 << 16;
const int kBeginningOfOwn = 256;  // has the note in a PNG, and the first object of a PDF
const int kBeginningOfPdf = 1024; // in which readers look for its first line

bool matches(const QString &text, const char *expression)
{
    return QRegularExpression(QString::fromLatin1(expression)).match(text).hasMatch();
}

// The root's name is the first one that is no comment's.
bool isSvg(QString text)
{
    text.remove(QRegularExpression(QString::fromLatin1("<!--.*?(-->|$)"),
                                   QRegularExpression::DotMatchesEverythingOption));
    return matches(text, R"(^[^<]*(<[?!][^<]*)*<(\w+:)?svg\b)");
}

bool isDrawing(const QByteArray &beginning)
{
    const QString text = QString::fromLatin1(beginning);
    return isSvg(text) || beginning.left(kBeginningOfPdf).contains("%PDF-")
        || matches(text, R"re(^\W*\{[^<]*"type"\s*:\s*"(FeatureCollection|Topology)")re")
        || matches(text, R"(^\s*(999\s[^\n]*\n\s*)*0\s+SECTION\s|^AutoCAD Binary DXF)");
}

bool isWrittenHere(const QByteArray &beginning)
{
    const QString text = QString::fromLatin1(beginning);
    const std::vector<Format> &formats = allFormats();
    return std::any_of(formats.begin(), formats.end(), [&text](const Format &format) {
        return format.beginning && matches(text, format.beginning);
    });
}

} // namespace

bool isStrangersWork(const QString &fileName)
{
    const Silence silence;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray beginning = file.peek(kBeginning);
    // To ask the toolkit takes as long as tracing a small logo, since it loads the readers of all
    // formats; a drawing that is made anew is the usual case.
    if (beginning.isEmpty() || isWrittenHere(beginning))
        return false;
    if (isDrawing(beginning))
        return true;
    useImagePlugins();
    QImageReader reader(&file);
    reader.setDecideFormatFromContent(true);
    // Its reader of SVG takes any XML for one, events (--premis) among them; what is compressed is
    // not looked into here.
    return reader.canRead()
        && (!reader.format().startsWith("svg") || beginning.startsWith("\x1F\x8B"))
        && reader.text(QString::fromLatin1(kPreviewKey)) != QLatin1String(kPreviewValue);
}

bool isOwnDrawing(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray beginning = file.peek(kBeginningOfOwn);
    const QByteArray note = QByteArray("tEXt") + kPreviewKey + '\0' + kPreviewValue;
    return (beginning.startsWith("%PDF") && isWrittenHere(beginning))
        || (beginning.startsWith("\x89PNG") && beginning.contains(note));
}

} // namespace ztrace
