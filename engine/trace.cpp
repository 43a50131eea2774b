// (c) the ztrace developers. Licence: see LICENSE.
//
// The trace driver: every stage once, in order, on one image.
//
// The stages here work on flat data and pass an outline on as soon as it is closed; the operations
// of the same names with nested vectors give the same result stage by stage (tst_streaming).
#include "ZTraceBitmap.h"

#include "announce.h"
#include "kernels/IndexPlane.h"
#include "kernels/convert.h"
#include "kernels/outline.h"
#include "nesting.h"
#include "qtcompat.h"

#include <QImage>

#include <exception>

// Where memory runs out the result is empty and the tracer knows no image, but stays usable.
template<typename Trace>
QList<ZPolyline> ZTraceBitmap::traceGuarded(const Trace &trace)
{
    try {
        return trace();
    } catch (const std::exception &) {
        forgetImage();
        return QList<ZPolyline>();
    }
}

QList<ZPolyline> ZTraceBitmap::trace(const QImage &image)
{
    return traceGuarded([&] { return traceStages(image); });
}

QList<ZPolyline> ZTraceBitmap::trace(const QString &fileName)
{
    return traceGuarded([&] { return traceStages(QImage(fileName)); });
}

QList<ZPolyline> ZTraceBitmap::traceStages(const QImage &image)
{
    if (!canHold(image.width(), image.height())) {
        loadImageData(image); // leaves no image
        return QList<ZPolyline>();
    }
    loadReduced(image);
    ztrace::IndexPlane plane;
    quantize(&plane);
    publish(plane);
    return traceOutlines(plane);
}

// Outlines, fitting and output in one pass. Outer outlines are met in the order of their start
// nodes, which is the order of getPolylines, and no two of them start on one node, so that nothing
// needs to be sorted or left out.
QList<ZPolyline> ZTraceBitmap::traceOutlines(const ztrace::IndexPlane &plane)
{
    const float shortest = static_cast<float>(integerOption("pathomit"));
    const double qtres = ztrace::roundedToSingle(option("qtres"));
    const double ltres = ztrace::roundedToSingle(option("ltres"));
    const ztrace::Tolerances tolerances = { ltres, qtres };
    const bool announce = ztrace::debugOutputIsOn();

    QVector<QVector<TracedPath>> layers(currentPalette.size());
    QList<ZPolyline> result;
    ztrace::Fitter fitter(tolerances);
    std::vector<ztrace::Segment> segments;
    const auto take = [&](int entry, const ztrace::PathView<uint8_t> &path) {
        segments.clear();
        fitter.fitPath(path, &segments);
        TracedPath traced = ztrace::nested(segments);
        if (announce)
            ztrace::announcePolyline(entry, layers.at(entry).size());
        result.append(polylineFrom(traced));
        layers[entry].append(TracedPath());
        layers[entry].last().swap(traced);
    };
    // Without a palette the indices are 0 all the same, and there is no layer to trace.
    if (!layers.isEmpty())
        ztrace::scanOutlines(plane, shortest, take);
    indexedImage.tracedLayers = layers;
    return result;
}
