// Active contours and minimal paths against the peers' answers (tests/peers/contour_polygon.py):
// scikit-image's geodesic distances and routes, transcriptions of the two snake schemes.
#include <cmath>
#include <limits>

#include "peer_data.h"

namespace mutils::test {
namespace {

using ContourTest = ArenaTest;
const auto peers = read_peer_file("contour.txt");

_double_mat peer(const std::string& name) {
    const PeerMatrix& m = peers.at(name);
    return make<double>(m.rows, m.cols, m.v);
}

TEST_F(ContourTest, GeodesicDistanceAndRoutesMatchScikitImage) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/contour.txt missing";
    auto cost = peer("cost"), dist = make<double>(30, 40);
    const auto& s = peers.at("seeds").v;
    auto seeds = make<int32_t>(2, 2, {int32_t(s[0]), int32_t(s[1]), int32_t(s[2]), int32_t(s[3])});
    ASSERT_EQ(message(imgdbl_minimal_path_cost(&cost, &seeds, nullptr, &dist)), "");
    const auto& want = peers.at("geodesic").v;
    for (int i = 0; i < 1200; ++i)
        if (std::isinf(want[i]))
            EXPECT_TRUE(std::isinf(dist.data[i])) << i;
        else
            EXPECT_NEAR(dist.data[i], want[i], 1e-12 * want[i]) << i;
    const int ends[3][4] = {{0, 0, 29, 39}, {3, 20, 20, 3}, {15, 15, 15, 16}};
    for (int k = 0; k < 3; ++k) {
        _sint32_mat path;
        double total = 0;
        ASSERT_EQ(
            message(imgdbl_minimal_path(&cost, ends[k][0], ends[k][1], ends[k][2], ends[k][3], nullptr, &path, &total)),
            "");
        const std::string key = std::to_string(k);
        EXPECT_NEAR(total, peers.at("path_total_" + key).v[0], 1e-12 * total);
        EXPECT_EQ(std::vector<double>(path.data, path.data + path.nelem), peers.at("path_" + key).v);
    }
    // The universal member reads any real cost as doubles; an unreachable end is refused.
    auto walled = make_univ<unsigned char>(3, 3, {1, 0, 1, 1, 0, 1, 1, 0, 1});
    auto* p = static_cast<unsigned char*>(walled.data);
    _sint32_mat path;
    double total;
    ASSERT_EQ(message(imguniv_minimal_path(&walled, 0, 0, 2, 2, nullptr, &path, &total)), "");
    EXPECT_EQ(total, 1.0);  // into the free middle column, down it and out: two half steps
    auto walls = make<double>(3, 3, {1, INFINITY, 1, 1, INFINITY, 1, 1, INFINITY, 1});
    EXPECT_EQ(message(imgdbl_minimal_path(&walls, 0, 0, 2, 2, nullptr, &path, &total)), "Illegal data value");
    p[4] = 1;
    EXPECT_EQ(message(imguniv_minimal_path(&walled, 0, 0, 3, 0, nullptr, &path, &total)), "Illegal data value");
}

TEST_F(ContourTest, SnakesFollowTheirSchemesOnABlurredDisk) {
    auto disk = peer("disk"), circle = peer("circle"), opened = peer("open_snake");
    // Against scikit-image itself (which samples the gradient from a spline): within a pixel.
    auto fitted = make<double>(60, 2);
    int32_t done = 0;
    ASSERT_EQ(message(imgdbl_active_contour(&disk, &circle, 0.01, 0.5, 0.01, 1.0, 2500, 0.1, IMG_SNAKE_PERIODIC,
                                            nullptr, &fitted, &done)),
              "");
    EXPECT_LT(max_diff(values(fitted), peers.at("kwt_skimage").v), 1.0);
    // Against the transcription with the same gradient sampling: the same iterations, every
    // boundary condition.
    for (int bc = 0; bc <= 4; ++bc) {
        const _double_mat& s = bc == 0 ? circle : opened;
        auto r = make<double>(s.nrow, 2);
        ASSERT_EQ(message(imgdbl_active_contour(&disk, &s, 0.015, 0.3, 0.02, 0.8, 600, 0.05,
                                                static_cast<_img_snake_boundary>(bc), nullptr, &r, &done)),
                  "");
        EXPECT_LT(max_diff(values(r), peers.at("kwt_" + std::to_string(bc)).v), 1e-8) << bc;
        EXPECT_EQ(done, peers.at("kwt_iterations_" + std::to_string(bc)).v[0]) << bc;
    }
    // Greedy moves are whole pixels: exactly the transcription's.
    for (int closed : {1, 0}) {
        const _double_mat& s = closed ? circle : opened;
        auto r = make<double>(s.nrow, 2);
        ASSERT_EQ(message(imgdbl_active_contour_greedy(&disk, &s, 1.0, 1.0, 1.2, 5, 0.25, 0.1, 200, 0.02, closed,
                                                       nullptr, &r, &done)),
                  "");
        EXPECT_EQ(values(r), peers.at("greedy_" + std::to_string(closed)).v) << closed;
        EXPECT_EQ(done, peers.at("greedy_passes_" + std::to_string(closed)).v[0]) << closed;
    }
}

TEST_F(ContourTest, RefusalsInTheirOrder) {
    auto img = make<double>(8, 8), snake = make<double>(4, 2, {1, 1, 1, 5, 5, 5, 5, 1}), r = make<double>(4, 2);
    auto two = make<double>(2, 2);
    int32_t it;
    auto kwt = [&](const _double_mat* s, double gamma, int bc) {
        return message(imgdbl_active_contour(&img, s, 0.1, 0.1, gamma, 1.0, 10, 0.1,
                                             static_cast<_img_snake_boundary>(bc), nullptr, &r, &it));
    };
    EXPECT_EQ(kwt(&two, 0.1, 0), "array size mismatch");
    EXPECT_EQ(kwt(&snake, 0.0, 0), "Illegal data value");
    EXPECT_EQ(kwt(&snake, 0.1, 5), "Illegal data value");
    EXPECT_EQ(kwt(&snake, 0.1, 1), "");
    EXPECT_EQ(message(imgdbl_active_contour_greedy(&img, &snake, 1, 1, 1, 4, 0, 0, 5, 0.1, 1, nullptr, &r, &it)),
              "Illegal data value");
    EXPECT_EQ(message(imgdbl_active_contour_greedy(&img, &snake, 1, 1, 1, 3, 0, 0, 5, 1.5, 1, nullptr, &r, &it)),
              "Illegal data value");
    auto neg = make<double>(2, 2, {1, -1, 1, 1}), d = make<double>(2, 2);
    auto seed = make<int32_t>(1, 2), outside = make<int32_t>(1, 2, {2, 0});
    EXPECT_EQ(message(imgdbl_minimal_path_cost(&neg, &seed, nullptr, &d)), "Illegal data value");
    auto ones = make<double>(2, 2, {1, 1, 1, 1});
    EXPECT_EQ(message(imgdbl_minimal_path_cost(&ones, &outside, nullptr, &d)), "Illegal data value");
    EXPECT_EQ(message(imgdbl_minimal_path_cost(&ones, &seed, nullptr, &ones)), "Illegal memory address");
    auto complex = make_univ<_dcomplex>(2, 2);
    EXPECT_EQ(message(imguniv_minimal_path_cost(&complex, &seed, nullptr, &d)), "Illegal data type");
    EXPECT_EQ(message(imguniv_minimal_path_cost(&complex, nullptr, nullptr, &d)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
