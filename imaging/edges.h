// (c) the ztrace developers. Licence: see LICENSE.
//
// What the stages for flat colours ask of every pixel, found once: whether it lies on an edge, on a
// ridge, in a thin line or in a texture. The page is docs/imaging/edges.md.
#ifndef ZTRACE_IMAGING_EDGES_H
#define ZTRACE_IMAGING_EDGES_H

#include <QImage>

#include <cstdint>
#include <vector>

namespace ztrace {

// A byte a pixel, rows from the top.
class EdgeMap
{
public:
    // Bits of a pixel.
    static const uint8_t kEdge = 1;    // isEdge
    static const uint8_t kRidge = 2;   // an edge at which ridgeAt finds a ridge
    static const uint8_t kDrawn = 4;   // a ridge that is opaque enough to be a line
    static const uint8_t kRule = 8;    // a drawn ridge in a long straight run of its very colour
    static const uint8_t kOfLine = 16; // for the use of reduceFlat: of a stroke's core
    static const uint8_t kFlank = 32;  // the same: beside a stroke's core
    static const uint8_t kLine = 64;   // isLine

    // Of an ARGB32 image, which is not kept.
    explicit EdgeMap(const QImage &image);

    const uint8_t *row(int y) const { return marks.data() + offset(y); }
    uint8_t *row(int y) { return marks.data() + offset(y); }

    // A drawn ridge with few others around it, and one that is surrounded by others.
    bool isLine(int x, int y) const { return (row(y)[x] & kLine) != 0; }
    bool isTexture(int x, int y) const;

    // An edge at which there is a ridge, and the word beside it. Letters and rules have few
    // surroundings many times: `like` is the place, among these, of one with the same words within
    // two pixels and the same word beside it, for which the same holds; often its own.
    struct RidgePixel
    {
        uint32_t pixel;
        QRgb beside;
        uint32_t like;
    };

    // In the order of their pixels.
    const std::vector<RidgePixel> &ridges() const { return found; }

    // Of a row, for every pixel 1 where neither it nor one of its eight neighbours is an edge, else
    // 0.
    void findCalm(int y, std::vector<uint8_t> *calm) const;

    // Pixels that are not fully transparent.
    std::size_t visiblePixels() const { return visible; }
    bool hasTransparentPixels() const { return visible < marks.size(); }

    // As below.
    bool isClean() const { return clean; }

    // Pixels that are edges.
    std::size_t edgePixels() const { return edgesFound; }

private:
    class Rule;

    std::size_t offset(int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
    void markEdges(const QImage &image);
    void markRidges(const QImage &image);
    void markLines();
    void markRules(const QImage &image);
    int crowdAt(int x, int y, int reach) const;

    int width;
    int height;
    std::size_t visible = 0;
    std::size_t edgesFound = 0;
    bool clean = true; // as isClean has it
    std::vector<uint8_t> marks;
    std::vector<RidgePixel> found;
};

// Whether an ARGB32 image is free of noise and of what compression leaves: few pixels differ a
// little from the next one in their row, compared to those that differ clearly.
bool isClean(const QImage &image);

} // namespace ztrace

#endif
