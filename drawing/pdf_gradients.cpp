// (c) the ztrace developers. Licence: see LICENSE.
#include "pdf_gradients.h"

#include "text.h"

namespace ztrace {

namespace {

const int kDecimals = 6;       // of places in pixels, as in paths
const int kScaleDecimals = 12; // as in the page's own matrix
const int kColourDecimals = 5;

QByteArray number(double value, int decimals = kDecimals)
{
    return numberText(value, decimals) + ' ';
}

QByteArray colourArray(QRgb colour)
{
    QByteArray text = "[";
    for (int channel : { qRed(colour), qGreen(colour), qBlue(colour) })
        text += number(channel / 255.0, kColourDecimals);
    return text + ']';
}

// From one colour to another, over 0 to 1.
QByteArray linearFunction(QRgb from, QRgb to)
{
    return "<< /FunctionType 2 /Domain [0 1] /N 1 /C0 " + colourArray(from) + " /C1 "
        + colourArray(to) + " >>";
}

// Over 0 to 1 one linear function after another; stops begin and end there.
QByteArray stitched(const std::vector<GradientStop> &stops)
{
    if (stops.size() == 2)
        return linearFunction(stops[0].colour, stops[1].colour);
    QByteArray functions;
    QByteArray bounds;
    QByteArray encode;
    for (std::size_t k = 0; k + 1 < stops.size(); ++k) {
        functions += linearFunction(stops[k].colour, stops[k + 1].colour) + ' ';
        encode += "0 1 ";
        if (k > 0)
            bounds += number(stops[k].at);
    }
    return "<< /FunctionType 3 /Domain [0 1] /Functions [" + functions + "] /Bounds [" + bounds
        + "] /Encode [" + encode + "] >>";
}

// With stops at both ends: before the first and after the last one the colour stays. Bounds have to
// rise, so that of several stops at one place the last one counts, or at 1 the first.
std::vector<GradientStop> wholeStops(const std::vector<GradientStop> &given)
{
    const double kLeastStep = 2e-6; // two of the last decimals
    std::vector<GradientStop> stops;
    if (given.front().at > kLeastStep)
        stops.push_back({ 0.0, given.front().colour });
    for (const GradientStop &stop : given) {
        if (!stops.empty() && stop.at - stops.back().at < kLeastStep)
            stops.back().colour = stop.colour;
        else
            stops.push_back(stop);
    }
    if (stops.back().at < 1.0 - kLeastStep)
        stops.push_back({ 1.0, stops.back().colour });
    if (stops.size() == 1)
        stops.push_back({ 1.0, stops.back().colour });
    stops.front().at = 0.0;
    return stops;
}

QByteArray shadingOf(const Gradient &gradient)
{
    QByteArray places;
    for (const Point &p : { gradient.start, gradient.radial ? gradient.start : gradient.end }) {
        places += number(p.x) + number(p.y);
        if (gradient.radial)
            places += number(places.count(' ') == 2 ? 0.0 : gradient.radius);
    }
    return "<< /ShadingType " + QByteArray(gradient.radial ? "3" : "2")
        + " /ColorSpace /DeviceRGB /Extend [true true] /Coords [" + places + "] /Function "
        + stitched(wholeStops(gradient.stops)) + " >>";
}

} // namespace

QByteArray pdfPatternName(int gradient)
{
    return "/G" + QByteArray::number(gradient);
}

QByteArray pdfPatterns(const Drawing &drawing)
{
    // Patterns count from the page's own corner, whatever matrix the contents have.
    const Frame frame = frameOf(drawing);
    const double scale = drawing.pointsPerPixel();
    const QByteArray factor = number(scale, kScaleDecimals);
    const QByteArray matrix = factor + "0 0 " + factor + number(-frame.x * scale, kScaleDecimals)
        + number(-frame.y * scale, kScaleDecimals);
    QByteArray patterns;
    for (std::size_t k = 0; k < drawing.gradients.size(); ++k) {
        if (isUsable(drawing.gradients[k]))
            patterns += ' ' + pdfPatternName(int(k)) + " << /PatternType 2 /Matrix [" + matrix
                + "] /Shading " + shadingOf(drawing.gradients[k]) + " >>";
    }
    return patterns.isEmpty() ? patterns : " /Pattern <<" + patterns + " >>";
}

} // namespace ztrace
