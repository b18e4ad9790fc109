// Internal: the sliding-window filter behind correlation and convolution, for any element type
// (not part of the installed interface). Image filters build on `correlate` / `convolve` below, or
// on `filter2d` directly when they bring their own checks.
//
//     // correlation of u8 image d with filter f, origin at its centre, continued edges
//     const char* err = detail::correlate<unsigned char>(&d, &f, 1, 1, 2, 2, MUTIL_BOUNDARY_CONTINUE, intrp, &y);
//
// Arithmetic (`FilterArith<T>`): integers multiply and accumulate in their own width and wrap
// (modulo 2^8, 2^16, 2^32); float, double and complex accumulate in double precision. Each output
// is the sum over filter rows (outer) and columns (inner), starting from 0. Each output row maps its
// filter rows through the boundary rule once (a row of zeros stands for rows outside the data
// under rule 0); columns whose window lies inside the data then run without boundary tests, and
// only the few border columns read a precomputed column map. Every path adds in the same order,
// so all give the same numbers.
#pragma once

#include <algorithm>
#include <cstdint>

#include "../core/detail.h"

namespace mutils {
namespace detail {

template <class T, bool = std::is_integral_v<T>> struct FilterArith {
    using acc = double;
    static acc mac(acc a, T w, T d) { return a + double(w) * double(d); }
    static T out(acc a) { return T(a); }
};
template <class T> struct FilterArith<T, true> {
    using acc = wrap_t<T>;
    static acc mac(acc a, T w, T d) { return acc(a + acc(w) * acc(d)); }
    static T out(acc a) { return T(a); }
};
template <> struct FilterArith<_dcomplex, false> {
    using acc = _dcomplex;
    static acc mac(acc a, _dcomplex w, _dcomplex d) {
        return {a.re + (w.re * d.re - w.im * d.im), a.im + (w.re * d.im + w.im * d.re)};
    }
    static _dcomplex out(acc a) { return a; }
};

/// Geometry of one filtering: output (i, j) reads data (i * rstep + r0 + rdir * p, j * cstep + c0 +
/// cdir * q) under filter element (p, q). Correlation: rdir = cdir = +1, r0 = -(fr - rorig),
/// c0 = -(fc - corig). Convolution: rdir = cdir = -1, r0 = rorig - 1, c0 = corig - 1.
struct FilterWindow {
    int64_t rstep, cstep, r0, c0;
    int rdir, cdir;
};

namespace filter_impl {

inline int64_t floor_div(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }
inline int64_t ceil_div(int64_t a, int64_t b) { return -floor_div(-a, b); }

/// Outputs [lo, hi) of an axis whose whole window lies in [0, n).
inline void interior(int64_t nout, int64_t n, int64_t step, int64_t base, int dir, int64_t len, int64_t* lo,
                     int64_t* hi) {
    const int64_t off_lo = dir > 0 ? base : base - (len - 1), off_hi = dir > 0 ? base + len - 1 : base;
    *lo = std::min<int64_t>(nout, std::max<int64_t>(0, ceil_div(-off_lo, step)));
    *hi = std::min<int64_t>(nout, floor_div(n - 1 - off_hi, step) + 1);
    if (*hi < *lo) *hi = *lo;
}

/// One output whose columns need the boundary rule: `rows[p]` is the data row under filter row p
/// (a row of zeros outside the data under rule 0), `cols[q]` the mapped column under filter column
/// q (-1: zero).
template <class T> T border_point(const T* const* rows, const int64_t* cols, const T* W, int64_t fr, int64_t fc) {
    using Ar = FilterArith<T>;
    typename Ar::acc a{};
    for (int64_t p = 0; p < fr; ++p)
        for (int64_t q = 0; q < fc; ++q) a = Ar::mac(a, W[p * fc + q], cols[q] < 0 ? T{} : rows[p][cols[q]]);
    return Ar::out(a);
}

/// Outputs j in [jlo, jhi) of one row whose columns all lie inside the data, K at a time in
/// registers; no boundary tests.
template <class T, int K> MUTILS_CLONES void interior_row(const T* const* rows, const T* W, int64_t fr, int64_t fc,
                                                          const FilterWindow& g, int64_t jlo, int64_t jhi, T* y) {
    using Ar = FilterArith<T>;
    using A = typename Ar::acc;
    const int64_t cs = g.cstep;
    int64_t j = jlo;
    for (; j + K <= jhi; j += K) {
        A a[K];
        for (int k = 0; k < K; ++k) a[k] = A{};
        for (int64_t p = 0; p < fr; ++p)
            for (int64_t q = 0; q < fc; ++q) {
                const T* s = rows[p] + j * cs + g.c0 + g.cdir * q;
                const T wq = W[p * fc + q];
                for (int k = 0; k < K; ++k) a[k] = Ar::mac(a[k], wq, s[k * cs]);
            }
        for (int k = 0; k < K; ++k) y[j + k] = Ar::out(a[k]);
    }
    for (; j < jhi; ++j) {
        A a{};
        for (int64_t p = 0; p < fr; ++p) {
            const T* s = rows[p] + j * cs + g.c0;
            for (int64_t q = 0; q < fc; ++q) a = Ar::mac(a, W[p * fc + q], s[g.cdir * q]);
        }
        y[j] = Ar::out(a);
    }
}

/// The double kernel for contiguous columns: 32 outputs in eight 4-wide registers per block.
template <class T> MUTILS_CLONES void interior_row_unit(const T* const* rows, const T* W, int64_t fr, int64_t fc,
                                                        const FilterWindow& g, int64_t jlo, int64_t jhi, T* y) {
    static_assert(std::is_same_v<T, double>);
    typedef double v4 __attribute__((vector_size(32), aligned(8), __may_alias__));
    constexpr int V = 8, K = 4 * V;
    int64_t j = jlo;
    for (; j + K <= jhi; j += K) {
        v4 a[V];
        for (int v = 0; v < V; ++v) a[v] = v4{0.0, 0.0, 0.0, 0.0};
        for (int64_t p = 0; p < fr; ++p)
            for (int64_t q = 0; q < fc; ++q) {
                const double* s = rows[p] + j + g.c0 + g.cdir * q;
                const double w = W[p * fc + q];
                const v4 wv = {w, w, w, w};
                for (int v = 0; v < V; ++v) a[v] = a[v] + wv * *reinterpret_cast<const v4*>(s + 4 * v);
            }
        for (int v = 0; v < V; ++v) *reinterpret_cast<v4*>(y + j + 4 * v) = a[v];
    }
    interior_row<double, 4>(rows, W, fr, fc, g, j, jhi, y);
}

}  // namespace filter_impl

/// Y (yr x yc, yr <= nr, yc <= nc) from data D (nr x nc) and filter W (fr x fc) over window g, with
/// boundary rule 0 to 3 (not checked here). Polls 4 * fr * fc * nc per output row.
template <class T> const char* filter2d(const T* D, int64_t nr, int64_t nc, const T* W, int64_t fr, int64_t fc,
                                        const FilterWindow& g, int32_t boundary, T* Y, int64_t yr, int64_t yc,
                                        Poll& poll) {
    using namespace filter_impl;
    constexpr int K = std::is_same_v<T, _dcomplex> ? 4 : std::is_integral_v<T> && sizeof(T) < 4 ? 32 : 16;
    int64_t jlo, jhi;
    interior(yc, nc, g.cstep, g.c0, g.cdir, fc, &jlo, &jhi);
    // Mapped columns of the border outputs (left of jlo, right of jhi), fc per output.
    const int64_t nborder = jlo + (yc - jhi);
    int64_t* cmap = work_array<int64_t>(std::max<int64_t>(1, nborder * fc));
    for (int64_t b = 0; b < nborder; ++b) {
        const int64_t j = b < jlo ? b : jhi + (b - jlo);
        for (int64_t q = 0; q < fc; ++q)
            cmap[b * fc + q] = boundary_index(j * g.cstep + g.c0 + g.cdir * q, nc, boundary);
    }
    const T** rows = work_array<const T*>(fr);
    const T* zeros = work_array_zero<T>(nc);
    const double cost = 4.0 * double(fr) * double(fc) * double(nc);
    for (int64_t i = 0; i < yr; ++i) {
        for (int64_t p = 0; p < fr; ++p) {
            const int64_t r = boundary_index(i * g.rstep + g.r0 + g.rdir * p, nr, boundary);
            rows[p] = r < 0 ? zeros : D + r * nc;
        }
        T* y = Y + i * yc;
        for (int64_t j = 0; j < jlo; ++j) y[j] = border_point(rows, cmap + j * fc, W, fr, fc);
        if constexpr (std::is_same_v<T, double>) {
            if (g.cstep == 1)
                interior_row_unit<T>(rows, W, fr, fc, g, jlo, jhi, y);
            else
                interior_row<T, K>(rows, W, fr, fc, g, jlo, jhi, y);
        } else {
            interior_row<T, K>(rows, W, fr, fc, g, jlo, jhi, y);
        }
        for (int64_t j = jhi; j < yc; ++j) y[j] = border_point(rows, cmap + (jlo + j - jhi) * fc, W, fr, fc);
        MUTILS_TRY(poll.add(cost));
    }
    return nullptr;
}

/// The checks of correlation and convolution, in order: sizes (Y no larger than D), Y sharing
/// storage with D or F, steps and origins, boundary rule.
template <class M> const char* check_filter(const M* d, const M* f, int32_t rstep, int32_t cstep, int32_t rorig,
                                            int32_t corig, int32_t boundary, const M* y) {
    validate(d);
    validate(f);
    validate(y);
    if (d->nrow < y->nrow || d->ncol < y->ncol) return msg::array_size_mismatch;
    MUTILS_TRY(require_distinct(d, y));
    MUTILS_TRY(require_distinct(f, y));
    if (rstep < 1 || cstep < 1 || rorig < 1 || corig < 1 || rorig > f->nrow || corig > f->ncol)
        return msg::illegal_data_value;
    return require_boundary(boundary);
}

/// Y[i][j] = sum_p sum_q F[p][q] D_b[i rstep + p - (fr - rorig)][j cstep + q - (fc - corig)].
template <class T> const char* correlate(const mat_t<T>* d, const mat_t<T>* f, int32_t rstep, int32_t cstep,
                                         int32_t rorig, int32_t corig, int32_t boundary, void* intrp, mat_t<T>* y) {
    MUTILS_TRY(check_filter(d, f, rstep, cstep, rorig, corig, boundary, y));
    Poll poll(intrp);
    const FilterWindow g{rstep, cstep, -int64_t(f->nrow - rorig), -int64_t(f->ncol - corig), 1, 1};
    return filter2d<T>(d->data, d->nrow, d->ncol, f->data, f->nrow, f->ncol, g, boundary, y->data, y->nrow, y->ncol,
                       poll);
}

/// Y[i][j] = sum_p sum_q F[p][q] D_b[i rstep + (rorig - 1) - p][j cstep + (corig - 1) - q].
template <class T> const char* convolve(const mat_t<T>* d, const mat_t<T>* f, int32_t rstep, int32_t cstep,
                                        int32_t rorig, int32_t corig, int32_t boundary, void* intrp, mat_t<T>* y) {
    MUTILS_TRY(check_filter(d, f, rstep, cstep, rorig, corig, boundary, y));
    Poll poll(intrp);
    const FilterWindow g{rstep, cstep, int64_t(rorig) - 1, int64_t(corig) - 1, -1, -1};
    return filter2d<T>(d->data, d->nrow, d->ncol, f->data, f->nrow, f->ncol, g, boundary, y->data, y->nrow, y->ncol,
                       poll);
}

}  // namespace detail
}  // namespace mutils
