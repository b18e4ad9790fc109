// Automatic threshold of a 2048 x 2048 u8 image against a plain sum over the same pixels (a
// 64-bit accumulation, the least work that reads every pixel). The printed ratio is time over
// time: at most 2 means at least half the sum's bandwidth.
//
//     bench_graymap [--benchmark_min_time=1]
#include <mutils.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "peer_ratio.h"

namespace {

using namespace mutils;

constexpr int kSide = 2048;

std::vector<unsigned char> bimodal() {
    std::mt19937 gen(8);
    std::normal_distribution<double> dark(70, 18), light(180, 25);
    std::vector<unsigned char> v(size_t(kSide) * kSide);
    for (auto& x : v) x = (unsigned char)std::lround(std::fmin(255, std::fmax(0, gen() % 3 ? dark(gen) : light(gen))));
    return v;
}

__attribute__((noinline)) uint64_t plain_sum(const unsigned char* p, size_t n) {
    uint64_t s = 0;
    for (size_t i = 0; i < n; ++i) s += p[i];
    return s;
}

void add_threshold(const char* label, _img_thresh_type criterion) {
    auto image = std::make_shared<std::vector<unsigned char>>(bimodal());
    auto ours = [=](benchmark::State& st) {
        std::vector<unsigned char> out(image->size());
        _univ_mat a{kSide, kSide, kSide * kSide, image->data(), MUTIL_UINT8};
        _univ_mat r{kSide, kSide, kSide * kSide, out.data(), MUTIL_UINT8};
        double t = 0;
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (mutils::imguniv_threshold_auto(&a, 0, criterion, nullptr, &r, &t)) st.SkipWithError("failed");
        }
        st.counters["threshold"] = t;
    };
    auto sum = [=](benchmark::State& st) {
        for (auto _ : st) benchmark::DoNotOptimize(plain_sum(image->data(), image->size()));
    };
    peer_ratio::add(label, "plain sum", 2.0, ours, sum);
}

}  // namespace

int main(int argc, char** argv) {
    add_threshold("threshold_auto 2048^2 u8 between-class", IMG_THRESH_BETWEEN_CLASS);
    add_threshold("threshold_auto 2048^2 u8 minimum error", IMG_THRESH_MINIMUM_ERROR);
    return peer_ratio::main(argc, argv);
}
