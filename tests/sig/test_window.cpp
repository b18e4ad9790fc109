// Windows: hand-checked samples of short lengths, the Kaiser and Chebyshev particulars, and
// the refusals of bad results and parameters.
#include <cmath>
#include <complex>

#include "support.h"

namespace mutils::test {
namespace {

using WindowTest = ArenaTest;
using Samples = std::vector<double>;

constexpr double kPi = 3.14159265358979323846;

/// Runs a window of length n (as one row) and returns its samples; fails the test on a message.
template <class F> Samples window(int32_t n, F&& fill) {
    _double_mat w = make<double>(1, n);
    EXPECT_EQ(message(fill(&w)), "");
    return values(w);
}

void expect_near(const Samples& got, const Samples& want, double tol = 1e-12) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], tol) << "sample " << i;
}

TEST_F(WindowTest, FixedShapesMatchTheirFormulasOnShortLengths) {
    auto rect = [](_double_mat* w) { return sigdbl_window_rectangle(nullptr, w); };
    auto tri = [](_double_mat* w) { return sigdbl_window_triangle(nullptr, w); };
    auto born = [](_double_mat* w) { return sigdbl_window_born_jordan(nullptr, w); };
    EXPECT_EQ(window(3, rect), (Samples{1, 1, 1}));
    expect_near(window(4, tri), {0.4, 0.8, 0.8, 0.4});
    expect_near(window(5, tri), {1 / 3.0, 2 / 3.0, 1, 2 / 3.0, 1 / 3.0});
    EXPECT_EQ(window(1, tri), (Samples{1}));
    expect_near(window(5, born), {1 / 3.0, 0.5, 1, 0.5, 1 / 3.0});
    expect_near(window(4, born), {0.5, 1, 1, 0.5});
    EXPECT_EQ(window(1, born), (Samples{1}));
}

TEST_F(WindowTest, CosineWindowsKeepTheirOwnDenominators) {
    auto hann = [](_double_mat* w) { return sigdbl_window_hanning(nullptr, w); };
    auto hamm = [](_double_mat* w) { return sigdbl_window_hamming(nullptr, w); };
    auto black = [](_double_mat* w) { return sigdbl_window_blackman(nullptr, w); };
    auto nutt = [](_double_mat* w) { return sigdbl_window_nuttall(nullptr, w); };
    // Hanning and blackman: period N + 1, so no zero ends; a single sample is 1.
    expect_near(window(3, hann), {0.5, 1, 0.5});
    expect_near(window(4, hann), {0.3454915028125263, 0.9045084971874737, 0.9045084971874737, 0.3454915028125263});
    expect_near(window(1, hann), {1});
    expect_near(window(3, black), {0.34, 1, 0.34});
    // Hamming: period N - 1; one sample divides by zero.
    expect_near(window(3, hamm), {0.08, 1, 0.08});
    EXPECT_TRUE(std::isnan(window(1, hamm)[0]));
    // Nuttall: period N - 1 with ends forced to exactly zero.
    expect_near(window(5, nutt), {0, 0.2269824, 1.0, 0.2269824, 0}, 1e-9);
    Samples long_nuttall = window(64, nutt);
    EXPECT_EQ(long_nuttall.front(), 0.0);
    EXPECT_EQ(long_nuttall.back(), 0.0);
    EXPECT_EQ(window(1, nutt), (Samples{0}));
}

TEST_F(WindowTest, ParametrisedTapers) {
    auto gauss = [](double a) { return [a](_double_mat* w) { return sigdbl_window_gaussian(a, nullptr, w); }; };
    expect_near(window(3, gauss(1)), {std::exp(-0.5), 1, std::exp(-0.5)});
    expect_near(window(4, gauss(2)), {std::exp(-2.0), std::exp(-2.0 / 9), std::exp(-2.0 / 9), std::exp(-2.0)});
    EXPECT_EQ(window(1, gauss(3)), (Samples{1}));

    auto raised = [](double r) { return [r](_double_mat* w) { return sigdbl_window_raised_cosine(r, nullptr, w); }; };
    EXPECT_EQ(window(6, raised(0)), Samples(6, 1.0));
    // ratio 0.5 of 8 samples: two tapers of 2 samples with period 5.
    const double a = 0.5 * (1 - std::cos(2 * kPi / 5)), b = 0.5 * (1 - std::cos(4 * kPi / 5));
    expect_near(window(8, raised(0.5)), {a, b, 1, 1, 1, 1, b, a});
    // ratio 1 is the hanning shape over the whole length.
    expect_near(window(7, raised(1)), window(7, [](_double_mat* w) { return sigdbl_window_hanning(nullptr, w); }));
}

TEST_F(WindowTest, ColumnResultsAreWindowsToo) {
    _double_mat col = make<double>(4, 1);
    ASSERT_EQ(sigdbl_window_triangle(nullptr, &col), nullptr);
    expect_near(values(col), {0.4, 0.8, 0.8, 0.4});
}

// The integer quotient leaves only the first sample tapered.
TEST_F(WindowTest, KaiserTapersOnlyTheFirstSample) {
    for (double beta : {2.0, 3.0}) {  // a from 4.7 to 8.2: the outer range of the I0 approximation
        for (int32_t n : {4, 8}) {
            Samples w = window(n, [&](_double_mat* r) { return sigdbl_window_kaiser(beta, nullptr, r); });
            const double a = beta * kPi * (n - 1) / n;
            EXPECT_NEAR(w[0] * std::cyl_bessel_i(0.0, a), 1.0, 2e-7) << beta << " " << n;
            for (int32_t k = 1; k < n; ++k) EXPECT_EQ(w[k], 1.0);
        }
    }
    // Small arguments take the inner polynomial: beta 0.5 of 3 samples gives a = pi/3.
    Samples small = window(3, [](_double_mat* r) { return sigdbl_window_kaiser(0.5, nullptr, r); });
    EXPECT_NEAR(small[0] * std::cyl_bessel_i(0.0, kPi / 3), 1.0, 2e-7);
    EXPECT_EQ(window(5, [](_double_mat* r) { return sigdbl_window_kaiser(0, nullptr, r); }), Samples(5, 1.0));
    EXPECT_TRUE(std::isnan(window(1, [](_double_mat* r) { return sigdbl_window_kaiser(1, nullptr, r); })[0]));
}

Samples chebyshev(int32_t n, double db) {
    return window(n, [db](_double_mat* w) { return sigdbl_window_chebyshev(db, nullptr, w); });
}

// Even lengths sample the polynomial exactly at the Nyquist frequency, where rounding may put
// its argument a hair below -1; every sample must still be a number.
TEST_F(WindowTest, ChebyshevSweepIsFiniteSymmetricWithUnitCentre) {
    for (int32_t n = 1; n <= 256; ++n) {
        for (int db = 0; db <= 120; db += 5) {
            if (n % 2 && n % 15 != 1) continue;  // every even length, a sample of odd ones
            Samples w = chebyshev(n, db);
            for (int32_t k = 0; k < n; ++k) {
                ASSERT_TRUE(std::isfinite(w[k])) << "N=" << n << " dB=" << db << " k=" << k;
                ASSERT_EQ(w[k], w[n - 1 - k]) << "N=" << n << " dB=" << db << " k=" << k;
            }
            ASSERT_EQ(w[(n - 1) / 2], 1.0) << "N=" << n << " dB=" << db;
            ASSERT_EQ(w[n / 2], 1.0) << "N=" << n << " dB=" << db;
        }
    }
}

// Far past any useful attenuation the polynomial's arguments grow huge and the lobe width
// rounds to 1/2; the samples stay numbers.
TEST_F(WindowTest, ChebyshevStaysFiniteAtExtremeAttenuations) {
    for (int32_t n : {3, 4, 20, 64})
        for (double db : {340.0, 1000.0, 3100.0, 6000.0})
            for (double v : chebyshev(n, db)) ASSERT_TRUE(std::isfinite(v)) << n << " " << db;
}

// The spectrum of the window: a main lobe of half width df and equal side lobes at
// ripple / (1 + ripple) of the peak, ripple = 10^(-dB/20).
TEST_F(WindowTest, ChebyshevSideLobesSitAtTheRequestedAttenuation) {
    for (int32_t n : {21, 32}) {
        for (double db : {40.0, 80.0}) {
            Samples w = chebyshev(n, db);
            auto magnitude = [&](double f) {
                std::complex<double> s = 0;
                for (int32_t k = 0; k < n; ++k) s += w[k] * std::polar(1.0, -2 * kPi * f * k);
                return std::abs(s);
            };
            const double ripple = std::pow(10.0, -db / 20);
            const double c = (ripple + 1) / ripple;
            const double df = std::acos(1 / std::cosh(std::acosh(c) / (n - 1))) / kPi;
            const double peak = magnitude(0);
            double side = 0;
            for (int i = 0; i <= 4000; ++i) side = std::max(side, magnitude(df + (0.5 - df) * i / 4000.0));
            EXPECT_NEAR(side / peak, ripple / (1 + ripple), 0.01 * ripple) << n << " " << db;
            EXPECT_GT(magnitude(df / 2) / peak, 0.1);  // inside the main lobe
        }
    }
    EXPECT_EQ(chebyshev(1, 60), (Samples{1}));
    EXPECT_EQ(chebyshev(2, 60), (Samples{1, 1}));
}

TEST_F(WindowTest, BadResultsAndParametersGiveTheirMessages) {
    _double_mat square = make<double>(3, 3);
    _double_mat row = make<double>(1, 3);
    using Typed = const char* (*)(void*, _double_mat*);
    for (Typed f : {sigdbl_window_rectangle, sigdbl_window_triangle, sigdbl_window_hanning, sigdbl_window_hamming,
                    sigdbl_window_blackman, sigdbl_window_nuttall, sigdbl_window_born_jordan}) {
        EXPECT_EQ(message(f(nullptr, &square)), "array size mismatch");
        EXPECT_EQ(raised([&] { f(nullptr, nullptr); }), "null pointer");
    }
    // The raised cosine checks its ratio before the shape; the others after it.
    EXPECT_EQ(message(sigdbl_window_raised_cosine(1.5, nullptr, &square)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_raised_cosine(-0.1, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_raised_cosine(0.5, nullptr, &square)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_window_gaussian(0, nullptr, &square)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_window_gaussian(0, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_gaussian(NAN, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_kaiser(-1, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_kaiser(-1, nullptr, &square)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_window_chebyshev(-1, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_chebyshev(NAN, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_chebyshev(7000, nullptr, &row)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_chebyshev(INFINITY, nullptr, &row)), "Illegal data value");
    _double_mat broken{1, 3, 2, row.data};
    EXPECT_EQ(raised([&] { sigdbl_window_chebyshev(10, nullptr, &broken); }), "array size mismatch");
}

TEST_F(WindowTest, UniversalMembersTakeDoubleResultsOnly) {
    _univ_mat u = make_univ<double>(1, 4);
    ASSERT_EQ(siguniv_window_triangle(nullptr, &u), nullptr);
    expect_near(values_of<double>(u), {0.4, 0.8, 0.8, 0.4});
    ASSERT_EQ(siguniv_window_kaiser(0, nullptr, &u), nullptr);
    EXPECT_EQ(values_of<double>(u), Samples(4, 1.0));
    EXPECT_EQ(message(siguniv_window_hanning(nullptr, nullptr)), "null pointer");
    EXPECT_EQ(message(siguniv_window_chebyshev(40, nullptr, nullptr)), "null pointer");
    _univ_mat f = make_univ<float>(1, 4);
    EXPECT_EQ(message(siguniv_window_rectangle(nullptr, &f)), "Illegal data type");
    EXPECT_EQ(message(siguniv_window_gaussian(1, nullptr, &f)), "Illegal data type");
    _univ_mat square = make_univ<double>(2, 2);
    EXPECT_EQ(message(siguniv_window_nuttall(nullptr, &square)), "array size mismatch");

    // The plain entry point reports by code.
    EXPECT_EQ(::siguniv_window_raised_cosine(0.5, nullptr, &u), MUTIL_ERR_OK);
    EXPECT_EQ(::siguniv_window_raised_cosine(2.0, nullptr, &u), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::siguniv_window_raised_cosine(0.5, nullptr, &f), MUTIL_ERR_ILLEGAL_TYPE);
}

}  // namespace
}  // namespace mutils::test
