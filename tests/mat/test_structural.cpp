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

// Every universal member gives exactly what the typed member of the element type gives.
template <class T> struct Typed;
#define TYPED_STRUCT(CODE, T)                                          \
    template <> struct Typed<T> {                                      \
        static constexpr auto submat = &mat##CODE##_assign_submat;     \
        static constexpr auto extract = &mat##CODE##_extract;          \
        static constexpr auto transpose = &mat##CODE##_transpose;      \
        static constexpr auto flip_lr = &mat##CODE##_flip_left_right;  \
        static constexpr auto flip_ud = &mat##CODE##_flip_up_down;     \
    };
TYPED_STRUCT(dbl, double)
TYPED_STRUCT(flt, float)
TYPED_STRUCT(u8, unsigned char)
TYPED_STRUCT(u16, uint16_t)
TYPED_STRUCT(u32, uint32_t)
TYPED_STRUCT(s16, int16_t)
TYPED_STRUCT(s32, int32_t)
TYPED_STRUCT(cpx, _dcomplex)
#undef TYPED_STRUCT

template <class T> void expect_universal_matches_typed() {
    SCOPED_TRACE(detail::elem<T>::code);
    std::mt19937 rng(11);
    auto a = random_mat<T>(rng, 5, 7);
    auto ua = univ(a);
    auto check = [&](int32_t rows, int32_t cols, auto typed, auto universal) {
        auto r1 = random_mat<T>(rng, rows, cols);
        auto r2 = make<T>(rows, cols);
        std::memcpy(static_cast<void*>(r2.data), r1.data, sizeof(T) * std::size_t(r1.nelem));
        auto u2 = univ(r2);
        EXPECT_EQ(message(typed(&r1)), "");
        EXPECT_EQ(message(universal(&u2)), "");
        EXPECT_TRUE(same_bytes(r1, r2));
    };
    check(8, 9, [&](auto* r) { return Typed<T>::submat(&a, 2, 1, nullptr, r); },
          [&](auto* r) { return matuniv_assign_submat(&ua, 2, 1, nullptr, r); });
    check(3, 4, [&](auto* r) { return Typed<T>::extract(&a, 1, 2, nullptr, r); },
          [&](auto* r) { return matuniv_extract(&ua, 1, 2, nullptr, r); });
    check(7, 5, [&](auto* r) { return Typed<T>::transpose(&a, nullptr, r); },
          [&](auto* r) { return matuniv_transpose(&ua, nullptr, r); });
    check(5, 7, [&](auto* r) { return Typed<T>::flip_lr(&a, nullptr, r); },
          [&](auto* r) { return matuniv_flip_left_right(&ua, nullptr, r); });
    check(5, 7, [&](auto* r) { return Typed<T>::flip_ud(&a, nullptr, r); },
          [&](auto* r) { return matuniv_flip_up_down(&ua, nullptr, r); });
}

TEST_F(StructuralTest, UniversalMembersMatchTypedForEveryType) {
    expect_universal_matches_typed<double>();
    expect_universal_matches_typed<float>();
    expect_universal_matches_typed<unsigned char>();
    expect_universal_matches_typed<uint16_t>();
    expect_universal_matches_typed<uint32_t>();
    expect_universal_matches_typed<int16_t>();
    expect_universal_matches_typed<int32_t>();
    expect_universal_matches_typed<_dcomplex>();
}

TEST_F(StructuralTest, UniversalZeropadAndTranslateMatchTypedForEveryRealType) {
    std::mt19937 rng(5);
    auto a8 = random_mat<unsigned char>(rng, 3, 4);
    auto r8 = make<unsigned char>(5, 6), u8r = make<unsigned char>(5, 6);
    auto ua8 = univ(a8), uu8 = univ(u8r);
    EXPECT_EQ(message(matu8_assign_zeropad(&a8, nullptr, &r8)), "");
    EXPECT_EQ(message(matuniv_assign_zeropad(&ua8, nullptr, &uu8)), "");
    EXPECT_TRUE(same_bytes(r8, u8r));

    auto run = [&](auto tag, auto typed, _univ_scalar fill, auto fill_value) {
        using T = typename decltype(tag)::type;
        auto a = random_mat<T>(rng, 4, 5);
        auto r1 = make<T>(4, 5), r2 = make<T>(4, 5);
        auto ua = univ(a), u2 = univ(r2);
        EXPECT_EQ(message(typed(&a, -1, 2, fill_value, nullptr, &r1)), "");
        EXPECT_EQ(message(matuniv_translate(&ua, -1, 2, fill, nullptr, &u2)), "");
        EXPECT_TRUE(same_bytes(r1, r2)) << detail::elem<T>::code;
        auto z2 = make<T>(6, 6);
        auto uz2 = univ(z2);
        EXPECT_EQ(message(matuniv_assign_zeropad(&ua, nullptr, &uz2)), "");
        EXPECT_EQ(z2.data[35], T(0));
        EXPECT_EQ(z2.data[6 + 4], a.data[5 + 4]);
    };
    run(detail::type_tag<double>{}, matdbl_translate, scalar_dbl(-1.5), -1.5);
    run(detail::type_tag<float>{}, matflt_translate, scalar_flt(2.5f), 2.5f);
    run(detail::type_tag<unsigned char>{}, matu8_translate, scalar_u8(200), (unsigned char)200);
    run(detail::type_tag<uint16_t>{}, matu16_translate, scalar_u16(60000), (uint16_t)60000);
    run(detail::type_tag<uint32_t>{}, matu32_translate, scalar_u32(4000000000u), 4000000000u);
    run(detail::type_tag<int16_t>{}, mats16_translate, scalar_s16(-3), (int16_t)-3);
    run(detail::type_tag<int32_t>{}, mats32_translate, scalar_s32(-70000), -70000);
}

}  // namespace
}  // namespace mutils::test
