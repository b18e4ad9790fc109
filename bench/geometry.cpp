// Rotation, area halving and bicubic enlargement against OpenCV's warpAffine and resize (one thread):
// bilinear rotation of a 2048^2 u8 image, area halving of a 4096^2 u8 image, bicubic scaling of a
// 1024^2 double image to 1536^2.
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

/// Registers ours (image of n x n of T into m x m) beside the OpenCV call on the same pixels.
template <class T, class Ours, class Peer>
void add(const char* label, double limit, int n, int m, Ours ours_call, Peer peer_call) {
    auto image = std::make_shared<std::vector<T>>(std::size_t(n) * n);
    for (std::size_t i = 0; i < image->size(); ++i) (*image)[i] = T((i * 2654435761u >> 13) % 251);
    auto ours = [=](benchmark::State& st) {
        std::vector<T> out(std::size_t(m) * m);
        using Rec = std::conditional_t<std::is_same_v<T, double>, _double_mat, _uint8_mat>;
        Rec a{n, n, n * n, image->data()}, r{m, m, m * m, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (ours_call(&a, &r)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(n, n, cv::DataType<T>::type, image->data());
        cv::Mat dst(m, m, cv::DataType<T>::type);
        for (auto _ : st) peer_call(src, dst);
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    (void)peer_call;
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add<unsigned char>(
        "rotate 2048^2 u8 bilinear 17 deg", 2.0, 2048, 2048,
        [](_uint8_mat* a, _uint8_mat* r) { return imgu8_rotate(a, 17.0, IMG_INTERP_BILINEAR, 0, nullptr, r); },
        [](const auto& src, auto& dst) {
#ifdef MUTILS_HAVE_OPENCV
            // Our angle is counter-clockwise as displayed, as OpenCV's is.
            const cv::Mat m = cv::getRotationMatrix2D(cv::Point2f(1023.5f, 1023.5f), 17.0, 1.0);
            cv::warpAffine(src, dst, m, dst.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(0));
#endif
        });
    add<unsigned char>(
        "scale 4096^2 u8 area halving", 1.5, 4096, 2048,
        [](_uint8_mat* a, _uint8_mat* r) { return imgu8_scale(a, IMG_INTERP_AREA, nullptr, r); },
        [](const auto& src, auto& dst) {
#ifdef MUTILS_HAVE_OPENCV
            cv::resize(src, dst, dst.size(), 0, 0, cv::INTER_AREA);
#endif
        });
    add<double>(
        "scale 1024^2 to 1536^2 double bicubic", 2.0, 1024, 1536,
        [](_double_mat* a, _double_mat* r) { return imgdbl_scale(a, IMG_INTERP_BICUBIC, nullptr, r); },
        [](const auto& src, auto& dst) {
#ifdef MUTILS_HAVE_OPENCV
            cv::resize(src, dst, dst.size(), 0, 0, cv::INTER_CUBIC);
#endif
        });
    return peer_ratio::main(argc, argv);
}
