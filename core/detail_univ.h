// The universal-member frame (not part of the installed interface): every universal member of
// every family goes through `univ_call`, so that a universal member is one line, as a typed one is.
//
//     const char* matuniv_transpose(const _univ_mat* a, void* i, _univ_mat* r) {
//         return univ_call(all_types{}, with(a, r), [&](auto t, auto* ta, auto* tr) {
//             return transpose<MUTILS_T(t)>(ta, i, tr);
//         });
//     }
//
// The frame, in this order, for the pointers it is given (inputs and results alike):
//  1. any of them null gives "null pointer";
//  2. the free ones (plain universal pointers) must share one element type, and each one wrapped
//     in `fixed<T>(m)` must have the element type T; otherwise "Illegal data type";
//  3. f(type_tag<T>{}, typed records...) runs for the free matrices' element type T when T is in
//     the family's type list, otherwise "Illegal data type". Each matrix reaches f as the typed
//     record of its type (`const` kept), in the order given.
// Validation of sizes and data stays in the typed templates, which the typed members share.
//
// Members whose operands are brought to the result's element type first (the element-wise
// families) use `univ_apply` below, which is built on the same checks.
#pragma once

#include <cstddef>
#include <tuple>
#include <utility>
#include <type_traits>

#include "detail.h"

namespace mutils {
namespace detail {

/// The element type named by a type tag passed to an `univ_call` body.
#define MUTILS_T(tag) typename decltype(tag)::type

/// A matrix argument of `univ_call` whose element type is fixed to T by the contract (an index
/// result, a complex spectrum, a double-only input).
template <class T, class U> struct fixed_arg { U* m; };
template <class T, class U> inline fixed_arg<T, U> fixed(U* m) { return {m}; }

/// A universal matrix argument of `univ_call` that is only checked for null and reaches the body
/// as it is (a lookup table or mask of any element type, which the body converts or checks).
template <class U> struct pass_arg { U* m; };
template <class U> inline pass_arg<U> pass(U* m) { return {m}; }

namespace frame {

template <class U> inline constexpr bool is_matrix = std::is_same_v<std::remove_const_t<U>, _univ_mat>;

template <class U> inline const void* pointer(U* m) { return m; }
template <class T, class U> inline const void* pointer(fixed_arg<T, U> a) { return a.m; }

/// Records the type of a free matrix (the first one fixes it); false on disagreement.
/// Other pointers (scalars and counts out, chains) are only checked for null.
template <class U> inline bool agrees(U* m, int32_t& free_tag) {
    if constexpr (is_matrix<U>) {
        if (free_tag < 0) free_tag = m->type;
        return m->type == free_tag;
    } else {
        return true;
    }
}
template <class T, class U> inline bool agrees(fixed_arg<T, U> a, int32_t&) { return a.m->type == elem<T>::tag; }
template <class U> inline bool agrees(pass_arg<U>, int32_t&) { return true; }
template <class U> inline const void* pointer(pass_arg<U> a) { return a.m; }

template <class T, class U> inline auto typed(U* m) {
    if constexpr (is_matrix<U>)
        return as<T>(m);
    else
        return m;
}
template <class T, class V, class U> inline auto typed(fixed_arg<V, U> a) { return as<V>(a.m); }
template <class T, class U> inline U* typed(pass_arg<U> a) { return a.m; }

template <class U> inline constexpr bool is_free = false;
template <class U> inline constexpr bool is_free<U*> = is_matrix<U>;

}  // namespace frame

/// The universal frame (see the head of this file). At least one matrix must be free: its
/// element type picks the instantiation. Pointers that are not matrices (a scalar or count to
/// fill) take part in the null check and reach f unchanged.
template <class Types, class F, class... A> const char* univ_call(Types types, F&& f, A... args) {
    static_assert((frame::is_free<A> || ...), "univ_call needs a matrix whose type selects the body");
    if (((frame::pointer(args) == nullptr) || ...)) return msg::null_pointer;
    int32_t free_tag = -1;
    if (!(frame::agrees(args, free_tag) && ...)) return msg::illegal_data_type;
    return dispatch(free_tag, types, [&](auto t) -> const char* {
        using T = MUTILS_T(t);
        return f(t, frame::typed<T>(args)...);
    });
}

// ---- operands brought to the result's element type -------------------------------------------

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
        }
        (std::index_sequence_for<X...>{});
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
            }
            (std::index_sequence_for<X...>{});
        }));
    }
    return nullptr;
}

/// The matrices of a frame call, in the order the body receives them.
template <class... A> inline std::tuple<A...> with(A... args) { return {args...}; }

/// The same frame with the matrices first and the body last, which reads best for a body of
/// several lines: `univ_call(real_types{}, with(a, r), [&](auto t, auto* ta, auto* tr) {...})`.
template <class Types, class F, class... A> const char* univ_call(Types types, std::tuple<A...> args, F&& f) {
    return std::apply([&](A... m) { return univ_call(types, f, m...); }, args);
}

}  // namespace detail
}  // namespace mutils
