// (c) the ztrace developers. Licence: see LICENSE.
//
// Images that other programs make of files which the toolkit does not read: pages of PDF by
// poppler's programs, HEIC by libheif's. They are separate programs, used where they are installed.
#ifndef ZTRACE_CLI_CONVERTERS_H
#define ZTRACE_CLI_CONVERTERS_H

#include <QByteArray>
#include <QImage>

#include <string>

namespace ztrace {

enum class Foreign { None, Pdf, Heic };

// By the first bytes.
Foreign foreignKind(const QByteArray &contents);

// Pages of a PDF; 1 of all others. Throws a Failure that names the package when a program is not
// installed, and one that says what it says when it fails.
int foreignPages(Foreign kind, const std::string &name, const QByteArray &contents);

// A page, from 1. That of a PDF has the resolution of the largest image on it, from 72 to 1200 dots
// an inch, and 300 where there is none; with more than `mostPixels` it is made at less.
QImage foreignImage(Foreign kind, const std::string &name, const QByteArray &contents, int page,
                    double mostPixels);

// Prints what can be read and written here, and which package would add what.
void listFormats();

} // namespace ztrace

#endif
