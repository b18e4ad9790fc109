// Connected components against a flood fill that numbers regions by their first pixel.
#include <deque>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using ComponentsTest = ArenaTest;

/// Flood-fill labels of a volume (planes x rows x cols, 0/1 mask) with the given neighbour
/// offsets, numbered in scan order, small regions dropped; returns the count with background.
uint32_t flood(const std::vector<int>& mask, int planes, int rows, int cols, bool eight, bool volume, uint32_t min_size,
               std::vector<uint32_t>& lab) {
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

/// The labels of a universal image; the count with background goes to `count`.
std::vector<uint32_t> labels(const _univ_mat& img, _img_connected_type conn, _univ_scalar value, uint32_t min_size,
                             uint32_t& count) {
    _univ_mat lab = make_univ<uint32_t>(img.nrow, img.ncol);
    EXPECT_EQ(message(imguniv_connected_components(&img, conn, value, min_size, nullptr, &lab, &count)), "");
    return values_of<uint32_t>(lab);
}

/// A volume of `planes` matrices of the given size and type.
_mat_set volume(int32_t planes, int32_t rows, int32_t cols, _mutil_data_type type) {
    _mat_set s;
    matset_malloc(&s, 1, &planes);
    matset_malloc_matrices(&s, rows, cols, type);
    return s;
}

TEST_F(ComponentsTest, LabelsMatchFloodFillInBothConnectivities) {
    std::mt19937 g(7);
    auto check = [&](auto zero) {
        using T = decltype(zero);
        for (int trial = 0; trial < 40; ++trial) {
            Hux::ArenaScope scope;
            // Object share 1/5 .. 4/5.
            const int rows = 1 + g() % 12, cols = 1 + g() % 150, density = 1 + g() % 4;
            std::vector<int> mask(rows * cols);
            std::vector<T> px(rows * cols);
            for (int k = 0; k < rows * cols; ++k) mask[k] = int(g() % 5) < density, px[k] = mask[k] ? T(6) : T(g() % 5);
            const _univ_mat img = make_univ<T>(rows, cols, px);
            _univ_scalar six{};
            six.type = img.type;
            const T object = T(6);
            std::memcpy(&six.val, &object, sizeof(T));
            const uint32_t min_size = trial % 3 == 0 ? 3 : trial % 3;
            for (int conn : {0, 1, 8}) {
                std::vector<uint32_t> want;
                uint32_t count = 0, want_count = flood(mask, 1, rows, cols, conn != 0, false, min_size, want);
                ASSERT_EQ(labels(img, _img_connected_type(conn), six, min_size, count), want) << trial << " " << conn;
                ASSERT_EQ(count, want_count) << trial;
            }
        }
    };
    check((unsigned char)0);
    check(int16_t(0));
    check(int32_t(0));
    check(0.0);
}

TEST_F(ComponentsTest, VolumesUseSixNeighboursAcrossPlanes) {
    std::mt19937 g(9);
    for (int trial = 0; trial < 25; ++trial) {
        Hux::ArenaScope scope;
        const int planes = 1 + g() % 4, rows = 1 + g() % 7, cols = 1 + g() % 70, n = rows * cols;
        _mat_set s = volume(planes, rows, cols, MUTIL_UINT16), l = volume(planes, rows, cols, MUTIL_UINT32);
        std::vector<int> mask(planes * n);
        for (int k = 0; k < planes * n; ++k)
            mask[k] = g() % 2, static_cast<uint16_t*>(s.mats[k / n].data)[k % n] = mask[k] ? 300 : 2;
        uint32_t min_size = trial % 2 ? 0 : 4, count = 0;
        std::vector<uint32_t> want;
        uint32_t want_count = flood(mask, planes, rows, cols, false, true, min_size, want);
        ASSERT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_EIGHT, scalar_u16(300), min_size, nullptr, &l,
                                                         &count)),
                  "");
        EXPECT_EQ(count, want_count);
        for (int k = 0; k < planes * n; ++k)
            ASSERT_EQ(static_cast<uint32_t*>(l.mats[k / n].data)[k % n], want[k]) << trial;
    }
}

TEST_F(ComponentsTest, RefusalsComeBeforeAnyLabelIsWritten) {
    _univ_mat img = make_univ<unsigned char>(2, 2, {1, 1, 1, 1}), lab = make_univ<uint32_t>(2, 2, {9, 9, 9, 9});
    _univ_mat l16 = make_univ<uint16_t>(2, 2), small = make_univ<uint32_t>(1, 2);
    uint32_t count = 0;
    auto refusal = [&](_univ_scalar value, _univ_mat* result, uint32_t* n) {
        return message(imguniv_connected_components(&img, IMG_CONNECT_FOUR, value, 0, nullptr, result, n));
    };
    EXPECT_EQ(refusal(scalar_u8(1), &l16, &count), "Illegal data type");
    EXPECT_EQ(refusal(scalar_u16(1), &lab, &count), "Illegal data type");
    EXPECT_EQ(refusal(scalar_u8(1), &small, &count), "array size mismatch");
    EXPECT_EQ(refusal(scalar_u8(1), &lab, nullptr), "null pointer");
    EXPECT_EQ(values_of<uint32_t>(lab), std::vector<uint32_t>(4, 9));
    // A value nothing matches is no refusal: all background, also with a minimum size.
    EXPECT_EQ(labels(img, IMG_CONNECT_FOUR, scalar_u8(2), 4, count), std::vector<uint32_t>(4, 0));
    EXPECT_EQ(count, 1u);

    _mat_set s = volume(2, 2, 2, MUTIL_SINT16), l = volume(2, 2, 2, MUTIL_UINT32), l3 = volume(3, 2, 2, MUTIL_UINT32);
    EXPECT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_FOUR, scalar_s16(1), 0, nullptr, &l, &count)),
              "Illegal data type");  // no signed 16-bit volume member
    EXPECT_EQ(message(imgset_connected_components_3d(&s, IMG_CONNECT_FOUR, scalar_s16(1), 0, nullptr, &l3, &count)),
              "array size mismatch");
    _mat_set b = volume(2, 2, 2, MUTIL_UINT8);
    EXPECT_EQ(message(imgset_connected_components_3d(&b, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &b, &count)),
              "Illegal data type");
    // The planes themselves are validated, not only the set.
    auto run = [&] { imgset_connected_components_3d(&b, IMG_CONNECT_FOUR, scalar_u8(1), 0, nullptr, &l, &count); };
    l.mats[1].data = nullptr;
    EXPECT_EQ(raised(run), "null pointer");
    b.mats[0].nelem = 3;
    EXPECT_EQ(raised(run), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
