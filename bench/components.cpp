// Eight-neighbour labelling of 2048 x 2048 random blobs against OpenCV's connectedComponents.
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

void add_components(const char* label, int h, double limit) {
    auto image = std::make_shared<std::vector<unsigned char>>(bench_images::blobs(5, h));
    auto ours = [=](benchmark::State& st) {
        std::vector<uint32_t> out(image->size());
        _uint8_mat a{kSide, kSide, kSide * kSide, image->data()};
        _uint32_mat l{kSide, kSide, kSide * kSide, out.data()};
        uint32_t count = 0;
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (imgu8_connected_components(&a, IMG_CONNECT_EIGHT, 255, 0, nullptr, &l, &count))
                st.SkipWithError("failed");
        }
        st.counters["labels"] = count;
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [=](benchmark::State& st) {
        cv::setNumThreads(1);
        const cv::Mat src(kSide, kSide, CV_8U, image->data());
        cv::Mat labels(kSide, kSide, CV_32S);
        int n = 0;
        for (auto _ : st) n = cv::connectedComponents(src, labels, 8, CV_32S);
        st.counters["labels"] = n;
    };
    peer_ratio::add(label, "opencv", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_components("components 8-conn 2048^2 blobs", 4, 2.0);
    add_components("components 8-conn 2048^2 fine blobs", 1, 2.0);
    return peer_ratio::main(argc, argv);
}
