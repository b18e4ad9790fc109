// Tiles, plane interleaving of matrix sets, and interpolation between matrices.
#include "mat_support.h"

namespace mutils::test {
namespace {

using TileTest = ArenaTest;

TEST_F(TileTest, TilesAreNumberedRowByRowAndLeftoversDropped) {
    // 5 x 4 into 2 x 2 tiles: rows 0 to 3 only, four tiles of four elements.
    std::vector<int32_t> v(20);
    for (int i = 0; i < 20; ++i) v[i] = i;
    auto a = make<int32_t>(5, 4, v);
    auto r = make<int32_t>(4, 4);
    EXPECT_EQ(message(mats32_tile(&a, 2, 2, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15}));

    auto back = make<int32_t>(5, 4, std::vector<int32_t>(20, -1));
    EXPECT_EQ(message(mats32_untile(&r, 2, 2, nullptr, &back)), "");
    std::vector<int32_t> expected = v;
    for (int i = 16; i < 20; ++i) expected[i] = -1;  // the leftover row keeps its values
    EXPECT_EQ(values(back), expected);
}

TEST_F(TileTest, TileChecksInOrder) {
    auto a = make<float>(4, 4);
    auto r = make<float>(4, 4);
    EXPECT_EQ(message(matflt_tile(&a, 2, 2, nullptr, &a)), "Illegal memory address");
    EXPECT_EQ(message(matflt_tile(&a, 0, 2, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(matflt_tile(&a, 2, 5, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(matflt_tile(&a, 5, 1, nullptr, &r)), "Illegal data value");
    auto rows = make<float>(3, 4);
    EXPECT_EQ(message(matflt_tile(&a, 2, 2, nullptr, &rows)), "array size mismatch");
    auto cols = make<float>(4, 3);
    EXPECT_EQ(message(matflt_tile(&a, 2, 2, nullptr, &cols)), "array size mismatch");
    EXPECT_EQ(message(matflt_untile(&cols, 2, 2, nullptr, &a)), "array size mismatch");
    EXPECT_EQ(message(matflt_untile(&r, 2, 5, nullptr, &a)), "Illegal data value");
}

TEST_F(TileTest, RandomTileUntileRoundTripsForEveryType) {
    std::mt19937 rng(7);
    auto round_trip = [&](auto tag) {
        using T = typename decltype(tag)::type;
        for (int trial = 0; trial < 20; ++trial) {
            const int32_t tr = 1 + int32_t(rng() % 4), tc = 1 + int32_t(rng() % 4);
            const int32_t m = tr * (1 + int32_t(rng() % 5)), n = tc * (1 + int32_t(rng() % 5));
            auto a = random_mat<T>(rng, m, n);
            auto tiles = make<T>((m / tr) * (n / tc), tr * tc);
            auto back = make<T>(m, n);
            auto ua = univ(a), ut = univ(tiles), ub = univ(back);
            ASSERT_EQ(message(matuniv_tile(&ua, tr, tc, nullptr, &ut)), "");
            ASSERT_EQ(message(matuniv_untile(&ut, tr, tc, nullptr, &ub)), "");
            ASSERT_TRUE(same_bytes(a, back)) << detail::elem<T>::code;
        }
    };
    [&]<class... Ts>(detail::types<Ts...>) { (round_trip(detail::type_tag<Ts>{}), ...); }(detail::all_types{});
    auto ua = make_univ<uint16_t>(6, 9), f = make_univ<float>(6, 9);
    EXPECT_EQ(message(matuniv_tile(&ua, 3, 3, nullptr, &f)), "Illegal data type");
    EXPECT_EQ(message(matuniv_untile(nullptr, 3, 3, nullptr, &f)), "null pointer");
}

_mat_set planes(int32_t count, int32_t rows, int32_t cols, _mutil_data_type type) {
    _mat_set s;
    matset_malloc(&s, 1, &count);
    matset_malloc_matrices(&s, rows, cols, type);
    return s;
}

TEST_F(TileTest, SetTileInterleavesPlanesAndRaisesOnDisagreement) {
    _mat_set s = planes(3, 2, 2, MUTIL_UINT8), back = planes(3, 2, 2, MUTIL_UINT8);
    for (int p = 0; p < 3; ++p)
        for (int e = 0; e < 4; ++e) static_cast<unsigned char*>(s.mats[p].data)[e] = (unsigned char)(10 * p + e);
    auto packed = make_univ<unsigned char>(2, 6);
    matset_tile(&s, nullptr, &packed);
    EXPECT_EQ(values_of<unsigned char>(packed),
              (std::vector<unsigned char>{0, 10, 20, 1, 11, 21, 2, 12, 22, 3, 13, 23}));
    matset_untile(&packed, nullptr, &back);
    for (int p = 0; p < 3; ++p) EXPECT_EQ(values_of<unsigned char>(back.mats[p]), values_of<unsigned char>(s.mats[p]));

    auto narrow = make_univ<unsigned char>(2, 4);
    EXPECT_EQ(raised([&] { matset_tile(&s, nullptr, &narrow); }), "array size mismatch");
    auto other = make_univ<float>(2, 6);
    EXPECT_EQ(raised([&] { matset_untile(&other, nullptr, &back); }), "Illegal data type");
    EXPECT_EQ(raised([&] { matset_tile(nullptr, nullptr, &packed); }), "null pointer");
    s.mats[2].type = MUTIL_FLOAT;
    EXPECT_EQ(raised([&] { matset_tile(&s, nullptr, &packed); }), "Illegal data type");
}

TEST_F(TileTest, InterpolateGivesOnePlanePerFraction) {
    auto a = make_univ<unsigned char>(1, 3, {0, 100, 200});
    auto b = make_univ<unsigned char>(1, 3, {10, 0, 255});
    auto f = make_univ<double>(1, 3, {0.0, 0.25, 1.0});
    _mat_set out = planes(3, 1, 3, MUTIL_DOUBLE);
    matset_interpolate(&a, &b, &f, nullptr, &out);
    EXPECT_EQ(values_of<double>(out.mats[0]), (std::vector<double>{0, 100, 200}));
    EXPECT_EQ(values_of<double>(out.mats[1]), (std::vector<double>{2.5, 75, 213.75}));
    EXPECT_EQ(values_of<double>(out.mats[2]), (std::vector<double>{10, 0, 255}));

    _mat_set bytes = planes(3, 1, 3, MUTIL_UINT8);
    matset_interpolate(&a, &b, &f, nullptr, &bytes);
    EXPECT_EQ(values_of<unsigned char>(bytes.mats[1]), (std::vector<unsigned char>{3, 75, 214}));

    auto far = make_univ<float>(1, 1, {2.0f});
    _mat_set one = planes(1, 1, 3, MUTIL_UINT8);
    EXPECT_EQ(raised([&] { matset_interpolate(&a, &b, &far, nullptr, &one); }), "overflow");
    _mat_set one_dbl = planes(1, 1, 3, MUTIL_DOUBLE);
    matset_interpolate(&a, &b, &far, nullptr, &one_dbl);
    EXPECT_EQ(values_of<double>(one_dbl.mats[0]), (std::vector<double>{20, -100, 310}));
}

TEST_F(TileTest, InterpolateRaisesOnDisagreement) {
    auto a = make_univ<double>(2, 2);
    auto b = make_univ<double>(2, 2);
    auto b3 = make_univ<double>(2, 3);
    auto f = make_univ<double>(1, 2, {0.5, 0.5});
    _mat_set two = planes(2, 2, 2, MUTIL_DOUBLE);
    _mat_set three = planes(3, 2, 2, MUTIL_DOUBLE);
    EXPECT_EQ(raised([&] { matset_interpolate(&a, &b3, &f, nullptr, &two); }), "array size mismatch");
    EXPECT_EQ(raised([&] { matset_interpolate(&a, &b, &f, nullptr, &three); }), "array size mismatch");
    auto c = make_univ<_dcomplex>(2, 2);
    EXPECT_EQ(raised([&] { matset_interpolate(&c, &b, &f, nullptr, &two); }), "Illegal data type");
    EXPECT_EQ(raised([&] { matset_interpolate(&a, nullptr, &f, nullptr, &two); }), "null pointer");
    two.mats[1] = a;
    two.mats[0] = make_univ<double>(2, 2);
    EXPECT_EQ(raised([&] { matset_interpolate(&a, &b, &f, nullptr, &two); }), "Illegal memory address");
}

}  // namespace
}  // namespace mutils::test
