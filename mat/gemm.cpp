// Packed, cache-blocked matrix product (see detail_linalg.h for the arithmetic contract).
//
// Blocking: B is packed in blocks of KC rows by NC columns, cut into strips NR columns wide
// (each strip stored row after row, NR values per inner index); A is packed in blocks of MC rows
// by KC inner indices, cut into strips MR rows high (MR values per inner index). A register tile
// of MR x NR results walks the inner index of one block; across blocks of the inner index the
// tile reloads the partial results from C, which continues the same sequential chain.

// Every product and sum is rounded on its own, on every processor (no fused multiply-add, even
// in the clones for processors that have it), so results do not depend on the machine.
#pragma GCC optimize("fp-contract=off")

#include <algorithm>
#include <cstring>

#include "detail_linalg.h"

// The 32-byte vector helpers below are always inlined into the processor-specific clones, so the
// baseline calling convention for such vectors never comes into play.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace mutils {
namespace detail {
namespace {

template <class T> struct Vec {
    static constexpr int lanes = 32 / int(sizeof(T));
    typedef T type __attribute__((vector_size(32)));
};

constexpr int MR = 6;
template <class T> constexpr int NR = 2 * Vec<T>::lanes;
constexpr int64_t MC = 72;
constexpr int64_t KC = 256;
constexpr int64_t NC = 4080;

template <class V, class T> [[gnu::always_inline]] inline V splat(T x) {
    V v;
    for (int i = 0; i < int(sizeof(V) / sizeof(T)); ++i) v[i] = x;
    return v;
}

template <class V, class T> [[gnu::always_inline]] inline V load(const T* p) {
    V v;
    std::memcpy(&v, p, sizeof(V));
    return v;
}

template <class V, class T> [[gnu::always_inline]] inline void store(T* p, V v) { std::memcpy(p, &v, sizeof(V)); }

/// One MR x NR tile of C: kc steps of the inner index over packed strips of A and B.
template <class T, bool Sub> [[gnu::always_inline]] inline void tile(int64_t kc, const T* __restrict a,
                                                                     const T* __restrict b, T* c, int64_t ldc,
                                                                     bool from_c) {
    using V = typename Vec<T>::type;
    constexpr int L = Vec<T>::lanes;
    V acc[MR][2];
    if (from_c) {
        for (int r = 0; r < MR; ++r) {
            acc[r][0] = load<V>(c + r * ldc);
            acc[r][1] = load<V>(c + r * ldc + L);
        }
    } else {
        for (int r = 0; r < MR; ++r) acc[r][0] = acc[r][1] = V{};
    }
    for (int64_t p = 0; p < kc; ++p) {
        const V b0 = load<V>(b);
        const V b1 = load<V>(b + L);
#pragma GCC unroll 6
        for (int r = 0; r < MR; ++r) {
            const V ar = splat<V>(a[r]);
            if constexpr (Sub) {
                acc[r][0] -= ar * b0;
                acc[r][1] -= ar * b1;
            } else {
                acc[r][0] += ar * b0;
                acc[r][1] += ar * b1;
            }
        }
        a += MR;
        b += 2 * L;
    }
    for (int r = 0; r < MR; ++r) {
        store(c + r * ldc, acc[r][0]);
        store(c + r * ldc + L, acc[r][1]);
    }
}

/// Every tile of one packed block pair; edge tiles go through a small buffer so that only the
/// valid part of C is read and written.
template <class T, bool Sub>
MUTILS_CLONES void block(int64_t mc, int64_t nc, int64_t kc, const T* ap, const T* bp, T* c, int64_t ldc, bool from_c) {
    constexpr int N = NR<T>;
    alignas(64) T buf[MR * N];
    for (int64_t j = 0; j < nc; j += N) {
        const int64_t nr = std::min<int64_t>(N, nc - j);
        const T* bs = bp + j * kc;
        for (int64_t i = 0; i < mc; i += MR) {
            const int64_t mr = std::min<int64_t>(MR, mc - i);
            const T* as = ap + i * kc;
            T* ct = c + i * ldc + j;
            if (mr == MR && nr == N) {
                tile<T, Sub>(kc, as, bs, ct, ldc, from_c);
                continue;
            }
            if (from_c)
                for (int64_t r = 0; r < mr; ++r) std::memcpy(buf + r * N, ct + r * ldc, std::size_t(nr) * sizeof(T));
            tile<T, Sub>(kc, as, bs, buf, N, from_c);
            for (int64_t r = 0; r < mr; ++r) std::memcpy(ct + r * ldc, buf + r * N, std::size_t(nr) * sizeof(T));
        }
    }
}

/// B rows [0, kc) and columns [0, nc) into strips of NR columns, zero beyond nc.
template <class T> void pack_b(int64_t kc, int64_t nc, const T* b, int64_t ldb, T* out) {
    constexpr int N = NR<T>;
    for (int64_t j = 0; j < nc; j += N) {
        const int64_t nr = std::min<int64_t>(N, nc - j);
        for (int64_t p = 0; p < kc; ++p) {
            const T* src = b + p * ldb + j;
            int64_t q = 0;
            for (; q < nr; ++q) out[q] = src[q];
            for (; q < N; ++q) out[q] = T(0);
            out += N;
        }
    }
}

/// A rows [0, mc) and inner indices [0, kc) into strips of MR rows, zero beyond mc.
template <class T> void pack_a(int64_t mc, int64_t kc, const T* a, int64_t lda, T* out) {
    for (int64_t i = 0; i < mc; i += MR) {
        const int64_t mr = std::min<int64_t>(MR, mc - i);
        for (int64_t r = 0; r < MR; ++r) {
            if (r < mr) {
                const T* src = a + (i + r) * lda;
                for (int64_t p = 0; p < kc; ++p) out[p * MR + r] = src[p];
            } else {
                for (int64_t p = 0; p < kc; ++p) out[p * MR + r] = T(0);
            }
        }
        out += MR * kc;
    }
}

}  // namespace

template <class T> GemmWork<T> GemmWork<T>::make(int64_t max_cols, int64_t max_inner) {
    constexpr int N = NR<T>;
    GemmWork<T> w;
    const int64_t kc = std::max<int64_t>(1, std::min(KC, max_inner));
    w.bcols = std::min(NC, (std::max<int64_t>(1, max_cols) + N - 1) / N * N);
    w.bpack = work_array<T>(kc * w.bcols);
    w.apack = work_array<T>(MC * kc);
    return w;
}

template <class T> const char* gemm(GemmWork<T>& work, GemmMode mode, int64_t m, int64_t n, int64_t k, const T* a,
                                    int64_t lda, const T* b, int64_t ldb, T* c, int64_t ldc, Poll& poll) {
    if (m <= 0 || n <= 0) return nullptr;
    if (k <= 0) {
        if (mode == GemmMode::Assign)
            for (int64_t i = 0; i < m; ++i) std::fill(c + i * ldc, c + i * ldc + n, T(0));
        return nullptr;
    }
    const bool sub = mode == GemmMode::Subtract;
    for (int64_t jc = 0; jc < n; jc += work.bcols) {
        const int64_t nc = std::min(work.bcols, n - jc);
        for (int64_t pc = 0; pc < k; pc += KC) {
            const int64_t kc = std::min(KC, k - pc);
            pack_b(kc, nc, b + pc * ldb + jc, ldb, work.bpack);
            const bool from_c = sub || pc > 0;
            for (int64_t ic = 0; ic < m; ic += MC) {
                const int64_t mc = std::min(MC, m - ic);
                pack_a(mc, kc, a + ic * lda + pc, lda, work.apack);
                T* cb = c + ic * ldc + jc;
                if (sub)
                    block<T, true>(mc, nc, kc, work.apack, work.bpack, cb, ldc, from_c);
                else
                    block<T, false>(mc, nc, kc, work.apack, work.bpack, cb, ldc, from_c);
                MUTILS_TRY(poll.add(2.0 * double(mc) * double(nc) * double(kc)));
            }
        }
    }
    return nullptr;
}

template <class T> MUTILS_CLONES void axpy_subtract(T* y, const T* x, T alpha, int64_t n) {
    for (int64_t i = 0; i < n; ++i) y[i] = y[i] - alpha * x[i];
}

template struct GemmWork<double>;
template struct GemmWork<float>;
template const char* gemm<double>(GemmWork<double>&, GemmMode, int64_t, int64_t, int64_t, const double*, int64_t,
                                  const double*, int64_t, double*, int64_t, Poll&);
template const char* gemm<float>(GemmWork<float>&, GemmMode, int64_t, int64_t, int64_t, const float*, int64_t,
                                 const float*, int64_t, float*, int64_t, Poll&);
template void axpy_subtract<double>(double*, const double*, double, int64_t);
template void axpy_subtract<float>(float*, const float*, float, int64_t);

}  // namespace detail
}  // namespace mutils
