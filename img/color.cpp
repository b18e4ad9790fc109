#include "color.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <cstring>

#include "../cls/detail_codeword.h"
#include "../core/detail.h"
#include "../core/detail_store.h"
#include "../core/detail_univ.h"

namespace mutils {
namespace detail {
namespace {

// ---- planes ---------------------------------------------------------------------------------

/// A set of colour planes: validated (raising), `count` planes (1 or 3 when count is 0, any
/// number when it is -1) of one size ("array size mismatch") and one real type ("Illegal data type").
const char* check_planes(const _mat_set* s, int32_t count) {
    validate_set(s);
    for (int32_t i = 0; i < s->nmat; ++i) validate_univ(&s->mats[i]);
    if (count > 0 ? s->nmat != count : count == 0 && s->nmat != 1 && s->nmat != 3) return msg::array_size_mismatch;
    for (int32_t i = 1; i < s->nmat; ++i) MUTILS_TRY(require_same_size(&s->mats[0], &s->mats[i]));
    for (int32_t i = 0; i < s->nmat; ++i)
        if (s->mats[i].type != s->mats[0].type || s->mats[i].type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    return nullptr;
}

/// Elements [off, off + n) of a real matrix as doubles.
void read_run(const _univ_mat& m, int64_t off, int64_t n, double* out) {
    dispatch(m.type, real_types{}, [&](auto t) -> const char* {
        const auto* p = static_cast<const MUTILS_T(t)*>(m.data) + off;
        for (int64_t i = 0; i < n; ++i) out[i] = double(p[i]);
        return nullptr;
    });
}

/// Doubles stored into elements [off, off + n) of a real matrix by the storing rule.
void write_run(const double* v, int64_t off, int64_t n, _univ_mat& m) {
    dispatch(m.type, real_types{}, [&](auto t) -> const char* {
        store_run(v, static_cast<MUTILS_T(t)*>(m.data) + off, n);
        return nullptr;
    });
}

/// Rows are converted in runs of this many pixels (three runs of doubles stay in cache).
constexpr int64_t kRun = 1024;

// ---- grey -----------------------------------------------------------------------------------

/// BT.601 luma of 8-bit planes into 8 bits, exactly: floor((299R + 587G + 114B + 500) / 1000).
MUTILS_CLONES void luma_u8(const unsigned char* r, const unsigned char* g, const unsigned char* b, int64_t n,
                           unsigned char* y) {
    for (int64_t i = 0; i < n; ++i) y[i] = (unsigned char)((299u * r[i] + 587u * g[i] + 114u * b[i] + 500u) / 1000u);
}

/// Luma of integer planes as an exact thousandth count 299R + 587G + 114B.
template <class P> void luma_thousandths(const _mat_set* s, int64_t off, int64_t n, double* out) {
    const P* r = static_cast<const P*>(s->mats[0].data) + off;
    const P* g = static_cast<const P*>(s->mats[1].data) + off;
    const P* b = static_cast<const P*>(s->mats[2].data) + off;
    for (int64_t i = 0; i < n; ++i) out[i] = double(299 * int64_t(r[i]) + 587 * int64_t(g[i]) + 114 * int64_t(b[i]));
}

const char* to_grayscale(const _mat_set* rgb, void* intrp, _univ_mat* gray) {
    if (!rgb || !gray) return msg::null_pointer;
    MUTILS_TRY(check_planes(rgb, 0));
    validate_univ(gray);
    MUTILS_TRY(require_same_size(&rgb->mats[0], gray));
    const _mutil_data_type pt = rgb->mats[0].type;
    if (gray->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    for (int32_t i = 0; i < rgb->nmat; ++i) MUTILS_TRY(require_distinct(gray, &rgb->mats[i]));
    const int64_t total = gray->nelem;
    Poll poll(intrp);
    if (rgb->nmat == 3 && pt == MUTIL_UINT8 && gray->type == MUTIL_UINT8) {
        auto plane = [&](int i) { return static_cast<const unsigned char*>(rgb->mats[i].data); };
        for (int64_t off = 0; off < total; off += 16 * kRun) {
            const int64_t n = std::min(16 * kRun, total - off);
            luma_u8(plane(0) + off, plane(1) + off, plane(2) + off, n, static_cast<unsigned char*>(gray->data) + off);
            MUTILS_TRY(poll.add(4.0 * double(n)));
        }
        return nullptr;
    }
    Hux::ArenaScope scope;
    double* v = work_array<double>(3 * kRun);
    const bool integer_planes = is_integer_tag(pt), integer_result = is_integer_tag(gray->type);
    for (int64_t off = 0; off < total; off += kRun) {
        const int64_t n = std::min(kRun, total - off);
        if (rgb->nmat == 1) {
            read_run(rgb->mats[0], off, n, v);
        } else if (integer_planes) {
            // Exact thousandths: an integer result rounds them exactly, a floating one divides once.
            dispatch(pt, integer_types{}, [&](auto t) -> const char* {
                luma_thousandths<MUTILS_T(t)>(rgb, off, n, v);
                return nullptr;
            });
            for (int64_t i = 0; i < n; ++i) v[i] = integer_result ? std::floor((v[i] + 500.0) / 1000.0) : v[i] / 1000.0;
        } else {
            for (int i = 0; i < 3; ++i) read_run(rgb->mats[i], off, n, v + i * kRun);
            for (int64_t i = 0; i < n; ++i) v[i] = 0.299 * v[i] + 0.587 * v[kRun + i] + 0.114 * v[2 * kRun + i];
        }
        write_run(v, off, n, *gray);
        MUTILS_TRY(poll.add(8.0 * double(n)));
    }
    return nullptr;
}

// ---- palettes -------------------------------------------------------------------------------

const char* from_palette(const _univ_mat* index, const _univ_mat* palette, void* intrp, _mat_set* planes) {
    if (!index || !palette || !planes) return msg::null_pointer;
    validate_univ(index);
    validate_univ(palette);
    validate_set(planes);
    for (int32_t j = 0; j < planes->nmat; ++j) validate_univ(&planes->mats[j]);
    if (!is_integer_tag(index->type) || palette->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    if (planes->nmat != palette->ncol) return msg::array_size_mismatch;
    for (int32_t j = 0; j < planes->nmat; ++j) {
        MUTILS_TRY(require_same_size(&planes->mats[j], index));
        if (planes->mats[j].type != palette->type) return msg::illegal_data_type;
        MUTILS_TRY(require_distinct(&planes->mats[j], index));
        MUTILS_TRY(require_distinct(&planes->mats[j], palette));
    }
    const int64_t n = index->nelem, K = palette->nrow, P = palette->ncol, size = int64_t(elem_size(palette->type));
    Hux::ArenaScope scope;
    int64_t* k = work_array<int64_t>(n);
    dispatch(index->type, integer_types{}, [&](auto t) -> const char* {
        const auto* p = static_cast<const MUTILS_T(t)*>(index->data);
        for (int64_t i = 0; i < n; ++i) k[i] = int64_t(p[i]);
        return nullptr;
    });
    for (int64_t i = 0; i < n; ++i)
        if (k[i] < 0 || k[i] >= K) return msg::illegal_data_value;
    const auto* colours = static_cast<const char*>(palette->data);
    for (int64_t j = 0; j < P; ++j) {
        auto* out = static_cast<char*>(planes->mats[j].data);
        for (int64_t i = 0; i < n; ++i) std::memcpy(out + i * size, colours + (k[i] * P + j) * size, std::size_t(size));
    }
    return Poll(intrp).add(double(P) * double(n));
}

const char* to_palette(const _mat_set* planes, const _univ_mat* palette, void* intrp, _univ_mat* index) {
    if (!planes || !palette || !index) return msg::null_pointer;
    validate_univ(palette);
    MUTILS_TRY(check_planes(planes, -1));
    validate_univ(index);
    if (palette->ncol != planes->nmat) return msg::array_size_mismatch;
    MUTILS_TRY(require_same_size(&planes->mats[0], index));
    if (palette->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    double top;
    switch (index->type) {
        case MUTIL_UINT8: top = 255; break;
        case MUTIL_UINT16: top = 65535; break;
        case MUTIL_UINT32: top = 4294967295.0; break;
        case MUTIL_SINT32: top = 2147483647.0; break;
        default: return msg::illegal_data_type;
    }
    if (double(palette->nrow - 1) > top) return msg::illegal_data_value;
    for (int32_t j = 0; j < planes->nmat; ++j) MUTILS_TRY(require_distinct(index, &planes->mats[j]));
    const int64_t n = index->nelem, K = palette->nrow, P = palette->ncol;
    Hux::ArenaScope scope;
    double* book = work_array<double>(K * P);
    read_run(*palette, 0, K * P, book);
    double* v = work_array<double>(P * kRun);
    double* x = work_array<double>(P);
    double* found = work_array<double>(kRun);
    Poll poll(intrp);
    for (int64_t off = 0; off < n; off += kRun) {
        const int64_t len = std::min(kRun, n - off);
        for (int64_t j = 0; j < P; ++j) read_run(planes->mats[j], off, len, v + j * kRun);
        for (int64_t i = 0; i < len; ++i) {
            for (int64_t j = 0; j < P; ++j) x[j] = v[j * kRun + i];
            found[i] = double(nearest_codeword(x, book, K, P));
        }
        write_run(found, off, len, *index);
        MUTILS_TRY(poll.add(double(len) * double(K) * double(P)));
    }
    return nullptr;
}

// ---- colour spaces --------------------------------------------------------------------------

/// CIE XYZ from linear sRGB (D65), and back (the inverse computed once from these rows).
constexpr double kXyz[3][3] = {
    {0.412453, 0.357580, 0.180423}, {0.212671, 0.715160, 0.072169}, {0.019334, 0.119193, 0.950227}};
constexpr double kWhite[3] = {0.95047, 1.0, 1.08883};

struct Inverse3 {
    double m[3][3];
    Inverse3() {
        const auto& a = kXyz;
        const double det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                           a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                           a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                // Cofactor of a[j][i] over the determinant.
                const int r0 = (j + 1) % 3, r1 = (j + 2) % 3, c0 = (i + 1) % 3, c1 = (i + 2) % 3;
                m[i][j] = (a[r0][c0] * a[r1][c1] - a[r0][c1] * a[r1][c0]) / det;
            }
    }
};

double linear_of(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double gamma_of(double l) { return l <= 0.04045 / 12.92 ? l * 12.92 : 1.055 * std::pow(l, 1 / 2.4) - 0.055; }
double lab_f(double t) { return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 16.0 / 116.0; }
double lab_f_inverse(double f) {
    static const double knee = std::cbrt(0.008856);
    return f > knee ? f * f * f : (f - 16.0 / 116.0) / 7.787;
}

/// (a, b, c) in `space` from R, G, B in [0, 1] (in place).
void from_rgb(int32_t space, double& a, double& b, double& c) {
    const double R = a, G = b, B = c;
    switch (space) {
        case IMG_COLOR_HSV: {
            // The maximum and minimum cannot order a NaN: a pixel holding one is NaN throughout.
            if (std::isnan(R + G + B)) {
                a = b = c = R + G + B;
                return;
            }
            const double v = std::max({R, G, B}), delta = v - std::min({R, G, B});
            double h = 0;
            if (delta > 0) {
                // Blue, then green take precedence where two channels share the maximum.
                if (R == v) h = (G - B) / delta;
                if (G == v) h = 2 + (B - R) / delta;
                if (B == v) h = 4 + (R - G) / delta;
                h /= 6;
                h -= std::floor(h);
            }
            a = h;
            b = v == 0 ? 0 : delta / v;
            c = v;
            return;
        }
        case IMG_COLOR_YCBCR: {
            const double y = 0.299 * R + 0.587 * G + 0.114 * B;
            a = y;
            b = 0.5 + (B - y) / 1.772;
            c = 0.5 + (R - y) / 1.402;
            return;
        }
        case IMG_COLOR_XYZ:
        case IMG_COLOR_LAB: {
            const double l[3] = {linear_of(R), linear_of(G), linear_of(B)};
            double x[3];
            for (int i = 0; i < 3; ++i) x[i] = kXyz[i][0] * l[0] + kXyz[i][1] * l[1] + kXyz[i][2] * l[2];
            if (space == IMG_COLOR_XYZ) {
                a = x[0], b = x[1], c = x[2];
                return;
            }
            const double fx = lab_f(x[0] / kWhite[0]), fy = lab_f(x[1] / kWhite[1]), fz = lab_f(x[2] / kWhite[2]);
            a = 116 * fy - 16;
            b = 500 * (fx - fy);
            c = 200 * (fy - fz);
            return;
        }
        default: return;
    }
}

/// R, G, B in [0, 1] from (a, b, c) in `space` (in place).
void to_rgb(int32_t space, double& a, double& b, double& c) {
    switch (space) {
        case IMG_COLOR_HSV: {
            const double h6 = a * 6, s = b, v = c, hi = std::floor(h6), f = h6 - hi;
            if (!std::isfinite(h6 + s + v)) {  // no sector for a NaN or infinite hue
                a = b = c = std::numeric_limits<double>::quiet_NaN();
                return;
            }
            const double p = v * (1 - s), q = v * (1 - f * s), t = v * (1 - (1 - f) * s);
            const double sector = std::fmod(hi, 6.0);  // hues of any size, without an integer overflow
            switch (int(sector < 0 ? sector + 6 : sector)) {
                case 0: a = v, b = t, c = p; return;
                case 1: a = q, b = v, c = p; return;
                case 2: a = p, b = v, c = t; return;
                case 3: a = p, b = q, c = v; return;
                case 4: a = t, b = p, c = v; return;
                default: a = v, b = p, c = q; return;
            }
        }
        case IMG_COLOR_YCBCR: {
            const double y = a, R = y + 1.402 * (c - 0.5), B = y + 1.772 * (b - 0.5);
            a = R;
            b = (y - 0.299 * R - 0.114 * B) / 0.587;
            c = B;
            return;
        }
        case IMG_COLOR_XYZ:
        case IMG_COLOR_LAB: {
            static const Inverse3 inv;
            double x[3] = {a, b, c};
            if (space == IMG_COLOR_LAB) {
                const double fy = (a + 16) / 116, fx = fy + b / 500, fz = fy - c / 200;
                x[0] = kWhite[0] * lab_f_inverse(fx);
                x[1] = kWhite[1] * lab_f_inverse(fy);
                x[2] = kWhite[2] * lab_f_inverse(fz);
            }
            double l[3];
            for (int i = 0; i < 3; ++i) l[i] = inv.m[i][0] * x[0] + inv.m[i][1] * x[1] + inv.m[i][2] * x[2];
            a = gamma_of(l[0]), b = gamma_of(l[1]), c = gamma_of(l[2]);
            return;
        }
        default: return;
    }
}

/// The full scale of RGB planes of a type (1 for floating planes); 0 for a type RGB cannot use.
double rgb_scale(int32_t type) {
    switch (type) {
        case MUTIL_UINT8: return 255;
        case MUTIL_UINT16: return 65535;
        case MUTIL_FLOAT:
        case MUTIL_DOUBLE: return 1;
        default: return 0;
    }
}
bool space_takes(int32_t space, int32_t type) {
    return space == IMG_COLOR_RGB ? rgb_scale(type) > 0 : type == MUTIL_FLOAT || type == MUTIL_DOUBLE;
}

const char* convert(const _mat_set* in, int32_t from, int32_t to, void* intrp, _mat_set* out) {
    if (!in || !out) return msg::null_pointer;
    MUTILS_TRY(check_planes(in, 3));
    MUTILS_TRY(check_planes(out, 3));
    MUTILS_TRY(require_same_size(&in->mats[0], &out->mats[0]));
    if (from < IMG_COLOR_RGB || from > IMG_COLOR_LAB || to < IMG_COLOR_RGB || to > IMG_COLOR_LAB)
        return msg::illegal_data_value;
    if (!space_takes(from, in->mats[0].type) || !space_takes(to, out->mats[0].type)) return msg::illegal_data_type;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) MUTILS_TRY(require_distinct(&out->mats[i], &in->mats[j]));
    const double in_scale = from == IMG_COLOR_RGB ? rgb_scale(in->mats[0].type) : 1;
    const double out_scale = to == IMG_COLOR_RGB ? rgb_scale(out->mats[0].type) : 1;
    const int64_t n = in->mats[0].nelem;
    Hux::ArenaScope scope;
    double* v = work_array<double>(3 * kRun);
    double *a = v, *b = v + kRun, *c = v + 2 * kRun;
    Poll poll(intrp);
    for (int64_t off = 0; off < n; off += kRun) {
        const int64_t len = std::min(kRun, n - off);
        for (int i = 0; i < 3; ++i) read_run(in->mats[i], off, len, v + i * kRun);
        for (int64_t i = 0; i < len; ++i) {
            a[i] /= in_scale, b[i] /= in_scale, c[i] /= in_scale;
            to_rgb(from, a[i], b[i], c[i]);
            from_rgb(to, a[i], b[i], c[i]);
            a[i] *= out_scale, b[i] *= out_scale, c[i] *= out_scale;
        }
        for (int i = 0; i < 3; ++i) write_run(v + i * kRun, off, len, out->mats[i]);
        MUTILS_TRY(poll.add(60.0 * double(len)));
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

const char* imgset_color_to_grayscale(const _mat_set* rgb, void* intrp_ptr, _univ_mat* gray) {
    return detail::to_grayscale(rgb, intrp_ptr, gray);
}
const char* imgset_color_from_palette(const _univ_mat* index, const _univ_mat* palette, void* intrp_ptr,
                                      _mat_set* planes) {
    return detail::from_palette(index, palette, intrp_ptr, planes);
}
const char* imgset_color_to_palette(const _mat_set* planes, const _univ_mat* palette, void* intrp_ptr,
                                    _univ_mat* index) {
    return detail::to_palette(planes, palette, intrp_ptr, index);
}
const char* imgset_color_convert(const _mat_set* in, _img_color_space from, _img_color_space to, void* intrp_ptr,
                                 _mat_set* out) {
    return detail::convert(in, from, to, intrp_ptr, out);
}

}  // namespace mutils

MUTILS_PLAIN(imgset_color_to_grayscale, (const mutils::_mat_set* rgb, void* i, mutils::_univ_mat* gray), (rgb, i, gray))
MUTILS_PLAIN(imgset_color_from_palette,
             (const mutils::_univ_mat* index, const mutils::_univ_mat* palette, void* i, mutils::_mat_set* planes),
             (index, palette, i, planes))
