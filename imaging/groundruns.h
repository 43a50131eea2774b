// (c) the ztrace developers. Licence: see LICENSE.
//
// What lies in a row of a picture between two pixels of one ground: letters, and much else.
#ifndef ZTRACE_IMAGING_GROUNDRUNS_H
#define ZTRACE_IMAGING_GROUNDRUNS_H

#include <QRgb>

#include <algorithm>
#include <array>
#include <cstdint>

#include "colour.h"

namespace ztrace {

const int kLongWord = 24;   // pixels
const int kLongestRun = 96; // pixels; letters that touch each other

// Pixels of a row from `begin` to before `end` between two pixels of one ground.
struct GroundRun
{
    const QRgb *words;
    int begin;
    int end;
};

// Whether two opaque pixels side by side are the ground of what lies beside them.
inline bool isGround(QRgb a, QRgb b, int same)
{
    return qAlpha(a & b) == 255 && colourDistance(a, b) <= same;
}

// The first pixel from `begin` to `last` that ends a search for the ground: one that is the ground
// and has it behind it, or one that is not opaque. Behind `last` where there is none.
struct StopOfSearch
{
    int at;
    bool isEnd; // of the first kind
};

// Where runs of one row end. Most searches find nothing in so many pixels, and the next ones are
// for the same ground, some pixels on: each goes on where the one before it for that ground has
// ended.
class EndsOfRuns
{
public:
    EndsOfRuns(const QRgb *w, int rowWidth, int sameGround, int mostPixels)
        : words(w), width(rowWidth), same(sameGround), most(mostPixels)
    { }

    // Where the run that begins at `begin` ends, after which there is the ground again; 0 if
    // nowhere.
    int of(int begin);

private:
    // What is known of a ground: nothing stops a search from `from` until `stop`, and that does
    // where the search is over.
    struct Search
    {
        QRgb ground = 0; // which is opaque, and so not this
        int from = 0;
        StopOfSearch stop = { 0, false };
        bool isOver = false;
    };

    static const int kBits = 4;                 // of the number of searches that are kept
    static const uint32_t kSpread = 0x9E3779B1; // grounds that are alike in some bits

    const QRgb *words;
    int width;
    int same;
    int most; // pixels of a run
    std::array<Search, 1u << kBits> searches = {};
};

// Pixels of one ground before a run. Letters that begin beside a frame have but one before them.
enum class Before { Two, One };

// Calls use(run) for every stretch of a row between two pixels of one ground on either side, or one
// before it; those within it are left out where that returns true. Runs of one pixel before are
// words at most.
template<typename Use>
void forEachGroundRun(const QRgb *words, int width, int same, Before before, Use use)
{
    EndsOfRuns ends(words, width, same, before == Before::Two ? kLongestRun : kLongWord);
    for (int x = 2; x + 2 < width; ++x) {
        if (words[x] == words[x - 1]) {
            x = endOfRun(words, x, width) - 1;
            continue;
        }
        if (isGround(words[x], words[x - 1], same)
            || isGround(words[x - 2], words[x - 1], same) != (before == Before::Two))
            continue;
        const int end = ends.of(x);
        if (end == 0)
            continue;
        if (use(GroundRun { words, x, end }))
            x = end;
    }
}

} // namespace ztrace

#endif
