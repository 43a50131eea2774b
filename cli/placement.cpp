// (c) the ztrace developers. Licence: see LICENSE.
#include "placement.h"

#include "ByteWalk.h"
#include "failure.h"
#include "formats.h"
#include "textfile.h"

#include "drawing/files.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
#include <QString>

#include <cerrno>
#include <cmath>
#include <cstring>

#include <sys/stat.h>

namespace ztrace {

namespace {

// Tags of a GeoTIFF, and keys in its directory of keys.
const qint64 kModelPixelScale = 33550;
const qint64 kModelTiepoint = 33922;
const qint64 kModelTransformation = 34264;
const qint64 kGeoKeyDirectory = 34735;
const qint64 kRasterTypeKey = 1025; // 1: coordinates are of pixels' corners, 2: of their middles
const qint64 kGeographicKey = 2048; // number of the reference system, in degrees
const qint64 kProjectedKey = 3072;  // in metres, as a rule
const qint64 kUserDefined = 32767;

const qint64 kMostNumbers = 4096; // that are read of a tag

bool isUsable(const Placement &p)
{
    const double area = p.columnX * p.rowY - p.columnY * p.rowX;
    return std::isfinite(area) && area != 0.0 && std::isfinite(p.origin.x)
        && std::isfinite(p.origin.y);
}

// The first directory of a TIFF.
class GeoTags
{
public:
    GeoTags(const QByteArray &file, bool littleEndian, bool isLarge)
        : bytes(file), little(littleEndian), wide(isLarge ? 8 : 4)
    {
        ByteWalk walk(bytes, little);
        walk.moveTo(isLarge ? 8 : 4);
        walk.moveTo(walk.number(wide));
        const qint64 entries = walk.number(isLarge ? 8 : 2);
        for (qint64 i = 0; i < entries && !walk.isBeyond(); ++i) {
            const qint64 tag = walk.number(2);
            walk.skip(2); // the type: each of these tags has one
            const qint64 count = walk.number(wide);
            const qint64 value = walk.at();
            walk.skip(wide);
            if (tag == kModelPixelScale)
                scale = doublesAt(value, count);
            else if (tag == kModelTiepoint)
                tie = doublesAt(value, count);
            else if (tag == kModelTransformation)
                matrix = doublesAt(value, count);
            else if (tag == kGeoKeyDirectory)
                readKeys(value, count);
        }
    }

    Placement placement() const
    {
        Placement result;
        if (matrix.size() >= 16) {
            result.columnX = matrix[0];
            result.rowX = matrix[1];
            result.origin.x = matrix[3];
            result.columnY = matrix[4];
            result.rowY = matrix[5];
            result.origin.y = matrix[7];
        } else if (scale.size() >= 2 && tie.size() >= 6) {
            result.columnX = scale[0];
            result.rowY = -scale[1];
            result.origin = Point(tie[3] - tie[0] * scale[0], tie[4] + tie[1] * scale[1]);
        } else {
            return result;
        }
        if (ofMiddles)
            result.origin = result.at(-0.5, -0.5);
        result.epsg = reference;
        result.isKnown = isUsable(result);
        return result;
    }

private:
    std::vector<double> doublesAt(qint64 place, qint64 count) const
    {
        ByteWalk walk(bytes, little);
        walk.moveTo(place);
        walk.moveTo(walk.number(wide));
        std::vector<double> values;
        for (qint64 i = 0; i < std::min(count, kMostNumbers); ++i) {
            // In two halves: a walk's numbers have no sign and are below 2^61.
            const quint64 first = quint64(walk.number(4));
            const quint64 second = quint64(walk.number(4));
            const quint64 bits = little ? second << 32 | first : first << 32 | second;
            double value;
            std::memcpy(&value, &bits, sizeof value);
            values.push_back(value);
        }
        return walk.isBeyond() ? std::vector<double>() : values;
    }

    // Four numbers a key: key, where its value is (0: here), count, value. The first four are the
    // directory's version and the number of keys.
    void readKeys(qint64 place, qint64 count)
    {
        ByteWalk walk(bytes, little);
        walk.moveTo(place);
        if (2 * count > wide)
            walk.moveTo(walk.number(wide));
        walk.skip(8);
        for (qint64 i = 4; i + 3 < std::min(count, kMostNumbers) && !walk.isBeyond(); i += 4) {
            const qint64 key = walk.number(2);
            const qint64 where = walk.number(2);
            walk.skip(2);
            const qint64 value = walk.number(2);
            if (where != 0 || walk.isBeyond())
                continue;
            if (key == kRasterTypeKey)
                ofMiddles = value == 2;
            if (value > 0 && value < kUserDefined
                && (key == kProjectedKey || (key == kGeographicKey && reference == 0)))
                reference = int(value);
        }
    }

    const QByteArray &bytes;
    const bool little;
    const int wide; // bytes of a place
    std::vector<double> scale;
    std::vector<double> tie;
    std::vector<double> matrix;
    int reference = 0;
    bool ofMiddles = false;
};

} // namespace

std::vector<std::string> worldFileNames(const std::string &imageName)
{
    const QFileInfo file(QFile::decodeName(imageName.c_str()));
    const QString suffix = file.suffix();
    if (suffix.isEmpty())
        return {};
    QString stem = QFile::decodeName(imageName.c_str());
    stem.chop(suffix.size());
    const auto name = [&stem](const QString &ending) {
        return std::string(QFile::encodeName(stem + ending).constData());
    };
    const QString w
        = suffix.at(suffix.size() - 1).isUpper() ? QStringLiteral("W") : QStringLiteral("w");
    std::vector<std::string> names;
    if (suffix.size() > 2)
        names.push_back(name(suffix.left(1) + suffix.right(1) + w));
    names.push_back(name(suffix + w));
    names.push_back(name(QStringLiteral("wld")));
    return names;
}

namespace {

// Whether an error of looking a file up says that there is none: what failed otherwise may hide
// one.
bool isAbsence(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
}

} // namespace

std::string worldFileOf(const std::string &imageName)
{
    for (const std::string &name : worldFileNames(imageName)) {
        struct stat info;
        // Nobody has named it: a pipe, which would be waited at, is none.
        if (::stat(name.c_str(), &info) == 0) {
            if (S_ISREG(info.st_mode))
                return name;
        } else if (!isAbsence(errno)) {
            throw Failure(kInputUnreadable,
                          name + ": " + reasonText(errno).toLocal8Bit().toStdString());
        }
    }
    return std::string();
}

bool readWorldFile(const std::string &text, Placement *placement)
{
    const QStringList words = QString::fromStdString(text).simplified().split(QLatin1Char(' '));
    double numbers[6];
    if (words.size() != 6)
        return false;
    for (int k = 0; k < 6; ++k) {
        bool isNumber;
        numbers[k] = QLocale::c().toDouble(words[k], &isNumber);
        if (!isNumber)
            return false;
    }
    Placement read;
    read.columnX = numbers[0];
    read.columnY = numbers[1];
    read.rowX = numbers[2];
    read.rowY = numbers[3];
    read.origin = Point(numbers[4], numbers[5]);
    read.origin = read.at(-0.5, -0.5);
    read.isKnown = isUsable(read);
    if (read.isKnown)
        *placement = read;
    return read.isKnown;
}

Placement placementOfTiff(const QByteArray &bytes)
{
    for (const bool little : { true, false }) {
        for (const int version : { 42, 43 }) {
            ByteWalk walk(bytes, little);
            const qint64 order = walk.number(2);
            if (order == (little ? 0x4949 : 0x4D4D) && walk.number(2) == version)
                return GeoTags(bytes, little, version == 43).placement();
        }
    }
    return Placement();
}

Placement placementOf(const std::string &imageName, const QByteArray &bytes)
{
    Placement placement = placementOfTiff(bytes);
    if (imageName == "-")
        return placement;
    const std::string name = worldFileOf(imageName);
    if (name.empty())
        return placement;
    const int epsg = placement.epsg;
    if (!readWorldFile(textOfFile(name), &placement))
        throw Failure(kInputUnreadable,
                      inputName(name) + ": six numbers are expected of a world file");
    placement.epsg = epsg;
    return placement;
}

} // namespace ztrace
