/// @file
/// Bitwise operations on unsigned matrices (u8, u16, u32): and, or, xor of two matrices or of a
/// matrix and a scalar, complement, and shifts.
/// They take integer matrices only: floating operands are refused, so NaN does not arise.
///
/// Typed members validate their matrices (raising "null pointer" / "array size mismatch") and
/// return "array size mismatch" unless all have the same rows and columns; R may be an operand.
/// Shifts move each element by `count` bits within its width: bits shifted out are lost and
/// zeros come in; a count at or past the width (8, 16, 32 or more) gives 0.
///
/// Universal members need an unsigned R (u8, u16 or u32; any other R: "Illegal data type").
/// Operands of another integer type are converted to R's type as for `matuniv_add` (a value that
/// does not fit, such as a negative one, raises "overflow"); floating operands give "Illegal data
/// type". Scalars follow the scalar rule of `matuniv_add_scalar` (a negative or too large scalar
/// of another type, or a floating one: "Illegal data type"). The universal shift count is an
/// unsigned char.
///
///     mutils::_uint8_mat img, mask;
///     mutils::matu8_bit_and_scalar(&img, 0xF0, nullptr, &mask);   // high nibble of each pixel
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `bit_and` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_and(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_and(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_and(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_and(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_or` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_or(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_or(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_or(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_or(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_xor` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_xor(const _uint8_mat* a, const _uint8_mat* b, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_xor(const _uint16_mat* a, const _uint16_mat* b, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_xor(const _uint32_mat* a, const _uint32_mat* b, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_xor(const _univ_mat* a, const _univ_mat* b, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_not` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_not(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_not(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_not(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_not(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_and_scalar` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_and_scalar(const _uint8_mat* a, unsigned char s, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_and_scalar(const _uint16_mat* a, uint16_t s, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_and_scalar(const _uint32_mat* a, uint32_t s, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_and_scalar(const _univ_mat* a, _univ_scalar s, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_or_scalar` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_or_scalar(const _uint8_mat* a, unsigned char s, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_or_scalar(const _uint16_mat* a, uint16_t s, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_or_scalar(const _uint32_mat* a, uint32_t s, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_or_scalar(const _univ_mat* a, _univ_scalar s, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_xor_scalar` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_xor_scalar(const _uint8_mat* a, unsigned char s, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_xor_scalar(const _uint16_mat* a, uint16_t s, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_xor_scalar(const _uint32_mat* a, uint32_t s, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_xor_scalar(const _univ_mat* a, _univ_scalar s, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_shift_left` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_shift_left(const _uint8_mat* a, unsigned char count, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_shift_left(const _uint16_mat* a, uint16_t count, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_shift_left(const _uint32_mat* a, uint32_t count, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_shift_left(const _univ_mat* a, unsigned char count, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `bit_shift_right` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matu8_bit_shift_right(const _uint8_mat* a, unsigned char count, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_bit_shift_right(const _uint16_mat* a, uint16_t count, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_bit_shift_right(const _uint32_mat* a, uint32_t count, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* matuniv_bit_shift_right(const _univ_mat* a, unsigned char count, void* intrp_ptr, _univ_mat* r);
/// @}

}  // namespace mutils
