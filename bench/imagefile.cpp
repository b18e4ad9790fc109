// Writing and reading a 4096 x 4096 u8 greymap as a raw P5 file, against OpenCV's PGM codec
// (cv::imwrite / cv::imread of a ".pgm" file). Both open, transfer and close the file on each
// iteration; the files live in the system's temporary folder and are removed at the end.
//
//     bench_imagefile [--benchmark_min_time=1]
#include <mutils.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "peer_ratio.h"

#ifdef MUTILS_HAVE_OPENCV
#include <opencv2/imgcodecs.hpp>
#endif

namespace {

using namespace mutils;

constexpr int kSide = 4096;

std::vector<unsigned char> noise() {
    std::mt19937 g(12);
    std::vector<unsigned char> v(size_t(kSide) * kSide);
    for (auto& x : v) x = static_cast<unsigned char>(g() & 0xFF);
    v[0] = 255;  // the maxval both writers put in the header
    return v;
}

std::string temp_path(const char* name) { return (std::filesystem::temp_directory_path() / name).string(); }

bool write_ours(const std::string& path, const _univ_mat* image) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const char* err = mutils::imguniv_write_pgm(f, image, 0, nullptr);
    return std::fclose(f) == 0 && !err;
}

void add_pair([[maybe_unused]] const std::shared_ptr<std::vector<unsigned char>>& image) {
    const std::string ours_path = temp_path("mutils_bench_ours.pgm");
    auto write = [=](benchmark::State& st) {
        _univ_mat a{kSide, kSide, kSide * kSide, image->data(), MUTIL_UINT8};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (!write_ours(ours_path, &a)) st.SkipWithError("write failed");
        }
    };
    auto read = [=](benchmark::State& st) {
        _univ_mat a{kSide, kSide, kSide * kSide, image->data(), MUTIL_UINT8};
        if (!write_ours(ours_path, &a)) st.SkipWithError("write failed");
        for (auto _ : st) {
            Hux::ArenaScope scope;
            FILE* f = std::fopen(ours_path.c_str(), "rb");
            _univ_mat r{};
            const char* err = f ? mutils::imguniv_read_pgm(f, nullptr, &r) : "open";
            if (f) std::fclose(f);
            if (err || r.nelem != kSide * kSide) st.SkipWithError("read failed");
            benchmark::DoNotOptimize(r.data);
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    const std::string cv_path = temp_path("mutils_bench_opencv.pgm");
    auto cv_write = [=](benchmark::State& st) {
        const cv::Mat m(kSide, kSide, CV_8U, image->data());
        for (auto _ : st)
            if (!cv::imwrite(cv_path, m)) st.SkipWithError("imwrite failed");
    };
    auto cv_read = [=](benchmark::State& st) {
        cv::imwrite(cv_path, cv::Mat(kSide, kSide, CV_8U, image->data()));
        for (auto _ : st) {
            cv::Mat m = cv::imread(cv_path, cv::IMREAD_UNCHANGED);
            if (m.rows != kSide) st.SkipWithError("imread failed");
            benchmark::DoNotOptimize(m.data);
        }
    };
    peer_ratio::add("write P5 4096^2 u8", "opencv imwrite", 1.5, write, cv_write);
    peer_ratio::add("read P5 4096^2 u8", "opencv imread", 1.5, read, cv_read);
#else
    benchmark::RegisterBenchmark("write P5 4096^2 u8", write)->Unit(benchmark::kMillisecond)->UseRealTime();
    benchmark::RegisterBenchmark("read P5 4096^2 u8", read)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_pair(std::make_shared<std::vector<unsigned char>>(noise()));
    const int rc = peer_ratio::main(argc, argv);
    std::filesystem::remove(temp_path("mutils_bench_ours.pgm"));
    std::filesystem::remove(temp_path("mutils_bench_opencv.pgm"));
    return rc;
}
