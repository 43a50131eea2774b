// (c) the ztrace developers. Licence: see LICENSE.
//
// What kind of picture this is.
#ifndef ZTRACE_IMAGING_CLASSIFY_H
#define ZTRACE_IMAGING_CLASSIFY_H

#include <string>

namespace ztrace {

class Picture;

enum class Kind { LineArt, Logo, Poster, Photo };

struct Classification
{
    Kind kind = Kind::Photo;
    std::string reason; // in a few words, with the numbers that decided
};

// Tells the kind of a picture by the number of colours, by how grey and how two-valued it is, by
// its transparency, and by how much of it lies in flat areas.
Classification classify(Picture *picture);

} // namespace ztrace

#endif
