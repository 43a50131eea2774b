// (c) the ztrace developers. Licence: see LICENSE.
#include "messages.h"

#include "failure.h"

#include <QString>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace ztrace {

void reserveStandardDescriptors()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF)
            continue;
        // The lowest free descriptor is this one. It is open the wrong way round.
        open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

std::FILE *messageStream()
{
    static std::FILE *const stream = [] {
        const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        std::FILE *own = copy < 0 ? nullptr : fdopen(copy, "w");
        if (!own)
            return stderr;
        std::setvbuf(own, nullptr, _IOLBF, BUFSIZ);
        return own;
    }();
    return stream;
}

std::string printable(std::string text)
{
    for (char &letter : text) {
        if (static_cast<unsigned char>(letter) < ' ' || letter == 127)
            letter = '?';
    }
    return text;
}

void tell(const std::string &text)
{
    std::fprintf(messageStream(), "ztrace: %s\n", printable(text).c_str());
    std::fflush(messageStream());
}

void toolkitMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtFatalMsg)
        return;
    tell(text.toLocal8Bit().toStdString());
    std::_Exit(kFailed);
}

void requireArrival(std::FILE *stream)
{
    if (std::fflush(stream) == 0 && std::ferror(stream) == 0)
        return;
    const std::string reason = errno != 0 ? std::strerror(errno) : "it could not be written";
    throw Failure(kOutputNotWritable,
                  (stream == stdout ? "standard output: " : "standard error: ") + reason);
}

Silence::Silence() : saved(dup(STDERR_FILENO))
{
    messageStream(); // has its own copy from now on
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

Silence::~Silence()
{
    if (saved < 0)
        return;
    dup2(saved, STDERR_FILENO);
    close(saved);
}

} // namespace ztrace
