#include "geometry.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>

#include "../core/detail.h"
#include "../core/detail_store.h"
#include "../core/detail_univ.h"
#include "../mat/detail_linalg.h"

namespace mutils {
namespace detail {
namespace {

// ---- interpolation weights ----------------------------------------------------------------------

/// Keys cubic convolution weights (a = -1/2) of the taps at -1, 0, 1, 2 for a fraction t in [0, 1).
inline void keys_weights(double t, double* w) {
    const double t2 = t * t, t3 = t2 * t;
    w[0] = -0.5 * t3 + t2 - 0.5 * t;
    w[1] = 1.5 * t3 - 2.5 * t2 + 1.0;
    w[2] = -1.5 * t3 + 2.0 * t2 + 0.5 * t;
    w[3] = 0.5 * t3 - 0.5 * t2;
}

// ---- inverse maps ---------------------------------------------------------------------------

/// The inverse map of a rotation or a warp: the source points of n pixels of a result row from
/// column C0. A source point that must take the fill (a projective w <= 0) is NaN.
struct Mapping {
    enum Kind { Rotation, Polynomial, Projective } kind = Rotation;
    double p[20] = {};  // rotation: cy, cx, cos, sin, result centre row, column; polynomial: a's, b's; projective: H
    int32_t terms = 0;  // polynomial terms m (3, 6 or 10)

    void row(int64_t R, int64_t C0, int64_t n, double* ys, double* xs) const {
        const double r = double(R);
        switch (kind) {
            case Rotation: {
                const double dr = r - p[4], yb = p[0] + dr * p[2], xb = p[1] - dr * p[3];
                for (int64_t C = 0; C < n; ++C) {
                    const double dc = double(C0 + C) - p[5];
                    ys[C] = yb + dc * p[3];
                    xs[C] = xb + dc * p[2];
                }
                return;
            }
            case Polynomial: {
                const double* a = p;
                const double* b = p + terms;
                for (int64_t C = 0; C < n; ++C) {
                    const double c = double(C0 + C);
                    // Terms r^(j-i) c^i in the order j = 0 ... d, i = 0 ... j.
                    const double t[10] = {1, r, c, r * r, r * c, c * c, r * r * r, r * r * c, r * c * c, c * c * c};
                    double y = 0, x = 0;
                    for (int32_t k = 0; k < terms; ++k) {
                        y += a[k] * t[k];
                        x += b[k] * t[k];
                    }
                    ys[C] = y;
                    xs[C] = x;
                }
                return;
            }
            case Projective: {
                for (int64_t C = 0; C < n; ++C) {
                    const double c = double(C0 + C);
                    const double w = p[6] * r + p[7] * c + p[8];
                    const double y = (p[0] * r + p[1] * c + p[2]) / w, x = (p[3] * r + p[4] * c + p[5]) / w;
                    const bool ok = w > 0 && std::isfinite(y) && std::isfinite(x);
                    ys[C] = ok ? y : NAN;
                    xs[C] = ok ? x : NAN;
                }
                return;
            }
        }
    }
};

/// Cosine and sine of an angle in degrees, exact for multiples of 90.
void cos_sin_degrees(double degrees, double& c, double& s) {
    const double turn = std::fmod(degrees, 360.0);
    if (std::fmod(turn, 90.0) == 0.0) {
        static constexpr double kCos[4] = {1, 0, -1, 0}, kSin[4] = {0, 1, 0, -1};
        const int q = (int(turn / 90.0) + 4) % 4;
        c = kCos[q];
        s = kSin[q];
        return;
    }
    const double a = turn * (std::numbers::pi / 180.0);
    c = std::cos(a);
    s = std::sin(a);
}

Mapping rotation(double degrees, int32_t nrow, int32_t ncol, int32_t NR, int32_t NC) {
    Mapping m;
    m.kind = Mapping::Rotation;
    cos_sin_degrees(degrees, m.p[2], m.p[3]);
    m.p[0] = (nrow - 1) / 2.0;
    m.p[1] = (ncol - 1) / 2.0;
    m.p[4] = (NR - 1) / 2.0;
    m.p[5] = (NC - 1) / 2.0;
    return m;
}

bool all_finite(const double* v, int64_t n) {
    for (int64_t i = 0; i < n; ++i)
        if (!std::isfinite(v[i])) return false;
    return true;
}

/// The map of warp coefficients: 2 x 3, 2 x 6, 2 x 10 polynomial or 3 x 3 projective.
const char* mapping_of(const _double_mat* coef, Mapping& m) {
    validate(coef);
    const bool polynomial = coef->nrow == 2 && (coef->ncol == 3 || coef->ncol == 6 || coef->ncol == 10);
    if (!polynomial && !(coef->nrow == 3 && coef->ncol == 3)) return msg::array_size_mismatch;
    if (!all_finite(coef->data, coef->nelem)) return msg::illegal_data_value;
    m.kind = polynomial ? Mapping::Polynomial : Mapping::Projective;
    m.terms = polynomial ? coef->ncol : 0;
    std::copy(coef->data, coef->data + coef->nelem, m.p);
    return nullptr;
}

// ---- point resampling (rotation and warps) ----------------------------------------------------

/// An image read at real positions; neighbours outside it read `fill`.
template <class T> struct Source {
    const T* data;
    int64_t nrow, ncol;
    double fill;

    double at(int64_t r, int64_t c) const {
        return r >= 0 && r < nrow && c >= 0 && c < ncol ? double(data[r * ncol + c]) : fill;
    }
};

template <class T> double nearest_at(const Source<T>& s, double y, double x) {
    const double r = std::floor(y + 0.5), c = std::floor(x + 0.5);
    if (!(r >= 0 && r < double(s.nrow) && c >= 0 && c < double(s.ncol))) return s.fill;
    return double(s.data[int64_t(r) * s.ncol + int64_t(c)]);
}

template <class T> double bilinear_at(const Source<T>& s, double y, double x) {
    const double fr = std::floor(y), fc = std::floor(x);
    if (!(fr >= -1 && fr < double(s.nrow) && fc >= -1 && fc < double(s.ncol))) return s.fill;
    const int64_t r = int64_t(fr), c = int64_t(fc);
    const double ty = y - fr, tx = x - fc;
    double p00, p01, p10, p11;
    if (r >= 0 && r + 1 < s.nrow && c >= 0 && c + 1 < s.ncol) {
        const T* q = s.data + r * s.ncol + c;
        p00 = double(q[0]), p01 = double(q[1]), p10 = double(q[s.ncol]), p11 = double(q[s.ncol + 1]);
    } else {
        p00 = s.at(r, c), p01 = s.at(r, c + 1), p10 = s.at(r + 1, c), p11 = s.at(r + 1, c + 1);
    }
    const double top = (1 - tx) * p00 + tx * p01, bottom = (1 - tx) * p10 + tx * p11;
    return (1 - ty) * top + ty * bottom;
}

template <class T> double bicubic_at(const Source<T>& s, double y, double x) {
    const double fr = std::floor(y), fc = std::floor(x);
    if (!(fr >= -2 && fr <= double(s.nrow) && fc >= -2 && fc <= double(s.ncol))) return s.fill;
    const int64_t r = int64_t(fr) - 1, c = int64_t(fc) - 1;
    double wy[4], wx[4], h[4];
    keys_weights(y - fr, wy);
    keys_weights(x - fc, wx);
    const bool inside = r >= 0 && r + 3 < s.nrow && c >= 0 && c + 3 < s.ncol;
    for (int k = 0; k < 4; ++k) {
        if (inside) {
            const T* q = s.data + (r + k) * s.ncol + c;
            h[k] = wx[0] * double(q[0]) + wx[1] * double(q[1]) + wx[2] * double(q[2]) + wx[3] * double(q[3]);
        } else {
            h[k] = wx[0] * s.at(r + k, c) + wx[1] * s.at(r + k, c + 1) + wx[2] * s.at(r + k, c + 2) +
                   wx[3] * s.at(r + k, c + 3);
        }
    }
    return wy[0] * h[0] + wy[1] * h[1] + wy[2] * h[2] + wy[3] * h[3];
}

/// One result row from its source points.
template <class T, int I>
MUTILS_CLONES void sample_row(const Source<T>& s, const double* ys, const double* xs, int64_t n, T* out) {
    for (int64_t C = 0; C < n; ++C) {
        if constexpr (I == IMG_INTERP_NEAREST) {
            const double r = std::floor(ys[C] + 0.5), c = std::floor(xs[C] + 0.5);
            out[C] = r >= 0 && r < double(s.nrow) && c >= 0 && c < double(s.ncol)
                         ? s.data[int64_t(r) * s.ncol + int64_t(c)]
                         : store<T>(s.fill);
        } else {
            out[C] = store<T>(bicubic_at(s, ys[C], xs[C]));
        }
    }
}

/// v stored into an integer T without the NaN test (v is finite): vectorises.
template <class T> inline T store_finite(double v) {
    if constexpr (std::is_integral_v<T>) {
        const double r = std::floor(v + 0.5);
        return T(
            std::min(std::max(r, double(std::numeric_limits<T>::lowest())), double(std::numeric_limits<T>::max())));
    } else {
        return T(v);
    }
}

/// A bilinear result row in two passes: the cell of every point (its offset, -1 unless all four
/// neighbours are inside, and fractions), then the interpolation, branch-free along the runs of
/// inside points (the bulk of a rotation), with the edge rule elsewhere.
template <class T> MUTILS_CLONES void bilinear_row(const Source<T>& s, const double* ys, const double* xs, int64_t n,
                                                   int32_t* off, double* ty, double* tx, T* out) {
    const double last_r = double(s.nrow - 1), last_c = double(s.ncol - 1);
    const int32_t ncol = int32_t(s.ncol);
    for (int64_t C = 0; C < n; ++C) {
        const double fr = std::floor(ys[C]), fc = std::floor(xs[C]);
        const bool inside = (fr >= 0) & (fr < last_r) & (fc >= 0) & (fc < last_c);
        off[C] = inside ? int32_t(fr) * ncol + int32_t(fc) : -1;
        ty[C] = ys[C] - fr;
        tx[C] = xs[C] - fc;
    }
    for (int64_t C = 0; C < n;) {
        if (off[C] < 0) {
            out[C] = store<T>(bilinear_at(s, ys[C], xs[C]));
            ++C;
            continue;
        }
        int64_t end = C;
        while (end < n && off[end] >= 0) ++end;
        for (int64_t k = C; k < end; ++k) {
            const T* q = s.data + off[k];
            const double top = (1 - tx[k]) * double(q[0]) + tx[k] * double(q[1]);
            const double bottom = (1 - tx[k]) * double(q[ncol]) + tx[k] * double(q[ncol + 1]);
            const double v = (1 - ty[k]) * top + ty[k] * bottom;
            if constexpr (std::is_integral_v<T>)
                out[k] = store_finite<T>(v);
            else
                out[k] = store<T>(v);
        }
        C = end;
    }
}

/// Result tiles of rotations and warps: a tile's source points stay within the first-level cache
/// whatever the angle (whole rows would walk across hundreds of source rows).
constexpr int64_t kTileRows = 32, kTileCols = 128;

/// Rotations and warps: every result row mapped, then sampled, tile by tile.
template <class T> const char* resample(const mat_t<T>* image, const Mapping& map, int32_t interp, double fill,
                                        void* intrp, mat_t<T>* result) {
    Hux::ArenaScope scope;
    const int64_t NR = result->nrow, NC = result->ncol;
    double* ys = work_array<double>(kTileCols);
    double* xs = work_array<double>(kTileCols);
    double* ty = work_array<double>(kTileCols);
    double* tx = work_array<double>(kTileCols);
    int32_t* off = work_array<int32_t>(kTileCols);
    const Source<T> s{image->data, image->nrow, image->ncol, fill};
    Poll poll(intrp);
    const double cost = double(NC) * (interp == IMG_INTERP_BICUBIC ? 40.0 : interp == IMG_INTERP_BILINEAR ? 12.0 : 6.0);
    for (int64_t R0 = 0; R0 < NR; R0 += kTileRows) {
        const int64_t R1 = std::min(NR, R0 + kTileRows);
        for (int64_t C0 = 0; C0 < NC; C0 += kTileCols) {
            const int64_t n = std::min(kTileCols, NC - C0);
            for (int64_t R = R0; R < R1; ++R) {
                map.row(R, C0, n, ys, xs);
                T* out = result->data + R * NC + C0;
                switch (interp) {
                    case IMG_INTERP_NEAREST: sample_row<T, IMG_INTERP_NEAREST>(s, ys, xs, n, out); break;
                    case IMG_INTERP_BILINEAR: bilinear_row<T>(s, ys, xs, n, off, ty, tx, out); break;
                    default: sample_row<T, IMG_INTERP_BICUBIC>(s, ys, xs, n, out); break;
                }
            }
        }
        MUTILS_TRY(poll.add(cost * double(R1 - R0)));
    }
    return nullptr;
}

/// The checks shared by rotations and warps, in the documented order after validation.
template <class T> const char* check_point(const mat_t<T>* image, int32_t interp, double fill, mat_t<T>* result) {
    validate(image);
    validate(result);
    if (interp < IMG_INTERP_NEAREST || interp > IMG_INTERP_BICUBIC || !std::isfinite(fill))
        return msg::illegal_data_value;
    return require_distinct(result, image);
}

template <class T>
const char* rotate(const mat_t<T>* image, double degrees, int32_t interp, double fill, void* intrp, mat_t<T>* result) {
    MUTILS_TRY(check_point<T>(image, interp, fill, result));
    if (!std::isfinite(degrees)) return msg::illegal_data_value;
    return resample<T>(image, rotation(degrees, image->nrow, image->ncol, result->nrow, result->ncol), interp, fill,
                       intrp, result);
}

template <class T> const char* warp_parameter(const mat_t<T>* image, const _double_mat* coef, int32_t interp,
                                              double fill, void* intrp, mat_t<T>* result) {
    MUTILS_TRY(check_point<T>(image, interp, fill, result));
    Mapping map;
    MUTILS_TRY(mapping_of(coef, map));
    return resample<T>(image, map, interp, fill, intrp, result);
}

// ---- tie-point fit ----------------------------------------------------------------------------

inline int32_t term_count(int32_t degree) { return (degree + 1) * (degree + 2) / 2; }

/// The terms r^(j-i) c^i of a point, in the fit's order.
inline void terms_of(double r, double c, int32_t m, double* t) {
    int32_t k = 0;
    for (int32_t j = 0; k < m; ++j)
        for (int32_t i = 0; i <= j; ++i) t[k++] = std::pow(r, j - i) * std::pow(c, i);
}

/// Fits the 2 x m coefficients (a's then b's, for raw coordinates) and the RMS residual.
const char* fit(const _double_mat* tp, int32_t degree, void* intrp, double* coef, double* rms) {
    validate(tp);
    require_pointer(rms);
    if (degree < 1 || degree > 3) return msg::illegal_data_value;
    const int32_t m = term_count(degree);
    if (tp->ncol != 4 || tp->nrow < m) return msg::array_size_mismatch;
    if (!all_finite(tp->data, tp->nelem)) return msg::illegal_data_value;
    const int64_t n = tp->nrow;
    const double* d = tp->data;
    // Centred and scaled output coordinates keep the powers of the terms comparable.
    double mr = 0, mc = 0, scale = 0;
    for (int64_t i = 0; i < n; ++i) mr += d[4 * i], mc += d[4 * i + 1];
    mr /= double(n), mc /= double(n);
    for (int64_t i = 0; i < n; ++i) scale = std::max({scale, std::fabs(d[4 * i] - mr), std::fabs(d[4 * i + 1] - mc)});
    if (scale == 0) return msg::singular_matrix;
    Hux::ArenaScope scope;
    double* design = work_array<double>(n * m);  // column-major
    double* q = work_array<double>(n * m);
    double* rhs = work_array<double>(2 * n);
    double* rdiag = work_array<double>(m);
    double t[10];
    for (int64_t i = 0; i < n; ++i) {
        terms_of((d[4 * i] - mr) / scale, (d[4 * i + 1] - mc) / scale, m, t);
        for (int32_t k = 0; k < m; ++k) design[k * n + i] = t[k];
        rhs[i] = d[4 * i + 2];
        rhs[n + i] = d[4 * i + 3];
    }
    double largest = 0;
    for (int32_t k = 0; k < m; ++k) largest = std::max(largest, norm2(design + k * n, n));
    double g[2][10];  // coefficients for the centred, scaled coordinates
    for (int side = 0; side < 2; ++side) {
        std::copy(design, design + n * m, q);
        if (!householder_least_squares(q, n, m, rhs + side * n, rdiag, [&](int64_t) { return largest; }))
            return msg::singular_matrix;
        std::copy(rhs + side * n, rhs + side * n + m, g[side]);
    }
    MUTILS_TRY(Poll(intrp).add(4.0 * double(n) * double(m) * double(m)));
    // Residuals with the centred coefficients (the better conditioned form).
    double sum = 0;
    for (int64_t i = 0; i < n; ++i) {
        terms_of((d[4 * i] - mr) / scale, (d[4 * i + 1] - mc) / scale, m, t);
        double y = 0, x = 0;
        for (int32_t k = 0; k < m; ++k) y += g[0][k] * t[k], x += g[1][k] * t[k];
        sum += (y - d[4 * i + 2]) * (y - d[4 * i + 2]) + (x - d[4 * i + 3]) * (x - d[4 * i + 3]);
    }
    *rms = std::sqrt(sum / double(n));
    // Back to raw coordinates: ((r - mr)/s)^p ((c - mc)/s)^q expanded binomially.
    static constexpr double kBinomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};
    std::fill(coef, coef + 2 * m, 0.0);
    int32_t k = 0;
    for (int32_t j = 0; j <= degree; ++j)
        for (int32_t i = 0; i <= j; ++i, ++k) {
            const int32_t pr = j - i, pc = i;
            const double unit = std::pow(scale, -j);
            for (int32_t a = 0; a <= pr; ++a)
                for (int32_t b = 0; b <= pc; ++b) {
                    const double f =
                        unit * kBinomial[pr][a] * std::pow(-mr, pr - a) * kBinomial[pc][b] * std::pow(-mc, pc - b);
                    const int32_t to = (a + b) * (a + b + 1) / 2 + b;
                    coef[to] += g[0][k] * f;
                    coef[m + to] += g[1][k] * f;
                }
        }
    return nullptr;
}

const char* fit_into(const _double_mat* tp, int32_t degree, void* intrp, _double_mat* coef, double* rms) {
    validate(tp);
    validate(coef);
    require_pointer(rms);
    if (degree < 1 || degree > 3) return msg::illegal_data_value;
    if (tp->ncol == 4 && tp->nrow >= term_count(degree)) MUTILS_TRY(require_size(coef, 2, term_count(degree)));
    return fit(tp, degree, intrp, coef->data, rms);
}

/// The fitted polynomial as a 2 x m coefficient record in `storage` (20 values).
const char* fit_record(const _double_mat* tp, int32_t degree, void* intrp, double* storage, _double_mat& coef) {
    double rms;
    MUTILS_TRY(fit(tp, degree, intrp, storage, &rms));
    coef = _double_mat{2, term_count(degree), 2 * term_count(degree), storage};
    return nullptr;
}

template <class T> const char* warp_tiepoint(const mat_t<T>* image, const _double_mat* tp, int32_t degree,
                                             int32_t interp, double fill, void* intrp, mat_t<T>* result) {
    MUTILS_TRY(check_point<T>(image, interp, fill, result));
    double storage[20];
    _double_mat coef;
    MUTILS_TRY(fit_record(tp, degree, intrp, storage, coef));
    return warp_parameter<T>(image, &coef, interp, fill, intrp, result);
}

// ---- scaling ----------------------------------------------------------------------------------

/// The taps of one axis of a scaling: result index o reads source indices idx[k] with weights
/// w[k] for k in [start[o], start[o + 1]), edge indices repeated beyond the ends.
struct Axis {
    int32_t* start;
    int32_t* idx;
    double* w;
    int32_t widest = 0;  // the most taps of one result index

    Axis(int64_t n_in, int64_t n_out, int32_t interp) {
        const int64_t span = interp == IMG_INTERP_AREA ? n_in / n_out + 2 : interp == IMG_INTERP_BICUBIC ? 4 : 2;
        start = work_array<int32_t>(n_out + 1);
        idx = work_array<int32_t>(n_out * span);
        w = work_array<double>(n_out * span);
        const double s = double(n_in) / double(n_out);
        int32_t k = 0;
        auto tap = [&](int64_t i, double weight) {
            idx[k] = int32_t(std::clamp<int64_t>(i, 0, n_in - 1));
            w[k++] = weight;
        };
        for (int64_t o = 0; o < n_out; ++o) {
            start[o] = k;
            const double y = (double(o) + 0.5) * s - 0.5, f = std::floor(y);
            switch (interp) {
                case IMG_INTERP_NEAREST: tap((2 * o + 1) * n_in / (2 * n_out), 1.0); break;
                case IMG_INTERP_BILINEAR:
                    tap(int64_t(f), 1 - (y - f));
                    tap(int64_t(f) + 1, y - f);
                    break;
                case IMG_INTERP_BICUBIC: {
                    double c[4];
                    keys_weights(y - f, c);
                    for (int j = 0; j < 4; ++j) tap(int64_t(f) - 1 + j, c[j]);
                    break;
                }
                default: {
                    // Footprint [o n_in, (o + 1) n_in) against pixel i's [i n_out, (i + 1) n_out),
                    // in units of 1 / n_out pixel: integer overlaps.
                    const int64_t lo = o * n_in, hi = lo + n_in;
                    for (int64_t i = lo / n_out; i * n_out < hi; ++i)
                        tap(i, double(std::min(hi, (i + 1) * n_out) - std::max(lo, i * n_out)));
                }
            }
            widest = std::max(widest, k - start[o]);
        }
        start[n_out] = k;
    }
};

/// Separable scaling: each source row is interpolated along the columns once (kept in a ring of
/// rows), then result rows combine those along the rows, the per-pixel order of the interpolations.
template <class T> const char* scale_separable(const mat_t<T>* image, int32_t interp, void* intrp, mat_t<T>* result) {
    const int64_t nrow = image->nrow, ncol = image->ncol, NR = result->nrow, NC = result->ncol;
    const Axis rows(nrow, NR, interp), cols(ncol, NC, interp);
    const int32_t ring = rows.widest;
    double* h = work_array<double>(int64_t(ring) * NC);
    int64_t* held = work_array<int64_t>(ring);
    std::fill(held, held + ring, int64_t(-1));
    double* v = work_array<double>(NC);
    // Area sums integer overlaps; one division by the footprint's area in those units.
    const double norm = interp == IMG_INTERP_AREA ? double(nrow) * double(ncol) : 1.0;
    Poll poll(intrp);
    for (int64_t R = 0; R < NR; ++R) {
        for (int32_t k = rows.start[R]; k < rows.start[R + 1]; ++k) {
            const int64_t sr = rows.idx[k];
            double* hr = h + (sr % ring) * NC;
            if (held[sr % ring] == sr) continue;
            held[sr % ring] = sr;
            const T* src = image->data + sr * ncol;
            for (int64_t C = 0; C < NC; ++C) {
                double acc = 0;
                for (int32_t j = cols.start[C]; j < cols.start[C + 1]; ++j) acc += cols.w[j] * double(src[cols.idx[j]]);
                hr[C] = acc;
            }
            MUTILS_TRY(poll.add(double(NC) * double(cols.widest + 1)));
        }
        std::fill(v, v + NC, 0.0);
        for (int32_t k = rows.start[R]; k < rows.start[R + 1]; ++k) {
            const double wk = rows.w[k];
            const double* hr = h + (rows.idx[k] % ring) * NC;
            for (int64_t C = 0; C < NC; ++C) v[C] += wk * hr[C];
        }
        T* out = result->data + R * NC;
        if (norm != 1.0)
            for (int64_t C = 0; C < NC; ++C) v[C] /= norm;
        store_run(v, out, NC);
        MUTILS_TRY(poll.add(double(NC) * double(rows.widest + 2)));
    }
    return nullptr;
}

/// 2 x 2 block means of two rows of unsigned pixels, halves rounded up: the common halving.
template <class T> MUTILS_CLONES void halve_row(const T* a, const T* b, int64_t n, T* out) {
    for (int64_t C = 0; C < n; ++C)
        out[C] =
            T((uint32_t(a[2 * C]) + uint32_t(a[2 * C + 1]) + uint32_t(b[2 * C]) + uint32_t(b[2 * C + 1]) + 2u) >> 2);
}

/// Area reduction of an integer image by integer factors: exact block sums, one rounding.
template <class T>
const char* scale_blocks(const mat_t<T>* image, int64_t kr, int64_t kc, void* intrp, mat_t<T>* result) {
    using Sum = std::conditional_t<sizeof(T) <= 2, uint32_t, int64_t>;
    const int64_t ncol = image->ncol, NR = result->nrow, NC = result->ncol, n = kr * kc;
    Sum* col = work_array<Sum>(ncol);
    const bool shift = std::is_unsigned_v<T> && (n & (n - 1)) == 0;
    const int bits = std::countr_zero(uint64_t(n));
    Poll poll(intrp);
    for (int64_t R = 0; R < NR; ++R) {
        const T* src = image->data + R * kr * ncol;
        T* out = result->data + R * NC;
        if (shift && kr == 2 && kc == 2) {
            halve_row(src, src + ncol, NC, out);
        } else {
            for (int64_t c = 0; c < ncol; ++c) col[c] = Sum(src[c]);
            for (int64_t k = 1; k < kr; ++k)
                for (int64_t c = 0; c < ncol; ++c) col[c] += Sum(src[k * ncol + c]);
            for (int64_t C = 0; C < NC; ++C) {
                Sum s = 0;
                for (int64_t j = 0; j < kc; ++j) s += col[C * kc + j];
                // floor(s / n + 1/2), exactly: by a shift for a power of two, else in double (exact
                // here: s is an integer below 2^53 and s / n is never within rounding of a half).
                out[C] = shift ? T((s + Sum(n / 2)) >> bits) : store<T>(double(s) / double(n));
            }
        }
        MUTILS_TRY(poll.add(double(kr) * double(ncol) + double(NC) * double(kc)));
    }
    return nullptr;
}

template <class T> const char* scale(const mat_t<T>* image, int32_t interp, void* intrp, mat_t<T>* result) {
    validate(image);
    validate(result);
    if (interp < IMG_INTERP_NEAREST || interp > IMG_INTERP_AREA) return msg::illegal_data_value;
    MUTILS_TRY(require_distinct(result, image));
    Hux::ArenaScope scope;
    const int64_t kr = image->nrow / result->nrow, kc = image->ncol / result->ncol;
    // Block sums fit the accumulator: u8 and u16 in 32 bits up to 65537 pixels a block.
    if constexpr (std::is_integral_v<T>)
        if (interp == IMG_INTERP_AREA && kr * result->nrow == image->nrow && kc * result->ncol == image->ncol &&
            (sizeof(T) > 2 || kr * kc <= 65537))
            return scale_blocks<T>(image, kr, kc, intrp, result);
    return scale_separable<T>(image, interp, intrp, result);
}

// ---- universal and set frames ---------------------------------------------------------------

/// The frame of the universal members: the image is brought to the result's element type
/// (integer images into any result, floating ones into floating results), then the typed
/// template runs for that type.
template <class F> const char* univ_geometry(const _univ_mat* image, void* intrp, _univ_mat* result, F f) {
    if (!image || !result) return msg::null_pointer;
    validate_univ(image);
    validate_univ(result);
    MUTILS_TRY(require_distinct(result, image));
    if (image->type == MUTIL_DCOMPLEX || result->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    _univ_mat common;
    MUTILS_TRY(to_common(image, result->type, intrp, &common));
    return univ_call(real_types{}, f, static_cast<const _univ_mat*>(&common), result);
}

/// Planes of a set: validated (raising), of one size ("array size mismatch") and one type
/// ("Illegal data type").
const char* check_planes(const _mat_set* s) {
    validate_set(s);
    for (int32_t i = 0; i < s->nmat; ++i) validate_univ(&s->mats[i]);
    for (int32_t i = 1; i < s->nmat; ++i) {
        MUTILS_TRY(require_same_size(&s->mats[0], &s->mats[i]));
        if (s->mats[i].type != s->mats[0].type) return msg::illegal_data_type;
    }
    return nullptr;
}

/// Runs f(image plane, result plane) over the planes of two sets of one plane count.
template <class F> const char* each_plane(const _mat_set* in, _mat_set* out, F f) {
    if (!in || !out) return msg::null_pointer;
    MUTILS_TRY(check_planes(in));
    MUTILS_TRY(check_planes(out));
    if (in->nmat != out->nmat) return msg::array_size_mismatch;
    for (int32_t i = 0; i < in->nmat; ++i) MUTILS_TRY(f(&in->mats[i], &out->mats[i]));
    return nullptr;
}

const char* univ_rotate(const _univ_mat* a, double deg, int32_t interp, double fill, void* i, _univ_mat* r) {
    return univ_geometry(a, i, r,
                         [&](auto t, auto* ta, auto* tr) { return rotate<MUTILS_T(t)>(ta, deg, interp, fill, i, tr); });
}
const char* univ_scale(const _univ_mat* a, int32_t interp, void* i, _univ_mat* r) {
    return univ_geometry(a, i, r, [&](auto t, auto* ta, auto* tr) { return scale<MUTILS_T(t)>(ta, interp, i, tr); });
}
const char* univ_warp_parameter(const _univ_mat* a, const _double_mat* coef, int32_t interp, double fill, void* i,
                                _univ_mat* r) {
    if (!coef) return msg::null_pointer;
    return univ_geometry(a, i, r, [&](auto t, auto* ta, auto* tr) {
        return warp_parameter<MUTILS_T(t)>(ta, coef, interp, fill, i, tr);
    });
}
const char* univ_warp_tiepoint(const _univ_mat* a, const _double_mat* tp, int32_t degree, int32_t interp, double fill,
                               void* i, _univ_mat* r) {
    if (!tp) return msg::null_pointer;
    return univ_geometry(a, i, r, [&](auto t, auto* ta, auto* tr) {
        return warp_tiepoint<MUTILS_T(t)>(ta, tp, degree, interp, fill, i, tr);
    });
}

}  // namespace
}  // namespace detail

using namespace detail;
using I = _img_interp_type;

#define MUTILS_GEOMETRY(CODE, T, REC)                                                                                 \
    const char* img##CODE##_rotate(const REC* a, double deg, I interp, double fill, void* i, REC* r) {                \
        return rotate<T>(a, deg, interp, fill, i, r);                                                                 \
    }                                                                                                                 \
    const char* img##CODE##_scale(const REC* a, I interp, void* i, REC* r) { return scale<T>(a, interp, i, r); }      \
    const char* img##CODE##_warp_parameter(const REC* a, const _double_mat* coef, I interp, double fill, void* i,     \
                                           REC* r) {                                                                  \
        return warp_parameter<T>(a, coef, interp, fill, i, r);                                                        \
    }                                                                                                                 \
    const char* img##CODE##_warp_tiepoint(const REC* a, const _double_mat* tp, int32_t degree, I interp, double fill, \
                                          void* i, REC* r) {                                                          \
        return warp_tiepoint<T>(a, tp, degree, interp, fill, i, r);                                                   \
    }
MUTILS_GEOMETRY(u8, unsigned char, _uint8_mat)
MUTILS_GEOMETRY(u16, uint16_t, _uint16_mat)
MUTILS_GEOMETRY(s32, int32_t, _sint32_mat)
MUTILS_GEOMETRY(dbl, double, _double_mat)
#undef MUTILS_GEOMETRY

const char* imguniv_rotate(const _univ_mat* a, double deg, I interp, double fill, void* i, _univ_mat* r) {
    return univ_rotate(a, deg, interp, fill, i, r);
}
const char* imguniv_scale(const _univ_mat* a, I interp, void* i, _univ_mat* r) { return univ_scale(a, interp, i, r); }
const char* imguniv_warp_parameter(const _univ_mat* a, const _double_mat* coef, I interp, double fill, void* i,
                                   _univ_mat* r) {
    return univ_warp_parameter(a, coef, interp, fill, i, r);
}
const char* imguniv_warp_tiepoint(const _univ_mat* a, const _double_mat* tp, int32_t degree, I interp, double fill,
                                  void* i, _univ_mat* r) {
    return univ_warp_tiepoint(a, tp, degree, interp, fill, i, r);
}
const char* imgdbl_warp_tiepoint_fit(const _double_mat* tp, int32_t degree, void* i, _double_mat* coef, double* rms) {
    return fit_into(tp, degree, i, coef, rms);
}

const char* imgset_rotate(const _mat_set* a, double deg, I interp, double fill, void* i, _mat_set* r) {
    return each_plane(a, r, [&](const _univ_mat* p, _univ_mat* q) { return univ_rotate(p, deg, interp, fill, i, q); });
}
const char* imgset_scale(const _mat_set* a, I interp, void* i, _mat_set* r) {
    return each_plane(a, r, [&](const _univ_mat* p, _univ_mat* q) { return univ_scale(p, interp, i, q); });
}
const char* imgset_warp_parameter(const _mat_set* a, const _double_mat* coef, I interp, double fill, void* i,
                                  _mat_set* r) {
    return each_plane(
        a, r, [&](const _univ_mat* p, _univ_mat* q) { return univ_warp_parameter(p, coef, interp, fill, i, q); });
}
const char* imgset_warp_tiepoint(const _mat_set* a, const _double_mat* tp, int32_t degree, I interp, double fill,
                                 void* i, _mat_set* r) {
    if (!a || !r || !tp) return msg::null_pointer;
    double storage[20];
    _double_mat coef;
    MUTILS_TRY(fit_record(tp, degree, i, storage, coef));
    return imgset_warp_parameter(a, &coef, interp, fill, i, r);
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_rotate,
             (const mutils::_univ_mat* a, double deg, mutils::_img_interp_type interp, double fill, void* i,
              mutils::_univ_mat* r),
             (a, deg, interp, fill, i, r))
MUTILS_PLAIN(imguniv_scale,
             (const mutils::_univ_mat* a, mutils::_img_interp_type interp, void* i, mutils::_univ_mat* r),
             (a, interp, i, r))
MUTILS_PLAIN(imguniv_warp_tiepoint,
             (const mutils::_univ_mat* a, const mutils::_double_mat* tp, int32_t degree,
              mutils::_img_interp_type interp, double fill, void* i, mutils::_univ_mat* r),
             (a, tp, degree, interp, fill, i, r))
