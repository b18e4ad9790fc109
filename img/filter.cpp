#include "filter.h"

#include <algorithm>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

template <class T, bool = std::is_integral_v<T>> struct Accumulate {
    using type = double;
};
template <class T> struct Accumulate<T, true> {
    using type = wrap_t<T>;
};

template <class T> MUTILS_CLONES void mac_row(typename Accumulate<T>::type* acc, T w, const T* d, int64_t n) {
    using A = typename Accumulate<T>::type;
    for (int64_t c = 0; c < n; ++c) acc[c] = A(acc[c] + A(w) * A(d[c]));
}

/// Centred correlation (Flip false) or convolution (Flip true). Each output row maps its kernel
/// rows through the boundary rule once (a zero row stands for rows outside under rule 0); the
/// columns whose window stays inside run without tests, the border columns through a map.
template <class T, bool Flip>
const char* filter(const mat_t<T>* d, const mat_t<T>* k, int32_t boundary, void* intrp, mat_t<T>* y) {
    using A = typename Accumulate<T>::type;
    const int64_t nrow = d->nrow, ncol = d->ncol, kr = k->nrow, kc = k->ncol;
    Hux::ArenaScope scope;
    A* acc = work_array<A>(ncol);
    T* zero = work_array_zero<T>(ncol);
    T* gathered = work_array<T>(ncol);
    // Column offset of kernel column q: Flip reads c + kc/2 - q, else c + q - kc/2.
    auto coff = [&](int64_t q) { return Flip ? kc / 2 - q : q - kc / 2; };
    Poll poll(intrp);
    for (int64_t r = 0; r < nrow; ++r) {
        std::fill(acc, acc + ncol, A{});
        for (int64_t p = 0; p < kr; ++p) {
            int64_t sr = boundary_index(Flip ? r + kr / 2 - p : r + p - kr / 2, nrow, boundary);
            const T* src = sr < 0 ? zero : d->data + sr * ncol;
            for (int64_t q = 0; q < kc; ++q) {
                const T w = k->data[p * kc + q];
                const int64_t off = coff(q);
                const int64_t lo = std::clamp<int64_t>(-off, 0, ncol), hi = std::clamp<int64_t>(ncol - off, lo, ncol);
                // Border columns read through the boundary rule, the rest directly.
                for (int64_t c = 0; c < ncol; ++c) {
                    if (c == lo) c = hi;
                    if (c >= ncol) break;
                    int64_t sc = boundary_index(c + off, ncol, boundary);
                    gathered[c] = sc < 0 ? T{} : src[sc];
                }
                mac_row<T>(acc, w, gathered, lo);
                mac_row<T>(acc + lo, w, src + lo + off, hi - lo);
                mac_row<T>(acc + hi, w, gathered + hi, ncol - hi);
            }
        }
        T* out = y->data + r * ncol;
        for (int64_t c = 0; c < ncol; ++c) out[c] = T(acc[c]);
        MUTILS_TRY(poll.add(4.0 * double(kr * kc * ncol)));
    }
    return nullptr;
}

template <bool Flip>
const char* filter_univ(const _univ_mat* image, const _univ_mat* kernel, int32_t boundary, void* intrp,
                        _univ_mat* result) {
    if (!image || !kernel || !result) return msg::null_pointer;
    validate_univ(image);
    validate_univ(kernel);
    validate_univ(result);
    MUTILS_TRY(require_same_size(image, result));
    MUTILS_TRY(require_boundary(boundary));
    MUTILS_TRY(require_distinct(result, image));
    MUTILS_TRY(require_distinct(result, kernel));
    if (image->type == MUTIL_DCOMPLEX || kernel->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    _univ_mat ci, ck;
    MUTILS_TRY(to_common(image, result->type, intrp, &ci));
    MUTILS_TRY(to_common(kernel, result->type, intrp, &ck));
    return dispatch(result->type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return filter<T, Flip>(as<T>(&ci), as<T>(&ck), boundary, intrp, as<T>(result));
    });
}

}  // namespace
}  // namespace detail

const char* imguniv_convolve(const _univ_mat* a, const _univ_mat* k, _mutil_boundary_type b, void* i, _univ_mat* r) {
    return detail::filter_univ<true>(a, k, b, i, r);
}
const char* imguniv_correlate(const _univ_mat* a, const _univ_mat* k, _mutil_boundary_type b, void* i,
                              _univ_mat* r) {
    return detail::filter_univ<false>(a, k, b, i, r);
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_convolve,
             (const mutils::_univ_mat* a, const mutils::_univ_mat* k, mutils::_mutil_boundary_type b, void* i,
              mutils::_univ_mat* r),
             (a, k, b, i, r))
