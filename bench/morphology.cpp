// Binary and grey-scale erosion of 2048 x 2048 u8 (and double) images against OpenCV's erode (one thread).
#include <mutils.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "bench_images.h"
#include "peer_ratio.h"

#ifdef MUTILS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace mutils;
using bench_images::kSide;

/// A k x k structuring element: all ones (square) or the disk of radius (k - 1) / 2.
std::vector<unsigned char> element(int k, bool disk) {
    std::vector<unsigned char> se(std::size_t(k) * k, 1);
    if (disk) {
        Hux::ArenaScope scope;
        _uint8_mat m{k, k, k * k, se.data()};
        imgu8_generate_disk(k / 2, k / 2, double(k / 2), 1, 0, nullptr, &m);
    }
    return se;
}

void add_binary(const char* label, int k, bool disk, double limit) {
    auto image = std::make_shared<std::vector<unsigned char>>(bench_images::blobs(3));
    auto se = std::make_shared<std::vector<unsigned char>>(element(k, disk));
    auto ours = [=](benchmark::State& st) {
        std::vector<unsigned char> out(image->size());
        _uint8_mat a{kSide, kSide, kSide * kSide, image->data()}, s{k, k, k * k, se->data()};
        _uint8_mat r{kSide, kSide, kSide * kSide, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (imgu8_binary_erode(&a, &s, k / 2, k / 2, 255, 0, nullptr, &r)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_8U, image->data()), ker(k, k, CV_8U, se->data());
        cv::Mat dst(kSide, kSide, CV_8U);
        for (auto _ : st) cv::erode(src, dst, ker);
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

/// Flat k x k grey-scale erosion of the noise image (as u8, or converted to double).
template <class T> void add_grey(const char* label, int k, double limit) {
    const std::vector<unsigned char> noise = bench_images::noise(4);
    auto image = std::make_shared<std::vector<T>>(noise.begin(), noise.end());
    auto ours = [=](benchmark::State& st) {
        std::vector<T> out(image->size()), flat(std::size_t(k) * k, T(0));
        using Mat = std::conditional_t<sizeof(T) == 1, _uint8_mat, _double_mat>;
        Mat a{kSide, kSide, kSide * kSide, image->data()}, s{k, k, k * k, flat.data()};
        Mat r{kSide, kSide, kSide * kSide, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            const char* err = nullptr;
            if constexpr (sizeof(T) == 1)
                err = imgu8_grayscale_erode(&a, &s, k / 2, k / 2, MUTIL_BOUNDARY_CONTINUE, nullptr, &r);
            else
                err = imgdbl_grayscale_erode(&a, &s, k / 2, k / 2, MUTIL_BOUNDARY_CONTINUE, nullptr, &r);
            if (err) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const int type = sizeof(T) == 1 ? CV_8U : CV_64F;
        const cv::Mat src(kSide, kSide, type, image->data());
        cv::Mat dst(kSide, kSide, type), ker = cv::Mat::ones(k, k, CV_8U);
        for (auto _ : st) cv::erode(src, dst, ker, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_binary("binary erode 2048^2 u8 5x5 square", 5, false, 2.0);
    add_binary("binary erode 2048^2 u8 disk r=5", 11, true, 3.0);
    add_grey<unsigned char>("grayscale erode 2048^2 u8 flat 5x5", 5, 1.2);
    add_grey<double>("grayscale erode 2048^2 double flat 5x5", 5, 1.2);
    return peer_ratio::main(argc, argv);
}
