// Matrix product, LU decomposition, solution, inverse, non-negative least squares and principal
// components: hand-checked cases, bit-exact comparisons with plain reference loops, and refusals.
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using LinalgTest = ArenaTest;

template <class T> detail::mat_t<T> random_mat(int32_t rows, int32_t cols, unsigned seed, double lo = -1, double hi = 1) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(lo, hi);
    detail::mat_t<T> m = make<T>(rows, cols);
    for (int32_t i = 0; i < m.nelem; ++i) m.data[i] = T(dist(gen));
    return m;
}

/// The plain triple loop, each sum from zero in increasing j.
template <class T> std::vector<T> naive_product(const detail::mat_t<T>& a, const detail::mat_t<T>& b) {
    std::vector<T> p(std::size_t(a.nrow) * b.ncol);
    for (int32_t i = 0; i < a.nrow; ++i)
        for (int32_t k = 0; k < b.ncol; ++k) {
            T s = 0;
            for (int32_t j = 0; j < a.ncol; ++j) s = s + a.data[i * a.ncol + j] * b.data[j * b.ncol + k];
            p[std::size_t(i) * b.ncol + k] = s;
        }
    return p;
}

/// Crout's method column by column, as a reference for the blocked decomposition.
struct CroutRef {
    std::vector<double> a;
    std::vector<int32_t> index;
    bool singular = false;
};
CroutRef naive_crout(const _double_mat& m) {
    const int n = m.nrow;
    CroutRef r{std::vector<double>(m.data, m.data + m.nelem), std::vector<int32_t>(n)};
    auto A = [&](int i, int j) -> double& { return r.a[std::size_t(i) * n + j]; };
    std::vector<double> s(n);
    for (int i = 0; i < n; ++i) {
        double big = 0;
        for (int j = 0; j < n; ++j) big = std::max(big, std::fabs(A(i, j)));
        if (big == 0) {
            r.singular = true;
            return r;
        }
        s[i] = 1 / big;
    }
    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < j; ++i) {
            double sum = A(i, j);
            for (int k = 0; k < i; ++k) sum -= A(i, k) * A(k, j);
            A(i, j) = sum;
        }
        double best = 0;
        int p = j;
        for (int i = j; i < n; ++i) {
            double sum = A(i, j);
            for (int k = 0; k < j; ++k) sum -= A(i, k) * A(k, j);
            A(i, j) = sum;
            if (s[i] * std::fabs(sum) >= best) {
                best = s[i] * std::fabs(sum);
                p = i;
            }
        }
        if (p != j) {
            for (int k = 0; k < n; ++k) std::swap(A(p, k), A(j, k));
            s[p] = s[j];
        }
        r.index[j] = p;
        if (A(j, j) == 0) A(j, j) = 1e-20;
        for (int i = j + 1; i < n; ++i) A(i, j) /= A(j, j);
    }
    return r;
}

// ---- product ------------------------------------------------------------------------------

TEST_F(LinalgTest, ProductOfSmallMatricesByHand) {
    auto a = make<double>(2, 3, {1, 2, 3, 4, 5, 6});
    auto b = make<double>(3, 2, {7, 8, 9, 10, 11, 12});
    auto p = make<double>(2, 2);
    ASSERT_EQ(message(matdbl_multiply(&a, &b, nullptr, &p)), "");
    EXPECT_EQ(values(p), (std::vector<double>{58, 64, 139, 154}));
    auto row = make<double>(1, 3, {1, 2, 3});
    auto col = make<double>(3, 1, {4, 5, 6});
    auto dot = make<double>(1, 1);
    ASSERT_EQ(message(matdbl_multiply(&row, &col, nullptr, &dot)), "");
    EXPECT_EQ(dot.data[0], 32);
}

TEST_F(LinalgTest, ProductMatchesTheTripleLoopBitForBit) {
    // Sizes around the register tile (6 x 8 doubles, 6 x 16 floats) and across an inner block of 256.
    const int32_t shapes[][3] = {{1, 1, 1}, {7, 9, 5}, {6, 8, 16}, {13, 300, 17}, {73, 257, 41}, {100, 520, 3}};
    unsigned seed = 1;
    for (auto& s : shapes) {
        auto a = random_mat<double>(s[0], s[1], seed++);
        auto b = random_mat<double>(s[1], s[2], seed++);
        auto p = make<double>(s[0], s[2]);
        ASSERT_EQ(message(matdbl_multiply(&a, &b, nullptr, &p)), "");
        EXPECT_EQ(values(p), naive_product<double>(a, b)) << s[0] << "x" << s[1] << "x" << s[2];
        auto af = random_mat<float>(s[0], s[1], seed++);
        auto bf = random_mat<float>(s[1], s[2], seed++);
        auto pf = make<float>(s[0], s[2]);
        ASSERT_EQ(message(matflt_multiply(&af, &bf, nullptr, &pf)), "");
        EXPECT_EQ(values(pf), naive_product<float>(af, bf)) << s[0] << "x" << s[1] << "x" << s[2];
    }
}

TEST_F(LinalgTest, ProductKeepsInfinitiesAndNaNsInTheirOwnElements) {
    auto a = make<double>(2, 2, {INFINITY, 0, 1, 1});
    auto b = make<double>(2, 2, {1, 0, 0, 1});
    auto p = make<double>(2, 2);
    ASSERT_EQ(message(matdbl_multiply(&a, &b, nullptr, &p)), "");
    EXPECT_EQ(p.data[0], INFINITY);
    EXPECT_TRUE(std::isnan(p.data[1]));  // inf * 0
    EXPECT_EQ(p.data[2], 1);
    EXPECT_EQ(p.data[3], 1);
}

TEST_F(LinalgTest, ProductRefusals) {
    auto a = make<double>(2, 3);
    auto b = make<double>(3, 2);
    auto p = make<double>(2, 2);
    auto wrong = make<double>(2, 3);
    EXPECT_EQ(message(matdbl_multiply(&a, &a, nullptr, &wrong)), "array size mismatch");
    EXPECT_EQ(message(matdbl_multiply(&a, &b, nullptr, &wrong)), "array size mismatch");
    auto sq = make<double>(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(message(matdbl_multiply(&sq, &p, nullptr, &sq)), "Illegal memory address");
    EXPECT_EQ(message(matdbl_multiply(&p, &sq, nullptr, &sq)), "Illegal memory address");
    EXPECT_EQ(raised([&] { matdbl_multiply(nullptr, &b, nullptr, &p); }), "null pointer");
}

TEST_F(LinalgTest, UniversalProductConvertsOperandsToTheResultType) {
    auto a = make_univ<unsigned char>(2, 2, {200, 1, 0, 2});
    auto b = make_univ<double>(2, 2, {1, 0, 0, 0.5});
    auto r = make_univ<double>(2, 2);
    ASSERT_EQ(message(matuniv_multiply(&a, &b, nullptr, &r)), "");
    EXPECT_EQ(values_of<double>(r), (std::vector<double>{200, 0.5, 0, 1}));
    auto ri = make_univ<int32_t>(2, 2);
    EXPECT_EQ(message(matuniv_multiply(&a, &a, nullptr, &ri)), "Illegal data type");
    auto rf = make_univ<float>(2, 2);
    EXPECT_EQ(message(matuniv_multiply(&b, &b, nullptr, &rf)), "");
    EXPECT_EQ(message(matuniv_multiply(nullptr, &b, nullptr, &r)), "null pointer");
}

// ---- LU decomposition -----------------------------------------------------------------------

struct Lu {
    _sint32_mat index;
    _double_mat lu;
    std::string err;
};
Lu decompose(const _double_mat& a) {
    Lu r{make<int32_t>(a.nrow, 1), make<double>(a.nrow, a.nrow), ""};
    r.err = message(matdbl_lu_decomposition(&a, nullptr, &r.index, &r.lu));
    return r;
}

TEST_F(LinalgTest, DecompositionExchangesRowsOfAPermutation) {
    auto a = make<double>(2, 2, {0, 1, 1, 0});
    Lu d = decompose(a);
    ASSERT_EQ(d.err, "");
    EXPECT_EQ(values(d.index), (std::vector<int32_t>{1, 1}));
    EXPECT_EQ(values(d.lu), (std::vector<double>{1, 0, 0, 1}));
}

TEST_F(LinalgTest, DecompositionOfASingularMatrixPutsATinyPivot) {
    auto a = make<double>(2, 2, {1, 2, 2, 4});
    Lu d = decompose(a);
    ASSERT_EQ(d.err, "");
    EXPECT_EQ(d.lu.data[3], 1e-20);
    auto zero_row = make<double>(3, 3, {1, 2, 3, 0, 0, 0, 4, 5, 6});
    EXPECT_EQ(decompose(zero_row).err, "singular matrix");
}

TEST_F(LinalgTest, DecompositionEqualsColumnByColumnCroutBitForBit) {
    // Sizes cross the column panel (16), the row-by-row triangular solve (32) and product tiles.
    unsigned seed = 10;
    for (int32_t n : {1, 2, 5, 16, 17, 33, 70, 131, 260}) {
        auto a = random_mat<double>(n, n, seed++);
        Lu d = decompose(a);
        ASSERT_EQ(d.err, "") << n;
        CroutRef ref = naive_crout(a);
        EXPECT_EQ(values(d.index), ref.index) << n;
        EXPECT_EQ(values(d.lu), ref.a) << n;
    }
}

TEST_F(LinalgTest, DecompositionTiesGoToTheLastRow) {
    // Small integers: many equal figures of merit, and exact zeros that need the tiny pivot.
    std::mt19937 gen(5);
    std::uniform_int_distribution<int> dist(-2, 2);
    for (int32_t n : {4, 9, 40}) {
        auto a = make<double>(n, n);
        for (int32_t i = 0; i < a.nelem; ++i) a.data[i] = dist(gen);
        for (int32_t i = 0; i < n; ++i) a.data[i * n + i % 3] = 1;  // no zero rows
        Lu d = decompose(a);
        ASSERT_EQ(d.err, "");
        CroutRef ref = naive_crout(a);
        EXPECT_EQ(values(d.index), ref.index) << n;
        EXPECT_EQ(values(d.lu), ref.a) << n;
    }
    auto equal = make<double>(3, 3, {1, 1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_EQ(decompose(equal).index.data[0], 2);
}

TEST_F(LinalgTest, DecompositionInPlaceAndRefusals) {
    auto a = random_mat<double>(20, 20, 3);
    CroutRef ref = naive_crout(a);
    auto index = make<int32_t>(20, 1);
    ASSERT_EQ(message(matdbl_lu_decomposition(&a, nullptr, &index, &a)), "");
    EXPECT_EQ(values(a), ref.a);

    auto rect = make<double>(2, 3);
    auto idx2 = make<int32_t>(2, 1);
    auto lu2 = make<double>(2, 2);
    EXPECT_EQ(message(matdbl_lu_decomposition(&rect, nullptr, &idx2, &lu2)), "array size mismatch");
    auto sq = make<double>(2, 2, {1, 0, 0, 1});
    auto idx3 = make<int32_t>(3, 1);
    EXPECT_EQ(message(matdbl_lu_decomposition(&sq, nullptr, &idx3, &lu2)), "array size mismatch");
    EXPECT_EQ(message(matdbl_lu_decomposition(&sq, nullptr, &idx2, &rect)), "array size mismatch");

    _univ_mat ua = make_univ<double>(2, 2, {1, 0, 0, 1}), ui = make_univ<int32_t>(2, 1), ul = make_univ<double>(2, 2);
    EXPECT_EQ(message(matuniv_lu_decomposition(&ua, nullptr, &ui, &ul)), "");
    _univ_mat uf = make_univ<float>(2, 2, {1, 0, 0, 1});
    EXPECT_EQ(message(matuniv_lu_decomposition(&uf, nullptr, &ui, &ul)), "Illegal data type");
    _univ_mat uu = make_univ<uint32_t>(2, 1);
    EXPECT_EQ(message(matuniv_lu_decomposition(&ua, nullptr, &uu, &ul)), "Illegal data type");
}

// ---- solution and inverse ---------------------------------------------------------------------

TEST_F(LinalgTest, SolveRecoversRandomWellConditionedSystems) {
    unsigned seed = 40;
    for (int32_t n : {1, 3, 25, 90}) {
        auto a = random_mat<double>(n, n, seed++);
        for (int32_t i = 0; i < n; ++i) a.data[i * n + i] += n;  // diagonally dominant
        auto x_true = random_mat<double>(n, 1, seed++);
        auto b = make<double>(n, 1);
        ASSERT_EQ(message(matdbl_multiply(&a, &x_true, nullptr, &b)), "");
        Lu d = decompose(a);
        ASSERT_EQ(d.err, "");
        auto x = make<double>(n, 1);
        ASSERT_EQ(message(matdbl_lu_solve(&d.lu, &b, &d.index, nullptr, &x)), "");
        for (int32_t i = 0; i < n; ++i) EXPECT_NEAR(x.data[i], x_true.data[i], 1e-12) << n;
        // In place on b gives the same bits.
        ASSERT_EQ(message(matdbl_lu_solve(&d.lu, &b, &d.index, nullptr, &b)), "");
        EXPECT_EQ(values(b), values(x));
    }
}

TEST_F(LinalgTest, SolveSkipsLeadingEntriesAtOrBelowTheTinyThreshold) {
    // L = [[1, 0], [2, 1]], U = I: the exact solution of b = [1e-21, 1e-21] is [1e-21, -1e-21],
    // but a leading entry below 1e-20 does not start the forward sums.
    auto lu = make<double>(2, 2, {1, 0, 2, 1});
    auto index = make<int32_t>(2, 1, {0, 1});
    auto b = make<double>(2, 1, {1e-21, 1e-21});
    auto x = make<double>(2, 1);
    ASSERT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "");
    EXPECT_EQ(values(x), (std::vector<double>{1e-21, 1e-21}));
    b.data[0] = 1e-19;
    ASSERT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "");
    EXPECT_DOUBLE_EQ(x.data[1], 1e-21 - 2e-19);
}

TEST_F(LinalgTest, SolveRefusals) {
    auto lu = make<double>(2, 2, {1, 0, 0, 0});
    auto index = make<int32_t>(2, 1, {0, 1});
    auto b = make<double>(2, 1, {1, 1});
    auto x = make<double>(2, 1);
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "Illegal data value");
    lu.data[3] = 1;
    index.data[1] = 2;
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "Illegal data value");
    index.data[1] = -1;
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "Illegal data value");
    index.data[1] = 1;
    auto row = make<double>(1, 2);
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &row, &index, nullptr, &x)), "array size mismatch");
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &row)), "array size mismatch");
    auto one = make<double>(1, 1, {2});
    auto idx1 = make<int32_t>(1, 1, {0});
    EXPECT_EQ(message(matdbl_lu_solve(&one, &one, &idx1, nullptr, &one)), "Illegal memory address");
}

/// Gauss-Jordan with partial pivoting, as an independent reference for the inverse.
std::vector<double> naive_inverse(const _double_mat& m) {
    const int n = m.nrow;
    std::vector<double> a(m.data, m.data + m.nelem), inv(std::size_t(n) * n, 0.0);
    for (int i = 0; i < n; ++i) inv[i * n + i] = 1;
    for (int c = 0; c < n; ++c) {
        int p = c;
        for (int r = c + 1; r < n; ++r)
            if (std::fabs(a[r * n + c]) > std::fabs(a[p * n + c])) p = r;
        for (int k = 0; k < n; ++k) {
            std::swap(a[p * n + k], a[c * n + k]);
            std::swap(inv[p * n + k], inv[c * n + k]);
        }
        double d = a[c * n + c];
        for (int k = 0; k < n; ++k) {
            a[c * n + k] /= d;
            inv[c * n + k] /= d;
        }
        for (int r = 0; r < n; ++r)
            if (r != c) {
                double f = a[r * n + c];
                for (int k = 0; k < n; ++k) {
                    a[r * n + k] -= f * a[c * n + k];
                    inv[r * n + k] -= f * inv[c * n + k];
                }
            }
    }
    return inv;
}

TEST_F(LinalgTest, InverseMatchesGaussJordan) {
    auto four = make<double>(1, 1, {4});
    auto r1 = make<double>(1, 1);
    ASSERT_EQ(message(matdbl_inverse(&four, nullptr, &r1)), "");
    EXPECT_EQ(r1.data[0], 0.25);

    for (int32_t n : {2, 7, 40}) {
        auto a = random_mat<double>(n, n, 100 + n);
        for (int32_t i = 0; i < n; ++i) a.data[i * n + i] += 2;
        auto r = make<double>(n, n);
        ASSERT_EQ(message(matdbl_inverse(&a, nullptr, &r)), "");
        std::vector<double> ref = naive_inverse(a);
        for (int32_t i = 0; i < a.nelem; ++i) EXPECT_NEAR(r.data[i], ref[i], 1e-11) << n;
        // In place: the result may be the input.
        ASSERT_EQ(message(matdbl_inverse(&a, nullptr, &a)), "");
        EXPECT_EQ(values(a), values(r));
    }
}

TEST_F(LinalgTest, InverseOfSingularMatrices) {
    auto rank1 = make<double>(2, 2, {1, 2, 2, 4});
    auto r = make<double>(2, 2);
    ASSERT_EQ(message(matdbl_inverse(&rank1, nullptr, &r)), "");
    EXPECT_GT(std::fabs(r.data[0]), 1e15);
    auto zero_row = make<double>(2, 2, {0, 0, 1, 1});
    EXPECT_EQ(message(matdbl_inverse(&zero_row, nullptr, &r)), "singular matrix");
    auto rect = make<double>(2, 3);
    EXPECT_EQ(message(matdbl_inverse(&rect, nullptr, &rect)), "array size mismatch");
    auto big = make<double>(3, 3);
    EXPECT_EQ(message(matdbl_inverse(&rank1, nullptr, &big)), "array size mismatch");
    _univ_mat ua = make_univ<int32_t>(2, 2, {1, 0, 0, 1}), ur = make_univ<double>(2, 2);
    EXPECT_EQ(message(matuniv_inverse(&ua, nullptr, &ur)), "Illegal data type");
}

// ---- non-negative least squares ---------------------------------------------------------------

/// The best feasible least-squares solution over every subset of free columns (n small).
std::vector<double> brute_nnls(const _double_mat& a, const _double_mat& b, double* best_residual) {
    const int m = a.nrow, n = a.ncol;
    std::vector<double> best(n, 0.0);
    auto residual = [&](const std::vector<double>& x) {
        double s = 0;
        for (int i = 0; i < m; ++i) {
            double r = b.data[i];
            for (int j = 0; j < n; ++j) r -= a.data[i * n + j] * x[j];
            s += r * r;
        }
        return s;
    };
    *best_residual = residual(best);
    for (int mask = 1; mask < (1 << n); ++mask) {
        std::vector<int> cols;
        for (int j = 0; j < n; ++j)
            if (mask >> j & 1) cols.push_back(j);
        const int k = int(cols.size());
        // Normal equations by Gauss-Jordan (fine for the small, well-conditioned cases here).
        std::vector<double> g(k * (k + 1), 0.0);
        for (int r = 0; r < k; ++r) {
            for (int c = 0; c < k; ++c)
                for (int i = 0; i < m; ++i) g[r * (k + 1) + c] += a.data[i * n + cols[r]] * a.data[i * n + cols[c]];
            for (int i = 0; i < m; ++i) g[r * (k + 1) + k] += a.data[i * n + cols[r]] * b.data[i];
        }
        bool ok = true;
        for (int c = 0; c < k && ok; ++c) {
            int p = c;
            for (int r = c + 1; r < k; ++r)
                if (std::fabs(g[r * (k + 1) + c]) > std::fabs(g[p * (k + 1) + c])) p = r;
            if (std::fabs(g[p * (k + 1) + c]) < 1e-12) ok = false;
            for (int q = 0; q <= k && ok; ++q) std::swap(g[p * (k + 1) + q], g[c * (k + 1) + q]);
            for (int r = 0; r < k && ok; ++r)
                if (r != c) {
                    double f = g[r * (k + 1) + c] / g[c * (k + 1) + c];
                    for (int q = 0; q <= k; ++q) g[r * (k + 1) + q] -= f * g[c * (k + 1) + q];
                }
        }
        if (!ok) continue;
        std::vector<double> x(n, 0.0);
        for (int r = 0; r < k; ++r) {
            x[cols[r]] = g[r * (k + 1) + k] / g[r * (k + 1) + r];
            if (x[cols[r]] < 0) ok = false;
        }
        if (ok && residual(x) < *best_residual) {
            *best_residual = residual(x);
            best = x;
        }
    }
    return best;
}

TEST_F(LinalgTest, NonNegativeLeastSquaresKnownSolutions) {
    auto eye = make<double>(3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1});
    auto b = make<double>(3, 1, {1, -2, 3});
    auto x = make<double>(3, 1);
    ASSERT_EQ(message(matdbl_non_negative_least_squares(&eye, &b, nullptr, &x)), "");
    EXPECT_EQ(values(x), (std::vector<double>{1, 0, 3}));

    // A positive unconstrained solution is the least-squares solution itself.
    auto a = make<double>(4, 2, {1, 0, 1, 1, 1, 2, 1, 3});
    auto line = make<double>(4, 1, {1, 3, 5, 7});  // 1 + 2 t
    auto c = make<double>(1, 2);
    ASSERT_EQ(message(matdbl_non_negative_least_squares(&a, &line, nullptr, &c)), "");
    EXPECT_NEAR(c.data[0], 1, 1e-13);
    EXPECT_NEAR(c.data[1], 2, 1e-13);

    auto negative = make<double>(4, 1, {-1, -2, -3, -4});
    ASSERT_EQ(message(matdbl_non_negative_least_squares(&a, &negative, nullptr, &c)), "");
    EXPECT_EQ(values(c), (std::vector<double>{0, 0}));
}

TEST_F(LinalgTest, NonNegativeLeastSquaresMatchesExhaustiveSearch) {
    unsigned seed = 200;
    for (int trial = 0; trial < 30; ++trial) {
        const int32_t m = 3 + trial % 6, n = 1 + trial % 5;
        auto a = random_mat<double>(m, n, seed++);
        auto b = random_mat<double>(m, 1, seed++);
        auto x = make<double>(n, 1);
        ASSERT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &x)), "");
        double best;
        std::vector<double> ref = brute_nnls(a, b, &best);
        for (int32_t j = 0; j < n; ++j) {
            EXPECT_GE(x.data[j], 0.0);
            EXPECT_NEAR(x.data[j], ref[j], 1e-9) << trial;
        }
    }
}

TEST_F(LinalgTest, NonNegativeLeastSquaresWithDependentColumns) {
    // Columns 0 and 1 are equal: any split of their weight is optimal; the residual must be.
    auto a = make<double>(3, 3, {1, 1, 0, 2, 2, 1, 3, 3, 0});
    auto b = make<double>(3, 1, {2, 5, 6});
    auto x = make<double>(3, 1);
    ASSERT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &x)), "");
    EXPECT_NEAR(x.data[0] + x.data[1], 2, 1e-12);
    EXPECT_NEAR(x.data[2], 1, 1e-12);
    EXPECT_GE(std::min(x.data[0], x.data[1]), 0.0);
}

TEST_F(LinalgTest, NonNegativeLeastSquaresRefusals) {
    auto a = make<double>(3, 2, {1, 0, 0, 1, 1, 1});
    auto b = make<double>(3, 1, {1, 2, 3});
    auto x = make<double>(2, 1);
    auto x3 = make<double>(3, 1);
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &x3)), "array size mismatch");
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &x, nullptr, &x)), "array size mismatch");
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &b)), "array size mismatch");
    b.data[1] = NAN;
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &x)), "Illegal data value");
    auto sq = make<double>(2, 2, {1, 0, 0, 1});
    auto b2 = make<double>(2, 1, {1, 1});
    _double_mat alias{2, 1, 2, sq.data};
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&sq, &b2, nullptr, &alias)), "Illegal memory address");
}

// ---- principal components ---------------------------------------------------------------------

_mat_set make_set(int32_t k, int32_t rows, int32_t cols, _mutil_data_type type) {
    _mat_set s;
    int32_t dims[1] = {k};
    matset_malloc(&s, 1, dims);
    matset_malloc_matrices(&s, rows, cols, type);
    return s;
}

TEST_F(LinalgTest, PrincipalComponentsOfTwoEqualPlanes) {
    _mat_set in = make_set(2, 2, 3, MUTIL_UINT8);
    const unsigned char v[6] = {0, 10, 20, 30, 40, 50};
    for (int p = 0; p < 6; ++p) {
        static_cast<unsigned char*>(in.mats[0].data)[p] = v[p];
        static_cast<unsigned char*>(in.mats[1].data)[p] = v[p];
    }
    _mat_set out = make_set(2, 2, 3, MUTIL_DOUBLE);
    ASSERT_EQ(message(matu8_principal_components_analysis(&in, nullptr, &out)), "");
    for (int p = 0; p < 6; ++p) {
        EXPECT_NEAR(values_of<double>(out.mats[0])[p], std::sqrt(2.0) * (v[p] - 25.0), 1e-12);
        EXPECT_NEAR(values_of<double>(out.mats[1])[p], 0.0, 1e-12);
    }
}

TEST_F(LinalgTest, PrincipalComponentsAreUncorrelatedAndOrderedByVariance) {
    const int32_t rows = 20, cols = 30, n = rows * cols;
    _mat_set in = make_set(3, rows, cols, MUTIL_DOUBLE);
    std::mt19937 gen(7);
    std::normal_distribution<double> dist;
    for (int p = 0; p < n; ++p) {
        double s = dist(gen), t = dist(gen), u = dist(gen);
        static_cast<double*>(in.mats[0].data)[p] = 3 * s + 0.5 * u + 10;
        static_cast<double*>(in.mats[1].data)[p] = 2 * s + t;
        static_cast<double*>(in.mats[2].data)[p] = -s + 0.1 * t + u;
    }
    std::vector<std::vector<double>> src;
    for (int i = 0; i < 3; ++i) src.push_back(values_of<double>(in.mats[i]));
    _mat_set out = make_set(3, rows, cols, MUTIL_DOUBLE);
    ASSERT_EQ(message(matset_principal_components_analysis(&in, nullptr, &out)), "");
    auto cov = [&](const std::vector<double>& x, const std::vector<double>& y) {
        double mx = 0, my = 0, s = 0;
        for (int p = 0; p < n; ++p) mx += x[p], my += y[p];
        mx /= n, my /= n;
        for (int p = 0; p < n; ++p) s += (x[p] - mx) * (y[p] - my);
        return s / (n - 1);
    };
    std::vector<std::vector<double>> pc;
    for (int i = 0; i < 3; ++i) pc.push_back(values_of<double>(out.mats[i]));
    double total_in = 0, total_out = 0;
    for (int i = 0; i < 3; ++i) {
        total_in += cov(src[i], src[i]);
        total_out += cov(pc[i], pc[i]);
        for (int j = i + 1; j < 3; ++j) EXPECT_NEAR(cov(pc[i], pc[j]), 0.0, 1e-9);
    }
    EXPECT_NEAR(total_out, total_in, 1e-9 * total_in);
    EXPECT_GT(cov(pc[0], pc[0]), cov(pc[1], pc[1]));
    EXPECT_GT(cov(pc[1], pc[1]), cov(pc[2], pc[2]));

    // The output may be the input's own planes.
    ASSERT_EQ(message(matset_principal_components_analysis(&in, nullptr, &in)), "");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(values_of<double>(in.mats[i]), pc[i]);
}

TEST_F(LinalgTest, PrincipalComponentsRefusals) {
    _mat_set in = make_set(2, 2, 2, MUTIL_UINT16);
    _mat_set out = make_set(2, 2, 2, MUTIL_DOUBLE);
    EXPECT_EQ(message(matu8_principal_components_analysis(&in, nullptr, &out)), "Illegal data type");
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out)), "");
    _mat_set out_f = make_set(2, 2, 2, MUTIL_FLOAT);
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out_f)), "Illegal data type");
    _mat_set out3 = make_set(3, 2, 2, MUTIL_DOUBLE);
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out3)), "array size mismatch");
    _mat_set out_big = make_set(2, 3, 2, MUTIL_DOUBLE);
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out_big)), "array size mismatch");
    _mat_set cpx = make_set(2, 2, 2, MUTIL_DCOMPLEX);
    EXPECT_EQ(message(matset_principal_components_analysis(&cpx, nullptr, &out)), "Illegal data type");
    EXPECT_EQ(raised([&] { matset_principal_components_analysis(nullptr, nullptr, &out); }), "null pointer");
}

}  // namespace
}  // namespace mutils::test
