// (c) the ztrace developers. Licence: see LICENSE.
//
// Least squares of a few unknowns.
#ifndef ZTRACE_STROKES_NORMALEQUATIONS_H
#define ZTRACE_STROKES_NORMALEQUATIONS_H

#include <cmath>
#include <cstddef>

namespace ztrace::strokes {

// Solves N equations, each a row of N coefficients and its right side, of a symmetric positive
// matrix, by elimination in their order. The rows are changed. False where a pivot is not above
// `least`, as of unknowns that nothing tells apart, or where a number is not finite.
template<std::size_t N>
bool solveNormal(double (&rows)[N][N + 1], double least, double (&x)[N])
{
    for (std::size_t i = 0; i < N; ++i) {
        if (!(rows[i][i] > least))
            return false;
        for (std::size_t k = i + 1; k < N; ++k) {
            const double f = rows[k][i] / rows[i][i];
            for (std::size_t j = i; j <= N; ++j)
                rows[k][j] -= f * rows[i][j];
        }
    }
    double sum = 0.0;
    for (std::size_t i = N; i-- > 0;) {
        x[i] = rows[i][N];
        for (std::size_t j = i + 1; j < N; ++j)
            x[i] -= rows[i][j] * x[j];
        x[i] /= rows[i][i];
        sum += x[i];
    }
    return std::isfinite(sum);
}

} // namespace ztrace::strokes

#endif
