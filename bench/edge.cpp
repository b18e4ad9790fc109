// Canny edges of a 2048 x 2048 u8 image with sigma 1.5 against OpenCV's GaussianBlur + Canny
// (one thread; the two detectors differ in their gradient kernels, the comparison is of cost),
// and the Sobel gradients of a 2048 x 2048 double image against two cv::Sobel calls.
#include <mutils.h>

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

void add_canny(const char* label, double limit) {
    auto image = std::make_shared<std::vector<unsigned char>>(bench_images::blobs(6, 6));
    auto ours = [=](benchmark::State& st) {
        std::vector<unsigned char> out(image->size());
        _univ_mat a{kSide, kSide, kSide * kSide, image->data(), MUTIL_UINT8};
        _univ_mat r{kSide, kSide, kSide * kSide, out.data(), MUTIL_UINT8};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (mutils::imguniv_edge_canny(&a, 1.5, 20.0, 60.0, scalar_u8(255), scalar_u8(0), nullptr, &r))
                st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_8U, image->data());
        cv::Mat blurred, edges;
        for (auto _ : st) {
            cv::GaussianBlur(src, blurred, cv::Size(0, 0), 1.5);
            cv::Canny(blurred, edges, 20.0, 60.0);
        }
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

void add_sobel(const char* label, double limit) {
    const std::vector<unsigned char> blobs = bench_images::blobs(7, 6);
    auto image = std::make_shared<std::vector<double>>(blobs.begin(), blobs.end());
    auto ours = [=](benchmark::State& st) {
        std::vector<double> v(image->size()), h(image->size());
        _univ_mat a{kSide, kSide, kSide * kSide, image->data(), MUTIL_DOUBLE};
        _univ_mat rv{kSide, kSide, kSide * kSide, v.data(), MUTIL_DOUBLE};
        _univ_mat rh{kSide, kSide, kSide * kSide, h.data(), MUTIL_DOUBLE};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (mutils::imguniv_gradient_sobel(&a, nullptr, &rv, &rh)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_64F, image->data());
        cv::Mat dy(kSide, kSide, CV_64F), dx(kSide, kSide, CV_64F);
        for (auto _ : st) {
            cv::Sobel(src, dy, CV_64F, 0, 1, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
            cv::Sobel(src, dx, CV_64F, 1, 0, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
        }
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_canny("canny 2048^2 u8 sigma 1.5", 2.0);
    add_sobel("sobel gradients 2048^2 double", 1.0);
    return peer_ratio::main(argc, argv);
}
