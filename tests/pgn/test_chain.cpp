// Boundary chains: storage operations, tracing of hand-drawn regions, the cycle stop, random
// images against the plain stop rule, polygon vertices and the refusals.
#include <optional>
#include <random>
#include <string>
#include <utility>

#include "support.h"

namespace mutils::test {
namespace {

constexpr int kDr[8] = {1, 0, -1, -1, -1, 0, 1, 1};
constexpr int kDc[8] = {-1, -1, -1, 0, 1, 1, 1, 0};
using Runs = std::vector<std::pair<int, int32_t>>;  // (direction, length)

Runs runs_of(const _pgn_chain& c) {
    Runs out;
    for (int32_t i = 0; i < c.nrun; ++i) out.emplace_back(c.direction[i], c.run_length[i]);
    return out;
}

// An image from rows of characters: '#' is 1, anything else 0.
_uint8_mat draw(const std::vector<std::string>& rows) {
    std::vector<unsigned char> px;
    for (const std::string& r : rows)
        for (char ch : r) px.push_back(ch == '#');
    return make<unsigned char>(int32_t(rows.size()), int32_t(rows[0].size()), px);
}

// The trace under the stop rule alone (at the start, next direction = first run's): its runs,
// or nullopt when it has not stopped after `cap` moves.
std::optional<Runs> plain_rule_trace(const _uint8_mat& m, int32_t row, int32_t col, int64_t cap) {
    const unsigned char s = m.data[row * m.ncol + col];
    auto in = [&](int32_t r, int32_t c) {
        return r >= 0 && r < m.nrow && c >= 0 && c < m.ncol && m.data[r * m.ncol + c] == s;
    };
    while (col > 0 && in(row, col - 1)) --col;
    Runs runs;
    int alone = 0;
    for (int k = 0; k < 8; ++k) alone += in(row + kDr[k], col + kDc[k]);
    if (!alone) return runs;
    for (int d = 6, r = row, c = col; cap-- > 0; r += kDr[d], c += kDc[d]) {
        for (d = (2 * (d / 2) + 7) % 8; !in(r + kDr[d], c + kDc[d]);) d = (d + 1) % 8;
        if (r == row && c == col && !runs.empty() && d == runs[0].first) return runs;
        if (!runs.empty() && runs.back().first == d)
            ++runs.back().second;
        else
            runs.emplace_back(d, 1);
    }
    return std::nullopt;
}

// True when every pixel on the chain holds `value` and the chain ends on its start.
bool closes_inside(const _uint8_mat& m, const _pgn_chain& ch, unsigned char value) {
    int32_t r = ch.start_row, c = ch.start_col;
    for (auto [d, n] : runs_of(ch))
        for (int32_t k = 0; k < n; ++k) {
            r += kDr[d], c += kDc[d];
            if (r < 0 || r >= m.nrow || c < 0 || c >= m.ncol || m.data[r * m.ncol + c] != value) return false;
        }
    return r == ch.start_row && c == ch.start_col;
}

using ChainTest = ArenaTest;

TEST_F(ChainTest, Storage) {
    _pgn_chain ch{};
    EXPECT_EQ(message(pgn_chain_malloc(&ch, 0)), "");
    EXPECT_EQ(ch.run_length, nullptr);
    EXPECT_EQ(message(pgn_chain_malloc(&ch, -1)), "Illegal data value");
    ASSERT_EQ(message(pgn_chain_realloc(&ch, 3)), "");  // an empty chain is allocated
    for (int i = 0; i < 3; ++i) ch.run_length[i] = 10 + i, ch.direction[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(message(pgn_chain_realloc(&ch, 0)), "");  // never shrinks to empty
    EXPECT_EQ(ch.nrun, 3);
    EXPECT_EQ(message(pgn_chain_realloc(&ch, -2)), "Illegal data value");
    ASSERT_EQ(message(pgn_chain_realloc(&ch, 2000)), "");
    EXPECT_EQ(runs_of(ch)[2], std::make_pair(2, 12));  // leading runs kept
    ASSERT_EQ(message(pgn_chain_realloc(&ch, 2)), "");
    EXPECT_EQ(runs_of(ch), (Runs{{0, 10}, {1, 11}}));
    EXPECT_EQ(message(pgn_chain_free(&ch)), "");
    EXPECT_TRUE(ch.nrun == 0 && ch.direction == nullptr);
    EXPECT_EQ(message(pgn_chain_malloc(nullptr, 4)), "null pointer");
    EXPECT_EQ(message(pgn_chain_realloc(nullptr, 4)), "null pointer");
    EXPECT_EQ(message(pgn_chain_free(nullptr)), "");  // free of nothing succeeds
}

TEST_F(ChainTest, HandDrawnRegions) {
    struct Case {
        const char* what;
        std::vector<std::string> img;
        int32_t row, col, start_row, start_col;
        Runs runs;
    };
    const std::vector<Case> cases = {
        {"isolated pixel", {"...", ".#.", "..."}, 1, 1, 1, 1, {}},
        // Left arm, centre, top, then round the diamond for ever, never leaving the start in
        // the first direction (5): the chain is the diamond from the start.
        {"plus shape", {".....", "..#..", ".###.", "..#..", "....."}, 2, 2, 2, 1, {{4, 1}, {6, 1}, {0, 1}, {2, 1}}},
        // A tail from the start into a plus shape whose diamond never comes back to it: the
        // chain is the diamond, from the pixel where the cycle begins.
        {"tail into a plus",
         {"......", "...#..", "..###.", ".#.#..", "#.....", "......"},
         4,
         0,
         2,
         2,
         {{4, 1}, {6, 1}, {0, 1}, {2, 1}}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        _uint8_mat m = draw(k.img);
        _pgn_chain ch{};
        ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, k.row, k.col, nullptr, &ch)), "");
        EXPECT_EQ(std::make_pair(ch.start_row, ch.start_col), std::make_pair(k.start_row, k.start_col));
        EXPECT_EQ(runs_of(ch), k.runs);
        EXPECT_TRUE(closes_inside(m, ch, 1));
        EXPECT_EQ(ch.direction == nullptr, k.runs.empty());
    }
}

TEST_F(ChainTest, RandomImagesAlwaysEndOnAClosedChain) {
    std::mt19937 rng(12345);
    int cycles = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        const int32_t nr = 1 + int32_t(rng() % 8), nc = 1 + int32_t(rng() % 8), r = int32_t(rng() % nr),
                      c = int32_t(rng() % nc);
        std::vector<unsigned char> px(size_t(nr * nc));
        for (auto& p : px) p = static_cast<unsigned char>(rng() % 2);
        _uint8_mat m = make<unsigned char>(nr, nc, px);
        _pgn_chain ch{};
        ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, r, c, nullptr, &ch)), "");
        ASSERT_TRUE(closes_inside(m, ch, px[size_t(r * nc + c)])) << "trial " << trial;
        // Wherever the stop rule alone ends the trace, the chain is exactly its chain.
        if (auto plain = plain_rule_trace(m, r, c, 8 * 64 + 8)) {
            EXPECT_EQ(ch.start_row, r);
            EXPECT_EQ(runs_of(ch), *plain) << "trial " << trial;
        } else {
            ++cycles;
        }
    }
    EXPECT_GT(cycles, 50);  // the cycle stop is exercised, not only the plain one
}

TEST_F(ChainTest, LongBoundaryGrowsPastAThousandRuns) {
    // A comb: a solid row with a tooth below every other column, about 1.5 runs per column.
    const int32_t w = 1601;
    std::vector<unsigned char> px(size_t(4 * w), 0);
    for (int32_t c = 0; c < w; ++c) px[size_t(w + c)] = 7, px[size_t(2 * w + c)] = c % 2 ? 0 : 7;
    _uint8_mat m = make<unsigned char>(4, w, px);
    _pgn_chain ch{};
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, 1, 500, nullptr, &ch)), "");
    EXPECT_GT(ch.nrun, 2000);
    EXPECT_EQ(ch.start_col, 0);
    EXPECT_EQ(runs_of(ch), plain_rule_trace(m, 1, 500, 100000));
}

TEST_F(ChainTest, UniversalDispatchAndRefusals) {
    _uint8_mat m8 = make<unsigned char>(3, 4, {5, 5, 0, 0, 5, 5, 5, 0, 0, 0, 5, 0});
    _pgn_chain want{}, ch{};
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m8, 1, 2, nullptr, &want)), "");
    _univ_mat u = make_univ<double>(3, 4, {.5, .5, 0, 0, .5, .5, .5, 0, 0, 0, .5, 0});  // non-integer values
    EXPECT_EQ(message(pgnuniv_boundary_chain_from_region(&u, 1, 2, nullptr, &ch)), "");
    EXPECT_EQ(runs_of(ch), runs_of(want));
    EXPECT_EQ(message(pgnuniv_boundary_chain_from_region(nullptr, 0, 0, nullptr, &ch)), "null pointer");
    EXPECT_EQ(message(pgnu8_boundary_chain_from_region(&m8, 0, 0, nullptr, nullptr)), "null pointer");
    EXPECT_EQ(raised([&] { pgnu8_boundary_chain_from_region(nullptr, 0, 0, nullptr, &ch); }), "null pointer");
    for (auto [r, c] : {std::pair{-1, 0}, {3, 0}, {0, -1}, {0, 4}})
        EXPECT_EQ(message(pgnu8_boundary_chain_from_region(&m8, r, c, nullptr, &ch)), "Illegal data value");
}

TEST_F(ChainTest, PolygonVerticesAtRunEnds) {
    _uint8_mat m = draw({"....", ".##.", ".##.", "...."});
    _pgn_chain ch{};
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, 1, 1, nullptr, &ch)), "");
    _double_mat poly = make<double>(5, 2), one = make<double>(1, 2);
    ASSERT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "");
    EXPECT_EQ(values(poly), (std::vector<double>{1, 1, 1, 2, 2, 2, 2, 1, 1, 1}));  // closed
    _pgn_chain empty{3, 4, 0, nullptr, nullptr};
    ASSERT_EQ(message(pgndbl_boundary_chain_to_polygon(&empty, nullptr, &one)), "");
    EXPECT_EQ(values(one), (std::vector<double>{3, 4}));

    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(nullptr, nullptr, &poly)), "null pointer");
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &one)), "array size mismatch");
    ch.direction[1] = 8;
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "Illegal data value");
    ch.direction[1] = 7, ch.run_length[2] = 0;
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "Illegal data value");
    ch.run_length = nullptr;
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
