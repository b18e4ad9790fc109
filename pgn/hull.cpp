#include "hull.h"

#include <algorithm>

#include "../core/detail.h"
#include "detail_polygon.h"

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
inline int turn(const Vertex& o, const Vertex& a, const Vertex& b) { return orientation(o, a, b); }

struct VertexOrder {
    bool operator()(const Vertex& a, const Vertex& b) const { return a.r != b.r ? a.r < b.r : a.c < b.c; }
};
inline bool same(const Point& a, const Point& b) { return a == b; }
inline bool same(const Vertex& a, const Vertex& b) { return a.r == b.r && a.c == b.c; }

/// Andrew's monotone chain over p[0..n) (sorted in place, repeats removed): the hull as a
/// closed polygon, from the smallest point, counter-clockwise as displayed; the strict turn
/// test drops collinear points. Returns the vertex count including the closing repeat.
template <class P, class Less>
const char* monotone_chain(P* p, int64_t n, Less less, void* intrp, P** out, int64_t* count) {
    std::sort(p, p + n, less);
    const int64_t m = std::unique(p, p + n, [](const P& a, const P& b) { return same(a, b); }) - p;
    Poll poll(intrp);
    MUTILS_TRY(poll.add(20.0 * double(n)));
    // The left chain top to bottom, then the right chain bottom to top, which ends on the first
    // vertex and so closes the polygon; a single point is closed by repeating it.
    P* h = work_array<P>(2 * m + 1);
    int64_t k = 0;
    for (int64_t i = 0; i < m; ++i) {
        while (k >= 2 && turn(h[k - 2], h[k - 1], p[i]) <= 0) --k;
        h[k++] = p[i];
    }
    for (int64_t i = m - 2, lower = k + 1; i >= 0; --i) {
        while (k >= lower && turn(h[k - 2], h[k - 1], p[i]) <= 0) --k;
        h[k++] = p[i];
    }
    if (m == 1) h[k++] = p[0];
    *out = h;
    *count = k;
    return nullptr;
}

}  // namespace

const char* hull_of_vertices(Vertex* v, int64_t n, void* intrp, Vertex** hull, int64_t* count) {
    return monotone_chain(v, n, VertexOrder{}, intrp, hull, count);
}

}  // namespace detail

using namespace detail;

const char* pgns32_convex_hull(const _sint32_mat* points, void* intrp, _sint32_mat* hull) {
    validate(points);
    require_pointer(hull);
    if (points->ncol != 2) return msg::array_size_mismatch;
    const int64_t n = points->nrow;
    Point* p = work_array<Point>(n);
    for (int64_t i = 0; i < n; ++i) p[i] = {points->data[2 * i], points->data[2 * i + 1]};
    Point* h;
    int64_t k;
    MUTILS_TRY(monotone_chain(p, n, std::less<Point>{}, intrp, &h, &k));
    mats32_malloc(hull, int32_t(k), 2);
    for (int64_t i = 0; i < k; ++i) {
        hull->data[2 * i] = int32_t(h[i].row);
        hull->data[2 * i + 1] = int32_t(h[i].col);
    }
    return nullptr;
}

const char* pgndbl_convex_hull(const _double_mat* points, void* intrp, _double_mat* hull) {
    validate(points);
    require_pointer(hull);
    MUTILS_TRY(check_points(points));
    const int64_t n = points->nrow;
    Vertex* p = work_array<Vertex>(n);
    for (int64_t i = 0; i < n; ++i) p[i] = vertex(points, i);
    Vertex* h;
    int64_t k;
    MUTILS_TRY(hull_of_vertices(p, n, intrp, &h, &k));
    matdbl_malloc(hull, int32_t(k), 2);
    for (int64_t i = 0; i < k; ++i) {
        hull->data[2 * i] = h[i].r;
        hull->data[2 * i + 1] = h[i].c;
    }
    return nullptr;
}

}  // namespace mutils
