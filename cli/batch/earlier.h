// (c) the ztrace developers. Licence: see LICENSE.
//
// What earlier runs have finished.
#ifndef ZTRACE_CLI_BATCH_EARLIER_H
#define ZTRACE_CLI_BATCH_EARLIER_H

#include <QByteArray>
#include <QJsonObject>

#include <string>

#include "task.h"

namespace ztrace {

// What a picture is traced with now.
struct Conditions
{
    std::string out;      // folder of the drawings
    QByteArray settings;  // their fingerprint
    std::string sha256;   // of the picture's file; empty when it has gone
    std::string worldSha; // of its world file; empty when there is none, or none is asked for
    double seconds;       // that a picture may take; 0: any
    double memory;        // million bytes that it may take; 0: any
    QJsonObject limits;   // see limitsOf
};

// SHA-256 of a file, empty when it cannot be read.
std::string shaOfFile(const std::string &fileName);

// The line by which an earlier run has finished the picture as this one would; null when there is
// none. It was written under the same conditions, and its drawings are there; or else it is the
// first of the task's lines that was, and a failure that is not to be tried again. A picture that
// has gone needs no new drawing. The page of a book may be there as a part of it, or in the book
// itself.
QByteArray finishedBefore(const Task &task, const Conditions &now);

} // namespace ztrace

#endif
