// Morphology against direct evaluations of the defining formulas, the generators, thinning, and
// the refusals of bad arguments.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using MorphologyTest = ArenaTest;
using detail::mat_t;

// ---- references: the formulas evaluated pixel by pixel ---------------------------------------

template <class T>
std::vector<T> ref_binary(const mat_t<T>& a, const _uint8_mat& se, int orow, int ocol, T fg, T bg, bool dilate) {
    std::vector<T> out(a.nelem, bg);
    auto at = [&](int r, int c) {
        return r >= 0 && r < a.nrow && c >= 0 && c < a.ncol && a.data[r * a.ncol + c] == fg;
    };
    int members = 0;
    for (int k = 0; k < se.nelem; ++k) members += se.data[k] != 0;
    for (int r = 0; r < a.nrow; ++r)
        for (int c = 0; c < a.ncol; ++c) {
            int hits = 0;
            for (int i = 0; i < se.nrow; ++i)
                for (int j = 0; j < se.ncol; ++j)
                    if (se.data[i * se.ncol + j]) {
                        if (!dilate)
                            hits += at(r - orow + i, c - ocol + j);
                        else if (at(r + orow - i, c + ocol - j))
                            hits = members;
                    }
            bool on = dilate ? hits > 0 : hits == members;
            out[r * a.ncol + c] = on ? fg : bg;
        }
    return out;
}

template <class T>
std::vector<T> ref_grey(const mat_t<T>& a, const mat_t<T>& se, int orow, int ocol, int border, bool dilate) {
    using W = detail::wrap_t<T>;
    auto read = [&](int r, int c) -> T {
        if (r < 0 || r >= a.nrow || c < 0 || c >= a.ncol) {
            if (border == 0) return T{};
            r = std::clamp(r, 0, a.nrow - 1);
            c = std::clamp(c, 0, a.ncol - 1);
        }
        return a.data[r * a.ncol + c];
    };
    std::vector<T> out(a.nelem);
    for (int r = 0; r < a.nrow; ++r)
        for (int c = 0; c < a.ncol; ++c) {
            T v{};
            for (int i = 0; i < se.nrow; ++i)
                for (int j = 0; j < se.ncol; ++j) {
                    T s = se.data[i * se.ncol + j];
                    T w = dilate ? T(W(read(r + orow - i, c + ocol - j)) + W(s))
                                 : T(W(read(r - orow + i, c - ocol + j)) - W(s));
                    if (i == 0 && j == 0)
                        v = w;
                    else if (dilate ? w > v : w < v)
                        v = w;
                }
            out[r * a.ncol + c] = v;
        }
    return out;
}

template <class T> bool same_values(const std::vector<T>& a, const std::vector<T>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(a[i]) && std::isnan(b[i])) continue;
            if (std::memcmp(&a[i], &b[i], sizeof(T)) != 0) return false;  // -0 and 0 differ here
        } else if (a[i] != b[i]) {
            return false;
        }
    }
    return true;
}

template <class T> mat_t<T> random_image(std::mt19937& g, int rows, int cols, int levels) {
    mat_t<T> m = make<T>(rows, cols);
    for (int k = 0; k < m.nelem; ++k) m.data[k] = T(g() % levels);
    return m;
}

_uint8_mat random_se(std::mt19937& g) {
    _uint8_mat se = make<unsigned char>(1 + g() % 5, 1 + g() % 6);
    for (int k = 0; k < se.nelem; ++k) se.data[k] = (g() % 3 != 0) ? 1 + g() % 3 : 0;
    return se;
}

// ---- binary ------------------------------------------------------------------------------

template <class T> void check_binary_against_reference(std::mt19937& g) {
    for (int trial = 0; trial < 60; ++trial) {
        Hux::ArenaScope scope;
        int rows = 1 + g() % 9, cols = 1 + g() % 140;  // columns across several bit words
        mat_t<T> a = random_image<T>(g, rows, cols, 3);
        _uint8_mat se = random_se(g);
        int orow = int(g() % 9) - 2, ocol = int(g() % 9) - 2;  // origins inside and outside the SE
        const T fg = T(1), bg = T(7);
        mat_t<T> r = make<T>(rows, cols);
        // Every type through the universal members; opening and closing by composition.
        _univ_mat ua, ur, us;
        matuniv_wrap_matrix(&ua, &a, detail::elem<T>::tag);
        matuniv_wrap_matrix(&ur, &r, detail::elem<T>::tag);
        matuniv_wrap_matrix(&us, &se, MUTIL_UINT8);
        _univ_scalar f{}, b{};
        f.type = b.type = detail::elem<T>::tag;
        std::memcpy(&f.val, &fg, sizeof(T));
        std::memcpy(&b.val, &bg, sizeof(T));
        EXPECT_EQ(message(imguniv_binary_erode(&ua, &us, orow, ocol, f, b, nullptr, &ur)), "");
        ASSERT_TRUE(same_values(values(r), ref_binary(a, se, orow, ocol, fg, bg, false))) << trial;
        EXPECT_EQ(message(imguniv_binary_dilate(&ua, &us, orow, ocol, f, b, nullptr, &ur)), "");
        ASSERT_TRUE(same_values(values(r), ref_binary(a, se, orow, ocol, fg, bg, true))) << trial;

        mat_t<T> mid = make<T>(rows, cols);
        for (bool close : {false, true}) {  // opening erodes first, closing dilates first
            std::vector<T> first = ref_binary(a, se, 0, 0, fg, bg, close);
            std::copy(first.begin(), first.end(), mid.data);
            auto op = close ? imguniv_binary_close : imguniv_binary_open;
            EXPECT_EQ(message(op(&ua, &us, f, b, nullptr, &ur)), "");
            ASSERT_TRUE(same_values(values(r), ref_binary(mid, se, 0, 0, fg, bg, !close))) << trial;
        }
    }
}

TEST_F(MorphologyTest, BinaryOperationsMatchTheDefinitionsForEveryType) {
    std::mt19937 g(11);
    check_binary_against_reference<unsigned char>(g);
    check_binary_against_reference<int32_t>(g);
    check_binary_against_reference<double>(g);
}

TEST_F(MorphologyTest, BinaryRefusals) {
    _uint8_mat a = make<unsigned char>(2, 2), se = make<unsigned char>(1, 1, {1}), r = make<unsigned char>(2, 2);
    _uint8_mat small = make<unsigned char>(2, 1);
    EXPECT_EQ(message(imgu8_binary_erode(&a, &se, 0, 0, 1, 0, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(message(imgu8_binary_dilate(&a, &se, 0, 0, 1, 0, nullptr, &a)), "Illegal memory address");
    EXPECT_EQ(message(imgu8_binary_open(&a, &se, 3, 3, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(raised([&] { imgu8_binary_erode(nullptr, &se, 0, 0, 1, 0, nullptr, &r); }), "null pointer");

    _univ_mat ua = make_univ<unsigned char>(2, 2), ur = make_univ<unsigned char>(2, 2);
    _univ_mat us = make_univ<unsigned char>(1, 1, {1});
    EXPECT_EQ(message(imguniv_binary_erode(&ua, &us, 0, 0, scalar_u16(1), scalar_u8(0), nullptr, &ur)),
              "Illegal data type");
    _univ_mat u16se = make_univ<uint16_t>(1, 1, {1});
    EXPECT_EQ(message(imguniv_binary_open(&ua, &u16se, scalar_u8(1), scalar_u8(0), nullptr, &ur)), "Illegal data type");
    EXPECT_EQ(::imguniv_binary_dilate(&ua, &us, 0, 0, scalar_u8(1), scalar_u8(1), nullptr, &ur),
              MUTIL_ERR_ILLEGAL_VALUE);
}

// ---- grey-scale --------------------------------------------------------------------------

template <class T> void check_grey_against_reference(std::mt19937& g) {
    for (int trial = 0; trial < 60; ++trial) {
        Hux::ArenaScope scope;
        // Every fourth image is wide enough for the vector loops between the border columns.
        const bool wide = trial % 4 == 3;
        int rows = wide ? 10 + g() % 20 : 1 + g() % 8, cols = wide ? 40 + g() % 110 : 1 + g() % 12;
        mat_t<T> a = random_image<T>(g, rows, cols, 300);
        mat_t<T> se = random_image<T>(g, 1 + g() % (wide ? 7 : 4), 1 + g() % (wide ? 7 : 4), 5);
        if (trial % 3 == 0)  // flat elements take the separable path of the integer members
            for (int k = 0; k < se.nelem; ++k) se.data[k] = se.data[0];
        if constexpr (std::is_floating_point_v<T>)
            if (trial % 5 == 1) a.data[g() % a.nelem] = NAN;
        int orow = int(g() % 7) - 2, ocol = int(g() % 7) - 2;
        int border = trial % 2 ? 3 : 0;
        mat_t<T> r = make<T>(rows, cols);
        _univ_mat ua, us, ur;
        matuniv_wrap_matrix(&ua, &a, detail::elem<T>::tag);
        matuniv_wrap_matrix(&us, &se, detail::elem<T>::tag);
        matuniv_wrap_matrix(&ur, &r, detail::elem<T>::tag);
        auto b = _mutil_boundary_type(border);
        EXPECT_EQ(message(imguniv_grayscale_erode(&ua, &us, orow, ocol, b, nullptr, &ur)), "");
        ASSERT_TRUE(same_values(values(r), ref_grey<T>(a, se, orow, ocol, border, false))) << trial;
        EXPECT_EQ(message(imguniv_grayscale_dilate(&ua, &us, orow, ocol, b, nullptr, &ur)), "");
        ASSERT_TRUE(same_values(values(r), ref_grey<T>(a, se, orow, ocol, border, true))) << trial;

        mat_t<T> mid = make<T>(rows, cols);
        for (bool close : {false, true}) {
            std::vector<T> first = ref_grey<T>(a, se, 0, 0, border, close);
            std::copy(first.begin(), first.end(), mid.data);
            auto op = close ? imguniv_grayscale_close : imguniv_grayscale_open;
            EXPECT_EQ(message(op(&ua, &us, b, nullptr, &ur)), "");
            ASSERT_TRUE(same_values(values(r), ref_grey<T>(mid, se, 0, 0, border, !close))) << trial;
        }
    }
}

TEST_F(MorphologyTest, GreyOperationsMatchTheDefinitionsForEveryType) {
    std::mt19937 g(5);
    check_grey_against_reference<unsigned char>(g);
    check_grey_against_reference<int32_t>(g);
    check_grey_against_reference<double>(g);
}

TEST_F(MorphologyTest, GreyRefusals) {
    _double_mat d = make<double>(1, 3, {4, 6, 8});
    _double_mat s3 = make<double>(1, 3, {0, 0, 0});
    _double_mat out = make<double>(1, 3);
    EXPECT_EQ(message(imgdbl_grayscale_open(&d, &s3, MUTIL_BOUNDARY_REFLECT, nullptr, &out)), "Illegal data value");
    EXPECT_EQ(message(imgdbl_grayscale_erode(&d, &s3, 0, 0, _mutil_boundary_type(7), nullptr, &out)),
              "Illegal data value");
    _univ_mat ud = make_univ<double>(2, 2), us = make_univ<float>(1, 1), ur = make_univ<double>(2, 2);
    EXPECT_EQ(message(imguniv_grayscale_erode(&ud, &us, 0, 0, MUTIL_BOUNDARY_ZERO, nullptr, &ur)), "Illegal data type");
}

// ---- generators --------------------------------------------------------------------------

TEST_F(MorphologyTest, DisksAreClippedCircles) {
    _uint8_mat r = make<unsigned char>(3, 3);
    EXPECT_EQ(message(imgu8_generate_disk(1, 1, 0.5, 1, 0, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<unsigned char>{0, 0, 0, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(message(imgu8_generate_disk(1, 1, 1.0, 1, 0, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<unsigned char>{0, 1, 0, 1, 1, 1, 0, 1, 0}));
    // Centre off the result: radius 2.5 around (-1, 3) leaves rows of half-widths 2 and 1.
    _double_mat clip = make<double>(2, 5);
    EXPECT_EQ(message(imgdbl_generate_disk(-1, 3, 2.5, 2.0, -1.0, nullptr, &clip)), "");
    EXPECT_EQ(values(clip), (std::vector<double>{-1, 2, 2, 2, 2, -1, -1, 2, 2, 2}));
    EXPECT_EQ(message(imgu8_generate_disk(1, 1, 0.4, 1, 0, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(imgu8_generate_disk(1, 1, 2, 1, 1, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(imgu8_generate_disk(-3, 1, 2, 1, 0, nullptr, &r)), "array size mismatch");
    // Rows in reach of R = ceil(radius) that the circle itself misses.
    EXPECT_EQ(message(imgu8_generate_disk(-2, 1, 1.5, 1, 0, nullptr, &r)), "array size mismatch");
    _univ_mat u = make_univ<int32_t>(4, 4);
    EXPECT_EQ(message(imguniv_generate_disk(1, 1, 1, scalar_s32(1), scalar_u8(0), nullptr, &u)), "Illegal data type");
    EXPECT_EQ(message(imguniv_generate_disk(1, 1, 1, scalar_s32(1), scalar_s32(0), nullptr, &u)), "");
}

TEST_F(MorphologyTest, RectanglesAreClippedToTheResult) {
    _uint16_mat r = make<uint16_t>(3, 4);
    EXPECT_EQ(message(imgu16_generate_rectangle(-1, 2, 3, 9, 7, 1, nullptr, &r)), "");
    EXPECT_EQ(values(r), (std::vector<uint16_t>{1, 1, 7, 7, 1, 1, 7, 7, 1, 1, 1, 1}));
    EXPECT_EQ(message(imgu16_generate_rectangle(0, 0, 0, 2, 7, 1, nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(imgu16_generate_rectangle(0, 0, 1, 2, 7, 7, nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(imgu16_generate_rectangle(3, 0, 1, 2, 7, 1, nullptr, &r)), "array size mismatch");
}

// ---- thinning and skeleton ---------------------------------------------------------------

/// One pass of the table algorithm with the 3 x 3 weights spelled out, repeated to a fixed point.
std::vector<int> ref_thin(std::vector<int> b, int rows, int cols, const std::vector<int>& t1,
                          const std::vector<int>& t2) {
    const int weight[3][3] = {{1, 8, 64}, {2, 16, 128}, {4, 32, 256}};
    auto code = [&](const std::vector<int>& m, int r, int c) {
        int s = 0;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                int rr = r + i - 1, cc = c + j - 1;
                if (rr >= 0 && rr < rows && cc >= 0 && cc < cols) s += weight[i][j] * m[rr * cols + cc];
            }
        return s;
    };
    auto in = [](const std::vector<int>& t, int v) { return std::find(t.begin(), t.end(), v) != t.end() ? 1 : 0; };
    for (bool changed = true; changed;) {
        std::vector<int> d(b.size()), nb(b.size());
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < cols; ++c) d[r * cols + c] = in(t1, code(b, r, c));
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < cols; ++c) {
                int k = in(t2, code(d, r, c));
                nb[r * cols + c] = std::min(b[r * cols + c], std::max(1 - d[r * cols + c], k));
            }
        changed = nb != b;
        b = nb;
    }
    return b;
}

const std::vector<int> kThinT1 = {19,  22,  23,  25,  26,  27,  31,  50,  52,  54,  55,  63,  88,  89,  90,  91,  94,
                                  95,  127, 152, 153, 176, 208, 216, 217, 219, 223, 240, 304, 308, 310, 311, 319, 400,
                                  408, 409, 432, 436, 438, 439, 464, 472, 473, 475, 496, 500, 502, 504, 505, 508};

TEST_F(MorphologyTest, ThinningFollowsTheTablesAndKeepsASubset) {
    std::mt19937 g(3);
    // T2 of thinning, reconstructed from the documented list for the reference.
    const std::vector<int> t2 = {
        17,  19,  22,  23,  25,  27,  29,  31,  48,  52,  53,  58,  59,  62,  63,  80,  83,  85,  86,  87,  88,  89,
        90,  91,  92,  93,  94,  95,  113, 114, 115, 116, 117, 118, 119, 121, 122, 123, 125, 127, 144, 149, 151, 153,
        154, 155, 156, 157, 158, 159, 177, 178, 179, 181, 182, 183, 184, 185, 187, 188, 189, 191, 208, 209, 212, 213,
        215, 216, 217, 218, 219, 220, 221, 222, 223, 240, 241, 242, 243, 244, 245, 247, 248, 249, 250, 251, 252, 253,
        254, 255, 275, 277, 278, 279, 281, 282, 283, 284, 285, 286, 287, 304, 305, 307, 308, 309, 311, 314, 315, 316,
        317, 318, 319, 337, 338, 339, 340, 341, 342, 343, 344, 345, 346, 347, 348, 349, 350, 351, 368, 369, 370, 371,
        372, 373, 374, 375, 377, 378, 379, 380, 381, 382, 383, 400, 401, 404, 405, 407, 408, 409, 410, 411, 412, 413,
        414, 415, 433, 434, 437, 439, 440, 443, 444, 445, 446, 447, 464, 465, 466, 467, 468, 469, 470, 471, 472, 473,
        474, 475, 476, 477, 478, 479, 497, 498, 499, 500, 501, 502, 503, 504, 505, 506, 507, 508, 509, 510, 511};
    for (int trial = 0; trial < 20; ++trial) {
        int rows = 3 + g() % 12, cols = 3 + g() % 12;
        _univ_mat a = make_univ<int16_t>(rows, cols), r = make_univ<int16_t>(rows, cols);
        std::vector<int> b(rows * cols);
        for (int k = 0; k < rows * cols; ++k) {
            b[k] = g() % 4 != 0;
            static_cast<int16_t*>(a.data)[k] = b[k] ? -3 : int16_t(g() % 5);
        }
        // Scalars of another type are converted: 2.6 rounds to 3.
        EXPECT_EQ(message(imguniv_binary_thin(&a, scalar_s32(-3), scalar_dbl(2.6), nullptr, &r)), "");
        std::vector<int> want = ref_thin(b, rows, cols, kThinT1, t2);
        for (int k = 0; k < rows * cols; ++k) ASSERT_EQ(values_of<int16_t>(r)[k], want[k] ? -3 : 3) << trial;
        // A thinned image is its own thinning.
        _univ_mat again = make_univ<int16_t>(rows, cols);
        EXPECT_EQ(message(imguniv_binary_thin(&r, scalar_s16(-3), scalar_s16(3), nullptr, &again)), "");
        EXPECT_EQ(values_of<int16_t>(again), values_of<int16_t>(r));
    }
}

TEST_F(MorphologyTest, SkeletonOfABarIsThinnerThanTheBarAndInsideIt) {
    _univ_mat a = make_univ<float>(7, 12), r = make_univ<float>(7, 12);
    float* p = static_cast<float*>(a.data);
    for (int y = 2; y <= 4; ++y)
        for (int x = 1; x <= 10; ++x) p[y * 12 + x] = 1.0f;
    EXPECT_EQ(message(imguniv_binary_skeleton(&a, scalar_flt(1), scalar_flt(0), nullptr, &r)), "");
    int after = 0;
    for (int k = 0; k < 84; ++k)
        if (values_of<float>(r)[k] == 1.0f) {
            ++after;
            EXPECT_EQ(p[k], 1.0f) << k;
        }
    EXPECT_GT(after, 0);
    EXPECT_LT(after, 15);  // under half of the bar's 30 pixels
    // All background stays all background.
    _univ_mat z = make_univ<double>(4, 4), zr = make_univ<double>(4, 4);
    EXPECT_EQ(message(imguniv_binary_thin(&z, scalar_dbl(1), scalar_dbl(0), nullptr, &zr)), "");
    EXPECT_EQ(values_of<double>(zr), std::vector<double>(16, 0.0));
}

TEST_F(MorphologyTest, ThinningRefusals) {
    _univ_mat a = make_univ<float>(3, 3), r = make_univ<float>(3, 3);
    _univ_mat small = make_univ<float>(3, 2);
    EXPECT_EQ(message(imguniv_binary_thin(nullptr, scalar_flt(1), scalar_flt(0), nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(imguniv_binary_skeleton(&a, scalar_flt(1), scalar_flt(0), nullptr, &small)),
              "array size mismatch");
    // Equal once in single precision.
    EXPECT_EQ(message(imguniv_binary_thin(&a, scalar_dbl(1.0), scalar_dbl(1.0 + 1e-12), nullptr, &r)),
              "Illegal data value");
}

}  // namespace
}  // namespace mutils::test
