// (c) the ztrace developers. Licence: see LICENSE.
//
// The process around the scripts: what it must not inherit, and what it must not lose.
#ifndef ZELVORA_PROCESS_H
#define ZELVORA_PROCESS_H

#include <QByteArray>
#include <QString>

#include <memory>

class QCoreApplication;

namespace zelvora {

// Descriptors 0 to 2 are open afterwards. One that was closed, as supervisors leave them, would
// otherwise be the number of the next file, and what is said on standard error would go into it.
// Reading from and writing to such a one fails. First thing in main, before any file is opened.
void reserveStandardDescriptors();

// A reader that goes away and a file that may not grow are errors of writing and no end of the
// process; one that is slow is waited for.
void ignoreSignalsOfWrites();

// The toolkit paints without a display, whatever the environment says, and what it says before it
// gives up is shown on standard error: the process then ends with the exit code 1. So it does, with
// a line, when one of its libraries fails for want of memory.
void prepareToolkit();

// Ends the process with all output delivered, but without the toolkit's own way out, which needs
// memory again; sanitizers get it.
[[noreturn]] void leave(int code, std::unique_ptr<QCoreApplication> application);

// False where a limit keeps the process from the address space that the script engine takes for its
// machine code: without asking it would crash on its first use.
bool hasRoomForScripts();

// Writes to standard output, after what the C library has buffered for it, and waits where the
// reader is slow. False with the reason when not all of it has arrived.
bool writeToStandardOutput(const QByteArray &bytes, QString *error);

} // namespace zelvora

#endif
