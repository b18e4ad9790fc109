// Moments, Hu's invariants and shape features against the peers' answers
// (tests/peers/shape_region.py), the invariances Hu's moments promise, and the refusals.
#include <cmath>

#include "peer_data.h"

namespace mutils::test {
namespace {

using MomentsTest = ArenaTest;
const auto peers = read_peer_file("shape.txt");
constexpr double kPeerNaN = -1e300;  // how the peer file writes NaN

/// Relative closeness, NaN matching NaN.
void expect_close(const std::vector<double>& got, const PeerMatrix& want, double rel) {
    ASSERT_EQ(got.size(), want.v.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (want.v[i] == kPeerNaN) {
            EXPECT_TRUE(std::isnan(got[i])) << "element " << i;
        } else {
            EXPECT_NEAR(got[i], want.v[i], rel * (1 + std::abs(want.v[i]))) << "element " << i;
        }
    }
}

TEST_F(MomentsTest, RawCentralNormalisedAndHuMatchPeers) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/shape.txt missing";
    auto img = peer_as<unsigned char>(peers.at("mom_img"));
    const std::pair<const char*, _img_moment_type> cases[] = {
        {"mom_raw5", IMG_MOMENT_RAW}, {"mom_central3", IMG_MOMENT_CENTRAL}, {"mom_normalised3", IMG_MOMENT_NORMALISED}};
    for (auto [name, type] : cases) {
        SCOPED_TRACE(name);
        const PeerMatrix& want = peers.at(name);
        auto m = make_univ<double>(want.rows, want.cols);
        ASSERT_EQ(message(imguniv_moments(&img, type, nullptr, &m)), "");
        expect_close(values_of<double>(m), want, 1e-9);
    }
    auto hu = make_univ<double>(1, 7);
    ASSERT_EQ(message(imguniv_moment_invariant(&img, nullptr, &hu)), "");
    expect_close(values_of<double>(hu), peers.at("mom_hu"), 1e-9);
}

TEST_F(MomentsTest, HuInvariantsSurviveQuarterTurnsAndMirrorsFlipTheSkewOne) {
    auto img = make<double>(13, 17, peers.at("mom_img").v);
    auto turned = make<double>(17, 13), mirrored = make<double>(13, 17);
    for (int r = 0; r < 13; ++r)
        for (int c = 0; c < 17; ++c) {
            turned.data[(16 - c) * 13 + r] = img.data[r * 17 + c];
            mirrored.data[r * 17 + (16 - c)] = img.data[r * 17 + c];
        }
    auto h = make<double>(7, 1), ht = make<double>(7, 1), hm = make<double>(1, 7);
    ASSERT_EQ(message(imgdbl_moment_invariant(&img, nullptr, &h)), "");
    ASSERT_EQ(message(imgdbl_moment_invariant(&turned, nullptr, &ht)), "");
    ASSERT_EQ(message(imgdbl_moment_invariant(&mirrored, nullptr, &hm)), "");
    for (int k = 0; k < 7; ++k) {
        const double tol = 1e-9 * std::abs(h.data[k]) + 1e-300;
        EXPECT_NEAR(ht.data[k], h.data[k], tol) << k;
        EXPECT_NEAR(hm.data[k], k == 6 ? -h.data[k] : h.data[k], tol) << k;
    }
}

TEST_F(MomentsTest, ShapeFeaturesMatchRegionpropsContoursAndHulls) {
    auto labels = peer_as<uint32_t>(peers.at("shape_labels"));
    const PeerMatrix& want = peers.at("shape_features");
    auto f = make_univ<double>(want.rows, 18);
    ASSERT_EQ(message(imguniv_shape_features(&labels, nullptr, &f)), "");
    const auto got = values_of<double>(f);
    for (int k = 0; k < want.rows; ++k)
        for (int j = 0; j < 18; ++j) {
            const double w = want.v[k * 18 + j], g = got[k * 18 + j];
            if (w == 1e300) continue;  // orientation where the peer takes a branch of its own
            SCOPED_TRACE("label " + std::to_string(k + 1) + " column " + std::to_string(j));
            if (w == kPeerNaN)
                EXPECT_TRUE(std::isnan(g));
            else  // the peer's contour lengths are summed in single precision
                EXPECT_NEAR(g, w, (j == 7 || j == 16 ? 1e-5 : 1e-9) * (1 + std::abs(w)));
        }
}

TEST_F(MomentsTest, RefusalsComeInTheDocumentedOrder) {
    auto img = make<unsigned char>(4, 5), one = make<unsigned char>(4, 5, {0, 0, 7});
    auto m = make<double>(3, 3), wide = make<double>(3, 4), hu = make<double>(7, 2);
    EXPECT_EQ(message(imgu8_moments(&img, IMG_MOMENT_RAW, nullptr, &wide)), msg::array_size_mismatch);
    EXPECT_EQ(message(imgu8_moments(&img, _img_moment_type(3), nullptr, &m)), msg::illegal_data_value);
    EXPECT_EQ(message(imgu8_moments(&img, IMG_MOMENT_RAW, nullptr, &m)), "");
    EXPECT_EQ(message(imgu8_moments(&img, IMG_MOMENT_CENTRAL, nullptr, &m)), msg::illegal_data_value);
    EXPECT_EQ(message(imgu8_moment_invariant(&one, nullptr, &hu)), msg::array_size_mismatch);
    EXPECT_EQ(::imguniv_moment_invariant(nullptr, nullptr, nullptr), MUTIL_ERR_OK);  // "null pointer" has no code
    auto lab = make_univ<int32_t>(2, 2, {0, 1, -1, 2}), feat = make_univ<double>(2, 18);
    auto narrow = make_univ<double>(2, 17), flt = make_univ<float>(2, 2);
    EXPECT_EQ(message(imguniv_shape_features(&lab, nullptr, &narrow)), msg::array_size_mismatch);
    EXPECT_EQ(message(imguniv_shape_features(&lab, nullptr, &feat)), msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_shape_features(&flt, nullptr, &feat)), msg::illegal_data_type);
    EXPECT_EQ(::imguniv_shape_features(&lab, nullptr, &feat), MUTIL_ERR_ILLEGAL_VALUE);
}

}  // namespace
}  // namespace mutils::test
