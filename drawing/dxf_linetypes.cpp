// (c) the ztrace developers. Licence: see LICENSE.
#include "dxf_linetypes.h"

#include "pens.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

// Of the pattern's length: proportions that differ by less are the same line type.
const double kSameProportions = 0.05;

const LineType kTypesWithPattern[]
    = { LineType::Hidden, LineType::Center, LineType::Phantom, LineType::Dot };

QByteArray recordName(LineType type)
{
    return QByteArray(nameOf(type)).toUpper();
}

// To 1e-9, which takes away what multiplying has added.
double rounded(double length)
{
    return std::round(length * 1e9) / 1e9;
}

std::vector<double> scaled(std::vector<double> lengths, double factor)
{
    for (double &length : lengths)
        length = rounded(length * factor);
    return lengths;
}

bool areAlike(const std::vector<double> &a, const std::vector<double> &b)
{
    const double most = kSameProportions * sumOf(a);
    return a.size() == b.size()
        && std::equal(a.begin(), a.end(), b.begin(),
                      [most](double x, double y) { return std::fabs(x - y) <= most; });
}

} // namespace

DxfLineTypes::DxfLineTypes(const Drawing &drawing, DxfVersion version)
{
    if (drawing.pens.empty())
        return;
    for (LineType type : kTypesWithPattern)
        all.push_back({ recordName(type), type, standardPattern(type) });
    taken.assign(all.size(), false);
    for (const Pen &pen : drawing.pens)
        uses.push_back(isUsable(pen)
                           ? useFor(pen, drawing.unitsPerPixel(), version != DxfVersion::R12)
                           : Use());
}

DxfLineTypes::Use DxfLineTypes::useFor(const Pen &pen, double unitsPerPixel, bool isScaled)
{
    std::vector<double> pattern = dashesOf(pen);
    Use use;
    const double length = sumOf(pattern) * unitsPerPixel;
    if (pattern.empty() || !(length > 0.0) || !std::isfinite(length))
        return use;
    // What has dashes is dashed, whatever it is called.
    const LineType type = pen.lineType == LineType::Continuous ? LineType::Hidden : pen.lineType;
    const double standard = sumOf(standardPattern(type));
    if (isScaled) {
        use.scale = std::max(rounded(length / standard), 1e-9);
    }
    pattern = scaled(pattern, unitsPerPixel / use.scale);
    if (type == LineType::Dot && pattern.size() == 2)
        pattern = { 0.0, pattern[0] + pattern[1] };
    use.record = recordFor(type, pattern);
    return use;
}

int DxfLineTypes::recordFor(LineType type, const std::vector<double> &pattern)
{
    int ofType = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].type != type)
            continue;
        ++ofType;
        if (!taken[i])
            all[i].pattern = pattern;
        taken[i] = true;
        if (areAlike(all[i].pattern, pattern))
            return static_cast<int>(i);
    }
    all.push_back({ recordName(type) + '_' + QByteArray::number(ofType + 1), type, pattern });
    taken.push_back(true);
    return static_cast<int>(all.size()) - 1;
}

const DxfLineType *DxfLineTypes::recordOf(int pen) const
{
    const std::size_t place = static_cast<std::size_t>(pen);
    return pen >= 0 && place < uses.size() && uses[place].record >= 0
        ? &all[static_cast<std::size_t>(uses[place].record)]
        : nullptr;
}

double DxfLineTypes::scaleOf(int pen) const
{
    const std::size_t place = static_cast<std::size_t>(pen);
    return pen >= 0 && place < uses.size() ? uses[place].scale : 1.0;
}

int dxfLineWeight(double millimetres)
{
    static const int kSeries[] = { 0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                   53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211 };
    const double hundredths = 100.0 * millimetres;
    int best = kSeries[0];
    for (int weight : kSeries) {
        if (std::fabs(weight - hundredths) < std::fabs(best - hundredths))
            best = weight;
    }
    return best;
}

} // namespace ztrace
