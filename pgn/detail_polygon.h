// Pieces shared by the polygon operations (not part of the installed interface): vertices read
// from n x 2 (row, column) matrices, the exact orientation predicate, the exact point location
// against a set of edges and the distance from a point to a segment.
#pragma once

#include <cmath>

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// Values of a polygon's feature vector.
inline constexpr int32_t kPolygonFeatures = 16;

/// A vertex (row, column).
struct Vertex {
    double r;
    double c;
};

inline Vertex vertex(const _double_mat* m, int64_t i) { return {m->data[2 * i], m->data[2 * i + 1]}; }

/// For a validated polygon, polyline or point list: "array size mismatch" unless it has two
/// columns, "Illegal data value" when a coordinate is not finite.
inline const char* check_points(const _double_mat* m) {
    if (m->ncol != 2) return msg::array_size_mismatch;
    for (int64_t i = 0; i < m->nelem; ++i)
        if (!std::isfinite(m->data[i])) return msg::illegal_data_value;
    return nullptr;
}

/// The sign (-1, 0, +1) of (a.r - o.r)(b.c - o.c) - (a.c - o.c)(b.r - o.r), decided exactly:
/// positive when o -> a -> b turns counter-clockwise as displayed (row 0 at the top). A
/// floating filter answers when the rounded determinant is clear of its error bound; otherwise
/// the six products are expanded into exact two-term sums and added exactly.
int orientation(Vertex o, Vertex a, Vertex b);

/// Where p lies against the closed polygon whose edges are (a[k], b[k]), k < n: 0 outside,
/// 1 inside (even-odd rule, half-open edges), 2 on an edge or a vertex (exact).
struct Edge {
    Vertex a;
    Vertex b;
};
int locate(const Edge* edges, int64_t n, Vertex p);

/// The edges of a closed polygon (last vertex to first included), from the arena.
Edge* polygon_edges(const _double_mat* polygon);

/// The convex hull of v[0..n) (reordered in place) as a closed polygon by the contract of the
/// hull operations; `*count` vertices including the closing repeat, from the arena.
const char* hull_of_vertices(Vertex* v, int64_t n, void* intrp, Vertex** hull, int64_t* count);

/// Distance from p to the segment a-b, in one fixed formula (so exact ties stay ties): the
/// nearer end beyond the segment's ends, else |cross| / length.
inline double segment_distance(Vertex p, Vertex a, Vertex b) {
    const double dr = b.r - a.r, dc = b.c - a.c, len2 = dr * dr + dc * dc;
    if (len2 == 0.0) return std::hypot(p.r - a.r, p.c - a.c);
    const double t = ((p.r - a.r) * dr + (p.c - a.c) * dc) / len2;
    if (t <= 0.0) return std::hypot(p.r - a.r, p.c - a.c);
    if (t >= 1.0) return std::hypot(p.r - b.r, p.c - b.c);
    const double s = ((a.c - p.c) * dr - (a.r - p.r) * dc) / len2;
    return std::fabs(s) * std::sqrt(len2);
}

}  // namespace detail
}  // namespace mutils
