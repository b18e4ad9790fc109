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
std::vector<double> ref_filter(const std::vector<double>& img, int rows, int cols, const std::vector<double>& k,
                               int kr, int kc, int rule, bool convolve) {
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
    _univ_mat small = make_univ<unsigned char>(1, 2), d = make_univ<double>(1, 1, {1.0});
    EXPECT_EQ(message(imguniv_convolve(&a, &k, MUTIL_BOUNDARY_ZERO, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(message(imguniv_correlate(&a, &k, _mutil_boundary_type(4), nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(imguniv_correlate(&a, &k, MUTIL_BOUNDARY_ZERO, nullptr, &a)), "Illegal memory address");
    EXPECT_EQ(message(imguniv_correlate(&a, &d, MUTIL_BOUNDARY_ZERO, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(::imguniv_convolve(&a, &k, _mutil_boundary_type(-1), nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
}

// ---- derivative of Gaussian --------------------------------------------------------------

TEST_F(EdgeTest, DerivativeOfGaussianOfARampPointsAlongTheRamp) {
    const int rows = 24, cols = 24;
    _univ_mat a = make_univ<double>(rows, cols), v = make_univ<double>(rows, cols), h = make_univ<double>(rows, cols);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) static_cast<double*>(a.data)[r * cols + c] = 3.0 * r + 2.0 * c;
    ASSERT_EQ(message(imguniv_filter_derivative_of_gaussian(&a, 1.0, nullptr, &v, &h)), "");
    for (int r = 6; r < 18; ++r)
        for (int c = 6; c < 18; ++c) {
            double gv = values_of<double>(v)[r * cols + c], gh = values_of<double>(h)[r * cols + c];
            EXPECT_GT(gv, 0.5 * 3.0);  // positive downwards and to the right, near the slope
            EXPECT_NEAR(gv / gh, 1.5, 1e-9);
        }
}

TEST_F(EdgeTest, DerivativeOfGaussianRefusals) {
    _univ_mat a = make_univ<double>(3, 5), v = make_univ<double>(3, 5), h = make_univ<double>(3, 5);
    _univ_mat f = make_univ<float>(3, 5);
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a, 0.3, nullptr, &v, &h)), "Illegal data value");
    _univ_mat a4 = make_univ<double>(4, 4), v4 = make_univ<double>(4, 4), h4 = make_univ<double>(4, 4);
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a4, 0.3, nullptr, &v4, &h4)), "");
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a4, 0.0, nullptr, &v4, &h4)), "Illegal data value");
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a, 0.3, nullptr, &f, &h)), "Illegal data type");
    EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&a, 0.3, nullptr, nullptr, &h)), "null pointer");
}

// ---- non-maxima suppression and hysteresis -----------------------------------------------

TEST_F(EdgeTest, NonMaximaKeepsTheRidgeAcrossTheGradient) {
    // A vertical gradient whose magnitude peaks on row 3 (a horizontal edge), flat along rows.
    const int rows = 7, cols = 6;
    _double_mat v = make<double>(rows, cols), h = make<double>(rows, cols), r = make<double>(rows, cols);
    const double profile[rows] = {1, 2, 4, 9, 4, 2, 1};
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) v.data[y * cols + x] = profile[y];
    h.data[3 * cols + 2] = 1e-3;  // a slight tilt still compares along the rows
    v.data[3 * cols + 4] = 1e-9;   // both components tiny: never an edge
    ASSERT_EQ(message(imgdbl_edge_nonmaxima_suppress(&v, &h, nullptr, &r)), "");
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            // Where the ridge pixel vanished, its neighbours above and below become maxima.
            bool inside = x >= 1 && x <= cols - 2;
            bool ridge = inside && (x == 4 ? y == 2 || y == 4 : y == 3);
            double m = std::hypot(v.data[y * cols + x], h.data[y * cols + x]);
            EXPECT_EQ(r.data[y * cols + x], ridge ? m : 0.0) << y << "," << x;
        }
    // A plateau along the gradient direction survives (ties are kept).
    _double_mat flat = make<double>(3, 3, std::vector<double>(9, 2.0)), zero = make<double>(3, 3);
    ASSERT_EQ(message(imgdbl_edge_nonmaxima_suppress(&flat, &zero, nullptr, &r)), "array size mismatch");
    _double_mat r3 = make<double>(3, 3);
    ASSERT_EQ(message(imgdbl_edge_nonmaxima_suppress(&flat, &zero, nullptr, &r3)), "");
    EXPECT_EQ(r3.data[4], 2.0);
    _univ_mat uv = make_univ<double>(3, 3), uh = make_univ<float>(3, 3), ur = make_univ<double>(3, 3);
    EXPECT_EQ(message(imguniv_edge_nonmaxima_suppress(&uv, &uh, nullptr, &ur)), "Illegal data type");
}

TEST_F(EdgeTest, HysteresisKeepsWholeRegionsThatReachHigh) {
    // Region A (with a 9) and region B (at most 5), joined to nothing; a diagonal tail on A;
    // pixels equal to low are never candidates.
    _univ_mat img = make_univ<double>(5, 6, {3, 4, 0, 0, 5, 5,  //
                                             0, 9, 0, 0, 5, 0,  //
                                             0, 0, 4, 0, 0, 0,  //
                                             2, 0, 0, 0, 2, 3,  //
                                             2, 0, 0, 0, 0, 0});
    _univ_mat r = make_univ<unsigned char>(5, 6);
    ASSERT_EQ(message(imguniv_threshold_hysteresis(&img, 2.0, 8.0, scalar_u8(1), scalar_u8(0), nullptr, &r)), "");
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{1, 1, 0, 0, 0, 0,  //
                                                                       0, 1, 0, 0, 0, 0,  //
                                                                       0, 0, 1, 0, 0, 0,  //
                                                                       0, 0, 0, 0, 0, 0,  //
                                                                       0, 0, 0, 0, 0, 0}));
    // low = high still runs; a high pixel must also be a candidate (strictly above low).
    ASSERT_EQ(message(imguniv_threshold_hysteresis(&img, 5.0, 5.0, scalar_u8(1), scalar_u8(0), nullptr, &r)), "");
    EXPECT_EQ(values_of<unsigned char>(r)[7], 1);
    EXPECT_EQ(values_of<unsigned char>(r)[4], 0);

    // The background band is [-1e37, low]: far below it is a candidate again, NaN never is.
    _univ_mat band = make_univ<double>(1, 5, {-1e38, 9, NAN, 1, 9}), rb = make_univ<unsigned char>(1, 5);
    ASSERT_EQ(message(imguniv_threshold_hysteresis(&band, 2, 8, scalar_u8(1), scalar_u8(0), nullptr, &rb)), "");
    EXPECT_EQ(values_of<unsigned char>(rb), (std::vector<unsigned char>{1, 1, 0, 0, 1}));
    ASSERT_EQ(message(imguniv_threshold_hysteresis(&band, NAN, 8, scalar_u8(1), scalar_u8(0), nullptr, &rb)), "");
    EXPECT_EQ(values_of<unsigned char>(rb), (std::vector<unsigned char>{1, 1, 0, 1, 1}));
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&band, -2e37, 8, scalar_u8(1), scalar_u8(0), nullptr, &rb)),
              "Illegal data value");

    _univ_mat s32 = make_univ<int32_t>(5, 6), small = make_univ<unsigned char>(5, 5);
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&img, 2, 8, scalar_u8(1), scalar_u8(0), nullptr, &s32)),
              "Illegal data type");
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&img, 2, 8, scalar_u8(1), scalar_u8(1), nullptr, &small)),
              "Illegal data value");
    EXPECT_EQ(message(imguniv_threshold_hysteresis(&img, 8, 2, scalar_u8(1), scalar_u8(0), nullptr, &r)),
              "Illegal data value");
}

// ---- Canny and Sobel ---------------------------------------------------------------------

TEST_F(EdgeTest, CannyFindsAVerticalStep) {
    const int n = 40;
    _univ_mat img = make_univ<unsigned char>(n, n), r = make_univ<unsigned char>(n, n);
    for (int y = 0; y < n; ++y)
        for (int x = 20; x < n; ++x) static_cast<unsigned char*>(img.data)[y * n + x] = 200;
    ASSERT_EQ(message(imguniv_edge_canny(&img, 1.5, 5.0, 20.0, scalar_u8(255), scalar_u8(0), nullptr, &r)), "");
    const unsigned char* e = static_cast<const unsigned char*>(r.data);
    for (int y = 0; y < n; ++y) {
        int count = 0;
        for (int x = 0; x < n; ++x)
            if (e[y * n + x]) {
                ++count;
                EXPECT_TRUE(x == 19 || x == 20) << y << "," << x;
            }
        EXPECT_EQ(count, y > 0 && y < n - 1 ? 1 : 0) << y;  // one thin line; border rows are 0
    }
}

TEST_F(EdgeTest, CannyOutlinesADisk) {
    const int n = 64;
    const double radius = 18.0;
    _univ_mat img = make_univ<double>(n, n), r = make_univ<int32_t>(n, n);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            static_cast<double*>(img.data)[y * n + x] = std::hypot(y - 32.0, x - 30.0) <= radius ? 100.0 : 10.0;
    ASSERT_EQ(message(imguniv_edge_canny(&img, 2.0, 3.0, 10.0, scalar_s32(1), scalar_s32(0), nullptr, &r)), "");
    std::vector<bool> angle(36);
    int edges = 0;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            if (values_of<int32_t>(r)[y * n + x]) {
                ++edges;
                double d = std::hypot(y - 32.0, x - 30.0);
                EXPECT_NEAR(d, radius, 1.5) << y << "," << x;
                angle[int((std::atan2(y - 32.0, x - 30.0) + M_PI) / (2 * M_PI) * 36) % 36] = true;
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
    EXPECT_EQ(::imguniv_edge_canny(&img, 2.0, 1, 2, scalar_u8(1), scalar_u8(0), nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
}

TEST_F(EdgeTest, SobelGradientsAndEdges) {
    std::mt19937 g(8);
    const int rows = 6, cols = 7;
    std::vector<double> img(rows * cols);
    for (double& x : img) x = g() % 50;
    _univ_mat a = make_univ<double>(rows, cols, img), v = make_univ<double>(rows, cols), h = make_univ<double>(rows, cols);
    ASSERT_EQ(message(imguniv_gradient_sobel(&a, nullptr, &v, &h)), "");
    EXPECT_EQ(values_of<double>(v), ref_filter(img, rows, cols, {-1, -2, -1, 0, 0, 0, 1, 2, 1}, 3, 3, 0, false));
    EXPECT_EQ(values_of<double>(h), ref_filter(img, rows, cols, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 3, 3, 0, false));
    EXPECT_EQ(message(imguniv_gradient_sobel(&a, nullptr, &v, &v)), "Illegal memory address");

    // Edges: with equal thresholds S >= low^2 is an edge; otherwise hysteresis on S.
    _univ_mat e = make_univ<uint16_t>(rows, cols);
    ASSERT_EQ(message(imguniv_edge_sobel(&a, 40.0, 40.0, scalar_u16(9), scalar_u16(1), nullptr, &e)), "");
    for (int i = 0; i < rows * cols; ++i) {
        double s = std::pow(values_of<double>(v)[i], 2) + std::pow(values_of<double>(h)[i], 2);
        EXPECT_EQ(values_of<uint16_t>(e)[i], s >= 1600.0 ? 9 : 1);
    }
    _univ_mat s = make_univ<double>(rows, cols), e2 = make_univ<uint16_t>(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        static_cast<double*>(s.data)[i] = std::pow(values_of<double>(v)[i], 2) + std::pow(values_of<double>(h)[i], 2);
    ASSERT_EQ(message(imguniv_edge_sobel(&a, 30.0, 60.0, scalar_u16(9), scalar_u16(1), nullptr, &e)), "");
    ASSERT_EQ(message(imguniv_threshold_hysteresis(&s, 900.0, 3600.0, scalar_u16(9), scalar_u16(1), nullptr, &e2)),
              "");
    EXPECT_EQ(values_of<uint16_t>(e), values_of<uint16_t>(e2));
    // Only low <= 0 and high < low are refused: a NaN low reaches hysteresis.
    ASSERT_EQ(message(imguniv_edge_sobel(&a, NAN, 60.0, scalar_u16(9), scalar_u16(1), nullptr, &e)), "");
    ASSERT_EQ(message(imguniv_threshold_hysteresis(&s, NAN, 3600, scalar_u16(9), scalar_u16(1), nullptr, &e2)), "");
    EXPECT_EQ(values_of<uint16_t>(e), values_of<uint16_t>(e2));
    EXPECT_EQ(message(imguniv_edge_sobel(&a, 0.0, 60.0, scalar_u16(9), scalar_u16(1), nullptr, &e)),
              "Illegal data value");
    EXPECT_EQ(message(imguniv_edge_sobel(&a, 30.0, 20.0, scalar_u16(9), scalar_u16(1), nullptr, &e)),
              "Illegal data value");
    EXPECT_EQ(message(imguniv_edge_sobel(&a, 30.0, 30.0, scalar_u8(9), scalar_u8(1), nullptr, &e)),
              "Illegal data type");
    EXPECT_EQ(message(imguniv_edge_sobel(&a, 1e19, 1e19, scalar_u16(9), scalar_u16(1), nullptr, &e)),
              "Illegal data value");  // low^2 above the band's top 1e37
}

}  // namespace
}  // namespace mutils::test
