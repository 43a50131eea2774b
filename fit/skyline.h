// (c) the ztrace developers. Licence: see LICENSE.
//
// Symmetric positive definite systems of three unknowns a vertex whose rows begin late.
#ifndef ZTRACE_FIT_SKYLINE_H
#define ZTRACE_FIT_SKYLINE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace ztrace::fit {

// Row by row.
typedef std::array<double, 9> Block;

// The lower triangle in blocks, row by row from the first block that may differ from zero; factors
// fill nothing outside of that. A path's joints couple neighbours only, so a row has two or three
// blocks but for the last few of a closed path.
class Skyline
{
public:
    // starts[r] <= r: the first column of row r, in blocks.
    explicit Skyline(const std::vector<int> &starts) : first(starts)
    {
        std::ptrdiff_t at = 0;
        for (std::size_t r = 0; r < first.size(); ++r) {
            begins.push_back(at - first[r]);
            at += static_cast<std::ptrdiff_t>(r) + 1 - first[r];
        }
        blocks.assign(static_cast<std::size_t>(at), Block {});
    }

    void clear() { std::fill(blocks.begin(), blocks.end(), Block {}); }

    // To a block on the diagonal; symmetric.
    void add(int r, const Block &block)
    {
        Block &own = at(r, r);
        for (std::size_t k = 0; k < 9; ++k)
            own[k] += block[k];
    }

    // The products of the unknowns of r with those of c, and of c with those of r; where these are
    // one vertex, both lie on the diagonal.
    void addBoth(int r, int c, const Block &block)
    {
        if (r == c) {
            add(r, block);
            add(r, transposed(block));
            return;
        }
        Block &own = r > c ? at(r, c) : at(c, r);
        const Block other = r > c ? block : transposed(block);
        for (std::size_t k = 0; k < 9; ++k)
            own[k] += other[k];
    }

    // Solves in place by Cholesky's factors; false, and b is void, where a pivot is not positive.
    bool solve(std::vector<double> *b)
    {
        const int n = static_cast<int>(first.size());
        for (int r = 0; r < n; ++r) {
            double *x = b->data() + std::ptrdiff_t(3) * r;
            for (int c = start(r); c < r; ++c) {
                Block &own = at(r, c);
                for (int k = std::max(start(r), start(c)); k < c; ++k)
                    subtractProduct(at(r, k), at(c, k), &own);
                divide(at(c, c), &own);
                subtractFrom(own, b->data() + std::ptrdiff_t(3) * c, x);
                subtractProduct(own, own, &at(r, r));
            }
            if (!factor(&at(r, r)))
                return false;
            forwards(at(r, r), x);
        }
        for (int r = n - 1; r >= 0; --r) {
            double *x = b->data() + std::ptrdiff_t(3) * r;
            backwards(at(r, r), x);
            for (int c = start(r); c < r; ++c)
                subtractFrom(transposed(at(r, c)), x, b->data() + std::ptrdiff_t(3) * c);
        }
        return true;
    }

private:
    static Block transposed(const Block &m)
    {
        return { m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8] };
    }
    // own -= a b'
    static void subtractProduct(const Block &a, const Block &b, Block *own)
    {
        Block &m = *own;
        for (std::size_t r = 0; r < 9; r += 3) {
            for (std::size_t c = 0; c < 3; ++c)
                m[r + c] -= a[r] * b[3 * c] + a[r + 1] * b[3 * c + 1] + a[r + 2] * b[3 * c + 2];
        }
    }
    // x -= m y
    static void subtractFrom(const Block &m, const double *y, double *x)
    {
        for (std::size_t r = 0; r < 3; ++r)
            x[r] -= m[3 * r] * y[0] + m[3 * r + 1] * y[1] + m[3 * r + 2] * y[2];
    }
    // Cholesky's factor of a block, its diagonal inverted.
    static bool factor(Block *own)
    {
        Block &m = *own;
        if (!(m[0] > 0))
            return false;
        m[0] = 1 / std::sqrt(m[0]);
        m[3] *= m[0];
        m[6] *= m[0];
        const double second = m[4] - m[3] * m[3];
        if (!(second > 0))
            return false;
        m[4] = 1 / std::sqrt(second);
        m[7] = (m[7] - m[6] * m[3]) * m[4];
        const double third = m[8] - m[6] * m[6] - m[7] * m[7];
        if (!(third > 0))
            return false;
        m[8] = 1 / std::sqrt(third);
        return true;
    }
    // Each row of `own` by the factor.
    static void divide(const Block &l, Block *own)
    {
        for (std::size_t r = 0; r < 9; r += 3)
            forwards(l, own->data() + r);
    }
    static void forwards(const Block &l, double *x)
    {
        x[0] *= l[0];
        x[1] = (x[1] - l[3] * x[0]) * l[4];
        x[2] = (x[2] - l[6] * x[0] - l[7] * x[1]) * l[8];
    }
    static void backwards(const Block &l, double *x)
    {
        x[2] *= l[8];
        x[1] = (x[1] - l[7] * x[2]) * l[4];
        x[0] = (x[0] - l[3] * x[1] - l[6] * x[2]) * l[0];
    }

    int start(int r) const { return first[static_cast<std::size_t>(r)]; }
    Block &at(int r, int c)
    {
        return blocks[static_cast<std::size_t>(begins[static_cast<std::size_t>(r)] + c)];
    }

    std::vector<int> first;
    std::vector<std::ptrdiff_t> begins; // where a row would have its column 0
    std::vector<Block> blocks;
};

} // namespace ztrace::fit

#endif
