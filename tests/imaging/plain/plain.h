// (c) the ztrace developers. Licence: see LICENSE.
//
// The stages for flat colours as their pages state them, pixel by pixel, without any of what makes
// them fast: what the fast forms are held against.
#ifndef ZTRACE_TESTS_IMAGING_PLAIN_H
#define ZTRACE_TESTS_IMAGING_PLAIN_H

#include "imaging/LabelPlane.h"

#include <QImage>

namespace ztrace {
namespace plain {

// A pixel that differs clearly, and in the same direction, from what lies on both sides of it
// within three pixels.
struct Ridge
{
    bool found = false;
    QRgb colour = 0;
    QRgb beside = 0; // of the side that it differs less from
};

Ridge ridgeAt(const QImage &image, int x, int y);

// An opaque pixel that nothing within three pixels of its row and column differs clearly from, and
// that differs a little, in the same direction, from what lies on both sides of it.
Ridge faintRidgeAt(const QImage &image, int x, int y);

// Whether at most one pixel in two of those that differ clearly from the next one in their row
// differs from it a little.
bool isClean(const QImage &image);

// The place of the colour that explains the ridge best, since soft edges mix a thin line's colour
// with what is beside it; -1 when none does.
int nearestTo(const Ridge &ridge, const std::vector<QRgb> &colours);

// Where an image has ridges: lines, and textures, which are areas filled by them.
class RidgeMap
{
public:
    explicit RidgeMap(const QImage &image);

    bool isLine(int x, int y) const { return at(x, y) && crowdAt(x, y, 1) <= kMostInLine; }
    bool isTexture(int x, int y) const { return at(x, y) && crowdAt(x, y, 2) >= kLeastInTexture; }

private:
    static const int kMostInLine = 6;      // of 3 x 3 pixels
    static const int kLeastInTexture = 24; // of 5 x 5; lines side by side have fewer

    bool at(int x, int y) const
    {
        return ridges[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)
                      + static_cast<std::size_t>(x)];
    }
    int crowdAt(int x, int y, int reach) const;

    int width;
    int height;
    std::vector<bool> ridges;
};

bool hasSoftEdges(const QImage &image, const LabelPlane &plane);
LabelPlane upsampled(const QImage &image, const LabelPlane &plane, int factor);

// Whether the pixel of an ARGB32 image differs clearly from one of its four neighbours.
bool isEdge(const QImage &image, int x, int y);

} // namespace plain
} // namespace ztrace

#endif
