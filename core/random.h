/// @file
/// Repeatable pseudo-random numbers with an explicit generator state.
///
/// The generator is the minimal standard multiplicative congruential generator
/// x <- 16807 x mod (2^31 - 1), computed exactly in 32-bit steps, whose outputs pass through a
/// 32-slot shuffle table; normal deviates come from the polar method, which makes them in pairs
/// and keeps the second for the next call.
///
/// The state is opaque (`void*`), allocated from the calling thread's arena by
/// `mutil_rand_begin` and owned by the caller; it is valid as long as that arena. Each state is
/// independent: equal seeds give equal sequences, and one state must not be used from two
/// threads at once. Every operation returns a message: null on success, "null pointer" for a
/// null state or output pointer (nothing is drawn then).
///
/// Seeding: the seed is the int32_t that `seed` points to, or the current time in seconds when
/// `seed` is null. A negative seed is negated and 0 becomes 1, so 0 and 1 give the same sequence
/// and so do -5 and 5. Seeds are taken modulo 2^31 - 1 (2147483647 and -2147483648 behave as 1),
/// which keeps the generator away from its fixed point 0. Reseeding keeps a waiting normal
/// deviate: the next `mutil_rand_normal` still returns it.
///
///     void* rng = nullptr;
///     mutils::mutil_rand_begin(&rng);            // seeded with 1: the same sequence every run
///     int32_t seed = 42;
///     mutils::mutil_rand_set_seed(&seed, rng);
///     double u, z;
///     mutils::mutil_rand_uniform(rng, &u);       // in (0, 0.999999999]
///     mutils::mutil_rand_normal(rng, &z);        // standard normal
#pragma once

#include "errors.h"

namespace mutils {

/// @{
/// Allocates a state seeded with 1 and stores it in `*state`.
MUTILS_API const char* mutil_rand_begin(void** state);
/// Seeds the generator with `*seed` (an int32_t), or with the time when `seed` is null.
MUTILS_API const char* mutil_rand_set_seed(const void* seed, void* state);
/// The next uniform deviate in (0, 0.999999999].
MUTILS_API const char* mutil_rand_uniform(void* state, double* out);
/// The next standard normal deviate.
MUTILS_API const char* mutil_rand_normal(void* state, double* out);
/// Does nothing: the state stays in its arena until the arena is released.
MUTILS_API const char* mutil_rand_end(void* state);
/// @}

}  // namespace mutils
