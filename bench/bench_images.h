// Synthetic 2048 x 2048 inputs shared by the image benchmarks.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace bench_images {

constexpr int kSide = 2048;

/// Uniform random grey levels.
inline std::vector<unsigned char> noise(unsigned seed) {
    std::mt19937 g(seed);
    std::vector<unsigned char> v(std::size_t(kSide) * kSide);
    for (auto& x : v) x = static_cast<unsigned char>(g() & 0xFF);
    return v;
}

/// Random blobs: noise smoothed by two passes of a (2h+1)^2 box, foreground (255) above the mean.
inline std::vector<unsigned char> blobs(unsigned seed, int h = 4) {
    std::vector<unsigned char> n = noise(seed);
    std::vector<double> a(n.begin(), n.end()), b(a.size());
    for (int pass = 0; pass < 2; ++pass) {
        for (int r = 0; r < kSide; ++r)  // rows
            for (int c = 0; c < kSide; ++c) {
                double s = 0;
                for (int k = -h; k <= h; ++k) s += a[std::size_t(r) * kSide + std::clamp(c + k, 0, kSide - 1)];
                b[std::size_t(r) * kSide + c] = s;
            }
        for (int r = 0; r < kSide; ++r)  // columns
            for (int c = 0; c < kSide; ++c) {
                double s = 0;
                for (int k = -h; k <= h; ++k) s += b[std::size_t(std::clamp(r + k, 0, kSide - 1)) * kSide + c];
                a[std::size_t(r) * kSide + c] = s;
            }
    }
    double mean = 0;
    for (double x : a) mean += x;
    mean /= double(a.size());
    std::vector<unsigned char> out(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) out[i] = a[i] > mean ? 255 : 0;
    return out;
}

}  // namespace bench_images
