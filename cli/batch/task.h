// (c) the ztrace developers. Licence: see LICENSE.
//
// What a run asks a worker to do with one picture, and the line that says it.
#ifndef ZTRACE_CLI_BATCH_TASK_H
#define ZTRACE_CLI_BATCH_TASK_H

#include <QByteArray>
#include <QJsonObject>

#include <string>
#include <vector>

#include "names.h"

namespace ztrace {

struct Task
{
    Item item;
    std::vector<std::string> outputs; // below the folder of the drawings
    QByteArray before;                // its lines of earlier runs, see Ledger::linesOf

    // Of the page of a book: the part that it gives, the book's own drawings, its lines of earlier
    // runs, and the pages that are asked for. Of a book: the pages that could be traced, and
    // those that could not; what Books says of their parts. Pages as ranges.
    std::string part;
    std::vector<std::string> books;
    QByteArray bookBefore;
    std::string pages;
    std::string missing;
    QJsonObject parts;
    std::string source;
    bool isLimited = false;

    int preview = 0;    // its longer side; 0: none
    bool retry = false; // also when that one failed
    int attempt = 1;
};

// A JSON object on a line, and back.
QByteArray lineOfTask(const Task &task);
Task taskOf(const QJsonObject &message);

} // namespace ztrace

#endif
