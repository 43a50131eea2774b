// (c) the ztrace developers. Licence: see LICENSE.
#include "watch.h"

#include "cli/failure.h"

#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace ztrace {

namespace {

const std::chrono::milliseconds kStill(1000); // that a size has to be the same
const std::chrono::milliseconds kLook(250);   // between looks while files are written
const std::chrono::seconds kAnyway(30);       // between looks when nothing is told
const std::chrono::seconds kPoll(1);          // between looks where nothing can be told

// File systems whose changes on other machines are not told here.
bool isRemote(const std::string &folder)
{
    const unsigned long kRemote[] = { 0x6969,     0x517B,     0xFE534D42, 0xFF534D42, 0x65735546,
                                      0x00C36400, 0x01021997, 0x5346414F, 0x19830326 };
    struct statfs info;
    if (statfs(folder.c_str(), &info) != 0)
        return true;
    for (const unsigned long kind : kRemote) {
        if (static_cast<unsigned long>(info.f_type) == kind)
            return true;
    }
    return false;
}

bool isSame(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

Watch::Watch(const std::vector<std::string> &watched, const Walk &how)
    : folders(watched), walk(how), events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    for (const std::string &folder : folders) {
        struct stat info;
        if (stat(folder.c_str(), &info) != 0)
            throw Failure(kInputUnreadable, folder + ": " + std::strerror(errno));
        if (!S_ISDIR(info.st_mode))
            throw Failure(kInputUnreadable, folder + ": is no folder to watch");
        listen(folder);
    }
}

// Folders in folders come and go: those are looked at.
void Watch::listen(const std::string &folder)
{
    const uint32_t kEvents = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO | IN_ATTRIB
        | IN_DELETE | IN_MOVED_FROM | IN_DELETE_SELF;
    polls = polls || walk.recursive || isRemote(folder) || !events.isOpen()
        || inotify_add_watch(events.get(), folder.c_str(), kEvents) < 0;
}

void Watch::wait(int milliseconds)
{
    const int longest = hasOpen ? static_cast<int>(kLook.count()) : milliseconds;
    pollfd news = { events.get(), POLLIN, 0 };
    if (::poll(&news, 1, std::min(milliseconds, longest)) <= 0)
        return;
    char buffer[4096];
    while (::read(events.get(), buffer, sizeof buffer) > 0)
        hasNews = true;
}

bool Watch::isDue() const
{
    const auto since = Clock::now() - lastLook;
    return hasNews || (hasOpen && since >= kLook) || since >= kAnyway || (polls && since >= kPoll);
}

void Watch::look(const Item &item)
{
    struct stat info;
    if (stat(item.path.c_str(), &info) != 0)
        return;
    State &state = files[item.path];
    state.isThere = true;
    if (state.since != Clock::time_point() && state.size == info.st_size
        && isSame(state.time, info.st_mtim))
        return;
    state.size = info.st_size;
    state.time = info.st_mtim;
    state.since = Clock::now();
    state.isTaken = false;
}

std::vector<Item> Watch::takeComplete(std::vector<std::string> *problems)
{
    std::vector<Item> complete;
    if (!isDue())
        return complete;
    hasNews = false;
    hasOpen = false;
    lastLook = Clock::now();
    Collected found;
    for (const std::string &folder : folders)
        collect(folder, walk, &found);
    for (const std::string &problem : found.problems) {
        if (!toldProblems[problem])
            problems->push_back(problem);
        toldProblems[problem] = true;
    }
    for (auto &file : files)
        file.second.isThere = false;
    found.items.forEach([&](const Item &item) {
        look(item);
        State &state = files[item.path];
        const bool isStill = Clock::now() - state.since >= kStill && state.size > 0;
        if (!state.isTaken && isStill) {
            state.isTaken = true;
            complete.push_back(item);
        }
        hasOpen = hasOpen || (!state.isTaken && state.size > 0);
    });
    // What has gone may come again.
    for (auto it = files.begin(); it != files.end();)
        it = it->second.isThere ? std::next(it) : files.erase(it);
    return complete;
}

} // namespace ztrace
