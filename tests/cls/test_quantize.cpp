// Scalar quantizers: nearest-codeword indices, codebook checks and the angular end rule.
#include <cmath>
#include <numbers>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using QuantizeTest = ArenaTest;
using Idx = std::vector<uint32_t>;
using Out = std::pair<std::string, Idx>;  // message and indices

// Quantizes the column `data` by the column `book` into a result column holding `result` (as
// long as the data when empty).
template <class T, class F> Out quantize(F f, const std::vector<T>& data, const std::vector<T>& book, Idx result = {}) {
    auto x = make<T>(int32_t(data.size()), 1, data), c = make<T>(int32_t(book.size()), 1, book);
    if (result.empty()) result.resize(data.size());
    auto r = make<uint32_t>(int32_t(result.size()), 1, result);
    const std::string m = message(f(&x, &c, nullptr, &r));
    return {m, values(r)};
}
Idx linear(const std::vector<double>& data, const std::vector<double>& book) {
    Out o = quantize<double>(clsdbl_scalar_quantize_linear, data, book);
    EXPECT_EQ(o.first, "");
    return o.second;
}

TEST_F(QuantizeTest, LinearTakesTheNearestCodewordAndTiesGoLow) {
    EXPECT_EQ(linear({NAN}, {0, 1, 2}), Idx{0});
    // Against exhaustive search, for every codebook length; whole values meet ties at even gaps.
    std::mt19937 gen(7);
    std::uniform_real_distribution<double> u(-20, 120);
    for (int k = 1; k <= 19; ++k) {
        std::vector<double> book, data;
        for (int i = 0; i < k; ++i) book.push_back(i * 5.0 + (i % 3));  // distinct, uneven gaps
        for (int i = 0; i < 200; ++i) data.push_back(i % 4 == 0 ? std::round(u(gen)) : u(gen));
        const Idx got = linear(data, book);
        for (size_t i = 0; i < data.size(); ++i) {
            uint32_t best = 0;
            for (int j = 1; j < k; ++j)
                if (std::fabs(data[i] - book[j]) < std::fabs(data[i] - book[best])) best = uint32_t(j);
            ASSERT_EQ(got[i], best) << "k=" << k << " x=" << data[i];
        }
    }
}

TEST_F(QuantizeTest, CodebookMayRepeatButNotDescend) {
    EXPECT_EQ(linear({1, 0.2, 1.6}, {1, 1, 2}), (Idx{1, 0, 2}));
    for (const std::vector<double>& book : {std::vector<double>{2, 1}, {0, NAN}})
        EXPECT_EQ(quantize<double>(clsdbl_scalar_quantize_linear, {1}, book).first, "index out of bounds");
}

TEST_F(QuantizeTest, IntegerMembersMeasureDistancesWithoutWrapping) {
    EXPECT_EQ(
        quantize<uint32_t>(clsu32_scalar_quantize_linear, {2147483648u, 2147483647u, 4294967295u}, {0, 4294967295u}),
        Out("", {1, 0, 1}));
    EXPECT_EQ(quantize<int16_t>(clss16_scalar_quantize_linear, {-32768, -1, 0}, {-32768, 32767}), Out("", {0, 0, 1}));
}

TEST_F(QuantizeTest, ShapesAreColumnsAndTheResultMayBeLonger) {
    EXPECT_EQ(quantize<double>(clsdbl_scalar_quantize_linear, {0.4, 0.6}, {0, 1}, {9, 9, 9}), Out("", {0, 1, 9}));
    auto x = make<double>(2, 1), c = make<double>(2, 1, {0, 1}), row = make<double>(1, 2, {0, 1});
    auto r = make<uint32_t>(3, 1), shortr = make<uint32_t>(1, 1);
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&row, &c, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &row, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(clsdbl_scalar_quantize_linear(&x, &c, nullptr, &shortr)), "array size mismatch");
    EXPECT_EQ(raised([&] { clsdbl_scalar_quantize_linear(nullptr, &c, nullptr, &r); }), "null pointer");
}

TEST_F(QuantizeTest, AngleRefusesValuesOutsidePi) {
    EXPECT_EQ(quantize<double>(clsdbl_scalar_quantize_angle, {3.5}, {-1, 1}).first, "index out of bounds");
    EXPECT_EQ(quantize<double>(clsdbl_scalar_quantize_angle, {0}, {-4, 1}).first, "index out of bounds");
    // pi rounded up to float still counts as pi.
    EXPECT_EQ(quantize<float>(clsflt_scalar_quantize_angle, {float(std::numbers::pi)}, {-1, 1}), Out("", {1}));
}

TEST_F(QuantizeTest, AngleEndRuleComparesWithTheResultsOwnEndEntries) {
    const auto angle = clsdbl_scalar_quantize_angle;
    // Linear indices are [0, 2, 1]; the end entries read as numbers are F = 0 and L = 1, so both
    // end elements are decided by their angular distance to 0 and to 1 radian.
    EXPECT_EQ(quantize<double>(angle, {-3.1, 3.1, 0.1}, {-3, 0, 3}), Out("", {2, 2, 1}));
    // A longer result: its last entry (here 7) is L, and m - 1 = 3 is the index given out.
    // -0.2 -> linear 1 (kept); 2.9 -> linear 2 (kept); F = 1, L = 7 are only read.
    EXPECT_EQ(quantize<double>(angle, {-0.2, 2.9}, {-3, 0, 3}, {0, 0, 0, 7}), Out("", {1, 2, 0, 7}));
    // -2.9 -> linear 0, F = 0, L = 7: x' = 3.383, dF = |0 - 3.383| -> 2.9, dL = 3.617 -> 2.666 < dF -> 3.
    EXPECT_EQ(quantize<double>(angle, {-2.9, 0.5}, {-3, 0, 3}, {1, 2, 0, 7}), Out("", {3, 1, 0, 7}));
}

TEST_F(QuantizeTest, UniversalMembersDispatchAndConvertTheCodebook) {
    auto x = make_univ<unsigned char>(3, 1, {10, 100, 200}), c32 = make_univ<int32_t>(2, 1, {0, 255});
    auto cd = make_univ<double>(2, 1, {0, 255}), r = make_univ<uint32_t>(3, 1), rs = make_univ<int32_t>(3, 1);
    ASSERT_EQ(message(clsuniv_scalar_quantize_linear(&x, &c32, nullptr, &r)), "");
    EXPECT_EQ(values_of<uint32_t>(r), (Idx{0, 0, 1}));
    EXPECT_EQ(message(clsuniv_scalar_quantize_linear(&x, &cd, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(clsuniv_scalar_quantize_angle(&x, &c32, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(clsuniv_scalar_quantize_linear(&x, &c32, nullptr, &rs)), "Illegal data type");
    EXPECT_EQ(message(clsuniv_scalar_quantize_linear(nullptr, &c32, nullptr, &r)), "null pointer");

    auto xd = make_univ<double>(3, 1, {-1, 0.1, 3}), cs = make_univ<int32_t>(3, 1, {-2, 0, 2});
    ASSERT_EQ(message(clsuniv_scalar_quantize_angle(&xd, &cd, nullptr, &r)), "index out of bounds");
    ASSERT_EQ(message(clsuniv_scalar_quantize_angle(&xd, &cs, nullptr, &r)), "");
    EXPECT_EQ(values_of<uint32_t>(r)[1], 1u);
}

}  // namespace
}  // namespace mutils::test
