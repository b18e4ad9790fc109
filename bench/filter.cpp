// Median, box mean and RGB-to-grey on 2048 x 2048 u8 images against OpenCV's medianBlur, blur and
// cvtColor (one thread).
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
using Image = std::shared_ptr<std::vector<unsigned char>>;

/// Registers ours (a call on the u8 image and a u8 result) beside the OpenCV call.
template <class Ours, class Peer>
void add(const char* label, double limit, Image image, Ours ours_call, Peer peer_call) {
    auto ours = [=](benchmark::State& st) {
        std::vector<unsigned char> out(image->size());
        _uint8_mat a{kSide, kSide, kSide * kSide, image->data()}, r{kSide, kSide, kSide * kSide, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (ours_call(&a, &r)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_8U, image->data());
        cv::Mat dst(kSide, kSide, CV_8U);
        for (auto _ : st) peer_call(src, dst);
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    (void)peer_call;
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

void add_median(const char* label, int k) {
    auto image = std::make_shared<std::vector<unsigned char>>(bench_images::noise(5));
    add(
        label, 1.5, image,
        [k](_uint8_mat* a, _uint8_mat* r) {
            return imgu8_filter_quantile(a, k, k, 0.5, MUTIL_BOUNDARY_CONTINUE, nullptr, r);
        },
        [k](const auto& src, auto& dst) {
#ifdef MUTILS_HAVE_OPENCV
            cv::medianBlur(src, dst, k);
#endif
        });
}

void add_mean(const char* label, int k) {
    auto image = std::make_shared<std::vector<unsigned char>>(bench_images::noise(6));
    add(
        label, 1.5, image,
        [k](_uint8_mat* a, _uint8_mat* r) {
            return imgu8_filter_local_mean(a, k, k, MUTIL_BOUNDARY_CONTINUE, nullptr, r);
        },
        [k](const auto& src, auto& dst) {
#ifdef MUTILS_HAVE_OPENCV
            cv::blur(src, dst, cv::Size(k, k), cv::Point(-1, -1), cv::BORDER_REPLICATE);
#endif
        });
}

/// RGB to grey: our planes are three separate images; OpenCV's input is the interleaved image.
void add_grey(const char* label) {
    auto planes = std::make_shared<std::vector<std::vector<unsigned char>>>();
    for (unsigned k = 0; k < 3; ++k) planes->push_back(bench_images::noise(10 + k));
    auto ours = [=](benchmark::State& st) {
        std::vector<unsigned char> grey(std::size_t(kSide) * kSide);
        _mat_set s;
        _univ_mat g{kSide, kSide, kSide * kSide, grey.data(), MUTIL_UINT8};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            int32_t three = 3;
            mutils::matset_malloc(&s, 1, &three);
            for (int k = 0; k < 3; ++k) s.mats[k] = {kSide, kSide, kSide * kSide, (*planes)[k].data(), MUTIL_UINT8};
            if (mutils::imgset_color_to_grayscale(&s, nullptr, &g)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        std::vector<cv::Mat> p;
        for (int k = 0; k < 3; ++k) p.emplace_back(kSide, kSide, CV_8U, (*planes)[k].data());
        cv::Mat rgb, dst(kSide, kSide, CV_8U);
        cv::merge(p, rgb);
        for (auto _ : st) cv::cvtColor(rgb, dst, cv::COLOR_RGB2GRAY);
    };
    peer_ratio::add(label, "opencv", 1.5, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_median("median 2048^2 u8 3x3", 3);
    add_median("median 2048^2 u8 7x7", 7);
    add_mean("local mean 2048^2 u8 15x15", 15);
    add_grey("RGB to grey 2048^2 u8");
    return peer_ratio::main(argc, argv);
}
