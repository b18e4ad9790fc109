// Helpers of the matrix tests: random matrices of every element type and byte-wise comparison.
#pragma once

#include <cstring>
#include <random>

#include "support.h"

namespace mutils::test {

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
