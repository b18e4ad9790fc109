#include "render.h"

#include <algorithm>
#include <cmath>

#include "../core/detail.h"
#include "detail_polygon.h"

namespace mutils {
namespace detail {
namespace {

/// A vertex coordinate rounded to a pixel index (floor(v + 0.5)), clamped at 2^40, far outside
/// any image, so that a line to a distant vertex keeps its slope over the image.
inline int64_t pixel_index(double v) {
    const double r = std::floor(v + 0.5);
    return int64_t(std::clamp(r, -1099511627776.0, 1099511627776.0));
}

/// Writes `value` into every pixel whose centre lies inside or on the closed polygon, row by
/// row: the edges meeting a row give its crossings (half-open edges); pixels clear of every
/// crossing take the even-odd parity from the sorted crossings, and pixels within one of a
/// crossing, a vertex on the row or a horizontal edge are located exactly against the row's edges.
template <class T> const char* render_region(const _double_mat* polygon, T value, void* intrp, mat_t<T>* image) {
    const int64_t n = polygon->nrow, nrow = image->nrow, ncol = image->ncol;
    Hux::ArenaScope scope;
    const Edge* edges = polygon_edges(polygon);
    double lo = polygon->data[0], hi = lo;
    for (int64_t i = 0; i < n; ++i) lo = std::min(lo, polygon->data[2 * i]), hi = std::max(hi, polygon->data[2 * i]);
    const int64_t first = int64_t(std::clamp(std::ceil(lo), 0.0, double(nrow)));
    const int64_t last = int64_t(std::clamp(std::floor(hi), -1.0, double(nrow - 1)));
    Edge* row_edges = work_array<Edge>(n);
    double* cross = work_array<double>(n);
    int64_t* probe = work_array<int64_t>(6 * n + 2);
    Poll poll(intrp);
    for (int64_t r = first; r <= last; ++r) {
        const double y = double(r);
        int64_t ne = 0, nc = 0, np = 0;
        T* row = image->data + r * ncol;
        for (int64_t k = 0; k < n; ++k) {
            const Vertex a = edges[k].a, b = edges[k].b;
            if ((a.r > y && b.r > y) || (a.r < y && b.r < y)) continue;
            row_edges[ne++] = edges[k];
            if ((a.r > y) != (b.r > y)) {
                // Kept finite (coordinates near the double range can overflow here) and inside
                // the columns' reach, so sorting and indexing stay defined.
                const double x = a.c + (y - a.r) * (b.c - a.c) / (b.r - a.r);
                cross[nc++] = std::isnan(x) ? a.c : std::clamp(x, -4.0, double(ncol) + 3.0);
            }
            if (a.r == y && b.r == y) {  // a horizontal edge on the row: all its pixels are on it
                const double c0 = std::max(0.0, std::ceil(std::min(a.c, b.c)));
                const double c1 = std::min(double(ncol - 1), std::floor(std::max(a.c, b.c)));
                for (double c = c0; c <= c1; ++c) row[int64_t(c)] = value;
            } else if (a.r == y) {
                probe[np++] = int64_t(std::floor(std::clamp(a.c, -2.0, double(ncol) + 1.0)));
            }
        }
        std::sort(cross, cross + nc);
        // Interior runs between pairs of crossings, clear of them by more than one pixel.
        for (int64_t k = 0; k + 1 < nc; k += 2) {
            const double c0 = std::max(0.0, std::floor(cross[k]) + 2.0);
            const double c1 = std::min(double(ncol - 1), std::ceil(cross[k + 1]) - 2.0);
            for (double c = c0; c <= c1; ++c) row[int64_t(c)] = value;
        }
        for (int64_t k = 0; k < nc; ++k)
            probe[np++] = int64_t(std::floor(std::clamp(cross[k], -2.0, double(ncol) + 1.0)));
        for (int64_t k = 0; k < np; ++k)
            for (int64_t c = std::max<int64_t>(0, probe[k] - 1); c <= std::min<int64_t>(ncol - 1, probe[k] + 2); ++c)
                if (locate(row_edges, ne, {y, double(c)}) != 0) row[c] = value;
        MUTILS_TRY(poll.add(double(ncol) + 10.0 * double(n + np * ne)));
    }
    return nullptr;
}

/// One segment as the integer line algorithm draws it: the axis of larger extent (columns on
/// ties) steps every pixel; the decision d = 2 minor - major takes a minor step while d >= 0.
/// Pixel i along the major axis has then taken floor((2 minor i + major) / (2 major)) minor
/// steps, so only the part of the segment over the image is walked. Returns the pixels walked.
template <class T> int64_t draw_segment(int64_t r0, int64_t c0, int64_t r1, int64_t c1, T value, mat_t<T>* image) {
    const int64_t dr = std::abs(r1 - r0), dc = std::abs(c1 - c0);
    const bool steep = dr > dc;
    const int64_t major = std::max(dr, dc), minor = std::min(dr, dc);
    const int64_t a0 = steep ? r0 : c0, sa = (steep ? r1 - r0 : c1 - c0) > 0 ? 1 : -1;
    const int64_t b0 = steep ? c0 : r0, sb = (steep ? c1 - c0 : r1 - r0) > 0 ? 1 : -1;
    const int64_t extent = steep ? image->nrow : image->ncol;
    const int64_t lo = std::max<int64_t>(0, sa > 0 ? -a0 : a0 - (extent - 1));
    const int64_t hi = std::min<int64_t>(major, sa > 0 ? extent - 1 - a0 : a0);
    for (int64_t i = lo; i <= hi; ++i) {
        const int64_t m = major == 0 ? 0 : int64_t((__int128(2) * minor * i + major) / (2 * major));
        const int64_t a = a0 + sa * i, b = b0 + sb * m, r = steep ? a : b, c = steep ? b : a;
        if (r >= 0 && r < image->nrow && c >= 0 && c < image->ncol) image->data[r * image->ncol + c] = value;
    }
    return hi >= lo ? hi - lo + 1 : 0;
}

template <class T>
const char* render_lines(const _double_mat* line, T value, bool closed, void* intrp, mat_t<T>* image) {
    const int64_t n = line->nrow, segments = closed ? n : n - 1;
    Poll poll(intrp);
    for (int64_t k = 0; k < std::max<int64_t>(segments, 1); ++k) {  // a single vertex is a dot
        const Vertex a = vertex(line, k), b = vertex(line, (k + 1) % n);
        const int64_t r0 = pixel_index(a.r), c0 = pixel_index(a.c), r1 = pixel_index(b.r), c1 = pixel_index(b.c);
        MUTILS_TRY(poll.add(double(draw_segment<T>(r0, c0, r1, c1, value, image)) + 10.0));
    }
    return nullptr;
}

/// The frame shared by both: the image's type selects the body; the value must be of that type.
template <class F> const char* render(const _double_mat* polygon, _univ_scalar value, _univ_mat* image, F&& body) {
    return univ_call(real_types{}, with(image, polygon), [&](auto t, auto* ti, auto* p) -> const char* {
        using T = MUTILS_T(t);
        validate(p);
        validate(ti);
        MUTILS_TRY(check_points(p));
        if (value.type != elem<T>::tag) return msg::illegal_data_type;
        return body(scalar_get<T>(value), ti);
    });
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* pgnuniv_render_region(const _double_mat* polygon, _univ_scalar value, void* intrp, _univ_mat* image) {
    return render(polygon, value, image, [&](auto v, auto* ti) { return render_region(polygon, v, intrp, ti); });
}

const char* pgnuniv_render_lines(const _double_mat* polyline, _univ_scalar value, unsigned char closed, void* intrp,
                                 _univ_mat* image) {
    return render(polyline, value, image,
                  [&](auto v, auto* ti) { return render_lines(polyline, v, closed != 0, intrp, ti); });
}

}  // namespace mutils
