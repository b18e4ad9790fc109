// Data-parallel passes over large arrays (internal). A pass is split into contiguous slices:
// the first runs on the calling thread, the others on threads of their own that are joined
// before the pass returns. Only loops that read the caller's data and write slice-private
// results use it: worker threads have no arena of the caller's, do not poll for interrupts and
// must not throw.
//
// The number of threads is the number of processors, at most 8; the environment variable
// `MUTILS_THREADS` (read once) lowers it, and `MUTILS_THREADS=1` keeps every pass on the
// calling thread.
#pragma once

#include <cstdint>
#include <system_error>
#include <thread>

namespace mutils {
namespace detail {

/// Most slices a pass may use (processors, `MUTILS_THREADS`, at most 8).
int parallel_limit();

/// Slices for a pass over `n` items with at least `grain` items in each: 1 for small passes.
inline int parallel_parts(int64_t n, int64_t grain) {
    const int64_t by_size = grain > 0 ? n / grain : 1;
    const int limit = parallel_limit();
    return by_size < 1 ? 1 : by_size < limit ? int(by_size) : limit;
}

/// Runs `body(part, begin, end)` for `parts` contiguous slices of [0, n) and returns when all
/// are done. A slice whose thread cannot be started runs on the calling thread.
template <class F> void parallel_slices(int parts, int64_t n, F&& body) {
    if (parts < 1) parts = 1;
    if (parts > 8) parts = 8;
    auto bound = [&](int k) { return n / parts * k + (k ? n % parts : 0); };  // slice 0 takes the rest
    std::thread workers[8];
    for (int k = 1; k < parts; ++k) {
        try {
            workers[k] = std::thread([&body, k, b = bound(k), e = bound(k + 1)] { body(k, b, e); });
        } catch (const std::system_error&) {
            body(k, bound(k), bound(k + 1));
        }
    }
    body(0, int64_t(0), bound(1));
    for (int k = 1; k < parts; ++k)
        if (workers[k].joinable()) workers[k].join();
}

}  // namespace detail
}  // namespace mutils
