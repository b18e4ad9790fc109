// Chamfer distance transform of a 2048 x 2048 u8 image with scattered object pixels, against
// OpenCV's 3 x 3 mask transform (city-block: DIST_L1, chessboard: DIST_C). OpenCV writes float
// distances, we write doubles; both compute the same two-pass chamfer distances.
//
//     bench_distance [--benchmark_min_time=1]
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

// Object pixels are 0 (OpenCV measures the distance to zero pixels), everything else 255.
std::vector<unsigned char> scattered_objects() {
    std::mt19937 gen(3);
    std::vector<unsigned char> v(size_t(kSide) * kSide, 255);
    for (int k = 0; k < 2000; ++k) v[gen() % v.size()] = 0;
    return v;
}

void add_distance(const char* label, _img_distance_type metric, [[maybe_unused]] int cv_type, double limit) {
    auto image = std::make_shared<std::vector<unsigned char>>(scattered_objects());
    auto ours = [=](benchmark::State& st) {
        std::vector<double> out(image->size());
        _uint8_mat a{kSide, kSide, kSide * kSide, image->data()};
        _double_mat r{kSide, kSide, kSide * kSide, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (imgu8_transform_distance(&a, metric, 0, nullptr, &r)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_8U, image->data());
        cv::Mat dst(kSide, kSide, CV_32F);
        for (auto _ : st) cv::distanceTransform(src, dst, cv_type, cv::DIST_MASK_3, CV_32F);
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
#ifdef MUTILS_HAVE_OPENCV
    add_distance("distance 2048^2 u8 city-block", IMG_DISTANCE_CITY_BLOCK, cv::DIST_L1, 2.0);
    add_distance("distance 2048^2 u8 chessboard", IMG_DISTANCE_CHESSBOARD, cv::DIST_C, 2.0);
#else
    add_distance("distance 2048^2 u8 city-block", IMG_DISTANCE_CITY_BLOCK, 0, 2.0);
    add_distance("distance 2048^2 u8 chessboard", IMG_DISTANCE_CHESSBOARD, 0, 2.0);
#endif
    // OpenCV's 3 x 3 L2 mask uses other weights (0.955, 1.3693): the same work, other numbers.
#ifdef MUTILS_HAVE_OPENCV
    add_distance("distance 2048^2 u8 (1, sqrt 2) vs L2 mask 3", IMG_DISTANCE_EUCLIDEAN, cv::DIST_L2, 2.0);
#endif
    return peer_ratio::main(argc, argv);
}
