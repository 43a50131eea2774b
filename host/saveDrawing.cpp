// (c) the ztrace developers. Licence: see LICENSE.
#include "saveDrawing.h"

#include "drawing/formats.h"
#include "drawing/output.h"

#include <QFileInfo>

bool zelvora::saveDrawing(const ztrace::Drawing &drawing, const QString &fileName, QString *error)
{
    const ztrace::Format *format = ztrace::formatOfSuffix(QFileInfo(fileName).suffix());
    if (!format) {
        *error = QString::fromLatin1("a drawing is saved as one of: ") + ztrace::namesOfFormats();
        return false;
    }
    ztrace::WriteOptions options;
    options.style.stroked = true; // polylines of scripts have no colour to be filled with
    const QString obstacle = format->obstacle ? format->obstacle(drawing, options) : QString();
    if (!obstacle.isEmpty()) {
        *error = obstacle;
        return false;
    }
    const auto write = [&](QIODevice *device) {
        return format->write(drawing, options, device) == ztrace::Written::Whole;
    };
    return ztrace::writeWhole(fileName, write, error);
}
