// Grey-level maps: window/level, inversion, automatic thresholds, discrete levels, equalisation.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using WindowLevelTest = ArenaTest;

std::vector<unsigned char> window(const std::vector<double>& x, double low, double high) {
    auto a = make<double>(1, int32_t(x.size()), x);
    auto r = make<unsigned char>(1, int32_t(x.size()));
    EXPECT_EQ(message(imgdbl_map_window_level(&a, low, high, nullptr, &r)), "");
    return values(r);
}

TEST_F(WindowLevelTest, MapsTheWindowOntoEightBitsAndInvertsWhenBoundsAreExchanged) {
    EXPECT_EQ(window({10, 15, 19.99, 20, 5, 25}, 10, 20), (std::vector<unsigned char>{0, 128, 255, 255, 0, 255}));
    EXPECT_EQ(window({10, 15, 19.99, 20, 5, 25}, 20, 10), (std::vector<unsigned char>{255, 128, 0, 0, 255, 0}));
    EXPECT_EQ(window({-1e300, 2.9, 3, 3.1, NAN}, 3, 3), (std::vector<unsigned char>{0, 0, 0, 255, 0}));
    // A range of exactly 256 steps is the identity on its integers.
    EXPECT_EQ(window({0, 1, 127, 255, 256}, 0, 256), (std::vector<unsigned char>{0, 1, 127, 255, 255}));
}

TEST_F(WindowLevelTest, EveryTypedMemberAgreesWithTheDoubleMember) {
    std::vector<double> xs;
    for (int v = 0; v < 256; ++v) xs.push_back(v);
    auto u8 = make<unsigned char>(16, 16);
    auto u16 = make<uint16_t>(16, 16);
    auto s32 = make<int32_t>(16, 16);
    for (int v = 0; v < 256; ++v) u8.data[v] = (unsigned char)v, u16.data[v] = uint16_t(v), s32.data[v] = v - 100;
    auto r = make<unsigned char>(16, 16);
    for (auto [lo, hi] : {std::pair{0.0, 255.0}, {30.5, 31.5}, {200.0, 10.0}, {77.0, 77.0}, {-50.0, 300.0}}) {
        auto expect = window(xs, lo, hi);
        ASSERT_EQ(message(imgu8_map_window_level(&u8, lo, hi, nullptr, &r)), "");
        EXPECT_EQ(values(r), expect) << lo << " " << hi;
        ASSERT_EQ(message(imgu16_map_window_level(&u16, lo, hi, nullptr, &r)), "");
        EXPECT_EQ(values(r), expect) << lo << " " << hi;
        ASSERT_EQ(message(imgs32_map_window_level(&s32, lo - 100, hi - 100, nullptr, &r)), "");
        EXPECT_EQ(values(r), expect) << lo << " " << hi;
    }
}

TEST_F(WindowLevelTest, UniversalMemberNeedsAnEightBitResult) {
    auto a = make_univ<uint32_t>(1, 2, {5, 4000000000u});
    auto r = make_univ<unsigned char>(1, 2);
    ASSERT_EQ(message(imguniv_map_window_level(&a, 0, 1e9, nullptr, &r)), "");
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{0, 255}));
    auto r16 = make_univ<uint16_t>(1, 2);
    EXPECT_EQ(message(imguniv_map_window_level(&a, 0, 1, nullptr, &r16)), "Illegal data type");
    auto f = make_univ<float>(1, 2);
    EXPECT_EQ(message(imguniv_map_window_level(&f, 0, 1, nullptr, &r)), "Illegal data type");
    auto wide = make_univ<unsigned char>(1, 3);
    EXPECT_EQ(message(imguniv_map_window_level(&a, 0, 1, nullptr, &wide)), "array size mismatch");
    EXPECT_EQ(message(imguniv_map_window_level(&a, 0, 1, nullptr, nullptr)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
