// (c) the ztrace developers. Licence: see LICENSE.
//
// The tracer: a raster image in, outlines of straight lines and quadratic curves out.
//
// Coordinates inside the engine are pixels, x to the right and y downwards, whole numbers on pixel
// corners; getPolylines turns them into drawing coordinates, y upwards. Pixel and palette bytes
// are read as signed numbers everywhere (docs/architecture.md, "Signed bytes").
//
// Nothing is reported: no operation returns an error, and odd values of options have the results
// that docs/algorithm/ gives. trace never throws; the others let std::bad_alloc through. Not
// thread-safe; separate tracers share no state but the C library's rand(), which is drawn from in a
// fixed order and never seeded here.
#ifndef ZTRACEBITMAP_H
#define ZTRACEBITMAP_H

#include <QList>
#include <QMap>
#include <QString>
#include <QVector>

#include "IndexedImage.h"
#include "ZPolyline.h"
#include "ZVector.h"

class QImage;

namespace ztrace {
class IndexPlane;
}

class ZTraceBitmap
{
public:
    typedef QVector<QVector<char>> Palette;      // [entry][R, G, B, A]
    typedef QVector<QVector<int>> EdgeGrid;      // [row][column] codes 0..15
    typedef QVector<QVector<int>> Path;          // [point][x, y, code]
    typedef QVector<QVector<double>> Internodes; // [point][x, y, direction 0..8]
    typedef QVector<QVector<double>> TracedPath; // [segment][type, 3 points]

    // A tracer with the twelve options at their defaults, no image and no palette. Writes 17
    // debug lines.
    ZTraceBitmap();
    virtual ~ZTraceBitmap();

    // Stores a value under a name; neither is checked.
    void setOption(const QString &name, double value);

    // Traces an image and returns its outlines, ordered by their first points from the top row
    // downwards, left to right. The image is not changed. An image that cannot be read, or that
    // memory cannot hold, gives an empty list.
    QList<ZPolyline> trace(const QImage &image);
    QList<ZPolyline> trace(const QString &fileName);

    // Replaces imageWidth, imageHeight and imageData by the image's pixels, as QImage::pixel gives
    // them. Writes two debug lines.
    void loadImageData(const QImage &image);
    void loadImageData(const QString &fileName);

    // From image to drawing coordinates: y becomes imageHeight - y, all else stays.
    ZVector transform(const ZVector &point) const;

    // Turns the image black and white in place, as monochrome, alphathreshold and
    // brightnessthreshold say. An image that is not of 32 bits a pixel becomes ARGB32 first.
    void preprocess(QImage &image);

    // A palette of numberofcolors entries: greys below 8, else a colour cube and random entries.
    // Nothing below 1 or beyond kLargestPalette.
    Palette generatepalette(int numberofcolors);

    // The same number of entries copied from pixels drawn at random, with repetition. All zero
    // without an image.
    Palette samplepalette(int numberofcolors);

    // Fills indexedImage and makes or refines currentPalette; blurs imageData when asked to. Where
    // somebody has set imageWidth or imageHeight far beyond imageData the grid is empty.
    void colorquantization();

    // Selective Gaussian blur of imageData. radius in pixels (1 to 5 differ), delta the largest
    // change of a pixel, summed over the channels, that is kept.
    void blur(float radius, float delta);

    // One grid of edge-node codes per palette entry, of the size of indexedImage.indices.
    QVector<EdgeGrid> layering();

    // The outer outlines of one grid with at least pathomit points, by start node.
    QVector<Path> pathscan(EdgeGrid grid, float pathomit);
    QVector<QVector<Path>> batchpathscan(const QVector<EdgeGrid> &layers, float pathomit);

    // Midpoints of the edges of each path, with the direction of the step to the next one.
    QVector<Internodes> internodes(const QVector<Path> &paths);
    QVector<QVector<Internodes>> batchinternodes(const QVector<QVector<Path>> &layers);

    // Segments for the internodes seqstart to seqend of a closed path, going forward and wrapping.
    // Tolerances are squared distances in pixels.
    TracedPath fitseq(const Internodes &path, float ltres, float qtres, int seqstart, int seqend);
    TracedPath tracepath(const Internodes &path, float ltres, float qtres);
    QVector<TracedPath> batchtracepaths(const QVector<Internodes> &paths, float ltres, float qtres);
    QVector<QVector<TracedPath>> batchtracelayers(const QVector<QVector<Internodes>> &layers,
                                                  float ltres, float qtres);

    // Host polylines for indexedImage.tracedLayers, in drawing coordinates. Of two outlines that
    // start on the same point only the later one is returned. Writes two debug lines a polyline.
    QList<ZPolyline> getPolylines();

    // More entries than this are not made: the palette stays empty.
    static const int kLargestPalette = 1 << 24;

    QVector<QVector<char>> currentPalette;
    QMap<QString, double> options;
    int imageWidth;
    int imageHeight;
    QVector<char> imageData; // R, G, B, A of every pixel, rows from the top
    IndexedImage indexedImage;
    // Constant tables, for whoever wants to look: the blur and trace have the same numbers built
    // in.
    QVector<QVector<double>> gaussianKernels;               // [radius - 1][2 radius + 1]
    QVector<char> pathscanDirLookup;                        // [code]
    QVector<bool> pathscanHoleLookup;                       // [code]
    QVector<QVector<QVector<char>>> pathscanCombinedLookup; // [code][direction][4]

private:
    double option(const char *name);
    int integerOption(const char *name);
    static bool canHold(int width, int height);
    template<typename Trace>
    QList<ZPolyline> traceGuarded(const Trace &trace);
    QList<ZPolyline> traceStages(const QImage &image);
    void forgetImage();
    bool hasPixels() const;
    bool sizesAreSound() const;
    void loadReduced(const QImage &image);
    void takeImageData(int width, int height, QVector<char> *data);
    void makeStartPalette();
    void quantize(ztrace::IndexPlane *plane);
    void publish(const ztrace::IndexPlane &plane);
    QList<ZPolyline> traceOutlines(const ztrace::IndexPlane &plane);
    ZPolyline polylineFrom(const TracedPath &segments);
};

#endif
