/// @file
/// Copying and filling: R = A, and every element of R = s.
///
/// `mat<t>_assign` validates A and R (raising "null pointer" / "array size mismatch"), returns
/// "array size mismatch" unless R has A's rows and columns, and copies (R may overlap A).
/// `mat<t>_assign_scalar` validates R and fills it; it exists for the complex type too.
/// Copies keep every value's bits, NaN, infinities and signed zeros included.
///
/// Universal members keep R's element type: `matuniv_assign` brings A to it as `matuniv_add`
/// does (integers convert to anything, floating values only to float, double or complex, with
/// "overflow" raised for a value that does not fit) and copies complex matrices as well.
/// `matuniv_assign_scalar` brings the scalar to R's type by the scalar rule of
/// `matuniv_add_scalar` (symmetric admitted ranges for integer R), except that a complex R
/// takes any real scalar as its real part and a complex scalar goes only to a complex R.
///
///     mutils::_univ_mat r;   // u16
///     mutils::matuniv_assign_scalar(mutils::scalar_u8(7), nullptr, &r);   // all sevens
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `assign` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_assign(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_assign(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_assign(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_assign(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats16_assign(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* matu32_assign(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats32_assign(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_assign(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `assign_scalar` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_assign_scalar(double s, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_assign_scalar(float s, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_assign_scalar(unsigned char s, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_assign_scalar(uint16_t s, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats16_assign_scalar(int16_t s, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* matu32_assign_scalar(uint32_t s, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats32_assign_scalar(int32_t s, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matcpx_assign_scalar(_dcomplex s, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API const char* matuniv_assign_scalar(_univ_scalar s, void* intrp_ptr, _univ_mat* r);
/// @}

}  // namespace mutils
