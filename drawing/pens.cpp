// (c) the ztrace developers. Licence: see LICENSE.
#include "pens.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace {

namespace {

// In the order of the type.
const char *const kLineTypeNames[] = { "continuous", "hidden", "center", "phantom", "dot" };
const LineType kLineTypes[] = { LineType::Continuous, LineType::Hidden, LineType::Center,
                                LineType::Phantom, LineType::Dot };

// Widths that the first dash is long where only the line type is known; ISO 128 has the same for
// dashes and for the long ones of chains.
const double kDashInWidths = 12.0;
const double kLongDashInWidths = 24.0;
const double kDotsInWidths = 3.0; // from one dot to the next

double widthsOf(LineType type)
{
    switch (type) {
    case LineType::Hidden:
        return kDashInWidths / standardPattern(type)[0];
    case LineType::Center:
    case LineType::Phantom:
        return kLongDashInWidths / standardPattern(type)[0];
    case LineType::Dot:
        return kDotsInWidths / standardPattern(type)[1];
    case LineType::Continuous:
        break;
    }
    return 1.0;
}

} // namespace

const char *nameOf(LineType type)
{
    return kLineTypeNames[static_cast<int>(type)];
}

bool lineTypeOfName(const QString &name, LineType *type)
{
    for (LineType other : kLineTypes) {
        if (name == QLatin1String(nameOf(other))) {
            *type = other;
            return true;
        }
    }
    return false;
}

const std::vector<double> &standardPattern(LineType type)
{
    static const std::vector<double> patterns[] = {
        {},
        { 6.35, 3.175 },
        { 31.75, 6.35, 6.35, 6.35 },
        { 31.75, 6.35, 6.35, 6.35, 6.35, 6.35 },
        { 0.0, 6.35 },
    };
    return patterns[static_cast<int>(type)];
}

bool isUsable(const Pen &pen)
{
    if (!(pen.width > 0.0) || !std::isfinite(pen.width))
        return false;
    for (double dash : pen.dashes) {
        if (!(dash >= 0.0) || !std::isfinite(dash))
            return false;
    }
    return pen.dashes.empty() || sumOf(pen.dashes) > 0.0;
}

Pen penOf(const Drawing &drawing, const Outline &stroke)
{
    const std::size_t place = static_cast<std::size_t>(stroke.pen);
    if (stroke.pen < 0 || place >= drawing.pens.size() || !isUsable(drawing.pens[place]))
        return Pen();
    return drawing.pens[place];
}

std::vector<double> dashesOf(const Pen &pen)
{
    std::vector<double> dashes = pen.dashes;
    if (dashes.empty()) {
        dashes = standardPattern(pen.lineType);
        for (double &dash : dashes)
            dash *= pen.width * widthsOf(pen.lineType);
    }
    if (dashes.size() % 2 != 0)
        dashes.insert(dashes.end(), pen.dashes.begin(), pen.dashes.end());
    return dashes;
}

std::vector<double> paintedDashesOf(const Pen &pen)
{
    std::vector<double> dashes = dashesOf(pen);
    for (std::size_t i = 0; i + 1 < dashes.size(); i += 2) {
        double longer = 0.0;
        if (pen.roundEnds)
            longer = -std::min(dashes[i], pen.width);
        else if (dashes[i] == 0.0)
            longer = std::min(dashes[i + 1], pen.width);
        dashes[i] += longer;
        dashes[i + 1] -= longer;
    }
    return dashes;
}

double sumOf(const std::vector<double> &lengths)
{
    return std::accumulate(lengths.begin(), lengths.end(), 0.0);
}

} // namespace ztrace
