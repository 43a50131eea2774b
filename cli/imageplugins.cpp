// (c) the ztrace developers. Licence: see LICENSE.
#include "imageplugins.h"

#include <QCoreApplication>
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

} // namespace ztrace
