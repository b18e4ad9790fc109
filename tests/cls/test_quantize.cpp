// Scalar quantizers: nearest-codeword indices, codebook checks and the angular end rule.
#include <cmath>
#include <numbers>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using QuantizeTest = ArenaTest;

std::vector<uint32_t> linear(const std::vector<double>& data, const std::vector<double>& book) {
    auto x = make<double>(int32_t(data.size()), 1, data);
    auto c = make<double>(int32_t(book.size()), 1, book);
    auto r = make<uint32_t>(int32_t(data.size()), 1);
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &c, nullptr, &r)), "");
    return values(r);
}

TEST_F(QuantizeTest, LinearTakesTheNearestCodewordAndTiesGoLow) {
    EXPECT_EQ(linear({5, 5.0001, -3, 42, 0, 10}, {0, 10}), (std::vector<uint32_t>{0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(linear({7}, {3}), (std::vector<uint32_t>{0}));
    EXPECT_EQ(linear({NAN}, {0, 1, 2}), (std::vector<uint32_t>{0}));
}

TEST_F(QuantizeTest, LinearMatchesExhaustiveSearchForEveryCodebookLength) {
    std::mt19937 gen(7);
    std::uniform_real_distribution<double> u(-20, 120);
    for (int k = 1; k <= 19; ++k) {
        std::vector<double> book;
        for (int i = 0; i < k; ++i) book.push_back(i * 5.0 + (i % 3));  // distinct, uneven gaps
        std::vector<double> data;
        for (int i = 0; i < 200; ++i) data.push_back(i % 4 == 0 ? std::round(u(gen)) : u(gen));
        auto got = linear(data, book);
        for (size_t i = 0; i < data.size(); ++i) {
            uint32_t best = 0;
            for (int j = 1; j < k; ++j)
                if (std::fabs(data[i] - book[j]) < std::fabs(data[i] - book[best])) best = uint32_t(j);
            ASSERT_EQ(got[i], best) << "k=" << k << " x=" << data[i];
        }
    }
}

TEST_F(QuantizeTest, CodebookMayRepeatButNotDescend) {
    EXPECT_EQ(linear({1, 0.2, 1.6}, {1, 1, 2}), (std::vector<uint32_t>{1, 0, 2}));
    auto x = make<double>(1, 1, {1});
    auto bad = make<double>(2, 1, {2, 1});
    auto nan = make<double>(2, 1, {0, NAN});
    auto r = make<uint32_t>(1, 1);
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &bad, nullptr, &r)), "index out of bounds");
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &nan, nullptr, &r)), "index out of bounds");
}

TEST_F(QuantizeTest, IntegerMembersMeasureDistancesWithoutWrapping) {
    auto x = make<uint32_t>(3, 1, {2147483648u, 2147483647u, 4294967295u});
    auto c = make<uint32_t>(2, 1, {0, 4294967295u});
    auto r = make<uint32_t>(3, 1);
    ASSERT_EQ(message(clsu32_scalar_quantize_linear(&x, &c, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<uint32_t>{1, 0, 1}));

    auto xs = make<int16_t>(3, 1, {-32768, -1, 0});
    auto cs = make<int16_t>(2, 1, {-32768, 32767});
    ASSERT_EQ(message(clss16_scalar_quantize_linear(&xs, &cs, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<uint32_t>{0, 0, 1}));
}

TEST_F(QuantizeTest, ShapesAreColumnsAndTheResultMayBeLonger) {
    auto x = make<double>(2, 1, {0.4, 0.6});
    auto c = make<double>(2, 1, {0, 1});
    auto r = make<uint32_t>(3, 1, {9, 9, 9});
    ASSERT_EQ(message(clsdbl_scalar_quantize_linear(&x, &c, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<uint32_t>{0, 1, 9}));

    auto row = make<double>(1, 2, {0, 1});
    auto shortr = make<uint32_t>(1, 1);
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&row, &c, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &row, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &c, nullptr, &shortr)), "array size mismatch");
    EXPECT_EQ(raised([&] { clsdbl_scalar_quantize_linear(nullptr, &c, nullptr, &r); }), "null pointer");
}

TEST_F(QuantizeTest, AngleRefusesValuesOutsidePi) {
    auto c = make<double>(2, 1, {-1, 1});
    auto r = make<uint32_t>(1, 1);
    auto x = make<double>(1, 1, {3.5});
    EXPECT_EQ(message(clsdbl_scalar_quantize_angle(&x, &c, nullptr, &r)), "index out of bounds");
    x.data[0] = 0;
    auto wide = make<double>(2, 1, {-4, 1});
    EXPECT_EQ(message(clsdbl_scalar_quantize_angle(&x, &wide, nullptr, &r)), "index out of bounds");
    auto xf = make<float>(1, 1, {float(std::numbers::pi)});  // pi rounded up to float still counts as pi
    auto cf = make<float>(2, 1, {-1, 1});
    EXPECT_EQ(message(clsflt_scalar_quantize_angle(&xf, &cf, nullptr, &r)), "");
    EXPECT_EQ(r.data[0], 1u);
}

TEST_F(QuantizeTest, AngleEndRuleComparesWithTheResultsOwnEndEntries) {
    // Linear indices are [0, 2, 1]; the end entries read as numbers are F = 0 and L = 1, so both
    // end elements are decided by their angular distance to 0 and to 1 radian.
    auto x = make<double>(3, 1, {-3.1, 3.1, 0.1});
    auto c = make<double>(3, 1, {-3, 0, 3});
    auto r = make<uint32_t>(3, 1);
    ASSERT_EQ(message(clsdbl_scalar_quantize_angle(&x, &c, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<uint32_t>{2, 2, 1}));

    // A longer result: its last entry (here 7) is L, and m - 1 = 3 is the index given out.
    auto x2 = make<double>(2, 1, {-0.2, 2.9});
    auto r2 = make<uint32_t>(4, 1, {0, 0, 0, 7});
    ASSERT_EQ(message(clsdbl_scalar_quantize_angle(&x2, &c, nullptr, &r2)), "");
    // -0.2 -> linear 1 (kept); 2.9 -> linear 2 (kept); F = 1, L = 7 are only read.
    EXPECT_EQ(values(r2), (std::vector<uint32_t>{1, 2, 0, 7}));
    auto x3 = make<double>(2, 1, {-2.9, 0.5});
    ASSERT_EQ(message(clsdbl_scalar_quantize_angle(&x3, &c, nullptr, &r2)), "");
    // -2.9 -> linear 0, F = 0, L = 7: x' = 3.383, dF = |0 - 3.383| -> 2.9, dL = 3.617 -> 2.666 < dF -> 3.
    EXPECT_EQ(values(r2), (std::vector<uint32_t>{3, 1, 0, 7}));
}

TEST_F(QuantizeTest, UniversalMembersDispatchAndConvertTheCodebook) {
    auto x = make_univ<unsigned char>(3, 1, {10, 100, 200});
    auto c32 = make_univ<int32_t>(2, 1, {0, 255});
    auto cd = make_univ<double>(2, 1, {0, 255});
    auto r = make_univ<uint32_t>(3, 1);
    ASSERT_EQ(message(clsuniv_scalar_quantize_linear(&x, &c32, nullptr, &r)), "");
    EXPECT_EQ(values_of<uint32_t>(r), (std::vector<uint32_t>{0, 0, 1}));
    EXPECT_EQ(message(clsuniv_scalar_quantize_linear(&x, &cd, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(clsuniv_scalar_quantize_angle(&x, &c32, nullptr, &r)), "Illegal data type");
    auto rs = make_univ<int32_t>(3, 1);
    EXPECT_EQ(message(clsuniv_scalar_quantize_linear(&x, &c32, nullptr, &rs)), "Illegal data type");
    EXPECT_EQ(message(clsuniv_scalar_quantize_linear(nullptr, &c32, nullptr, &r)), "null pointer");

    auto xd = make_univ<double>(3, 1, {-1, 0.1, 3});
    ASSERT_EQ(message(clsuniv_scalar_quantize_angle(&xd, &cd, nullptr, &r)), "index out of bounds");
    auto cs = make_univ<int32_t>(3, 1, {-2, 0, 2});
    ASSERT_EQ(message(clsuniv_scalar_quantize_angle(&xd, &cs, nullptr, &r)), "");
    EXPECT_EQ(values_of<uint32_t>(r)[1], 1u);
}

}  // namespace
}  // namespace mutils::test
