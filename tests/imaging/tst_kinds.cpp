// (c) the ztrace developers. Licence: see LICENSE.
//
// 310 drawn pictures and the preset that each should get.
#include "drawnpictures.h"
#include "imaging/Picture.h"
#include "imaging/classify.h"

#include <QImage>
#include <QPainter>
#include <QTest>

#include <cmath>
#include <random>

using namespace ztrace;

namespace {

const int kOfEachKind = 10;

QImage pageOf(Dice *dice, QColor paper, QColor ink)
{
    return drawn(360, 300, paper, [&](QPainter *painter) {
        painter->setPen(QPen(ink, 1.6));
        for (int line = 0; line < 13; ++line)
            lettering(painter, dice, QPointF(20, 14 + line * 21), 11, dice->between(18, 32));
    });
}

QImage cleanText(Dice *dice)
{
    return pageOf(dice, Qt::white, Qt::black);
}

QImage scannedText(Dice *dice)
{
    return withNoise(pageOf(dice, QColor(238, 238, 238), QColor(40, 40, 40)), dice, 7);
}

QImage colouredPaper(Dice *dice)
{
    const QColor paper
        = QColor::fromHsv(dice->between(20, 50), dice->between(60, 140), dice->between(170, 235));
    return asJpeg(withNoise(pageOf(dice, paper, paper.darker(450)), dice, 6), 85);
}

QImage fax(Dice *dice)
{
    QImage page = withNoise(pageOf(dice, Qt::white, Qt::black), dice, 90);
    return page.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
}

QImage halftone(Dice *dice)
{
    const double across = 2.0 + dice->below(30) / 10.0;
    return drawn(240, 200, Qt::white,
                 [&](QPainter *painter) {
                     painter->setBrush(Qt::black);
                     painter->setPen(Qt::NoPen);
                     for (int y = 0; y < 200; y += 6) {
                         for (int x = 0; x < 240; x += 6) {
                             const double part = 0.5 + 0.5 * std::sin(x / 40.0 * across / 3.0);
                             painter->drawEllipse(QPointF(x + 3, y + 3), 2.6 * part, 2.6 * part);
                         }
                     }
                 })
        .convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
}

QImage dialog(Dice *dice)
{
    return drawn(360, 260, QColor(240, 240, 241), [&](QPainter *painter) {
        painter->fillRect(0, 0, 360, 22, dice->colour());
        for (int row = 0; row < 8; ++row) {
            painter->setPen(QPen(QColor(35, 38, 41), 1.1));
            lettering(painter, dice, QPointF(14, 36 + row * 27), 9, dice->between(6, 14));
            painter->setPen(QColor(180, 182, 184));
            painter->setBrush(Qt::white);
            painter->drawRect(190, 30 + row * 27, 150, 20);
            painter->setBrush(Qt::NoBrush);
        }
        painter->fillRect(250, 240, 90, 16, dice->colour());
    });
}

QImage map(Dice *dice)
{
    return drawn(340, 280, QColor(247, 244, 230), [&](QPainter *painter) {
        for (int k = 0; k < 10; ++k) {
            QPolygonF land;
            const QPointF middle(dice->below(340), dice->below(280));
            for (int i = 0; i < 9; ++i) {
                const double angle = i * 0.698;
                land << middle + dice->between(30, 80) * QPointF(std::cos(angle), std::sin(angle));
            }
            painter->setBrush(QColor::fromHsv(dice->below(360), 40, 240));
            painter->setPen(QPen(QColor(120, 110, 100), 0.8));
            painter->drawPolygon(land);
        }
        for (int k = 0; k < 7; ++k) {
            painter->setPen(QPen(dice->colour(), 1.0 + k % 3));
            painter->drawLine(dice->below(340), 0, dice->below(340), 280);
        }
        painter->setPen(QPen(Qt::black, 1.0));
        for (int k = 0; k < 12; ++k)
            lettering(painter, dice, QPointF(dice->below(290), dice->below(265)), 8, 6);
    });
}

QImage logo(Dice *dice)
{
    return drawn(260, 220, dice->below(2) ? Qt::white : Qt::transparent, [&](QPainter *painter) {
        painter->setPen(Qt::NoPen);
        for (int k = 0; k < 5; ++k) {
            painter->setBrush(dice->colour());
            painter->drawEllipse(dice->below(160), dice->below(120), 90, 90);
        }
    });
}

QImage icon(Dice *dice)
{
    const int side = 16 << dice->below(2);
    return drawn(side, side, Qt::transparent, [&](QPainter *painter) {
        painter->setBrush(dice->colour());
        painter->drawRoundedRect(1, 1, side - 2, side - 2, 3, 3);
        painter->fillRect(side / 4, side / 4, side / 2, side / 2, dice->colour());
    });
}

QImage gradient(Dice *dice)
{
    const QColor from = dice->colour();
    const QColor to = dice->colour();
    return drawn(256, 200, from, [&](QPainter *painter) {
        QLinearGradient ramp(0, 0, dice->between(150, 256), dice->between(0, 200));
        ramp.setColorAt(0, from);
        ramp.setColorAt(1, to);
        painter->fillRect(0, 0, 256, 200, ramp);
    });
}

QImage scenery(Dice *dice)
{
    QImage image = drawn(240, 200, Qt::gray, [&](QPainter *painter) {
        painter->setPen(Qt::NoPen);
        for (int k = 0; k < 60; ++k) {
            QRadialGradient blob(dice->below(240), dice->below(200), dice->between(20, 60));
            QColor colour = dice->colour();
            blob.setColorAt(0, colour);
            colour.setAlpha(0);
            blob.setColorAt(1, colour);
            painter->fillRect(0, 0, 240, 200, blob);
        }
    });
    return asJpeg(withNoise(image, dice, 6), 90);
}

// Fields and a bar in greys that are near each other.
QImage greyDialog(Dice *dice)
{
    const int ground = dice->between(225, 240);
    const int bar = ground - dice->between(14, 30);
    return drawn(340, 260, QColor(ground, ground, ground), [&](QPainter *painter) {
        painter->fillRect(0, 0, 340, 22, QColor(bar, bar, bar + 2));
        for (int row = 0; row < 8; ++row) {
            painter->setPen(QPen(QColor(35, 38, 41), 1.1));
            lettering(painter, dice, QPointF(14, 36 + row * 27), 9, dice->between(6, 14));
            painter->fillRect(190, 30 + row * 27, 130, 20, Qt::white);
        }
    });
}

// The ground of a toolkit that paints what lies between two colours in a pattern of both.
QImage ditheredDialog(Dice *dice)
{
    QImage image = dialog(dice);
    const QRgb ground = image.pixel(2, 250);
    for (int y = 0; y < image.height(); y += 2) {
        for (int x = y / 2 % 2; x < image.width(); x += 2) {
            if (image.pixel(x, y) == ground)
                image.setPixel(x, y, qRgb(239, 238, 238));
        }
    }
    for (int y = 30; y < 230; y += 27) { // shaded fields
        for (int x = 191; x < 340; ++x) {
            for (int k = 0; k < 18; ++k)
                image.setPixel(x, y + k, qRgb(230 + k, 231 + (x + k) % 7, 228 + k));
        }
    }
    return image;
}

// Two greys in areas, neither of them ink or paper.
QImage greyMap(Dice *dice)
{
    const int land = dice->between(110, 170);
    return drawn(300, 240, Qt::black, [&](QPainter *painter) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor(land, land, land));
        for (int k = 0; k < 6; ++k)
            painter->drawEllipse(QPoint(dice->between(60, 240), dice->between(60, 180)), 60, 50);
    });
}

// A light sky over dark, rough ground: two lightnesses on the whole, each of them shaded.
QImage greyScenery(Dice *dice)
{
    const int horizon = dice->between(90, 130);
    QImage image(280, 220, QImage::Format_Grayscale8);
    for (int y = 0; y < 220; ++y) {
        for (int x = 0; x < 280; ++x) {
            const double wave = std::sin(x / 23.0) * std::sin(y / 11.0);
            const double light = y < horizon ? 235.0 - 0.55 * y + 6.0 * wave
                                             : 30.0 + 0.3 * (y - horizon) + 22.0 * wave;
            image.scanLine(y)[x] = uchar(std::max(0.0, light + dice->between(-4, 4)));
        }
    }
    return image;
}

// Darker from one side to the other, though never as dark as the ink.
QImage fallingLight(Dice *dice)
{
    QImage page = scannedText(dice);
    const int fall = dice->between(40, 55);
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x) {
            const int light = std::max(0, qGray(page.pixel(x, y)) - fall * x / page.width());
            page.setPixel(x, y, qRgb(light, light, light));
        }
    }
    return page;
}

// An old book, one margin in the shade of the binding.
QImage brownPaperInFallingLight(Dice *dice)
{
    const QColor paper
        = QColor::fromHsv(dice->between(25, 45), dice->between(50, 90), dice->between(220, 240));
    QImage page = withNoise(pageOf(dice, paper, paper.darker(400)), dice, 4);
    const double fall = dice->between(20, 35) / 100.0;
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x) {
            const QRgb word = page.pixel(x, y);
            const double light = 1.0 - fall * x / page.width();
            page.setPixel(
                x, y,
                qRgb(int(light * qRed(word)), int(light * qGreen(word)), int(light * qBlue(word))));
        }
    }
    return page;
}

QImage whiteOnBlack(Dice *dice)
{
    return pageOf(dice, Qt::black, Qt::white);
}

// Axes and labels in black, and curves in a few hues: less than a hundredth of it is coloured.
QImage plot(Dice *dice)
{
    return drawn(600, 420, Qt::white, [&](QPainter *painter) {
        painter->setPen(QPen(Qt::black, 1.0));
        painter->drawRect(QRectF(50.5, 20.5, 520, 350));
        for (int x = 60; x < 560; x += 70)
            lettering(painter, dice, QPointF(x, 380), 9, 3);
        const QColor hue = dice->colour();
        painter->setPen(QPen(QColor::fromHsv(hue.hue(), 220, 200), 1.5));
        const double height = dice->between(40, 160);
        const double length = dice->between(40, 90);
        QPolygonF curve;
        for (int x = 52; x < 570; x += 2)
            curve << QPointF(x, 195 + height * std::sin(x / length));
        painter->drawPolyline(curve);
    });
}

// Dark and light tiles, some of which go from one to the other.
QImage shadedTiles(Dice *dice)
{
    return drawn(400, 400, Qt::white, [&](QPainter *painter) {
        for (int y = 0; y < 400; y += 40) {
            for (int x = 0; x < 400; x += 40) {
                const int kind = dice->below(8);
                const int dark = dice->between(40, 60);
                QLinearGradient ramp(x, y, x + 40, y + dice->between(0, 40));
                ramp.setColorAt(0, QColor(dark, dark, dark));
                ramp.setColorAt(1, kind == 0 ? QColor(200, 200, 200) : QColor(dark, dark, dark));
                if (kind < 4)
                    painter->fillRect(x, y, 40, 40, ramp);
            }
        }
    });
}

// A copy of the page with noise of normal distribution, and stains or the like that change slowly.
QImage scannedBadly(const QImage &page, Dice *dice, double deviation, double stains)
{
    std::mt19937 engine(static_cast<unsigned>(dice->below(1 << 20)));
    std::normal_distribution<double> noise(0.0, deviation);
    const double phase = dice->between(0, 628) / 100.0;
    QImage scan = page.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < scan.height(); ++y) {
        for (int x = 0; x < scan.width(); ++x) {
            const QRgb word = scan.pixel(x, y);
            const double by = noise(engine);
            const double light = 1.0 + stains * std::sin(x / 45.0 + phase) * std::cos(y / 60.0);
            const auto seen = [&](int v) { return int(qBound(0.0, light * v + by, 255.0)); };
            scan.setPixel(x, y, qRgb(seen(qRed(word)), seen(qGreen(word)), seen(qBlue(word))));
        }
    }
    return scan;
}

QImage thinText(Dice *dice, QColor paper, QColor ink)
{
    return drawn(360, 300, paper, [&](QPainter *painter) {
        painter->setPen(QPen(ink, 1.0));
        for (int line = 0; line < 13; ++line)
            lettering(painter, dice, QPointF(20.3, 14.4 + line * 21), 9, dice->between(18, 36));
    });
}

QImage noisyText(Dice *dice)
{
    return scannedBadly(thinText(dice, QColor(225, 225, 225), QColor(60, 60, 60)), dice,
                        dice->between(14, 18), 0.02);
}

QImage stainedBrownPaper(Dice *dice)
{
    const QColor paper
        = QColor::fromHsv(dice->between(25, 45), dice->between(60, 120), dice->between(170, 210));
    return asJpeg(scannedBadly(thinText(dice, paper, paper.darker(240)), dice, 8, 0.1), 80);
}

QImage noisyTable(Dice *dice)
{
    const int across = dice->between(34, 60);
    const int down = dice->between(24, 40);
    return scannedBadly(drawn(480, 400, QColor(220, 220, 220),
                              [&](QPainter *painter) {
                                  painter->setPen(QPen(QColor(50, 50, 50), 1.2));
                                  for (int x = 12; x < 480; x += across)
                                      painter->drawLine(x, 10, x, 390);
                                  for (int y = 10; y < 400; y += down)
                                      painter->drawLine(12, y, 470, y);
                                  for (int y = 18; y < 380; y += down)
                                      lettering(painter, dice, QPointF(18, y), 9, 3);
                              }),
                        dice, dice->between(16, 22), 0.0);
}

// Speckle that is light and dark alike: cloth, sand, bark.
QImage texture(Dice *dice)
{
    QImage even(300, 260, QImage::Format_RGB32);
    even.fill(QColor::fromHsv(35, 20, dice->between(120, 190)));
    return scannedBadly(even, dice, dice->between(15, 30), 0.05);
}

// A shaded ball before black, as renderers leave it.
QImage ballOnBlack(Dice *dice)
{
    QImage image(240, 200, QImage::Format_RGB32);
    image.fill(Qt::black);
    const QColor hue = dice->colour();
    const double radius = dice->between(60, 95);
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 240; ++x) {
            const double u = (x - 120) / radius;
            const double v = (y - 100) / radius;
            if (u * u + v * v >= 1.0)
                continue;
            const double light
                = 0.35 + 0.5 * (0.6 - 0.5 * u - 0.6 * v) + 0.01 * dice->between(-3, 3);
            const auto seen
                = [&](int c) { return int(qBound(0.0, light * (60.0 + 0.75 * c), 255.0)); };
            image.setPixel(x, y, qRgb(seen(hue.red()), seen(hue.green()), seen(hue.blue())));
        }
    }
    return image;
}

// As a camera before a screen or a bad grabber leaves it: no two pixels are alike.
QImage noisyDialog(Dice *dice)
{
    return scannedBadly(dialog(dice), dice, dice->between(15, 30) / 10.0, 0.0);
}

// Boxes in pale colours, outlined and joined by lines.
QImage diagram(Dice *dice)
{
    return drawn(420, 320, Qt::white, [&](QPainter *painter) {
        painter->setPen(QPen(Qt::black, 1.5));
        for (int y = 30; y < 300; y += 100) {
            for (int x = 20; x < 400; x += 135) {
                painter->setBrush(QColor::fromHsv(dice->below(360), dice->between(60, 130), 240));
                painter->drawRect(x, y, 90, 50);
                lettering(painter, dice, QPointF(x + 10, y + 20), 9, 7);
                painter->drawLine(x + 45, y + 50, x + dice->between(20, 70), y + 100);
            }
        }
    });
}

QImage noisyDiagram(Dice *dice)
{
    return asJpeg(scannedBadly(diagram(dice), dice, 2.5, 0.0), dice->between(85, 95));
}

// Two strong colours that JPEG rings between: as much of it is uneven as of a shaded object.
QImage smallFlag(Dice *dice)
{
    const int hue = dice->below(360);
    const QImage large = drawn(320, 240, QColor::fromHsv(hue, 230, 150), [&](QPainter *painter) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor::fromHsv((hue + 140) % 360, 240, 230));
        painter->drawRect(96 + dice->below(18), 0, 20, 240);
        painter->drawRect(0, 96, 320, 20);
        painter->setBrush(QColor::fromHsv((hue + 60) % 360, 240, 230));
        painter->drawEllipse(QPoint(110, 106), 22, 22);
    });
    return asJpeg(large.scaled(160, 120, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
                  dice->between(70, 80));
}

// A newspaper's picture, most of it dots that run into each other.
QImage scannedHalftone(Dice *dice)
{
    const double apart = dice->between(50, 80) / 10.0;
    const double phase = dice->below(60) / 10.0;
    const QImage dots = drawn(300, 240, Qt::white, [&](QPainter *painter) {
        painter->setBrush(Qt::black);
        painter->setPen(Qt::NoPen);
        for (double y = 0.0; y < 240.0; y += apart) {
            for (double x = 0.0; x < 300.0; x += apart) {
                const double part = 0.42 + 0.16 * std::sin(x / 40.0 + phase) * std::cos(y / 50.0);
                painter->drawEllipse(QPointF(x, y), part * apart, part * apart);
            }
        }
    });
    return asJpeg(scannedBadly(dots, dice, 3.0, 0.0), dice->between(60, 90));
}

// Paper that strong compression made flat in places.
QImage compressedPaper(Dice *dice)
{
    const QColor paper
        = QColor::fromHsv(dice->below(360), dice->between(45, 85), dice->between(205, 245));
    return asJpeg(withNoise(pageOf(dice, paper, paper.darker(500)), dice, 4), 45);
}

// The sun low above the sea: two lightnesses on the whole once its light is evened out.
QImage greySunset(Dice *dice)
{
    const int horizon = dice->between(135, 150);
    const double sun = dice->between(90, 190);
    QImage image(280, 200, QImage::Format_Grayscale8);
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 280; ++x) {
            const double far = std::hypot(x - sun, y - horizon);
            const double hill = 5.0 * std::sin(x / 31.0) + 3.0 * std::sin(x / 11.0);
            const double light = y < horizon + hill ? 225.0 - 0.62 * far : 36.0 + 0.05 * (200 - y);
            image.scanLine(y)[x] = uchar(qBound(0.0, light + dice->between(-2, 2), 255.0));
        }
    }
    return asJpeg(image, 90).convertToFormat(QImage::Format_Grayscale8);
}

struct Row
{
    const char *name;
    QImage (*draw)(Dice *);
    Kind kind;
};

const Row kRows[] = {
    { "clean text", cleanText, Kind::LineArt },
    { "scanned text", scannedText, Kind::LineArt },
    { "text on coloured paper", colouredPaper, Kind::LineArt },
    { "fax", fax, Kind::LineArt },
    { "halftone", halftone, Kind::LineArt },
    { "dialog", dialog, Kind::Logo },
    { "map", map, Kind::Logo },
    { "logo", logo, Kind::Logo },
    { "icon", icon, Kind::Logo },
    { "gradient", gradient, Kind::Photo },
    { "scenery", scenery, Kind::Photo },
    { "grey dialog", greyDialog, Kind::Logo },
    { "dithered dialog", ditheredDialog, Kind::Logo },
    { "grey map", greyMap, Kind::Logo },
    { "grey scenery", greyScenery, Kind::Photo },
    { "page in falling light", fallingLight, Kind::LineArt },
    { "brown paper in falling light", brownPaperInFallingLight, Kind::LineArt },
    { "white on black", whiteOnBlack, Kind::LineArt },
    { "plot", plot, Kind::Logo },
    { "shaded tiles", shadedTiles, Kind::Photo },
    { "noisy text", noisyText, Kind::LineArt },
    { "stained brown paper", stainedBrownPaper, Kind::LineArt },
    { "noisy table", noisyTable, Kind::LineArt },
    { "texture", texture, Kind::Photo },
    { "ball on black", ballOnBlack, Kind::Photo },
    { "noisy dialog", noisyDialog, Kind::Logo },
    { "noisy diagram", noisyDiagram, Kind::Logo },
    { "small flag", smallFlag, Kind::Logo },
    { "compressed paper", compressedPaper, Kind::LineArt },
    { "grey sunset", greySunset, Kind::Photo },
    { "scanned halftone", scannedHalftone, Kind::LineArt },
};

} // namespace

class tst_Kinds : public QObject
{
    Q_OBJECT

private slots:
    void kindsOfDrawnPictures_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("seed");
        for (int row = 0; row < int(std::size(kRows)); ++row) {
            for (int seed = 1; seed <= kOfEachKind; ++seed)
                QTest::addRow("%s %d", kRows[row].name, seed) << row << seed;
        }
    }
    void kindsOfDrawnPictures()
    {
        QFETCH(int, row);
        QFETCH(int, seed);
        Dice dice(static_cast<unsigned>(100 * row + seed));
        Picture picture(kRows[row].draw(&dice));
        const Classification found = classify(&picture);
        QVERIFY2(found.kind == kRows[row].kind, found.reason.c_str());
        QVERIFY(!found.reason.empty());
    }
};

QTEST_GUILESS_MAIN(tst_Kinds)
#include "tst_kinds.moc"
