// 100 Horn–Schunck iterations on two 512 x 512 double frames (two-frame derivatives), in
// nanoseconds per pixel-iteration, against a plain implementation in this binary that does the
// same arithmetic in separate passes (averages, update, change), as the method is usually written.
#include <benchmark/benchmark.h>

#include "peer_ratio.h"
#include <mutils.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int32_t kSize = 512, kIterations = 100;

struct Frames {
    std::vector<double> f0 = std::vector<double>(size_t(kSize) * kSize), f1 = f0;
    std::vector<double> u = f0, v = f0;
    Frames() {
        for (int32_t i = 0; i < kSize; ++i)
            for (int32_t j = 0; j < kSize; ++j) {
                auto pattern = [](double x, double y) { return 100 * (std::sin(0.1 * x) + std::cos(0.13 * y)); };
                f0[size_t(i) * kSize + j] = pattern(j, i);
                f1[size_t(i) * kSize + j] = pattern(j - 0.5, i - 0.25);
            }
    }
};
Frames& frames() {
    static Frames f;
    return f;
}

void run_library() {
    Frames& f = frames();
    Hux::ArenaScope scope;
    mutils::_mat_set set;
    const int32_t dims[1] = {2};
    mutils::matset_malloc(&set, 1, dims);
    mutils::matuniv_wrap_data(&set.mats[0], f.f0.data(), kSize, kSize, mutils::MUTIL_DOUBLE);
    mutils::matuniv_wrap_data(&set.mats[1], f.f1.data(), kSize, kSize, mutils::MUTIL_DOUBLE);
    mutils::_univ_mat u, v;
    mutils::matuniv_wrap_data(&u, f.u.data(), kSize, kSize, mutils::MUTIL_DOUBLE);
    mutils::matuniv_wrap_data(&v, f.v.data(), kSize, kSize, mutils::MUTIL_DOUBLE);
    int32_t done = 0;
    if (mutils::vidset_optical_flow_horn_schunck(&set, mutils::VID_GRADIENT_TWO_FRAME, kIterations, 0.0, 1.0, nullptr,
                                                 &u, &v, &done, nullptr) ||
        done != kIterations)
        std::abort();
}

// The same method written plainly: derivative fields, then per iteration an averaging pass, an
// update pass and a change pass over whole arrays.
double run_plain() {
    Frames& f = frames();
    const int32_t n = kSize;
    const size_t N = size_t(n) * n;
    std::vector<double> ex(N, 0), ey(N, 0), et(N, 0), u(N, 0), v(N, 0), ub(N, 0), vb(N, 0), un(N, 0), vn(N, 0);
    auto at = [n](int32_t i, int32_t j) { return size_t(i) * n + j; };
    for (int32_t i = 2; i < n - 2; ++i)
        for (int32_t j = 2; j < n - 2; ++j) {
            const double* a = f.f0.data();
            const double* b = f.f1.data();
            ex[at(i, j)] = 0.25 * (a[at(i, j + 1)] - a[at(i, j)] + a[at(i + 1, j + 1)] - a[at(i + 1, j)] +
                                   b[at(i, j + 1)] - b[at(i, j)] + b[at(i + 1, j + 1)] - b[at(i + 1, j)]);
            ey[at(i, j)] = 0.25 * (a[at(i + 1, j)] - a[at(i, j)] + a[at(i + 1, j + 1)] - a[at(i, j + 1)] +
                                   b[at(i + 1, j)] - b[at(i, j)] + b[at(i + 1, j + 1)] - b[at(i, j + 1)]);
            et[at(i, j)] = 0.25 * (b[at(i, j)] - a[at(i, j)] + b[at(i, j + 1)] - a[at(i, j + 1)] + b[at(i + 1, j)] -
                                   a[at(i + 1, j)] + b[at(i + 1, j + 1)] - a[at(i + 1, j + 1)]);
        }
    double change = 0;
    for (int it = 0; it < kIterations; ++it) {
        for (int32_t i = 1; i < n - 1; ++i)
            for (int32_t j = 1; j < n - 1; ++j) {
                ub[at(i, j)] =
                    (u[at(i - 1, j)] + u[at(i + 1, j)] + u[at(i, j - 1)] + u[at(i, j + 1)]) / 6 +
                    (u[at(i - 1, j - 1)] + u[at(i - 1, j + 1)] + u[at(i + 1, j - 1)] + u[at(i + 1, j + 1)]) / 12;
                vb[at(i, j)] =
                    (v[at(i - 1, j)] + v[at(i + 1, j)] + v[at(i, j - 1)] + v[at(i, j + 1)]) / 6 +
                    (v[at(i - 1, j - 1)] + v[at(i - 1, j + 1)] + v[at(i + 1, j - 1)] + v[at(i + 1, j + 1)]) / 12;
            }
        for (int32_t i = 2; i < n - 2; ++i)
            for (int32_t j = 2; j < n - 2; ++j) {
                const size_t p = at(i, j);
                const double t = (ex[p] * ub[p] + ey[p] * vb[p] + et[p]) / (1.0 + ex[p] * ex[p] + ey[p] * ey[p]);
                un[p] = ub[p] - ex[p] * t;
                vn[p] = vb[p] - ey[p] * t;
            }
        change = 0;
        for (size_t p = 0; p < N; ++p) change += (un[p] - u[p]) * (un[p] - u[p]) + (vn[p] - v[p]) * (vn[p] - v[p]);
        std::swap(u, un);
        std::swap(v, vn);
    }
    return change;
}

void set_rate(benchmark::State& state) {
    state.counters["per_pixel_iteration"] =
        benchmark::Counter(double(kSize) * kSize * kIterations,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
void BM_HornSchunck(benchmark::State& state) {
    for (auto _ : state) run_library();
    set_rate(state);
}
void BM_PlainHornSchunck(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(run_plain());
    set_rate(state);
}
BENCHMARK(BM_HornSchunck)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainHornSchunck)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    const double lib = peer_ratio::best_seconds(run_library, 5),
                 plain = peer_ratio::best_seconds([] { run_plain(); }, 5);
    const double work = double(kSize) * kSize * kIterations;
    std::printf("Horn-Schunck %.3f ns, plain %.3f ns per pixel-iteration; ratio library / plain = %.2f\n",
                lib / work * 1e9, plain / work * 1e9, lib / plain);
    benchmark::Shutdown();
}
