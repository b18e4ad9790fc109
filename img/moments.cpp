#include "moments.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "../core/detail.h"
#include "../pgn/hull.h"
#include "detail_hull.h"
#include "detail_label.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// ---- moments --------------------------------------------------------------------------------

/// acc_q[c] += v[c] * y^q for q = 0 ... n: each row adds its weights times the powers of its
/// (shifted) row coordinate to per-column sums, an element-wise pass the compiler vectorises.
MUTILS_CLONES void add_row_powers(double* v, double y, int64_t len, int64_t stride, int32_t n, double* acc) {
    for (int32_t q = 0; q <= n; ++q) {
        double* a = acc + int64_t(q) * stride;
        for (int64_t c = 0; c < len; ++c) a[c] += v[c];
        if (q < n)
            for (int64_t c = 0; c < len; ++c) v[c] *= y;
    }
}

/// m[p (n+1) + q] = sum (c - cc)^p (r - rc)^q I(r, c) for p, q <= n.
template <class T> const char* power_sums(const mat_t<T>* im, int32_t n, double rc, double cc, Poll& poll, double* m) {
    const int64_t nrow = im->nrow, ncol = im->ncol, k = n + 1;
    Hux::ArenaScope scope;
    double* acc = work_array_zero<double>(k * ncol);
    constexpr int64_t kBlock = 256;
    double* v = work_array<double>(std::min(kBlock, ncol));
    for (int64_t r = 0; r < nrow; ++r) {
        const T* row = im->data + r * ncol;
        // Column blocks small enough that their per-column sums stay in the first-level cache.
        for (int64_t c0 = 0; c0 < ncol; c0 += kBlock) {
            const int64_t len = std::min(kBlock, ncol - c0);
            for (int64_t c = 0; c < len; ++c) v[c] = double(row[c0 + c]);
            add_row_powers(v, double(r) - rc, len, ncol, n, acc + c0);
        }
        MUTILS_TRY(poll.add(3.0 * double(k * ncol)));
    }
    // Column powers, one power at a time, against each per-column sum.
    double* x = work_array<double>(ncol);
    std::fill(x, x + ncol, 1.0);
    for (int64_t p = 0; p < k; ++p) {
        for (int64_t q = 0; q < k; ++q) {
            const double* a = acc + q * ncol;
            double s = 0;
            for (int64_t c = 0; c < ncol; ++c) s += x[c] * a[c];
            m[p * k + q] = s;
        }
        for (int64_t c = 0; c < ncol; ++c) x[c] *= double(c) - cc;
    }
    return nullptr;
}

/// Raw, central or normalised moments up to order n into m ((n + 1)^2).
template <class T> const char* moments_of(const mat_t<T>* im, int32_t type, int32_t n, Poll& poll, double* m) {
    if (type == IMG_MOMENT_RAW) return power_sums<T>(im, n, 0.0, 0.0, poll, m);
    double first[4];
    MUTILS_TRY(power_sums<T>(im, 1, 0.0, 0.0, poll, first));
    const double mass = first[0];
    if (mass == 0) return msg::illegal_data_value;
    MUTILS_TRY(power_sums<T>(im, n, first[1] / mass, first[2] / mass, poll, m));
    if (type == IMG_MOMENT_NORMALISED)
        for (int32_t p = 0; p <= n; ++p)
            for (int32_t q = 0; q <= n; ++q) {
                double& e = m[p * (n + 1) + q];
                e = p + q < 2 ? kNaN : e / std::pow(mass, 1.0 + 0.5 * (p + q));
            }
    return nullptr;
}

template <class T> const char* moments(const mat_t<T>* image, int32_t type, void* intrp, _double_mat* result) {
    validate(image);
    validate(result);
    if (result->nrow != result->ncol) return msg::array_size_mismatch;
    if (type < IMG_MOMENT_RAW || type > IMG_MOMENT_NORMALISED) return msg::illegal_data_value;
    Poll poll(intrp);
    return moments_of<T>(image, type, result->nrow - 1, poll, result->data);
}

template <class T> const char* moment_invariant(const mat_t<T>* image, void* intrp, _double_mat* result) {
    validate(image);
    validate(result);
    if (result->nelem != 7 || !is_vector(result->nrow, result->ncol)) return msg::array_size_mismatch;
    Poll poll(intrp);
    double e[16];
    MUTILS_TRY(moments_of<T>(image, IMG_MOMENT_NORMALISED, 3, poll, e));
    auto eta = [&](int p, int q) { return e[p * 4 + q]; };
    const double n20 = eta(2, 0), n02 = eta(0, 2), n11 = eta(1, 1);
    const double n30 = eta(3, 0), n03 = eta(0, 3), n21 = eta(2, 1), n12 = eta(1, 2);
    const double a = n30 + n12, b = n21 + n03, c = n30 - 3 * n12, d = 3 * n21 - n03;
    double* h = result->data;
    h[0] = n20 + n02;
    h[1] = (n20 - n02) * (n20 - n02) + 4 * n11 * n11;
    h[2] = c * c + d * d;
    h[3] = a * a + b * b;
    h[4] = c * a * (a * a - 3 * b * b) + d * b * (3 * a * a - b * b);
    h[5] = (n20 - n02) * (a * a - b * b) + 4 * n11 * a * b;
    h[6] = d * a * (a * a - 3 * b * b) - c * b * (3 * a * a - b * b);
    return nullptr;
}

// ---- shape features -------------------------------------------------------------------------

/// Sums of one label over its pixels, coordinates taken from the label's first pixel (so that
/// the sums are exact integers and the central moments cancel nothing but integers).
struct Tally {
    int64_t area = 0, r0 = 0, c0 = 0, rmin = 0, cmin = 0, rmax = 0, cmax = 0;
    __int128 sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    double perimeter = 0;
    int64_t quads = 0;  // Gray's bit-quad sum Q1 - Q3 - 2 QD
    int64_t convex = 0;

    void add_run(int64_t r, int64_t c, int64_t n) {
        if (area == 0) r0 = rmin = rmax = r, c0 = cmin = c;
        rmax = r;
        cmin = std::min(cmin, c), cmax = std::max(cmax, c + n - 1);
        area += n;
        const __int128 a = c - c0, y = r - r0, k1 = __int128(n) * (n - 1) / 2, k2 = k1 * (2 * n - 1) / 3;
        const __int128 x = n * a + k1;  // sum of x over the run
        sx += x, sxx += n * a * a + 2 * a * k1 + k2;
        sy += n * y, syy += n * y * y, sxy += y * x;
    }
};

// Neighbour steps counter-clockwise as displayed, from east: odd codes are diagonal.
constexpr int kStepRow[8] = {0, -1, -1, -1, 0, 1, 1, 1};
constexpr int kStepCol[8] = {1, 1, 0, -1, -1, -1, 0, 1};

/// Length of the outer contour of the 8-connected component whose first pixel in raster order
/// is (r0, c0): the first neighbour clockwise from the west is the contour's last pixel; the
/// walk then turns counter-clockwise round each pixel from the one it came from, and stops when
/// it moves from that last pixel back onto the first.
template <class T> const char* contour_length(const mat_t<T>* lab, int64_t r0, int64_t c0, Poll& poll, double* len) {
    const int64_t nrow = lab->nrow, ncol = lab->ncol;
    const T value = lab->data[r0 * ncol + c0];
    auto inside = [&](int64_t r, int64_t c, int d) {
        r += kStepRow[d], c += kStepCol[d];
        return r >= 0 && r < nrow && c >= 0 && c < ncol && lab->data[r * ncol + c] == value;
    };
    int last = -1;
    for (int k = 0; k < 8 && last < 0; ++k)
        if (inside(r0, c0, (12 - k) % 8)) last = (12 - k) % 8;
    *len = 0;
    if (last < 0) return nullptr;
    const int64_t r1 = r0 + kStepRow[last], c1 = c0 + kStepCol[last];
    int64_t r = r0, c = c0, straight = 0, diagonal = 0;
    for (int back = last;;) {
        int d = back;
        for (int k = 1; k <= 8; ++k)
            if (inside(r, c, d = (back + k) % 8)) break;
        ++((d & 1) ? diagonal : straight);
        const int64_t nr = r + kStepRow[d], nc = c + kStepCol[d];
        if (nr == r0 && nc == c0 && r == r1 && c == c1) break;
        back = (d + 4) % 8, r = nr, c = nc;
    }
    *len = double(straight) + double(diagonal) * std::sqrt(2.0);
    return poll.add(20.0 * double(straight + diagonal));
}

/// Adds the bit-quad terms of one 2 x 2 window (a b / c d) to the tallies of its labels.
template <class T> inline void add_quads(T a, T b, T c, T d, Tally* t) {
    auto add = [&](T v) {
        if (!v) return;
        const int k = (a == v) + (b == v) + (c == v) + (d == v);
        const bool diagonal = k == 2 && ((a == v && d == v) || (b == v && c == v));
        t[v - 1].quads += k == 1 ? 1 : k == 3 ? -1 : diagonal ? -2 : 0;
    };
    add(a);
    if (b != a) add(b);
    if (c != a && c != b) add(c);
    if (d != a && d != b && d != c) add(d);
}

template <class T> const char* shape_features(const mat_t<T>* labels, void* intrp, _double_mat* features) {
    validate(labels);
    validate(features);
    if (features->ncol != 18) return msg::array_size_mismatch;
    const int64_t nrow = labels->nrow, ncol = labels->ncol, K = features->nrow;
    const T* L = labels->data;
    Poll poll(intrp);
    // Labels in range, and the number of runs (maximal stretches of one non-zero label).
    int64_t nruns = 0;
    for (int64_t r = 0; r < nrow; ++r) {
        const T* row = L + r * ncol;
        for (int64_t c = 0; c < ncol; ++c) {
            if (uint64_t(row[c]) > uint64_t(K)) return msg::illegal_data_value;
            nruns += row[c] && (c == 0 || row[c - 1] != row[c]);
        }
        MUTILS_TRY(poll.add(2.0 * double(ncol)));
    }
    Hux::ArenaScope scope;
    Tally* tally = work_array<Tally>(K);
    std::fill(tally, tally + K, Tally{});
    RunSet rs;
    rs.reserve(std::max<int64_t>(nruns, 1));
    T* run_label = work_array<T>(nruns);
    int32_t* run_row = work_array<int32_t>(nruns);
    // Per row and label, the leftmost and rightmost pixel: the points the convex hull needs.
    int32_t* ends = work_array<int32_t>(3 * nruns);  // row, left, right
    int64_t* ends_of = work_array<int64_t>(nruns);   // its label's index
    int64_t nends = 0;
    int64_t* last_end = work_array<int64_t>(K);
    std::fill(last_end, last_end + K, int64_t(-1));
    int64_t prev_first = 0;
    for (int64_t r = 0; r < nrow; ++r) {
        const T* row = L + r * ncol;
        const int64_t first = rs.n;
        for (int64_t c = 0; c < ncol;) {
            const T v = row[c];
            int64_t e = c + 1;
            while (e < ncol && row[e] == v) ++e;
            if (v) {
                const int64_t i = rs.n++;
                rs.start[i] = int32_t(c), rs.end[i] = int32_t(e), rs.parent[i] = uint32_t(i);
                run_label[i] = v, run_row[i] = int32_t(r);
                tally[v - 1].add_run(r, c, e - c);
                int64_t& le = last_end[v - 1];
                if (le >= 0 && ends[3 * le] == r) {
                    ends[3 * le + 2] = int32_t(e - 1);
                } else {
                    le = nends++;
                    ends[3 * le] = int32_t(r), ends[3 * le + 1] = int32_t(c), ends[3 * le + 2] = int32_t(e - 1);
                    ends_of[le] = int64_t(v) - 1;
                }
            }
            c = e;
        }
        // Eight-connected runs of the same label in the row above join this row's.
        for (int64_t i = first, j = prev_first; i < rs.n; ++i) {
            while (j < first && rs.end[j] < rs.start[i]) ++j;
            for (int64_t k = j; k < first && rs.start[k] <= rs.end[i]; ++k)
                if (run_label[k] == run_label[i]) rs.unite(uint32_t(i), uint32_t(k));
        }
        prev_first = first;
        MUTILS_TRY(poll.add(4.0 * double(ncol)));
    }
    // Outer contours: each component's root is its first run, whose first pixel starts it.
    for (int64_t i = 0; i < rs.n; ++i)
        if (rs.parent[i] == uint32_t(i)) {
            double len;
            MUTILS_TRY(contour_length<T>(labels, run_row[i], rs.start[i], poll, &len));
            tally[run_label[i] - 1].perimeter += len;
        }
    // Bit quads of every 2 x 2 window, the image surrounded by background.
    for (int64_t r = -1; r < nrow; ++r) {
        const T* up = r >= 0 ? L + r * ncol : nullptr;
        const T* dn = r + 1 < nrow ? L + (r + 1) * ncol : nullptr;
        T a = 0, c = 0;
        for (int64_t x = 0; x <= ncol; ++x) {
            const T b = up && x < ncol ? up[x] : T(0), d = dn && x < ncol ? dn[x] : T(0);
            if (!(a == b && b == c && c == d)) add_quads<T>(a, b, c, d, tally);
            a = b, c = d;
        }
        MUTILS_TRY(poll.add(4.0 * double(ncol)));
    }
    // Convex areas: the row ends of each label (grouped by label, rows kept in order) span its hull.
    int64_t* start = work_array_zero<int64_t>(K + 1);
    for (int64_t e = 0; e < nends; ++e) ++start[ends_of[e] + 1];
    for (int64_t k = 0; k < K; ++k) start[k + 1] += start[k];
    int32_t* points = work_array<int32_t>(4 * nends);
    int64_t* fill = work_array<int64_t>(K);
    for (int64_t k = 0; k < K; ++k) fill[k] = 2 * start[k];  // two points per row at most
    for (int64_t e = 0; e < nends; ++e) {
        int64_t& f = fill[ends_of[e]];
        const int32_t* p = ends + 3 * e;
        points[2 * f] = p[0], points[2 * f + 1] = p[1], ++f;
        if (p[2] != p[1]) points[2 * f] = p[0], points[2 * f + 1] = p[2], ++f;
    }
    for (int64_t k = 0; k < K; ++k) {
        const int64_t n = fill[k] - 2 * start[k];
        if (n == 0) continue;
        _sint32_mat pts{int32_t(n), 2, int32_t(2 * n), points + 4 * start[k]}, hull;
        MUTILS_TRY(pgns32_convex_hull(&pts, intrp, &hull));
        convex_spans(&hull, [&](int64_t, int64_t lo, int64_t hi) { tally[k].convex += hi - lo + 1; });
    }
    for (int64_t k = 0; k < K; ++k) {
        const Tally& t = tally[k];
        double* f = features->data + k * 18;
        if (t.area == 0) {
            f[0] = 0;
            std::fill(f + 1, f + 18, kNaN);
            continue;
        }
        const double A = double(t.area);
        // Central second moments times the area, exact in integers.
        const double m20 = double(t.area * t.sxx - t.sx * t.sx), m02 = double(t.area * t.syy - t.sy * t.sy);
        const double m11 = double(t.area * t.sxy - t.sx * t.sy);
        const double a = m20 / (A * A), b = m02 / (A * A), c = m11 / (A * A);
        const double mid = 0.5 * (a + b), half = std::sqrt(0.25 * (a - b) * (a - b) + c * c);
        const double l1 = mid + half, l2 = std::max(mid - half, 0.0);
        f[0] = A;
        f[1] = double(t.r0) + double(t.sy) / A;
        f[2] = double(t.c0) + double(t.sx) / A;
        f[3] = double(t.rmin), f[4] = double(t.cmin), f[5] = double(t.rmax), f[6] = double(t.cmax);
        f[7] = t.perimeter;
        f[8] = 0.5 * std::atan2(m11 == 0 ? 0.0 : -2 * m11, m20 - m02);
        f[9] = 4 * std::sqrt(l1);
        f[10] = 4 * std::sqrt(l2);
        f[11] = l1 == 0 ? 0.0 : std::sqrt(1 - l2 / l1);
        f[12] = std::sqrt(4 * A / std::numbers::pi);
        f[13] = A / (double(t.rmax - t.rmin + 1) * double(t.cmax - t.cmin + 1));
        f[14] = double(t.convex);
        f[15] = A / double(t.convex);
        f[16] = t.perimeter == 0 ? 0.0 : 4 * std::numbers::pi * A / (t.perimeter * t.perimeter);
        f[17] = double(t.quads) / 4;
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;
using M = _img_moment_type;

#define MUTILS_MOMENTS(CODE, T)                                                            \
    const char* img##CODE##_moments(const mat_t<T>* a, M type, void* i, _double_mat* r) {  \
        return moments<T>(a, type, i, r);                                                  \
    }                                                                                      \
    const char* img##CODE##_moment_invariant(const mat_t<T>* a, void* i, _double_mat* r) { \
        return moment_invariant<T>(a, i, r);                                               \
    }
MUTILS_MOMENTS(u8, unsigned char)
MUTILS_MOMENTS(u16, uint16_t)
MUTILS_MOMENTS(s32, int32_t)
MUTILS_MOMENTS(dbl, double)
#undef MUTILS_MOMENTS

const char* imgu8_shape_features(const _uint8_mat* a, void* i, _double_mat* f) {
    return shape_features<unsigned char>(a, i, f);
}
const char* imgu16_shape_features(const _uint16_mat* a, void* i, _double_mat* f) {
    return shape_features<uint16_t>(a, i, f);
}
const char* imgu32_shape_features(const _uint32_mat* a, void* i, _double_mat* f) {
    return shape_features<uint32_t>(a, i, f);
}

const char* imguniv_moments(const _univ_mat* a, M type, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, fixed<double>(r)),
                     [&](auto t, auto* ta, auto* tr) { return moments<MUTILS_T(t)>(ta, type, i, tr); });
}
const char* imguniv_moment_invariant(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, fixed<double>(r)),
                     [&](auto t, auto* ta, auto* tr) { return moment_invariant<MUTILS_T(t)>(ta, i, tr); });
}
const char* imguniv_shape_features(const _univ_mat* a, void* i, _univ_mat* f) {
    // Signed 32-bit labels run as unsigned ones: a negative label is then above any row count.
    return univ_call(types<unsigned char, uint16_t, uint32_t, int32_t>{}, with(a, fixed<double>(f)),
                     [&](auto t, auto* ta, auto* tf) {
                         using T = std::conditional_t<std::is_same_v<MUTILS_T(t), int32_t>, uint32_t, MUTILS_T(t)>;
                         return shape_features<T>(reinterpret_cast<const mat_t<T>*>(ta), i, tf);
                     });
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_moment_invariant, (const mutils::_univ_mat* a, void* i, mutils::_univ_mat* r), (a, i, r))
MUTILS_PLAIN(imguniv_shape_features, (const mutils::_univ_mat* a, void* i, mutils::_univ_mat* f), (a, i, f))
