// (c) the ztrace developers. Licence: see LICENSE.
#include "saveDrawing.h"

#include "drawing/dxf.h"
#include "drawing/json.h"
#include "drawing/output.h"
#include "drawing/pdf.h"
#include "drawing/png.h"
#include "drawing/svg.h"

#include <QFileInfo>

namespace {

using ztrace::Drawing;

// Polylines of scripts have no colour to be filled with: all formats get strokes.
ztrace::PaintStyle strokes()
{
    ztrace::PaintStyle style;
    style.stroked = true;
    return style;
}

bool writeSvg(const Drawing &drawing, QIODevice *device)
{
    ztrace::SvgOptions options;
    options.style = strokes();
    return ztrace::writeSvg(drawing, options, device);
}

bool writeDxf(const Drawing &drawing, QIODevice *device)
{
    return ztrace::writeDxf(drawing, ztrace::DxfOptions(), device);
}

bool writePdf(const Drawing &drawing, QIODevice *device)
{
    return ztrace::writePdf(drawing, strokes(), device);
}

bool writePng(const Drawing &drawing, QIODevice *device)
{
    return ztrace::writePng(drawing, strokes(), 1.0, device);
}

const struct
{
    const char *ending;
    bool (*write)(const Drawing &drawing, QIODevice *device);
} kFormats[] = {
    { "svg", writeSvg }, { "dxf", writeDxf },           { "pdf", writePdf },
    { "png", writePng }, { "json", ztrace::writeJson },
};

} // namespace

bool zelvora::saveDrawing(const Drawing &drawing, const QString &fileName, QString *error)
{
    const QString ending = QFileInfo(fileName).suffix().toLower();
    QStringList known;
    for (const auto &format : kFormats) {
        if (ending == QLatin1String(format.ending)) {
            const auto write = format.write;
            return ztrace::writeWhole(
                fileName, [&](QIODevice *device) { return write(drawing, device); }, error);
        }
        known.append(QLatin1String(format.ending));
    }
    *error
        = QString::fromLatin1("a drawing is saved as one of: ") + known.join(QLatin1String(", "));
    return false;
}
