#include "window.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Nominal work per sample for the interrupt poll: 5 for plain fills, 50 for one cosine, 100
// for blackman and gaussian, 200 for nuttall and kaiser, plus 500 per Bessel evaluation.
constexpr double kCostBessel = 500.0;

/// Validates the result record (raising) and requires a vector.
const char* require_window(const _double_mat* w) {
    validate(w);
    return is_vector(w->nrow, w->ncol) ? nullptr : msg::array_size_mismatch;
}

/// w[k] = w[N-1-k] = f(k, N) for k = 0 ... half - 1, polling `cost` per sample written.
template <class F> const char* fill_pairs(_double_mat* w, int64_t half, double cost, Poll& poll, F&& f) {
    double* d = w->data;
    const int64_t n = w->nelem;
    for (int64_t k = 0; k < half; ++k) {
        d[k] = d[n - 1 - k] = f(k, n);
        MUTILS_TRY(poll.add(2.0 * cost));
    }
    return nullptr;
}

/// A window given by a formula f(n, N), computed over the first half (and the middle sample of
/// an odd length) and mirrored, so the result is exactly symmetric.
template <class F> const char* symmetric(_double_mat* w, double cost, void* intrp, F&& f) {
    MUTILS_TRY(require_window(w));
    Poll poll(intrp);
    const int64_t n = w->nelem;
    MUTILS_TRY(fill_pairs(w, n / 2, cost, poll, f));
    if (n % 2) w->data[n / 2] = f(n / 2, n);
    return poll.add(cost);
}

const char* rectangle(void* intrp, _double_mat* w) {
    return symmetric(w, 5.0, intrp, [](int64_t, int64_t) { return 1.0; });
}

const char* triangle(void* intrp, _double_mat* w) {
    return symmetric(w, 5.0, intrp,
                     [](int64_t k, int64_t n) { return k < n / 2 ? 2.0 * double(k + 1) / double(n + 1) : 1.0; });
}

/// Hanning and blackman leave out the zero end points: n is shifted by one and the period is N + 1.
const char* hanning(void* intrp, _double_mat* w) {
    return symmetric(w, 50.0, intrp, [](int64_t k, int64_t n) {
        return 0.5 * (1.0 - std::cos(2.0 * kPi * double(k + 1) / double(n + 1)));
    });
}

/// N = 1 divides by zero and gives a non-number; deliberately not guarded.
const char* hamming(void* intrp, _double_mat* w) {
    return symmetric(w, 50.0, intrp, [](int64_t k, int64_t n) {
        return 0.54 - 0.46 * std::cos(2.0 * kPi * double(k) / double(n - 1));
    });
}

const char* blackman(void* intrp, _double_mat* w) {
    return symmetric(w, 100.0, intrp, [](int64_t k, int64_t n) {
        const double x = 2.0 * kPi * double(k + 1) / double(n + 1);
        return 0.42 - 0.5 * std::cos(x) + 0.08 * std::cos(2.0 * x);
    });
}

/// The end samples are forced to exactly zero (the formula would leave 0.0003628 there).
const char* nuttall(void* intrp, _double_mat* w) {
    return symmetric(w, 200.0, intrp, [](int64_t k, int64_t n) {
        if (k == 0 || k == n - 1) return 0.0;
        const double x = 2.0 * kPi * double(k) / double(n - 1);
        return 0.3635819 - 0.4891775 * std::cos(x) + 0.1365995 * std::cos(2.0 * x) - 0.0106411 * std::cos(3.0 * x);
    });
}

const char* born_jordan(void* intrp, _double_mat* w) {
    return symmetric(w, 5.0, intrp, [](int64_t k, int64_t n) { return 1.0 / double((n - 1) / 2 - k + 1); });
}

const char* raised_cosine(double ratio, void* intrp, _double_mat* w) {
    validate(w);
    if (!(ratio >= 0.0 && ratio <= 1.0)) return msg::illegal_data_value;
    MUTILS_TRY(rectangle(intrp, w));
    if (ratio == 0.0) return nullptr;
    const int64_t taper = int64_t(std::floor(ratio * double(w->nelem)));
    const double step = 2.0 * kPi / double(taper + 1);
    Poll poll(intrp);
    return fill_pairs(w, taper / 2, 50.0, poll,
                      [&](int64_t k, int64_t) { return 0.5 * (1.0 - std::cos(double(k + 1) * step)); });
}

const char* gaussian(double alpha, void* intrp, _double_mat* w) {
    MUTILS_TRY(require_window(w));
    if (!(alpha > 0.0)) return msg::illegal_data_value;
    return symmetric(w, 100.0, intrp, [&](int64_t k, int64_t n) {
        if (k >= n / 2) return 1.0;  // the middle sample of an odd length
        const double t = (0.5 - double(k) / double(n - 1)) * 2.0 * alpha;
        return std::exp(-t * t / 2.0);
    });
}

/// I0 by the two-range polynomial approximation, in place over n values.
const char* bessel_i0(double* v, int64_t n, Poll& poll) {
    for (int64_t i = 0; i < n; ++i) {
        const double ax = std::fabs(v[i]);
        if (ax < 3.75) {
            const double y = v[i] * v[i] / 14.0625;
            v[i] = 1.0 + y * (3.5156229 +
                              y * (3.0899424 + y * (1.2067492 + y * (0.2659732 + y * (0.0360768 + y * 0.0045813)))));
        } else {
            const double y = 3.75 / ax;
            v[i] = std::exp(ax) / std::sqrt(ax) *
                   (0.39894228 +
                    y * (0.01328592 +
                         y * (0.00225319 +
                              y * (-0.00157565 +
                                   y * (0.00916281 +
                                        y * (-0.02057706 + y * (0.02635537 + y * (-0.01647633 + y * 0.00392377))))))));
        }
        MUTILS_TRY(poll.add(kCostBessel));
    }
    return nullptr;
}

/// The lag term q is the integer quotient (2k - 1 - N) / N, truncated toward zero: -1 at k = 0
/// and 0 elsewhere (N >= 2), so only the first sample differs from 1. Kept deliberately.
const char* kaiser(double beta, void* intrp, _double_mat* w) {
    MUTILS_TRY(require_window(w));
    if (!(beta >= 0.0)) return msg::illegal_data_value;
    const int64_t n = w->nelem;
    double* d = w->data;
    double a = beta * kPi * double(n - 1) / double(n);
    Poll poll(intrp);
    for (int64_t k = 0; k < n; ++k) {
        const int64_t q = (2 * k - 1 - n) / n;
        d[k] = a * std::sqrt(1.0 - double(q * q));  // N = 1: the root of -3, not a number
        MUTILS_TRY(poll.add(200.0));
    }
    MUTILS_TRY(bessel_i0(d, n, poll));
    MUTILS_TRY(bessel_i0(&a, 1, poll));  // the same routine, so I0(a) / I0(a) is exactly 1
    // Equal values give exactly 1, also where I0 overflows (beta above about 225).
    for (int64_t k = 0; k < n; ++k) d[k] = d[k] == a ? 1.0 : d[k] / a;
    return nullptr;
}

/// arccosh(c) for c >= 1 as log(c + sqrt(c^2 - 1)); past 1e150, where c^2 would overflow, the
/// root equals c to full precision and the value is log(2c).
double arccosh(double c) { return c < 1e150 ? std::log(c + std::sqrt(c * c - 1.0)) : std::log(c) + std::log(2.0); }

/// Half of a real inverse DFT by direct summation, the O(N^2) that window lengths afford:
/// out[i] = sum_j re[j] cos(2 pi i j / N) + im[j] sin(2 pi i j / N) for i = 0 ... count - 1.
/// The tables cosv and sinv (N values each) are filled here and indexed by i j mod N, so no
/// angle grows with the length.
const char* inverse_dft_half(const double* re, const double* im, int64_t n, double* cosv, double* sinv, int64_t count,
                             double* out, Poll& poll) {
    for (int64_t m = 0; m < n; ++m) {
        cosv[m] = std::cos(2.0 * kPi * double(m) / double(n));
        sinv[m] = std::sin(2.0 * kPi * double(m) / double(n));
    }
    for (int64_t i = 0; i < count; ++i) {
        double sum = 0.0;
        for (int64_t j = 0, m = 0; j < n; ++j) {
            sum += re[j] * cosv[m] + im[j] * sinv[m];
            m += i;
            if (m >= n) m -= n;
        }
        out[i] = sum;
        MUTILS_TRY(poll.add(10.0 * double(n)));
    }
    return nullptr;
}

/// Dolph-Chebyshev by frequency sampling: the Chebyshev polynomial of order N - 1 sampled at the
/// N DFT frequencies (with a half-sample delay for even N), transformed back, normalised by the
/// centre and mirrored.
const char* chebyshev(double attenuation_db, void* intrp, _double_mat* w) {
    MUTILS_TRY(require_window(w));
    if (!(attenuation_db >= 0.0)) return msg::illegal_data_value;
    const int64_t n = w->nelem;
    double* d = w->data;
    if (n == 1) {  // a single centre sample; the order-0 polynomial has no side lobes to shape
        d[0] = 1.0;
        return nullptr;
    }
    const double ripple = std::pow(10.0, -attenuation_db / 20.0);
    const double c = (ripple + 1.0) / ripple;
    if (!std::isfinite(c)) return msg::illegal_data_value;  // past about 6150 dB the ratio overflows
    const double beta = std::cosh(arccosh(c) / double(n - 1));
    const double df = std::acos(1.0 / beta) / kPi;  // half width of the main lobe
    double x0 = (3.0 - std::cos(2.0 * kPi * df)) / (1.0 + std::cos(2.0 * kPi * df));
    // Past about 300 dB on short windows df rounds to 1/2 and the quotient above overflows;
    // 2 beta^2 - 1 is the same value in real arithmetic.
    if (!std::isfinite(x0)) x0 = 2.0 * beta * beta - 1.0;
    const double order = double(n - 1) / 2.0;
    // x can fall below -1 only by rounding, which is below 1e-12 unless x0 is huge (thousands,
    // at attenuations far past 100 dB on short windows): then it is a few units in x0's last place.
    const double below = std::max(1e-12, 8.0 * std::numeric_limits<double>::epsilon() * (x0 + 1.0));
    const bool even = n % 2 == 0;

    // Each work array holds N spectrum values, then N values of the transform's tables.
    double* pr = work_array<double>(2 * n);
    double* pi = work_array<double>(2 * n);
    Poll poll(intrp);
    for (int64_t j = 0; j < n; ++j) {
        const double f = double(j) / double(n);
        double x = ((x0 + 1.0) / 2.0) * std::cos(2.0 * kPi * f) + (x0 - 1.0) / 2.0;
        // At f = 1/2 (even N) x is -1 exactly in real arithmetic but may round a hair below;
        // arccosh there would be a NaN that the transform spreads over every sample.
        if (x < -1.0 && x >= -1.0 - below) x = -1.0;
        const double p =
            std::fabs(x) > 1.0 ? ripple * std::cosh(order * arccosh(x)) : ripple * std::cos(order * std::acos(x));
        pr[j] = pi[j] = p;
        if (even) {
            const double sign = j > n / 2 ? -1.0 : 1.0;
            pr[j] = sign * p * std::cos(kPi * f);
            pi[j] = -sign * p * std::sin(kPi * f);
        }
        MUTILS_TRY(poll.add(50.0));
    }

    // The transform's first half goes to the result's first half; normalised by the centre
    // value t[0], t[1 ...] then fill the samples after the centre, and the first half is mirrored.
    const int64_t half = (n + 1) / 2;
    const int64_t odd = even ? 0 : 1;
    double* t = d;
    MUTILS_TRY(inverse_dft_half(pr, pi, n, pr + n, pi + n, half, t, poll));
    for (int64_t k = 1; k < half; ++k) d[half - odd + k] = t[k] / t[0];  // destinations lie past t
    d[half - 1] = 1.0;
    d[half - odd] = 1.0;
    for (int64_t k = 0; k < n / 2; ++k) d[k] = d[n - 1 - k];
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* sigdbl_window_rectangle(void* i, _double_mat* r) { return rectangle(i, r); }
const char* sigdbl_window_triangle(void* i, _double_mat* r) { return triangle(i, r); }
const char* sigdbl_window_hanning(void* i, _double_mat* r) { return hanning(i, r); }
const char* sigdbl_window_hamming(void* i, _double_mat* r) { return hamming(i, r); }
const char* sigdbl_window_blackman(void* i, _double_mat* r) { return blackman(i, r); }
const char* sigdbl_window_nuttall(void* i, _double_mat* r) { return nuttall(i, r); }
const char* sigdbl_window_born_jordan(void* i, _double_mat* r) { return born_jordan(i, r); }
const char* sigdbl_window_raised_cosine(double p, void* i, _double_mat* r) { return raised_cosine(p, i, r); }
const char* sigdbl_window_gaussian(double p, void* i, _double_mat* r) { return gaussian(p, i, r); }
const char* sigdbl_window_kaiser(double p, void* i, _double_mat* r) { return kaiser(p, i, r); }
const char* sigdbl_window_chebyshev(double p, void* i, _double_mat* r) { return chebyshev(p, i, r); }

// The universal members accept double results only and pass them on.
#define MUTILS_WINDOW_UNIV(NAME)                                                                                 \
    const char* siguniv_window_##NAME(void* i, _univ_mat* r) {                                                   \
        return univ_call(types<double>{}, with(r), [&](auto, auto* tr) { return sigdbl_window_##NAME(i, tr); }); \
    }
#define MUTILS_WINDOW_UNIV_PARAM(NAME)                                                                              \
    const char* siguniv_window_##NAME(double p, void* i, _univ_mat* r) {                                            \
        return univ_call(types<double>{}, with(r), [&](auto, auto* tr) { return sigdbl_window_##NAME(p, i, tr); }); \
    }
MUTILS_WINDOW_UNIV(rectangle)
MUTILS_WINDOW_UNIV(triangle)
MUTILS_WINDOW_UNIV(hanning)
MUTILS_WINDOW_UNIV(hamming)
MUTILS_WINDOW_UNIV(blackman)
MUTILS_WINDOW_UNIV(nuttall)
MUTILS_WINDOW_UNIV(born_jordan)
MUTILS_WINDOW_UNIV_PARAM(raised_cosine)
MUTILS_WINDOW_UNIV_PARAM(gaussian)
MUTILS_WINDOW_UNIV_PARAM(kaiser)
MUTILS_WINDOW_UNIV_PARAM(chebyshev)
#undef MUTILS_WINDOW_UNIV
#undef MUTILS_WINDOW_UNIV_PARAM

}  // namespace mutils

MUTILS_PLAIN(siguniv_window_raised_cosine, (double ratio, void* i, mutils::_univ_mat* r), (ratio, i, r))
