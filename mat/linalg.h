/// @file
/// Dense linear algebra: matrix product, LU decomposition with scaled partial pivoting, solution
/// of a linear system from the decomposition, inverse, non-negative least squares, and principal
/// components of the planes of a matrix set.
///
///     mutils::_double_mat a, lu, b, x;          // a: n x n, lu: n x n, b and x: n x 1
///     mutils::_sint32_mat index;                 // n x 1
///     if (const char* err = mutils::matdbl_lu_decomposition(&a, nullptr, &index, &lu)) { ... }
///     if (const char* err = mutils::matdbl_lu_solve(&lu, &b, &index, nullptr, &x)) { ... }
///
/// Every operation validates its matrices first (raising "null pointer" / "array size mismatch"
/// for invalid records), then checks sizes and returns the messages listed with it. Universal
/// members return "null pointer" for a null record themselves.
///
/// Product `mat<t>_multiply(A, B, intrp, P)`: P = A * B for A (m x n), B (n x p), P (m x p).
///   P[i][k] = sum over j of A[i][j] * B[j][k], accumulated from zero in increasing j, each
///   product and each sum rounded on its own in the element type (no fused multiply-add), so the
///   result equals the plain triple loop bit for bit on every processor; the work is blocked for
///   the caches and vectorised across result columns.
///   "array size mismatch" unless P is m x p and A's column count is B's row count;
///   "Illegal memory address" when P's storage is A's or B's; "interrupted".
///   `matuniv_multiply` computes in P's element type (float or double; other result types are
///   "Illegal data type"); operands of another type are converted to P's type first, as in every
///   universal member.
///
/// LU decomposition `matdbl_lu_decomposition(A, intrp, index, LU)`, Crout's method with implicit
///   row scaling. LU (n x n) receives the unit lower factor's multipliers below the diagonal and U
///   on and above it; index (n x 1) records, for each column j in order, the row exchanged with
///   row j. LU may be A itself. Pivot: the row i >= j with the largest |a[i][j]| / max|row i|
///   (among equal figures the last row wins; rows with a NaN figure never win). An exactly zero
///   pivot is replaced by 1e-20, so only a matrix with an all-zero row fails, with
///   "singular matrix" (a row of NaNs counts as zero). The elimination is blocked and recursive
///   but applies every element's updates a[i][j] - a[i][k] * a[k][j] in increasing k, exactly
///   as the column-by-column method does, and divides by the pivot; the result is the same to
///   the bit. Sizes: "array size mismatch" unless A is square, index n x 1 and LU n x n.
///
/// Solution `matdbl_lu_solve(LU, b, index, intrp, x)`: x (n x 1) from b (n x 1) by forward
///   substitution, which skips leading right-hand-side entries of magnitude 1e-20 or less, and
///   back substitution. x may be b. "array size mismatch" unless the sizes fit; "Illegal data
///   value" for a zero diagonal element of U or an index entry outside [0, n);
///   "Illegal memory address" when x's storage is LU's.
///
/// Inverse `matdbl_inverse(A, intrp, R)`: decomposes A once and solves for each column of the
///   identity. R may be A. "array size mismatch" unless A and R are square of one size; any
///   failure of the decomposition or solution as it stands. A singular matrix without a zero
///   row gives very large values rather than a failure.
///
/// The universal members of the decomposition, solution and inverse take double matrices (and an
/// s32 index) only; any other element type is "Illegal data type".
///
/// Non-negative least squares `matdbl_non_negative_least_squares(A, b, intrp, x)`: x >= 0 that
///   minimises |A x - b| for A (m x n), b a vector of m elements and x a vector of n elements,
///   by the active-set method of Lawson and Hanson. Each subproblem is solved by Householder QR
///   of the free columns; a column whose QR pivot is below 1e-12 of its norm (linearly dependent
///   on the free columns) is not freed. The loop stops when every bound gradient
///   (A^T (b - A x))[j] is at most 10 * eps * max(m, n) * |A|_F * |b|. At most 3 n + 10 changes
///   of the free set are made, else "not converging". "array size mismatch" for sizes that do
///   not fit, "Illegal data value" for a value that is not finite, "Illegal memory address" when
///   x shares A's or b's storage, "interrupted".
///
/// Principal components `matset_principal_components_analysis(in, intrp, out)` and the typed
///   members `mat<t>_principal_components_analysis` (t = u8, u16, u32, s16, s32): the K planes of
///   `in` (equal sizes and one element type) are K variables observed at every position. Their
///   mean vector and covariance (divided by N - 1 for N positions, by 1 when N = 1) are formed in
///   double; the covariance is diagonalised by cyclic Jacobi rotations (at most 100 sweeps, else
///   "not converging"). Plane i of `out` receives component i: the projection of the centred
///   vector on the eigenvector of the i-th largest eigenvalue, so its variance is that
///   eigenvalue. Each eigenvector's sign makes its largest-magnitude entry positive (the first
///   such entry on ties). `out` must hold K double planes of the input size ("array size
///   mismatch", "Illegal data type" otherwise); its planes may be the input's own planes. The set
///   member takes any real element type; a typed member refuses other plane types with "Illegal
///   data type".
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `multiply` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_multiply(const _double_mat* a, const _double_mat* b, void* intrp_ptr, _double_mat* p);
MUTILS_API const char* matflt_multiply(const _float_mat* a, const _float_mat* b, void* intrp_ptr, _float_mat* p);
MUTILS_API const char* matuniv_multiply(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* p);
/// @}

/// @{
/// `lu_decomposition` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_lu_decomposition(const _double_mat* a, void* intrp_ptr, _sint32_mat* index,
                                               _double_mat* lu);
MUTILS_API const char* matuniv_lu_decomposition(const _univ_mat* a, void* intrp_ptr, _univ_mat* index, _univ_mat* lu);
/// @}

/// @{
/// `lu_solve` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_lu_solve(const _double_mat* lu, const _double_mat* b, const _sint32_mat* index,
                                       void* intrp_ptr, _double_mat* x);
MUTILS_API const char* matuniv_lu_solve(const _univ_mat* lu, const _univ_mat* b, const _univ_mat* index,
                                        void* intrp_ptr, _univ_mat* x);
/// @}

/// @{
/// `inverse` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_inverse(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matuniv_inverse(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// `matdbl_non_negative_least_squares`: the contract, element types and messages are in the file description.
MUTILS_API const char* matdbl_non_negative_least_squares(const _double_mat* a, const _double_mat* b, void* intrp_ptr,
                                                         _double_mat* x);

/// @{
/// `principal_components_analysis` for each element type declared here; the contract, element types and messages
/// are in the file description.
MUTILS_API const char* matset_principal_components_analysis(const _mat_set* in, void* intrp_ptr, _mat_set* out);
MUTILS_API const char* matu8_principal_components_analysis(const _mat_set* in, void* intrp_ptr, _mat_set* out);
MUTILS_API const char* matu16_principal_components_analysis(const _mat_set* in, void* intrp_ptr, _mat_set* out);
MUTILS_API const char* matu32_principal_components_analysis(const _mat_set* in, void* intrp_ptr, _mat_set* out);
MUTILS_API const char* mats16_principal_components_analysis(const _mat_set* in, void* intrp_ptr, _mat_set* out);
MUTILS_API const char* mats32_principal_components_analysis(const _mat_set* in, void* intrp_ptr, _mat_set* out);
/// @}

}  // namespace mutils
