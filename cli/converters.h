// (c) the ztrace developers. Licence: see LICENSE.
//
// Images that other programs make of files which the toolkit does not read: pages of PDF by
// poppler's programs, HEIC by libheif's. They are separate programs, used where they are installed.
#ifndef ZTRACE_CLI_CONVERTERS_H
#define ZTRACE_CLI_CONVERTERS_H

#include <QByteArray>

#include <string>
#include <vector>

namespace ztrace {

// What is to be told of an image that was read.
struct Remarks
{
    std::vector<std::string> texts;
    bool isMadeSmaller = false; // by a limit
};

enum class Foreign { None, Pdf, Heic };

// By the first bytes.
Foreign foreignKind(const QByteArray &contents);

// What a file may ask of them.
struct ForeignLimits
{
    double pixels; // of a page
    double bytes;  // of memory, and of what they write
};

// Pages of a PDF, pictures of a HEIC. Throws a Failure that names the package when a program is
// not installed, and one that says what it says when it fails.
int foreignPages(Foreign kind, const std::string &name, const QByteArray &contents,
                 const ForeignLimits &limits);

// A page, from 1, as a PNG, which may be damaged. That of a PDF has the resolution of the largest
// image on it, from 72 to 1200 dots an inch, and 300 where there is none; with more pixels than the
// limit it is made at less, which `remarks` gets, and what the program says of a damaged file.
QByteArray foreignPicture(Foreign kind, const std::string &name, const QByteArray &contents,
                          int page, const ForeignLimits &limits, Remarks *remarks);

// Prints what can be read and written here, and which package would add what.
void listFormats();

} // namespace ztrace

#endif
