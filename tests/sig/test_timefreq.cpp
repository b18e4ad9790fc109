// Time-frequency autocorrelations: hand-checked time-lag matrices of short signals, direct
// evaluations of the cone and kernel sums, the deliberate special cases, and the refusals.
#include <algorithm>
#include <cmath>

#include "support.h"

namespace mutils::test {
namespace {

using TimeFreqTest = ArenaTest;
using Values = std::vector<double>;
using Dist = const char* (*)(const _double_mat*, int32_t, void*, _double_mat*);

const Values kRamp = {1, 2, 3, 4, 5, 6};
const Values kMixed = {0.5, -1, 2, 1.5, -0.25, 3, 1, -2, 0.75, 1.25, -0.5, 2};

_double_mat signal(const Values& x) { return make<double>(1, int32_t(x.size()), x); }
double sample(const Values& x, int64_t i) { return i >= 0 && i < int64_t(x.size()) ? x[i] : 0.0; }

/// R of nrow x ncol (pre-filled with junk, which the operation must clear) after `f`.
Values run(Dist f, const Values& x, int32_t step, int32_t nrow, int32_t ncol) {
    _double_mat xs = signal(x), r = make<double>(nrow, ncol, Values(nrow * ncol, 7.0));
    EXPECT_EQ(message(f(&xs, step, nullptr, &r)), "");
    return values(r);
}

// x = 1 ... 6, 4 lag rows (M = 2): lags below t while t < 2, then below min(4, 6 - t).
TEST_F(TimeFreqTest, WignerColumnsHoldTheLagProducts) {
    EXPECT_EQ(run(sigdbl_timefreq_autocorrelate_wigner, kRamp, 1, 4, 6),
              (Values{0, 4, 9, 16, 25, 36, 0, 0, 9, 16, 25, 0, 0, 0, 8, 15, 0, 0, 0, 0, 7, 0, 0, 0}));
    // step 2: a column sums two consecutive times, copying the rows of the later one.
    EXPECT_EQ(run(sigdbl_timefreq_autocorrelate_wigner, kRamp, 2, 4, 3),
              (Values{0, 13, 41, 0, 9, 41, 0, 8, 0, 0, 7, 0}));
    // 10 lag rows: at t = 4 lag 3 reaches x[6], past the end, which reads as zero.
    Values r = run(sigdbl_timefreq_autocorrelate_wigner, kRamp, 1, 10, 6);
    EXPECT_EQ((Values{r[4], r[6 + 4], r[12 + 4], r[18 + 4], r[24 + 4]}), (Values{25, 25, 24, 0.5 * 3 * 6, 0}));
    // M = L keeps only the last sample squared (nrow 6 and 7 of 3 samples); M > L keeps zeros.
    for (int32_t nrow : {6, 7, 8}) {
        Values want(nrow * 2, 0.0);
        want[0] = nrow < 8 ? 9 : 0;
        EXPECT_EQ(run(sigdbl_timefreq_autocorrelate_wigner, {1, 2, 3}, 1, nrow, 2), want) << nrow;
    }
}

TEST_F(TimeFreqTest, MargeneauHillSkipsTimesBetweenOutputs) {
    const Values xs = {1, -1, 2, 0, 3, 1};
    const Values r = run(sigdbl_timefreq_autocorrelate_margeneau_hill, xs, 1, 3, 6);
    EXPECT_EQ(r, (Values{0, 1, 4, 0, 9, 1, 0, 0, -1, 0, 1.5, 0, 0, 0, 4, 0, 0, 0}));
    EXPECT_EQ(run(sigdbl_timefreq_autocorrelate_margeneau_hill, xs, 2, 3, 3),
              (Values{r[0], r[2], r[4], r[6], r[8], r[10], r[12], r[14], r[16]}));
    EXPECT_EQ(run(sigdbl_timefreq_autocorrelate_margeneau_hill, xs, 1, 6, 2), Values(12, 0.0));
    // 7 lags of 8 samples: t = 5 is still early, and lags 3 and 4 read x[8] and x[9] as zero.
    Values e = run(sigdbl_timefreq_autocorrelate_margeneau_hill, {1, 2, 3, 4, 5, 6, 7, 8}, 1, 7, 8);
    EXPECT_EQ((Values{e[2 * 8 + 5], e[3 * 8 + 5], e[4 * 8 + 5]}), (Values{36, 9, 6}));
}

// The cone sum directly: sum over s = max(0, t - m) ... t of x[s] x[s + m], for t = j step and
// m < L - t (column 0 fills every lag); Born-Jordan divides lag m by m + 1.
TEST_F(TimeFreqTest, ConeAndBornJordanMatchTheirDirectSums) {
    const int64_t len = 10, nrow = 4, ncol = 6;
    const Values xs(kMixed.begin(), kMixed.begin() + len);
    for (int32_t step : {1, 3}) {
        const Values cone = run(sigdbl_timefreq_autocorrelate_cone, xs, step, nrow, ncol);
        const Values born = run(sigdbl_timefreq_autocorrelate_born_jordan, xs, step, nrow, ncol);
        for (int64_t j = 0, t = 0; j < ncol; ++j, t += step) {
            for (int64_t m = 0; m < nrow; ++m) {
                double want = 0;
                if (t < len && (t == 0 || m < len - t))
                    for (int64_t s = std::max<int64_t>(0, t - m); s <= t; ++s) want += xs[s] * sample(xs, s + m);
                EXPECT_NEAR(cone[m * ncol + j], want, 1e-12) << step << " lag " << m << " column " << j;
                EXPECT_NEAR(born[m * ncol + j], want / double(m + 1), 1e-12) << step << " " << m << " " << j;
            }
        }
    }
    for (Dist f : {sigdbl_timefreq_autocorrelate_cone, sigdbl_timefreq_autocorrelate_born_jordan})
        EXPECT_EQ(run(f, xs, 1, 10, 3), Values(30, 0.0));  // lags as many as samples
}

/// The kernel sum evaluated directly from its definition on the zero-extended signal.
Values custom_reference(const Values& x, int64_t step, const _double_mat& k, int64_t nrow, int64_t ncol) {
    const int64_t len = x.size(), krow = k.nrow, kcol = k.ncol;
    auto value = [&](int64_t t, int64_t m, int64_t nu) {
        double v =
            k.data[m] * 0.5 *
            (sample(x, t + (m + 1) / 2) * sample(x, t - m / 2) + sample(x, t - (m + 1) / 2) * sample(x, t + m / 2));
        for (int64_t u = 1; u <= nu; ++u) {
            const int64_t a = (m + u) / 2, b = (m - u + 1) / 2;
            v += k.data[u * kcol + m] * (sample(x, t + a) * sample(x, t - b) + sample(x, t + b) * sample(x, t - a));
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
    _double_mat x = signal(kRamp), k = make<double>(2, 3, {1, 1, 1, 0.5, 0.5, 0.5}), r = make<double>(3, 6);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r), nullptr);
    EXPECT_EQ(values(r), custom_reference(kRamp, 1, k, 3, 6));
    // A kernel longer than the lags reaches offsets where b = m - u + 1 is negative.
    _double_mat y = signal(kMixed), wide = make<double>(7, 5);
    for (int32_t i = 0; i < wide.nelem; ++i) wide.data[i] = 1.0 / (1 + i % 7) + 0.1 * (i / 5);
    for (int32_t step : {1, 2, 5}) {
        _double_mat rr = make<double>(5, 12);
        ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&y, step, &wide, nullptr, &rr), nullptr);
        const Values want = custom_reference(kMixed, step, wide, 5, 12);
        for (int32_t i = 0; i < rr.nelem; ++i) EXPECT_NEAR(rr.data[i], want[i], 1e-12) << step << " " << i;
    }
}

TEST_F(TimeFreqTest, ChoiWilliamsKernelAndDistribution) {
    _double_mat k;
    ASSERT_EQ(sigdbl_kernel_choi_williams(4, 100, 2.0, nullptr, &k), nullptr);
    EXPECT_EQ(k.nrow, 15);  // 3 floor(sqrt(2/2) 4 + 1)
    EXPECT_EQ(k.ncol, 4);
    for (int u = 0; u < k.nrow; ++u) EXPECT_EQ(k.data[u * 4], u == 0 ? 1.0 : 0.0);
    EXPECT_NEAR(k.data[2 * 4 + 3], std::sqrt(2.0 / (4 * 3.14159265358979323846)) / 3 * std::exp(-8.0 / 36), 1e-15);
    ASSERT_EQ(sigdbl_kernel_choi_williams(3, 1000, 1e-300, nullptr, &k), nullptr);
    EXPECT_EQ(k.nrow, 1000);  // capped by nmax, also where the width would overflow

    _double_mat x = signal(kMixed), r = make<double>(4, 12), want = make<double>(4, 12);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_choi_williams(&x, 0.5, 2, nullptr, &r), nullptr);
    ASSERT_EQ(sigdbl_kernel_choi_williams(4, 12, 0.5, nullptr, &k), nullptr);
    ASSERT_EQ(sigdbl_timefreq_autocorrelate_custom(&x, 2, &k, nullptr, &want), nullptr);
    EXPECT_EQ(values(r), values(want));
}

TEST_F(TimeFreqTest, BadArgumentsGiveTheirMessages) {
    _double_mat x = signal(kRamp), square = make<double>(2, 3), r = make<double>(3, 6);
    _double_mat k = make<double>(2, 3), r4 = make<double>(4, 6), k7 = make<double>(1, 7), r7 = make<double>(7, 6);
    for (Dist f : {sigdbl_timefreq_autocorrelate_wigner, sigdbl_timefreq_autocorrelate_born_jordan,
                   sigdbl_timefreq_autocorrelate_cone, sigdbl_timefreq_autocorrelate_margeneau_hill}) {
        EXPECT_EQ(message(f(&x, 0, nullptr, &r)), "Illegal data value");
        EXPECT_EQ(message(f(&square, 1, nullptr, &r)), "array size mismatch");
        EXPECT_EQ(raised([&] { f(nullptr, 1, nullptr, &r); }), "null pointer");
    }
    _double_mat no_rows{0, 6, 0, r.data};  // raised, not returned
    EXPECT_EQ(raised([&] { sigdbl_timefreq_autocorrelate_born_jordan(&x, 1, nullptr, &no_rows); }),
              "array size mismatch");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&x, 0, &k, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r4)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_custom(&x, 1, &k7, nullptr, &r7)), "array size mismatch");
    EXPECT_EQ(raised([&] { sigdbl_timefreq_autocorrelate_custom(&x, 1, nullptr, nullptr, &r); }), "null pointer");
    for (double sigma : {0.0, -1.0, std::nan("")})
        EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_choi_williams(&x, sigma, 1, nullptr, &r)),
                  "Illegal data value");
    EXPECT_EQ(message(sigdbl_timefreq_autocorrelate_choi_williams(&x, 1, 1, nullptr, &r7)), "array size mismatch");
    for (auto [nlag, nmax] : {std::pair{0, 5}, {3, 0}})
        EXPECT_EQ(message(sigdbl_kernel_choi_williams(nlag, nmax, 1, nullptr, &k)), "Illegal data value");
}

TEST_F(TimeFreqTest, UniversalMembersTakeDoublesOnly) {
    _univ_mat x = make_univ<double>(1, 6, kRamp), r = make_univ<double>(4, 6), fx = make_univ<float>(1, 6);
    _univ_mat k = make_univ<double>(1, 4, Values(4, 1.0)), kernel;
    ASSERT_EQ(siguniv_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), nullptr);
    EXPECT_EQ(values_of<double>(r)[2], 9.0);
    EXPECT_EQ(message(siguniv_timefreq_autocorrelate_custom(&x, 1, nullptr, nullptr, &r)), "null pointer");
    EXPECT_EQ(message(siguniv_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &fx)), "Illegal data type");
    EXPECT_EQ(message(siguniv_kernel_choi_williams(3, 10, 1.0, nullptr, &kernel, MUTIL_FLOAT)), "Illegal data type");
    ASSERT_EQ(siguniv_kernel_choi_williams(3, 10, 1.0, nullptr, &kernel, MUTIL_DOUBLE), nullptr);
    EXPECT_EQ(raised([&] { matuniv_validate(&kernel); }), "");
    // The plain entry points report by code.
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r), MUTIL_ERR_OK);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_cone(&x, 0, nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_born_jordan(&fx, 1, nullptr, &r), MUTIL_ERR_ILLEGAL_TYPE);
    EXPECT_EQ(::siguniv_timefreq_autocorrelate_choi_williams(&x, -1.0, 1, nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
}

}  // namespace
}  // namespace mutils::test
