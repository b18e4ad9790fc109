// Element-wise arithmetic and casts on 2^24 elements against the machine's copy bandwidth: each
// operation's bytes touched (operands read plus result written) per second, as a fraction of
// what a plain memcpy of the same element count moves per second.
//
//     bench_arith [--benchmark_min_time=1]
#include <benchmark/benchmark.h>
#include <mutils.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace {

constexpr int32_t kRows = 4096, kCols = 4096;  // 2^24 elements
constexpr std::size_t kN = std::size_t(kRows) * kCols;

struct Data {
    Hux::ArenaScope scope;
    mutils::_double_mat a, b, r;
    mutils::_univ_mat a8, b8, rd;
    mutils::_uint8_mat r8;
    Data() {
        mutils::matdbl_malloc(&a, kRows, kCols);
        mutils::matdbl_malloc(&b, kRows, kCols);
        mutils::matdbl_malloc(&r, kRows, kCols);
        mutils::matuniv_malloc(&a8, kRows, kCols, mutils::MUTIL_UINT8);
        mutils::matuniv_malloc(&b8, kRows, kCols, mutils::MUTIL_UINT8);
        mutils::matuniv_malloc(&rd, kRows, kCols, mutils::MUTIL_DOUBLE);
        mutils::matu8_malloc(&r8, kRows, kCols);
        for (std::size_t i = 0; i < kN; ++i) {
            a.data[i] = double(i % 251);
            b.data[i] = double(i % 13) * 0.5;
            static_cast<unsigned char*>(a8.data)[i] = static_cast<unsigned char>(i);
            static_cast<unsigned char*>(b8.data)[i] = static_cast<unsigned char>(i * 7);
        }
        std::memset(r.data, 0, kN * sizeof(double));
        std::memset(rd.data, 0, kN * sizeof(double));
        std::memset(r8.data, 0, kN);
    }
};

Data& data() {
    static Data d;
    return d;
}

// Best bytes per second of each benchmark, for the ratios printed at the end.
std::map<std::string, double> g_bandwidth;

template <class F> void timed(benchmark::State& state, const std::string& name, double bytes, F&& f) {
    double best = 1e30;
    for (auto _ : state) {
        auto t0 = std::chrono::steady_clock::now();
        f();
        auto t1 = std::chrono::steady_clock::now();
        best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
    g_bandwidth[name] = std::max(g_bandwidth[name], bytes / best);
    if (name != "memcpy" && g_bandwidth.count("memcpy"))
        state.counters["of_memcpy"] = g_bandwidth[name] / g_bandwidth["memcpy"];
}

void BM_memcpy(benchmark::State& state) {
    Data& d = data();
    timed(state, "memcpy", 2.0 * kN * sizeof(double), [&] {
        std::memcpy(d.r.data, d.a.data, kN * sizeof(double));
        benchmark::DoNotOptimize(d.r.data);
        benchmark::ClobberMemory();
    });
}

void BM_matdbl_add(benchmark::State& state) {
    Data& d = data();
    timed(state, "matdbl_add", 3.0 * kN * sizeof(double), [&] {
        if (mutils::matdbl_add(&d.a, &d.b, nullptr, &d.r)) state.SkipWithError("matdbl_add failed");
        benchmark::ClobberMemory();
    });
}

void BM_matuniv_add_u8_to_double(benchmark::State& state) {
    Data& d = data();
    timed(state, "matuniv_add u8+u8->dbl", 2.0 * kN + kN * sizeof(double), [&] {
        Hux::ArenaScope scope;  // the call's work memory is released after each call
        if (mutils::matuniv_add(&d.a8, &d.b8, nullptr, &d.rd)) state.SkipWithError("matuniv_add failed");
        benchmark::ClobberMemory();
    });
}

void BM_matdbl_cast_to_u8(benchmark::State& state) {
    Data& d = data();
    timed(state, "matdbl_cast_to_u8", double(kN) * sizeof(double) + kN, [&] {
        mutils::matdbl_cast_to_u8(&d.a, 0, nullptr, &d.r8);
        benchmark::ClobberMemory();
    });
}

BENCHMARK(BM_memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_matdbl_add)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_matuniv_add_u8_to_double)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_matdbl_cast_to_u8)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    data();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    const double copy = g_bandwidth["memcpy"];
    if (copy > 0) {
        std::printf("\nbytes touched per second as a fraction of memcpy (%.2f GB/s):\n", copy / 1e9);
        for (const char* name : {"matdbl_add", "matuniv_add u8+u8->dbl", "matdbl_cast_to_u8"})
            if (g_bandwidth.count(name)) std::printf("  %-24s %.2f\n", name, g_bandwidth[name] / copy);
    }
    return 0;
}
