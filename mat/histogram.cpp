#include "histogram.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "../core/detail.h"
#include "cast.h"
#include "detail_mat.h"

namespace mutils {
namespace detail {
namespace {

// ---- histogram ------------------------------------------------------------------------------

/// The bin rule: bin k holds (a + k w, a + (k + 1) w], w = (b - a) / B; the element equal to a
/// goes to bin 0 when the flag is set.
struct Binning {
    double lower, upper, factor;
    int64_t bins;
    bool include_lower;

    Binning(double a, double b, int64_t nbins, bool flag)
        : lower(a), upper(b), factor(double(nbins) / (b - a)), bins(nbins), include_lower(flag) {}
};

/// The library never reads the floating-point exception flags, so the binning loop may evaluate
/// every branch of its selections; that lets the compiler turn them into vector blends.
#if defined(__GNUC__) && !defined(__clang__)
#define MUTILS_NO_TRAPPING __attribute__((optimize("no-trapping-math")))
#else
#define MUTILS_NO_TRAPPING
#endif

/// The slots of a block of elements: bin k = ceil((x - a) factor) - 1, kept inside [0, B - 1] so
/// that rounding never loses an element of (a, b], or `bins` for an element that is not counted.
/// Written without branches, so that it runs on vectors.
template <class T>
MUTILS_CLONES MUTILS_NO_TRAPPING void bin_block(const T* x, int64_t n, const Binning& rule, int32_t* slot) {
    const double lower = rule.lower, upper = rule.upper, factor = rule.factor, last = double(rule.bins - 1);
    const double miss = double(rule.bins), edge = rule.include_lower ? 0.0 : miss;
    for (int64_t i = 0; i < n; ++i) {
        const double v = double(x[i]);
        double k = std::ceil((v - lower) * factor) - 1.0;
        k = k < last ? k : last;
        k = k > 0.0 ? k : 0.0;
        const double other = v == lower ? edge : miss;
        const bool inside = (v > lower) & (v <= upper);
        slot[i] = int32_t(inside ? k : other);
    }
}

/// Counts a block into four interleaved sub-histograms so that runs of equal bins do not
/// serialise on one counter; the caller adds them up.
template <class S> void count_slots(const S* slot, int64_t n, int64_t stride, uint32_t* sub) {
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        ++sub[slot[i]];
        ++sub[stride + slot[i + 1]];
        ++sub[2 * stride + slot[i + 2]];
        ++sub[3 * stride + slot[i + 3]];
    }
    for (; i < n; ++i) ++sub[slot[i]];
}

template <class T>
const char* histogram(const mat_t<T>* a, double lower, double upper, unsigned char flag, void* intrp, _uint32_mat* h) {
    validate(a);
    validate(h);
    if (h->ncol != 1) return msg::array_size_mismatch;
    if (upper < lower) return msg::illegal_data_value;
    const Binning rule(lower, upper, h->nrow, flag != 0);
    const int64_t n = a->nelem, bins = h->nrow;
    Poll poll(intrp);
    std::memset(h->data, 0, std::size_t(bins) * sizeof(uint32_t));
    if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
        constexpr int64_t kValues = int64_t(1) << (8 * sizeof(T));
        // Few distinct values: count each value once, then give each value's count to its bin.
        if (sizeof(T) == 1 || n >= kValues) {
            uint32_t* per_value = work_array_zero<uint32_t>(4 * kValues);  // four interleaved tallies
            count_slots(a->data, n, kValues, per_value);
            T* value = work_array<T>(kValues);
            int32_t* slot = work_array<int32_t>(kValues);
            for (int64_t v = 0; v < kValues; ++v) value[v] = T(v);
            bin_block(value, kValues, rule, slot);
            for (int64_t v = 0; v < kValues; ++v)
                if (slot[v] < bins)
                    h->data[slot[v]] +=
                        per_value[v] + per_value[kValues + v] + per_value[2 * kValues + v] + per_value[3 * kValues + v];
            return poll.add(2.0 * double(n));
        }
    }
    const int64_t stride = bins + 1;  // slot `bins` of each sub-histogram takes the misses
    uint32_t* sub = work_array<uint32_t>(4 * stride);
    constexpr int64_t kBlock = 1024, kChunk = int64_t(1) << 20;  // one poll per chunk
    int32_t* slot = work_array<int32_t>(kBlock);
    for (int64_t off = 0; off < n; off += kChunk) {
        std::memset(sub, 0, std::size_t(4 * stride) * sizeof(uint32_t));
        const int64_t len = n - off < kChunk ? n - off : kChunk;
        for (int64_t b = 0; b < len; b += kBlock) {
            const int64_t m = len - b < kBlock ? len - b : kBlock;
            bin_block(a->data + off + b, m, rule, slot);
            count_slots(slot, m, stride, sub);
        }
        for (int64_t k = 0; k < bins; ++k)
            h->data[k] += sub[k] + sub[stride + k] + sub[2 * stride + k] + sub[3 * stride + k];
        MUTILS_TRY(poll.add(4.0 * double(len)));
    }
    return nullptr;
}

// ---- threshold ------------------------------------------------------------------------------

template <class T> inline T pick(T x, double lo, double hi, T outside, T inside) {
    const double v = double(x);
    return (v < lo || v > hi) ? outside : inside;
}

template <class T>
MUTILS_CLONES void threshold_pass(const T* a, int64_t n, double lo, double hi, T outside, T inside, T* r) {
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const T x0 = a[i], x1 = a[i + 1], x2 = a[i + 2], x3 = a[i + 3];
        r[i] = pick(x0, lo, hi, outside, inside);
        r[i + 1] = pick(x1, lo, hi, outside, inside);
        r[i + 2] = pick(x2, lo, hi, outside, inside);
        r[i + 3] = pick(x3, lo, hi, outside, inside);
    }
    for (; i < n; ++i) r[i] = pick(a[i], lo, hi, outside, inside);
}

template <class T>
const char* threshold(const mat_t<T>* a, double lower, double upper, T outside, T inside, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    if (upper < lower) return msg::illegal_data_value;
    MUTILS_TRY(require_same_size(r, a));
    threshold_pass(a->data, a->nelem, lower, upper, outside, inside, r->data);
    return Poll(intrp).add(3.0 * double(a->nelem));
}

// ---- table lookup ---------------------------------------------------------------------------

/// The table entry that element x names, or -1 when it names none: an integer element names the
/// entry of its unsigned bit pattern (x is of the shared unsigned body here), a floating one its
/// value rounded half up.
template <class U> inline int64_t entry_of(U x, int64_t entries) {
    if constexpr (std::is_integral_v<U>) {
        static_assert(std::is_unsigned_v<U>, "integer lookups run on the unsigned body");
        return int64_t(x) < entries ? int64_t(x) : -1;
    } else {
        const double f = std::floor(double(x) + 0.5);
        return (f >= 0.0 && f < double(entries)) ? int64_t(f) : -1;
    }
}

/// R(i) = entry[A(i)] once the table holds A's element type: only the bits matter then, so
/// same-width integer types share this body. Every element is checked before anything is written.
template <class U> const char* lookup(const mat_t<U>* a, const U* entry, int64_t entries, void* intrp, mat_t<U>* r) {
    const int64_t n = a->nelem;
    for (int64_t i = 0; i < n; ++i)
        if (entry_of(a->data[i], entries) < 0) return msg::illegal_data_value;
    for (int64_t i = 0; i < n; ++i) r->data[i] = entry[entry_of(a->data[i], entries)];
    return Poll(intrp).add(3.0 * double(n));
}

template <class T> const char* table_lookup(const mat_t<T>* a, const _univ_mat* table, void* intrp, mat_t<T>* r) {
    validate(a);
    require_pointer(table);
    validate_univ(table);
    validate(r);
    if (table->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    MUTILS_TRY(require_same_size(r, a));
    if (static_cast<const void*>(r->data) == table->data) return msg::illegal_memory_address;
    _univ_mat converted;
    if (table->type == elem<T>::tag) {
        converted = *table;
    } else {
        matuniv_malloc(&converted, table->nrow, table->ncol, elem<T>::tag);
        matuniv_cast(table, 1, intrp, &converted);
    }
    using U = bits_t<T>;
    return lookup<U>(reinterpret_cast<const mat_t<U>*>(a), static_cast<const U*>(converted.data), converted.nelem,
                     intrp, reinterpret_cast<mat_t<U>*>(r));
}

using histogram_types = types<unsigned char, uint16_t, int32_t, double>;

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_HISTOGRAM(CODE, T)                                                                                   \
    const char* mat##CODE##_histogram(const mat_t<T>* a, double lo, double hi, unsigned char f, void* i,            \
                                      _uint32_mat* h) {                                                             \
        return histogram<T>(a, lo, hi, f, i, h);                                                                    \
    }                                                                                                               \
    const char* mat##CODE##_threshold(const mat_t<T>* a, double lo, double hi, T out, T in, void* i, mat_t<T>* r) { \
        return threshold<T>(a, lo, hi, out, in, i, r);                                                              \
    }
MUTILS_HISTOGRAM(dbl, double)
MUTILS_HISTOGRAM(s32, int32_t)
MUTILS_HISTOGRAM(u16, uint16_t)
MUTILS_HISTOGRAM(u8, unsigned char)
#undef MUTILS_HISTOGRAM

#define MUTILS_LOOKUP(CODE, T)                                                                          \
    const char* mat##CODE##_table_lookup(const mat_t<T>* a, const _univ_mat* t, void* i, mat_t<T>* r) { \
        return table_lookup<T>(a, t, i, r);                                                             \
    }
MUTILS_LOOKUP(dbl, double)
MUTILS_LOOKUP(flt, float)
MUTILS_LOOKUP(u8, unsigned char)
MUTILS_LOOKUP(u16, uint16_t)
MUTILS_LOOKUP(u32, uint32_t)
MUTILS_LOOKUP(s16, int16_t)
MUTILS_LOOKUP(s32, int32_t)
#undef MUTILS_LOOKUP

const char* matuniv_histogram(const _univ_mat* a, double lo, double hi, unsigned char f, void* i, _uint32_mat* h) {
    return univ_call(histogram_types{}, with(a, h),
                     [&](auto t, auto* ta, auto* th) { return histogram<MUTILS_T(t)>(ta, lo, hi, f, i, th); });
}

const char* matuniv_threshold(const _univ_mat* a, double lo, double hi, _univ_scalar outside, _univ_scalar inside,
                              void* i, _univ_mat* r) {
    return univ_call(histogram_types{}, with(a, r), [&](auto t, auto* ta, auto* tr) {
        using T = MUTILS_T(t);
        T out{}, in{};
        MUTILS_TRY(read_scalar<T>(outside, &out));
        MUTILS_TRY(read_scalar<T>(inside, &in));
        return threshold<T>(ta, lo, hi, out, in, i, tr);
    });
}

const char* matuniv_table_lookup(const _univ_mat* a, const _univ_mat* table, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, pass(table), r),
                     [&](auto t, auto* ta, auto* tt, auto* tr) { return table_lookup<MUTILS_T(t)>(ta, tt, i, tr); });
}

}  // namespace mutils

MUTILS_PLAIN(matuniv_histogram,
             (const mutils::_univ_mat* a, double lo, double hi, unsigned char f, void* i, mutils::_uint32_mat* h),
             (a, lo, hi, f, i, h))
MUTILS_PLAIN(matuniv_threshold,
             (const mutils::_univ_mat* a, double lo, double hi, mutils::_univ_scalar out, mutils::_univ_scalar in,
              void* i, mutils::_univ_mat* r),
             (a, lo, hi, out, in, i, r))
