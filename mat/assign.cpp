#include "assign.h"

#include <algorithm>
#include <cstring>

#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

template <class T> const char* assign(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    std::memmove(static_cast<void*>(r->data), a->data, std::size_t(a->nelem) * sizeof(T));
    return Poll(intrp).add(pass_cost(a->nelem));
}

template <class T> const char* assign_scalar(T s, void* intrp, mat_t<T>* r) {
    validate(r);
    std::fill_n(r->data, r->nelem, s);
    return Poll(intrp).add(pass_cost(r->nelem));
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_ASSIGN(CODE, T, REC)                                                              \
    const char* mat##CODE##_assign(const REC* a, void* i, REC* r) { return assign<T>(a, i, r); } \
    const char* mat##CODE##_assign_scalar(T s, void* i, REC* r) { return assign_scalar<T>(s, i, r); }
MUTILS_FOR_REAL_TYPES(MUTILS_ASSIGN)
#undef MUTILS_ASSIGN

const char* matcpx_assign_scalar(_dcomplex s, void* i, _dcomplex_mat* r) { return assign_scalar<_dcomplex>(s, i, r); }

const char* matuniv_assign(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_apply(
        all_types{}, i, r,
        [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
            using T = typename decltype(t)::type;
            return assign<T>(as<T>(ca), i, as<T>(cr));
        },
        a);
}

const char* matuniv_assign_scalar(_univ_scalar s, void* i, _univ_mat* r) {
    if (!r) return msg::null_pointer;
    _univ_scalar cs;
    MUTILS_TRY(scalar_to(s, r->type, true, &cs));
    return univ_apply(all_types{}, i, r, [&](auto t, _univ_mat* cr) {
        using T = typename decltype(t)::type;
        return assign_scalar<T>(scalar_get<T>(cs), i, as<T>(cr));
    });
}

}  // namespace mutils
