// Host bridge: column-major host matrices to row-major library matrices and back, colour
// images as three side-by-side planes, column pointer arrays and the imaginary-part setter.
#include <memory>

#include "core/detail_bridge.h"
#include "support.h"

namespace mutils::test {
namespace {

using BridgeTest = ArenaTest;

/// A host matrix of rows x cols with a stride of rows + 1; real part 10 r + c, imaginary -(10 r + c).
struct HostMatrix {
    std::vector<double> re, im;
    Hux::aMatrix m{};
    HostMatrix(int32_t rows, int32_t cols, bool complex = false)
        : re(std::size_t((rows + 1) * cols), -1.0), im(complex ? re.size() : 0, -1.0) {
        m = {rows + 1, 0, rows, cols, re.data(), complex ? im.data() : nullptr};
        for (int32_t c = 0; c < cols; ++c)
            for (int32_t r = 0; r < rows; ++r) {
                at(re, r, c) = 10 * r + c;
                if (complex) at(im, r, c) = -(10 * r + c);
            }
    }
    double& at(std::vector<double>& part, int32_t r, int32_t c) { return part[std::size_t(m.m_stride * c + r)]; }
};

TEST_F(BridgeTest, FromHostKeepsPlacesAndChecksArguments) {
    HostMatrix h(2, 3), c(2, 3, true);
    _univ_mat d = make_univ<double>(2, 3), z = make_univ<_dcomplex>(2, 3);
    ASSERT_EQ(message(matuniv_assign_from_quirnel(&h.m, &d)), "");
    EXPECT_EQ(values_of<double>(d), (std::vector<double>{0, 1, 2, 10, 11, 12}));
    ASSERT_EQ(message(matuniv_assign_from_quirnel(&h.m, &z)), "");
    for (const _dcomplex& v : values_of<_dcomplex>(z)) EXPECT_EQ(v.im, 0.0);  // a real host matrix
    ASSERT_EQ(message(matuniv_assign_from_quirnel(&c.m, &z)), "");
    EXPECT_EQ(values_of<_dcomplex>(z)[3].re, 10);
    EXPECT_EQ(values_of<_dcomplex>(z)[3].im, -10);

    EXPECT_EQ(message(matuniv_assign_from_quirnel(&c.m, &d)), "Illegal data type");
    EXPECT_EQ(::matuniv_assign_from_quirnel(&c.m, &d), MUTIL_ERR_ILLEGAL_TYPE);
    _univ_mat f = make_univ<float>(2, 3);
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, &f)), "Illegal data type");
    c.m.m_real = nullptr;
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&c.m, &z)), "Illegal data type");

    _univ_mat wrong = make_univ<double>(3, 2), invalid = d;
    EXPECT_EQ(message(matuniv_assign_from_quirnel(nullptr, &d)), "null pointer");
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, &wrong)), "array size mismatch");
    invalid.type = MUTIL_SINT8;
    EXPECT_EQ(raised([&] { matuniv_assign_from_quirnel(&h.m, &invalid); }), "Illegal data type");
    h.m.m_stride = 1;  // columns would overlap
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, &d)), "array size mismatch");
}

TEST_F(BridgeTest, ToHostConvertsEveryTypeExactly) {
    HostMatrix h(1, 2);
    auto check = [&](auto lo, auto hi) {
        using T = decltype(lo);
        _univ_mat u = make_univ<T>(1, 2, {lo, hi});
        ASSERT_EQ(message(matuniv_assign_to_quirnel(&u, &h.m)), "");
        EXPECT_EQ(h.re[0], double(lo));
        EXPECT_EQ(h.re[2], double(hi));  // column 1 starts at the stride
    };
    check((unsigned char)0, (unsigned char)255);
    check(uint16_t(0), uint16_t(65535));
    check(int16_t(-32768), int16_t(32767));
    check(uint32_t(0), uint32_t(4294967295u));
    check(int32_t(INT32_MIN), int32_t(INT32_MAX));
    check(-3.25f, 1e30f);
    check(-1e300, 0.1);

    _univ_mat z = make_univ<_dcomplex>(1, 2, {{1, 2}, {3, 0}});
    EXPECT_EQ(message(matuniv_assign_to_quirnel(&z, &h.m)), "Illegal data type");  // host is real
    EXPECT_EQ(h.re[0], -1e300);                                                    // untouched
    HostMatrix c(1, 2, true);
    ASSERT_EQ(message(matuniv_assign_to_quirnel(&z, &c.m)), "");
    EXPECT_EQ(c.re[2], 3);
    EXPECT_EQ(c.im[0], 2);
    EXPECT_EQ(c.im[2], 0);
    _univ_mat wrong = make_univ<double>(2, 1);
    EXPECT_EQ(message(matuniv_assign_to_quirnel(&wrong, &c.m)), "array size mismatch");
}

TEST_F(BridgeTest, ImaginarySetterCreatesThePartOnlyForNonZeroValues) {
    HostMatrix h(2, 2);
    detail::set_host_imag(&h.m, 1, 1, 0.0);
    EXPECT_EQ(h.m.m_imag, nullptr);  // stays real
    detail::set_host_imag(&h.m, 1, 0, 4.5);
    ASSERT_NE(h.m.m_imag, nullptr);
    EXPECT_EQ(h.m.m_imag[1], 4.5);
    EXPECT_EQ(h.m.m_imag[h.m.m_stride + 1], 0.0);  // the dropped zero reads back as 0
}

TEST_F(BridgeTest, ColourImagesSplitIntoAndJoinFromPlanes) {
    HostMatrix h(2, 6);
    _mat_set s, grey;
    int32_t three[1] = {3}, one[1] = {1};
    matset_malloc(&s, 1, three);
    matset_malloc_matrices(&s, 2, 2, MUTIL_DOUBLE);
    ASSERT_EQ(message(matset_assign_from_quirnel_color(&h.m, &s)), "");
    EXPECT_EQ(values_of<double>(s.mats[0]), (std::vector<double>{0, 1, 10, 11}));
    EXPECT_EQ(values_of<double>(s.mats[2]), (std::vector<double>{4, 5, 14, 15}));
    HostMatrix narrow(2, 5);
    EXPECT_EQ(message(matset_assign_from_quirnel_color(&narrow.m, &s)), "array size mismatch");

    matset_malloc(&grey, 1, one);
    grey.mats[0] = make_univ<unsigned char>(2, 2, {1, 2, 3, 255});
    ASSERT_EQ(message(matset_assign_to_quirnel_color(&grey, &h.m)), "");
    for (int32_t block = 0; block < 3; ++block) {  // the grey plane fills all three blocks
        EXPECT_EQ(h.at(h.re, 0, 2 * block + 1), 2);
        EXPECT_EQ(h.at(h.re, 1, 2 * block), 3);
    }
    for (int i = 0; i < 3; ++i) s.mats[i] = make_univ<uint32_t>(2, 2, {uint32_t(100 * i + 7)});
    ASSERT_EQ(message(matset_assign_to_quirnel_color(&s, &h.m)), "");
    EXPECT_EQ(h.at(h.re, 0, 4), 207);
    EXPECT_EQ(message(matset_assign_from_quirnel_color(&h.m, &s)), "Illegal data type");  // planes not double

    for (int i = 0; i < 3; ++i) s.mats[i] = make_univ<int16_t>(2, 2);
    EXPECT_EQ(message(matset_assign_to_quirnel_color(&s, &h.m)), "Illegal data type");
    for (int i = 0; i < 3; ++i) s.mats[i] = make_univ<float>(2, 2);
    EXPECT_EQ(::matset_assign_to_quirnel_color(&s, &h.m), MUTIL_ERR_ILLEGAL_TYPE);
    s.mats[1] = make_univ<double>(2, 2);
    EXPECT_EQ(raised([&] { matset_assign_to_quirnel_color(&s, &h.m); }), "Illegal data type");
    s.mats[0] = s.mats[1];
    s.nmat = 2;
    s.dims[0] = 2;
    EXPECT_EQ(message(matset_assign_to_quirnel_color(&s, &h.m)), "array size mismatch");
}

TEST_F(BridgeTest, ColumnPointerArrays) {
    HostMatrix c(2, 3, true), r(2, 3);
    std::unique_ptr<double*[]> re(allocRealColArr(&c.m)), im(allocImagColArr(&c.m));
    const Hux::aMatrix* real = &r.m;
    std::unique_ptr<const double*[]> cre(allocRealColArr(real)), cim(allocImagColArr(real));
    for (int col = 0; col < 3; ++col) {
        EXPECT_EQ(re[col], &c.at(c.re, 0, col));
        EXPECT_EQ(im[col], &c.at(c.im, 0, col));
        EXPECT_EQ(cre[col], &r.at(r.re, 0, col));
        EXPECT_EQ(cim[col], nullptr);  // no imaginary part
    }
    EXPECT_EQ(allocRealColArr(static_cast<Hux::aMatrix*>(nullptr)), nullptr);
    r.m.m_cols = -4;
    std::unique_ptr<double*[]> empty(allocRealColArr(&r.m));
    EXPECT_NE(empty, nullptr);
}

}  // namespace
}  // namespace mutils::test
