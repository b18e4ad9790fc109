// Sorting by index (full and partial), permutation, sorting, median, quantiles and unique values,
// checked against the standard library on random data of every element type.
#include <algorithm>
#include <cmath>
#include <numeric>

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
    std::vector<int32_t> v = values(index), identity(v.size());
    std::sort(v.begin(), v.end());
    std::iota(identity.begin(), identity.end(), 0);
    return v == identity;
}

TEST_F(SortTest, FullSortsMatchStdSortForEveryType) {
    std::mt19937 rng(5);
    for (auto [rows, cols] : {std::pair{1, 1}, {1, 2}, {3, 3}, {1, 10}, {7, 13}, {100, 100}}) {
        for (bool narrow : {false, true}) {
            each_real_type([&](auto z) {
                using T = decltype(z);
                SCOPED_TRACE(std::string(detail::elem<T>::code) + " " + std::to_string(rows * cols) + " values");
                auto a = random_data<T>(rng, rows, cols, narrow);
                const std::vector<T> original = values(a);
                std::vector<T> expected = original;
                std::sort(expected.begin(), expected.end());
                auto ua = univ(a);
                auto index = make<int32_t>(rows, cols);
                auto r = make_univ<T>(rows, cols);
                ASSERT_EQ(message(matuniv_sort_index_partial(&ua, nullptr, nullptr, &index)), "");
                EXPECT_TRUE(is_permutation_of_positions(index));
                for (int32_t k = 0; k < a.nelem; ++k) ASSERT_EQ(a.data[index.data[k]], expected[k]) << k;
                EXPECT_EQ(values(a), original);  // the input never moves
                ASSERT_EQ(message(matuniv_sort(&ua, nullptr, &r)), "");
                EXPECT_EQ(values_of<T>(r), expected);
            });
        }
    }
}

TEST_F(SortTest, OrderedReversedAndConstantInputsSort) {
    // The shapes that defeat naive pivots (rising, falling, constant, organ pipe), at sizes well
    // past the insertion threshold.
    const int32_t n = 5000;
    for (int shape = 0; shape < 4; ++shape) {
        std::vector<int32_t> v(n);
        for (int32_t i = 0; i < n; ++i) {
            v[i] = shape == 0 ? i : shape == 1 ? n - i : shape == 2 ? 7 : std::min(i, n - i);
        }
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

TEST_F(SortTest, PartialSortPlacesExactlyTheRequestedPositions) {
    // Those positions hold what a full sort puts there, and every entry before (after) such a
    // position is not greater (not smaller).
    std::mt19937 rng(11);
    for (int round = 0; round < 20; ++round) {
        const int32_t n = std::uniform_int_distribution<int32_t>(1, 3000)(rng);
        const int npos = std::uniform_int_distribution<int>(1, 6)(rng);
        each_real_type([&](auto z) {
            using T = decltype(z);
            SCOPED_TRACE(std::string(detail::elem<T>::code) + " n=" + std::to_string(n));
            auto a = random_data<T>(rng, 1, n, std::uniform_int_distribution<int>(0, 1)(rng) == 1);
            std::vector<T> sorted = values(a);
            std::sort(sorted.begin(), sorted.end());
            auto p = make<int32_t>(npos, 1), index = make<int32_t>(1, n);
            for (int i = 0; i < npos; ++i) p.data[i] = std::uniform_int_distribution<int32_t>(0, n - 1)(rng);
            auto ua = univ(a);
            ASSERT_EQ(message(matuniv_sort_index_partial(&ua, &p, nullptr, &index)), "");
            ASSERT_TRUE(is_permutation_of_positions(index));
            for (int i = 0; i < npos; ++i) {
                const int32_t k = p.data[i];
                ASSERT_EQ(a.data[index.data[k]], sorted[k]) << "position " << k;
                for (int32_t j = 0; j < n; ++j) {
                    ASSERT_TRUE(j < k ? a.data[index.data[j]] <= sorted[k] : a.data[index.data[j]] >= sorted[k]) << j;
                }
            }
        });
    }
    // An empty position list sorts nothing: the index is the identity.
    auto a = random_mat<double>(rng, 1, 1000);
    auto index = make<int32_t>(1, 1000);
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

    auto ua = univ(a), ur = univ(r), rd = make_univ<double>(1, 3);
    EXPECT_EQ(message(matuniv_permute(&ua, &index, nullptr, &rd)), "Illegal data type");
    EXPECT_EQ(message(matuniv_permute(&ua, nullptr, nullptr, &ur)), "null pointer");
}

TEST_F(SortTest, MedianOfOddAndEvenCounts) {
    double m = 0;
    auto even = make_univ<int32_t>(2, 2, {4, 1, 3, 2});
    auto big = make_univ<uint32_t>(1, 2, {4294967295u, 4294967293u});  // averaged in double, no wrap
    ASSERT_EQ(message(matuniv_median(&big, nullptr, &m)), "");
    EXPECT_EQ(m, 4294967294.0);

    // Empty input: an invalid record, raised like every other one.
    _univ_mat empty{0, 4, 0, even.data, MUTIL_SINT32};
    EXPECT_EQ(raised([&] { matuniv_median(&empty, nullptr, &m); }), "array size mismatch");
    auto c = make_univ<_dcomplex>(1, 3);
    EXPECT_EQ(message(matuniv_median(&c, nullptr, &m)), "Illegal data type");
    EXPECT_EQ(message(matuniv_median(&even, nullptr, nullptr)), "null pointer");
}

TEST_F(SortTest, MedianMatchesNthElementForEveryType) {
    std::mt19937 rng(3);
    for (int32_t n : {1, 2, 9, 10, 11, 100, 1001, 4096}) {
        each_real_type([&](auto z) {
            using T = decltype(z);
            SCOPED_TRACE(std::string(detail::elem<T>::code) + " n=" + std::to_string(n));
            auto a = random_data<T>(rng, 1, n, n % 3 == 0);
            std::vector<double> v(a.data, a.data + n);
            std::nth_element(v.begin(), v.begin() + n / 2, v.end());
            double expected = v[n / 2], m = 0;
            if (n % 2 == 0) expected = (*std::max_element(v.begin(), v.begin() + n / 2) + expected) * 0.5;
            auto ua = univ(a);
            ASSERT_EQ(message(matuniv_median(&ua, nullptr, &m)), "");
            EXPECT_EQ(m, expected);
        });
    }
}

TEST_F(SortTest, LongInputsPlaceRequestedPositionsWhateverTheirOrder) {
    // Long enough for sampled pivots: random, few distinct values, ascending, descending, constant,
    // with positions at both ends, adjacent ones and one in the middle.
    std::mt19937 rng(5);
    const int32_t n = 100003;
    for (int shape = 0; shape < 5; ++shape) {
        SCOPED_TRACE(shape);
        auto a = make<double>(1, n);
        for (int32_t i = 0; i < n; ++i)
            a.data[i] = shape == 0   ? std::uniform_real_distribution<>(-1, 1)(rng)
                        : shape == 1 ? double(rng() % 7)
                        : shape == 2 ? double(i)
                        : shape == 3 ? double(n - i)
                                     : 3.0;
        std::vector<double> sorted = values(a);
        std::sort(sorted.begin(), sorted.end());
        auto p = make<int32_t>(5, 1, {0, n / 2 - 1, n / 2, 77777, n - 1}), index = make<int32_t>(1, n);
        ASSERT_EQ(message(matdbl_sort_index_partial(&a, &p, nullptr, &index)), "");
        for (int32_t k : {0, n / 2 - 1, n / 2, 77777, n - 1}) EXPECT_EQ(a.data[index.data[k]], sorted[k]) << k;
        double m = 0;
        auto ua = univ(a);
        ASSERT_EQ(message(matuniv_median(&ua, nullptr, &m)), "");
        EXPECT_EQ(m, sorted[n / 2]);
    }
}

TEST_F(SortTest, QuantilesInterpolateBetweenOrderStatistics) {
    // Random data against a full sort, with both ends; q = 0.5 is the median.
    std::mt19937 rng(8);
    auto big = random_mat<double>(rng, 37, 41);
    std::vector<double> sorted = values(big);
    std::sort(sorted.begin(), sorted.end());
    const int32_t n = big.nelem;
    auto probs = make<double>(4, 2, {0, 1, 0.5, 0, 0, 0, 0, 0}), out = make<double>(4, 2);
    for (int32_t k = 3; k < 8; ++k) probs.data[k] = std::uniform_real_distribution<>(0, 1)(rng);
    auto ubig = univ(big), uprobs = univ(probs), uout = univ(out);
    ASSERT_EQ(message(matuniv_quantiles(&ubig, &uprobs, nullptr, &uout)), "");
    for (int32_t k = 0; k < 8; ++k) {
        const double t = (n - 1) * probs.data[k];
        const int32_t k0 = int32_t(std::floor(t)), k1 = std::min(k0 + 1, n - 1);
        const double expected = sorted[k0] + (t - k0) * (sorted[k1] - sorted[k0]);
        EXPECT_NEAR(out.data[k], expected, 1e-12 * std::fabs(expected) + 1e-12);
    }
    double median = 0;
    ASSERT_EQ(message(matuniv_median(&ubig, nullptr, &median)), "");
    EXPECT_EQ(out.data[2], median);
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

TEST_F(SortTest, UniqueSizesNaNsAndRefusals) {
    auto a = make<int32_t>(2, 4, {5, -1, 5, 3, -1, 7, 3, 5});
    auto r = make<int32_t>(2, 4);
    ASSERT_EQ(message(mats32_unique(&a, 0, nullptr, &r)), "");
    EXPECT_EQ(std::pair(r.nrow, r.ncol), std::pair(4, 1));  // resized to a column of the k values
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

TEST_F(SortTest, UniqueAscendingOrInOrderOfFirstAppearanceForEveryType) {
    std::mt19937 rng(13);
    each_real_type([&](auto z) {
        using T = decltype(z);
        SCOPED_TRACE(detail::elem<T>::code);
        auto a = random_data<T>(rng, 20, 30, true);
        std::vector<T> first;  // in order of first appearance
        for (const T* x = a.data; x != a.data + a.nelem; ++x)
            if (std::find(first.begin(), first.end(), *x) == first.end()) first.push_back(*x);
        std::vector<T> ascending = first;
        std::sort(ascending.begin(), ascending.end());
        // The result is resized to a row or a column of the distinct values.
        auto ua = univ(a), row = make_univ<T>(1, 600), column = make_univ<T>(600, 1);
        ASSERT_EQ(message(matuniv_unique(&ua, 0, nullptr, &row)), "");
        EXPECT_EQ(values_of<T>(row), ascending);
        EXPECT_EQ(row.ncol, int32_t(ascending.size()));
        ASSERT_EQ(message(matuniv_unique(&ua, 1, nullptr, &column)), "");
        EXPECT_EQ(values_of<T>(column), first);
        EXPECT_EQ(column.nrow, int32_t(first.size()));
    });
}

}  // namespace
}  // namespace mutils::test
