// Time-frequency autocorrelations: hand-checked time-lag matrices of short signals, direct
// evaluations of the cone and kernel sums, the deliberate special cases, and the refusals.
#include <algorithm>
#include <cmath>

#include "support.h"

namespace mutils::test {
namespace {

using TimeFreqTest = ArenaTest;
using Values = std::vector<double>;

constexpr double kPi = 3.14159265358979323846;

_double_mat signal(const Values& x) { return make<double>(1, int32_t(x.size()), x); }

/// x[i], zero outside the signal.
double sample(const Values& x, int64_t i) { return i >= 0 && i < int64_t(x.size()) ? x[i] : 0.0; }

void expect_matrix(const _double_mat& r, const Values& want, double tol = 1e-12) {
    ASSERT_EQ(size_t(r.nelem), want.size());
    for (int32_t i = 0; i < r.nelem; ++i)
        EXPECT_NEAR(r.data[i], want[i], tol) << "row " << i / r.ncol << " column " << i % r.ncol;
}

// x = 1 ... 6 and 4 lag rows (M = 2): lags below t for t < 2 (rows 0, 1 copied), then lags
// below min(4, 6 - t).
TEST_F(TimeFreqTest, WignerColumnsHoldTheLagProducts) {
    _double_mat x = signal({1, 2, 3, 4, 5, 6});
    _double_mat r = make<double>(4, 6);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), nullptr);
    expect_matrix(r, {0, 4, 9, 16, 25, 36,
                      0, 0, 9, 16, 25, 0,
                      0, 0, 8, 15, 0, 0,
                      0, 0, 7, 0, 0, 0});
    // step 2: each column sums two consecutive times, copying the rows of the later one.
    _double_mat r2 = make<double>(4, 3);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_wigner(&x, 2, nullptr, &r2), nullptr);
    expect_matrix(r2, {0, 13, 41,
                       0, 9, 41,
                       0, 8, 0,
                       0, 7, 0});
}

// 10 lag rows of a 6-sample signal: at t = 4 lag 3 reaches x[6], past the end, read as zero.
TEST_F(TimeFreqTest, WignerEarlyLagsPastTheEndReadZero) {
    _double_mat x = signal({1, 2, 3, 4, 5, 6});
    _double_mat r = make<double>(10, 6);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), nullptr);
    Values want(60, 0.0);
    auto put = [&](int m, int j, double v) { want[m * 6 + j] = v; };
    put(0, 1, 4);
    put(0, 2, 9), put(1, 2, 9);
    put(0, 3, 16), put(1, 3, 16), put(2, 3, 15);
    put(0, 4, 25), put(1, 4, 25), put(2, 4, 24), put(3, 4, 0.5 * (0 + 3 * 6));
    put(0, 5, 36);
    expect_matrix(r, want);
}

TEST_F(TimeFreqTest, WignerLagRowsBeyondTheSignal) {
    _double_mat x = signal({1, 2, 3});
    _double_mat r = make<double>(6, 4, Values(24, 7.0));  // M = L: only the last square
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), nullptr);
    Values want(24, 0.0);
    want[0] = 9;
    expect_matrix(r, want);
    _double_mat r7 = make<double>(7, 2, Values(14, 7.0));  // M = L again (7 / 2 = 3)
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r7), nullptr);
    EXPECT_EQ(r7.data[0], 9.0);
    _double_mat r8 = make<double>(8, 2, Values(16, 7.0));  // M > L: all zero, success
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r8), nullptr);
    EXPECT_EQ(values(r8), Values(16, 0.0));
}

TEST_F(TimeFreqTest, MargeneauHillSkipsTimesBetweenOutputs) {
    const Values xs = {1, -1, 2, 0, 3, 1};
    _double_mat x = signal(xs);
    _double_mat r = make<double>(3, 6);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_margeneau_hill(&x, 1, nullptr, &r), nullptr);
    expect_matrix(r, {0, 1, 4, 0, 9, 1,
                      0, 0, -1, 0, 1.5, 0,
                      0, 0, 4, 0, 0, 0});
    _double_mat r2 = make<double>(3, 3);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_margeneau_hill(&x, 2, nullptr, &r2), nullptr);
    for (int m = 0; m < 3; ++m)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(r2.data[m * 3 + j], r.data[m * 6 + 2 * j]) << m << " " << j;
    // Lag rows as many as the samples: nothing to compute.
    _double_mat full = make<double>(6, 2, Values(12, 5.0));
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_margeneau_hill(&x, 1, nullptr, &full), nullptr);
    EXPECT_EQ(values(full), Values(12, 0.0));
}

TEST_F(TimeFreqTest, MargeneauHillEarlyLagsPastTheEndReadZero) {
    const Values xs = {1, 2, 3, 4, 5, 6, 7, 8};
    _double_mat x = signal(xs);
    _double_mat r = make<double>(7, 8);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_margeneau_hill(&x, 1, nullptr, &r), nullptr);
    // t = 5 is still early (5 < 6): lags 3 and 4 read x[8] and x[9], beyond the 8 samples.
    EXPECT_EQ(r.data[4 * 8 + 5], 0.5 * 6 * (0 + 2));
    EXPECT_EQ(r.data[3 * 8 + 5], 0.5 * 6 * (0 + 3));
    EXPECT_EQ(r.data[2 * 8 + 5], 0.5 * 6 * (8 + 4));
}

/// The cone sum evaluated directly: sum over s = max(0, t - m) ... t of x[s] x[s + m].
double cone_sum(const Values& x, int64_t t, int64_t m) {
    double sum = 0;
    for (int64_t s = std::max<int64_t>(0, t - m); s <= t; ++s) sum += x[s] * sample(x, s + m);
    return sum;
}

TEST_F(TimeFreqTest, ConeMatchesItsDirectSum) {
    const Values xs = {0.5, -1, 2, 1.5, -0.25, 3, 1, -2, 0.75, 1.25};
    const int64_t len = 10, nrow = 4;
    _double_mat x = signal(xs);
    for (int32_t step : {1, 3}) {
        const int32_t ncol = 6;
        _double_mat r = make<double>(nrow, ncol);
        ASSERT_EQ(sigdbl_timefreq_autocorrelate_cone(&x, step, nullptr, &r), nullptr);
        for (int64_t j = 0; j < ncol; ++j) {
            const int64_t t = j * step;
            for (int64_t m = 0; m < nrow; ++m) {
                const bool inside = t < len && (t == 0 || m < len - t);  // column 0 fills every lag
                EXPECT_NEAR(r.data[m * ncol + j], inside ? cone_sum(xs, t, m) : 0.0, 1e-12)
                    << "step " << step << " lag " << m << " column " << j;
            }
        }
        if (step == 1) {
            EXPECT_NEAR(r.data[1 * ncol + 1], xs[0] * xs[1] + xs[1] * xs[2], 1e-12);
            for (int j = 0; j < ncol; ++j) EXPECT_NEAR(r.data[j], xs[j] * xs[j], 1e-12);
        }
    }
    _double_mat full = make<double>(10, 3, Values(30, 1.0));
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_cone(&x, 1, nullptr, &full), nullptr);
    EXPECT_EQ(values(full), Values(30, 0.0));
}

TEST_F(TimeFreqTest, BornJordanIsTheConeDividedByLagPlusOne) {
    _double_mat x = signal({0.5, -1, 2, 1.5, -0.25, 3, 1, -2});
    _double_mat cone = make<double>(5, 6), born = make<double>(5, 6);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_cone(&x, 2, nullptr, &cone), nullptr);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_born_jordan(&x, 2, nullptr, &born), nullptr);
    for (int m = 0; m < 5; ++m)
        for (int j = 0; j < 6; ++j) EXPECT_NEAR(born.data[m * 6 + j], cone.data[m * 6 + j] / (m + 1), 1e-12);
}

/// The kernel sum evaluated directly from its definition on the zero-extended signal.
Values custom_reference(const Values& x, int64_t step, const _double_mat& k, int64_t nrow, int64_t ncol) {
    const int64_t len = x.size(), krow = k.nrow, kcol = k.ncol;
    auto K = [&](int64_t u, int64_t m) { return k.data[u * kcol + m]; };
    auto value = [&](int64_t t, int64_t m, int64_t nu) {
        double v = K(0, m) * 0.5 * (sample(x, t + (m + 1) / 2) * sample(x, t - m / 2) +
                                    sample(x, t - (m + 1) / 2) * sample(x, t + m / 2));
        for (int64_t u = 1; u <= nu; ++u) {
            const int64_t a = (m + u) / 2, b = (m - u + 1) / 2;
            v += K(u, m) * (sample(x, t + a) * sample(x, t - b) + sample(x, t + b) * sample(x, t - a));
        }
        return v;
    };
    Values r(nrow * ncol, 0.0);
    int64_t t = 0, j = 0;
    for (; t < (krow + kcol) / 2 && j < ncol; t += step, ++j)
        for (int64_t m = 0; m < std::min(nrow - 1, 2 * t); ++m)
            r[m * ncol + j] = value(t, m, std::min(krow, 2 * t - m) - 1);
    for (; j < std::min(ncol, len); t += step, ++j)
        for (int64_t m = 0; m < std::min(nrow - 1, len - t); ++m)
            r[m * ncol + j] = value(t, m, std::min(krow, len - t) - 1);
    return r;
}

TEST_F(TimeFreqTest, CustomKernelMatchesItsDirectSum) {
    const Values xs = {1, 2, 3, 4, 5, 6};
    _double_mat x = signal(xs);
    // Two offsets: the lag-0 product at t = 1 is counted once by row 0 and once by row 1.
    _double_mat k = make<double>(2, 3, {1, 1, 1, 0.5, 0.5, 0.5});
    _double_mat r = make<double>(3, 6);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r), nullptr);
    EXPECT_EQ(r.data[0 * 6 + 1], 4 + 0.5 * 8);
    EXPECT_EQ(r.data[1 * 6 + 1], 0.5 * (3 * 2 + 1 * 2));
    EXPECT_EQ(r.data[1 * 6 + 2], 0.5 * (12 + 6) + 0.5 * (12 + 6));
    EXPECT_EQ(values(r), custom_reference(xs, 1, k, 3, 6));

    const Values ys = {0.5, -1, 2, 1.5, -0.25, 3, 1, -2, 0.75, 1.25, -0.5, 2};
    _double_mat y = signal(ys);
    _double_mat wide = make<double>(7, 5, {});
    for (int32_t i = 0; i < wide.nelem; ++i) wide.data[i] = 1.0 / (1 + i % 7) + 0.1 * (i / 5);
    for (int32_t step : {1, 2, 5}) {
        _double_mat rr = make<double>(5, 12);
        ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&y, step, &wide, nullptr, &rr), nullptr);
        const Values want = custom_reference(ys, step, wide, 5, 12);
        for (int32_t i = 0; i < rr.nelem; ++i) EXPECT_NEAR(rr.data[i], want[i], 1e-12) << step << " " << i;
    }
}

// A kernel of a single unit row leaves the plain lag products P(t, m).
TEST_F(TimeFreqTest, UnitKernelGivesTheLagProducts) {
    const Values xs = {2, -1, 3, 0.5, 4, -2, 1};
    _double_mat x = signal(xs);
    _double_mat k = make<double>(1, 4, Values(4, 1.0));
    _double_mat r = make<double>(4, 7);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r), nullptr);
    for (int64_t t = 2; t < 7; ++t)
        for (int64_t m = 0; m < std::min<int64_t>(3, 7 - t); ++m) {
            const int64_t a = m / 2, b = m - a;
            const double p = 0.5 * (xs[t - a] * sample(xs, t + b) + xs[t - b] * sample(xs, t + a));
            EXPECT_NEAR(r.data[m * 7 + t], p, 1e-12) << t << " " << m;
        }
}

TEST_F(TimeFreqTest, ChoiWilliamsKernelShape) {
    const double sigma = 2.0;
    _double_mat k;
    ASSERT_EQ(sigdbl_kernel_choi_williams(4, 100, sigma, nullptr, &k), nullptr);
    EXPECT_EQ(k.nrow, 15);  // 3 floor(sqrt(2/2) 4 + 1)
    EXPECT_EQ(k.ncol, 4);
    for (int u = 0; u < k.nrow; ++u) EXPECT_EQ(k.data[u * 4], u == 0 ? 1.0 : 0.0);
    EXPECT_NEAR(k.data[2 * 4 + 3], std::sqrt(sigma / (4 * kPi)) / 3 * std::exp(-sigma * 4 / 36), 1e-15);
    ASSERT_EQ(sigdbl_kernel_choi_williams(4, 9, sigma, nullptr, &k), nullptr);
    EXPECT_EQ(k.nrow, 9);  // capped by nmax
    ASSERT_EQ(sigdbl_kernel_choi_williams(3, 1000, 1e-300, nullptr, &k), nullptr);
    EXPECT_EQ(k.nrow, 1000);  // a huge width is capped, not overflowed
}

TEST_F(TimeFreqTest, ChoiWilliamsSmoothsWithItsKernel) {
    _double_mat x = signal({0.5, -1, 2, 1.5, -0.25, 3, 1, -2, 0.75, 1.25});
    _double_mat r = make<double>(4, 10), want = make<double>(4, 10), k;
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_choi_williams(&x, 0.5, 1, nullptr, &r), nullptr);
    ASSERT_EQ(sigdbl_kernel_choi_williams(4, 10, 0.5, nullptr, &k), nullptr);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &want), nullptr);
    EXPECT_EQ(values(r), values(want));
}

TEST_F(TimeFreqTest, BadArgumentsGiveTheirMessages) {
    _double_mat x = signal({1, 2, 3, 4, 5, 6});
    _double_mat square = make<double>(2, 3);
    _double_mat r = make<double>(3, 6);
    _double_mat k = make<double>(2, 3, Values(6, 1.0));
    using Dist = const char* (*)(const _double_mat*, int32_t, void*, _double_mat*);
    for (Dist f : {sigdbl_timefreq_autocorrelate_wigner, sigdbl_timefreq_autocorrelate_born_jordan,
                   sigdbl_timefreq_autocorrelate_cone, sigdbl_timefreq_autocorrelate_margeneau_hill}) {
        EXPECT_EQ(message(f(&x, 0, nullptr, &r)), "Illegal data value");
        EXPECT_EQ(message(f(&square, 1, nullptr, &r)), "array size mismatch");
        EXPECT_EQ(raised([&] { f(nullptr, 1, nullptr, &r); }), "null pointer");
        EXPECT_EQ(raised([&] { f(&x, 1, nullptr, nullptr); }), "null pointer");
    }
    // A result without rows is refused by raising, not by a returned message.
    _double_mat no_rows{0, 6, 0, r.data};
    EXPECT_EQ(raised([&] { sigdbl_timefreq_autocorrelate_cone(&x, 1, nullptr, &no_rows); }), "array size mismatch");
    EXPECT_EQ(raised([&] { sigdbl_timefreq_autocorrelate_born_jordan(&x, 1, nullptr, &no_rows); }),
              "array size mismatch");

    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&x, 0, &k, nullptr, &r)), "Illegal data value");
    _double_mat r4 = make<double>(4, 6);
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r4)), "array size mismatch");
    _double_mat k7 = make<double>(1, 7), r7 = make<double>(7, 6);
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k7, nullptr, &r7)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&square, 1, &k, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(raised([&] { sigdbl_timefreq_autocorrelate_custom(&x, 1, nullptr, nullptr, &r); }), "null pointer");

    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_choi_williams(&x, 0, 1, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_choi_williams(&x, NAN, 1, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_choi_williams(&x, 1, 0, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_choi_williams(&x, 1, 1, nullptr, &r7)), "array size mismatch");
    _double_mat kk;
    EXPECT_EQ(message(sigdbl_kernel_choi_williams(0, 5, 1, nullptr, &kk)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_kernel_choi_williams(3, 0, 1, nullptr, &kk)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_kernel_choi_williams(3, 5, -1, nullptr, &kk)), "Illegal data value");
}

TEST_F(TimeFreqTest, UniversalMembersTakeDoublesOnly) {
    _univ_mat x = make_univ<double>(1, 6, {1, 2, 3, 4, 5, 6});
    _univ_mat r = make_univ<double>(4, 6);
    _univ_mat k = make_univ<double>(1, 4, Values(4, 1.0));
    _univ_mat fx = make_univ<float>(1, 6);
    ASSERT_EQ(siguniv_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), nullptr);
    EXPECT_EQ(values_of<double>(r)[2], 9.0);
    EXPECT_EQ(siguniv_timefreq_autocorrelate_born_jordan(&x, 1, nullptr, &r), nullptr);
    EXPECT_EQ(siguniv_timefreq_autocorrelate_cone(&x, 1, nullptr, &r), nullptr);
    EXPECT_EQ(siguniv_timefreq_autocorrelate_margeneau_hill(&x, 1, nullptr, &r), nullptr);
    EXPECT_EQ(siguniv_timefreq_autocorrelate_choi_williams(&x, 1.0, 1, nullptr, &r), nullptr);
    EXPECT_EQ(siguniv_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r), nullptr);
    EXPECT_EQ(message(siguniv_timefreq_autocorrelate_wigner(nullptr, 1, nullptr, &r)), "null pointer");
    EXPECT_EQ(message(siguniv_timefreq_autocorrelate_custom(&x, 1, nullptr, nullptr, &r)), "null pointer");
    EXPECT_EQ(message(siguniv_timefreq_autocorrelate_cone(&fx, 1, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(siguniv_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &fx)), "Illegal data type");

    _univ_mat kernel;
    EXPECT_EQ(message(siguniv_kernel_choi_williams(3, 10, 1.0, nullptr, &kernel, MUTIL_FLOAT)), "Illegal data type");
    EXPECT_EQ(message(siguniv_kernel_choi_williams(3, 10, 1.0, nullptr, nullptr, MUTIL_DOUBLE)), "null pointer");
    ASSERT_EQ(siguniv_kernel_choi_williams(3, 10, 1.0, nullptr, &kernel, MUTIL_DOUBLE), nullptr);
    EXPECT_EQ(kernel.type, MUTIL_DOUBLE);
    EXPECT_EQ(kernel.ncol, 3);
    EXPECT_EQ(raised([&] { matuniv_validate(&kernel); }), "");

    // The plain entry points report by code.
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), MUTIL_ERR_OK);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_cone(&x, 0, nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_born_jordan(&fx, 1, nullptr, &r), MUTIL_ERR_ILLEGAL_TYPE);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_margeneau_hill(&x, 1, nullptr, &r), MUTIL_ERR_OK);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_choi_williams(&x, -1.0, 1, nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r), MUTIL_ERR_OK);
}

}  // namespace
}  // namespace mutils::test
