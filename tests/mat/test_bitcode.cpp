// Fixed-length bit codes: exact packed bytes, round trips with sign extension, refusals.
#include "support.h"

namespace mutils::test {
namespace {

using BitCodeTest = ArenaTest;

TEST_F(BitCodeTest, PacksMostSignificantBitFirstWithoutPadding) {
    auto a = make_univ<uint16_t>(1, 3, {0x5, 0xabc, 0x1});
    auto r = make_univ<unsigned char>(1, 6, {9, 9, 9, 9, 9, 9});
    ASSERT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, 12, 0, 0, nullptr, &r)), "");
    // 000000000101 101010111100 000000000001 -> 00 5a bc 00 10, then zero bytes.
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{0x00, 0x5a, 0xbc, 0x00, 0x10, 0x00}));
    auto back = make_univ<uint32_t>(1, 4, {7, 7, 7, 7});
    ASSERT_EQ(message(matuniv_bit_compact_fixed_length_code(&r, 12, 3, 1, nullptr, &back)), "");
    EXPECT_EQ(values_of<uint32_t>(back), (std::vector<uint32_t>{0x5, 0xabc, 0x1, 0}));
}

TEST_F(BitCodeTest, SignedValuesRoundTripInEveryWidth) {
    for (uint32_t nbits : {1u, 3u, 8u, 13u, 16u}) {
        const int32_t lo = -(1 << (nbits - 1)), hi = (1 << (nbits - 1)) - 1;
        auto a = make_univ<int16_t>(1, 5, {int16_t(lo), -1, 0, int16_t(hi), int16_t(hi)});
        auto bytes = make_univ<unsigned char>(1, 10);
        auto back = make_univ<int32_t>(1, 5);
        ASSERT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, nbits, 0, 0, nullptr, &bytes)), "") << nbits;
        ASSERT_EQ(message(matuniv_bit_compact_fixed_length_code(&bytes, nbits, 5, 1, nullptr, &back)), "") << nbits;
        for (int i = 0; i < 5; ++i) EXPECT_EQ(values_of<int32_t>(back)[i], values_of<int16_t>(a)[i]) << nbits;
    }
    auto full = make_univ<uint32_t>(1, 2, {0xffffffffu, 0x12345678u});
    auto bytes = make_univ<unsigned char>(1, 8), back = make_univ<uint32_t>(1, 2);
    ASSERT_EQ(message(matuniv_bit_compact_fixed_length_code(&full, 32, 0, 0, nullptr, &bytes)), "");
    ASSERT_EQ(message(matuniv_bit_compact_fixed_length_code(&bytes, 32, 0, 1, nullptr, &back)), "");
    EXPECT_EQ(values_of<uint32_t>(back), values_of<uint32_t>(full));
}

TEST_F(BitCodeTest, Refusals) {
    auto a = make_univ<uint16_t>(1, 3, {1, 2, 8});
    auto r = make_univ<unsigned char>(1, 2);
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, 3, 0, 0, nullptr, &r)), "Illegal data value");  // 8
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, 4, 4, 0, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, 6, 0, 0, nullptr, &r)), "array size mismatch");
    for (uint32_t nbits : {0u, 33u})
        EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, nbits, 0, 0, nullptr, &r)), "Illegal data value");
    auto u8 = make_univ<unsigned char>(1, 3);
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&r, 9, 1, 1, nullptr, &u8)), "Illegal data value");
    auto d = make_univ<double>(1, 3);
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&d, 4, 0, 0, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&a, 4, 0, 0, nullptr, &a)), "Illegal data type");
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(&r, 4, 0, 0, nullptr, &r)), "Illegal memory address");
    EXPECT_EQ(message(matuniv_bit_compact_fixed_length_code(nullptr, 4, 0, 0, nullptr, &r)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
