// Image filters and the edge pipeline: centred filters against their sums, each edge step on
// hand-built gradients, Canny on synthetic steps and disks, and the refusals.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using EdgeTest = ArenaTest;

// ---- centred filters ---------------------------------------------------------------------

int map_index(int i, int n, int rule) {
    if (i >= 0 && i < n) return i;
    if (rule == 0) return -1;
    if (rule == 1) return ((i % n) + n) % n;
    if (rule == 3) return i < 0 ? 0 : n - 1;
    while (i < 0 || i >= n) i = i < 0 ? -i - 1 : 2 * n - i - 1;
    return i;
}

/// The centred sum with doubles, for either direction.
std::vector<double> ref_filter(const std::vector<double>& img, int rows, int cols, const std::vector<double>& k, int kr,
                               int kc, int rule, bool convolve) {
    std::vector<double> out(img.size());
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) {
            double s = 0;
            for (int p = 0; p < kr; ++p)
                for (int q = 0; q < kc; ++q) {
                    int rr = convolve ? r + kr / 2 - p : r + p - kr / 2;
                    int cc = convolve ? c + kc / 2 - q : c + q - kc / 2;
                    int mr = map_index(rr, rows, rule), mc = map_index(cc, cols, rule);
                    s += k[p * kc + q] * (mr < 0 || mc < 0 ? 0.0 : img[mr * cols + mc]);
                }
            out[r * cols + c] = s;
        }
    return out;
}

TEST_F(EdgeTest, CentredFiltersMatchTheirSumsForEveryRule) {
    std::mt19937 g(2);
    for (int trial = 0; trial < 40; ++trial) {
        int rows = 1 + g() % 9, cols = 1 + g() % 20, kr = 1 + g() % 4, kc = 1 + g() % 5, rule = trial % 4;
        std::vector<double> img(rows * cols), k(kr * kc);
        for (double& x : img) x = int(g() % 21) - 10;
        for (double& x : k) x = int(g() % 7) - 3;
        _univ_mat a = make_univ<double>(rows, cols, img), f = make_univ<double>(kr, kc, k);
        _univ_mat r = make_univ<double>(rows, cols);
        for (bool conv : {false, true}) {
            auto op = conv ? imguniv_convolve : imguniv_correlate;
            ASSERT_EQ(message(op(&a, &f, _mutil_boundary_type(rule), nullptr, &r)), "");
            EXPECT_EQ(values_of<double>(r), ref_filter(img, rows, cols, k, kr, kc, rule, conv)) << trial;
        }
    }
}

TEST_F(EdgeTest, IntegerFiltersWrapAndFilterChecksRefuse) {
    _univ_mat a = make_univ<unsigned char>(1, 3, {200, 200, 200}), k = make_univ<unsigned char>(1, 1, {2});
    _univ_mat r = make_univ<unsigned char>(1, 3);
    EXPECT_EQ(message(imguniv_convolve(&a, &k, MUTIL_BOUNDARY_ZERO, nullptr, &r)), "");
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{144, 144, 144}));
    _univ_mat small = make_univ<unsigned char>(1, 2);
    EXPECT_EQ(message(imguniv_convolve(&a, &k, MUTIL_BOUNDARY_ZERO, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(message(imguniv_correlate(&a, &k, _mutil_boundary_type(4), nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(imguniv_convolve(&a, &k, _mutil_boundary_type(-1), nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(imguniv_correlate(&a, &k, MUTIL_BOUNDARY_ZERO, nullptr, &a)), "Illegal memory address");
}

// ---- derivative of Gaussian --------------------------------------------------------------

TEST_F(EdgeTest, DerivativeOfGaussianOfARampPointsAlongTheRamp) {
    const int n = 24;
    std::vector<double> ramp(n * n);
    for (int i = 0; i < n * n; ++i) ramp[i] = 3.0 * (i / n) + 2.0 * (i % n);
    _univ_mat a = make_univ<double>(n, n, ramp), v = make_univ<double>(n, n), h = make_univ<double>(n, n);
    ASSERT_EQ(message(imguniv_filter_derivative_of_gaussian(&a, 1.0, nullptr, &v, &h)), "");
    const auto gv = values_of<double>(v), gh = values_of<double>(h);
    for (int r = 6; r < 18; ++r)
        for (int c = 6; c < 18; ++c) {
            EXPECT_GT(gv[r * n + c], 0.5 * 3.0);  // positive downwards and to the right, near the slope
            EXPECT_NEAR(gv[r * n + c] / gh[r * n + c], 1.5, 1e-9);
        }
    // Sigma 0.3 needs 4 rows and columns; sigma 0 is refused.
    _univ_mat a3 = make_univ<double>(3, 5), v3 = make_univ<double>(3, 5), h3 = make_univ<double>(3, 5);
    _univ_mat a4 = make_univ<double>(4, 4), v4 = make_univ<double>(4, 4), h4 = make_univ<double>(4, 4);
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a3, 0.3, nullptr, &v3, &h3)), "Illegal data value");
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a4, 0.3, nullptr, &v4, &h4)), "");
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a4, 0.0, nullptr, &v4, &h4)), "Illegal data value");
    _univ_mat f4 = make_univ<float>(4, 4);
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a4, 0.3, nullptr, &f4, &h4)), "Illegal data type");
}

// ---- non-maxima suppression and hysteresis -----------------------------------------------

TEST_F(EdgeTest, NonMaximaKeepsTheRidgeAcrossTheGradient) {
    // A vertical gradient whose magnitude peaks on row 3 (a horizontal edge), flat along rows.
    const int rows = 7, cols = 6;
    _double_mat v = make<double>(rows, cols), h = make<double>(rows, cols), r = make<double>(rows, cols);
    const double profile[rows] = {1, 2, 4, 9, 4, 2, 1};
    for (int i = 0; i < rows * cols; ++i) v.data[i] = profile[i / cols];
    h.data[3 * cols + 2] = 1e-3;  // a slight tilt still compares along the rows
    v.data[3 * cols + 4] = 1e-9;  // both components tiny: never an edge
    ASSERT_EQ(message(imgdbl_edge_nonmaxima_suppress(&v, &h, nullptr, &r)), "");
    for (int i = 0; i < rows * cols; ++i) {
        // Inside the border, where the ridge pixel vanished its neighbours above and below become maxima.
        const int y = i / cols, x = i % cols;
        const bool ridge = x >= 1 && x <= cols - 2 && (x == 4 ? y == 2 || y == 4 : y == 3);
        EXPECT_EQ(r.data[i], ridge ? std::hypot(v.data[i], h.data[i]) : 0.0) << y << "," << x;
    }
    // A plateau along the gradient direction survives (ties are kept).
    _double_mat flat = make<double>(3, 3, std::vector<double>(9, 2.0)), zero = make<double>(3, 3);
    _double_mat r3 = make<double>(3, 3);
    ASSERT_EQ(message(imgdbl_edge_nonmaxima_suppress(&flat, &zero, nullptr, &r)), "array size mismatch");
    ASSERT_EQ(message(imgdbl_edge_nonmaxima_suppress(&flat, &zero, nullptr, &r3)), "");
    EXPECT_EQ(r3.data[4], 2.0);
}

TEST_F(EdgeTest, HysteresisKeepsWholeRegionsThatReachHigh) {
    auto hysteresis = [](_univ_mat& img, double low, double high) {
        _univ_mat r = make_univ<unsigned char>(img.nrow, img.ncol);
        EXPECT_EQ(message(imguniv_threshold_hysteresis(&img, low, high, scalar_u8(1), scalar_u8(0), nullptr, &r)), "");
        return values_of<unsigned char>(r);
    };
    // Region A (with a 9) and region B (at most 5), joined to nothing; a diagonal tail on A;
    // pixels equal to low are never candidates.
    _univ_mat img = make_univ<double>(5, 6, {3, 4, 0, 0, 5, 5,  //
                                             0, 9, 0, 0, 5, 0,  //
                                             0, 0, 4, 0, 0, 0,  //
                                             2, 0, 0, 0, 2, 3,  //
                                             2, 0, 0, 0, 0, 0});
    std::vector<unsigned char> want(30);
    for (int i : {0, 1, 7, 14}) want[i] = 1;
    EXPECT_EQ(hysteresis(img, 2, 8), want);
    // low = high still runs; a high pixel must also be a candidate (strictly above low).
    const auto equal = hysteresis(img, 5, 5);
    EXPECT_TRUE(equal[7] == 1 && equal[4] == 0);

    // The background band is [-1e37, low]: far below it is a candidate again, NaN never is.
    _univ_mat band = make_univ<double>(1, 5, {-1e38, 9, NAN, 1, 9}), r = make_univ<unsigned char>(1, 5);
    EXPECT_EQ(hysteresis(band, 2, 8), (std::vector<unsigned char>{1, 1, 0, 0, 1}));
    EXPECT_EQ(hysteresis(band, NAN, 8), (std::vector<unsigned char>{1, 1, 0, 1, 1}));
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&band, -2e37, 8, scalar_u8(1), scalar_u8(0), nullptr, &r)),
              "Illegal data value");
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&band, 8, 2, scalar_u8(1), scalar_u8(0), nullptr, &r)),
              "Illegal data value");
    _univ_mat small = make_univ<unsigned char>(1, 4);  // equal marks are refused before the size
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&band, 2, 8, scalar_u8(1), scalar_u8(1), nullptr, &small)),
              "Illegal data value");
}

// ---- Canny and Sobel ---------------------------------------------------------------------

TEST_F(EdgeTest, CannyFindsAVerticalStep) {
    const int n = 40;
    std::vector<unsigned char> step(n * n);
    for (int i = 0; i < n * n; ++i) step[i] = i % n >= 20 ? 200 : 0;
    _univ_mat img = make_univ<unsigned char>(n, n, step), r = make_univ<unsigned char>(n, n);
    ASSERT_EQ(message(imguniv_edge_canny(&img, 1.5, 5.0, 20.0, scalar_u8(255), scalar_u8(0), nullptr, &r)), "");
    const auto e = values_of<unsigned char>(r);
    for (int y = 0; y < n; ++y) {  // one thin line at column 19 or 20; border rows are 0
        const int at19 = e[y * n + 19] != 0, at20 = e[y * n + 20] != 0;
        EXPECT_EQ(std::count(e.begin() + y * n, e.begin() + (y + 1) * n, 0), n - (y > 0 && y < n - 1)) << y;
        EXPECT_EQ(at19 + at20, y > 0 && y < n - 1 ? 1 : 0) << y;
    }
}

TEST_F(EdgeTest, CannyOutlinesADisk) {
    const int n = 64;
    const double radius = 18.0;
    std::vector<double> disk(n * n);
    for (int i = 0; i < n * n; ++i) disk[i] = std::hypot(i / n - 32.0, i % n - 30.0) <= radius ? 100.0 : 10.0;
    _univ_mat img = make_univ<double>(n, n, disk), r = make_univ<int32_t>(n, n);
    ASSERT_EQ(message(imguniv_edge_canny(&img, 2.0, 3.0, 10.0, scalar_s32(1), scalar_s32(0), nullptr, &r)), "");
    std::vector<bool> angle(36);
    int edges = 0;
    const auto e = values_of<int32_t>(r);
    for (int i = 0; i < n * n; ++i)
        if (e[i]) {
            ++edges;
            const double y = i / n - 32.0, x = i % n - 30.0;
            EXPECT_NEAR(std::hypot(y, x), radius, 1.5) << i;
            angle[int((std::atan2(y, x) + M_PI) / (2 * M_PI) * 36) % 36] = true;
        }
    EXPECT_GT(edges, int(2 * M_PI * radius * 0.8));
    EXPECT_EQ(std::count(angle.begin(), angle.end(), true), 36);  // closed all the way round
}

TEST_F(EdgeTest, CannyRefusals) {
    _univ_mat img = make_univ<double>(7, 9), r = make_univ<unsigned char>(7, 9);
    EXPECT_EQ(message(imguniv_edge_canny(&img, 2.0, 1, 2, scalar_u8(1), scalar_u8(0), nullptr, &r)),
              "Illegal data value");  // needs 8 rows
    EXPECT_EQ(message(imguniv_edge_canny(&img, 1.0, 3, 2, scalar_u8(1), scalar_u8(0), nullptr, &r)),
              "Illegal data value");
    EXPECT_EQ(message(imguniv_edge_canny(&img, 1.0, 1, 2, scalar_u8(1), scalar_u8(1), nullptr, &r)),
              "Illegal data value");
    EXPECT_EQ(message(imguniv_edge_canny(&img, 1.0, 1, 2, scalar_u16(1), scalar_u16(0), nullptr, &r)),
              "Illegal data type");
}

TEST_F(EdgeTest, SobelGradientsAndEdges) {
    std::mt19937 g(8);
    const int rows = 6, cols = 7;
    std::vector<double> img(rows * cols), s(rows * cols);
    const _univ_scalar nine = scalar_u16(9), one = scalar_u16(1);
    for (double& x : img) x = g() % 50;
    _univ_mat a = make_univ<double>(rows, cols, img), v = make_univ<double>(rows, cols),
              h = make_univ<double>(rows, cols);
    ASSERT_EQ(message(imguniv_gradient_sobel(&a, nullptr, &v, &h)), "");
    const auto gv = values_of<double>(v), gh = values_of<double>(h);
    EXPECT_EQ(gv, ref_filter(img, rows, cols, {-1, -2, -1, 0, 0, 0, 1, 2, 1}, 3, 3, 0, false));
    EXPECT_EQ(gh, ref_filter(img, rows, cols, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 3, 3, 0, false));
    EXPECT_EQ(message(imguniv_gradient_sobel(&a, nullptr, &v, &v)), "Illegal memory address");

    // Edges: with equal thresholds S >= low^2 is an edge; otherwise hysteresis on S (a NaN low too).
    for (int i = 0; i < rows * cols; ++i) s[i] = gv[i] * gv[i] + gh[i] * gh[i];
    _univ_mat us = make_univ<double>(rows, cols, s), e = make_univ<uint16_t>(rows, cols);
    _univ_mat e2 = make_univ<uint16_t>(rows, cols);
    ASSERT_EQ(message(imguniv_edge_sobel(&a, 40.0, 40.0, nine, one, nullptr, &e)), "");
    for (int i = 0; i < rows * cols; ++i) EXPECT_EQ(values_of<uint16_t>(e)[i], s[i] >= 1600.0 ? 9 : 1) << i;
    for (double low : {30.0, double(NAN)}) {
        ASSERT_EQ(message(imguniv_edge_sobel(&a, low, 60.0, nine, one, nullptr, &e)), "");
        ASSERT_EQ(message(imguniv_threshold_hysteresis(&us, low * low, 3600, nine, one, nullptr, &e2)), "");
        EXPECT_EQ(values_of<uint16_t>(e), values_of<uint16_t>(e2)) << low;
    }
    // Refused: low <= 0, high < low, low^2 above the band's top 1e37, and marks of another type.
    for (auto [low, high] : {std::pair{0.0, 60.0}, {30.0, 20.0}, {1e19, 1e19}})
        EXPECT_EQ(message(imguniv_edge_sobel(&a, low, high, nine, one, nullptr, &e)), "Illegal data value") << low;
    EXPECT_EQ(message(imguniv_edge_sobel(&a, 30.0, 30.0, scalar_u8(9), scalar_u8(1), nullptr, &e)),
              "Illegal data type");
}

}  // namespace
}  // namespace mutils::test
