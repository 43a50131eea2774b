// (c) the ztrace developers. Licence: see LICENSE.
//
// The picture with its ramps flat: docs/imaging/ramps.md, "Rule", 7.
#include "ramps.h"

#include "colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace ztrace {

namespace {

const int kSoft = 2;          // pixels beside a ramp that a soft edge over it has
const int kToInk = 3;         // pixels from one of them to what lies over the ramp
const int kPlateau = 2;       // pixels beyond that, where the colour is to be the same
const double kShading = 1.15; // times as unlike the ramp: the colour goes on changing there
const int kBeside = 3;        // pixels from a ramp whose colours its stand-in has to differ from
const int kApart = 96;        // hueDistance of a stand-in from these, where one has it
const int kSteps = 4;         // of a channel of other stand-ins
const double kLeastShare = 0.002; // of the pixels beside a ramp: fewer of a colour are soft edges
const double kOffLine = 0.2;  // part of the way from ramp to ink that a mixture may be beside it
const double kOffNoise = 8.0; // of a channel; the same

class Flattening
{
public:
    Flattening(SoftPixels s, Ramps *r, QImage *i)
        : soft(s), ramps(*r), image(*i), source(*i), width(i->width()), height(i->height()),
          before(r->ofPixel)
    {
        source.detach();
    }

    void run()
    {
        findColumnsNear();
        chooseStandIns();
        for (int y = 0; y < height; ++y) {
            const Columns near = columnsNear[std::size_t(y)];
            QRgb *words = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = near.first; x < near.end; ++x) {
                const uint16_t own = at(x, y);
                if (own != 0)
                    words[x] = ramps.areas[own - 1u].standIn;
                else if (qAlpha(words[x]) == 255)
                    words[x] = softened(x, y);
            }
        }
    }

private:
    uint16_t at(int x, int y) const
    {
        return before[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    }

    // Of a row: those between which all pixels near to ramps are.
    struct Columns
    {
        int first;
        int end;
    };

    void findColumnsNear()
    {
        columnsNear.assign(std::size_t(height), { width, 0 });
        const int reach = std::max(kBeside, kSoft);
        for (int y = 0; y < height; ++y) {
            const auto begin = before.begin() + std::ptrdiff_t(y) * width;
            const auto isRamp = [](uint16_t number) { return number != 0; };
            const auto first = std::find_if(begin, begin + width, isRamp);
            if (first == begin + width)
                continue;
            const auto last = std::find_if(std::make_reverse_iterator(begin + width),
                                           std::make_reverse_iterator(begin), isRamp);
            const int left = std::max(0, int(first - begin) - reach);
            const int right = std::min(width, int(last.base() - begin) + reach);
            for (int j = std::max(0, y - reach); j <= std::min(height - 1, y + reach); ++j) {
                Columns &near = columnsNear[std::size_t(j)];
                near = { std::min(near.first, left), std::max(near.end, right) };
            }
        }
    }

    template<typename Use>
    void forEachAround(int x, int y, int reach, Use use) const
    {
        for (int j = std::max(0, y - reach); j <= std::min(height - 1, y + reach); ++j) {
            for (int i = std::max(0, x - reach); i <= std::min(width - 1, x + reach); ++i)
                use(i, j);
        }
    }

    // Colours beside each ramp, in cubes of 16, with how often they are there.
    struct Beside
    {
        std::vector<std::size_t> counts = std::vector<std::size_t>(4096, 0);
        std::vector<uint16_t> ramps; // other ones
        std::size_t pixels = 0;
    };

    std::vector<Beside> findBeside() const
    {
        std::vector<Beside> beside(ramps.areas.size());
        for (int y = 0; y < height; ++y) {
            const QRgb *words = row(source, y);
            const Columns near = columnsNear[std::size_t(y)];
            for (int x = near.first; x < near.end; ++x) {
                const uint16_t own = at(x, y);
                uint16_t last = 0;
                for (int k = 0; k < 4 * kBeside; ++k) {
                    const int across = (k & 1) * 2 - 1;
                    const int stepX = k & 2 ? across : 0;
                    const int stepY = k & 2 ? 0 : across;
                    const int i = x + stepX * (kBeside - k / 4);
                    const int j = y + stepY * (kBeside - k / 4);
                    if (i < 0 || j < 0 || i >= width || j >= height)
                        continue;
                    const uint16_t other = at(i, j);
                    if (other == 0 || other == own || other == last)
                        continue;
                    last = other;
                    Beside &around = beside[other - 1u];
                    if (own != 0) {
                        if (std::find(around.ramps.begin(), around.ramps.end(), own)
                            == around.ramps.end())
                            around.ramps.push_back(own);
                        continue;
                    }
                    const QRgb word = words[x];
                    if (isShaded(word, row(source, j)[i], x - stepX * kPlateau,
                                 y - stepY * kPlateau))
                        continue;
                    ++around.counts[cubeOf(word)];
                    ++around.pixels;
                }
            }
        }
        return beside;
    }

    static std::size_t cubeOf(QRgb word)
    {
        return std::size_t((qRed(word) >> 4 << 8) | (qGreen(word) >> 4 << 4) | qBlue(word) >> 4);
    }
    static QRgb middleOf(std::size_t cube)
    {
        return qRgb(int(cube >> 8) * 16 + 8, int(cube >> 4 & 15) * 16 + 8, int(cube & 15) * 16 + 8);
    }

    // Whether the colour goes on changing away from the ramp's, to a pixel further away. The core
    // of an outline does not.
    bool isShaded(QRgb word, QRgb ofRamp, int x, int y) const
    {
        if (x < 0 || y < 0 || x >= width || y >= height)
            return false;
        const QRgb further = row(source, y)[x];
        return hueDistance(word, further) > kClearly
            && hueDistance(further, ofRamp) > hueDistance(word, ofRamp);
    }

    // Colours of what is in no ramp, anywhere: what has one of them is not to be taken for a ramp.
    std::vector<QRgb> coloursElsewhere() const
    {
        std::vector<std::size_t> counts(4096, 0);
        std::size_t pixels = 0;
        for (int y = 0; y < height; ++y) {
            const QRgb *words = row(source, y);
            for (int x = 0; x < width; ++x) {
                if (at(x, y) != 0 || qAlpha(words[x]) != 255)
                    continue;
                ++counts[cubeOf(words[x])];
                ++pixels;
            }
        }
        std::vector<QRgb> colours;
        for (std::size_t cube = 0; cube < counts.size(); ++cube) {
            if (double(counts[cube]) > kLeastShare * double(pixels))
                colours.push_back(middleOf(cube));
        }
        return colours;
    }

    // The mean, where nothing beside the ramp is like it.
    void chooseStandIns()
    {
        const std::vector<Beside> beside = findBeside();
        const std::vector<QRgb> elsewhere = coloursElsewhere();
        for (std::size_t k = 0; k < ramps.areas.size(); ++k) {
            std::vector<QRgb> taken;
            for (std::size_t cube = 0; cube < beside[k].counts.size(); ++cube) {
                if (double(beside[k].counts[cube]) > kLeastShare * double(beside[k].pixels))
                    taken.push_back(middleOf(cube));
            }
            for (uint16_t other : beside[k].ramps) {
                if (other <= k)
                    taken.push_back(ramps.areas[other - 1u].standIn);
            }
            ramps.areas[k].standIn = apartFrom(taken, elsewhere, ramps.areas[k].mean);
        }
    }

    static int distanceTo(const std::vector<QRgb> &taken, QRgb colour)
    {
        int least = std::numeric_limits<int>::max();
        for (QRgb other : taken)
            least = std::min(least, hueDistance(colour, other));
        return least;
    }

    static QRgb apartFrom(std::vector<QRgb> taken, const std::vector<QRgb> &elsewhere, QRgb mean)
    {
        int most = distanceTo(taken, mean);
        if (most >= kApart)
            return mean;
        taken.insert(taken.end(), elsewhere.begin(), elsewhere.end());
        QRgb best = mean;
        for (int k = 0; k < kSteps * kSteps * kSteps && most < kApart; ++k) {
            const auto step = [](int part) { return part % kSteps * 255 / (kSteps - 1); };
            const QRgb other = qRgb(step(k), step(k / kSteps), step(k / kSteps / kSteps));
            const int distance = distanceTo(taken, other);
            if (distance > most) {
                most = distance;
                best = other;
            }
        }
        return best;
    }

    // What a ramp is mixed with in a soft pixel, before and after it is flat.
    struct Ink
    {
        RampColour before = {};
        RampColour after = {};
        double far = 0.0;    // squared, from the ramp
        uint16_t number = 0; // of the ramp that it is, if it is one
    };

    // A pixel beside a ramp that is a mixture of it with what lies over it, or with another ramp.
    QRgb softened(int x, int y)
    {
        uint16_t number = 0;
        int nearest = std::numeric_limits<int>::max();
        forEachAround(x, y, kSoft, [&](int i, int j) {
            const int distance = (i - x) * (i - x) + (j - y) * (j - y);
            if (at(i, j) != 0 && distance < nearest) {
                nearest = distance;
                number = at(i, j);
            }
        });
        const QRgb word = row(source, y)[x];
        if (number == 0)
            return word;
        const RampArea &area = ramps.areas[number - 1u];
        const RampColour drawn = area.ramp.colourAt(x + 0.5, y + 0.5);
        const Ink ink = inkOf(x, y, number, drawn);
        const double share = shareOf(rampColourOf(word), drawn, ink);
        if (share < 0.0)
            return word;
        if (soft == SoftPixels::Mixed)
            return mixed(rampColourOf(word), drawn, rampColourOf(area.standIn), ink, share);
        if (share >= 0.5 && ink.number == 0)
            return wordOf(ink.after);
        const uint16_t own = share >= 0.5 ? ink.number : number;
        ramps.ofPixel[std::size_t(y) * std::size_t(width) + std::size_t(x)] = own;
        return ramps.areas[own - 1u].standIn;
    }

    static double squaredBetween(const RampColour &a, const RampColour &b)
    {
        double sum = 0.0;
        for (std::size_t c = 0; c < 3; ++c)
            sum += (a[c] - b[c]) * (a[c] - b[c]);
        return sum;
    }

    // Of all pixels around the one that is least like the ramp. None where that goes on a little
    // further away: there is a shade, not an edge.
    Ink inkOf(int x, int y, uint16_t number, const RampColour &drawn) const
    {
        Ink ink;
        double further = 0.0;
        forEachAround(x, y, kToInk + kPlateau, [&](int i, int j) {
            const uint16_t other = at(i, j);
            const QRgb word = row(source, j)[i];
            if (other == number || qAlpha(word) != 255)
                return;
            const RampColour colour = rampColourOf(word);
            const double far = squaredBetween(colour, drawn);
            further = std::max(further, far);
            if (far <= ink.far || std::abs(i - x) > kToInk || std::abs(j - y) > kToInk)
                return;
            ink.before = colour;
            ink.after = other != 0 ? rampColourOf(ramps.areas[other - 1u].standIn) : colour;
            ink.far = far;
            ink.number = other;
        });
        if (further > kShading * kShading * ink.far)
            ink.far = 0.0;
        return ink;
    }

    // Of the ink in a pixel; below 0 where it is no mixture.
    static double shareOf(const RampColour &colour, const RampColour &drawn, const Ink &ink)
    {
        if (!(ink.far > 0.0))
            return -1.0;
        double share = 0.0;
        for (std::size_t c = 0; c < 3; ++c)
            share += (colour[c] - drawn[c]) * (ink.before[c] - drawn[c]) / ink.far;
        share = std::clamp(share, 0.0, 1.0);
        RampColour expected;
        for (std::size_t c = 0; c < 3; ++c)
            expected[c] = drawn[c] + share * (ink.before[c] - drawn[c]);
        const double off = kOffNoise + kOffLine * std::sqrt(ink.far);
        return farthestChannel(colour, expected) <= off ? share : -1.0;
    }

    // The same mixture with the stand-in.
    static QRgb mixed(const RampColour &colour, const RampColour &drawn, const RampColour &standIn,
                      const Ink &ink, double share)
    {
        RampColour mixture;
        for (std::size_t c = 0; c < 3; ++c) {
            const double rest = colour[c] - drawn[c] - share * (ink.before[c] - drawn[c]);
            mixture[c] = standIn[c] + share * (ink.after[c] - standIn[c]) + rest;
        }
        return wordOf(mixture);
    }

    const SoftPixels soft;
    Ramps &ramps;
    QImage &image;
    QImage source; // as it was
    const int width;
    const int height;
    const std::vector<uint16_t> before; // ramps of the pixels
    std::vector<Columns> columnsNear;   // rows
};

} // namespace

void flatten(SoftPixels soft, Ramps *ramps, QImage *image)
{
    if (!ramps->areas.empty())
        Flattening(soft, ramps, image).run();
}

std::optional<QImage> withoutRamps(const QImage &image, double price)
{
    QImage flat = image.convertToFormat(QImage::Format_ARGB32);
    Ramps ramps = findRamps(flat, price);
    if (ramps.areas.empty() || isShadedElsewhere(flat, ramps))
        return std::nullopt;
    flatten(SoftPixels::Mixed, &ramps, &flat);
    return flat;
}

} // namespace ztrace
