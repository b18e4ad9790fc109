#include "sort.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

// ---- the partial quicksort ------------------------------------------------------------------

/// A value with the linear position it came from: the index sort moves these records rather
/// than bare indices, so that every comparison reads adjacent memory.
template <class T> struct Keyed {
    T key;
    int32_t idx;
};
template <class T> inline T key_of(T v) { return v; }
template <class T> inline T key_of(const Keyed<T>& p) { return p.key; }
template <class T> inline bool is_nan(T x) { return x != x; }

/// Moves the NaNs of a floating sequence to its end (keeping the order of the others) and
/// returns the number of other items; NaNs thus sort after every number.
template <class Item> int64_t nans_last(Item* a, int64_t n) {
    using K = decltype(key_of(a[0]));
    if constexpr (!std::is_floating_point_v<K>) {
        return n;
    } else {
        int64_t count = 0;  // counted without branches first: most inputs hold none
        for (int64_t i = 0; i < n; ++i) count += is_nan(key_of(a[i]));
        if (count == 0) return n;
        int64_t first = 0;
        while (!is_nan(key_of(a[first]))) ++first;
        Item* nans = work_array<Item>(count);
        int64_t kept = first, moved = 0;
        for (int64_t i = first; i < n; ++i) {
            if (is_nan(key_of(a[i])))
                nans[moved++] = a[i];
            else
                a[kept++] = a[i];
        }
        std::copy(nans, nans + moved, a + kept);
        return kept;
    }
}

/// Quicksort over items [l, r] that skips the ranges holding none of the requested positions
/// (a sorted list without repeats; all positions when null). Median of three, insertion below
/// ten items, heap sort past the depth limit. Each entry polls the interrupt with one unit.
/// When only some positions are wanted, a long range takes as pivot the element of a sample
/// whose rank in the sample matches the middle wanted position's rank in the range: the split
/// then lands next to that position, and the part kept is small.
template <class Item> class PartialSort {
public:
    PartialSort(Item* items, Poll& poll) : m_a(items), m_poll(poll) {}

    /// Sorts [0, n) at the positions [pos, pos + npos) (pos null: every position); false when
    /// interrupted.
    bool run(int64_t n, const int64_t* pos, int64_t npos) {
        m_all = pos == nullptr;
        int depth = 2;
        for (int64_t m = n; m > 1; m >>= 1) depth += 2;
        return sort(0, n - 1, pos, pos + (m_all ? 0 : npos), depth);
    }

private:
    static bool less(const Item& x, const Item& y) { return key_of(x) < key_of(y); }

    bool sort(int64_t l, int64_t r, const int64_t* pl, const int64_t* pr, int depth) {
        for (;;) {
            if (m_poll.add(1.0)) return false;
            if (!m_all && pl == pr) return true;
            if (r - l + 1 <= 9) return insertion(l, r), true;
            if (--depth < 0) {
                std::make_heap(m_a + l, m_a + r + 1, less);
                std::sort_heap(m_a + l, m_a + r + 1, less);
                return true;
            }
            const int64_t j =
                (!m_all && r - l + 1 >= kSampled) ? sampled_partition(l, r, pl[(pr - pl) / 2]) : partition(l, r);
            const int64_t* split = m_all ? pl : std::lower_bound(pl, pr, j);
            const int64_t* above = (!m_all && split != pr && *split == j) ? split + 1 : split;
            // Recurse into the smaller side, loop on the larger: the stack stays logarithmic.
            if (j - l < r - j) {
                if (!sort(l, j - 1, pl, split, depth)) return false;
                l = j + 1;
                pl = above;
            } else {
                if (!sort(j + 1, r, above, pr, depth)) return false;
                r = j - 1;
                pr = split;
            }
        }
    }

    void insertion(int64_t l, int64_t r) {
        for (int64_t i = l + 1; i <= r; ++i) {
            const Item v = m_a[i];
            int64_t j = i - 1;
            while (j >= l && key_of(v) < key_of(m_a[j])) {
                m_a[j + 1] = m_a[j];
                --j;
            }
            m_a[j + 1] = v;
        }
    }

    /// Ranges at least this long take a sampled pivot when only some positions are wanted.
    static constexpr int64_t kSampled = 1 << 14;

    /// Median of three to l + 1, then the two cursors; returns the pivot's final place.
    int64_t partition(int64_t l, int64_t r) {
        Item* a = m_a;
        std::swap(a[l + (r - l) / 2], a[l + 1]);
        if (key_of(a[l]) > key_of(a[r])) std::swap(a[l], a[r]);
        if (key_of(a[l + 1]) > key_of(a[r])) std::swap(a[l + 1], a[r]);
        if (key_of(a[l]) > key_of(a[l + 1])) std::swap(a[l], a[l + 1]);
        return split(l, r);
    }

    /// A sample of about sqrt(n) evenly spaced items gathered to the front of [l, r]; its item of
    /// about the rank matching `target` goes to l + 1 as the pivot, with sample items below and above it
    /// at l and r as the cursors' sentinels.
    int64_t sampled_partition(int64_t l, int64_t r, int64_t target) {
        Item* a = m_a;
        const int64_t n = r - l + 1;
        int64_t k = 64;
        while (k * k < n) k *= 2;
        const int64_t step = n / k;
        for (int64_t i = 1; i < k; ++i) std::swap(a[l + i], a[l + i * step]);
        // The estimate is moved about two standard deviations towards the middle, so the target
        // falls on the side of the pivot nearer its end: the part kept is small, not the rest.
        int64_t margin = 8;
        while (margin * margin < k) margin *= 2;
        int64_t rank = (target - l) * k / n + (2 * (target - l) < n ? margin : -margin);
        rank = rank < 1 ? 1 : rank > k - 2 ? k - 2 : rank;
        std::nth_element(a + l, a + l + rank, a + l + k, less);  // a[l] is now at most the pivot
        std::swap(a[l + 1], a[l + rank]);
        std::swap(a[r], a[l + rank + 1]);
        return split(l, r);
    }

    /// The two cursors around the pivot at l + 1, with a[l] <= pivot <= a[r].
    int64_t split(int64_t l, int64_t r) {
        Item* a = m_a;
        const Item pivot = a[l + 1];
        const auto v = key_of(pivot);
        int64_t i = l + 1, j = r;
        for (;;) {
            do ++i;
            while (key_of(a[i]) < v);
            do --j;
            while (key_of(a[j]) > v);
            if (j < i) break;
            std::swap(a[i], a[j]);
        }
        a[l + 1] = a[j];
        a[j] = pivot;
        return j;
    }

    Item* m_a;
    Poll& m_poll;
    bool m_all = true;
};

/// Sorts items [0, n) (NaNs last) at the sorted positions given (null: all); false when
/// interrupted.
template <class Item> bool partial_sort(Item* items, int64_t n, const int64_t* pos, int64_t npos, Poll& poll) {
    const int64_t numbers = nans_last(items, n);
    if (pos) npos = std::lower_bound(pos, pos + npos, numbers) - pos;  // positions among the NaNs hold
    return PartialSort<Item>(items, poll).run(numbers, pos, npos);
}

/// Copies n positions, refusing any outside [0, limit), then sorts them without repeats.
const char* sorted_positions(const int32_t* p, int64_t n, int64_t limit, int64_t* out, int64_t* count) {
    for (int64_t i = 0; i < n; ++i) {
        if (p[i] < 0 || p[i] >= limit) return msg::illegal_data_value;
        out[i] = p[i];
    }
    std::sort(out, out + n);
    *count = std::unique(out, out + n) - out;
    return nullptr;
}

// ---- families -------------------------------------------------------------------------------

template <class T>
const char* sort_index_partial(const mat_t<T>* a, const _sint32_mat* p, void* intrp, _sint32_mat* index) {
    validate(a);
    const bool empty = p && p->nelem == 0;
    if (p && !empty) validate(p);
    validate(index);
    MUTILS_TRY(require_same_size(index, a));
    const int64_t n = a->nelem;
    int64_t* pos = nullptr;
    int64_t npos = 0;
    if (p && !empty) {
        pos = work_array<int64_t>(p->nelem);
        MUTILS_TRY(sorted_positions(p->data, p->nelem, n, pos, &npos));
    }
    for (int64_t i = 0; i < n; ++i) index->data[i] = int32_t(i);
    if (empty) return nullptr;
    Keyed<T>* items = work_array<Keyed<T>>(n);
    for (int64_t i = 0; i < n; ++i) items[i] = {a->data[i], int32_t(i)};
    Poll poll(intrp);
    const bool done = partial_sort(items, n, pos, npos, poll);
    for (int64_t i = 0; i < n; ++i) index->data[i] = items[i].idx;  // also the partial result
    return done ? nullptr : msg::interrupted;
}

template <class T> const char* permute(const mat_t<T>* a, const _sint32_mat* index, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(index);
    validate(r);
    MUTILS_TRY(require_same_size(r, index));
    const int64_t n = a->nelem;
    for (int64_t k = 0; k < index->nelem; ++k)
        if (index->data[k] < 0 || index->data[k] >= n) return msg::illegal_data_value;
    MUTILS_TRY(require_distinct(a, r));
    for (int64_t k = 0; k < index->nelem; ++k) r->data[k] = a->data[index->data[k]];
    return Poll(intrp).add(3.0 * double(index->nelem));
}

template <class T> const char* sort_values(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(r, a));
    if (r->data != a->data) std::memcpy(static_cast<void*>(r->data), a->data, std::size_t(a->nelem) * sizeof(T));
    Poll poll(intrp);
    return partial_sort(r->data, r->nelem, nullptr, 0, poll) ? nullptr : msg::interrupted;
}

/// One or two adjacent order statistics of a long sequence without copying it: two values of a
/// sample that bracket the positions' rank (with a margin of about two standard deviations), one
/// pass that counts the items below the bracket and gathers those inside it, then a selection in
/// what was gathered. Sets *done (and *ok, false when interrupted) only when the bracket held the
/// positions; otherwise the caller selects in a full copy.
template <class T> void bracketed_statistics(const T* x, int64_t n, const int64_t* pos, int64_t npos, Poll& poll,
                                             double* out, bool* done, bool* ok) {
    *done = false;
    int64_t k = 64;
    while (k * k < n) k *= 2;
    int64_t margin = 8;
    while (margin * margin < k) margin *= 2;
    T* sample = work_array<T>(k);
    const int64_t step = n / k;
    for (int64_t i = 0; i < k; ++i) sample[i] = x[i * step];
    for (int64_t i = 0; i < k; ++i)
        if (is_nan(sample[i])) return;
    const int64_t centre = (pos[0] * k) / n;
    const int64_t rlo = centre - margin < 0 ? 0 : centre - margin;
    const int64_t rhi = centre + margin > k - 1 ? k - 1 : centre + margin;
    std::nth_element(sample, sample + rlo, sample + k);
    const T lo = sample[rlo];
    std::nth_element(sample + rlo, sample + rhi, sample + k);
    const T hi = sample[rhi];
    const int64_t cap = 4 * (rhi - rlo + 1) * (n / k + 1) + 1024;
    T* kept = work_array<T>(cap + 1);
    int64_t below = 0, count = 0;
    for (int64_t i = 0; i < n; ++i) {
        const T v = x[i];
        below += v < lo;
        kept[count < cap ? count : cap] = v;
        count += (v >= lo) & (v <= hi);
    }
    if (poll.add(2.0 * double(n))) {
        *done = true;
        *ok = false;
        return;
    }
    if (count > cap || pos[0] < below || pos[npos - 1] >= below + count) return;
    int64_t local[2] = {pos[0] - below, pos[npos - 1] - below};
    *done = true;
    *ok = partial_sort(kept, count, local, npos, poll);
    for (int64_t j = 0; j < npos; ++j) out[j] = double(kept[local[j]]);
}

/// The sorted elements at the given positions (sorted, without repeats) of a copy of A, as
/// doubles in `out` (indexed like the positions); false when interrupted.
template <class T> bool order_statistics(const mat_t<T>* a, const int64_t* pos, int64_t npos, Poll& poll, double* out) {
    const int64_t n = a->nelem;
    if (n >= (int64_t(1) << 16) && npos <= 2 && pos[npos - 1] - pos[0] <= 1) {
        bool done = false, ok = true;
        bracketed_statistics(a->data, n, pos, npos, poll, out, &done, &ok);
        if (done) return ok;
    }
    T* x = work_array<T>(n);
    std::memcpy(static_cast<void*>(x), a->data, std::size_t(n) * sizeof(T));
    if (!partial_sort(x, n, pos, npos, poll)) return false;
    for (int64_t k = 0; k < npos; ++k) out[k] = double(x[pos[k]]);
    return true;
}

template <class T> const char* median(const mat_t<T>* a, void* intrp, double* out) {
    validate(a);
    const int64_t n = a->nelem, h = n / 2;
    int64_t pos[2] = {h - 1, h};
    double x[2];
    Poll poll(intrp);
    const bool odd = n % 2 == 1;
    if (!order_statistics<T>(a, odd ? pos + 1 : pos, odd ? 1 : 2, poll, x)) return msg::interrupted;
    *out = odd ? x[0] : (x[0] + x[1]) * 0.5;
    return nullptr;
}

template <class T> const char* quantiles(const mat_t<T>* a, const _double_mat* q, void* intrp, _double_mat* r) {
    const int64_t n = a->nelem, m = q->nelem;
    int64_t* pos = work_array<int64_t>(2 * m);
    int64_t* order = work_array<int64_t>(2 * m);
    for (int64_t k = 0; k < m; ++k) {
        const double t = double(n - 1) * q->data[k];
        const int64_t k0 = std::min<int64_t>(int64_t(std::floor(t)), n - 1);
        pos[2 * k] = k0;
        pos[2 * k + 1] = std::min(k0 + 1, n - 1);
    }
    std::copy(pos, pos + 2 * m, order);
    std::sort(order, order + 2 * m);
    const int64_t npos = std::unique(order, order + 2 * m) - order;
    double* stat = work_array<double>(npos);
    Poll poll(intrp);
    if (!order_statistics<T>(a, order, npos, poll, stat)) return msg::interrupted;
    auto at = [&](int64_t p) { return stat[std::lower_bound(order, order + npos, p) - order]; };
    for (int64_t k = 0; k < m; ++k) {
        const double t = double(n - 1) * q->data[k], frac = t - double(pos[2 * k]);
        const double x0 = at(pos[2 * k]), x1 = at(pos[2 * k + 1]);
        r->data[k] = frac > 0.0 ? x0 + frac * (x1 - x0) : x0;
    }
    return poll.add(12.0 * double(m));
}

template <class T> const char* unique(const mat_t<T>* a, unsigned char first_appearance, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    const int64_t n = a->nelem;
    Keyed<T>* items = work_array<Keyed<T>>(n);
    for (int64_t i = 0; i < n; ++i) items[i] = {a->data[i], int32_t(i)};
    // Ascending values (NaNs last, as one value), ties by position: each run's head is the
    // value's first appearance.
    auto before = [](const Keyed<T>& x, const Keyed<T>& y) {
        if (key_of(x) < key_of(y)) return true;
        if (key_of(y) < key_of(x)) return false;
        const bool xn = is_nan(x.key), yn = is_nan(y.key);
        if (xn != yn) return yn;
        return x.idx < y.idx;
    };
    std::sort(items, items + n, before);
    auto same = [](T x, T y) { return x == y || (is_nan(x) && is_nan(y)); };
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i)
        if (i == 0 || !same(items[i].key, items[k - 1].key)) items[k++] = items[i];
    MUTILS_TRY(Poll(intrp).add(16.0 * double(n)));
    if (r->nelem < k) return msg::array_size_mismatch;
    if (first_appearance)
        std::sort(items, items + k, [](const Keyed<T>& x, const Keyed<T>& y) { return x.idx < y.idx; });
    for (int64_t i = 0; i < k; ++i) r->data[i] = items[i].key;
    const bool row = r->nrow == 1;
    r->nrow = row ? 1 : int32_t(k);
    r->ncol = row ? int32_t(k) : 1;
    r->nelem = int32_t(k);
    return nullptr;
}

using permute_types = types<unsigned char, int16_t, int32_t, float, double>;

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_ORDER(CODE, T)                                                                                      \
    const char* mat##CODE##_sort_index_partial(const mat_t<T>* a, const _sint32_mat* p, void* i, _sint32_mat* x) { \
        return sort_index_partial<T>(a, p, i, x);                                                                  \
    }                                                                                                              \
    const char* mat##CODE##_unique(const mat_t<T>* a, unsigned char f, void* i, mat_t<T>* r) {                     \
        return unique<T>(a, f, i, r);                                                                              \
    }
MUTILS_ORDER(dbl, double)
MUTILS_ORDER(flt, float)
MUTILS_ORDER(u8, unsigned char)
MUTILS_ORDER(u16, uint16_t)
MUTILS_ORDER(u32, uint32_t)
MUTILS_ORDER(s16, int16_t)
MUTILS_ORDER(s32, int32_t)
#undef MUTILS_ORDER

#define MUTILS_PERMUTE(CODE, T)                                                                      \
    const char* mat##CODE##_permute(const mat_t<T>* a, const _sint32_mat* x, void* i, mat_t<T>* r) { \
        return permute<T>(a, x, i, r);                                                               \
    }
MUTILS_PERMUTE(dbl, double)
MUTILS_PERMUTE(flt, float)
MUTILS_PERMUTE(u8, unsigned char)
MUTILS_PERMUTE(s16, int16_t)
MUTILS_PERMUTE(s32, int32_t)
#undef MUTILS_PERMUTE

const char* matuniv_sort_index_partial(const _univ_mat* a, const _sint32_mat* p, void* i, _sint32_mat* x) {
    return univ_call(real_types{}, with(a, x),
                     [&](auto t, auto* ta, auto* tx) { return sort_index_partial<MUTILS_T(t)>(ta, p, i, tx); });
}

const char* matuniv_permute(const _univ_mat* a, const _sint32_mat* x, void* i, _univ_mat* r) {
    return univ_call(permute_types{}, with(a, x, r),
                     [&](auto t, auto* ta, auto* tx, auto* tr) { return permute<MUTILS_T(t)>(ta, tx, i, tr); });
}

const char* matuniv_unique(const _univ_mat* a, unsigned char f, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return unique<MUTILS_T(t)>(ta, f, i, tr); });
}

const char* matuniv_sort(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(real_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return sort_values<MUTILS_T(t)>(ta, i, tr); });
}

const char* matuniv_median(const _univ_mat* a, void* i, double* out) {
    return univ_call(real_types{}, with(a, out),
                     [&](auto t, auto* ta, auto* to) { return median<MUTILS_T(t)>(ta, i, to); });
}

const char* matuniv_quantiles(const _univ_mat* a, const _univ_mat* q, void* i, _univ_mat* r) {
    if (!a || !q || !r) return msg::null_pointer;
    validate_univ(q);
    validate_univ(r);
    if (q->type != MUTIL_DOUBLE || r->type != MUTIL_DOUBLE) return msg::illegal_data_type;
    if (a->type == MUTIL_DCOMPLEX || !is_matrix_tag(a->type)) return msg::illegal_data_type;
    MUTILS_TRY(require_same_size(q, r));
    const _double_mat* qd = as<double>(q);
    for (int64_t k = 0; k < qd->nelem; ++k)
        if (!(qd->data[k] >= 0.0 && qd->data[k] <= 1.0)) return msg::illegal_data_value;
    if (a->nrow < 1 || a->ncol < 1) return nullptr;  // nothing to take quantiles of
    validate_univ(a);
    return dispatch(a->type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return quantiles<T>(as<T>(a), qd, i, as<double>(r));
    });
}

}  // namespace mutils
