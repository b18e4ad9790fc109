/// @file
/// Direct (sliding-window) two-dimensional correlation and convolution of a data matrix D with a
/// small filter F, with a chosen filter origin, output steps and boundary rule.
///
/// Arguments: D, F, rstep, cstep, rorig, corig, boundary, intrp_ptr, Y. Y's size chooses the outputs
/// (at most D's size in each dimension); for output row i and column j:
///   correlation  Y[i][j] = sum_p sum_q F[p][q] D_b[i*rstep + p - (fr - rorig)][j*cstep + q - (fc - corig)]
///   convolution  Y[i][j] = sum_p sum_q F[p][q] D_b[i*rstep + (rorig - 1) - p][j*cstep + (corig - 1) - q]
/// so the filter element (fr - rorig, fc - corig) of a correlation, or (rorig - 1, corig - 1) of a
/// convolution (origins count from 1), lies over data sample (i*rstep, j*cstep). D_b reads an index k
/// outside 0 ... n - 1 by the boundary rule, rows and columns separately:
///   0 zero: the sample is 0;  1 periodic: k mod n;  2 reflect: -1 -> 0, n -> n - 1, repeated;
///   3 continue: the nearest edge sample.
/// Sums run over filter rows (outer) and columns (inner) from 0. The u8, u16 and s32 members multiply
/// and add in the element type and wrap (u8: 200 * 2 = 144); double and complex add in double.
/// NaN and infinities in double or complex data or filters propagate as arithmetic does: an output
/// whose sum takes one is NaN or infinite, the others are untouched; sampling copies them as they are.
///
/// Checks, in order: invalid records raise ("null pointer", "array size mismatch"); Y larger than D
/// in either dimension: "array size mismatch"; Y sharing storage with D or F: "Illegal memory
/// address"; a step below 1, or an origin outside 1 ... filter size: "Illegal data value"; a
/// boundary rule outside 0 ... 3: "Illegal data value"; interrupt: "interrupted" (Y partial).
///
/// Universal members: "null pointer" for a null matrix. The data may not be float, double or complex
/// when the filter or the result is an integer type ("Illegal data type"). Otherwise every matrix is
/// brought to the widest of the three element types (u8 < u16 < s16 < u32 < s32 < float < double <
/// complex; u32 and s32 share their bits and are used as they are), which must have a member:
///
/// | widest type  | member  | notes                                                         |
/// |--------------|---------|---------------------------------------------------------------|
/// | u8, u16      | u8, u16 |                                                               |
/// | u32, s32     | s32     | wrap-around sums are the same bits for both                   |
/// | double       | dbl     | float and integer matrices converted exactly                  |
/// | complex      | cpx     | real matrices converted with imaginary part 0                 |
/// | s16, float   | none    | "Illegal data type"                                           |
/// A result of a narrower type than the widest (e.g. u8 result of u16 data) is "Illegal data type":
/// sums are never narrowed silently.
///
/// Set members apply the universal member to matrix k of each set with element k of the step and
/// origin vectors (s32 matrices with one value per set matrix) and the common boundary rule, in
/// order, stopping at the first error; the three sets must hold equally many matrices and each
/// vector exactly that many elements, else "array size mismatch".
///
///     // 3 x 3 smoothing of a double image with replicated edges, same-size result
///     mutils::sigdbl_correlate(&img, &box3, 1, 1, 2, 2, mutils::MUTIL_BOUNDARY_CONTINUE, nullptr, &out);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `convolve`, `correlate` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* sigdbl_convolve(const _double_mat* data, const _double_mat* filter, int32_t rstep, int32_t cstep,
                                       int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                       _double_mat* result);
MUTILS_API const char* sigdbl_correlate(const _double_mat* data, const _double_mat* filter, int32_t rstep,
                                        int32_t cstep, int32_t rorig, int32_t corig, _mutil_boundary_type boundary,
                                        void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigu8_convolve(const _uint8_mat* data, const _uint8_mat* filter, int32_t rstep, int32_t cstep,
                                      int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                      _uint8_mat* result);
MUTILS_API const char* sigu8_correlate(const _uint8_mat* data, const _uint8_mat* filter, int32_t rstep, int32_t cstep,
                                       int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                       _uint8_mat* result);
MUTILS_API const char* sigu16_convolve(const _uint16_mat* data, const _uint16_mat* filter, int32_t rstep, int32_t cstep,
                                       int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                       _uint16_mat* result);
MUTILS_API const char* sigu16_correlate(const _uint16_mat* data, const _uint16_mat* filter, int32_t rstep,
                                        int32_t cstep, int32_t rorig, int32_t corig, _mutil_boundary_type boundary,
                                        void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* sigs32_convolve(const _sint32_mat* data, const _sint32_mat* filter, int32_t rstep, int32_t cstep,
                                       int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                       _sint32_mat* result);
MUTILS_API const char* sigs32_correlate(const _sint32_mat* data, const _sint32_mat* filter, int32_t rstep,
                                        int32_t cstep, int32_t rorig, int32_t corig, _mutil_boundary_type boundary,
                                        void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* sigcpx_convolve(const _dcomplex_mat* data, const _dcomplex_mat* filter, int32_t rstep,
                                       int32_t cstep, int32_t rorig, int32_t corig, _mutil_boundary_type boundary,
                                       void* intrp_ptr, _dcomplex_mat* result);
MUTILS_API const char* sigcpx_correlate(const _dcomplex_mat* data, const _dcomplex_mat* filter, int32_t rstep,
                                        int32_t cstep, int32_t rorig, int32_t corig, _mutil_boundary_type boundary,
                                        void* intrp_ptr, _dcomplex_mat* result);
MUTILS_API const char* siguniv_convolve(const _univ_mat* data, const _univ_mat* filter, int32_t rstep, int32_t cstep,
                                        int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                        _univ_mat* result);
MUTILS_API const char* siguniv_correlate(const _univ_mat* data, const _univ_mat* filter, int32_t rstep, int32_t cstep,
                                         int32_t rorig, int32_t corig, _mutil_boundary_type boundary, void* intrp_ptr,
                                         _univ_mat* result);
MUTILS_API const char* sigset_convolve(const _mat_set* data, const _mat_set* filter, const _sint32_mat* rstep,
                                       const _sint32_mat* cstep, const _sint32_mat* rorig, const _sint32_mat* corig,
                                       _mutil_boundary_type boundary, void* intrp_ptr, _mat_set* result);
MUTILS_API const char* sigset_correlate(const _mat_set* data, const _mat_set* filter, const _sint32_mat* rstep,
                                        const _sint32_mat* cstep, const _sint32_mat* rorig, const _sint32_mat* corig,
                                        _mutil_boundary_type boundary, void* intrp_ptr, _mat_set* result);
/// @}

}  // namespace mutils
