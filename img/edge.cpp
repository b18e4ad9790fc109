#include "edge.h"

#include <algorithm>
#include <cmath>

#include "../core/detail.h"
#include "detail_bits.h"
#include "detail_label.h"
#include "detail_pixels.h"
#include "filter.h"

namespace mutils {
namespace detail {
namespace {

/// Length of the derivative-of-Gaussian kernels (as double: a huge sigma must not overflow).
inline double gaussian_length(double sigma) { return std::max(4.0 * std::ceil(sigma), 2.0); }

inline bool too_small(const _univ_mat* image, double n) { return double(std::min(image->nrow, image->ncol)) < n; }

/// A universal double matrix of rows x cols over an arena block.
inline _univ_mat double_temp(int32_t rows, int32_t cols) {
    return _univ_mat{rows, cols, rows * cols, work_array<double>(int64_t(rows) * cols), MUTIL_DOUBLE};
}

inline bool shares(const _univ_mat* a, const _univ_mat* b) { return a->data == b->data; }

const char* derivative_of_gaussian(const _univ_mat* image, double sigma, void* intrp, _univ_mat* vert,
                                   _univ_mat* horiz) {
    if (!image || !vert || !horiz) return msg::null_pointer;
    validate_univ(image);
    validate_univ(vert);
    validate_univ(horiz);
    if (vert->type != MUTIL_DOUBLE || horiz->type != MUTIL_DOUBLE) return msg::illegal_data_type;
    if (shares(image, vert) || shares(image, horiz) || shares(vert, horiz)) return msg::illegal_memory_address;
    if (!(sigma > 0)) return msg::illegal_data_value;
    const double length = gaussian_length(sigma);
    if (too_small(image, length)) return msg::illegal_data_value;
    MUTILS_TRY(require_same_size(image, vert));
    MUTILS_TRY(require_same_size(image, horiz));
    if (image->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;

    Hux::ArenaScope scope;  // kernels and temporaries end with the call
    const int32_t n = int32_t(length);
    double* d = work_array<double>(n);
    double* g = work_array<double>(n);
    const double centre = (n - 1) / 2.0, s2 = sigma * sigma, pi = std::acos(-1.0);
    for (int32_t k = 0; k < n; ++k) {
        const double x = k - centre;
        g[k] = std::exp(-x * x / (2.0 * s2));
        d[k] = -x * g[k] / (2.0 * pi * s2 * s2);
    }
    _univ_mat d_col{n, 1, n, d, MUTIL_DOUBLE}, d_row{1, n, n, d, MUTIL_DOUBLE};
    _univ_mat g_col{n, 1, n, g, MUTIL_DOUBLE}, g_row{1, n, n, g, MUTIL_DOUBLE};
    _univ_mat src;  // the image as doubles once, for both components
    MUTILS_TRY(to_common(image, MUTIL_DOUBLE, intrp, &src));
    _univ_mat tmp = double_temp(image->nrow, image->ncol);
    MUTILS_TRY(imguniv_convolve(&src, &d_col, MUTIL_BOUNDARY_CONTINUE, intrp, &tmp));
    MUTILS_TRY(imguniv_convolve(&tmp, &g_row, MUTIL_BOUNDARY_CONTINUE, intrp, vert));
    MUTILS_TRY(imguniv_convolve(&src, &d_row, MUTIL_BOUNDARY_CONTINUE, intrp, &tmp));
    return imguniv_convolve(&tmp, &g_col, MUTIL_BOUNDARY_CONTINUE, intrp, horiz);
}

// ---- non-maxima suppression -----------------------------------------------------------------

MUTILS_CLONES void magnitude(const double* v, const double* h, double* m, int64_t n) {
    for (int64_t i = 0; i < n; ++i) m[i] = std::sqrt(v[i] * v[i] + h[i] * h[i]);
}

const char* nonmaxima(const _double_mat* vert, const _double_mat* horiz, void* intrp, _double_mat* result) {
    validate(vert);
    validate(horiz);
    validate(result);
    MUTILS_TRY(require_same_size(vert, horiz));
    MUTILS_TRY(require_same_size(vert, result));
    MUTILS_TRY(require_distinct(result, vert));
    MUTILS_TRY(require_distinct(result, horiz));
    const int64_t nrow = vert->nrow, ncol = vert->ncol;
    double* out = result->data;
    std::fill(out, out + ncol, 0.0);
    std::fill(out + (nrow - 1) * ncol, out + nrow * ncol, 0.0);
    if (nrow < 3) return nullptr;
    // Magnitudes of the rows above, at and below the current one, computed once each.
    Hux::ArenaScope scope;
    double* ring[3] = {work_array<double>(ncol), work_array<double>(ncol), work_array<double>(ncol)};
    magnitude(vert->data, horiz->data, ring[0], ncol);
    magnitude(vert->data + ncol, horiz->data + ncol, ring[1], ncol);
    Poll poll(intrp);
    for (int64_t r = 1; r < nrow - 1; ++r) {
        const double* up = ring[(r - 1) % 3];
        const double* mid = ring[r % 3];
        double* down = ring[(r + 1) % 3];
        magnitude(vert->data + (r + 1) * ncol, horiz->data + (r + 1) * ncol, down, ncol);
        const double* v_row = vert->data + r * ncol;
        const double* h_row = horiz->data + r * ncol;
        double* o = out + r * ncol;
        o[0] = 0.0;
        o[ncol - 1] = 0.0;
        for (int64_t c = 1; c < ncol - 1; ++c) {
            const double v = v_row[c], h = h_row[c];
            const double av = std::fabs(v), ah = std::fabs(h);
            if (av < 1e-8 && ah < 1e-8) {
                o[c] = 0.0;
                continue;
            }
            double a, b;
            if (ah <= av) {  // mostly vertical gradient: compare along the rows above and below
                const double d = h / v, ad = std::fabs(d);
                const int64_t s = d > 0 ? 1 : d < 0 ? -1 : 0;
                a = down[c] * (1 - ad) + down[c + s] * ad;
                b = up[c] * (1 - ad) + up[c - s] * ad;
            } else {
                const double d = v / h, ad = std::fabs(d);
                const int64_t s = d > 0 ? 1 : d < 0 ? -1 : 0;
                const double* side = s > 0 ? down : s < 0 ? up : mid;   // row r + s
                const double* other = s > 0 ? up : s < 0 ? down : mid;  // row r - s
                a = mid[c + 1] * (1 - ad) + side[c + 1] * ad;
                b = mid[c - 1] * (1 - ad) + other[c - 1] * ad;
            }
            o[c] = (mid[c] >= a && mid[c] >= b) ? mid[c] : 0.0;
        }
        MUTILS_TRY(poll.add(20.0 * double(ncol)));
    }
    return nullptr;
}

// ---- hysteresis -----------------------------------------------------------------------------

/// The lower end of the background band of hysteresis: candidates lie outside [kBandFloor, low].
constexpr double kBandFloor = -1e37;

/// Bit rows of the candidates (Candidate: outside [kBandFloor, t], NaN excluded) or of the
/// pixels at least t, read as double.
template <class T, bool Candidate> void threshold_bits(const T* img, double t, BitImage& b, unsigned char* flags) {
    for (int64_t r = 0; r < b.nrow; ++r) {
        const T* p = img + r * b.ncol;
        for (int32_t c = 0; c < b.ncol; ++c) {
            const double x = double(p[c]);
            flags[c] = Candidate ? x > t || x < kBandFloor : x >= t;  // NaN is neither
        }
        BitImage row{1, b.ncol, b.words, b.row(r)};
        pack_equal<unsigned char>(flags, 1, row);
    }
}

/// Whether any bit of [s, e) is set in a bit row.
inline bool any_bit(const bitword* row, int32_t s, int32_t e) {
    for (int32_t k = s >> 6; k <= (e - 1) >> 6; ++k) {
        bitword m = row[k];
        if (k == s >> 6) m &= ~bitword(0) << (s & 63);
        if (k == (e - 1) >> 6 && (e & 63)) m &= (bitword(1) << (e & 63)) - 1;
        if (m) return true;
    }
    return false;
}

template <class T> void write_binary(const RunSet& rs, const unsigned char* keep, const int64_t* row_first,
                                     int64_t nrow, int64_t ncol, T fg, T bg, T* out) {
    for (int64_t r = 0; r < nrow; ++r) {
        T* o = out + r * ncol;
        std::fill(o, o + ncol, bg);
        for (int64_t i = row_first[r]; i < row_first[r + 1]; ++i)
            if (keep[i]) std::fill(o + rs.start[i], o + rs.end[i], fg);
    }
}

const char* hysteresis(const _univ_mat* image, double low, double high, const _univ_scalar& fg, const _univ_scalar& bg,
                       void* intrp, _univ_mat* result) {
    if (!result || result->type != fg.type || result->type != bg.type) return msg::illegal_data_type;
    if (!image) return msg::null_pointer;
    validate_univ(image);
    validate_univ(result);
    if (image->type == MUTIL_DCOMPLEX || result->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    bool same = true;
    MUTILS_TRY(dispatch(result->type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        same = scalar_get<T>(fg) == scalar_get<T>(bg);
        return nullptr;
    }));
    if (same) return msg::illegal_data_value;
    MUTILS_TRY(require_same_size(image, result));
    if (high < low) return msg::illegal_data_value;
    MUTILS_TRY(require_distinct(result, image));
    if (low < kBandFloor) return msg::illegal_data_value;  // an empty background band

    const int32_t nrow = image->nrow, ncol = image->ncol;
    Hux::ArenaScope scope;
    BitImage cand = bit_image(nrow, ncol), strong = bit_image(nrow, ncol);
    unsigned char* flags = work_array<unsigned char>(ncol);
    dispatch(image->type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        // A NaN low leaves the band empty of numbers: every non-NaN pixel is a candidate.
        threshold_bits<T, true>(static_cast<const T*>(image->data), std::isnan(low) ? -HUGE_VAL : low, cand, flags);
        threshold_bits<T, false>(static_cast<const T*>(image->data), high, strong, flags);
        return nullptr;
    });
    // Candidate regions in eight neighbours; a region is kept when one of its pixels is strong.
    RunSet rs;
    int64_t* row_first = work_array<int64_t>(int64_t(nrow) + 1);
    label_bit_image(cand, true, rs, row_first);
    unsigned char* keep = work_array_zero<unsigned char>(std::max<int64_t>(rs.n, 1));
    for (int64_t r = 0; r < nrow; ++r)
        for (int64_t i = row_first[r]; i < row_first[r + 1]; ++i)
            if (any_bit(strong.row(r), rs.start[i], rs.end[i])) keep[rs.find(uint32_t(i))] = 1;
    for (int64_t i = 0; i < rs.n; ++i) keep[i] = keep[rs.find(uint32_t(i))];  // roots precede their runs
    MUTILS_TRY(Poll(intrp).add(4.0 * double(image->nelem)));
    return dispatch(result->type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        write_binary<T>(rs, keep, row_first, nrow, ncol, scalar_get<T>(fg), scalar_get<T>(bg),
                        static_cast<T*>(result->data));
        return nullptr;
    });
}

// ---- Canny and Sobel ------------------------------------------------------------------------

const char* canny(const _univ_mat* image, double sigma, double low, double high, const _univ_scalar& fg,
                  const _univ_scalar& bg, void* intrp, _univ_mat* result) {
    if (!image || !result) return msg::null_pointer;
    validate_univ(image);
    validate_univ(result);
    if (!(sigma > 0) || !(low <= high) || too_small(image, gaussian_length(sigma))) return msg::illegal_data_value;
    Hux::ArenaScope scope;
    _univ_mat v = double_temp(image->nrow, image->ncol), h = double_temp(image->nrow, image->ncol);
    _univ_mat m = double_temp(image->nrow, image->ncol);
    MUTILS_TRY(derivative_of_gaussian(image, sigma, intrp, &v, &h));
    MUTILS_TRY(nonmaxima(as<double>(&v), as<double>(&h), intrp, as<double>(&m)));
    return hysteresis(&m, low, high, fg, bg, intrp, result);
}

/// A 3 x 3 kernel of element type `type` (values wrapped into unsigned types).
_univ_mat sobel_kernel(_mutil_data_type type, const int (&k)[9]) {
    _univ_mat u;
    matuniv_malloc(&u, 3, 3, type == MUTIL_DCOMPLEX ? MUTIL_DOUBLE : type);
    dispatch(u.type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        for (int i = 0; i < 9; ++i) static_cast<T*>(u.data)[i] = T(wrap_t<T>(k[i]));
        return nullptr;
    });
    return u;
}

const char* sobel(const _univ_mat* image, void* intrp, _univ_mat* vert, _univ_mat* horiz) {
    if (!image || !vert || !horiz) return msg::null_pointer;
    validate_univ(vert);
    validate_univ(horiz);
    if (shares(vert, horiz)) return msg::illegal_memory_address;
    static constexpr int kv[9] = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
    static constexpr int kh[9] = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    Hux::ArenaScope scope;
    _univ_mat fh = sobel_kernel(horiz->type, kh), fv = sobel_kernel(vert->type, kv);
    MUTILS_TRY(imguniv_correlate(image, &fh, MUTIL_BOUNDARY_ZERO, intrp, horiz));
    return imguniv_correlate(image, &fv, MUTIL_BOUNDARY_ZERO, intrp, vert);
}

MUTILS_CLONES void squared_sum(const double* v, const double* h, double* s, int64_t n) {
    for (int64_t i = 0; i < n; ++i) s[i] = v[i] * v[i] + h[i] * h[i];
}

const char* sobel_edges(const _univ_mat* image, double low, double high, const _univ_scalar& fg, const _univ_scalar& bg,
                        void* intrp, _univ_mat* result) {
    if (!image || !result) return msg::null_pointer;
    if (low <= 0 || high < low) return msg::illegal_data_value;  // a NaN low passes, as in hysteresis
    validate_univ(image);
    Hux::ArenaScope scope;
    _univ_mat v = double_temp(image->nrow, image->ncol), h = double_temp(image->nrow, image->ncol);
    _univ_mat s = double_temp(image->nrow, image->ncol);
    MUTILS_TRY(sobel(image, intrp, &v, &h));
    squared_sum(static_cast<double*>(v.data), static_cast<double*>(h.data), static_cast<double*>(s.data), s.nelem);
    const double lo = low * low, hi = high * high;
    if (hi != lo) return hysteresis(&s, lo, hi, fg, bg, intrp, result);
    // Equal thresholds: a plain threshold over [lo, 1e37], where a value equal to lo is an edge.
    if (result->type != fg.type || result->type != bg.type) return msg::illegal_data_type;
    validate_univ(result);
    if (lo > 1e37) return msg::illegal_data_value;  // an empty band
    MUTILS_TRY(require_same_size(&s, result));
    MUTILS_TRY(Poll(intrp).add(3.0 * double(s.nelem)));
    return dispatch(result->type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        const T f = scalar_get<T>(fg), b = scalar_get<T>(bg);
        const double* x = static_cast<const double*>(s.data);
        T* out = static_cast<T*>(result->data);
        for (int64_t i = 0; i < s.nelem; ++i) out[i] = (x[i] >= lo && x[i] <= 1e37) || std::isnan(x[i]) ? f : b;
        return nullptr;
    });
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* imguniv_filter_derivative_of_gaussian(const _univ_mat* a, double sigma, void* i, _univ_mat* v,
                                                  _univ_mat* h) {
    return derivative_of_gaussian(a, sigma, i, v, h);
}
const char* imgdbl_edge_nonmaxima_suppress(const _double_mat* v, const _double_mat* h, void* i, _double_mat* r) {
    return nonmaxima(v, h, i, r);
}
const char* imguniv_edge_nonmaxima_suppress(const _univ_mat* v, const _univ_mat* h, void* i, _univ_mat* r) {
    return univ_call(types<double>{}, with(v, h, r),
                     [&](auto, auto* tv, auto* th, auto* tr) { return nonmaxima(tv, th, i, tr); });
}
const char* imguniv_threshold_hysteresis(const _univ_mat* a, double low, double high, _univ_scalar fg, _univ_scalar bg,
                                         void* i, _univ_mat* r) {
    return hysteresis(a, low, high, fg, bg, i, r);
}
const char* imguniv_edge_canny(const _univ_mat* a, double sigma, double low, double high, _univ_scalar fg,
                               _univ_scalar bg, void* i, _univ_mat* r) {
    return canny(a, sigma, low, high, fg, bg, i, r);
}
const char* imguniv_gradient_sobel(const _univ_mat* a, void* i, _univ_mat* v, _univ_mat* h) {
    return sobel(a, i, v, h);
}
const char* imguniv_edge_sobel(const _univ_mat* a, double low, double high, _univ_scalar fg, _univ_scalar bg, void* i,
                               _univ_mat* r) {
    return sobel_edges(a, low, high, fg, bg, i, r);
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_edge_canny,
             (const mutils::_univ_mat* a, double sigma, double low, double high, mutils::_univ_scalar fg,
              mutils::_univ_scalar bg, void* i, mutils::_univ_mat* r),
             (a, sigma, low, high, fg, bg, i, r))
