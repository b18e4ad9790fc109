/// @file
/// Order statistics: sorting by index (full or partial), permutation, sorting, median,
/// quantiles and unique values.
///
/// Sorting by index (`mat<t>_sort_index_partial(A, P, intrp_ptr, I)`; every real type and univ):
/// I, a s32 matrix of A's shape, receives the linear positions 0 .. n-1 of A reordered so that
/// A[I[0]] <= A[I[1]] <= ... (A itself never moves). The ordering is a quicksort on the index
/// list: the median of three (the entries at l, (l + r) / 2 moved to l + 1, and r) gives the
/// pivot, two cursors exchange out-of-place pairs until they cross, and ranges of at most nine
/// entries are finished by straight insertion. With a position list P (a s32 matrix of linear
/// positions, any shape), ranges that hold no requested position are skipped, so exactly the
/// positions named in P hold what a full sort would put there, every entry before such a
/// position is not greater and every entry after it not smaller; the rest of I is in no
/// particular order. P null sorts fully; a P with no elements leaves I as the identity. The sort
/// is not stable. NaNs sort after every number. Each entry into the ordering of a range charges
/// one unit to the interrupt poll. A range that degrades (quadratic pivots) past 2 log2(n) + 2
/// levels is finished by heap sort, so the time stays n log n for every input.
///
/// | operation            | rule                                                                  |
/// |----------------------|-----------------------------------------------------------------------|
/// | permute              | R[k] = A[I[k]] in storage order; R has I's shape (so I may gather any |
/// |                      | positions); members dbl, flt, s32, s16, u8 and univ                   |
/// | matuniv_sort         | R (A's type and shape; R may be A) holds A's elements in ascending    |
/// |                      | order, NaNs last: what permuting A by its full index sort gives, for  |
/// |                      | every real type (u16 and u32 included, though permute has no members  |
/// |                      | for them); the values are sorted directly, without an index list      |
/// | matuniv_median       | n odd: sorted element n / 2; n even: the mean of sorted elements      |
/// |                      | n / 2 - 1 and n / 2; as a double for every type                       |
/// | matuniv_quantiles    | for each probability q of Q (double): t = (n - 1) q, k0 = floor(t),   |
/// |                      | k1 = k0 + 1 (both within [0, n - 1]); R = x(k0) + (t - k0)(x(k1) -   |
/// |                      | x(k0)) with x(k) the sorted element k: q = 0 the minimum, q = 1 the   |
/// |                      | maximum, q = 0.5 the median. R is double, of Q's shape. An empty A    |
/// |                      | (a dimension below 1) leaves R as it is                               |
/// | unique               | the distinct values of A: ascending when `first_appearance` is 0, in  |
/// |                      | order of first appearance in storage order otherwise                  |
///
/// Median and quantiles sort only the order statistics they read (a partial sort of a copy of the
/// values, with the one or two positions of the median, or the k0 and k1 of every probability);
/// quantiles charge 12 units per probability to the interrupt poll.
///
/// Unique values: equal values (0 and -0 among them) count once, and all NaNs count as one value
/// (last in ascending order). R must have room for the k distinct values (at least k elements,
/// else "array size mismatch", and nothing is written); they fill R's first k elements and R's
/// record is resized in place to 1 x k when R is a single row and to k x 1 otherwise (its data
/// block is kept). Allocating R with A's size always leaves room.
///
/// | condition, in the order checked (after raising for invalid records, inputs first)        | message |
/// |------------------------------------------------------------------------------------------|---------|
/// | univ members: a null argument, a null result pointer                                     | "null pointer" |
/// | a type without a member; R (permute, sort, unique) not of A's type; Q or R of quantiles   | "Illegal data type" |
/// | not double                                                                               |         |
/// | I not of A's shape (sort_index_partial); R not of I's shape (permute); R not of A's shape | "array size mismatch" |
/// | (sort); Q and R of different shapes (quantiles); no room for the values (unique)          |         |
/// | a position of P or an index of I outside [0, n); a probability outside [0, 1] or NaN      | "Illegal data value" |
/// | permute: R shares A's data block                                                          | "Illegal memory address" |
/// | interruption during a sort                                                                | "interrupted" |
/// Empty inputs of the median and of the other operations (a dimension below 1) are invalid
/// records and raise "array size mismatch".
///
///     double med;
///     mutils::matuniv_median(&samples, nullptr, &med);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `sort_index_partial` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* matdbl_sort_index_partial(const _double_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                 _sint32_mat* index);
MUTILS_API const char* matflt_sort_index_partial(const _float_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                 _sint32_mat* index);
MUTILS_API const char* matu8_sort_index_partial(const _uint8_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                _sint32_mat* index);
MUTILS_API const char* matu16_sort_index_partial(const _uint16_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                 _sint32_mat* index);
MUTILS_API const char* matu32_sort_index_partial(const _uint32_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                 _sint32_mat* index);
MUTILS_API const char* mats16_sort_index_partial(const _sint16_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                 _sint32_mat* index);
MUTILS_API const char* mats32_sort_index_partial(const _sint32_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                 _sint32_mat* index);
MUTILS_API const char* matuniv_sort_index_partial(const _univ_mat* a, const _sint32_mat* positions, void* intrp_ptr,
                                                  _sint32_mat* index);
/// @}

/// @{
/// `permute` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_permute(const _double_mat* a, const _sint32_mat* index, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_permute(const _float_mat* a, const _sint32_mat* index, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_permute(const _uint8_mat* a, const _sint32_mat* index, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* mats16_permute(const _sint16_mat* a, const _sint32_mat* index, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_permute(const _sint32_mat* a, const _sint32_mat* index, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_permute(const _univ_mat* a, const _sint32_mat* index, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `unique` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_unique(const _double_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                     _double_mat* r);
MUTILS_API const char* matflt_unique(const _float_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                     _float_mat* r);
MUTILS_API const char* matu8_unique(const _uint8_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                    _uint8_mat* r);
MUTILS_API const char* matu16_unique(const _uint16_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                     _uint16_mat* r);
MUTILS_API const char* matu32_unique(const _uint32_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                     _uint32_mat* r);
MUTILS_API const char* mats16_unique(const _sint16_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                     _sint16_mat* r);
MUTILS_API const char* mats32_unique(const _sint32_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                     _sint32_mat* r);
MUTILS_API const char* matuniv_unique(const _univ_mat* a, unsigned char first_appearance, void* intrp_ptr,
                                      _univ_mat* r);
/// @}

/// @{
/// `sort`, `median`, `quantiles` for each element type declared here; the contract, element types and messages are
/// in the file description.
MUTILS_API const char* matuniv_sort(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
MUTILS_API const char* matuniv_median(const _univ_mat* a, void* intrp_ptr, double* median);
MUTILS_API const char* matuniv_quantiles(const _univ_mat* a, const _univ_mat* probabilities, void* intrp_ptr,
                                         _univ_mat* r);
/// @}

}  // namespace mutils
