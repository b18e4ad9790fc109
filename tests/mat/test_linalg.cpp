// Matrix product, LU decomposition, solution, inverse, non-negative least squares and principal
// components: bit-exact comparisons with plain reference loops, random checks and refusals.
#include <cmath>

#include "mat_support.h"

namespace mutils::test {
namespace {

using LinalgTest = ArenaTest;

/// A random matrix of values in [-1, 1].
_double_mat unit_mat(std::mt19937& rng, int32_t rows, int32_t cols) {
    auto m = random_mat<double>(rng, rows, cols);
    for (int32_t i = 0; i < m.nelem; ++i) m.data[i] /= 100;
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
};
CroutRef naive_crout(const _double_mat& m) {
    const int n = m.nrow;
    CroutRef r{std::vector<double>(m.data, m.data + m.nelem), std::vector<int32_t>(n)};
    auto A = [&](int i, int j) -> double& { return r.a[std::size_t(i) * n + j]; };
    std::vector<double> s(n);
    for (int i = 0; i < n; ++i) {
        double big = 0;
        for (int j = 0; j < n; ++j) big = std::max(big, std::fabs(A(i, j)));
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

TEST_F(LinalgTest, ProductMatchesTheTripleLoopBitForBit) {
    // Sizes around the register tile (6 x 8 doubles, 6 x 16 floats) and across an inner block of 256.
    const int32_t shapes[][3] = {{1, 1, 1}, {7, 9, 5}, {6, 8, 16}, {13, 300, 17}, {73, 257, 41}, {100, 520, 3}};
    std::mt19937 rng(1);
    for (auto& s : shapes) {
        auto check = [&](auto z, auto multiply) {
            using T = decltype(z);
            auto a = random_mat<T>(rng, s[0], s[1]), b = random_mat<T>(rng, s[1], s[2]), p = make<T>(s[0], s[2]);
            ASSERT_EQ(message(multiply(&a, &b, nullptr, &p)), "");
            EXPECT_EQ(values(p), naive_product<T>(a, b)) << s[0] << "x" << s[1] << "x" << s[2];
        };
        check(double{}, matdbl_multiply);
        check(float{}, matflt_multiply);
    }
}

TEST_F(LinalgTest, ProductRefusals) {
    auto a = make<double>(2, 3), b = make<double>(3, 2), p = make<double>(2, 2), wrong = make<double>(2, 3);
    EXPECT_EQ(message(matdbl_multiply(&a, &a, nullptr, &wrong)), "array size mismatch");
    EXPECT_EQ(message(matdbl_multiply(&a, &b, nullptr, &wrong)), "array size mismatch");
    auto sq = make<double>(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(message(matdbl_multiply(&sq, &p, nullptr, &sq)), "Illegal memory address");
    EXPECT_EQ(message(matdbl_multiply(&p, &sq, nullptr, &sq)), "Illegal memory address");
    EXPECT_EQ(raised([&] { matdbl_multiply(nullptr, &b, nullptr, &p); }), "null pointer");
    auto u = make_univ<double>(2, 2);
    EXPECT_EQ(message(matuniv_multiply(nullptr, &u, nullptr, &u)), "null pointer");  // a message, not raised
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

TEST_F(LinalgTest, DecompositionEqualsColumnByColumnCroutBitForBit) {
    // Sizes cross the column panel (16), the row-by-row triangular solve (32) and product tiles;
    // small integers add many equal figures of merit (ties pick the last row) and exact zero pivots.
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> small(-2, 2);
    for (int32_t n : {1, 2, 5, 17, 33, 70, 131, 260}) {
        for (bool integers : {false, true}) {
            auto a = unit_mat(rng, n, n);
            if (integers) {
                for (int32_t i = 0; i < a.nelem; ++i) a.data[i] = small(rng);
                for (int32_t i = 0; i < n; ++i) a.data[i * n + i % 3] = 1;  // no zero rows
            }
            Lu d = decompose(a);
            ASSERT_EQ(d.err, "") << n;
            CroutRef ref = naive_crout(a);
            EXPECT_EQ(values(d.index), ref.index) << n << integers;
            EXPECT_EQ(values(d.lu), ref.a) << n << integers;
        }
    }
}

TEST_F(LinalgTest, DecompositionInPlaceSingularAndRefusals) {
    std::mt19937 rng(3);
    auto a = unit_mat(rng, 20, 20);
    CroutRef ref = naive_crout(a);
    auto index = make<int32_t>(20, 1);
    ASSERT_EQ(message(matdbl_lu_decomposition(&a, nullptr, &index, &a)), "");
    EXPECT_EQ(values(a), ref.a);
    Lu d = decompose(make<double>(2, 2, {1, 2, 2, 4}));  // singular: a tiny pivot, no failure
    ASSERT_EQ(d.err, "");
    EXPECT_EQ(d.lu.data[3], 1e-20);
    EXPECT_EQ(decompose(make<double>(3, 3, {1, 2, 3, 0, 0, 0, 4, 5, 6})).err, "singular matrix");  // a zero row

    auto rect = make<double>(2, 3);
    auto sq = make<double>(2, 2, {1, 0, 0, 1});
    auto idx2 = make<int32_t>(2, 1), idx3 = make<int32_t>(3, 1);
    EXPECT_EQ(message(matdbl_lu_decomposition(&rect, nullptr, &idx2, &sq)), "array size mismatch");
    EXPECT_EQ(message(matdbl_lu_decomposition(&sq, nullptr, &idx3, &sq)), "array size mismatch");
    EXPECT_EQ(message(matdbl_lu_decomposition(&sq, nullptr, &idx2, &rect)), "array size mismatch");
    _univ_mat ua = make_univ<double>(2, 2, {1, 0, 0, 1}), ui = make_univ<int32_t>(2, 1), uu = make_univ<uint32_t>(2, 1);
    EXPECT_EQ(message(matuniv_lu_decomposition(&ua, nullptr, &ui, &ua)), "");
    EXPECT_EQ(message(matuniv_lu_decomposition(&ua, nullptr, &uu, &ua)), "Illegal data type");
}

// ---- solution and inverse ---------------------------------------------------------------------

TEST_F(LinalgTest, SolveRecoversRandomWellConditionedSystems) {
    std::mt19937 rng(40);
    for (int32_t n : {1, 3, 25, 90}) {
        auto a = unit_mat(rng, n, n), x_true = unit_mat(rng, n, 1), b = make<double>(n, 1);
        for (int32_t i = 0; i < n; ++i) a.data[i * n + i] += n;  // diagonally dominant
        ASSERT_EQ(message(matdbl_multiply(&a, &x_true, nullptr, &b)), "");
        Lu d = decompose(a);
        auto x = make<double>(n, 1);
        ASSERT_EQ(message(matdbl_lu_solve(&d.lu, &b, &d.index, nullptr, &x)), "");
        for (int32_t i = 0; i < n; ++i) EXPECT_NEAR(x.data[i], x_true.data[i], 1e-12) << n;
        ASSERT_EQ(message(matdbl_lu_solve(&d.lu, &b, &d.index, nullptr, &b)), "");  // in place
        EXPECT_EQ(values(b), values(x));
    }
}

TEST_F(LinalgTest, SolveSkipsTinyLeadingEntriesAndRefusesBadFactors) {
    // L = [[1, 0], [2, 1]], U = I: the exact solution for b = [1e-21, 1e-21] is [1e-21, -1e-21],
    // but a leading entry below 1e-20 does not start the forward sums.
    auto lu = make<double>(2, 2, {1, 0, 2, 1});
    auto index = make<int32_t>(2, 1, {0, 1});
    auto b = make<double>(2, 1, {1e-21, 1e-21}), x = make<double>(2, 1), row = make<double>(1, 2);
    ASSERT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "");
    EXPECT_EQ(values(x), (std::vector<double>{1e-21, 1e-21}));
    b.data[0] = 1e-19;
    ASSERT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "");
    EXPECT_DOUBLE_EQ(x.data[1], 1e-21 - 2e-19);

    lu.data[3] = 0;
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "Illegal data value");  // zero pivot
    lu.data[3] = 1;
    for (int32_t bad : {2, -1}) {
        index.data[1] = bad;
        EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &x)), "Illegal data value");
    }
    index.data[1] = 1;
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &row, &index, nullptr, &x)), "array size mismatch");
    EXPECT_EQ(message(matdbl_lu_solve(&lu, &b, &index, nullptr, &row)), "array size mismatch");
    auto one = make<double>(1, 1, {2});
    auto idx1 = make<int32_t>(1, 1, {0});
    EXPECT_EQ(message(matdbl_lu_solve(&one, &one, &idx1, nullptr, &one)), "Illegal memory address");
}

TEST_F(LinalgTest, InverseTimesTheMatrixIsTheIdentity) {
    std::mt19937 rng(100);
    for (int32_t n : {1, 2, 7, 40}) {
        auto a = unit_mat(rng, n, n);
        auto r = make<double>(n, n), prod = make<double>(n, n);
        ASSERT_EQ(message(matdbl_inverse(&a, nullptr, &r)), "");
        ASSERT_EQ(message(matdbl_multiply(&a, &r, nullptr, &prod)), "");
        for (int32_t i = 0; i < n; ++i)
            for (int32_t k = 0; k < n; ++k) EXPECT_NEAR(prod.data[i * n + k], i == k, 1e-10) << n;
        ASSERT_EQ(message(matdbl_inverse(&a, nullptr, &a)), "");  // in place
        EXPECT_EQ(values(a), values(r));
    }
    // Singular without a zero row: very large values rather than a failure.
    auto rank1 = make<double>(2, 2, {1, 2, 2, 4}), r = make<double>(2, 2);
    ASSERT_EQ(message(matdbl_inverse(&rank1, nullptr, &r)), "");
    EXPECT_GT(std::fabs(r.data[0]), 1e15);
    auto zero_row = make<double>(2, 2, {0, 0, 1, 1});
    EXPECT_EQ(message(matdbl_inverse(&zero_row, nullptr, &r)), "singular matrix");
    auto rect = make<double>(2, 3), big = make<double>(3, 3);
    EXPECT_EQ(message(matdbl_inverse(&rect, nullptr, &rect)), "array size mismatch");
    EXPECT_EQ(message(matdbl_inverse(&rank1, nullptr, &big)), "array size mismatch");
}

TEST_F(LinalgTest, InverseOfALargerMatrixSolvesEveryColumn) {
    // Large enough for the blocked triangular inverses; each column of the inverse must be what
    // the solution from the same factors gives for that unit vector.
    std::mt19937 rng(101);
    const int32_t n = 150;
    auto a = unit_mat(rng, n, n), r = make<double>(n, n), lu = make<double>(n, n);
    auto index = make<int32_t>(n, 1);
    auto e = make<double>(n, 1), x = make<double>(n, 1);
    ASSERT_EQ(message(matdbl_inverse(&a, nullptr, &r)), "");
    ASSERT_EQ(message(matdbl_lu_decomposition(&a, nullptr, &index, &lu)), "");
    for (int32_t k : {0, 1, 77, n - 1}) {
        std::fill(e.data, e.data + n, 0.0);
        e.data[k] = 1.0;
        ASSERT_EQ(message(matdbl_lu_solve(&lu, &e, &index, nullptr, &x)), "");
        for (int32_t i = 0; i < n; ++i) EXPECT_NEAR(r.data[i * n + k], x.data[i], 1e-9 * (1 + std::fabs(x.data[i])));
    }
}

// ---- non-negative least squares ---------------------------------------------------------------

/// Optimality of x >= 0 for min |Ax - b|: the gradient g = A^T (b - Ax) is <= 0 everywhere and
/// 0 where x > 0 (the Karush-Kuhn-Tucker conditions).
void expect_optimal(const _double_mat& a, const _double_mat& b, const _double_mat& x) {
    const int32_t m = a.nrow, n = a.ncol;
    for (int32_t j = 0; j < n; ++j) {
        double g = 0;
        for (int32_t i = 0; i < m; ++i) {
            double r = b.data[i];
            for (int32_t k = 0; k < n; ++k) r -= a.data[i * n + k] * x.data[k];
            g += a.data[i * n + j] * r;
        }
        EXPECT_GE(x.data[j], 0.0);
        EXPECT_LT(g, 1e-10);
        if (x.data[j] > 0) {
            EXPECT_NEAR(g, 0.0, 1e-10);
        }
    }
}

TEST_F(LinalgTest, NonNegativeLeastSquaresIsOptimal) {
    // Equal columns 0 and 1: any split of their weight is optimal.
    auto dup = make<double>(3, 3, {1, 1, 0, 2, 2, 1, 3, 3, 0}), bd = make<double>(3, 1, {2, 5, 6});
    auto x = make<double>(3, 1);
    ASSERT_EQ(message(matdbl_non_negative_least_squares(&dup, &bd, nullptr, &x)), "");
    EXPECT_NEAR(x.data[0] + x.data[1], 2, 1e-12);
    EXPECT_NEAR(x.data[2], 1, 1e-12);
    expect_optimal(dup, bd, x);
    std::mt19937 rng(200);
    for (int trial = 0; trial < 40; ++trial) {
        const int32_t m = 2 + trial % 7, n = 1 + trial % 6;  // over- and under-determined
        auto a = unit_mat(rng, m, n), b = unit_mat(rng, m, 1), xr = make<double>(n, 1);
        ASSERT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &xr)), "") << trial;
        expect_optimal(a, b, xr);
    }
}

TEST_F(LinalgTest, NonNegativeLeastSquaresRefusals) {
    auto a = make<double>(3, 2, {1, 0, 0, 1, 1, 1}), b = make<double>(3, 1, {1, 2, 3});
    auto x = make<double>(2, 1), x3 = make<double>(3, 1);
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &x3)), "array size mismatch");
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &x, nullptr, &x)), "array size mismatch");
    b.data[1] = NAN;
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &x)), "Illegal data value");
    _double_mat alias{2, 1, 2, a.data};
    EXPECT_EQ(message(matdbl_non_negative_least_squares(&a, &b, nullptr, &alias)), "Illegal memory address");
}

// ---- principal components ---------------------------------------------------------------------

_mat_set make_set(int32_t k, int32_t rows, int32_t cols, _mutil_data_type type) {
    _mat_set s;
    int32_t dims[1] = {k};
    matset_malloc(&s, 1, dims);
    matset_malloc_matrices(&s, rows, cols, type);
    return s;
}

double covariance(const std::vector<double>& x, const std::vector<double>& y) {
    const double n = double(x.size());
    double mx = 0, my = 0, s = 0;
    for (std::size_t p = 0; p < x.size(); ++p) mx += x[p] / n, my += y[p] / n;
    for (std::size_t p = 0; p < x.size(); ++p) s += (x[p] - mx) * (y[p] - my);
    return s / (n - 1);
}

TEST_F(LinalgTest, PrincipalComponentsAreUncorrelatedAndOrderedByVariance) {
    const int32_t rows = 20, cols = 30, n = rows * cols;
    _mat_set in = make_set(3, rows, cols, MUTIL_DOUBLE), out = make_set(3, rows, cols, MUTIL_DOUBLE);
    std::mt19937 gen(7);
    std::normal_distribution<double> dist;
    auto plane = [&](int i) { return static_cast<double*>(in.mats[i].data); };
    for (int p = 0; p < n; ++p) {
        double s = dist(gen), t = dist(gen), u = dist(gen);
        plane(0)[p] = 3 * s + 0.5 * u + 10;
        plane(1)[p] = 2 * s + t;
        plane(2)[p] = -s + 0.1 * t + u;
    }
    ASSERT_EQ(message(matset_principal_components_analysis(&in, nullptr, &out)), "");
    std::vector<std::vector<double>> pc;
    double total_in = 0, total_out = 0;
    for (int i = 0; i < 3; ++i) {
        const auto x = values_of<double>(in.mats[i]);
        pc.push_back(values_of<double>(out.mats[i]));
        total_in += covariance(x, x);
        total_out += covariance(pc[i], pc[i]);
        for (int j = 0; j < i; ++j) EXPECT_NEAR(covariance(pc[i], pc[j]), 0.0, 1e-9);
        if (i > 0) {
            EXPECT_GT(covariance(pc[i - 1], pc[i - 1]), covariance(pc[i], pc[i]));  // ordered by variance
        }
    }
    EXPECT_NEAR(total_out, total_in, 1e-9 * total_in);
    ASSERT_EQ(message(matset_principal_components_analysis(&in, nullptr, &in)), "");  // in place
    for (int i = 0; i < 3; ++i) EXPECT_EQ(values_of<double>(in.mats[i]), pc[i]);
}

TEST_F(LinalgTest, PrincipalComponentsRefusals) {
    _mat_set in = make_set(2, 2, 2, MUTIL_UINT16), out = make_set(2, 2, 2, MUTIL_DOUBLE);
    EXPECT_EQ(message(matu8_principal_components_analysis(&in, nullptr, &out)), "Illegal data type");
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out)), "");
    _mat_set out_f = make_set(2, 2, 2, MUTIL_FLOAT), out3 = make_set(3, 2, 2, MUTIL_DOUBLE);
    _mat_set out_big = make_set(2, 3, 2, MUTIL_DOUBLE), cpx = make_set(2, 2, 2, MUTIL_DCOMPLEX);
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out_f)), "Illegal data type");
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out3)), "array size mismatch");
    EXPECT_EQ(message(matu16_principal_components_analysis(&in, nullptr, &out_big)), "array size mismatch");
    EXPECT_EQ(message(matset_principal_components_analysis(&cpx, nullptr, &out)), "Illegal data type");
    EXPECT_EQ(raised([&] { matset_principal_components_analysis(nullptr, nullptr, &out); }), "null pointer");
}

}  // namespace
}  // namespace mutils::test
