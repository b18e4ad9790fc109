// Colour images: grey levels, palettes and colour spaces, against OpenCV, scikit-image and scipy
// answers (tests/peers/filter_color.py), round trips and refusals.
#include <cmath>

#include "peer_data.h"

namespace mutils::test {
namespace {

using ColorTest = ArenaTest;
const auto peers = read_peer_file("color.txt");

/// A set of the given planes.
_mat_set set_of(std::vector<_univ_mat> planes) {
    _mat_set s;
    int32_t n = int32_t(planes.size());
    matset_malloc(&s, 1, &n);
    for (int32_t i = 0; i < n; ++i) s.mats[i] = planes[i];
    return s;
}
/// Three planes named prefix_0 ... prefix_2 in the peer file, as T.
template <class T> _mat_set peer_set(const std::string& prefix) {
    std::vector<_univ_mat> p;
    for (int i = 0; i < 3; ++i) p.push_back(peer_as<T>(peers.at(prefix + "_" + std::to_string(i))));
    return set_of(p);
}
template <class T> _mat_set blank_set(int32_t planes) {
    std::vector<_univ_mat> p;
    for (int32_t i = 0; i < planes; ++i) p.push_back(make_univ<T>(6, 7));
    return set_of(p);
}
double set_diff(const _mat_set& a, const _mat_set& b) {
    double d = 0;
    for (int i = 0; i < a.nmat; ++i) d = std::max(d, max_diff(as_doubles(a.mats[i]), as_doubles(b.mats[i])));
    return d;
}

TEST_F(ColorTest, GreyLevelsMatchOpenCV) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/color.txt missing";
    auto u8 = peer_set<unsigned char>("rgb_u8"), dbl = peer_set<double>("rgb_dbl");
    auto g8 = make_univ<unsigned char>(6, 7), gd = make_univ<double>(6, 7), g16 = make_univ<uint16_t>(6, 7);
    ASSERT_EQ(message(imgset_color_to_grayscale(&u8, nullptr, &g8)), "");
    EXPECT_LE(max_diff(as_doubles(g8), peers.at("gray_u8").v), 1.0);  // OpenCV rounds in fixed point
    ASSERT_EQ(message(imgset_color_to_grayscale(&dbl, nullptr, &gd)), "");
    EXPECT_LT(max_diff(as_doubles(gd), peers.at("gray_flt").v), 1e-6);
    // Our 8-bit answer is the exact rounding of the luma, whatever the result type.
    ASSERT_EQ(message(imgset_color_to_grayscale(&u8, nullptr, &g16)), "");
    EXPECT_EQ(as_doubles(g16), as_doubles(g8));
    auto r = make_univ<unsigned char>(1, 1, {1}), g = make_univ<unsigned char>(1, 1, {0}),
         b = make_univ<unsigned char>(1, 1, {0});
    auto one = set_of({r, g, b});
    auto y = make_univ<double>(1, 1);
    ASSERT_EQ(message(imgset_color_to_grayscale(&one, nullptr, &y)), "");
    EXPECT_EQ(values_of<double>(y)[0], 0.299);
    // One plane is copied into the result's type (saturating).
    auto wide = set_of({make_univ<int32_t>(1, 3, {-5, 70, 300})});
    auto c8 = make_univ<unsigned char>(1, 3);
    ASSERT_EQ(message(imgset_color_to_grayscale(&wide, nullptr, &c8)), "");
    EXPECT_EQ(values_of<unsigned char>(c8), (std::vector<unsigned char>{0, 70, 255}));
}

TEST_F(ColorTest, SpacesMatchScikitImageAndOpenCV) {
    auto rgb = peer_set<double>("rgb_dbl");
    const std::pair<_img_color_space, const char*> spaces[] = {
        {IMG_COLOR_HSV, "hsv"}, {IMG_COLOR_XYZ, "xyz"}, {IMG_COLOR_LAB, "lab"}, {IMG_COLOR_YCBCR, "ycbcr"}};
    for (auto [space, name] : spaces) {
        SCOPED_TRACE(name);
        auto out = blank_set<double>(3), back = blank_set<double>(3);
        ASSERT_EQ(message(imgset_color_convert(&rgb, IMG_COLOR_RGB, space, nullptr, &out)), "");
        // OpenCV's YCrCb coefficients are rounded to three places.
        EXPECT_LT(set_diff(out, peer_set<double>(name)), space == IMG_COLOR_YCBCR ? 1e-3 : 1e-10);
        ASSERT_EQ(message(imgset_color_convert(&out, space, IMG_COLOR_RGB, nullptr, &back)), "");
        EXPECT_LT(set_diff(back, rgb), 1e-12);
        // Between two other spaces the path runs through RGB.
        auto lab = blank_set<double>(3);
        ASSERT_EQ(message(imgset_color_convert(&out, space, IMG_COLOR_LAB, nullptr, &lab)), "");
        EXPECT_LT(set_diff(lab, peer_set<double>("lab")), 1e-9);
    }
}

TEST_F(ColorTest, IntegerPlanesScaleAndRoundTrip) {
    auto u8 = peer_set<unsigned char>("rgb_u8"), hsv = blank_set<double>(3), back = blank_set<unsigned char>(3);
    auto unit = blank_set<float>(3), wide = blank_set<uint16_t>(3);
    ASSERT_EQ(message(imgset_color_convert(&u8, IMG_COLOR_RGB, IMG_COLOR_HSV, nullptr, &hsv)), "");
    ASSERT_EQ(message(imgset_color_convert(&hsv, IMG_COLOR_HSV, IMG_COLOR_RGB, nullptr, &back)), "");
    EXPECT_EQ(set_diff(back, u8), 0);
    // RGB to RGB rescales: 8-bit v is v / 255 in float planes and 257 v in 16-bit planes.
    ASSERT_EQ(message(imgset_color_convert(&u8, IMG_COLOR_RGB, IMG_COLOR_RGB, nullptr, &unit)), "");
    ASSERT_EQ(message(imgset_color_convert(&u8, IMG_COLOR_RGB, IMG_COLOR_RGB, nullptr, &wide)), "");
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 42; ++k) {
            const int v = static_cast<unsigned char*>(u8.mats[i].data)[k];
            EXPECT_FLOAT_EQ(static_cast<float*>(unit.mats[i].data)[k], float(v / 255.0));
            EXPECT_EQ(static_cast<uint16_t*>(wide.mats[i].data)[k], 257 * v);
        }
}

TEST_F(ColorTest, PalettesMapBothWays) {
    auto u8 = peer_set<unsigned char>("rgb_u8"), planes = blank_set<double>(3);
    auto palette = peer_as<double>(peers.at("palette")), index = make_univ<uint16_t>(6, 7);
    ASSERT_EQ(message(imgset_color_to_palette(&u8, &palette, nullptr, &index)), "");
    EXPECT_EQ(as_doubles(index), peers.at("palette_index").v);
    ASSERT_EQ(message(imgset_color_from_palette(&index, &palette, nullptr, &planes)), "");
    const double* pal = static_cast<const double*>(palette.data);
    for (int i = 0; i < 42; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_EQ(values_of<double>(planes.mats[j])[i], pal[values_of<uint16_t>(index)[i] * 3 + j]);
    // The colours of the palette map back to themselves; a repeated colour to its first row.
    auto again = make_univ<int32_t>(6, 7);
    ASSERT_EQ(message(imgset_color_to_palette(&planes, &palette, nullptr, &again)), "");
    EXPECT_EQ(as_doubles(again), as_doubles(index));
    // Refusals: an index outside the palette, an index type too narrow for K - 1 or not integer.
    auto bad = make_univ<int32_t>(6, 7);
    static_cast<int32_t*>(bad.data)[9] = 12;
    EXPECT_EQ(message(imgset_color_from_palette(&bad, &palette, nullptr, &planes)), msg::illegal_data_value);
    static_cast<int32_t*>(bad.data)[9] = -1;
    EXPECT_EQ(::imgset_color_from_palette(&bad, &palette, nullptr, &planes), MUTIL_ERR_ILLEGAL_VALUE);
    auto big = make_univ<double>(300, 3), i8 = make_univ<unsigned char>(6, 7), f = make_univ<float>(6, 7);
    EXPECT_EQ(message(imgset_color_to_palette(&u8, &big, nullptr, &i8)), msg::illegal_data_value);
    EXPECT_EQ(message(imgset_color_to_palette(&u8, &palette, nullptr, &f)), msg::illegal_data_type);
    EXPECT_EQ(message(imgset_color_from_palette(&f, &palette, nullptr, &planes)), msg::illegal_data_type);
    auto two = blank_set<double>(2);
    EXPECT_EQ(message(imgset_color_from_palette(&index, &palette, nullptr, &two)), msg::array_size_mismatch);
}

TEST_F(ColorTest, Refusals) {
    auto u8 = peer_set<unsigned char>("rgb_u8"), d = blank_set<double>(3), two = blank_set<double>(2);
    auto grey = make_univ<double>(6, 7), small = make_univ<double>(5, 7);
    EXPECT_EQ(message(imgset_color_to_grayscale(&two, nullptr, &grey)), msg::array_size_mismatch);
    EXPECT_EQ(message(imgset_color_to_grayscale(&u8, nullptr, &small)), msg::array_size_mismatch);
    EXPECT_EQ(message(imgset_color_to_grayscale(nullptr, nullptr, &grey)), msg::null_pointer);
    EXPECT_EQ(message(imgset_color_to_grayscale(&d, nullptr, &d.mats[1])), msg::illegal_memory_address);
    auto cpx = make_univ<_dcomplex>(6, 7);
    EXPECT_EQ(::imgset_color_to_grayscale(&u8, nullptr, &cpx), MUTIL_ERR_ILLEGAL_TYPE);
    EXPECT_EQ(message(imgset_color_convert(&u8, IMG_COLOR_RGB, _img_color_space(5), nullptr, &d)),
              msg::illegal_data_value);
    EXPECT_EQ(message(imgset_color_convert(&u8, _img_color_space(-1), IMG_COLOR_HSV, nullptr, &d)),
              msg::illegal_data_value);
    EXPECT_EQ(message(imgset_color_convert(&u8, IMG_COLOR_HSV, IMG_COLOR_RGB, nullptr, &d)), msg::illegal_data_type);
    auto s32 = blank_set<int32_t>(3);
    EXPECT_EQ(message(imgset_color_convert(&d, IMG_COLOR_RGB, IMG_COLOR_RGB, nullptr, &s32)), msg::illegal_data_type);
    EXPECT_EQ(message(imgset_color_convert(&d, IMG_COLOR_RGB, IMG_COLOR_HSV, nullptr, &two)), msg::array_size_mismatch);
    EXPECT_EQ(message(imgset_color_convert(&d, IMG_COLOR_RGB, IMG_COLOR_HSV, nullptr, &d)),
              msg::illegal_memory_address);
}

}  // namespace
}  // namespace mutils::test
