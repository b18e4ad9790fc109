#include "arith.h"

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

struct Add { template <class T> static T apply(T a, T b) { return T(wrap_t<T>(a) + wrap_t<T>(b)); } };
struct Sub { template <class T> static T apply(T a, T b) { return T(wrap_t<T>(a) - wrap_t<T>(b)); } };
struct Mul { template <class T> static T apply(T a, T b) { return T(wrap_t<T>(a) * wrap_t<T>(b)); } };

template <class Op, class T>
MUTILS_CLONES
void binary_pass(const T* a, const T* b, T* r, int64_t n) {
    for (int64_t i = 0; i < n; ++i) r[i] = Op::apply(a[i], b[i]);
}

template <class Op, class T> const char* binary(const mat_t<T>* a, const mat_t<T>* b, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(b);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    MUTILS_TRY(require_same_size(a, b));
    binary_pass<Op, T>(a->data, b->data, r->data, a->nelem);
    return Poll(intrp).add(3.0 * a->nelem);
}

}  // namespace

/// The universal binary frame: both operands brought to R's type, then the typed member of R's
/// type (same-width integer types share one body, the wrap-around bits being the same).
template <class Op> const char* binary_univ(const _univ_mat* a, const _univ_mat* b, void* intrp, _univ_mat* r) {
    if (!a || !b || !r) return msg::null_pointer;
    _univ_mat ca, cb;
    MUTILS_TRY(to_common(a, r->type, intrp, &ca));
    MUTILS_TRY(to_common(b, r->type, intrp, &cb));
    using integer_bodies = types<unsigned char, uint16_t, uint32_t, float, double>;
    int32_t tag = r->type == MUTIL_SINT16 ? MUTIL_UINT16 : r->type == MUTIL_SINT32 ? MUTIL_UINT32 : r->type;
    return dispatch(tag, integer_bodies{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return binary<Op, T>(as<T>(&ca), as<T>(&cb), intrp, as<T>(r));
    });
}

}  // namespace detail

using namespace detail;

#define MUTILS_BINARY(NAME, OP)                                                                             \
    const char* matdbl_##NAME(const _double_mat* a, const _double_mat* b, void* i, _double_mat* r) {        \
        return binary<OP, double>(a, b, i, r);                                                              \
    }                                                                                                       \
    const char* matflt_##NAME(const _float_mat* a, const _float_mat* b, void* i, _float_mat* r) {           \
        return binary<OP, float>(a, b, i, r);                                                               \
    }                                                                                                       \
    const char* matu8_##NAME(const _uint8_mat* a, const _uint8_mat* b, void* i, _uint8_mat* r) {            \
        return binary<OP, unsigned char>(a, b, i, r);                                                       \
    }                                                                                                       \
    const char* matu16_##NAME(const _uint16_mat* a, const _uint16_mat* b, void* i, _uint16_mat* r) {        \
        return binary<OP, uint16_t>(a, b, i, r);                                                            \
    }                                                                                                       \
    const char* mats16_##NAME(const _sint16_mat* a, const _sint16_mat* b, void* i, _sint16_mat* r) {        \
        return binary<OP, int16_t>(a, b, i, r);                                                             \
    }                                                                                                       \
    const char* matu32_##NAME(const _uint32_mat* a, const _uint32_mat* b, void* i, _uint32_mat* r) {        \
        return binary<OP, uint32_t>(a, b, i, r);                                                            \
    }                                                                                                       \
    const char* mats32_##NAME(const _sint32_mat* a, const _sint32_mat* b, void* i, _sint32_mat* r) {        \
        return binary<OP, int32_t>(a, b, i, r);                                                             \
    }                                                                                                       \
    const char* matuniv_##NAME(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {             \
        return binary_univ<OP>(a, b, i, r);                                                                 \
    }
MUTILS_BINARY(add, Add)
MUTILS_BINARY(subtract, Sub)
MUTILS_BINARY(multiply_elem, Mul)
#undef MUTILS_BINARY

}  // namespace mutils

MUTILS_PLAIN(matuniv_subtract, (const mutils::_univ_mat* a, const mutils::_univ_mat* b, void* i, mutils::_univ_mat* r),
             (a, b, i, r))
