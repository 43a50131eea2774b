// (c) the ztrace developers. Licence: see LICENSE.
//
// What becomes of the pictures of a run: counted, told, and written as result lines.
#ifndef ZTRACE_CLI_BATCH_OUTCOMES_H
#define ZTRACE_CLI_BATCH_OUTCOMES_H

#include <QByteArray>
#include <QJsonObject>

#include <cstddef>
#include <deque>
#include <vector>

#include "crew.h"
#include "meter.h"
#include "results.h"

namespace ztrace {

const int kMostAttempts = 2; // the second one alone

// What is known of a picture after an answer.
enum class Verdict { Later, Good, Bad };

class Outcomes
{
public:
    // `fingerprint` of the settings of all pictures. The others are used until the end.
    Outcomes(const QByteArray &fingerprint, const Ledger *ledger, ResultFile *results,
             Meter *meter);

    void expect(std::size_t more) { tally.all += more; }
    void expectInAll(std::size_t all) { tally.all = all; }
    Verdict takeAnswer(const Job &job, char letter, const QByteArray &text);
    Verdict takeLoss(const Job &job, const Loss &loss);

    // Writes all lines of a round at once: waiting for the disk is what costs.
    void deliver();
    void draw() const { meter->draw(tally); }

    // A picture that is to be tried once more, alone; false when there is none.
    bool takeAgain(Item *item);

    const Tally &soFar() const { return tally; }
    std::size_t failedInEarlierRuns() const { return failedBefore; }
    const std::vector<Item> &firstFailedInEarlierRuns() const { return failed; }

private:
    Verdict takeSkipped(const Item &item, const QByteArray &text);
    Verdict takeBook(const Item &item, const QJsonObject &result);
    Verdict takeFailure(const Item &item, const std::string &error);
    void takeDone(const Item &item, const QJsonObject &result);

    QByteArray fingerprint;
    const Ledger *ledger;
    ResultFile *results;
    Meter *meter;
    Tally tally;
    std::size_t failedBefore = 0;
    std::vector<Item> failed; // the first of them
    std::deque<Item> again;
    QByteArray arrived; // lines that are not written yet
};

} // namespace ztrace

#endif
