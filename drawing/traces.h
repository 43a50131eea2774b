// (c) the ztrace developers. Licence: see LICENSE.
//
// Hidden names that a run needs while it gives names to its files (naming.h), and what is done
// about those that a killed run has left.
#ifndef ZTRACE_DRAWING_TRACES_H
#define ZTRACE_DRAWING_TRACES_H

#include <QByteArray>

#include <vector>

#include <sys/types.h>

namespace ztrace {

// One file that gets a name.
struct Naming
{
    QByteArray target;
    QByteArray fresh; // hidden name of the new file
    QByteArray old;   // hidden name of the file that was there
    bool existed = false;
    ino_t inode = 0; // of the new file
};

// A random number that names a run.
QByteArray numberOfRun();

// The names of a run's file number `index` that is to be at the absolute path `target`.
Naming namingOf(const QByteArray &target, const QByteArray &run, int index);

// Where a folder, which ends with a slash, has the run's record.
QByteArray recordOf(const QByteArray &folder, const QByteArray &run);

// The record for one of the folders.
QByteArray textOfRecord(const std::vector<Naming> &names, const QByteArray &folder);

// Puts back what was there before the last rename of a run. Needs no memory. Returns false when an
// old file is still under its hidden name.
bool undo(const std::vector<Naming> &names);

// Removes the hidden names of a run that is done or undone. Needs no memory. Returns the first that
// could not be removed, or a null pointer; records stay then for the next attempt.
const QByteArray *removeTraces(const std::vector<Naming> &names,
                               const std::vector<QByteArray> &records);

// Undoes or finishes, in a folder that ends with a slash, what killed runs of this user have left
// there. What fails is left to the next run. Returns whether there was any. No signal may end the
// process meanwhile.
bool recoverFolder(const QByteArray &folder);

} // namespace ztrace

#endif
