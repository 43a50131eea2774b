// (c) the ztrace developers. Licence: see LICENSE.
#include "preview.h"

#include "results.h"

#include "drawing/json.h"
#include "drawing/png.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QPainter>

#include <algorithm>

namespace ztrace {

namespace {

const int kQuality = 80;

// What a picture or drawing of that size is shown by. Small ones grow by whole numbers, so that
// pixels stay squares.
double scaleFor(const QSize &size, int side)
{
    const int longer = std::max(1, std::max(size.width(), size.height()));
    const int times = side / longer;
    return times < 1 ? double(side) / longer : double(times);
}

// Pixels of a picture that grows are to be seen, as they are what was traced.
QImage fitting(const QImage &image, const QSize &size)
{
    QImage result(size, QImage::Format_RGB32);
    result.fill(Qt::white);
    if (image.isNull())
        return result;
    const bool grows = size.width() > image.width() && size.height() > image.height();
    QPainter painter(&result);
    painter.drawImage(0, 0,
                      image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                          .scaled(size, Qt::IgnoreAspectRatio,
                                  grows ? Qt::FastTransformation : Qt::SmoothTransformation));
    return result;
}

QByteArray contentsOfFile(const std::string &name)
{
    QFile file(QFile::decodeName(name.c_str()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QImage drawnFromJson(const QByteArray &text, int side)
{
    Drawing drawing;
    QString ignored;
    if (!readJson(text, &drawing, &ignored))
        return QImage();
    return drawnSmall(drawing, side);
}

// An SVG is painted at any size; a PNG has its own.
QImage drawnByReader(const std::string &name, int side, bool isAnySize)
{
    QImageReader reader(QFile::decodeName(name.c_str()));
    const QSize size = reader.size();
    if (!size.isEmpty() && (isAnySize || std::max(size.width(), size.height()) > side))
        reader.setScaledSize(size.scaled(side, side, Qt::KeepAspectRatio));
    return reader.read();
}

bool endsWith(const std::string &name, const std::string &ending)
{
    return name.size() > ending.size()
        && name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

} // namespace

std::string folderOfFile(const std::string &fileName)
{
    const std::size_t slash = fileName.rfind('/');
    return slash == std::string::npos ? "." : fileName.substr(0, slash);
}

std::string previewName(const std::string &folder, const std::string &path, int page)
{
    return folder + "/.ztrace-previews/"
        + QByteArray::fromStdString(keyOf(path, page)).toHex().toStdString() + ".jpg";
}

int previewSide(std::size_t pictures)
{
    return pictures <= 100 ? 1000 : pictures <= 1000 ? 400 : 160;
}

QImage drawnSmall(const Drawing &drawing, int side)
{
    const QSize size(drawing.width, drawing.height);
    return renderDrawing(drawing, PaintStyle(), scaleFor(size, side));
}

QByteArray previewOf(const QImage &picture, const QImage &drawn, int side)
{
    const QSize size = (QSizeF(picture.size()) * scaleFor(picture.size(), side))
                           .toSize()
                           .expandedTo(QSize(1, 1));
    QImage both(size.width() * 2, size.height(), QImage::Format_RGB32);
    QPainter painter(&both);
    painter.drawImage(0, 0, fitting(picture, size));
    painter.drawImage(size.width(), 0, fitting(drawn, size));
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    both.save(&buffer, "JPG", kQuality);
    return bytes;
}

QImage drawnFrom(const std::vector<std::string> &files, int side)
{
    for (const std::string &file : files) {
        QImage image;
        if (endsWith(file, ".json"))
            image = drawnFromJson(contentsOfFile(file), side);
        else if (endsWith(file, ".svg") || endsWith(file, ".png"))
            image = drawnByReader(file, side, endsWith(file, ".svg"));
        if (!image.isNull())
            return image;
    }
    return QImage();
}

} // namespace ztrace
