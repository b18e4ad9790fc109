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

}  // namespace
}  // namespace mutils::test
