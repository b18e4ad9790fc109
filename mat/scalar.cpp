#include "scalar.h"

#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

template <class T> struct AddScalar {
    T s;
    T operator()(T x) const { return T(wrap_t<T>(x) + wrap_t<T>(s)); }
};
template <class T> struct MulScalar {
    T s;
    T operator()(T x) const { return T(wrap_t<T>(x) * wrap_t<T>(s)); }
};

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_SCALAR(CODE, T, REC)                                               \
    const char* mat##CODE##_add_scalar(const REC* a, T s, void* i, REC* r) {      \
        return map_elements<T>(a, i, r, AddScalar<T>{s});                         \
    }                                                                             \
    const char* mat##CODE##_multiply_scalar(const REC* a, T s, void* i, REC* r) { \
        return map_elements<T>(a, i, r, MulScalar<T>{s});                         \
    }
MUTILS_FOR_REAL_TYPES(MUTILS_SCALAR)
#undef MUTILS_SCALAR

const char* matuniv_add_scalar(const _univ_mat* a, _univ_scalar s, void* i, _univ_mat* r) {
    return univ_scalar_map<AddScalar>(real_types{}, a, s, i, r);
}
const char* matuniv_multiply_scalar(const _univ_mat* a, _univ_scalar s, void* i, _univ_mat* r) {
    return univ_scalar_map<MulScalar>(real_types{}, a, s, i, r);
}

}  // namespace mutils

MUTILS_PLAIN(matuniv_add_scalar, (const mutils::_univ_mat* a, mutils::_univ_scalar s, void* i, mutils::_univ_mat* r),
             (a, s, i, r))
