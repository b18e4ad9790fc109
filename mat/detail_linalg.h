// Internal kernels of the linear algebra (not part of the installed interface): a packed,
// cache-blocked matrix product on row-major blocks with arbitrary row strides.
//
// The kernel never reorders a sum. Every result element is one chain of operations over the
// inner index p = 0, 1, 2, ... in increasing order:
//   product:   c = 0;  c = c + a[p] * b[p]  for each p
//   subtract:  c = c - a[p] * b[p]          for each p (starting from the value in C)
// with each multiplication and each addition rounded on its own (no fused multiply-add), so the
// results are bit-identical to the plain triple loop on every processor. Speed comes from
// vectorising across result columns, register tiles and packing blocks for the caches.
#pragma once

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

}  // namespace detail
}  // namespace mutils
