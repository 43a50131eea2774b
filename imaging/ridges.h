// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines and small marks: soft edges on both sides and nothing flat between them. The page is
// docs/imaging/ridges.md.
#ifndef ZTRACE_IMAGING_RIDGES_H
#define ZTRACE_IMAGING_RIDGES_H

#include <QImage>
#include <QRgb>

#include <vector>

#include "visiblecolour.h"

namespace ztrace {

// A pixel that differs clearly, and in the same direction, from what lies on both sides of it
// within three pixels; or on the rim of the picture from what lies on its inner side.
struct Ridge
{
    bool found = false;
    QRgb colour = 0;
    QRgb beside = 0; // of the side that it differs less from
};

// Looks for ridges in an ARGB32 image, which must outlive it.
class RidgeFinder
{
public:
    explicit RidgeFinder(const QImage &image);

    bool isRidge(int x, int y) const { return at(x, y).found; }
    Ridge at(int x, int y) const;

    // The same without the structure, for which a picture's edges waited a tenth of their time:
    // whether there is one; `beside` is that of the ridge then, and any word else.
    bool find(int x, int y, QRgb *beside) const;

    // The same for an opaque pixel that nothing within three pixels of its row and its column
    // differs clearly from, where a fainter difference is enough.
    bool findFaint(int x, int y, QRgb *beside) const;

private:
    struct Line;
    template<typename Kind>
    struct Side;

    static bool amid(const QRgb *middle, std::ptrdiff_t step, QRgb *beside);
    static bool across(const Line &line, const Line &along, QRgb *beside);
    static bool isBetween(const Line &line, int after, int before, QRgb *beside);
    static bool acrossFaint(const Line &line, QRgb *beside);
    static bool isFaint(const Line &line);
    template<typename Kind>
    static bool between(const Line &line, int after, int before, QRgb *beside, bool *isOfKind);
    static bool onRim(Side<VisibleKind> inner, const Line &along, QRgb *beside);

    const QRgb *first;
    const std::ptrdiff_t stride; // words
    const int width;
    const int height;
};

// Explains the colours of ridges by those of a palette, of any size.
class RidgeColours
{
public:
    explicit RidgeColours(const std::vector<QRgb> &palette);
    ~RidgeColours();

    // The place of the colour that explains the ridge best, since soft edges mix a thin line's
    // colour with what is beside it; -1 when none does.
    int nearestTo(const Ridge &ridge) const;

    // What it costs to draw the ridge in the colour at that place: a length.
    double costOf(const Ridge &ridge, std::size_t place) const;

    // The same for every colour of the palette; whether nearestTo finds one.
    bool costsOf(const Ridge &ridge, float *costs) const;

private:
    struct Pair;

    std::vector<QRgb> words;
    std::vector<VisibleColour> colours;
    std::vector<Pair> pairs; // of the colours but for an odd last one, channel by channel
};

} // namespace ztrace

#endif
