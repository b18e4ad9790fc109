// Discrete transforms against their defining sums, round trips, and the documented refusals.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using TransformTest = ArenaTest;
const double kPi = std::acos(-1.0);

std::vector<double> random_values(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> v(n);
    for (double& x : v) x = u(gen);
    return v;
}

std::vector<_dcomplex> random_complex(size_t n, unsigned seed) {
    const std::vector<double> v = random_values(2 * n, seed);
    std::vector<_dcomplex> c(n);
    for (size_t i = 0; i < n; ++i) c[i] = {v[2 * i], v[2 * i + 1]};
    return c;
}

// The O(N^2) definition, e^{sign 2 pi i jk/N}, with the angle reduced exactly.
std::vector<_dcomplex> naive_dft(const std::vector<_dcomplex>& x, int sign) {
    const size_t n = x.size();
    std::vector<long double> c(n), sn(n);
    for (size_t j = 0; j < n; ++j) {
        c[j] = std::cos(2.0L * kPi * (long double)j / (long double)n);
        sn[j] = sign * std::sin(2.0L * kPi * (long double)j / (long double)n);
    }
    std::vector<_dcomplex> y(n);
    for (size_t k = 0; k < n; ++k) {
        long double re = 0, im = 0;
        for (size_t j = 0, a = 0; j < n; ++j, a = (a + k) % n) {
            re += x[j].re * c[a] - x[j].im * sn[a];
            im += x[j].im * c[a] + x[j].re * sn[a];
        }
        y[k] = {double(re), double(im)};
    }
    return y;
}

double max_error(const std::vector<_dcomplex>& a, const std::vector<_dcomplex>& b) {
    double e = 0;
    for (size_t i = 0; i < a.size(); ++i) e = std::max(e, std::hypot(a[i].re - b[i].re, a[i].im - b[i].im));
    return e;
}

double max_error(const std::vector<double>& a, const std::vector<double>& b) {
    double e = 0;
    for (size_t i = 0; i < a.size(); ++i) e = std::max(e, std::fabs(a[i] - b[i]));
    return e;
}

std::vector<double> naive_dct(const std::vector<double>& x, bool inverse) {
    const size_t n = x.size();
    std::vector<double> y(n);
    for (size_t o = 0; o < n; ++o) {
        long double s = 0;
        for (size_t i = 0; i < n; ++i) {
            const size_t k = inverse ? i : o, m = inverse ? o : i;
            const long double w = k == 0 ? std::sqrt(1.0L / n) : std::sqrt(2.0L / n);
            s += w * x[i] * std::cos(kPi * (long double)((k * (2 * m + 1)) % (4 * n)) / (2.0L * n));
        }
        y[o] = double(s);
    }
    return y;
}

std::vector<double> naive_hartley(const std::vector<double>& x) {
    const size_t n = x.size();
    std::vector<long double> cas(n);
    for (size_t j = 0; j < n; ++j) {
        const long double a = 2.0L * kPi * (long double)j / (long double)n;
        cas[j] = std::cos(a) + std::sin(a);
    }
    std::vector<double> y(n);
    for (size_t k = 0; k < n; ++k) {
        long double s = 0;
        for (size_t j = 0, a = 0; j < n; ++j, a = (a + k) % n) s += x[j] * cas[a];
        y[k] = double(s / std::sqrt((long double)n));
    }
    return y;
}

// ---- Fourier -------------------------------------------------------------------------------------

TEST_F(TransformTest, FourierMatchesTheDefinitionForManyLengths) {
    // Powers of two, small primes, mixed radices, long primes (general butterfly) and lengths
    // long enough to go through the two-level split (8820 = 90 x 98, with radix-7 passes), plus a few random ones.
    std::vector<int> lengths = {1, 2, 3, 5, 7, 12, 16, 97, 360, 1024, 2310, 4099, 8820};
    std::mt19937 gen(2024);
    for (int i = 0; i < 4; ++i) lengths.push_back(std::uniform_int_distribution<int>(2, 3000)(gen));
    for (int n : lengths) {
        const auto x = random_complex(n, n);
        _dcomplex_mat in = make<_dcomplex>(n, 1, x), out = make<_dcomplex>(n, 1);
        const int directions = n < 4000 ? 2 : 1;  // the round trips cover long inverses
        for (int inverse = 0; inverse < directions; ++inverse) {
            ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, inverse, nullptr, &out)), "");
            std::vector<_dcomplex> want = naive_dft(x, inverse ? 1 : -1);
            if (inverse)
                for (auto& v : want) v = {v.re / n, v.im / n};
            // Rounding grows like sqrt(N) log N for values of size sqrt(N) (forward) or 1/sqrt(N) (inverse).
            const double scale = std::sqrt(double(n)) * (inverse ? 1.0 / n : 1.0);
            EXPECT_LT(max_error(values(out), want), 4e-16 * scale * std::log2(2.0 * n) * 4 + 1e-16)
                << "n = " << n << " inverse " << inverse;
        }
    }
}

TEST_F(TransformTest, FourierRoundTripsLongAndOddLengths) {
    for (int n : {6, 27, 97, 1 << 14, 3 * 5 * 7 * 64, 1 << 17, 999983 / 1000 * 1000}) {
        const auto x = random_complex(n, 7 + n);
        _dcomplex_mat in = make<_dcomplex>(n, 1, x), mid = make<_dcomplex>(n, 1), back = make<_dcomplex>(n, 1);
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, 0, nullptr, &mid)), "");
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&mid, 1, nullptr, &back)), "");
        EXPECT_LT(max_error(values(back), x), 1e-14 * std::log2(double(n) + 1) * 4) << "n = " << n;
    }
}

TEST_F(TransformTest, FourierTransformsEveryColumnAndLeavesRowsAlone) {
    const int nr = 12, nc = 19;
    const auto x = random_complex(nr * nc, 11);
    _dcomplex_mat in = make<_dcomplex>(nr, nc, x), out = make<_dcomplex>(nr, nc);
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, 0, nullptr, &out)), "");
    for (int c = 0; c < nc; ++c) {
        std::vector<_dcomplex> col(nr), got(nr);
        for (int r = 0; r < nr; ++r) col[r] = x[r * nc + c], got[r] = out.data[r * nc + c];
        EXPECT_LT(max_error(got, naive_dft(col, -1)), 1e-13) << "column " << c;
    }
    // A 1 x N row comes back unchanged, in both directions.
    _dcomplex_mat row = make<_dcomplex>(1, 5, random_complex(5, 2)), rout = make<_dcomplex>(1, 5);
    for (int inverse : {0, 1}) {
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&row, inverse, nullptr, &rout)), "");
        EXPECT_EQ(max_error(values(rout), values(row)), 0.0);
    }
}

TEST_F(TransformTest, FourierInverseFlagIsExactlyOne) {
    _dcomplex_mat in = make<_dcomplex>(4, 1, {{1, 0}, {0, 0}, {0, 0}, {0, 0}}), out = make<_dcomplex>(4, 1);
    for (int flag : {0, 2, 255}) {
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, flag, nullptr, &out)), "");
        for (const auto& v : values(out)) EXPECT_EQ(v.re, 1.0) << flag;
    }
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, 1, nullptr, &out)), "");
    for (const auto& v : values(out)) EXPECT_DOUBLE_EQ(v.re, 0.25);
}

TEST_F(TransformTest, RealFourierEqualsComplexWithZeroImaginaryAndWorksInPlace) {
    const int nr = 30, nc = 3;
    const auto x = random_values(nr * nc, 5);
    std::vector<_dcomplex> xc(x.size());
    for (size_t i = 0; i < x.size(); ++i) xc[i] = {x[i], 0.0};
    _double_mat in = make<double>(nr, nc, x);
    _dcomplex_mat cin = make<_dcomplex>(nr, nc, xc), a = make<_dcomplex>(nr, nc), b = make<_dcomplex>(nr, nc);
    ASSERT_EQ(message(sigdbl_transform_discrete_fourier(&in, 0, nullptr, &a)), "");
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&cin, 0, nullptr, &b)), "");
    EXPECT_EQ(max_error(values(a), values(b)), 0.0);
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&cin, 0, nullptr, &cin)), "");
    EXPECT_EQ(max_error(values(cin), values(b)), 0.0);
}

TEST_F(TransformTest, FourierUniversalTypeRules) {
    _univ_mat d = make_univ<double>(4, 1, {1, 2, 3, 4}), c = make_univ<_dcomplex>(4, 1);
    _univ_mat u8 = make_univ<unsigned char>(4, 1), dout = make_univ<double>(4, 1);
    EXPECT_EQ(message(siguniv_transform_discrete_fourier(&d, 0, nullptr, &c)), "");
    EXPECT_DOUBLE_EQ(values_of<_dcomplex>(c)[0].re, 10.0);
    EXPECT_EQ(message(siguniv_transform_discrete_fourier(&c, 1, nullptr, &c)), "");
    EXPECT_DOUBLE_EQ(values_of<_dcomplex>(c)[3].re, 4.0);
    EXPECT_EQ(message(siguniv_transform_discrete_fourier(&d, 0, nullptr, &dout)), "Illegal data type");
    EXPECT_EQ(message(siguniv_transform_discrete_fourier(&u8, 0, nullptr, &c)), "Illegal data type");
    EXPECT_EQ(message(siguniv_transform_discrete_fourier(nullptr, 0, nullptr, &c)), "null pointer");
    EXPECT_EQ(::siguniv_transform_discrete_fourier(&d, 0, nullptr, &dout), MUTIL_ERR_ILLEGAL_TYPE);
    EXPECT_EQ(::siguniv_transform_discrete_fourier(&d, 0, nullptr, &c), MUTIL_ERR_OK);
}

TEST_F(TransformTest, FourierRefusesMismatchedShapes) {
    _dcomplex_mat in = make<_dcomplex>(4, 2), out = make<_dcomplex>(2, 4);
    EXPECT_EQ(message(sigcpx_transform_discrete_fourier(&in, 0, nullptr, &out)), "array size mismatch");
    EXPECT_EQ(raised([&] { sigcpx_transform_discrete_fourier(&in, 0, nullptr, nullptr); }), "null pointer");
}

// ---- cosine ----------------------------------------------------------------------------------------

TEST_F(TransformTest, CosineMatchesTheDefinitionAndInverts) {
    for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 15, 16, 33, 64, 100, 257, 1000}) {
        const auto x = random_values(n, 100 + n);
        _double_mat in = make<double>(n, 1, x), out = make<double>(n, 1), back = make<double>(n, 1);
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&in, nullptr, &out)), "");
        EXPECT_LT(max_error(values(out), naive_dct(x, false)), 1e-13) << n;
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse(&in, nullptr, &back)), "");
        EXPECT_LT(max_error(values(back), naive_dct(x, true)), 1e-13) << n;
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse(&out, nullptr, &out)), "");
        EXPECT_LT(max_error(values(out), x), 1e-13) << n;
    }
}

TEST_F(TransformTest, CosineOfARowEqualsThatOfTheColumnAndMatricesGoByColumn) {
    const auto x = random_values(24, 9);
    _double_mat row = make<double>(1, 24, x), col = make<double>(24, 1, x);
    _double_mat a = make<double>(1, 24), b = make<double>(24, 1);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&row, nullptr, &a)), "");
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&col, nullptr, &b)), "");
    EXPECT_EQ(values(a), values(b));
    _double_mat m = make<double>(6, 4, x), out = make<double>(6, 4);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&m, nullptr, &out)), "");
    for (int c = 0; c < 4; ++c) {
        std::vector<double> column(6), got(6);
        for (int r = 0; r < 6; ++r) column[r] = x[r * 4 + c], got[r] = out.data[r * 4 + c];
        EXPECT_LT(max_error(got, naive_dct(column, false)), 1e-14);
    }
}

TEST_F(TransformTest, TwoDimensionalCosineIsSeparableAndInverts) {
    const int nr = 6, nc = 10;
    const auto x = random_values(nr * nc, 21);
    _double_mat in = make<double>(nr, nc, x), out = make<double>(nr, nc), back = make<double>(nr, nc);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&in, 0, nullptr, &out)), "");
    // Reference: rows, then columns, each by the definition.
    std::vector<double> ref(x);
    for (int r = 0; r < nr; ++r) {
        const auto t = naive_dct(std::vector<double>(x.begin() + r * nc, x.begin() + (r + 1) * nc), false);
        std::copy(t.begin(), t.end(), ref.begin() + r * nc);
    }
    for (int c = 0; c < nc; ++c) {
        std::vector<double> col(nr);
        for (int r = 0; r < nr; ++r) col[r] = ref[r * nc + c];
        const auto t = naive_dct(col, false);
        for (int r = 0; r < nr; ++r) ref[r * nc + c] = t[r];
    }
    EXPECT_LT(max_error(values(out), ref), 1e-13);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&out, 7, nullptr, &back)), "");
    EXPECT_LT(max_error(values(back), x), 1e-13);
}

TEST_F(TransformTest, TwoDimensionalCosineRefusesVectorsAndCopiesSingleElements) {
    _double_mat v = make<double>(1, 5), vo = make<double>(1, 5), one = make<double>(1, 1, {3.5}),
                oo = make<double>(1, 1);
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&v, 0, nullptr, &vo)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_2d_pow2(&v, 0, nullptr, &vo)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&one, 1, nullptr, &oo)), "");
    EXPECT_EQ(oo.data[0], 3.5);
    _double_mat m = make<double>(4, 6), mo = make<double>(4, 6);
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_2d_pow2(&m, 0, nullptr, &mo)), "array size mismatch");
}

// ---- Hartley and power-of-two cosine -------------------------------------------------------------

TEST_F(TransformTest, HartleyMatchesTheDefinitionAndIsItsOwnInverse) {
    for (int n : {2, 4, 8, 16, 32, 64, 256, 2048, 8192}) {
        const auto x = random_values(n, 300 + n);
        _double_mat in = make<double>(1, n, x), out = make<double>(1, n), back = make<double>(1, n);
        ASSERT_EQ(message(sigdbl_transform_hartley(&in, nullptr, &out)), "");
        if (n <= 2048) {
            EXPECT_LT(max_error(values(out), naive_hartley(x)), 1e-13) << n;
        }
        ASSERT_EQ(message(sigdbl_transform_hartley(&out, nullptr, &back)), "");
        EXPECT_LT(max_error(values(back), x), 1e-14) << n;
    }
}

TEST_F(TransformTest, LongHartleyRoundTripsThroughTheTiledPermutation) {
    const int n = 1 << 16;
    const auto x = random_values(n, 4);
    _double_mat in = make<double>(n, 1, x), out = make<double>(n, 1);
    ASSERT_EQ(message(sigdbl_transform_hartley(&in, nullptr, &out)), "");
    // H_0 is the scaled sum; H_{N/2} the scaled alternating sum.
    long double s = 0, alt = 0;
    for (int i = 0; i < n; ++i) s += x[i], alt += (i % 2 ? -x[i] : x[i]);
    EXPECT_NEAR(out.data[0], double(s / 256), 1e-12);
    EXPECT_NEAR(out.data[n / 2], double(alt / 256), 1e-12);
    ASSERT_EQ(message(sigdbl_transform_hartley(&out, nullptr, &out)), "");
    EXPECT_LT(max_error(values(out), x), 1e-13);
}

TEST_F(TransformTest, PowerOfTwoCosineEqualsTheGeneralOne) {
    for (int n : {2, 4, 8, 16, 64, 512, 4096, 1 << 15}) {
        const auto x = random_values(n, 500 + n);
        _double_mat in = make<double>(n, 1, x), a = make<double>(n, 1), b = make<double>(n, 1);
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_pow2(&in, nullptr, &a)), "");
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&in, nullptr, &b)), "");
        EXPECT_LT(max_error(values(a), values(b)), 1e-13) << n;
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse_pow2(&in, nullptr, &a)), "");
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse(&in, nullptr, &b)), "");
        EXPECT_LT(max_error(values(a), values(b)), 1e-13) << n;
    }
    const int nr = 8, nc = 16;
    const auto x = random_values(nr * nc, 8);
    _double_mat in = make<double>(nr, nc, x), a = make<double>(nr, nc), b = make<double>(nr, nc);
    for (int inverse : {0, 1}) {
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d_pow2(&in, inverse, nullptr, &a)), "");
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&in, inverse, nullptr, &b)), "");
        EXPECT_LT(max_error(values(a), values(b)), 1e-13);
    }
}

TEST_F(TransformTest, PowerOfTwoMembersRefuseOtherShapesAndLengths) {
    _double_mat six = make<double>(6, 1), six_out = make<double>(6, 1);
    _double_mat sq = make<double>(4, 4), sq_out = make<double>(4, 4);
    _double_mat four = make<double>(4, 1), four_row = make<double>(1, 4);
    EXPECT_EQ(message(sigdbl_transform_hartley(&six, nullptr, &six_out)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_pow2(&six, nullptr, &six_out)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse_pow2(&six, nullptr, &six_out)),
              "array size mismatch");
    EXPECT_EQ(message(sigdbl_transform_hartley(&sq, nullptr, &sq_out)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_transform_hartley(&four, nullptr, &four_row)), "array size mismatch");
    _double_mat one = make<double>(1, 1, {-2}), one_out = make<double>(1, 1);
    EXPECT_EQ(message(sigdbl_transform_hartley(&one, nullptr, &one_out)), "");
    EXPECT_EQ(one_out.data[0], -2.0);
}

TEST_F(TransformTest, RealUniversalMembersNeedDoubleInAndOut) {
    _univ_mat d = make_univ<double>(4, 4), dout = make_univ<double>(4, 4), f = make_univ<float>(4, 4);
    _univ_mat cpx = make_univ<_dcomplex>(4, 4);
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II(&d, nullptr, &dout)), "");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_inverse(&d, nullptr, &dout)), "");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_2d(&d, 1, nullptr, &dout)), "");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_2d_pow2(&d, 0, nullptr, &dout)), "");
    EXPECT_EQ(message(siguniv_transform_hartley(&d, nullptr, &dout)), "array size mismatch");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_pow2(&f, nullptr, &dout)), "Illegal data type");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_inverse_pow2(&d, nullptr, &cpx)), "Illegal data type");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II(nullptr, nullptr, &dout)), "null pointer");
    EXPECT_EQ(::siguniv_transform_discrete_cosine_II_2d(&f, 0, nullptr, &dout), MUTIL_ERR_ILLEGAL_TYPE);
}

}  // namespace
}  // namespace mutils::test
