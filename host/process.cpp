// (c) the ztrace developers. Licence: see LICENSE.
#include "process.h"

#include "interruption.h"

#include "cli/lastwords.h"
#include "cli/messages.h"
#include "cli/toolkit.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

const int kFailed = 1;

// Bytes. The toolkit's script engine maps 2 GB at once on 64-bit machines (seen: with 2.0 GB it
// crashes, with 2.3 GB it runs) and a little more for its registers and its heap.
const size_t kRoomForScripts = sizeof(void *) < 8 ? size_t(64) << 20 : size_t(2112) << 20;

QtMessageHandler toolkitsHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!ztrace::isLastMessage(type, text)) {
        toolkitsHandler(type, context, text);
        return;
    }
    std::fprintf(stderr, "zelvora-headless: %s\n", qPrintable(text.simplified()));
    std::fflush(stderr);
    // Nothing of the toolkit can be relied on any more, its destructors included.
    std::_Exit(kFailed);
}

// True when the descriptor is ready for more, or will say itself why it is not. Whoever wants the
// run to end need not wait for a reader.
bool waitsForReader()
{
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
        pollfd output = { STDOUT_FILENO, POLLOUT, 0 };
        if (poll(&output, 1, -1) >= 0)
            return true;
    }
    return errno == EINTR && zelvora::stopFlag() == 0;
}

} // namespace

void zelvora::reserveStandardDescriptors()
{
    // The wrong direction each time, so that the loss is seen.
    for (int number = 0; number <= 2; ++number) {
        if (fcntl(number, F_GETFD) == -1)
            (void)open("/dev/null", number == 0 ? O_WRONLY : O_RDONLY);
    }
}

void zelvora::ignoreSignalsOfWrites()
{
    ztrace::ignoreSignalsOfWrites();
    ztrace::waitForReaders();
}

void zelvora::prepareToolkit()
{
    ztrace::sayLastWords("zelvora-headless", kFailed);
    toolkitsHandler = qInstallMessageHandler(handleMessage);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Its loop is another library's else, which ends the process when it gets no memory.
    qputenv("QT_NO_GLIB", "1");
    // What the toolkit complains of in a script is no reason to end.
    qunsetenv("QT_FATAL_WARNINGS");
    qunsetenv("QT_FATAL_CRITICALS");
    // Its rules are read to the end, which a pipe or a device may not have.
    qunsetenv("QT_LOGGING_CONF");
}

void zelvora::leave(int code, std::unique_ptr<QCoreApplication> application)
{
    ztrace::leave(code, std::move(application));
}

bool zelvora::hasRoomForScripts()
{
    void *const room = mmap(nullptr, kRoomForScripts, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return room != MAP_FAILED && munmap(room, kRoomForScripts) == 0;
}

bool zelvora::writeToStandardOutput(const QByteArray &bytes, QString *error)
{
    bool isWhole = std::fflush(stdout) == 0;
    int done = 0;
    while (isWhole && done < bytes.size()) {
        const ssize_t count = write(STDOUT_FILENO, bytes.constData() + done,
                                    static_cast<size_t>(bytes.size() - done));
        if (count >= 0)
            done += static_cast<int>(count);
        else
            isWhole = waitsForReader();
    }
    if (!isWhole)
        *error = QString::fromLocal8Bit(std::strerror(errno));
    return isWhole;
}
