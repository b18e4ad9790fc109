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

/// Same-width integer types share one body where the operation keeps the low bits (sums,
/// differences, products, bit operations give the same bits signed or unsigned).
template <class T, bool = std::is_integral_v<T>> struct shared_body { using type = T; };
template <class T> struct shared_body<T, true> { using type = std::make_unsigned_t<T>; };
template <class T> using shared_body_t = typename shared_body<T>::type;

// ---- universal frame ------------------------------------------------------------------------

/// Whether operand type `from` may be brought to result type `to` for a universal member:
/// null when it may (the same type; an integer operand; any operand of a float, double or
/// complex result, complex only to double), else "Illegal data type".
const char* common_refusal(int32_t from, int32_t to);

/// Whether `tag` names one of the element types of a list.
template <class... Ts> inline bool in_types(int32_t tag, types<Ts...>) { return ((tag == elem<Ts>::tag) || ...); }

/// Elements converted per slice by the element-wise universal frame (small enough that the
/// converted slices stay in cache, large enough that per-slice checks cost nothing).
inline constexpr int64_t kConvertSlice = 4096;

/// Elements [off, off + len) of a matrix as a 1 x len matrix of the same type.
inline _univ_mat slice_of(const _univ_mat* m, int64_t off, int64_t len) {
    return {1, int32_t(len), int32_t(len), static_cast<char*>(m->data) + off * int64_t(elem_size(m->type)), m->type};
}

/// The frame of a universal member that needs its operands whole (such as a rescale, which
/// reads the range first): R or any operand null gives "null pointer"; each operand is brought
/// to R's element type in argument order with `to_common` (an operand of another type is cast
/// into an arena temporary, unclipped: a value that does not fit raises "overflow"); then
/// f(type_tag<T>{}, common operands..., R) runs for R's element type T when T is in Types,
/// otherwise "Illegal data type".
template <class Types, class F, class... X>
const char* univ_apply_whole(Types types, void* intrp, _univ_mat* r, F&& f, const X*... xs) {
    static_assert((std::is_same_v<X, _univ_mat> && ...), "operands are universal matrices");
    if (!r || ((xs == nullptr) || ...)) return msg::null_pointer;
    const _univ_mat* given[] = {xs..., nullptr};
    _univ_mat common[sizeof...(X) + 1];
    for (std::size_t i = 0; i < sizeof...(X); ++i) MUTILS_TRY(to_common(given[i], r->type, intrp, &common[i]));
    return dispatch(r->type, types, [&](auto t) -> const char* {
        return [&]<std::size_t... I>(std::index_sequence<I...>) {
            return f(t, static_cast<const _univ_mat*>(&common[I])..., r);
        }(std::index_sequence_for<X...>{});
    });
}

/// The frame of a universal element-wise member, with the same rules and messages as
/// `univ_apply_whole`. Operands of R's type are used in place and f sees the whole matrices.
/// When an operand has another type, every matrix is validated (operands first, raising), sizes
/// must agree ("array size mismatch"), and f runs on successive 1 x n slices of all of them,
/// each converted operand slice cast (unclipped) into a small buffer first: the same results
/// without whole-matrix temporaries. f must therefore treat elements independently.
template <class Types, class F, class... X>
const char* univ_apply(Types types, void* intrp, _univ_mat* r, F&& f, const X*... xs) {
    constexpr std::size_t N = sizeof...(X);
    if (!r || ((xs == nullptr) || ...)) return msg::null_pointer;
    const _univ_mat* given[] = {xs..., nullptr};
    bool same = true;
    for (std::size_t i = 0; i < N; ++i) {
        MUTILS_TRY(common_refusal(given[i]->type, r->type));
        same = same && given[i]->type == r->type;
    }
    if (same) return univ_apply_whole(types, intrp, r, f, xs...);
    if (!in_types(r->type, types)) return msg::illegal_data_type;
    for (std::size_t i = 0; i < N; ++i) validate_univ(given[i]);
    validate_univ(r);
    for (std::size_t i = 0; i < N; ++i) MUTILS_TRY(require_same_size(r, given[i]));
    const int64_t n = r->nelem;
    _univ_mat buffer[N + 1];
    for (std::size_t i = 0; i < N; ++i)
        if (given[i]->type != r->type)
            matuniv_malloc(&buffer[i], 1, int32_t(n < kConvertSlice ? n : kConvertSlice), r->type);
    for (int64_t off = 0; off < n; off += kConvertSlice) {
        const int64_t len = n - off < kConvertSlice ? n - off : kConvertSlice;
        _univ_mat part[N + 1], rpart = slice_of(r, off, len);
        for (std::size_t i = 0; i < N; ++i) {
            part[i] = slice_of(given[i], off, len);
            if (given[i]->type == r->type) continue;
            _univ_mat converted = slice_of(&buffer[i], 0, len);
            matuniv_cast(&part[i], 0, intrp, &converted);
            part[i] = converted;
        }
        MUTILS_TRY(dispatch(r->type, types, [&](auto t) -> const char* {
            return [&]<std::size_t... I>(std::index_sequence<I...>) {
                return f(t, static_cast<const _univ_mat*>(&part[I])..., &rpart);
            }(std::index_sequence_for<X...>{});
        }));
    }
    return nullptr;
}

// ---- universal scalars ----------------------------------------------------------------------

/// Brings a universal scalar to element type `target` (the tag of a result matrix):
/// - a complex scalar or a complex target gives "Illegal data type" unless `complex_ok`, and
///   even then a complex scalar goes only to a complex target;
/// - the same tag is taken as it is;
/// - otherwise a float or double scalar with an integer target gives "Illegal data type";
///   the value is read as a double (u32 as unsigned) and an integer target admits only the
///   symmetric ranges u8 [0, 255], s8 [-127, 127], u16 [0, 65535], s16 [-32767, 32767],
///   u32 [0, 4294967295], s32 [-2147483647, 2147483647] ("Illegal data type" outside);
///   a floating target takes any value, a complex one gets it as the real part.
/// A tag outside 0..8 on either side gives "Illegal data type".
const char* scalar_to(_univ_scalar s, int32_t target, bool complex_ok, _univ_scalar* out);

/// The member of a scalar that element type T reads.
template <class T> inline T scalar_get(const _univ_scalar& s) {
    if constexpr (std::is_same_v<T, unsigned char>) return s.val.u8;
    else if constexpr (std::is_same_v<T, uint16_t>) return s.val.u16;
    else if constexpr (std::is_same_v<T, int16_t>) return s.val.s16;
    else if constexpr (std::is_same_v<T, uint32_t>) return s.val.u32;
    else if constexpr (std::is_same_v<T, int32_t>) return s.val.s32;
    else if constexpr (std::is_same_v<T, float>) return s.val.flt;
    else if constexpr (std::is_same_v<T, double>) return s.val.dbl;
    else return s.val.cpx;
}

/// The universal frame of R = op(A, B) for a stateless Op, run in the shared body of R's type
/// (so Op must keep the low bits: sums, differences, products, bit operations).
template <class Op, class Types>
const char* univ_zip(Types types, const _univ_mat* a, const _univ_mat* b, void* intrp, _univ_mat* r) {
    return univ_apply(types, intrp, r, [&](auto t, const _univ_mat* ca, const _univ_mat* cb, _univ_mat* cr) {
        using B = shared_body_t<typename decltype(t)::type>;
        return zip_elements<B>(as<B>(ca), as<B>(cb), intrp, as<B>(cr), Op{});
    }, a, b);
}

/// The universal frame of R = op(A) for a stateless Op, run in R's own type.
template <class Op, class Types> const char* univ_map(Types types, const _univ_mat* a, void* intrp, _univ_mat* r) {
    return univ_apply(types, intrp, r, [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
        using T = typename decltype(t)::type;
        return map_elements<T>(as<T>(ca), intrp, as<T>(cr), Op{});
    }, a);
}

/// The universal frame of R = op(A, s): A or R null gives "null pointer"; the scalar is brought
/// to R's type (`scalar_to`, no complex) before A is; then Op<T>{s} maps A for R's type T in Types.
template <template <class> class Op, class Types>
const char* univ_scalar_map(Types types, const _univ_mat* a, _univ_scalar s, void* intrp, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    _univ_scalar cs;
    MUTILS_TRY(scalar_to(s, r->type, false, &cs));
    return univ_apply(types, intrp, r, [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
        using T = typename decltype(t)::type;
        return map_elements<T>(as<T>(ca), intrp, as<T>(cr), Op<T>{scalar_get<T>(cs)});
    }, a);
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
