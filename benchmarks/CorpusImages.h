// (c) the ztrace developers. Licence: see LICENSE.
//
// The named images of the benchmarks, with the options that each is traced with.
#ifndef ZTRACE_BENCHMARKS_CORPUSIMAGES_H
#define ZTRACE_BENCHMARKS_CORPUSIMAGES_H

#include <QImage>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

struct BenchImage
{
    QString name;
    QImage image;  // ARGB32, ready for the tracer: colour images with every top bit inverted
    QImage source; // the same picture as a viewer shows it
    QMap<QString, double> options;
};

// Options for scans: two levels by a threshold, no random numbers, ink is entry 0.
QMap<QString, double> lineartOptions();

// 16 colours, 3 cycles, blur of radius 1; start palette sampled.
QMap<QString, double> colourOptions(int colours = 16);

// The image with the top bit of every channel inverted, which makes signed bytes keep the order of
// tones.
QImage withInvertedTopBits(const QImage &image);

// The images of the corpus folder that benchmarks/corpus.sh fills. One that is missing is named
// on stderr and null.
QStringList corpusNames();
BenchImage corpusImage(const QString &folder, const QString &name);

// Small drawn pictures, for a smoke run without the corpus.
QStringList drawnNames();
BenchImage drawnImage(const QString &name);

// 16 x 16 pixels in colours.
BenchImage iconImage();

// Pictures that are hard on purpose, size x size pixels: checkerboard, noise, spiral, diagonal
// staircase. The noise comes twice, once with every one-pixel region kept.
QStringList hardNames();
BenchImage hardImage(const QString &name, int size);

// A part out of the middle of at most so many pixels, as square as the image allows.
QImage middleOf(const QImage &image, qint64 pixels);

// The image side x side times.
QImage tiled(const QImage &image, int side);

#endif
