#include "arith.h"

#include <cmath>

#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

struct Add {
    template <class T> T operator()(T a, T b) const { return T(wrap_t<T>(a) + wrap_t<T>(b)); }
};
struct Sub {
    template <class T> T operator()(T a, T b) const { return T(wrap_t<T>(a) - wrap_t<T>(b)); }
};
struct Mul {
    template <class T> T operator()(T a, T b) const { return T(wrap_t<T>(a) * wrap_t<T>(b)); }
};

/// |x| in the element type: the most negative signed value negates to itself (wraps).
struct Abs {
    template <class T> T operator()(T x) const {
        if constexpr (std::is_floating_point_v<T>)
            return std::fabs(x);
        else if constexpr (std::is_signed_v<T>)
            return x < 0 ? T(wrap_t<T>(0) - wrap_t<T>(x)) : x;
        else
            return x;
    }
};

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_BINARY(CODE, T, REC)                                                      \
    const char* mat##CODE##_add(const REC* a, const REC* b, void* i, REC* r) {           \
        return zip_elements<T>(a, b, i, r, Add{});                                       \
    }                                                                                    \
    const char* mat##CODE##_subtract(const REC* a, const REC* b, void* i, REC* r) {      \
        return zip_elements<T>(a, b, i, r, Sub{});                                       \
    }                                                                                    \
    const char* mat##CODE##_multiply_elem(const REC* a, const REC* b, void* i, REC* r) { \
        return zip_elements<T>(a, b, i, r, Mul{});                                       \
    }
MUTILS_FOR_REAL_TYPES(MUTILS_BINARY)
#undef MUTILS_BINARY

const char* matuniv_add(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_zip<Add>(real_types{}, a, b, i, r);
}
const char* matuniv_subtract(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_zip<Sub>(real_types{}, a, b, i, r);
}
const char* matuniv_multiply_elem(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_zip<Mul>(real_types{}, a, b, i, r);
}

#define MUTILS_ABS(CODE, T, REC) \
    const char* mat##CODE##_abs(const REC* a, void* i, REC* r) { return map_elements<T>(a, i, r, Abs{}); }
MUTILS_ABS(dbl, double, _double_mat)
MUTILS_ABS(flt, float, _float_mat)
MUTILS_ABS(s16, int16_t, _sint16_mat)
MUTILS_ABS(s32, int32_t, _sint32_mat)
#undef MUTILS_ABS

const char* matuniv_abs(const _univ_mat* a, void* i, _univ_mat* r) { return univ_map<Abs>(real_types{}, a, i, r); }

}  // namespace mutils

MUTILS_PLAIN(matuniv_subtract, (const mutils::_univ_mat* a, const mutils::_univ_mat* b, void* i, mutils::_univ_mat* r),
             (a, b, i, r))
