// (c) the ztrace developers. Licence: see LICENSE.
//
// Symmetric positive definite systems whose rows begin late.
#ifndef ZTRACE_FIT_SKYLINE_H
#define ZTRACE_FIT_SKYLINE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace ztrace::fit {

// The lower triangle, row by row from its first element that may differ from zero; factors fill
// nothing outside of that. A path's joints couple neighbours only, so a row has 8 elements but for
// the last few of a closed path.
class Skyline
{
public:
    // starts[r] <= r: the first column of row r.
    explicit Skyline(const std::vector<int> &starts) : first(starts)
    {
        std::size_t at = 0;
        for (std::size_t r = 0; r < first.size(); ++r) {
            at += r + 1 - static_cast<std::size_t>(first[r]);
            diagonal.push_back(static_cast<std::ptrdiff_t>(at) - 1);
        }
        values.assign(at, 0.0);
        inverse.assign(first.size(), 0.0);
    }

    void clear() { std::fill(values.begin(), values.end(), 0.0); }

    void add(int r, int c, double value) { r >= c ? at(r, c) += value : at(c, r) += value; }

    // Solves in place by Cholesky's factors; false, and b is void, where a pivot is not positive.
    bool solve(std::vector<double> *b)
    {
        const int n = static_cast<int>(first.size());
        double *x = b->data();
        double *inverses = inverse.data();
        for (int r = 0; r < n; ++r) {
            double *own = row(r);
            const int begin = start(r);
            for (int c = begin; c < r; ++c)
                own[c] = rest(own, c, begin) * inverses[c];
            const double pivot = rest(own, r, begin);
            if (!(pivot > 0))
                return false;
            inverses[r] = 1 / std::sqrt(pivot);
            double sum = x[r];
            for (int k = begin; k < r; ++k)
                sum -= own[k] * x[k];
            x[r] = sum * inverses[r];
        }
        for (int r = n - 1; r >= 0; --r) {
            const double *own = row(r);
            x[r] *= inverse[static_cast<std::size_t>(r)];
            for (int k = start(r); k < r; ++k)
                x[k] -= own[k] * x[r];
        }
        return true;
    }

private:
    // What is left of an element of a row that begins at `begin` without the factors before it.
    double rest(const double *own, int c, int begin)
    {
        const double *other = row(c);
        double sum = own[c];
        for (int k = std::max(begin, start(c)); k < c; ++k)
            sum -= own[k] * other[k];
        return sum;
    }
    int start(int r) const { return first[static_cast<std::size_t>(r)]; }
    double &at(int r, int c) { return row(r)[c]; }
    // So that row(r)[c] is the element; valid from start(r) to r.
    double *row(int r) { return values.data() + (diagonal[static_cast<std::size_t>(r)] - r); }

    std::vector<int> first;
    std::vector<std::ptrdiff_t> diagonal;
    std::vector<double> values;
    std::vector<double> inverse; // of the factors' diagonal
};

} // namespace ztrace::fit

#endif
