// Universal members on operands of other types: conversion slice by slice over large matrices.
// (Agreement of every universal member with its typed member is in tests/core/test_differential.cpp.)
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

template <class T> std::vector<T> draws(std::mt19937& rng, int n) {
    std::vector<T> v(n);
    for (T& x : v) {
        if constexpr (std::is_integral_v<T>) {
            x = T(std::uniform_int_distribution<int>(0, 255)(rng));
        } else {
            x = T(std::uniform_real_distribution<double>(-1000, 1000)(rng));
        }
    }
    return v;
}

using UnivSlices = ArenaTest;

TEST_F(UnivSlices, ConvertedOperandsSpanManySlices) {
    std::mt19937 rng(7);
    const int32_t rows = 70, cols = 100;  // more elements than one conversion slice
    std::vector<unsigned char> a8 = draws<unsigned char>(rng, rows * cols);
    std::vector<double> bd = draws<double>(rng, rows * cols);
    _univ_mat a = make_univ<unsigned char>(rows, cols, a8), b = make_univ<double>(rows, cols, bd),
              r = make_univ<double>(rows, cols);
    ASSERT_EQ(message(matuniv_subtract(&a, &b, nullptr, &r)), "");
    std::vector<double> got = values_of<double>(r);
    for (int i = 0; i < rows * cols; ++i) ASSERT_EQ(got[i], double(a8[i]) - bd[i]) << i;
    ASSERT_EQ(message(matuniv_add(&a, &r, nullptr, &r)), "");  // in place beside a converted operand
    got = values_of<double>(r);
    for (int i = 0; i < rows * cols; ++i) ASSERT_EQ(got[i], double(a8[i]) - bd[i] + double(a8[i])) << i;

    std::vector<int32_t> big(rows * cols, 1);
    big.back() = 70000;
    _univ_mat s32 = make_univ<int32_t>(rows, cols, big), s16 = make_univ<int16_t>(rows, cols);
    EXPECT_EQ(raised([&] { matuniv_abs(&s32, nullptr, &s16); }), "overflow");
    _univ_mat other = make_univ<int16_t>(cols, rows);
    EXPECT_EQ(message(matuniv_add(&a, &a, nullptr, &other)), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
