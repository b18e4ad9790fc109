#include "rescale.h"

#include <cmath>

#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

struct Range {
    double min, max;
};

// Smallest and largest element of A, NaN left out (both NaN when every element is NaN).
// A local helper until the statistics family provides the range operation.
template <class T> Range value_range(const mat_t<T>* a) {
    Range out{NAN, NAN};
    const T* p = a->data;
    int64_t i = 0;
    const int64_t n = a->nelem;
    while (i < n && p[i] != p[i]) ++i;  // skip leading NaN
    if (i == n) return out;
    T lo = p[i], hi = p[i];
    for (; i < n; ++i) {
        lo = p[i] < lo ? p[i] : lo;
        hi = p[i] > hi ? p[i] : hi;
    }
    return {double(lo), double(hi)};
}

template <class T> const char* rescale(const mat_t<T>* a, T lo, T hi, void* intrp, mat_t<T>* r) {
    validate(r);
    validate(a);
    MUTILS_TRY(require_same_size(r, a));
    if (!(lo <= hi)) return msg::illegal_data_value;
    Poll poll(intrp);
    const Range range = value_range<T>(a);
    MUTILS_TRY(poll.add(double(a->nelem)));
    const double dlo = double(lo), dhi = double(hi), min = range.min;
    const double scale = range.max > range.min ? (dhi - dlo) / (range.max - range.min) : 0.0;
    map_pass(a->data, r->data, a->nelem, [=](T x) -> T {
        const double y = (double(x) - min) * scale + dlo;
        if constexpr (std::is_integral_v<T>) {
            const double v = std::floor(y + 0.5);
            return T(v < dlo ? dlo : (v > dhi ? dhi : v));
        } else {
            return T(y);
        }
    });
    return poll.add(pass_cost(a->nelem));
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_RESCALE(CODE, T, REC) \
    const char* mat##CODE##_rescale(const REC* a, T lo, T hi, void* i, REC* r) { return rescale<T>(a, lo, hi, i, r); }
MUTILS_FOR_REAL_TYPES(MUTILS_RESCALE)
#undef MUTILS_RESCALE

const char* matuniv_rescale(const _univ_mat* a, _univ_scalar lo, _univ_scalar hi, void* i, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    _univ_scalar clo, chi;
    MUTILS_TRY(scalar_to(lo, r->type, false, &clo));
    MUTILS_TRY(scalar_to(hi, r->type, false, &chi));
    return univ_apply_whole(
        real_types{}, i, r,
        [&](auto t, const _univ_mat* ca, _univ_mat* cr) {
            using T = typename decltype(t)::type;
            return rescale<T>(as<T>(ca), scalar_get<T>(clo), scalar_get<T>(chi), i, as<T>(cr));
        },
        a);
}

}  // namespace mutils
