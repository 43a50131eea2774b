// (c) the ztrace developers. Licence: see LICENSE.
//
// The soft pixels of a word have every shade between its ground and its colour, and a palette that
// has the ground and something darker explains them all. But a word comes to its colour somewhere
// and never goes beyond: the farthest pixels of grey words are of one grey, those of black ones are
// black.
#include "wordcolours.h"

#include "colour.h"
#include "forest.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <unordered_map>
#include <utility>

namespace ztrace {

namespace {

const uint32_t kGap = 4;             // columns between two letters
const double kOneWay = 0.9;          // cosine; pixels of a word differ so from their ground
const std::size_t kLeastOfWord = 16; // ridges
// A colour of words: so many words, with so many ridges, come to kNearly of it and not beyond, and
// so many times as many as come a little farther: words of one colour hardly ever stop before it.
const std::size_t kLeastWords = 2;
const double kLeastRidges = 64.0;
const double kNearly = 0.85;
const double kPeak = 2.0;
const std::size_t kMostReached = 512; // colours that are compared
const double kOffMixture = 12.0;      // a length; from mixtures with the ground, at most
// Of the way to a colour: words that come farther may be of it, and reach it somewhere else.
const double kReached = 0.78;

class Words
{
public:
    Words(const QImage &i, const EdgeMap &e) : image(i), edges(e), width(uint32_t(i.width()))
    {
        for (const EdgeMap::RidgePixel &ridge : edges.ridges()) {
            const QRgb word = wordOf(ridge);
            if (qAlpha(word & ridge.beside) != 255)
                continue;
            pixels.push_back(ridge);
            away.push_back(difference(OpaqueKind::of(word), OpaqueKind::of(ridge.beside)));
        }
        of.resize(pixels.size());
        std::iota(of.begin(), of.end(), 0u);
        joinNeighbours();
    }

    std::vector<WordColour> colours()
    {
        const std::vector<Reached> all = reached();
        std::vector<WordColour> found;
        for (const Reached &own : all) {
            std::size_t words = 0;
            double within = 0.0; // ridges of words that come nearly as far
            double beyond = 0.0; // and of those that come a little farther
            for (const Reached &other : all) {
                const double part = other.depth / own.depth;
                if (other.ridge.beside != own.ridge.beside || part < kNearly || part > 1.0 / kNearly
                    || !isAligned(other.away, own.away, kOneWay))
                    continue;
                words += part > 1.0 ? 0 : other.words;
                (part > 1.0 ? beyond : within) += double(other.ridges);
            }
            if (words >= kLeastWords && within >= kLeastRidges && within >= kPeak * beyond)
                found.push_back({ own.ridge, std::size_t(within) });
        }
        return found;
    }

private:
    typedef OpaqueKind::Colour Colour;

    struct Word
    {
        std::size_t ridges = 0;
        uint32_t farthest = 0; // from the ground
    };

    // Words whose farthest pixels are of one colour on one ground.
    struct Reached
    {
        Ridge ridge;
        Colour away = {};
        double depth = 0.0; // its length
        std::size_t words = 0;
        std::size_t ridges = 0; // of these words
    };

    // Leaves those whose ground has at least as many pixels away from edges as there are ridges on
    // it: the gaps between strokes are no words.
    void leaveGrounds(std::vector<Reached> *all) const
    {
        std::unordered_map<QRgb, std::ptrdiff_t> spare;
        for (const Reached &colour : *all)
            spare[colour.ridge.beside] -= std::ptrdiff_t(colour.ridges);
        for (int y = 0; y < image.height(); ++y) {
            const QRgb *words = row(image, y);
            const uint8_t *marks = edges.row(y);
            int end = 0;
            for (int x = 0; x < image.width(); x = end) {
                end = endOfRun(words, x, image.width());
                const auto ground = spare.find(words[x]);
                if (ground != spare.end())
                    ground->second += std::count(marks + x, marks + end, uint8_t(0));
            }
        }
        const auto isGap = [&](const Reached &colour) { return spare[colour.ridge.beside] < 0; };
        all->erase(std::remove_if(all->begin(), all->end(), isGap), all->end());
    }

    // Those of most ridges, from the farthest on.
    std::vector<Reached> reached()
    {
        std::map<std::pair<QRgb, QRgb>, Reached> colours;
        for (const Word &word : words()) {
            if (word.ridges < kLeastOfWord)
                continue;
            const EdgeMap::RidgePixel &pixel = pixels[word.farthest];
            Reached &colour = colours[{ wordOf(pixel), pixel.beside }];
            colour.ridge = { true, wordOf(pixel), pixel.beside };
            colour.away = away[word.farthest];
            colour.depth = std::sqrt(double(square(colour.away)));
            ++colour.words;
            colour.ridges += word.ridges;
        }
        std::vector<Reached> all;
        for (const auto &colour : colours)
            all.push_back(colour.second);
        leaveGrounds(&all);
        if (all.size() > kMostReached) {
            std::stable_sort(all.begin(), all.end(), [](const Reached &a, const Reached &b) {
                return a.ridges > b.ridges;
            });
            all.resize(kMostReached);
        }
        std::stable_sort(all.begin(), all.end(),
                         [](const Reached &a, const Reached &b) { return a.depth > b.depth; });
        return all;
    }

    QRgb wordOf(const EdgeMap::RidgePixel &ridge) const
    {
        return row(image, int(ridge.pixel / width))[ridge.pixel % width];
    }

    // With what is up to kGap columns away in the same row, and in the row above.
    void joinNeighbours()
    {
        std::size_t first[2] = { 0, 0 };
        for (std::size_t k = 1; k < pixels.size(); ++k) {
            const uint32_t pixel = pixels[k].pixel;
            const uint32_t left = std::min(pixel % width, kGap);
            const uint32_t right = std::min(width - 1 - pixel % width, kGap);
            while (pixels[first[0]].pixel < pixel - left)
                ++first[0];
            for (std::size_t i = first[0]; i < k; ++i)
                join(i, k);
            if (pixel < width)
                continue;
            while (pixels[first[1]].pixel < pixel - width - left)
                ++first[1];
            for (std::size_t i = first[1]; i < k && pixels[i].pixel <= pixel - width + right; ++i)
                join(i, k);
        }
    }

    void join(std::size_t i, std::size_t k)
    {
        if (pixels[i].beside == pixels[k].beside && isAligned(away[i], away[k], kOneWay))
            of[rootOf(&of, uint32_t(k))] = rootOf(&of, uint32_t(i));
    }

    std::vector<Word> words()
    {
        std::vector<Word> all(pixels.size());
        for (uint32_t k = 0; k < pixels.size(); ++k) {
            Word &word = all[rootOf(&of, k)];
            if (word.ridges == 0 || square(away[k]) > square(away[word.farthest]))
                word.farthest = k;
            ++word.ridges;
        }
        return all;
    }

    const QImage &image;
    const EdgeMap &edges;
    const uint32_t width;
    std::vector<EdgeMap::RidgePixel> pixels;
    std::vector<Colour> away; // from what is beside each
    std::vector<uint32_t> of; // a forest
};

} // namespace

std::vector<WordColour> wordColoursIn(const QImage &image, const EdgeMap &edges)
{
    return Words(image, edges).colours();
}

bool isMissing(const WordColour &word, const std::vector<QRgb> &palette)
{
    const VisibleColour own = visible(word.ridge.colour);
    const VisibleColour ground = visible(word.ridge.beside);
    const double depth = length(difference(own, ground));
    return std::none_of(palette.begin(), palette.end(), [&](QRgb colour) {
        const VisibleColour other = visible(colour);
        return qAlpha(colour) == 255
            && std::sqrt(squareToMixture(own, ground, other)) <= kOffMixture
            && depth > kReached * length(difference(other, ground));
    });
}

} // namespace ztrace
