// Sorting by index (full and partial), permutation, sorting, median, quantiles and unique values,
// checked against the standard library on random data of every element type.
#include <algorithm>
#include <cmath>

#include "mat_support.h"

namespace mutils::test {
namespace {

using SortTest = ArenaTest;

/// Random values of T with many repeats when `narrow` (so ties and equal runs are exercised).
template <class T> detail::mat_t<T> random_data(std::mt19937& rng, int32_t rows, int32_t cols, bool narrow) {
    auto m = random_mat<T>(rng, rows, cols);
    if (narrow)
        for (int32_t i = 0; i < m.nelem; ++i) m.data[i] = T(std::uniform_int_distribution<int>(0, 12)(rng));
    return m;
}

/// Whether `index` is a permutation of 0 .. n-1.
bool is_permutation_of_positions(const _sint32_mat& index) {
    std::vector<int32_t> v = values(index);
    std::sort(v.begin(), v.end());
    for (int32_t i = 0; i < int32_t(v.size()); ++i)
        if (v[i] != i) return false;
    return true;
}

template <class T> void expect_full_sort_matches_std(std::mt19937& rng, int32_t rows, int32_t cols, bool narrow) {
    SCOPED_TRACE(std::string(detail::elem<T>::code) + " " + std::to_string(rows) + "x" + std::to_string(cols));
    auto a = random_data<T>(rng, rows, cols, narrow);
    const std::vector<T> original = values(a);
    std::vector<T> expected = original;
    std::sort(expected.begin(), expected.end());

    auto ua = univ(a);
    auto index = make<int32_t>(rows, cols);
    ASSERT_EQ(message(matuniv_sort_index_partial(&ua, nullptr, nullptr, &index)), "");
    EXPECT_TRUE(is_permutation_of_positions(index));
    for (int32_t k = 0; k < a.nelem; ++k) ASSERT_EQ(a.data[index.data[k]], expected[k]) << k;
    EXPECT_EQ(values(a), original);  // the input never moves

    auto r = make_univ<T>(rows, cols);
    ASSERT_EQ(message(matuniv_sort(&ua, nullptr, &r)), "");
    EXPECT_EQ(values_of<T>(r), expected);
}

TEST_F(SortTest, FullSortsMatchStdSortForEveryType) {
    std::mt19937 rng(5);
    for (auto [rows, cols] : {std::pair{1, 1}, {1, 2}, {3, 3}, {1, 10}, {7, 13}, {100, 100}}) {
        for (bool narrow : {false, true}) {
            each_real_type([&](auto z) { expect_full_sort_matches_std<decltype(z)>(rng, rows, cols, narrow); });
        }
    }
}

TEST_F(SortTest, OrderedReversedAndConstantInputsSort) {
    // The shapes that defeat naive pivots, at sizes well past the insertion threshold.
    const int32_t n = 5000;
    std::vector<int32_t> up(n), down(n), same(n, 7), organ(n);
    for (int32_t i = 0; i < n; ++i) {
        up[i] = i;
        down[i] = n - i;
        organ[i] = i < n / 2 ? i : n - i;
    }
    for (const auto& v : {up, down, same, organ}) {
        auto a = make_univ<int32_t>(1, n, v), r = make_univ<int32_t>(1, n);
        ASSERT_EQ(message(matuniv_sort(&a, nullptr, &r)), "");
        std::vector<int32_t> expected = v;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(values_of<int32_t>(r), expected);
    }
}

TEST_F(SortTest, NaNsSortLastAndSortingInPlaceWorks) {
    auto a = make_univ<double>(2, 3, {3, NAN, -1, 2, NAN, 0});
    ASSERT_EQ(message(matuniv_sort(&a, nullptr, &a)), "");
    auto v = values_of<double>(a);
    EXPECT_EQ(std::vector<double>(v.begin(), v.begin() + 4), (std::vector<double>{-1, 0, 2, 3}));
    EXPECT_TRUE(std::isnan(v[4]) && std::isnan(v[5]));
    EXPECT_EQ(a.nrow, 2);  // the shape stays

    auto f = make<float>(1, 4, {NAN, 2, NAN, 1});
    auto index = make<int32_t>(1, 4);
    ASSERT_EQ(message(matflt_sort_index_partial(&f, nullptr, nullptr, &index)), "");
    EXPECT_EQ(index.data[0], 3);
    EXPECT_EQ(index.data[1], 1);
}

// With positions, exactly those positions hold what a full sort puts there, and every entry
// before (after) such a position is not greater (not smaller).
template <class T> void expect_partial_sort_places_the_positions(std::mt19937& rng, int32_t n, int npos) {
    SCOPED_TRACE(std::string(detail::elem<T>::code) + " n=" + std::to_string(n) + " positions=" + std::to_string(npos));
    auto a = random_data<T>(rng, 1, n, std::uniform_int_distribution<int>(0, 1)(rng) == 1);
    std::vector<T> sorted = values(a);
    std::sort(sorted.begin(), sorted.end());
    auto p = make<int32_t>(npos, 1);
    for (int i = 0; i < npos; ++i) p.data[i] = std::uniform_int_distribution<int32_t>(0, n - 1)(rng);
    auto index = make<int32_t>(1, n);
    auto ua = univ(a);
    ASSERT_EQ(message(matuniv_sort_index_partial(&ua, &p, nullptr, &index)), "");
    ASSERT_TRUE(is_permutation_of_positions(index));
    for (int i = 0; i < npos; ++i) {
        const int32_t k = p.data[i];
        ASSERT_EQ(a.data[index.data[k]], sorted[k]) << "position " << k;
        for (int32_t j = 0; j < k; ++j) ASSERT_LE(a.data[index.data[j]], sorted[k]);
        for (int32_t j = k + 1; j < n; ++j) ASSERT_GE(a.data[index.data[j]], sorted[k]);
    }
}

TEST_F(SortTest, PartialSortPlacesExactlyTheRequestedPositions) {
    std::mt19937 rng(11);
    for (int round = 0; round < 20; ++round) {
        const int32_t n = std::uniform_int_distribution<int32_t>(1, 3000)(rng);
        const int npos = std::uniform_int_distribution<int>(1, 6)(rng);
        each_real_type([&](auto z) { expect_partial_sort_places_the_positions<decltype(z)>(rng, n, npos); });
    }
}

TEST_F(SortTest, PartialSortSortsNoMoreThanAsked) {
    // Ranges that hold no requested position are left as they are: asking for the smallest of
    // a thousand values leaves the upper part of the index unsorted.
    std::mt19937 rng(1);
    auto a = random_mat<double>(rng, 1, 1000);
    auto index = make<int32_t>(1, 1000);
    auto first = make<int32_t>(1, 1, {0});
    ASSERT_EQ(message(matdbl_sort_index_partial(&a, &first, nullptr, &index)), "");
    EXPECT_EQ(a.data[index.data[0]], *std::min_element(a.data, a.data + 1000));
    bool ordered = true;
    for (int32_t k = 1; k < 1000; ++k) ordered = ordered && a.data[index.data[k - 1]] <= a.data[index.data[k]];
    EXPECT_FALSE(ordered);
    // An empty position list leaves the identity.
    _sint32_mat none{0, 0, 0, nullptr};
    ASSERT_EQ(message(matdbl_sort_index_partial(&a, &none, nullptr, &index)), "");
    for (int32_t k = 0; k < 1000; ++k) ASSERT_EQ(index.data[k], k);
}

TEST_F(SortTest, SortIndexRefusalsLeaveTheIndexUntouched) {
    auto a = make_univ<double>(2, 3, {1, 2, 3, 4, 5, 6});
    auto index = make<int32_t>(2, 3, {9, 9, 9, 9, 9, 9});
    auto flat = make<int32_t>(1, 6);
    EXPECT_EQ(message(matuniv_sort_index_partial(&a, nullptr, nullptr, &flat)), "array size mismatch");
    for (int32_t bad : {-1, 6}) {
        auto p = make<int32_t>(1, 2, {0, bad});
        EXPECT_EQ(message(matuniv_sort_index_partial(&a, &p, nullptr, &index)), "Illegal data value");
    }
    EXPECT_EQ(values(index), (std::vector<int32_t>(6, 9)));
    auto c = make_univ<_dcomplex>(2, 3);
    EXPECT_EQ(message(matuniv_sort_index_partial(&c, nullptr, nullptr, &index)), "Illegal data type");
    EXPECT_EQ(message(matuniv_sort_index_partial(nullptr, nullptr, nullptr, &index)), "null pointer");
    EXPECT_EQ(message(matuniv_sort_index_partial(&a, nullptr, nullptr, nullptr)), "null pointer");
}

TEST_F(SortTest, PermuteGathersByIndexIntoTheIndexShape) {
    auto a = make<int16_t>(2, 2, {10, 20, 30, 40});
    auto index = make<int32_t>(1, 3, {3, 0, 3});
    auto r = make<int16_t>(1, 3);
    ASSERT_EQ(message(mats16_permute(&a, &index, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int16_t>{40, 10, 40}));
    auto wrong = make<int16_t>(3, 1);
    EXPECT_EQ(message(mats16_permute(&a, &index, nullptr, &wrong)), "array size mismatch");
    index.data[1] = 4;
    EXPECT_EQ(message(mats16_permute(&a, &index, nullptr, &r)), "Illegal data value");
    index.data[1] = -1;
    EXPECT_EQ(message(mats16_permute(&a, &index, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(values(r), (std::vector<int16_t>{40, 10, 40}));  // untouched
    auto square = make<int32_t>(2, 2, {1, 0, 3, 2});
    EXPECT_EQ(message(mats16_permute(&a, &square, nullptr, &a)), "Illegal memory address");

    auto ua = univ(a), ur = univ(r);
    index.data[1] = 1;
    EXPECT_EQ(message(matuniv_permute(&ua, &index, nullptr, &ur)), "");
    EXPECT_EQ(values(r), (std::vector<int16_t>{40, 20, 40}));
    auto u16 = make_univ<uint16_t>(2, 2), r16 = make_univ<uint16_t>(1, 3);
    EXPECT_EQ(message(matuniv_permute(&u16, &index, nullptr, &r16)), "Illegal data type");  // no u16 member
    auto rd = make_univ<double>(1, 3);
    EXPECT_EQ(message(matuniv_permute(&ua, &index, nullptr, &rd)), "Illegal data type");
    EXPECT_EQ(message(matuniv_permute(&ua, nullptr, nullptr, &ur)), "null pointer");
}

TEST_F(SortTest, MedianOfOddAndEvenCounts) {
    double m = 0;
    auto even = make_univ<int32_t>(2, 2, {4, 1, 3, 2}), one = make_univ<unsigned char>(1, 1, {7});
    auto big = make_univ<uint32_t>(1, 2, {4294967295u, 4294967293u});  // averaged in double, no wrap
    for (auto [u, want] : {std::pair{&even, 2.5}, {&one, 7.0}, {&big, 4294967294.0}}) {
        ASSERT_EQ(message(matuniv_median(u, nullptr, &m)), "");
        EXPECT_EQ(m, want);
    }

    // Empty input: an invalid record, raised like every other one.
    _univ_mat empty{0, 4, 0, even.data, MUTIL_SINT32};
    EXPECT_EQ(raised([&] { matuniv_median(&empty, nullptr, &m); }), "array size mismatch");
    auto c = make_univ<_dcomplex>(1, 3);
    EXPECT_EQ(message(matuniv_median(&c, nullptr, &m)), "Illegal data type");
    EXPECT_EQ(message(matuniv_median(&even, nullptr, nullptr)), "null pointer");
}

template <class T> void expect_median_matches_nth_element(std::mt19937& rng, int32_t n) {
    SCOPED_TRACE(std::string(detail::elem<T>::code) + " n=" + std::to_string(n));
    auto a = random_data<T>(rng, 1, n, n % 3 == 0);
    std::vector<double> v(a.data, a.data + n);
    std::nth_element(v.begin(), v.begin() + n / 2, v.end());
    double expected = v[n / 2];
    if (n % 2 == 0) expected = (*std::max_element(v.begin(), v.begin() + n / 2) + expected) * 0.5;
    auto ua = univ(a);
    double m = 0;
    ASSERT_EQ(message(matuniv_median(&ua, nullptr, &m)), "");
    EXPECT_EQ(m, expected);
}

TEST_F(SortTest, MedianMatchesNthElementForEveryType) {
    std::mt19937 rng(3);
    for (int32_t n : {1, 2, 9, 10, 11, 100, 1001, 4096}) {
        each_real_type([&](auto z) { expect_median_matches_nth_element<decltype(z)>(rng, n); });
    }
}

TEST_F(SortTest, QuantilesInterpolateBetweenOrderStatistics) {
    auto x = make_univ<int16_t>(1, 3, {3, 1, 2});
    auto q = make_univ<double>(1, 3, {0, 0.25, 1});
    auto r = make_univ<double>(1, 3);
    ASSERT_EQ(message(matuniv_quantiles(&x, &q, nullptr, &r)), "");
    EXPECT_EQ(values_of<double>(r), (std::vector<double>{1, 1.5, 3}));

    // Random data against a full sort: q = 0.5 is the median.
    std::mt19937 rng(8);
    auto big = random_mat<double>(rng, 37, 41);
    std::vector<double> sorted = values(big);
    std::sort(sorted.begin(), sorted.end());
    const int32_t n = big.nelem;
    auto probs = make_univ<double>(4, 2);
    for (int32_t k = 0; k < 8; ++k) static_cast<double*>(probs.data)[k] = std::uniform_real_distribution<>(0, 1)(rng);
    static_cast<double*>(probs.data)[7] = 0.5;
    auto out = make_univ<double>(4, 2);
    auto ubig = univ(big);
    ASSERT_EQ(message(matuniv_quantiles(&ubig, &probs, nullptr, &out)), "");
    for (int32_t k = 0; k < 8; ++k) {
        const double t = (n - 1) * static_cast<double*>(probs.data)[k];
        const int32_t k0 = int32_t(std::floor(t)), k1 = std::min(k0 + 1, n - 1);
        const double expected = sorted[k0] + (t - k0) * (sorted[k1] - sorted[k0]);
        EXPECT_NEAR(static_cast<double*>(out.data)[k], expected, 1e-12 * std::fabs(expected) + 1e-12);
    }
    double median = 0;
    ASSERT_EQ(message(matuniv_median(&ubig, nullptr, &median)), "");
    EXPECT_EQ(static_cast<double*>(out.data)[7], median);
}

TEST_F(SortTest, QuantileRefusalsInOrder) {
    auto x = make_univ<double>(1, 3, {3, 1, 2});
    auto q = make_univ<double>(1, 2, {0.5, 1.5});
    auto r = make_univ<double>(1, 2, {-7, -7});
    auto qf = make_univ<float>(1, 2), rrow = make_univ<double>(2, 1);
    EXPECT_EQ(message(matuniv_quantiles(&x, &qf, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(matuniv_quantiles(&x, &q, nullptr, &qf)), "Illegal data type");
    EXPECT_EQ(message(matuniv_quantiles(&x, &q, nullptr, &rrow)), "array size mismatch");
    EXPECT_EQ(message(matuniv_quantiles(&x, &q, nullptr, &r)), "Illegal data value");
    static_cast<double*>(q.data)[1] = NAN;
    EXPECT_EQ(message(matuniv_quantiles(&x, &q, nullptr, &r)), "Illegal data value");
    static_cast<double*>(q.data)[1] = 1.0;
    _univ_mat empty{1, 0, 0, nullptr, MUTIL_DOUBLE};
    EXPECT_EQ(message(matuniv_quantiles(&empty, &q, nullptr, &r)), "");
    EXPECT_EQ(values_of<double>(r), (std::vector<double>{-7, -7}));  // nothing to take quantiles of
    auto c = make_univ<_dcomplex>(1, 3);
    EXPECT_EQ(message(matuniv_quantiles(&c, &q, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(matuniv_quantiles(&x, nullptr, nullptr, &r)), "null pointer");
}

TEST_F(SortTest, UniqueAscendingOrInOrderOfFirstAppearance) {
    auto a = make<int32_t>(2, 4, {5, -1, 5, 3, -1, 7, 3, 5});
    auto r = make<int32_t>(2, 4);
    ASSERT_EQ(message(mats32_unique(&a, 0, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{-1, 3, 5, 7}));
    EXPECT_EQ(r.nrow, 4);  // resized to a column of the k values
    EXPECT_EQ(r.ncol, 1);
    auto row = make<int32_t>(1, 8);
    ASSERT_EQ(message(mats32_unique(&a, 1, nullptr, &row)), "");
    EXPECT_EQ(values(row), (std::vector<int32_t>{5, -1, 3, 7}));
    EXPECT_EQ(row.nrow, 1);
    auto exact = make<int32_t>(2, 2);
    EXPECT_EQ(message(mats32_unique(&a, 0, nullptr, &exact)), "");
    auto small = make<int32_t>(1, 3, {0, 0, 0});
    EXPECT_EQ(message(mats32_unique(&a, 0, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(values(small), (std::vector<int32_t>{0, 0, 0}));

    auto d = make<double>(1, 6, {NAN, 0.0, 2, -0.0, NAN, 2});
    auto rd = make<double>(1, 6);
    ASSERT_EQ(message(matdbl_unique(&d, 0, nullptr, &rd)), "");
    ASSERT_EQ(rd.nelem, 3);  // 0 and -0 are one value, the NaNs one more
    EXPECT_EQ(rd.data[0], 0.0);
    EXPECT_EQ(rd.data[1], 2.0);
    EXPECT_TRUE(std::isnan(rd.data[2]));

    auto ua = univ(a);
    auto ud = make_univ<double>(2, 4);
    EXPECT_EQ(message(matuniv_unique(&ua, 0, nullptr, &ud)), "Illegal data type");
    EXPECT_EQ(message(matuniv_unique(&ua, 0, nullptr, nullptr)), "null pointer");
}

template <class T> void expect_unique_matches_std(std::mt19937& rng) {
    SCOPED_TRACE(detail::elem<T>::code);
    auto a = random_data<T>(rng, 20, 30, true);
    std::vector<T> expected = values(a);
    std::sort(expected.begin(), expected.end());
    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
    auto ua = univ(a);
    auto ur = make_univ<T>(1, 600);
    ASSERT_EQ(message(matuniv_unique(&ua, 0, nullptr, &ur)), "");
    EXPECT_EQ(values_of<T>(ur), expected);
    EXPECT_EQ(ur.ncol, int32_t(expected.size()));
}

TEST_F(SortTest, UniqueMatchesStdUniqueForEveryType) {
    std::mt19937 rng(13);
    each_real_type([&](auto z) { expect_unique_matches_std<decltype(z)>(rng); });
}

}  // namespace
}  // namespace mutils::test
