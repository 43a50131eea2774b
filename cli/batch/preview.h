// (c) the ztrace developers. Licence: see LICENSE.
//
// Small pictures of a picture and its drawing, for reports.
#ifndef ZTRACE_CLI_BATCH_PREVIEW_H
#define ZTRACE_CLI_BATCH_PREVIEW_H

#include "drawing/Drawing.h"

#include <QByteArray>
#include <QImage>

#include <string>
#include <vector>

namespace ztrace {

// Where the preview of a page is kept, below the folder of the result file.
std::string previewName(const std::string &folder, const std::string &path, int page);

// "." for a name without one.
std::string folderOfFile(const std::string &fileName);

// How long the longer side of a preview is for a run of so many pictures, so that a report stays
// below some 60 million bytes.
int previewSide(std::size_t pictures);

// A drawing as a smooth picture, as large as previewOf shows it.
QImage drawnSmall(const Drawing &drawing, int side);

// Both beside each other as a JPEG over white, each at most `side` long: smaller than they are, or
// a whole number of times as large. A picture that is made larger keeps the edges of its pixels.
QByteArray previewOf(const QImage &picture, const QImage &drawn, int side);

// A drawing as a picture from one of its files: SVG, JSON or PNG; null when there is none of these.
QImage drawnFrom(const std::vector<std::string> &files, int side);

} // namespace ztrace

#endif
