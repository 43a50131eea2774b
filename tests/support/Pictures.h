// (c) the ztrace developers. Licence: see LICENSE.
//
// Random pictures and option sets for tests, from a generator of their own: rand() is the engine's.
#ifndef PICTURES_H
#define PICTURES_H

#include <cstdint>
#include <random>
#include <vector>

#include <QImage>
#include <QMap>
#include <QString>

namespace ztrace {

// The seed of a run: fixed, unless the environment variable ZTRACE_TEST_SEED gives one.
quint64 testSeed();

class Random
{
public:
    explicit Random(quint64 seed) : engine(seed) { }

    // 0 .. limit - 1; limit > 0.
    int below(int limit) { return static_cast<int>(engine() % static_cast<quint64>(limit)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool oneIn(int n) { return below(n) == 0; }
    double unit() { return static_cast<double>(engine() >> 11) / 9007199254740992.0; }
    std::uint32_t word() { return static_cast<std::uint32_t>(engine()); }

private:
    std::mt19937_64 engine;
};

// Row-major words 0xAARRGGBB, with the name of what they show.
struct Picture
{
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> words;
    QString shape;

    std::uint32_t &at(int x, int y)
    {
        return words[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)
                     + static_cast<std::size_t>(x)];
    }
    QImage toImage() const; // ARGB32

    // "17x3 blobs"
    QString describe() const;
};

// A uniform picture.
Picture uniformPicture(int width, int height, std::uint32_t word = 0xFF000000u);

// A picture of letters: each stands for the word that `colours` gives it.
Picture letterPicture(const QStringList &rows, const QMap<QChar, quint32> &colours);

// Any kind of picture, one pixel to `largest` wide and high, often very narrow.
Picture randomPicture(Random &random, int largest);

// Pictures full of nodes where two regions of one colour touch at a corner only.
Picture saddlePicture(Random &random, int width, int height);

// Some or all options with sound and odd values, never ones that take minutes.
QMap<QString, double> randomOptions(Random &random);

// "blurradius=2 ltres=nan"
QString describe(const QMap<QString, double> &options);

} // namespace ztrace

#endif
