/// @file
/// Scalar quantizers: each value of a data column is replaced by the index of a codeword of a
/// sorted scalar codebook.
///
/// | argument | shape and type                                                          |
/// |----------|-------------------------------------------------------------------------|
/// | data     | one column (n x 1) of the member's element type                         |
/// | codebook | one column (k x 1) of the same type, ascending (equal neighbours allowed)|
/// | result   | `_uint32_mat` with one column and at least n elements                   |
///
/// Linear: entry i of the result is the index of the codeword nearest to x[i]. With j the largest
/// index such that c[j] <= x (0 when x lies below c[0]), the index is j + 1 when c[j+1] is
/// strictly nearer than c[j], else j: a value half-way between two codewords takes the lower
/// index, values past either end take the end codeword, and among equal codewords the last one
/// of the run is chosen. A NaN value gets index 0. Result entries past n are left untouched.
///
/// Angle (double and float only): data and codebook are angles in radians within [-pi, pi] (pi
/// compared in the element type). After the linear pass, F and L are read from the result's own
/// first and last entries (entry m - 1, m being the result's element count) as numbers, and
/// every element whose index is 0 or m - 1 is decided again between those two by angular
/// distance (x moved into [0, 2 pi) when negative, distances folded by 2 pi when >= pi): it gets
/// 0 when its distance to L is not smaller than its distance to F, else m - 1. This rule reads
/// result entries, not codeword values, on purpose.
///
/// | condition                                                        | message               |
/// |------------------------------------------------------------------|-----------------------|
/// | a matrix that is not one column; a result shorter than the data  | "array size mismatch" |
/// | codebook not ascending; angle data or codebook outside [-pi, pi] | "index out of bounds" |
/// | (or NaN)                                                         |                       |
/// | universal: data type without a member; result not u32; a codebook | "Illegal data type"  |
/// | that cannot be brought to the data's type                        |                       |
/// | null matrix in a universal member                                | "null pointer"        |
/// | interruption                                                     | "interrupted"         |
///
/// The universal members dispatch on the data's type; a codebook of another type is converted
/// to it first (integer codebooks for any data, floating codebooks for floating data only).
/// Each element charges ln k units (linear) or 3 units (angle) to the interrupt counter.
///
///     // codebook [0, 10]: 5 -> 0 (ties go low), 5.0001 -> 1, -3 -> 0, 42 -> 1
///     mutils::clsdbl_scalar_quantize_linear(&data, &codebook, nullptr, &indices);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `scalar_quantize_linear` for each element type declared here; the contract, element types and messages are in
/// the file description.
MUTILS_API const char* clsdbl_scalar_quantize_linear(const _double_mat* data, const _double_mat* codebook,
                                                     void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clsflt_scalar_quantize_linear(const _float_mat* data, const _float_mat* codebook,
                                                     void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clss32_scalar_quantize_linear(const _sint32_mat* data, const _sint32_mat* codebook,
                                                     void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clss16_scalar_quantize_linear(const _sint16_mat* data, const _sint16_mat* codebook,
                                                     void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clsu32_scalar_quantize_linear(const _uint32_mat* data, const _uint32_mat* codebook,
                                                     void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clsu16_scalar_quantize_linear(const _uint16_mat* data, const _uint16_mat* codebook,
                                                     void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clsu8_scalar_quantize_linear(const _uint8_mat* data, const _uint8_mat* codebook, void* intrp_ptr,
                                                    _uint32_mat* result);
MUTILS_API const char* clsuniv_scalar_quantize_linear(const _univ_mat* data, const _univ_mat* codebook, void* intrp_ptr,
                                                      _univ_mat* result);
/// @}

/// @{
/// `scalar_quantize_angle` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* clsdbl_scalar_quantize_angle(const _double_mat* data, const _double_mat* codebook,
                                                    void* intrp_ptr, _uint32_mat* result);
MUTILS_API const char* clsflt_scalar_quantize_angle(const _float_mat* data, const _float_mat* codebook, void* intrp_ptr,
                                                    _uint32_mat* result);
MUTILS_API const char* clsuniv_scalar_quantize_angle(const _univ_mat* data, const _univ_mat* codebook, void* intrp_ptr,
                                                     _univ_mat* result);
/// @}

}  // namespace mutils
