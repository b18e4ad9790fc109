// Long calls stopped by the interrupt, and parameters at the edges of their domains: every call
// returns promptly with a documented outcome. (The hostile-value sweep of every universal member
// runs from the differential table.)
#include <cmath>
#include <limits>

#include "support.h"

namespace mutils::test {
namespace {

int polls = 0;
/// A host poll that asks to stop from its third question on.
unsigned char stop_soon(void*) { return ++polls >= 3; }

TEST(Hostile, LongCallsStopAtTheInterrupt) {
    Hux::ArenaScope scope;
    Hux::set_interrupt_poll(stop_soon);
    int token = 0;
    auto stops = [&](const char* what, const char* err) {
        EXPECT_EQ(message(err), msg::interrupted) << what;
        EXPECT_EQ(polls, 3) << what;  // no question asked after the answer to stop
        polls = 0;
    };
    // A million flow iterations that never meet a tolerance of 0.
    int32_t two = 2, iterations = 0;
    _mat_set frames;
    matset_malloc(&frames, 1, &two);
    matset_malloc_matrices(&frames, 64, 64, MUTIL_DOUBLE);
    for (int32_t k = 0; k < 2; ++k)
        for (int32_t p = 0; p < 64 * 64; ++p) static_cast<double*>(frames.mats[k].data)[p] = std::sin(0.3 * p + k);
    _univ_mat u = make_univ<double>(64, 64), v = make_univ<double>(64, 64);
    stops("flow", vidset_optical_flow_horn_schunck(&frames, VID_GRADIENT_TWO_FRAME, 1000000, 0.0, 1.0, &token, &u, &v,
                                                   &iterations, nullptr));
    EXPECT_LT(iterations, 1000000);
    // A large quantile window (the sliding-histogram path) and a long Wigner distribution.
    _univ_mat image = make_univ<double>(512, 512), filtered = make_univ<double>(512, 512);
    stops("quantile", imguniv_filter_quantile(&image, 41, 41, 0.5, MUTIL_BOUNDARY_REFLECT, &token, &filtered));
    _univ_mat x = make_univ<double>(1, 2048), tfd = make_univ<double>(2048, 2048);
    stops("wigner", siguniv_timefreq_autocorrelate_wigner(&x, 1, &token, &tfd));
    Hux::set_interrupt_poll(nullptr);
}

TEST(Hostile, ParametersAtTheEdgesOfTheirDomains) {
    Hux::ArenaScope scope;
    std::mt19937 rng(7);
    const auto a = random_mat<double>(rng, 9, 8);
    auto r = make<double>(9, 8);
    const auto b = MUTIL_BOUNDARY_REFLECT;
    // A one-pixel window is the identity; the 1 and 0 quantiles are the window's maximum and minimum.
    for (double q : {0.0, 0.5, 1.0}) {
        ASSERT_EQ(message(imgdbl_filter_quantile(&a, 1, 1, q, b, nullptr, &r)), "");
        EXPECT_EQ(values(r), values(a));
    }
    ASSERT_EQ(message(imgdbl_filter_local_mean(&a, 1, 1, MUTIL_BOUNDARY_CONTINUE, nullptr, &r)), "");
    for (int32_t i = 0; i < a.nelem; ++i) EXPECT_NEAR(r.data[i], a.data[i], 1e-12);  // running sums round
    ASSERT_EQ(message(imgdbl_filter_quantile(&a, 1, 3, 1.0, MUTIL_BOUNDARY_CONTINUE, nullptr, &r)), "");
    EXPECT_EQ(r.data[1], std::max({a.data[0], a.data[1], a.data[2]}));
    // Quantiles of windows holding NaN order it last, whichever algorithm the window size picks.
    auto n = a;
    n.data[10] = std::numeric_limits<double>::quiet_NaN();
    for (int32_t w : {3, 7}) {
        ASSERT_EQ(message(imgdbl_filter_quantile(&n, w, w, 1.0, b, nullptr, &r)), "");
        EXPECT_TRUE(std::isnan(r.data[10])) << w;
        ASSERT_EQ(message(imgdbl_filter_quantile(&n, w, w, 0.0, b, nullptr, &r)), "");
        EXPECT_FALSE(std::isnan(r.data[10])) << w;
    }
    // Zero, negative and NaN widths are refused before anything is computed.
    _univ_mat ua = make_univ<double>(9, 8), uv = make_univ<double>(9, 8), uh = make_univ<double>(9, 8);
    for (double sigma : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(message(imguniv_filter_derivative_of_gaussian(&ua, sigma, nullptr, &uv, &uh)),
                  msg::illegal_data_value);
        EXPECT_EQ(message(imguniv_edge_canny(&ua, sigma, 1, 2, scalar_u8(1), scalar_u8(0), nullptr, &uv)),
                  msg::illegal_data_value);
    }
}

}  // namespace
}  // namespace mutils::test
