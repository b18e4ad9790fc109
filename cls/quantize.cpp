#include "quantize.h"

#include <cmath>
#include <numbers>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

using linear_types = types<unsigned char, uint16_t, int16_t, uint32_t, int32_t, float, double>;
using angle_types = types<float, double>;

constexpr int64_t poll_block = 4096;

// Shapes and codebook order shared by both quantizers (after validation).
template <class T> const char* check_quantizer(const mat_t<T>* x, const mat_t<T>* c, const _uint32_mat* r) {
    if (x->ncol != 1 || c->ncol != 1 || r->ncol != 1 || r->nelem < x->nelem) return msg::array_size_mismatch;
    for (int32_t i = 1; i < c->nelem; ++i)
        if (!(c->data[i - 1] <= c->data[i])) return msg::index_out_of_bounds;  // NaN is out of order too
    return nullptr;
}

// Largest j with c[j] <= x (0 when x < c[0] or x is NaN), by halving power-of-two steps.
template <class T> inline int64_t floor_index(const T* c, int64_t k, T x) {
    int64_t step = 1;
    while (step * 2 <= k) step *= 2;
    int64_t j = 0;
    for (; step > 0; step /= 2)
        if (j + step < k && x >= c[j + step]) j += step;
    return j;
}

template <class T> inline uint32_t nearest(const T* c, int64_t k, T x) {
    int64_t j = floor_index(c, k, x);
    if (j == k - 1 || (j == 0 && x < c[0])) return uint32_t(j);
    double d1 = std::fabs(double(x) - double(c[j]));
    double d2 = std::fabs(double(c[j + 1]) - double(x));
    return uint32_t(d2 < d1 ? j + 1 : j);
}

template <class T> const char* linear_pass(const mat_t<T>* x, const mat_t<T>* c, Poll& poll, _uint32_mat* r) {
    const int64_t n = x->nelem, k = c->nelem;
    const double cost = std::log(double(k));
    for (int64_t i0 = 0; i0 < n; i0 += poll_block) {
        int64_t i1 = i0 + poll_block < n ? i0 + poll_block : n;
        for (int64_t i = i0; i < i1; ++i) r->data[i] = nearest(c->data, k, x->data[i]);
        MUTILS_TRY(poll.add(cost * double(i1 - i0)));
    }
    return nullptr;
}

template <class T> const char* quantize_linear(const mat_t<T>* x, const mat_t<T>* c, void* intrp, _uint32_mat* r) {
    validate(x);
    validate(c);
    validate(r);
    MUTILS_TRY(check_quantizer<T>(x, c, r));
    Poll poll(intrp);
    return linear_pass<T>(x, c, poll, r);
}

template <class T> bool within_pi(const mat_t<T>* m) {
    const T pi = T(std::numbers::pi);
    for (int32_t i = 0; i < m->nelem; ++i)
        if (!(m->data[i] >= -pi && m->data[i] <= pi)) return false;
    return true;
}

// Angular distance folded into [0, pi] the way the end rule measures it.
inline double folded(double a, double b) {
    constexpr double two_pi = 2.0 * std::numbers::pi;
    double d = std::fabs(a - b);
    return d >= std::numbers::pi ? std::fabs(d - two_pi) : d;
}

template <class T> const char* quantize_angle(const mat_t<T>* x, const mat_t<T>* c, void* intrp, _uint32_mat* r) {
    validate(x);
    validate(c);
    validate(r);
    if (!within_pi<T>(x) || !within_pi<T>(c)) return msg::index_out_of_bounds;
    MUTILS_TRY(check_quantizer<T>(x, c, r));
    Poll poll(intrp);
    MUTILS_TRY(linear_pass<T>(x, c, poll, r));

    // The two end candidates are the result's own first and last entries, read as numbers.
    const uint32_t last = uint32_t(r->nelem - 1);
    const double first_value = double(r->data[0]), last_value = double(r->data[last]);
    for (int32_t i = 0; i < x->nelem; ++i) {
        if (r->data[i] != 0 && r->data[i] != last) continue;
        double a = double(x->data[i]);
        if (a < 0) a += 2.0 * std::numbers::pi;
        r->data[i] = folded(last_value, a) >= folded(first_value, a) ? 0 : last;
    }
    return poll.add(3.0 * x->nelem);
}

// Universal frame: dispatch on the data's type, codebook brought to it, result must be u32.
template <class Types, class F>
const char* quantize_univ(const _univ_mat* x, const _univ_mat* c, void* intrp, _univ_mat* r, F typed) {
    return univ_call(Types{}, with(x, pass(c), fixed<uint32_t>(r)),
                     [&](auto t, auto* tx, auto* uc, auto* tr) -> const char* {
                         using T = MUTILS_T(t);
                         _univ_mat cc;
                         MUTILS_TRY(to_common(uc, x->type, intrp, &cc));
                         return typed(t, tx, as<T>(&cc), tr);
                     });
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_QUANTIZE(CODE, T, NAME, FN)                                                            \
    const char* cls##CODE##_scalar_quantize_##NAME(const mat_t<T>* x, const mat_t<T>* c, void* intrp, \
                                                   _uint32_mat* r) {                                  \
        return FN<T>(x, c, intrp, r);                                                                 \
    }
MUTILS_QUANTIZE(dbl, double, linear, quantize_linear)
MUTILS_QUANTIZE(flt, float, linear, quantize_linear)
MUTILS_QUANTIZE(s32, int32_t, linear, quantize_linear)
MUTILS_QUANTIZE(s16, int16_t, linear, quantize_linear)
MUTILS_QUANTIZE(u32, uint32_t, linear, quantize_linear)
MUTILS_QUANTIZE(u16, uint16_t, linear, quantize_linear)
MUTILS_QUANTIZE(u8, unsigned char, linear, quantize_linear)
MUTILS_QUANTIZE(dbl, double, angle, quantize_angle)
MUTILS_QUANTIZE(flt, float, angle, quantize_angle)
#undef MUTILS_QUANTIZE

const char* clsuniv_scalar_quantize_linear(const _univ_mat* x, const _univ_mat* c, void* intrp, _univ_mat* r) {
    return quantize_univ<linear_types>(x, c, intrp, r, [&](auto t, auto* tx, auto* tc, _uint32_mat* tr) {
        return quantize_linear<typename decltype(t)::type>(tx, tc, intrp, tr);
    });
}

const char* clsuniv_scalar_quantize_angle(const _univ_mat* x, const _univ_mat* c, void* intrp, _univ_mat* r) {
    return quantize_univ<angle_types>(x, c, intrp, r, [&](auto t, auto* tx, auto* tc, _uint32_mat* tr) {
        return quantize_angle<typename decltype(t)::type>(tx, tc, intrp, tr);
    });
}

}  // namespace mutils
