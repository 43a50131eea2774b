// (c) the ztrace developers. Licence: see LICENSE.
#include "onlycolours.h"

#include "failure.h"

#include "drawing/Drawing.h"

#include <QColor>

#include <algorithm>
#include <cstdlib>

namespace ztrace {

namespace {

// Of 255. What is meant by a name ("red") and what a scanner or a palette makes of it ("#d8282e")
// are within it; the basic colours (0, 128, 192, 255 a channel) are as far as that from each other
// or farther, so that none of them is taken for another.
const int kNear = 63;

int difference(QRgb a, QRgb b)
{
    return std::max({ std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                      std::abs(qBlue(a) - qBlue(b)) });
}

std::string nameOf(QRgb colour)
{
    return colourName(colour).toStdString();
}

} // namespace

std::vector<QRgb> nearestInPalette(const std::vector<QRgb> &colours,
                                   const std::vector<QRgb> &palette,
                                   std::vector<std::string> *notes)
{
    std::vector<QRgb> taken;
    for (QRgb colour : colours) {
        const QRgb *nearest = nullptr;
        for (const QRgb &entry : palette) {
            if (qAlpha(entry) != 0
                && (!nearest || difference(colour, entry) < difference(colour, *nearest)))
                nearest = &entry;
        }
        const std::string option = "--only-color " + nameOf(colour) + ": ";
        if (!nearest)
            throw Failure(kWrongUsage, option + "the image has no colour");
        const std::string distance = std::to_string(difference(colour, *nearest));
        if (difference(colour, *nearest) > kNear) {
            throw Failure(kWrongUsage,
                          option + "no colour is near to it; the nearest, " + nameOf(*nearest)
                              + ", is " + distance + " of 255 away");
        }
        if (difference(colour, *nearest) > 0)
            notes->push_back(option + nameOf(*nearest) + " is taken, " + distance + " of 255 away");
        taken.push_back((*nearest & 0xFFFFFFu) | (colour & 0xFF000000u));
    }
    return taken;
}

} // namespace ztrace
