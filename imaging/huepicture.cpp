// (c) the ztrace developers. Licence: see LICENSE.
#include "huepicture.h"

#include "colour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

const int kReach = 4;            // pixels to each side in which hues follow lightness, or do not
const float kLeastDetail = 2.0f; // steps of lightness
const double kLeastSpread = 9.0; // variance of lightness
const double kLeastHue = 1.0;    // variance of both hues
// Of the variance of hues, what lightness explains: from here on hues follow it in part, and fully.
const double kExplained = 0.5;
const double kFullyExplained = 0.8;

// Of what hues would have to follow lightness by, what they have already: at most so much where
// they were kept at half the resolution, and at least so much where they were not.
const double kOfHalved = 0.45;
const double kOfWhole = 0.7;

const float kBlueScale = 0.564f; // of blue less lightness, to +-127.5
const float kRedScale = 0.713f;

uint8_t byteOf(float value)
{
    return uint8_t(std::max(0.0f, std::min(255.0f, value)) + 0.5f);
}

// What a window sums up, for each pixel.
enum Sum { Count, Light, Light2, Blue, Blue2, LightBlue, Red, Red2, LightRed, kSums };
typedef std::array<double, kSums> Sums;

void add(const Sums &more, double sign, Sums *sums)
{
    for (std::size_t k = 0; k < kSums; ++k)
        (*sums)[k] += sign * more[k];
}

// How much hues change with one step of lightness.
struct Slope
{
    double blue = 0.0;
    double red = 0.0;
};

Slope slopeOf(const Sums &s)
{
    const double n = s[Count];
    const auto covariance = [&](Sum ab, Sum a, Sum b) { return s[ab] / n - s[a] / n * (s[b] / n); };
    const double spread = covariance(Light2, Light, Light);
    const double hues = covariance(Blue2, Blue, Blue) + covariance(Red2, Red, Red);
    if (spread < kLeastSpread || hues < kLeastHue)
        return Slope();
    const double blue = covariance(LightBlue, Light, Blue);
    const double red = covariance(LightRed, Light, Red);
    const double explained = (blue * blue + red * red) / spread / hues;
    const double part = (explained - kExplained) / (kFullyExplained - kExplained);
    const double weight = std::max(0.0, std::min(1.0, part));
    return { weight * blue / spread, weight * red / spread };
}

} // namespace

Hue hueOf(QRgb word)
{
    const float red = float(qRed(word));
    const float blue = float(qBlue(word));
    const float light = 0.299f * red + 0.587f * float(qGreen(word)) + 0.114f * blue;
    return { light, kBlueScale * (blue - light), kRedScale * (red - light) };
}

QRgb wordOf(const Hue &hue)
{
    const float red = hue.light + hue.red / kRedScale;
    const float blue = hue.light + hue.blue / kBlueScale;
    const float green = (hue.light - 0.299f * red - 0.114f * blue) / 0.587f;
    return qRgb(byteOf(red), byteOf(green), byteOf(blue));
}

Mixture mixtureNear(const Hue &own, const Hue &a, const Hue &b, float ofHue, float beyond)
{
    const Hue way = { b.light - a.light, b.blue - a.blue, b.red - a.red };
    const Hue off = { own.light - a.light, own.blue - a.blue, own.red - a.red };
    const auto product = [ofHue](const Hue &u, const Hue &v) {
        return u.light * v.light + ofHue * (u.blue * v.blue + u.red * v.red);
    };
    const float part = product(off, way) / std::max(1.0f, product(way, way));
    const auto partsOfWay = [&way](float p) {
        return Hue { p * way.light, p * way.blue, p * way.red };
    };
    const Hue near = partsOfWay(std::max(-beyond, std::min(1.0f + beyond, part)));
    const Hue left = { off.light - near.light, off.blue - near.blue, off.red - near.red };
    const Hue mixed = partsOfWay(std::max(0.0f, std::min(1.0f, part)));
    return { { a.light + mixed.light, a.blue + mixed.blue, a.red + mixed.red },
             product(left, left) };
}

float apart(const Hue &a, const Hue &b)
{
    const float light = a.light - b.light;
    const float blue = a.blue - b.blue;
    const float red = a.red - b.red;
    return std::sqrt(light * light + 0.5f * (blue * blue + red * red));
}

HuePicture::HuePicture(const QImage &image) : columns(image.width()), rows(image.height())
{
    const std::size_t pixels = std::size_t(columns) * std::size_t(rows);
    for (std::vector<int16_t> *plane : { &lights, &blues, &reds })
        plane->reserve(pixels);
    for (int y = 0; y < rows; ++y) {
        const QRgb *words = row(image, y);
        for (int x = 0; x < columns; ++x) {
            const Hue hue = hueOf(words[x]);
            lights.push_back(int16_t(std::lround(hue.light * kScale)));
            blues.push_back(int16_t(std::lround(hue.blue * kScale)));
            reds.push_back(int16_t(std::lround(hue.red * kScale)));
        }
    }
}

// The plane as it is when it was kept as means of 2 x 2 pixels and interpolated between their
// centres.
float HuePicture::softened(const std::vector<int16_t> &plane, int x, int y) const
{
    const auto mean = [&](int u, int v) {
        const int left = std::max(0, std::min(u, (columns - 1) / 2)) * 2;
        const int top = std::max(0, std::min(v, (rows - 1) / 2)) * 2;
        const int right = std::min(left + 1, columns - 1);
        const int bottom = std::min(top + 1, rows - 1);
        return plane[at(left, top)] + plane[at(right, top)] + plane[at(left, bottom)]
            + plane[at(right, bottom)];
    };
    const int u = x / 2;
    const int v = y / 2;
    const int beside = u + (x % 2 != 0 ? 1 : -1);
    const int below = v + (y % 2 != 0 ? 1 : -1);
    const int sum = 9 * mean(u, v) + 3 * mean(beside, v) + 3 * mean(u, below) + mean(beside, below);
    return float(sum) / (64.0f * kScale);
}

// Sums over the squares around the pixels of a row, whose columns are kept from row to row. Rows
// are asked for from the top, each once.
class HuePicture::Windows
{
public:
    explicit Windows(const HuePicture &of)
        : picture(of), sumsOfColumn(std::size_t(of.columns), Sums {}),
          soft(std::size_t(of.columns) * kRows)
    {
        for (int y = 0; y < std::min(kReach, of.rows); ++y)
            addRow(y);
    }

    void goTo(int y)
    {
        if (y + kReach < picture.rows)
            addRow(y + kReach);
        if (y > kReach)
            takeRow(y - kReach - 1);
        window = Sums {};
        for (int x = 0; x < std::min(kReach, picture.columns); ++x)
            add(sumsOfColumn[std::size_t(x)], 1.0, &window);
    }

    // The sums around pixel x; asked for from the left, each once.
    const Sums &around(int x)
    {
        if (x + kReach < picture.columns)
            add(sumsOfColumn[std::size_t(x + kReach)], 1.0, &window);
        if (x > kReach)
            add(sumsOfColumn[std::size_t(x - kReach - 1)], -1.0, &window);
        return window;
    }

    float softLight(int x, int y) const { return soft[placeOf(x, y)]; }

private:
    static const int kRows = 2 * kReach + 2; // one more than a window has

    std::size_t placeOf(int x, int y) const
    {
        return std::size_t(y % kRows) * std::size_t(picture.columns) + std::size_t(x);
    }

    void addRow(int y)
    {
        for (int x = 0; x < picture.columns; ++x) {
            soft[placeOf(x, y)] = picture.softened(picture.lights, x, y);
            add(sumsAt(x, y), 1.0, &sumsOfColumn[std::size_t(x)]);
        }
    }

    void takeRow(int y)
    {
        for (int x = 0; x < picture.columns; ++x)
            add(sumsAt(x, y), -1.0, &sumsOfColumn[std::size_t(x)]);
    }

    Sums sumsAt(int x, int y) const
    {
        const double light = softLight(x, y);
        const Hue own = picture[picture.at(x, y)];
        const double blue = own.blue;
        const double red = own.red;
        return { { 1.0, light, light * light, blue, blue * blue, light * blue, red, red * red,
                   light * red } };
    }

    const HuePicture &picture;
    std::vector<Sums> sumsOfColumn;
    std::vector<float> soft; // lightness as hues see it, of the last rows
    Sums window = Sums {};
};

// Calls use(place, x, y, blue, red) with what hues lack at a pixel if they follow lightness.
template<typename Use>
void HuePicture::forEachDetail(Windows *windows, const Use &use) const
{
    for (int y = 0; y < rows; ++y) {
        windows->goTo(y);
        for (int x = 0; x < columns; ++x) {
            const Sums &sums = windows->around(x);
            const float detail = lights[at(x, y)] / kScale - windows->softLight(x, y);
            if (std::fabs(detail) < kLeastDetail)
                continue;
            const Slope slope = slopeOf(sums);
            if (slope.blue != 0.0 || slope.red != 0.0)
                use(at(x, y), x, y, float(slope.blue) * detail, float(slope.red) * detail);
        }
    }
}

// What hues lack they may have already, where they were kept at full resolution.
float HuePicture::shareToAdd(Windows *windows) const
{
    double there = 0.0;
    double all = 0.0;
    forEachDetail(windows, [&](std::size_t place, int x, int y, float blue, float red) {
        there += double(blue) * (blues[place] / kScale - softened(blues, x, y))
            + double(red) * (reds[place] / kScale - softened(reds, x, y));
        all += double(blue) * blue + double(red) * red;
    });
    const double share = (kOfWhole - there / std::max(all, 1.0)) / (kOfWhole - kOfHalved);
    return float(std::max(0.0, std::min(1.0, share)));
}

void HuePicture::sharpen()
{
    Windows asked(*this);
    const float share = shareToAdd(&asked);
    std::vector<int16_t> newBlues(blues);
    std::vector<int16_t> newReds(reds);
    Windows windows(*this);
    const auto moved = [&](int16_t value, float by) {
        const float most = 127.5f;
        const float sum = value / kScale + share * by;
        return int16_t(std::lround(std::max(-most, std::min(most, sum)) * kScale));
    };
    forEachDetail(&windows, [&](std::size_t place, int, int, float blue, float red) {
        newBlues[place] = moved(blues[place], blue);
        newReds[place] = moved(reds[place], red);
    });
    blues = std::move(newBlues);
    reds = std::move(newReds);
}

} // namespace ztrace
