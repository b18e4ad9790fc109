#include "structural.h"

#include <algorithm>
#include <cstring>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

template <class T> void copy_n(const T* src, int64_t n, T* dst) {
    std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), std::size_t(n) * sizeof(T));
}

/// "array size mismatch" unless a block of rows x cols at (r0, c0) lies inside nrow x ncol,
/// tested as: r0 < 0, rows + r0 > nrow, c0 < 0, cols + c0 > ncol.
inline const char* require_inside(int64_t r0, int64_t c0, int64_t rows, int64_t cols, int64_t nrow, int64_t ncol) {
    if (r0 < 0 || rows + r0 > nrow || c0 < 0 || cols + c0 > ncol) return msg::array_size_mismatch;
    return nullptr;
}

template <class T> const char* assign_submat(const mat_t<T>* a, int32_t r0, int32_t c0, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_inside(r0, c0, a->nrow, a->ncol, r->nrow, r->ncol));
    MUTILS_TRY(require_distinct(a, r));
    Poll poll(intrp);
    for (int64_t i = 0; i < a->nrow; ++i) {
        copy_n(a->data + i * a->ncol, a->ncol, r->data + (r0 + i) * r->ncol + c0);
        MUTILS_TRY(poll.add(8.0 * a->ncol));
    }
    return nullptr;
}

template <class T> const char* extract(const mat_t<T>* a, int32_t r0, int32_t c0, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_distinct(a, r));
    MUTILS_TRY(require_inside(r0, c0, r->nrow, r->ncol, a->nrow, a->ncol));
    Poll poll(intrp);
    for (int64_t i = 0; i < r->nrow; ++i) {
        copy_n(a->data + (r0 + i) * a->ncol + c0, r->ncol, r->data + i * r->ncol);
        MUTILS_TRY(poll.add(8.0 * r->ncol));
    }
    return nullptr;
}

template <class T> const char* assign_zeropad(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    MUTILS_TRY(assign_submat<T>(a, 0, 0, intrp, r));
    for (int64_t i = 0; i < a->nrow; ++i) std::fill(r->data + i * r->ncol + a->ncol, r->data + (i + 1) * r->ncol, T{});
    std::fill(r->data + int64_t(a->nrow) * r->ncol, r->data + r->nelem, T{});
    return Poll(intrp).add(double(r->nelem));
}

template <class T> const char* transpose(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    if (static_cast<const void*>(a->data) == static_cast<const void*>(r->data)) {
        // A vector keeps its storage order; only the record changes.
        if (!is_vector(a->nrow, a->ncol) || r->nelem != a->nelem) return msg::array_size_mismatch;
        const int32_t rows = a->ncol, cols = a->nrow;
        r->nrow = rows;
        r->ncol = cols;
        return nullptr;
    }
    MUTILS_TRY(require_size(r, a->ncol, a->nrow));
    // Blocks of 32 x 32 keep both the rows read and the rows written in cache.
    constexpr int64_t B = 32;
    const int64_t m = a->nrow, n = a->ncol;
    Poll poll(intrp);
    for (int64_t i0 = 0; i0 < m; i0 += B) {
        const int64_t i1 = std::min(m, i0 + B);
        for (int64_t j0 = 0; j0 < n; j0 += B) {
            const int64_t j1 = std::min(n, j0 + B);
            for (int64_t i = i0; i < i1; ++i)
                for (int64_t j = j0; j < j1; ++j) r->data[j * m + i] = a->data[i * n + j];
        }
        MUTILS_TRY(poll.add(3.0 * double(i1 - i0) * double(n)));
    }
    return nullptr;
}

template <class T> const char* translate(const mat_t<T>* a, int32_t dr, int32_t dc, T fill, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    if (require_distinct(a, r)) return msg::array_size_mismatch;
    MUTILS_TRY(require_same_size(r, a));
    Poll poll(intrp);
    if (dr == 0 && dc == 0) {
        copy_n(a->data, a->nelem, r->data);
        return poll.add(3.0 * a->nelem);
    }
    std::fill(r->data, r->data + r->nelem, fill);
    MUTILS_TRY(poll.add(3.0 * r->nelem));
    const int64_t m = a->nrow, n = a->ncol, sr = dr, sc = dc;
    if (sr >= m || sc >= n || -sr >= m || -sc >= n) return nullptr;
    // Source rows and columns whose destination lies inside R.
    const int64_t rlo = std::max<int64_t>(0, -sr), rhi = std::min(m, m - sr);
    const int64_t clo = std::max<int64_t>(0, -sc), chi = std::min(n, n - sc);
    for (int64_t i = rlo; i < rhi; ++i) {
        copy_n(a->data + i * n + clo, chi - clo, r->data + (i + sr) * n + clo + sc);
        MUTILS_TRY(poll.add(3.0 * double(chi - clo)));
    }
    return nullptr;
}

template <class T> const char* flip_left_right(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    const int64_t m = a->nrow, n = a->ncol;
    const bool shared = static_cast<const void*>(a->data) == static_cast<const void*>(r->data);
    Poll poll(intrp);
    for (int64_t i = 0; i < m; ++i) {
        T* dst = r->data + i * n;
        if (shared) {
            std::reverse(dst, dst + n);
        } else {
            const T* src = a->data + i * n;
            for (int64_t j = 0; j < n; ++j) dst[j] = src[n - 1 - j];
        }
        MUTILS_TRY(poll.add(3.0 * double(n)));
    }
    return nullptr;
}

template <class T> const char* flip_up_down(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    const int64_t m = a->nrow, n = a->ncol;
    const bool shared = static_cast<const void*>(a->data) == static_cast<const void*>(r->data);
    Poll poll(intrp);
    for (int64_t i = 0; i < (shared ? m / 2 : m); ++i) {
        T* dst = r->data + i * n;
        if (shared)
            std::swap_ranges(dst, dst + n, r->data + (m - 1 - i) * n);
        else
            copy_n(a->data + (m - 1 - i) * n, n, dst);
        MUTILS_TRY(poll.add(3.0 * double(n)));
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_STRUCT_TYPED(CODE, T)                                                                             \
    const char* mat##CODE##_assign_submat(const mat_t<T>* a, int32_t r0, int32_t c0, void* i, mat_t<T>* r) {     \
        return assign_submat<T>(a, r0, c0, i, r);                                                                \
    }                                                                                                            \
    const char* mat##CODE##_extract(const mat_t<T>* a, int32_t r0, int32_t c0, void* i, mat_t<T>* r) {           \
        return extract<T>(a, r0, c0, i, r);                                                                      \
    }                                                                                                            \
    const char* mat##CODE##_transpose(const mat_t<T>* a, void* i, mat_t<T>* r) { return transpose<T>(a, i, r); } \
    const char* mat##CODE##_flip_left_right(const mat_t<T>* a, void* i, mat_t<T>* r) {                           \
        return flip_left_right<T>(a, i, r);                                                                      \
    }                                                                                                            \
    const char* mat##CODE##_flip_up_down(const mat_t<T>* a, void* i, mat_t<T>* r) { return flip_up_down<T>(a, i, r); }
#define MUTILS_STRUCT_REAL(CODE, T)                                                                              \
    const char* mat##CODE##_assign_zeropad(const mat_t<T>* a, void* i, mat_t<T>* r) {                            \
        return assign_zeropad<T>(a, i, r);                                                                       \
    }                                                                                                            \
    const char* mat##CODE##_translate(const mat_t<T>* a, int32_t dr, int32_t dc, T fill, void* i, mat_t<T>* r) { \
        return translate<T>(a, dr, dc, fill, i, r);                                                              \
    }
MUTILS_STRUCT_TYPED(dbl, double)
MUTILS_STRUCT_TYPED(flt, float)
MUTILS_STRUCT_TYPED(u8, unsigned char)
MUTILS_STRUCT_TYPED(u16, uint16_t)
MUTILS_STRUCT_TYPED(u32, uint32_t)
MUTILS_STRUCT_TYPED(s16, int16_t)
MUTILS_STRUCT_TYPED(s32, int32_t)
MUTILS_STRUCT_TYPED(cpx, _dcomplex)
MUTILS_STRUCT_REAL(dbl, double)
MUTILS_STRUCT_REAL(flt, float)
MUTILS_STRUCT_REAL(u8, unsigned char)
MUTILS_STRUCT_REAL(u16, uint16_t)
MUTILS_STRUCT_REAL(u32, uint32_t)
MUTILS_STRUCT_REAL(s16, int16_t)
MUTILS_STRUCT_REAL(s32, int32_t)
#undef MUTILS_STRUCT_TYPED
#undef MUTILS_STRUCT_REAL

const char* matuniv_assign_submat(const _univ_mat* a, int32_t r0, int32_t c0, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return assign_submat<MUTILS_T(t)>(ta, r0, c0, i, tr); });
}

const char* matuniv_extract(const _univ_mat* a, int32_t r0, int32_t c0, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return extract<MUTILS_T(t)>(ta, r0, c0, i, tr); });
}

const char* matuniv_assign_zeropad(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return assign_zeropad<MUTILS_T(t)>(ta, i, tr); });
}

const char* matuniv_transpose(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return transpose<MUTILS_T(t)>(ta, i, tr); });
}

const char* matuniv_translate(const _univ_mat* a, int32_t dr, int32_t dc, _univ_scalar fill, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, r), [&](auto t, auto* ta, auto* tr) {
        using T = MUTILS_T(t);
        T value{};
        MUTILS_TRY(read_scalar<T>(fill, &value));
        return translate<T>(ta, dr, dc, value, i, tr);
    });
}

const char* matuniv_flip_left_right(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return flip_left_right<MUTILS_T(t)>(ta, i, tr); });
}

const char* matuniv_flip_up_down(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(all_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return flip_up_down<MUTILS_T(t)>(ta, i, tr); });
}

}  // namespace mutils
