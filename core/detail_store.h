// Storing a real value computed in double into a result of element type T (not part of the
// installed interface). Filters, resampling and colour conversions compute in double and store
// once, by one rule:
//
//   integer T:  floor(v + 0.5), clipped to T's range (saturating); NaN stores 0
//   float:      the value rounded to float;  double: the value itself
//
// Saturation rather than wrap-around is deliberate here: interpolated or filtered values
// overshoot the input range by design, and wrapping them would turn a bright overshoot black.
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

namespace mutils {
namespace detail {

/// v stored into T by the rule above.
template <class T> inline T store(double v) {
    if constexpr (std::is_integral_v<T>) {
        constexpr double lo = double(std::numeric_limits<T>::lowest()), hi = double(std::numeric_limits<T>::max());
        if (std::isnan(v)) return T(0);
        const double r = std::floor(v + 0.5);
        return r <= lo ? T(lo) : r >= hi ? T(hi) : T(r);
    } else {
        return T(v);
    }
}

/// A run of n values stored into T by the rule above.
template <class T> inline void store_run(const double* v, T* out, int64_t n) {
    for (int64_t i = 0; i < n; ++i) out[i] = store<T>(v[i]);
}

}  // namespace detail
}  // namespace mutils
