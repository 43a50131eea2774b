// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines and small marks: soft edges on both sides and nothing flat between them.
#ifndef ZTRACE_IMAGING_RIDGES_H
#define ZTRACE_IMAGING_RIDGES_H

#include <QImage>
#include <QRgb>

#include <vector>

namespace ztrace {

// A pixel that differs clearly, and in the same direction, from what lies on both sides of it
// within three pixels.
struct Ridge
{
    bool found = false;
    QRgb colour = 0;
    QRgb beside = 0; // of the side that it differs less from
};

Ridge ridgeAt(const QImage &image, int x, int y);

// The place of the colour that explains the ridge best, since soft edges mix a thin line's colour
// with what is beside it; -1 when none does.
int nearestTo(const Ridge &ridge, const std::vector<QRgb> &colours);

// Whether the colour is near one of the others, or near a mixture of two.
bool isMixture(QRgb colour, const std::vector<QRgb> &colours);

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

// A colour for thin lines, and how much it is worth (see flatpalette.cpp).
struct Accent
{
    QRgb colour;
    double score;
};

// Colours of lines that are no mixtures of two of the palette's opaque colours, at most `most`, the
// one of most worth first.
std::vector<Accent> accentsIn(const QImage &image, const RidgeMap &ridges,
                              const std::vector<QRgb> &palette, int most);

} // namespace ztrace

#endif
