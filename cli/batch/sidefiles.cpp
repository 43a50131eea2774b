// (c) the ztrace developers. Licence: see LICENSE.
#include "sidefiles.h"

#include "cli/failure.h"
#include "cli/formats.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <iterator>

#include <sys/stat.h>

namespace ztrace {

namespace {

struct SideFile
{
    const char *option;
    std::string name;
};

// Those that are made anew; result lines are added to theirs.
std::vector<SideFile> newFilesOf(const BatchSettings &batch)
{
    std::vector<SideFile> files;
    for (const SideFile &file :
         { SideFile { "--csv", batch.csv }, SideFile { "--premis", batch.premis },
           SideFile { "--report", batch.report } }) {
        if (!file.name.empty())
            files.push_back(file);
    }
    return files;
}

std::string baseOf(const std::string &name)
{
    return name.substr(name.rfind('/') + 1);
}

std::string folderOf(const std::string &name)
{
    const std::size_t slash = name.rfind('/');
    return slash == std::string::npos ? "." : name.substr(0, slash + 1);
}

// Of a file's folder, which may not be there yet.
QString placeOf(const std::string &name)
{
    const QDir folder(QFile::decodeName(folderOf(name).c_str()));
    const QString canonical = folder.canonicalPath();
    return canonical.isEmpty() ? QDir::cleanPath(folder.absolutePath()) : canonical;
}

// Whether both are, or would be, one file.
bool isOneFile(const std::string &a, const std::string &b)
{
    struct stat first;
    struct stat second;
    const bool isThere = ::stat(a.c_str(), &first) == 0;
    if (isThere != (::stat(b.c_str(), &second) == 0))
        return false;
    if (isThere)
        return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
    return baseOf(a) == baseOf(b) && placeOf(a) == placeOf(b);
}

[[noreturn]] void refuse(const SideFile &file, const std::string &what)
{
    throw Failure(kWrongUsage, std::string(file.option) + ": " + file.name + " is " + what);
}

void refuseEachOther(const std::vector<SideFile> &files)
{
    for (std::size_t i = 0; i < files.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            if (isOneFile(files[i].name, files[k].name))
                refuse(files[i], std::string("the file of ") + files[k].option + " already");
        }
    }
}

void refuseInputs(const std::vector<SideFile> &files, const std::vector<std::string> &inputs)
{
    for (const SideFile &file : files) {
        for (const std::string &input : inputs) {
            if (isOneFile(file.name, input))
                refuse(file, "read by this run");
        }
    }
}

// Besides pictures.
std::vector<std::string> readBy(const Settings &settings)
{
    std::vector<std::string> read;
    for (const auto *names :
         { &settings.batch.lists, &settings.batch.manifests, &settings.filesRead }) {
        std::copy_if(names->begin(), names->end(), std::back_inserter(read),
                     [](const std::string &name) { return name != "-"; });
    }
    return read;
}

void refuseDrawings(const std::vector<SideFile> &files, const std::vector<std::string> &read,
                    const std::string &drawing)
{
    for (const SideFile &file : files) {
        if (baseOf(file.name) == baseOf(drawing) && isOneFile(file.name, drawing))
            refuse(file, "a drawing of this run");
    }
    for (const std::string &name : read) {
        if (baseOf(name) == baseOf(drawing) && isOneFile(name, drawing))
            throw Failure(kWrongUsage,
                          name + ": is read by this run, and would be one of its drawings");
    }
}

// A picture is there; of a drawing that is not there yet the name tells.
void refusePictures(const std::vector<SideFile> &files, const std::vector<std::string> &read,
                    const std::string &out, const Agenda &agenda)
{
    std::vector<SideFile> existing;
    for (const SideFile &file : files) {
        if (QFileInfo::exists(QFile::decodeName(file.name.c_str())))
            existing.push_back(file);
    }
    agenda.items.forEach([&](const Item &item) {
        for (const SideFile &file : existing) {
            if (isOneFile(file.name, item.path))
                refuse(file, "a picture of this run");
        }
        for (const std::string &output : agenda.outputsOf(item))
            refuseDrawings(files, read, out + '/' + output);
    });
}

} // namespace

void refuseSideFiles(const Settings &settings, const std::string &results, const Agenda &agenda)
{
    const BatchSettings &batch = settings.batch;
    std::vector<SideFile> files = newFilesOf(batch);
    for (const SideFile &file : files)
        refuseToReplace(QFile::decodeName(file.name.c_str()), settings);
    if (!results.empty())
        files.push_back({ "--results", results });
    refuseEachOther(files);
    const std::vector<std::string> read = readBy(settings);
    refuseInputs(files, read);
    refusePictures(files, read, batch.out, agenda);
}

void refuseSideFiles(const Settings &settings, const std::vector<std::string> &inputs)
{
    const std::vector<SideFile> files = newFilesOf(settings.batch);
    for (const SideFile &file : files)
        refuseToReplace(QFile::decodeName(file.name.c_str()), settings);
    refuseEachOther(files);
    refuseInputs(files, inputs);
}

void requireSideFolders(const Settings &settings)
{
    for (const SideFile &file : newFilesOf(settings.batch)) {
        const QFileInfo info(QFile::decodeName(file.name.c_str()));
        if (info.isDir())
            throw Failure(kOutputNotWritable, file.name + ": it is a folder");
        if (!QFileInfo(info.path()).isDir())
            throw Failure(kOutputNotWritable,
                          file.name + ": there is no folder " + folderOf(file.name));
    }
}

} // namespace ztrace
