// (c) the ztrace developers. Licence: see LICENSE.
#include "namegroup.h"

#include "signals.h"

#include <memory>

namespace ztrace {

namespace {

class Group
{
public:
    explicit Group(std::vector<NamedSet> *namedSets) : sets(*namedSets)
    {
        for (const NamedSet &set : sets) {
            names.push_back(std::make_unique<NamedTogether>(set.files));
            std::vector<std::size_t> own;
            for (const QByteArray &folder : names.back()->folders())
                own.push_back(numberOf(folder));
            foldersOf.push_back(std::move(own));
        }
    }

    // Takes no memory between the first name and the last: want of it would leave the sets half
    // done.
    void run()
    {
        forGood([](NamedSet *set, NamedTogether *own) { return own->prepare(&set->position); });
        settleRecords();
        forGood([](NamedSet *set, NamedTogether *own) { return own->give(&set->position); });
        settleNames();
        for (std::size_t i = 0; i < sets.size(); ++i) {
            if (sets[i].error == 0 || sets[i].isGiven)
                names[i]->finish();
            if (names[i]->remainder())
                sets[i].remainder = *names[i]->remainder();
        }
    }

private:
    template<class Step>
    void forGood(const Step &step)
    {
        for (std::size_t i = 0; i < sets.size(); ++i) {
            if (sets[i].error == 0)
                sets[i].error = step(&sets[i], names[i].get());
        }
    }

    // So that a machine that fails can be undone as well.
    void settleRecords()
    {
        const auto isWritten = [](NamedSet *, NamedTogether *own) { return own->syncRecords(); };
        const auto isNamed = [this](NamedSet *set, NamedTogether *own) {
            return own->hasRecords() ? errorOfFolders(*set) : 0;
        };
        forGood(isWritten);
        forgetFolders();
        forGood(isNamed);
        for (std::size_t i = 0; i < sets.size(); ++i) {
            if (sets[i].error != 0)
                names[i]->clear();
        }
    }

    // Before what could undo the sets goes.
    void settleNames()
    {
        forgetFolders();
        forGood([this](NamedSet *set, NamedTogether *) {
            set->isGiven = true;
            return errorOfFolders(*set);
        });
    }

    struct Folder
    {
        QByteArray path;
        bool isSettled;
        int error;
    };

    std::size_t numberOf(const QByteArray &path)
    {
        std::size_t k = 0;
        while (k < folders.size() && folders[k].path != path)
            ++k;
        if (k == folders.size())
            folders.push_back({ path, false, 0 });
        return k;
    }

    void forgetFolders()
    {
        for (Folder &folder : folders)
            folder.isSettled = false;
    }

    // Each folder is waited for once a step.
    int errorOfFolders(const NamedSet &set)
    {
        for (const std::size_t k : foldersOf[std::size_t(&set - sets.data())]) {
            Folder &folder = folders[k];
            if (!folder.isSettled)
                folder.error = syncFolder(folder.path);
            folder.isSettled = true;
            if (folder.error != 0)
                return folder.error;
        }
        return 0;
    }

    std::vector<NamedSet> &sets;
    std::vector<std::unique_ptr<NamedTogether>> names;
    std::vector<Folder> folders;                     // few
    std::vector<std::vector<std::size_t>> foldersOf; // by set, by number
};

} // namespace

void nameSets(std::vector<NamedSet> *sets)
{
    Group group(sets);
    const Uninterrupted guard;
    group.run();
}

} // namespace ztrace
