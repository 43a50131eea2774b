// (c) the ztrace developers. Licence: see LICENSE.
//
// From the kernels' flat segments to the nested form of the stage operations.
#ifndef ZTRACE_NESTEDVECTORS_H
#define ZTRACE_NESTEDVECTORS_H

#include <QVector>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "kernels/fit.h"

namespace ztrace {

// One vector of seven doubles a segment, all sized exactly.
inline QVector<QVector<double>> nested(const Segment *segments, std::size_t count)
{
    QVector<QVector<double>> result(static_cast<int>(count));
    QVector<double> *target = result.data();
    for (std::size_t i = 0; i < count; ++i) {
        QVector<double> fields(static_cast<int>(Segment::kFieldCount));
        std::copy(segments[i].field, segments[i].field + Segment::kFieldCount, fields.data());
        target[i].swap(fields);
    }
    return result;
}

inline QVector<QVector<double>> nested(const std::vector<Segment> &segments)
{
    return nested(segments.data(), segments.size());
}

} // namespace ztrace

#endif
