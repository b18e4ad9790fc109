// Sums, element-wise extremes, ranges, entropy, counts of equal elements and error measures.
#include <algorithm>
#include <cmath>
#include <tuple>

#include "mat_support.h"

namespace mutils::test {
namespace {

using StatsTest = ArenaTest;

/// The sum a typed member gives of `v`.
template <class T, class F> T sum_of(F member, const std::vector<T>& v) {
    auto m = make<T>(1, int32_t(v.size()), v);
    T s{};
    EXPECT_EQ(message(member(&m, nullptr, &s)), "");
    return s;
}

TEST_F(StatsTest, SumsWrapInTheElementType) {
    EXPECT_EQ(sum_of<unsigned char>(matu8_sum, {200, 100}), 44);
    EXPECT_EQ(sum_of<int16_t>(mats16_sum, {32767, 1, -5}), 32763);  // wraps to -32768, then back to 32763
    EXPECT_EQ(sum_of<int32_t>(mats32_sum, {-2147483647, -3}), 2147483646);
    EXPECT_EQ(sum_of<float>(matflt_sum, {16777216.0f, 1.0f, 1.0f}), 16777216.0f);  // 2^24: each +1 is lost
    double d = 0;
    auto dm = make<double>(1, 2, {0.5, 0.25});
    EXPECT_EQ(message(matdbl_sum(&dm, nullptr, nullptr)), "null pointer");
    auto udm = univ(dm);
    EXPECT_EQ(message(matuniv_sum(&udm, nullptr, nullptr)), "null pointer");
    EXPECT_EQ(::matdbl_sum(&dm, nullptr, &d), MUTIL_ERR_OK);
    EXPECT_EQ(d, 0.75);
}

TEST_F(StatsTest, CumulativeAndRowAndColumnSums) {
    auto a = make<uint16_t>(2, 3, {1, 2, 3, 65535, 5, 6});
    auto c = make<uint16_t>(3, 2);  // another shape, the same count
    EXPECT_EQ(message(matu16_cumulative_sum(&a, nullptr, &c)), "");
    EXPECT_EQ(values(c), (std::vector<uint16_t>{1, 3, 6, 5, 10, 16}));
    auto few = make<uint16_t>(1, 5);
    EXPECT_EQ(message(matu16_cumulative_sum(&a, nullptr, &few)), "array size mismatch");
    auto rows = make<uint16_t>(2, 1), cols = make<uint16_t>(1, 3);
    EXPECT_EQ(message(matu16_sum_rows(&a, nullptr, &rows)), "");
    EXPECT_EQ(values(rows), (std::vector<uint16_t>{6, 10}));
    EXPECT_EQ(message(matu16_sum_cols(&a, nullptr, &cols)), "");
    EXPECT_EQ(values(cols), (std::vector<uint16_t>{0, 7, 9}));
    EXPECT_EQ(message(matu16_sum_rows(&a, nullptr, &cols)), "array size mismatch");
    EXPECT_EQ(message(matu16_sum_cols(&a, nullptr, &rows)), "array size mismatch");
    EXPECT_EQ(message(matu16_cumulative_sum(&a, nullptr, &a)), "");
    EXPECT_EQ(values(a), (std::vector<uint16_t>{1, 3, 6, 5, 10, 16}));
    auto s32 = make_univ<int32_t>(2, 2), u32 = make_univ<uint32_t>(2, 2);
    EXPECT_EQ(message(matuniv_cumulative_sum(&s32, nullptr, &u32)), "Illegal data type");
}

TEST_F(StatsTest, MinAndMaxPreferNumbersToNaN) {
    auto a = make<double>(1, 4, {1, NAN, 3, NAN});
    auto b = make<double>(1, 4, {2, 5, NAN, NAN});
    auto r = make<double>(1, 4);
    EXPECT_EQ(message(matdbl_min(&a, &b, nullptr, &r)), "");
    EXPECT_EQ(r.data[0], 1);
    EXPECT_EQ(r.data[1], 5);
    EXPECT_EQ(r.data[2], 3);
    EXPECT_TRUE(std::isnan(r.data[3]));
    EXPECT_EQ(message(matdbl_max(&a, &b, nullptr, &r)), "");
    EXPECT_EQ(r.data[0], 2);
    EXPECT_EQ(r.data[2], 3);
    auto wrong = make<double>(4, 1);
    EXPECT_EQ(message(matdbl_max(&a, &b, nullptr, &wrong)), "array size mismatch");
    auto ua = univ(a);
    auto f = make_univ<float>(1, 4);
    EXPECT_EQ(message(matuniv_min(&ua, &ua, nullptr, &f)), "Illegal data type");
}

TEST_F(StatsTest, RangeSkipsNaNs) {
    auto a = make<double>(1, 7, {NAN, 3, -2, NAN, 8, 1, 0});
    double lo = 0, hi = 0;
    EXPECT_EQ(message(matdbl_range(&a, nullptr, &lo, &hi)), "");
    EXPECT_EQ(lo, -2);
    EXPECT_EQ(hi, 8);
    auto n = make<double>(1, 2, {NAN, NAN});
    EXPECT_EQ(message(matdbl_range(&n, nullptr, &lo, &hi)), "");
    EXPECT_TRUE(std::isnan(lo) && std::isnan(hi));
    EXPECT_EQ(message(matdbl_range(&a, nullptr, nullptr, &hi)), "null pointer");
    _double_mat empty{0, 3, 0, a.data};
    EXPECT_EQ(raised([&] { matdbl_range(&empty, nullptr, &lo, &hi); }), "array size mismatch");
    _univ_mat uempty;
    _univ_scalar ulo, uhi;
    matuniv_wrap_data(&uempty, a.data, 0, 3, MUTIL_DOUBLE);
    EXPECT_EQ(raised([&] { ::matuniv_range(&uempty, nullptr, &ulo, &uhi); }), "array size mismatch");
}

TEST_F(StatsTest, RangeRobustKeepsTheIntervalOrFailsLeavingResults) {
    auto a = make<int32_t>(1, 9, {5, -1, 7, 3, 10, 4, 2, 9, 6});
    int32_t lo = 111, hi = 222;
    EXPECT_EQ(message(mats32_range_robust(&a, 11, 20, nullptr, &lo, &hi)), "Illegal data value");
    EXPECT_EQ(message(mats32_range_robust(&a, 7, 3, nullptr, &lo, &hi)), "Illegal data value");
    EXPECT_EQ(std::pair(lo, hi), std::pair(111, 222));
    EXPECT_EQ(message(mats32_range_robust(&a, 3, 7, nullptr, &lo, &hi)), "");
    EXPECT_EQ(std::pair(lo, hi), std::pair(3, 7));
    EXPECT_EQ(message(mats32_range_robust(&a, 9, 9, nullptr, &lo, &hi)), "");
    EXPECT_EQ(std::pair(lo, hi), std::pair(9, 9));
}

TEST_F(StatsTest, UniversalRangeRobustNarrowsDoubleBoundsExactly) {
    auto u = make_univ<unsigned char>(1, 5, {0, 1, 2, 3, 255});
    _univ_scalar lo, hi;
    EXPECT_EQ(message(matuniv_range_robust(&u, 0.5, 2.5, nullptr, &lo, &hi)), "");
    EXPECT_EQ(lo.type, MUTIL_UINT8);
    EXPECT_EQ(lo.val.u8, 1);
    EXPECT_EQ(hi.val.u8, 2);
    EXPECT_EQ(message(matuniv_range_robust(&u, -10, 1e10, nullptr, &lo, &hi)), "");
    EXPECT_EQ(lo.val.u8, 0);
    EXPECT_EQ(hi.val.u8, 255);
    EXPECT_EQ(message(matuniv_range_robust(&u, 300, 400, nullptr, &lo, &hi)), "Illegal data value");
    EXPECT_EQ(message(matuniv_range_robust(&u, 1.2, 1.8, nullptr, &lo, &hi)), "Illegal data value");
    EXPECT_EQ(message(matuniv_range_robust(&u, NAN, 1, nullptr, &lo, &hi)), "Illegal data value");

    auto f = make_univ<float>(1, 3, {0.1f, 0.2f, 0.3f});
    // 0.1f is slightly above 0.1 and 0.3f slightly above 0.3.
    EXPECT_EQ(message(matuniv_range_robust(&f, 0.1, 0.3, nullptr, &lo, &hi)), "");
    EXPECT_EQ(lo.val.flt, 0.1f);
    EXPECT_EQ(hi.val.flt, 0.2f);
}

TEST_F(StatsTest, EntropyOfProbabilitiesAndOfCounts) {
    double h = -1;
    auto half = make<double>(1, 2, {0.5, 0.5});
    // Floating inputs are probabilities (summing to 1 within a tolerance), integers are counts.
    const std::tuple<_univ_mat, double, double> cases[] = {
        {make_univ<double>(1, 2, {0.5, 0.5}), 1.0, 1e-15},
        {make_univ<double>(1, 2, {1, 0}), 0.0, 0.0},
        {make_univ<float>(1, 4, {0.25f, 0.25f, 0.25f, 0.250004f}), 2.0, 1e-4},
        {make_univ<int32_t>(1, 3, {1, 1, 2}), 1.5, 1e-15},
        {make_univ<unsigned char>(2, 2, {3, 0, 3, 0}), 1.0, 1e-15}};
    for (auto [u, want, tol] : cases) {
        EXPECT_EQ(message(matuniv_entropy(&u, nullptr, &h)), "");
        EXPECT_NEAR(h, want, tol) << u.type;
    }
    for (_univ_mat u : {make_univ<double>(1, 2, {0.5, 0.6}), make_univ<float>(1, 3, {-0.5f, 1.0f, 0.5f}),
                        make_univ<int32_t>(1, 3, {-1, 1, 2})})
        EXPECT_EQ(message(matuniv_entropy(&u, nullptr, &h)), "Illegal data value") << u.type;
    auto zeros = make<uint16_t>(1, 3);
    EXPECT_EQ(message(matu16_entropy(&zeros, nullptr, &h)), "");
    EXPECT_TRUE(std::isnan(h));
    // Empty inputs are invalid records (the universal wrap admits them): raised, result untouched.
    h = -1;
    _univ_mat empty;
    matuniv_wrap_data(&empty, half.data, 2, 0, MUTIL_DOUBLE);
    EXPECT_EQ(raised([&] { matuniv_entropy(&empty, nullptr, &h); }), "array size mismatch");
    EXPECT_EQ(h, -1);
}

TEST_F(StatsTest, CountsOfEqualElements) {
    auto a = make<float>(1, 5, {1, 2, NAN, 2, 0.5f});
    auto b = make<float>(1, 5, {1, 3, NAN, 2, 0.5f});
    uint32_t n = 0;
    EXPECT_EQ(message(matflt_number_equal(&a, &b, nullptr, &n)), "");
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(message(matflt_number_equal_scalar(&a, 2.0f, nullptr, &n)), "");
    EXPECT_EQ(n, 2u);
    auto c = make<float>(5, 1);
    EXPECT_EQ(message(matflt_number_equal(&a, &c, nullptr, &n)), "array size mismatch");

    // The scalar is compared by value in the matrix's type: 0.1 is no float, 65535 is the bits of -1 but not its value.
    auto ua = univ(a);
    auto s = make_univ<int16_t>(1, 4, {-1, -1, 2, 0});
    const std::tuple<_univ_mat*, _univ_scalar, uint32_t> cases[] = {{&ua, scalar_dbl(0.5), 1},
                                                                    {&ua, scalar_dbl(0.1), 0},
                                                                    {&s, scalar_s32(-1), 2},
                                                                    {&s, scalar_u16(65535), 0},
                                                                    {&s, scalar_dbl(2.0), 1}};
    for (auto [u, x, want] : cases) {
        EXPECT_EQ(message(matuniv_number_equal_scalar(u, x, nullptr, &n)), "");
        EXPECT_EQ(n, want) << x.type;
    }
    EXPECT_EQ(message(matuniv_number_equal_scalar(&s, scalar_cpx({2, 0}), nullptr, &n)), "Illegal data type");
    EXPECT_EQ(message(matuniv_number_equal_scalar(nullptr, scalar_cpx({2, 0}), nullptr, &n)), "null pointer");
    auto u = make_univ<uint16_t>(1, 4);
    EXPECT_EQ(message(matuniv_number_equal(&s, &u, nullptr, &n)), "Illegal data type");
}

TEST_F(StatsTest, MeanSquaredErrorAndSignalToNoiseRatio) {
    auto a = make_univ<unsigned char>(1, 4, {1, 2, 3, 4});
    auto b = make_univ<double>(1, 4, {1, 2, 3, 6});
    double e = 0;
    EXPECT_EQ(message(matuniv_mean_squared_error(&a, &b, nullptr, &e)), "");
    EXPECT_DOUBLE_EQ(e, 1.0);
    EXPECT_EQ(::matuniv_mean_squared_error(&a, &b, nullptr, &e), MUTIL_ERR_OK);

    double ratio = 0;
    unsigned char infinite = 9;
    EXPECT_EQ(message(matuniv_signal_to_noise_ratio(&a, &a, nullptr, &ratio, &infinite)), "");
    EXPECT_EQ(infinite, 1);
    EXPECT_EQ(ratio, 1e37);
    EXPECT_EQ(message(matuniv_signal_to_noise_ratio(&a, &b, nullptr, &ratio, &infinite)), "");
    EXPECT_EQ(infinite, 0);
    EXPECT_DOUBLE_EQ(ratio, 10.0 * std::log10(30.0 / 4.0 / 1.0));

    auto shorter = make_univ<double>(1, 3);
    EXPECT_EQ(message(matuniv_mean_squared_error(&a, &shorter, nullptr, &e)), "array size mismatch");
    EXPECT_EQ(message(matuniv_signal_to_noise_ratio(&a, nullptr, nullptr, &ratio, &infinite)), "null pointer");
    auto c = make_univ<_dcomplex>(1, 4);
    EXPECT_EQ(::matuniv_signal_to_noise_ratio(&c, &b, nullptr, &ratio, &infinite), MUTIL_ERR_ILLEGAL_TYPE);
}

TEST_F(StatsTest, RangeMatchesMinAndMaxElementForEveryType) {
    std::mt19937 rng(17);
    each_real_type([&](auto z) {
        using T = decltype(z);
        auto a = random_mat<T>(rng, 6, 5);
        auto ua = univ(a);
        _univ_scalar ulo, uhi;
        ASSERT_EQ(message(matuniv_range(&ua, nullptr, &ulo, &uhi)), "");
        T lo, hi;
        std::memcpy(&lo, &ulo.val, sizeof lo);
        std::memcpy(&hi, &uhi.val, sizeof hi);
        EXPECT_EQ(*std::min_element(a.data, a.data + a.nelem), lo);
        EXPECT_EQ(*std::max_element(a.data, a.data + a.nelem), hi);
    });
}

}  // namespace
}  // namespace mutils::test
