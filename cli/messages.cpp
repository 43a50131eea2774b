// (c) the ztrace developers. Licence: see LICENSE.
#include "messages.h"

#include "failure.h"

#include "drawing/files.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kMostOverheard = 1 << 16;

// Of a file whose size is settled: what does not fit is lost, and no memory is filled.
int newNotes()
{
    const int file = static_cast<int>(memfd_create("ztrace", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (file >= 0 && ftruncate(file, kMostOverheard) == 0
        && fcntl(file, F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK) == 0)
        return file;
    if (file >= 0)
        close(file);
    return open("/dev/null", O_RDWR | O_CLOEXEC);
}

#if defined(__GLIBC__)

ssize_t writeWaiting(void *cookie, const char *data, std::size_t size)
{
    const int failure
        = writeAll(*static_cast<const int *>(cookie), data, static_cast<qint64>(size));
    if (failure == 0)
        return static_cast<ssize_t>(size);
    errno = failure;
    return 0;
}

// A stream to a descriptor that stays where it is.
std::FILE *waitingStream(const int *descriptor)
{
    cookie_io_functions_t functions = {};
    functions.write = writeWaiting;
    return fopencookie(const_cast<int *>(descriptor), "w", functions);
}

void replaceByWaiting(std::FILE **stream, const int *descriptor, int buffering)
{
    std::FILE *own = waitingStream(descriptor);
    if (!own)
        return;
    std::setvbuf(own, nullptr, buffering, BUFSIZ);
    *stream = own;
}

#else

std::FILE *waitingStream(const int *descriptor)
{
    return fdopen(*descriptor, "w");
}

#endif

// A last one ends the process, as ever.
void noteMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (isLastMessage(type, text))
        toolkitMessage(type, context, text);
    else if (type == QtWarningMsg || type == QtCriticalMsg)
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

} // namespace

void ignoreSignalsOfWrites()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void reserveStandardDescriptors()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF)
            continue;
        // The lowest free descriptor is this one. It is open the wrong way round.
        open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

void waitForReaders()
{
#if defined(__GLIBC__)
    static const int output = STDOUT_FILENO;
    static const int errors = STDERR_FILENO;
    replaceByWaiting(&stdout, &output, isatty(output) ? _IOLBF : _IOFBF);
    replaceByWaiting(&stderr, &errors, _IONBF);
#endif
}

int messagesDescriptor()
{
    static const int copy = [] {
        const int own = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        return own < 0 ? STDERR_FILENO : own;
    }();
    return copy;
}

std::FILE *messageStream()
{
    static const int descriptor = messagesDescriptor();
    static std::FILE *const stream = [] {
        std::FILE *own = waitingStream(&descriptor);
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

bool isLastMessage(QtMsgType type, const QString &text)
{
    return type == QtFatalMsg
        || text.startsWith(QLatin1String("QThread::start: Thread creation error"));
}

void toolkitMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (!isLastMessage(type, text))
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

Overheard::Overheard()
    : saved(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)), file(newNotes()),
      previous(qInstallMessageHandler(noteMessage))
{
    messageStream(); // has its own copy from now on
    if (file >= 0)
        dup2(file, STDERR_FILENO);
}

Overheard::~Overheard()
{
    qInstallMessageHandler(previous);
    if (saved >= 0) {
        dup2(saved, STDERR_FILENO);
        close(saved);
    }
    if (file >= 0)
        close(file);
    std::clearerr(stderr); // notes may have been full
}

QByteArray Overheard::lines() const
{
    const off_t size = lseek(file, 0, SEEK_CUR);
    QByteArray text(static_cast<int>(std::min<off_t>(std::max<off_t>(0, size), kMostOverheard)),
                    '\0');
    const ssize_t there = pread(file, text.data(), static_cast<std::size_t>(text.size()), 0);
    text.resize(static_cast<int>(std::max<ssize_t>(0, there)));
    return text;
}

} // namespace ztrace
