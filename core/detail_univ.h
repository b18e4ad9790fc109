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
// families) use `univ_apply` in mat/detail_mat.h, which is built on the same checks.
#pragma once

#include <tuple>
#include <type_traits>

#include "detail.h"

namespace mutils {
namespace detail {

/// The element type named by a type tag passed to an `univ_call` body.
#define MUTILS_T(tag) typename decltype(tag)::type

/// A matrix argument of `univ_call` whose element type is fixed to T by the contract (an index
/// result, a complex spectrum, a double-only input).
template <class T, class U> struct fixed_arg {
    U* m;
};
template <class T, class U> inline fixed_arg<T, U> fixed(U* m) { return {m}; }

/// A universal matrix argument of `univ_call` that is only checked for null and reaches the body
/// as it is (a lookup table or mask of any element type, which the body converts or checks).
template <class U> struct pass_arg {
    U* m;
};
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
    if constexpr (is_matrix<U>) return as<T>(m);
    else return m;
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

/// The matrices of a frame call, in the order the body receives them.
template <class... A> inline std::tuple<A...> with(A... args) { return {args...}; }

/// The same frame with the matrices first and the body last, which reads best for a body of
/// several lines: `univ_call(real_types{}, with(a, r), [&](auto t, auto* ta, auto* tr) {...})`.
template <class Types, class F, class... A> const char* univ_call(Types types, std::tuple<A...> args, F&& f) {
    return std::apply([&](A... m) { return univ_call(types, f, m...); }, args);
}

}  // namespace detail
}  // namespace mutils
