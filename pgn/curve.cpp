#include "curve.h"

#include <algorithm>
#include <cmath>

#include "../core/detail.h"
#include "detail_polygon.h"

namespace mutils {
namespace detail {
namespace {

/// The vertex count of a closed polygon without a repeated closing vertex.
int64_t open_count(const _double_mat* p, bool closed) {
    const int64_t n = p->nrow;
    if (closed && n > 1 && p->data[0] == p->data[2 * (n - 1)] && p->data[1] == p->data[2 * (n - 1) + 1]) return n - 1;
    return n;
}

void put(_double_mat* m, int64_t i, Vertex v) {
    m->data[2 * i] = v.r;
    m->data[2 * i + 1] = v.c;
}

/// Ramer-Douglas-Peucker on v[i..j]: marks the vertex farthest from the chord (the first of
/// equals) when it lies beyond the tolerance, then both halves. An explicit stack keeps deep
/// recursions (spirals) off the call stack.
const char* simplify_range(const Vertex* v, int64_t i, int64_t j, double tolerance, Poll& poll, bool* keep) {
    struct Span {
        int64_t i, j;
    };
    Span* stack = work_array<Span>(j - i + 1);
    int64_t top = 0;
    stack[top++] = {i, j};
    while (top > 0) {
        const Span s = stack[--top];
        double far = -1.0;
        int64_t at = -1;
        for (int64_t k = s.i + 1; k < s.j; ++k) {
            const double d = segment_distance(v[k], v[s.i], v[s.j]);
            if (d > far) far = d, at = k;
        }
        MUTILS_TRY(poll.add(double(s.j - s.i) * 10.0));
        if (at < 0 || !(far > tolerance)) continue;
        keep[at] = true;
        stack[top++] = {at, s.j};
        stack[top++] = {s.i, at};
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* pgndbl_resample(const _double_mat* polygon, unsigned char closed, void* intrp, _double_mat* result) {
    validate(polygon);
    validate(result);
    MUTILS_TRY(check_points(polygon));
    if (result->ncol != 2 || result->nrow < (closed ? 1 : 2)) return msg::array_size_mismatch;
    MUTILS_TRY(require_distinct(polygon, result));
    const int64_t n = polygon->nrow, edges = closed ? n : n - 1, m = result->nrow;
    Hux::ArenaScope scope;
    double* at = work_array<double>(edges + 1);  // arc length at each vertex
    at[0] = 0.0;
    for (int64_t k = 0; k < edges; ++k) {
        const Vertex a = vertex(polygon, k), b = vertex(polygon, (k + 1) % n);
        at[k + 1] = at[k] + std::hypot(b.r - a.r, b.c - a.c);
    }
    Poll poll(intrp);
    MUTILS_TRY(poll.add(10.0 * double(n + m)));
    const double total = at[edges], step = total / double(closed ? m : m - 1);
    int64_t k = 0;
    for (int64_t i = 0; i < m; ++i) {
        if (total == 0.0) {
            put(result, i, vertex(polygon, 0));
            continue;
        }
        const double s = (!closed && i == m - 1) ? total : double(i) * step;
        while (k < edges - 1 && at[k + 1] <= s) ++k;
        const Vertex a = vertex(polygon, k), b = vertex(polygon, (k + 1) % n);
        const double len = at[k + 1] - at[k], t = len > 0 ? std::min((s - at[k]) / len, 1.0) : 0.0;
        put(result, i, {a.r + t * (b.r - a.r), a.c + t * (b.c - a.c)});
    }
    return nullptr;
}

const char* pgndbl_smooth(const _double_mat* polygon, double sigma, unsigned char closed, void* intrp,
                          _double_mat* result) {
    validate(polygon);
    validate(result);
    MUTILS_TRY(check_points(polygon));
    MUTILS_TRY(require_same_size(polygon, result));
    if (!(sigma >= 0.0) || !std::isfinite(sigma)) return msg::illegal_data_value;
    const int64_t n = open_count(polygon, closed);
    const int64_t radius = sigma > 0 ? int64_t(std::floor(4.0 * sigma + 0.5)) : 0;
    if (radius > int64_t(1) << 24) return msg::illegal_data_value;
    Hux::ArenaScope scope;
    double* w = work_array<double>(2 * radius + 1);
    double sum = 0;
    for (int64_t k = -radius; k <= radius; ++k)
        sum += w[k + radius] = k == 0 ? 1.0 : std::exp(-0.5 * double(k * k) / (sigma * sigma));
    for (int64_t k = 0; k <= 2 * radius; ++k) w[k] /= sum;
    Vertex* v = work_array<Vertex>(n);  // a copy, so the result may be the polygon
    for (int64_t i = 0; i < n; ++i) v[i] = vertex(polygon, i);
    Poll poll(intrp);
    for (int64_t i = 0; i < n; ++i) {
        Vertex s{0, 0};
        for (int64_t k = -radius; k <= radius; ++k) {
            const int64_t j = closed ? boundary_index(i + k, n, MUTIL_BOUNDARY_PERIODIC)
                                     : boundary_index(i + k, n, MUTIL_BOUNDARY_CONTINUE);
            s.r += w[k + radius] * v[j].r, s.c += w[k + radius] * v[j].c;
        }
        put(result, i, s);
        MUTILS_TRY(poll.add(4.0 * double(radius) + 4.0));
    }
    if (n < polygon->nrow) put(result, n, vertex(result, 0));
    return nullptr;
}

const char* pgndbl_simplify(const _double_mat* polygon, double tolerance, unsigned char closed, void* intrp,
                            _double_mat* result) {
    validate(polygon);
    require_pointer(result);
    MUTILS_TRY(check_points(polygon));
    if (!(tolerance >= 0.0) || !std::isfinite(tolerance)) return msg::illegal_data_value;
    const int64_t n = open_count(polygon, closed);
    // Work arrays stay in the caller's arena with the result. A closed polygon is the open chain 0 .. n - 1, 0: vertex 0 and the vertex farthest from it
    // are kept, then each half is simplified.
    const int64_t len = closed ? n + 1 : n;
    Vertex* v = work_array<Vertex>(len);
    for (int64_t i = 0; i < n; ++i) v[i] = vertex(polygon, i);
    if (closed) v[n] = v[0];
    bool* keep = work_array_zero<bool>(len);
    keep[0] = keep[len - 1] = true;
    Poll poll(intrp);
    int64_t split = len - 1;
    if (closed && n > 1) {
        split = 1;
        for (int64_t k = 2; k < n; ++k)
            if (segment_distance(v[k], v[0], v[0]) > segment_distance(v[split], v[0], v[0])) split = k;
        keep[split] = true;
        MUTILS_TRY(simplify_range(v, split, len - 1, tolerance, poll, keep));
    }
    MUTILS_TRY(simplify_range(v, 0, split, tolerance, poll, keep));
    int32_t k = 0;
    for (int64_t i = 0; i < len; ++i) k += keep[i];
    matdbl_malloc(result, k, 2);
    for (int64_t i = 0, j = 0; i < len; ++i)
        if (keep[i]) put(result, j++, v[i]);
    return nullptr;
}

}  // namespace mutils
