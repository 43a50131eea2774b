// (c) the ztrace developers. Licence: see LICENSE.
//
// The limits were read off scans, logos, clip art, cartoons, wallpapers and photographs of
// Debian's packages: line art has two lightnesses (unevenness below 0.2) and little ink, drawn
// pictures lie in flat areas of a few colours for a third and more, photographs for a fifth at
// most, and shaded illustrations have fewer edges than both.
#include "classify.h"

#include "Picture.h"
#include "colour.h"
#include "failure.h"
#include "scan.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <numeric>
#include <optional>
#include <vector>

namespace ztrace {

namespace {

const int kManyColours = 256;
const int kGreyChannels = 24; // a channel's difference to another in a grey
const std::size_t kMainColours = 16;
const double kColouredShare = 0.01;
const double kClearShare = 0.002;
const double kTwoValued = 0.2;
const double kPurelyTwoValued = 0.1; // with more ink than pages have
const double kInkOfPages = 0.25;
const double kLineEdges = 0.45; // of lines on transparency, which shaded objects do not have
const int kIcon = 48;           // pixels
const double kFlatInIcons = 0.1;
const int kFewGreys = 8; // of a drawing in steps of grey
const double kPureGreys = 0.02;
const double kFlat = 0.25;
const double kFlatInFewColours = 0.3;
const double kSmooth = 0.3;
const double kFewEdges = 0.03;

struct Features
{
    double visible = 0.0;
    double clear = 0.0;
    double coloured = 0.0;
    double flat = 0.0;
    double mainColours = 0.0; // flat pixels of the most frequent colours
    double edges = 0.0;
    QSet<QRgb> colours; // no more than kManyColours + 1
};

Features featuresOf(const QImage &image)
{
    Features features;
    QHash<QRgb, int> flatColours;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *words = row(image, y);
        const QRgb *below = row(image, std::min(y + 1, image.height() - 1));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = words[x];
            if (features.colours.size() <= kManyColours)
                features.colours.insert(word);
            if (qAlpha(word) == 0) {
                features.clear += 1.0;
                continue;
            }
            features.visible += 1.0;
            const int most = std::max(qRed(word), std::max(qGreen(word), qBlue(word)));
            const int least = std::min(qRed(word), std::min(qGreen(word), qBlue(word)));
            features.coloured += most - least > kGreyChannels;
            const int next = std::min(x + 1, image.width() - 1);
            if (word == words[next] && word == below[x] && word == below[next]) {
                features.flat += 1.0;
                ++flatColours[word];
            } else if (isEdge(image, x, y)) {
                features.edges += 1.0;
            }
        }
    }
    std::vector<int> counts;
    for (int count : qAsConst(flatColours))
        counts.push_back(count);
    std::sort(counts.rbegin(), counts.rend());
    for (std::size_t i = 0; i < std::min(kMainColours, counts.size()); ++i)
        features.mainColours += counts[i];
    return features;
}

std::string percent(double share)
{
    return std::to_string(static_cast<int>(100.0 * share + 0.5)) + " %";
}

std::string twoLightnesses(const std::string &kind, double uneven)
{
    return kind + ", two lightnesses hold " + percent(1.0 - uneven) + " of the contrast";
}

// How the lightnesses of a grey picture fall into ink and paper.
struct Split
{
    double uneven = 1.0;
    double ink = 1.0; // share of the pixels
};

Split splitOf(const Histogram &counts)
{
    const int threshold = otsuThreshold(counts);
    Split split;
    split.uneven = unevenness(counts, threshold);
    const double ink = std::accumulate(counts.begin(), counts.begin() + threshold + 1, 0.0);
    split.ink = ink / std::accumulate(counts.begin(), counts.end(), 0.0);
    return split;
}

// Nothing like ink on paper where the light is even anyway.
Split splitInEvenLight(Picture *picture)
{
    if (!isUnevenlyLit(picture->tones()) || picture->evenlyLit().isNull())
        return Split();
    return splitOf(tonesOf(picture->evenlyLit()).counts);
}

// Whether an opaque grey picture of that many colours is ink on paper.
std::optional<Classification> asInkOnPaper(Picture *picture, int colours)
{
    if (colours <= 2)
        return Classification { Kind::LineArt, std::to_string(colours) + " colours, no hue" };
    const Split split = splitOf(picture->tones().counts);
    const bool inSteps = colours <= kFewGreys && split.uneven > kPureGreys;
    const double most = split.ink <= kInkOfPages ? kTwoValued : kPurelyTwoValued;
    if (split.uneven < most && !inSteps)
        return Classification { Kind::LineArt, twoLightnesses("grey", split.uneven) };
    const Split even = inSteps ? Split() : splitInEvenLight(picture);
    if (even.uneven < kTwoValued && even.ink <= kInkOfPages)
        return Classification { Kind::LineArt, twoLightnesses("grey, unevenly lit", even.uneven) };
    return std::nullopt;
}

} // namespace

Classification classify(Picture *picture)
{
    if (picture->isGrey()) {
        if (const auto ink = asInkOnPaper(picture, picture->tones().lightnesses()))
            return *ink;
    }
    const QImage image = picture->asImage().convertToFormat(QImage::Format_ARGB32);
    if (image.isNull())
        throwNoRoom();
    const Features features = featuresOf(image);
    const double visible = std::max(1.0, features.visible);
    const double clear = features.clear / (visible + features.clear);
    const double edges = features.edges / visible;
    const bool grey = features.coloured <= kColouredShare * visible;
    if (grey && clear <= kClearShare && !picture->isGrey()) {
        if (const auto ink = asInkOnPaper(picture, features.colours.size()))
            return *ink;
    } else if (grey && clear > kClearShare && edges >= kLineEdges) {
        const Split split = splitOf(picture->tones().counts);
        if (split.uneven < kTwoValued) {
            return { Kind::Logo,
                     twoLightnesses(percent(clear) + " transparent, grey", split.uneven) };
        }
    }
    const double flat = features.flat / visible;
    const double mainColours = features.mainColours / visible;
    const std::string numbers
        = percent(flat) + " in flat areas, " + percent(mainColours) + " in the commonest of them";
    if (mainColours >= kFlatInFewColours)
        return { Kind::Logo, numbers };
    if (clear > kClearShare && flat >= kFlat)
        return { Kind::Logo, percent(clear) + " transparent, " + numbers };
    if (features.colours.size() <= static_cast<int>(kMainColours))
        return { Kind::Logo, std::to_string(features.colours.size()) + " colours" };
    if (std::max(image.width(), image.height()) <= kIcon && flat >= kFlatInIcons)
        return { Kind::Logo, "as small as an icon, " + numbers };
    if (flat >= kSmooth && edges <= kFewEdges)
        return { Kind::Poster, numbers + ", " + percent(edges) + " in edges" };
    return { Kind::Photo, numbers + ", " + percent(edges) + " in edges" };
}

} // namespace ztrace
