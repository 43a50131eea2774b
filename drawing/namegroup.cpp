// (c) the ztrace developers. Licence: see LICENSE.
#include "namegroup.h"

#include "signals.h"

#include <map>
#include <memory>

namespace ztrace {

namespace {

class Group
{
public:
    explicit Group(std::vector<NamedSet> *namedSets) : sets(*namedSets)
    {
        for (const NamedSet &set : sets)
            names.push_back(std::make_unique<NamedTogether>(set.files));
    }

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
        const auto isNamed = [this](NamedSet *, NamedTogether *own) {
            return own->hasRecords() ? errorOfFolders(*own) : 0;
        };
        forGood(isWritten);
        synced.clear();
        forGood(isNamed);
        for (std::size_t i = 0; i < sets.size(); ++i) {
            if (sets[i].error != 0)
                names[i]->clear();
        }
    }

    // Before what could undo the sets goes.
    void settleNames()
    {
        synced.clear();
        forGood([this](NamedSet *set, NamedTogether *own) {
            set->isGiven = true;
            return errorOfFolders(*own);
        });
    }

    // Each folder is waited for once a step.
    int errorOfFolders(const NamedTogether &own)
    {
        for (const QByteArray &folder : own.folders()) {
            const auto found = synced.find(folder);
            const int error = found != synced.end() ? found->second : syncFolder(folder);
            synced[folder] = error;
            if (error != 0)
                return error;
        }
        return 0;
    }

    std::vector<NamedSet> &sets;
    std::vector<std::unique_ptr<NamedTogether>> names;
    std::map<QByteArray, int> synced;
};

} // namespace

void nameSets(std::vector<NamedSet> *sets)
{
    Group group(sets);
    const Uninterrupted guard;
    group.run();
}

} // namespace ztrace
