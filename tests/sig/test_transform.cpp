// Discrete transforms against their defining sums, round trips, and the documented refusals.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using TransformTest = ArenaTest;
using Reals = std::vector<double>;
using Cpx = std::vector<_dcomplex>;
const double kPi = std::acos(-1.0);

Reals random_values(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Reals v(n);
    for (double& x : v) x = u(gen);
    return v;
}

Cpx random_complex(size_t n, unsigned seed) {
    const Reals v = random_values(2 * n, seed);
    Cpx c(n);
    for (size_t i = 0; i < n; ++i) c[i] = {v[2 * i], v[2 * i + 1]};
    return c;
}

// The O(N^2) definition, e^{sign 2 pi i jk/N}, with the angle reduced exactly.
Cpx naive_dft(const Cpx& x, int sign) {
    const size_t n = x.size();
    std::vector<long double> c(n), sn(n);
    for (size_t j = 0; j < n; ++j) {
        c[j] = std::cos(2.0L * kPi * (long double)j / (long double)n);
        sn[j] = sign * std::sin(2.0L * kPi * (long double)j / (long double)n);
    }
    Cpx y(n);
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

// Hartley by its definition, sum x_j cas(2 pi jk/N) / sqrt(N): the real minus the imaginary
// part of the forward Fourier sum of a real signal.
Reals naive_hartley(const Reals& x) {
    Cpx xc(x.size());
    for (size_t i = 0; i < x.size(); ++i) xc[i] = {x[i], 0.0};
    const Cpx f = naive_dft(xc, -1);
    Reals y(x.size());
    for (size_t k = 0; k < x.size(); ++k) y[k] = (f[k].re - f[k].im) / std::sqrt(double(x.size()));
    return y;
}

Reals naive_dct(const Reals& x, bool inverse) {
    const size_t n = x.size();
    Reals y(n);
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
Reals dct(const Reals& x) { return naive_dct(x, false); }

double dist(double a, double b) { return std::fabs(a - b); }
double dist(_dcomplex a, _dcomplex b) { return std::hypot(a.re - b.re, a.im - b.im); }
template <class T> double max_error(const std::vector<T>& a, const std::vector<T>& b) {
    double e = 0;
    for (size_t i = 0; i < a.size(); ++i) e = std::max(e, dist(a[i], b[i]));
    return e;
}

// f applied to every row (or every column) of the row-major nr x nc matrix x.
template <class T, class F> std::vector<T> by_lines(std::vector<T> x, int nr, int nc, bool rows, F f) {
    const int n = rows ? nc : nr, step = rows ? 1 : nc, next = rows ? nc : 1;
    for (int l = 0; l < (rows ? nr : nc); ++l) {
        std::vector<T> line(n);
        for (int i = 0; i < n; ++i) line[i] = x[l * next + i * step];
        line = f(line);
        for (int i = 0; i < n; ++i) x[l * next + i * step] = line[i];
    }
    return x;
}

// ---- Fourier -------------------------------------------------------------------------------------

TEST_F(TransformTest, FourierMatchesTheDefinitionAndRoundTrips) {
    // Powers of two, small primes, mixed radices, long primes (general butterfly) and lengths
    // long enough to go through the two-level split (8820 = 90 x 98, with radix-7 passes), plus a few random ones.
    std::vector<int> lengths = {1, 2, 3, 5, 7, 12, 16, 97, 360, 1024, 2310, 4099, 8820};
    std::mt19937 gen(2024);
    for (int i = 0; i < 4; ++i) lengths.push_back(std::uniform_int_distribution<int>(2, 3000)(gen));
    for (int n : lengths) {
        const auto x = random_complex(n, n);
        _dcomplex_mat in = make<_dcomplex>(n, 1, x), out = make<_dcomplex>(n, 1);
        for (int inverse = 0; inverse < (n < 4000 ? 2 : 1); ++inverse) {  // the round trips cover long inverses
            ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, inverse, nullptr, &out)), "");
            Cpx want = naive_dft(x, inverse ? 1 : -1);
            if (inverse)
                for (auto& v : want) v = {v.re / n, v.im / n};
            // Rounding grows like sqrt(N) log N for values of size sqrt(N) (forward) or 1/sqrt(N) (inverse).
            const double scale = std::sqrt(double(n)) * (inverse ? 1.0 / n : 1.0);
            EXPECT_LT(max_error(values(out), want), 4e-16 * scale * std::log2(2.0 * n) * 4 + 1e-16)
                << "n = " << n << " inverse " << inverse;
        }
    }
    for (int n : {1 << 14, 3 * 5 * 7 * 64, 1 << 17, 999000}) {
        const auto x = random_complex(n, 7 + n);
        _dcomplex_mat in = make<_dcomplex>(n, 1, x), mid = make<_dcomplex>(n, 1), back = make<_dcomplex>(n, 1);
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, 0, nullptr, &mid)), "");
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&mid, 1, nullptr, &back)), "");
        EXPECT_LT(max_error(values(back), x), 1e-14 * std::log2(double(n) + 1) * 4) << "n = " << n;
    }
}

TEST_F(TransformTest, FourierOfLargePrimeLengthsMatchesTheSumAndRoundTrips) {
    // Lengths with a large prime factor (1009, 99991, 2 x 4999 with a second column) against the
    // defining sum at a few outputs, and the inverse of the forward transform.
    for (auto [n, nc] : {std::pair{1009, 1}, {99991, 1}, {2 * 4999, 2}}) {
        const auto x = random_complex(size_t(n) * nc, n);
        _dcomplex_mat in = make<_dcomplex>(n, nc, x), mid = make<_dcomplex>(n, nc), back = make<_dcomplex>(n, nc);
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, 0, nullptr, &mid)), "");
        for (int k : {0, 1, 7, n / 3, n - 1}) {
            long double re = 0, im = 0;
            for (int64_t j = 0; j < n; ++j) {
                const long double a = -2.0L * kPi * (long double)((j * k) % n) / (long double)n;
                const _dcomplex v = x[size_t(j) * nc + nc - 1];
                re += v.re * std::cos(a) - v.im * std::sin(a);
                im += v.re * std::sin(a) + v.im * std::cos(a);
            }
            EXPECT_LT(dist(mid.data[size_t(k) * nc + nc - 1], {double(re), double(im)}), 2e-14 * std::sqrt(double(n)))
                << "n = " << n << " k = " << k;
        }
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&mid, 1, nullptr, &back)), "");
        EXPECT_LT(max_error(values(back), x), 1e-14 * std::log2(double(n)) * 4) << "n = " << n;
    }
}

TEST_F(TransformTest, FourierTransformsEveryColumnAndLeavesRowsAlone) {
    const int nr = 12, nc = 19;
    const auto x = random_complex(nr * nc, 11);
    _dcomplex_mat in = make<_dcomplex>(nr, nc, x), out = make<_dcomplex>(nr, nc);
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, 0, nullptr, &out)), "");
    EXPECT_LT(max_error(values(out), by_lines(x, nr, nc, false, [](const Cpx& c) { return naive_dft(c, -1); })), 1e-13);
    // A 1 x N row comes back unchanged, in both directions.
    _dcomplex_mat row = make<_dcomplex>(1, 5, random_complex(5, 2)), rout = make<_dcomplex>(1, 5);
    for (int inverse : {0, 1}) {
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&row, inverse, nullptr, &rout)), "");
        EXPECT_EQ(max_error(values(rout), values(row)), 0.0);
    }
}

TEST_F(TransformTest, FourierInverseFlagIsExactlyOne) {
    _dcomplex_mat in = make<_dcomplex>(4, 1, {{1, 0}, {0, 0}, {0, 0}, {0, 0}}), out = make<_dcomplex>(4, 1);
    for (int flag : {0, 2, 255, 1}) {
        ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&in, flag, nullptr, &out)), "");
        for (const auto& v : values(out)) EXPECT_EQ(v.re, flag == 1 ? 0.25 : 1.0) << flag;
    }
}

TEST_F(TransformTest, RealFourierEqualsComplexWithZeroImaginaryAndWorksInPlace) {
    const int nr = 30, nc = 3;
    const auto x = random_values(nr * nc, 5);
    Cpx xc(x.size());
    for (size_t i = 0; i < x.size(); ++i) xc[i] = {x[i], 0.0};
    _double_mat in = make<double>(nr, nc, x);
    _dcomplex_mat cin = make<_dcomplex>(nr, nc, xc), a = make<_dcomplex>(nr, nc), b = make<_dcomplex>(nr, nc);
    ASSERT_EQ(message(sigdbl_transform_discrete_fourier(&in, 0, nullptr, &a)), "");
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&cin, 0, nullptr, &b)), "");
    EXPECT_EQ(max_error(values(a), values(b)), 0.0);
    ASSERT_EQ(message(sigcpx_transform_discrete_fourier(&cin, 0, nullptr, &cin)), "");
    EXPECT_EQ(max_error(values(cin), values(b)), 0.0);
}

TEST_F(TransformTest, FourierUniversalTypeRulesAndRefusals) {
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
        EXPECT_LT(max_error(values(out), dct(x)), 1e-13) << n;
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse(&in, nullptr, &back)), "");
        EXPECT_LT(max_error(values(back), naive_dct(x, true)), 1e-13) << n;
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_inverse(&out, nullptr, &out)), "");
        EXPECT_LT(max_error(values(out), x), 1e-13) << n;
    }
}

TEST_F(TransformTest, CosineGoesByColumnAndTwoDimensionalIsSeparable) {
    const int nr = 6, nc = 10;
    const auto x = random_values(nr * nc, 21);
    _double_mat row = make<double>(1, 24, x), col = make<double>(24, 1, x), m = make<double>(6, 4, x);
    _double_mat a = make<double>(1, 24), b = make<double>(24, 1), out = make<double>(6, 4);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&row, nullptr, &a)), "");
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&col, nullptr, &b)), "");
    EXPECT_EQ(values(a), values(b));  // a row is transformed as the column it would be
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II(&m, nullptr, &out)), "");
    EXPECT_LT(max_error(values(out), by_lines(Reals(x.begin(), x.begin() + 24), 6, 4, false, dct)), 1e-14);
    // Two dimensions: rows, then columns, each by the definition.
    _double_mat in = make<double>(nr, nc, x), out2 = make<double>(nr, nc), back = make<double>(nr, nc);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&in, 0, nullptr, &out2)), "");
    EXPECT_LT(max_error(values(out2), by_lines(by_lines(x, nr, nc, true, dct), nr, nc, false, dct)), 1e-13);
    ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&out2, 7, nullptr, &back)), "");
    EXPECT_LT(max_error(values(back), x), 1e-13);
}

// ---- Hartley and power-of-two cosine -------------------------------------------------------------

TEST_F(TransformTest, HartleyMatchesTheDefinitionAndIsItsOwnInverse) {
    // Rows up to 2048 against the definition; long columns (through the tiled permutation)
    // against H_0, the scaled sum, and H_{N/2}, the scaled alternating sum.
    for (int n : {2, 4, 8, 16, 32, 64, 256, 2048, 8192, 1 << 16}) {
        const auto x = random_values(n, 300 + n);
        const int nr = n > 2048 ? n : 1;
        _double_mat in = make<double>(nr, n / nr, x), out = make<double>(nr, n / nr), back = make<double>(nr, n / nr);
        ASSERT_EQ(message(sigdbl_transform_hartley(&in, nullptr, &out)), "");
        if (n <= 2048) {
            EXPECT_LT(max_error(values(out), naive_hartley(x)), 1e-13) << n;
        }
        long double s = 0, alt = 0;
        for (int i = 0; i < n; ++i) s += x[i], alt += (i % 2 ? -x[i] : x[i]);
        EXPECT_NEAR(out.data[0], double(s / std::sqrt(n)), 1e-12);
        EXPECT_NEAR(out.data[n / 2], double(alt / std::sqrt(n)), 1e-12);
        ASSERT_EQ(message(sigdbl_transform_hartley(&out, nullptr, n > 2048 ? &out : &back)), "");
        EXPECT_LT(max_error(values(n > 2048 ? out : back), x), n > 2048 ? 1e-13 : 1e-14) << n;
    }
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
    const auto x = random_values(8 * 16, 8);
    _double_mat in = make<double>(8, 16, x), a = make<double>(8, 16), b = make<double>(8, 16);
    for (int inverse : {0, 1}) {
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d_pow2(&in, inverse, nullptr, &a)), "");
        ASSERT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&in, inverse, nullptr, &b)), "");
        EXPECT_LT(max_error(values(a), values(b)), 1e-13);
    }
}

TEST_F(TransformTest, RealMembersRefuseOtherShapesAndTypesAndCopySingleElements) {
    _double_mat v = make<double>(1, 5), vo = make<double>(1, 5), six = make<double>(6, 1), six_out = make<double>(6, 1);
    _double_mat m = make<double>(4, 6), mo = make<double>(4, 6), sq = make<double>(4, 4), sq_out = make<double>(4, 4);
    _double_mat four = make<double>(4, 1), four_row = make<double>(1, 4);
    const std::string mismatch = "array size mismatch";
    for (auto f : {sigdbl_transform_discrete_cosine_II_2d, sigdbl_transform_discrete_cosine_II_2d_pow2})
        EXPECT_EQ(message(f(&v, 0, nullptr, &vo)), mismatch);
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_2d_pow2(&m, 0, nullptr, &mo)), mismatch);
    for (auto f : {sigdbl_transform_hartley, sigdbl_transform_discrete_cosine_II_pow2,
                   sigdbl_transform_discrete_cosine_II_inverse_pow2})
        EXPECT_EQ(message(f(&six, nullptr, &six_out)), mismatch);
    EXPECT_EQ(message(sigdbl_transform_hartley(&sq, nullptr, &sq_out)), mismatch);
    EXPECT_EQ(message(sigdbl_transform_hartley(&four, nullptr, &four_row)), mismatch);
    _double_mat one = make<double>(1, 1, {3.5}), oo = make<double>(1, 1);
    EXPECT_EQ(message(sigdbl_transform_discrete_cosine_II_2d(&one, 1, nullptr, &oo)), "");
    EXPECT_EQ(oo.data[0], 3.5);
    one.data[0] = -2;
    EXPECT_EQ(message(sigdbl_transform_hartley(&one, nullptr, &oo)), "");
    EXPECT_EQ(oo.data[0], -2.0);

    _univ_mat d = make_univ<double>(4, 4), dout = make_univ<double>(4, 4), f = make_univ<float>(4, 4);
    _univ_mat cpx = make_univ<_dcomplex>(4, 4);
    for (auto g : {siguniv_transform_discrete_cosine_II, siguniv_transform_discrete_cosine_II_inverse})
        EXPECT_EQ(message(g(&d, nullptr, &dout)), "");
    for (int inverse : {0, 1}) {
        EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_2d(&d, inverse, nullptr, &dout)), "");
        EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_2d_pow2(&d, inverse, nullptr, &dout)), "");
    }
    EXPECT_EQ(message(siguniv_transform_hartley(&d, nullptr, &dout)), mismatch);
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_pow2(&f, nullptr, &dout)), "Illegal data type");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II_inverse_pow2(&d, nullptr, &cpx)), "Illegal data type");
    EXPECT_EQ(message(siguniv_transform_discrete_cosine_II(nullptr, nullptr, &dout)), "null pointer");
    EXPECT_EQ(::siguniv_transform_discrete_cosine_II_2d(&f, 0, nullptr, &dout), MUTIL_ERR_ILLEGAL_TYPE);
}

}  // namespace
}  // namespace mutils::test
