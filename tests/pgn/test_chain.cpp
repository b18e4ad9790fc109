// Boundary chains: storage operations, tracing of hand-drawn regions, the cycle stop, random
// images against a literal tracer, polygon vertices and the refusals.
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
        for (char ch : r) px.push_back(ch == '#' ? 1 : 0);
    return make<unsigned char>(int32_t(rows.size()), int32_t(rows[0].size()), px);
}

// The tracer's stop rule alone (start pixel, next direction = first run's), for comparison;
// nullopt when it has not stopped after `cap` moves.
struct Literal {
    int32_t r0, c0;
    Runs runs;
};
std::optional<Literal> literal_trace(const _uint8_mat& m, int32_t row, int32_t col, int64_t cap) {
    auto in = [&](int32_t r, int32_t c, unsigned char s) {
        return r >= 0 && r < m.nrow && c >= 0 && c < m.ncol && m.data[r * m.ncol + c] == s;
    };
    const unsigned char s = m.data[row * m.ncol + col];
    int32_t c0 = col;
    while (c0 > 0 && in(row, c0 - 1, s)) --c0;
    Literal out{row, c0, {}};
    bool alone = true;
    for (int k = 0; k < 8; ++k) alone = alone && !in(row + kDr[k], c0 + kDc[k], s);
    if (alone) return out;
    int d = 6, r = row, c = c0;
    for (int64_t moves = 0; moves < cap; ++moves) {
        int k = (2 * (d / 2) + 7) % 8;
        while (!in(r + kDr[k], c + kDc[k], s)) k = (k + 1) % 8;
        d = k;
        if (r == row && c == c0 && !out.runs.empty() && d == out.runs[0].first) return out;
        if (!out.runs.empty() && out.runs.back().first == d)
            ++out.runs.back().second;
        else
            out.runs.emplace_back(d, 1);
        r += kDr[d];
        c += kDc[d];
    }
    return std::nullopt;
}

// Walks the chain; true when every pixel on it holds `value` and it ends on its start.
bool closes_inside(const _uint8_mat& m, const _pgn_chain& ch, unsigned char value) {
    int32_t r = ch.start_row, c = ch.start_col;
    for (int32_t i = 0; i < ch.nrun; ++i)
        for (int32_t k = 0; k < ch.run_length[i]; ++k) {
            r += kDr[ch.direction[i]];
            c += kDc[ch.direction[i]];
            if (r < 0 || r >= m.nrow || c < 0 || c >= m.ncol || m.data[r * m.ncol + c] != value) return false;
        }
    return r == ch.start_row && c == ch.start_col;
}

using ChainStorageTest = ArenaTest;
using ChainTraceTest = ArenaTest;
using ChainPolygonTest = ArenaTest;

TEST_F(ChainStorageTest, MallocReallocAndFree) {
    _pgn_chain ch{};
    EXPECT_EQ(message(pgn_chain_malloc(&ch, 0)), "");
    EXPECT_EQ(ch.nrun, 0);
    EXPECT_EQ(ch.run_length, nullptr);
    EXPECT_EQ(message(pgn_chain_malloc(&ch, -1)), "Illegal data value");
    EXPECT_EQ(message(pgn_chain_realloc(&ch, -1)), "Illegal data value");  // empty: as malloc

    ASSERT_EQ(message(pgn_chain_realloc(&ch, 3)), "");  // empty: allocates
    EXPECT_EQ(ch.nrun, 3);
    for (int i = 0; i < 3; ++i) {
        ch.run_length[i] = 10 + i;
        ch.direction[i] = static_cast<unsigned char>(i);
    }
    EXPECT_EQ(message(pgn_chain_realloc(&ch, 0)), "");  // never shrinks to empty
    EXPECT_EQ(ch.nrun, 3);
    EXPECT_EQ(message(pgn_chain_realloc(&ch, -2)), "Illegal data value");
    ASSERT_EQ(message(pgn_chain_realloc(&ch, 2000)), "");
    EXPECT_EQ(ch.nrun, 2000);
    EXPECT_EQ(runs_of(ch)[2], std::make_pair(2, 12));  // leading runs kept
    ASSERT_EQ(message(pgn_chain_realloc(&ch, 2)), "");
    EXPECT_EQ(runs_of(ch), (Runs{{0, 10}, {1, 11}}));

    EXPECT_EQ(message(pgn_chain_free(&ch)), "");
    EXPECT_EQ(ch.nrun, 0);
    EXPECT_EQ(ch.direction, nullptr);
}

TEST_F(ChainStorageTest, NullChain) {
    EXPECT_EQ(message(pgn_chain_malloc(nullptr, 4)), "null pointer");
    EXPECT_EQ(message(pgn_chain_realloc(nullptr, 4)), "null pointer");
    EXPECT_EQ(message(pgn_chain_free(nullptr)), "");  // free of nothing succeeds
}

TEST_F(ChainTraceTest, HandDrawnRegions) {
    struct Case {
        const char* what;
        std::vector<std::string> img;
        int32_t row, col, start_row, start_col;
        Runs runs;
    };
    const std::vector<Case> cases = {
        {"isolated pixel", {"...", ".#.", "..."}, 1, 1, 1, 1, {}},
        {"run of three, seeded in the middle", {".....", ".###.", "....."}, 1, 2, 1, 1, {{5, 2}, {1, 2}}},
        {"2 x 2 block", {"....", ".##.", ".##.", "...."}, 1, 2, 1, 1, {{5, 1}, {7, 1}, {1, 1}, {3, 1}}},
        // Started on the image's left edge, the search turns inward: the chain is the small
        // loop through the top-left 2 x 2, which ends the trace by the stop rule.
        {"3 x 3 block filling the image", {"###", "###", "###"}, 1, 1, 1, 0, {{5, 1}, {3, 1}, {1, 1}, {7, 1}}},
        {"diagonal pair", {"#.", ".#"}, 0, 0, 0, 0, {{6, 1}, {2, 1}}},
        // The plus shape never leaves its start in the first run's direction (5): the trace
        // runs left arm, centre, top, then circles the diamond; the chain is that diamond.
        {"plus shape", {".....", "..#..", ".###.", "..#..", "....."}, 2, 2, 2, 1, {{4, 1}, {6, 1}, {0, 1}, {2, 1}}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        _uint8_mat m = draw(k.img);
        _pgn_chain ch{};
        ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, k.row, k.col, nullptr, &ch)), "");
        EXPECT_EQ(ch.start_row, k.start_row);
        EXPECT_EQ(ch.start_col, k.start_col);
        EXPECT_EQ(runs_of(ch), k.runs);
        EXPECT_TRUE(closes_inside(m, ch, 1));
        if (k.runs.empty()) {
            EXPECT_EQ(ch.direction, nullptr);
        }
    }
}

TEST_F(ChainTraceTest, CycleAwayFromTheStartIsRecordedFromItsOwnFirstPixel) {
    // A tail from the start leads into a plus shape whose diamond the trace then circles for
    // ever without coming back: the chain is the diamond, started at the plus's left arm.
    _uint8_mat m = draw({"......",
                         "...#..",
                         "..###.",
                         ".#.#..",
                         "#.....",
                         "......"});
    ASSERT_FALSE(literal_trace(m, 4, 0, 10000));
    _pgn_chain ch{};
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, 4, 0, nullptr, &ch)), "");
    EXPECT_EQ(ch.start_row, 2);
    EXPECT_EQ(ch.start_col, 2);
    EXPECT_EQ(runs_of(ch), (Runs{{4, 1}, {6, 1}, {0, 1}, {2, 1}}));
}

TEST_F(ChainTraceTest, RandomImagesAlwaysEndOnAClosedChain) {
    std::mt19937 rng(12345);
    int cycles = 0, normal = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        const int32_t nr = 1 + int32_t(rng() % 8), nc = 1 + int32_t(rng() % 8);
        std::vector<unsigned char> px(size_t(nr * nc));
        for (auto& p : px) p = static_cast<unsigned char>(rng() % 2);
        _uint8_mat m = make<unsigned char>(nr, nc, px);
        const int32_t r = int32_t(rng() % nr), c = int32_t(rng() % nc);
        _pgn_chain ch{};
        ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, r, c, nullptr, &ch)), "");
        ASSERT_TRUE(closes_inside(m, ch, px[size_t(r * nc + c)])) << "trial " << trial;
        // Wherever the stop rule alone ends the trace, the chain is exactly its chain.
        if (auto lit = literal_trace(m, r, c, 8 * 64 + 8)) {
            ++normal;
            EXPECT_EQ(ch.start_row, lit->r0);
            EXPECT_EQ(ch.start_col, lit->c0);
            EXPECT_EQ(runs_of(ch), lit->runs) << "trial " << trial;
        } else {
            ++cycles;
        }
    }
    EXPECT_GT(cycles, 50);  // the cycle stop is exercised, not only the ordinary one
    EXPECT_GT(normal, 1000);
}

TEST_F(ChainTraceTest, LongBoundaryGrowsPastAThousandRuns) {
    // A comb: a solid row with a tooth below every other column; every move along the teeth
    // changes direction, so the boundary has about 1.5 runs per column.
    const int32_t w = 1601;
    std::vector<unsigned char> px(size_t(4 * w), 0);
    for (int32_t c = 0; c < w; ++c) {
        px[size_t(w + c)] = 7;
        if (c % 2 == 0) px[size_t(2 * w + c)] = 7;
    }
    _uint8_mat m = make<unsigned char>(4, w, px);
    _pgn_chain ch{};
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, 1, 500, nullptr, &ch)), "");
    EXPECT_GT(ch.nrun, 2000);
    EXPECT_EQ(ch.start_col, 0);
    EXPECT_TRUE(closes_inside(m, ch, 7));
    auto lit = literal_trace(m, 1, 500, 100000);
    ASSERT_TRUE(lit);
    EXPECT_EQ(runs_of(ch), lit->runs);
}

TEST_F(ChainTraceTest, EveryElementTypeTracesTheSameShape) {
    const std::vector<int32_t> shape = {5, 5, 0, 0, 5, 5, 5, 0, 0, 0, 5, 0};
    _pgn_chain expect{};
    _uint8_mat m8 = make<unsigned char>(3, 4, {5, 5, 0, 0, 5, 5, 5, 0, 0, 0, 5, 0});
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m8, 1, 2, nullptr, &expect)), "");
    auto check = [&](_univ_mat u) {
        _pgn_chain ch{};
        EXPECT_EQ(message(pgnuniv_boundary_chain_from_region(&u, 1, 2, nullptr, &ch)), "") << u.type;
        EXPECT_EQ(runs_of(ch), runs_of(expect)) << u.type;
    };
    check(make_univ<unsigned char>(3, 4, {5, 5, 0, 0, 5, 5, 5, 0, 0, 0, 5, 0}));
    check(make_univ<uint16_t>(3, 4, {5, 5, 0, 0, 5, 5, 5, 0, 0, 0, 5, 0}));
    check(make_univ<uint32_t>(3, 4, {5, 5, 0, 0, 5, 5, 5, 0, 0, 0, 5, 0}));
    check(make_univ<int32_t>(3, 4, shape));
    check(make_univ<double>(3, 4, {.5, .5, 0, 0, .5, .5, .5, 0, 0, 0, .5, 0}));
}

TEST_F(ChainTraceTest, Refusals) {
    _uint8_mat m = draw({"##", "##"});
    _pgn_chain ch{};
    EXPECT_EQ(message(pgnu8_boundary_chain_from_region(&m, 0, 0, nullptr, nullptr)), "null pointer");
    for (auto [r, c] : {std::pair{-1, 0}, {2, 0}, {0, -1}, {0, 2}})
        EXPECT_EQ(message(pgnu8_boundary_chain_from_region(&m, r, c, nullptr, &ch)), "Illegal data value");
    EXPECT_EQ(raised([&] { pgnu8_boundary_chain_from_region(nullptr, 0, 0, nullptr, &ch); }), "null pointer");
    EXPECT_EQ(message(pgnuniv_boundary_chain_from_region(nullptr, 0, 0, nullptr, &ch)), "null pointer");
    for (_univ_mat u : {make_univ<int16_t>(2, 2), make_univ<float>(2, 2), make_univ<_dcomplex>(2, 2)})
        EXPECT_EQ(message(pgnuniv_boundary_chain_from_region(&u, 0, 0, nullptr, &ch)), "Illegal data type");
    _univ_mat bad = make_univ<unsigned char>(2, 2);
    bad.type = static_cast<_mutil_data_type>(1);
    EXPECT_EQ(message(pgnuniv_boundary_chain_from_region(&bad, 0, 0, nullptr, &ch)), "Illegal data type");
}

TEST_F(ChainPolygonTest, VerticesAtRunEnds) {
    _uint8_mat m = draw({"....", ".##.", ".##.", "...."});
    _pgn_chain ch{};
    ASSERT_EQ(message(pgnu8_boundary_chain_from_region(&m, 1, 1, nullptr, &ch)), "");
    _double_mat poly = make<double>(5, 2);
    ASSERT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "");
    EXPECT_EQ(values(poly), (std::vector<double>{1, 1, 1, 2, 2, 2, 2, 1, 1, 1}));

    _univ_mat upoly = make_univ<double>(5, 2);
    ASSERT_EQ(message(pgnuniv_boundary_chain_to_polygon(&ch, nullptr, &upoly)), "");
    EXPECT_EQ(values_of<double>(upoly), values(poly));

    _pgn_chain empty{3, 4, 0, nullptr, nullptr};
    _double_mat one = make<double>(1, 2);
    ASSERT_EQ(message(pgndbl_boundary_chain_to_polygon(&empty, nullptr, &one)), "");
    EXPECT_EQ(values(one), (std::vector<double>{3, 4}));
}

TEST_F(ChainPolygonTest, Refusals) {
    int32_t len[2] = {2, 1};
    unsigned char dir[2] = {5, 8};
    _pgn_chain ch{0, 0, 2, len, dir};
    _double_mat poly = make<double>(3, 2), wrong = make<double>(2, 2);
    _univ_mat fpoly = make_univ<float>(3, 2);
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(nullptr, nullptr, &poly)), "null pointer");
    EXPECT_EQ(raised([&] { pgndbl_boundary_chain_to_polygon(&ch, nullptr, nullptr); }), "null pointer");
    EXPECT_EQ(message(pgnuniv_boundary_chain_to_polygon(&ch, nullptr, &fpoly)), "Illegal data type");
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &wrong)), "array size mismatch");
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "Illegal data value");
    dir[1] = 1;
    len[0] = 0;
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&ch, nullptr, &poly)), "Illegal data value");
    _pgn_chain hollow{0, 0, 2, nullptr, dir};
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&hollow, nullptr, &poly)), "null pointer");
    _pgn_chain negative{0, 0, -1, nullptr, nullptr};
    EXPECT_EQ(message(pgndbl_boundary_chain_to_polygon(&negative, nullptr, &poly)), "Illegal data value");
}

}  // namespace
}  // namespace mutils::test
