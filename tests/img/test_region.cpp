// Region merging against a brute-force merging (tests/peers/shape_region.py), seeded growing
// against scikit-image's flood, the formatted grid message and the refusals.
#include <cmath>
#include <cstring>

#include "peer_data.h"

namespace mutils::test {
namespace {

using RegionTest = ArenaTest;
const auto peers = read_peer_file("shape.txt");

TEST_F(RegionTest, MergingMatchesTheBruteForceReference) {
    ASSERT_FALSE(peers.empty()) << "tests/data/peers/shape.txt missing";
    struct Case {
        const char* name;
        int32_t gr, gc;
        double scale;
        int32_t keep;
        bool set;
    } cases[] = {{"g11_s0", 1, 1, 0.0, 1, false},
                 {"g11_s2", 1, 1, 2.0, 1, false},
                 {"g23_inf", 2, 3, INFINITY, 5, false},
                 {"g11_inf", 1, 1, INFINITY, 3, false},
                 {"set_g12_s3", 1, 2, 3.0, 1, true}};
    auto img = peer_as<uint16_t>(peers.at("klm_img"));
    auto band1 = peer_as<double>(peers.at("klm_band1"));
    for (const Case& k : cases) {
        const std::string key = std::string("klm_") + k.name;
        SCOPED_TRACE(key);
        auto labels = make_univ<uint32_t>(12, 14), a0 = make_univ<double>(12, 14), a1 = make_univ<double>(12, 14);
        int32_t count = -1;
        if (k.set) {
            _univ_mat in[2] = {img, band1}, out[2] = {a0, a1};
            int32_t dims[1] = {2};
            _mat_set bands{1, dims, 2, in}, approx{1, dims, 2, out};
            ASSERT_EQ(message(imgset_region_grow_klm(&bands, k.gr, k.gc, k.scale, k.keep, nullptr,
                                                     detail::as<uint32_t>(&labels), &approx, &count)),
                      "");
            EXPECT_LT(max_diff(values_of<double>(a1), peers.at(key + "_approx1").v), 1e-12);
        } else {
            ASSERT_EQ(
                message(imguniv_region_grow_klm(&img, k.gr, k.gc, k.scale, k.keep, nullptr, &labels, &a0, &count)), "");
        }
        EXPECT_EQ(count, int32_t(peers.at(key + "_count").v[0]));
        EXPECT_EQ(as_doubles(labels), peers.at(key + "_labels").v);
        EXPECT_LT(max_diff(values_of<double>(a0), peers.at(key + "_approx0").v), 1e-12);
    }
}

TEST_F(RegionTest, GridBoundIsFormattedIntoTheCallersArena) {
    // Records of more than 2^23 pixels over one element: the checks refuse before any pixel is read.
    double pixel = 0;
    uint32_t label = 0;
    auto big = [&](int32_t r, int32_t c) { return _double_mat{r, c, r * c, &pixel}; };
    auto big_labels = [&](int32_t r, int32_t c) { return _uint32_mat{r, c, r * c, &label}; };
    int32_t count;
    _double_mat a = big(2049, 4097), b = big(1, (1 << 24) + 1);
    _uint32_mat la = big_labels(2049, 4097), lb = big_labels(1, (1 << 24) + 1);
    const char* first = imgdbl_region_grow_klm(&a, 2, 1, 0.0, 1, nullptr, &la, &a, &count);
    const char* second = imgdbl_region_grow_klm(&b, 2, 2, 0.0, 1, nullptr, &lb, &b, &count);
    EXPECT_EQ(message(first), "the initial region grid sizes must be 2 or more");
    EXPECT_EQ(message(second), "the initial region grid sizes must be 3 or more");
    EXPECT_EQ(message(imgdbl_region_grow_klm(&a, 2, 2, -1.0, 1, nullptr, &la, &a, &count)), msg::illegal_data_value);
    auto img = make_univ<unsigned char>(3, 3), lab = make_univ<uint32_t>(3, 3), approx = make_univ<double>(3, 3);
    EXPECT_EQ(message(imguniv_region_grow_klm(&img, 0, 1, 0.0, 1, nullptr, &lab, &approx, &count)),
              "the initial region grid sizes must be 1 or more");
    EXPECT_EQ(::imguniv_region_grow_klm(&img, 1, 0, 0.0, 1, nullptr, &lab, &approx, &count), MUTIL_ERR_OK);
    EXPECT_EQ(::imguniv_region_grow_klm(&img, 1, 1, NAN, 1, nullptr, &lab, &approx, &count), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(message(imguniv_region_grow_klm(&img, 1, 1, 0.0, 0, nullptr, &lab, &approx, &count)),
              msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_region_grow_klm(&img, 1, 1, 0.0, 1, nullptr, &lab, &approx, nullptr)), msg::null_pointer);
}

TEST_F(RegionTest, SeededGrowingMatchesFloodPerSeed) {
    auto img = peer_as<double>(peers.at("seed_img"));
    auto seeds = make<int32_t>(5, 2, std::vector<int32_t>(peers.at("seeds").v.begin(), peers.at("seeds").v.end()));
    const std::tuple<const char*, _img_connected_type, double> cases[] = {{"seeded_c1_t6", IMG_CONNECT_FOUR, 6.0},
                                                                          {"seeded_c2_t6", IMG_CONNECT_EIGHT, 6.0},
                                                                          {"seeded_c2_t0", IMG_CONNECT_EIGHT, 0.0},
                                                                          {"seeded_c1_t30", IMG_CONNECT_FOUR, 30.0}};
    for (auto [name, conn, tol] : cases) {
        SCOPED_TRACE(name);
        auto labels = make_univ<uint32_t>(24, 30);
        ASSERT_EQ(message(imguniv_region_grow_seeded(&img, &seeds, tol, conn, nullptr, &labels)), "");
        EXPECT_EQ(as_doubles(labels), peers.at(name).v);
    }
    auto outside = make<int32_t>(1, 2, {24, 0}), three = make<int32_t>(1, 3);
    auto labels = make_univ<uint32_t>(24, 30);
    EXPECT_EQ(message(imguniv_region_grow_seeded(&img, &outside, 1.0, IMG_CONNECT_FOUR, nullptr, &labels)),
              msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_region_grow_seeded(&img, &seeds, -1.0, IMG_CONNECT_FOUR, nullptr, &labels)),
              msg::illegal_data_value);
    EXPECT_EQ(message(imguniv_region_grow_seeded(&img, &three, 1.0, IMG_CONNECT_FOUR, nullptr, &labels)),
              msg::array_size_mismatch);
}

}  // namespace
}  // namespace mutils::test
