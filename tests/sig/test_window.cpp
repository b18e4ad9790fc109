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

/// The samples of a window of length n (one row; a column when `column`).
template <class F> Samples window(int32_t n, F&& fill, bool column = false) {
    _double_mat w = column ? make<double>(n, 1) : make<double>(1, n);
    EXPECT_EQ(message(fill(&w)), "");
    return values(w);
}
auto plain(const char* (*f)(void*, _double_mat*)) {
    return [f](_double_mat* w) { return f(nullptr, w); };
}
auto with(const char* (*f)(double, void*, _double_mat*), double p) {
    return [f, p](_double_mat* w) { return f(p, nullptr, w); };
}

void expect_near(const Samples& got, const Samples& want, double tol = 1e-12) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], tol) << "sample " << i;
}

TEST_F(WindowTest, ShortWindowsMatchTheirFormulas) {
    expect_near(window(4, plain(sigdbl_window_triangle), true), {0.4, 0.8, 0.8, 0.4});
    expect_near(window(5, plain(sigdbl_window_born_jordan)), {1 / 3.0, 0.5, 1, 0.5, 1 / 3.0});
    expect_near(window(4, plain(sigdbl_window_born_jordan)), {0.5, 1, 1, 0.5});
    // Hanning and blackman: period N + 1 with n shifted, so no zero ends; one sample is 1.
    expect_near(window(4, plain(sigdbl_window_hanning)),
                {0.3454915028125263, 0.9045084971874737, 0.9045084971874737, 0.3454915028125263});
    expect_near(window(3, plain(sigdbl_window_blackman)), {0.34, 1, 0.34});
    // Hamming and nuttall: period N - 1; nuttall's ends forced to exactly zero.
    expect_near(window(3, plain(sigdbl_window_hamming)), {0.08, 1, 0.08});
    expect_near(window(5, plain(sigdbl_window_nuttall)), {0, 0.2269824, 1.0, 0.2269824, 0}, 1e-9);
    Samples nuttall = window(64, plain(sigdbl_window_nuttall));
    EXPECT_TRUE(nuttall.front() == 0.0 && nuttall.back() == 0.0);
    expect_near(window(4, with(sigdbl_window_gaussian, 2)),
                {std::exp(-2.0), std::exp(-2.0 / 9), std::exp(-2.0 / 9), std::exp(-2.0)});
    // Raised cosine: ratio 0.5 of 8 samples gives two tapers of 2 with period 5; ratio 1 is hanning.
    const double a = 0.5 * (1 - std::cos(2 * kPi / 5)), b = 0.5 * (1 - std::cos(4 * kPi / 5));
    expect_near(window(8, with(sigdbl_window_raised_cosine, 0.5)), {a, b, 1, 1, 1, 1, b, a});
    EXPECT_EQ(window(6, with(sigdbl_window_raised_cosine, 0)), Samples(6, 1.0));
    expect_near(window(7, with(sigdbl_window_raised_cosine, 1)), window(7, plain(sigdbl_window_hanning)));
}

TEST_F(WindowTest, SingleSampleWindows) {
    for (auto f : {sigdbl_window_triangle, sigdbl_window_hanning, sigdbl_window_born_jordan})
        EXPECT_EQ(window(1, plain(f)), Samples{1.0});
    EXPECT_EQ(window(1, plain(sigdbl_window_nuttall)), Samples{0.0});
    EXPECT_TRUE(std::isnan(window(1, plain(sigdbl_window_hamming))[0]));   // N - 1 = 0, not guarded
    EXPECT_TRUE(std::isnan(window(1, with(sigdbl_window_kaiser, 1))[0]));  // the root of -3
    EXPECT_EQ(window(1, with(sigdbl_window_chebyshev, 60)), Samples{1.0});
}

// The integer quotient leaves only the first sample tapered, by 1/I0(beta pi (N-1)/N).
TEST_F(WindowTest, KaiserTapersOnlyTheFirstSample) {
    for (auto [beta, n] : {std::pair{0.5, 3}, {2.0, 4}, {3.0, 8}}) {  // both ranges of the I0 polynomial
        Samples w = window(n, with(sigdbl_window_kaiser, beta));
        EXPECT_NEAR(w[0] * std::cyl_bessel_i(0.0, beta * kPi * (n - 1) / n), 1.0, 2e-7) << beta;
        EXPECT_EQ(Samples(w.begin() + 1, w.end()), Samples(n - 1, 1.0));
    }
    EXPECT_EQ(window(5, with(sigdbl_window_kaiser, 0)), Samples(5, 1.0));
    EXPECT_EQ(window(4, with(sigdbl_window_kaiser, 400)), (Samples{0, 1, 1, 1}));  // I0 overflows
}

// Even lengths sample the polynomial exactly at the Nyquist frequency, where rounding may put
// its argument a hair below -1; every sample must still be a number.
TEST_F(WindowTest, ChebyshevSweepIsFiniteSymmetricWithUnitCentre) {
    for (int32_t n = 2; n <= 256; n += (n < 40 ? 1 : 2)) {
        for (int db = 0; db <= 120; db += 5) {
            Samples w = window(n, with(sigdbl_window_chebyshev, db));
            for (int32_t k = 0; k < n; ++k) {
                ASSERT_TRUE(std::isfinite(w[k])) << "N=" << n << " dB=" << db << " k=" << k;
                ASSERT_EQ(w[k], w[n - 1 - k]) << "N=" << n << " dB=" << db << " k=" << k;
            }
            ASSERT_TRUE(w[(n - 1) / 2] == 1.0 && w[n / 2] == 1.0) << "N=" << n << " dB=" << db;
        }
    }
    // Far past any useful attenuation the arguments grow huge; the samples stay numbers.
    for (int32_t n : {3, 4, 20, 64})
        for (double db : {340.0, 1000.0, 3100.0, 6000.0})
            for (double v : window(n, with(sigdbl_window_chebyshev, db))) ASSERT_TRUE(std::isfinite(v)) << n << db;
}

// The spectrum: equal side lobes at ripple / (1 + ripple) of the peak (ripple = 10^(-dB/20))
// beyond the main lobe's half width df.
TEST_F(WindowTest, ChebyshevSideLobesSitAtTheRequestedAttenuation) {
    for (int32_t n : {21, 32}) {
        for (double db : {40.0, 80.0}) {
            Samples w = window(n, with(sigdbl_window_chebyshev, db));
            auto magnitude = [&](double f) {
                std::complex<double> s = 0;
                for (int32_t k = 0; k < n; ++k) s += w[k] * std::polar(1.0, -2 * kPi * f * k);
                return std::abs(s);
            };
            const double ripple = std::pow(10.0, -db / 20);
            const double df = std::acos(1 / std::cosh(std::acosh((ripple + 1) / ripple) / (n - 1))) / kPi;
            double side = 0;
            for (int i = 0; i <= 4000; ++i) side = std::max(side, magnitude(df + (0.5 - df) * i / 4000.0));
            EXPECT_NEAR(side / magnitude(0), ripple / (1 + ripple), 0.01 * ripple) << n << " " << db;
        }
    }
}

TEST_F(WindowTest, BadResultsAndParametersGiveTheirMessages) {
    _double_mat square = make<double>(3, 3), row = make<double>(1, 3);
    for (auto f : {sigdbl_window_rectangle, sigdbl_window_triangle, sigdbl_window_hanning, sigdbl_window_hamming,
                   sigdbl_window_blackman, sigdbl_window_nuttall, sigdbl_window_born_jordan}) {
        EXPECT_EQ(message(f(nullptr, &square)), "array size mismatch");
        EXPECT_EQ(raised([&] { f(nullptr, nullptr); }), "null pointer");
    }
    // The raised cosine checks its ratio before the shape; the others after it.
    EXPECT_EQ(message(sigdbl_window_raised_cosine(1.5, nullptr, &square)), "Illegal data value");
    EXPECT_EQ(message(sigdbl_window_raised_cosine(0.5, nullptr, &square)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_window_gaussian(0, nullptr, &square)), "array size mismatch");
    const double nan = std::nan(""), inf = HUGE_VAL;
    for (auto [f, p] : {std::pair{&sigdbl_window_raised_cosine, -0.1},
                        {&sigdbl_window_gaussian, 0.0},
                        {&sigdbl_window_gaussian, nan},
                        {&sigdbl_window_kaiser, -1.0},
                        {&sigdbl_window_chebyshev, -1.0},
                        {&sigdbl_window_chebyshev, 7000.0},
                        {&sigdbl_window_chebyshev, inf}})
        EXPECT_EQ(message(f(p, nullptr, &row)), "Illegal data value") << p;
}

TEST_F(WindowTest, UniversalMembersTakeDoubleResultsOnly) {
    _univ_mat u = make_univ<double>(1, 4), f = make_univ<float>(1, 4);
    ASSERT_EQ(siguniv_window_triangle(nullptr, &u), nullptr);
    expect_near(values_of<double>(u), {0.4, 0.8, 0.8, 0.4});
    EXPECT_EQ(message(siguniv_window_hanning(nullptr, nullptr)), "null pointer");
    EXPECT_EQ(::siguniv_window_raised_cosine(0.5, nullptr, &u), MUTIL_ERR_OK);
    EXPECT_EQ(::siguniv_window_raised_cosine(2.0, nullptr, &u), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::siguniv_window_raised_cosine(0.5, nullptr, &f), MUTIL_ERR_ILLEGAL_TYPE);
}

}  // namespace
}  // namespace mutils::test
