#include "bits.h"

#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

struct And {
    template <class T> T operator()(T a, T b) const { return T(a & b); }
};
struct Or {
    template <class T> T operator()(T a, T b) const { return T(a | b); }
};
struct Xor {
    template <class T> T operator()(T a, T b) const { return T(a ^ b); }
};
struct Not {
    template <class T> T operator()(T a) const { return T(~wrap_t<T>(a)); }
};

template <class T> struct AndScalar {
    T s;
    T operator()(T a) const { return T(a & s); }
};
template <class T> struct OrScalar {
    T s;
    T operator()(T a) const { return T(a | s); }
};
template <class T> struct XorScalar {
    T s;
    T operator()(T a) const { return T(a ^ s); }
};

// Shifts by a count checked against the width once, so no element is shifted by the width
// or more (a zero result instead).
template <class T> struct ShiftLeft {
    unsigned count;
    T operator()(T a) const { return T(wrap_t<T>(a) << count); }
};
template <class T> struct ShiftRight {
    unsigned count;
    T operator()(T a) const { return T(wrap_t<T>(a) >> count); }
};

template <class T> struct Zero {
    T operator()(T) const { return T(0); }
};

template <class T, template <class> class Shift>
const char* shift(const mat_t<T>* a, uint32_t count, void* intrp, mat_t<T>* r) {
    if (count >= 8 * sizeof(T)) return map_elements<T>(a, intrp, r, Zero<T>{});
    return map_elements<T>(a, intrp, r, Shift<T>{count});
}

template <template <class> class Shift>
const char* shift_univ(const _univ_mat* a, unsigned char count, void* intrp, _univ_mat* r) {
    return univ_apply(
        unsigned_types{}, intrp, r,
        [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
            using T = typename decltype(t)::type;
            return shift<T, Shift>(as<T>(ca), count, intrp, as<T>(cr));
        },
        a);
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_BITS(CODE, T, REC)                                                                              \
    const char* mat##CODE##_bit_and(const REC* a, const REC* b, void* i, REC* r) {                             \
        return zip_elements<T>(a, b, i, r, And{});                                                             \
    }                                                                                                          \
    const char* mat##CODE##_bit_or(const REC* a, const REC* b, void* i, REC* r) {                              \
        return zip_elements<T>(a, b, i, r, Or{});                                                              \
    }                                                                                                          \
    const char* mat##CODE##_bit_xor(const REC* a, const REC* b, void* i, REC* r) {                             \
        return zip_elements<T>(a, b, i, r, Xor{});                                                             \
    }                                                                                                          \
    const char* mat##CODE##_bit_not(const REC* a, void* i, REC* r) { return map_elements<T>(a, i, r, Not{}); } \
    const char* mat##CODE##_bit_and_scalar(const REC* a, T s, void* i, REC* r) {                               \
        return map_elements<T>(a, i, r, AndScalar<T>{s});                                                      \
    }                                                                                                          \
    const char* mat##CODE##_bit_or_scalar(const REC* a, T s, void* i, REC* r) {                                \
        return map_elements<T>(a, i, r, OrScalar<T>{s});                                                       \
    }                                                                                                          \
    const char* mat##CODE##_bit_xor_scalar(const REC* a, T s, void* i, REC* r) {                               \
        return map_elements<T>(a, i, r, XorScalar<T>{s});                                                      \
    }                                                                                                          \
    const char* mat##CODE##_bit_shift_left(const REC* a, T n, void* i, REC* r) {                               \
        return shift<T, ShiftLeft>(a, n, i, r);                                                                \
    }                                                                                                          \
    const char* mat##CODE##_bit_shift_right(const REC* a, T n, void* i, REC* r) {                              \
        return shift<T, ShiftRight>(a, n, i, r);                                                               \
    }
MUTILS_FOR_UNSIGNED_TYPES(MUTILS_BITS)
#undef MUTILS_BITS

const char* matuniv_bit_and(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_zip<And>(unsigned_types{}, a, b, i, r);
}
const char* matuniv_bit_or(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_zip<Or>(unsigned_types{}, a, b, i, r);
}
const char* matuniv_bit_xor(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_zip<Xor>(unsigned_types{}, a, b, i, r);
}
const char* matuniv_bit_not(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_map<Not>(unsigned_types{}, a, i, r);
}
const char* matuniv_bit_and_scalar(const _univ_mat* a, _univ_scalar s, void* i, _univ_mat* r) {
    return univ_scalar_map<AndScalar>(unsigned_types{}, a, s, i, r);
}
const char* matuniv_bit_or_scalar(const _univ_mat* a, _univ_scalar s, void* i, _univ_mat* r) {
    return univ_scalar_map<OrScalar>(unsigned_types{}, a, s, i, r);
}
const char* matuniv_bit_xor_scalar(const _univ_mat* a, _univ_scalar s, void* i, _univ_mat* r) {
    return univ_scalar_map<XorScalar>(unsigned_types{}, a, s, i, r);
}
const char* matuniv_bit_shift_left(const _univ_mat* a, unsigned char n, void* i, _univ_mat* r) {
    return shift_univ<ShiftLeft>(a, n, i, r);
}
const char* matuniv_bit_shift_right(const _univ_mat* a, unsigned char n, void* i, _univ_mat* r) {
    return shift_univ<ShiftRight>(a, n, i, r);
}

}  // namespace mutils
