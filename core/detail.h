// Internal scaffolding shared by every operation family (not part of the installed interface):
// element-type traits, the universal-to-typed dispatcher, argument checks that return or raise
// the documented messages, the interrupt poll, arena work arrays and boundary index mapping.
//
// An operation file should read like a statement of the operation: it validates with the
// helpers here, dispatches with `dispatch`, polls with `Poll`, and computes.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "errors.h"
#include "host.h"
#include "storage.h"
#include "types.h"

/// Hot loops compiled for AVX-512, AVX2 and the baseline, chosen at load time (one binary runs
/// everywhere). Off under ThreadSanitizer, whose runtime is not ready when the resolvers run.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && !defined(__SANITIZE_THREAD__)
#define MUTILS_CLONES __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define MUTILS_CLONES
#endif

namespace mutils {
namespace detail {

// ---- element-type traits -------------------------------------------------------------------

template <class T> struct elem;
#define MUTILS_ELEM(T, REC, TAG, CODE)               \
    template <> struct elem<T> {                     \
        using rec = REC;                             \
        static constexpr _mutil_data_type tag = TAG; \
        static constexpr const char* code = CODE;    \
    };
MUTILS_ELEM(unsigned char, _uint8_mat, MUTIL_UINT8, "u8")
MUTILS_ELEM(uint16_t, _uint16_mat, MUTIL_UINT16, "u16")
MUTILS_ELEM(int16_t, _sint16_mat, MUTIL_SINT16, "s16")
MUTILS_ELEM(uint32_t, _uint32_mat, MUTIL_UINT32, "u32")
MUTILS_ELEM(int32_t, _sint32_mat, MUTIL_SINT32, "s32")
MUTILS_ELEM(float, _float_mat, MUTIL_FLOAT, "flt")
MUTILS_ELEM(double, _double_mat, MUTIL_DOUBLE, "dbl")
MUTILS_ELEM(_dcomplex, _dcomplex_mat, MUTIL_DCOMPLEX, "cpx")
#undef MUTILS_ELEM

/// The typed record of element type T (`mat_t<double>` is `_double_mat`).
template <class T> using mat_t = typename elem<T>::rec;

/// Element type of a typed record (`elem_of<_double_mat>` is double).
template <class M> using elem_of = std::remove_pointer_t<decltype(M::data)>;

/// The type in which element arithmetic is done: integers in the unsigned type of at least
/// their width (sums, differences and products keep their low bits without signed overflow),
/// everything else in itself. Cast the result back to T to wrap.
template <class T, bool = std::is_integral_v<T>> struct wrap_of { using type = T; };
template <class T> struct wrap_of<T, true> {
    using type = std::make_unsigned_t<std::conditional_t<(sizeof(T) < sizeof(unsigned)), unsigned, T>>;
};
template <class T> using wrap_t = typename wrap_of<T>::type;

/// The element type whose body a family runs for T where only the bits matter (sums,
/// differences, products, bit operations, equality, moves): same-width integer types share the
/// unsigned one; other types run their own.
template <class T, bool = std::is_integral_v<T>> struct bits_of { using type = T; };
template <class T> struct bits_of<T, true> { using type = std::make_unsigned_t<T>; };
template <class T> using bits_t = typename bits_of<T>::type;

/// A typed record seen as the record of its bits type (the layouts coincide).
template <class T> inline const mat_t<bits_t<T>>* bits(const mat_t<T>* m) {
    return reinterpret_cast<const mat_t<bits_t<T>>*>(m);
}
template <class T> inline mat_t<bits_t<T>>* bits(mat_t<T>* m) { return reinterpret_cast<mat_t<bits_t<T>>*>(m); }

template <class T> inline constexpr bool is_integer_elem = std::is_integral_v<T>;
template <class T> inline constexpr bool is_complex_elem = std::is_same_v<T, _dcomplex>;

/// Bytes per element of a matrix tag; 0 for tags without matrices (1, out of range).
inline std::size_t elem_size(_mutil_data_type t) {
    switch (t) {
        case MUTIL_UINT8: return 1;
        case MUTIL_UINT16:
        case MUTIL_SINT16: return 2;
        case MUTIL_UINT32:
        case MUTIL_SINT32:
        case MUTIL_FLOAT: return 4;
        case MUTIL_DOUBLE: return 8;
        case MUTIL_DCOMPLEX: return 16;
        default: return 0;
    }
}
inline bool is_matrix_tag(int32_t t) { return t >= 0 && t <= 8 && t != 1; }
inline bool is_integer_tag(int32_t t) { return t >= 0 && t <= 5; }

/// A universal matrix seen as the typed record of T (the first four fields coincide).
template <class T> inline mat_t<T>* as(_univ_mat* u) { return reinterpret_cast<mat_t<T>*>(u); }
template <class T> inline const mat_t<T>* as(const _univ_mat* u) { return reinterpret_cast<const mat_t<T>*>(u); }

// ---- raising and argument checks ------------------------------------------------------------

[[noreturn]] inline void raise(const char* message) { Hux::Throw(message, MUTIL_RAISE_CODE); }

/// Raises "null pointer" when p is null.
inline void require_pointer(const void* p) {
    if (!p) raise(msg::null_pointer);
}

/// Validates a typed record; raises "null pointer" / "array size mismatch".
template <class M> inline void validate(const M* m) {
    if (!m) raise(msg::null_pointer);
    if (m->nrow <= 0 || m->ncol <= 0) raise(msg::array_size_mismatch);
    if (!m->data) raise(msg::null_pointer);
    if (int64_t(m->nelem) != int64_t(m->nrow) * int64_t(m->ncol)) raise(msg::array_size_mismatch);
}

/// Validates a universal record; also raises "Illegal data type" for tags 1 and > 8.
void validate_univ(const _univ_mat* m);

/// Validates a set (not its matrices).
void validate_set(const _mat_set* s);

/// "array size mismatch" unless a and b have the same rows and columns.
template <class A, class B> inline const char* require_same_size(const A* a, const B* b) {
    return (a->nrow == b->nrow && a->ncol == b->ncol) ? nullptr : msg::array_size_mismatch;
}

/// "array size mismatch" unless m has exactly nrow x ncol.
template <class A> inline const char* require_size(const A* a, int32_t nrow, int32_t ncol) {
    return (a->nrow == nrow && a->ncol == ncol) ? nullptr : msg::array_size_mismatch;
}

/// "Illegal memory address" when two matrices share their data block.
template <class A, class B> inline const char* require_distinct(const A* a, const B* b) {
    return static_cast<const void*>(a->data) == static_cast<const void*>(b->data) ? msg::illegal_memory_address
                                                                                  : nullptr;
}

/// "Illegal data value" unless the boundary tag is one of the four modes.
inline const char* require_boundary(int32_t b) { return (b >= 0 && b <= 3) ? nullptr : msg::illegal_data_value; }

inline bool is_vector(int32_t nrow, int32_t ncol) { return nrow == 1 || ncol == 1; }

/// Returns from the enclosing function when a check yields a message.
#define MUTILS_TRY(expr)                                          \
    do {                                                          \
        if (const char* mutils_err_ = (expr)) return mutils_err_; \
    } while (0)

// ---- interrupt poll -------------------------------------------------------------------------

/// The work counter of one call: add cost as work proceeds; a true answer means stop and
/// return "interrupted" (`MUTILS_TRY(poll.add(cost))` does both).
class Poll {
public:
    explicit Poll(void* intrp) : m_intrp(intrp) {}
    const char* add(double cost) {
        m_work += cost;
        if (m_work > m_next && mutil_interrupt(m_work, &m_next, m_intrp)) return msg::interrupted;
        return nullptr;
    }

private:
    double m_work = 0.0;
    double m_next = 0.0;
    void* m_intrp;
};

// ---- arena work arrays ----------------------------------------------------------------------

/// n elements of T from the current arena (uninitialised; valid until the host clears it).
template <class T> inline T* work_array(int64_t n) {
    if (n < 0) raise(msg::out_of_memory);
    return static_cast<T*>(Hux::ImcAllocator::m_current->allocate_array(std::size_t(n) * sizeof(T)));
}

/// n elements of T from the current arena, zero-filled.
template <class T> inline T* work_array_zero(int64_t n) {
    T* p = work_array<T>(n);
    std::memset(static_cast<void*>(p), 0, std::size_t(n) * sizeof(T));
    return p;
}

// ---- boundary index mapping -----------------------------------------------------------------

/// Maps index i of an extent n under boundary b; returns -1 for "outside, read zero".
inline int64_t boundary_index(int64_t i, int64_t n, int32_t b) {
    if (i >= 0 && i < n) return i;
    switch (b) {
        case MUTIL_BOUNDARY_PERIODIC: {
            int64_t r = i % n;
            return r < 0 ? r + n : r;
        }
        case MUTIL_BOUNDARY_REFLECT: {
            int64_t p = 2 * n;
            int64_t r = i % p;
            if (r < 0) r += p;
            return r < n ? r : p - 1 - r;
        }
        case MUTIL_BOUNDARY_CONTINUE: return i < 0 ? 0 : n - 1;
        default: return -1;
    }
}

// ---- type dispatch --------------------------------------------------------------------------

template <class... Ts> struct types {};
using all_types = types<unsigned char, uint16_t, int16_t, uint32_t, int32_t, float, double, _dcomplex>;
using real_types = types<unsigned char, uint16_t, int16_t, uint32_t, int32_t, float, double>;
using integer_types = types<unsigned char, uint16_t, int16_t, uint32_t, int32_t>;
using unsigned_types = types<unsigned char, uint16_t, uint32_t>;

template <class T> struct type_tag { using type = T; };

/// Calls f(type_tag<T>{}) for the T of `tag` when T is in the list; otherwise returns
/// "Illegal data type". The universal members go through this one dispatcher:
///
///     return dispatch(R->type, real_types{}, [&](auto t) {
///         using T = typename decltype(t)::type;
///         return add<T>(as<T>(A), as<T>(B), intrp, as<T>(R));
///     });
template <class F, class... Ts> inline const char* dispatch(int32_t tag, types<Ts...>, F&& f) {
    const char* result = msg::illegal_data_type;
    (void)((tag == elem<Ts>::tag ? (result = f(type_tag<Ts>{}), true) : false) || ...);
    return result;
}

/// Brings X to element type `target` for a universal operation: the same type is wrapped
/// without a copy; an integer X, or any X with a floating or complex target, is cast into an
/// arena temporary (an unclipped cast, so values out of range raise "overflow"); a floating
/// or complex X with an integer target gives "Illegal data type".
const char* to_common(const _univ_mat* X, _mutil_data_type target, void* intrp, _univ_mat* out);

// ---- plain entry points ---------------------------------------------------------------------

/// Message-to-code lookup by content (first equal table text; 0 when none).
_mutil_errcode err_lookup(const char* message);

}  // namespace detail
}  // namespace mutils

/// Defines a plain (global) entry point over its mutils operation in one line:
///   MUTILS_PLAIN(matuniv_range, (const _univ_mat* a, ...), (a, ...))
#define MUTILS_PLAIN(NAME, PARAMS, ARGS) \
    mutils::_mutil_errcode NAME PARAMS { return mutils::detail::err_lookup(mutils::NAME ARGS); }
/// The same for an operation that returns nothing (it raises on failure).
#define MUTILS_PLAIN_VOID(NAME, PARAMS, ARGS) \
    mutils::_mutil_errcode NAME PARAMS {      \
        mutils::NAME ARGS;                    \
        return mutils::MUTIL_ERR_OK;          \
    }

#include "detail_scalar.h"  // reading universal scalars in an element type
#include "detail_univ.h"    // the universal-member frame, built on the helpers above
