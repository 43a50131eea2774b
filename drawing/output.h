// (c) the ztrace developers. Licence: see LICENSE.
//
// Files that appear whole or not at all.
#ifndef ZTRACE_DRAWING_OUTPUT_H
#define ZTRACE_DRAWING_OUTPUT_H

#include <QByteArray>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QIODevice;

namespace ztrace {

struct NamedSet;

// Puts something on a device that is open for writing; false when the device took less.
typedef std::function<bool(QIODevice *)> DeviceWriter;

// Files that get their names together, when the contents of all of them have arrived on the disk.
// Until then, and after a failure, files of those names stay as they were; a process that is killed
// meanwhile is undone by the next one that writes to the folder (naming.h). A file that is replaced
// leaves its owner, group, mode, access control list and extended attributes to the new one where
// that is permitted; links to it are followed. A name that is no ordinary file (a terminal, a pipe)
// gets its contents before the files get their names; "-" is standard output.
class OutputFiles
{
public:
    // Folders where nothing of killed runs is left, to be found out once for many sets of files.
    typedef std::shared_ptr<QSet<QByteArray>> CleanFolders;

    explicit OutputFiles(CleanFolders known = CleanFolders());
    ~OutputFiles();
    OutputFiles(const OutputFiles &) = delete;
    OutputFiles &operator=(const OutputFiles &) = delete;

    // Calls `write` with a temporary place. On failure `error` says why in one sentence without the
    // file's name.
    bool add(const QString &fileName, const DeviceWriter &write, QString *error);

    // Gives everything its name. On failure `fileName` is the one that it is about.
    bool commit(QString *fileName, QString *error);

    // What was added under a name; empty when it cannot be read.
    QByteArray contentsOf(const QString &fileName) const;

    struct Commit
    {
        OutputFiles *files;
        bool isGood = true;
        QString fileName = {};
        QString error = {};
    };

    // The same for many sets, each together or not at all whatever becomes of the others; the disk
    // is waited for once for all of them.
    static void commitAll(std::vector<Commit> *sets);

private:
    struct Contents;

    bool recover(const QByteArray &folder);
    int syncAll(QString *fileName) const;
    int sendStreams(QString *fileName);
    static bool isNamed(const NamedSet &set, Commit *commit);

    std::vector<std::unique_ptr<Contents>> streams;
    std::vector<std::unique_ptr<Contents>> files;
    CleanFolders folders;
};

// One file alone.
bool writeWhole(const QString &fileName, const DeviceWriter &write, QString *error);

} // namespace ztrace

#endif
