// (c) the ztrace developers. Licence: see LICENSE.
#include "svg_gradients.h"

#include "text.h"

#include <algorithm>

namespace ztrace {

namespace {

const int kOffsetDecimals = 4; // a ten-thousandth of a gradient changes no colour by a step
const char kName[] = "gradient";

std::string nameOf(std::size_t gradient)
{
    return kName + std::to_string(gradient + 1);
}

void appendAttribute(std::string *text, const char *name, double value, int decimals)
{
    *text += std::string(" ") + name + "=\"";
    appendNumber(text, value, decimals);
    *text += '"';
}

void appendStops(std::string *text, const Gradient &gradient)
{
    for (const GradientStop &stop : gradient.stops) {
        *text += "<stop";
        appendAttribute(text, "offset", stop.at, kOffsetDecimals);
        *text += " stop-color=\"" + colourName(stop.colour).toStdString() + "\"/>";
    }
}

void appendGradient(std::string *text, const Gradient &gradient, std::size_t number,
                    const Frame &frame, int decimals)
{
    const auto x = [&frame](const Point &p) { return p.x - frame.x; };
    const auto y = [&frame](const Point &p) { return frame.y + frame.height - p.y; };
    const char *element = gradient.radial ? "radialGradient" : "linearGradient";
    *text += std::string("<") + element + " id=\"" + nameOf(number)
        + "\" gradientUnits=\"userSpaceOnUse\"";
    if (gradient.radial) {
        appendAttribute(text, "cx", x(gradient.start), decimals);
        appendAttribute(text, "cy", y(gradient.start), decimals);
        appendAttribute(text, "r", gradient.radius, decimals);
    } else {
        appendAttribute(text, "x1", x(gradient.start), decimals);
        appendAttribute(text, "y1", y(gradient.start), decimals);
        appendAttribute(text, "x2", x(gradient.end), decimals);
        appendAttribute(text, "y2", y(gradient.end), decimals);
    }
    *text += '>';
    appendStops(text, gradient);
    *text += std::string("</") + element + ">\n";
}

} // namespace

void appendSvgGradients(std::string *text, const Drawing &drawing, const Frame &frame, int decimals)
{
    const std::vector<Gradient> &gradients = drawing.gradients;
    if (!std::any_of(gradients.begin(), gradients.end(), isUsable))
        return;
    *text += "<defs>\n";
    for (std::size_t k = 0; k < gradients.size(); ++k) {
        if (isUsable(gradients[k]))
            appendGradient(text, gradients[k], k, frame, decimals);
    }
    *text += "</defs>\n";
}

std::string svgGradientReference(int gradient)
{
    return "url(#" + nameOf(std::size_t(gradient)) + ')';
}

} // namespace ztrace
