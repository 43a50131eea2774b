// (c) the ztrace developers. Licence: see LICENSE.
//
// Folders that files come into: scanners and other programs write them there, slowly.
#ifndef ZTRACE_CLI_BATCH_WATCH_H
#define ZTRACE_CLI_BATCH_WATCH_H

#include <chrono>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "drawing/files.h"
#include "inputs.h"

namespace ztrace {

// Tells of files when their size and time have been the same for a second, once for each such
// state. Folders of this machine are asked for news, those of network file systems are looked at
// every second.
// Throws a Failure for the first that is not there, or is no folder.
void requireFolders(const std::vector<std::string> &folders);

class Watch
{
public:
    typedef std::chrono::steady_clock Clock;

    // Throws a Failure for a folder that is none.
    Watch(const std::vector<std::string> &folders, const FolderWalk &how);

    // Waits at most `milliseconds` for something to happen; signals end it early.
    void wait(int milliseconds);

    // Files that are complete by now. What cannot be read goes to `problems`, once
    // until it can be again.
    std::vector<Item> takeComplete(std::vector<std::string> *problems);

    // What could not be read at the last look.
    const std::set<std::string> &problems() const { return told; }

    // What is not complete yet, in sentences: empty files, and those that are being written.
    std::vector<std::string> incomplete() const;

private:
    struct State
    {
        off_t size = 0;
        timespec time = {};
        Clock::time_point since; // that it has been so
        bool isTaken = false;
        bool isThere = false;
    };

    bool listen(const std::string &folder);
    void listenAgain();
    void hear(const char *news, std::size_t size);
    bool isDue() const;
    void look(const Item &item);

    std::vector<std::string> folders;
    FolderWalk walk;
    std::map<std::string, State> files;
    std::set<std::string> told; // problems of the last look
    Descriptor events;
    std::set<int> heard; // what tells of folders
    bool polls = false;  // a folder gives no news
    bool hasNews = true;
    bool hasOpen = false; // files that are not complete yet
    Clock::time_point lastLook;
};

} // namespace ztrace

#endif
