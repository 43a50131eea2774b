// (c) the ztrace developers. Licence: see LICENSE.
//
// The kind of drawn pictures, and the features that decide it against their definitions pixel by
// pixel. ZTRACE_TEST_SEED in the environment takes another seed.
#include "imaging/Picture.h"
#include "imaging/classify.h"
#include "imaging/colour.h"
#include "imaging/colourfeatures.h"
#include "imaging/failure.h"
#include "RandomImages.h"

#include <QHash>
#include <QImage>
#include <QSet>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>

using namespace ztrace;
using namespace randomimages;

namespace {

typedef std::function<QRgb(int x, int y)> Paint;

QImage drawn(int width, int height, const Paint &paint)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, paint(x, y));
    }
    return image;
}

QRgb grey(int value)
{
    return qRgb(value, value, value);
}

bool inText(int x, int y)
{
    return y % 12 < 7 && (x * 7 + y / 12 * 13) % 11 < 3;
}

// Dark text on light paper, with grain.
QRgb page(int x, int y)
{
    const int grain = (x * 31 + y * 17) % 9;
    return inText(x, y) ? grey(20 + grain) : grey(245 + grain);
}

Classification classified(const QImage &image)
{
    Picture picture(image);
    return classify(&picture);
}

ColourFeatures plainFeatures(const QImage &image)
{
    ColourFeatures features;
    QSet<QRgb> colours;
    QHash<QRgb, int> flatColours;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb word = image.pixel(x, y);
            colours.insert(word);
            if (qAlpha(word) == 0) {
                ++features.clear;
                continue;
            }
            ++features.visible;
            const int most = std::max({ qRed(word), qGreen(word), qBlue(word) });
            const int least = std::min({ qRed(word), qGreen(word), qBlue(word) });
            features.coloured += most - least > 24;
            const int right = std::min(x + 1, image.width() - 1);
            const int below = std::min(y + 1, image.height() - 1);
            if (word == image.pixel(right, y) && word == image.pixel(x, below)
                && word == image.pixel(right, below)) {
                ++features.flat;
                ++flatColours[word];
            } else if (isEdge(image, x, y)) {
                ++features.edges;
            }
        }
    }
    QList<int> counts = flatColours.values();
    std::sort(counts.begin(), counts.end(), std::greater<int>());
    for (int i = 0; i < std::min(kMainColours, counts.size()); ++i)
        features.mainColours += counts.at(i);
    features.colours = std::min(kMostCounted, colours.size());
    return features;
}

QString difference(const ColourFeatures &actual, const ColourFeatures &expected)
{
    const std::pair<const char *, std::pair<long long, long long>> pairs[] = {
        { "clear", { actual.clear, expected.clear } },
        { "visible", { actual.visible, expected.visible } },
        { "coloured", { actual.coloured, expected.coloured } },
        { "flat", { actual.flat, expected.flat } },
        { "mainColours", { actual.mainColours, expected.mainColours } },
        { "edges", { actual.edges, expected.edges } },
        { "colours", { actual.colours, expected.colours } },
    };
    for (const auto &pair : pairs) {
        if (pair.second.first != pair.second.second)
            return QString("%1: %2 against %3")
                .arg(pair.first)
                .arg(pair.second.first)
                .arg(pair.second.second);
    }
    return QString();
}

} // namespace

Q_DECLARE_METATYPE(ztrace::Kind)

class tst_Classify : public QObject
{
    Q_OBJECT

private slots:
    // A shaded scene on white is a photograph, beside columns of letters a part of a page.
    void pagesWithAPictureAreNoRenders()
    {
        for (const bool hasText : { false, true }) {
            Picture picture(drawn(600, 600, [hasText](int x, int y) {
                const int n = 60 + (x * 7 + y * 5) % 11;
                if (x >= 40 && x < 340 && y >= 330 && y < 530)
                    return qRgb(n + x / 4, n + y / 5, 200 - n - x / 8);
                const bool isLetter = hasText && y < 300 && x > 30 && x < 570 && y > 30
                    && y % 16 < 9 && (x * x / 40 + y / 16 * 13) % 7 < 3;
                return isLetter ? grey(x % 2 == 0 ? 20 : 90) : grey(255);
            }));
            const Classification found = classify(&picture);
            QCOMPARE(int(found.kind), int(hasText ? Kind::Logo : Kind::Photo));
        }
    }

    void kindsOfDrawnPictures_data();
    void kindsOfDrawnPictures();

    void workedExample()
    {
        const QRgb a = 0xFFFFFFFFu;
        const QRgb b = 0xFF000000u;
        const QRgb c = 0xFFFF0000u;
        const QRgb words[3][3] = { { a, a, b }, { a, a, b }, { c, c, c } };
        const QImage image = drawn(3, 3, [&](int x, int y) { return words[y][x]; });
        ColourFeatures expected;
        expected.visible = 9;
        expected.coloured = 3;
        expected.flat = 5;
        expected.mainColours = 5;
        expected.edges = 4;
        expected.colours = 3;
        QCOMPARE(difference(colourFeaturesOf(image), expected), QString());
    }

    void featuresAreAsDefined()
    {
        Random random(testSeed());
        for (int i = 0; i < 400; ++i) {
            const QImage image = randomImage(random, i % 10 == 0 ? 90 : 24);
            const QString found = difference(colourFeaturesOf(image), plainFeatures(image));
            QVERIFY2(found.isEmpty(), qPrintable(QString("round %1: %2").arg(i).arg(found)));
        }
    }

    // Blocks of 2 x 2 in more colours than the table first has room for, a few of them often.
    void commonestColoursAmongThousands()
    {
        Random random(testSeed() + 1);
        std::vector<QRgb> blocks;
        for (int i = 0; i < 150 * 150; ++i)
            blocks.push_back(random.oneIn(3) ? grey(random.below(30))
                                             : 0xFF000000u | random.word());
        const QImage image = drawn(300, 300, [&](int x, int y) {
            return blocks[static_cast<std::size_t>(y / 2 * 150 + x / 2)];
        });
        QCOMPARE(difference(colourFeaturesOf(image), plainFeatures(image)), QString());
    }

    // A fourth byte that is not 255 is no transparency there.
    void imagesWithoutAlphaAreOpaque()
    {
        Random random(testSeed() + 2);
        for (int i = 0; i < 50; ++i) {
            const QImage image = randomImage(random, 30);
            QImage opaque(image.size(), QImage::Format_RGB32);
            QImage plain(image.size(), QImage::Format_ARGB32);
            for (int y = 0; y < image.height(); ++y) {
                QRgb *words = reinterpret_cast<QRgb *>(opaque.scanLine(y));
                for (int x = 0; x < image.width(); ++x) {
                    words[x] = image.pixel(x, y);
                    plain.setPixel(x, y, words[x] | 0xFF000000u);
                }
            }
            QCOMPARE(difference(colourFeaturesOf(opaque), plainFeatures(plain)), QString());
            QCOMPARE(classified(opaque).reason, classified(plain).reason);
        }
    }

    void formatsDoNotMatter()
    {
        const QImage image = drawn(120, 90, [](int x, int y) { return grey((x + y) / 2 % 256); });
        const Classification expected = classified(image);
        for (QImage::Format format :
             { QImage::Format_RGB32, QImage::Format_RGB888, QImage::Format_Grayscale8,
               QImage::Format_ARGB32_Premultiplied }) {
            QCOMPARE(classified(image.convertToFormat(format)).reason, expected.reason);
            QCOMPARE(classified(image.convertToFormat(format)).kind, expected.kind);
        }
    }

    void noImageIsAnError() { QVERIFY_EXCEPTION_THROWN(classified(QImage()), TraceError); }
};

void tst_Classify::kindsOfDrawnPictures_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("reason");

    const auto add = [](const char *name, const QImage &image, Kind kind, const char *reason) {
        QTest::newRow(name) << image << kind << QString::fromLatin1(reason);
    };
    const auto shaded = [](int x, int y) {
        return qRgb(x * 255 / 200, y * 255 / 160, 255 - (x + y) * 255 / 360);
    };
    add("two greys", drawn(60, 40, [](int x, int y) { return inText(x, y) ? grey(0) : grey(255); }),
        Kind::LineArt, "2 colours, no hue");
    add("two greys, one neither ink nor paper",
        drawn(60, 40, [](int x, int y) { return inText(x, y) ? grey(100) : grey(230); }),
        Kind::Logo, "62 % in flat areas, 62 % in the commonest of them");
    add("two light greys",
        drawn(60, 40, [](int x, int y) { return inText(x, y) ? grey(200) : grey(240); }),
        Kind::Logo, "62 % in flat areas, 62 % in the commonest of them");
    add("one grey", drawn(60, 40, [](int, int) { return grey(120); }), Kind::Logo,
        "100 % in flat areas, 100 % in the commonest of them");
    add("blank paper", drawn(60, 40, [](int, int) { return grey(255); }), Kind::LineArt,
        "1 colours, no hue");
    add("a page", drawn(200, 160, page), Kind::LineArt,
        "grey, two lightnesses hold 100 % of the contrast");
    add("text on a ground that is neither black nor white",
        drawn(200, 160,
              [](int x, int y) { return inText(x, y) ? grey(215 + 8 * (x % 2)) : grey(31); }),
        Kind::Logo, "");
    const auto lines = [](int paler) {
        return [paler](int x, int y) {
            const int ink = y < 84 ? 0 : paler;
            return inText(x, y) ? grey(ink + (255 - ink) * ((x * 5 + y * 3) % 11) / 16) : grey(255);
        };
    };
    add("soft text in black", drawn(200, 160, lines(0)), Kind::LineArt, "");
    add("soft text in black and in a grey", drawn(200, 160, lines(120)), Kind::Logo, "");
    add("a page in a shadow",
        drawn(400, 400,
              [](int x, int y) {
                  const int paper = 250 - x * 190 / 400;
                  const bool ink = y % 12 < 5 && x % 9 < 2;
                  return grey(ink ? paper / 8 : paper - (x * 31 + y * 17) % 5);
              }),
        Kind::LineArt, "grey, unevenly lit, two lightnesses hold 87 % of the contrast");
    add("grey lines on transparency",
        drawn(60, 60,
              [](int x, int y) {
                  const bool line = x % 6 == 0 || y % 6 == 0;
                  return line ? qRgba(x, x, x, 255) : 0u;
              }),
        Kind::Logo, "69 % transparent, grey, two lightnesses hold 99 % of the contrast");
    const auto noisy = [](int x, int y) {
        const bool ink = y % 12 < 3 && x % 11 < 7;
        return grey((ink ? 60 : 190) + int(((x * 7919 + y * 104729) ^ (x * y)) % 97 - 48));
    };
    add("a page under noise", drawn(200, 200, noisy), Kind::LineArt, "");
    add("an icon of it", drawn(120, 120, noisy), Kind::Photo, "");
    add("grey shades on transparency",
        drawn(60, 60,
              [](int x, int y) {
                  const bool hole = x % 6 == 0 && y % 6 == 0;
                  return hole ? 0u : grey(2 * x + (x * 31 + y * 17) % 37);
              }),
        Kind::Photo, "");
    add("a pale watermark",
        drawn(240, 160,
              [](int x, int y) {
                  const double inside = 30.0 - std::hypot(x - 120.0, y - 80.0);
                  return grey(255 - int(18.0 * std::clamp(inside + 0.5, 0.0, 1.0)));
              }),
        Kind::Logo, "");
    add("flat colours",
        drawn(200, 160,
              [](int x, int y) {
                  return x < 60 ? qRgb(200, 30, 40)
                      : y < 80  ? qRgb(250, 240, 200)
                                : qRgb(30, 80, 160);
              }),
        Kind::Logo, "99 % in flat areas, 99 % in the commonest of them");
    add("few colours in noise",
        drawn(60, 60,
              [](int x, int y) { return qRgb((x * 37 + y * 91 + x * y) % 7 * 30, 200, 60); }),
        Kind::Logo, "7 colours");
    add("shades in blocks",
        drawn(
            200, 160,
            [&](int x, int y) { return x < 12 ? qRgb(10, 60, 20) : shaded(x / 3 * 3, y / 3 * 3); }),
        Kind::Poster, "");
    add("a mosaic of shades",
        drawn(200, 160,
              [&](int x, int y) {
                  const bool joint = x % 10 == 0 || y % 10 == 0;
                  return joint
                      ? qRgb(90, 80, 75)
                      : qRgb(60 + x / 10 * 9, 40 + y / 10 * 13, (x / 10 * 7 + y / 10 * 31) % 200);
              }),
        Kind::Logo, "");
    add("the same without an edge",
        drawn(200, 160, [&](int x, int y) { return shaded(x / 3 * 3, y / 3 * 3); }), Kind::Photo,
        "a gradient without edges, 45 % in flat areas, 0 % in the commonest of them");
    add("an icon of shades",
        drawn(48, 48,
              [](int x, int y) {
                  return y < 12 ? qRgb(x / 2 * 10, 100, 20) : qRgb(x * 5, y * 5, (x * y) % 256);
              }),
        Kind::Logo, "as small as an icon, 12 % in flat areas, 8 % in the commonest of them");
    add("the same, larger than an icon",
        drawn(49, 48,
              [](int x, int y) {
                  return y < 12 ? qRgb(x / 2 * 10, 100, 20) : qRgb(x * 5, y * 5, (x * y) % 256);
              }),
        Kind::Photo, "");
    add("shades", drawn(200, 160, [&](int x, int y) { return shaded(x, y); }), Kind::Photo, "");
    add("shades on transparency, some flat",
        drawn(200, 160,
              [&](int x, int y) {
                  return x < 100 ? 0u : y < 60 ? shaded(x / 8 * 8, y / 8 * 8) : shaded(x, y);
              }),
        Kind::Logo, "");
    const auto alphaOfLines
        = [](int x, int y) { return (x + y) % 7 < 3 ? 100 + (x * 29 + y * 13) % 156 : 0; };
    add("soft lines of one colour on transparency",
        drawn(60, 60,
              [&](int x, int y) { return qRgba(180, 60, 120 + x % 3, alphaOfLines(x, y)); }),
        Kind::Logo, "57 % transparent, 100 % in four colours");
    add("the same in many colours",
        drawn(60, 60, [&](int x, int y) { return qRgba(4 * x, 60, 4 * y, alphaOfLines(x, y)); }),
        Kind::Photo, "");
    add("a soft shadow",
        drawn(60, 60, [](int x, int y) { return qRgba(0, 30, 90, std::max(0, x + 3 * y - 20)); }),
        Kind::Photo, "");
    add("noise",
        drawn(90, 90,
              [](int x, int y) {
                  return qRgb((x * 7919 + y * 104729) % 251, (x * x * 31 + y * 17) % 241,
                              (x * y * 13 + x) % 239);
              }),
        Kind::Photo, "");
}

void tst_Classify::kindsOfDrawnPictures()
{
    QFETCH(QImage, image);
    QFETCH(Kind, kind);
    QFETCH(QString, reason);
    const Classification found = classified(image);
    QVERIFY2(found.kind == kind, found.reason.c_str());
    if (!reason.isEmpty())
        QCOMPARE(QString::fromStdString(found.reason), reason);
}

QTEST_GUILESS_MAIN(tst_Classify)
#include "tst_classify.moc"
