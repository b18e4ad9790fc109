// Helpers shared by the unit tests: matrices from initialiser lists, and checks of raised errors.
#pragma once

#include <gtest/gtest.h>
#include <mutils.h>

#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/detail.h"

// Tests live in namespace mutils::test: unqualified names find the mutils operations before the
// global plain entry points of the same name (write ::name for those).
namespace mutils::test {

/// A typed matrix of rows x cols holding `values` (row-major), allocated in the current arena.
template <class T> detail::mat_t<T> make(int32_t rows, int32_t cols, const std::vector<T>& values = {}) {
    detail::mat_t<T> m;
    _univ_mat u;
    matuniv_malloc(&u, rows, cols, detail::elem<T>::tag);
    m.nrow = u.nrow;
    m.ncol = u.ncol;
    m.nelem = u.nelem;
    m.data = static_cast<T*>(u.data);
    for (int32_t i = 0; i < m.nelem; ++i) m.data[i] = i < int32_t(values.size()) ? values[i] : T{};
    return m;
}

/// A universal matrix of element type T holding `values`.
template <class T> _univ_mat make_univ(int32_t rows, int32_t cols, const std::vector<T>& values = {}) {
    detail::mat_t<T> m = make<T>(rows, cols, values);
    _univ_mat u;
    matuniv_wrap_matrix(&u, &m, detail::elem<T>::tag);
    return u;
}

/// The elements of a typed record as a vector.
template <class M> auto values(const M& m) { return std::vector<detail::elem_of<M>>(m.data, m.data + m.nelem); }

/// The elements of a universal matrix of element type T as a vector.
template <class T> std::vector<T> values_of(const _univ_mat& u) {
    const T* p = static_cast<const T*>(u.data);
    return std::vector<T>(p, p + u.nelem);
}

/// The message of the Hux::Error raised by f, or "" when nothing was raised.
template <class F> std::string raised(F&& f) {
    try {
        f();
    } catch (const Hux::Error& e) {
        EXPECT_EQ(e.code(), 0xFFFFFFFFu);
        return e.what();
    }
    return "";
}

/// Returned message as a string ("" for success) so EXPECT_EQ prints it.
inline std::string message(const char* m) { return m ? m : ""; }

/// Every test runs in its own arena, released when the test ends.
class ArenaTest : public ::testing::Test {
protected:
    Hux::ArenaScope m_scope;
};

/// True when every named tool is on the path.
inline bool have_tools(std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (std::system(("command -v " + std::string(name) + " >/dev/null 2>&1").c_str()) != 0) return false;
    return true;
}

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

}  // namespace mutils::test
