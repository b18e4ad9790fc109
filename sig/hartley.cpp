// The unitary Hartley transform of power-of-two vectors (split radix, decimation in frequency) and
// the power-of-two cosine transforms built on it.
//
// Split-radix step for a length n = 4M (H the unnormalised transform, d_j = x_j - x_{j+2M},
// e_j = x_{j+M} - x_{j+3M}, j' = M - j, theta = 2 pi j / n):
//   H[2k]   = DHT_{2M}(x_j + x_{j+2M})[k]
//   H[4k+1] = DHT_M(p1)[k],  p1_j = cos(theta)(d_j + d_j') + sin(theta)(e_j' - e_j)
//   H[4k+3] = DHT_M(p3)[k],  p3_j = cos(3 theta)(d_j - d_j') + sin(3 theta)(e_j + e_j')
// (p1_0 = d_0 + e_0, p3_0 = d_0 - e_0; at j = M/2, p1 = sqrt(2) d, p3 = sqrt(2) e). The halves and
// quarters are transformed in place, depth first, so long transforms soon work inside the cache;
// the result is in bit-reversed order, and the final permutation also applies 1/sqrt(N).
//
// Twiddle table of length N: element 0 holds N, then four runs of N/8 - 1 values, for
// k = 1 ... N/8 - 1 and alpha = 2 pi / N: cos(k alpha), sin(k alpha), cos(3k alpha), sin(3k alpha).
// A sub-transform of length n reads entry j * N / n. The cosine table extends it to 3N/2 values:
// elements N/2 + k hold a_k = (cos t_k - sin t_k) / sqrt(2) and N + k hold b_k = (cos t_k + sin t_k)
// / sqrt(2), t_k = k pi / (2N), for k < N/2.
#include <cmath>
#include <cstring>
#include <utility>

#include "detail_fft.h"
#include "transform.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kPi = 3.141592653589793238462643383279502884;
constexpr double kSqrt2 = 1.4142135623730950488016887242097;
constexpr double kHalfSqrt2 = 0.70710678118654752440084436210485;

struct Table {
    double* t;
    int64_t N;
    int64_t q() const { return N / 8 - 1; }
};

/// Rebuilds the Hartley part of `t` unless element 0 already names length N.
void hartley_table(double* t, int64_t N) {
    if (int64_t(t[0]) == N) return;
    t[0] = double(N);
    const int64_t q = N / 8 - 1;
    if (q <= 0) return;
    const UnitRoots w(3 * q + 1, 2.0 * kPi / double(N));
    for (int64_t k = 1; k <= q; ++k) {
        const _dcomplex a = w[k], b = w[3 * k];
        t[k] = a.re;
        t[q + k] = a.im;
        t[2 * q + k] = b.re;
        t[3 * q + k] = b.im;
    }
}

/// A table with room for the cosine rotation: 3N/2 values (at least the Hartley part).
double* new_table(int64_t N, bool with_cosine) {
    const int64_t size = with_cosine ? (3 * N / 2 > 1 ? 3 * N / 2 : 1) : (N / 2 > 1 ? N / 2 : 1);
    double* t = work_array<double>(size);
    t[0] = -1.0;
    hartley_table(t, N);
    if (with_cosine && N >= 2) {
        const UnitRoots w(N / 2, kPi / (2.0 * double(N)));
        for (int64_t k = 0; k < N / 2; ++k) {
            t[N / 2 + k] = (w[k].re - w[k].im) * kHalfSqrt2;
            t[N + k] = (w[k].re + w[k].im) * kHalfSqrt2;
        }
    }
    return t;
}

// One split-radix step on x[0 .. n), n >= 8.
MUTILS_CLONES void fht_step(double* __restrict x, int64_t n, const double* __restrict t, int64_t N) {
    const int64_t M = n / 4, stride = N / n, q = N / 8 - 1;
    double* x0 = x;
    double* x1 = x + M;
    double* x2 = x + 2 * M;
    double* x3 = x + 3 * M;
    const double* C1 = t;
    const double* S1 = t + q;
    const double* C3 = t + 2 * q;
    const double* S3 = t + 3 * q;
    {
        const double d = x0[0] - x2[0], e = x1[0] - x3[0];
        x0[0] += x2[0];
        x1[0] += x3[0];
        x2[0] = d + e;
        x3[0] = d - e;
    }
    {
        const int64_t j = M / 2;
        const double d = x0[j] - x2[j], e = x1[j] - x3[j];
        x0[j] += x2[j];
        x1[j] += x3[j];
        x2[j] = kSqrt2 * d;
        x3[j] = kSqrt2 * e;
    }
    for (int64_t j = 1; j < M / 2; ++j) {
        const int64_t jj = M - j, k = j * stride;
        const double c1 = C1[k], s1 = S1[k], c3 = C3[k], s3 = S3[k];
        const double d = x0[j] - x2[j], e = x1[j] - x3[j];
        const double dd = x0[jj] - x2[jj], ee = x1[jj] - x3[jj];
        x0[j] += x2[j];
        x1[j] += x3[j];
        x0[jj] += x2[jj];
        x1[jj] += x3[jj];
        const double ds = d + dd, dm = d - dd, es = e + ee, em = e - ee;
        x2[j] = c1 * ds - s1 * em;
        x2[jj] = s1 * ds + c1 * em;
        x3[j] = c3 * dm + s3 * es;
        x3[jj] = s3 * dm - c3 * es;
    }
}

// Unnormalised transform of x[0 .. n) in place, output in bit-reversed order.
void fht_small(double* x, int64_t n, const double* t, int64_t N) {
    if (n == 2) {
        const double a = x[0], b = x[1];
        x[0] = a + b;
        x[1] = a - b;
        return;
    }
    if (n == 4) {
        const double a0 = x[0] + x[2], a1 = x[1] + x[3], d = x[0] - x[2], e = x[1] - x[3];
        x[0] = a0 + a1;
        x[1] = a0 - a1;
        x[2] = d + e;
        x[3] = d - e;
        return;
    }
    if (n < 2) return;
    fht_step(x, n, t, N);
    fht_small(x, n / 2, t, N);
    fht_small(x + n / 2, n / 4, t, N);
    fht_small(x + 3 * n / 4, n / 4, t, N);
}

const char* fht(double* x, int64_t n, const double* t, int64_t N, Poll& poll) {
    if (n <= 1024) {
        fht_small(x, n, t, N);
        int64_t lg = 0;
        while ((int64_t(1) << lg) < n) ++lg;
        return poll.add(2.5 * double(n) * double(lg));
    }
    fht_step(x, n, t, N);
    MUTILS_TRY(poll.add(6.0 * double(n)));
    MUTILS_TRY(fht(x, n / 2, t, N, poll));
    MUTILS_TRY(fht(x + n / 2, n / 4, t, N, poll));
    return fht(x + 3 * n / 4, n / 4, t, N, poll);
}

inline uint32_t reverse_bits(uint32_t v, int bits) {
    uint32_t r = 0;
    for (int i = 0; i < bits; ++i, v >>= 1) r = (r << 1) | (v & 1u);
    return r;
}

/// Bit-reversal permutation of x[0 .. 2^m) with every value multiplied by `scale`. Long vectors go
/// in 32 x 32 tiles: index (h, mid, l) moves to (rev l, rev mid, rev h), so a tile and its partner
/// are read and written a cache line at a time.
void bit_reverse_scale(double* x, int m, double scale) {
    const int64_t N = int64_t(1) << m;
    if (m < 12) {
        for (int64_t i = 0; i < N; ++i) {
            const int64_t j = reverse_bits(uint32_t(i), m);
            if (i < j) std::swap(x[i], x[j]);
        }
        for (int64_t i = 0; i < N; ++i) x[i] *= scale;
        return;
    }
    constexpr int b = 5, T = 1 << b;
    const int mb = m - 2 * b;
    const int64_t hs = int64_t(1) << (m - b);  // stride of the high index
    int rb[T];
    for (int i = 0; i < T; ++i) rb[i] = int(reverse_bits(uint32_t(i), b));
    double* A = work_array<double>(T * T);
    double* Bt = work_array<double>(T * T);
    for (int64_t mid = 0; mid < (int64_t(1) << mb); ++mid) {
        const int64_t mr = reverse_bits(uint32_t(mid), mb);
        if (mr < mid) continue;
        for (int h = 0; h < T; ++h) {
            std::memcpy(A + h * T, x + h * hs + (mid << b), sizeof(double) * T);
            if (mr != mid) std::memcpy(Bt + h * T, x + h * hs + (mr << b), sizeof(double) * T);
        }
        for (int H = 0; H < T; ++H) {
            double* to = x + H * hs + (mr << b);
            for (int L = 0; L < T; ++L) to[L] = A[rb[L] * T + rb[H]] * scale;
            if (mr != mid) {
                double* back = x + H * hs + (mid << b);
                for (int L = 0; L < T; ++L) back[L] = Bt[rb[L] * T + rb[H]] * scale;
            }
        }
    }
}

int log2_of(int64_t N) {
    int m = 0;
    while ((int64_t(1) << m) < N) ++m;
    return m;
}

/// Unitary Hartley transform of x[0 .. N) in place, natural order.
const char* hartley(double* x, int64_t N, const double* t, Poll& poll) {
    if (N < 2) return nullptr;
    MUTILS_TRY(fht(x, N, t, N, poll));
    bit_reverse_scale(x, log2_of(N), 1.0 / std::sqrt(double(N)));
    return poll.add(2.0 * double(N));
}

/// Power-of-two cosine transform (II, or III when inverse) of x into X (which may be x); v is a
/// work vector of N values and t the table of length N with its cosine part.
const char* dct_pow2(const double* x, double* X, int64_t N, bool inverse, const double* t, double* v, Poll& poll) {
    if (N == 1) {
        X[0] = x[0];
        return nullptr;
    }
    const int64_t h = N / 2;
    const double* a = t + h;
    const double* b = t + N;
    if (!inverse) {
        for (int64_t k = 0; k < h; ++k) {
            v[k] = x[2 * k];
            v[h + k] = x[N - 1 - 2 * k];
        }
        MUTILS_TRY(hartley(v, N, t, poll));
        X[0] = v[0];
        X[h] = v[h];
        for (int64_t k = 1; k < h; ++k) {
            const double hk = v[k], hn = v[N - k];
            X[k] = a[k] * hk + b[k] * hn;
            X[N - k] = b[k] * hk - a[k] * hn;
        }
        return poll.add(4.0 * double(N));
    }
    // The rotation is its own inverse, and so is the Hartley transform.
    v[0] = x[0];
    v[h] = x[h];
    for (int64_t k = 1; k < h; ++k) {
        const double xk = x[k], xn = x[N - k];
        v[k] = a[k] * xk + b[k] * xn;
        v[N - k] = b[k] * xk - a[k] * xn;
    }
    MUTILS_TRY(hartley(v, N, t, poll));
    for (int64_t k = 0; k < h; ++k) {
        X[2 * k] = v[k];
        X[N - 1 - 2 * k] = v[h + k];
    }
    return poll.add(4.0 * double(N));
}

/// The checks shared by the one-dimensional power-of-two members; sets *done after copying a
/// single element.
const char* check_pow2_vector(const _double_mat* in, _double_mat* out, bool* done) {
    validate(in);
    validate(out);
    MUTILS_TRY(require_same_size(in, out));
    *done = false;
    if (in->nelem == 1) {
        out->data[0] = in->data[0];
        *done = true;
        return nullptr;
    }
    if (!is_vector(in->nrow, in->ncol) || !is_pow2_length(in->nelem)) return msg::array_size_mismatch;
    return nullptr;
}

const char* dct_pow2_member(const _double_mat* in, bool inverse, void* intrp, _double_mat* out) {
    bool done;
    MUTILS_TRY(check_pow2_vector(in, out, &done));
    if (done) return nullptr;
    Poll poll(intrp);
    const int64_t N = in->nelem;
    const double* t = new_table(N, true);
    return dct_pow2(in->data, out->data, N, inverse, t, work_array<double>(N), poll);
}

}  // namespace

const char* dct_pow2_columns(const double* in, int64_t n, int64_t ncol, bool inverse, double* out, Poll& poll) {
    const double* t = new_table(n, true);
    double* col = work_array<double>(n);
    double* v = work_array<double>(n);
    for (int64_t c = 0; c < ncol; ++c) {
        for (int64_t r = 0; r < n; ++r) col[r] = in[r * ncol + c];
        MUTILS_TRY(dct_pow2(col, col, n, inverse, t, v, poll));
        for (int64_t r = 0; r < n; ++r) out[r * ncol + c] = col[r];
    }
    return nullptr;
}

}  // namespace detail

using namespace detail;

const char* sigdbl_transform_hartley(const _double_mat* in, void* intrp, _double_mat* out) {
    bool done;
    MUTILS_TRY(check_pow2_vector(in, out, &done));
    if (done) return nullptr;
    Poll poll(intrp);
    const int64_t N = in->nelem;
    const double* t = new_table(N, false);
    if (out->data != in->data) std::memcpy(out->data, in->data, sizeof(double) * N);
    return hartley(out->data, N, t, poll);
}

const char* sigdbl_transform_discrete_cosine_II_pow2(const _double_mat* in, void* intrp, _double_mat* out) {
    return dct_pow2_member(in, false, intrp, out);
}

const char* sigdbl_transform_discrete_cosine_II_inverse_pow2(const _double_mat* in, void* intrp, _double_mat* out) {
    return dct_pow2_member(in, true, intrp, out);
}

const char* sigdbl_transform_discrete_cosine_II_2d_pow2(const _double_mat* in, unsigned char inverse, void* intrp,
                                                        _double_mat* out) {
    validate(in);
    validate(out);
    if (in->nelem == 1 && out->nelem == 1) {
        out->data[0] = in->data[0];
        return nullptr;
    }
    if (is_vector(in->nrow, in->ncol)) return msg::array_size_mismatch;
    if (!is_pow2_length(in->nrow) || !is_pow2_length(in->ncol)) return msg::array_size_mismatch;
    MUTILS_TRY(require_same_size(in, out));
    Poll poll(intrp);
    return dct_2d(in->data, in->nrow, in->ncol, inverse != 0, out->data, dct_pow2_columns, poll);
}

}  // namespace mutils
