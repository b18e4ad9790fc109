// The discrete Fourier transform of matrix columns, and the universal members of every transform.
#include "transform.h"

#include <algorithm>
#include <cstring>

#include "../core/detail.h"
#include "detail_fft.h"

namespace mutils {
namespace detail {
namespace {

inline _dcomplex widen(double v) { return {v, 0.0}; }
inline _dcomplex widen(_dcomplex v) { return v; }

/// Columns of `in` (row-major nrow x ncol) transformed down the rows into `out`; `out` may be `in`.
/// Short columns go B at a time, interleaved, so the passes run over contiguous batches; long ones
/// (or a single column) one by one.
template <class In>
const char* dft_columns(const In* in, int64_t nrow, int64_t ncol, int sign, _dcomplex* out, Poll& poll) {
    const FftPlan plan(nrow, sign);
    const double scale = sign > 0 ? 1.0 / double(nrow) : 1.0;
    const int64_t B = (plan.splits() || ncol == 1) ? 1 : std::min<int64_t>(ncol, 16);
    _dcomplex* buf = work_array<_dcomplex>(nrow * B);
    _dcomplex* work = work_array<_dcomplex>(nrow * B);
    for (int64_t c0 = 0; c0 < ncol; c0 += B) {
        const int64_t nb = std::min(B, ncol - c0);
        for (int64_t r = 0; r < nrow; ++r)
            for (int64_t b = 0; b < nb; ++b) buf[r * nb + b] = widen(in[r * ncol + c0 + b]);
        _dcomplex* res;
        MUTILS_TRY(plan.run(buf, work, nb, poll, &res));
        for (int64_t r = 0; r < nrow; ++r)
            for (int64_t b = 0; b < nb; ++b) {
                const _dcomplex v = res[r * nb + b];
                out[r * ncol + c0 + b] = {v.re * scale, v.im * scale};
            }
        MUTILS_TRY(poll.add(4.0 * double(nrow * nb)));
    }
    return nullptr;
}

template <class In> const char* dft(const mat_t<In>* in, unsigned char inverse, void* intrp, _dcomplex_mat* out) {
    validate(in);
    validate(out);
    MUTILS_TRY(require_same_size(in, out));
    Poll poll(intrp);
    if (in->nrow < 2) {  // a single row: every column has length 1 and is its own transform
        for (int32_t i = 0; i < in->nelem; ++i) out->data[i] = widen(in->data[i]);
        return poll.add(2.0 * in->nelem);
    }
    return dft_columns(in->data, in->nrow, in->ncol, inverse == 1 ? 1 : -1, out->data, poll);
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* sigdbl_transform_discrete_fourier(const _double_mat* in, unsigned char inverse, void* intrp,
                                              _dcomplex_mat* out) {
    return dft<double>(in, inverse, intrp, out);
}

const char* sigcpx_transform_discrete_fourier(const _dcomplex_mat* in, unsigned char inverse, void* intrp,
                                              _dcomplex_mat* out) {
    return dft<_dcomplex>(in, inverse, intrp, out);
}

const char* siguniv_transform_discrete_fourier(const _univ_mat* in, unsigned char inverse, void* intrp,
                                               _univ_mat* out) {
    return univ_call(types<double, _dcomplex>{}, with(in, fixed<_dcomplex>(out)),
                     [&](auto t, auto* a, auto* r) { return dft<MUTILS_T(t)>(a, inverse, intrp, r); });
}

/// The real transforms: a double input and a result of the input's type.
#define MUTILS_UNIV_REAL(NAME)                                                                \
    const char* siguniv_##NAME(const _univ_mat* in, void* intrp, _univ_mat* out) {            \
        return univ_call(types<double>{}, with(in, out),                                      \
                         [&](auto, auto* a, auto* r) { return sigdbl_##NAME(a, intrp, r); }); \
    }
#define MUTILS_UNIV_REAL_FLAG(NAME)                                                                       \
    const char* siguniv_##NAME(const _univ_mat* in, unsigned char inverse, void* intrp, _univ_mat* out) { \
        return univ_call(types<double>{}, with(in, out),                                                  \
                         [&](auto, auto* a, auto* r) { return sigdbl_##NAME(a, inverse, intrp, r); });    \
    }
MUTILS_UNIV_REAL(transform_discrete_cosine_II)
MUTILS_UNIV_REAL(transform_discrete_cosine_II_inverse)
MUTILS_UNIV_REAL(transform_discrete_cosine_II_pow2)
MUTILS_UNIV_REAL(transform_discrete_cosine_II_inverse_pow2)
MUTILS_UNIV_REAL(transform_hartley)
MUTILS_UNIV_REAL_FLAG(transform_discrete_cosine_II_2d)
MUTILS_UNIV_REAL_FLAG(transform_discrete_cosine_II_2d_pow2)
#undef MUTILS_UNIV_REAL
#undef MUTILS_UNIV_REAL_FLAG

}  // namespace mutils

MUTILS_PLAIN(siguniv_transform_discrete_fourier,
             (const mutils::_univ_mat* in, unsigned char inverse, void* intrp_ptr, mutils::_univ_mat* out),
             (in, inverse, intrp_ptr, out))
MUTILS_PLAIN(siguniv_transform_discrete_cosine_II_2d,
             (const mutils::_univ_mat* in, unsigned char inverse, void* intrp_ptr, mutils::_univ_mat* out),
             (in, inverse, intrp_ptr, out))
