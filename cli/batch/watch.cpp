// (c) the ztrace developers. Licence: see LICENSE.
#include "watch.h"

#include "cli/failure.h"
#include "cli/strangers.h"

#include <QFile>

#include <algorithm>
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

bool isFolder(const std::string &name)
{
    struct stat info;
    return stat(name.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isSame(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

void requireFolders(const std::vector<std::string> &folders)
{
    for (const std::string &folder : folders) {
        struct stat info;
        if (stat(folder.c_str(), &info) != 0)
            throw Failure(kInputUnreadable, folder + ": " + std::strerror(errno));
        if (!S_ISDIR(info.st_mode))
            throw Failure(kInputUnreadable, folder + ": is no folder to watch");
    }
}

Watch::Watch(const std::vector<std::string> &watched, const FolderWalk &how)
    : folders(watched), walk(how), events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    walk.opensFiles = false; // again and again
    requireFolders(folders);
    for (const std::string &folder : folders)
        listen(folder);
}

// Folders in folders come and go: those are looked at. Returns whether it is a folder that was not
// heard before, by whatever name.
bool Watch::listen(const std::string &folder)
{
    const uint32_t kEvents = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO | IN_ATTRIB
        | IN_DELETE | IN_MOVED_FROM | IN_DELETE_SELF | IN_MOVE_SELF;
    const int teller
        = events.isOpen() ? inotify_add_watch(events.get(), folder.c_str(), kEvents) : -1;
    polls = polls || walk.recursive || isRemote(folder) || teller < 0;
    return teller >= 0 && heard.insert(teller).second;
}

// A folder, or one that it lies in, may be removed or moved away, and another one made in its
// place.
void Watch::listenAgain()
{
    for (const std::string &folder : folders) {
        if (isFolder(folder) && listen(folder))
            hasNews = true;
    }
}

void Watch::hear(const char *news, std::size_t size)
{
    inotify_event event;
    for (std::size_t at = 0; at + sizeof event <= size; at += sizeof event + event.len) {
        std::memcpy(&event, news + at, sizeof event);
        if (event.mask & IN_MOVE_SELF)
            inotify_rm_watch(events.get(), event.wd); // which is told as IN_IGNORED
        if (event.mask & IN_IGNORED)
            heard.erase(event.wd);
    }
    hasNews = true;
}

void Watch::wait(int milliseconds)
{
    const int longest = hasOpen ? static_cast<int>(kLook.count()) : milliseconds;
    pollfd news = { events.get(), POLLIN, 0 };
    if (::poll(&news, 1, std::min(milliseconds, longest)) <= 0)
        return;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(events.get(), buffer, sizeof buffer);
        if (got <= 0)
            return;
        hear(buffer, static_cast<std::size_t>(got));
    }
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
    listenAgain();
    if (!isDue())
        return complete;
    hasNews = false;
    hasOpen = false;
    lastLook = Clock::now();
    Collected found;
    for (const std::string &folder : folders) {
        const std::size_t before = found.problems.size();
        if (isFolder(folder))
            collect(folder, walk, &found);
        if (!isFolder(folder)) { // it may go while it is read
            found.problems.resize(before);
            found.problems.push_back(folder + ": has gone, waits for it to come back");
        }
    }
    // Each once, until it is over.
    for (const std::string &problem : found.problems) {
        if (told.count(problem) == 0)
            problems->push_back(problem);
    }
    told = std::set<std::string>(found.problems.begin(), found.problems.end());
    for (auto &file : files)
        file.second.isThere = false;
    found.items.forEach([&](const Item &item) {
        look(item);
        State &state = files[item.path];
        const bool isStill = Clock::now() - state.since >= kStill && state.size > 0;
        if (!state.isTaken && isStill) {
            state.isTaken = true;
            if (!walk.patterns.empty() || !isOwnDrawing(QFile::decodeName(item.path.c_str())))
                complete.push_back(item);
        }
        hasOpen = hasOpen || (!state.isTaken && state.size > 0);
    });
    // What has gone may come again.
    for (auto it = files.begin(); it != files.end();)
        it = it->second.isThere ? std::next(it) : files.erase(it);
    return complete;
}

std::vector<std::string> Watch::incomplete() const
{
    std::vector<std::string> sentences;
    for (const auto &file : files) {
        if (!file.second.isTaken)
            sentences.push_back(file.first
                                + (file.second.size == 0 ? ": is empty, left out"
                                                         : ": was still being written, left out"));
    }
    return sentences;
}

} // namespace ztrace
