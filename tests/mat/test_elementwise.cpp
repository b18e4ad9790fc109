// Rescaling, copying and filling, and the bit operations.
#include <cmath>
#include <limits>

#include "support.h"

namespace mutils::test {
namespace {

using ElementwiseTest = ArenaTest;
using u8v = std::vector<unsigned char>;

TEST_F(ElementwiseTest, RescaleMapsTheRangeOntoLoHi) {
    _double_mat a = make<double>(1, 4, {2, 4, 6, 10}), r = make<double>(1, 4);
    ASSERT_EQ(message(matdbl_rescale(&a, -1.0, 1.0, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<double>{-1, -0.5, 0, 1}));
    _double_mat c = make<double>(2, 2, {3, 3, 3, 3});
    ASSERT_EQ(message(matdbl_rescale(&c, 5.0, 9.0, nullptr, &c)), "");
    EXPECT_EQ(values(c), (std::vector<double>{5, 5, 5, 5}));  // constant: lo everywhere
    EXPECT_EQ(message(matdbl_rescale(&a, 2.0, 1.0, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(matdbl_rescale(&a, NAN, 1.0, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(matdbl_rescale(&a, 1.0, 1.0, nullptr, &r)), "");
    _double_mat wrong = make<double>(4, 1);
    EXPECT_EQ(message(matdbl_rescale(&a, 0.0, 1.0, nullptr, &wrong)), "array size mismatch");
    EXPECT_EQ(raised([&] { matdbl_rescale(&a, 0.0, 1.0, nullptr, nullptr); }), "null pointer");
}

TEST_F(ElementwiseTest, RescaleRoundsIntegersAndSkipsNaN) {
    _uint8_mat a = make<unsigned char>(1, 4, {0, 1, 2, 3}), r = make<unsigned char>(1, 4);
    ASSERT_EQ(message(matu8_rescale(&a, 0, 255, nullptr, &r)), "");
    EXPECT_EQ(values(r), (u8v{0, 85, 170, 255}));
    _uint8_mat b = make<unsigned char>(1, 3, {0, 1, 2});
    ASSERT_EQ(message(matu8_rescale(&b, 10, 11, nullptr, &b)), "");
    EXPECT_EQ(values(b), (u8v{10, 11, 11}));  // 10.5 rounds up
    _sint32_mat w = make<int32_t>(1, 3, {INT32_MIN, 0, INT32_MAX});
    ASSERT_EQ(message(mats32_rescale(&w, INT32_MIN, INT32_MAX, nullptr, &w)), "");
    EXPECT_EQ(values(w), (std::vector<int32_t>{INT32_MIN, 0, INT32_MAX}));
    _float_mat f = make<float>(1, 3, {NAN, 1, 3});
    ASSERT_EQ(message(matflt_rescale(&f, 0.0f, 1.0f, nullptr, &f)), "");
    EXPECT_TRUE(std::isnan(f.data[0]));
    EXPECT_EQ(f.data[1], 0.0f);
    EXPECT_EQ(f.data[2], 1.0f);
    _univ_mat u = make_univ<unsigned char>(1, 2, {7, 9}), rd = make_univ<double>(1, 2);
    ASSERT_EQ(message(matuniv_rescale(&u, scalar_s32(-1), scalar_u8(1), nullptr, &rd)), "");
    EXPECT_EQ(values_of<double>(rd), (std::vector<double>{-1, 1}));
    EXPECT_EQ(message(matuniv_rescale(&u, scalar_dbl(0), scalar_dbl(1), nullptr, &u)), "Illegal data type");
}

TEST_F(ElementwiseTest, AssignCopiesAndFills) {
    _sint16_mat a = make<int16_t>(1, 3, {-1, 2, -3}), r = make<int16_t>(1, 3);
    ASSERT_EQ(message(mats16_assign(&a, nullptr, &r)), "");
    EXPECT_EQ(values(r), values(a));
    _sint16_mat wrong = make<int16_t>(3, 1);
    EXPECT_EQ(message(mats16_assign(&a, nullptr, &wrong)), "array size mismatch");
    ASSERT_EQ(message(mats16_assign_scalar(9, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int16_t>{9, 9, 9}));
    _dcomplex_mat z = make<_dcomplex>(1, 2);
    ASSERT_EQ(message(matcpx_assign_scalar({1, -2}, nullptr, &z)), "");
    EXPECT_EQ(z.data[1].im, -2);

    _univ_mat uz = make_univ<_dcomplex>(1, 2), ud = make_univ<double>(1, 2), u8 = make_univ<unsigned char>(1, 2);
    ASSERT_EQ(message(matuniv_assign_scalar(scalar_u8(4), nullptr, &uz)), "");
    EXPECT_EQ(static_cast<_dcomplex*>(uz.data)[0].re, 4);
    EXPECT_EQ(static_cast<_dcomplex*>(uz.data)[0].im, 0);
    EXPECT_EQ(message(matuniv_assign_scalar(scalar_cpx({1, 1}), nullptr, &ud)), "Illegal data type");
    EXPECT_EQ(message(matuniv_assign_scalar(scalar_s32(256), nullptr, &u8)), "Illegal data type");
    EXPECT_EQ(message(matuniv_assign_scalar(scalar_s32(255), nullptr, &u8)), "");
    EXPECT_EQ(message(matuniv_assign_scalar(scalar_u8(1), nullptr, nullptr)), "null pointer");
    ASSERT_EQ(message(matuniv_assign(&u8, nullptr, &uz)), "");  // integers convert to complex
    EXPECT_EQ(static_cast<_dcomplex*>(uz.data)[1].re, 255);
    EXPECT_EQ(message(matuniv_assign(&ud, nullptr, &u8)), "Illegal data type");
}

TEST_F(ElementwiseTest, ComplexJoinAndSplit) {
    _double_mat re = make<double>(1, 2, {1, 2}), im = make<double>(1, 2, {-1, 0.5});
    _dcomplex_mat z = make<_dcomplex>(1, 2);
    matdbl_to_complex(&re, &im, nullptr, &z);
    EXPECT_EQ(z.data[1].re, 2);
    EXPECT_EQ(z.data[1].im, 0.5);
    _double_mat r2 = make<double>(1, 2), i2 = make<double>(1, 2);
    matcpx_to_double(&z, nullptr, &r2, &i2);
    EXPECT_EQ(values(r2), values(re));
    EXPECT_EQ(values(i2), values(im));
    EXPECT_EQ(raised([&] { matcpx_to_double(&z, nullptr, &r2, &r2); }), "Illegal memory address");
    _double_mat wrong = make<double>(2, 1);
    EXPECT_EQ(raised([&] { matdbl_to_complex(&re, &wrong, nullptr, &z); }), "array size mismatch");
    _dcomplex_mat alias{1, 1, 1, reinterpret_cast<_dcomplex*>(re.data)};
    _double_mat one{1, 1, 1, re.data};
    EXPECT_EQ(raised([&] { matdbl_to_complex(&one, &one, nullptr, &alias); }), "Illegal memory address");
}

TEST_F(ElementwiseTest, BitOperations) {
    _uint8_mat a = make<unsigned char>(1, 2, {0xF0, 0x3C}), b = make<unsigned char>(1, 2, {0xAA, 0x0F}),
               r = make<unsigned char>(1, 2);
    matu8_bit_and(&a, &b, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0xA0, 0x0C}));
    matu8_bit_or(&a, &b, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0xFA, 0x3F}));
    matu8_bit_xor(&a, &b, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0x5A, 0x33}));
    matu8_bit_not(&a, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0x0F, 0xC3}));
    matu8_bit_xor_scalar(&a, 0xFF, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0x0F, 0xC3}));
    _uint16_mat w = make<uint16_t>(1, 1, {0x8001});
    matu16_bit_not(&w, nullptr, &w);
    EXPECT_EQ(w.data[0], 0x7FFE);
    _uint8_mat wrong = make<unsigned char>(2, 1);
    EXPECT_EQ(message(matu8_bit_and(&a, &wrong, nullptr, &r)), "array size mismatch");
}

TEST_F(ElementwiseTest, ShiftsPastTheWidthGiveZero) {
    _uint8_mat a = make<unsigned char>(1, 2, {0x81, 0x7F}), r = make<unsigned char>(1, 2);
    matu8_bit_shift_left(&a, 1, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0x02, 0xFE}));
    matu8_bit_shift_right(&a, 7, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{1, 0}));
    matu8_bit_shift_left(&a, 8, nullptr, &r);
    EXPECT_EQ(values(r), (u8v{0, 0}));
    _uint16_mat h = make<uint16_t>(1, 1, {0xFFFF});
    matu16_bit_shift_left(&h, 15, nullptr, &h);
    EXPECT_EQ(h.data[0], 0x8000);
    matu16_bit_shift_right(&h, 65535, nullptr, &h);
    EXPECT_EQ(h.data[0], 0);
    _uint32_mat u = make<uint32_t>(1, 1, {0xFFFFFFFFu});
    matu32_bit_shift_right(&u, 31, nullptr, &u);
    EXPECT_EQ(u.data[0], 1u);
    matu32_bit_shift_left(&u, 32, nullptr, &u);
    EXPECT_EQ(u.data[0], 0u);
    _univ_mat x = make_univ<uint32_t>(1, 1, {1});
    ASSERT_EQ(message(matuniv_bit_shift_left(&x, 255, nullptr, &x)), "");
    EXPECT_EQ(values_of<uint32_t>(x), (std::vector<uint32_t>{0}));
}

TEST_F(ElementwiseTest, UniversalBitOperationsNeedUnsignedResults) {
    _univ_mat s16 = make_univ<int16_t>(1, 2, {3, -1}), u16 = make_univ<uint16_t>(1, 2, {1, 1}),
              f = make_univ<float>(1, 2), u8 = make_univ<unsigned char>(1, 2, {6, 6});
    EXPECT_EQ(raised([&] { matuniv_bit_or(&s16, &u16, nullptr, &u16); }), "overflow");  // -1 does not fit
    EXPECT_EQ(message(matuniv_bit_or(&f, &u16, nullptr, &u16)), "Illegal data type");
    ASSERT_EQ(message(matuniv_bit_or(&u8, &u16, nullptr, &u16)), "");
    EXPECT_EQ(values_of<uint16_t>(u16), (std::vector<uint16_t>{7, 7}));
    EXPECT_EQ(message(matuniv_bit_and_scalar(&u8, scalar_s32(-1), nullptr, &u8)), "Illegal data type");
    EXPECT_EQ(message(matuniv_bit_and_scalar(&u8, scalar_u16(255), nullptr, &u8)), "");
    EXPECT_EQ(message(matuniv_bit_not(&u8, nullptr, nullptr)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
