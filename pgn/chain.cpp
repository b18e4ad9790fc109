#include "chain.h"

#include <algorithm>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

constexpr int kRowStep[8] = {1, 0, -1, -1, -1, 0, 1, 1};
constexpr int kColStep[8] = {-1, -1, -1, 0, 1, 1, 1, 0};
// The run arrays' byte count must fit the 32-bit sizes of the storage layer.
constexpr int32_t kMaxRuns = INT32_MAX / 4;
constexpr int32_t kGrowth = 1000;

/// The directions in which each pixel has been left so far: an open-addressing table keyed by
/// the pixel's flat index, so the cost follows the boundary's length, not the image's area.
class MoveLog {
public:
    MoveLog() { resize(10); }

    /// Records leaving `pixel` in `dir`; true when that move was recorded before.
    bool repeat(int64_t pixel, int dir) {
        if (2 * (m_count + 1) > (int64_t(1) << m_bits)) resize(m_bits + 1);
        const int64_t i = slot(pixel);
        const unsigned char bit = static_cast<unsigned char>(1u << dir);
        if (m_keys[i] == pixel) {
            if (m_masks[i] & bit) return true;
            m_masks[i] |= bit;
            return false;
        }
        m_keys[i] = pixel;
        m_masks[i] = bit;
        ++m_count;
        return false;
    }

private:
    int64_t slot(int64_t pixel) const {
        const int64_t mask = (int64_t(1) << m_bits) - 1;
        int64_t i = int64_t((uint64_t(pixel) * 0x9E3779B97F4A7C15ull) >> (64 - m_bits));
        while (m_keys[i] != -1 && m_keys[i] != pixel) i = (i + 1) & mask;
        return i;
    }

    void resize(int bits) {
        int64_t* old_keys = m_keys;
        unsigned char* old_masks = m_masks;
        const int64_t old_cap = m_keys ? int64_t(1) << m_bits : 0;
        m_bits = bits;
        const int64_t cap = int64_t(1) << bits;
        m_keys = work_array<int64_t>(cap);
        m_masks = work_array<unsigned char>(cap);
        std::fill(m_keys, m_keys + cap, int64_t(-1));
        for (int64_t i = 0; i < old_cap; ++i) {
            if (old_keys[i] == -1) continue;
            const int64_t j = slot(old_keys[i]);
            m_keys[j] = old_keys[i];
            m_masks[j] = old_masks[i];
        }
    }

    int64_t* m_keys = nullptr;
    unsigned char* m_masks = nullptr;
    int64_t m_count = 0;
    int m_bits = 0;
};

/// Appends one move in direction d: lengthens the last run or starts a new one, growing the
/// arrays by 1000 runs when they are full. `runs` is the number in use.
const char* append_move(_pgn_chain* chain, int32_t& runs, unsigned char d) {
    if (runs > 0 && chain->direction[runs - 1] == d) {
        ++chain->run_length[runs - 1];
        return nullptr;
    }
    if (runs == chain->nrun) MUTILS_TRY(pgn_chain_realloc(chain, runs + kGrowth));
    chain->direction[runs] = d;
    chain->run_length[runs] = 1;
    ++runs;
    return nullptr;
}

/// Replaces the runs of a trace that fell into a cycle by the cycle alone. The trace is `moves`
/// moves from (r0, c0); the cycle begins with the earlier move that leaves (r, c) in direction d.
const char* keep_cycle(_pgn_chain* chain, int32_t& runs, int64_t moves, int32_t r, int32_t c, int d) {
    unsigned char* dirs = work_array<unsigned char>(moves);
    for (int64_t k = 0, i = 0; i < runs; ++i)
        for (int32_t n = 0; n < chain->run_length[i]; ++n) dirs[k++] = chain->direction[i];

    const int32_t r0 = chain->start_row, c0 = chain->start_col;
    int32_t pr = r0, pc = c0;
    int64_t first = 0;
    while (!(pr == r && pc == c && dirs[first] == d)) {
        pr += kRowStep[dirs[first]];
        pc += kColStep[dirs[first]];
        ++first;
    }
    // From the cycle's first visit of the start pixel, if it passes there.
    int64_t from = first;
    for (int64_t k = first; k < moves; ++k) {
        if (pr == r0 && pc == c0) {
            from = k;
            break;
        }
        pr += kRowStep[dirs[k]];
        pc += kColStep[dirs[k]];
    }
    if (from == first) {
        chain->start_row = r;
        chain->start_col = c;
    }
    // Worst case one run per move of the cycle.
    const int64_t length = moves - first;
    if (length > chain->nrun) MUTILS_TRY(pgn_chain_realloc(chain, int32_t(length)));
    runs = 0;
    for (int64_t k = 0; k < length; ++k) {
        const unsigned char dk = dirs[first + (from - first + k) % length];
        MUTILS_TRY(append_move(chain, runs, dk));
    }
    return nullptr;
}

template <class T> const char* trace(const mat_t<T>* image, int32_t row, int32_t col, void* intrp, _pgn_chain* chain) {
    if (!chain) return msg::null_pointer;
    validate(image);
    const int32_t nrow = image->nrow, ncol = image->ncol;
    if (row < 0 || row >= nrow || col < 0 || col >= ncol) return msg::illegal_data_value;
    const T* px = image->data;
    const T seed = px[int64_t(row) * ncol + col];
    auto member = [&](int32_t r, int32_t c) {
        return r >= 0 && r < nrow && c >= 0 && c < ncol && px[int64_t(r) * ncol + c] == seed;
    };

    int32_t c0 = col;
    while (c0 > 0 && member(row, c0 - 1)) --c0;
    const int32_t r0 = row;
    chain->start_row = r0;
    chain->start_col = c0;
    chain->nrun = 0;
    chain->run_length = nullptr;
    chain->direction = nullptr;

    static constexpr int kIsolationOrder[8] = {5, 6, 7, 0, 1, 2, 3, 4};
    bool isolated = true;
    for (int k : kIsolationOrder) isolated = isolated && !member(r0 + kRowStep[k], c0 + kColStep[k]);
    if (isolated) return nullptr;

    MUTILS_TRY(pgn_chain_malloc(chain, kGrowth));
    int32_t runs = 0;
    int64_t moves = 0;
    MoveLog log;
    int d = 6;
    int32_t r = r0, c = c0;
    bool cycle = false;
    for (;;) {
        // Some neighbour always qualifies: the pixel we came from (or, at the start, the
        // neighbour the isolation test found).
        int k = (2 * (d / 2) + 7) % 8;
        while (!member(r + kRowStep[k], c + kColStep[k])) k = (k + 1) % 8;
        d = k;
        if (r == r0 && c == c0 && runs > 0 && d == chain->direction[0]) break;
        if (log.repeat(int64_t(r) * ncol + c, d)) {
            cycle = true;
            break;
        }
        MUTILS_TRY(append_move(chain, runs, static_cast<unsigned char>(d)));
        ++moves;
        r += kRowStep[d];
        c += kColStep[d];
    }
    if (cycle) MUTILS_TRY(keep_cycle(chain, runs, moves, r, c, d));

    Poll poll(intrp);
    MUTILS_TRY(poll.add(50.0 * double(moves)));
    return pgn_chain_realloc(chain, runs);
}

const char* to_polygon(const _pgn_chain* chain, _double_mat* polygon) {
    if (chain->nrun < 0) return msg::illegal_data_value;
    if (chain->nrun > 0 && (!chain->run_length || !chain->direction)) return msg::null_pointer;
    MUTILS_TRY(require_size(polygon, chain->nrun + 1, 2));
    int64_t r = chain->start_row, c = chain->start_col;
    double* out = polygon->data;
    out[0] = double(r);
    out[1] = double(c);
    for (int32_t i = 0; i < chain->nrun; ++i) {
        const unsigned char d = chain->direction[i];
        const int32_t n = chain->run_length[i];
        if (d > 7 || n < 1) return msg::illegal_data_value;
        r += int64_t(kRowStep[d]) * n;
        c += int64_t(kColStep[d]) * n;
        out[2 * (i + 1)] = double(r);
        out[2 * (i + 1) + 1] = double(c);
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* pgn_chain_malloc(_pgn_chain* chain, int32_t n) {
    if (!chain) return msg::null_pointer;
    if (n < 0 || n > kMaxRuns) return msg::illegal_data_value;
    chain->nrun = n;
    chain->run_length = n ? work_array<int32_t>(n) : nullptr;
    chain->direction = n ? work_array<unsigned char>(n) : nullptr;
    return nullptr;
}

const char* pgn_chain_realloc(_pgn_chain* chain, int32_t n) {
    if (!chain) return msg::null_pointer;
    if (n == 0) return nullptr;
    if (chain->nrun == 0) return pgn_chain_malloc(chain, n);
    if (n < 0 || n > kMaxRuns) return msg::illegal_data_value;
    // Growing copies the old runs into new blocks; shrinking keeps the blocks as they are.
    void* lengths = chain->run_length;
    void* dirs = chain->direction;
    mutil_realloc(&lengths, 4 * n, 4 * chain->nrun);
    mutil_realloc(&dirs, n, chain->nrun);
    chain->run_length = static_cast<int32_t*>(lengths);
    chain->direction = static_cast<unsigned char*>(dirs);
    chain->nrun = n;
    return nullptr;
}

const char* pgn_chain_free(_pgn_chain* chain) {
    if (!chain || chain->nrun == 0) return nullptr;
    chain->nrun = 0;
    chain->run_length = nullptr;
    chain->direction = nullptr;
    return nullptr;
}

const char* pgnu8_boundary_chain_from_region(const _uint8_mat* image, int32_t row, int32_t col, void* intrp,
                                             _pgn_chain* chain) {
    return trace<unsigned char>(image, row, col, intrp, chain);
}
const char* pgnu16_boundary_chain_from_region(const _uint16_mat* image, int32_t row, int32_t col, void* intrp,
                                              _pgn_chain* chain) {
    return trace<uint16_t>(image, row, col, intrp, chain);
}
const char* pgns32_boundary_chain_from_region(const _sint32_mat* image, int32_t row, int32_t col, void* intrp,
                                              _pgn_chain* chain) {
    return trace<int32_t>(image, row, col, intrp, chain);
}
const char* pgndbl_boundary_chain_from_region(const _double_mat* image, int32_t row, int32_t col, void* intrp,
                                              _pgn_chain* chain) {
    return trace<double>(image, row, col, intrp, chain);
}

const char* pgnuniv_boundary_chain_from_region(const _univ_mat* image, int32_t row, int32_t col, void* intrp,
                                               _pgn_chain* chain) {
    // u32 and s32 pixels compare equal exactly when their bits do: both run the u32 body.
    return univ_call(types<unsigned char, uint16_t, uint32_t, int32_t, double>{}, with(image), [&](auto t, auto* ti) {
        return trace<bits_t<MUTILS_T(t)>>(bits<MUTILS_T(t)>(ti), row, col, intrp, chain);
    });
}

const char* pgndbl_boundary_chain_to_polygon(const _pgn_chain* chain, void*, _double_mat* polygon) {
    if (!chain) return msg::null_pointer;
    validate(polygon);
    return to_polygon(chain, polygon);
}

const char* pgnuniv_boundary_chain_to_polygon(const _pgn_chain* chain, void*, _univ_mat* polygon) {
    if (!chain) return msg::null_pointer;
    validate(polygon);
    if (polygon->type != MUTIL_DOUBLE) return msg::illegal_data_type;
    return to_polygon(chain, as<double>(polygon));
}

}  // namespace mutils
