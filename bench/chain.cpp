// Boundary tracing of a disk in a 4096 x 4096 u8 image, at several radii: the time per boundary
// move should not depend on the radius (the trace is linear in the boundary's length, and never
// touches the image beyond the boundary and the seed's row). With OpenCV present, its contour
// finder on the same image is timed too; it scans the whole image, so it is a reference for
// the cost of a full-image alternative rather than a like-for-like peer.
#include <benchmark/benchmark.h>

#include "peer_ratio.h"
#include <mutils.h>

#include <chrono>
#include <cstdio>
#include <vector>

#if defined(MUTILS_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int32_t kSize = 4096;

std::vector<unsigned char>& disk(int32_t radius) {
    static std::vector<unsigned char> img;
    static int32_t drawn = -1;
    if (drawn != radius) {
        img.assign(size_t(kSize) * kSize, 0);
        const int64_t c = kSize / 2, r2 = int64_t(radius) * radius;
        for (int64_t i = 0; i < kSize; ++i)
            for (int64_t j = 0; j < kSize; ++j)
                if ((i - c) * (i - c) + (j - c) * (j - c) <= r2) img[size_t(i * kSize + j)] = 255;
        drawn = radius;
    }
    return img;
}

int64_t trace(std::vector<unsigned char>& img) {
    Hux::ArenaScope scope;
    mutils::_uint8_mat m;
    mutils::matu8_wrap_data(&m, img.data(), kSize, kSize);
    mutils::_pgn_chain chain{};
    if (mutils::pgnu8_boundary_chain_from_region(&m, kSize / 2, kSize / 2, nullptr, &chain)) std::abort();
    int64_t moves = 0;
    for (int32_t i = 0; i < chain.nrun; ++i) moves += chain.run_length[i];
    return moves;
}

void BM_TraceDisk(benchmark::State& state) {
    std::vector<unsigned char>& img = disk(int32_t(state.range(0)));
    int64_t moves = 0;
    for (auto _ : state) moves = trace(img);
    state.counters["moves"] = double(moves);
    state.counters["per_move"] =
        benchmark::Counter(double(moves), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_TraceDisk)->Arg(250)->Arg(500)->Arg(1000)->Arg(2000)->Unit(benchmark::kMicrosecond);

#if defined(MUTILS_HAVE_OPENCV)
void BM_OpenCVFindContours(benchmark::State& state) {
    std::vector<unsigned char>& img = disk(int32_t(state.range(0)));
    cv::Mat m(kSize, kSize, CV_8UC1, img.data());
    for (auto _ : state) {
        std::vector<std::vector<cv::Point>> contours;
        cv::findContours(m, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
        benchmark::DoNotOptimize(contours.data());
    }
}
BENCHMARK(BM_OpenCVFindContours)->Arg(2000)->Unit(benchmark::kMicrosecond);
#endif

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    for (int32_t r : {250, 2000}) {
        std::vector<unsigned char>& img = disk(r);
        int64_t moves = 0;
        const double s = peer_ratio::best_seconds([&] { moves = trace(img); }, 20);
        std::printf("radius %d: %lld moves, %.2f ns per move\n", r, static_cast<long long>(moves),
                    s / double(moves) * 1e9);
    }
    benchmark::Shutdown();
}
