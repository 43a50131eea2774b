// (c) the ztrace developers. Licence: see LICENSE.
//
// Random images for the tests of imaging, from a generator of their own: rand() is the engine's.
#ifndef RANDOMIMAGES_H
#define RANDOMIMAGES_H

#include <QImage>

#include <cstdint>
#include <random>
#include <vector>

namespace randomimages {

// The seed of a run: fixed, unless the environment variable ZTRACE_TEST_SEED gives one.
inline quint64 testSeed()
{
    bool isNumber = false;
    const quint64 seed = qgetenv("ZTRACE_TEST_SEED").toULongLong(&isNumber);
    return isNumber ? seed : 20240217u;
}

class Random
{
public:
    explicit Random(quint64 seed) : engine(seed) { }

    // 0 .. limit - 1; limit > 0.
    int below(int limit) { return static_cast<int>(engine() % static_cast<quint64>(limit)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool oneIn(int n) { return below(n) == 0; }
    std::uint32_t word() { return static_cast<std::uint32_t>(engine()); }

private:
    std::mt19937_64 engine;
};

// ARGB32 of up to largest x largest pixels, often one pixel wide or high: runs and blocks of a few
// colours or of many, greys or not, opaque, clear or between.
inline QImage randomImage(Random &random, int largest)
{
    const int width = random.oneIn(6) ? 1 : random.between(1, largest);
    const int height = random.oneIn(6) ? 1 : random.between(1, largest);
    QImage image(width, height, QImage::Format_ARGB32);
    std::vector<QRgb> colours;
    const bool greys = random.oneIn(3);
    const int alphas = random.below(3);
    for (int k = random.oneIn(3) ? 900 : random.between(1, 40); k > 0; --k) {
        const QRgb alpha = alphas == 0 ? 255u
            : alphas == 1              ? (random.word() & 1u) * 255u
                                       : random.word() & 255u;
        const QRgb grey = random.word() & 255u;
        const QRgb colour = greys ? grey * 0x010101u : random.word() & 0x00FFFFFFu;
        colours.push_back(alpha << 24 | colour);
    }
    const int block = random.between(1, 4);
    const int shade = random.oneIn(2) ? 1 : random.between(2, 9);
    QRgb colour = colours.front();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (y % block != 0 && x < width)
                colour = image.pixel(x, y - 1);
            else if (x % block == 0 && !random.oneIn(4))
                colour = colours[static_cast<std::size_t>(random.below(int(colours.size())))];
            image.setPixel(x, y, random.oneIn(30) ? colour ^ static_cast<QRgb>(shade) : colour);
        }
    }
    return image;
}

} // namespace randomimages

#endif
