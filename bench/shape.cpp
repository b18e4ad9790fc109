// Moments up to order 3 of a 2048 x 2048 u8 image against OpenCV's moments, and region merging of a
// 1024 x 1024 u8 image from a 1 x 1 grid down to 50 regions (no packaged peer: the time per merge
// is printed). Shape features against scikit-image are timed by bench/shape_features.py.
#include <mutils.h>

#include <cmath>
#include <memory>
#include <vector>

#include "bench_images.h"
#include "peer_ratio.h"

#ifdef MUTILS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace mutils;
using bench_images::kSide;

void add_moments() {
    auto image = std::make_shared<std::vector<unsigned char>>(bench_images::noise(7));
    auto ours = [=](benchmark::State& st) {
        _uint8_mat a{kSide, kSide, kSide * kSide, image->data()};
        double m[16];
        _double_mat r{4, 4, 16, m};
        for (auto _ : st)
            if (imgu8_moments(&a, IMG_MOMENT_RAW, nullptr, &r)) st.SkipWithError("failed");
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_8U, image->data());
        for (auto _ : st) benchmark::DoNotOptimize(cv::moments(src));
    };
    peer_ratio::add("moments order 3 2048^2 u8", "opencv", 1.5, ours, peer);
#else
    benchmark::RegisterBenchmark("moments order 3 2048^2 u8", ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

/// Flat shapes (a gradient, disks, bars) under +-8 of noise: regions of near-constant grey.
std::vector<unsigned char> scene(int side) {
    std::vector<unsigned char> v(std::size_t(side) * side);
    uint32_t seed = 12345;
    for (int r = 0; r < side; ++r)
        for (int c = 0; c < side; ++c) {
            double x = 30.0 + 40.0 * c / side;
            for (int k = 0; k < 12; ++k)
                if (std::hypot(r - side * (0.1 + 0.07 * k), c - side * (0.5 + 0.35 * std::sin(k))) < side * 0.06)
                    x = 90 + 12 * k;
            if ((r / (side / 8)) % 2 == 0 && c > side * 0.8) x = 230;
            seed = seed * 1664525u + 1013904223u;
            x += ((seed >> 24) % 17) - 8.0;
            v[std::size_t(r) * side + c] = static_cast<unsigned char>(std::clamp(x, 0.0, 255.0));
        }
    return v;
}

void add_klm() {
    constexpr int side = 1024;
    auto image = std::make_shared<std::vector<unsigned char>>(scene(side));
    benchmark::RegisterBenchmark(
        "region merging 1024^2 u8 1x1 grid to 50 regions",
        [=](benchmark::State& st) {
            _univ_mat a{side, side, side * side, image->data(), MUTIL_UINT8};
            std::vector<uint32_t> l(image->size());
            std::vector<double> x(image->size());
            _univ_mat lab{side, side, side * side, l.data(), MUTIL_UINT32};
            _univ_mat approx{side, side, side * side, x.data(), MUTIL_DOUBLE};
            int32_t count = 0;
            for (auto _ : st) {
                Hux::ArenaScope scope;
                if (mutils::imguniv_region_grow_klm(&a, 1, 1, INFINITY, 50, nullptr, &lab, &approx, &count))
                    st.SkipWithError("failed");
            }
            const double merges = double(side) * side - count;
            st.counters["merges"] = merges;
            st.counters["per_merge"] =
                benchmark::Counter(merges, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(1);
}

}  // namespace

int main(int argc, char** argv) {
    add_moments();
    add_klm();
    return peer_ratio::main(argc, argv);
}
