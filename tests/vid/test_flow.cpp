// Horn–Schunck optical flow: recovery of known sub-pixel translations, the iteration rules, the
// zero border, element types and the order of the refusals.
#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "support.h"

namespace mutils::test {
namespace {

// A smooth pattern whose gradient turns through every direction, so that a uniform motion is
// determined everywhere (no aperture problem over any large patch).
double pattern(double x, double y) {
    return 40.0 * (std::sin(0.3 * x + 0.4) + std::cos(0.25 * y) + 0.5 * std::sin(0.2 * (x + y)));
}

// Frames k = 0 .. count-1 of the pattern moving by (du, dv) pixels per frame (columns, rows).
template <class T> _mat_set moving(int32_t count, int32_t n, double du, double dv, double offset = 0.0) {
    _mat_set s;
    matset_malloc(&s, 1, &count);
    matset_malloc_matrices(&s, n, n, detail::elem<T>::tag);
    for (int32_t k = 0; k < count; ++k)
        for (int32_t p = 0; p < n * n; ++p) {
            const double e = offset + pattern(p % n - du * k, p / n - dv * k);
            static_cast<T*>(s.mats[k].data)[p] = std::is_integral_v<T> ? T(std::lround(e)) : T(e);
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
    r.msg = message(vidset_optical_flow_horn_schunck(&s, static_cast<_vid_gradient_type>(gradient), limit, tol, alpha,
                                                     nullptr, &u, &v, &r.iterations, &r.change));
    return r;
}

// Largest |field - want| over the pixels at least `margin` from every edge.
double worst(const _univ_mat& f, double want, int32_t margin) {
    double w = 0;
    for (int32_t i = margin; i < f.nrow - margin; ++i)
        for (int32_t j = margin; j < f.ncol - margin; ++j)
            w = std::max(w, std::fabs(static_cast<const double*>(f.data)[i * f.ncol + j] - want));
    return w;
}

// Integer frames and results: the flow of the same frames as doubles, rounded and saturated.
template <class T> void expect_rounded(double du, double offset) {
    SCOPED_TRACE(detail::elem<T>::code);
    _mat_set st = moving<T>(2, 24, du, 0.5, offset), sd = moving<double>(2, 24, 0, 0);
    for (int32_t k = 0; k < 2; ++k)
        for (int32_t p = 0; p < 24 * 24; ++p)
            static_cast<double*>(sd.mats[k].data)[p] = static_cast<const T*>(st.mats[k].data)[p];
    _univ_mat ut = make_univ<T>(24, 24), vt = make_univ<T>(24, 24);
    _univ_mat ud = make_univ<double>(24, 24), vd = make_univ<double>(24, 24);
    ASSERT_EQ(flow(st, 0, 20, 0.0, 1.0, ut, vt).msg, "");
    ASSERT_EQ(flow(sd, 0, 20, 0.0, 1.0, ud, vd).msg, "");
    const double lo = std::numeric_limits<T>::lowest(), hi = std::numeric_limits<T>::max();
    int clipped = 0;
    for (int32_t p = 0; p < 24 * 24; ++p) {
        const double want = std::nearbyint(values_of<double>(ud)[p]);
        clipped += want < lo;
        ASSERT_EQ(double(values_of<T>(ut)[p]), std::clamp(want, lo, hi)) << p;
    }
    EXPECT_EQ(clipped > 0, std::is_unsigned_v<T> && du < 0);  // saturation is exercised where expected
}

using FlowTest = ArenaTest;

TEST_F(FlowTest, RecoversSubPixelTranslation) {
    // After 400 iterations the field has converged; what remains is bias. A 24-pixel margin keeps
    // the pull of the zero border below 1e-3 px. Centred differences of a wave of k rad/px carry a
    // relative bias up to k^2/6 (0.006 px on 0.4 px at k = 0.3), the cube stencil about the same,
    // the five-point one of order k^4/30: tolerances 0.01 px, and 0.002 px for five points.
    const double du = 0.4, dv = -0.25;
    for (auto [gradient, frames, tol] : {std::tuple{0, 2, 0.01}, {1, 3, 0.01}, {2, 5, 0.002}}) {
        SCOPED_TRACE("gradient type " + std::to_string(gradient));
        _mat_set s = moving<double>(frames, 96, du, dv);
        _univ_mat u = make_univ<double>(96, 96), v = make_univ<double>(96, 96);
        Result r = flow(s, gradient, 400, 0.0, 1.0, u, v);
        ASSERT_EQ(r.msg, "");
        EXPECT_EQ(r.iterations, 400);
        EXPECT_LT(r.change, 1e-9);
        EXPECT_LT(worst(u, du, 24), tol);
        EXPECT_LT(worst(v, dv, 24), tol);
    }
}

TEST_F(FlowTest, IterationCountAndChangeRules) {
    _mat_set still = moving<double>(2, 16, 0, 0), s = moving<double>(2, 20, 0.3, 0.1);
    _univ_mat u0 = make_univ<double>(16, 16), v0 = make_univ<double>(16, 16);
    Result r = flow(still, 0, 50, 0.0, 1.0, u0, v0);  // identical frames: zero flow, change 0
    EXPECT_EQ(std::make_pair(r.iterations, r.change), std::make_pair(1, 0.0));
    EXPECT_EQ(worst(u0, 0.0, 0) + worst(v0, 0.0, 0), 0.0);

    _univ_mat u = make_univ<double>(20, 20), v = make_univ<double>(20, 20);
    EXPECT_EQ(flow(s, 0, 1, 0.0, 1.0, u, v).iterations, 1);
    // A tolerance between two successive changes stops the loop right after the iteration that
    // goes below it; a change equal to the tolerance stops it too.
    Result a = flow(s, 0, 5, 0.0, 1.0, u, v), b = flow(s, 0, 6, 0.0, 1.0, u, v);
    ASSERT_LT(b.change, a.change);
    Result c = flow(s, 0, 100, (a.change + b.change) / 2, 1.0, u, v);
    EXPECT_EQ(std::make_pair(c.iterations, c.change), std::make_pair(6, b.change));
    EXPECT_EQ(flow(s, 0, 100, b.change, 1.0, u, v).iterations, 6);
    EXPECT_EQ(message(vidset_optical_flow_horn_schunck(&s, VID_GRADIENT_TWO_FRAME, 3, 0.0, 1.0, nullptr, &u, &v,
                                                       nullptr, nullptr)),
              "");  // null result pointers are allowed
}

TEST_F(FlowTest, BorderStaysZeroAndOtherElementTypesComputeInDouble) {
    _mat_set s = moving<double>(5, 9, 0.3, 0.2);  // five-point stencil: a border two pixels wide
    _univ_mat u = make_univ<double>(9, 9), v = make_univ<double>(9, 9);
    ASSERT_EQ(flow(s, 2, 30, 0.0, 1.0, u, v).msg, "");
    for (int32_t i = 0, p = 0; i < 9; ++i)
        for (int32_t j = 0; j < 9; ++j, ++p)
            EXPECT_EQ(values_of<double>(u)[p] == 0 && values_of<double>(v)[p] == 0, i < 2 || i > 6 || j < 2 || j > 6)
                << i << "," << j;

    _mat_set sd = moving<double>(3, 24, 0.4, 0.2), sf = moving<float>(3, 24, 0.4, 0.2);
    _univ_mat ud = make_univ<double>(24, 24), vd = make_univ<double>(24, 24);
    _univ_mat uf = make_univ<float>(24, 24), vf = make_univ<float>(24, 24);
    ASSERT_EQ(flow(sd, 1, 40, 0.0, 1.0, ud, vd).msg, "");
    ASSERT_EQ(flow(sf, 1, 40, 0.0, 1.0, uf, vf).msg, "");
    for (int32_t i = 0; i < 24 * 24; ++i) {
        EXPECT_NEAR(values_of<float>(uf)[i], values_of<double>(ud)[i], 1e-4);
        EXPECT_NEAR(values_of<float>(vf)[i], values_of<double>(vd)[i], 1e-4);
    }
    expect_rounded<int32_t>(-3.0, 1000.0);
    expect_rounded<unsigned char>(-3.0, 128.0);  // negative flow saturates at 0
    expect_rounded<uint16_t>(2.0, 500.0);
}

TEST_F(FlowTest, RefusalsInOrder) {
    _mat_set two = moving<double>(2, 8, 0, 0), one = moving<double>(1, 8, 0, 0), four = moving<double>(4, 8, 0, 0);
    _mat_set mixed = moving<double>(3, 8, 0, 0), ragged = moving<double>(3, 8, 0, 0);
    mixed.mats[2] = make_univ<float>(8, 8);
    ragged.mats[1] = make_univ<double>(7, 8);
    _univ_mat u = make_univ<double>(8, 8), v = make_univ<double>(8, 8), small = make_univ<double>(8, 7);
    _univ_mat uf = make_univ<float>(8, 8);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto run = [&](const _mat_set& s, int g, int32_t limit, double alpha, _univ_mat& uu, _univ_mat& vv) {
        return flow(s, g, limit, 0.0, alpha, uu, vv).msg;
    };
    EXPECT_EQ(run(one, 9, 0, -1.0, small, uf), "array size mismatch");  // frame count first
    EXPECT_EQ(run(two, 9, 1, 0.0, small, uf), "Illegal data value");
    EXPECT_EQ(run(two, 9, 1, nan, small, uf), "Illegal data value");
    EXPECT_EQ(run(two, 9, 0, 1.0, small, uf), "Illegal data value");
    EXPECT_EQ(run(two, 9, 1, 1.0, u, small), "array size mismatch");  // sizes before types
    EXPECT_EQ(run(ragged, 0, 1, 1.0, u, v), "array size mismatch");
    EXPECT_EQ(run(two, 1, 1, 1.0, u, uf), "array size mismatch");   // three frames needed
    EXPECT_EQ(run(four, 2, 1, 1.0, u, uf), "array size mismatch");  // five frames needed
    EXPECT_EQ(run(four, 9, 1, 1.0, u, uf), "Illegal data type");    // types before the gradient
    EXPECT_EQ(run(mixed, 0, 1, 1.0, u, v), "Illegal data type");
    EXPECT_EQ(run(four, 3, 1, 1.0, u, v), "Illegal data value");
    EXPECT_EQ(run(two, 0, 1, 1.0, u, u), "Illegal memory address");
    _mat_set cpx = moving<double>(2, 8, 0, 0);
    cpx.mats[0] = make_univ<_dcomplex>(8, 8), cpx.mats[1] = cpx.mats[0];
    _univ_mat uc = make_univ<_dcomplex>(8, 8), vc = make_univ<_dcomplex>(8, 8);
    EXPECT_EQ(run(cpx, 0, 1, 1.0, uc, vc), "Illegal data type");
    EXPECT_EQ(raised([&] {
                  vidset_optical_flow_horn_schunck(&two, VID_GRADIENT_TWO_FRAME, 1, 0.0, 1.0, nullptr, nullptr, &v,
                                                   nullptr, nullptr);
              }),
              "null pointer");

    // Flat frames with a weight whose square underflows: alpha^2 + Ex^2 + Ey^2 = 0.
    _mat_set flat = moving<double>(2, 8, 0, 0, 0);
    for (int32_t k = 0; k < 2; ++k) std::fill_n(static_cast<double*>(flat.mats[k].data), 64, 3.0);
    EXPECT_EQ(run(flat, 0, 5, 1e-200, u, v), "singular matrix");
    EXPECT_EQ(run(flat, 0, 5, 1e-100, u, v), "");
}

}  // namespace
}  // namespace mutils::test
