// (c) the ztrace developers. Licence: see LICENSE.
#include "plain.h"

#include "imaging/colour.h"
#include "imaging/segment.h"

#include <algorithm>
#include <array>

namespace ztrace {
namespace plain {

namespace {

const int kMixture = 24;       // colourDistance; what is nearer to its label's colour is pure
const double kSoftShare = 0.2; // of the pixels on borders; a soft edge has one in two or three

// Four neighbours along one axis and their weights, which add up to 1: a cubic through the pixels'
// colours, which keeps the height of narrow peaks. Source: E. Catmull and R. Rom, 1974.
struct Taps
{
    std::array<int, 4> pixels;
    std::array<double, 4> weights;
};

// For the part of a pixel that is `part` of `factor`; beyond the rim of the image its last pixel
// goes on.
Taps tapsAt(int pixel, int part, int factor, int size)
{
    const double offset = (2.0 * part + 1.0 - factor) / (2.0 * factor); // from the pixel's middle
    const int first = offset < 0.0 ? pixel - 2 : pixel - 1;
    const double t = offset < 0.0 ? offset + 1.0 : offset;
    Taps taps;
    for (int i = 0; i < 4; ++i)
        taps.pixels[static_cast<std::size_t>(i)] = std::max(0, std::min(size - 1, first + i));
    taps.weights = { ((-t + 2.0) * t - 1.0) * t / 2.0, ((3.0 * t - 5.0) * t * t + 2.0) / 2.0,
                     ((-3.0 * t + 4.0) * t + 1.0) * t / 2.0, (t - 1.0) * t * t / 2.0 };
    return taps;
}

// The colour between the pixels; what is transparent has no share in the hue.
QRgb interpolated(const QImage &image, const Taps &x, const Taps &y)
{
    double alpha = 0.0;
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    for (std::size_t j = 0; j < 4; ++j) {
        const QRgb *words = row(image, y.pixels[j]);
        for (std::size_t i = 0; i < 4; ++i) {
            const QRgb word = words[x.pixels[i]];
            const double weight = y.weights[j] * x.weights[i] * qAlpha(word);
            alpha += weight;
            red += weight * qRed(word);
            green += weight * qGreen(word);
            blue += weight * qBlue(word);
        }
    }
    const auto inRange = [](double value) {
        return static_cast<int>(std::max(0.0, std::min(255.0, value)) + 0.5);
    };
    if (inRange(alpha) == 0)
        return 0u;
    return qRgba(inRange(red / alpha), inRange(green / alpha), inRange(blue / alpha),
                 inRange(alpha));
}

// The labels of a pixel and of those around it, each once, the pixel's own first. The colour of
// each is the label's, but where the pixels show nothing near that, as a line thinner than a pixel
// does: there it is the nearest that they show.
class Choice
{
public:
    Choice(const QImage &picture, const LabelPlane &source, int x, int y)
        : image(picture), plane(source)
    {
        add(x, y);
        for (int v = std::max(0, y - 1); v <= std::min(plane.height - 1, y + 1); ++v) {
            for (int u = std::max(0, x - 1); u <= std::min(plane.width - 1, x + 1); ++u)
                add(u, v);
        }
    }

    std::size_t size() const { return count; }
    uint16_t own() const { return labels[0]; }

    // The first of the most similar ones.
    uint16_t nearest(QRgb word) const
    {
        std::size_t best = 0;
        int least = colourDistance(word, colourOf(0));
        for (std::size_t i = 1; i < count; ++i) {
            const int distance = colourDistance(word, colourOf(i));
            if (distance < least) {
                best = i;
                least = distance;
            }
        }
        return labels[best];
    }

private:
    void add(int x, int y)
    {
        const uint16_t label
            = plane.labels[static_cast<std::size_t>(y) * static_cast<std::size_t>(plane.width)
                           + static_cast<std::size_t>(x)];
        const QRgb word = row(image, y)[x];
        const int distance = colourDistance(word, plane.colours[label]);
        const std::size_t place = static_cast<std::size_t>(
            std::find(labels.begin(), labels.begin() + count, label) - labels.begin());
        if (place < count && distance >= distances[place])
            return;
        labels[place] = label;
        shown[place] = word;
        distances[place] = distance;
        count = std::max(count, place + 1);
    }

    QRgb colourOf(std::size_t i) const
    {
        return distances[i] <= kDiluted ? plane.colours[labels[i]] : shown[i];
    }

    static const int kDiluted = 96; // colourDistance

    const QImage &image;
    const LabelPlane &plane;
    std::array<uint16_t, 9> labels;
    std::array<QRgb, 9> shown;
    std::array<int, 9> distances;
    std::size_t count = 0;
};

template<typename Choose>
LabelPlane refine(const QImage &image, const LabelPlane &plane, int factor, const Choose &choose)
{
    LabelPlane fine;
    fine.width = plane.width * factor;
    fine.height = plane.height * factor;
    fine.colours = plane.colours;
    const std::size_t stride = static_cast<std::size_t>(fine.width);
    fine.labels.resize(stride * static_cast<std::size_t>(fine.height));
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const Choice choice(image, plane, x, y);
            uint16_t *corner = fine.labels.data() + static_cast<std::size_t>(y * factor) * stride
                + static_cast<std::size_t>(x * factor);
            for (int j = 0; j < factor; ++j) {
                const Taps down = tapsAt(y, j, factor, plane.height);
                for (int i = 0; i < factor; ++i) {
                    uint16_t label = choice.own();
                    if (choice.size() > 1)
                        label = choose(
                            choice, interpolated(image, tapsAt(x, i, factor, plane.width), down));
                    corner[static_cast<std::size_t>(j) * stride + static_cast<std::size_t>(i)]
                        = label;
                }
            }
        }
    }
    return fine;
}

} // namespace

bool hasSoftEdges(const QImage &image, const LabelPlane &plane)
{
    std::size_t onBorder = 0;
    std::size_t soft = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const Choice choice(image, plane, x, y);
            if (choice.size() == 1)
                continue;
            ++onBorder;
            soft += colourDistance(row(image, y)[x], plane.colours[choice.own()]) > kMixture;
        }
    }
    return soft > 0 && double(soft) >= kSoftShare * double(onBorder);
}

LabelPlane upsampled(const QImage &image, const LabelPlane &plane, int factor)
{
    return refine(image, plane, factor,
                  [](const Choice &choice, QRgb word) { return choice.nearest(word); });
}

} // namespace plain
} // namespace ztrace
