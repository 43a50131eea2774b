// (c) the ztrace developers. Licence: see LICENSE.
#include "blockunrest.h"

#include "colour.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace ztrace {

namespace {

const int kBlock = 8;      // pixels a side
const int kStep = 4;       // every so many rows and columns are looked at
const int kFaint = 8;      // steps of a channel by which unrest begins at the most
const int kLeastFlat = 8;  // pixels of one word before it
const int kLeastTurns = 4; // of the 7 steps that follow
// Of what begins and ends, at the borders of blocks: both ways together, and each way by itself.
const int kLeastFound = 40;
const double kAtBorders = 0.5;
const double kAtBordersEachWay = 0.36;
// Stripes are restless one way only: what has no more of all is not asked, and the other one has
// to have more at the borders.
const double kStripes = 0.1;
const double kAtBordersOfStripes = 0.7;

// A picture has them all over: of those at one column or row more than so many times what each
// border would have are left out, and so many are to be left. Lists repeat what is in them.
const int kOftenAtPlace = 3;
const double kAllOver = 0.4;

// Ends of flat runs with faint unrest behind them, by their places along a line, and those at
// borders of blocks. Hues have blocks of their own, of which one pixel is interpolated beyond the
// border.
class Ends
{
public:
    explicit Ends(int length) : ofPlace(std::size_t(length) + 1, 0) { }

    void add(int place, bool isAligned)
    {
        ++all;
        aligned += isAligned;
        ++ofPlace[std::size_t(place)];
    }

    int count() const { return all; }
    int countAligned() const { return aligned; }
    bool areAligned(double share) const { return double(aligned) >= share * double(all); }

    bool areAllOver() const
    {
        const int borders = std::max(1, int(ofPlace.size()) / kBlock);
        const int most = kOftenAtPlace * (all / borders + 1);
        int left = 0;
        for (int ends : ofPlace)
            left += std::min(ends, most);
        return double(left) >= kAllOver * double(all);
    }

private:
    int all = 0;
    int aligned = 0;
    std::vector<int> ofPlace;
};

bool isFaint(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) <= kFaint && std::abs(qGreen(a) - qGreen(b)) <= kFaint
        && std::abs(qBlue(a) - qBlue(b)) <= kFaint;
}

// Whether a block of pixels from `words` on, by `step`, is restless.
bool isRestless(const QRgb *words, std::ptrdiff_t step)
{
    int turns = 0;
    for (int k = 1; k < kBlock; ++k)
        turns += words[k * step] != words[(k - 1) * step];
    return turns >= kLeastTurns;
}

void count(const QRgb *words, int length, Ends *ends)
{
    int end = 0;
    for (int x = 0; x < length; x = end) {
        end = endOfRun(words, x, length);
        if (end - x < kLeastFlat)
            continue;
        if (end + kBlock <= length && isFaint(words[end], words[end - 1])
            && isRestless(words + end, 1)) {
            ends->add(end, end % kBlock == 0 || end % kBlock == kBlock - 1);
        }
        if (x >= kBlock && isFaint(words[x], words[x - 1]) && isRestless(words + x - 1, -1)) {
            ends->add(x, x % kBlock == 0 || x % kBlock == 1);
        }
    }
}

bool isOpaque(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        if (std::any_of(words, words + image.width(), [](QRgb w) { return qAlpha(w) != 255; }))
            return false;
    }
    return true;
}

} // namespace

bool hasBlockUnrest(const QImage &image)
{
    Ends across(image.width());
    for (int y = 1; y < image.height(); y += kStep)
        count(row(image, y), image.width(), &across);
    Ends down(image.height());
    std::vector<QRgb> column(std::size_t(image.height()));
    for (int x = 1; x < image.width(); x += kStep) {
        for (int y = 0; y < image.height(); ++y)
            column[std::size_t(y)] = row(image, y)[x];
        count(column.data(), image.height(), &down);
    }
    const int all = across.count() + down.count();
    if (all < kLeastFound)
        return false;
    const int few = int(kStripes * all);
    const bool areStripes = std::min(across.count(), down.count()) <= few;
    const double share = double(across.countAligned() + down.countAligned()) / double(all);
    const auto speaksFor = [few](const Ends &ends) {
        return ends.count() <= few || (ends.areAligned(kAtBordersEachWay) && ends.areAllOver());
    };
    return share >= (areStripes ? kAtBordersOfStripes : kAtBorders) && speaksFor(across)
        && speaksFor(down) && isOpaque(image);
}

} // namespace ztrace
