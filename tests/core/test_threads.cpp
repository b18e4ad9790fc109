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
    _univ_mat a = make_univ<unsigned char>(n, n), b = make_univ<unsigned char>(n, n);
    _univ_mat d = make_univ<unsigned char>(n, n), r = make_univ<double>(n, n);
    for (int32_t i = 0; i < n * n; ++i) {
        seed = seed * 1664525u + 1013904223u;
        static_cast<unsigned char*>(a.data)[i] = static_cast<unsigned char>(seed >> 24);
        static_cast<unsigned char*>(b.data)[i] = static_cast<unsigned char>(seed >> 16);
    }
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(matuniv_add(&a, &b, nullptr, &r), nullptr);
        EXPECT_EQ(matuniv_multiply_elem(&a, &b, nullptr, &d), nullptr);
        EXPECT_EQ(matuniv_subtract(&r, &r, nullptr, &r), nullptr);
        EXPECT_EQ(matuniv_add(&d, &a, nullptr, &r), nullptr);
        _univ_mat c = make_univ<int16_t>(n, n);
        matuniv_cast(&r, 0, nullptr, &c);
        for (int32_t i = 0; i < n * n; i += 7) digest.push_back(static_cast<int16_t*>(c.data)[i]);
        std::swap(a, d);
    }
    return digest;
}

/// Runs f(1) and f(2) side by side on two threads, `repeats` times, expecting what each gives alone.
template <class F> void side_by_side(F f, int repeats) {
    const auto alone1 = f(1), alone2 = f(2);
    for (int repeat = 0; repeat < repeats; ++repeat) {
        decltype(f(1)) got1{}, got2{};
        std::thread t1([&] { got1 = f(1); }), t2([&] { got2 = f(2); });
        t1.join();
        t2.join();
        EXPECT_EQ(got1, alone1);
        EXPECT_EQ(got2, alone2);
    }
}

TEST(Threads, ConcurrentRunsMatchSequentialRuns) { side_by_side(run_mix, 4); }

TEST(Threads, EachThreadStartsWithItsOwnDefaultArena) {
    Hux::ImcAllocator* mine = Hux::ImcAllocator::m_current;
    Hux::ImcAllocator* theirs = nullptr;
    std::thread t([&] { theirs = Hux::ImcAllocator::m_current; });
    t.join();
    ASSERT_NE(theirs, nullptr);
    EXPECT_NE(theirs, mine);
}

/// Threshold of a large 8-bit image, counted on the calling thread in that thread's arena.
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

TEST(Threads, LargeThresholdsRunSideBySide) { side_by_side(large_threshold, 1); }

}  // namespace
}  // namespace mutils::test
