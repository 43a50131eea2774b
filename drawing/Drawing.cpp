// (c) the ztrace developers. Licence: see LICENSE.
#include "Drawing.h"

#include "inches.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kPointsPerInch = 72.0;
const char *const kUnitNames[] = { "px", "mm", "in" }; // in the order of the type

double effectiveDpi(const Drawing &drawing)
{
    return drawing.dpi > 0.0 ? drawing.dpi : kScreenDpi;
}

} // namespace

const char *nameOf(Unit unit)
{
    return kUnitNames[static_cast<int>(unit)];
}

bool unitOfName(const QString &name, Unit *unit)
{
    for (Unit other : { Unit::Pixel, Unit::Millimetre, Unit::Inch }) {
        if (name == QLatin1String(nameOf(other))) {
            *unit = other;
            return true;
        }
    }
    return false;
}

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

std::vector<Layer> Drawing::layered() const
{
    std::vector<Layer> layers;
    QHash<QString, std::size_t> places;
    std::size_t ofGround = outlines.size();
    for (const Outline &outline : outlines) {
        const QString name = layerName(outline);
        const std::size_t place = places.value(name, layers.size());
        if (place == layers.size()) {
            places.insert(name, place);
            layers.emplace_back();
            layers.back().name = name;
        }
        layers[place].outlines.push_back(&outline);
        if (ofGround == outlines.size() && qAlpha(ground) != 0 && outline.colour == ground)
            ofGround = place;
    }
    if (ofGround < layers.size()) {
        layers[ofGround].hasGround = true;
        const auto first = layers.begin();
        const auto its = first + static_cast<std::ptrdiff_t>(ofGround);
        std::rotate(first, its, its + 1);
    }
    return layers;
}

QStringList Drawing::layers() const
{
    QStringList names;
    for (const Layer &layer : layered())
        names.append(layer.name);
    return names;
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
        const Bounds bounds = boundsOf(outline.shape);
        const Point low = bounds.low;
        const Point high = bounds.high;
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

bool isUsable(const Gradient &gradient)
{
    const auto isNear = [](double value) { return std::fabs(value) <= kFarthestGradient; };
    const auto isPlace = [isNear](const Point &p) { return isNear(p.x) && isNear(p.y); };
    const std::vector<GradientStop> &stops = gradient.stops;
    if (stops.size() < 2 || stops.size() > kMostStops || !isPlace(gradient.start))
        return false;
    double last = 0.0;
    for (const GradientStop &stop : stops) {
        if (!(stop.at >= last && stop.at <= 1.0))
            return false;
        last = stop.at;
    }
    if (gradient.radial)
        return gradient.radius > 0.0 && isNear(gradient.radius);
    return isPlace(gradient.end)
        && (gradient.start.x != gradient.end.x || gradient.start.y != gradient.end.y);
}

const Gradient *gradientOf(const Drawing &drawing, const Outline &outline)
{
    if (outline.pen >= 0 || outline.gradient < 0
        || std::size_t(outline.gradient) >= drawing.gradients.size())
        return nullptr;
    const Gradient &gradient = drawing.gradients[std::size_t(outline.gradient)];
    return isUsable(gradient) ? &gradient : nullptr;
}

std::vector<const Path *> cutOutOf(const Outline &outline, const Drawing &drawing, bool withUnder)
{
    std::vector<const Path *> paths;
    for (std::size_t k = 1; withUnder && k < outline.under.size(); ++k)
        paths.push_back(&outline.under[k]);
    for (int hole : outline.holes)
        paths.push_back(&drawing.outlines[static_cast<std::size_t>(hole)].shape);
    return paths;
}

QString layerName(const Outline &outline)
{
    return outline.layer.isEmpty() ? QString(QLatin1Char('0')) : outline.layer;
}

} // namespace ztrace
