#include "hull.h"

#include <algorithm>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

struct Point {
    int64_t row;
    int64_t col;
    bool operator<(const Point& o) const { return row != o.row ? row < o.row : col < o.col; }
    bool operator==(const Point& o) const { return row == o.row && col == o.col; }
};

// Twice the signed area of (o, a, b): positive when o -> a -> b turns counter-clockwise in
// (row, column) axes. Coordinate differences reach 2^32, so the products need 128 bits.
inline __int128 turn(const Point& o, const Point& a, const Point& b) {
    return __int128(a.row - o.row) * (b.col - o.col) - __int128(a.col - o.col) * (b.row - o.row);
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* pgns32_convex_hull(const _sint32_mat* points, void* intrp, _sint32_mat* hull) {
    validate(points);
    require_pointer(hull);
    if (points->ncol != 2) return msg::array_size_mismatch;
    const int64_t n = points->nrow;
    Point* p = work_array<Point>(n);
    for (int64_t i = 0; i < n; ++i) p[i] = {points->data[2 * i], points->data[2 * i + 1]};
    std::sort(p, p + n);
    const int64_t m = std::unique(p, p + n) - p;
    Poll poll(intrp);
    MUTILS_TRY(poll.add(20.0 * double(n)));

    // Monotone chain: the left chain top to bottom, then the right chain bottom to top; the
    // strict turn test drops collinear points.
    Point* h = work_array<Point>(2 * m + 1);
    int64_t k = 0;
    for (int64_t i = 0; i < m; ++i) {
        while (k >= 2 && turn(h[k - 2], h[k - 1], p[i]) <= 0) --k;
        h[k++] = p[i];
    }
    for (int64_t i = m - 2, lower = k + 1; i >= 0; --i) {
        while (k >= lower && turn(h[k - 2], h[k - 1], p[i]) <= 0) --k;
        h[k++] = p[i];
    }
    // The right chain ends on the first vertex, which closes the polygon; a single point is
    // closed by repeating it.
    if (m == 1) h[k++] = p[0];
    mats32_malloc(hull, int32_t(k), 2);
    for (int64_t i = 0; i < k; ++i) {
        hull->data[2 * i] = int32_t(h[i].row);
        hull->data[2 * i + 1] = int32_t(h[i].col);
    }
    return nullptr;
}

}  // namespace mutils
