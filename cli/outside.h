// (c) the ztrace developers. Licence: see LICENSE.
//
// Programs beside this one that read files of strangers: each is run within limits, and ends with
// this process, however that ends.
#ifndef ZTRACE_CLI_OUTSIDE_H
#define ZTRACE_CLI_OUTSIDE_H

#include "drawing/signals.h"

#include <QByteArray>
#include <QStringList>

#include <string>

namespace ztrace {

// Seconds of processor time that one of them gets. Pages that take minutes are hostile: a scan of
// 1200 dots an inch on A3 takes seconds.
const int kMostOutsideSeconds = 300;

// Contents in memory, with a name that another program can open.
class NamedContents
{
public:
    explicit NamedContents(const QByteArray &contents = QByteArray());
    ~NamedContents();
    NamedContents(const NamedContents &) = delete;
    NamedContents &operator=(const NamedContents &) = delete;

    QString name() const;

    // What is there now, of at most so many bytes the first.
    QByteArray contents(qint64 most) const;

private:
    int file;
};

// While this lives, signals that would end the process wait; a program that is running is ended
// when one comes. For what has to be removed from a disk.
class EndsLater : public HeldSignals
{
public:
    EndsLater() : HeldSignals(ofEnds()) { }

    // Whether one is waiting.
    static bool isAsked();

private:
    static sigset_t ofEnds();
};

// Runs it and returns what it prints. It has no input, `bytes` of memory beyond its own needs, and
// can write no file larger than `bytes`. Throws a Failure about the input `name`: the program of
// the Debian package is not installed, or (a LimitFailure) it has failed, and what it says. What
// one that has not failed says goes to `complaints`.
QByteArray outputOf(const char *program, const char *package, const QStringList &arguments,
                    const std::string &name, double bytes, QByteArray *complaints = nullptr);

} // namespace ztrace

#endif
