// Internal: the pixels covered by a convex polygon with integer vertices (not installed).
// A pixel belongs to the polygon when its centre lies inside it or on its boundary; the filled
// convex hull and the convex area of the shape features count the same pixels.
#pragma once

#include <algorithm>
#include <limits>

#include "../core/detail.h"

namespace mutils {
namespace detail {

inline int64_t floor_div(int64_t num, int64_t den) {  // den > 0
    return num >= 0 ? num / den : -((-num + den - 1) / den);
}

/// Calls span(row, first, last) for every row the closed convex polygon `hull` (h + 1 vertices,
/// (row, column) pairs) covers, with the exact column span between its leftmost and rightmost
/// boundary crossing rounded inwards (first <= last; not clipped to any image).
template <class F> void convex_spans(const _sint32_mat* hull, F&& span) {
    const int32_t* v = hull->data;
    const int64_t edges = hull->nrow - 1;
    int64_t top = v[0], bottom = v[0];
    for (int64_t i = 0; i < hull->nrow; ++i) {
        top = std::min<int64_t>(top, v[2 * i]);
        bottom = std::max<int64_t>(bottom, v[2 * i]);
    }
    const int64_t extent = bottom - top + 1;
    int64_t* lo = work_array<int64_t>(extent);
    int64_t* hi = work_array<int64_t>(extent);
    std::fill(lo, lo + extent, std::numeric_limits<int64_t>::max());
    std::fill(hi, hi + extent, std::numeric_limits<int64_t>::min());
    for (int64_t e = 0; e < edges; ++e) {
        int64_t r0 = v[2 * e], c0 = v[2 * e + 1], r1 = v[2 * e + 2], c1 = v[2 * e + 3];
        if (r0 > r1) std::swap(r0, r1), std::swap(c0, c1);
        for (int64_t y = r0; y <= r1; ++y) {
            int64_t left, right;
            if (r0 == r1) {
                left = std::min(c0, c1), right = std::max(c0, c1);
            } else {
                int64_t num = (c1 - c0) * (y - r0), den = r1 - r0;
                right = c0 + floor_div(num, den);
                left = c0 - floor_div(-num, den);
            }
            lo[y - top] = std::min(lo[y - top], left);
            hi[y - top] = std::max(hi[y - top], right);
        }
    }
    for (int64_t y = top; y <= bottom; ++y)
        if (lo[y - top] <= hi[y - top]) span(y, lo[y - top], hi[y - top]);
}

}  // namespace detail
}  // namespace mutils
