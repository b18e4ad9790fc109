// Every product and sum is rounded on its own, on every processor (no fused multiply-add, even
// in the clones for processors that have it), so results do not depend on the machine.
#pragma GCC optimize("fp-contract=off")

#include "linalg.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include "detail_linalg.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kTiny = 1e-20;

// ---- product ------------------------------------------------------------------------------

template <class T> const char* multiply(const mat_t<T>* a, const mat_t<T>* b, void* intrp, mat_t<T>* p) {
    validate(a);
    validate(b);
    validate(p);
    if (p->nrow != a->nrow || p->ncol != b->ncol || a->ncol != b->nrow) return msg::array_size_mismatch;
    MUTILS_TRY(require_distinct(p, a));
    MUTILS_TRY(require_distinct(p, b));
    Poll poll(intrp);
    GemmWork<T> work = GemmWork<T>::make(p->ncol, a->ncol);
    return gemm(work, GemmMode::Assign, p->nrow, p->ncol, a->ncol, a->data, a->ncol, b->data, b->ncol, p->data, p->ncol,
                poll);
}

// ---- LU decomposition -----------------------------------------------------------------------

// Column panels at most this wide are factored column by column; wider ones are split in two.
constexpr int64_t kPanel = 16;
// Triangular solves of at most this many rows are done row by row.
constexpr int64_t kSolveRows = 32;

/// Recursive, blocked elimination that performs, for every element, the same operations in the
/// same order as Crout's column-by-column method: each update a[i][j] - a[i][k] * a[k][j] is
/// applied in increasing k, pivots are chosen on fully updated columns, and row exchanges move
/// whole rows (a relabelling that commutes with the row-wise updates).
struct Crout {
    double* a;
    int64_t n;
    double* scale;
    int32_t* index;
    GemmWork<double> work;
    Poll poll;

    double* row(int64_t i) const { return a + i * n; }

    /// Columns [j0, j1): pivot, exchange, divide and update the rest of the panel.
    const char* panel(int64_t j0, int64_t j1) {
        for (int64_t j = j0; j < j1; ++j) {
            double best = 0.0;
            int64_t p = j;
            for (int64_t i = j; i < n; ++i) {
                const double merit = scale[i] * std::fabs(a[i * n + j]);
                if (merit >= best) {
                    best = merit;
                    p = i;
                }
            }
            if (p != j) {
                std::swap_ranges(row(p), row(p) + n, row(j));
                scale[p] = scale[j];
            }
            index[j] = static_cast<int32_t>(p);
            double* rj = row(j);
            if (rj[j] == 0.0) rj[j] = kTiny;
            const double pivot = rj[j];
            for (int64_t i = j + 1; i < n; ++i) {
                double* ri = row(i);
                const double l = ri[j] / pivot;
                ri[j] = l;
                for (int64_t c = j + 1; c < j1; ++c) ri[c] = ri[c] - l * rj[c];
            }
            MUTILS_TRY(poll.add(20.0 * double(n) * double(n)));
        }
        return nullptr;
    }

    /// Rows [r0, r1) of columns [c0, c1) := L^-1 times themselves, L the unit lower triangle of
    /// rows and columns [r0, r1).
    const char* solve_lower(int64_t r0, int64_t r1, int64_t c0, int64_t c1) {
        if (r1 - r0 <= kSolveRows) {
            for (int64_t i = r0 + 1; i < r1; ++i)
                for (int64_t k = r0; k < i; ++k) axpy_subtract(row(i) + c0, row(k) + c0, a[i * n + k], c1 - c0);
            return nullptr;
        }
        const int64_t mid = r0 + (r1 - r0) / 2;
        MUTILS_TRY(solve_lower(r0, mid, c0, c1));
        MUTILS_TRY(gemm(work, GemmMode::Subtract, r1 - mid, c1 - c0, mid - r0, row(mid) + r0, n, row(r0) + c0, n,
                        row(mid) + c0, n, poll));
        return solve_lower(mid, r1, c0, c1);
    }

    /// Factors columns [j0, j1) of rows [j0, n), all updates from columns before j0 applied.
    const char* factor(int64_t j0, int64_t j1) {
        if (j1 - j0 <= kPanel) return panel(j0, j1);
        const int64_t mid = j0 + (j1 - j0) / 2;
        MUTILS_TRY(factor(j0, mid));
        MUTILS_TRY(solve_lower(j0, mid, mid, j1));
        MUTILS_TRY(gemm(work, GemmMode::Subtract, n - mid, j1 - mid, mid - j0, row(mid) + j0, n, row(j0) + mid, n,
                        row(mid) + mid, n, poll));
        return factor(mid, j1);
    }
};

const char* lu_decomposition(const _double_mat* a, void* intrp, _sint32_mat* index, _double_mat* lu) {
    validate(a);
    validate(index);
    validate(lu);
    const int64_t n = a->nrow;
    if (a->ncol != n) return msg::array_size_mismatch;
    MUTILS_TRY(require_size(index, int32_t(n), 1));
    MUTILS_TRY(require_size(lu, int32_t(n), int32_t(n)));
    if (lu->data != a->data) std::memmove(lu->data, a->data, std::size_t(n * n) * sizeof(double));
    double* scale = work_array<double>(n);
    for (int64_t i = 0; i < n; ++i) {
        double big = 0.0;
        for (const double* r = lu->data + i * n; r != lu->data + (i + 1) * n; ++r)
            if (std::fabs(*r) > big) big = std::fabs(*r);
        if (big == 0.0) return msg::singular_matrix;
        scale[i] = 1.0 / big;
    }
    Crout crout{lu->data, n, scale, index->data, GemmWork<double>::make(n, n), Poll(intrp)};
    return crout.factor(0, n);
}

// ---- solution -------------------------------------------------------------------------------

/// Forward and back substitution in place on x (b permuted on the way).
const char* substitute(const double* lu, int64_t n, const int32_t* index, double* x, Poll& poll) {
    int64_t first = -1;
    for (int64_t i = 0; i < n; ++i) {
        const int64_t p = index[i];
        double sum = x[p];
        x[p] = x[i];
        if (first >= 0) {
            const double* r = lu + i * n;
            for (int64_t j = first; j < i; ++j) sum -= r[j] * x[j];
        } else if (std::fabs(sum) > kTiny) {
            first = i;
        }
        x[i] = sum;
    }
    for (int64_t i = n - 1; i >= 0; --i) {
        const double* r = lu + i * n;
        double sum = x[i];
        for (int64_t j = i + 1; j < n; ++j) sum -= r[j] * x[j];
        if (r[i] == 0.0) return msg::illegal_data_value;
        x[i] = sum / r[i];
        MUTILS_TRY(poll.add(2.0 * double(n) + 5.0));
    }
    return nullptr;
}

const char* require_index(const int32_t* index, int64_t n) {
    for (int64_t i = 0; i < n; ++i)
        if (index[i] < 0 || index[i] >= n) return msg::illegal_data_value;
    return nullptr;
}

const char* lu_solve(const _double_mat* lu, const _double_mat* b, const _sint32_mat* index, void* intrp,
                     _double_mat* x) {
    validate(lu);
    validate(b);
    validate(index);
    validate(x);
    const int64_t n = lu->nrow;
    if (lu->ncol != n) return msg::array_size_mismatch;
    MUTILS_TRY(require_size(b, int32_t(n), 1));
    MUTILS_TRY(require_size(index, int32_t(n), 1));
    MUTILS_TRY(require_size(x, int32_t(n), 1));
    MUTILS_TRY(require_distinct(x, lu));
    MUTILS_TRY(require_index(index->data, n));
    if (x->data != b->data) std::memmove(x->data, b->data, std::size_t(n) * sizeof(double));
    Poll poll(intrp);
    return substitute(lu->data, n, index->data, x->data, poll);
}

// ---- inverse --------------------------------------------------------------------------------

/// The inverse from the factors of P A = L U, as A^-1 = U^-1 L^-1 P: Z = L^-1 (lower triangular,
/// so rows below a block only need the columns up to that block), then X = U^-1 Z, then the row
/// exchanges undone on the columns of X in reverse order. Triangular blocks of at most kSolveRows
/// rows go row by row; larger ones are halved and joined by a product.
struct FactorInverse {
    const double* lu;
    double* x;
    int64_t n;
    GemmWork<double> work;
    Poll poll;

    const double* f(int64_t i) const { return lu + i * n; }
    double* row(int64_t i) const { return x + i * n; }

    /// Rows [r0, r1) of Z, columns [0, r1), given Z's rows before r0 and L's rows in [r0, r1).
    const char* lower(int64_t r0, int64_t r1) {
        if (r1 - r0 <= kSolveRows) {
            for (int64_t i = r0 + 1; i < r1; ++i)
                for (int64_t k = r0; k < i; ++k) axpy_subtract(row(i), row(k), f(i)[k], k + 1);
            return poll.add(double(r1 - r0) * double(r1 - r0) * double(r1));
        }
        const int64_t mid = r0 + (r1 - r0) / 2;
        MUTILS_TRY(lower(r0, mid));
        MUTILS_TRY(
            gemm(work, GemmMode::Subtract, r1 - mid, mid, mid - r0, f(mid) + r0, n, row(r0), n, row(mid), n, poll));
        return lower(mid, r1);
    }

    /// Rows [r0, r1) of X = U^-1 Z, given X's rows from r1 on.
    const char* upper(int64_t r0, int64_t r1) {
        if (r1 - r0 <= kSolveRows) {
            for (int64_t i = r1 - 1; i >= r0; --i) {
                for (int64_t k = i + 1; k < r1; ++k) axpy_subtract(row(i), row(k), f(i)[k], n);
                const double d = f(i)[i];
                if (d == 0.0) return msg::illegal_data_value;
                for (int64_t c = 0; c < n; ++c) row(i)[c] = row(i)[c] / d;
            }
            return poll.add(double(r1 - r0) * double(r1 - r0 + 1) * double(n));
        }
        const int64_t mid = r0 + (r1 - r0) / 2;
        MUTILS_TRY(upper(mid, r1));
        MUTILS_TRY(
            gemm(work, GemmMode::Subtract, mid - r0, n, r1 - mid, f(r0) + mid, n, row(mid), n, row(r0), n, poll));
        return upper(r0, mid);
    }
};

const char* inverse(const _double_mat* a, void* intrp, _double_mat* r) {
    validate(a);
    validate(r);
    if (a->ncol != a->nrow) return msg::array_size_mismatch;
    MUTILS_TRY(require_same_size(r, a));
    const int32_t n = a->nrow;
    _sint32_mat index;
    _double_mat lu;
    mats32_malloc(&index, n, 1);
    matdbl_malloc(&lu, n, n);
    MUTILS_TRY(lu_decomposition(a, intrp, &index, &lu));
    std::fill(r->data, r->data + int64_t(n) * n, 0.0);
    for (int64_t i = 0; i < n; ++i) r->data[i * n + i] = 1.0;
    FactorInverse inv{lu.data, r->data, n, GemmWork<double>::make(n, n), Poll(intrp)};
    MUTILS_TRY(inv.lower(0, n));
    MUTILS_TRY(inv.upper(0, n));
    for (int64_t i = 0; i < n; ++i) {
        double* ri = r->data + i * n;
        for (int64_t j = n - 1; j >= 0; --j) std::swap(ri[j], ri[index.data[j]]);
    }
    return nullptr;
}

// ---- non-negative least squares ---------------------------------------------------------------

/// Lawson and Hanson's active-set method on a row-major A (m x n).
struct Nnls {
    int64_t m, n;
    const double* A;
    const double* b;
    double* x;        // n, the iterate
    double* z;        // n, subproblem solution (entries of free columns)
    double* w;        // n, gradient A^T (b - A x)
    double* resid;    // m
    double* q;        // m x n column-major: the free columns, overwritten by their QR
    double* qb;       // m, Q^T b
    double* rdiag;    // n
    double* colnorm;  // n, norms of A's columns
    int32_t* free_cols;
    int64_t nfree = 0;
    bool* is_free;
    bool* rejected;
    Poll poll;

    /// Solves min |A_F z - b| over the free columns by Householder QR; false when a column is
    /// (numerically) dependent on the ones before it.
    bool solve_free() {
        const int64_t k = nfree;
        for (int64_t c = 0; c < k; ++c)
            for (int64_t i = 0; i < m; ++i) q[c * m + i] = A[i * n + free_cols[c]];
        std::copy(b, b + m, qb);
        if (!householder_least_squares(q, m, k, qb, rdiag, [&](int64_t c) { return colnorm[free_cols[c]]; }))
            return false;
        for (int64_t c = 0; c < k; ++c) z[free_cols[c]] = qb[c];
        return true;
    }

    void gradient() {
        for (int64_t i = 0; i < m; ++i) {
            double s = b[i];
            for (int64_t j = 0; j < n; ++j) s -= A[i * n + j] * x[j];
            resid[i] = s;
        }
        for (int64_t j = 0; j < n; ++j) {
            double s = 0.0;
            for (int64_t i = 0; i < m; ++i) s += A[i * n + j] * resid[i];
            w[j] = s;
        }
    }

    /// Rebuilds the list of free columns (in increasing order) from the flags.
    void list_free() {
        nfree = 0;
        for (int64_t c = 0; c < n; ++c)
            if (is_free[c]) free_cols[nfree++] = int32_t(c);
    }

    const char* charge() { return poll.add(double(m) * double(n) * double(nfree + 2)); }

    const char* run() {
        const double anorm = norm2(A, m * n);
        for (int64_t j = 0; j < n; ++j) colnorm[j] = norm2(A + j, m, n);
        const double tol = 10.0 * DBL_EPSILON * double(std::max(m, n)) * anorm * norm2(b, m);
        const int64_t limit = 3 * n + 10;
        int64_t steps = 0;
        std::fill(x, x + n, 0.0);
        std::fill(is_free, is_free + n, false);
        std::fill(rejected, rejected + n, false);
        for (;;) {
            gradient();
            int64_t t = -1;
            double best = tol;
            for (int64_t j = 0; j < n; ++j)
                if (!is_free[j] && !rejected[j] && w[j] > best) {
                    best = w[j];
                    t = j;
                }
            if (t < 0) return nullptr;
            if (++steps > limit) return msg::not_converging;
            is_free[t] = true;
            list_free();
            const bool solved = solve_free();
            MUTILS_TRY(charge());
            if (!solved || !(z[t] > 0.0)) {
                // Freeing t would not decrease the residual with x_t > 0: keep it bound until
                // x changes.
                is_free[t] = false;
                list_free();
                rejected[t] = true;
                continue;
            }
            std::fill(rejected, rejected + n, false);
            for (;;) {
                int64_t jmin = -1;
                double alpha = std::numeric_limits<double>::infinity();
                for (int64_t c = 0; c < nfree; ++c) {
                    const int64_t j = free_cols[c];
                    if (z[j] <= 0.0) {
                        const double ratio = x[j] / (x[j] - z[j]);
                        if (ratio < alpha) {
                            alpha = ratio;
                            jmin = j;
                        }
                    }
                }
                if (jmin < 0) break;
                if (++steps > limit) return msg::not_converging;
                // Move towards z until the first free variable reaches zero; bind it (and any
                // other that rounding took to zero or below).
                for (int64_t c = 0; c < nfree; ++c) {
                    const int64_t j = free_cols[c];
                    x[j] += alpha * (z[j] - x[j]);
                }
                x[jmin] = 0.0;
                for (int64_t c = 0; c < nfree; ++c) {
                    const int64_t j = free_cols[c];
                    if (x[j] <= 0.0) {
                        x[j] = 0.0;
                        is_free[j] = false;
                    }
                }
                list_free();
                const bool ok = solve_free();
                MUTILS_TRY(charge());
                if (!ok) return msg::not_converging;  // a subset of independent columns cannot be dependent
            }
            for (int64_t c = 0; c < nfree; ++c) x[free_cols[c]] = z[free_cols[c]];
        }
    }
};

bool all_finite(const double* v, int64_t n) {
    for (int64_t i = 0; i < n; ++i)
        if (!std::isfinite(v[i])) return false;
    return true;
}

const char* nnls(const _double_mat* a, const _double_mat* b, void* intrp, _double_mat* x) {
    validate(a);
    validate(b);
    validate(x);
    const int64_t m = a->nrow, n = a->ncol;
    if (!is_vector(b->nrow, b->ncol) || b->nelem != m) return msg::array_size_mismatch;
    if (!is_vector(x->nrow, x->ncol) || x->nelem != n) return msg::array_size_mismatch;
    MUTILS_TRY(require_distinct(x, a));
    MUTILS_TRY(require_distinct(x, b));
    if (!all_finite(a->data, m * n) || !all_finite(b->data, m)) return msg::illegal_data_value;
    Nnls s{m,
           n,
           a->data,
           b->data,
           x->data,
           work_array_zero<double>(n),
           work_array<double>(n),
           work_array<double>(m),
           work_array<double>(m * n),
           work_array<double>(m),
           work_array<double>(n),
           work_array<double>(n),
           work_array<int32_t>(n),
           0,
           work_array<bool>(n),
           work_array<bool>(n),
           Poll(intrp)};
    return s.run();
}

// ---- principal components -------------------------------------------------------------------

/// Eigenvalues d and eigenvectors (columns of v) of the symmetric k x k matrix s (destroyed).
const char* jacobi(double* s, int64_t k, double* d, double* v) {
    for (int64_t i = 0; i < k; ++i)
        for (int64_t j = 0; j < k; ++j) v[i * k + j] = i == j ? 1.0 : 0.0;
    const double total = norm2(s, k * k);
    bool converged = false;
    for (int sweep = 0; sweep < 100 && !converged; ++sweep) {
        double off = 0.0;
        for (int64_t p = 0; p < k; ++p)
            for (int64_t q = p + 1; q < k; ++q) off = std::max(off, std::fabs(s[p * k + q]));
        if (off <= 1e-14 * total) {
            converged = true;
            break;
        }
        for (int64_t p = 0; p < k; ++p)
            for (int64_t q = p + 1; q < k; ++q) {
                const double apq = s[p * k + q];
                if (apq == 0.0) continue;
                const double theta = (s[q * k + q] - s[p * k + p]) / (2.0 * apq);
                double t = std::fabs(theta) > 1e150
                               ? 0.5 / theta
                               : (theta >= 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
                const double c = 1.0 / std::sqrt(t * t + 1.0), sn = t * c;
                for (int64_t r = 0; r < k; ++r) {
                    const double arp = s[r * k + p], arq = s[r * k + q];
                    s[r * k + p] = c * arp - sn * arq;
                    s[r * k + q] = sn * arp + c * arq;
                }
                for (int64_t r = 0; r < k; ++r) {
                    const double apr = s[p * k + r], aqr = s[q * k + r];
                    s[p * k + r] = c * apr - sn * aqr;
                    s[q * k + r] = sn * apr + c * aqr;
                }
                s[p * k + q] = s[q * k + p] = 0.0;
                for (int64_t r = 0; r < k; ++r) {
                    const double vrp = v[r * k + p], vrq = v[r * k + q];
                    v[r * k + p] = c * vrp - sn * vrq;
                    v[r * k + q] = sn * vrp + c * vrq;
                }
            }
    }
    if (!converged) return msg::not_converging;
    for (int64_t i = 0; i < k; ++i) d[i] = s[i * k + i];
    return nullptr;
}

template <class T> const char* pca(const _mat_set* in, void* intrp, _mat_set* out) {
    validate_set(in);
    validate_set(out);
    const int64_t k = in->nmat;
    const _univ_mat* first = &in->mats[0];
    for (int64_t i = 0; i < k; ++i) validate_univ(&in->mats[i]);
    for (int64_t i = 0; i < out->nmat; ++i) validate_univ(&out->mats[i]);
    for (int64_t i = 0; i < k; ++i) {
        if (in->mats[i].type != elem<T>::tag) return msg::illegal_data_type;
        MUTILS_TRY(require_same_size(&in->mats[i], first));
    }
    if (out->nmat != k) return msg::array_size_mismatch;
    for (int64_t i = 0; i < k; ++i) {
        if (out->mats[i].type != MUTIL_DOUBLE) return msg::illegal_data_type;
        MUTILS_TRY(require_same_size(&out->mats[i], first));
    }
    const int64_t npos = first->nelem;
    const T** src = work_array<const T*>(k);
    double** dst = work_array<double*>(k);
    for (int64_t i = 0; i < k; ++i) {
        src[i] = static_cast<const T*>(in->mats[i].data);
        dst[i] = static_cast<double*>(out->mats[i].data);
    }
    Poll poll(intrp);
    double* mean = work_array_zero<double>(k);
    for (int64_t i = 0; i < k; ++i) {
        double s = 0.0;
        for (int64_t p = 0; p < npos; ++p) s += double(src[i][p]);
        mean[i] = s / double(npos);
    }
    double* cov = work_array_zero<double>(k * k);
    double* centred = work_array<double>(k);
    constexpr int64_t kChunk = 4096;
    for (int64_t p = 0; p < npos; ++p) {
        for (int64_t i = 0; i < k; ++i) centred[i] = double(src[i][p]) - mean[i];
        for (int64_t i = 0; i < k; ++i)
            for (int64_t j = i; j < k; ++j) cov[i * k + j] += centred[i] * centred[j];
        if ((p + 1) % kChunk == 0) MUTILS_TRY(poll.add(double(kChunk) * double(k * k)));
    }
    const double divisor = npos > 1 ? double(npos - 1) : 1.0;
    for (int64_t i = 0; i < k; ++i)
        for (int64_t j = i; j < k; ++j) cov[j * k + i] = cov[i * k + j] /= divisor;
    double* eval = work_array<double>(k);
    double* evec = work_array<double>(k * k);
    MUTILS_TRY(jacobi(cov, k, eval, evec));

    // Order the components by decreasing eigenvalue and fix each vector's sign.
    int64_t* order = work_array<int64_t>(k);
    for (int64_t i = 0; i < k; ++i) order[i] = i;
    std::stable_sort(order, order + k, [&](int64_t x, int64_t y) { return eval[x] > eval[y]; });
    double* basis = work_array<double>(k * k);  // row i: component i
    for (int64_t i = 0; i < k; ++i) {
        const int64_t c = order[i];
        int64_t lead = 0;
        for (int64_t r = 1; r < k; ++r)
            if (std::fabs(evec[r * k + c]) > std::fabs(evec[lead * k + c])) lead = r;
        const double sign = evec[lead * k + c] < 0 ? -1.0 : 1.0;
        for (int64_t r = 0; r < k; ++r) basis[i * k + r] = sign * evec[r * k + c];
    }
    for (int64_t p = 0; p < npos; ++p) {
        for (int64_t i = 0; i < k; ++i) centred[i] = double(src[i][p]) - mean[i];
        for (int64_t i = 0; i < k; ++i) {
            double s = 0.0;
            for (int64_t r = 0; r < k; ++r) s += basis[i * k + r] * centred[r];
            dst[i][p] = s;
        }
        if ((p + 1) % kChunk == 0) MUTILS_TRY(poll.add(double(kChunk) * double(k * k)));
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* matdbl_multiply(const _double_mat* a, const _double_mat* b, void* i, _double_mat* p) {
    return multiply<double>(a, b, i, p);
}
const char* matflt_multiply(const _float_mat* a, const _float_mat* b, void* i, _float_mat* p) {
    return multiply<float>(a, b, i, p);
}
const char* matuniv_multiply(const _univ_mat* a, const _univ_mat* b, void* intrp, _univ_mat* p) {
    if (!a || !b || !p) return msg::null_pointer;
    if (p->type != MUTIL_FLOAT && p->type != MUTIL_DOUBLE) return msg::illegal_data_type;
    _univ_mat ca, cb;
    MUTILS_TRY(to_common(a, p->type, intrp, &ca));
    MUTILS_TRY(to_common(b, p->type, intrp, &cb));
    return dispatch(p->type, types<float, double>{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return multiply<T>(as<T>(&ca), as<T>(&cb), intrp, as<T>(p));
    });
}

const char* matdbl_lu_decomposition(const _double_mat* a, void* i, _sint32_mat* index, _double_mat* lu) {
    return lu_decomposition(a, i, index, lu);
}
const char* matuniv_lu_decomposition(const _univ_mat* a, void* i, _univ_mat* index, _univ_mat* lu) {
    return univ_call(types<double>{}, with(a, fixed<int32_t>(index), lu),
                     [&](auto, auto* ta, auto* tx, auto* tlu) { return lu_decomposition(ta, i, tx, tlu); });
}

const char* matdbl_lu_solve(const _double_mat* lu, const _double_mat* b, const _sint32_mat* index, void* i,
                            _double_mat* x) {
    return lu_solve(lu, b, index, i, x);
}
const char* matuniv_lu_solve(const _univ_mat* lu, const _univ_mat* b, const _univ_mat* index, void* i, _univ_mat* x) {
    return univ_call(types<double>{}, with(lu, b, fixed<int32_t>(index), x),
                     [&](auto, auto* tlu, auto* tb, auto* tx, auto* r) { return lu_solve(tlu, tb, tx, i, r); });
}

const char* matdbl_inverse(const _double_mat* a, void* i, _double_mat* r) { return inverse(a, i, r); }
const char* matuniv_inverse(const _univ_mat* a, void* i, _univ_mat* r) {
    return univ_call(types<double>{}, with(a, r), [&](auto, auto* ta, auto* tr) { return inverse(ta, i, tr); });
}

const char* matdbl_non_negative_least_squares(const _double_mat* a, const _double_mat* b, void* i, _double_mat* x) {
    return nnls(a, b, i, x);
}

const char* matset_principal_components_analysis(const _mat_set* in, void* intrp, _mat_set* out) {
    validate_set(in);
    return dispatch(in->mats[0].type, real_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return pca<T>(in, intrp, out);
    });
}
const char* matu8_principal_components_analysis(const _mat_set* in, void* i, _mat_set* out) {
    return pca<unsigned char>(in, i, out);
}
const char* matu16_principal_components_analysis(const _mat_set* in, void* i, _mat_set* out) {
    return pca<uint16_t>(in, i, out);
}
const char* matu32_principal_components_analysis(const _mat_set* in, void* i, _mat_set* out) {
    return pca<uint32_t>(in, i, out);
}
const char* mats16_principal_components_analysis(const _mat_set* in, void* i, _mat_set* out) {
    return pca<int16_t>(in, i, out);
}
const char* mats32_principal_components_analysis(const _mat_set* in, void* i, _mat_set* out) {
    return pca<int32_t>(in, i, out);
}

}  // namespace mutils
