// (c) the ztrace developers. Licence: see LICENSE.
//
// The named images of the benchmarks, with the options that each is traced with.
#ifndef ZTRACE_BENCHMARKS_CORPUSIMAGES_H
#define ZTRACE_BENCHMARKS_CORPUSIMAGES_H

#include <QImage>
#include <QList>
#include <QMap>
#include <QString>

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
// on stderr and left out.
QList<BenchImage> corpusImages(const QString &folder);

// Small drawn pictures, for a smoke run without the corpus.
QList<BenchImage> drawnImages();

// Pictures that are hard on purpose: checkerboard, noise, spiral, diagonal staircase.
QList<BenchImage> pathologicalImages(int size);

// The image repeated until it covers at least `pixels`.
QImage tiled(const QImage &image, qint64 pixels);

#endif
