// (c) the ztrace developers. Licence: see LICENSE.
//
// Lines for the user, and the standard streams that they go to.
#ifndef ZTRACE_CLI_MESSAGES_H
#define ZTRACE_CLI_MESSAGES_H

#include <QByteArray>
#include <QtGlobal>

#include <cstdio>
#include <string>

class QString;

namespace ztrace {

// Gives descriptors 0, 1 and 2, where the caller has closed them, something that cannot be read or
// written: no file that is opened later takes their place, and what is lost is noticed. The first
// thing that a program does.
void reserveStandardDescriptors();

// A reader that goes away and a file that may not grow are failures to write, which are told, and
// not the end of the process; standard error that may not grow takes no drawing with it.
void ignoreSignalsOfWrites();

// From now on what is printed on standard output and standard error waits for a reader also where
// the descriptor does not wait, and only a reader that leaves loses it. Others that share the pipe
// may have set it so. Needs glibc, elsewhere nothing changes.
void waitForReaders();

// Standard error, also while image libraries are kept from writing to it (Silence).
std::FILE *messageStream();

// The same for handlers of signals.
int messagesDescriptor();

// "ztrace: TEXT" on a line, whatever is in the text.
void tell(const std::string &text);

// With question marks in place of what terminals would take for commands.
std::string printable(std::string text);

// Whether the toolkit cannot go on after a message of its own: a fatal one, or one that says that a
// thread was refused, whose work it would wait for without an end.
bool isLastMessage(QtMsgType type, const QString &text);

// The toolkit's messages: dropped, since what goes wrong is said once, by this program, and the
// engine's own lines are for scripts. A last one is told and ends the process with kFailed.
void toolkitMessage(QtMsgType type, const QMessageLogContext &context, const QString &text);

// Throws a Failure when something that was printed on the stream has not arrived.
void requireArrival(std::FILE *stream);

// Image libraries print their complaints; while this lives they go nowhere.
class Silence
{
public:
    Silence();
    ~Silence();
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    int saved;
};

// As Silence, but what they print is kept, and the toolkit's warnings beside it: 64 KiB, the first.
class Overheard
{
public:
    Overheard();
    ~Overheard();
    Overheard(const Overheard &) = delete;
    Overheard &operator=(const Overheard &) = delete;

    // Until now, in lines.
    QByteArray lines() const;

private:
    int saved;
    int file;
    QtMessageHandler previous;
};

} // namespace ztrace

#endif
