#include "region.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

// ---- region merging -------------------------------------------------------------------------

constexpr int64_t kMaxInitialRegions = int64_t(1) << 23;

/// The smallest grid size the image allows (see the header).
int64_t grid_bound(int64_t nrow, int64_t ncol) {
    int64_t s = 1;
    while (((nrow + s - 1) / s) * ((ncol + s - 1) / s) > kMaxInitialRegions) ++s;
    return s;
}

/// The checks shared by the merging members after the records and sizes. The grid message is
/// formatted into the caller's arena, so this runs before the operation opens its own.
const char* check_merge(int64_t nrow, int64_t ncol, int32_t grid_rows, int32_t grid_cols, double scale,
                        int32_t min_regions) {
    const int64_t bound = grid_bound(nrow, ncol);
    if (grid_rows < bound || grid_cols < bound) {
        constexpr std::size_t size = 64;
        char* text = work_array<char>(size);
        std::snprintf(text, size, msg::region_grid_format, long(bound));
        return text;
    }
    if (!(scale >= 0) || min_regions < 1) return msg::illegal_data_value;
    return nullptr;
}

/// A neighbour in a region's adjacency list and the length of their common boundary.
struct Link {
    uint32_t id;
    uint32_t length;
};

/// A candidate merge of regions a < b at scale lambda, valid while both regions are unmerged
/// and unchanged since (their stamps).
struct Candidate {
    double lambda;
    uint32_t a, b, stamp_a, stamp_b;
};
/// Heap order: the top is the smallest lambda, then the smallest pair of region numbers.
inline bool after(const Candidate& x, const Candidate& y) {
    if (x.lambda != y.lambda) return x.lambda > y.lambda;
    return x.a != y.a ? x.a > y.a : x.b > y.b;
}

/// A region of the merging: its size, its place in the union-find, its adjacency list and
/// (following the record) its sums per band. One record per region keeps what a neighbour's
/// visit reads on one or two cache lines.
struct Region {
    int64_t size;
    Link* list;
    uint32_t parent, stamp, deg, cap;
    int32_t pos;  // during a merge, the region's place in the list being built; else -1
};

/// The region adjacency graph of the merging. Merged regions point to the region they joined
/// (union-find); adjacency lists may name merged regions, resolved through `find` when a list
/// is next rebuilt.
class MergeGraph {
public:
    MergeGraph(int64_t regions, int32_t bands)
        : m_regions(regions), m_bands(bands), m_stride(sizeof(Region) + sizeof(double) * std::size_t(bands)) {
        m_base = work_array_zero<char>(regions * int64_t(m_stride));
        Link* links = work_array<Link>(4 * regions);
        for (int64_t i = 0; i < regions; ++i) {
            Region& r = reg(uint32_t(i));
            r.list = links + 4 * i, r.parent = uint32_t(i), r.cap = 4, r.pos = -1;
        }
        m_heap = work_array<Candidate>(m_heap_cap);
        m_over_cap = std::max<int64_t>(1024, 4 * regions);
        m_over = work_array<Candidate>(m_over_cap);
    }

    Region& reg(uint32_t i) const { return *reinterpret_cast<Region*>(m_base + std::size_t(i) * m_stride); }
    double* sum(uint32_t i) const {
        return reinterpret_cast<double*>(m_base + std::size_t(i) * m_stride + sizeof(Region));
    }

    void connect(uint32_t a, uint32_t b, uint32_t length) {
        Region &ra = reg(a), &rb = reg(b);
        ra.list[ra.deg++] = {b, length};
        rb.list[rb.deg++] = {a, length};
    }

    /// One candidate per adjacent pair, once the initial graph is complete.
    void seed_heap() {
        for (uint32_t a = 0; a < m_regions; ++a) {
            const Region& r = reg(a);
            for (uint32_t k = 0; k < r.deg; ++k)
                if (r.list[k].id > a) push(a, r.list[k].id, r.list[k].length);
        }
    }

    uint32_t find(uint32_t x) const {
        while (reg(x).parent != x) x = reg(x).parent = reg(reg(x).parent).parent;
        return x;
    }

    /// Merges while the best pair's scale is at most `scale` and more than `keep` regions remain.
    const char* run(double scale, int64_t keep, Poll& poll) {
        int64_t regions = m_regions;
        while (regions > keep && (m_heap_n > 0 || refill())) {
            const Candidate top = m_heap[0];
            m_heap[0] = m_heap[--m_heap_n];
            if (m_heap_n) sift_down(0);
            if (!valid(top)) continue;
            if (top.lambda > scale) break;
            merge(top.a, top.b);
            --regions;
            MUTILS_TRY(poll.add(40.0 * double(reg(top.a).deg + 1)));
        }
        return nullptr;
    }

private:
    bool valid(const Candidate& c) const {
        const Region &a = reg(c.a), &b = reg(c.b);
        return a.parent == c.a && b.parent == c.b && a.stamp == c.stamp_a && b.stamp == c.stamp_b;
    }

    double lambda(uint32_t a, uint32_t b, uint32_t length) const {
        const double na = double(reg(a).size), nb = double(reg(b).size);
        const double *sa = sum(a), *sb = sum(b);
        double num = 0;
        for (int32_t k = 0; k < m_bands; ++k) {
            const double d = sa[k] * nb - sb[k] * na;
            num += d * d;
        }
        const double v = num / (na * nb * (na + nb) * double(length));
        return std::isnan(v) ? std::numeric_limits<double>::infinity() : v;
    }

    void push(uint32_t a, uint32_t b, uint32_t length) {
        if (a > b) std::swap(a, b);
        const Candidate c{lambda(a, b, length), a, b, reg(a).stamp, reg(b).stamp};
        if (m_limited && !after(c, m_limit)) {
            if (m_heap_n == m_heap_cap) grow(m_heap, m_heap_n, m_heap_cap, true);
            m_heap[m_heap_n] = c;
            sift_up(m_heap_n++);
        } else {
            if (m_over_n == m_over_cap) grow(m_over, m_over_n, m_over_cap, false);
            m_over[m_over_n++] = c;
        }
    }

    /// Makes room in a full candidate array: drops the stale candidates, and doubles the array
    /// when most of them are still valid.
    void grow(Candidate*& v, int64_t& n, int64_t& cap, bool heap) {
        n = std::remove_if(v, v + n, [&](const Candidate& c) { return !valid(c); }) - v;
        if (2 * n > cap) {
            Candidate* grown = work_array<Candidate>(2 * cap);
            std::copy(v, v + n, grown);
            v = grown, cap *= 2;
        }
        if (heap)
            for (int64_t i = (n - 2) / 4; i >= 0 && n > 1; --i) sift_down(i);
    }

    /// Candidates wait unsorted in an overflow list until the heap runs empty; then the
    /// smallest few (a sixteenth of the list, at least 4096; stale ones are dropped only when
    /// they are popped or when a list is full) move into the heap, and
    /// until the next refill every new candidate up to the largest of them goes to the heap
    /// as well. The heap stays small enough for the caches, and most candidates, outdated by
    /// a later merge before they come near the top, never enter it. Returns false when no
    /// candidate is left.
    bool refill() {
        if (m_over_n == 0) return false;
        const int64_t k = std::min(m_over_n, std::max<int64_t>(4096, m_over_n / 16));
        auto before = [](const Candidate& x, const Candidate& y) { return after(y, x); };
        std::nth_element(m_over, m_over + (k - 1), m_over + m_over_n, before);
        m_limit = m_over[k - 1];
        m_limited = true;
        if (m_heap_cap < 2 * k) m_heap_cap = 2 * k, m_heap = work_array<Candidate>(m_heap_cap);
        std::copy(m_over, m_over + k, m_heap);
        m_heap_n = k;
        std::copy(m_over + k, m_over + m_over_n, m_over);
        m_over_n -= k;
        for (int64_t i = (m_heap_n - 2) / 4; i >= 0 && m_heap_n > 1; --i) sift_down(i);
        return true;
    }

    // The candidates form a four-ary heap: half the levels of a binary one, and a node's
    // children side by side, which matters once the heap no longer fits the caches.
    void sift_up(int64_t i) {
        const Candidate x = m_heap[i];
        while (i > 0) {
            const int64_t p = (i - 1) / 4;
            if (!after(m_heap[p], x)) break;
            m_heap[i] = m_heap[p], i = p;
        }
        m_heap[i] = x;
    }
    void sift_down(int64_t i) {
        const Candidate x = m_heap[i];
        for (;;) {
            const int64_t first = 4 * i + 1, end = std::min(first + 4, m_heap_n);
            if (first >= m_heap_n) break;
            int64_t best = first;
            for (int64_t k = first + 1; k < end; ++k)
                if (after(m_heap[best], m_heap[k])) best = k;
            if (!after(x, m_heap[best])) break;
            m_heap[i] = m_heap[best], i = best;
        }
        m_heap[i] = x;
    }

    /// Region b joins region a (a < b): sizes and sums add, the two adjacency lists are joined
    /// (into the longer one's storage; neighbours resolved, duplicates' lengths added), and
    /// every pair of a is offered again at its new scale.
    void merge(uint32_t a, uint32_t b) {
        Region &A = reg(a), &B = reg(b);
        A.size += B.size;
        double *sa = sum(a), *sb = sum(b);
        for (int32_t k = 0; k < m_bands; ++k) sa[k] += sb[k];
        B.parent = a;
        ++A.stamp;
        if (B.deg > A.deg) std::swap(A.list, B.list), std::swap(A.deg, B.deg), std::swap(A.cap, B.cap);
        const uint32_t need = A.deg + B.deg;
        if (need > A.cap) {
            const uint32_t cap = std::max(need, 2 * A.cap);
            Link* grown = work_array<Link>(cap);
            std::copy(A.list, A.list + A.deg, grown);
            A.list = grown, A.cap = cap;
        }
        Link* l = A.list;
        std::copy(B.list, B.list + B.deg, l + A.deg);
        uint32_t w = 0;
        for (uint32_t i = 0; i < need; ++i) {
            const uint32_t k = find(l[i].id);
            if (k == a) continue;
            Region& K = reg(k);
            if (K.pos >= 0) {
                l[K.pos].length += l[i].length;
            } else {
                K.pos = int32_t(w);
                l[w++] = {k, l[i].length};
            }
        }
        for (uint32_t i = 0; i < w; ++i) reg(l[i].id).pos = -1;
        A.deg = w, B.deg = 0;
        for (uint32_t i = 0; i < w; ++i) push(a, l[i].id, l[i].length);
    }

    int64_t m_regions;
    int32_t m_bands;
    std::size_t m_stride;
    char* m_base;
    Candidate *m_heap, *m_over;
    int64_t m_heap_n = 0, m_heap_cap = 8192, m_over_n = 0, m_over_cap;
    Candidate m_limit{};
    bool m_limited = false;
};

/// The merging on double planes of nrow x ncol (checks done): labels, approximation planes, count.
const char* merge_regions(const double* const* planes, int32_t bands, int64_t nrow, int64_t ncol, int64_t gr,
                          int64_t gc, double scale, int64_t keep, void* intrp, uint32_t* labels, double* const* approx,
                          int32_t* count) {
    const int64_t br = (nrow + gr - 1) / gr, bc = (ncol + gc - 1) / gc, n = br * bc;
    Poll poll(intrp);
    MergeGraph g(n, bands);
    for (int64_t r = 0; r < nrow; ++r) {
        const int64_t base = (r / gr) * bc;
        for (int64_t c = 0; c < ncol; ++c) {
            const uint32_t i = uint32_t(base + c / gc);
            ++g.reg(i).size;
            double* s = g.sum(i);
            for (int32_t k = 0; k < bands; ++k) s[k] += planes[k][r * ncol + c];
        }
        MUTILS_TRY(poll.add(double(ncol * (bands + 1))));
    }
    for (int64_t i = 0; i < br; ++i)
        for (int64_t j = 0; j < bc; ++j) {
            const uint32_t id = uint32_t(i * bc + j);
            if (j + 1 < bc) g.connect(id, id + 1, uint32_t(std::min(gr, nrow - i * gr)));
            if (i + 1 < br) g.connect(id, uint32_t(id + bc), uint32_t(std::min(gc, ncol - j * gc)));
        }
    g.seed_heap();
    MUTILS_TRY(g.run(scale, keep, poll));
    // Final regions numbered by their first pixel in raster order.
    uint32_t* number = work_array_zero<uint32_t>(n);
    uint32_t* root = work_array<uint32_t>(n);
    for (int64_t i = 0; i < n; ++i) root[i] = g.find(uint32_t(i));
    uint32_t next = 0;
    for (int64_t r = 0; r < nrow; ++r) {
        const int64_t base = (r / gr) * bc;
        for (int64_t c = 0; c < ncol; ++c) {
            const uint32_t k = root[base + c / gc];
            if (!number[k]) number[k] = ++next;
            labels[r * ncol + c] = number[k];
            const double* s = g.sum(k);
            for (int32_t b = 0; b < bands; ++b) approx[b][r * ncol + c] = s[b] / double(g.reg(k).size);
        }
        MUTILS_TRY(poll.add(double(ncol * (bands + 1))));
    }
    *count = int32_t(next);
    return nullptr;
}

/// The elements of a real matrix as doubles (the matrix itself when it is double).
template <class T> const double* as_doubles(const T* data, int64_t n) {
    if constexpr (std::is_same_v<T, double>) {
        return data;
    } else {
        double* out = work_array<double>(n);
        for (int64_t i = 0; i < n; ++i) out[i] = double(data[i]);
        return out;
    }
}

template <class T> const char* region_grow_klm(const mat_t<T>* image, int32_t gr, int32_t gc, double scale,
                                               int32_t keep, void* intrp, _uint32_mat* labels, _double_mat* approx,
                                               int32_t* count) {
    validate(image);
    validate(labels);
    validate(approx);
    require_pointer(count);
    MUTILS_TRY(require_same_size(image, labels));
    MUTILS_TRY(require_same_size(image, approx));
    MUTILS_TRY(check_merge(image->nrow, image->ncol, gr, gc, scale, keep));
    Hux::ArenaScope scope;
    const double* plane = as_doubles(image->data, image->nelem);
    double* out = approx->data;
    return merge_regions(&plane, 1, image->nrow, image->ncol, gr, gc, scale, keep, intrp, labels->data, &out, count);
}

// ---- seeded growing -------------------------------------------------------------------------

template <class T> const char* region_grow_seeded(const mat_t<T>* image, const _sint32_mat* seeds, double tolerance,
                                                  int32_t connectivity, void* intrp, _uint32_mat* labels) {
    validate(image);
    validate(seeds);
    validate(labels);
    MUTILS_TRY(require_same_size(image, labels));
    if (seeds->ncol != 2) return msg::array_size_mismatch;
    MUTILS_TRY(require_distinct(labels, image));  // the floods read the image while labelling
    const int64_t nrow = image->nrow, ncol = image->ncol, m = seeds->nrow;
    for (int64_t k = 0; k < m; ++k) {
        const int64_t r = seeds->data[2 * k], c = seeds->data[2 * k + 1];
        if (r < 0 || r >= nrow || c < 0 || c >= ncol) return msg::illegal_data_value;
    }
    if (!(tolerance >= 0)) return msg::illegal_data_value;
    Hux::ArenaScope scope;
    Poll poll(intrp);
    const int64_t n = image->nelem;
    const T* v = image->data;
    uint32_t* seen = work_array_zero<uint32_t>(n);  // the last seed whose flood reached a pixel
    int64_t* stack = work_array<int64_t>(n);
    uint32_t* out = labels->data;
    std::fill(out, out + n, 0u);
    const int steps = connectivity == IMG_CONNECT_FOUR ? 4 : 8;
    constexpr int dr[8] = {0, -1, 0, 1, -1, -1, 1, 1}, dc[8] = {1, 0, -1, 0, 1, -1, -1, 1};
    for (int64_t k = 0; k < m; ++k) {
        const uint32_t id = uint32_t(k + 1);
        const int64_t s = int64_t(seeds->data[2 * k]) * ncol + seeds->data[2 * k + 1];
        const double centre = double(v[s]);
        int64_t top = 0, flooded = 0;
        stack[top++] = s;
        seen[s] = id;
        while (top > 0) {
            const int64_t p = stack[--top], r = p / ncol, c = p % ncol;
            if (!out[p]) out[p] = id;
            ++flooded;
            for (int d = 0; d < steps; ++d) {
                const int64_t rr = r + dr[d], cc = c + dc[d];
                if (rr < 0 || rr >= nrow || cc < 0 || cc >= ncol) continue;
                const int64_t q = rr * ncol + cc;
                if (seen[q] == id || !(std::abs(double(v[q]) - centre) <= tolerance)) continue;
                seen[q] = id;
                stack[top++] = q;
            }
        }
        MUTILS_TRY(poll.add(10.0 * double(flooded + 1)));
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* imgdbl_region_grow_klm(const _double_mat* a, int32_t gr, int32_t gc, double scale, int32_t keep, void* i,
                                   _uint32_mat* labels, _double_mat* approx, int32_t* count) {
    return region_grow_klm<double>(a, gr, gc, scale, keep, i, labels, approx, count);
}
const char* imguniv_region_grow_klm(const _univ_mat* a, int32_t gr, int32_t gc, double scale, int32_t keep, void* i,
                                    _univ_mat* labels, _univ_mat* approx, int32_t* count) {
    return univ_call(real_types{}, with(a, fixed<uint32_t>(labels), fixed<double>(approx), count),
                     [&](auto t, auto* ta, auto* tl, auto* tx, int32_t* n) {
                         return region_grow_klm<MUTILS_T(t)>(ta, gr, gc, scale, keep, i, tl, tx, n);
                     });
}
const char* imgset_region_grow_klm(const _mat_set* bands, int32_t gr, int32_t gc, double scale, int32_t keep, void* i,
                                   _uint32_mat* labels, _mat_set* approx, int32_t* count) {
    if (!bands || !labels || !approx || !count) return msg::null_pointer;
    validate_set(bands);
    validate_set(approx);
    for (int32_t b = 0; b < bands->nmat; ++b) validate_univ(&bands->mats[b]);
    for (int32_t b = 0; b < approx->nmat; ++b) validate_univ(&approx->mats[b]);
    validate(labels);
    for (int32_t b = 0; b < bands->nmat; ++b)
        if (bands->mats[b].type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    for (int32_t b = 0; b < approx->nmat; ++b)
        if (approx->mats[b].type != MUTIL_DOUBLE) return msg::illegal_data_type;
    if (approx->nmat != bands->nmat) return msg::array_size_mismatch;
    for (int32_t b = 0; b < bands->nmat; ++b) {
        MUTILS_TRY(require_same_size(labels, &bands->mats[b]));
        MUTILS_TRY(require_same_size(labels, &approx->mats[b]));
    }
    MUTILS_TRY(check_merge(labels->nrow, labels->ncol, gr, gc, scale, keep));
    Hux::ArenaScope scope;
    const double** planes = work_array<const double*>(bands->nmat);
    double** out = work_array<double*>(bands->nmat);
    for (int32_t b = 0; b < bands->nmat; ++b) {
        const _univ_mat* m = &bands->mats[b];
        dispatch(m->type, real_types{}, [&](auto t) -> const char* {
            using T = MUTILS_T(t);
            planes[b] = as_doubles(static_cast<const T*>(m->data), m->nelem);
            return nullptr;
        });
        out[b] = static_cast<double*>(approx->mats[b].data);
    }
    return merge_regions(planes, bands->nmat, labels->nrow, labels->ncol, gr, gc, scale, keep, i, labels->data, out,
                         count);
}

const char* imgdbl_region_grow_seeded(const _double_mat* a, const _sint32_mat* seeds, double tolerance,
                                      _img_connected_type connectivity, void* i, _uint32_mat* labels) {
    return region_grow_seeded<double>(a, seeds, tolerance, connectivity, i, labels);
}
const char* imguniv_region_grow_seeded(const _univ_mat* a, const _sint32_mat* seeds, double tolerance,
                                       _img_connected_type connectivity, void* i, _univ_mat* labels) {
    return univ_call(real_types{}, with(a, seeds, fixed<uint32_t>(labels)), [&](auto t, auto* ta, auto* ts, auto* tl) {
        return region_grow_seeded<MUTILS_T(t)>(ta, ts, tolerance, connectivity, i, tl);
    });
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_region_grow_klm,
             (const mutils::_univ_mat* a, int32_t gr, int32_t gc, double scale, int32_t keep, void* i,
              mutils::_univ_mat* labels, mutils::_univ_mat* approx, int32_t* count),
             (a, gr, gc, scale, keep, i, labels, approx, count))
