// (c) the ztrace developers. Licence: see LICENSE.
#include "classify.h"

#include "Picture.h"
#include "clearpictures.h"
#include "colouredink.h"
#include "colourfeatures.h"
#include "dither.h"
#include "failure.h"
#include "flattones.h"
#include "greywords.h"
#include "halftone.h"
#include "levelareas.h"
#include "noisypages.h"
#include "onehue.h"
#include "plainground.h"
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
// But no line art: on clean paper so much of what is drawn has one.
const double kColouredInk = 0.01;
// Opaque: at most so many pixels are clear.
const double kClearShare = 0.002;
// Line art: so much of the variance of lightness is left within ink and within paper (unevenness).
const double kTwoValued = 0.2;
// Of less, paper cannot be told from what is on it: a soft scan of 140 x 120 is shaded as well.
const int kLeastOfPhoto = 160; // pixels, the longer side
// No photograph has less.
const double kClearlyTwoValued = 0.07;
// The same once the light is evened out, where the paper is there throughout.
const double kTwoValuedOnPaper = 0.25;
// The same with more ink than pages have: at twice as much 13 of 212 wallpapers would be line art.
const double kPurelyTwoValued = 0.1;
const double kInkOfPages = 0.25;
// Drawn in steps of grey and no line art: so few greys, and more unevenness than a scan's noise.
const int kFewGreys = 8; // distinct colours
const double kPureGreys = 0.02;
// And no line art but drawn in grey: areas of so many lightnesses, two of them pure that are both
// ink or both paper, or one that is neither; ink that is pure but pale; or a picture with more ink
// than pages have in which so much of the variance is that of calm areas that are not flat.
const std::size_t kDrawnTones = 3;
const int kDarkestGrey = 64;
const int kLightestGrey = 192;
const int kCalmPart = 8; // of the contrast, from pixel to pixel
const double kShaded = 0.008;
// White on black: so much of the black is flat.
const double kFlatGround = 0.5;
// Grey lines on transparency have so many edge pixels, grey shaded objects fewer.
const double kLineEdges = 0.45;
// And four greys hold so much of them.
const double kGreyInkColours = 0.65;
// Lettering and lines in some colours on transparency: four of them hold so much of it, three
// quarters at most of shaded objects, and so many pixels are on edges, fewer of soft shadows.
const double kInkColours = 0.9;
const double kInkEdges = 0.25;
// Logos: so many visible pixels lie in flat areas of the 16 commonest colours, ...
const double kFlatInFewColours = 0.3;
// ... or in flat areas of any colour, beside transparency, ...
const double kFlat = 0.25;
// ... or in a picture of at most so many pixels a side.
const int kIcon = 48;
const double kFlatInIcons = 0.1;
// Logos in many colours, such as maps and mosaics: so many lie in flat areas and so many on edges.
const double kFlatInManyColours = 0.4;
const double kEdgesOfDrawings = 0.15;
// Gradients: so few pixels are on edges.
const double kNoEdges = 0.0005;
// Text on coloured paper: runs of ink of so many pixels at most, or of such a part of the width.
const double kShortRun = 8.0;
const double kShortPart = 0.02;
// Logos as well: so many lie in a pattern of two colours that look alike, beside flat ones.
const double kDithered = 0.1;
// And so are areas that only noise and compression made uneven, with at most so many edge pixels:
// of thinner detail areas by price keep more, as compression has mixed it with what is beside it.
const double kEdgesOfLevels = 0.3;
// ... but where so much is level, the edges are noise.
const double kMostlyLevel = 0.8;
// Coloured paper: so many pixels have a hue. The bars of a grey dialog are .1 of it, a page whose
// tint is that of a lamp has .24.
const double kColouredPaper = 0.2;
// Scanned halftones: so many pixels are on edges, so much of the variance is left within ink and
// paper, and so much of it repeats itself a few pixels on.
const double kEdgesOfDots = 0.5;
const double kTwoValuedDots = 0.28;
const double kRepetition = 0.75;
// Scanned paper: no one word has so many of the pixels.
const double kExactPaper = 0.5;
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
    const Tones &tones = picture->tones();
    if (!(isUnevenlyLit(tones) || isGraduallyLit(tones)) || picture->evenlyLit().isNull())
        return Split();
    return splitOf(tonesOf(picture->evenlyLit()).counts);
}

// The mean of the light side of a threshold less that of the dark one.
double contrastOf(const Histogram &counts, int threshold)
{
    double pixels[2] = { 0.0, 0.0 };
    double sums[2] = { 0.0, 0.0 };
    for (int v = 0; v < 256; ++v) {
        const double count = counts[static_cast<std::size_t>(v)];
        pixels[v > threshold] += count;
        sums[v > threshold] += count * v;
    }
    return sums[1] / pixels[1] - sums[0] / pixels[0];
}

// Whether a grey picture that has two lightnesses on the whole is shaded like a photograph, and not
// by the light that falls on a page.
bool isShadedLikePhoto(Picture *picture)
{
    return std::max(picture->width(), picture->height()) >= kLeastOfPhoto
        && isShadedThroughout(picture->grey()) && !isDarkOnPaper(paperAndInkOf(picture->grey()));
}

// What areas tell of a grey picture where the counts alone are those of ink and paper.
struct GreyAreas
{
    bool drawn = false; // in more lightnesses than two, or in others
    double shading = 0.0;
    double flatInk = 0.0; // share of the ink
};

GreyAreas greyAreasOf(Picture *picture)
{
    const Histogram &counts = picture->tones().counts;
    const int threshold = otsuThreshold(counts);
    const int reach = static_cast<int>(contrastOf(counts, threshold)) / kCalmPart;
    const FlatTones tones = flatTonesOf(picture->grey(), reach);
    const auto sumOfInk = [&](const Histogram &of) {
        return std::accumulate(of.begin(), of.begin() + threshold + 1, 0.0);
    };
    GreyAreas areas;
    areas.shading = shading(tones, threshold);
    areas.flatInk = sumOfInk(tones.flat) / std::max(1.0, sumOfInk(tones.all));
    const std::vector<DrawnTone> drawn = drawnTones(tones);
    int pure[2] = { 0, 0 };
    for (const DrawnTone &tone : drawn) {
        pure[tone.first > threshold] += tone.isPure();
        areas.drawn |= tone.first > kDarkestGrey && tone.last < kLightestGrey;
        areas.drawn |= tone.first > kDarkestGrey && tone.first <= threshold && tone.isPure();
    }
    areas.drawn |= drawn.size() >= kDrawnTones || pure[0] > 1 || pure[1] > 1;
    return areas;
}

// Whether the one or two lightnesses of a picture are those of ink and paper, or of one of them.
// Others are greys that are meant, and would be drawn black and white.
bool areInkAndPaper(const Histogram &counts)
{
    int ink = 0;
    int paper = 0;
    for (int v = 0; v < 256; ++v) {
        if (counts[static_cast<std::size_t>(v)] == 0.0)
            continue;
        ++(v <= kDarkestGrey ? ink : paper);
        if (v > kDarkestGrey && v < kLightestGrey)
            return false;
    }
    return ink <= 1 && paper <= 1;
}

// Whether an opaque grey picture of that many colours is ink on paper, or shaded like a photograph.
std::optional<Classification> asInkOnPaper(Picture *picture, int colours)
{
    if (colours <= 2) {
        if (!areInkAndPaper(picture->tones().counts))
            return std::nullopt;
        return Classification { Kind::LineArt, std::to_string(colours) + " colours, no hue" };
    }
    const Split split = splitOf(picture->tones().counts);
    const bool inSteps = colours <= kFewGreys && split.uneven > kPureGreys;
    if (split.uneven < kTwoValued && !inSteps) {
        const GreyAreas areas = greyAreasOf(picture);
        const bool isPage = split.ink <= kInkOfPages;
        const bool isNegative = 1.0 - split.ink <= kInkOfPages && areas.flatInk >= kFlatGround;
        const bool isPure = split.uneven < kPurelyTwoValued;
        if (!isPage && (isNegative || isPure) && areas.shading > kShaded)
            return Classification { Kind::Photo, "grey, both lightnesses are shaded" };
        if (areas.drawn || isDrawnInGreys(picture))
            return std::nullopt;
        if ((isPage || isNegative || isPure) && split.uneven >= kClearlyTwoValued
            && isShadedLikePhoto(picture))
            return std::nullopt;
        if (isPage || isNegative || isPure)
            return Classification { Kind::LineArt, twoLightnesses("grey", split.uneven) };
    }
    const Split even = inSteps ? Split() : splitInEvenLight(picture);
    const double limit = isGraduallyLit(picture->tones()) ? kTwoValuedOnPaper : kTwoValued;
    if (even.uneven < limit && even.ink <= kInkOfPages && !greyAreasOf(picture).drawn
        && !isShadedLikePhoto(picture))
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
    const double longest = std::max(kShortRun, kShortPart * image.width());
    const auto isInk = [longest](const GreyPicture &page, const Histogram &counts, double limit) {
        const Split split = splitOf(counts);
        return split.uneven < limit && split.ink <= kInkOfPages
            && meanInkRun(page, otsuThreshold(counts)) <= longest;
    };
    const auto found = [](const char *what, const Histogram &counts) {
        return Classification { Kind::LineArt, twoLightnesses(what, splitOf(counts).uneven) };
    };
    const Histogram &counts = picture->tones().counts;
    if (isInk(picture->grey(), counts, kTwoValued))
        return found("ink on coloured paper", counts);
    if (!isGraduallyLit(picture->tones()) || picture->evenlyLit().isNull())
        return std::nullopt;
    const Histogram even = tonesOf(picture->evenlyLit()).counts;
    if (isInk(picture->evenlyLit(), even, kTwoValuedOnPaper))
        return found("ink on coloured paper, unevenly lit", even);
    return std::nullopt;
}

// The dots of a printed picture, which are blurred and may cover most of the paper.
std::optional<Classification> asHalftone(Picture *picture, double edges)
{
    if (edges < kEdgesOfDots || splitOf(picture->tones().counts).uneven > kTwoValuedDots)
        return std::nullopt;
    const double repetition = repetitionOf(picture->grey());
    if (repetition < kRepetition)
        return std::nullopt;
    return Classification { Kind::LineArt,
                            "dots of a halftone, which repeat " + percent(repetition)
                                + " of the contrast" };
}

// A page of one ink on noisy, stained or unevenly lit paper of any colour.
std::optional<Classification> asNoisyPage(Picture *picture)
{
    const PaperAndInk page = paperAndInkOf(picture->grey());
    if (!isPage(page, picture->width()))
        return std::nullopt;
    return Classification { Kind::LineArt,
                            "ink on noisy paper, " + percent(page.ink)
                                + " of it darker than the paper, next to nothing lighter" };
}

// Whether scanned paper is flat only because compression made it so.
bool isCompressedPage(Picture *picture, const QImage &image, const ColourFeatures &features)
{
    return features.colours > kMainColours
        && double(features.ground) < kExactPaper * double(features.visible)
        && asInkOnColouredPaper(picture, image) && isDarkOnPaper(paperAndInkOf(picture->grey()));
}

bool isDrawnUnderNoise(const QImage &image, double edges)
{
    const LevelAreas areas = levelAreasOf(image);
    return isDrawnInLevels(areas) && (edges <= kEdgesOfLevels || areas.level >= kMostlyLevel);
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
    if (shares.flat >= kFlatInManyColours && shares.edges >= kEdgesOfDrawings)
        return { Kind::Logo, numbers + ", " + percent(shares.edges) + " in edges" };
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
    if (shares.isGrey && shares.clear <= kClearShare && !picture->isGrey()) {
        found = asInkOnPaper(picture, features.colours);
        if (found && found->kind == Kind::LineArt && colouredInkShare(image) >= kColouredInk)
            found.reset();
    }
    if (shares.isGrey && shares.clear > kClearShare && shares.edges >= kLineEdges
        && commonColoursShare(image) >= kGreyInkColours)
        found = asGreyLines(picture, shares.clear);
    if (!found)
        found = kindOfColours(image.size(), shares, features.colours);
    const bool isShaded = found->kind == Kind::Photo || found->kind == Kind::Poster;
    if (isShaded && shares.clear > kClearShare && shares.edges >= kInkEdges) {
        const double drawn = commonColoursShare(image);
        if (drawn >= kInkColours)
            return { Kind::Logo,
                     percent(shares.clear) + " transparent, " + percent(drawn)
                         + " in four colours" };
    }
    if (isShaded && shares.edges > kNoEdges) {
        const double dithered = ditheredShare(image);
        if (dithered >= kDithered && dithered + shares.flat >= kFlatInFewColours)
            return { Kind::Logo,
                     percent(shares.flat) + " in flat areas, " + percent(dithered)
                         + " in patterns of two colours" };
    }
    if (shares.clear <= kClearShare && found->kind == Kind::Logo
        && isShadedOnPlainGround(image, features) && !isDrawnInLevels(levelAreasOf(image)))
        return { Kind::Photo, "shades before a plain ground, " + found->reason };
    if (shares.clear > kClearShare)
        return *found;
    std::optional<Classification> page;
    const bool hasHue = double(features.coloured) >= kColouredPaper * double(features.visible);
    if (hasHue && (isShaded || isCompressedPage(picture, image, features)))
        page = asInkOnColouredPaper(picture, image);
    if (!isShaded)
        return page ? *page : *found;
    if (!page && (shares.isGrey || isOfOneHue(image))) {
        page = asNoisyPage(picture);
        if (!page)
            page = asHalftone(picture, shares.edges);
    }
    if (page)
        return *page;
    if (shares.edges > kNoEdges && isDrawnUnderNoise(image, shares.edges))
        return { Kind::Logo, "areas of one colour under noise, " + found->reason };
    return *found;
}

} // namespace ztrace
