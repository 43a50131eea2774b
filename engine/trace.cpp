// (c) the ztrace developers. Licence: see LICENSE.
//
// The trace driver: every stage once, in order, on one image.
//
// The stages here work on flat data and pass an outline on as soon as it is closed; the operations
// of the same names with nested vectors give the same result stage by stage (tst_streaming).
#include "ZTraceBitmap.h"

#include "announce.h"
#include "labels.h"
#include "nestedvectors.h"
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

// Outlines, fitting and output in one pass, in the order of getPolylines.
QList<ZPolyline> ZTraceBitmap::traceOutlines(const ztrace::IndexPlane &plane)
{
    ztrace::OutlineOptions outlineOptions;
    outlineOptions.pathomit = option("pathomit");
    outlineOptions.qtres = option("qtres");
    outlineOptions.ltres = option("ltres");
    const bool announce = ztrace::debugOutputIsOn();

    QVector<QVector<TracedPath>> layers(currentPalette.size());
    QList<ZPolyline> result;
    const auto take = [&](const ztrace::LabelOutline &outline, const ztrace::Segment *segments) {
        TracedPath traced = ztrace::nested(segments, outline.count);
        QVector<TracedPath> &layer = layers[outline.label];
        if (announce)
            ztrace::announcePolyline(outline.label, layer.size());
        result.append(polylineFrom(traced));
        layer.append(TracedPath());
        layer.last().swap(traced);
    };
    // Without a palette the indices are 0 all the same, and there is no layer to trace.
    if (!layers.isEmpty())
        ztrace::traceLabels(plane, outlineOptions, take);
    indexedImage.tracedLayers = layers;
    return result;
}
