// Horn–Schunck optical flow: recovery of known sub-pixel translations, the iteration rules, the
// zero border, element types and the order of the refusals.
#include <algorithm>
#include <cmath>
#include <limits>

#include "support.h"

namespace mutils::test {
namespace {

// A smooth pattern whose gradient turns through every direction, so that a uniform motion is
// determined everywhere (no aperture problem over any large patch).
double pattern(double x, double y) {
    return 40.0 * (std::sin(0.3 * x + 0.4) + std::cos(0.25 * y) + 0.5 * std::sin(0.2 * (x + y)));
}

// Frames k = 0 .. count-1 of the pattern moving by (du, dv) pixels per frame (columns, rows).
template <class T>
_mat_set moving(int32_t count, int32_t nrow, int32_t ncol, double du, double dv, double offset = 0.0) {
    _mat_set s;
    const int32_t dims[1] = {count};
    matset_malloc(&s, 1, dims);
    matset_malloc_matrices(&s, nrow, ncol, detail::elem<T>::tag);
    for (int32_t k = 0; k < count; ++k) {
        T* d = static_cast<T*>(s.mats[k].data);
        for (int32_t i = 0; i < nrow; ++i)
            for (int32_t j = 0; j < ncol; ++j) {
                const double e = offset + pattern(j - du * k, i - dv * k);
                d[i * ncol + j] = std::is_integral_v<T> ? T(std::lround(e)) : T(e);
            }
    }
    return s;
}

struct Result {
    std::string msg;
    int32_t iterations = -1;
    double change = -1;
};

Result flow(const _mat_set& s, int gradient, int32_t limit, double tol, double alpha, _univ_mat& u, _univ_mat& v) {
    Result r;
    r.msg = message(vidset_optical_flow_horn_schunck(&s, static_cast<_vid_gradient_type>(gradient), limit, tol,
                                                     alpha, nullptr, &u, &v, &r.iterations, &r.change));
    return r;
}

// Largest |field - want| over the pixels at least `margin` from every edge.
double worst(const _univ_mat& f, double want, int32_t margin) {
    const double* d = static_cast<const double*>(f.data);
    double w = 0;
    for (int32_t i = margin; i < f.nrow - margin; ++i)
        for (int32_t j = margin; j < f.ncol - margin; ++j) w = std::max(w, std::fabs(d[i * f.ncol + j] - want));
    return w;
}

// Runs the flow on frames of integer type T and on the same frames as doubles; the T result
// must be the double one rounded and saturated.
template <class T> void expect_rounded(double du, double offset) {
    SCOPED_TRACE(detail::elem<T>::code);
    _mat_set st = moving<T>(2, 24, 24, du, 0.5, offset), sd = moving<double>(2, 24, 24, du, 0.5, offset);
    for (int32_t k = 0; k < 2; ++k)
        for (int32_t p = 0; p < 24 * 24; ++p)
            static_cast<double*>(sd.mats[k].data)[p] = static_cast<const T*>(st.mats[k].data)[p];
    _univ_mat ut = make_univ<T>(24, 24), vt = make_univ<T>(24, 24);
    _univ_mat ud = make_univ<double>(24, 24), vd = make_univ<double>(24, 24);
    ASSERT_EQ(flow(st, 0, 20, 0.0, 1.0, ut, vt).msg, "");
    ASSERT_EQ(flow(sd, 0, 20, 0.0, 1.0, ud, vd).msg, "");
    bool clipped = false;
    for (int32_t p = 0; p < 24 * 24; ++p) {
        const double want = std::nearbyint(values_of<double>(ud)[p]);
        const double lo = std::numeric_limits<T>::lowest(), hi = std::numeric_limits<T>::max();
        clipped = clipped || want < lo;
        EXPECT_EQ(double(values_of<T>(ut)[p]), std::clamp(want, lo, hi)) << p;
    }
    if (std::is_unsigned_v<T> && du < 0) {
        EXPECT_TRUE(clipped);  // the saturation is exercised
    }
}

using FlowTest = ArenaTest;

TEST_F(FlowTest, RecoversSubPixelTranslation) {
    // After 400 iterations the change is ~1e-12: the field has converged and what remains is
    // bias. Near the zero border, and near the pattern's few points of vanishing gradient, the
    // smoothness term pulls the flow toward the border's zero; a margin of 24 pixels keeps
    // that below 1e-3 px. The rest is the derivative stencils' own: for a wave of k radians per
    // pixel, centred differences scale the spatial and temporal derivatives by sin(k)/k and
    // sin(k u)/(k u), a relative bias up to k^2/6 (1.5 % at k = 0.3, 0.006 px on a 0.4 px motion);
    // the cube stencil's averages give a bias of the same order; the five-point stencil's is of
    // order k^4/30, far below. Tolerances: 0.01 px for the three-point and cube stencils,
    // 0.002 px for the five-point one.
    const double du = 0.4, dv = -0.25;
    struct Case {
        int gradient;
        int32_t frames;
        double tol;
    };
    for (const Case& c : {Case{0, 2, 0.01}, Case{1, 3, 0.01}, Case{2, 5, 0.002}}) {
        SCOPED_TRACE("gradient type " + std::to_string(c.gradient));
        _mat_set s = moving<double>(c.frames, 96, 96, du, dv);
        _univ_mat u = make_univ<double>(96, 96), v = make_univ<double>(96, 96);
        Result r = flow(s, c.gradient, 400, 0.0, 1.0, u, v);
        ASSERT_EQ(r.msg, "");
        EXPECT_EQ(r.iterations, 400);
        EXPECT_LT(r.change, 1e-9);
        EXPECT_LT(worst(u, du, 24), c.tol);
        EXPECT_LT(worst(v, dv, 24), c.tol);
    }
}

TEST_F(FlowTest, IdenticalFramesGiveZeroFlowAfterOneIteration) {
    _mat_set s = moving<double>(2, 16, 16, 0.0, 0.0);
    _univ_mat u = make_univ<double>(16, 16), v = make_univ<double>(16, 16);
    Result r = flow(s, 0, 50, 0.0, 1.0, u, v);
    ASSERT_EQ(r.msg, "");
    EXPECT_EQ(r.iterations, 1);
    EXPECT_EQ(r.change, 0.0);
    EXPECT_EQ(worst(u, 0.0, 0), 0.0);
    EXPECT_EQ(worst(v, 0.0, 0), 0.0);
}

TEST_F(FlowTest, IterationCountAndChangeRules) {
    _mat_set s = moving<double>(2, 20, 24, 0.3, 0.1);
    _univ_mat u = make_univ<double>(20, 24), v = make_univ<double>(20, 24);
    Result one = flow(s, 0, 1, 0.0, 1.0, u, v);
    EXPECT_EQ(one.iterations, 1);
    EXPECT_GT(one.change, 0.0);

    // The change falls with each iteration; a tolerance between two successive changes stops
    // the loop right after the iteration that goes below it.
    Result a = flow(s, 0, 5, 0.0, 1.0, u, v);
    Result b = flow(s, 0, 6, 0.0, 1.0, u, v);
    ASSERT_LT(b.change, a.change);
    Result c = flow(s, 0, 100, (a.change + b.change) / 2, 1.0, u, v);
    EXPECT_EQ(c.iterations, 6);
    EXPECT_EQ(c.change, b.change);
    Result d = flow(s, 0, 100, b.change, 1.0, u, v);  // equal to the tolerance: stop
    EXPECT_EQ(d.iterations, 6);

    // Null result pointers are allowed.
    EXPECT_EQ(message(vidset_optical_flow_horn_schunck(&s, VID_GRADIENT_TWO_FRAME, 3, 0.0, 1.0, nullptr, &u, &v,
                                                        nullptr, nullptr)),
              "");
}

TEST_F(FlowTest, BorderTwoPixelsWideStaysZero) {
    _mat_set s = moving<double>(5, 12, 9, 0.3, 0.2);
    _univ_mat u = make_univ<double>(12, 9), v = make_univ<double>(12, 9);
    ASSERT_EQ(flow(s, 2, 30, 0.0, 1.0, u, v).msg, "");
    const double* ud = static_cast<const double*>(u.data);
    const double* vd = static_cast<const double*>(v.data);
    for (int32_t i = 0; i < 12; ++i)
        for (int32_t j = 0; j < 9; ++j) {
            const bool border = i < 2 || i >= 10 || j < 2 || j >= 7;
            if (border) {
                EXPECT_EQ(ud[i * 9 + j], 0.0) << i << "," << j;
                EXPECT_EQ(vd[i * 9 + j], 0.0) << i << "," << j;
            } else {
                EXPECT_NE(ud[i * 9 + j], 0.0) << i << "," << j;
            }
        }
}

TEST_F(FlowTest, OtherElementTypesComputeInDouble) {
    // Float frames match double frames to float precision.
    _mat_set sd = moving<double>(3, 24, 24, 0.4, 0.2), sf = moving<float>(3, 24, 24, 0.4, 0.2);
    _univ_mat ud = make_univ<double>(24, 24), vd = make_univ<double>(24, 24);
    _univ_mat uf = make_univ<float>(24, 24), vf = make_univ<float>(24, 24);
    ASSERT_EQ(flow(sd, 1, 40, 0.0, 1.0, ud, vd).msg, "");
    ASSERT_EQ(flow(sf, 1, 40, 0.0, 1.0, uf, vf).msg, "");
    for (int32_t i = 0; i < 24 * 24; ++i) {
        EXPECT_NEAR(values_of<float>(uf)[i], values_of<double>(ud)[i], 1e-4);
        EXPECT_NEAR(values_of<float>(vf)[i], values_of<double>(vd)[i], 1e-4);
    }
    // Integer results are the flow of the same frames seen as doubles, rounded to the nearest
    // integer and saturated at the type's range.
    expect_rounded<int32_t>(-3.0, 1000.0);
    expect_rounded<unsigned char>(-3.0, 128.0);
    expect_rounded<uint16_t>(2.0, 500.0);
}

TEST_F(FlowTest, RefusalsInOrder) {
    _mat_set two = moving<double>(2, 8, 8, 0, 0), one = moving<double>(1, 8, 8, 0, 0);
    _mat_set four = moving<double>(4, 8, 8, 0, 0), mixed = moving<double>(3, 8, 8, 0, 0);
    _univ_mat u = make_univ<double>(8, 8), v = make_univ<double>(8, 8), small = make_univ<double>(8, 7);
    _univ_mat uf = make_univ<float>(8, 8);
    mixed.mats[2] = make_univ<float>(8, 8);
    _mat_set wrong_size = moving<double>(3, 8, 8, 0, 0);
    wrong_size.mats[1] = make_univ<double>(7, 8);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto run = [&](const _mat_set& s, int g, int32_t limit, double alpha, _univ_mat& uu, _univ_mat& vv) {
        return message(vidset_optical_flow_horn_schunck(&s, static_cast<_vid_gradient_type>(g), limit, 0.0, alpha,
                                                        nullptr, &uu, &vv, nullptr, nullptr));
    };
    EXPECT_EQ(run(two, 0, 1, 1.0, u, v), "");
    EXPECT_EQ(run(one, 9, 0, -1.0, small, uf), "array size mismatch");  // frame count first
    EXPECT_EQ(run(two, 9, 1, 0.0, small, uf), "Illegal data value");
    EXPECT_EQ(run(two, 9, 1, nan, small, uf), "Illegal data value");
    EXPECT_EQ(run(two, 9, 0, 1.0, small, uf), "Illegal data value");
    EXPECT_EQ(run(two, 9, 1, 1.0, small, uf), "array size mismatch");  // sizes before types
    EXPECT_EQ(run(two, 0, 1, 1.0, u, small), "array size mismatch");
    EXPECT_EQ(run(wrong_size, 0, 1, 1.0, u, v), "array size mismatch");
    EXPECT_EQ(run(two, 1, 1, 1.0, u, uf), "array size mismatch");  // three frames needed
    EXPECT_EQ(run(four, 2, 1, 1.0, u, uf), "array size mismatch");  // five frames needed
    EXPECT_EQ(run(four, 9, 1, 1.0, u, uf), "Illegal data type");    // types before the gradient
    EXPECT_EQ(run(mixed, 0, 1, 1.0, u, v), "Illegal data type");
    EXPECT_EQ(run(four, 3, 1, 1.0, u, v), "Illegal data value");
    EXPECT_EQ(run(four, -1, 1, 1.0, u, v), "Illegal data value");
    EXPECT_EQ(run(two, 0, 1, 1.0, u, u), "Illegal memory address");

    _mat_set cpx;
    const int32_t dims[1] = {2};
    matset_malloc(&cpx, 1, dims);
    matset_malloc_matrices(&cpx, 8, 8, MUTIL_DCOMPLEX);
    _univ_mat uc = make_univ<_dcomplex>(8, 8), vc = make_univ<_dcomplex>(8, 8);
    EXPECT_EQ(run(cpx, 0, 1, 1.0, uc, vc), "Illegal data type");

    EXPECT_EQ(raised([&] { vidset_optical_flow_horn_schunck(nullptr, VID_GRADIENT_TWO_FRAME, 1, 0.0, 1.0, nullptr,
                                                            &u, &v, nullptr, nullptr); }),
              "null pointer");
    EXPECT_EQ(raised([&] { vidset_optical_flow_horn_schunck(&two, VID_GRADIENT_TWO_FRAME, 1, 0.0, 1.0, nullptr,
                                                            nullptr, &v, nullptr, nullptr); }),
              "null pointer");
}

TEST_F(FlowTest, FlatFramesWithVanishingWeightAreSingular) {
    _mat_set s = moving<double>(2, 8, 8, 0, 0);
    for (int32_t k = 0; k < 2; ++k)
        for (int32_t p = 0; p < 64; ++p) static_cast<double*>(s.mats[k].data)[p] = 3.0;
    _univ_mat u = make_univ<double>(8, 8), v = make_univ<double>(8, 8);
    EXPECT_EQ(flow(s, 0, 5, 0.0, 1e-200, u, v).msg, "singular matrix");  // alpha^2 underflows
    EXPECT_EQ(flow(s, 0, 5, 0.0, 1e-100, u, v).msg, "");
}

}  // namespace
}  // namespace mutils::test
