// Helpers of the matrix tests: random matrices of every element type and byte-wise comparison.
#pragma once

#include <cstring>
#include <random>

#include "support.h"

namespace mutils::test {

/// A random value of T (integers over their full range, floating values in [-100, 100]).
template <class T> T random_value(std::mt19937& rng) {
    if constexpr (std::is_same_v<T, _dcomplex>) {
        std::uniform_real_distribution<double> d(-100.0, 100.0);
        return _dcomplex{d(rng), d(rng)};
    } else if constexpr (std::is_floating_point_v<T>) {
        return T(std::uniform_real_distribution<double>(-100.0, 100.0)(rng));
    } else {
        return T(std::uniform_int_distribution<int64_t>(std::numeric_limits<T>::lowest(),
                                                        std::numeric_limits<T>::max())(rng));
    }
}

/// A rows x cols matrix of random values of T.
template <class T> detail::mat_t<T> random_mat(std::mt19937& rng, int32_t rows, int32_t cols) {
    detail::mat_t<T> m = make<T>(rows, cols);
    for (int32_t i = 0; i < m.nelem; ++i) m.data[i] = random_value<T>(rng);
    return m;
}

/// Calls f(T{}) once for each real element type.
template <class F> void each_real_type(F f) {
    f(double{}), f(float{}), f((unsigned char)0), f(uint16_t{}), f(uint32_t{}), f(int16_t{}), f(int32_t{});
}

/// The universal record of a typed one (sharing its data).
template <class M> _univ_mat univ(M& m) {
    _univ_mat u;
    matuniv_wrap_matrix(&u, &m, detail::elem<detail::elem_of<M>>::tag);
    return u;
}

/// Whether two records have the same shape and the same element bytes.
template <class A, class B> bool same_bytes(const A& a, const B& b) {
    return a.nrow == b.nrow && a.ncol == b.ncol && a.nelem == b.nelem &&
           std::memcmp(a.data, b.data, std::size_t(a.nelem) * sizeof(*a.data)) == 0;
}

}  // namespace mutils::test
