// Host bridge: column-major host matrices to row-major library matrices and back, colour
// images as three side-by-side planes, column pointer arrays and the imaginary-part setter.
#include <memory>

#include "core/detail_bridge.h"
#include "support.h"

namespace mutils::test {
namespace {

using BridgeTest = ArenaTest;

/// A host matrix of rows x cols with a stride of rows + pad, real part h(r, c) = 10 r + c.
struct HostMatrix {
    std::vector<double> re, im;
    Hux::aMatrix m{};
    HostMatrix(int32_t rows, int32_t cols, bool complex = false, int32_t pad = 1)
        : re(std::size_t((rows + pad) * cols), -1.0), im(complex ? re.size() : 0, -1.0) {
        m = {rows + pad, 0, rows, cols, re.data(), complex ? im.data() : nullptr};
        for (int32_t c = 0; c < cols; ++c)
            for (int32_t r = 0; r < rows; ++r) {
                at(re, r, c) = 10 * r + c;
                if (complex) at(im, r, c) = -(10 * r + c);
            }
    }
    double& at(std::vector<double>& part, int32_t r, int32_t c) { return part[std::size_t(m.m_stride * c + r)]; }
};

TEST_F(BridgeTest, RealHostMatrixToDoubleKeepsPlaces) {
    HostMatrix h(2, 3);
    _univ_mat u = make_univ<double>(2, 3);
    ASSERT_EQ(message(matuniv_assign_from_quirnel(&h.m, &u)), "");
    EXPECT_EQ(values_of<double>(u), (std::vector<double>{0, 1, 2, 10, 11, 12}));
}

TEST_F(BridgeTest, ComplexHostMatrixNeedsAComplexMatrix) {
    HostMatrix h(2, 2, true);
    _univ_mat d = make_univ<double>(2, 2);
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, &d)), "Illegal data type");
    EXPECT_EQ(values_of<double>(d), (std::vector<double>{0, 0, 0, 0}));  // untouched
    _univ_mat z = make_univ<_dcomplex>(2, 2);
    ASSERT_EQ(message(matuniv_assign_from_quirnel(&h.m, &z)), "");
    auto* p = static_cast<_dcomplex*>(z.data);
    EXPECT_EQ(p[1].re, 1);
    EXPECT_EQ(p[1].im, -1);
    EXPECT_EQ(p[2].re, 10);
    EXPECT_EQ(p[2].im, -10);

    HostMatrix real(2, 2);
    ASSERT_EQ(message(matuniv_assign_from_quirnel(&real.m, &z)), "");
    for (int i = 0; i < 4; ++i) EXPECT_EQ(p[i].im, 0.0);

    HostMatrix only_imag(2, 2, true);
    only_imag.m.m_real = nullptr;
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&only_imag.m, &z)), "Illegal data type");
    _univ_mat f = make_univ<float>(2, 2);
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&real.m, &f)), "Illegal data type");
}

TEST_F(BridgeTest, FromHostChecksInOrder) {
    HostMatrix h(2, 3);
    _univ_mat u = make_univ<double>(2, 3), wrong = make_univ<double>(3, 2);
    EXPECT_EQ(message(matuniv_assign_from_quirnel(nullptr, &u)), "null pointer");
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, nullptr)), "null pointer");
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, &wrong)), "array size mismatch");
    _univ_mat invalid = u;
    invalid.type = MUTIL_SINT8;
    EXPECT_EQ(raised([&] { matuniv_assign_from_quirnel(&h.m, &invalid); }), "Illegal data type");
    h.m.m_stride = 1;  // columns would overlap
    EXPECT_EQ(message(matuniv_assign_from_quirnel(&h.m, &u)), "array size mismatch");
    EXPECT_EQ(::matuniv_assign_from_quirnel(&h.m, &u), MUTIL_ERR_OK);  // message not in the code table
    HostMatrix c(2, 3, true);
    EXPECT_EQ(::matuniv_assign_from_quirnel(&c.m, &u), MUTIL_ERR_ILLEGAL_TYPE);
}

TEST_F(BridgeTest, EveryRealTypeGoesToTheHostExactly) {
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
}

TEST_F(BridgeTest, ComplexToHostNeedsBothParts) {
    _univ_mat z = make_univ<_dcomplex>(2, 1, {{1, 2}, {3, 0}});
    HostMatrix real(2, 1);
    EXPECT_EQ(message(matuniv_assign_to_quirnel(&z, &real.m)), "Illegal data type");
    EXPECT_EQ(real.re[0], 0);  // untouched
    HostMatrix c(2, 1, true);
    ASSERT_EQ(message(matuniv_assign_to_quirnel(&z, &c.m)), "");
    EXPECT_EQ(c.re[0], 1);
    EXPECT_EQ(c.im[0], 2);
    EXPECT_EQ(c.re[1], 3);
    EXPECT_EQ(c.im[1], 0);
    _univ_mat wrong = make_univ<double>(1, 2);
    EXPECT_EQ(message(matuniv_assign_to_quirnel(&wrong, &c.m)), "array size mismatch");
    EXPECT_EQ(message(matuniv_assign_to_quirnel(nullptr, &c.m)), "null pointer");
}

TEST_F(BridgeTest, ImaginarySetterCreatesThePartOnlyForNonZeroValues) {
    HostMatrix h(2, 2);
    detail::set_host_imag(&h.m, 1, 1, 0.0);
    EXPECT_EQ(h.m.m_imag, nullptr);  // stays real
    detail::set_host_imag(&h.m, 1, 0, 4.5);
    ASSERT_NE(h.m.m_imag, nullptr);
    EXPECT_EQ(h.m.m_imag[1], 4.5);
    EXPECT_EQ(h.m.m_imag[h.m.m_stride + 1], 0.0);  // the dropped zero reads back as 0
    detail::set_host_imag(&h.m, 0, 1, -2.0);
    EXPECT_EQ(h.m.m_imag[h.m.m_stride], -2.0);
}

TEST_F(BridgeTest, ColourImageSplitsIntoThreePlanes) {
    HostMatrix h(2, 6);
    _mat_set s;
    int32_t dims[1] = {3};
    matset_malloc(&s, 1, dims);
    matset_malloc_matrices(&s, 2, 2, MUTIL_DOUBLE);
    ASSERT_EQ(message(matset_assign_from_quirnel_color(&h.m, &s)), "");
    EXPECT_EQ(values_of<double>(s.mats[0]), (std::vector<double>{0, 1, 10, 11}));
    EXPECT_EQ(values_of<double>(s.mats[2]), (std::vector<double>{4, 5, 14, 15}));

    HostMatrix narrow(2, 5);
    EXPECT_EQ(message(matset_assign_from_quirnel_color(&narrow.m, &s)), "array size mismatch");
    matset_malloc_matrices(&s, 2, 2, MUTIL_FLOAT);
    EXPECT_EQ(message(matset_assign_from_quirnel_color(&h.m, &s)), "Illegal data type");
    matuniv_malloc(&s.mats[1], 2, 2, MUTIL_DOUBLE);
    EXPECT_EQ(raised([&] { matset_assign_from_quirnel_color(&h.m, &s); }), "Illegal data type");
}

TEST_F(BridgeTest, ColourImageJoinsPlanesOrRepeatsAGreyPlane) {
    _mat_set grey;
    int32_t one[1] = {1};
    matset_malloc(&grey, 1, one);
    grey.mats[0] = make_univ<unsigned char>(2, 2, {1, 2, 3, 255});
    HostMatrix h(2, 6);
    ASSERT_EQ(message(matset_assign_to_quirnel_color(&grey, &h.m)), "");
    for (int32_t block = 0; block < 3; ++block) {
        EXPECT_EQ(h.at(h.re, 0, 2 * block), 1);
        EXPECT_EQ(h.at(h.re, 0, 2 * block + 1), 2);
        EXPECT_EQ(h.at(h.re, 1, 2 * block), 3);
        EXPECT_EQ(h.at(h.re, 1, 2 * block + 1), 255);
    }

    _mat_set rgb;
    int32_t three[1] = {3};
    matset_malloc(&rgb, 1, three);
    for (int i = 0; i < 3; ++i) rgb.mats[i] = make_univ<uint32_t>(1, 1, {uint32_t(100 * i + 7)});
    HostMatrix row(1, 3);
    ASSERT_EQ(message(matset_assign_to_quirnel_color(&rgb, &row.m)), "");
    EXPECT_EQ(row.at(row.re, 0, 2), 207);

    for (int i = 0; i < 3; ++i) rgb.mats[i] = make_univ<float>(1, 1);
    EXPECT_EQ(message(matset_assign_to_quirnel_color(&rgb, &row.m)), "Illegal data type");
    for (int i = 0; i < 3; ++i) rgb.mats[i] = make_univ<int16_t>(1, 1);
    EXPECT_EQ(message(matset_assign_to_quirnel_color(&rgb, &row.m)), "Illegal data type");
    EXPECT_EQ(::matset_assign_to_quirnel_color(&rgb, &row.m), MUTIL_ERR_ILLEGAL_TYPE);
    _univ_mat f = make_univ<float>(1, 3);
    EXPECT_EQ(message(matuniv_assign_to_quirnel(&f, &row.m)), "");  // a float matrix itself is fine

    _mat_set two;
    int32_t pair[1] = {2};
    matset_malloc(&two, 1, pair);
    matset_malloc_matrices(&two, 1, 1, MUTIL_DOUBLE);
    EXPECT_EQ(message(matset_assign_to_quirnel_color(&two, &row.m)), "array size mismatch");
    EXPECT_EQ(message(matset_assign_to_quirnel_color(nullptr, &row.m)), "null pointer");
}

TEST_F(BridgeTest, ColumnPointerArrays) {
    HostMatrix h(2, 3, true);
    std::unique_ptr<double*[]> re(allocRealColArr(&h.m)), im(allocImagColArr(&h.m));
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(re[c], &h.at(h.re, 0, c));
        EXPECT_EQ(im[c], &h.at(h.im, 0, c));
    }
    HostMatrix r(2, 3);
    const Hux::aMatrix* real = &r.m;
    std::unique_ptr<const double*[]> cre(allocRealColArr(real)), cim(allocImagColArr(real));
    EXPECT_EQ(cre[2], r.re.data() + 2 * r.m.m_stride);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(cim[c], nullptr);
    EXPECT_EQ(allocRealColArr(static_cast<Hux::aMatrix*>(nullptr)), nullptr);
    r.m.m_cols = -4;
    std::unique_ptr<double*[]> empty(allocRealColArr(&r.m));
    EXPECT_NE(empty, nullptr);
}

}  // namespace
}  // namespace mutils::test
