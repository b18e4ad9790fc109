/// @file
/// Image filters: two-dimensional convolution and correlation of an image with a small kernel,
/// centred on each pixel, into a result of the image's size.
///
///   correlation  R(r, c) = sum_p sum_q K(p, q) * I_b(r + p - kr/2, c + q - kc/2)
///   convolution  R(r, c) = sum_p sum_q K(p, q) * I_b(r + kr/2 - p, c + kc/2 - q)
///
/// for kernel rows p < kr and columns q < kc (integer division: the kernel element (kr/2, kc/2),
/// counted from 0, lies over the pixel; for an even extent that is the element just past the
/// middle). I_b reads positions outside the image by the boundary rule, rows and columns
/// separately: 0 zero, 1 periodic, 2 reflect (-1 -> 0), 3 nearest edge pixel. Sums run over kernel
/// rows (outer) and columns (inner) from 0; integer results wrap around in their width, float
/// and double results accumulate in double.
///
/// | condition                                                    | message                  |
/// |--------------------------------------------------------------|--------------------------|
/// | null image, kernel or result                                 | "null pointer"           |
/// | invalid records                                              | raised by validation     |
/// | result not of the image's size                               | "array size mismatch"    |
/// | boundary rule outside 0 ... 3                                | "Illegal data value"     |
/// | result sharing storage with the image or the kernel          | "Illegal memory address" |
/// | a floating image or kernel with an integer result; a complex | "Illegal data type"      |
/// | image, kernel or result                                      |                          |
///
/// The image and the kernel are brought to the result's element type first (an integer value
/// that does not fit raises "overflow"). The interrupt is polled once per output row.
///
///     // 3 x 3 box sum of a double image with replicated edges
///     mutils::imguniv_correlate(&img, &box3, mutils::MUTIL_BOUNDARY_CONTINUE, nullptr, &out);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `convolve`, `correlate` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* imguniv_convolve(const _univ_mat* image, const _univ_mat* kernel, _mutil_boundary_type boundary,
                                        void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_correlate(const _univ_mat* image, const _univ_mat* kernel,
                                         _mutil_boundary_type boundary, void* intrp_ptr, _univ_mat* result);
/// @}

}  // namespace mutils

/// `imguniv_convolve`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_convolve(const mutils::_univ_mat* image, const mutils::_univ_mat* kernel,
                                                   mutils::_mutil_boundary_type boundary, void* intrp_ptr,
                                                   mutils::_univ_mat* result);
