// Neighbourhood filters: local mean, local variance, Wiener and quantile, against the peers'
// answers (tests/peers/filter_color.py) and the invariants of their contracts.
#include <cmath>
#include <limits>

#include "peer_data.h"

namespace mutils::test {
namespace {

using FilterTest = ArenaTest;
const auto peers = read_peer_file("filter.txt");
const auto B0 = MUTIL_BOUNDARY_ZERO, B3 = MUTIL_BOUNDARY_CONTINUE;

/// The peer's input of element type T ("u8", "dbl", ...).
template <class T> _univ_mat input(const char* name) { return peer_as<T>(peers.at(name)); }
std::string key(int wr, int wc, int b) {
    return std::to_string(wr) + "x" + std::to_string(wc) + "_b" + std::to_string(b);
}

TEST_F(FilterTest, LocalMeanAndVarianceMatchUniformFilters) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/filter.txt missing";
    auto u8 = input<unsigned char>("u8"), dbl = input<double>("dbl");
    for (auto [wr, wc] : {std::pair{3, 3}, {4, 5}, {1, 7}, {15, 4}})
        for (auto b : {B0, B3}) {
            SCOPED_TRACE(key(wr, wc, b));
            auto m8 = make_univ<unsigned char>(9, 11), md = make_univ<double>(9, 11), v = make_univ<double>(9, 11);
            ASSERT_EQ(message(imguniv_filter_local_mean(&u8, wr, wc, b, nullptr, &m8)), "");
            ASSERT_EQ(message(imguniv_filter_local_mean(&dbl, wr, wc, b, nullptr, &md)), "");
            ASSERT_EQ(message(imguniv_filter_local_variance(&u8, wr, wc, b, nullptr, &v)), "");
            // Exact integer sums, exact halves rounded up.
            EXPECT_EQ(as_doubles(m8), peers.at("mean_u8_" + key(wr, wc, b)).v);
            EXPECT_LT(max_diff(as_doubles(md), peers.at("mean_dbl_" + key(wr, wc, b)).v), 1e-12);
            EXPECT_LT(max_diff(as_doubles(v), peers.at("var_u8_" + key(wr, wc, b)).v), 1e-8);
        }
}

TEST_F(FilterTest, WienerMatchesTheLocalStatisticsFilterForOddWindows) {
    auto dbl = input<double>("dbl");
    auto* p = static_cast<double*>(dbl.data);
    for (int i = 0; i < dbl.nelem; ++i) p[i] *= 5;
    for (auto [wr, wc] : {std::pair{3, 3}, {3, 5}, {5, 5}})
        for (double noise : {-1.0, 100.0}) {
            auto r = make_univ<double>(9, 11);
            ASSERT_EQ(message(imguniv_filter_wiener(&dbl, wr, wc, noise, B0, nullptr, &r)), "");
            const std::string name =
                "wiener_dbl_" + std::to_string(wr) + "x" + std::to_string(wc) + (noise < 0 ? "_est" : "_100");
            EXPECT_LT(max_diff(as_doubles(r), peers.at(name).v), 1e-9) << name;
        }
}

/// The quantile filter of every exported type against numpy's quantile of the padded windows,
/// for the comparator-network sizes (3 x 3, 4 x 4) and the sliding histograms (5 x 7, 20 x 3).
template <class T> void quantiles_match(const char* name, double tolerance) {
    auto img = input<T>(name);
    for (auto [wr, wc] : {std::pair{3, 3}, {4, 4}, {5, 7}, {20, 3}})
        for (int b = 0; b < 4; ++b)
            for (double q : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                char qs[16];
                std::snprintf(qs, sizeof qs, "%.2g", q);
                std::string k = std::string("quantile_") + name + "_" + key(wr, wc, b) + "_q" + qs;
                if (q == 0 || q == 1) k += ".0";
                auto r = make_univ<T>(9, 11);
                ASSERT_EQ(message(imguniv_filter_quantile(&img, wr, wc, q, _mutil_boundary_type(b), nullptr, &r)), "");
                EXPECT_LE(max_diff(as_doubles(r), peers.at(k).v), tolerance) << k;
            }
}

TEST_F(FilterTest, QuantileMatchesNumpyOnPaddedWindows) {
    quantiles_match<unsigned char>("u8", 0);
    quantiles_match<uint16_t>("u16", 0);
    quantiles_match<int32_t>("s32", 0);
    quantiles_match<double>("dbl", 1e-12);
    auto u8 = input<unsigned char>("u8"), r = make_univ<unsigned char>(9, 11);
    ASSERT_EQ(message(imguniv_filter_quantile(&u8, 5, 7, 0.5, MUTIL_BOUNDARY_REFLECT, nullptr, &r)), "");
    EXPECT_EQ(as_doubles(r), peers.at("median_scipy_u8_5x7_b2").v);
}

TEST_F(FilterTest, InvariantsOfTheStatistics) {
    // A constant image is its own mean, median and Wiener estimate, with variance 0, even on an
    // offset that would cancel in unshifted sums of squares.
    auto flat = make_univ<double>(6, 5, std::vector<double>(30, 1e9 + 0.5));
    auto r = make_univ<double>(6, 5);
    ASSERT_EQ(message(imguniv_filter_local_variance(&flat, 3, 3, B3, nullptr, &r)), "");
    EXPECT_EQ(as_doubles(r), std::vector<double>(30, 0.0));
    ASSERT_EQ(message(imguniv_filter_wiener(&flat, 3, 3, -1, B3, nullptr, &r)), "");
    EXPECT_EQ(as_doubles(r), std::vector<double>(30, 1e9 + 0.5));
    ASSERT_EQ(message(imguniv_filter_quantile(&flat, 4, 2, 0.3, B3, nullptr, &r)), "");
    EXPECT_EQ(as_doubles(r), std::vector<double>(30, 1e9 + 0.5));
    // Large offsets do not disturb the variance: 1e9 + {0, 2} alternating has variance 1 (the
    // first window repeats the edge pixel).
    auto alt = make_univ<double>(1, 8);
    for (int i = 0; i < 8; ++i) static_cast<double*>(alt.data)[i] = 1e9 + 2 * (i % 2);
    auto v = make_univ<double>(1, 8);
    ASSERT_EQ(message(imguniv_filter_local_variance(&alt, 1, 2, B3, nullptr, &v)), "");
    EXPECT_EQ(as_doubles(v), (std::vector<double>{0, 1, 1, 1, 1, 1, 1, 1}));
    // Without noise the Wiener filter gives the image back.
    auto spike = make_univ<unsigned char>(1, 5, {0, 0, 255, 0, 0}), w = make_univ<unsigned char>(1, 5);
    ASSERT_EQ(message(imguniv_filter_wiener(&spike, 1, 3, 0, B0, nullptr, &w)), "");
    EXPECT_EQ(values_of<unsigned char>(w), (std::vector<unsigned char>{0, 0, 255, 0, 0}));
    // Noise larger than every local variance flattens the image to its local mean.
    ASSERT_EQ(message(imguniv_filter_wiener(&spike, 1, 3, 1e9, B0, nullptr, &w)), "");
    EXPECT_EQ(values_of<unsigned char>(w), (std::vector<unsigned char>{0, 85, 85, 85, 0}));
}

TEST_F(FilterTest, WindowsLargerThanTheImageReadThroughTheRule) {
    // One pixel of 40: rule 0 adds zeros to every window, the other rules repeat the pixel.
    auto one = make_univ<uint16_t>(1, 1, {40}), o = make_univ<uint16_t>(1, 1);
    for (auto [wr, wc] : {std::pair{5, 5}, {30, 41}})
        for (int b = 0; b < 4; ++b) {
            const auto rule = _mutil_boundary_type(b);
            for (double q : {0.0, 1.0}) {
                ASSERT_EQ(message(imguniv_filter_quantile(&one, wr, wc, q, rule, nullptr, &o)), "");
                EXPECT_EQ(values_of<uint16_t>(o)[0], b == 0 && q == 0 ? 0 : 40) << wr << " " << b;
            }
            if (b % 3) continue;
            ASSERT_EQ(message(imguniv_filter_local_mean(&one, wr, wc, rule, nullptr, &o)), "");
            EXPECT_EQ(values_of<uint16_t>(o)[0], b == 0 ? std::floor(40.0 / (wr * wc) + 0.5) : 40);
        }
}

TEST_F(FilterTest, Refusals) {
    auto img = make_univ<unsigned char>(4, 5), res = make_univ<unsigned char>(4, 5);
    auto dres = make_univ<double>(4, 5), small = make_univ<unsigned char>(4, 4);
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    auto mean = [&](int wr, int b, _univ_mat* r) {
        return message(imguniv_filter_local_mean(&img, wr, 3, _mutil_boundary_type(b), nullptr, r));
    };
    for (int b : {1, 2, 4, -1}) {
        EXPECT_EQ(mean(3, b, &res), msg::illegal_data_value);
        EXPECT_EQ(message(imguniv_filter_local_variance(&img, 3, 3, _mutil_boundary_type(b), nullptr, &dres)),
                  msg::illegal_data_value);
        EXPECT_EQ(message(imguniv_filter_wiener(&img, 3, 3, 1, _mutil_boundary_type(b), nullptr, &res)),
                  msg::illegal_data_value);
    }
    EXPECT_EQ(message(imguniv_filter_quantile(&img, 3, 3, 0.5, _mutil_boundary_type(4), nullptr, &res)),
              msg::illegal_data_value);
    EXPECT_EQ(mean(0, 0, &res), msg::illegal_data_value);
    EXPECT_EQ(mean(3, 0, &small), msg::array_size_mismatch);
    EXPECT_EQ(mean(3, 0, &img), msg::illegal_memory_address);
    EXPECT_EQ(mean(3, 0, nullptr), msg::null_pointer);
    for (double q : {-0.1, 1.1, nan})
        EXPECT_EQ(message(imguniv_filter_quantile(&img, 3, 3, q, B0, nullptr, &res)), msg::illegal_data_value);
    for (double noise : {nan, inf, -inf})
        EXPECT_EQ(message(imguniv_filter_wiener(&img, 3, 3, noise, B0, nullptr, &res)), msg::illegal_data_value);
    // Types: a variance result must be double; floating images do not go into integer results.
    EXPECT_EQ(message(imguniv_filter_local_variance(&img, 3, 3, B0, nullptr, &res)), msg::illegal_data_type);
    EXPECT_EQ(message(imguniv_filter_quantile(&dres, 3, 3, 0.5, B0, nullptr, &res)), msg::illegal_data_type);
    auto cpx = make_univ<_dcomplex>(4, 5);
    EXPECT_EQ(message(imguniv_filter_local_mean(&cpx, 3, 3, B0, nullptr, &dres)), msg::illegal_data_type);
    // Plain entry points report the table's codes.
    EXPECT_EQ(::imguniv_filter_quantile(&img, 3, 3, 2.0, B0, nullptr, &res), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::imguniv_filter_wiener(&img, 3, 3, -1, B0, nullptr, &res), MUTIL_ERR_OK);
}

}  // namespace
}  // namespace mutils::test
