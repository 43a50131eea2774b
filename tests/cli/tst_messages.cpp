// (c) the ztrace developers. Licence: see LICENSE.
//
// Messages and the standard streams, in child processes of their own.
#include "cli/failure.h"
#include "cli/messages.h"

#include <QtTest>

#include <functional>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ztrace;

namespace {

struct Ended
{
    int code = -1;
    QByteArray text; // on standard error
};

// Runs the function in a child.
Ended inChild(const std::function<int()> &run)
{
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        std::_Exit(run());
    }
    close(ends[1]);
    Ended ended;
    char buffer[256];
    for (ssize_t size; (size = read(ends[0], buffer, sizeof buffer)) > 0;)
        ended.text.append(buffer, static_cast<int>(size));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return ended;
}

} // namespace

class tst_Messages : public QObject
{
    Q_OBJECT

private slots:
    void fatalOnesAreTold();
    void othersAreDropped();
    void aMessageIsALine();
    void messagesPassSilence();
    void whatIsOverheardIsKept();
    void closedDescriptorsAreTaken();
};

// Of libraries and of the toolkit, in order, and no more than there is room for.
void tst_Messages::whatIsOverheardIsKept()
{
    const Ended ended = inChild([] {
        QByteArray lines;
        int size = 0;
        {
            const Overheard overheard;
            std::fputs("of a library\n", stderr);
            qWarning("of the toolkit");
            qDebug("of no interest");
            lines = overheard.lines();
            for (int i = 0; i < 100000; ++i)
                std::fputs("again and again\n", stderr);
            size = overheard.lines().size();
        }
        std::fputs("afterwards\n", stderr);
        return lines == "of a library\nof the toolkit\n" && size > 60000 && size <= 65536 ? 77 : 1;
    });
    QCOMPARE(ended.code, 77);
    QCOMPARE(ended.text, QByteArray("afterwards\n"));
}

void tst_Messages::fatalOnesAreTold()
{
    const Ended ended = inChild([] {
        toolkitMessage(QtFatalMsg, QMessageLogContext(), QString::fromLatin1("no platform"));
        return 77;
    });
    QCOMPARE(ended.code, int(kFailed));
    QCOMPARE(ended.text, QByteArray("ztrace: no platform\n"));
}

void tst_Messages::othersAreDropped()
{
    const Ended ended = inChild([] {
        for (QtMsgType type : { QtDebugMsg, QtInfoMsg, QtWarningMsg, QtCriticalMsg })
            toolkitMessage(type, QMessageLogContext(), QString::fromLatin1("something"));
        return 77;
    });
    QCOMPARE(ended.code, 77);
    QCOMPARE(ended.text, QByteArray());
}

void tst_Messages::aMessageIsALine()
{
    const Ended ended = inChild([] {
        tell("a\nb\x1b[31m\x7f");
        return 0;
    });
    QCOMPARE(ended.text, QByteArray("ztrace: a?b?[31m?\n"));
}

void tst_Messages::messagesPassSilence()
{
    const Ended ended = inChild([] {
        const Silence silence;
        dprintf(STDERR_FILENO, "of a library\n");
        tell("of the program");
        return 0;
    });
    QCOMPARE(ended.text, QByteArray("ztrace: of the program\n"));
}

void tst_Messages::closedDescriptorsAreTaken()
{
    const Ended ended = inChild([] {
        for (int descriptor : { 0, 1, 2 })
            close(descriptor);
        reserveStandardDescriptors();
        const int next = open("/dev/null", O_RDONLY);
        char letter = 'x';
        const bool lost = write(STDOUT_FILENO, &letter, 1) < 0
            && write(STDERR_FILENO, &letter, 1) < 0 && read(STDIN_FILENO, &letter, 1) < 0;
        return next > 2 && lost ? 0 : 1;
    });
    QCOMPARE(ended.code, 0);
}

QTEST_GUILESS_MAIN(tst_Messages)
#include "tst_messages.moc"
