// Maximum-overlap wavelet transforms: against the direct circular sums, round trips through the
// inverse, packet nodes against repeated filtering, and the order of the argument checks.
#include <algorithm>
#include <cmath>

#include "support.h"

namespace mutils::test {
namespace {

const double kS = 1.0 / std::sqrt(2.0);
const std::vector<double> kHaarG = {kS, kS};
const std::vector<double> kHaarH = {kS, -kS};

// The 4-tap Daubechies pair: g the scaling filter, h[l] = (-1)^l g[L-1-l].
std::vector<double> d4_g() {
    const double s3 = std::sqrt(3.0), d = 4.0 * std::sqrt(2.0);
    return {(1 + s3) / d, (3 + s3) / d, (3 - s3) / d, (1 - s3) / d};
}
std::vector<double> d4_h() {
    const std::vector<double> g = d4_g();
    return {g[3], -g[2], g[1], -g[0]};
}

_univ_mat column(const std::vector<double>& v) { return make_univ<double>(int32_t(v.size()), 1, v); }

std::vector<double> test_signal(int32_t n) {
    std::vector<double> x(n);
    for (int32_t t = 0; t < n; ++t) x[t] = std::sin(0.7 * t) + 0.3 * t - 0.05 * t * t + (t % 3 == 0 ? 1.0 : 0.0);
    return x;
}

// One level of circular filtering written straight from the definition, with the filter
// rescaled by 1/sqrt(2) and its taps spread `stride` apart.
std::vector<double> filter_direct(const std::vector<double>& v, const std::vector<double>& f, int64_t stride) {
    const int64_t n = int64_t(v.size());
    std::vector<double> out(n);
    for (int64_t t = n - 1; t >= 0; --t) {
        double s = 0;
        for (size_t l = 0; l < f.size(); ++l) {
            int64_t i = t - (int64_t(l) * stride) % n;
            while (i < 0) i += n;
            s += f[l] * kS * v[i];
        }
        out[t] = s;
    }
    return out;
}

std::vector<double> col_of(const _univ_mat& m, int32_t c) {
    const double* d = static_cast<const double*>(m.data);
    std::vector<double> out(m.nrow);
    for (int32_t t = 0; t < m.nrow; ++t) out[t] = d[int64_t(t) * m.ncol + c];
    return out;
}

void expect_near_vec(const std::vector<double>& a, const std::vector<double>& b, double tol) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], tol) << "at " << i;
}

struct Pair {
    std::vector<double> h, g;
};

using ModwtTest = ArenaTest;

TEST_F(ModwtTest, HaarLevelOneIsHalfDifferencesAndHalfSums) {
    const std::vector<double> x = {1, 4, 2, 8, 5, 7, 3, 6};
    _univ_mat xm = column(x), h = column(kHaarH), g = column(kHaarG);
    _univ_mat W = make_univ<double>(8, 1), V = make_univ<double>(8, 1);
    ASSERT_EQ(message(wavuniv_transform_maximum_overlap(&xm, &h, &g, 1, nullptr, &W, &V)), "");
    for (int t = 0; t < 8; ++t) {
        const double prev = x[(t + 7) % 8];
        EXPECT_NEAR(values_of<double>(W)[t], (x[t] - prev) / 2, 1e-14);
        EXPECT_NEAR(values_of<double>(V)[t], (x[t] + prev) / 2, 1e-14);
    }
}

// Forward transform against the direct sums, energy kept, and the inverse's whole ladder.
void check_pyramid(const Pair& p, int32_t n, int32_t J) {
    SCOPED_TRACE("n = " + std::to_string(n) + ", J = " + std::to_string(J) + ", L = " + std::to_string(p.h.size()));
    const std::vector<double> x = test_signal(n);
    _univ_mat xm = column(x), h = column(p.h), g = column(p.g);
    _univ_mat W = make_univ<double>(n, J), V = make_univ<double>(n, J);
    ASSERT_EQ(message(wavuniv_transform_maximum_overlap(&xm, &h, &g, J, nullptr, &W, &V)), "");

    std::vector<std::vector<double>> Vs = {x}, Ws = {{}};
    double energy = 0, scale = 0;
    for (double v : x) scale = std::max(scale, std::fabs(v));
    for (int32_t j = 1; j <= J; ++j) {
        const int64_t s = int64_t(1) << (j - 1);
        Ws.push_back(filter_direct(Vs.back(), p.h, s));
        Vs.push_back(filter_direct(Vs.back(), p.g, s));
        expect_near_vec(col_of(W, j - 1), Ws[j], 1e-13 * scale);
        expect_near_vec(col_of(V, j - 1), Vs[j], 1e-13 * scale);
        for (double w : Ws[j]) energy += w * w;
    }
    // The transform keeps the signal's energy: |x|^2 = sum_j |W_j|^2 + |V_J|^2.
    double ex = 0;
    for (double v : x) ex += v * v;
    for (double v : Vs[J]) energy += v * v;
    EXPECT_NEAR(energy, ex, 1e-9 * ex);

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

TEST_F(ModwtTest, PyramidMatchesDirectSumsAndInverseRebuildsTheLadder) {
    // Lengths that are and are not powers of two, each at its deepest level; N = 3 with 4 taps
    // wraps the filter round the signal.
    for (const Pair& p : {Pair{kHaarH, kHaarG}, Pair{d4_h(), d4_g()}})
        for (int32_t n : {3, 8, 13, 16, 37}) check_pyramid(p, n, int32_t(std::floor(std::log2(double(n)))));
}

TEST_F(ModwtTest, LongSignalsAtModerateDepth) {
    // Several blocks of outputs, and results large enough to be written with streaming stores.
    for (const Pair& p : {Pair{kHaarH, kHaarG}, Pair{d4_h(), d4_g()}}) {
        check_pyramid(p, 1500, 6);
        check_pyramid(p, 70001, 8);
        check_pyramid(p, 70001, 7);
    }
}

TEST_F(ModwtTest, IntegerSignalIsConvertedToDouble) {
    _univ_mat x = make_univ<unsigned char>(8, 1, {1, 4, 2, 8, 5, 7, 3, 6});
    _univ_mat h = column(kHaarH), g = column(kHaarG);
    _univ_mat W = make_univ<double>(8, 2), V = make_univ<double>(8, 2);
    ASSERT_EQ(message(wavuniv_transform_maximum_overlap(&x, &h, &g, 2, nullptr, &W, &V)), "");
    expect_near_vec(col_of(V, 1), filter_direct(filter_direct({1, 4, 2, 8, 5, 7, 3, 6}, kHaarG, 1), kHaarG, 2),
                    1e-14);
}

TEST_F(ModwtTest, PacketNodesAreRepeatedFilteringInSequencyOrder) {
    for (int32_t n : {12, 16}) {
        const int32_t J = 3;
        const std::vector<double> x = test_signal(n);
        _univ_mat xm = column(x), h = column(d4_h()), g = column(d4_g());
        const int32_t nodes = (1 << (J + 1)) - 1;
        _univ_mat P = make_univ<double>(n, nodes);
        ASSERT_EQ(message(wavuniv_transform_maximum_overlap_packet(&xm, &h, &g, J, nullptr, &P)), "");
        std::vector<std::vector<double>> ref = {x};
        for (int32_t j = 1; j <= J; ++j) {
            for (int32_t k = 0; k < (1 << j); ++k) {
                const bool low = k % 4 == 0 || k % 4 == 3;
                ref.push_back(filter_direct(ref[(1 << (j - 1)) - 1 + k / 2], low ? d4_g() : d4_h(), 1 << (j - 1)));
            }
        }
        for (int32_t c = 0; c < nodes; ++c) expect_near_vec(col_of(P, c), ref[c], 1e-12);

        // Node 0 of each level is the pyramid's V_j and node 1 its W_j.
        _univ_mat W = make_univ<double>(n, J), V = make_univ<double>(n, J);
        ASSERT_EQ(message(wavuniv_transform_maximum_overlap(&xm, &h, &g, J, nullptr, &W, &V)), "");
        for (int32_t j = 1; j <= J; ++j) {
            expect_near_vec(col_of(P, (1 << j) - 1), col_of(V, j - 1), 1e-12);
            expect_near_vec(col_of(P, (1 << j)), col_of(W, j - 1), 1e-12);
        }
    }
}

TEST_F(ModwtTest, ForwardChecksInOrder) {
    _univ_mat x = column(test_signal(8)), h = column(kHaarH), g = column(kHaarG);
    _univ_mat W = make_univ<double>(8, 3), V = make_univ<double>(8, 3);
    _univ_mat hf = make_univ<float>(2, 1, {1, 1}), row = make_univ<double>(1, 8), h3 = column({1, 2, 3});
    _univ_mat W4 = make_univ<double>(8, 4), W0 = make_univ<double>(8, 1), Wf = make_univ<float>(8, 3);
    auto run = [&](const _univ_mat* xx, const _univ_mat* hh, const _univ_mat* gg, int32_t J, _univ_mat* w,
                   _univ_mat* v) { return message(wavuniv_transform_maximum_overlap(xx, hh, gg, J, nullptr, w, v)); };
    EXPECT_EQ(run(&x, &h, &g, 3, &W, &V), "");
    EXPECT_EQ(run(nullptr, &h, &g, 3, &W, &V), "array size mismatch");  // returned, not raised
    EXPECT_EQ(run(&row, &h, &g, 3, &W, &V), "array size mismatch");
    EXPECT_EQ(run(&x, &hf, &g, 99, &Wf, &V), "Illegal data type");       // h's type before any size
    EXPECT_EQ(run(&x, &row, &g, 3, &W, &V), "array size mismatch");
    EXPECT_EQ(run(&x, &h, &hf, 3, &W, &V), "Illegal data type");
    EXPECT_EQ(run(&x, &h, &g, 99, &Wf, &V), "Illegal data type");        // W's type before J
    EXPECT_EQ(run(&x, &h, &g, 99, &W, &Wf), "Illegal data type");
    EXPECT_EQ(run(&x, &h, &g, 4, &W4, &W4), "array size mismatch");      // N = 8 allows J <= 3
    EXPECT_EQ(run(&x, &h, &g, 0, &W0, &W0), "array size mismatch");
    EXPECT_EQ(run(&x, &h, &g, -1, &W0, &W0), "array size mismatch");
    EXPECT_EQ(run(&x, &h3, &g, 3, &W, &V), "array size mismatch");
    EXPECT_EQ(run(&x, &h, &g, 2, &W, &V), "array size mismatch");        // W has 3 columns
    EXPECT_EQ(run(&x, &h, &g, 3, &W, &W0), "array size mismatch");      // V too small to write
    EXPECT_EQ(raised([&] { run(&x, nullptr, &g, 3, &W, &V); }), "null pointer");
}

TEST_F(ModwtTest, PacketChecksSizesBeforeTypes) {
    _univ_mat x = column(test_signal(8)), h = column(kHaarH), g = column(kHaarG);
    _univ_mat P = make_univ<double>(8, 7), P15 = make_univ<double>(8, 15), Pf = make_univ<float>(8, 7);
    _univ_mat hf = make_univ<float>(2, 1, {1, 1}), row = make_univ<double>(1, 8), h2 = make_univ<double>(1, 2);
    _univ_mat P9 = make_univ<double>(9, 7);
    auto run = [&](const _univ_mat* xx, const _univ_mat* hh, const _univ_mat* gg, int32_t J, _univ_mat* p) {
        return message(wavuniv_transform_maximum_overlap_packet(xx, hh, gg, J, nullptr, p));
    };
    EXPECT_EQ(run(&x, &h, &g, 2, &P), "");
    EXPECT_EQ(run(&x, &h, &g, 3, &P15), "");
    EXPECT_EQ(run(&x, &hf, &g, 3, &P), "array size mismatch");  // 7 columns are J = 2: size wins
    EXPECT_EQ(run(&x, &h, &g, 4, &P), "array size mismatch");
    EXPECT_EQ(run(&x, &h, &g, 2, &P9), "array size mismatch");
    EXPECT_EQ(run(&row, &h, &g, 2, &P), "array size mismatch");
    EXPECT_EQ(run(nullptr, &h, &g, 2, &P), "array size mismatch");
    EXPECT_EQ(run(&x, &hf, &g, 2, &P), "Illegal data type");
    EXPECT_EQ(run(&x, &h2, &g, 2, &P), "array size mismatch");
    EXPECT_EQ(run(&x, &h, &hf, 2, &P), "Illegal data type");
    EXPECT_EQ(run(&x, &h, &g, 2, &Pf), "Illegal data type");
}

TEST_F(ModwtTest, InverseChecksInOrder) {
    _univ_mat Z = make_univ<double>(8, 3), y = make_univ<double>(8, 3), h = column(kHaarH), g = column(kHaarG);
    _univ_mat Zf = make_univ<float>(8, 3), hf = make_univ<float>(2, 1), h2 = make_univ<double>(1, 2);
    _univ_mat y4 = make_univ<double>(8, 4), y9 = make_univ<double>(9, 3), Z5 = make_univ<double>(8, 5);
    auto run = [&](const _univ_mat* z, const _univ_mat* hh, const _univ_mat* gg, int32_t J, _univ_mat* yy) {
        return message(wavuniv_transform_maximum_overlap_inverse(z, hh, gg, J, nullptr, yy));
    };
    EXPECT_EQ(run(&Z, &h, &g, 2, &y), "");
    EXPECT_EQ(run(&Zf, &h, &g, 9, &y), "Illegal data type");
    EXPECT_EQ(run(&Z, &hf, &g, 9, &y), "Illegal data type");
    EXPECT_EQ(run(&Z, &h2, &g, 2, &y), "array size mismatch");
    EXPECT_EQ(run(&Z, &h, &hf, 2, &y), "Illegal data type");
    EXPECT_EQ(run(&Z, &h, &g, 9, &Zf), "Illegal data type");
    EXPECT_EQ(run(&Z5, &h, &g, 4, &y4), "array size mismatch");  // J = 4 > log2 8
    EXPECT_EQ(run(&Z, &h, &g, 3, &y4), "array size mismatch");   // Z has J columns, not J + 1
    EXPECT_EQ(run(&Z, &h, &g, 2, &y4), "array size mismatch");
    EXPECT_EQ(run(&Z, &h, &g, 2, &y9), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
