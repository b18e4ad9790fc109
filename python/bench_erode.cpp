// The C++ side of the Python benchmark: a 2048 x 2048 u8 binary erosion by a 3 x 3 square, as
// the Python binding calls it (a universal member in a fresh arena scope), best of many runs in
// processor time.
// Prints the best time of one call in microseconds.
#include <ctime>
#include <cstdio>
#include <vector>

#include <mutils.h>

int main() {
    using mutils::_univ_mat;
    using mutils::MUTIL_UINT8;
    const int n = 2048;
    std::vector<unsigned char> pixels(std::size_t(n) * n), out(pixels.size()), se(9, 1);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = ((i * 2654435761u) >> 13) % 5 != 0;
    _univ_mat image{n, n, n * n, pixels.data(), MUTIL_UINT8}, result{n, n, n * n, out.data(), MUTIL_UINT8};
    _univ_mat element{3, 3, 9, se.data(), MUTIL_UINT8};
    double best = 1e30;
    for (int run = 0; run < 30; ++run) {
        const std::clock_t t0 = std::clock();  // processor time: the machine may be shared
        {
            Hux::ArenaScope scope;
            if (mutils::imguniv_binary_erode(&image, &element, 1, 1, mutils::scalar_u8(1), mutils::scalar_u8(0),
                                             nullptr, &result))
                return 1;
        }
        const double us = double(std::clock() - t0) * 1e6 / CLOCKS_PER_SEC;
        if (us < best) best = us;
    }
    std::printf("%.1f\n", best);
    return 0;
}
