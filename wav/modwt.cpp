#include "modwt.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "../core/detail.h"
#include "../mat/cast.h"

namespace mutils {
namespace detail {
namespace {

// Outputs are formed a block at a time, taps outermost: each tap then adds a contiguous (or
// twice contiguous, at the wrap) stretch of the input to accumulators that stay in L1, and
// every output is still summed in tap order, exactly as the direct formula sums it.
constexpr int64_t kBlock = 512;

// Level-j tap offsets: the input of output t under tap l sits at (t + off[l]) mod n, with
// off[l] in [0, n). Analysis reads behind (t - l s), synthesis ahead (t + l s).
int64_t* tap_offsets(int32_t L, int64_t stride, int64_t n, bool ahead) {
    int64_t* off = work_array<int64_t>(L);
    for (int32_t l = 0; l < L; ++l) {
        const int64_t shift = (int64_t(l) * stride) % n;
        off[l] = ahead ? shift : (shift == 0 ? 0 : n - shift);
    }
    return off;
}

// Calls body(out, in, k) for the stretches of one block: out at [t0, t0 + m), input starting
// at the circular position p.
template <class F> inline void segments(int64_t t0, int64_t m, int64_t p, int64_t n, F&& body) {
    int64_t i = 0;
    while (i < m) {
        const int64_t k = std::min(m - i, n - p);
        body(t0 + i, p, k);
        i += k;
        p = 0;
    }
}

// One analysis level: wcol[t * stride] = sum_l fa[l] v[(t + off[l]) mod n], vcol[t * stride] and
// next[t] likewise with fb. The sums of a block are formed in local accumulators and then
// written to the two result columns and to the next level's contiguous input.
MUTILS_CLONES
void analysis_pair(const double* __restrict v, int64_t n, const double* fa, const double* fb, int32_t L,
                   const int64_t* off, double* __restrict wcol, double* __restrict vcol, int64_t stride,
                   double* __restrict next) {
    alignas(64) double a[kBlock];
    alignas(64) double b[kBlock];
    for (int64_t t0 = 0; t0 < n; t0 += kBlock) {
        const int64_t m = std::min(kBlock, n - t0);
        std::fill(a, a + m, 0.0);
        std::fill(b, b + m, 0.0);
        for (int32_t l = 0; l < L; ++l) {
            const double ca = fa[l], cb = fb[l];
            int64_t p = t0 + off[l];
            if (p >= n) p -= n;
            segments(0, m, p, n, [&](int64_t o, int64_t q, int64_t k) {
                double* __restrict ao = a + o;
                double* __restrict bo = b + o;
                const double* __restrict vi = v + q;
                for (int64_t i = 0; i < k; ++i) {
                    ao[i] += ca * vi[i];
                    bo[i] += cb * vi[i];
                }
            });
        }
        for (int64_t i = 0; i < m; ++i) {
            wcol[(t0 + i) * stride] = a[i];
            vcol[(t0 + i) * stride] = b[i];
            next[t0 + i] = b[i];
        }
    }
}

// a[i] = sum_l fa[l] in[i - l s] and b likewise with fb, for i in [0, m): two filters over a
// linear input that is readable back to in[-(L-1) s].
MUTILS_CLONES
void filter_linear(const double* in, int64_t m, const double* fa, const double* fb, int32_t L, int64_t s,
                   double* __restrict a, double* __restrict b) {
    std::fill(a, a + m, 0.0);
    std::fill(b, b + m, 0.0);
    for (int32_t l = 0; l < L; ++l) {
        const double* __restrict src = in - int64_t(l) * s;
        const double ca = fa[l], cb = fb[l];
        for (int64_t i = 0; i < m; ++i) {
            a[i] += ca * src[i];
            b[i] += cb * src[i];
        }
    }
}

// Results of at least this many elements each are written with streaming stores, which do not
// read the lines into cache first: such results are far larger than the cache, and nothing here
// reads them again.
constexpr int64_t kStreamElements = int64_t(1) << 19;

bool can_stream(const double* R, int32_t J) {
#if defined(__SSE2__)
    return J % 2 == 0 && reinterpret_cast<uintptr_t>(R) % 16 == 0;
#else
    (void)R;
    (void)J;
    return false;
#endif
}

/// Rows t0 .. t0 + m - 1 of an n x J result from J column blocks of kBlock values.
void write_rows(const double* cols, int64_t t0, int64_t m, int32_t J, bool stream, double* R) {
#if defined(__SSE2__)
    if (stream) {
        for (int64_t i = 0; i < m; ++i) {
            double* row = R + (t0 + i) * J;
            for (int32_t j = 0; j < J; j += 2)
                _mm_stream_pd(row + j, _mm_set_pd(cols[int64_t(j + 1) * kBlock + i], cols[int64_t(j) * kBlock + i]));
        }
        return;
    }
#endif
    (void)stream;
    for (int64_t i = 0; i < m; ++i) {
        double* row = R + (t0 + i) * J;
        for (int32_t j = 0; j < J; ++j) row[j] = cols[int64_t(j) * kBlock + i];
    }
}

/// The pyramid in one sweep over t: every level of a block of outputs is computed before the
/// next block, so each row of W and V is written once, whole, instead of once per level.
/// Level j reads level j-1 back to D_j = (L-1) 2^(j-1) samples behind t; each level keeps a
/// window of that history. At the start the history wraps round to the end of the signal, so
/// the levels' values there (the tails, T_k = D_(k+1) + ... + D_J samples of level k) are
/// computed first. Needs T_0 < n; `sweep_fits` says whether it does.
bool sweep_fits(int64_t n, int32_t L, int32_t J) { return int64_t(L - 1) * ((int64_t(1) << J) - 1) < n; }

const char* pyramid_sweep(const double* x, int64_t n, const double* h, const double* g, int32_t L, int32_t J, double* W,
                          double* V, Poll& poll) {
    int64_t* D = work_array<int64_t>(J + 2);
    int64_t* T = work_array<int64_t>(J + 1);
    for (int32_t j = 1; j <= J; ++j) D[j] = int64_t(L - 1) << (j - 1);
    D[J + 1] = 0;
    T[J] = 0;
    for (int32_t k = J - 1; k >= 0; --k) T[k] = T[k + 1] + D[k + 1];

    // tail[k][i] is level k at t = n - T[k] + i.
    const double** tail = work_array<const double*>(J);
    tail[0] = x + (n - T[0]);
    double* scratch = work_array<double>(J > 1 ? T[1] : 1);
    for (int32_t k = 1; k < J; ++k) {
        double* out = work_array<double>(T[k]);
        filter_linear(tail[k - 1] + D[k], T[k], h, g, L, int64_t(1) << (k - 1), scratch, out);
        tail[k] = out;
    }
    // win[k][i] is level k at t = t0 - D[k+1] + i.
    double** win = work_array<double*>(J);
    for (int32_t k = 0; k < J; ++k) {
        win[k] = work_array<double>(D[k + 1] + kBlock);
        std::copy(tail[k] + (T[k] - D[k + 1]), tail[k] + T[k], win[k]);
    }
    double* a = work_array<double>(int64_t(J) * kBlock);
    double* b = work_array<double>(int64_t(J) * kBlock);
    const bool stream = can_stream(W, J) && can_stream(V, J) && int64_t(n) * J >= kStreamElements;
    for (int64_t t0 = 0; t0 < n; t0 += kBlock) {
        const int64_t m = std::min(kBlock, n - t0);
        std::copy(x + t0, x + t0 + m, win[0] + D[1]);
        for (int32_t j = 1; j <= J; ++j) {
            double* aj = a + int64_t(j - 1) * kBlock;
            double* bj = b + int64_t(j - 1) * kBlock;
            filter_linear(win[j - 1] + D[j], m, h, g, L, int64_t(1) << (j - 1), aj, bj);
            if (j < J) std::copy(bj, bj + m, win[j] + D[j + 1]);
        }
        write_rows(a, t0, m, J, stream, W);
        write_rows(b, t0, m, J, stream, V);
        for (int32_t k = 0; k < J; ++k) std::memmove(win[k], win[k] + m, std::size_t(D[k + 1]) * sizeof(double));
        MUTILS_TRY(poll.add(3.0 * double(m) * L * J));
    }
#if defined(__SSE2__)
    if (stream) _mm_sfence();
#endif
    return nullptr;
}

// a[t] = sum_l f[l] v[(t + off[l]) mod n] (one packet node).
MUTILS_CLONES
void analysis_one(const double* __restrict v, int64_t n, const double* f, int32_t L, const int64_t* off,
                  double* __restrict a) {
    for (int64_t t0 = 0; t0 < n; t0 += kBlock) {
        const int64_t m = std::min(kBlock, n - t0);
        std::fill(a + t0, a + t0 + m, 0.0);
        for (int32_t l = 0; l < L; ++l) {
            const double c = f[l];
            int64_t p = t0 + off[l];
            if (p >= n) p -= n;
            segments(t0, m, p, n, [&](int64_t o, int64_t q, int64_t k) {
                double* __restrict ao = a + o;
                const double* __restrict vi = v + q;
                for (int64_t i = 0; i < k; ++i) ao[i] += c * vi[i];
            });
        }
    }
}

// y[t] = sum_l (g[l] s[(t + off[l]) mod n] + h[l] w[(t + off[l]) mod n]) (one synthesis level).
MUTILS_CLONES
void synthesis(const double* __restrict s, const double* __restrict w, int64_t n, const double* g, const double* h,
               int32_t L, const int64_t* off, double* __restrict y) {
    for (int64_t t0 = 0; t0 < n; t0 += kBlock) {
        const int64_t m = std::min(kBlock, n - t0);
        std::fill(y + t0, y + t0 + m, 0.0);
        for (int32_t l = 0; l < L; ++l) {
            const double cg = g[l], ch = h[l];
            int64_t p = t0 + off[l];
            if (p >= n) p -= n;
            segments(t0, m, p, n, [&](int64_t o, int64_t q, int64_t k) {
                double* __restrict yo = y + o;
                const double* __restrict si = s + q;
                const double* __restrict wi = w + q;
                for (int64_t i = 0; i < k; ++i) yo[i] += cg * si[i] + ch * wi[i];
            });
        }
    }
}

// Column c of a row-major n x ncol matrix, to and from a contiguous vector.
void get_column(const double* m, int64_t n, int32_t ncol, int32_t c, double* out) {
    for (int64_t t = 0; t < n; ++t) out[t] = m[t * ncol + c];
}
void put_column(const double* in, int64_t n, int32_t ncol, int32_t c, double* m) {
    for (int64_t t = 0; t < n; ++t) m[t * ncol + c] = in[t];
}

/// floor(log2 n) for n >= 1, exactly.
int32_t max_level(int32_t n) { return int32_t(std::bit_width(uint32_t(n))) - 1; }

bool single_column(const _univ_mat* m) { return m->ncol == 1; }
bool is_double(const _univ_mat* m) { return m->type == MUTIL_DOUBLE; }

/// "Illegal data type" unless f is double, then "array size mismatch" unless it is a column.
const char* require_filter(const _univ_mat* f) {
    if (!is_double(f)) return msg::illegal_data_type;
    return single_column(f) ? nullptr : msg::array_size_mismatch;
}

/// "array size mismatch" unless 1 <= J <= floor(log2 n) and the filters have one length.
const char* require_levels(int32_t J, int32_t n, const _univ_mat* h, const _univ_mat* g) {
    if (J < 1 || J > max_level(n)) return msg::array_size_mismatch;
    return h->nelem == g->nelem ? nullptr : msg::array_size_mismatch;
}

/// A copy of the filter multiplied by 1/sqrt(2), the maximum-overlap normalisation.
double* rescaled(const _univ_mat* f) {
    const double r = 1.0 / std::sqrt(2.0);
    const double* src = static_cast<const double*>(f->data);
    double* out = work_array<double>(f->nelem);
    for (int32_t l = 0; l < f->nelem; ++l) out[l] = src[l] * r;
    return out;
}

/// The signal as doubles: a double signal is read in place, any other type is converted.
const char* signal_as_double(const _univ_mat* x, void* intrp, const double** out) {
    if (!is_matrix_tag(x->type)) return msg::illegal_data_type;
    if (is_double(x)) {
        *out = static_cast<const double*>(x->data);
        return nullptr;
    }
    _univ_mat tmp;
    matuniv_malloc(&tmp, x->nrow, 1, MUTIL_DOUBLE);
    matuniv_cast(x, 0, intrp, &tmp);
    *out = static_cast<const double*>(tmp.data);
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* wavuniv_transform_maximum_overlap(const _univ_mat* x, const _univ_mat* h, const _univ_mat* g, int32_t J,
                                              void* intrp, _univ_mat* W, _univ_mat* V) {
    if (!x) return msg::array_size_mismatch;
    for (const _univ_mat* m : {x, h, g, static_cast<const _univ_mat*>(W), static_cast<const _univ_mat*>(V)})
        validate(m);
    if (!single_column(x)) return msg::array_size_mismatch;
    MUTILS_TRY(require_filter(h));
    MUTILS_TRY(require_filter(g));
    if (!is_double(W) || !is_double(V)) return msg::illegal_data_type;
    const int32_t n = x->nrow;
    MUTILS_TRY(require_levels(J, n, h, g));
    MUTILS_TRY(require_size(W, n, J));
    // Checked as well, so that a wrongly shaped V can never be written out of bounds.
    MUTILS_TRY(require_size(V, n, J));

    const double* v;
    MUTILS_TRY(signal_as_double(x, intrp, &v));
    const int32_t L = h->nelem;
    const double* ht = rescaled(h);
    const double* gt = rescaled(g);
    double* Wd = static_cast<double*>(W->data);
    double* Vd = static_cast<double*>(V->data);
    Poll poll(intrp);
    if (sweep_fits(n, L, J)) return pyramid_sweep(v, n, ht, gt, L, J, Wd, Vd, poll);
    // Filters that span the signal: level by level, with circular indices.
    double* s[2] = {work_array<double>(n), work_array<double>(n)};
    for (int32_t j = 1; j <= J; ++j) {
        const int64_t* off = tap_offsets(L, int64_t(1) << (j - 1), n, false);
        double* next = s[j & 1];
        analysis_pair(v, n, ht, gt, L, off, Wd + (j - 1), Vd + (j - 1), J, next);
        v = next;
        MUTILS_TRY(poll.add(3.0 * n * L));
    }
    return nullptr;
}

const char* wavuniv_transform_maximum_overlap_packet(const _univ_mat* x, const _univ_mat* h, const _univ_mat* g,
                                                     int32_t J, void* intrp, _univ_mat* P) {
    if (!x) return msg::array_size_mismatch;
    for (const _univ_mat* m : {x, h, g, static_cast<const _univ_mat*>(P)}) validate(m);
    const int32_t n = x->nrow;
    MUTILS_TRY(require_levels(J, n, h, g));
    const int32_t nodes = (int32_t(1) << (J + 1)) - 1;
    if (P->ncol != nodes || P->nrow != n || !single_column(x)) return msg::array_size_mismatch;
    MUTILS_TRY(require_filter(h));
    MUTILS_TRY(require_filter(g));
    if (!is_double(P)) return msg::illegal_data_type;

    const double* x0;
    MUTILS_TRY(signal_as_double(x, intrp, &x0));
    const int32_t L = h->nelem;
    const double* ht = rescaled(h);
    const double* gt = rescaled(g);
    // Node rows, heap order; row 0 is the signal itself.
    double* rows = work_array<double>(int64_t(nodes) * n);
    std::copy(x0, x0 + n, rows);
    Poll poll(intrp);
    for (int32_t j = 1; j <= J; ++j) {
        const int64_t* off = tap_offsets(L, int64_t(1) << (j - 1), n, false);
        const int64_t first = (int64_t(1) << j) - 1, parent_first = (int64_t(1) << (j - 1)) - 1;
        for (int64_t k = 0; k < (int64_t(1) << j); ++k) {
            const double* f = (k % 4 == 0 || k % 4 == 3) ? gt : ht;
            analysis_one(rows + (parent_first + k / 2) * n, n, f, L, off, rows + (first + k) * n);
            MUTILS_TRY(poll.add(3.0 * n * L));
        }
    }
    // Transpose the node rows into P's columns, a tile at a time.
    double* Pd = static_cast<double*>(P->data);
    constexpr int64_t tile = 32;
    for (int64_t t0 = 0; t0 < n; t0 += tile)
        for (int64_t c0 = 0; c0 < nodes; c0 += tile)
            for (int64_t c = c0; c < std::min<int64_t>(c0 + tile, nodes); ++c)
                for (int64_t t = t0; t < std::min<int64_t>(t0 + tile, n); ++t) Pd[t * nodes + c] = rows[c * n + t];
    return nullptr;
}

const char* wavuniv_transform_maximum_overlap_inverse(const _univ_mat* Z, const _univ_mat* h, const _univ_mat* g,
                                                      int32_t J, void* intrp, _univ_mat* y) {
    for (const _univ_mat* m : {Z, h, g, static_cast<const _univ_mat*>(y)}) validate(m);
    if (!is_double(Z)) return msg::illegal_data_type;
    MUTILS_TRY(require_filter(h));
    MUTILS_TRY(require_filter(g));
    if (!is_double(y)) return msg::illegal_data_type;
    const int32_t n = Z->nrow;
    MUTILS_TRY(require_levels(J, n, h, g));
    MUTILS_TRY(require_size(Z, n, J + 1));
    MUTILS_TRY(require_size(y, n, J + 1));

    const int32_t L = h->nelem;
    const double* ht = rescaled(h);
    const double* gt = rescaled(g);
    const double* Zd = static_cast<const double*>(Z->data);
    double* yd = static_cast<double*>(y->data);
    const int32_t ncol = J + 1;
    double* s[2] = {work_array<double>(n), work_array<double>(n)};
    double* w = work_array<double>(n);
    get_column(Zd, n, ncol, 0, s[0]);
    put_column(s[0], n, ncol, 0, yd);
    Poll poll(intrp);
    for (int32_t j = J; j >= 1; --j) {
        const int32_t c = J - j + 1;
        const int64_t* off = tap_offsets(L, int64_t(1) << (j - 1), n, true);
        get_column(Zd, n, ncol, c, w);
        synthesis(s[(c - 1) & 1], w, n, gt, ht, L, off, s[c & 1]);
        put_column(s[c & 1], n, ncol, c, yd);
        MUTILS_TRY(poll.add(3.0 * n));
    }
    return nullptr;
}

}  // namespace mutils
