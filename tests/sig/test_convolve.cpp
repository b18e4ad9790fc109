// Correlation and convolution against the defining sums for every boundary rule, origin and step;
// wrap-around of the integer members; the universal promotion; sets; resampling.
#include <array>
#include <cmath>
#include <random>
#include <tuple>

#include "support.h"

namespace mutils::test {
namespace {

using ConvolveTest = ArenaTest;

int64_t outside(int64_t k, int64_t n, int b) {  // -1: the sample reads as zero
    if (k >= 0 && k < n) return k;
    switch (b) {
        case 1: return ((k % n) + n) % n;
        case 2:
            while (k < 0 || k >= n) k = k < 0 ? -k - 1 : 2 * n - k - 1;
            return k;
        case 3: return k < 0 ? 0 : n - 1;
        default: return -1;
    }
}

// Sums in a wide type, then reduced to T (modulo 2^bits for integers).
template <class T> T reduce(double v) { return T(v); }
template <class T> T reduce(uint64_t v) { return T(v); }
template <class T> using wide_t = std::conditional_t<std::is_integral_v<T>, uint64_t, double>;

template <class T> std::vector<T> naive(const detail::mat_t<T>& d, const detail::mat_t<T>& f, int rs, int cs, int ro,
                                        int co, int b, bool conv, int yr, int yc) {
    std::vector<T> y(size_t(yr) * yc);
    for (int i = 0; i < yr; ++i)
        for (int j = 0; j < yc; ++j) {
            wide_t<T> s{};
            for (int p = 0; p < f.nrow; ++p)
                for (int q = 0; q < f.ncol; ++q) {
                    const int64_t r = conv ? i * rs + (ro - 1) - p : i * rs + p - (f.nrow - ro);
                    const int64_t c = conv ? j * cs + (co - 1) - q : j * cs + q - (f.ncol - co);
                    const int64_t rr = outside(r, d.nrow, b), cc = outside(c, d.ncol, b);
                    const T v = (rr < 0 || cc < 0) ? T{} : d.data[rr * d.ncol + cc];
                    s = wide_t<T>(s + wide_t<T>(f.data[p * f.ncol + q]) * wide_t<T>(v));
                }
            y[i * yc + j] = reduce<T>(s);
        }
    return y;
}

template <class T> detail::mat_t<T> random_mat(int nr, int nc, unsigned seed) {
    std::mt19937 gen(seed);
    return test::random_mat<T>(gen, nr, nc);
}

template <class T, class Op> void check_against_definition(Op op, bool conv) {
    struct Case {
        int nr, nc, fr, fc, ro, co, rs, cs, yr, yc;
    };
    const Case cases[] = {
        {7, 9, 3, 4, 1, 1, 1, 1, 7, 9},      {7, 9, 3, 4, 2, 3, 1, 1, 7, 9},     {7, 9, 3, 4, 3, 4, 2, 3, 4, 3},
        {5, 5, 7, 6, 4, 2, 1, 1, 5, 5},      {1, 8, 1, 3, 1, 2, 1, 1, 1, 8},     {40, 70, 3, 3, 2, 2, 1, 1, 40, 70},
        {40, 70, 5, 15, 3, 8, 1, 1, 33, 61}, {40, 70, 4, 5, 1, 5, 3, 2, 13, 35}, {3, 2, 1, 1, 1, 1, 1, 1, 2, 1},
    };
    unsigned seed = 1;
    for (const Case& k : cases) {
        const auto d = random_mat<T>(k.nr, k.nc, seed++), f = random_mat<T>(k.fr, k.fc, seed++);
        for (int b = 0; b < 4; ++b) {
            auto y = make<T>(k.yr, k.yc);
            ASSERT_EQ(message(op(&d, &f, k.rs, k.cs, k.ro, k.co, static_cast<_mutil_boundary_type>(b), nullptr, &y)),
                      "");
            // Same order of summation in every path: floating results are equal, not just close.
            EXPECT_EQ(values(y), naive<T>(d, f, k.rs, k.cs, k.ro, k.co, b, conv, k.yr, k.yc))
                << "case " << k.nr << "x" << k.nc << " filter " << k.fr << "x" << k.fc << " origin " << k.ro << ","
                << k.co << " step " << k.rs << "," << k.cs << " boundary " << b;
        }
    }
}

template <class T, class Op> void check_against_definition(Op correlate, Op convolve) {
    check_against_definition<T>(correlate, false);
    check_against_definition<T>(convolve, true);
}

TEST_F(ConvolveTest, RealAndIntegerMembersFollowTheDefinition) {
    check_against_definition<double>(sigdbl_correlate, sigdbl_convolve);
    check_against_definition<unsigned char>(sigu8_correlate, sigu8_convolve);
    check_against_definition<uint16_t>(sigu16_correlate, sigu16_convolve);
    check_against_definition<int32_t>(sigs32_correlate, sigs32_convolve);
}

TEST_F(ConvolveTest, ComplexMembersFollowTheDefinition) {
    // Real and imaginary parts checked through four real correlations: (a + ib)(c + id).
    const int nr = 20, nc = 37;
    const auto dr = random_mat<double>(nr, nc, 1), di = random_mat<double>(nr, nc, 2);
    const auto fr = random_mat<double>(3, 4, 3), fi = random_mat<double>(3, 4, 4);
    auto d = make<_dcomplex>(nr, nc), f = make<_dcomplex>(3, 4);
    for (int i = 0; i < d.nelem; ++i) d.data[i] = {dr.data[i], di.data[i]};
    for (int i = 0; i < f.nelem; ++i) f.data[i] = {fr.data[i], fi.data[i]};
    for (bool conv : {false, true})
        for (int b = 0; b < 4; ++b) {
            auto y = make<_dcomplex>(10, 18);
            const auto bt = static_cast<_mutil_boundary_type>(b);
            ASSERT_EQ(message((conv ? sigcpx_convolve : sigcpx_correlate)(&d, &f, 2, 2, 2, 3, bt, nullptr, &y)), "");
            const auto rr = naive<double>(dr, fr, 2, 2, 2, 3, b, conv, 10, 18);
            const auto ii = naive<double>(di, fi, 2, 2, 2, 3, b, conv, 10, 18);
            const auto ri = naive<double>(dr, fi, 2, 2, 2, 3, b, conv, 10, 18);
            const auto ir = naive<double>(di, fr, 2, 2, 2, 3, b, conv, 10, 18);
            for (int i = 0; i < y.nelem; ++i) {
                EXPECT_NEAR(y.data[i].re, rr[i] - ii[i], 1e-9);  // sums of 12 products up to 1e4
                EXPECT_NEAR(y.data[i].im, ri[i] + ir[i], 1e-9);
            }
        }
}

TEST_F(ConvolveTest, BadArgumentsGetTheirMessagesInOrder) {
    auto d = make<double>(4, 4), f = make<double>(2, 3), y = make<double>(4, 4), big = make<double>(5, 4);
    const auto Z = MUTIL_BOUNDARY_ZERO;
    EXPECT_EQ(message(sigdbl_correlate(&d, &f, 1, 1, 1, 1, Z, nullptr, &big)), "array size mismatch");
    EXPECT_EQ(message(sigdbl_correlate(&d, &f, 1, 1, 1, 1, Z, nullptr, &d)), "Illegal memory address");
    _double_mat alias_f{2, 2, 4, y.data};
    EXPECT_EQ(message(sigdbl_convolve(&d, &alias_f, 1, 1, 1, 1, Z, nullptr, &y)), "Illegal memory address");
    // Steps, origins (the filter is 2 x 3) and boundary rules out of range.
    const std::array<int, 5> bad[] = {{0, 1, 1, 1, 0}, {1, 0, 1, 1, 0}, {1, 1, 0, 1, 0}, {1, 1, 3, 1, 0},
                                      {1, 1, 1, 4, 0}, {1, 1, 1, 1, 4}, {1, 1, 1, 1, -1}};
    for (auto [rs, cs, ro, co, b] : bad)
        EXPECT_EQ(message(sigdbl_convolve(&d, &f, rs, cs, ro, co, static_cast<_mutil_boundary_type>(b), nullptr, &y)),
                  "Illegal data value");
    EXPECT_EQ(raised([&] { sigdbl_convolve(&d, nullptr, 1, 1, 1, 1, Z, nullptr, &y); }), "null pointer");
}

TEST_F(ConvolveTest, UniversalMembersPromoteToTheWidestType) {
    const auto Z = MUTIL_BOUNDARY_ZERO;
    _univ_mat d8 = make_univ<unsigned char>(2, 2, {200, 1, 2, 3}), f8 = make_univ<unsigned char>(1, 1, {2});
    _univ_mat fd = make_univ<double>(1, 1, {0.5}), yd = make_univ<double>(2, 2), y8 = make_univ<unsigned char>(2, 2);
    // u8 data and filter into a double result: computed in double, no 8-bit wrap.
    ASSERT_EQ(message(siguniv_convolve(&d8, &f8, 1, 1, 1, 1, Z, nullptr, &yd)), "");
    EXPECT_EQ(values_of<double>(yd), (std::vector<double>{400, 2, 4, 6}));
    ASSERT_EQ(message(siguniv_correlate(&d8, &fd, 1, 1, 1, 1, Z, nullptr, &yd)), "");
    EXPECT_EQ(values_of<double>(yd), (std::vector<double>{100, 0.5, 1, 1.5}));
    ASSERT_EQ(message(siguniv_convolve(&d8, &f8, 1, 1, 1, 1, Z, nullptr, &y8)), "");
    EXPECT_EQ(values_of<unsigned char>(y8), (std::vector<unsigned char>{144, 2, 4, 6}));
    // Floating data with an integer filter or result; a result narrower than the sums; no member.
    _univ_mat dd = make_univ<double>(2, 2), d16 = make_univ<uint16_t>(2, 2), f16 = make_univ<uint16_t>(1, 1);
    _univ_mat s16 = make_univ<int16_t>(2, 2);
    EXPECT_EQ(message(siguniv_convolve(&dd, &f8, 1, 1, 1, 1, Z, nullptr, &yd)), "Illegal data type");
    EXPECT_EQ(message(siguniv_convolve(&dd, &fd, 1, 1, 1, 1, Z, nullptr, &y8)), "Illegal data type");
    EXPECT_EQ(message(siguniv_convolve(&d16, &f16, 1, 1, 1, 1, Z, nullptr, &y8)), "Illegal data type");
    EXPECT_EQ(message(siguniv_convolve(&s16, &f8, 1, 1, 1, 1, Z, nullptr, &s16)), "Illegal data type");
    EXPECT_EQ(message(siguniv_correlate(nullptr, &f8, 1, 1, 1, 1, Z, nullptr, &y8)), "null pointer");
    // Float data with a double filter is computed in double.
    _univ_mat fl2 = make_univ<float>(1, 2, {1.5f, 2.5f}), y2 = make_univ<double>(1, 2);
    ASSERT_EQ(message(siguniv_correlate(&fl2, &fd, 1, 1, 1, 1, Z, nullptr, &y2)), "");
    EXPECT_EQ(values_of<double>(y2), (std::vector<double>{0.75, 1.25}));
    // u32 goes to the 32-bit member as its own bits: 2^32 - 1 times 2 wraps to 2^32 - 2.
    _univ_mat du = make_univ<uint32_t>(1, 1, {0xFFFFFFFFu}), fs = make_univ<int32_t>(1, 1, {2});
    _univ_mat yu = make_univ<uint32_t>(1, 1);
    ASSERT_EQ(message(siguniv_convolve(&du, &fs, 1, 1, 1, 1, Z, nullptr, &yu)), "");
    EXPECT_EQ(values_of<uint32_t>(yu)[0], 0xFFFFFFFEu);
    // Complex result of real data and filter.
    _univ_mat yc = make_univ<_dcomplex>(2, 2);
    ASSERT_EQ(message(siguniv_convolve(&d8, &fd, 1, 1, 1, 1, Z, nullptr, &yc)), "");
    EXPECT_EQ(values_of<_dcomplex>(yc)[0].re, 100.0);
}

TEST_F(ConvolveTest, SetsFilterMatrixByMatrix) {
    const int32_t dims[1] = {2};
    _mat_set d, f, y;
    for (_mat_set* s : {&d, &f, &y}) matset_malloc(s, 1, dims);
    d.mats[0] = make_univ<double>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    d.mats[1] = make_univ<unsigned char>(2, 2, {1, 2, 3, 4});
    f.mats[0] = make_univ<double>(1, 2, {1, 1});
    f.mats[1] = make_univ<unsigned char>(1, 1, {3});
    y.mats[0] = make_univ<double>(2, 2);
    y.mats[1] = make_univ<unsigned char>(2, 2);
    auto rs = make<int32_t>(2, 1, {2, 1}), cs = make<int32_t>(1, 2, {2, 1}), ro = make<int32_t>(2, 1, {1, 1});
    auto co = make<int32_t>(2, 1, {2, 1});
    ASSERT_EQ(message(sigset_correlate(&d, &f, &rs, &cs, &ro, &co, MUTIL_BOUNDARY_CONTINUE, nullptr, &y)), "");
    // y0[i][j] = d[2i][2j] + d[2i][2j + 1] with the right edge continued.
    EXPECT_EQ(values_of<double>(y.mats[0]), (std::vector<double>{3, 6, 15, 18}));
    EXPECT_EQ(values_of<unsigned char>(y.mats[1]), (std::vector<unsigned char>{3, 6, 9, 12}));
    auto co_bad = make<int32_t>(2, 1, {2, 0});
    EXPECT_EQ(message(sigset_convolve(&d, &f, &rs, &cs, &ro, &co_bad, MUTIL_BOUNDARY_ZERO, nullptr, &y)),
              "Illegal data value");
    auto three = make<int32_t>(3, 1, {1, 1, 1});
    EXPECT_EQ(message(sigset_convolve(&d, &f, &three, &cs, &ro, &co, MUTIL_BOUNDARY_ZERO, nullptr, &y)),
              "array size mismatch");
    const int32_t one[1] = {1};
    _mat_set small;
    matset_malloc(&small, 1, one);
    small.mats[0] = y.mats[0];
    EXPECT_EQ(message(sigset_convolve(&d, &f, &rs, &cs, &ro, &co, MUTIL_BOUNDARY_ZERO, nullptr, &small)),
              "array size mismatch");
}

// ---- resampling --------------------------------------------------------------------------------------

TEST_F(ConvolveTest, DownSamplingKeepsEveryFthSampleWithinTheSizeRule) {
    auto d = make<double>(10, 4);
    for (int i = 0; i < d.nelem; ++i) d.data[i] = i;
    _double_mat r;
    ASSERT_EQ(message(sigdbl_sample(&d, 3, 1, 0, 0, nullptr, &r)), "");
    ASSERT_EQ(std::make_pair(r.nrow, r.ncol), std::make_pair(3, 4));  // floor(11 / 3): rows 0, 3, 6, though 9 < 10
    EXPECT_EQ(r.data[4], 12.0);
    EXPECT_EQ(r.data[8], 24.0);
    ASSERT_EQ(message(sigdbl_sample(&d, 20, 4, 0, 0, nullptr, &r)), "");
    EXPECT_EQ(std::make_tuple(r.nrow, r.ncol, r.data[0]), std::make_tuple(1, 1, 0.0));
}

TEST_F(ConvolveTest, UpAndMixedSamplingPlaceZerosBetweenSamples) {
    auto d = make<int32_t>(2, 3, {1, 2, 3, 4, 5, 6});
    _sint32_mat r;
    ASSERT_EQ(message(sigs32_sample(&d, 2, 1, 1, 1, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{1, 2, 3, 0, 0, 0, 4, 5, 6, 0, 0, 0}));
    ASSERT_EQ(message(sigs32_sample(&d, 2, 2, 0, 1, nullptr, &r)), "");
    EXPECT_EQ(r.nrow, 1);  // rows down: floor(3 / 2) = 1
    EXPECT_EQ(values(r), (std::vector<int32_t>{1, 0, 2, 0, 3, 0}));
    ASSERT_EQ(message(sigs32_sample(&d, 3, 2, 1, 0, nullptr, &r)), "");
    EXPECT_EQ(r.nrow, 6);  // rows up by 3, columns down: floor((3 + 1) / 2) = 2
    EXPECT_EQ(values(r), (std::vector<int32_t>{1, 3, 0, 0, 0, 0, 4, 6, 0, 0, 0, 0}));
}

TEST_F(ConvolveTest, SamplingChecksAndSilentModes) {
    auto d = make<_dcomplex>(2, 2, {{1, 2}, {3, 4}, {5, 6}, {7, 8}});
    _dcomplex_mat r{0, 0, 0, nullptr};
    EXPECT_EQ(message(sigcpx_sample(&d, 0, 1, 0, 0, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(sigcpx_sample(&d, 1, 1, 2, 0, nullptr, &r)), "");
    EXPECT_EQ(r.data, nullptr);  // untouched
    EXPECT_EQ(message(sigcpx_sample(&d, 1, 1, 0, 7, nullptr, &r)), "");
    EXPECT_EQ(r.data, nullptr);
    ASSERT_EQ(message(sigcpx_sample(&d, 1, 2, 0, 1, nullptr, &r)), "");
    EXPECT_EQ(r.ncol, 4);
    EXPECT_EQ(r.data[2].im, 4.0);  // imaginary parts survive the mixed modes
    _univ_mat u = make_univ<uint16_t>(2, 2, {1, 2, 3, 4}), ur;
    ur.type = MUTIL_DOUBLE;
    ASSERT_EQ(message(siguniv_sample(&u, 2, 1, 1, 0, nullptr, &ur)), "");
    EXPECT_EQ(ur.type, MUTIL_UINT16);
    EXPECT_EQ(values_of<uint16_t>(ur), (std::vector<uint16_t>{1, 2, 0, 0, 3, 4, 0, 0}));
    _univ_mat bad = make_univ<unsigned char>(1, 1);
    bad.type = MUTIL_SINT8;
    EXPECT_EQ(message(siguniv_sample(&bad, 1, 1, 0, 0, nullptr, &ur)), "Illegal data type");
    EXPECT_EQ(message(siguniv_sample(nullptr, 1, 1, 0, 0, nullptr, &ur)), "null pointer");
    auto big = make<unsigned char>(1 << 16, 1);
    _uint8_mat br;
    EXPECT_EQ(message(sigu8_sample(&big, 1 << 16, 1, 1, 0, nullptr, &br)), "Illegal data value");
}

}  // namespace
}  // namespace mutils::test
