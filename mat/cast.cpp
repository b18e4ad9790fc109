#include "cast.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

template <class T> struct bounds {
    static constexpr double lo = double(std::numeric_limits<T>::lowest());
    static constexpr double hi = double(std::numeric_limits<T>::max());
};

// Conversions never read the floating-point exception flags, so GCC may round and compare whole
// vectors at once (the element and the pass carry the same options, so one inlines into the other).
#if defined(__GNUC__) && !defined(__clang__)
#define MUTILS_NO_TRAPPING_MATH __attribute__((optimize("no-trapping-math")))
#else
#define MUTILS_NO_TRAPPING_MATH
#endif

// Converts one element; `bad` becomes non-zero when the value did not fit (the stored value is
// then clipped). Branch-free, so that the passes below vectorise.
template <class S, class D> MUTILS_NO_TRAPPING_MATH inline D convert(S x, unsigned& bad) {
    if constexpr (std::is_same_v<S, _dcomplex>) {
        bad |= unsigned(x.im != 0.0);
        return D(x.re);
    } else if constexpr (std::is_same_v<D, _dcomplex>) {
        return _dcomplex{double(x), 0.0};
    } else if constexpr (std::is_floating_point_v<S> && std::is_integral_v<D>) {
        double v = std::floor(double(x) + 0.5);
        bad |= unsigned(!(v >= bounds<D>::lo) | !(v <= bounds<D>::hi));  // NaN does not fit
        v = v >= bounds<D>::lo ? v : bounds<D>::lo;                      // NaN goes to the minimum
        v = v <= bounds<D>::hi ? v : bounds<D>::hi;
        return D(v);
    } else if constexpr (std::is_same_v<S, double> && std::is_same_v<D, float>) {
        const double m = std::fabs(x);
        const bool over = (m > double(FLT_MAX)) & (m <= DBL_MAX);  // finite but past the float range
        bad |= unsigned(over);
        return over ? float(std::copysign(double(FLT_MAX), x)) : float(x);
    } else if constexpr (std::is_integral_v<S> && std::is_integral_v<D>) {
        using W = int64_t;
        const W v = W(x);
        constexpr W lo = W(std::numeric_limits<D>::lowest()), hi = W(std::numeric_limits<D>::max());
        bad |= unsigned((v < lo) | (v > hi));
        return D(v < lo ? lo : (v > hi ? hi : v));
    } else {
        return D(x);
    }
}

// One conversion pass; returns non-zero when some value did not fit.
template <class S, class D>
MUTILS_CLONES MUTILS_NO_TRAPPING_MATH unsigned convert_pass(const S* src, D* dst, int64_t n) {
    unsigned bad = 0;
    for (int64_t i = 0; i < n; ++i) dst[i] = convert<S, D>(src[i], bad);
    return bad;
}

template <class S, class D> void cast(const mat_t<S>* a, bool clip, void* intrp, mat_t<D>* r) {
    validate(a);
    validate(r);
    if (require_same_size(a, r)) raise(msg::array_size_mismatch);
    const int64_t n = a->nelem;
    if constexpr (std::is_same_v<S, D>) {
        std::memmove(r->data, a->data, std::size_t(n) * sizeof(S));
    } else {
        if (convert_pass<S, D>(a->data, r->data, n) && !clip) raise(msg::overflow);
    }
    Poll(intrp).add(5.0 * double(n));  // counted, but a conversion never stops
}

template <class S> void cast_from(const _univ_mat* a, bool clip, void* intrp, _univ_mat* r) {
    const char* err = dispatch(r->type, real_types{}, [&](auto t) -> const char* {
        using D = typename decltype(t)::type;
        cast<S, D>(as<S>(a), clip, intrp, as<D>(r));
        return nullptr;
    });
    if (err) raise(err);
}

}  // namespace

const char* to_common(const _univ_mat* x, _mutil_data_type target, void* intrp, _univ_mat* out) {
    if (x->type == target) {
        *out = *x;
        return nullptr;
    }
    MUTILS_TRY(common_refusal(x->type, target));
    validate_univ(x);
    matuniv_malloc(out, x->nrow, x->ncol, target);
    matuniv_cast(x, 0, intrp, out);
    return nullptr;
}

}  // namespace detail

using namespace detail;

void matuniv_cast(const _univ_mat* a, unsigned char clip, void* intrp, _univ_mat* r) {
    require_pointer(a);
    require_pointer(r);
    validate_univ(a);
    validate_univ(r);
    if (a->type == MUTIL_DCOMPLEX) {
        if (r->type == MUTIL_DCOMPLEX)
            return cast<_dcomplex, _dcomplex>(as<_dcomplex>(a), clip, intrp, as<_dcomplex>(r));
        if (r->type == MUTIL_DOUBLE) return cast<_dcomplex, double>(as<_dcomplex>(a), clip, intrp, as<double>(r));
        raise(msg::illegal_data_type);
    }
    if (r->type == MUTIL_DCOMPLEX) {
        if (a->type == MUTIL_DOUBLE) return cast<double, _dcomplex>(as<double>(a), clip, intrp, as<_dcomplex>(r));
        if (a->type == MUTIL_FLOAT) return cast<float, _dcomplex>(as<float>(a), clip, intrp, as<_dcomplex>(r));
        // Integer sources reach complex through double.
        _univ_mat tmp;
        matuniv_malloc(&tmp, a->nrow, a->ncol, MUTIL_DOUBLE);
        matuniv_cast(a, clip, intrp, &tmp);
        return cast<double, _dcomplex>(as<double>(&tmp), clip, intrp, as<_dcomplex>(r));
    }
    const char* err = dispatch(a->type, real_types{}, [&](auto t) -> const char* {
        cast_from<typename decltype(t)::type>(a, clip, intrp, r);
        return nullptr;
    });
    if (err) raise(err);
}

#define MUTILS_CAST_CLIP(A, B)                                                                           \
    void mat##A##_cast_to_##B(const mat_t<T_##A>* a, unsigned char clip, void* intrp, mat_t<T_##B>* r) { \
        cast<T_##A, T_##B>(a, clip != 0, intrp, r);                                                      \
    }
#define MUTILS_CAST(A, B)                                                            \
    void mat##A##_cast_to_##B(const mat_t<T_##A>* a, void* intrp, mat_t<T_##B>* r) { \
        cast<T_##A, T_##B>(a, false, intrp, r);                                      \
    }
namespace {
using T_dbl = double;
using T_flt = float;
using T_u8 = unsigned char;
using T_u16 = uint16_t;
using T_u32 = uint32_t;
using T_s16 = int16_t;
using T_s32 = int32_t;
using T_cpx = _dcomplex;
}  // namespace
MUTILS_CAST_CLIP(dbl, flt)
MUTILS_CAST_CLIP(dbl, u8)
MUTILS_CAST_CLIP(dbl, u16)
MUTILS_CAST_CLIP(dbl, u32)
MUTILS_CAST_CLIP(dbl, s16)
MUTILS_CAST_CLIP(dbl, s32)
MUTILS_CAST(flt, dbl)
MUTILS_CAST_CLIP(flt, u8)
MUTILS_CAST_CLIP(flt, u16)
MUTILS_CAST_CLIP(flt, u32)
MUTILS_CAST_CLIP(flt, s16)
MUTILS_CAST_CLIP(flt, s32)
MUTILS_CAST(u8, dbl)
MUTILS_CAST(u8, flt)
MUTILS_CAST(u8, u16)
MUTILS_CAST(u8, u32)
MUTILS_CAST(u8, s16)
MUTILS_CAST(u8, s32)
MUTILS_CAST(u16, dbl)
MUTILS_CAST(u16, flt)
MUTILS_CAST_CLIP(u16, u8)
MUTILS_CAST(u16, u32)
MUTILS_CAST_CLIP(u16, s16)
MUTILS_CAST(u16, s32)
MUTILS_CAST(u32, dbl)
MUTILS_CAST(u32, flt)
MUTILS_CAST_CLIP(u32, u8)
MUTILS_CAST_CLIP(u32, u16)
MUTILS_CAST_CLIP(u32, s16)
MUTILS_CAST_CLIP(u32, s32)
MUTILS_CAST(s16, dbl)
MUTILS_CAST(s16, flt)
MUTILS_CAST_CLIP(s16, u8)
MUTILS_CAST_CLIP(s16, u16)
MUTILS_CAST_CLIP(s16, u32)
MUTILS_CAST(s16, s32)
MUTILS_CAST(s32, dbl)
MUTILS_CAST(s32, flt)
MUTILS_CAST_CLIP(s32, u8)
MUTILS_CAST_CLIP(s32, u16)
MUTILS_CAST_CLIP(s32, u32)
MUTILS_CAST_CLIP(s32, s16)
MUTILS_CAST(dbl, cpx)
MUTILS_CAST(flt, cpx)
MUTILS_CAST_CLIP(cpx, dbl)
#undef MUTILS_CAST
#undef MUTILS_CAST_CLIP

void matdbl_to_complex(const _double_mat* a, const _double_mat* b, void* intrp, _dcomplex_mat* r) {
    validate(a);
    validate(b);
    validate(r);
    if (require_same_size(a, b) || require_same_size(r, a)) raise(msg::array_size_mismatch);
    if (require_distinct(r, a) || require_distinct(r, b)) raise(msg::illegal_memory_address);
    for (int64_t i = 0; i < a->nelem; ++i) r->data[i] = {a->data[i], b->data[i]};
    Poll(intrp).add(5.0 * double(a->nelem));
}

void matcpx_to_double(const _dcomplex_mat* a, void* intrp, _double_mat* re, _double_mat* im) {
    validate(a);
    validate(re);
    validate(im);
    if (require_same_size(re, a) || require_same_size(im, a)) raise(msg::array_size_mismatch);
    if (require_distinct(re, im)) raise(msg::illegal_memory_address);
    for (int64_t i = 0; i < a->nelem; ++i) {
        const _dcomplex z = a->data[i];  // read whole before writing: a part may be A's block
        re->data[i] = z.re;
        im->data[i] = z.im;
    }
    Poll(intrp).add(5.0 * double(a->nelem));
}

}  // namespace mutils

MUTILS_PLAIN_VOID(matuniv_cast, (const mutils::_univ_mat* a, unsigned char c, void* i, mutils::_univ_mat* r),
                  (a, c, i, r))
