// (c) the ztrace developers. Licence: see LICENSE.
//
// A folder with scripts and plug-ins for one test, and the headless host run in it.
//
// ZTRACE_HEADLESS is the program, ZTRACE_PLUGIN_FILE our plug-in, ZTRACE_SIBLINGS a folder with one
// folder of a plug-in for each kind of sibling.
#ifndef ZTRACE_TESTS_HOSTFOLDER_H
#define ZTRACE_TESTS_HOSTFOLDER_H

#include "HostRun.h"

#include <QScopedPointer>
#include <QTemporaryDir>

namespace tests {

class HostFolder
{
protected:
    // A new folder with our plug-in in it; false where there cannot be one.
    bool prepare();

    HostRun shell(const QString &command, const QStringList &arguments = QStringList());
    QString write(const QString &name, const QString &text);
    QString plugIn(const QString &sibling);
    HostRun run(const QStringList &arguments);
    HostRun runText(const QString &script, const QStringList &arguments = QStringList());

    QScopedPointer<QTemporaryDir> folder;
    QString plugins;
};

} // namespace tests

#endif
