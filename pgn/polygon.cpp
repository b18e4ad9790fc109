#include "polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "../core/detail.h"
#include "detail_polygon.h"

namespace mutils {
namespace detail {

// ---- exact orientation ------------------------------------------------------------------------

namespace {

// An exact sum of doubles kept as a non-overlapping expansion, smallest component first
// (Shewchuk 1997): adding a double is a chain of error-free two-sums.
struct Expansion {
    double e[12];
    int n = 0;
    void add(double b) {
        double q = b;
        for (int i = 0; i < n; ++i) {
            const double s = q + e[i], bv = s - q, err = (q - (s - bv)) + (e[i] - bv);
            e[i] = err;
            q = s;
        }
        e[n++] = q;
    }
    // a * b as the exact pair (rounded product, its error by a fused multiply-add).
    void add_product(double a, double b) {
        const double p = a * b;
        add(std::fma(a, b, -p));
        add(p);
    }
    int sign() const {
        for (int i = n - 1; i >= 0; --i)
            if (e[i] != 0.0) return e[i] > 0.0 ? 1 : -1;
        return 0;
    }
};

}  // namespace

int orientation(Vertex o, Vertex a, Vertex b) {
    const double left = (a.r - o.r) * (b.c - o.c), right = (a.c - o.c) * (b.r - o.r), det = left - right;
    // The bound of Shewchuk's first filter on the rounded determinant.
    const double bound = 3.3306690738754716e-16 * (std::fabs(left) + std::fabs(right));
    if (det > bound || -det > bound) return det > 0.0 ? 1 : -1;
    Expansion x;  // the determinant with o's cross terms cancelled: six exact products
    x.add_product(a.r, b.c);
    x.add_product(-a.r, o.c);
    x.add_product(-o.r, b.c);
    x.add_product(-a.c, b.r);
    x.add_product(a.c, o.r);
    x.add_product(o.c, b.r);
    return x.sign();
}

int locate(const Edge* edges, int64_t n, Vertex p) {
    bool inside = false;
    for (int64_t k = 0; k < n; ++k) {
        const Vertex a = edges[k].a, b = edges[k].b;
        // Edges wholly above, below or left of p neither cross the ray to the right nor hold p.
        if ((a.r > p.r && b.r > p.r) || (a.r < p.r && b.r < p.r) || (a.c < p.c && b.c < p.c)) continue;
        const bool spans = (a.r > p.r) != (b.r > p.r);
        if (a.c > p.c && b.c > p.c) {
            inside ^= spans;
            continue;
        }
        const int o = orientation(a, b, p);
        if (o == 0) return 2;  // collinear and within the edge's box: on it
        // The edge crosses the row of p to the right of p when p lies on the edge's left as it
        // runs towards +row (orientation negative), or on its right as it runs towards -row.
        if (spans && ((b.r > a.r) == (o < 0))) inside = !inside;
    }
    return inside ? 1 : 0;
}

Edge* polygon_edges(const _double_mat* polygon) {
    const int64_t n = polygon->nrow;
    Edge* e = work_array<Edge>(n);
    for (int64_t k = 0; k < n; ++k) e[k] = {vertex(polygon, k), vertex(polygon, (k + 1) % n)};
    return e;
}

namespace {

// ---- nearest vertices -------------------------------------------------------------------------

/// The vertices of a point set sorted by row, for nearest-vertex queries that scan outwards from
/// the query's row and stop once the row distance alone exceeds the best distance.
struct RowIndex {
    Vertex* v;
    int32_t* index;
    int64_t n;

    explicit RowIndex(const _double_mat* b) : n(b->nrow) {
        index = work_array<int32_t>(n);
        for (int64_t i = 0; i < n; ++i) index[i] = int32_t(i);
        std::stable_sort(index, index + n, [&](int32_t x, int32_t y) { return b->data[2 * x] < b->data[2 * y]; });
        v = work_array<Vertex>(n);
        for (int64_t i = 0; i < n; ++i) v[i] = vertex(b, index[i]);
    }

    /// The nearest vertex to p (ties to the lowest original index) and its squared distance.
    void nearest(Vertex p, int32_t* best_index, double* best_d2) const {
        const int64_t mid = std::lower_bound(v, v + n, p.r, [](const Vertex& a, double r) { return a.r < r; }) - v;
        double best = std::numeric_limits<double>::infinity();
        int32_t who = -1;
        auto consider = [&](int64_t k) {
            const double dr = v[k].r - p.r, dc = v[k].c - p.c, d2 = dr * dr + dc * dc;
            if (d2 < best || (d2 == best && index[k] < who)) best = d2, who = index[k];
        };
        for (int64_t k = mid; k < n && (v[k].r - p.r) * (v[k].r - p.r) <= best; ++k) consider(k);
        for (int64_t k = mid - 1; k >= 0 && (p.r - v[k].r) * (p.r - v[k].r) <= best; --k) consider(k);
        *best_index = who;
        *best_d2 = best;
    }
};

/// h(A, B)² by the early-break scan: A's points in a fixed pseudo-random order, B's too, so that
/// a point of A close to B meets a near point of B early and leaves the inner loop.
const char* directed_hausdorff2(const Vertex* a, int64_t na, const Vertex* b, int64_t nb, Poll& poll, double* out) {
    double cmax = 0.0;
    for (int64_t i = 0; i < na; ++i) {
        double cmin = std::numeric_limits<double>::infinity();
        int64_t j = 0;
        for (; j < nb; ++j) {
            const double dr = a[i].r - b[j].r, dc = a[i].c - b[j].c, d2 = dr * dr + dc * dc;
            if (d2 < cmax) break;
            if (d2 < cmin) cmin = d2;
        }
        if (j == nb && cmin > cmax) cmax = cmin;
        MUTILS_TRY(poll.add(double(j) + 1.0));
    }
    *out = cmax;
    return nullptr;
}

/// The vertices of m in an order fixed by a small generator (the same on every call).
Vertex* shuffled(const _double_mat* m) {
    const int64_t n = m->nrow;
    Vertex* v = work_array<Vertex>(n);
    for (int64_t i = 0; i < n; ++i) v[i] = vertex(m, i);
    uint64_t state = 0x9E3779B97F4A7C15ull;
    for (int64_t i = n - 1; i > 0; --i) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        std::swap(v[i], v[int64_t((state >> 33) % uint64_t(i + 1))]);
    }
    return v;
}

// ---- shape features ---------------------------------------------------------------------------

/// Green's-theorem integrals of a closed polygon, in (x, y) = (column, row) about an origin:
/// twice the signed area and the first and second moments, each times 2.
struct Integrals {
    double a2 = 0, x = 0, y = 0, xx = 0, yy = 0, xy = 0;
};

Integrals integrals(const _double_mat* p, Vertex origin) {
    Integrals s;
    const int64_t n = p->nrow;
    for (int64_t i = 0; i < n; ++i) {
        const Vertex u = vertex(p, i), w = vertex(p, (i + 1) % n);
        const double x0 = u.c - origin.c, y0 = u.r - origin.r, x1 = w.c - origin.c, y1 = w.r - origin.r;
        const double cross = x0 * y1 - x1 * y0;
        s.a2 += cross;
        s.x += (x0 + x1) * cross;
        s.y += (y0 + y1) * cross;
        s.xx += (x0 * x0 + x0 * x1 + x1 * x1) * cross;
        s.yy += (y0 * y0 + y0 * y1 + y1 * y1) * cross;
        s.xy += (x0 * y1 + 2 * x0 * y0 + 2 * x1 * y1 + x1 * y0) * cross;
    }
    return s;
}

const char* shape_features(const _double_mat* polygon, void* intrp, double* f) {
    const int64_t n = polygon->nrow;
    Poll poll(intrp);
    MUTILS_TRY(poll.add(40.0 * double(n)));
    Vertex mean{0, 0}, lo = vertex(polygon, 0), hi = lo;
    double perimeter = 0;
    for (int64_t i = 0; i < n; ++i) {
        const Vertex u = vertex(polygon, i), w = vertex(polygon, (i + 1) % n);
        mean.r += u.r / double(n), mean.c += u.c / double(n);
        lo = {std::min(lo.r, u.r), std::min(lo.c, u.c)}, hi = {std::max(hi.r, u.r), std::max(hi.c, u.c)};
        perimeter += std::hypot(w.r - u.r, w.c - u.c);
    }
    // Moments about the vertex mean keep the second moments free of cancellation.
    const Integrals s = integrals(polygon, mean);
    const double area = std::fabs(s.a2) / 2.0;
    f[0] = area;
    f[1] = perimeter;
    f[2] = mean.r, f[3] = mean.c;
    f[8] = f[9] = f[10] = f[11] = 0.0;
    if (s.a2 != 0.0) {
        const double cx = s.x / (3.0 * s.a2), cy = s.y / (3.0 * s.a2);
        f[2] = mean.r + cy, f[3] = mean.c + cx;
        // Central second moments per unit area (signs cancel between the integrals and a2).
        const double m20 = s.xx / (6.0 * s.a2) - cx * cx, m02 = s.yy / (6.0 * s.a2) - cy * cy;
        const double m11 = s.xy / (12.0 * s.a2) - cx * cy;
        const double half = (m20 + m02) / 2.0, root = std::hypot((m20 - m02) / 2.0, m11);
        const double l1 = half + root, l2 = std::max(half - root, 0.0);
        double theta = 0.5 * std::atan2(-2.0 * m11, m20 - m02);
        if (theta <= -std::acos(0.0)) theta += 2.0 * std::acos(0.0);
        f[8] = theta;
        f[9] = 4.0 * std::sqrt(l1), f[10] = 4.0 * std::sqrt(l2);
        f[11] = l1 > 0 ? std::sqrt(1.0 - l2 / l1) : 0.0;
    }
    f[4] = lo.r, f[5] = lo.c, f[6] = hi.r, f[7] = hi.c;
    Vertex* v = work_array<Vertex>(n);
    for (int64_t i = 0; i < n; ++i) v[i] = vertex(polygon, i);
    Vertex* h;
    int64_t k;
    MUTILS_TRY(hull_of_vertices(v, n, intrp, &h, &k));
    double hull2 = 0;
    for (int64_t i = 0; i + 1 < k; ++i) hull2 += h[i].r * h[i + 1].c - h[i + 1].r * h[i].c;
    f[12] = std::fabs(hull2) / 2.0;
    f[13] = f[12] > 0 ? area / f[12] : 0.0;
    f[14] = perimeter > 0 ? 4.0 * std::acos(-1.0) * area / (perimeter * perimeter) : 0.0;
    // Counter-clockwise as displayed is a negative signed area in (x, y) = (column, row).
    f[15] = s.a2 < 0 ? 1.0 : s.a2 > 0 ? -1.0 : 0.0;
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* pgndbl_hausdorff_distance(const _double_mat* a, const _double_mat* b, void* intrp, double* distance) {
    validate(a);
    validate(b);
    require_pointer(distance);
    MUTILS_TRY(check_points(a));
    MUTILS_TRY(check_points(b));
    Hux::ArenaScope scope;
    const Vertex *va = shuffled(a), *vb = shuffled(b);
    Poll poll(intrp);
    double ab, ba;
    MUTILS_TRY(directed_hausdorff2(va, a->nrow, vb, b->nrow, poll, &ab));
    MUTILS_TRY(directed_hausdorff2(vb, b->nrow, va, a->nrow, poll, &ba));
    *distance = std::sqrt(std::max(ab, ba));
    return nullptr;
}

const char* pgndbl_point_correspondence(const _double_mat* a, const _double_mat* b, void* intrp, _sint32_mat* index,
                                        _double_mat* distance) {
    validate(a);
    validate(b);
    validate(index);
    validate(distance);
    MUTILS_TRY(check_points(a));
    MUTILS_TRY(check_points(b));
    if (index->nelem != a->nrow || !is_vector(index->nrow, index->ncol)) return msg::array_size_mismatch;
    if (distance->nelem != a->nrow || !is_vector(distance->nrow, distance->ncol)) return msg::array_size_mismatch;
    Hux::ArenaScope scope;
    const RowIndex near(b);
    Poll poll(intrp);
    for (int64_t i = 0; i < a->nrow; ++i) {
        double d2;
        near.nearest(vertex(a, i), &index->data[i], &d2);
        distance->data[i] = std::sqrt(d2);
        MUTILS_TRY(poll.add(20.0));
    }
    return nullptr;
}

const char* pgndbl_shape_features(const _double_mat* polygon, void* intrp, _double_mat* features) {
    validate(polygon);
    validate(features);
    MUTILS_TRY(check_points(polygon));
    if (features->nelem != kPolygonFeatures || !is_vector(features->nrow, features->ncol))
        return msg::array_size_mismatch;
    Hux::ArenaScope scope;
    return shape_features(polygon, intrp, features->data);
}

const char* pgndbl_polar_from_rectangular(const _double_mat* polygon, double centre_row, double centre_col, void* intrp,
                                          _double_mat* polar) {
    validate(polygon);
    validate(polar);
    MUTILS_TRY(check_points(polygon));
    MUTILS_TRY(require_same_size(polygon, polar));
    if (!std::isfinite(centre_row) || !std::isfinite(centre_col)) return msg::illegal_data_value;
    Poll poll(intrp);
    MUTILS_TRY(poll.add(30.0 * polygon->nrow));
    const double pi = std::acos(-1.0);
    for (int64_t i = 0; i < polygon->nrow; ++i) {
        const double dr = polygon->data[2 * i] - centre_row, dc = polygon->data[2 * i + 1] - centre_col;
        const double phi = std::atan2(-dr, dc);
        polar->data[2 * i] = std::hypot(dr, dc);
        polar->data[2 * i + 1] = phi == -pi ? pi : phi;
    }
    return nullptr;
}

const char* pgndbl_rectangular_from_polar(const _double_mat* polar, double centre_row, double centre_col, void* intrp,
                                          _double_mat* polygon) {
    validate(polar);
    validate(polygon);
    MUTILS_TRY(check_points(polar));
    MUTILS_TRY(require_same_size(polar, polygon));
    if (!std::isfinite(centre_row) || !std::isfinite(centre_col)) return msg::illegal_data_value;
    Poll poll(intrp);
    MUTILS_TRY(poll.add(30.0 * polar->nrow));
    for (int64_t i = 0; i < polar->nrow; ++i) {
        const double rho = polar->data[2 * i], phi = polar->data[2 * i + 1];
        polygon->data[2 * i] = centre_row - rho * std::sin(phi);
        polygon->data[2 * i + 1] = centre_col + rho * std::cos(phi);
    }
    return nullptr;
}

const char* pgndbl_point_in_polygon(const _double_mat* polygon, const _double_mat* points, void* intrp,
                                    _uint8_mat* result) {
    validate(polygon);
    validate(points);
    validate(result);
    MUTILS_TRY(check_points(polygon));
    MUTILS_TRY(check_points(points));
    if (result->nelem != points->nrow || !is_vector(result->nrow, result->ncol)) return msg::array_size_mismatch;
    Hux::ArenaScope scope;
    const Edge* edges = polygon_edges(polygon);
    Poll poll(intrp);
    for (int64_t i = 0; i < points->nrow; ++i) {
        result->data[i] = static_cast<unsigned char>(locate(edges, polygon->nrow, vertex(points, i)));
        MUTILS_TRY(poll.add(double(polygon->nrow)));
    }
    return nullptr;
}

}  // namespace mutils
