#include "timefreq.h"

#include <algorithm>
#include <cmath>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kPi = 3.14159265358979323846;

/// Element (m, j) of a row-major record.
inline double& at(_double_mat* r, int64_t m, int64_t j) { return r->data[m * r->ncol + j]; }

/// The start every distribution shares: validate x and R, require a vector signal and a
/// positive step, and clear R row by row, polling the interrupt (a large R takes seconds to
/// clear, mostly in page faults, before the first lag is computed).
const char* common_start(const _double_mat* x, int32_t step, void* intrp, _double_mat* r) {
    validate(x);
    validate(r);
    if (!is_vector(x->nrow, x->ncol)) return msg::array_size_mismatch;
    if (step < 1) return msg::illegal_data_value;
    Poll poll(intrp);
    for (int64_t m = 0; m < r->nrow; ++m) {
        std::fill(&at(r, m, 0), &at(r, m, 0) + r->ncol, 0.0);
        MUTILS_TRY(poll.add(double(r->ncol)));
    }
    return nullptr;
}

/// The signal with `pad` zeros on each side, from the arena; points at x[0] inside the copy.
const double* zero_padded(const _double_mat* x, int64_t pad) {
    double* y = work_array_zero<double>(int64_t(x->nelem) + 2 * pad);
    std::copy(x->data, x->data + x->nelem, y + pad);
    return y + pad;
}

/// P(t, m): the product of the samples m/2 either side of t, averaged over the two neighbouring
/// half-sample placements for odd m.
inline double lag_product(const double* s, int64_t t, int64_t m) {
    const int64_t a = m / 2;
    const int64_t b = m - a;
    return 0.5 * (s[t - a] * s[t + b] + s[t - b] * s[t + a]);
}

const char* wigner(const _double_mat* x, int32_t step, void* intrp, _double_mat* r) {
    MUTILS_TRY(common_start(x, step, intrp, r));
    const int64_t len = x->nelem, nrow = r->nrow, ncol = r->ncol;
    const int64_t half = nrow / 2;
    if (half > len) return nullptr;
    if (half == len) {  // deliberately a single sample
        r->data[0] = x->data[len - 1] * x->data[len - 1];
        return nullptr;
    }
    const double* s = zero_padded(x, nrow);  // early lags may reach past the end
    double* acc = work_array_zero<double>(nrow);
    Poll poll(intrp);
    for (int64_t t = 0, j = 0; t < len && j < ncol; ++t) {
        const int64_t lags = t < half ? t : std::min(nrow, len - t);
        for (int64_t m = 0; m < lags; ++m) acc[m] += lag_product(s, t, m);
        if (t % step == 0) {  // times since the last output are summed into this column
            const int64_t rows = t < half ? half : lags;
            for (int64_t m = 0; m < rows; ++m) at(r, m, j) = acc[m];
            std::fill(acc, acc + nrow, 0.0);
            ++j;
        }
        MUTILS_TRY(poll.add(200.0 * double(nrow)));
    }
    return nullptr;
}

const char* margeneau_hill(const _double_mat* x, int32_t step, void* intrp, _double_mat* r) {
    MUTILS_TRY(common_start(x, step, intrp, r));
    const int64_t len = x->nelem, nrow = r->nrow, ncol = r->ncol;
    if (nrow >= len) return nullptr;
    const double* s = zero_padded(x, nrow);  // early lags may reach past the end
    Poll poll(intrp);
    for (int64_t t = 0, j = 0; j < ncol; t += step, ++j) {
        // Early times fill lags below t only (lag t itself is left out); later ones up to the end.
        const bool early = t < nrow - 1;
        const int64_t lags = early ? t : std::min(nrow, len - t);
        if (!early && lags <= 0) break;  // past the signal: the remaining columns stay zero
        for (int64_t m = 0; m < lags; ++m) at(r, m, j) = 0.5 * s[t] * (s[t + m] + s[t - m]);
        MUTILS_TRY(poll.add(20.0 * double(nrow)));
    }
    return nullptr;
}

/// acc[m] = sum over s = max(0, t - m) ... t of x[s] x[s + m], kept up to date from one time
/// to the next by adding the newest product and dropping the one that left the cone.
const char* cone(const _double_mat* x, int32_t step, void* intrp, _double_mat* r) {
    MUTILS_TRY(common_start(x, step, intrp, r));
    const int64_t len = x->nelem, nrow = r->nrow, ncol = r->ncol;
    if (nrow >= len) return nullptr;
    const double* s = x->data;
    double* acc = work_array<double>(nrow);
    for (int64_t m = 0; m < nrow; ++m) acc[m] = at(r, m, 0) = s[m] * s[0];
    Poll poll(intrp);
    for (int64_t t = 1, j = 1; t < len && j < ncol; ++t) {
        const int64_t lags = std::min(nrow, len - t);
        for (int64_t m = 0; m < lags; ++m) acc[m] += s[t] * s[t + m] - (m < t ? s[t - 1 - m] * s[t - 1] : 0.0);
        if (t % step == 0) {  // times between outputs are skipped, not summed
            for (int64_t m = 0; m < lags; ++m) at(r, m, j) = acc[m];
            ++j;
        }
        MUTILS_TRY(poll.add(20.0 * double(nrow)));
    }
    return nullptr;
}

const char* born_jordan(const _double_mat* x, int32_t step, void* intrp, _double_mat* r) {
    MUTILS_TRY(cone(x, step, intrp, r));
    double* weight = work_array<double>(r->nrow);
    for (int64_t m = 0; m < r->nrow; ++m) weight[m] = 1.0 / double(m + 1);
    for (int64_t m = 0; m < r->nrow; ++m)
        for (int64_t j = 0; j < r->ncol; ++j) at(r, m, j) *= weight[m];
    return Poll(intrp).add(5.0 * double(r->nelem));
}

/// One smoothed lag value: the kernel weights w[u] (u = 0 ... nu) of lag m applied to the lag-m
/// products whose time centre lies about u/2 samples either side of t. Halvings truncate toward
/// zero, also for the negative b of large offsets.
inline double kernel_sum(const double* y, const double* w, int64_t t, int64_t m, int64_t nu) {
    double sum = w[0] * 0.5 * (y[t + (m + 1) / 2] * y[t - m / 2] + y[t - (m + 1) / 2] * y[t + m / 2]);
    for (int64_t u = 1; u <= nu; ++u) {
        const int64_t a = (m + u) / 2;
        const int64_t b = (m - u + 1) / 2;
        sum += w[u] * (y[t + a] * y[t - b] + y[t + b] * y[t - a]);
    }
    return sum;
}

const char* custom(const _double_mat* x, int32_t step, const _double_mat* k, void* intrp, _double_mat* r) {
    validate(x);
    validate(r);
    validate(k);
    if (!is_vector(x->nrow, x->ncol)) return msg::array_size_mismatch;
    if (k->ncol != r->nrow || k->ncol > x->nelem) return msg::array_size_mismatch;
    if (step < 1) return msg::illegal_data_value;
    const int64_t len = x->nelem, nrow = r->nrow, ncol = r->ncol, krow = k->nrow, kcol = k->ncol;
    const double* y = zero_padded(x, krow + kcol);  // the kernel's reach on both sides
    std::fill(r->data, r->data + r->nelem, 0.0);

    // The kernel transposed, so the weights of one lag are contiguous.
    double* weights = work_array<double>(krow * kcol);
    for (int64_t u = 0; u < krow; ++u)
        for (int64_t m = 0; m < kcol; ++m) weights[m * krow + u] = k->data[u * kcol + m];

    Poll poll(intrp);
    int64_t t = 0, j = 0;
    // Early times: lags and offsets limited by the distance from the start.
    for (const int64_t early_end = (krow + kcol) / 2; t < early_end && j < ncol; t += step, ++j) {
        const int64_t lags = std::min(nrow - 1, 2 * t);
        for (int64_t m = lags - 1; m >= 0; --m)
            at(r, m, j) = kernel_sum(y, weights + m * krow, t, m, std::min(krow, 2 * t - m) - 1);
        MUTILS_TRY(poll.add(200.0 * double(kcol) + 50.0 * double(krow) * double(lags)));
    }
    // Later times: limited by the distance to the end; past it the columns stay zero.
    for (const int64_t last = std::min(ncol, len); j < last && t < len; t += step, ++j) {
        const int64_t lags = std::min(nrow - 1, len - t);
        const int64_t nu = std::min(krow, len - t) - 1;
        for (int64_t m = lags - 1; m >= 0; --m) at(r, m, j) = kernel_sum(y, weights + m * krow, t, m, nu);
        MUTILS_TRY(poll.add(200.0 * double(kcol) + 50.0 * double(krow) * double(lags)));
    }
    return nullptr;
}

const char* kernel_choi_williams(int32_t nlag, int32_t nmax, double sigma, void* intrp, _double_mat* k) {
    if (nlag < 1 || nmax < 1 || !(sigma > 0.0)) return msg::illegal_data_value;
    // Three widths of the widest lag's Gaussian, in double so a tiny sigma cannot overflow.
    const double width = std::floor(std::sqrt(2.0 / sigma) * double(nlag) + 1.0);
    const int32_t rows = int32_t(std::min(3.0 * width, double(nmax)));
    matdbl_malloc(k, rows, nlag);
    const double scale = std::sqrt(sigma / (4.0 * kPi));
    Poll poll(intrp);
    for (int64_t u = 0; u < rows; ++u) {
        double* row = k->data + u * nlag;
        row[0] = u == 0 ? 1.0 : 0.0;  // lag 0: a unit impulse
        for (int64_t c = 1; c < nlag; ++c)
            row[c] = scale / double(c) * std::exp(-sigma * double(u * u) / (4.0 * double(c * c)));
        MUTILS_TRY(poll.add(20.0 * double(nlag)));
    }
    return nullptr;
}

const char* choi_williams(const _double_mat* x, double sigma, int32_t step, void* intrp, _double_mat* r) {
    MUTILS_TRY(common_start(x, step, intrp, r));
    if (!(sigma > 0.0)) return msg::illegal_data_value;
    _double_mat k;
    MUTILS_TRY(kernel_choi_williams(r->nrow, x->nelem, sigma, intrp, &k));
    return custom(x, step, &k, intrp, r);
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* sigdbl_timefreq_autocorrelate_wigner(const _double_mat* x, int32_t step, void* i, _double_mat* r) {
    return wigner(x, step, i, r);
}
const char* sigdbl_timefreq_autocorrelate_born_jordan(const _double_mat* x, int32_t step, void* i, _double_mat* r) {
    return born_jordan(x, step, i, r);
}
const char* sigdbl_timefreq_autocorrelate_cone(const _double_mat* x, int32_t step, void* i, _double_mat* r) {
    return cone(x, step, i, r);
}
const char* sigdbl_timefreq_autocorrelate_margeneau_hill(const _double_mat* x, int32_t step, void* i, _double_mat* r) {
    return margeneau_hill(x, step, i, r);
}
const char* sigdbl_timefreq_autocorrelate_choi_williams(const _double_mat* x, double sigma, int32_t step, void* i,
                                                        _double_mat* r) {
    return choi_williams(x, sigma, step, i, r);
}
const char* sigdbl_timefreq_autocorrelate_custom(const _double_mat* x, int32_t step, const _double_mat* k, void* i,
                                                 _double_mat* r) {
    return custom(x, step, k, i, r);
}
const char* sigdbl_kernel_choi_williams(int32_t nlag, int32_t nmax, double sigma, void* i, _double_mat* k) {
    return kernel_choi_williams(nlag, nmax, sigma, i, k);
}

// The universal members accept double matrices only and pass them on.
#define MUTILS_TIMEFREQ_UNIV(NAME)                                                                               \
    const char* siguniv_timefreq_autocorrelate_##NAME(const _univ_mat* x, int32_t step, void* i, _univ_mat* r) { \
        return univ_call(types<double>{}, with(x, r), [&](auto, auto* tx, auto* tr) {                            \
            return sigdbl_timefreq_autocorrelate_##NAME(tx, step, i, tr);                                        \
        });                                                                                                      \
    }
MUTILS_TIMEFREQ_UNIV(wigner)
MUTILS_TIMEFREQ_UNIV(born_jordan)
MUTILS_TIMEFREQ_UNIV(cone)
MUTILS_TIMEFREQ_UNIV(margeneau_hill)
#undef MUTILS_TIMEFREQ_UNIV

const char* siguniv_timefreq_autocorrelate_choi_williams(const _univ_mat* x, double sigma, int32_t step, void* i,
                                                         _univ_mat* r) {
    return univ_call(types<double>{}, with(x, r),
                     [&](auto, auto* tx, auto* tr) { return choi_williams(tx, sigma, step, i, tr); });
}

const char* siguniv_timefreq_autocorrelate_custom(const _univ_mat* x, int32_t step, const _univ_mat* k, void* i,
                                                  _univ_mat* r) {
    return univ_call(types<double>{}, with(x, k, r),
                     [&](auto, auto* tx, auto* tk, auto* tr) { return custom(tx, step, tk, i, tr); });
}

const char* siguniv_kernel_choi_williams(int32_t nlag, int32_t nmax, double sigma, void* i, _univ_mat* k,
                                         _mutil_data_type type) {
    if (!k) return msg::null_pointer;
    if (type != MUTIL_DOUBLE) return msg::illegal_data_type;
    k->type = type;
    return kernel_choi_williams(nlag, nmax, sigma, i, as<double>(k));
}

}  // namespace mutils

using mutils::_univ_mat;
MUTILS_PLAIN(siguniv_timefreq_autocorrelate_custom,
             (const _univ_mat* x, int32_t step, const _univ_mat* k, void* i, _univ_mat* r), (x, step, k, i, r))
MUTILS_PLAIN(siguniv_timefreq_autocorrelate_wigner, (const _univ_mat* x, int32_t step, void* i, _univ_mat* r),
             (x, step, i, r))
MUTILS_PLAIN(siguniv_timefreq_autocorrelate_cone, (const _univ_mat* x, int32_t step, void* i, _univ_mat* r),
             (x, step, i, r))
MUTILS_PLAIN(siguniv_timefreq_autocorrelate_margeneau_hill, (const _univ_mat* x, int32_t step, void* i, _univ_mat* r),
             (x, step, i, r))
MUTILS_PLAIN(siguniv_timefreq_autocorrelate_choi_williams,
             (const _univ_mat* x, double sigma, int32_t step, void* i, _univ_mat* r), (x, sigma, step, i, r))
MUTILS_PLAIN(siguniv_timefreq_autocorrelate_born_jordan, (const _univ_mat* x, int32_t step, void* i, _univ_mat* r),
             (x, step, i, r))
