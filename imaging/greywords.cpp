// (c) the ztrace developers. Licence: see LICENSE.
#include "greywords.h"

#include "Picture.h"
#include "failure.h"
#include "tones.h"
#include "wordcolours.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace ztrace {

namespace {

const std::size_t kMostPixels = 4000000; // screens; pages of scans would take long
const double kGround = 0.4;              // of the pixels, of exactly one lightness
const double kGreyGround = 0.6;          // the same of one that is neither black nor white
const double kNoise = 0.01;              // of the pixels, next to that lightness
const int kNear = 2;                     // steps
const int kDarkest = 8;                  // a ground that line art would draw in another grey
const int kLightest = 247;
const double kPale = 0.8;        // of the way from the ground to the ink, at most
const double kLeastWords = 0.02; // of the ridges of all words

// The lightness of the ground, or -1 where none is exact.
int groundOf(const Histogram &counts)
{
    const auto commonest = std::max_element(counts.begin(), counts.end());
    const int ground = int(commonest - counts.begin());
    const double pixels = std::accumulate(counts.begin(), counts.end(), 0.0);
    double near = 0.0;
    for (int v = std::max(0, ground - kNear); v <= std::min(255, ground + kNear); ++v)
        near += v == ground ? 0.0 : counts[std::size_t(v)];
    return *commonest >= kGround * pixels && near <= kNoise * pixels ? ground : -1;
}

double shareOf(const Histogram &counts, int tone)
{
    return counts[std::size_t(tone)] / std::accumulate(counts.begin(), counts.end(), 0.0);
}

// Whether the words on one ground are of one grey and of another that is clearly paler.
bool arePaleBeside(const std::vector<WordColour> &words)
{
    double all = 0.0;
    for (const WordColour &word : words)
        all += double(word.pixels);
    const auto depthOf = [](const WordColour &word) {
        return double(std::abs(qGray(word.ridge.colour) - qGray(word.ridge.beside)));
    };
    for (const WordColour &pale : words) {
        if (double(pale.pixels) < kLeastWords * all)
            continue;
        for (const WordColour &ink : words) {
            if (ink.ridge.beside == pale.ridge.beside && depthOf(pale) <= kPale * depthOf(ink)
                && double(ink.pixels) >= kLeastWords * all)
                return true;
        }
    }
    return false;
}

} // namespace

bool isDrawnInGreys(Picture *picture)
{
    if (std::size_t(picture->width()) * std::size_t(picture->height()) > kMostPixels)
        return false;
    const int ground = groundOf(picture->tones().counts);
    if (ground < 0)
        return false;
    const QImage image = picture->asImage().convertToFormat(QImage::Format_ARGB32);
    if (image.isNull())
        throwNoRoom();
    const EdgeMap edges(image);
    if (!edges.isClean())
        return false;
    const bool isGrey = ground > kDarkest && ground <= kLightest;
    if (isGrey && shareOf(picture->tones().counts, ground) >= kGreyGround)
        return true;
    return arePaleBeside(wordColoursIn(image, edges));
}

} // namespace ztrace
