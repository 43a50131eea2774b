// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines and small marks: soft edges on both sides and nothing flat between them.
#ifndef ZTRACE_CLI_RIDGES_H
#define ZTRACE_CLI_RIDGES_H

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

// A colour for thin lines, and how much it is worth (see flatpalette.cpp).
struct Accent
{
    QRgb colour;
    double score;
};

// Colours of ridges that are no mixtures of two of the palette's opaque colours, at most `most`,
// the one of most worth first.
std::vector<Accent> accentsIn(const QImage &image, const std::vector<QRgb> &palette, int most);

} // namespace ztrace

#endif
