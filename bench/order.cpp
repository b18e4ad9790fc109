// Order statistics and histograms on 10^7 doubles against the standard library on the same input:
// `matuniv_sort` against std::sort, `matuniv_median` against std::nth_element (plus the largest
// element of the lower half, as an even count needs), and `matuniv_histogram` into 256 bins against
// a plain sum over the same data (the histogram should keep at least half the sum's bandwidth).
// Prints the time ratios at the end (below 1: we are faster).
//
//     bench_order [--benchmark_min_time=2]
#include <benchmark/benchmark.h>
#include <mutils.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "peer_ratio.h"

namespace {

constexpr int32_t kRows = 1000, kCols = 10000;  // 10^7 elements
constexpr std::size_t kN = std::size_t(kRows) * kCols;

struct Data {
    std::vector<double> input = std::vector<double>(kN), work = std::vector<double>(kN);
    mutils::_univ_mat a{}, r{};
    Data() {
        std::mt19937_64 gen(7);
        std::normal_distribution<double> dist(0.0, 1.0);
        for (double& x : input) x = dist(gen);
        mutils::matuniv_wrap_data(&a, input.data(), kRows, kCols, mutils::MUTIL_DOUBLE);
        mutils::matuniv_wrap_data(&r, work.data(), kRows, kCols, mutils::MUTIL_DOUBLE);
    }
};

Data& data() {
    static Data d;
    return d;
}

void fail_on(benchmark::State& state, const char* message) {
    if (message) state.SkipWithError(message);
}

void sort_ours(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        Hux::ArenaScope call;
        fail_on(state, mutils::matuniv_sort(&d.a, nullptr, &d.r));
        benchmark::ClobberMemory();
    }
}

void sort_peer(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        std::memcpy(d.work.data(), d.input.data(), kN * sizeof(double));
        std::sort(d.work.begin(), d.work.end());
        benchmark::ClobberMemory();
    }
}

void median_ours(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        Hux::ArenaScope call;
        double m = 0;
        fail_on(state, mutils::matuniv_median(&d.a, nullptr, &m));
        benchmark::DoNotOptimize(m);
    }
}

void median_peer(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        std::memcpy(d.work.data(), d.input.data(), kN * sizeof(double));
        const auto mid = d.work.begin() + kN / 2;
        std::nth_element(d.work.begin(), mid, d.work.end());
        double m = (*std::max_element(d.work.begin(), mid) + *mid) * 0.5;  // kN is even
        benchmark::DoNotOptimize(m);
    }
}

void histogram_ours(benchmark::State& state) {
    Data& d = data();
    std::vector<uint32_t> counts(256);
    mutils::_uint32_mat h;
    mutils::matu32_wrap_data(&h, counts.data(), 256, 1);
    for (auto _ : state) {
        Hux::ArenaScope call;
        fail_on(state, mutils::matuniv_histogram(&d.a, -4.0, 4.0, 1, nullptr, &h));
        benchmark::ClobberMemory();
    }
}

void sum_peer(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        double s = 0.0;
        for (double x : d.input) s += x;
        benchmark::DoNotOptimize(s);
    }
}

}  // namespace

int main(int argc, char** argv) {
    data();
    // Histogram: the ratio is the time against the plain sum's, so at most 2 keeps half its bandwidth.
    peer_ratio::add("matuniv_sort 1e7 doubles", "std::sort", 1.5, sort_ours, sort_peer);
    peer_ratio::add("matuniv_median 1e7 doubles", "std::nth_element", 1.2, median_ours, median_peer);
    peer_ratio::add("matuniv_histogram 1e7 doubles, 256 bins", "plain sum", 2.0, histogram_ours, sum_peer);
    return peer_ratio::main(argc, argv);
}
