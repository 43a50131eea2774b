// (c) the ztrace developers. Licence: see LICENSE.
//
// Draws the input.png of every golden case: draw_golden_inputs <folder tests/golden>
//
// Whole numbers and a small generator of its own, so that the pixels never change. Greys are what
// the black-and-white cases hold: their lightness is the same in all releases of the toolkit.
#include <QDir>
#include <QImage>

#include <cstdint>
#include <cstdio>
#include <functional>

namespace {

const QRgb kClear = 0x00000000u;
const QRgb kInk = 0xFF1E2832u;
const QRgb kPaper = 0xFFF0EBDCu;
const QRgb kRed = 0xFFC83223u;

typedef std::function<QRgb(int x, int y)> Rule;

struct Case
{
    const char *name;
    int width;
    int height;
    Rule rule;
};

// 0 to limit - 1, the same for the same place.
int scattered(int x, int y, int limit)
{
    uint32_t bits = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u;
    for (int i = 0; i < 3; ++i) {
        bits ^= bits >> 15;
        bits *= 0x2C1B3C6Du;
    }
    return static_cast<int>((bits >> 8) % static_cast<uint32_t>(limit));
}

bool inEllipse(int x, int y, int centreX, int centreY, int radiusX, int radiusY)
{
    const int dx = (x - centreX) * radiusY;
    const int dy = (y - centreY) * radiusX;
    return dx * dx + dy * dy <= radiusX * radiusX * radiusY * radiusY;
}

QRgb letterO(int x, int y)
{
    return inEllipse(x, y, 19, 23, 16, 20) && !inEllipse(x, y, 19, 23, 8, 12) ? kInk : kPaper;
}

QRgb saddles(int x, int y)
{
    return scattered(x, y, 2) ? kInk : kPaper;
}

QRgb gradient(int x, int y)
{
    return qRgb(40 + 4 * x, 200 - 3 * y, 90 + x + 2 * y);
}

// A disc with a soft edge and a bar across it, on nothing.
QRgb transparentLogo(int x, int y)
{
    if (inEllipse(x, y, 24, 18, 12, 12) && y >= 16 && y < 21)
        return kPaper;
    if (inEllipse(x, y, 24, 18, 15, 15))
        return kRed;
    return inEllipse(x, y, 24, 18, 17, 17) ? (kRed & 0xFFFFFFu) | 0x78000000u : kClear;
}

QRgb thinLines(int x, int y)
{
    const bool line = y == 4 || x == 7 || x == y || x + 2 * y == 60 || (x * x / 40 == y && x > 9);
    return line ? kInk : kPaper;
}

QRgb threeColourNoise(int x, int y)
{
    const QRgb colours[3] = { kInk, kPaper, kRed };
    return colours[scattered(x / 2, y / 2, 3)];
}

// Greys from black to white, opaque on the left and clear on the right.
QRgb greyRamp(int x, int y)
{
    const int grey = (x * 7 + y * 3) & 255;
    return qRgba(grey, grey, grey, 255 - 5 * x);
}

QRgb manyColours(int x, int y)
{
    return qRgb(scattered(x / 3, y / 3, 256), scattered(y / 3, x / 3 + 100, 256),
                scattered(x / 3 + 200, y / 3, 256));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: draw_golden_inputs <folder>\n");
        return 2;
    }
    const Case cases[] = { { "letter-o", 40, 48, letterO },
                           { "saddles", 24, 24, saddles },
                           { "gradient-blurred", 48, 32, gradient },
                           { "transparent-logo", 48, 36, transparentLogo },
                           { "thin-lines", 40, 40, thinLines },
                           { "three-colour-noise", 36, 30, threeColourNoise },
                           { "black-and-white", 50, 24, greyRamp },
                           { "many-colours", 40, 30, manyColours } };
    for (const Case &drawn : cases) {
        QImage image(drawn.width, drawn.height, QImage::Format_ARGB32);
        for (int y = 0; y < drawn.height; ++y)
            for (int x = 0; x < drawn.width; ++x)
                image.setPixel(x, y, drawn.rule(x, y));
        const QString folder = QString::fromLocal8Bit(argv[1]) + '/' + drawn.name;
        if (!QDir().mkpath(folder) || !image.save(folder + "/input.png")) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(folder));
            return 1;
        }
    }
    return 0;
}
