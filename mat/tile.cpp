#include "tile.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "../core/detail.h"
#include "cast.h"

namespace mutils {
namespace detail {
namespace {

/// Checks shared by tile and untile: `img` is the image, `tiles` the one-tile-per-row matrix.
template <class M> const char* tile_checks(const M* img, int32_t tr, int32_t tc, const M* tiles, int64_t* grid_cols) {
    MUTILS_TRY(require_distinct(img, tiles));
    if (tr < 1 || tc < 1 || tr > img->nrow || tc > img->ncol) return msg::illegal_data_value;
    *grid_cols = img->ncol / tc;
    if (int64_t(tiles->nrow) != int64_t(img->nrow / tr) * *grid_cols) return msg::array_size_mismatch;
    if (int64_t(tiles->ncol) != int64_t(tr) * tc) return msg::array_size_mismatch;
    return nullptr;
}

/// Moves every tile between the image and its row of the tile matrix (to_tiles: image -> tiles).
template <class T> const char* move_tiles(bool to_tiles, mat_t<T>* img, int32_t tr, int32_t tc, int64_t grid_cols,
                                          mat_t<T>* tiles, void* intrp) {
    Poll poll(intrp);
    const std::size_t bytes = std::size_t(tc) * sizeof(T);
    for (int64_t k = 0; k < tiles->nrow; ++k) {
        T* tile = tiles->data + k * tiles->ncol;
        T* corner = img->data + (k / grid_cols) * tr * int64_t(img->ncol) + (k % grid_cols) * tc;
        for (int64_t i = 0; i < tr; ++i) {
            T* row = corner + i * img->ncol;
            if (to_tiles)
                std::memcpy(static_cast<void*>(tile + i * tc), row, bytes);
            else
                std::memcpy(static_cast<void*>(row), tile + i * tc, bytes);
        }
        MUTILS_TRY(poll.add(3.0 * double(tiles->ncol)));
    }
    return nullptr;
}

template <class T> const char* tile(const mat_t<T>* a, int32_t tr, int32_t tc, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    int64_t grid_cols = 0;
    MUTILS_TRY(tile_checks(a, tr, tc, r, &grid_cols));
    return move_tiles<T>(true, const_cast<mat_t<T>*>(a), tr, tc, grid_cols, r, intrp);
}

template <class T> const char* untile(const mat_t<T>* a, int32_t tr, int32_t tc, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    int64_t grid_cols = 0;
    MUTILS_TRY(tile_checks(r, tr, tc, a, &grid_cols));
    return move_tiles<T>(false, r, tr, tc, grid_cols, const_cast<mat_t<T>*>(a), intrp);
}

/// Validates a set whose planes must agree in size and type, and the planes themselves.
void check_planes(const _mat_set* s) {
    matset_verify_allsame(s);
    for (int32_t p = 0; p < s->nmat; ++p) validate_univ(&s->mats[p]);
}

/// Checks between a set of planes and the matrix that interleaves them (raising).
void check_interleaved(const _mat_set* s, const _univ_mat* m) {
    check_planes(s);
    validate_univ(m);
    const _univ_mat& first = s->mats[0];
    if (m->type != first.type) raise(msg::illegal_data_type);
    if (m->nrow != first.nrow || int64_t(m->ncol) != int64_t(first.ncol) * s->nmat) raise(msg::array_size_mismatch);
    for (int32_t p = 0; p < s->nmat; ++p)
        if (s->mats[p].data == m->data) raise(msg::illegal_memory_address);
}

/// Element e of plane p <-> element e x P + p of the interleaved matrix.
template <class T> void interleave(bool to_matrix, const _mat_set* s, T* m, void* intrp) {
    const int64_t planes = s->nmat, n = s->mats[0].nelem;
    for (int64_t p = 0; p < planes; ++p) {
        T* plane = static_cast<T*>(s->mats[p].data);
        if (to_matrix)
            for (int64_t e = 0; e < n; ++e) m[e * planes + p] = plane[e];
        else
            for (int64_t e = 0; e < n; ++e) plane[e] = m[e * planes + p];
    }
    Poll(intrp).add(3.0 * double(n) * double(planes));  // counted; these operations never stop
}

template <class F> void on_type(int32_t tag, F&& f) {
    if (const char* err = dispatch(tag, all_types{}, [&](auto t) -> const char* {
            f(t);
            return nullptr;
        }))
        raise(err);
}

/// Stores v in an element of type T: floating types as they are; integers rounded half up,
/// raising "overflow" outside the type's range (or for NaN).
template <class T> inline T store(double v) {
    if constexpr (std::is_integral_v<T>) {
        const double x = std::floor(v + 0.5);
        if (!(x >= double(std::numeric_limits<T>::lowest()) && x <= double(std::numeric_limits<T>::max())))
            raise(msg::overflow);
        return T(x);
    } else {
        return T(v);
    }
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_TILE(CODE, T)                                                                          \
    const char* mat##CODE##_tile(const mat_t<T>* a, int32_t tr, int32_t tc, void* i, mat_t<T>* r) {   \
        return tile<T>(a, tr, tc, i, r);                                                              \
    }                                                                                                 \
    const char* mat##CODE##_untile(const mat_t<T>* a, int32_t tr, int32_t tc, void* i, mat_t<T>* r) { \
        return untile<T>(a, tr, tc, i, r);                                                            \
    }
MUTILS_TILE(dbl, double)
MUTILS_TILE(flt, float)
MUTILS_TILE(u8, unsigned char)
MUTILS_TILE(u16, uint16_t)
MUTILS_TILE(u32, uint32_t)
MUTILS_TILE(s16, int16_t)
MUTILS_TILE(s32, int32_t)
MUTILS_TILE(cpx, _dcomplex)
#undef MUTILS_TILE

const char* matuniv_tile(const _univ_mat* a, int32_t tr, int32_t tc, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tx) { return tile<MUTILS_T(t)>(ta, tr, tc, i, tx); });
}

const char* matuniv_untile(const _univ_mat* a, int32_t tr, int32_t tc, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tx) { return untile<MUTILS_T(t)>(ta, tr, tc, i, tx); });
}

void matset_tile(const _mat_set* s, void* intrp, _univ_mat* r) {
    require_pointer(s);
    require_pointer(r);
    check_interleaved(s, r);
    on_type(r->type, [&](auto t) {
        using T = typename decltype(t)::type;
        interleave<T>(true, s, static_cast<T*>(r->data), intrp);
    });
}

void matset_untile(const _univ_mat* a, void* intrp, _mat_set* s) {
    require_pointer(a);
    require_pointer(s);
    check_interleaved(s, a);
    on_type(a->type, [&](auto t) {
        using T = typename decltype(t)::type;
        interleave<T>(false, s, static_cast<T*>(a->data), intrp);
    });
}

void matset_interpolate(const _univ_mat* a, const _univ_mat* b, const _univ_mat* f, void* intrp, _mat_set* s) {
    require_pointer(a);
    require_pointer(b);
    require_pointer(f);
    require_pointer(s);
    validate_univ(a);
    validate_univ(b);
    validate_univ(f);
    check_planes(s);
    const int32_t plane_type = s->mats[0].type;
    if (a->type == MUTIL_DCOMPLEX || b->type == MUTIL_DCOMPLEX || f->type == MUTIL_DCOMPLEX ||
        plane_type == MUTIL_DCOMPLEX)
        raise(msg::illegal_data_type);
    if (require_same_size(a, b) || require_same_size(&s->mats[0], a) || s->nmat != f->nelem)
        raise(msg::array_size_mismatch);
    for (int32_t p = 0; p < s->nmat; ++p)
        if (s->mats[p].data == a->data || s->mats[p].data == b->data || s->mats[p].data == f->data)
            raise(msg::illegal_memory_address);
    _univ_mat da, db, df;
    if (const char* err = to_common(a, MUTIL_DOUBLE, intrp, &da)) raise(err);
    if (const char* err = to_common(b, MUTIL_DOUBLE, intrp, &db)) raise(err);
    if (const char* err = to_common(f, MUTIL_DOUBLE, intrp, &df)) raise(err);
    const double* x = static_cast<const double*>(da.data);
    const double* y = static_cast<const double*>(db.data);
    const double* frac = static_cast<const double*>(df.data);
    const int64_t n = a->nelem;
    Poll poll(intrp);
    on_type(plane_type, [&](auto t) {
        using T = typename decltype(t)::type;
        if constexpr (!is_complex_elem<T>) {
            for (int32_t k = 0; k < s->nmat; ++k) {
                T* out = static_cast<T*>(s->mats[k].data);
                const double w = frac[k], v = 1.0 - w;
                for (int64_t e = 0; e < n; ++e) out[e] = store<T>(v * x[e] + w * y[e]);
                poll.add(4.0 * double(n));  // counted; this operation never stops
            }
        }
    });
}

}  // namespace mutils
