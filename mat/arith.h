/// @file
/// Element-wise arithmetic: R = A + B, A - B, A * B (element by element) and R = |A|.
///
/// Typed members validate A, B and R (raising "null pointer" / "array size mismatch"), return
/// "array size mismatch" unless all three have the same rows and columns, and make one pass in
/// flat order. Integer members wrap around (u8: 200 + 100 = 44, 1 - 2 = 255); no saturation and
/// no overflow report. R may be A or B.
///
/// Universal members compute in R's element type: an operand of another type is cast into a
/// temporary when it is an integer type or when R is float, double or complex (an unclipped
/// cast: a value that does not fit raises "overflow"); a floating or complex operand with an
/// integer R returns "Illegal data type", as does a complex R (there is no complex member).
///
/// Absolute value: typed members for dbl, flt, s16 and s32. The most negative s16 and s32 values
/// stay as they are (their negation wraps; nothing is widened); -0.0 becomes 0.0 and NaN stays
/// NaN. `matuniv_abs` follows the universal rule above and also accepts an unsigned R, whose
/// values are their own absolute values (a copy).
///
///     mutils::_univ_mat a, r;   // a: u8 image, r: double result of the same size
///     if (const char* err = mutils::matuniv_add(&a, &a, nullptr, &r)) { /* message */ }
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `add` for each element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* matdbl_add(const _double_mat* a, const _double_mat* b, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_add(const _float_mat* a, const _float_mat* b, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_add(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_add(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats16_add(const _sint16_mat* a, const _sint16_mat* b, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* matu32_add(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats32_add(const _sint32_mat* a, const _sint32_mat* b, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_add(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `subtract` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_subtract(const _double_mat* a, const _double_mat* b, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_subtract(const _float_mat* a, const _float_mat* b, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_subtract(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_subtract(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats16_subtract(const _sint16_mat* a, const _sint16_mat* b, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* matu32_subtract(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats32_subtract(const _sint32_mat* a, const _sint32_mat* b, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_subtract(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `multiply_elem` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_multiply_elem(const _double_mat* a, const _double_mat* b, void* intrp_ptr,
                                            _double_mat* r);
MUTILS_API const char* matflt_multiply_elem(const _float_mat* a, const _float_mat* b, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_multiply_elem(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_multiply_elem(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr,
                                            _uint16_mat* r);
MUTILS_API const char* mats16_multiply_elem(const _sint16_mat* a, const _sint16_mat* b, void* intrp_ptr,
                                            _sint16_mat* r);
MUTILS_API const char* matu32_multiply_elem(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr,
                                            _uint32_mat* r);
MUTILS_API const char* mats32_multiply_elem(const _sint32_mat* a, const _sint32_mat* b, void* intrp_ptr,
                                            _sint32_mat* r);
MUTILS_API const char* matuniv_multiply_elem(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `abs` for each element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* matdbl_abs(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_abs(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* mats16_abs(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_abs(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_abs(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

}  // namespace mutils

/// `matuniv_subtract`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode matuniv_subtract(const mutils::_univ_mat* a, const mutils::_univ_mat* b,
                                                   void* intrp_ptr, mutils::_univ_mat* r);
