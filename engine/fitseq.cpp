// (c) the ztrace developers. Licence: see LICENSE.
//
// Sequence fitting on nested vectors: converts, calls the kernel, converts back.
#include "ZTraceBitmap.h"

#include "kernels/fit.h"
#include "nestedvectors.h"

namespace {

// An internode path as flat arrays; a point that a caller made shorter reads as 0 where it ends.
class FlatPath
{
public:
    explicit FlatPath(const QVector<QVector<double>> &path)
    {
        for (int i = 0; i < path.size(); ++i) {
            x.push_back(path.at(i).value(0));
            y.push_back(path.at(i).value(1));
            code.push_back(path.at(i).value(2));
        }
    }

    ztrace::PathView<double> view() const
    {
        const ztrace::PathView<double> whole = { x.data(), y.data(), code.data(), int(x.size()) };
        return whole;
    }

private:
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> code;
};

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
    const FlatPath flat(path);
    ztrace::Fitter(tolerances(ltres, qtres)).fitSequence(flat.view(), seqstart, seqend, &segments);
    return ztrace::nested(segments);
}

ZTraceBitmap::TracedPath ZTraceBitmap::tracepath(const Internodes &path, float ltres, float qtres)
{
    std::vector<ztrace::Segment> segments;
    const FlatPath flat(path);
    ztrace::Fitter(tolerances(ltres, qtres)).fitPath(flat.view(), &segments);
    return ztrace::nested(segments);
}

QVector<ZTraceBitmap::TracedPath> ZTraceBitmap::batchtracepaths(const QVector<Internodes> &paths,
                                                                float ltres, float qtres)
{
    QVector<TracedPath> result;
    result.reserve(paths.size());
    for (int p = 0; p < paths.size(); ++p)
        result.append(tracepath(paths.at(p), ltres, qtres));
    return result;
}

QVector<QVector<ZTraceBitmap::TracedPath>>
ZTraceBitmap::batchtracelayers(const QVector<QVector<Internodes>> &layers, float ltres, float qtres)
{
    QVector<QVector<TracedPath>> result;
    result.reserve(layers.size());
    for (int k = 0; k < layers.size(); ++k)
        result.append(batchtracepaths(layers.at(k), ltres, qtres));
    return result;
}
