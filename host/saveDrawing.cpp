// (c) the ztrace developers. Licence: see LICENSE.
#include "saveDrawing.h"

#include "textFiles.h"

#include "drawing/output.h"

#include <QFileInfo>

const ztrace::Format *zelvora::formatOfDrawing(const QString &fileName)
{
    return ztrace::formatOfSuffix(QFileInfo(fileName).suffix());
}

bool zelvora::saveDrawing(const ztrace::Drawing &drawing, const ztrace::WriteOptions &options,
                          const QString &fileName, QString *error)
{
    *error = whyNoFileName(fileName);
    if (!error->isEmpty())
        return false;
    const ztrace::Format *format = formatOfDrawing(fileName);
    if (!format) {
        *error = QString::fromLatin1("a drawing is saved as one of: ") + ztrace::namesOfFormats();
        return false;
    }
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
