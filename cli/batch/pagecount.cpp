// (c) the ztrace developers. Licence: see LICENSE.
#include "pagecount.h"

#include "outcomes.h"
#include "stopsignals.h"
#include "worker.h"

#include "cli/messages.h"
#include "cli/tracejob.h"

#include "drawing/json.h"

#include <deque>

namespace ztrace {

namespace {

QByteArray questionAbout(const Item &item)
{
    QJsonObject message;
    message.insert(QLatin1String("count"), true);
    message.insert(QLatin1String("path"), packed(item.path));
    return jsonValue(message) + '\n';
}

} // namespace

// Files whose workers were lost get a second one.
void countPages(Crew *crew, int jobs, Agenda *agenda)
{
    ItemList::Reader files(agenda->items);
    SpoolArray<int> pages; // of files that are taken whole; 0: could not be counted
    std::deque<Job> again;
    Duties duties;
    duties.next = [&](Job *job) {
        do {
            if (!files.next(&job->item))
                return false;
        } while (job->item.page != 0);
        job->number = pages.size();
        job->attempt = 1;
        pages.add(0);
        job->message = questionAbout(job->item);
        return true;
    };
    duties.answered = [&](const Job &job, char, const QByteArray &text) {
        pages.begin()[job.number] = text.toInt();
    };
    duties.lost = [&](const Job &job, const Loss &) {
        if (job.attempt < kMostAttempts)
            again.push_back(job);
    };
    duties.afterRound = [] {};
    duties.fewer = [](const std::string &text) { tell(text); };
    duties.stop = [] { return signalsSoFar() > 0 ? 2 : 0; };
    crew->work(jobs, true, duties);
    duties.next = [&](Job *job) {
        if (again.empty())
            return false;
        crew->dismiss();
        *job = std::move(again.front());
        again.pop_front();
        job->attempt = kMostAttempts;
        return true;
    };
    crew->work(1, false, duties);
    if (pages.size() > 0)
        spreadPages(pages, agenda);
}

} // namespace ztrace
