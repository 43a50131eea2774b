// (c) the ztrace developers. Licence: see LICENSE.
//
// What kind of image this is.
#ifndef ZTRACE_CLI_LOOK_H
#define ZTRACE_CLI_LOOK_H

#include <QImage>

#include <string>

namespace ztrace {

struct Look
{
    std::string preset; // lineart, logo, poster or photo
    std::string reason; // in a few words, with the numbers that decided
};

// Chooses a preset by the number of colours, by how grey and how two-valued the image is, by its
// transparency, and by how much of it lies in flat areas.
Look lookAt(const QImage &image);

} // namespace ztrace

#endif
