// (c) the ztrace developers. Licence: see LICENSE.
//
// Label planes for the tests of areas and boundaries: written as text, or drawn at random.
#ifndef ZTRACE_TESTS_TRACING_PLANES_H
#define ZTRACE_TESTS_TRACING_PLANES_H

#include "ReferenceRegions.h"

#include <QString>
#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <random>

namespace planes {

using reference::Plane;

inline std::size_t at(int i)
{
    return std::size_t(i);
}

// A digit a pixel.
inline Plane planeOf(const QStringList &rows)
{
    Plane plane { rows.first().size(), rows.size(), {} };
    for (const QString &row : rows) {
        for (QChar cell : row)
            plane.labels.push_back(uint16_t(cell.digitValue()));
    }
    return plane;
}

inline QStringList textOf(const Plane &plane)
{
    QStringList rows;
    for (int y = 0; y < plane.height; ++y) {
        QString row;
        for (int x = 0; x < plane.width; ++x)
            row += QString::number(plane.labels[at(y * plane.width + x)], 36);
        rows.append(row);
    }
    return rows;
}

// What a failed comparison shows.
inline QString describe(const Plane &plane)
{
    return QString::fromLatin1("%1 x %2\n").arg(plane.width).arg(plane.height)
        + textOf(plane).join(QLatin1Char('\n'));
}

typedef std::minstd_rand Random;

inline int below(Random *random, int n)
{
    return int(((*random)() >> 4) % unsigned(n));
}

// Noise, at times from one row or column to the next alike, so that areas of all shapes come up.
inline Plane noise(Random *random, int width, int height, int labels)
{
    Plane plane { width, height, std::vector<uint16_t>(at(width) * at(height)) };
    const int likeLeft = below(random, 4);
    const int likeAbove = below(random, 4);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::size_t i = at(y * width + x);
            plane.labels[i] = uint16_t(below(random, labels));
            if (x > 0 && below(random, 4) < likeLeft)
                plane.labels[i] = plane.labels[i - 1];
            else if (y > 0 && below(random, 4) < likeAbove)
                plane.labels[i] = plane.labels[i - at(width)];
        }
    }
    return plane;
}

inline Plane checkerboard(int width, int height, int labels)
{
    Plane plane { width, height, {} };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            plane.labels.push_back(uint16_t((x + y) % labels));
    }
    return plane;
}

// Rings in rings; where `gaps` is above 0, every so many pixels at random are set to any label.
inline Plane rings(Random *random, int width, int height, int labels, int gaps)
{
    Plane plane { width, height, {} };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int ring = std::min(std::min(x, y), std::min(width - 1 - x, height - 1 - y));
            const bool gap = gaps > 0 && below(random, gaps) == 0;
            plane.labels.push_back(uint16_t(gap ? below(random, labels) : ring % labels));
        }
    }
    return plane;
}

// Rings of diamonds: corners upon corners.
inline Plane diamonds(Random *random, int width, int height, int labels, int gaps)
{
    Plane plane { width, height, {} };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int ring = std::abs(x - width / 2) + std::abs(y - height / 2);
            const bool gap = gaps > 0 && below(random, gaps) == 0;
            plane.labels.push_back(uint16_t(gap ? below(random, labels) : ring % labels));
        }
    }
    return plane;
}

// Discs and frames of any label, one over the other.
inline Plane blobs(Random *random, int width, int height, int labels)
{
    Plane plane { width, height, std::vector<uint16_t>(at(width) * at(height), 0) };
    for (int n = 0; n < 6; ++n) {
        const int cx = below(random, width);
        const int cy = below(random, height);
        const int outer = below(random, std::max(width, height)) + 1;
        const int inner = below(random, 2) * outer * outer / 3;
        const uint16_t label = uint16_t(below(random, labels));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
                if (d >= inner && 4 * d <= outer * outer)
                    plane.labels[at(y * width + x)] = label;
            }
        }
    }
    return plane;
}

// Calls use(plane) for 2500 planes: every size up to 7 x 7, one-pixel rows and columns,
// sizes around the scanner's words, of 1 to 9 labels.
template<typename Use>
void forEachPlane(unsigned seed, Use use)
{
    Random random(seed);
    const auto each = [&](int width, int height) {
        const int labels = 1 + below(&random, below(&random, 3) == 0 ? 9 : 3);
        use(noise(&random, width, height, labels));
        use(blobs(&random, width, height, labels));
        use(checkerboard(width, height, labels));
        use(rings(&random, width, height, labels, 0));
        use(rings(&random, width, height, labels, 2 + below(&random, 12)));
        use(diamonds(&random, width, height, labels, 2 + below(&random, 12)));
    };
    for (int round = 0; round < 5; ++round) {
        for (int width = 1; width <= 7; ++width) {
            for (int height = 1; height <= 7; ++height)
                each(width, height);
        }
        for (int size : { 8, 9, 15, 16, 17, 31, 32, 33, 34, 64, 65, 100 }) {
            each(size, 1);
            each(1, size);
            each(size, 1 + below(&random, 24));
        }
    }
}

} // namespace planes

#endif
