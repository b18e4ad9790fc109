// Canny edges of a 2048 x 2048 u8 image with sigma 1.5 against OpenCV's GaussianBlur + Canny
// (one thread). The two detectors differ in their gradient kernels; the comparison is of cost.
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

}  // namespace

int main(int argc, char** argv) {
    add_canny("canny 2048^2 u8 sigma 1.5", 4.0);
    return peer_ratio::main(argc, argv);
}
