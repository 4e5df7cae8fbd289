#include "geo/nbMatrix.h"

#include "util/nbArray.h"
#include "util/nbGuard.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>

namespace {
std::size_t dimension(int n)
{
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

std::size_t elements(int rows, int cols)
{
    return dimension(rows) * dimension(cols);
}

// Brings the largest element of column k, from row k down, to row k. Of equal ones the topmost
// wins.
void pivot(std::size_t k, std::span<std::int32_t> index, double* m)
{
    const std::size_t n = index.size();
    std::size_t best = k;
    for (std::size_t i = k + 1; i < n; ++i)
        if (std::abs(m[i * n + k]) > std::abs(m[best * n + k])) best = i;
    if (best == k || m[best * n + k] == 0) return;
    std::swap_ranges(m + k * n, m + (k + 1) * n, m + best * n);
    std::swap(index[k], index[best]);
}

// The row swaps of the matrix are column swaps of its inverse.
void undoPivots(std::span<std::int32_t> index, double* m)
{
    const std::size_t n = index.size();
    for (std::size_t k = 0; k + 1 < n; ++k) {
        const auto wanted = static_cast<std::int32_t>(k);
        if (index[k] == wanted) continue;
        const auto j = static_cast<std::size_t>(
            std::find(index.begin() + wanted + 1, index.end(), wanted) - index.begin());
        for (std::size_t i = 0; i < n; ++i)
            std::swap(m[i * n + k], m[i * n + j]);
        std::swap(index[k], index[j]);
    }
}

// Gauss-Jordan elimination in place; false at a pivot of exactly 0.
bool invert(std::span<std::int32_t> index, double* m)
{
    const std::size_t n = index.size();
    std::iota(index.begin(), index.end(), 0);
    for (std::size_t k = 0; k < n; ++k) {
        pivot(k, index, m);
        double* rowK = m + k * n;
        const double p = rowK[k];
        if (p == 0) return false;
        rowK[k] = 1;
        for (std::size_t j = 0; j < n; ++j)
            rowK[j] /= p;
        for (std::size_t i = 0; i < n; ++i) {
            if (i == k) continue;
            double* row = m + i * n;
            const double f = row[k];
            for (std::size_t j = 0; j < n; ++j)
                if (j != k) row[j] -= f * rowK[j];
            row[k] = -f / p;
        }
    }
    undoPivots(index, m);
    return true;
}
} // namespace

void nbMultMat(const double* a, const double* b, int rows, int inner, int cols, double* out)
{
    const std::size_t r = dimension(rows);
    const std::size_t n = dimension(inner);
    const std::size_t c = dimension(cols);
    for (std::size_t i = 0; i < r; ++i) {
        for (std::size_t j = 0; j < c; ++j) {
            double sum = 0;
            for (std::size_t k = 0; k < n; ++k)
                sum += a[i * n + k] * b[k * c + j];
            out[i * c + j] = sum;
        }
    }
}

void nbSumMat(const double* a, const double* b, int rows, int cols, double* out)
{
    const std::size_t n = elements(rows, cols);
    for (std::size_t i = 0; i < n; ++i)
        out[i] = a[i] + b[i];
}

void nbSubMat(const double* a, const double* b, int rows, int cols, double* out)
{
    const std::size_t n = elements(rows, cols);
    for (std::size_t i = 0; i < n; ++i)
        out[i] = a[i] - b[i];
}

void nbTransMat(const double* a, int rows, int cols, double* out)
{
    const std::size_t r = dimension(rows);
    const std::size_t c = dimension(cols);
    for (std::size_t i = 0; i < r; ++i)
        for (std::size_t j = 0; j < c; ++j)
            out[j * r + i] = a[i * c + j];
}

void nbCopyMat(const double* a, int rows, int cols, double* out)
{
    if (a != out) std::copy_n(a, elements(rows, cols), out);
}

int nbInvMat(const double* a, int n, double* out)
{
    const std::size_t size = dimension(n);
    nbCopyMat(a, n, n, out);
    std::array<std::int32_t, 8> small; // rotations are 3 x 3 and inverted often: no allocation
    if (size <= small.size()) return invert(std::span(small).first(size), out) ? 0 : -1;
    return nbpGuard("nbInvMat()", -1, [&] {
        NbArray<std::int32_t> index(size, 0, NbAllocator<std::int32_t>("nbInvMat()"));
        return invert(index, out) ? 0 : -1;
    });
}
