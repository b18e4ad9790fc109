// Polygon geometry, curves and rendering against the peers' answers
// (tests/peers/contour_polygon.py) and the exactness the contracts promise.
#include <cmath>
#include <limits>

#include "peer_data.h"

namespace mutils::test {
namespace {

using PolygonTest = ArenaTest;
const auto peers = read_peer_file("polygon.txt");

_double_mat peer(const char* name) {
    const PeerMatrix& m = peers.at(name);
    return make<double>(m.rows, m.cols, m.v);
}
std::vector<double> doubles(const _double_mat& m) { return values(m); }

TEST_F(PolygonTest, DistancesNearestVerticesAndPolarMatchScipyAndNumpy) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/polygon.txt missing";
    auto a = peer("set_a"), b = peer("set_b");
    double h = 0;
    ASSERT_EQ(message(pgndbl_hausdorff_distance(&a, &b, nullptr, &h)), "");
    EXPECT_NEAR(h, peers.at("hausdorff").v[0], 1e-12);
    auto index = make<int32_t>(300, 1);
    auto dist = make<double>(1, 300);
    ASSERT_EQ(message(pgndbl_point_correspondence(&a, &b, nullptr, &index, &dist)), "");
    EXPECT_EQ(std::vector<double>(index.data, index.data + 300), peers.at("nearest_index").v);  // ties: lowest
    EXPECT_LT(max_diff(doubles(dist), peers.at("nearest_distance").v), 1e-12);
    // Polar about (1.5, -2) and back, in place.
    ASSERT_EQ(message(pgndbl_polar_from_rectangular(&a, 1.5, -2.0, nullptr, &a)), "");
    EXPECT_LT(max_diff(doubles(a), peers.at("polar").v), 1e-13);
    ASSERT_EQ(message(pgndbl_rectangular_from_polar(&a, 1.5, -2.0, nullptr, &a)), "");
    EXPECT_LT(max_diff(doubles(a), peers.at("set_a").v), 1e-12);
    auto left = make<double>(1, 2, {-0.0, -5.0}), polar = make<double>(1, 2);  // -pi is reported as pi
    ASSERT_EQ(message(pgndbl_polar_from_rectangular(&left, 0.0, 0.0, nullptr, &polar)), "");
    EXPECT_EQ(polar.data[1], std::acos(-1.0));
}

TEST_F(PolygonTest, ShapeFeaturesMatchOpenCvAndShapely) {
    auto poly = peer("poly");
    auto f = make<double>(16, 1);
    ASSERT_EQ(message(pgndbl_shape_features(&poly, nullptr, &f)), "");
    const auto& want = peers.at("features").v;
    for (int k = 0; k < 16; ++k) EXPECT_NEAR(f.data[k], want[k], 1e-9 * (1 + std::fabs(want[k]))) << "feature " << k;
    // Reversing the vertices flips the winding and nothing else.
    auto rev = make<double>(40, 2), g = make<double>(16, 1);
    for (int i = 0; i < 40; ++i)
        rev.data[2 * i] = poly.data[2 * (39 - i)], rev.data[2 * i + 1] = poly.data[2 * (39 - i) + 1];
    ASSERT_EQ(message(pgndbl_shape_features(&rev, nullptr, &g)), "");
    EXPECT_EQ(g.data[15], -f.data[15]);
    EXPECT_NEAR(g.data[8], f.data[8], 1e-12);
}

TEST_F(PolygonTest, HullAndPointTestDecideCollinearityExactly) {
    auto a = peer("set_a");
    _double_mat hull;
    ASSERT_EQ(message(pgndbl_convex_hull(&a, nullptr, &hull)), "");
    std::vector<double> got;  // the hull's vertices as rows of a, sorted (the peer gives a set)
    for (int i = 0; i + 1 < hull.nrow; ++i)
        for (int j = 0; j < a.nrow; ++j)
            if (a.data[2 * j] == hull.data[2 * i] && a.data[2 * j + 1] == hull.data[2 * i + 1]) got.push_back(j);
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, peers.at("hull_vertices").v);
    auto poly = peer("poly"), points = peer("test_points");
    auto where = make<unsigned char>(480, 1);
    ASSERT_EQ(message(pgndbl_point_in_polygon(&poly, &points, nullptr, &where)), "");
    EXPECT_EQ(std::vector<double>(where.data, where.data + 480), peers.at("test_where").v);
    // Points a few units in the last place beside the diagonal edge of a triangle, where the
    // rounded determinant is lost in the differences: only exact signs give inside iff c > r.
    const double delta = std::ldexp(1.0, -53);
    auto tri = make<double>(3, 2, {0.25, 0.25, 24.1, 24.1, 0.25, 24.1});
    auto probe = make<double>(25, 2);
    auto w = make<unsigned char>(25, 1);
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j)
            probe.data[10 * i + 2 * j] = 0.5 + i * delta, probe.data[10 * i + 2 * j + 1] = 0.5 + j * delta;
    ASSERT_EQ(message(pgndbl_point_in_polygon(&tri, &probe, nullptr, &w)), "");
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j) EXPECT_EQ(w.data[5 * i + j], i == j ? 2 : j > i ? 1 : 0) << i << " " << j;
    ASSERT_EQ(message(pgndbl_convex_hull(&probe, nullptr, &hull)), "");
    EXPECT_EQ(doubles(hull), std::vector<double>({0.5, 0.5, 0.5 + 4 * delta, 0.5, 0.5 + 4 * delta, 0.5 + 4 * delta, 0.5,
                                                  0.5 + 4 * delta, 0.5, 0.5}));
}

TEST_F(PolygonTest, RenderingMatchesGridPointsInPolyAndTheLineAlgorithm) {
    auto poly = peer("poly");
    auto region = make_univ<uint16_t>(64, 70), lines = make_univ<float>(64, 70);
    ASSERT_EQ(message(pgnuniv_render_region(&poly, detail::make_scalar<uint16_t>(1), nullptr, &region)), "");
    EXPECT_EQ(as_doubles(region), peers.at("region").v);
    ASSERT_EQ(message(pgnuniv_render_lines(&poly, detail::make_scalar<float>(1), 1, nullptr, &lines)), "");
    EXPECT_EQ(as_doubles(lines), peers.at("lines").v);
    // Far vertices keep their slope over the image; the value must be of the image's type.
    auto far = make<double>(2, 2, {-1e12, -1e12, 1e12, 1e12});
    auto diag = make_univ<unsigned char>(4, 4);
    ASSERT_EQ(message(pgnuniv_render_lines(&far, detail::make_scalar<unsigned char>(7), 0, nullptr, &diag)), "");
    EXPECT_EQ(values_of<unsigned char>(diag),
              std::vector<unsigned char>({7, 0, 0, 0, 0, 7, 0, 0, 0, 0, 7, 0, 0, 0, 0, 7}));
    EXPECT_EQ(message(pgnuniv_render_lines(&far, detail::make_scalar<double>(7), 0, nullptr, &diag)),
              "Illegal data type");
}

TEST_F(PolygonTest, CurvesMatchInterpGaussianFilterAndShapely) {
    auto poly = peer("poly");
    auto closed = make<double>(57, 2), open = make<double>(33, 2);
    ASSERT_EQ(message(pgndbl_resample(&poly, 1, nullptr, &closed)), "");
    ASSERT_EQ(message(pgndbl_resample(&poly, 0, nullptr, &open)), "");
    EXPECT_LT(max_diff(doubles(closed), peers.at("resample_closed").v), 1e-10);
    EXPECT_LT(max_diff(doubles(open), peers.at("resample_open").v), 1e-10);
    for (const char* sigma : {"0.7", "2.5"})
        for (int c : {1, 0}) {
            auto s = make<double>(40, 2);
            ASSERT_EQ(message(pgndbl_smooth(&poly, std::atof(sigma), c, nullptr, &s)), "");
            const std::string name = std::string(c ? "smooth_closed_" : "smooth_open_") + sigma;
            EXPECT_LT(max_diff(doubles(s), peers.at(name).v), 1e-12) << name;
        }
    auto wiggle = peer("wiggle");
    for (const char* tol : {"0.5", "2.0", "6.0"})
        for (int c : {1, 0}) {
            _double_mat s;
            ASSERT_EQ(message(pgndbl_simplify(&wiggle, std::atof(tol), c, nullptr, &s)), "");
            const std::string name = std::string(c ? "simplify_closed_" : "simplify_open_") + tol;
            EXPECT_EQ(doubles(s), peers.at(name).v) << name;
        }
}

TEST_F(PolygonTest, RefusalsInTheirOrder) {
    auto three = make<double>(2, 3), ok = make<double>(3, 2, {0, 0, 0, 4, 4, 0});
    auto nan = make<double>(3, 2, {0, 0, 0, std::numeric_limits<double>::quiet_NaN(), 4, 0});
    double h;
    auto small = make<double>(1, 2), r = make<double>(3, 2);
    _double_mat out;
    EXPECT_EQ(message(pgndbl_hausdorff_distance(&ok, &three, nullptr, &h)), "array size mismatch");
    EXPECT_EQ(message(pgndbl_hausdorff_distance(&ok, &nan, nullptr, &h)), "Illegal data value");
    EXPECT_EQ(raised([&] { pgndbl_hausdorff_distance(&ok, &ok, nullptr, nullptr); }), "null pointer");
    EXPECT_EQ(message(pgndbl_shape_features(&ok, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(message(pgndbl_resample(&ok, 0, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(message(pgndbl_resample(&ok, 0, nullptr, &ok)), "Illegal memory address");
    EXPECT_EQ(message(pgndbl_smooth(&ok, -1.0, 1, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(pgndbl_smooth(&ok, std::nan(""), 1, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(pgndbl_simplify(&ok, -0.5, 1, nullptr, &out)), "Illegal data value");
    EXPECT_EQ(message(pgndbl_polar_from_rectangular(&ok, INFINITY, 0, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(pgnuniv_render_region(&ok, detail::make_scalar<double>(1), nullptr, nullptr)), "null pointer");
    // Hostile coordinates near the double range draw what they reach and nothing else.
    auto huge = make<double>(3, 2, {-1e308, 5, 1e308, -1e308, 3, 1e308});
    auto canvas = make_univ<int32_t>(6, 7);
    EXPECT_EQ(message(pgnuniv_render_region(&huge, detail::make_scalar<int32_t>(1), nullptr, &canvas)), "");
    EXPECT_EQ(message(pgnuniv_render_lines(&huge, detail::make_scalar<int32_t>(2), 1, nullptr, &canvas)), "");
    // Degenerate curves: a zero-length polygon resamples to its vertex, sigma 0 copies.
    auto dot = make<double>(3, 2, {2, 3, 2, 3, 2, 3}), even = make<double>(4, 2);
    ASSERT_EQ(message(pgndbl_resample(&dot, 1, nullptr, &even)), "");
    EXPECT_EQ(doubles(even), std::vector<double>({2, 3, 2, 3, 2, 3, 2, 3}));
    ASSERT_EQ(message(pgndbl_smooth(&ok, 0.0, 1, nullptr, &r)), "");
    EXPECT_EQ(doubles(r), doubles(ok));
}

}  // namespace
}  // namespace mutils::test
