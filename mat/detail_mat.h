// Internal scaffolding of the element-wise matrix families (not part of the installed interface):
// the flat passes that typed members instantiate, the universal frame that brings operands to
// the result's element type and dispatches, and the reading of universal scalars in a result's
// element type.
//
// A typed member is one call of a frame with the element operation:
//
//     return map_elements<T>(a, intrp, r, [s](T x) { return T(wrap_t<T>(x) + wrap_t<T>(s)); });
//
// and a universal member is one call of `univ_apply` whose lambda calls the typed template.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "../core/detail.h"
#include "cast.h"

namespace mutils {
namespace detail {

// ---- flat passes ----------------------------------------------------------------------------

/// r[i] = op(a[i]) over n elements in flat order (r may be a).
template <class T, class U, class Op> MUTILS_CLONES void map_pass(const T* a, U* r, int64_t n, Op op) {
    for (int64_t i = 0; i < n; ++i) r[i] = op(a[i]);
}

/// r[i] = op(a[i], b[i]) over n elements in flat order (r may be a or b).
template <class T, class U, class Op> MUTILS_CLONES void zip_pass(const T* a, const T* b, U* r, int64_t n, Op op) {
    for (int64_t i = 0; i < n; ++i) r[i] = op(a[i], b[i]);
}

/// Cost of one element-wise pass for the interrupt poll.
inline double pass_cost(int64_t nelem) { return 3.0 * double(nelem); }

// ---- typed frames ---------------------------------------------------------------------------

/// R = op(A) element by element: validates A then R (raising), "array size mismatch" unless
/// they have the same rows and columns, one pass, one poll.
template <class T, class Op> const char* map_elements(const mat_t<T>* a, void* intrp, mat_t<T>* r, Op op) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    map_pass(a->data, r->data, a->nelem, op);
    return Poll(intrp).add(pass_cost(a->nelem));
}

/// R = op(A, B) element by element: validates A, B, R (raising); "array size mismatch" unless
/// R has A's rows and columns and A has B's; one pass, one poll.
template <class T, class Op>
const char* zip_elements(const mat_t<T>* a, const mat_t<T>* b, void* intrp, mat_t<T>* r, Op op) {
    validate(a);
    validate(b);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    MUTILS_TRY(require_same_size(a, b));
    zip_pass(a->data, b->data, r->data, a->nelem, op);
    return Poll(intrp).add(pass_cost(a->nelem));
}

/// The universal frame of R = op(A, B) for a stateless Op, run in the shared body of R's type
/// (so Op must keep the low bits: sums, differences, products, bit operations).
template <class Op, class Types>
const char* univ_zip(Types types, const _univ_mat* a, const _univ_mat* b, void* intrp, _univ_mat* r) {
    return univ_apply(
        types, intrp, r,
        [&](auto t, const _univ_mat* ca, const _univ_mat* cb, _univ_mat* cr) {
            using B = bits_t<typename decltype(t)::type>;
            return zip_elements<B>(as<B>(ca), as<B>(cb), intrp, as<B>(cr), Op{});
        },
        a, b);
}

/// The universal frame of R = op(A) for a stateless Op, run in R's own type.
template <class Op, class Types> const char* univ_map(Types types, const _univ_mat* a, void* intrp, _univ_mat* r) {
    return univ_apply(
        types, intrp, r,
        [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
            using T = typename decltype(t)::type;
            return map_elements<T>(as<T>(ca), intrp, as<T>(cr), Op{});
        },
        a);
}

/// The universal frame of R = op(A, s): A or R null gives "null pointer"; the scalar is brought
/// to R's type (`scalar_to`, no complex) before A is; then Op<T>{s} maps A for R's type T in Types.
template <template <class> class Op, class Types>
const char* univ_scalar_map(Types types, const _univ_mat* a, _univ_scalar s, void* intrp, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    _univ_scalar cs;
    MUTILS_TRY(scalar_to(s, r->type, false, &cs));
    return univ_apply(
        types, intrp, r,
        [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
            using T = typename decltype(t)::type;
            return map_elements<T>(as<T>(ca), intrp, as<T>(cr), Op<T>{scalar_get<T>(cs)});
        },
        a);
}

}  // namespace detail
}  // namespace mutils

/// Stamps out the seven real typed members of a family from one macro of the form
/// M(code, element type, record): dbl, flt, u8, u16, s16, u32, s32.
#define MUTILS_FOR_REAL_TYPES(M)     \
    M(dbl, double, _double_mat)      \
    M(flt, float, _float_mat)        \
    M(u8, unsigned char, _uint8_mat) \
    M(u16, uint16_t, _uint16_mat)    \
    M(s16, int16_t, _sint16_mat)     \
    M(u32, uint32_t, _uint32_mat)    \
    M(s32, int32_t, _sint32_mat)

/// The same for the three unsigned integer types u8, u16, u32.
#define MUTILS_FOR_UNSIGNED_TYPES(M) \
    M(u8, unsigned char, _uint8_mat) \
    M(u16, uint16_t, _uint16_mat)    \
    M(u32, uint32_t, _uint32_mat)
