/// @file
/// Linear rescaling: the range [min, max] of A's elements mapped onto [lo, hi].
///
///     R[i] = (A[i] - min) * scale + lo,   scale = (hi - lo) / (max - min), or 0 when max = min,
///
/// so a constant matrix maps entirely to lo. Checked in this order: R and A are validated
/// (raising "null pointer" / "array size mismatch"); R must have A's rows and columns ("array
/// size mismatch"); lo > hi returns "Illegal data value" (lo = hi is allowed and fills R with lo;
/// a NaN bound is refused the same way). R may be A.
///
/// The map is computed in double. Integer members store the nearest integer (halves round up)
/// and keep it inside [lo, hi]; float stores the nearest float. NaN elements are left out of
/// the range and stay NaN; a matrix holding an infinity has an infinite range, so its finite
/// elements all map to lo.
///
/// `matuniv_rescale` computes in R's element type: lo and hi follow the scalar rule of
/// `matuniv_add_scalar` (complex scalars or a complex R: "Illegal data type"), and A is brought
/// to R's type as for `matuniv_add`.
///
///     mutils::_double_mat img, out;   // any range in, [0, 255] out
///     mutils::matdbl_rescale(&img, 0.0, 255.0, nullptr, &out);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `rescale` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_rescale(const _double_mat* a, double lo, double hi, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_rescale(const _float_mat* a, float lo, float hi, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_rescale(const _uint8_mat* a, unsigned char lo, unsigned char hi, void* intrp_ptr,
                                     _uint8_mat* r);
MUTILS_API const char* matu16_rescale(const _uint16_mat* a, uint16_t lo, uint16_t hi, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_rescale(const _uint32_mat* a, uint32_t lo, uint32_t hi, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_rescale(const _sint16_mat* a, int16_t lo, int16_t hi, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_rescale(const _sint32_mat* a, int32_t lo, int32_t hi, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_rescale(const _univ_mat* a, _univ_scalar lo, _univ_scalar hi, void* intrp_ptr,
                                       _univ_mat* r);
/// @}

}  // namespace mutils
