// Sub-matrices, zero-padding, transposes, translations and flips.
#include "mat_support.h"

namespace mutils::test {
namespace {

using StructuralTest = ArenaTest;

TEST_F(StructuralTest, AssignSubmatWritesTheBlockAndKeepsTheRest) {
    auto a = make<double>(2, 2, {1, 2, 3, 4});
    auto r = make<double>(3, 3, {9, 9, 9, 9, 9, 9, 9, 9, 9});
    EXPECT_EQ(message(matdbl_assign_submat(&a, 1, 1, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<double>{9, 9, 9, 9, 1, 2, 9, 3, 4}));
    EXPECT_EQ(message(matdbl_assign_submat(&a, 2, 1, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(matdbl_assign_submat(&a, 1, -1, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(matdbl_assign_submat(&a, 0, 2, nullptr, &r)), "array size mismatch");
}

TEST_F(StructuralTest, SharingIsCheckedAfterSizesInAssignButBeforeThemInExtract) {
    auto a = make<int16_t>(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(message(mats16_assign_submat(&a, 0, 0, nullptr, &a)), "Illegal memory address");
    EXPECT_EQ(message(mats16_assign_submat(&a, 1, 0, nullptr, &a)), "array size mismatch");
    EXPECT_EQ(message(mats16_extract(&a, 1, 0, nullptr, &a)), "Illegal memory address");
}

TEST_F(StructuralTest, ExtractCopiesTheBlockThatFitsInside) {
    auto a = make<int32_t>(3, 4, {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23});
    auto r = make<int32_t>(2, 2);
    EXPECT_EQ(message(mats32_extract(&a, 1, 2, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{12, 13, 22, 23}));
    EXPECT_EQ(message(mats32_extract(&a, 2, 0, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(mats32_extract(&a, 0, 3, nullptr, &r)), "array size mismatch");
    EXPECT_EQ(message(mats32_extract(&a, -1, 0, nullptr, &r)), "array size mismatch");
}

TEST_F(StructuralTest, ZeropadPutsTheSourceTopLeft) {
    auto a = make<float>(2, 3, {1, 2, 3, 4, 5, 6});
    auto r = make<float>(4, 4, std::vector<float>(16, 7.0f));
    EXPECT_EQ(message(matflt_assign_zeropad(&a, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<float>{1, 2, 3, 0, 4, 5, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    auto small = make<float>(1, 3);
    EXPECT_EQ(message(matflt_assign_zeropad(&a, nullptr, &small)), "array size mismatch");
}

TEST_F(StructuralTest, TransposeMovesElementsOrOnlyTheRecordOfAVector) {
    auto a = make<double>(2, 3, {1, 2, 3, 4, 5, 6});
    auto r = make<double>(3, 2);
    EXPECT_EQ(message(matdbl_transpose(&a, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<double>{1, 4, 2, 5, 3, 6}));
    EXPECT_EQ(message(matdbl_transpose(&a, nullptr, &a)), "array size mismatch");
    auto wrong = make<double>(2, 3);
    EXPECT_EQ(message(matdbl_transpose(&a, nullptr, &wrong)), "array size mismatch");

    auto v = make<double>(1, 5, {1, 2, 3, 4, 5});
    double* before = v.data;
    EXPECT_EQ(message(matdbl_transpose(&v, nullptr, &v)), "");
    EXPECT_EQ(v.nrow, 5);
    EXPECT_EQ(v.ncol, 1);
    EXPECT_EQ(v.data, before);
    EXPECT_EQ(values(v), (std::vector<double>{1, 2, 3, 4, 5}));
}

TEST_F(StructuralTest, TransposeOfLargeMatricesMatchesTheDefinition) {
    std::mt19937 rng(3);
    for (auto [m, n] : {std::pair{37, 70}, std::pair{64, 64}, std::pair{1, 100}, std::pair{129, 33}}) {
        auto a = random_mat<_dcomplex>(rng, m, n);
        auto r = make<_dcomplex>(n, m);
        ASSERT_EQ(message(matcpx_transpose(&a, nullptr, &r)), "");
        for (int32_t i = 0; i < m; ++i)
            for (int32_t j = 0; j < n; ++j) {
                ASSERT_EQ(r.data[j * m + i].re, a.data[i * n + j].re);
                ASSERT_EQ(r.data[j * m + i].im, a.data[i * n + j].im);
            }
    }
}

TEST_F(StructuralTest, TranslateShiftsAndFills) {
    auto a = make<unsigned char>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    auto r = make<unsigned char>(3, 3);
    EXPECT_EQ(message(matu8_translate(&a, 1, 0, 9, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<unsigned char>{9, 9, 9, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(message(matu8_translate(&a, 3, 0, 9, nullptr, &r)), "");
    EXPECT_EQ(values(r), std::vector<unsigned char>(9, 9));
    EXPECT_EQ(message(matu8_translate(&a, -1, 2, 0, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<unsigned char>{0, 0, 4, 0, 0, 7, 0, 0, 0}));
    EXPECT_EQ(message(matu8_translate(&a, 0, 0, 0, nullptr, &r)), "");
    EXPECT_EQ(values(r), values(a));
    EXPECT_EQ(message(matu8_translate(&a, INT32_MIN, 0, 0, nullptr, &r)), "");
    EXPECT_EQ(values(r), std::vector<unsigned char>(9, 0));
}

TEST_F(StructuralTest, TranslateOntoItselfIsASizeMismatchEvenWithoutShift) {
    auto a = make<uint16_t>(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(message(matu16_translate(&a, 0, 0, 0, nullptr, &a)), "array size mismatch");
    auto r = make<uint16_t>(2, 3);
    EXPECT_EQ(message(matu16_translate(&a, 1, 0, 0, nullptr, &r)), "array size mismatch");
}

TEST_F(StructuralTest, UniversalTranslateReadsTheFillInTheResultType) {
    auto a = make_univ<int16_t>(2, 2, {1, 2, 3, 4});
    auto r = make_univ<int16_t>(2, 2);
    EXPECT_EQ(message(matuniv_translate(&a, 0, 1, scalar_dbl(5), nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(matuniv_translate(&a, 0, 1, scalar_s32(-32768), nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(matuniv_translate(&a, 0, 1, scalar_s32(-32767), nullptr, &r)), "");
    EXPECT_EQ(values_of<int16_t>(r), (std::vector<int16_t>{-32767, 1, -32767, 3}));
    EXPECT_EQ(message(matuniv_translate(&a, 0, 1, scalar_u8(7), nullptr, &r)), "");
    EXPECT_EQ(values_of<int16_t>(r), (std::vector<int16_t>{7, 1, 7, 3}));
    auto d = make_univ<double>(2, 2, {1, 2, 3, 4});
    auto dr = make_univ<double>(2, 2);
    EXPECT_EQ(message(matuniv_translate(&d, 1, 0, scalar_u32(4000000000u), nullptr, &dr)), "");
    EXPECT_EQ(values_of<double>(dr), (std::vector<double>{4e9, 4e9, 1, 2}));
}

TEST_F(StructuralTest, FlipsWorkIntoANewMatrixAndInPlace) {
    auto a = make<int32_t>(3, 2, {1, 2, 3, 4, 5, 6});
    auto r = make<int32_t>(3, 2);
    EXPECT_EQ(message(mats32_flip_left_right(&a, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{2, 1, 4, 3, 6, 5}));
    EXPECT_EQ(message(mats32_flip_up_down(&a, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{5, 6, 3, 4, 1, 2}));
    EXPECT_EQ(message(mats32_flip_up_down(&a, nullptr, &a)), "");
    EXPECT_EQ(values(a), (std::vector<int32_t>{5, 6, 3, 4, 1, 2}));
    EXPECT_EQ(message(mats32_flip_left_right(&a, nullptr, &a)), "");
    EXPECT_EQ(values(a), (std::vector<int32_t>{6, 5, 4, 3, 2, 1}));
    auto wrong = make<int32_t>(2, 3);
    EXPECT_EQ(message(mats32_flip_left_right(&a, nullptr, &wrong)), "array size mismatch");
}

TEST_F(StructuralTest, UniversalMembersCheckNullAndTypeBeforeValidating) {
    auto a = make_univ<double>(2, 2);
    auto f = make_univ<float>(2, 2);
    EXPECT_EQ(message(matuniv_transpose(nullptr, nullptr, &a)), "null pointer");
    EXPECT_EQ(message(matuniv_flip_up_down(&a, nullptr, nullptr)), "null pointer");
    EXPECT_EQ(message(matuniv_extract(&a, 0, 0, nullptr, &f)), "Illegal data type");
    auto c = make_univ<_dcomplex>(2, 2);
    auto c2 = make_univ<_dcomplex>(2, 2);
    EXPECT_EQ(message(matuniv_assign_zeropad(&c, nullptr, &c2)), "Illegal data type");
    EXPECT_EQ(message(matuniv_flip_left_right(&c, nullptr, &c2)), "");
    _univ_mat bad = a;
    bad.nrow = 0;
    EXPECT_EQ(raised([&] { matuniv_transpose(&bad, nullptr, &a); }), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
