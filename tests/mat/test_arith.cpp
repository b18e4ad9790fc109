// Element-wise arithmetic, absolute value and scalar operations: wrap-around, size checks,
// in-place results, and the universal rules for operand types and scalar ranges.
#include <cmath>

#include "support.h"

namespace mutils::test {
namespace {

using ArithTest = ArenaTest;
using u8v = std::vector<unsigned char>;

TEST_F(ArithTest, IntegerArithmeticWrapsAround) {
    _uint8_mat a = make<unsigned char>(1, 3, {200, 1, 16}), b = make<unsigned char>(1, 3, {100, 2, 17}),
               r = make<unsigned char>(1, 3);
    ASSERT_EQ(message(matu8_add(&a, &b, nullptr, &r)), "");
    EXPECT_EQ(values(r), (u8v{44, 3, 33}));
    ASSERT_EQ(message(matu8_subtract(&a, &b, nullptr, &r)), "");
    EXPECT_EQ(values(r), (u8v{100, 255, 255}));
    ASSERT_EQ(message(matu8_multiply_elem(&a, &b, nullptr, &r)), "");
    EXPECT_EQ(values(r), (u8v{32, 2, 16}));
    _sint32_mat s = make<int32_t>(1, 2, {INT32_MAX, INT32_MIN}), one = make<int32_t>(1, 2, {1, 1});
    ASSERT_EQ(message(mats32_add(&s, &one, nullptr, &s)), "");  // in place
    EXPECT_EQ(values(s), (std::vector<int32_t>{INT32_MIN, INT32_MIN + 1}));
    _sint16_mat h = make<int16_t>(1, 1, {-32768}), m1 = make<int16_t>(1, 1, {-1});
    ASSERT_EQ(message(mats16_multiply_elem(&h, &m1, nullptr, &h)), "");
    EXPECT_EQ(h.data[0], -32768);
}

TEST_F(ArithTest, SizesMustAgree) {
    _double_mat a = make<double>(2, 3), b = make<double>(3, 2), r = make<double>(2, 3);
    EXPECT_EQ(message(matdbl_add(&a, &b, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(matdbl_add(&a, &a, nullptr, &b)), "array size mismatch");
    EXPECT_EQ(raised([&] { matdbl_subtract(&a, nullptr, nullptr, &r); }), "null pointer");
    a.nelem = 5;
    EXPECT_EQ(raised([&] { matdbl_multiply_elem(&a, &a, nullptr, &r); }), "array size mismatch");
}

TEST_F(ArithTest, UniversalOperandsComeToTheResultType) {
    _univ_mat d = make_univ<double>(1, 2, {1.5, 2}), u8 = make_univ<unsigned char>(1, 2, {200, 100}),
              rd = make_univ<double>(1, 2), ru8 = make_univ<unsigned char>(1, 2);
    // (Other operand types against casts: Differential.MixedOperandsGoThroughTheResultType.)
    EXPECT_EQ(message(matuniv_add(&d, &u8, nullptr, &ru8)), "Illegal data type");
    ASSERT_EQ(message(matuniv_add(&u8, &u8, nullptr, &rd)), "");
    EXPECT_EQ(values_of<double>(rd), (std::vector<double>{400, 200}));  // converted first: no wrap
    _univ_mat s32 = make_univ<int32_t>(1, 2, {70000, 1}), rs16 = make_univ<int16_t>(1, 2);
    EXPECT_EQ(raised([&] { matuniv_add(&s32, &s32, nullptr, &rs16); }), "overflow");
    EXPECT_EQ(message(matuniv_multiply_elem(&u8, nullptr, nullptr, &rd)), "null pointer");
    _univ_mat tag1 = u8;
    tag1.type = MUTIL_SINT8;
    EXPECT_EQ(message(matuniv_add(&tag1, &tag1, nullptr, &tag1)), "Illegal data type");
}

TEST_F(ArithTest, AbsKeepsTheMostNegativeValue) {
    _sint16_mat s = make<int16_t>(1, 3, {-32768, -5, 7});
    ASSERT_EQ(message(mats16_abs(&s, nullptr, &s)), "");
    EXPECT_EQ(values(s), (std::vector<int16_t>{-32768, 5, 7}));
    _sint32_mat w = make<int32_t>(1, 2, {INT32_MIN, -INT32_MAX});
    ASSERT_EQ(message(mats32_abs(&w, nullptr, &w)), "");
    EXPECT_EQ(values(w), (std::vector<int32_t>{INT32_MIN, INT32_MAX}));
    _double_mat d = make<double>(1, 3, {-0.0, -2.5, NAN}), r = make<double>(1, 3);
    ASSERT_EQ(message(matdbl_abs(&d, nullptr, &r)), "");
    EXPECT_FALSE(std::signbit(r.data[0]));
    EXPECT_EQ(r.data[1], 2.5);
    EXPECT_TRUE(std::isnan(r.data[2]));
    _univ_mat u = make_univ<uint16_t>(1, 2, {3, 65535}), ru = make_univ<uint16_t>(1, 2);
    ASSERT_EQ(message(matuniv_abs(&u, nullptr, &ru)), "");
    EXPECT_EQ(values_of<uint16_t>(ru), (std::vector<uint16_t>{3, 65535}));
}

TEST_F(ArithTest, ScalarOperationsWrapInTheElementType) {
    _uint8_mat a = make<unsigned char>(1, 2, {250, 3}), r = make<unsigned char>(1, 2);
    ASSERT_EQ(message(matu8_add_scalar(&a, 10, nullptr, &r)), "");
    EXPECT_EQ(values(r), (u8v{4, 13}));
    ASSERT_EQ(message(matu8_multiply_scalar(&a, 2, nullptr, &r)), "");
    EXPECT_EQ(values(r), (u8v{244, 6}));
    _float_mat f = make<float>(1, 1, {1.5f});
    ASSERT_EQ(message(matflt_multiply_scalar(&f, -2.0f, nullptr, &f)), "");
    EXPECT_EQ(f.data[0], -3.0f);
    _uint8_mat wrong = make<unsigned char>(2, 1);
    EXPECT_EQ(message(matu8_add_scalar(&a, 1, nullptr, &wrong)), "array size mismatch");
}

TEST_F(ArithTest, UniversalScalarsMustFitTheResultSymmetrically) {
    _univ_mat u8 = make_univ<unsigned char>(1, 1, {5}), s16 = make_univ<int16_t>(1, 1, {5});
    EXPECT_EQ(message(matuniv_add_scalar(&u8, scalar_dbl(300), nullptr, &u8)), "Illegal data type");
    EXPECT_EQ(message(matuniv_add_scalar(&u8, scalar_dbl(3), nullptr, &u8)), "Illegal data type");  // floating
    EXPECT_EQ(message(matuniv_add_scalar(&u8, scalar_s16(-1), nullptr, &u8)), "Illegal data type");
    EXPECT_EQ(message(matuniv_add_scalar(&u8, scalar_u16(255), nullptr, &u8)), "");
    EXPECT_EQ(values_of<unsigned char>(u8), (u8v{4}));
    EXPECT_EQ(message(matuniv_add_scalar(&s16, scalar_s32(-32768), nullptr, &s16)), "Illegal data type");
    EXPECT_EQ(message(matuniv_add_scalar(&s16, scalar_s32(-32767), nullptr, &s16)), "");
    EXPECT_EQ(values_of<int16_t>(s16), (std::vector<int16_t>{-32762}));
    EXPECT_EQ(message(matuniv_add_scalar(&s16, scalar_s16(-32768), nullptr, &s16)), "");    // own type: as is
    EXPECT_EQ(message(matuniv_multiply_scalar(&s16, scalar_s8(-128), nullptr, &s16)), "");  // fits s16
    _univ_mat s32 = make_univ<int32_t>(1, 1), u32 = make_univ<uint32_t>(1, 1, {1});
    EXPECT_EQ(message(matuniv_add_scalar(&s32, scalar_u32(2147483648u), nullptr, &s32)), "Illegal data type");
    EXPECT_EQ(message(matuniv_add_scalar(&u32, scalar_u32(4294967295u), nullptr, &u32)), "");
    EXPECT_EQ(values_of<uint32_t>(u32), (std::vector<uint32_t>{0}));
    _univ_mat d = make_univ<double>(1, 1, {1}), z = make_univ<_dcomplex>(1, 1);
    EXPECT_EQ(message(matuniv_multiply_scalar(&u8, scalar_dbl(2), nullptr, &d)), "");
    EXPECT_EQ(values_of<double>(d), (std::vector<double>{8}));
    EXPECT_EQ(message(matuniv_add_scalar(&d, scalar_cpx({1, 0}), nullptr, &d)), "Illegal data type");
    EXPECT_EQ(message(matuniv_add_scalar(&z, scalar_dbl(1), nullptr, &z)), "Illegal data type");
    EXPECT_EQ(message(matuniv_add_scalar(nullptr, scalar_dbl(1), nullptr, &d)), "null pointer");
    _univ_scalar junk = scalar_u8(1);
    junk.type = static_cast<_mutil_data_type>(11);
    EXPECT_EQ(message(matuniv_add_scalar(&d, junk, nullptr, &d)), "Illegal data type");
}

}  // namespace
}  // namespace mutils::test
