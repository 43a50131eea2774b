// (c) the ztrace developers. Licence: see LICENSE.
#include "leaserun.h"

#include "fingerprint.h"
#include "leases.h"
#include "version.h"

#include "cli/messages.h"

#include <algorithm>
#include <set>

#include <unistd.h>

namespace ztrace {

namespace {

const useconds_t kLeaseWait = 500000; // microseconds between looks for a part
const int kLettersOfPurpose = 12;

// Runs that look for other pictures, or make other drawings of them, share no parts.
std::string purposeOf(const BatchRun &run)
{
    const BatchSettings &batch = run.batch;
    const Settings &settings = run.line.settings;
    QByteArray words = run.fingerprint + '\n' + programVersion();
    for (const auto *list :
         { &run.line.inputs, &batch.lists, &batch.manifests, &batch.patterns, &batch.formats }) {
        words += "\n";
        for (const std::string &word : *list)
            words += QByteArray::fromStdString(word) + '\0';
    }
    for (const auto &range : settings.pages)
        words += QByteArray::number(range.first) + '-' + QByteArray::number(range.second) + ',';
    words += '\n' + QByteArray::number(settings.page) + '\n'
        + QByteArray::fromStdString(settings.format + '\n' + batch.names) + '\n'
        + (batch.recursive ? 'r' : '-') + (batch.retryFailed ? 'f' : '-');
    return sha256Of(words).left(kLettersOfPurpose).toStdString();
}

class PartsRun
{
public:
    explicit PartsRun(BatchRun *theRun)
        : run(theRun), leases(run->batch.out, run->batch.leases, purposeOf(*run)),
          all(std::move(run->agenda.items)), parts(std::size_t(run->batch.leases) + 1)
    {
        all.forEach(
            [this](const Item &item) { partOf(item).pictures += item.kind != ItemKind::Book; });
    }

    void trace()
    {
        while (const int part = nextPart())
            trace(part);
        countOthers();
    }

private:
    struct Part
    {
        std::size_t pictures = 0;
        std::size_t past = 0; // of them, before it was taken away
        bool isOwn = false;   // done by this run
    };

    int numberOf(const Item &item) const { return chunkOf(item.path, run->batch.leases); }
    Part &partOf(const Item &item) { return parts[std::size_t(numberOf(item))]; }

    // 0 when there is nothing left to do, or the run is to end.
    int nextPart()
    {
        bool isLast = false;
        while (run->stopWish() == 0) {
            std::string busy;
            if (const int part = leases.take(&busy))
                return part;
            if (!busy.empty()) {
                wait(busy);
                isLast = false;
                continue;
            }
            if (isLast)
                return 0;
            // Another run may take one of those meanwhile: then there is a busy one.
            if (const int part = takeLacking())
                return part;
            isLast = true;
        }
        return 0;
    }

    void wait(const std::string &busy)
    {
        if (busy != told && !run->line.settings.quiet) {
            run->meter->clear();
            tell("waits for other runs (" + busy
                 + "); their parts are taken over when they give no sign for two minutes");
        }
        told = busy;
        ::usleep(kLeaseWait);
    }

    // Others may have found fewer pictures than this run has.
    int takeLacking()
    {
        run->readLedger();
        std::set<int> lacking;
        all.forEach([&](const Item &item) {
            if (item.kind != ItemKind::Book && !partOf(item).isOwn
                && knownOf(item) == Ledger::Known::Nothing)
                lacking.insert(numberOf(item));
        });
        for (const int part : lacking) {
            if (leases.takeAgain(part))
                return part;
        }
        return 0;
    }

    Ledger::Known knownOf(const Item &item) const
    {
        return run->ledger.knownOf(item.path, item.page,
                                   fingerprintOf(run->fingerprint, item.settings));
    }

    void trace(int number)
    {
        Part &part = parts[std::size_t(number)];
        run->agenda.items = ItemList();
        all.forEach([&](const Item &item) {
            if (numberOf(item) == number)
                run->agenda.items.add(item);
        });
        expectWhatIsLeft(number);
        run->readLedger();
        const std::size_t before = run->outcomes->soFar().past();
        run->isTakenAway = false;
        run->traceAll([&] { keep(number); });
        run->results->sync(true); // others read it
        if (run->stopWish() != 0)
            leases.giveBack();
        part.isOwn = run->stopWish() == 0 && !run->isTakenAway && leases.finish();
        part.past = part.isOwn ? 0 : run->outcomes->soFar().past() - before;
        if (!part.isOwn)
            run->forget();
    }

    // Pictures of the moment are finished in any case.
    void keep(int number)
    {
        if (run->isTakenAway || leases.keep())
            return;
        run->isTakenAway = true;
        run->meter->clear();
        tell("part " + std::to_string(number)
             + " was taken over by another run, as this one gave no sign for two minutes");
    }

    // For who watches: all that no other run has done.
    void expectWhatIsLeft(int number)
    {
        std::size_t expected = all.pictures();
        for (const int done : leases.finished()) {
            if (done != number && done > 0 && std::size_t(done) < parts.size()
                && !parts[std::size_t(done)].isOwn)
                expected -= parts[std::size_t(done)].pictures;
        }
        for (const Part &part : parts)
            expected += part.past;
        run->outcomes->expectInAll(expected);
    }

    void countOthers()
    {
        run->readLedger();
        std::size_t known[3] = { 0, 0, 0 };
        all.forEach([&](const Item &item) {
            if (item.kind != ItemKind::Book && !partOf(item).isOwn)
                ++known[std::size_t(knownOf(item))];
        });
        std::size_t own = 0; // of parts that others have ended
        for (const Part &part : parts)
            own += part.past;
        std::size_t &done = known[std::size_t(Ledger::Known::Done)];
        run->doneByOthers = done - std::min(done, own);
        run->failedWithOthers = known[std::size_t(Ledger::Known::Failed)];
        run->outcomes->expectInAll(run->outcomes->soFar().past()
                                   + known[std::size_t(Ledger::Known::Nothing)]);
    }

    BatchRun *run;
    Leases leases;
    const ItemList all;
    std::vector<Part> parts; // from 1
    std::string told;        // whom it waits for
};

} // namespace

void traceParts(BatchRun *run)
{
    PartsRun(run).trace();
}

} // namespace ztrace
