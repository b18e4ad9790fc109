// Histograms, thresholds and table lookup.
#include <cmath>

#include "mat_support.h"

namespace mutils::test {
namespace {

using HistogramTest = ArenaTest;

TEST_F(HistogramTest, BinsAreHalfOpenFromBelowAndTheFlagDecidesTheLowerEdge) {
    auto a = make<double>(1, 8, {0.0, 0.5, 1.0, 1.5, 2.0, 2.5, 4.0, -1.0});
    auto h = make<uint32_t>(4, 1);
    // Bins of width 1 over [0, 4]: (0,1], (1,2], (2,3], (3,4].
    EXPECT_EQ(message(matdbl_histogram(&a, 0.0, 4.0, 0, nullptr, &h)), "");
    EXPECT_EQ(values(h), (std::vector<uint32_t>{2, 2, 1, 1}));
    EXPECT_EQ(message(matdbl_histogram(&a, 0.0, 4.0, 1, nullptr, &h)), "");
    EXPECT_EQ(values(h), (std::vector<uint32_t>{3, 2, 1, 1}));
}

TEST_F(HistogramTest, EqualEdgesCountOnlyTheEdgeAndNaNIsNeverCounted) {
    auto a = make<double>(1, 4, {3.0, 3.0, 2.0, NAN});
    auto h = make<uint32_t>(2, 1);
    EXPECT_EQ(message(matdbl_histogram(&a, 3.0, 3.0, 1, nullptr, &h)), "");
    EXPECT_EQ(values(h), (std::vector<uint32_t>{2, 0}));
    EXPECT_EQ(message(matdbl_histogram(&a, 3.0, 3.0, 0, nullptr, &h)), "");
    EXPECT_EQ(values(h), (std::vector<uint32_t>{0, 0}));
    EXPECT_EQ(message(matdbl_histogram(&a, 3.0, 2.9, 0, nullptr, &h)), "Illegal data value");
    auto row = make<uint32_t>(1, 2);
    EXPECT_EQ(message(matdbl_histogram(&a, 0.0, 1.0, 0, nullptr, &row)), "array size mismatch");
    auto f = make_univ<float>(2, 2);  // the universal member has no float body
    EXPECT_EQ(message(matuniv_histogram(&f, 0, 1, 0, nullptr, &h)), "Illegal data type");
    EXPECT_EQ(::matuniv_histogram(&f, 0, 1, 0, nullptr, &h), MUTIL_ERR_ILLEGAL_TYPE);
}

TEST_F(HistogramTest, UpperEdgeLandsInTheLastBinWhateverTheRounding) {
    // (b - a) * B / (b - a) is not B in floating point for these edges.
    for (double b : {0.3, 0.7, 1.1, 1e-300, 123456.789}) {
        auto a = make<double>(1, 1, {b});
        auto h = make<uint32_t>(7, 1);
        ASSERT_EQ(message(matdbl_histogram(&a, 0.1 * b, b, 0, nullptr, &h)), "");
        EXPECT_EQ(h.data[6], 1u) << b;
    }
}

// The same rule for every member: compare with a direct count.
template <class T> std::vector<uint32_t> direct(const std::vector<T>& x, double a, double b, int bins, bool flag) {
    std::vector<uint32_t> h(bins);
    const double w = (b - a) / bins;
    for (T v : x) {
        const double d = double(v);
        if (d == a && flag) ++h[0];
        if (!(d > a && d <= b)) continue;
        for (int k = 0; k < bins; ++k)
            if (d > a + k * w && d <= a + (k + 1) * w) {
                ++h[k];
                break;
            }
    }
    return h;
}

TEST_F(HistogramTest, EveryMemberMatchesADirectCount) {
    std::mt19937 rng(21);
    auto run = [&](auto tag, auto typed, double a, double b, int bins, int n) {
        using T = typename decltype(tag)::type;
        auto x = random_mat<T>(rng, 1, n);
        auto h = make<uint32_t>(bins, 1);
        ASSERT_EQ(message(typed(&x, a, b, 1, nullptr, &h)), "");
        EXPECT_EQ(values(h), direct<T>(values(x), a, b, bins, true)) << detail::elem<T>::code;
    };
    run(detail::type_tag<double>{}, matdbl_histogram, -50.0, 50.0, 10, 2001);
    run(detail::type_tag<int32_t>{}, mats32_histogram, -1e9, 2e9, 16, 1000);
    run(detail::type_tag<uint16_t>{}, matu16_histogram, 100.0, 60000.0, 13, 1000);
    run(detail::type_tag<uint16_t>{}, matu16_histogram, 0.0, 65535.0, 8, 70000);  // counted per value
    run(detail::type_tag<unsigned char>{}, matu8_histogram, -0.5, 255.5, 256, 5000);
    run(detail::type_tag<unsigned char>{}, matu8_histogram, 10.0, 20.0, 3, 5000);
}

TEST_F(HistogramTest, ThresholdIsInclusiveAndNaNCountsAsInside) {
    auto a = make<double>(1, 6, {0.9, 1.0, 1.5, 2.0, 2.1, NAN});
    auto r = make<double>(1, 6);
    EXPECT_EQ(message(matdbl_threshold(&a, 1.0, 2.0, -1.0, 5.0, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<double>{-1, 5, 5, 5, -1, 5}));
    EXPECT_EQ(message(matdbl_threshold(&a, 2.0, 1.0, 0, 1, nullptr, &r)), "Illegal data value");
    auto wrong = make<double>(6, 1);
    EXPECT_EQ(message(matdbl_threshold(&a, 1.0, 2.0, 0, 1, nullptr, &wrong)), "array size mismatch");
    EXPECT_EQ(message(matdbl_threshold(&a, 1.0, 1.0, 0, 1, nullptr, &a)), "");
    EXPECT_EQ(values(a), (std::vector<double>{0, 1, 0, 0, 0, 1}));
}

TEST_F(HistogramTest, ThresholdMembersAgreeAndCompareInDouble) {
    auto x = make<int32_t>(1, 5, {-3, 0, 2, 3, 2147483647});
    auto r = make<int32_t>(1, 5);
    EXPECT_EQ(message(mats32_threshold(&x, -0.5, 2.5, 0, 1, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<int32_t>{0, 1, 1, 0, 0}));

    std::mt19937 rng(2);
    auto run = [&](auto tag, auto typed, _univ_scalar out, _univ_scalar in, auto vout, auto vin) {
        using T = typename decltype(tag)::type;
        auto a = random_mat<T>(rng, 7, 9);
        auto r1 = make<T>(7, 9), r2 = make<T>(7, 9);
        auto ua = univ(a), u2 = univ(r2);
        const double lo = double(a.data[0]) - 0.5, hi = double(a.data[0]) + 1000.0;
        ASSERT_EQ(message(typed(&a, lo, hi, vout, vin, nullptr, &r1)), "");
        ASSERT_EQ(message(matuniv_threshold(&ua, lo, hi, out, in, nullptr, &u2)), "");
        EXPECT_TRUE(same_bytes(r1, r2)) << detail::elem<T>::code;
        for (int32_t i = 0; i < a.nelem; ++i) {
            const bool inside = double(a.data[i]) >= lo && double(a.data[i]) <= hi;
            ASSERT_EQ(r1.data[i], inside ? T(vin) : T(vout));
        }
    };
    run(detail::type_tag<double>{}, matdbl_threshold, scalar_u8(0), scalar_dbl(2.5), 0.0, 2.5);
    run(detail::type_tag<int32_t>{}, mats32_threshold, scalar_s32(-7), scalar_u16(9), -7, 9);
    run(detail::type_tag<uint16_t>{}, matu16_threshold, scalar_u16(1), scalar_u8(200), uint16_t(1), uint16_t(200));
    run(detail::type_tag<unsigned char>{}, matu8_threshold, scalar_u8(0), scalar_u8(255), uint8_t(0), uint8_t(255));
}

TEST_F(HistogramTest, UniversalThresholdRefusesOtherTypesAndUnfitScalars) {
    auto a = make_univ<unsigned char>(1, 2, {1, 2});
    auto r = make_univ<unsigned char>(1, 2);
    auto d = make_univ<double>(1, 2);
    EXPECT_EQ(message(matuniv_threshold(&a, 0, 1, scalar_u8(0), scalar_u8(1), nullptr, &d)), "Illegal data type");
    EXPECT_EQ(message(matuniv_threshold(&a, 0, 1, scalar_dbl(0), scalar_u8(1), nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(matuniv_threshold(&a, 0, 1, scalar_u8(0), scalar_s32(256), nullptr, &r)), "Illegal data type");
    EXPECT_EQ(::matuniv_threshold(&a, 1, 0, scalar_u8(0), scalar_u8(1), nullptr, &r), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::matuniv_threshold(&a, 0, 1, scalar_u8(0), scalar_u8(1), nullptr, &r), MUTIL_ERR_OK);
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{1, 0}));
}

TEST_F(HistogramTest, TableLookupIndexesByValueWithTheTableConverted) {
    auto x = make<unsigned char>(2, 2, {0, 3, 1, 3});
    auto table = make_univ<double>(1, 4, {10.4, 300.0, -5.0, 20.5});
    auto r = make<unsigned char>(2, 2);
    EXPECT_EQ(message(matu8_table_lookup(&x, &table, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<unsigned char>{10, 21, 255, 21}));  // rounded, clipped

    auto f = make<float>(1, 3, {0.4f, 2.5f, 1.6f});
    auto rf = make<float>(1, 3);
    EXPECT_EQ(message(matflt_table_lookup(&f, &table, nullptr, &rf)), "");
    EXPECT_EQ(values(rf), (std::vector<float>{10.4f, 20.5f, -5.0f}));
    f.data[1] = 3.5f;
    EXPECT_EQ(message(matflt_table_lookup(&f, &table, nullptr, &rf)), "Illegal data value");
    EXPECT_EQ(values(rf), (std::vector<float>{10.4f, 20.5f, -5.0f}));  // untouched
    f.data[1] = NAN;
    EXPECT_EQ(message(matflt_table_lookup(&f, &table, nullptr, &rf)), "Illegal data value");

    auto s = make<int16_t>(1, 2, {-1, 0});
    auto rs = make<int16_t>(1, 2);
    EXPECT_EQ(message(mats16_table_lookup(&s, &table, nullptr, &rs)), "Illegal data value");
    auto wrong = make<int16_t>(2, 1);
    EXPECT_EQ(message(mats16_table_lookup(&s, &table, nullptr, &wrong)), "array size mismatch");
    auto c = make_univ<_dcomplex>(1, 4);
    EXPECT_EQ(message(mats16_table_lookup(&s, &c, nullptr, &rs)), "Illegal data type");
    auto shared = make<double>(1, 4);
    auto utable = univ(shared);
    auto xd = make<double>(1, 4, {0, 1, 2, 9});  // the sharing is refused before the values are read
    EXPECT_EQ(message(matdbl_table_lookup(&xd, &utable, nullptr, &shared)), "Illegal memory address");
}

TEST_F(HistogramTest, TableLookupUniversalMatchesTypedAndWorksInPlace) {
    std::vector<int32_t> entries(65536);
    for (int i = 0; i < 65536; ++i) entries[i] = 65535 - i;
    auto table = make_univ<int32_t>(256, 256, entries);
    std::mt19937 rng(4);
    auto x = random_mat<uint16_t>(rng, 10, 10);
    const std::vector<uint16_t> original = values(x);
    auto r1 = make<uint16_t>(10, 10);
    EXPECT_EQ(message(matu16_table_lookup(&x, &table, nullptr, &r1)), "");
    for (int32_t i = 0; i < 100; ++i) EXPECT_EQ(r1.data[i], 65535 - original[i]);
    auto ux = univ(x);
    EXPECT_EQ(message(matuniv_table_lookup(&ux, &table, nullptr, &ux)), "");
    EXPECT_TRUE(same_bytes(r1, x));
    // Integer elements name the entry of their unsigned bits: s16 shares the u16 body, so a
    // full 16-bit table maps -1 like 65535; s32 negatives name no entry.
    auto s16 = make<int16_t>(1, 3, {-1, 0, -32768});
    auto rs = make<int16_t>(1, 3);
    EXPECT_EQ(message(mats16_table_lookup(&s16, &table, nullptr, &rs)), "");
    EXPECT_EQ(values(rs), (std::vector<int16_t>{0, 32767, 32767}));  // 0; 65535 and 32767 clipped to s16
    auto s32 = make<int32_t>(1, 2, {5, -1});
    auto r32 = make<int32_t>(1, 2);
    EXPECT_EQ(message(mats32_table_lookup(&s32, &table, nullptr, &r32)), "Illegal data value");
    auto d = make_univ<double>(10, 10);
    EXPECT_EQ(message(matuniv_table_lookup(&ux, &table, nullptr, &d)), "Illegal data type");
    EXPECT_EQ(message(matuniv_table_lookup(&ux, nullptr, nullptr, &ux)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
