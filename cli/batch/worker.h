// (c) the ztrace developers. Licence: see LICENSE.
//
// A process that traces pictures one after the other for a run. It is the program itself, started
// anew by name, and talks over one socket: the run sends lines with JSON objects, the worker
// answers with lines that begin with a letter.
#ifndef ZTRACE_CLI_BATCH_WORKER_H
#define ZTRACE_CLI_BATCH_WORKER_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <string>

#include "cli/failure.h"

namespace ztrace {

// The first argument of a worker, and the descriptor of its socket.
const char kWorkerArgument[] = "--batch-worker";
const int kWorkerSocket = 3;

// Letters that answers begin with.
enum Answer : char {
    kReady = 'R',        // the fingerprint of all settings
    kUnable = 'U',       // why the worker cannot begin: the system has no room for it
    kStarted = 'S',      // which of its pictures it begins, from 1, and the SHA-256 of its file;
                         // it is done with those before
    kTraced = 'T',       // how many pictures it is done with, when it waits for more
    kLineOfDone = 'D',   // a result line: finished, without flags or warnings
    kLine = 'L',         // another result line
    kLineOfMemory = 'M', // the same, for a picture that memory did not hold
    kSkipped = 'K',      // finished by an earlier run: a JSON object with the outcome, of pages of
                         // books with members of the line (partIn), and with the reason why it
                         // cannot be read now
    kPages = 'P',        // the number of pages, 0 when the file cannot be read
    kNoRoom = 'N',       // the run cannot go on: why nothing can be written
    kRefused = 'E'       // a Failure: exit code, space, text
};

// Of the object that tells of a skipped picture.
const char kUnreadable[] = "unreadable";

// Bytes in a JSON text and back, one letter a byte.
QString packed(const std::string &bytes);
std::string unpacked(const QJsonValue &value);

// Of a worker: lines that begin with a letter, from any thread. Ends the process when the run has
// gone.
void answerAll(const QByteArray &answers);

bool isWorker(int argc, const char *const *argv);

// Works until the socket is closed.
ExitCode runWorker();

} // namespace ztrace

#endif
