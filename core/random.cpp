#include "random.h"

#include <cmath>
#include <ctime>

#include "detail.h"

namespace mutils {
namespace {

constexpr int32_t kModulus = 2147483647;  // 2^31 - 1
constexpr int32_t kMultiplier = 16807;
constexpr int32_t kQuotient = kModulus / kMultiplier;   // 127773
constexpr int32_t kRemainder = kModulus % kMultiplier;  // 2836
constexpr int kSlots = 32;
constexpr int32_t kSlotDivisor = 1 + (kModulus - 1) / kSlots;  // 67108864
constexpr double kScale = 1.0 / kModulus;
constexpr double kMaxUniform = 0.999999999;

struct RandState {
    int32_t seed;           // congruential state, in [1, kModulus - 1]
    int32_t table[kSlots];  // shuffle table
    int32_t last;           // table value drawn last; picks the next slot
    unsigned char normal_cached;
    double cached_normal;
};

// x <- 16807 x mod (2^31 - 1) without overflow (x = q*127773 + r, so 16807 x = 16807 r - 2836 q
// modulo the modulus, both terms fitting in 32 bits).
int32_t step(int32_t x) {
    const int32_t q = x / kQuotient;
    x = kMultiplier * (x - q * kQuotient) - kRemainder * q;
    return x < 0 ? x + kModulus : x;
}

double next_uniform(RandState* s) {
    s->seed = step(s->seed);
    const int j = s->last / kSlotDivisor;
    s->last = s->table[j];
    s->table[j] = s->seed;
    const double u = s->last * kScale;
    return u > kMaxUniform ? kMaxUniform : u;
}

}  // namespace

const char* mutil_rand_begin(void** state) {
    if (!state) return msg::null_pointer;
    auto* s = detail::work_array<RandState>(1);
    s->normal_cached = 0;
    s->cached_normal = 0.0;
    const int32_t one = 1;
    MUTILS_TRY(mutil_rand_set_seed(&one, s));
    *state = s;
    return nullptr;
}

const char* mutil_rand_set_seed(const void* seed, void* state) {
    if (!state) return msg::null_pointer;
    auto* s = static_cast<RandState*>(state);
    const int32_t now = static_cast<int32_t>(static_cast<uint32_t>(std::time(nullptr)));  // low 32 bits
    int64_t x = seed ? *static_cast<const int32_t*>(seed) : now;
    if (x < 0) x = -x;
    x %= kModulus;
    if (x == 0) x = 1;
    s->seed = static_cast<int32_t>(x);
    for (int j = kSlots + 7; j >= 0; --j) {  // the first 8 steps only warm up
        s->seed = step(s->seed);
        if (j < kSlots) s->table[j] = s->seed;
    }
    s->last = s->table[0];
    return nullptr;
}

const char* mutil_rand_uniform(void* state, double* out) {
    if (!state || !out) return msg::null_pointer;
    *out = next_uniform(static_cast<RandState*>(state));
    return nullptr;
}

const char* mutil_rand_normal(void* state, double* out) {
    if (!state || !out) return msg::null_pointer;
    auto* s = static_cast<RandState*>(state);
    if (s->normal_cached) {
        s->normal_cached = 0;
        *out = s->cached_normal;
        return nullptr;
    }
    double p, q, r;
    do {
        p = 2.0 * next_uniform(s) - 1.0;
        q = 2.0 * next_uniform(s) - 1.0;
        r = p * p + q * q;
    } while (r >= 1.0 || r == 0.0);
    const double f = std::sqrt(-2.0 * std::log(r) / r);
    s->cached_normal = p * f;
    s->normal_cached = 1;
    *out = q * f;
    return nullptr;
}

const char* mutil_rand_end(void*) { return nullptr; }

}  // namespace mutils
