// (c) the ztrace developers. Licence: see LICENSE.
//
// Loops of the boundary map that are the same but for their place.
#include "tracing/equalloops.h"

#include "tracing/runs.h"

#include <QtTest>

#include <set>

using namespace ztrace;

namespace {

// A letter per pixel, '.' for paper.
Runs runsOf(const std::vector<std::string> &rows)
{
    RunScanner scanner(int(rows.front().size()), int(rows.size()));
    for (const std::string &row : rows) {
        std::vector<uint8_t> labels;
        for (char c : row)
            labels.push_back(c == '.' ? 0 : uint8_t(c - 'a' + 1));
        scanner.addRow(labels.data());
    }
    return scanner.take();
}

// Of loops with the area of `pixels` on their right, by kinds.
std::multiset<std::size_t> kindsOf(const BoundaryMap &map, const EqualLoops &loops)
{
    std::multiset<std::size_t> kinds;
    for (uint32_t k = 0; k < map.chains.size(); ++k) {
        std::size_t count = 0;
        for (uint32_t i = k; loops.isFirst[k] && i != kNoReference; i = loops.next[i])
            ++count;
        if (count > 0 && map.chains[k].startNode == kNoNode)
            kinds.insert(count);
    }
    return kinds;
}

class tst_EqualLoops : public QObject
{
    Q_OBJECT
private slots:
    void placeAndColourDoNotMatter();
    void othersStandAlone();
    void onlyEligibleOnes();
};

void tst_EqualLoops::placeAndColourDoNotMatter()
{
    const BoundaryMap map = makeBoundaryMap(runsOf({ "...........", //
                                                     ".aa.....b..", //
                                                     ".a..aa.....", //
                                                     "....a..bb..", //
                                                     ".......b...", //
                                                     "..........." }));
    const EqualLoops loops = equalLoops(map, std::vector<char>(map.chains.size(), 1));
    QCOMPARE(kindsOf(map, loops), (std::multiset<std::size_t> { 1, 3 }));
}

// Turned, mirrored, longer: the same number of moves and other loops.
void tst_EqualLoops::othersStandAlone()
{
    const BoundaryMap map = makeBoundaryMap(runsOf({ ".............", //
                                                     ".aa..aa..aaa.", //
                                                     ".a....a..a...", //
                                                     "............." }));
    const EqualLoops loops = equalLoops(map, std::vector<char>(map.chains.size(), 1));
    QCOMPARE(kindsOf(map, loops), (std::multiset<std::size_t> { 1, 1, 1 }));
}

void tst_EqualLoops::onlyEligibleOnes()
{
    const BoundaryMap map = makeBoundaryMap(runsOf({ ".......", //
                                                     ".a.a.a.", //
                                                     "......." }));
    std::vector<char> eligible(map.chains.size(), 1);
    for (uint32_t k = 0; k < map.chains.size(); ++k)
        eligible[k] = map.chains[k].x != 3;
    QCOMPARE(kindsOf(map, equalLoops(map, eligible)), (std::multiset<std::size_t> { 1, 2 }));
}

} // namespace

QTEST_APPLESS_MAIN(tst_EqualLoops)
#include "tst_equalloops.moc"
