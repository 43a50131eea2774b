// (c) the ztrace developers. Licence: see LICENSE.
//
// Runs a program in a folder and waits for its end.
#ifndef ZTRACE_TESTS_HOSTRUN_H
#define ZTRACE_TESTS_HOSTRUN_H

#include <QProcess>
#include <QString>
#include <QStringList>

namespace tests {

struct HostRun
{
    int code = -1; // -1: crashed, hung, or not there
    QString out;
    QString err;
};

inline QString environment(const char *name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

inline HostRun runProgram(const QString &program, const QStringList &arguments,
                          const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    HostRun result;
    const bool ended = process.waitForFinished(120000);
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    if (ended && process.exitStatus() == QProcess::NormalExit)
        result.code = process.exitCode();
    return result;
}

// The headless host with the plug-ins of the build tree. ZTRACE_HEADLESS is the program.
inline HostRun runScript(const QStringList &arguments, const QString &folder)
{
    const QStringList plugins = QStringList() << "--plugins" << environment("ZTRACE_PLUGIN_FOLDER");
    return runProgram(environment("ZTRACE_HEADLESS"), plugins + arguments, folder);
}

} // namespace tests

#endif
