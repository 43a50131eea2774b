// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/seamparts.h"

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kChords = 16;     // of a curve: an arc of half a turn is a thousandth shorter
const double kSpare = 0.25; // of the whole: viewers measure a little more or less than we do
const double kStep = 0.01;  // pixels, of a dash

double distance(fit::Point a, fit::Point b)
{
    return std::sqrt(dot(b - a, b - a));
}

double lengthOf(const fit::Piece &piece)
{
    if (piece.kind == fit::Kind::Line)
        return distance(piece.start, piece.end);
    double length = 0;
    for (int k = 0; k < kChords; ++k)
        length += distance(pointAt(piece, double(k) / kChords),
                           pointAt(piece, double(k + 1) / kChords));
    return length;
}

// Two gaps and the dash between them, or the other way round, become one; the shortest first.
void mergeShortest(std::vector<double> *lengths)
{
    const auto shortest = std::min_element(lengths->begin() + 1, lengths->end() - 1);
    *(shortest - 1) += *shortest + *(shortest + 1);
    lengths->erase(shortest, shortest + 2);
}

} // namespace

double lengthOf(const std::vector<fit::Piece> &pieces)
{
    double length = 0;
    for (const fit::Piece &piece : pieces)
        length += lengthOf(piece);
    return length;
}

std::vector<double> seamDashes(const SharedParts &parts, const std::vector<bool> &drawn)
{
    if (std::find(drawn.begin(), drawn.end(), false) == drawn.end())
        return {};
    std::vector<double> lengths = { 0.0 }; // drawn first, if only for no length
    bool isDrawn = true;
    double whole = 0;
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (drawn[k] != isDrawn)
            lengths.push_back(0.0);
        isDrawn = drawn[k];
        lengths.back() += parts[k].length;
        whole += parts[k].length;
    }
    while (lengths.size() > kMostSeamDashes - 1)
        mergeShortest(&lengths);
    // What comes after the end is left out.
    if (lengths.size() % 2 != 0)
        lengths.push_back(0.0);
    lengths.back() += kSpare * whole;
    for (double &length : lengths)
        length = std::round(length / kStep) * kStep;
    return lengths;
}

} // namespace ztrace
