// Long-running callers: a million library calls, each inside its own arena scope, keep the
// process's resident memory flat.
#include <cstdio>
#include <unistd.h>

#include "support.h"

namespace mutils::test {
namespace {

long resident_kib() {
    long pages = 0, resident = 0;
    FILE* f = std::fopen("/proc/self/statm", "r");
    if (!f) return -1;
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = -1;
    std::fclose(f);
    return resident < 0 ? -1 : resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void one_call() {
    Hux::ArenaScope scope;
    _univ_mat a, r;
    matuniv_malloc(&a, 8, 8, MUTIL_UINT8);
    matuniv_malloc(&r, 8, 8, MUTIL_DOUBLE);
    std::memset(a.data, 3, 64);
    ASSERT_EQ(matuniv_add(&a, &a, nullptr, &r), nullptr);  // u8 operands go through a temporary
    ASSERT_EQ(static_cast<double*>(r.data)[63], 6.0);
}

TEST(MemoryBounds, MillionCallsInScopesStayFlat) {
    for (int i = 0; i < 10000; ++i) one_call();  // warm up the allocator
    long before = resident_kib();
    ASSERT_GT(before, 0);
    for (int i = 0; i < 1000000; ++i) one_call();
    long after = resident_kib();
    std::printf("resident memory: %ld KiB before, %ld KiB after a million calls\n", before, after);
    EXPECT_LT(after - before, 1024);
}

#if defined(__SANITIZE_ADDRESS__)
// Under AddressSanitizer the arena poisons what lies between and after its blocks, so writing
// one byte past a block is reported although the byte belongs to the arena's chunk.
TEST(MemoryBoundsDeathTest, WritePastAnArenaBlockIsReported) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Hux::ArenaScope scope;
            auto* p = static_cast<volatile char*>(Hux::ImcAllocator::m_current->allocate_array(10));
            p[10] = 1;
        },
        "use-after-poison");
    // A block that fills its alignment units exactly still has a red zone after it.
    EXPECT_DEATH(
        {
            Hux::ArenaScope scope;
            auto* p = static_cast<volatile double*>(Hux::ImcAllocator::m_current->allocate_array(64 * sizeof(double)));
            Hux::ImcAllocator::m_current->allocate_array(64);
            p[64] = 1.0;
        },
        "use-after-poison");
    // A block released with its scope is poisoned too.
    EXPECT_DEATH(
        {
            volatile char* p;
            {
                Hux::ArenaScope scope;
                p = static_cast<volatile char*>(Hux::ImcAllocator::m_current->allocate_array(16));
            }
            p[0] = 1;
        },
        "use-after-poison");
}
#endif

}  // namespace
}  // namespace mutils::test
