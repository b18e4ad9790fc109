// Connected components against a flood fill that numbers regions by their first pixel.
#include <deque>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using ComponentsTest = ArenaTest;

/// Flood-fill labels of a volume (planes x rows x cols, 0/1 mask) with the given neighbour
/// offsets, numbered in scan order, small regions dropped; returns the count with background.
uint32_t flood(const std::vector<int>& mask, int planes, int rows, int cols, bool eight, bool volume,
               uint32_t min_size, std::vector<uint32_t>& lab) {
    lab.assign(mask.size(), 0);
    std::vector<std::vector<int>> regions;
    for (int start = 0; start < int(mask.size()); ++start) {
        if (!mask[start] || lab[start]) continue;
        regions.emplace_back();
        uint32_t id = uint32_t(regions.size());
        std::deque<int> q{start};
        lab[start] = id;
        while (!q.empty()) {
            int p = q.front();
            q.pop_front();
            regions.back().push_back(p);
            int z = p / (rows * cols), y = p / cols % rows, x = p % cols;
            for (int dz = -1; dz <= 1; ++dz)
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        int n = std::abs(dz) + std::abs(dy) + std::abs(dx);
                        if (n == 0 || (volume ? n != 1 : dz != 0 || (!eight && n != 1))) continue;
                        int zz = z + dz, yy = y + dy, xx = x + dx;
                        if (zz < 0 || zz >= planes || yy < 0 || yy >= rows || xx < 0 || xx >= cols) continue;
                        int k = (zz * rows + yy) * cols + xx;
                        if (mask[k] && !lab[k]) lab[k] = id, q.push_back(k);
                    }
        }
    }
    if (min_size < 2) return uint32_t(regions.size()) + 1;
    uint32_t kept = 0;
    for (auto& reg : regions) {
        uint32_t v = reg.size() >= min_size ? ++kept : 0;
        for (int p : reg) lab[p] = v;
    }
    return kept + 1;
}

template <class T> void check_against_flood(std::mt19937& g) {
    for (int trial = 0; trial < 40; ++trial) {
        Hux::ArenaScope scope;
        int rows = 1 + g() % 12, cols = 1 + g() % 150;
        int density = 1 + g() % 4;  // object share 1/5 .. 4/5
        _univ_mat img = make_univ<T>(rows, cols), lab = make_univ<uint32_t>(rows, cols);
        std::vector<int> mask(rows * cols);
        T* p = static_cast<T*>(img.data);
        for (int k = 0; k < rows * cols; ++k) {
            mask[k] = int(g() % 5) < density;
            p[k] = mask[k] ? T(6) : T(g() % 5);
        }
        _univ_scalar v{};
        v.type = img.type;
        const T six = T(6);
        std::memcpy(&v.val, &six, sizeof(T));
        for (int conn : {0, 1, 8}) {
            uint32_t min_size = trial % 3 == 0 ? 3 : trial % 3;
            uint32_t count = 0;
            std::vector<uint32_t> want;
            uint32_t want_count = flood(mask, 1, rows, cols, conn != 0, false, min_size, want);
            ASSERT_EQ(message(imguniv_connected_components(&img, _img_connected_type(conn), v, min_size, nullptr,
                                                           &lab, &count)),
                      "");
            ASSERT_EQ(count, want_count) << trial;
            ASSERT_EQ(values_of<uint32_t>(lab), want) << trial << " conn " << conn;
        }
    }
}

TEST_F(ComponentsTest, LabelsMatchFloodFillInBothConnectivities) {
    std::mt19937 g(7);
    check_against_flood<unsigned char>(g);
    check_against_flood<int16_t>(g);
    check_against_flood<int32_t>(g);
    check_against_flood<double>(g);
}

TEST_F(ComponentsTest, ShapesThatMergeLateOrOnlyDiagonally) {
    // A U whose arms meet in the last row: one label.
    _uint8_mat u = make<unsigned char>(3, 3, {1, 0, 1, 1, 0, 1, 1, 1, 1});
    _uint32_mat lab = make<uint32_t>(3, 3);
    uint32_t count = 0;
    EXPECT_EQ(message(imgu8_connected_components(&u, IMG_CONNECT_FOUR, 1, 0, nullptr, &lab, &count)), "");
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(values(lab), (std::vector<uint32_t>{1, 0, 1, 1, 0, 1, 1, 1, 1}));
    // Diagonal neighbours: one object with eight neighbours, two with four.
    _double_mat d = make<double>(2, 2, {5, 0, 0, 5});
    _uint32_mat l2 = make<uint32_t>(2, 2);
    EXPECT_EQ(message(imgdbl_connected_components(&d, IMG_CONNECT_EIGHT, 5.0, 1, nullptr, &l2, &count)), "");
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(message(imgdbl_connected_components(&d, IMG_CONNECT_FOUR, 5.0, 1, nullptr, &l2, &count)), "");
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(values(l2), (std::vector<uint32_t>{1, 0, 0, 2}));
    // A single column links through its up neighbours only.
    _uint8_mat col = make<unsigned char>(4, 1, {1, 1, 0, 1});
    _uint32_mat lc = make<uint32_t>(4, 1);
    EXPECT_EQ(message(imgu8_connected_components(&col, IMG_CONNECT_EIGHT, 1, 0, nullptr, &lc, &count)), "");
    EXPECT_EQ(values(lc), (std::vector<uint32_t>{1, 1, 0, 2}));
    // Nothing matches: all zero, count 1, also with a minimum size.
    EXPECT_EQ(message(imgdbl_connected_components(&d, IMG_CONNECT_FOUR, NAN, 4, nullptr, &l2, &count)), "");
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(values(l2), std::vector<uint32_t>(4, 0));
}

TEST_F(ComponentsTest, VolumesUseSixNeighboursAcrossPlanes) {
    std::mt19937 g(9);
    for (int trial = 0; trial < 25; ++trial) {
        Hux::ArenaScope scope;
        int planes = 1 + g() % 4, rows = 1 + g() % 7, cols = 1 + g() % 70;
        int32_t dims[1] = {planes};
        _mat_set s, l;
        matset_malloc(&s, 1, dims);
        matset_malloc(&l, 1, dims);
        matset_malloc_matrices(&s, rows, cols, MUTIL_UINT16);
        matset_malloc_matrices(&l, rows, cols, MUTIL_UINT32);
        std::vector<int> mask(planes * rows * cols);
        for (int z = 0; z < planes; ++z)
            for (int k = 0; k < rows * cols; ++k) {
                int m = g() % 2;
                mask[z * rows * cols + k] = m;
                static_cast<uint16_t*>(s.mats[z].data)[k] = m ? 300 : 2;
            }
        uint32_t min_size = trial % 2 ? 0 : 4, count = 0;
        std::vector<uint32_t> want;
        uint32_t want_count = flood(mask, planes, rows, cols, false, true, min_size, want);
        ASSERT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_EIGHT, scalar_u16(300), min_size, nullptr,
                                                         &l, &count)),
                  "");
        EXPECT_EQ(count, want_count);
        for (int z = 0; z < planes; ++z)
            for (int k = 0; k < rows * cols; ++k)
                ASSERT_EQ(static_cast<uint32_t*>(l.mats[z].data)[k], want[z * rows * cols + k]) << trial;
    }
}

TEST_F(ComponentsTest, RefusalsComeBeforeAnyLabelIsWritten) {
    _univ_mat img = make_univ<unsigned char>(2, 2, {1, 1, 1, 1}), lab = make_univ<uint32_t>(2, 2, {9, 9, 9, 9});
    _univ_mat l16 = make_univ<uint16_t>(2, 2), small = make_univ<uint32_t>(1, 2);
    uint32_t count = 0;
    EXPECT_EQ(message(imguniv_connected_components(&img, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &l16, &count)),
              "Illegal data type");
    EXPECT_EQ(message(imguniv_connected_components(&img, IMG_CONNECT_FOUR, scalar_u16(1), 0, nullptr, &lab, &count)),
              "Illegal data type");
    EXPECT_EQ(message(imguniv_connected_components(&img, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &small, &count)),
              "array size mismatch");
    EXPECT_EQ(message(imguniv_connected_components(&img, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &lab, nullptr)),
              "null pointer");
    EXPECT_EQ(values_of<uint32_t>(lab), std::vector<uint32_t>(4, 9));
    EXPECT_EQ(::imguniv_connected_components(&img, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &lab, &count), 0);
    EXPECT_EQ(count, 2u);

    int32_t dims[1] = {2}, dims3[1] = {3};
    _mat_set s, l, l3;
    matset_malloc(&s, 1, dims);
    matset_malloc(&l, 1, dims);
    matset_malloc(&l3, 1, dims3);
    matset_malloc_matrices(&s, 2, 2, MUTIL_SINT16);
    matset_malloc_matrices(&l, 2, 2, MUTIL_UINT32);
    matset_malloc_matrices(&l3, 2, 2, MUTIL_UINT32);
    EXPECT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_FOUR, scalar_s16(1), 0, nullptr, &l, &count)),
              "Illegal data type");  // no signed 16-bit volume member
    EXPECT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_FOUR, scalar_s16(1), 0, nullptr, &l3, &count)),
              "array size mismatch");
    matset_malloc_matrices(&s, 2, 2, MUTIL_UINT8);
    EXPECT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &s, &count)),
              "Illegal data type");
    // The planes themselves are validated, not only the set.
    auto volume = [&] { imgset_connected_components_3d(&s, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &l, &count); };
    l.mats[1].data = nullptr;
    EXPECT_EQ(raised(volume), "null pointer");
    s.mats[0].nelem = 3;
    EXPECT_EQ(raised(volume), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
