#include "flow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

// Pixels this far from every edge are updated; the rest stay zero.
constexpr int32_t kBorder = 2;

struct Derivatives {
    double* ex;
    double* ey;
    double* et;
};

/// Frame k as doubles: a double frame is read in place, any other type converted.
template <class T> const double* frame_as_double(const _univ_mat& m) {
    if constexpr (std::is_same_v<T, double>) {
        return static_cast<const double*>(m.data);
    } else {
        const T* src = static_cast<const T*>(m.data);
        double* out = work_array<double>(m.nelem);
        for (int32_t i = 0; i < m.nelem; ++i) out[i] = double(src[i]);
        return out;
    }
}

/// The derivative fields at the updated pixels (zero elsewhere) from frames f[0 .. 1, 2 or 4].
Derivatives derivatives(int gradient, const double* const* f, int32_t nrow, int32_t ncol) {
    const int64_t n = int64_t(nrow) * ncol;
    Derivatives D{work_array_zero<double>(n), work_array_zero<double>(n), work_array_zero<double>(n)};
    for (int32_t i = kBorder; i < nrow - kBorder; ++i) {
        for (int32_t j = kBorder; j < ncol - kBorder; ++j) {
            const int64_t p = int64_t(i) * ncol + j;
            double ex, ey, et;
            if (gradient == VID_GRADIENT_TWO_FRAME) {
                // The cube of frames 0, 1 at rows i, i+1 and columns j, j+1.
                const int64_t q = p + ncol;
                const double* a = f[0];
                const double* b = f[1];
                ex = 0.25 * ((a[p + 1] - a[p]) + (a[q + 1] - a[q]) + (b[p + 1] - b[p]) + (b[q + 1] - b[q]));
                ey = 0.25 * ((a[q] - a[p]) + (a[q + 1] - a[p + 1]) + (b[q] - b[p]) + (b[q + 1] - b[p + 1]));
                et = 0.25 * ((b[p] - a[p]) + (b[p + 1] - a[p + 1]) + (b[q] - a[q]) + (b[q + 1] - a[q + 1]));
            } else if (gradient == VID_GRADIENT_THREE_FRAME) {
                const double* m = f[1];
                ex = 0.5 * (m[p + 1] - m[p - 1]);
                ey = 0.5 * (m[p + ncol] - m[p - ncol]);
                et = 0.5 * (f[2][p] - f[0][p]);
            } else {
                const double* m = f[2];
                const int64_t r = ncol;
                ex = (m[p - 2] - 8.0 * m[p - 1] + 8.0 * m[p + 1] - m[p + 2]) / 12.0;
                ey = (m[p - 2 * r] - 8.0 * m[p - r] + 8.0 * m[p + r] - m[p + 2 * r]) / 12.0;
                et = (f[0][p] - 8.0 * f[1][p] + 8.0 * f[3][p] - f[4][p]) / 12.0;
            }
            D.ex[p] = ex;
            D.ey[p] = ey;
            D.et[p] = et;
        }
    }
    return D;
}

/// One Horn–Schunck update of the pixels j0 <= j < j1 of row i: writes un, vn and returns
/// the row's share of the change.
MUTILS_CLONES
double update_row(const double* __restrict u, const double* __restrict v, const double* __restrict ex,
                  const double* __restrict ey, const double* __restrict et, double a2, int64_t ncol, int64_t j0,
                  int64_t j1, double* __restrict un, double* __restrict vn, double* __restrict diff) {
    const double* uu = u - ncol;
    const double* ud = u + ncol;
    const double* vu = v - ncol;
    const double* vd = v + ncol;
    // The neighbour weights, as products (a division per term would dominate the loop).
    constexpr double edge = 1.0 / 6.0, diagonal = 1.0 / 12.0;
    for (int64_t j = j0; j < j1; ++j) {
        const double ub =
            edge * (uu[j] + ud[j] + u[j - 1] + u[j + 1]) + diagonal * (uu[j - 1] + uu[j + 1] + ud[j - 1] + ud[j + 1]);
        const double vb =
            edge * (vu[j] + vd[j] + v[j - 1] + v[j + 1]) + diagonal * (vu[j - 1] + vu[j + 1] + vd[j - 1] + vd[j + 1]);
        const double x = ex[j], y = ey[j];
        const double t = (x * ub + y * vb + et[j]) / (a2 + x * x + y * y);
        const double nu = ub - x * t, nv = vb - y * t;
        un[j] = nu;
        vn[j] = nv;
        const double du = nu - u[j], dv = nv - v[j];
        diff[j] = du * du + dv * dv;
    }
    // Four running sums, so the reduction is not one long chain of dependent additions.
    double s[4] = {0.0, 0.0, 0.0, 0.0};
    int64_t j = j0;
    for (; j + 4 <= j1; j += 4)
        for (int k = 0; k < 4; ++k) s[k] += diff[j + k];
    for (; j < j1; ++j) s[0] += diff[j];
    return (s[0] + s[1]) + (s[2] + s[3]);
}

/// Writes a double field into a result of element type T (integers rounded and saturated).
template <class T> void store(const double* src, _univ_mat* out) {
    T* dst = static_cast<T*>(out->data);
    for (int32_t i = 0; i < out->nelem; ++i) {
        if constexpr (std::is_integral_v<T>) {
            const double lo = double(std::numeric_limits<T>::lowest()), hi = double(std::numeric_limits<T>::max());
            const double r = std::nearbyint(src[i]);
            dst[i] = r != r    ? T(0)
                     : r <= lo ? std::numeric_limits<T>::lowest()
                     : r >= hi ? std::numeric_limits<T>::max()
                               : T(r);
        } else {
            dst[i] = T(src[i]);
        }
    }
}

const char* check_arguments(const _mat_set* frames, int gradient, int32_t max_iterations, double alpha,
                            const _univ_mat* u, const _univ_mat* v) {
    validate_set(frames);
    for (int32_t k = 0; k < frames->nmat; ++k) validate(&frames->mats[k]);
    validate(u);
    validate(v);
    const int32_t nframes = frames->nmat;
    if (nframes < 2) return msg::array_size_mismatch;
    if (!(alpha > 0.0) || max_iterations < 1) return msg::illegal_data_value;
    const _univ_mat& first = frames->mats[0];
    for (int32_t k = 1; k < nframes; ++k) MUTILS_TRY(require_same_size(&frames->mats[k], &first));
    MUTILS_TRY(require_same_size(u, &first));
    MUTILS_TRY(require_same_size(v, &first));
    if ((gradient == VID_GRADIENT_THREE_FRAME && nframes < 3) || (gradient == VID_GRADIENT_FIVE_FRAME && nframes < 5))
        return msg::array_size_mismatch;
    const int32_t type = first.type;
    bool same = u->type == type && v->type == type;
    for (int32_t k = 1; k < nframes; ++k) same = same && frames->mats[k].type == type;
    if (!same || !is_matrix_tag(type) || type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    if (gradient < VID_GRADIENT_TWO_FRAME || gradient > VID_GRADIENT_FIVE_FRAME) return msg::illegal_data_value;
    return require_distinct(u, v);
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* vidset_optical_flow_horn_schunck(const _mat_set* frames, _vid_gradient_type gradient,
                                             int32_t max_iterations, double tolerance, double alpha, void* intrp,
                                             _univ_mat* u, _univ_mat* v, int32_t* iterations, double* change) {
    const int g = int(gradient);
    MUTILS_TRY(check_arguments(frames, g, max_iterations, alpha, u, v));
    const int32_t nrow = u->nrow, ncol = u->ncol;
    const int64_t n = int64_t(nrow) * ncol;
    const int used = g == VID_GRADIENT_TWO_FRAME ? 2 : g == VID_GRADIENT_THREE_FRAME ? 3 : 5;

    const double* f[5] = {};
    for (int k = 0; k < used; ++k) {
        const _univ_mat& m = frames->mats[k];
        dispatch(m.type, real_types{}, [&](auto t) -> const char* {
            f[k] = frame_as_double<typename decltype(t)::type>(m);
            return nullptr;
        });
    }
    const Derivatives D = derivatives(g, f, nrow, ncol);
    const double a2 = alpha * alpha;
    const int32_t r0 = kBorder, r1 = nrow - kBorder, c0 = kBorder, c1 = ncol - kBorder;
    bool singular = false;
    for (int32_t i = r0; i < r1; ++i)
        for (int32_t j = c0; j < c1; ++j) {
            const int64_t p = int64_t(i) * ncol + j;
            singular = singular || a2 + D.ex[p] * D.ex[p] + D.ey[p] * D.ey[p] == 0.0;
        }

    double* uf[2] = {work_array_zero<double>(n), work_array_zero<double>(n)};
    double* vf[2] = {work_array_zero<double>(n), work_array_zero<double>(n)};
    double* diff = work_array<double>(ncol);
    const double interior = double(std::max(0, r1 - r0)) * double(std::max(0, c1 - c0));
    Poll poll(intrp);
    int32_t count = 1;
    double last = 1e37;
    int cur = 0;
    while (count <= max_iterations && last > tolerance) {
        if (singular) return msg::singular_matrix;
        double sum = 0.0;
        for (int32_t i = r0; i < r1; ++i) {
            const int64_t row = int64_t(i) * ncol;
            sum += update_row(uf[cur] + row, vf[cur] + row, D.ex + row, D.ey + row, D.et + row, a2, ncol, c0, c1,
                              uf[1 - cur] + row, vf[1 - cur] + row, diff);
        }
        cur = 1 - cur;
        last = sum;
        ++count;
        MUTILS_TRY(poll.add(100.0 * interior + 8.0 * double(n)));
    }
    --count;

    dispatch(u->type, real_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        store<T>(uf[cur], u);
        store<T>(vf[cur], v);
        return nullptr;
    });
    if (iterations) *iterations = count;
    if (change) *change = last;
    return nullptr;
}

}  // namespace mutils
