// (c) the ztrace developers. Licence: see LICENSE.
#include "upsample.h"

#include "colour.h"

#include <algorithm>
#include <array>

namespace ztrace {

namespace {

// Three times gives more numbers and no better colours.
const int kUseful = 2;

const int kMixture = 24;       // colourDistance; what is nearer to its label's colour is pure
const double kSoftShare = 0.2; // of the pixels on borders; a soft edge has one in two or three
const double kLarge = 2.5e6;   // pixels of an image that is fine enough as it is

const QRgb *row(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

// Two neighbours along one axis and their weights, of which `factor` parts of a pixel lie at
// different places; the weights add up to 2 * factor.
struct Blend
{
    int here;
    int next;
    int weightOfHere;
    int weightOfNext;
};

Blend blendAt(int pixel, int part, int factor, int size)
{
    const int offset = 2 * part + 1 - factor; // from the pixel's middle, in 2 * factor parts of it
    const int next = std::max(0, std::min(size - 1, pixel + (offset > 0) - (offset < 0)));
    return { pixel, next, 2 * factor - std::abs(offset), std::abs(offset) };
}

// The colour between four pixels; what is transparent has no share in the hue.
QRgb interpolated(const QImage &image, const Blend &x, const Blend &y)
{
    const QRgb *rows[] = { row(image, y.here), row(image, y.next) };
    const int weights[] = { y.weightOfHere, y.weightOfNext };
    int total = 0;
    int alpha = 0;
    int red = 0;
    int green = 0;
    int blue = 0;
    const auto add = [&](QRgb word, int weight) {
        total += weight;
        alpha += weight * qAlpha(word);
        red += weight * qAlpha(word) * qRed(word);
        green += weight * qAlpha(word) * qGreen(word);
        blue += weight * qAlpha(word) * qBlue(word);
    };
    for (int i = 0; i < 2; ++i) {
        add(rows[i][x.here], weights[i] * x.weightOfHere);
        add(rows[i][x.next], weights[i] * x.weightOfNext);
    }
    if (alpha == 0)
        return 0u;
    const auto part = [](int sum, int whole) { return (sum + whole / 2) / whole; };
    return qRgba(part(red, alpha), part(green, alpha), part(blue, alpha), part(alpha, total));
}

// The labels of a pixel and of those around it, each once, the pixel's own first.
class Choice
{
public:
    Choice(const LabelPlane &plane, int x, int y)
    {
        add(labelAt(plane, x, y));
        for (int v = std::max(0, y - 1); v <= std::min(plane.height - 1, y + 1); ++v) {
            for (int u = std::max(0, x - 1); u <= std::min(plane.width - 1, x + 1); ++u)
                add(labelAt(plane, u, v));
        }
    }

    std::size_t size() const { return count; }
    uint16_t own() const { return labels[0]; }

    // The first of the most similar ones.
    uint16_t nearest(QRgb word, const std::vector<QRgb> &colours) const
    {
        std::size_t best = 0;
        int least = colourDistance(word, colours[labels[0]]);
        for (std::size_t i = 1; i < count; ++i) {
            const int distance = colourDistance(word, colours[labels[i]]);
            if (distance < least) {
                best = i;
                least = distance;
            }
        }
        return labels[best];
    }

private:
    static uint16_t labelAt(const LabelPlane &plane, int x, int y)
    {
        return plane.labels[static_cast<std::size_t>(y) * static_cast<std::size_t>(plane.width)
                            + static_cast<std::size_t>(x)];
    }

    void add(uint16_t label)
    {
        if (std::find(labels.begin(), labels.begin() + count, label) == labels.begin() + count)
            labels[count++] = label;
    }

    std::array<uint16_t, 9> labels;
    std::size_t count = 0;
};

} // namespace

int usefulUpsampling(const QImage &image, const LabelPlane &plane)
{
    std::size_t onBorder = 0;
    std::size_t soft = 0;
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const Choice choice(plane, x, y);
            if (choice.size() == 1)
                continue;
            ++onBorder;
            soft += colourDistance(row(image, y)[x], plane.colours[choice.own()]) > kMixture;
        }
    }
    if (soft == 0 || double(soft) < kSoftShare * double(onBorder))
        return 1;
    return double(plane.pixels()) <= kLarge ? kUseful : 1;
}

void useMeanColours(const QImage &image, LabelPlane *plane)
{
    struct Sum
    {
        double count = 0.0;
        double channels[3] = { 0.0, 0.0, 0.0 };
    };
    std::vector<Sum> sums(plane->colours.size());
    std::size_t i = 0;
    for (int y = 0; y < plane->height; ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < plane->width; ++x) {
            Sum &sum = sums[plane->labels[i++]];
            sum.count += 1.0;
            sum.channels[0] += qRed(words[x]);
            sum.channels[1] += qGreen(words[x]);
            sum.channels[2] += qBlue(words[x]);
        }
    }
    for (std::size_t k = 0; k < sums.size(); ++k) {
        const auto mean = [&](int channel) {
            return static_cast<int>(sums[k].channels[channel] / sums[k].count + 0.5);
        };
        if (sums[k].count > 0.0)
            plane->colours[k] = qRgb(mean(0), mean(1), mean(2));
    }
}

LabelPlane upsampled(const QImage &image, const LabelPlane &plane, int factor)
{
    LabelPlane fine;
    fine.width = plane.width * factor;
    fine.height = plane.height * factor;
    fine.colours = plane.colours;
    const std::size_t stride = static_cast<std::size_t>(fine.width);
    fine.labels.resize(stride * static_cast<std::size_t>(fine.height));
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            const Choice choice(plane, x, y);
            uint16_t *corner = fine.labels.data() + static_cast<std::size_t>(y * factor) * stride
                + static_cast<std::size_t>(x * factor);
            for (int j = 0; j < factor; ++j) {
                const Blend down = blendAt(y, j, factor, plane.height);
                for (int i = 0; i < factor; ++i) {
                    uint16_t label = choice.own();
                    if (choice.size() > 1)
                        label = choice.nearest(
                            interpolated(image, blendAt(x, i, factor, plane.width), down),
                            plane.colours);
                    corner[static_cast<std::size_t>(j) * stride + static_cast<std::size_t>(i)]
                        = label;
                }
            }
        }
    }
    return fine;
}

QImage upsampled(const QImage &image, int factor)
{
    QImage fine(image.width() * factor, image.height() * factor, QImage::Format_ARGB32);
    if (fine.isNull())
        return fine;
    for (int y = 0; y < fine.height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(fine.scanLine(y));
        const Blend down = blendAt(y / factor, y % factor, factor, image.height());
        for (int x = 0; x < fine.width(); ++x)
            words[x]
                = interpolated(image, blendAt(x / factor, x % factor, factor, image.width()), down);
    }
    return fine;
}

} // namespace ztrace
