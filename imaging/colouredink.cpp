// (c) the ztrace developers. Licence: see LICENSE.
#include "colouredink.h"

#include "colour.h"

#include <algorithm>

namespace ztrace {

namespace {

const double kCleanPaper = 0.6;    // of the pixels
const int kInk = 96;               // sum of the channels' differences from the paper
const int kHue = 64;               // largest difference of two channels; compression leaves 20
const long long kLeastPixels = 24; // a letter or a marker; fewer are nothing that is missed

const QRgb kChannels = 0x00FFFFFFu;

// The word of more than half of the pixels, if there is one (Boyer and Moore, "MJRTY", 1991).
QRgb majorityOf(const QImage &image)
{
    QRgb candidate = 0;
    long long votes = 0;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = words[x] & kChannels;
            if (votes == 0)
                candidate = word;
            votes += word == candidate ? 1 : -1;
        }
    }
    return candidate;
}

int apart(int a, int b)
{
    return std::abs(a - b);
}

bool hasHue(QRgb word)
{
    const auto ends = std::minmax({ qRed(word), qGreen(word), qBlue(word) });
    return ends.second - ends.first > kHue;
}

} // namespace

double colouredInkShare(const QImage &image)
{
    const QRgb paper = majorityOf(image);
    long long pixelsOfPaper = 0;
    long long ink = 0;
    long long coloured = 0;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = words[x] & kChannels;
            if (word == paper) {
                ++pixelsOfPaper;
                continue;
            }
            const int difference = apart(qRed(word), qRed(paper))
                + apart(qGreen(word), qGreen(paper)) + apart(qBlue(word), qBlue(paper));
            if (difference <= kInk)
                continue;
            ++ink;
            coloured += hasHue(word);
        }
    }
    const double pixels = double(image.width()) * image.height();
    if (double(pixelsOfPaper) < kCleanPaper * pixels || coloured < kLeastPixels)
        return 0.0;
    return double(coloured) / double(ink);
}

} // namespace ztrace
