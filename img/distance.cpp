#include "distance.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "../pgn/hull.h"
#include "detail_hull.h"
#include "detail_pixels.h"

namespace mutils {
namespace detail {
namespace {

// ---- chamfer distance -----------------------------------------------------------------------

// Candidates from the neighbouring row (above in the forward pass, below in the backward one):
// straight across + o, diagonally + d. Rounding is monotone, so min(a, b) + d = min(a + d, b + d).
template <class W> MUTILS_CLONES void from_row(const W* nb, W* cur, int64_t n, W o, W d) {
    if (n == 1) {
        cur[0] = std::min(cur[0], W(nb[0] + o));
        return;
    }
    cur[0] = std::min(cur[0], std::min(W(nb[0] + o), W(nb[1] + d)));
    for (int64_t c = 1; c < n - 1; ++c)
        cur[c] = std::min(cur[c], std::min(W(nb[c] + o), W(std::min(nb[c - 1], nb[c + 1]) + d)));
    cur[n - 1] = std::min(cur[n - 1], std::min(W(nb[n - 1] + o), W(nb[n - 2] + d)));
}

template <class W> void scan_right(W* cur, int64_t n, W o) {
    for (int64_t c = 1; c < n; ++c) cur[c] = std::min(cur[c], W(cur[c - 1] + o));
}

template <class W> void scan_left(W* cur, int64_t n, W o) {
    for (int64_t c = n - 2; c >= 0; --c) cur[c] = std::min(cur[c], W(cur[c + 1] + o));
}

template <class A, class B> MUTILS_CLONES void convert_row(const A* src, B* dst, int64_t n) {
    for (int64_t c = 0; c < n; ++c) dst[c] = B(src[c]);
}

template <class T, class W> MUTILS_CLONES void seed_row(const T* src, T value, W start, W* dst, int64_t n) {
    for (int64_t c = 0; c < n; ++c) dst[c] = src[c] == value ? W(0) : start;
}

// The two passes in work type W: double for the Euclidean chamfer (worked in the result's own
// rows), int32 for the integral metrics (row buffers, converted into the result), whose
// distances are small integers and whose horizontal scans are then much cheaper.
template <class T, class W>
const char* chamfer(const mat_t<T>* a, T value, W o, W d, W start, Poll& poll, _double_mat* r) {
    const int64_t rows = a->nrow, cols = a->ncol;
    W* buf[2] = {nullptr, nullptr};
    if constexpr (!std::is_same_v<W, double>) buf[0] = work_array<W>(cols), buf[1] = work_array<W>(cols);
    // The row being worked: the result row itself (double), else the buffer not holding the
    // neighbouring row.
    auto work_row = [&](int64_t y, const W* neighbour) -> W* {
        if constexpr (std::is_same_v<W, double>)
            return r->data + y * cols;
        else
            return neighbour == buf[0] ? buf[1] : buf[0];
    };
    W* above = nullptr;
    for (int64_t y = 0; y < rows; ++y) {
        W* cur = work_row(y, above);
        seed_row<T, W>(a->data + y * cols, value, start, cur, cols);
        if (above) from_row<W>(above, cur, cols, o, d);
        scan_right<W>(cur, cols, o);
        if constexpr (!std::is_same_v<W, double>) convert_row<W, double>(cur, r->data + y * cols, cols);
        above = cur;
        MUTILS_TRY(poll.add(20.0 * double(cols)));
    }
    W* below = nullptr;
    for (int64_t y = rows - 1; y >= 0; --y) {
        W* cur = work_row(y, below);
        if constexpr (!std::is_same_v<W, double>) convert_row<double, W>(r->data + y * cols, cur, cols);
        if (below) from_row<W>(below, cur, cols, o, d);
        scan_left<W>(cur, cols, o);
        if constexpr (!std::is_same_v<W, double>) convert_row<W, double>(cur, r->data + y * cols, cols);
        below = cur;
        MUTILS_TRY(poll.add(20.0 * double(cols)));
    }
    return nullptr;
}

template <class T>
const char* transform_distance(const mat_t<T>* a, _img_distance_type metric, T value, void* intrp, _double_mat* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    MUTILS_TRY(require_distinct(a, r));
    if (metric < IMG_DISTANCE_EUCLIDEAN || metric > IMG_DISTANCE_CHESSBOARD) return msg::illegal_data_value;
    const double rows = a->nrow, cols = a->ncol;
    if (std::find(a->data, a->data + a->nelem, value) == a->data + a->nelem) return msg::illegal_data_value;
    Poll poll(intrp);
    MUTILS_TRY(poll.add(rows * cols));
    if (metric == IMG_DISTANCE_EUCLIDEAN)
        return chamfer<T, double>(a, value, 1.0, std::sqrt(2.0), std::sqrt(rows * rows + cols * cols) + 1, poll, r);
    const double start = metric == IMG_DISTANCE_CITY_BLOCK ? rows + cols + 1 : std::max(rows, cols) + 1;
    const double diagonal = metric == IMG_DISTANCE_CITY_BLOCK ? 2.0 : 1.0;
    if (start + diagonal <= double(std::numeric_limits<int32_t>::max()))
        return chamfer<T, int32_t>(a, value, 1, int32_t(diagonal), int32_t(start), poll, r);
    return chamfer<T, double>(a, value, 1.0, diagonal, start, poll, r);
}

// ---- filled convex hull ---------------------------------------------------------------------

// Fills, with `one`, every pixel whose centre lies inside or on the closed polygon `hull`.
template <class T> void fill_convex(const _sint32_mat* hull, T one, mat_t<T>* r) {
    convex_spans(hull, [&](int64_t y, int64_t first, int64_t last) {
        const int64_t c0 = std::max<int64_t>(first, 0), c1 = std::min<int64_t>(last, r->ncol - 1);
        for (int64_t c = c0; c <= c1; ++c) r->data[y * r->ncol + c] = one;
    });
}

template <class T> const char* convex_hull(const mat_t<T>* a, T value, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    const int32_t rows = a->nrow, cols = a->ncol;
    Poll poll(intrp);
    // The leftmost and rightmost object pixel of each row span the same hull as all of them.
    int32_t* pts = work_array<int32_t>(4 * int64_t(rows));
    int32_t n = 0;
    for (int32_t y = 0; y < rows; ++y) {
        const T* row = a->data + int64_t(y) * cols;
        int32_t left = int32_t(std::find(row, row + cols, value) - row);
        if (left < cols) {
            pts[2 * n] = y, pts[2 * n + 1] = left, ++n;
            int32_t right = cols - 1;
            while (right > left && !(row[right] == value)) --right;
            if (right > left) pts[2 * n] = y, pts[2 * n + 1] = right, ++n;
        }
        MUTILS_TRY(poll.add(10.0 * cols));
    }
    if (n == 0) return nullptr;
    _sint32_mat points{n, 2, 2 * n, pts}, hull;
    MUTILS_TRY(pgns32_convex_hull(&points, intrp, &hull));
    std::fill(r->data, r->data + r->nelem, T(0));
    fill_convex<T>(&hull, T(1), r);
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_SHAPE(CODE, T)                                                                                 \
    const char* img##CODE##_transform_distance(const mat_t<T>* a, _img_distance_type m, T value, void* intrp, \
                                               _double_mat* r) {                                              \
        return transform_distance<T>(a, m, value, intrp, r);                                                  \
    }                                                                                                         \
    const char* img##CODE##_convex_hull(const mat_t<T>* a, T value, void* intrp, mat_t<T>* r) {               \
        return convex_hull<T>(a, value, intrp, r);                                                            \
    }
MUTILS_SHAPE(dbl, double)
MUTILS_SHAPE(u8, unsigned char)
MUTILS_SHAPE(u16, uint16_t)
MUTILS_SHAPE(s32, int32_t)
#undef MUTILS_SHAPE

const char* imguniv_transform_distance(const _univ_mat* a, _img_distance_type m, _univ_scalar value, void* intrp,
                                       _univ_mat* r) {
    using distance_types = types<unsigned char, uint16_t, uint32_t, int32_t, double>;
    return univ_call(distance_types{}, with(a, fixed<double>(r)), [&](auto t, auto* ta, auto* tr) -> const char* {
        using T = MUTILS_T(t);
        using S = std::conditional_t<std::is_same_v<T, uint32_t>, int32_t, T>;  // equality only: same bits
        if (value.type != elem<T>::tag) return msg::illegal_data_type;
        return transform_distance<S>(reinterpret_cast<const mat_t<S>*>(ta), m, scalar_get<S>(value), intrp, tr);
    });
}

const char* imguniv_convex_hull(const _univ_mat* a, _univ_scalar value, void* intrp, _univ_mat* r) {
    return univ_call(types<unsigned char, uint16_t, double>{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) -> const char* {
                         using T = MUTILS_T(t);
                         if (value.type != elem<T>::tag) return msg::illegal_data_type;
                         return convex_hull<T>(ta, scalar_get<T>(value), intrp, tr);
                     });
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_transform_distance,
             (const mutils::_univ_mat* a, mutils::_img_distance_type m, mutils::_univ_scalar v, void* i,
              mutils::_univ_mat* r),
             (a, m, v, i, r))
MUTILS_PLAIN(imguniv_convex_hull, (const mutils::_univ_mat* a, mutils::_univ_scalar v, void* i, mutils::_univ_mat* r),
             (a, v, i, r))
