// (c) the ztrace developers. Licence: see LICENSE.
//
// A second tracer, written for the tests alone: slow, plain, without the toolkit.
//
// Every stage stands here in the order of its algorithm page, with nested vectors between the
// stages and no shortcut anywhere, so that the engine can be compared with it bit for bit.  Images
// are row-major words 0xAARRGGBB. Members and stage operations carry the names of ZTraceBitmap. Not
// thread safe; draws from rand().

#ifndef REFERENCE_H
#define REFERENCE_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace ztrace::reference {

using Bytes = std::vector<signed char>;
using Palette = std::vector<Bytes>;
using Grid = std::vector<std::vector<int>>;
using Words = std::vector<std::uint32_t>;
using Lightness = std::function<int(int r, int g, int b)>;

using PathPoint = std::vector<int>;         // x, y, node code
using Path = std::vector<PathPoint>;        // closed, first point not repeated
using Paths = std::vector<Path>;            // of one layer
using InternodePoint = std::vector<double>; // x, y, direction code
using InternodePath = std::vector<InternodePoint>;
using InternodePaths = std::vector<InternodePath>;
using Segment = std::vector<double>; // type and three points, seven numbers
using TracedPath = std::vector<Segment>;
using TracedPaths = std::vector<TracedPath>;
using TracedLayers = std::vector<TracedPaths>;

struct Point
{
    double x;
    double y;
};

// One piece of a polyline in drawing coordinates (y upwards).
// Line: one point, where it ends.  Quadratic: start, control and end point.
struct Piece
{
    enum Kind { Line, Quadratic };
    Kind kind;
    std::vector<Point> points;
};

struct Polyline
{
    Point first;
    std::vector<Piece> pieces;

    Point endPoint() const { return pieces.empty() ? first : pieces.back().points.back(); }
};

struct Indexed
{
    int width = 0;
    int height = 0;
    Grid indices;
    Palette palette;
    TracedLayers tracedLayers;
};

// Number to 32-bit integer: beyond the range the nearest end, not-a-number the lowest.
int truncatedInt(double value);
int flooredInt(double value);

struct Reference
{
    // lightness: the lightness 0..255 of a colour; needed by preprocess() only.
    explicit Reference(Lightness lightness = Lightness());

    std::map<std::string, double> options;
    Palette currentPalette;
    int imageWidth = 0;
    int imageHeight = 0;
    Bytes imageData;
    Indexed indexedImage;

    void preprocess(Words &words, int w, int h);
    void loadImageData(const Words &words, int w, int h);
    Palette generatepalette(int numberofcolors);
    Palette samplepalette(int numberofcolors);
    void colorquantization();
    void blur(float radius, float delta);
    std::vector<Grid> layering() const;

    // A walk that a malformed grid leads to an unused entry or off the grid is dropped.
    Paths pathscan(Grid grid, float pathomit) const;
    std::vector<Paths> batchpathscan(const std::vector<Grid> &layers, float pathomit) const;
    InternodePaths internodes(const Paths &paths) const;
    std::vector<InternodePaths> batchinternodes(const std::vector<Paths> &layers) const;

    // Recursive. A sequence that wraps other than by seqend = 0 may split outside itself
    // without an end: after mostFits calls this gives up, and gaveUp tells so.
    TracedPath fitseq(const InternodePath &path, float ltres, float qtres, int seqstart,
                      int seqend) const;
    TracedPath tracepath(const InternodePath &path, float ltres, float qtres) const;
    TracedPaths batchtracepaths(const InternodePaths &paths, float ltres, float qtres) const;
    TracedLayers batchtracelayers(const std::vector<InternodePaths> &layers, float ltres,
                                  float qtres) const;

    Point transform(const Point &point) const;
    std::vector<Polyline> getPolylines() const;
    std::vector<Polyline> trace(const Words &words, int w, int h);

    Lightness lightness;

    int mostFits = 10000;
    mutable int fits = 0; // calls of fitseq since a path began
    mutable bool gaveUp = false;
};

} // namespace ztrace::reference

#endif
