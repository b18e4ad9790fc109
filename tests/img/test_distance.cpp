// Chamfer distance transform and filled convex hull of object pixels.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using DistanceTest = ArenaTest;
using ConvexHullTest = ArenaTest;

const double r2 = std::sqrt(2.0);

std::vector<double> distances(const _uint8_mat& img, _img_distance_type metric) {
    auto r = make<double>(img.nrow, img.ncol);
    EXPECT_EQ(message(imgu8_transform_distance(&img, metric, 1, nullptr, &r)), "");
    return values(r);
}

// Exhaustive nearest-object search in the metric that the two-pass 3 x 3 chamfer computes exactly.
double brute(const _uint8_mat& img, int r, int c, _img_distance_type metric) {
    double best = 1e300;
    for (int y = 0; y < img.nrow; ++y)
        for (int x = 0; x < img.ncol; ++x) {
            if (img.data[y * img.ncol + x] != 1) continue;
            double dy = std::abs(y - r), dx = std::abs(x - c), lo = std::min(dx, dy), hi = std::max(dx, dy);
            double d = metric == IMG_DISTANCE_CITY_BLOCK   ? dx + dy
                       : metric == IMG_DISTANCE_CHESSBOARD ? hi
                                                           : (hi - lo) + r2 * lo;
            best = std::min(best, d);
        }
    return best;
}

TEST_F(DistanceTest, MatchesExhaustiveSearchOnRandomImagesAndThinShapes) {
    std::mt19937 gen(11);
    const int shapes[][2] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {7, 13}, {16, 5}, {20, 20}};
    for (auto [rows, cols] : shapes) {
        for (int density : {2, 20, 60}) {
            auto img = make<unsigned char>(rows, cols);
            for (int i = 0; i < rows * cols; ++i) img.data[i] = int(gen() % 100) < density;
            img.data[gen() % (rows * cols)] = 1;
            for (auto metric : {IMG_DISTANCE_EUCLIDEAN, IMG_DISTANCE_CITY_BLOCK, IMG_DISTANCE_CHESSBOARD}) {
                auto d = distances(img, metric);
                for (int y = 0; y < rows; ++y)
                    for (int x = 0; x < cols; ++x)
                        ASSERT_NEAR(d[y * cols + x], brute(img, y, x, metric), 1e-9)
                            << rows << "x" << cols << " metric " << metric << " at " << y << "," << x;
            }
        }
    }
}

TEST_F(DistanceTest, RefusalsAndTheirMessages) {
    auto img = make<double>(2, 2, {0, 5, 0, 0}), r = make<double>(2, 2), small = make<double>(1, 2);
    EXPECT_EQ(message(imgdbl_transform_distance(&img, IMG_DISTANCE_EUCLIDEAN, 5, nullptr, &small)),
              "array size mismatch");
    EXPECT_EQ(message(imgdbl_transform_distance(&img, static_cast<_img_distance_type>(3), 5, nullptr, &r)),
              "Illegal data value");
    EXPECT_EQ(message(imgdbl_transform_distance(&img, IMG_DISTANCE_EUCLIDEAN, 7, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(raised([&] { imgdbl_transform_distance(&img, IMG_DISTANCE_EUCLIDEAN, 5, nullptr, nullptr); }),
              "null pointer");
    // The universal member takes 32-bit unsigned images through the signed member.
    auto u = make_univ<uint32_t>(1, 3, {4000000000u, 1, 2}), ur = make_univ<double>(1, 3), uf = make_univ<float>(1, 3);
    ASSERT_EQ(message(imguniv_transform_distance(&u, IMG_DISTANCE_CITY_BLOCK, scalar_u32(4000000000u), nullptr, &ur)),
              "");
    EXPECT_EQ(values_of<double>(ur), (std::vector<double>{0, 1, 2}));
    EXPECT_EQ(message(imguniv_transform_distance(&u, IMG_DISTANCE_CITY_BLOCK, scalar_s32(1), nullptr, &ur)),
              "Illegal data type");
    EXPECT_EQ(message(imguniv_transform_distance(&u, IMG_DISTANCE_CITY_BLOCK, scalar_u32(1), nullptr, &uf)),
              "Illegal data type");
}

TEST_F(ConvexHullTest, RasterAgreesWithPointInPolygonOnRandomObjects) {
    std::mt19937 gen(5);
    for (int trial = 0; trial < 40; ++trial) {
        const int rows = 3 + int(gen() % 20), cols = 3 + int(gen() % 20);
        auto img = make<double>(rows, cols);
        int count = 1 + int(gen() % 6);
        std::vector<int32_t> pts;
        for (int k = 0; k < count; ++k) {
            int y = int(gen() % rows), x = int(gen() % cols);
            img.data[y * cols + x] = -2.5;
            pts.push_back(y), pts.push_back(x);
        }
        auto r = make<double>(rows, cols);
        ASSERT_EQ(message(imgdbl_convex_hull(&img, -2.5, nullptr, &r)), "");
        auto p = make<int32_t>(count, 2, pts);
        _sint32_mat h;
        ASSERT_EQ(message(pgns32_convex_hull(&p, nullptr, &h)), "");
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x) {
                bool inside = true;
                for (int e = 0; e + 1 < h.nrow; ++e) {
                    int64_t ar = h.data[2 * e], ac = h.data[2 * e + 1], br = h.data[2 * e + 2], bc = h.data[2 * e + 3];
                    int64_t cross = (br - ar) * (x - ac) - (bc - ac) * (y - ar);
                    if (cross < 0) inside = false;
                }
                if (h.nrow <= 3) {  // point or segment: the centre must lie on it
                    int64_t ar = h.data[0], ac = h.data[1], br = h.data[2], bc = h.data[3];
                    inside = inside && std::min(ar, br) <= y && y <= std::max(ar, br) && std::min(ac, bc) <= x &&
                             x <= std::max(ac, bc) && (br - ar) * (x - ac) == (bc - ac) * (y - ar);
                }
                ASSERT_EQ(r.data[y * cols + x], inside ? 1.0 : 0.0) << "trial " << trial << " at " << y << "," << x;
            }
    }
}

TEST_F(ConvexHullTest, NoObjectLeavesTheResultUntouchedAndTypesAreChecked) {
    auto img = make<uint16_t>(2, 2, {1, 2, 3, 4});
    auto r = make<uint16_t>(2, 2, {7, 7, 7, 7});
    ASSERT_EQ(message(imgu16_convex_hull(&img, 5, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<uint16_t>{7, 7, 7, 7}));
    auto small = make<uint16_t>(1, 2);
    EXPECT_EQ(message(imgu16_convex_hull(&img, 5, nullptr, &small)), "array size mismatch");
    // The universal member takes u8, u16 and double images with a value of the image's type.
    auto u = make_univ<uint16_t>(2, 2, {0, 3, 3, 0}), ur = make_univ<uint16_t>(2, 2);
    ASSERT_EQ(message(imguniv_convex_hull(&u, scalar_u16(3), nullptr, &ur)), "");
    EXPECT_EQ(values_of<uint16_t>(ur), (std::vector<uint16_t>{0, 1, 1, 0}));
    EXPECT_EQ(message(imguniv_convex_hull(&u, scalar_u8(3), nullptr, &ur)), "Illegal data type");
}

}  // namespace
}  // namespace mutils::test
