// Maximum-overlap wavelet transform of 2^20 samples, 8 levels, an 8-tap filter, against a plain
// circular-filter loop doing the same work (same sums, same result layout) in this binary.
// Reported as nanoseconds per sample-level-tap; the final line is the ratio of the two.
#include <benchmark/benchmark.h>

#include "peer_ratio.h"
#include <mutils.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int32_t kN = 1 << 20, kJ = 8, kL = 8;

// The 8-tap Daubechies scaling filter and its wavelet mate h[l] = (-1)^l g[L-1-l].
const std::vector<double> kG = {0.2303778133088964,  0.7148465705529154, 0.6308807679298587, -0.0279837694168599,
                                -0.1870348117190931, 0.0308413818355607, 0.0328830116668852, -0.0105974017850690};
std::vector<double> wavelet() {
    std::vector<double> h(kL);
    for (int l = 0; l < kL; ++l) h[l] = (l % 2 ? -1.0 : 1.0) * kG[kL - 1 - l];
    return h;
}

struct Data {
    std::vector<double> x = std::vector<double>(kN), h = wavelet(), g = kG;
    std::vector<double> W = std::vector<double>(size_t(kN) * kJ), V = std::vector<double>(size_t(kN) * kJ);
    Data() {
        for (int32_t t = 0; t < kN; ++t) x[t] = std::sin(0.001 * t) + 0.1 * std::cos(0.37 * t);
    }
};
Data& data() {
    static Data d;
    return d;
}

mutils::_univ_mat wrap(std::vector<double>& v, int32_t rows, int32_t cols) {
    mutils::_univ_mat m;
    mutils::matuniv_wrap_data(&m, v.data(), rows, cols, mutils::MUTIL_DOUBLE);
    return m;
}

void run_library() {
    Data& d = data();
    Hux::ArenaScope scope;
    mutils::_univ_mat x = wrap(d.x, kN, 1), h = wrap(d.h, kL, 1), g = wrap(d.g, kL, 1);
    mutils::_univ_mat W = wrap(d.W, kN, kJ), V = wrap(d.V, kN, kJ);
    if (mutils::wavuniv_transform_maximum_overlap(&x, &h, &g, kJ, nullptr, &W, &V)) std::abort();
}

// What a careful user would write directly: per output, the taps' circular indices.
void run_plain() {
    Data& d = data();
    const double r = 1.0 / std::sqrt(2.0);
    double ht[kL], gt[kL];
    for (int l = 0; l < kL; ++l) {
        ht[l] = d.h[l] * r;
        gt[l] = d.g[l] * r;
    }
    std::vector<double> cur(d.x), next(kN);
    for (int32_t j = 1; j <= kJ; ++j) {
        const int64_t s = int64_t(1) << (j - 1);
        for (int64_t t = 0; t < kN; ++t) {
            double w = 0, v = 0;
            for (int l = 0; l < kL; ++l) {
                int64_t i = t - l * s;
                if (i < 0) i += kN;
                w += ht[l] * cur[i];
                v += gt[l] * cur[i];
            }
            d.W[t * kJ + j - 1] = w;
            d.V[t * kJ + j - 1] = v;
            next[t] = v;
        }
        std::swap(cur, next);
    }
}

void set_rate(benchmark::State& state) {
    state.counters["per_sample_level_tap"] = benchmark::Counter(
        double(kN) * kJ * kL, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Modwt(benchmark::State& state) {
    for (auto _ : state) run_library();
    set_rate(state);
}
void BM_PlainCircularLoop(benchmark::State& state) {
    for (auto _ : state) run_plain();
    set_rate(state);
}
BENCHMARK(BM_Modwt)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainCircularLoop)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    const double lib = peer_ratio::best_seconds(run_library, 7), plain = peer_ratio::best_seconds(run_plain, 7);
    const double work = double(kN) * kJ * kL;
    std::printf("MODWT %.3f ns, plain loop %.3f ns per sample-level-tap; ratio library / plain = %.2f\n",
                lib / work * 1e9, plain / work * 1e9, lib / plain);
    benchmark::Shutdown();
}
