// Convex hull of integer points: vertex order, collinear and repeated points, degenerate sets.
#include <limits>

#include "support.h"

namespace mutils::test {
namespace {

using HullTest = ArenaTest;

std::vector<int32_t> hull_of(const std::vector<int32_t>& xy) {
    auto p = make<int32_t>(int32_t(xy.size() / 2), 2, xy);
    _sint32_mat h;
    EXPECT_EQ(message(pgns32_convex_hull(&p, nullptr, &h)), "");
    return values(h);
}

TEST_F(HullTest, ClosedCounterClockwiseFromTheFirstCornerAndDegenerateSets) {
    const int32_t lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
    const std::pair<std::vector<int32_t>, std::vector<int32_t>> cases[] = {
        // Interior point, edge midpoints and a repeated corner are not vertices.
        {{2, 2, 0, 4, 4, 4, 0, 0, 4, 0, 1, 1, 0, 2, 4, 2, 0, 0}, {0, 0, 4, 0, 4, 4, 0, 4, 0, 0}},
        // A triangle given clockwise comes out in the same orientation.
        {{0, 3, 5, 0, 5, 6}, {0, 3, 5, 0, 5, 6, 0, 3}},
        // Points and segments, closed.
        {{3, 7}, {3, 7, 3, 7}},
        {{3, 7, 3, 7, 3, 7}, {3, 7, 3, 7}},
        {{2, 2, 0, 0, 4, 4, 1, 1}, {0, 0, 4, 4, 0, 0}},
        {{5, 1, 5, 9, 5, 4}, {5, 1, 5, 9, 5, 1}},
        // The triangle's long edge runs from (lo, lo) to (hi, hi); a point one unit beside it is
        // dropped on the inner side and kept on the outer one, which needs products past 64 bits.
        {{lo, lo, hi, hi, lo, hi, 0, 1}, {lo, lo, hi, hi, lo, hi, lo, lo}},
        {{lo, lo, hi, hi, lo, hi, 1, 0}, {lo, lo, 1, 0, hi, hi, lo, hi, lo, lo}},
    };
    for (const auto& [points, hull] : cases) EXPECT_EQ(hull_of(points), hull) << ::testing::PrintToString(points);
}

TEST_F(HullTest, PointsMustBeTwoColumns) {
    auto p = make<int32_t>(2, 3);
    _sint32_mat h;
    EXPECT_EQ(message(pgns32_convex_hull(&p, nullptr, &h)), "array size mismatch");
    auto ok = make<int32_t>(1, 2);
    EXPECT_EQ(raised([&] { pgns32_convex_hull(&ok, nullptr, nullptr); }), "null pointer");
}

}  // namespace
}  // namespace mutils::test
