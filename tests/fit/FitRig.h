// (c) the ztrace developers. Licence: see LICENSE.
//
// Pictures of known geometry as chains: an exact-area raster, its boundary, and what a fit of it is
// worth beside the truth.
#ifndef ZTRACE_TESTS_FIT_FITRIG_H
#define ZTRACE_TESTS_FIT_FITRIG_H

#include "fit/fit.h"

#include <cstdint>
#include <string>

namespace ztrace::fit {

// Numbers that are the same everywhere: 64 bits of a multiplicative generator.
class Noise
{
public:
    explicit Noise(std::uint64_t seed) : state(seed * 2862933555777941757ULL + 3037000493ULL) { }
    double uniform(); // 0 <= u < 1
    double normal();  // of deviation 1
private:
    std::uint64_t state;
};

using Truth = std::vector<Piece>; // a closed path, or one whole shape

Truth circleTruth(Point centre, double radius);
Truth ellipseTruth(Point centre, double a, double b, double angle);
Truth rectangleTruth(Point centre, double width, double height, double angle, double radius = 0);
Truth polygonTruth(const std::vector<Point> &corners);
Truth leaf(Point at); // a blob of cubics with two corners, as lettering has them

// Coverage of every pixel by a closed polygon, exact but for rounding; clockwise or not.
struct Raster
{
    int width;
    int height;
    std::vector<double> coverage;

    double at(int x, int y) const
    {
        const bool inside = x >= 0 && y >= 0 && x < width && y < height;
        return inside ? coverage[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)
                                 + static_cast<std::size_t>(x)]
                      : 0;
    }
};
Raster rasterOf(const Truth &truth, int width, int height);
void addNoise(Raster *raster, double deviation, Noise *noise); // coverage units

// The outline of the pixels of at least half coverage that holds the topmost one. Soft: each
// crack's place by the coverage of the pixel nearer to half, inverted along the normal. Hard:
// midpoints.
struct ChainData
{
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> sigma; // empty for hard edges
    Edge edge;
    bool closed;

    Chain view() const;
};
ChainData outlineOf(const Raster &raster, Edge edge, double noise = 0);

// Somewhere in the pixel at (at, at).
Point phase(Noise *noise, double at);

// Of a square picture that the truth lies in.
int sizeFor(const Truth &truth);

// The fit of the truth's outline in such a picture; with noise, of a picture that has it.
Path fitOf(const Truth &truth, Edge edge, const Settings &settings, double deviation = 0,
           Noise *noise = nullptr);

// Whether each piece begins where the one before it ends, to the last bit.
bool isJoined(const Path &path);

struct Score
{
    double rms; // of points on the fit to the truth, pixels
    double worst;
    double numbers; // prices without corners
    int pieces;
    double turning; // degrees in all
    int kinks;      // joints of more than 3 degrees
};
Score scoreOf(const Path &path, const Truth &truth, const Settings &settings);

std::string svgOf(const Path &path, const Truth &truth, const ChainData &data);

} // namespace ztrace::fit

#endif
