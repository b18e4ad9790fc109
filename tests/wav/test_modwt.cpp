// Maximum-overlap wavelet transforms: against the direct circular sums, round trips through the
// inverse, packet nodes against repeated filtering, and the order of the argument checks.
#include <algorithm>
#include <cmath>

#include "support.h"

namespace mutils::test {
namespace {

const double kS = 1.0 / std::sqrt(2.0);
struct Pair {
    std::vector<double> h, g;
};
const Pair kHaar = {{kS, -kS}, {kS, kS}};
// The 4-tap Daubechies pair: h[l] = (-1)^l g[L-1-l].
const double kR3 = std::sqrt(3.0), kD = 4.0 * std::sqrt(2.0);
const Pair kD4 = {{(1 - kR3) / kD, -(3 - kR3) / kD, (3 + kR3) / kD, -(1 + kR3) / kD},
                  {(1 + kR3) / kD, (3 + kR3) / kD, (3 - kR3) / kD, (1 - kR3) / kD}};

_univ_mat column(const std::vector<double>& v) { return make_univ<double>(int32_t(v.size()), 1, v); }

std::vector<double> test_signal(int32_t n) {
    std::vector<double> x(n);
    for (int32_t t = 0; t < n; ++t) x[t] = std::sin(0.7 * t) + 0.3 * t - 0.05 * t * t + (t % 3 == 0 ? 1.0 : 0.0);
    return x;
}

// One level written straight from the definition: filter rescaled by 1/sqrt(2), taps `stride` apart.
std::vector<double> filter_direct(const std::vector<double>& v, const std::vector<double>& f, int64_t stride) {
    const int64_t n = int64_t(v.size());
    std::vector<double> out(n);
    for (int64_t t = 0; t < n; ++t)
        for (size_t l = 0; l < f.size(); ++l) out[t] += f[l] * kS * v[((t - int64_t(l) * stride) % n + n) % n];
    return out;
}

std::vector<double> col_of(const _univ_mat& m, int32_t c) {
    std::vector<double> out(m.nrow);
    for (int32_t t = 0; t < m.nrow; ++t) out[t] = static_cast<const double*>(m.data)[int64_t(t) * m.ncol + c];
    return out;
}

void expect_near_vec(const std::vector<double>& a, const std::vector<double>& b, double tol) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) ASSERT_NEAR(a[i], b[i], tol) << "at " << i;
}

// Forward transform against the direct sums, and the inverse's whole ladder.
void check_pyramid(const Pair& p, int32_t n, int32_t J) {
    SCOPED_TRACE("n = " + std::to_string(n) + ", J = " + std::to_string(J) + ", L = " + std::to_string(p.h.size()));
    const std::vector<double> x = test_signal(n);
    _univ_mat xm = column(x), h = column(p.h), g = column(p.g);
    _univ_mat W = make_univ<double>(n, J), V = make_univ<double>(n, J);
    ASSERT_EQ(message(wavuniv_transform_maximum_overlap(&xm, &h, &g, J, nullptr, &W, &V)), "");
    std::vector<std::vector<double>> Vs = {x}, Ws = {{}};
    double scale = 0;
    for (double v : x) scale = std::max(scale, std::fabs(v));
    for (int32_t j = 1; j <= J; ++j) {
        Ws.push_back(filter_direct(Vs.back(), p.h, int64_t(1) << (j - 1)));
        Vs.push_back(filter_direct(Vs.back(), p.g, int64_t(1) << (j - 1)));
        expect_near_vec(col_of(W, j - 1), Ws[j], 1e-13 * scale);
        expect_near_vec(col_of(V, j - 1), Vs[j], 1e-13 * scale);
    }

    // Z = V_J, W_J, ..., W_1; y must come back as V_J, V_(J-1), ..., V_0 = x.
    _univ_mat Z = make_univ<double>(n, J + 1), y = make_univ<double>(n, J + 1);
    double* z = static_cast<double*>(Z.data);
    for (int32_t t = 0; t < n; ++t) {
        z[int64_t(t) * (J + 1)] = Vs[J][t];
        for (int32_t j = 1; j <= J; ++j) z[int64_t(t) * (J + 1) + J - j + 1] = Ws[j][t];
    }
    ASSERT_EQ(message(wavuniv_transform_maximum_overlap_inverse(&Z, &h, &g, J, nullptr, &y)), "");
    for (int32_t j = J; j >= 0; --j) expect_near_vec(col_of(y, J - j), Vs[j], 1e-11 * scale);
}

using ModwtTest = ArenaTest;

TEST_F(ModwtTest, PyramidMatchesDirectSumsAndInverseRebuildsTheLadder) {
    // Lengths that are and are not powers of two at their deepest level (N = 3 with 4 taps
    // wraps the filter round the signal); then several blocks of outputs, and results large
    // enough to be written with streaming stores.
    for (const Pair& p : {kHaar, kD4}) {
        for (int32_t n : {3, 8, 13, 16, 37}) check_pyramid(p, n, int32_t(std::floor(std::log2(double(n)))));
        check_pyramid(p, 1500, 6);
        check_pyramid(p, 70001, 8);
        check_pyramid(p, 70001, 7);
    }
    check_pyramid(Pair{{1.0}, {1.0}}, 40, 5);  // one tap: no history at all
}

TEST_F(ModwtTest, PacketNodesAreRepeatedFilteringInSequencyOrder) {
    for (int32_t n : {12, 16}) {
        const int32_t J = 3, nodes = 15;
        _univ_mat xm = column(test_signal(n)), h = column(kD4.h), g = column(kD4.g), P = make_univ<double>(n, nodes);
        ASSERT_EQ(message(wavuniv_transform_maximum_overlap_packet(&xm, &h, &g, J, nullptr, &P)), "");
        std::vector<std::vector<double>> ref = {test_signal(n)};
        for (int32_t j = 1; j <= J; ++j)
            for (int32_t k = 0; k < (1 << j); ++k)  // g for k mod 4 in {0, 3}, h for {1, 2}
                ref.push_back(filter_direct(ref[(1 << (j - 1)) - 1 + k / 2], (k % 4 == 0 || k % 4 == 3) ? kD4.g : kD4.h,
                                            1 << (j - 1)));
        for (int32_t c = 0; c < nodes; ++c) expect_near_vec(col_of(P, c), ref[c], 1e-12);
    }
}

TEST_F(ModwtTest, ChecksInOrder) {
    _univ_mat x = column(test_signal(8)), h = column(kHaar.h), g = column(kHaar.g), hf = make_univ<float>(2, 1);
    _univ_mat row = make_univ<double>(1, 8), h3 = column({1, 2, 3}), W = make_univ<double>(8, 3);
    _univ_mat W4 = make_univ<double>(8, 4), W1 = make_univ<double>(8, 1), Wf = make_univ<float>(8, 3);
    auto fwd = [&](const _univ_mat* xx, const _univ_mat* hh, int32_t J, _univ_mat* w, _univ_mat* v) {
        return message(wavuniv_transform_maximum_overlap(xx, hh, &g, J, nullptr, w, v));
    };
    EXPECT_EQ(fwd(nullptr, &h, 3, &W, &W), "array size mismatch");  // returned, not raised
    EXPECT_EQ(fwd(&row, &h, 3, &W, &W), "array size mismatch");
    EXPECT_EQ(fwd(&x, &hf, 99, &W, &W), "Illegal data type");  // types before levels
    EXPECT_EQ(fwd(&x, &h, 99, &W, &Wf), "Illegal data type");
    EXPECT_EQ(fwd(&x, &h, 4, &W4, &W4), "array size mismatch");  // N = 8 allows J <= 3
    EXPECT_EQ(fwd(&x, &h, 0, &W1, &W1), "array size mismatch");
    EXPECT_EQ(fwd(&x, &h3, 3, &W, &W), "array size mismatch");
    EXPECT_EQ(fwd(&x, &h, 3, &W, &W1), "array size mismatch");  // V too small to write
    EXPECT_EQ(raised([&] { fwd(&x, nullptr, 3, &W, &W); }), "null pointer");

    _univ_mat P = make_univ<double>(8, 7), Pf = make_univ<float>(8, 7);
    EXPECT_EQ(message(wavuniv_transform_maximum_overlap_packet(&x, &hf, &g, 3, nullptr, &P)),
              "array size mismatch");  // sizes before types: 7 columns are J = 2
    EXPECT_EQ(message(wavuniv_transform_maximum_overlap_packet(&x, &hf, &g, 2, nullptr, &P)), "Illegal data type");
    EXPECT_EQ(message(wavuniv_transform_maximum_overlap_packet(&x, &h, &g, 2, nullptr, &Pf)), "Illegal data type");

    _univ_mat Z = make_univ<double>(8, 3), Zf = make_univ<float>(8, 3), y9 = make_univ<double>(9, 3);
    EXPECT_EQ(message(wavuniv_transform_maximum_overlap_inverse(&Zf, &h, &g, 9, nullptr, &Z)), "Illegal data type");
    EXPECT_EQ(message(wavuniv_transform_maximum_overlap_inverse(&Z, &h, &g, 3, nullptr, &W4)), "array size mismatch");
    EXPECT_EQ(message(wavuniv_transform_maximum_overlap_inverse(&Z, &h, &g, 2, nullptr, &y9)), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
