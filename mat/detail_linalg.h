// Internal kernels of the linear algebra (not part of the installed interface): a packed,
// cache-blocked matrix product on row-major blocks with arbitrary row strides, and the Householder
// QR least-squares solver shared by the non-negative least squares and the polynomial fits.
//
// The kernel never reorders a sum. Every result element is one chain of operations over the
// inner index p = 0, 1, 2, ... in increasing order:
//   product:   c = 0;  c = c + a[p] * b[p]  for each p
//   subtract:  c = c - a[p] * b[p]          for each p (starting from the value in C)
// with each multiplication and each addition rounded on its own (no fused multiply-add), so the
// results are bit-identical to the plain triple loop on every processor. Speed comes from
// vectorising across result columns, register tiles and packing blocks for the caches.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "../core/detail.h"

namespace mutils {
namespace detail {

enum class GemmMode { Assign, Subtract };

/// Packing buffers for products of at most `max_cols` result columns, taken once per operation
/// from the arena (a decomposition makes many products and must not allocate each time).
template <class T> struct GemmWork {
    T* apack = nullptr;
    T* bpack = nullptr;
    int64_t bcols = 0;  // columns the B buffer holds per block
    static GemmWork make(int64_t max_cols, int64_t max_inner);
};

/// C (m x n, row stride ldc) = A (m x k, stride lda) * B (k x n, stride ldb) under `mode`.
/// The work of each block (2 * rows * cols * depth) is charged to `poll`; returns "interrupted"
/// when the poll asks to stop (C is then partly updated).
template <class T> const char* gemm(GemmWork<T>& work, GemmMode mode, int64_t m, int64_t n, int64_t k, const T* a,
                                    int64_t lda, const T* b, int64_t ldb, T* c, int64_t ldc, Poll& poll);

/// y[i] = y[i] - alpha * x[i] for i < n (each product and difference rounded on its own).
template <class T> void axpy_subtract(T* y, const T* x, T alpha, int64_t n);

/// Euclidean norm of n values `stride` apart, without overflow or underflow of the squares.
inline double norm2(const double* v, int64_t n, int64_t stride = 1) {
    double big = 0.0;
    for (int64_t i = 0; i < n; ++i) big = std::max(big, std::fabs(v[i * stride]));
    if (big == 0.0) return 0.0;
    double s = 0.0;
    for (int64_t i = 0; i < n; ++i) {
        const double t = v[i * stride] / big;
        s += t * t;
    }
    return big * std::sqrt(s);
}

/// Least squares min |Q z - b| by Householder QR without pivoting. Q is m x k column-major and is
/// overwritten by its factorisation; b (m values) is overwritten by Q^T b, and its first k values
/// then by the solution z. `rdiag` holds k values of scratch. A column whose remaining norm (the
/// pivot) is not above 1e-12 * scale(c) counts as dependent on the ones before it: the answer is
/// then false and z is not computed.
template <class Scale>
bool householder_least_squares(double* q, int64_t m, int64_t k, double* b, double* rdiag, Scale&& scale) {
    for (int64_t c = 0; c < k; ++c) {
        double* col = q + c * m;
        const double norm = c < m ? norm2(col + c, m - c) : 0.0;
        if (!(norm > 1e-12 * scale(c))) return false;
        const double x0 = col[c];
        const double alpha = x0 > 0 ? -norm : norm;
        const double half_vv = alpha * (alpha - x0);  // v^T v / 2 for v = x - alpha e1
        col[c] = x0 - alpha;
        auto reflect = [&](double* y) {
            double s = 0.0;
            for (int64_t i = c; i < m; ++i) s += col[i] * y[i];
            s /= half_vv;
            for (int64_t i = c; i < m; ++i) y[i] -= s * col[i];
        };
        for (int64_t c2 = c + 1; c2 < k; ++c2) reflect(q + c2 * m);
        reflect(b);
        rdiag[c] = alpha;
    }
    for (int64_t c = k - 1; c >= 0; --c) {
        double s = b[c];
        for (int64_t c2 = c + 1; c2 < k; ++c2) s -= q[c2 * m + c] * b[c2];
        b[c] = s / rdiag[c];
    }
    return true;
}

}  // namespace detail
}  // namespace mutils
