// (c) the ztrace developers. Licence: see LICENSE.
//
// Random pictures and option sets.
#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <QStringList>

namespace ztrace {

namespace {

using Painter = void (*)(Picture &, Random &);

std::vector<std::uint32_t> someColours(Random &random, int count)
{
    std::vector<std::uint32_t> colours;
    for (int i = 0; i < count; ++i)
        colours.push_back(random.oneIn(4) ? random.word() : random.word() | 0xFF000000u);
    return colours;
}

std::uint32_t grey(int value, int alpha = 255)
{
    const auto v = static_cast<std::uint32_t>(value & 255);
    return static_cast<std::uint32_t>(alpha) << 24 | v << 16 | v << 8 | v;
}

template<typename Rule>
void paint(Picture &picture, Rule rule)
{
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            picture.at(x, y) = rule(x, y);
}

void noise(Picture &picture, Random &random)
{
    paint(picture, [&](int, int) { return random.word(); });
}

void opaqueNoise(Picture &picture, Random &random)
{
    paint(picture, [&](int, int) { return random.word() | 0xFF000000u; });
}

void fewColours(Picture &picture, Random &random)
{
    const int count = random.between(2, 6);
    const std::vector<std::uint32_t> colours = someColours(random, count);
    paint(picture,
          [&](int, int) { return colours[static_cast<std::size_t>(random.below(count))]; });
}

void blackAndWhite(Picture &picture, Random &random)
{
    const int share = random.between(1, 9);
    paint(picture, [&](int, int) { return random.below(10) < share ? 0xFF000000u : 0xFFFFFFFFu; });
}

void blobs(Picture &picture, Random &random)
{
    const std::vector<std::uint32_t> colours = someColours(random, 6);
    paint(picture, [&](int, int) { return colours[0]; });
    for (int i = random.between(1, 8); i > 0; --i) {
        const int cx = random.below(picture.width);
        const int cy = random.below(picture.height);
        const int r = random.between(0, std::max(picture.width, picture.height) / 2);
        const std::uint32_t colour = colours[static_cast<std::size_t>(random.below(6))];
        const bool round = random.oneIn(2);
        paint(picture, [&](int x, int y) {
            const int dx = std::abs(x - cx);
            const int dy = std::abs(y - cy);
            const bool inside = round ? dx * dx + dy * dy <= r * r : std::max(dx, dy) <= r;
            return inside ? colour : picture.at(x, y);
        });
    }
}

void gradient(Picture &picture, Random &random)
{
    const int fx = random.between(-9, 9);
    const int fy = random.between(-9, 9);
    const int jitter = random.between(1, 12);
    const int fade = random.below(3);
    paint(picture, [&](int x, int y) {
        return grey(x * fx + y * fy + random.below(jitter), fade == 0 ? (x * 16) & 255 : 255);
    });
}

void transparentParts(Picture &picture, Random &random)
{
    blobs(picture, random);
    const std::uint32_t alphas[4] = { 0u, 127u, 128u, 255u };
    paint(picture, [&](int x, int y) {
        const std::uint32_t colour = picture.at(x, y) & 0xFFFFFFu;
        const bool half = (x + y) * 2 < picture.width + picture.height;
        return colour | alphas[half ? random.below(4) : 3] << 24;
    });
}

void checkerboard(Picture &picture, Random &random)
{
    const std::vector<std::uint32_t> colours = someColours(random, 3);
    const int side = random.between(1, 3);
    const auto count = static_cast<std::size_t>(random.between(2, 3));
    paint(picture, [&](int x, int y) {
        return colours[static_cast<std::size_t>(x / side + y / side) % count];
    });
}

void diagonalStripes(Picture &picture, Random &random)
{
    const std::vector<std::uint32_t> colours = someColours(random, 3);
    const int period = random.between(2, 5);
    const int slope = random.oneIn(2) ? 1 : -1;
    paint(picture, [&](int x, int y) {
        const int phase = (x + slope * y + 1000 * period) % period;
        return colours[static_cast<std::size_t>(std::min(phase, 2))];
    });
}

void nestedRings(Picture &picture, Random &random)
{
    const std::vector<std::uint32_t> colours = someColours(random, 3);
    const int thickness = random.between(1, 3);
    const bool slanted = random.oneIn(2);
    paint(picture, [&](int x, int y) {
        const int dx = std::abs(2 * x - picture.width) / 2;
        const int dy = std::abs(2 * y - picture.height) / 2;
        const int ring = (slanted ? dx + dy : std::max(dx, dy)) / thickness;
        return colours[static_cast<std::size_t>(ring % 3)];
    });
}

void twoColourNoise(Picture &picture, Random &random)
{
    paint(picture, [&](int, int) { return random.oneIn(2) ? 0xFF102030u : 0xFFF0E0D0u; });
}

void threeColourNoise(Picture &picture, Random &random)
{
    const std::uint32_t colours[3] = { 0xFF102030u, 0xFFF0E0D0u, 0x40408000u };
    paint(picture, [&](int, int) { return colours[random.below(3)]; });
}

// Mostly one colour: most nodes have four equal neighbours.
void speckles(Picture &picture, Random &random)
{
    const std::vector<std::uint32_t> colours = someColours(random, 2);
    const int rarity = random.between(5, 60);
    paint(picture, [&](int, int) { return colours[random.oneIn(rarity) ? 1 : 0]; });
}

struct Shape
{
    const char *name;
    Painter painter;
};

const Shape kShapes[] = {
    { "noise", noise },
    { "opaque noise", opaqueNoise },
    { "few colours", fewColours },
    { "black and white", blackAndWhite },
    { "blobs", blobs },
    { "gradient", gradient },
    { "transparent parts", transparentParts },
    { "checkerboard", checkerboard },
    { "diagonal stripes", diagonalStripes },
    { "nested rings", nestedRings },
    { "speckles", speckles },
};

const Shape kSaddleShapes[] = {
    { "two-colour noise", twoColourNoise }, { "three-colour noise", threeColourNoise },
    { "checkerboard", checkerboard },       { "diagonal stripes", diagonalStripes },
    { "nested rings", nestedRings },        { "speckles", speckles },
};

Picture drawn(const Shape &shape, Random &random, int width, int height)
{
    Picture picture = uniformPicture(width, height);
    picture.shape = shape.name;
    shape.painter(picture, random);
    return picture;
}

// A value that an option is not meant to have.
double oddValue(Random &random)
{
    const double values[] = { std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              1e300,
                              -1e300,
                              4e9,
                              -4e9,
                              -1.0,
                              -0.5,
                              -0.0,
                              0.0,
                              0.5,
                              0.999999,
                              2147483648.0,
                              1e-300 };
    return values[random.below(static_cast<int>(std::size(values)))];
}

double soundValue(const QString &name, Random &random)
{
    if (name == "monochrome")
        return random.oneIn(4) ? 1 : 0;
    if (name == "numberofcolors")
        return random.oneIn(8) ? random.between(17, 300) : random.between(1, 16);
    if (name == "mincolorratio")
        return random.oneIn(3) ? 0 : random.unit() * 0.3;
    if (name == "colorquantcycles")
        return random.oneIn(30) ? random.between(6, 40)
                                : random.between(-1, 5) + (random.oneIn(4) ? 0.7 : 0.0);
    if (name == "colorsampling")
        return random.oneIn(2) ? 1 : 0;
    if (name == "blurradius")
        return random.oneIn(3) ? 0 : random.unit() * 7;
    if (name == "blurdelta")
        return random.between(-100, 1100);
    if (name == "pathomit")
        return random.oneIn(2) ? 0 : random.between(-1, 20);
    if (name == "ltres" || name == "qtres")
        return random.oneIn(4) ? 0 : random.unit() * random.unit() * 3;
    return random.between(-1, 256); // the two thresholds
}

} // namespace

quint64 testSeed()
{
    bool isNumber = false;
    const quint64 seed = qgetenv("ZTRACE_TEST_SEED").toULongLong(&isNumber);
    return isNumber ? seed : 20240611u;
}

QImage Picture::toImage() const
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        std::copy_n(words.begin() + static_cast<std::ptrdiff_t>(y) * width, width, line);
    }
    return image;
}

QString Picture::describe() const
{
    return QString("%1x%2 %3").arg(width).arg(height).arg(shape);
}

Picture uniformPicture(int width, int height, std::uint32_t word)
{
    Picture picture;
    picture.width = width;
    picture.height = height;
    picture.words.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), word);
    picture.shape = "uniform";
    return picture;
}

Picture letterPicture(const QStringList &rows, const QMap<QChar, quint32> &colours)
{
    Picture picture = uniformPicture(rows.isEmpty() ? 0 : rows.first().size(), rows.size());
    picture.shape = rows.join('/');
    paint(picture, [&](int x, int y) { return colours.value(rows.at(y).at(x)); });
    return picture;
}

Picture randomPicture(Random &random, int largest)
{
    int width = random.between(1, largest);
    int height = random.between(1, largest);
    switch (random.below(10)) {
    case 0:
        width = 1;
        break;
    case 1:
        height = 1;
        break;
    case 2:
        width = random.between(1, 4);
        height = random.between(1, 4);
        break;
    default:
        break;
    }
    const Shape &shape = kShapes[random.below(static_cast<int>(std::size(kShapes)))];
    return drawn(shape, random, width, height);
}

Picture saddlePicture(Random &random, int width, int height)
{
    const Shape &shape = kSaddleShapes[random.below(static_cast<int>(std::size(kSaddleShapes)))];
    return drawn(shape, random, width, height);
}

QMap<QString, double> randomOptions(Random &random)
{
    const char *const names[]
        = { "monochrome",    "numberofcolors", "mincolorratio",  "colorquantcycles",
            "colorsampling", "blurradius",     "blurdelta",      "pathomit",
            "ltres",         "qtres",          "alphathreshold", "brightnessthreshold" };
    QMap<QString, double> options;
    const bool odd = random.oneIn(4);
    for (const char *name : names) {
        if (random.oneIn(6))
            continue; // stays at its default
        double value = soundValue(name, random);
        if (odd && random.oneIn(4))
            value = oddValue(random);
        // So many cycles would not end.
        if (qstrcmp(name, "colorquantcycles") == 0 && value > 40)
            value = 2;
        options.insert(name, value);
    }
    return options;
}

QString describe(const QMap<QString, double> &options)
{
    QStringList texts;
    for (auto it = options.begin(); it != options.end(); ++it)
        texts.append(QString("%1=%2").arg(it.key()).arg(it.value(), 0, 'g', 17));
    return texts.join(' ');
}

} // namespace ztrace
