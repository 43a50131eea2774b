// (c) the ztrace developers. Licence: see LICENSE.
//
// Several files get their names together, or none does, whenever the process ends.
//
// Everything happens in the folders of the files, under names that begin with ".ztrace-" and the
// run's random number:
//
//   1. Each new file gets a hidden name (".new").
//   2. With more than one, a record (".undo") of what is to be named goes into each folder.
//   3. One after the other, each old file but the last gets a hidden name as well (".old"), and
//      the new one takes its place by rename. The last rename decides: until then the run can be
//      undone, and from then on it is done.
//   4. Old files and records are removed.
//
// A process that is killed in between leaves hidden names. The next run that writes to one of the
// folders finds them: with a record and with the last hidden name of step 1 still there, it undoes
// the killed run, and then removes what is left. The files of a run that lives are locked, which is
// how it is told from a killed one, on whatever machine it is.
#ifndef ZTRACE_DRAWING_NAMING_H
#define ZTRACE_DRAWING_NAMING_H

#include "files.h"
#include "traces.h"

#include <vector>

namespace ztrace {

// Contents for a target: a file without a name, whose contents are on the disk, or where there are
// no such files, bytes.
struct NewFile
{
    const Target *target;
    int fd;
    const QByteArray *bytes;
};

class NamedTogether
{
public:
    // Prepares all names; nothing happens in any folder yet. The files stay open until the end.
    explicit NamedTogether(const std::vector<NewFile> &newFiles);
    // Undoes what was begun and not finished.
    ~NamedTogether();
    NamedTogether(const NamedTogether &) = delete;
    NamedTogether &operator=(const NamedTogether &) = delete;

    // Steps 1 and 2, step 3 and step 4; in between the disk is waited for, of many sets at once:
    // for syncRecords() and folders() before step 3, for folders() before step 4. No signal may end
    // the process from the first to the last (signals.h). On an error nothing has changed but for
    // remainder(), and `position` is the file that it is about.
    int prepare(std::size_t *position);
    int give(std::size_t *position);
    void finish();

    // Returns when the records are on the disk, but for their names.
    int syncRecords() const;
    bool hasRecords() const { return !records.empty(); }

    // Where the names are, each folder once.
    std::vector<QByteArray> folders() const;

    // Takes everything back that is not given.
    void clear();

    // A hidden name that could not be removed; null when there is none. The next run tries again.
    const QByteArray *remainder() const { return rest; }

private:
    int linkNew(std::size_t index);
    int makeNew(std::size_t index);
    int record();
    int giveOne(std::size_t index);

    std::vector<NewFile> files;
    std::vector<Naming> names;
    std::vector<QByteArray> records;     // one a folder; none for a single file
    std::vector<Descriptor> made;        // locked until the end
    std::vector<Descriptor> recordFiles; // as well
    const QByteArray *rest = nullptr;
    bool begun = false;
};

} // namespace ztrace

#endif
