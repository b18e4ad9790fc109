#include "stats.h"

#include <cmath>
#include <limits>

#include "../core/detail.h"
#include "arith.h"

namespace mutils {
namespace detail {
namespace {

template <class T> inline bool is_nan(T x) {
    if constexpr (std::is_floating_point_v<T>)
        return x != x;
    else
        return false;
}

// ---- sums -----------------------------------------------------------------------------------

template <class T> const char* sum(const mat_t<T>* a, void* intrp, T* out) {
    validate(a);
    if (!out) return msg::null_pointer;
    wrap_t<T> s{};
    for (int64_t i = 0; i < a->nelem; ++i) s = wrap_t<T>(s + wrap_t<T>(a->data[i]));
    MUTILS_TRY(Poll(intrp).add(double(a->nelem)));
    *out = T(s);
    return nullptr;
}

template <class T> const char* cumulative_sum(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    if (r->nelem != a->nelem) return msg::array_size_mismatch;
    wrap_t<T> s{};
    for (int64_t i = 0; i < a->nelem; ++i) {
        s = wrap_t<T>(s + wrap_t<T>(a->data[i]));
        r->data[i] = T(s);
    }
    return Poll(intrp).add(2.0 * double(a->nelem));
}

template <class T> const char* sum_rows(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_size(r, a->nrow, 1));
    Poll poll(intrp);
    for (int64_t i = 0; i < a->nrow; ++i) {
        const T* row = a->data + i * a->ncol;
        wrap_t<T> s{};
        for (int64_t j = 0; j < a->ncol; ++j) s = wrap_t<T>(s + wrap_t<T>(row[j]));
        r->data[i] = T(s);
        MUTILS_TRY(poll.add(double(a->ncol)));
    }
    return nullptr;
}

template <class T> const char* sum_cols(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_size(r, 1, a->ncol));
    const int64_t n = a->ncol;
    wrap_t<T>* s = work_array_zero<wrap_t<T>>(n);
    Poll poll(intrp);
    for (int64_t i = 0; i < a->nrow; ++i) {
        const T* row = a->data + i * n;
        for (int64_t j = 0; j < n; ++j) s[j] = wrap_t<T>(s[j] + wrap_t<T>(row[j]));
        MUTILS_TRY(poll.add(double(n)));
    }
    for (int64_t j = 0; j < n; ++j) r->data[j] = T(s[j]);
    return nullptr;
}

// ---- element-wise minimum and maximum -------------------------------------------------------

struct Min {
    template <class T> static T apply(T a, T b) { return (b < a || is_nan(a)) ? b : a; }
};
struct Max {
    template <class T> static T apply(T a, T b) { return (b > a || is_nan(a)) ? b : a; }
};

template <class Op, class T> MUTILS_CLONES void pick_pass(const T* a, const T* b, T* r, int64_t n) {
    for (int64_t i = 0; i < n; ++i) r[i] = Op::apply(a[i], b[i]);
}

template <class Op, class T> const char* pick(const mat_t<T>* a, const mat_t<T>* b, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(b);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    MUTILS_TRY(require_same_size(a, b));
    pick_pass<Op, T>(a->data, b->data, r->data, a->nelem);
    return Poll(intrp).add(3.0 * double(a->nelem));
}

// ---- ranges ---------------------------------------------------------------------------------

template <class T> const char* range(const mat_t<T>* a, void* intrp, T* min, T* max) {
    validate(a);
    if (!min || !max) return msg::null_pointer;
    const T* x = a->data;
    const int64_t n = a->nelem;
    int64_t i = 0;
    while (i < n && is_nan(x[i])) ++i;  // NaNs take no part
    if (i == n) {
        *min = *max = x[0];
        return Poll(intrp).add(double(n));
    }
    // Four independent pairs of accumulators; NaNs never win a comparison.
    T lo[4] = {x[i], x[i], x[i], x[i]}, hi[4] = {x[i], x[i], x[i], x[i]};
    for (; i + 4 <= n; i += 4)
        for (int k = 0; k < 4; ++k) {
            lo[k] = x[i + k] < lo[k] ? x[i + k] : lo[k];
            hi[k] = x[i + k] > hi[k] ? x[i + k] : hi[k];
        }
    for (; i < n; ++i) {
        lo[0] = x[i] < lo[0] ? x[i] : lo[0];
        hi[0] = x[i] > hi[0] ? x[i] : hi[0];
    }
    for (int k = 1; k < 4; ++k) {
        lo[0] = lo[k] < lo[0] ? lo[k] : lo[0];
        hi[0] = hi[k] > hi[0] ? hi[k] : hi[0];
    }
    MUTILS_TRY(Poll(intrp).add(double(n)));
    *min = lo[0];
    *max = hi[0];
    return nullptr;
}

template <class T> const char* range_robust(const mat_t<T>* a, T lower, T upper, void* intrp, T* min, T* max) {
    validate(a);
    if (!min || !max) return msg::null_pointer;
    if (upper < lower) return msg::illegal_data_value;
    const T* x = a->data;
    const int64_t n = a->nelem;
    bool found = false;
    T lo{}, hi{};
    auto visit = [&](T v) {
        if (!(v >= lower && v <= upper)) return;
        if (!found) {
            lo = hi = v;
            found = true;
        } else {
            lo = v < lo ? v : lo;
            hi = v > hi ? v : hi;
        }
    };
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        visit(x[i]);
        visit(x[i + 1]);
        visit(x[i + 2]);
        visit(x[i + 3]);
    }
    for (; i < n; ++i) visit(x[i]);
    MUTILS_TRY(Poll(intrp).add(double(n)));
    if (!found) return msg::illegal_data_value;
    *min = lo;
    *max = hi;
    return nullptr;
}

/// Narrows double bounds to T so that a T value lies in [lo, hi] exactly when it lies in
/// [lower, upper]; false when no value of T can.
template <class T> bool narrow_bounds(double lower, double upper, T* lo, T* hi) {
    if constexpr (std::is_integral_v<T>) {
        const double l = std::ceil(lower), u = std::floor(upper);
        const double tmin = double(std::numeric_limits<T>::lowest()), tmax = double(std::numeric_limits<T>::max());
        if (l > tmax || u < tmin || l > u) return false;
        *lo = T(l < tmin ? tmin : l);
        *hi = T(u > tmax ? tmax : u);
    } else if constexpr (std::is_same_v<T, float>) {
        float l = float(lower), u = float(upper);
        if (double(l) < lower) l = std::nextafter(l, std::numeric_limits<float>::infinity());
        if (double(u) > upper) u = std::nextafter(u, -std::numeric_limits<float>::infinity());
        if (l > u) return false;
        *lo = l;
        *hi = u;
    } else {
        *lo = lower;
        *hi = upper;
    }
    return true;
}

// ---- entropy --------------------------------------------------------------------------------

template <class T> const char* entropy(const mat_t<T>* a, void* intrp, double* out) {
    validate(a);
    if (!out) return msg::null_pointer;
    const T* x = a->data;
    const int64_t n = a->nelem;
    double h = 0.0;
    if constexpr (std::is_floating_point_v<T>) {
        double s = 0.0;
        for (int64_t i = 0; i < n; ++i) {
            if (x[i] < 0) return msg::illegal_data_value;
            s += double(x[i]);
        }
        if (!(std::fabs(s - 1.0) <= 1e-5 * (std::fabs(s) + 1.0))) return msg::illegal_data_value;
        for (int64_t i = 0; i < n; ++i)
            if (x[i] > 0) h -= double(x[i]) * std::log(double(x[i]));
    } else {
        uint32_t total = 0;  // wraps like every 32-bit unsigned sum
        for (int64_t i = 0; i < n; ++i) {
            if constexpr (std::is_signed_v<T>)
                if (x[i] < 0) return msg::illegal_data_value;
            total += uint32_t(x[i]);
        }
        const double N = total;
        for (int64_t i = 0; i < n; ++i)
            if (x[i] > 0) h -= double(x[i]) * std::log(double(x[i]) / N);
        h /= N;
    }
    MUTILS_TRY(Poll(intrp).add(3.0 * double(n)));
    *out = h / std::log(2.0);
    return nullptr;
}

// ---- counts of equal elements ---------------------------------------------------------------

template <class T> const char* number_equal(const mat_t<T>* a, const mat_t<T>* b, void* intrp, uint32_t* count) {
    validate(a);
    validate(b);
    if (!count) return msg::null_pointer;
    MUTILS_TRY(require_same_size(a, b));
    uint32_t c = 0;
    for (int64_t i = 0; i < a->nelem; ++i) c += a->data[i] == b->data[i];
    MUTILS_TRY(Poll(intrp).add(2.0 * double(a->nelem)));
    *count = c;
    return nullptr;
}

template <class T> const char* number_equal_scalar(const mat_t<T>* a, T s, void* intrp, uint32_t* count) {
    validate(a);
    if (!count) return msg::null_pointer;
    uint32_t c = 0;
    for (int64_t i = 0; i < a->nelem; ++i) c += a->data[i] == s;
    MUTILS_TRY(Poll(intrp).add(double(a->nelem)));
    *count = c;
    return nullptr;
}

/// Whether v is a value of T (then stored in *out).
template <class T> bool exact_value(double v, T* out) {
    if constexpr (std::is_integral_v<T>) {
        if (!(v >= double(std::numeric_limits<T>::lowest()) && v <= double(std::numeric_limits<T>::max())))
            return false;
        if (v != std::floor(v)) return false;
    } else if constexpr (std::is_same_v<T, float>) {
        if (double(float(v)) != v) return false;
    }
    *out = T(v);
    return v == v;
}

// ---- error measures -------------------------------------------------------------------------

/// Sum of squares of a double matrix, in storage order.
double sum_of_squares(const _univ_mat* d) {
    const double* x = static_cast<const double*>(d->data);
    double s = 0.0;
    for (int64_t i = 0; i < d->nelem; ++i) s += x[i] * x[i];
    return s;
}

const char* mean_squared_error(const _univ_mat* a, const _univ_mat* b, void* intrp, double* out) {
    if (a->type == MUTIL_DCOMPLEX || b->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    validate_univ(a);
    _univ_mat d;
    matuniv_malloc(&d, a->nrow, a->ncol, MUTIL_DOUBLE);
    MUTILS_TRY(matuniv_subtract(a, b, intrp, &d));
    const double s = sum_of_squares(&d);
    MUTILS_TRY(Poll(intrp).add(2.0 * double(d.nelem)));
    *out = s / double(a->nelem);
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

// Sums and counts: s16 runs the u16 body and s32 the u32 body (the same bits either way).
#define MUTILS_STATS_SHARED(CODE, T)                                                                   \
    const char* mat##CODE##_sum(const mat_t<T>* a, void* i, T* s) {                                    \
        return sum<bits_t<T>>(bits<T>(a), i, reinterpret_cast<bits_t<T>*>(s));                         \
    }                                                                                                  \
    const char* mat##CODE##_cumulative_sum(const mat_t<T>* a, void* i, mat_t<T>* r) {                  \
        return cumulative_sum<bits_t<T>>(bits<T>(a), i, bits<T>(r));                                   \
    }                                                                                                  \
    const char* mat##CODE##_sum_rows(const mat_t<T>* a, void* i, mat_t<T>* r) {                        \
        return sum_rows<bits_t<T>>(bits<T>(a), i, bits<T>(r));                                         \
    }                                                                                                  \
    const char* mat##CODE##_sum_cols(const mat_t<T>* a, void* i, mat_t<T>* r) {                        \
        return sum_cols<bits_t<T>>(bits<T>(a), i, bits<T>(r));                                         \
    }                                                                                                  \
    const char* mat##CODE##_number_equal(const mat_t<T>* a, const mat_t<T>* b, void* i, uint32_t* c) { \
        return number_equal<bits_t<T>>(bits<T>(a), bits<T>(b), i, c);                                  \
    }                                                                                                  \
    const char* mat##CODE##_number_equal_scalar(const mat_t<T>* a, T s, void* i, uint32_t* c) {        \
        return number_equal_scalar<bits_t<T>>(bits<T>(a), bits_t<T>(s), i, c);                         \
    }
#define MUTILS_STATS(CODE, T)                                                                                  \
    const char* mat##CODE##_min(const mat_t<T>* a, const mat_t<T>* b, void* i, mat_t<T>* r) {                  \
        return pick<Min, T>(a, b, i, r);                                                                       \
    }                                                                                                          \
    const char* mat##CODE##_max(const mat_t<T>* a, const mat_t<T>* b, void* i, mat_t<T>* r) {                  \
        return pick<Max, T>(a, b, i, r);                                                                       \
    }                                                                                                          \
    const char* mat##CODE##_range(const mat_t<T>* a, void* i, T* lo, T* hi) { return range<T>(a, i, lo, hi); } \
    const char* mat##CODE##_range_robust(const mat_t<T>* a, T l, T u, void* i, T* lo, T* hi) {                 \
        return range_robust<T>(a, l, u, i, lo, hi);                                                            \
    }                                                                                                          \
    const char* mat##CODE##_entropy(const mat_t<T>* a, void* i, double* h) { return entropy<T>(a, i, h); }     \
    MUTILS_STATS_SHARED(CODE, T)
MUTILS_STATS(dbl, double)
MUTILS_STATS(flt, float)
MUTILS_STATS(u8, unsigned char)
MUTILS_STATS(u16, uint16_t)
MUTILS_STATS(u32, uint32_t)
MUTILS_STATS(s16, int16_t)
MUTILS_STATS(s32, int32_t)
#undef MUTILS_STATS
#undef MUTILS_STATS_SHARED

const char* matuniv_sum(const _univ_mat* a, void* i, _univ_scalar* s) {
    return univ_call(real_types{}, with(a, s), [&](auto t, auto* ta, auto* ts) {
        using T = MUTILS_T(t);
        bits_t<T> v;
        MUTILS_TRY(sum<bits_t<T>>(bits<T>(ta), i, &v));
        *ts = make_scalar<T>(T(v));
        return static_cast<const char*>(nullptr);
    });
}

/// Cumulative sums and row and column sums: signed types run the unsigned body of their width.
#define MUTILS_UNIV_SUMS(NAME)                                                                 \
    const char* matuniv_##NAME(const _univ_mat* a, void* i, _univ_mat* r) {                    \
        return univ_call(real_types{}, with(a, r), [&](auto t, auto* ta, auto* tr) {           \
            return NAME<bits_t<MUTILS_T(t)>>(bits<MUTILS_T(t)>(ta), i, bits<MUTILS_T(t)>(tr)); \
        });                                                                                    \
    }
MUTILS_UNIV_SUMS(cumulative_sum)
MUTILS_UNIV_SUMS(sum_rows)
MUTILS_UNIV_SUMS(sum_cols)
#undef MUTILS_UNIV_SUMS

const char* matuniv_min(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, b, r),
                     [&](auto t, auto* x, auto* y, auto* z) { return pick<Min, MUTILS_T(t)>(x, y, i, z); });
}

const char* matuniv_max(const _univ_mat* a, const _univ_mat* b, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, b, r),
                     [&](auto t, auto* x, auto* y, auto* z) { return pick<Max, MUTILS_T(t)>(x, y, i, z); });
}

const char* matuniv_range(const _univ_mat* a, void* i, _univ_scalar* min, _univ_scalar* max) {
    return univ_call(real_types{}, with(a, min, max), [&](auto t, auto* ta, auto*, auto*) {
        using T = MUTILS_T(t);
        T lo{}, hi{};
        MUTILS_TRY(range<T>(ta, i, &lo, &hi));
        *min = make_scalar<T>(lo);
        *max = make_scalar<T>(hi);
        return static_cast<const char*>(nullptr);
    });
}

const char* matuniv_range_robust(const _univ_mat* a, double lower, double upper, void* i, _univ_scalar* min,
                                 _univ_scalar* max) {
    return univ_call(real_types{}, with(a, min, max), [&](auto t, auto* ta, auto*, auto*) {
        using T = MUTILS_T(t);
        validate(ta);
        T l{}, u{}, lo{}, hi{};
        if (!(lower <= upper) || !narrow_bounds<T>(lower, upper, &l, &u)) return msg::illegal_data_value;
        MUTILS_TRY(range_robust<T>(ta, l, u, i, &lo, &hi));
        *min = make_scalar<T>(lo);
        *max = make_scalar<T>(hi);
        return static_cast<const char*>(nullptr);
    });
}

const char* matuniv_entropy(const _univ_mat* a, void* i, double* h) {
    return univ_call(real_types{}, with(a), [&](auto t, auto* ta) { return entropy<MUTILS_T(t)>(ta, i, h); });
}

const char* matuniv_number_equal(const _univ_mat* a, const _univ_mat* b, void* i, uint32_t* count) {
    return univ_call(real_types{}, with(a, b), [&](auto t, auto* ta, auto* tb) {
        using T = MUTILS_T(t);
        return number_equal<bits_t<T>>(bits<T>(ta), bits<T>(tb), i, count);
    });
}

const char* matuniv_number_equal_scalar(const _univ_mat* a, _univ_scalar s, void* i, uint32_t* count) {
    return univ_call(real_types{}, with(a), [&](auto t, auto* ta) -> const char* {
        using T = MUTILS_T(t);
        if (s.type < 0 || s.type > MUTIL_DOUBLE) return msg::illegal_data_type;
        T v{};
        if (exact_value<T>(scalar_value(s), &v)) return number_equal_scalar<T>(ta, v, i, count);
        validate(ta);
        if (!count) return msg::null_pointer;
        *count = 0;  // no element of this type can equal the scalar
        return nullptr;
    });
}

const char* matuniv_mean_squared_error(const _univ_mat* a, const _univ_mat* b, void* i, double* mse) {
    if (!a || !b || !mse) return msg::null_pointer;
    return mean_squared_error(a, b, i, mse);
}

const char* matuniv_signal_to_noise_ratio(const _univ_mat* s, const _univ_mat* t, void* i, double* ratio,
                                          unsigned char* infinite) {
    if (!s || !t || !ratio || !infinite) return msg::null_pointer;
    double e = 0.0;
    MUTILS_TRY(mean_squared_error(t, s, i, &e));
    if (e == 0.0) {
        *infinite = 1;
        *ratio = 1e37;
        return nullptr;
    }
    *infinite = 0;
    _univ_mat ds;
    MUTILS_TRY(to_common(s, MUTIL_DOUBLE, i, &ds));
    const double p = sum_of_squares(&ds) / double(s->nelem);
    MUTILS_TRY(Poll(i).add(2.0 * double(s->nelem)));
    *ratio = 10.0 * std::log10(p / e);
    return nullptr;
}

}  // namespace mutils

MUTILS_PLAIN(matuniv_range, (const mutils::_univ_mat* a, void* i, mutils::_univ_scalar* lo, mutils::_univ_scalar* hi),
             (a, i, lo, hi))
MUTILS_PLAIN(matdbl_sum, (const mutils::_double_mat* a, void* i, double* s), (a, i, s))
MUTILS_PLAIN(matuniv_mean_squared_error, (const mutils::_univ_mat* a, const mutils::_univ_mat* b, void* i, double* mse),
             (a, b, i, mse))
MUTILS_PLAIN(matuniv_signal_to_noise_ratio,
             (const mutils::_univ_mat* s, const mutils::_univ_mat* t, void* i, double* ratio, unsigned char* inf),
             (s, t, i, ratio, inf))
