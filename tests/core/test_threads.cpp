// Two threads running a mix of operations on their own data, each in its own arena, get
// exactly what one thread gets running the same work alone.
#include <thread>

#include "support.h"

namespace mutils::test {
namespace {

/// A fixed mix of operations on data made from `seed`; returns every result element.
std::vector<double> run_mix(uint32_t seed) {
    Hux::ArenaScope scope;
    std::vector<double> digest;
    const int32_t n = 64;
    _univ_mat a, b, r, d;
    matuniv_malloc(&a, n, n, MUTIL_UINT8);
    matuniv_malloc(&b, n, n, MUTIL_UINT8);
    matuniv_malloc(&r, n, n, MUTIL_DOUBLE);
    matuniv_malloc(&d, n, n, MUTIL_UINT8);
    auto* pa = static_cast<unsigned char*>(a.data);
    auto* pb = static_cast<unsigned char*>(b.data);
    for (int32_t i = 0; i < n * n; ++i) {
        seed = seed * 1664525u + 1013904223u;
        pa[i] = static_cast<unsigned char>(seed >> 24);
        pb[i] = static_cast<unsigned char>(seed >> 16);
    }
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(matuniv_add(&a, &b, nullptr, &r), nullptr);
        EXPECT_EQ(matuniv_multiply_elem(&a, &b, nullptr, &d), nullptr);
        EXPECT_EQ(matuniv_subtract(&r, &r, nullptr, &r), nullptr);
        EXPECT_EQ(matuniv_add(&d, &a, nullptr, &r), nullptr);
        _univ_mat c;
        matuniv_malloc(&c, n, n, MUTIL_SINT16);
        matuniv_cast(&r, 0, nullptr, &c);
        for (int32_t i = 0; i < n * n; i += 7) digest.push_back(static_cast<int16_t*>(c.data)[i]);
        std::swap(a, d);
    }
    return digest;
}

TEST(Threads, ConcurrentRunsMatchSequentialRuns) {
    const std::vector<double> alone1 = run_mix(1), alone2 = run_mix(2);
    for (int repeat = 0; repeat < 4; ++repeat) {
        std::vector<double> got1, got2;
        std::thread t1([&] { got1 = run_mix(1); });
        std::thread t2([&] { got2 = run_mix(2); });
        t1.join();
        t2.join();
        EXPECT_EQ(got1, alone1);
        EXPECT_EQ(got2, alone2);
    }
}

TEST(Threads, EachThreadStartsWithItsOwnDefaultArena) {
    Hux::ImcAllocator* mine = Hux::ImcAllocator::m_current;
    Hux::ImcAllocator* theirs = nullptr;
    std::thread t([&] { theirs = Hux::ImcAllocator::m_current; });
    t.join();
    ASSERT_NE(theirs, nullptr);
    EXPECT_NE(theirs, mine);
}

/// Threshold of a large 8-bit image, whose pixels the library counts on threads of its own.
double large_threshold(uint32_t seed) {
    Hux::ArenaScope scope;
    auto a = make<unsigned char>(1100, 1000), r = make<unsigned char>(1100, 1000);
    for (int32_t i = 0; i < a.nelem; ++i) {
        seed = seed * 1664525u + 1013904223u;
        a.data[i] = static_cast<unsigned char>((seed >> 24) % 3 ? 60 + (seed >> 26) : 180 + (seed >> 27));
    }
    double t = 0;
    EXPECT_EQ(imgu8_threshold_auto(&a, 0, IMG_THRESH_BETWEEN_CLASS, nullptr, &r, &t), nullptr);
    return t;
}

TEST(Threads, CallsThatStartThreadsOfTheirOwnRunSideBySide) {
    const double alone1 = large_threshold(1), alone2 = large_threshold(2);
    double got1 = 0, got2 = 0;
    std::thread t1([&] { got1 = large_threshold(1); });
    std::thread t2([&] { got2 = large_threshold(2); });
    t1.join();
    t2.join();
    EXPECT_EQ(got1, alone1);
    EXPECT_EQ(got2, alone2);
}

}  // namespace
}  // namespace mutils::test
