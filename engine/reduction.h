// (c) the ztrace developers. Licence: see LICENSE.
//
// The black-and-white rule of preprocessing, on rows of 0xAARRGGBB words.
#ifndef ZTRACE_REDUCTION_H
#define ZTRACE_REDUCTION_H

#include <QColor>
#include <QImage>

#include <vector>

namespace ztrace {

const QRgb kBlackWord = 0xFF000000u;
const QRgb kWhiteWord = 0xFFFFFFFFu;

// The formats whose scan lines are 32-bit words 0xAARRGGBB.
inline bool hasColourWords(const QImage &image)
{
    return image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32
        || image.format() == QImage::Format_ARGB32_Premultiplied;
}

// A pixel becomes white only when it is at most as opaque as the alpha limit and at most as light
// as the lightness limit; every other pixel becomes black. So with the default limits an opaque
// image turns black throughout: intended, and held by a test.
//
// The lightness is QColor::lightness() of the toolkit in use: its releases round odd sums
// differently, so it is asked, once for every pair of largest and smallest channel, on which alone
// it depends.
class Reduction
{
public:
    Reduction(int alphaLimit, int lightnessLimit);

    // Reduces width words; source and target may be the same row.
    void reduceRow(const QRgb *source, QRgb *target, int width);

    // The word that one pixel becomes.
    QRgb reduced(QRgb word);

private:
    int lightness(QRgb word);

    int alphaLimit;
    int lightnessLimit;
    std::vector<short> lightnessByExtremes; // [largest * 256 + smallest], -1 unknown
};

} // namespace ztrace

#endif
