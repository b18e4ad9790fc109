// The thread limit of data-parallel passes: processors, lowered by `MUTILS_THREADS`, at most 8.
#include <cstdlib>
#include <thread>

#include "detail_parallel.h"

namespace mutils {
namespace detail {

int parallel_limit() {
    static const int limit = [] {
        long n = long(std::thread::hardware_concurrency());
        if (const char* env = std::getenv("MUTILS_THREADS")) {
            char* end = nullptr;
            const long asked = std::strtol(env, &end, 10);
            if (end != env && asked >= 1 && (n < 1 || asked < n)) n = asked;
        }
        return int(n < 1 ? 1 : n > 8 ? 8 : n);
    }();
    return limit;
}

}  // namespace detail
}  // namespace mutils
