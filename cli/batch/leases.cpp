// (c) the ztrace developers. Licence: see LICENSE.
#include "leases.h"

#include "cli/failure.h"
#include "inputs.h"

#include "drawing/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const std::chrono::seconds kTouch(10);
const time_t kStale = 120; // seconds

[[noreturn]] void fail(const std::string &name)
{
    throw Failure(kOutputNotWritable, name + ": " + std::strerror(errno));
}

void create(const std::string &name)
{
    const Descriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    if (!file.isOpen())
        fail(name);
}

std::vector<std::string> namesIn(const std::string &folder)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> open(opendir(folder.c_str()), closedir);
    if (!open)
        fail(folder);
    std::vector<std::string> names;
    while (const dirent *entry = readdir(open.get()))
        names.push_back(entry->d_name);
    std::sort(names.begin(), names.end());
    return names;
}

bool beginsWith(const std::string &name, const char *beginning)
{
    return name.compare(0, std::strlen(beginning), beginning) == 0;
}

int partIn(const std::string &name)
{
    return std::atoi(name.c_str() + name.find('-') + 1);
}

} // namespace

std::string Leases::owner()
{
    char host[256] = "";
    gethostname(host, sizeof host - 1);
    return std::string(host) + '.' + std::to_string(getpid());
}

Leases::Leases(const std::string &out, int count, const std::string &purpose)
    : folder(out + "/.ztrace-leases-" + std::to_string(count) + '-' + purpose), parts(count)
{
    if (access(folder.c_str(), F_OK) == 0) {
        beginAnew();
        return;
    }
    // Whole or not at all: of several runs that begin together one gives the name.
    const std::string own = folder + '.' + owner();
    if (mkdir(own.c_str(), 0777) != 0 && errno != EEXIST)
        fail(own);
    for (int i = 1; i <= parts; ++i)
        create(own + "/todo-" + std::to_string(i));
    if (::rename(own.c_str(), folder.c_str()) == 0)
        return;
    if (errno != EEXIST && errno != ENOTEMPTY)
        fail(folder);
    for (int i = 1; i <= parts; ++i)
        ::unlink((own + "/todo-" + std::to_string(i)).c_str());
    ::rmdir(own.c_str());
}

// Of runs that are over, however, all parts are to be had again: there may be more pictures now, or
// drawings that have gone. Parts that another run has done a moment ago may be among them; it costs
// a look at their pictures.
void Leases::beginAnew()
{
    const std::vector<std::string> names = namesIn(folder);
    const time_t time = now();
    const bool isOver = std::all_of(names.begin(), names.end(), [&](const std::string &name) {
        return !beginsWith(name, "busy-") || isStale(name, time);
    });
    for (const std::string &name : names) {
        if (isOver && beginsWith(name, "done-"))
            rename(name, "todo-" + std::to_string(partIn(name)));
    }
}

// By the file system's own clock; 0 when it does not say.
time_t Leases::now() const
{
    const std::string clock = folder + "/clock." + owner();
    ::unlink(clock.c_str());
    create(clock);
    struct stat info = {};
    const bool hasClock = stat(clock.c_str(), &info) == 0;
    ::unlink(clock.c_str());
    return hasClock ? info.st_mtime : 0;
}

bool Leases::isStale(const std::string &name, time_t now) const
{
    struct stat info = {};
    return now != 0 && stat((folder + '/' + name).c_str(), &info) == 0
        && now - info.st_mtime >= kStale;
}

bool Leases::rename(const std::string &from, const std::string &to)
{
    if (::rename((folder + '/' + from).c_str(), (folder + '/' + to).c_str()) == 0)
        return true;
    if (errno != ENOENT)
        fail(folder + '/' + from);
    return false; // another run was there first
}

// Makes the part of that name this run's own, unless another run is faster. It is touched before,
// so that it never looks like one that nobody touches.
bool Leases::claim(const std::string &name)
{
    (void)utimensat(AT_FDCWD, (folder + '/' + name).c_str(), nullptr, 0);
    part = partIn(name);
    mine = "busy-" + std::to_string(part) + '.' + owner();
    if (!rename(name, mine))
        return false;
    touched = std::chrono::steady_clock::time_point();
    return keep();
}

int Leases::take(std::string *busy)
{
    busy->clear();
    for (const std::string &name : namesIn(folder)) {
        if (beginsWith(name, "todo-") && claim(name))
            return part;
    }
    return takeOver(busy);
}

int Leases::takeOver(std::string *busy)
{
    const time_t time = now();
    for (const std::string &name : namesIn(folder)) {
        if (!beginsWith(name, "busy-"))
            continue;
        *busy = name;
        if (isStale(name, time) && claim(name))
            return part;
    }
    return 0;
}

bool Leases::takeAgain(int which)
{
    return claim("done-" + std::to_string(which));
}

std::vector<int> Leases::finished() const
{
    std::vector<int> done;
    for (const std::string &name : namesIn(folder)) {
        if (beginsWith(name, "done-"))
            done.push_back(partIn(name));
    }
    return done;
}

bool Leases::keep()
{
    const auto now = std::chrono::steady_clock::now();
    if (touched != std::chrono::steady_clock::time_point() && now - touched < kTouch)
        return true;
    touched = now;
    return utimensat(AT_FDCWD, (folder + '/' + mine).c_str(), nullptr, 0) == 0 || errno != ENOENT;
}

bool Leases::finish()
{
    return rename(mine, "done-" + std::to_string(part));
}

void Leases::giveBack()
{
    rename(mine, "todo-" + std::to_string(part));
}

} // namespace ztrace
