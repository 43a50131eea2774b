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

QImage fitting(const QImage &image, const QSize &size)
{
    QImage result(size, QImage::Format_RGB32);
    result.fill(Qt::white);
    if (image.isNull())
        return result;
    QPainter painter(&result);
    painter.drawImage(0, 0,
                      image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                          .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
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
    const double longer = std::max(1, std::max(drawing.width, drawing.height));
    return renderDrawing(drawing, PaintStyle(), std::min(1.0, side / longer));
}

QImage drawnByReader(const std::string &name, int side)
{
    QImageReader reader(QFile::decodeName(name.c_str()));
    QSize size = reader.size();
    if (size.isValid() && std::max(size.width(), size.height()) > side)
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

QByteArray previewOf(const QImage &picture, const QImage &drawn, int side)
{
    QSize size = picture.size();
    if (std::max(size.width(), size.height()) > side)
        size.scale(side, side, Qt::KeepAspectRatio);
    size = size.expandedTo(QSize(1, 1));
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
            image = drawnByReader(file, side);
        if (!image.isNull())
            return image;
    }
    return QImage();
}

} // namespace ztrace
