// (c) the ztrace developers. Licence: see LICENSE.
#include "imageplugins.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImageReader>
#include <QStringList>

#include <optional>

namespace ztrace {

namespace {

std::optional<QStringList> &postponed()
{
    static std::optional<QStringList> folders;
    return folders;
}

} // namespace

void postponeImagePlugins()
{
    if (postponed())
        return;
    postponed() = QCoreApplication::libraryPaths();
    QCoreApplication::setLibraryPaths(QStringList());
}

void useImagePlugins()
{
    if (!postponed())
        return;
    QCoreApplication::setLibraryPaths(*postponed());
    postponed().reset();
}

void loadImageReaders()
{
    useImagePlugins();
    for (const char *format : { "jpeg", "tiff", "gif" }) {
        QBuffer nothing;
        nothing.open(QIODevice::ReadOnly);
        (void)QImageReader(&nothing, format).canRead();
    }
}

} // namespace ztrace
