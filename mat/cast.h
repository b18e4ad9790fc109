/// @file
/// Conversions between element types.
///
/// Like the storage operations, conversions return nothing and raise `Hux::Error` on failure:
/// invalid records ("null pointer", "array size mismatch"), a result of another size ("array
/// size mismatch"), a value that does not fit without the clip flag ("overflow"), and a type
/// pair without a conversion ("Illegal data type").
///
/// | conversion                        | rule                                                        |
/// |-----------------------------------|-------------------------------------------------------------|
/// | floating -> integer               | v = floor(x + 0.5) (half up: -2.5 -> -2); out of the target's|
/// |                                   | full range (or NaN): clip to the nearer bound (NaN -> the    |
/// |                                   | minimum) with `clip`, else "overflow"                        |
/// | dbl -> flt                        | nearest float; finite values past the float range clip to    |
/// |                                   | +-FLT_MAX or raise "overflow"; infinities and NaN carry over |
/// | integer narrowing                 | out of range: clip or "overflow"                             |
/// | widening (no clip flag)           | exact                                                        |
/// | cpx -> dbl                        | the real part; a non-zero imaginary part is dropped with     |
/// |                                   | `clip`, otherwise it raises "overflow"                       |
/// | dbl/flt -> cpx                    | imaginary part 0                                             |
///
/// `matuniv_cast` converts A into R's element type with the member of that pair (the clip flag
/// is ignored by widening pairs; the same type is a copy); complex sources convert only to
/// double, and tag 1 or a tag above 8 raises "Illegal data type". Conversions count their work
/// for the interrupt poll but never stop.
///
/// `matdbl_to_complex` joins a real and an imaginary part into R = A + iB; `matcpx_to_double`
/// splits A into its real and imaginary parts. Both validate every matrix, raise "array size
/// mismatch" unless all have the same rows and columns, and raise "Illegal memory address" when
/// the complex result shares its block with a part, or when the two parts of the split are one block.
#pragma once

#include "../core/errors.h"

namespace mutils {

/// `matuniv_cast`: the contract, element types and messages are in the file description.
MUTILS_API void matuniv_cast(const _univ_mat* a, unsigned char clip, void* intrp_ptr, _univ_mat* r);

/// @{
/// `cast_to_flt`, `cast_to_u8`, `cast_to_u16`, `cast_to_u32`, `cast_to_s16`, `cast_to_s32`, `cast_to_dbl`,
/// `cast_to_cpx` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API void matdbl_cast_to_flt(const _double_mat* a, unsigned char clip, void* intrp_ptr, _float_mat* r);
MUTILS_API void matdbl_cast_to_u8(const _double_mat* a, unsigned char clip, void* intrp_ptr, _uint8_mat* r);
MUTILS_API void matdbl_cast_to_u16(const _double_mat* a, unsigned char clip, void* intrp_ptr, _uint16_mat* r);
MUTILS_API void matdbl_cast_to_u32(const _double_mat* a, unsigned char clip, void* intrp_ptr, _uint32_mat* r);
MUTILS_API void matdbl_cast_to_s16(const _double_mat* a, unsigned char clip, void* intrp_ptr, _sint16_mat* r);
MUTILS_API void matdbl_cast_to_s32(const _double_mat* a, unsigned char clip, void* intrp_ptr, _sint32_mat* r);
MUTILS_API void matflt_cast_to_dbl(const _float_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API void matflt_cast_to_u8(const _float_mat* a, unsigned char clip, void* intrp_ptr, _uint8_mat* r);
MUTILS_API void matflt_cast_to_u16(const _float_mat* a, unsigned char clip, void* intrp_ptr, _uint16_mat* r);
MUTILS_API void matflt_cast_to_u32(const _float_mat* a, unsigned char clip, void* intrp_ptr, _uint32_mat* r);
MUTILS_API void matflt_cast_to_s16(const _float_mat* a, unsigned char clip, void* intrp_ptr, _sint16_mat* r);
MUTILS_API void matflt_cast_to_s32(const _float_mat* a, unsigned char clip, void* intrp_ptr, _sint32_mat* r);
MUTILS_API void matu8_cast_to_dbl(const _uint8_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API void matu8_cast_to_flt(const _uint8_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API void matu8_cast_to_u16(const _uint8_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API void matu8_cast_to_u32(const _uint8_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API void matu8_cast_to_s16(const _uint8_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API void matu8_cast_to_s32(const _uint8_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API void matu16_cast_to_dbl(const _uint16_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API void matu16_cast_to_flt(const _uint16_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API void matu16_cast_to_u8(const _uint16_mat* a, unsigned char clip, void* intrp_ptr, _uint8_mat* r);
MUTILS_API void matu16_cast_to_u32(const _uint16_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API void matu16_cast_to_s16(const _uint16_mat* a, unsigned char clip, void* intrp_ptr, _sint16_mat* r);
MUTILS_API void matu16_cast_to_s32(const _uint16_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API void matu32_cast_to_dbl(const _uint32_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API void matu32_cast_to_flt(const _uint32_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API void matu32_cast_to_u8(const _uint32_mat* a, unsigned char clip, void* intrp_ptr, _uint8_mat* r);
MUTILS_API void matu32_cast_to_u16(const _uint32_mat* a, unsigned char clip, void* intrp_ptr, _uint16_mat* r);
MUTILS_API void matu32_cast_to_s16(const _uint32_mat* a, unsigned char clip, void* intrp_ptr, _sint16_mat* r);
MUTILS_API void matu32_cast_to_s32(const _uint32_mat* a, unsigned char clip, void* intrp_ptr, _sint32_mat* r);
MUTILS_API void mats16_cast_to_dbl(const _sint16_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API void mats16_cast_to_flt(const _sint16_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API void mats16_cast_to_u8(const _sint16_mat* a, unsigned char clip, void* intrp_ptr, _uint8_mat* r);
MUTILS_API void mats16_cast_to_u16(const _sint16_mat* a, unsigned char clip, void* intrp_ptr, _uint16_mat* r);
MUTILS_API void mats16_cast_to_u32(const _sint16_mat* a, unsigned char clip, void* intrp_ptr, _uint32_mat* r);
MUTILS_API void mats16_cast_to_s32(const _sint16_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API void mats32_cast_to_dbl(const _sint32_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API void mats32_cast_to_flt(const _sint32_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API void mats32_cast_to_u8(const _sint32_mat* a, unsigned char clip, void* intrp_ptr, _uint8_mat* r);
MUTILS_API void mats32_cast_to_u16(const _sint32_mat* a, unsigned char clip, void* intrp_ptr, _uint16_mat* r);
MUTILS_API void mats32_cast_to_u32(const _sint32_mat* a, unsigned char clip, void* intrp_ptr, _uint32_mat* r);
MUTILS_API void mats32_cast_to_s16(const _sint32_mat* a, unsigned char clip, void* intrp_ptr, _sint16_mat* r);
MUTILS_API void matdbl_cast_to_cpx(const _double_mat* a, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API void matflt_cast_to_cpx(const _float_mat* a, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API void matcpx_cast_to_dbl(const _dcomplex_mat* a, unsigned char clip, void* intrp_ptr, _double_mat* r);
/// @}

/// @{
/// `to_complex`, `to_double` for each element type declared here; the contract, element types and messages are in
/// the file description.
MUTILS_API void matdbl_to_complex(const _double_mat* a, const _double_mat* b, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API void matcpx_to_double(const _dcomplex_mat* a, void* intrp_ptr, _double_mat* re, _double_mat* im);
/// @}

}  // namespace mutils

/// `matuniv_cast`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode matuniv_cast(const mutils::_univ_mat* a, unsigned char clip, void* intrp_ptr,
                                               mutils::_univ_mat* r);
