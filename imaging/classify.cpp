// (c) the ztrace developers. Licence: see LICENSE.
#include "classify.h"

#include "Picture.h"
#include "colourfeatures.h"
#include "failure.h"
#include "onehue.h"
#include "scan.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace ztrace {

namespace {

// The limits, shares of the pixels where nothing else is said. They were read off 3448 pictures of
// clip art, wallpapers, photographs, scans and screen shots; docs/imaging/classify.md tells how
// many of them change their kind with a limit a fifth lower or a quarter higher.

// Grey: at most so many visible pixels have a hue.
const double kColouredShare = 0.01;
// Opaque: at most so many pixels are clear.
const double kClearShare = 0.002;
// Line art: so much of the variance of lightness is left within ink and within paper (unevenness).
const double kTwoValued = 0.2;
// The same with more ink than pages have: at twice as much 13 of 212 wallpapers would be line art.
const double kPurelyTwoValued = 0.1;
const double kInkOfPages = 0.25;
// Drawn in steps of grey and no line art: so few greys, and more unevenness than a scan's noise.
const int kFewGreys = 8; // distinct colours
const double kPureGreys = 0.02;
// Grey lines on transparency have so many edge pixels, grey shaded objects fewer.
const double kLineEdges = 0.45;
// Logos: so many visible pixels lie in flat areas of the 16 commonest colours, ...
const double kFlatInFewColours = 0.3;
// ... or in flat areas of any colour, beside transparency, ...
const double kFlat = 0.25;
// ... or in a picture of at most so many pixels a side.
const int kIcon = 48;
const double kFlatInIcons = 0.1;
// Gradients: so few pixels are on edges.
const double kNoEdges = 0.0005;
// Text on coloured paper: runs of ink of so many pixels at most, or of such a part of the width.
const double kShortRun = 8.0;
const double kShortPart = 0.02;
// Posters: so many lie in flat areas and at most so many on edges.
const double kSmooth = 0.3;
const double kFewEdges = 0.03;

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

// Whether a picture is grey lines on transparency.
std::optional<Classification> asGreyLines(Picture *picture, double clear)
{
    const Split split = splitOf(picture->tones().counts);
    if (split.uneven >= kTwoValued)
        return std::nullopt;
    return Classification { Kind::Logo,
                            twoLightnesses(percent(clear) + " transparent, grey", split.uneven) };
}

// Shares of the pixels of an image.
struct Shares
{
    explicit Shares(const ColourFeatures &counts)
    {
        const double visible = std::max(1.0, double(counts.visible));
        clear = double(counts.clear) / (visible + double(counts.clear));
        isGrey = double(counts.coloured) <= kColouredShare * visible;
        flat = double(counts.flat) / visible;
        mainColours = double(counts.mainColours) / visible;
        edges = double(counts.edges) / visible;
    }

    double clear = 0.0; // of all pixels; the others of those that are visible
    bool isGrey = false;
    double flat = 0.0;
    double mainColours = 0.0;
    double edges = 0.0;
};

// A page of text on coloured paper, or a copy of a plan: one hue, two lightnesses, and ink in short
// runs, which a dark shape before a bright sky is not in.
std::optional<Classification> asInkOnColouredPaper(Picture *picture, const QImage &image)
{
    if (!isOfOneHue(image))
        return std::nullopt;
    const Histogram &counts = picture->tones().counts;
    const Split split = splitOf(counts);
    if (split.uneven >= kTwoValued || split.ink > kInkOfPages)
        return std::nullopt;
    const double longest = std::max(kShortRun, kShortPart * image.width());
    if (meanInkRun(picture->grey(), otsuThreshold(counts)) > longest)
        return std::nullopt;
    return Classification { Kind::LineArt, twoLightnesses("ink on coloured paper", split.uneven) };
}

// By colours and areas.
Classification kindOfColours(const QSize &size, const Shares &shares, int colours)
{
    const std::string numbers = percent(shares.flat) + " in flat areas, "
        + percent(shares.mainColours) + " in the commonest of them";
    const bool isFlat = shares.mainColours >= kFlatInFewColours || shares.flat >= kSmooth;
    if (isFlat && shares.clear <= kClearShare && colours > kMainColours && shares.edges <= kNoEdges)
        return { Kind::Photo, "a gradient without edges, " + numbers };
    if (shares.mainColours >= kFlatInFewColours)
        return { Kind::Logo, numbers };
    if (shares.clear > kClearShare && shares.flat >= kFlat)
        return { Kind::Logo, percent(shares.clear) + " transparent, " + numbers };
    if (colours <= kMainColours)
        return { Kind::Logo, std::to_string(colours) + " colours" };
    if (std::max(size.width(), size.height()) <= kIcon && shares.flat >= kFlatInIcons)
        return { Kind::Logo, "as small as an icon, " + numbers };
    const std::string inEdges = ", " + percent(shares.edges) + " in edges";
    if (shares.flat >= kSmooth && shares.edges <= kFewEdges)
        return { Kind::Poster, numbers + inEdges };
    return { Kind::Photo, numbers + inEdges };
}

// The words of RGB32 serve as they are.
QImage withWords(const QImage &image)
{
    if (image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_RGB32)
        return image;
    return image.convertToFormat(QImage::Format_ARGB32);
}

} // namespace

Classification classify(Picture *picture)
{
    if (picture->isGrey()) {
        if (const auto ink = asInkOnPaper(picture, picture->tones().lightnesses()))
            return *ink;
    }
    const QImage image = withWords(picture->asImage());
    if (image.isNull())
        throwNoRoom();
    const ColourFeatures features = colourFeaturesOf(image);
    const Shares shares(features);
    std::optional<Classification> found;
    if (shares.isGrey && shares.clear <= kClearShare && !picture->isGrey())
        found = asInkOnPaper(picture, features.colours);
    else if (shares.isGrey && shares.clear > kClearShare && shares.edges >= kLineEdges)
        found = asGreyLines(picture, shares.clear);
    if (!found)
        found = kindOfColours(image.size(), shares, features.colours);
    const bool isShaded = found->kind == Kind::Photo || found->kind == Kind::Poster;
    if (isShaded && !shares.isGrey && shares.clear <= kClearShare) {
        if (const auto page = asInkOnColouredPaper(picture, image))
            return *page;
    }
    return *found;
}

} // namespace ztrace
