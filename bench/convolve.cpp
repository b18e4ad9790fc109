// Correlation of a 2048 x 2048 double image against OpenCV's filter2D with replicated borders
// (our boundary rule 3). Both compute the same numbers; ours runs in its own arena per call.
#include <mutils.h>

#include <memory>
#include <random>
#include <vector>

#include "peer_ratio.h"

#ifdef MUTILS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace mutils;

constexpr int kSide = 2048;

std::vector<double> random_doubles(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(0.0, 255.0);
    std::vector<double> v(n);
    for (double& x : v) x = u(gen);
    return v;
}

void add_correlate(const char* label, int k, double limit) {
    auto image = std::make_shared<std::vector<double>>(random_doubles(size_t(kSide) * kSide, 1));
    auto kernel = std::make_shared<std::vector<double>>(random_doubles(size_t(k) * k, 2));
    auto ours = [=](benchmark::State& st) {
        std::vector<double> out(size_t(kSide) * kSide);
        _double_mat d{kSide, kSide, kSide * kSide, image->data()}, f{k, k, k * k, kernel->data()};
        _double_mat y{kSide, kSide, kSide * kSide, out.data()};
        const int32_t o = k / 2 + 1;  // the centre, as filter2D's default anchor
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (sigdbl_correlate(&d, &f, 1, 1, o, o, MUTIL_BOUNDARY_CONTINUE, nullptr, &y)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_64F, image->data()), ker(k, k, CV_64F, kernel->data());
        cv::Mat dst(kSide, kSide, CV_64F);
        for (auto _ : st) cv::filter2D(src, dst, CV_64F, ker, cv::Point(-1, -1), 0.0, cv::BORDER_REPLICATE);
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_correlate("correlate 2048^2 dbl 3x3", 3, 1.5);
    add_correlate("correlate 2048^2 dbl 15x15", 15, 3.0);
    return peer_ratio::main(argc, argv);
}
