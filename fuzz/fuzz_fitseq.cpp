// (c) the ztrace developers. Licence: see LICENSE.
//
// Fitting of any points with any codes, tolerances, starts and ends: it ends, with a bounded number
// of segments, and a whole path's segments chain and close.
#include "Input.h"
#include "silence.h"

#include "engine/ZTraceBitmap.h"

namespace {

bool same(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void requireChain(const ZTraceBitmap::TracedPath &segments)
{
    for (int i = 0; i < segments.size(); ++i) {
        const QVector<double> &segment = segments.at(i);
        const QVector<double> &next = segments.at((i + 1) % segments.size());
        fuzz::require(segment.size() == 7);
        const int end = segment.at(0) == 1.0 ? 3 : 5;
        fuzz::require(same(segment.at(end), next.at(1)) && same(segment.at(end + 1), next.at(2)));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::silence();
    static ZTraceBitmap tracer;
    fuzz::Input input(data, size);
    const float ltres = static_cast<float>(input.number());
    const float qtres = static_cast<float>(input.number());
    const bool odd = input.byte() & 1;
    const int start = input.between(-2, 80);
    const int end = input.between(-2, 80);
    ZTraceBitmap::Internodes path;
    for (int n = input.between(0, 70); n > 0; --n) {
        QVector<double> point;
        point.append(odd ? input.number() : input.byte() * 0.5);
        point.append(odd ? input.number() : input.byte() * 0.5);
        point.append(odd ? input.number() : double(input.byte() % 9));
        if (odd && input.byte() == 7)
            point.resize(input.between(0, 4)); // a caller's point may be of any length
        path.append(point);
    }
    requireChain(tracer.tracepath(path, ltres, qtres));
    const auto segments = tracer.fitseq(path, ltres, qtres, start, end);
    fuzz::require(segments.size() <= 8 * path.size() + 1);
    return 0;
}
