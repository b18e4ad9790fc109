// Orthonormal cosine transforms of any length, one- and two-dimensional.
//
// A column x of length N is reordered into v (v[i] = x[2i] for i < N/2, v[N-1-i] = x[2i+1]), so
// that with V = DFT(v) and c_k = e^{-i pi k / (2N)}:
//     X_k = s_k Re(c_k V_k),   X_{N-k} = -s_k Im(c_k V_k).
// For even N the real sequence v is transformed as N/2 complex points z_j = v[2j] + i v[2j+1]
// (Z = DFT(z), V_k = E_k + w^k O_k with E, O the even/odd halves recovered from Z and its mirror);
// the inverse runs the same steps backwards. Odd N transforms v as N complex points.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "detail_fft.h"
#include "transform.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kPi = 3.141592653589793238462643383279502884;

inline _dcomplex conj(_dcomplex a) { return {a.re, -a.im}; }

/// Position in x of element i of the reordered sequence v.
inline int64_t source_of(int64_t i, int64_t n) { return 2 * i < n ? 2 * i : 2 * (n - 1 - i) + 1; }

struct Block {
    const double* in;
    double* out;
    int64_t ncol, c0, nb;
    double get(int64_t row, int64_t b) const { return in[row * ncol + c0 + b]; }
    void put(int64_t row, int64_t b, double v) const { out[row * ncol + c0 + b] = v; }
};

// Even n, h = n / 2: forward transform of nb interleaved columns.
const char* forward_even(const Block& blk, int64_t n, const FftPlan& plan, const UnitRoots& c, _dcomplex* z,
                         _dcomplex* work, Poll& poll) {
    const int64_t h = n / 2, nb = blk.nb;
    for (int64_t j = 0; j < h; ++j)
        for (int64_t b = 0; b < nb; ++b)
            z[j * nb + b] = {blk.get(source_of(2 * j, n), b), blk.get(source_of(2 * j + 1, n), b)};
    _dcomplex* Z;
    MUTILS_TRY(plan.run(z, work, nb, poll, &Z));
    const double s0 = 1.0 / std::sqrt(double(n)), sk = std::sqrt(2.0 / double(n));
    for (int64_t k = 0; k <= h; ++k) {
        const _dcomplex ck = c[k], cwk = c[5 * k];  // c_k and c_k w^k, w = e^{-2 pi i / n}
        const int64_t ka = k == h ? 0 : k, kb = k == 0 ? 0 : h - k;
        for (int64_t b = 0; b < nb; ++b) {
            const _dcomplex zk = Z[ka * nb + b], zc = conj(Z[kb * nb + b]);
            const _dcomplex e{0.5 * (zk.re + zc.re), 0.5 * (zk.im + zc.im)};
            const _dcomplex o{0.5 * (zk.im - zc.im), -0.5 * (zk.re - zc.re)};
            const _dcomplex ce = cmul(ck, e), co = cmul(cwk, o);
            const double re = ce.re + co.re, im = ce.im + co.im;
            if (k == 0) {
                blk.put(0, b, s0 * re);
            } else {
                blk.put(k, b, sk * re);
                if (k < h) blk.put(n - k, b, -sk * im);
            }
        }
    }
    return poll.add(10.0 * double(n * nb));
}

// Even n: inverse (type III) transform of nb interleaved columns.
const char* inverse_even(const Block& blk, int64_t n, const FftPlan& plan, const UnitRoots& c, _dcomplex* z,
                         _dcomplex* work, Poll& poll) {
    const int64_t h = n / 2, nb = blk.nb;
    // V_k = conj(c_k) (X_k / s_k - i X_{n-k} / s_{n-k}), with the final 1 / h folded in.
    const double a0 = std::sqrt(double(n)) / double(h), ak = std::sqrt(0.5 * double(n)) / double(h);
    auto V = [&](int64_t k, int64_t b) -> _dcomplex {
        if (k == 0) return {a0 * blk.get(0, b), 0.0};
        const double xr = ak * blk.get(k, b), xi = ak * blk.get(n - k, b);
        return cmul(conj(c[k]), {xr, -xi});
    };
    for (int64_t k = 0; k < h; ++k) {
        const _dcomplex wk = conj(cmul(conj(c[k]), c[5 * k]));  // conj(w^k)
        for (int64_t b = 0; b < nb; ++b) {
            const _dcomplex vk = V(k, b), vc = conj(V(h - k, b));
            const _dcomplex e{0.5 * (vk.re + vc.re), 0.5 * (vk.im + vc.im)};
            const _dcomplex o = cmul({0.5 * (vk.re - vc.re), 0.5 * (vk.im - vc.im)}, wk);
            z[k * nb + b] = {e.re - o.im, e.im + o.re};  // E + i O
        }
    }
    _dcomplex* res;
    MUTILS_TRY(plan.run(z, work, nb, poll, &res));
    for (int64_t j = 0; j < h; ++j)
        for (int64_t b = 0; b < nb; ++b) {
            blk.put(source_of(2 * j, n), b, res[j * nb + b].re);
            blk.put(source_of(2 * j + 1, n), b, res[j * nb + b].im);
        }
    return poll.add(10.0 * double(n * nb));
}

// Odd n: forward or inverse through a complex transform of length n.
const char* odd_length(const Block& blk, int64_t n, bool inverse, const FftPlan& plan, const UnitRoots& c, _dcomplex* z,
                       _dcomplex* work, Poll& poll) {
    const int64_t nb = blk.nb;
    const double s0 = 1.0 / std::sqrt(double(n)), sk = std::sqrt(2.0 / double(n));
    if (!inverse) {
        for (int64_t i = 0; i < n; ++i)
            for (int64_t b = 0; b < nb; ++b) z[i * nb + b] = {blk.get(source_of(i, n), b), 0.0};
        _dcomplex* V;
        MUTILS_TRY(plan.run(z, work, nb, poll, &V));
        for (int64_t k = 0; k < n; ++k)
            for (int64_t b = 0; b < nb; ++b) blk.put(k, b, (k == 0 ? s0 : sk) * cmul(c[k], V[k * nb + b]).re);
    } else {
        const double a0 = std::sqrt(double(n)) / double(n), ak = std::sqrt(0.5 * double(n)) / double(n);
        for (int64_t k = 0; k < n; ++k)
            for (int64_t b = 0; b < nb; ++b)
                z[k * nb + b] = k == 0 ? _dcomplex{a0 * blk.get(0, b), 0.0}
                                       : cmul(conj(c[k]), {ak * blk.get(k, b), -ak * blk.get(n - k, b)});
        _dcomplex* v;
        MUTILS_TRY(plan.run(z, work, nb, poll, &v));
        for (int64_t i = 0; i < n; ++i)
            for (int64_t b = 0; b < nb; ++b) blk.put(source_of(i, n), b, v[i * nb + b].re);
    }
    return poll.add(10.0 * double(n * nb));
}

}  // namespace

const char* dct_columns(const double* in, int64_t n, int64_t ncol, bool inverse, double* out, Poll& poll) {
    if (n == 1) {
        if (out != in) std::memcpy(out, in, sizeof(double) * ncol);
        return nullptr;
    }
    const bool even = n % 2 == 0;
    const int64_t len = even ? n / 2 : n;
    const FftPlan plan(len, inverse ? 1 : -1);
    const UnitRoots c(even ? 5 * len + 1 : n, -kPi / (2.0 * double(n)));
    const int64_t B = (plan.splits() || ncol == 1) ? 1 : std::min<int64_t>(ncol, 16);
    _dcomplex* z = work_array<_dcomplex>(len * B);
    _dcomplex* work = work_array<_dcomplex>(len * B);
    for (int64_t c0 = 0; c0 < ncol; c0 += B) {
        const Block blk{in, out, ncol, c0, std::min(B, ncol - c0)};
        if (!even) {
            MUTILS_TRY(odd_length(blk, n, inverse, plan, c, z, work, poll));
        } else if (inverse) {
            MUTILS_TRY(inverse_even(blk, n, plan, c, z, work, poll));
        } else {
            MUTILS_TRY(forward_even(blk, n, plan, c, z, work, poll));
        }
    }
    return nullptr;
}

const char* dct_2d(const double* in, int64_t nrow, int64_t ncol, bool inverse, double* out, DctColumns cols,
                   Poll& poll) {
    double* tmp = work_array<double>(nrow * ncol);
    if (!inverse) {
        transpose_into(in, nrow, ncol, tmp);
        MUTILS_TRY(cols(tmp, ncol, nrow, false, tmp, poll));
        transpose_into(tmp, ncol, nrow, out);
        return cols(out, nrow, ncol, false, out, poll);
    }
    MUTILS_TRY(cols(in, nrow, ncol, true, out, poll));
    transpose_into(out, nrow, ncol, tmp);
    MUTILS_TRY(cols(tmp, ncol, nrow, true, tmp, poll));
    transpose_into(tmp, ncol, nrow, out);
    return poll.add(4.0 * double(nrow * ncol));
}

namespace {

/// The one-dimensional members: a vector along its length, a matrix column by column.
const char* dct_1d(const _double_mat* in, bool inverse, void* intrp, _double_mat* out) {
    validate(in);
    validate(out);
    MUTILS_TRY(require_same_size(in, out));
    Poll poll(intrp);
    // A row is stored like a column of the same length.
    const int64_t n = in->nrow == 1 ? in->ncol : in->nrow, ncol = in->nrow == 1 ? 1 : in->ncol;
    return dct_columns(in->data, n, ncol, inverse, out->data, poll);
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* sigdbl_transform_discrete_cosine_II(const _double_mat* in, void* intrp, _double_mat* out) {
    return dct_1d(in, false, intrp, out);
}

const char* sigdbl_transform_discrete_cosine_II_inverse(const _double_mat* in, void* intrp, _double_mat* out) {
    return dct_1d(in, true, intrp, out);
}

const char* sigdbl_transform_discrete_cosine_II_2d(const _double_mat* in, unsigned char inverse, void* intrp,
                                                   _double_mat* out) {
    validate(in);
    validate(out);
    MUTILS_TRY(require_same_size(in, out));
    if (in->nelem == 1) {
        out->data[0] = in->data[0];
        return nullptr;
    }
    if (is_vector(in->nrow, in->ncol)) return msg::array_size_mismatch;
    Poll poll(intrp);
    return dct_2d(in->data, in->nrow, in->ncol, inverse != 0, out->data, dct_columns, poll);
}

}  // namespace mutils
