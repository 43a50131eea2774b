// (c) the ztrace developers. Licence: see LICENSE.
//
// Sequence fitting on nested vectors: converts, calls the kernel, converts back.
#include "ZTraceBitmap.h"

#include "kernels/fit.h"
#include "nesting.h"

namespace {

ztrace::InternodePath flattened(const QVector<QVector<double> > &path)
{
    ztrace::InternodePath flat;
    for (int i = 0; i < path.size(); ++i)
        flat.append(path.at(i).at(0), path.at(i).at(1), path.at(i).at(2));
    return flat;
}

ztrace::Tolerances tolerances(float ltres, float qtres)
{
    const ztrace::Tolerances widened = { double(ltres), double(qtres) };
    return widened;
}

} // namespace

ZTraceBitmap::TracedPath ZTraceBitmap::fitseq(const Internodes &path, float ltres, float qtres,
                                              int seqstart, int seqend)
{
    std::vector<ztrace::Segment> segments;
    ztrace::fitSequence(flattened(path), tolerances(ltres, qtres), seqstart, seqend, &segments);
    return ztrace::nested(segments);
}

ZTraceBitmap::TracedPath ZTraceBitmap::tracepath(const Internodes &path, float ltres, float qtres)
{
    std::vector<ztrace::Segment> segments;
    ztrace::fitPath(flattened(path), tolerances(ltres, qtres), &segments);
    return ztrace::nested(segments);
}

QVector<ZTraceBitmap::TracedPath>
ZTraceBitmap::batchtracepaths(const QVector<Internodes> &paths, float ltres, float qtres)
{
    QVector<TracedPath> result;
    result.reserve(paths.size());
    for (int p = 0; p < paths.size(); ++p)
        result.append(tracepath(paths.at(p), ltres, qtres));
    return result;
}

QVector<QVector<ZTraceBitmap::TracedPath> >
ZTraceBitmap::batchtracelayers(const QVector<QVector<Internodes> > &layers, float ltres,
                               float qtres)
{
    QVector<QVector<TracedPath> > result;
    result.reserve(layers.size());
    for (int k = 0; k < layers.size(); ++k)
        result.append(batchtracepaths(layers.at(k), ltres, qtres));
    return result;
}
