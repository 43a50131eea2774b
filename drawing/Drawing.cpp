// (c) the ztrace developers. Licence: see LICENSE.
#include "Drawing.h"

#include "ZBox.h"

#include <QSet>

namespace ztrace {

namespace {

const double kMillimetresPerInch = 25.4;
const double kPointsPerInch = 72.0;

double effectiveDpi(const Drawing &drawing)
{
    return drawing.dpi > 0.0 ? drawing.dpi : kScreenDpi;
}

} // namespace

double Drawing::unitsPerPixel() const
{
    switch (unit) {
    case Unit::Millimetre:
        return kMillimetresPerInch / effectiveDpi(*this);
    case Unit::Inch:
        return 1.0 / effectiveDpi(*this);
    case Unit::Pixel:
        break;
    }
    return 1.0;
}

double Drawing::pointsPerPixel() const
{
    return kPointsPerInch / effectiveDpi(*this);
}

QStringList Drawing::layers() const
{
    QStringList names;
    QSet<QString> known;
    for (const Outline &outline : outlines) {
        const QString name = layerName(outline);
        if (!known.contains(name)) {
            known.insert(name);
            names.append(name);
        }
    }
    const int place = names.indexOf(groundLayer());
    if (place > 0)
        names.move(place, 0);
    return names;
}

QString Drawing::groundLayer() const
{
    for (const Outline &outline : outlines) {
        if (qAlpha(ground) != 0 && outline.colour == ground)
            return layerName(outline);
    }
    return QString();
}

Frame frameOf(const Drawing &drawing)
{
    Frame frame;
    if (drawing.width > 0 && drawing.height > 0) {
        frame.width = drawing.width;
        frame.height = drawing.height;
        return frame;
    }
    bool empty = true;
    double right = 0.0;
    double top = 0.0;
    for (const Outline &outline : drawing.outlines) {
        if (outline.shape.isEmpty())
            continue;
        const ZBox box = outline.shape.getBoundingBox();
        const ZVector low = box.minimum;
        const ZVector high = box.maximum;
        frame.x = empty ? low.x : qMin(frame.x, low.x);
        frame.y = empty ? low.y : qMin(frame.y, low.y);
        right = empty ? high.x : qMax(right, high.x);
        top = empty ? high.y : qMax(top, high.y);
        empty = false;
    }
    frame.width = right - frame.x;
    frame.height = top - frame.y;
    return frame;
}

QByteArray colourName(QRgb colour)
{
    static const char kHex[] = "0123456789abcdef";
    QByteArray name(7, '#');
    for (int i = 0; i < 6; ++i)
        name[6 - i] = kHex[(colour >> (4 * i)) & 15u];
    return name;
}

QString layerName(const Outline &outline)
{
    return outline.layer.isEmpty() ? QString(QLatin1Char('0')) : outline.layer;
}

} // namespace ztrace
