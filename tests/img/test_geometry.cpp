// Geometric transforms: rotation, scaling, warps and the tie-point fit, against the peers' answers
// (tests/peers/geometry.py) and the invariants of their contracts.
#include <cmath>

#include "peer_data.h"

namespace mutils::test {
namespace {

using GeometryTest = ArenaTest;
const auto peers = read_peer_file("geometry.txt");
const double kFill = 7.25;

_univ_mat image() { return peer_as<double>(peers.at("img")); }

/// The peer matrix `name` as a double record (storage from the arena).
_double_mat record(const std::string& name) {
    _univ_mat u = peer_as<double>(peers.at(name));
    return *detail::as<double>(&u);
}

/// Runs op on the double image and on its values rounded into u8, and checks that the u8 result
/// is the double result stored by the rounding rule (floor(v + 1/2), clipped).
template <class Op> std::vector<double> both_types(int32_t nr, int32_t nc, Op op) {
    _univ_mat dbl = image(), u8 = make_univ<unsigned char>(dbl.nrow, dbl.ncol);
    matuniv_cast(&dbl, 1, nullptr, &u8);
    _univ_mat from_u8 = make_univ<double>(dbl.nrow, dbl.ncol), r8 = make_univ<unsigned char>(nr, nc);
    matuniv_cast(&u8, 0, nullptr, &from_u8);
    auto rd = make_univ<double>(nr, nc), rd8 = make_univ<double>(nr, nc);
    EXPECT_EQ(message(op(&dbl, &rd)), "");
    EXPECT_EQ(message(op(&from_u8, &rd8)), "");
    EXPECT_EQ(message(op(&u8, &r8)), "");
    std::vector<double> expect;
    for (double v : as_doubles(rd8)) expect.push_back(std::clamp(std::floor(v + 0.5), 0.0, 255.0));
    EXPECT_EQ(as_doubles(r8), expect);
    return as_doubles(rd);
}

TEST_F(GeometryTest, RotationMatchesSkimageForEveryInterpolationAndSize) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/geometry.txt missing";
    for (const char* angle : {"30.0", "-47.5"})
        for (int order : {0, 1, 3})
            for (const char* size : {"", "_22x25"}) {
                const std::string key = std::string("rotate_") + angle + "_" + std::to_string(order) + size;
                const auto& want = peers.at(key);
                const auto interp = _img_interp_type(order == 3 ? 2 : order);
                auto got = both_types(want.rows, want.cols, [&](const _univ_mat* a, _univ_mat* r) {
                    return imguniv_rotate(a, std::stod(angle), interp, kFill, nullptr, r);
                });
                EXPECT_LT(max_diff(got, want.v), 1e-9) << key;
            }
}

TEST_F(GeometryTest, ScalingMatchesResizeAndAreaMeans) {
    for (const char* key :
         {"scale_7x9_0", "scale_7x9_1", "scale_7x9_2", "scale_20x30_0", "scale_20x30_1", "scale_20x30_2",
          "scale_13x40_0", "scale_13x40_1", "scale_13x40_2", "scale_7x9_3", "scale_5x6_3"}) {
        const auto& want = peers.at(key);
        const auto interp = _img_interp_type(std::string(key).back() - '0');
        auto got = both_types(want.rows, want.cols,
                              [&](const _univ_mat* a, _univ_mat* r) { return imguniv_scale(a, interp, nullptr, r); });
        // OpenCV's area weights are single precision.
        EXPECT_LT(max_diff(got, want.v), interp == IMG_INTERP_AREA ? 1e-4 : 1e-9) << key;
    }
    // Integer block means are exact, halves rounded up, by the block path (2 x 2) and the
    // separable one (3 x 4 is not a power of two; 5 x 3 from 12 x 16 is not a block reduction).
    auto a = make_univ<uint16_t>(12, 16);
    for (int i = 0; i < a.nelem; ++i) static_cast<uint16_t*>(a.data)[i] = uint16_t((i * 7919) % 65536);
    for (auto [nr, nc] : {std::pair{6, 8}, {4, 4}, {5, 3}}) {
        auto r = make_univ<uint16_t>(nr, nc);
        ASSERT_EQ(message(imguniv_scale(&a, IMG_INTERP_AREA, nullptr, &r)), "");
        for (int R = 0; R < nr; ++R)
            for (int C = 0; C < nc; ++C) {
                // Exact rational mean over the footprint in units of 1/nr, 1/nc pixel.
                int64_t s = 0;
                for (int i = 0; i < 12; ++i)
                    for (int j = 0; j < 16; ++j) {
                        const int64_t wr =
                            std::max<int64_t>(0, std::min((R + 1) * 12, (i + 1) * nr) - std::max(R * 12, i * nr));
                        const int64_t wc =
                            std::max<int64_t>(0, std::min((C + 1) * 16, (j + 1) * nc) - std::max(C * 16, j * nc));
                        s += wr * wc * static_cast<uint16_t*>(a.data)[i * 16 + j];
                    }
                EXPECT_EQ(static_cast<uint16_t*>(r.data)[R * nc + C], (2 * s + 192) / 384) << nr << "x" << nc;
            }
    }
}

TEST_F(GeometryTest, QuarterTurnsAreExactPermutations) {
    auto a = make_univ<int32_t>(5, 7);
    for (int i = 0; i < 35; ++i) static_cast<int32_t*>(a.data)[i] = i * 1000003 - 17000000;
    auto at = [&](int r, int c) { return static_cast<int32_t*>(a.data)[r * 7 + c]; };
    for (double angle : {90.0, 180.0, 270.0, -90.0, 450.0})
        for (int interp = 0; interp < 3; ++interp) {
            const int q = (int(angle) / 90 % 4 + 4) % 4;
            auto r = q % 2 ? make_univ<int32_t>(7, 5) : make_univ<int32_t>(5, 7);
            ASSERT_EQ(message(imguniv_rotate(&a, angle, _img_interp_type(interp), 0, nullptr, &r)), "");
            for (int R = 0; R < r.nrow; ++R)
                for (int C = 0; C < r.ncol; ++C) {
                    // Counter-clockwise: the first result row shows the last image column (90).
                    const int want = q == 0   ? at(R, C)
                                     : q == 1 ? at(C, 6 - R)
                                     : q == 2 ? at(4 - R, 6 - C)
                                              : at(4 - C, R);
                    ASSERT_EQ(static_cast<int32_t*>(r.data)[R * r.ncol + C], want) << angle << " " << interp;
                }
        }
}

TEST_F(GeometryTest, TiePointFitIsTheLeastSquaresPolynomial) {
    for (int d = 1; d <= 3; ++d) {
        SCOPED_TRACE(d);
        _double_mat ties = record("ties_" + std::to_string(d)), want = record("fit_" + std::to_string(d));
        auto coef = make<double>(2, want.ncol);
        double rms = -1;
        ASSERT_EQ(message(imgdbl_warp_tiepoint_fit(&ties, d, nullptr, &coef, &rms)), "");
        for (int k = 0; k < coef.nelem; ++k)
            EXPECT_NEAR(coef.data[k], want.data[k], 1e-9 * std::max(1.0, std::abs(want.data[k]))) << k;
        EXPECT_NEAR(rms, peers.at("rms_" + std::to_string(d)).v[0], 1e-12);
        // The warp by tie points is the warp by the fitted parameters.
        _univ_mat img = image(), r1 = make_univ<double>(9, 10), r2 = make_univ<double>(9, 10);
        ASSERT_EQ(message(imguniv_warp_tiepoint(&img, &ties, d, IMG_INTERP_BICUBIC, kFill, nullptr, &r1)), "");
        ASSERT_EQ(message(imguniv_warp_parameter(&img, &coef, IMG_INTERP_BICUBIC, kFill, nullptr, &r2)), "");
        EXPECT_EQ(as_doubles(r1), as_doubles(r2));
    }
}

TEST_F(GeometryTest, WarpsMatchSkimage) {
    _double_mat poly = record("poly"), h = record("projective");
    for (const char* key : {"poly_0", "poly_1", "projective_0", "projective_1", "projective_3"}) {
        const auto& want = peers.at(key);
        const int order = std::string(key).back() - '0';
        auto got = both_types(want.rows, want.cols, [&](const _univ_mat* a, _univ_mat* r) {
            return imguniv_warp_parameter(a, key[0] == 'p' && key[1] == 'o' ? &poly : &h,
                                          _img_interp_type(order == 3 ? 2 : order), kFill, nullptr, r);
        });
        EXPECT_LT(max_diff(got, want.v), 1e-9) << key;
    }
}

TEST_F(GeometryTest, SetsTransformEveryPlane) {
    _univ_mat planes[2] = {image(), image()}, outs[2] = {make_univ<double>(8, 8), make_univ<double>(8, 8)};
    static_cast<double*>(planes[1].data)[3] = -40;
    int32_t dims[1] = {2}, out_dims[1] = {2};
    _mat_set in{1, dims, 2, planes}, out{1, out_dims, 2, outs};
    ASSERT_EQ(message(imgset_rotate(&in, 12, IMG_INTERP_BILINEAR, 1, nullptr, &out)), "");
    for (int p = 0; p < 2; ++p) {
        auto one = make_univ<double>(8, 8);
        ASSERT_EQ(message(imguniv_rotate(&planes[p], 12, IMG_INTERP_BILINEAR, 1, nullptr, &one)), "");
        EXPECT_EQ(as_doubles(one), as_doubles(outs[p]));
    }
    out.nmat = out_dims[0] = 1;
    EXPECT_EQ(message(imgset_scale(&in, IMG_INTERP_AREA, nullptr, &out)), msg::array_size_mismatch);
    EXPECT_EQ(message(imgset_scale(nullptr, IMG_INTERP_AREA, nullptr, &out)), msg::null_pointer);
}

TEST_F(GeometryTest, RefusalsInTheirOrder) {
    _univ_mat img = image(), r = make_univ<double>(5, 5), r8 = make_univ<unsigned char>(5, 5);
    _double_mat ties = record("ties_2"), coef = make<double>(2, 6), bad = make<double>(2, 4);
    double rms;
    const auto B = IMG_INTERP_BILINEAR;
    EXPECT_EQ(message(imguniv_rotate(&img, 10, IMG_INTERP_AREA, 0, nullptr, &r)), msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_rotate(&img, NAN, B, 0, nullptr, &r)), msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_rotate(&img, 10, B, INFINITY, nullptr, &r)), msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_scale(&img, _img_interp_type(4), nullptr, &r)), msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_rotate(&img, 10, B, 0, nullptr, &r8)), msg::illegal_data_type);
    EXPECT_EQ(message(imguniv_rotate(&img, 10, B, 0, nullptr, &img)), msg::illegal_memory_address);
    EXPECT_EQ(message(imguniv_rotate(nullptr, 10, B, 0, nullptr, &r)), msg::null_pointer);
    EXPECT_EQ(message(imguniv_warp_parameter(&img, &bad, B, 0, nullptr, &r)), msg::array_size_mismatch);
    coef.data[4] = NAN;
    EXPECT_EQ(message(imguniv_warp_parameter(&img, &coef, B, 0, nullptr, &r)), msg::illegal_data_value);
    EXPECT_EQ(message(imgdbl_warp_tiepoint_fit(&ties, 4, nullptr, &coef, &rms)), msg::illegal_data_value);
    EXPECT_EQ(message(imgdbl_warp_tiepoint_fit(&ties, 1, nullptr, &coef, &rms)), msg::array_size_mismatch);
    _double_mat few{5, 4, 20, ties.data};
    EXPECT_EQ(message(imgdbl_warp_tiepoint_fit(&few, 2, nullptr, &coef, &rms)), msg::array_size_mismatch);
    // Six points on a circle do not fix a quadratic.
    auto circle = make<double>(6, 4);
    for (int i = 0; i < 6; ++i) {
        const double t = i * 1.1;
        circle.data[4 * i] = circle.data[4 * i + 2] = 10 * std::cos(t);
        circle.data[4 * i + 1] = circle.data[4 * i + 3] = 10 * std::sin(t);
    }
    EXPECT_EQ(message(imgdbl_warp_tiepoint_fit(&circle, 2, nullptr, &coef, &rms)), msg::singular_matrix);
    EXPECT_EQ(::imguniv_warp_tiepoint(&img, &circle, 2, B, 0, nullptr, &r), 0);  // no code for "singular matrix"
    EXPECT_NE(::imguniv_rotate(&img, 10, IMG_INTERP_AREA, 0, nullptr, &r), 0);
    EXPECT_EQ(::imguniv_scale(&img, B, nullptr, &r), MUTIL_ERR_OK);
}

TEST_F(GeometryTest, HostileValuesGiveTheFillOrARefusal) {
    _univ_mat img = image(), r = make_univ<double>(4, 3);
    EXPECT_EQ(message(imguniv_rotate(&img, 1e300, IMG_INTERP_BICUBIC, 3, nullptr, &r)), "");
    // Source points far outside (or w <= 0 for the projective map) read the fill.
    auto h = make<double>(3, 3, {1e300, 0, 1e300, 0, 1e300, 1e300, 0, 0, 1});
    for (int interp = 0; interp < 3; ++interp) {
        ASSERT_EQ(message(imguniv_warp_parameter(&img, &h, _img_interp_type(interp), 3, nullptr, &r)), "");
        EXPECT_EQ(as_doubles(r), std::vector<double>(12, 3.0));
    }
    h.data[8] = -1;
    ASSERT_EQ(message(imguniv_warp_parameter(&img, &h, IMG_INTERP_BILINEAR, 3, nullptr, &r)), "");
    EXPECT_EQ(as_doubles(r), std::vector<double>(12, 3.0));
    auto ties = make<double>(3, 4, {1e300, 0, 0, 0, 0, 1e300, 1, 1, -1e300, -1e300, 2, 2});
    auto coef = make<double>(2, 3);
    double rms;
    EXPECT_NE(message(imgdbl_warp_tiepoint_fit(&ties, 1, nullptr, &coef, &rms)), "x");  // any answer, no crash
}

}  // namespace
}  // namespace mutils::test
