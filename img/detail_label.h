// Internal run-based union-find labelling shared by connected components and hysteresis.
//
// A run is a maximal horizontal stretch of object pixels in one row. Runs are numbered in scan
// order (planes, rows, columns); every union keeps the smaller root, so the root of a region is
// its first run and numbering the roots in run order numbers the regions by their first pixel in
// a raster scan: the same dense labels as a pixel-by-pixel scan with an equivalence table in
// which the smaller root always wins.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "../core/detail.h"
#include "detail_bits.h"

namespace mutils {
namespace detail {

/// Runs in scan order with their union-find parents (parent[i] <= i always).
struct RunSet {
    int64_t n = 0;
    int64_t cap = 0;
    int32_t* start = nullptr;  // first column
    int32_t* end = nullptr;    // one past the last column
    uint32_t* parent = nullptr;

    void reserve(int64_t want) {
        if (want <= cap) return;
        int64_t c = std::max<int64_t>(want, 2 * cap);
        int32_t* s = work_array<int32_t>(c);
        int32_t* e = work_array<int32_t>(c);
        uint32_t* p = work_array<uint32_t>(c);
        if (n) {
            std::memcpy(s, start, std::size_t(n) * sizeof(int32_t));
            std::memcpy(e, end, std::size_t(n) * sizeof(int32_t));
            std::memcpy(p, parent, std::size_t(n) * sizeof(uint32_t));
        }
        start = s, end = e, parent = p, cap = c;
    }

    uint32_t find(uint32_t x) {
        while (parent[x] != x) {
            parent[x] = parent[parent[x]];
            x = parent[x];
        }
        return x;
    }

    void unite(uint32_t a, uint32_t b) {
        a = find(a);
        b = find(b);
        if (a < b)
            parent[b] = a;
        else if (b < a)
            parent[a] = b;
    }
};

/// Appends the runs of set bits of one bit row (each its own root).
inline void append_row_runs(const bitword* row, int32_t words, RunSet& rs) {
    int32_t c = 0;
    for (int32_t k = 0; k < words; ++k) {
        bitword w = row[k];
        int32_t base = k * 64;
        // Bits below a run started in an earlier word are consumed there.
        if (c > base) w &= (c - base >= 64) ? 0 : ~bitword(0) << (c - base);
        while (w) {
            int32_t s = base + __builtin_ctzll(w);
            // Find the end: first clear bit at or after s.
            int32_t kk = k;
            bitword inv = ~row[kk] & (~bitword(0) << (s - base));
            while (!inv && ++kk < words) inv = ~row[kk];
            int32_t e = kk < words ? kk * 64 + __builtin_ctzll(inv) : words * 64;
            if (rs.n == rs.cap) rs.reserve(rs.n + 1);
            rs.start[rs.n] = s;
            rs.end[rs.n] = e;
            rs.parent[rs.n] = uint32_t(rs.n);
            ++rs.n;
            c = e;
            if (e - base >= 64) break;
            w &= ~bitword(0) << (e - base);
        }
    }
}

/// Unites every run of [a0, a1) with every run of [b0, b1) that touches it: overlapping columns
/// (slack 0) or also diagonally adjacent columns (slack 1). Both ranges are sorted by column.
inline void link_runs(RunSet& rs, int64_t a0, int64_t a1, int64_t b0, int64_t b1, int32_t slack) {
    int64_t j = b0;
    for (int64_t i = a0; i < a1; ++i) {
        const int32_t s = rs.start[i] - slack, e = rs.end[i] + slack;
        while (j < b1 && rs.end[j] <= s) ++j;
        for (int64_t jj = j; jj < b1 && rs.start[jj] < e; ++jj) rs.unite(uint32_t(i), uint32_t(jj));
    }
}

/// Labels the set bits of a bit image: runs of every row, linked to the row above (slack 1 for
/// eight neighbours, 0 for four). row_first[r] is the first run of row r (nrow + 1 entries).
inline void label_bit_image(const BitImage& b, bool eight, RunSet& rs, int64_t* row_first) {
    rs.reserve(std::max<int64_t>(1024, int64_t(b.nrow) * 4));
    for (int64_t r = 0; r < b.nrow; ++r) {
        row_first[r] = rs.n;
        append_row_runs(b.row(r), b.words, rs);
        if (r) link_runs(rs, row_first[r], rs.n, row_first[r - 1], row_first[r], eight ? 1 : 0);
    }
    row_first[b.nrow] = rs.n;
}

/// Dense numbers of the final regions: lab[i] = 1, 2, ... in the order of the regions' first runs.
/// Returns the number of regions.
inline uint32_t number_runs(RunSet& rs, uint32_t* lab) {
    uint32_t next = 0;
    for (int64_t i = 0; i < rs.n; ++i) {
        uint32_t p = rs.parent[i];
        lab[i] = p == uint32_t(i) ? ++next : lab[p];  // p < i is in the same region, already numbered
    }
    return next;
}

/// Drops regions of fewer than min_size pixels (label 0) and renumbers the others densely in
/// order; returns the number kept.
inline uint32_t drop_small(const RunSet& rs, uint32_t regions, uint32_t min_size, uint32_t* lab) {
    uint64_t* size = work_array_zero<uint64_t>(int64_t(regions) + 1);
    for (int64_t i = 0; i < rs.n; ++i) size[lab[i]] += uint64_t(rs.end[i] - rs.start[i]);
    uint32_t* map = work_array<uint32_t>(int64_t(regions) + 1);
    uint32_t kept = 0;
    map[0] = 0;
    for (uint32_t l = 1; l <= regions; ++l) map[l] = size[l] >= min_size ? ++kept : 0;
    for (int64_t i = 0; i < rs.n; ++i) lab[i] = map[lab[i]];
    return kept;
}

/// Writes the label image of rows [r0, r1) of one plane: 0 between runs, lab[i] on run i.
inline void write_labels(const RunSet& rs, const uint32_t* lab, const int64_t* row_first, int64_t r0, int64_t r1,
                         int32_t ncol, uint32_t* out) {
    for (int64_t r = r0; r < r1; ++r) {
        uint32_t* o = out + (r - r0) * ncol;
        int32_t c = 0;
        for (int64_t i = row_first[r]; i < row_first[r + 1]; ++i) {
            std::fill(o + c, o + rs.start[i], 0u);
            std::fill(o + rs.start[i], o + rs.end[i], lab[i]);
            c = rs.end[i];
        }
        std::fill(o + c, o + ncol, 0u);
    }
}

}  // namespace detail
}  // namespace mutils
