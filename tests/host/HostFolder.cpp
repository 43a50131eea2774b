// (c) the ztrace developers. Licence: see LICENSE.
#include "HostFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tests {

bool HostFolder::prepare()
{
    folder.reset(new QTemporaryDir);
    plugins = folder->filePath("plugins");
    return QDir().mkdir(plugins)
        && QFile::link(environment("ZTRACE_PLUGIN_FILE"), plugins + "/libztrace.so");
}

QString HostFolder::write(const QString &name, const QString &text)
{
    const QString fileName = folder->filePath(name);
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(fileName));
    file.write(text.toUtf8());
    return fileName;
}

// Puts a sibling beside our plug-in; returns its file name there.
QString HostFolder::plugIn(const QString &sibling)
{
    const QDir from(environment("ZTRACE_SIBLINGS") + '/' + sibling);
    const QStringList files = from.entryList(QDir::Files);
    const QString to = plugins + '/' + files.value(0);
    return QFile::link(from.absoluteFilePath(files.value(0)), to) ? to : QString();
}

HostRun HostFolder::run(const QStringList &arguments)
{
    return runProgram(environment("ZTRACE_HEADLESS"), arguments, folder->path());
}

// A command of the shell; in it $0 is the host, $1 the folder of plug-ins, and so on.
HostRun HostFolder::shell(const QString &command, const QStringList &arguments)
{
    return runProgram("/bin/sh",
                      QStringList() << "-c" << command << environment("ZTRACE_HEADLESS") << plugins
                                    << arguments,
                      folder->path());
}

HostRun HostFolder::runText(const QString &script, const QStringList &arguments)
{
    const QString name = write("script.js", script);
    return run(QStringList() << "--plugins" << plugins << name << arguments);
}

} // namespace tests
