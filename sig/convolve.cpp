// Correlation and convolution members: typed instantiations of the filter in detail_convolve.h,
// the universal promotion, and the matrix-set forms.
#include "convolve.h"

#include <algorithm>

#include "detail_convolve.h"

namespace mutils {
namespace detail {
namespace {

/// Complex convolution: correlation with a copy of the filter flipped up-down and left-right, with
/// the same origin arguments.
const char* convolve_complex(const _dcomplex_mat* d, const _dcomplex_mat* f, int32_t rstep, int32_t cstep,
                             int32_t rorig, int32_t corig, int32_t boundary, void* intrp, _dcomplex_mat* y) {
    MUTILS_TRY(check_filter(d, f, rstep, cstep, rorig, corig, boundary, y));
    _dcomplex_mat flipped{f->nrow, f->ncol, f->nelem, work_array<_dcomplex>(f->nelem)};
    for (int32_t i = 0; i < f->nelem; ++i) flipped.data[i] = f->data[f->nelem - 1 - i];
    return correlate<_dcomplex>(d, &flipped, rstep, cstep, rorig, corig, boundary, intrp, y);
}

inline bool is_floating_tag(int32_t t) { return t == MUTIL_FLOAT || t == MUTIL_DOUBLE || t == MUTIL_DCOMPLEX; }
inline bool is_word_tag(int32_t t) { return t == MUTIL_UINT32 || t == MUTIL_SINT32; }

/// X as a matrix of element type `target` (same bits for the 32-bit integer pair, else to_common).
const char* bring(const _univ_mat* x, _mutil_data_type target, void* intrp, _univ_mat* out) {
    if (is_word_tag(x->type) && is_word_tag(target)) {
        *out = *x;
        out->type = target;
        return nullptr;
    }
    return to_common(x, target, intrp, out);
}

template <bool Conv> const char* filter_univ(const _univ_mat* d, const _univ_mat* f, int32_t rstep, int32_t cstep,
                                             int32_t rorig, int32_t corig, int32_t boundary, void* intrp,
                                             _univ_mat* y) {
    if (!d || !f || !y) return msg::null_pointer;
    if (!is_matrix_tag(d->type) || !is_matrix_tag(f->type) || !is_matrix_tag(y->type)) return msg::illegal_data_type;
    if (d->type != f->type && is_floating_tag(d->type) && is_integer_tag(f->type)) return msg::illegal_data_type;
    if (d->type != y->type && is_floating_tag(d->type) && is_integer_tag(y->type)) return msg::illegal_data_type;
    // Tags increase with width, so the widest type is the largest tag.
    const auto wide = static_cast<_mutil_data_type>(std::max({d->type, f->type, y->type}));
    if (y->type != wide && !(is_word_tag(y->type) && is_word_tag(wide))) return msg::illegal_data_type;
    const int32_t member = wide == MUTIL_UINT32 ? MUTIL_SINT32 : wide;
    if (member == MUTIL_SINT16 || member == MUTIL_FLOAT) return msg::illegal_data_type;  // no such member
    _univ_mat cd, cf;
    MUTILS_TRY(bring(d, wide, intrp, &cd));
    MUTILS_TRY(bring(f, wide, intrp, &cf));
    return dispatch(member, types<unsigned char, uint16_t, int32_t, double, _dcomplex>{}, [&](auto t) {
        using T = typename decltype(t)::type;
        if constexpr (Conv && std::is_same_v<T, _dcomplex>)
            return convolve_complex(as<T>(&cd), as<T>(&cf), rstep, cstep, rorig, corig, boundary, intrp, as<T>(y));
        else if constexpr (Conv)
            return convolve<T>(as<T>(&cd), as<T>(&cf), rstep, cstep, rorig, corig, boundary, intrp, as<T>(y));
        else
            return correlate<T>(as<T>(&cd), as<T>(&cf), rstep, cstep, rorig, corig, boundary, intrp, as<T>(y));
    });
}

template <bool Conv> const char* filter_set(const _mat_set* d, const _mat_set* f, const _sint32_mat* rstep,
                                            const _sint32_mat* cstep, const _sint32_mat* rorig,
                                            const _sint32_mat* corig, int32_t boundary, void* intrp, _mat_set* y) {
    validate_set(d);
    validate_set(f);
    validate_set(y);
    validate(rstep);
    validate(cstep);
    validate(rorig);
    validate(corig);
    const int32_t n = d->nmat;
    if (f->nmat != n || y->nmat != n) return msg::array_size_mismatch;
    if (rstep->nelem != n || cstep->nelem != n || rorig->nelem != n || corig->nelem != n)
        return msg::array_size_mismatch;
    for (int32_t k = 0; k < n; ++k)
        MUTILS_TRY(filter_univ<Conv>(&d->mats[k], &f->mats[k], rstep->data[k], cstep->data[k], rorig->data[k],
                                     corig->data[k], boundary, intrp, &y->mats[k]));
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_FILTER(CODE, T)                                                                                  \
    const char* sig##CODE##_convolve(const mat_t<T>* d, const mat_t<T>* f, int32_t rs, int32_t cs, int32_t ro,  \
                                     int32_t co, _mutil_boundary_type b, void* i, mat_t<T>* y) {                \
        return convolve<T>(d, f, rs, cs, ro, co, b, i, y);                                                      \
    }                                                                                                           \
    const char* sig##CODE##_correlate(const mat_t<T>* d, const mat_t<T>* f, int32_t rs, int32_t cs, int32_t ro, \
                                      int32_t co, _mutil_boundary_type b, void* i, mat_t<T>* y) {               \
        return correlate<T>(d, f, rs, cs, ro, co, b, i, y);                                                     \
    }
MUTILS_FILTER(dbl, double)
MUTILS_FILTER(u8, unsigned char)
MUTILS_FILTER(u16, uint16_t)
MUTILS_FILTER(s32, int32_t)
#undef MUTILS_FILTER

const char* sigcpx_convolve(const _dcomplex_mat* d, const _dcomplex_mat* f, int32_t rs, int32_t cs, int32_t ro,
                            int32_t co, _mutil_boundary_type b, void* i, _dcomplex_mat* y) {
    return convolve_complex(d, f, rs, cs, ro, co, b, i, y);
}

const char* sigcpx_correlate(const _dcomplex_mat* d, const _dcomplex_mat* f, int32_t rs, int32_t cs, int32_t ro,
                             int32_t co, _mutil_boundary_type b, void* i, _dcomplex_mat* y) {
    return correlate<_dcomplex>(d, f, rs, cs, ro, co, b, i, y);
}

const char* siguniv_convolve(const _univ_mat* d, const _univ_mat* f, int32_t rs, int32_t cs, int32_t ro, int32_t co,
                             _mutil_boundary_type b, void* i, _univ_mat* y) {
    return filter_univ<true>(d, f, rs, cs, ro, co, b, i, y);
}

const char* siguniv_correlate(const _univ_mat* d, const _univ_mat* f, int32_t rs, int32_t cs, int32_t ro, int32_t co,
                              _mutil_boundary_type b, void* i, _univ_mat* y) {
    return filter_univ<false>(d, f, rs, cs, ro, co, b, i, y);
}

const char* sigset_convolve(const _mat_set* d, const _mat_set* f, const _sint32_mat* rs, const _sint32_mat* cs,
                            const _sint32_mat* ro, const _sint32_mat* co, _mutil_boundary_type b, void* i,
                            _mat_set* y) {
    return filter_set<true>(d, f, rs, cs, ro, co, b, i, y);
}

const char* sigset_correlate(const _mat_set* d, const _mat_set* f, const _sint32_mat* rs, const _sint32_mat* cs,
                             const _sint32_mat* ro, const _sint32_mat* co, _mutil_boundary_type b, void* i,
                             _mat_set* y) {
    return filter_set<false>(d, f, rs, cs, ro, co, b, i, y);
}

}  // namespace mutils
