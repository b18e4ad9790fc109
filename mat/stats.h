/// @file
/// Whole-matrix reductions: sums, element-wise minimum and maximum, value ranges, entropy, error
/// measures and counts of equal elements.
///
/// Typed members exist for double, float, u8, u16, u32, s16 and s32; each family also has a
/// universal member that returns "null pointer" for a null argument and "Illegal data type" for a
/// tag without a typed member (complex, 1, above 7) or for a second matrix or result of another
/// type than A, then runs the typed member. Typed members validate their matrices (inputs first,
/// raising "null pointer" / "array size mismatch") and return a null result pointer as "null
/// pointer". An empty input (a dimension below 1, as `matuniv_wrap_data` can build) is such an
/// invalid record: range, range_robust, entropy and every other family here raise "array size
/// mismatch" for it, as for any invalid record, and leave their results untouched.
///
/// | family                | rule                                                                  |
/// |-----------------------|-----------------------------------------------------------------------|
/// | sum                   | all elements added in storage order from zero, in the element type:   |
/// |                       | integer sums wrap at the type's width (u8: 200 + 100 = 44), float     |
/// |                       | sums accumulate in single precision. univ: a scalar of A's type       |
/// | cumulative_sum        | R(k) = R(k - 1) + A(k) in storage order, in the element type; R must  |
/// |                       | hold as many elements as A (its shape is free)                        |
/// | sum_rows, sum_cols    | R (nrow x 1) holds the row sums; R (1 x ncol) the column sums         |
/// | min, max              | element by element over A, B and R of one size; a NaN loses to a      |
/// |                       | number (NaN only where both are NaN)                                  |
/// | range                 | smallest and largest element; NaNs are skipped (all NaN: NaN, NaN)    |
/// | range_robust          | the same over the elements x with L <= x <= U; "Illegal data value"   |
/// |                       | when U < L or when no element lies in [L, U] (results then untouched) |
/// | entropy               | in bits. dbl, flt: A is a distribution: negative elements, or a sum S |
/// |                       | with |S - 1| > 1e-5 (|S| + 1), give "Illegal data value"; the result  |
/// |                       | is -sum p log2 p over p > 0. Integer types: A holds counts c (negative |
/// |                       | ones "Illegal data value"), N = sum c in 32-bit unsigned arithmetic,  |
/// |                       | result -sum (c / N) log2(c / N) over c > 0 (all zero: NaN)            |
/// | number_equal          | the number of positions where A and B (same size) are equal           |
/// | number_equal_scalar   | the number of elements equal to s                                     |
///
/// `matuniv_range_robust` takes double bounds and compares exactly: for integer types the bounds
/// are narrowed to the nearest admitted values (ceil L, floor U), for float to the nearest floats
/// inside [L, U]. `matuniv_number_equal_scalar` compares mathematically: a scalar that no element
/// of A's type can equal (2.5 for an integer matrix, NaN) counts 0; a complex scalar is "Illegal
/// data type". Same-width integer members share one body where the bits agree (sums, counts).
///
/// Error measures (universal only; any real types, which are converted to double):
/// - `matuniv_mean_squared_error(A, B, ...)`: D = A - B computed into a double matrix of A's
///   shape with `matuniv_subtract` (which reports disagreeing shapes and types), then the mean of
///   D^2 over A's elements.
/// - `matuniv_signal_to_noise_ratio(S, T, ..., ratio, infinite)`: e = mean squared error of
///   (T, S); e = 0 sets `*infinite` = 1 and `*ratio` = 1e37; otherwise `*infinite` = 0 and the
///   ratio is 10 log10(p / e) dB with p = mean of S^2.
///
///     double lo, hi;
///     mutils::matdbl_range(&samples, nullptr, &lo, &hi);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `sum` for each element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* matdbl_sum(const _double_mat* a, void* intrp_ptr, double* sum);
MUTILS_API const char* matflt_sum(const _float_mat* a, void* intrp_ptr, float* sum);
MUTILS_API const char* matu8_sum(const _uint8_mat* a, void* intrp_ptr, unsigned char* sum);
MUTILS_API const char* matu16_sum(const _uint16_mat* a, void* intrp_ptr, uint16_t* sum);
MUTILS_API const char* matu32_sum(const _uint32_mat* a, void* intrp_ptr, uint32_t* sum);
MUTILS_API const char* mats16_sum(const _sint16_mat* a, void* intrp_ptr, int16_t* sum);
MUTILS_API const char* mats32_sum(const _sint32_mat* a, void* intrp_ptr, int32_t* sum);
MUTILS_API const char* matuniv_sum(const _univ_mat* a, void* intrp_ptr, _univ_scalar* sum);
/// @}

/// @{
/// `cumulative_sum` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_cumulative_sum(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_cumulative_sum(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_cumulative_sum(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_cumulative_sum(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_cumulative_sum(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_cumulative_sum(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_cumulative_sum(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_cumulative_sum(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `sum_rows` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_sum_rows(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_sum_rows(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_sum_rows(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_sum_rows(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_sum_rows(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_sum_rows(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_sum_rows(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_sum_rows(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `sum_cols` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_sum_cols(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_sum_cols(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_sum_cols(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_sum_cols(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_sum_cols(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_sum_cols(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_sum_cols(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_sum_cols(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `min` for each element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* matdbl_min(const _double_mat* a, const _double_mat* b, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_min(const _float_mat* a, const _float_mat* b, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_min(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_min(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_min(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_min(const _sint16_mat* a, const _sint16_mat* b, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_min(const _sint32_mat* a, const _sint32_mat* b, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_min(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `max` for each element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* matdbl_max(const _double_mat* a, const _double_mat* b, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_max(const _float_mat* a, const _float_mat* b, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_max(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_max(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_max(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_max(const _sint16_mat* a, const _sint16_mat* b, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_max(const _sint32_mat* a, const _sint32_mat* b, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_max(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `range` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_range(const _double_mat* a, void* intrp_ptr, double* min, double* max);
MUTILS_API const char* matflt_range(const _float_mat* a, void* intrp_ptr, float* min, float* max);
MUTILS_API const char* matu8_range(const _uint8_mat* a, void* intrp_ptr, unsigned char* min, unsigned char* max);
MUTILS_API const char* matu16_range(const _uint16_mat* a, void* intrp_ptr, uint16_t* min, uint16_t* max);
MUTILS_API const char* matu32_range(const _uint32_mat* a, void* intrp_ptr, uint32_t* min, uint32_t* max);
MUTILS_API const char* mats16_range(const _sint16_mat* a, void* intrp_ptr, int16_t* min, int16_t* max);
MUTILS_API const char* mats32_range(const _sint32_mat* a, void* intrp_ptr, int32_t* min, int32_t* max);
MUTILS_API const char* matuniv_range(const _univ_mat* a, void* intrp_ptr, _univ_scalar* min, _univ_scalar* max);
/// @}

/// @{
/// `range_robust` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_range_robust(const _double_mat* a, double lower, double upper, void* intrp_ptr,
                                           double* min, double* max);
MUTILS_API const char* matflt_range_robust(const _float_mat* a, float lower, float upper, void* intrp_ptr, float* min,
                                           float* max);
MUTILS_API const char* matu8_range_robust(const _uint8_mat* a, unsigned char lower, unsigned char upper,
                                          void* intrp_ptr, unsigned char* min, unsigned char* max);
MUTILS_API const char* matu16_range_robust(const _uint16_mat* a, uint16_t lower, uint16_t upper, void* intrp_ptr,
                                           uint16_t* min, uint16_t* max);
MUTILS_API const char* matu32_range_robust(const _uint32_mat* a, uint32_t lower, uint32_t upper, void* intrp_ptr,
                                           uint32_t* min, uint32_t* max);
MUTILS_API const char* mats16_range_robust(const _sint16_mat* a, int16_t lower, int16_t upper, void* intrp_ptr,
                                           int16_t* min, int16_t* max);
MUTILS_API const char* mats32_range_robust(const _sint32_mat* a, int32_t lower, int32_t upper, void* intrp_ptr,
                                           int32_t* min, int32_t* max);
MUTILS_API const char* matuniv_range_robust(const _univ_mat* a, double lower, double upper, void* intrp_ptr,
                                            _univ_scalar* min, _univ_scalar* max);
/// @}

/// @{
/// `entropy` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_entropy(const _double_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* matflt_entropy(const _float_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* matu8_entropy(const _uint8_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* matu16_entropy(const _uint16_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* matu32_entropy(const _uint32_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* mats16_entropy(const _sint16_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* mats32_entropy(const _sint32_mat* a, void* intrp_ptr, double* entropy);
MUTILS_API const char* matuniv_entropy(const _univ_mat* a, void* intrp_ptr, double* entropy);
/// @}

/// @{
/// `number_equal` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_number_equal(const _double_mat* a, const _double_mat* b, void* intrp_ptr,
                                           uint32_t* count);
MUTILS_API const char* matflt_number_equal(const _float_mat* a, const _float_mat* b, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* matu8_number_equal(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* matu16_number_equal(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr,
                                           uint32_t* count);
MUTILS_API const char* matu32_number_equal(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr,
                                           uint32_t* count);
MUTILS_API const char* mats16_number_equal(const _sint16_mat* a, const _sint16_mat* b, void* intrp_ptr,
                                           uint32_t* count);
MUTILS_API const char* mats32_number_equal(const _sint32_mat* a, const _sint32_mat* b, void* intrp_ptr,
                                           uint32_t* count);
MUTILS_API const char* matuniv_number_equal(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, uint32_t* count);
/// @}

/// @{
/// `number_equal_scalar` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* matdbl_number_equal_scalar(const _double_mat* a, double s, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* matflt_number_equal_scalar(const _float_mat* a, float s, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* matu8_number_equal_scalar(const _uint8_mat* a, unsigned char s, void* intrp_ptr,
                                                 uint32_t* count);
MUTILS_API const char* matu16_number_equal_scalar(const _uint16_mat* a, uint16_t s, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* matu32_number_equal_scalar(const _uint32_mat* a, uint32_t s, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* mats16_number_equal_scalar(const _sint16_mat* a, int16_t s, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* mats32_number_equal_scalar(const _sint32_mat* a, int32_t s, void* intrp_ptr, uint32_t* count);
MUTILS_API const char* matuniv_number_equal_scalar(const _univ_mat* a, _univ_scalar s, void* intrp_ptr,
                                                   uint32_t* count);
/// @}

/// @{
/// `mean_squared_error`, `signal_to_noise_ratio` for each element type declared here; the contract, element types
/// and messages are in the file description.
MUTILS_API const char* matuniv_mean_squared_error(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, double* mse);
MUTILS_API const char* matuniv_signal_to_noise_ratio(const _univ_mat* s, const _univ_mat* t, void* intrp_ptr,
                                                     double* ratio, unsigned char* infinite);
/// @}

}  // namespace mutils

/// @{
/// `range`, `sum`, `mean_squared_error`, `signal_to_noise_ratio` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode matuniv_range(const mutils::_univ_mat* a, void* intrp_ptr, mutils::_univ_scalar* min,
                                                mutils::_univ_scalar* max);
MUTILS_API mutils::_mutil_errcode matdbl_sum(const mutils::_double_mat* a, void* intrp_ptr, double* sum);
MUTILS_API mutils::_mutil_errcode matuniv_mean_squared_error(const mutils::_univ_mat* a, const mutils::_univ_mat* b,
                                                             void* intrp_ptr, double* mse);
MUTILS_API mutils::_mutil_errcode matuniv_signal_to_noise_ratio(const mutils::_univ_mat* s, const mutils::_univ_mat* t,
                                                                void* intrp_ptr, double* ratio,
                                                                unsigned char* infinite);
/// @}
