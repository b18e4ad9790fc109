/// @file
/// Operations of a matrix with a scalar: R = A + s and R = A * s, element by element.
///
/// Typed members take the scalar in the element type; they validate A and R (raising "null
/// pointer" / "array size mismatch"), return "array size mismatch" unless R has A's rows and
/// columns, and make one pass (R may be A). Integer members wrap around (u8: 250 + 10 = 4).
/// NaN and infinities in floating A or s propagate as IEEE arithmetic does (infinity times 0 is
/// NaN); for an integer R the scalar rule below decides what a NaN or infinite scalar gives.
///
/// Universal members compute in R's element type and check, in this order:
///
/// | condition                                                    | result               |
/// |--------------------------------------------------------------|----------------------|
/// | A or R null                                                  | "null pointer"       |
/// | complex scalar or complex R                                  | "Illegal data type"  |
/// | float/double scalar with an integer R of another type        | "Illegal data type"  |
/// | scalar outside R's admitted range (tags differ, integer R)   | "Illegal data type"  |
/// | A floating with an integer R                                 | "Illegal data type"  |
///
/// The admitted ranges are symmetric for the signed types: u8 [0, 255], u16 [0, 65535],
/// s16 [-32767, 32767], u32 [0, 4294967295], s32 [-2147483647, 2147483647]; so -32768 as an s32
/// scalar for an s16 R is refused though s16 holds it (a scalar of R's own type is taken as is).
/// A float or double R takes any real scalar. An operand A of another type is converted to R's
/// type as for `matuniv_add` (an unclipped cast; a value that does not fit raises "overflow").
///
///     mutils::_univ_mat img;   // u8
///     mutils::matuniv_add_scalar(&img, mutils::scalar_s32(-20), nullptr, &img);   // darker, wraps
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `add_scalar` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_add_scalar(const _double_mat* a, double s, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_add_scalar(const _float_mat* a, float s, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_add_scalar(const _uint8_mat* a, unsigned char s, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_add_scalar(const _uint16_mat* a, uint16_t s, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats16_add_scalar(const _sint16_mat* a, int16_t s, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* matu32_add_scalar(const _uint32_mat* a, uint32_t s, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats32_add_scalar(const _sint32_mat* a, int32_t s, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_add_scalar(const _univ_mat* a, _univ_scalar s, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `multiply_scalar` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_multiply_scalar(const _double_mat* a, double s, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_multiply_scalar(const _float_mat* a, float s, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_multiply_scalar(const _uint8_mat* a, unsigned char s, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_multiply_scalar(const _uint16_mat* a, uint16_t s, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats16_multiply_scalar(const _sint16_mat* a, int16_t s, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* matu32_multiply_scalar(const _uint32_mat* a, uint32_t s, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats32_multiply_scalar(const _sint32_mat* a, int32_t s, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_multiply_scalar(const _univ_mat* a, _univ_scalar s, void* intrp_ptr, _univ_mat* r);
/// @}

}  // namespace mutils

/// `matuniv_add_scalar`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode matuniv_add_scalar(const mutils::_univ_mat* a, mutils::_univ_scalar s,
                                                     void* intrp_ptr, mutils::_univ_mat* r);
