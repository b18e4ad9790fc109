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
/// A NaN or an infinity in a floating image or kernel propagates as arithmetic does: every
/// result pixel whose sum takes it is NaN or infinite (0 times infinity is NaN), the others are
/// untouched.
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
MUTILS_API const char* imguniv_correlate(const _univ_mat* image, const _univ_mat* kernel, _mutil_boundary_type boundary,
                                         void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// Neighbourhood filters: local mean, local variance, Wiener, quantile (median)
///
/// Each result pixel is computed from the window of `win_rows` x `win_cols` image pixels centred
/// on it exactly as a correlation kernel is: the window of (r, c) covers rows
/// r - win_rows/2 ... r + win_rows - 1 - win_rows/2 and the columns likewise. Positions outside
/// the image read through the boundary rule; under rule 0 they are zeros and are counted, so
/// every window holds N = win_rows * win_cols values. Windows larger than the image are allowed.
///
/// | filter         | result                                                                       |
/// |----------------|------------------------------------------------------------------------------|
/// | local mean     | mu = (1/N) sum of the window (one division)                                  |
/// | local variance | var = (1/N) sum of squares - mu^2 (population variance, >= 0), always double |
/// | Wiener         | mu + max(var - nu, 0) / max(var, nu) * (I - mu); I itself where both are 0   |
/// | quantile       | x(k0) + (t - k0)(x(k1) - x(k0)) of the sorted window x, t = (N - 1) q,       |
/// |                | k0 = floor(t), k1 = min(k0 + 1, N - 1): q = 0 minimum, 0.5 median, 1 maximum  |
///
/// Wiener (the adaptive local-statistics filter of Lee 1980) takes nu = `noise` when it is 0 or
/// more, else the mean of the local variance over the image. Local mean, variance and Wiener
/// accept the boundary rules 0 (zero) and 3 (nearest edge pixel); the quantile filter all four.
/// Real values computed for an integer result are stored as floor(v + 0.5) clipped to the type's
/// range (saturating), so an exact half rounds up.
///
/// NaN and infinities in a floating image: the quantile filter orders NaN after every number, as
/// sorting does (a window's upper quantiles may be NaN). The mean, variance and Wiener filters run
/// sums along columns and rows, so a NaN or an infinity makes their result NaN (or infinite) at
/// every pixel whose window holds it and at the pixels after it along its row and below it; as
/// with the running-sum filters of the common Python tools, replace such values first where that
/// matters.
///
/// | member                 | image                   | result                                  |
/// |------------------------|-------------------------|-----------------------------------------|
/// | `img{u8,u16,s32,dbl}_` | that type               | the image's type (variance: double)     |
/// | `imguniv_`             | any real type           | any real type (variance: double); the   |
/// |                        |                         | image is brought to the result's type   |
/// |                        |                         | first (integer images into any result,  |
/// |                        |                         | floating ones into floating results)    |
///
/// | condition                                                          | message                  |
/// |--------------------------------------------------------------------|--------------------------|
/// | null image or result (universal members)                           | "null pointer"           |
/// | invalid records                                                    | raised by validation     |
/// | result not of the image's size                                     | "array size mismatch"    |
/// | a window extent below 1; a boundary rule the filter does not take; | "Illegal data value"     |
/// | noise NaN or infinite; quantile outside [0, 1] or NaN              |                          |
/// | result sharing the image's storage                                 | "Illegal memory address" |
/// | complex image or result; a floating image with an integer result;  | "Illegal data type"      |
/// | a variance result that is not double                               |                          |
/// | interruption (polled once per result row)                          | "interrupted"            |
///
/// Cost: the mean, variance and Wiener filters run in O(1) per pixel whatever the window
/// (running column sums in double, exact for integer images while the sums stay below 2^53;
/// the variance is computed on values less the image mean). The quantile filter sorts windows of
/// up to 25 values with a comparator network across a strip of pixels; larger windows slide a
/// histogram along each row (256 bins for u8; for other types a counting tree over the values,
/// or over the ranks of the image's distinct values, O(win_rows log) per pixel).
///
///     // 3 x 3 median of an 8-bit image with replicated edges, and a 5 x 5 Wiener filter
///     mutils::imgu8_filter_quantile(&img, 3, 3, 0.5, mutils::MUTIL_BOUNDARY_CONTINUE, nullptr, &median);
///     mutils::imguniv_filter_wiener(&noisy, 5, 5, -1.0, mutils::MUTIL_BOUNDARY_ZERO, nullptr, &restored);
MUTILS_API const char* imgu8_filter_local_mean(const _uint8_mat* image, int32_t win_rows, int32_t win_cols,
                                               _mutil_boundary_type boundary, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu8_filter_local_variance(const _uint8_mat* image, int32_t win_rows, int32_t win_cols,
                                                   _mutil_boundary_type boundary, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgu8_filter_wiener(const _uint8_mat* image, int32_t win_rows, int32_t win_cols, double noise,
                                           _mutil_boundary_type boundary, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu8_filter_quantile(const _uint8_mat* image, int32_t win_rows, int32_t win_cols,
                                             double quantile, _mutil_boundary_type boundary, void* intrp_ptr,
                                             _uint8_mat* result);
MUTILS_API const char* imgu16_filter_local_mean(const _uint16_mat* image, int32_t win_rows, int32_t win_cols,
                                                _mutil_boundary_type boundary, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgu16_filter_local_variance(const _uint16_mat* image, int32_t win_rows, int32_t win_cols,
                                                    _mutil_boundary_type boundary, void* intrp_ptr,
                                                    _double_mat* result);
MUTILS_API const char* imgu16_filter_wiener(const _uint16_mat* image, int32_t win_rows, int32_t win_cols, double noise,
                                            _mutil_boundary_type boundary, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgu16_filter_quantile(const _uint16_mat* image, int32_t win_rows, int32_t win_cols,
                                              double quantile, _mutil_boundary_type boundary, void* intrp_ptr,
                                              _uint16_mat* result);
MUTILS_API const char* imgs32_filter_local_mean(const _sint32_mat* image, int32_t win_rows, int32_t win_cols,
                                                _mutil_boundary_type boundary, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgs32_filter_local_variance(const _sint32_mat* image, int32_t win_rows, int32_t win_cols,
                                                    _mutil_boundary_type boundary, void* intrp_ptr,
                                                    _double_mat* result);
MUTILS_API const char* imgs32_filter_wiener(const _sint32_mat* image, int32_t win_rows, int32_t win_cols, double noise,
                                            _mutil_boundary_type boundary, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgs32_filter_quantile(const _sint32_mat* image, int32_t win_rows, int32_t win_cols,
                                              double quantile, _mutil_boundary_type boundary, void* intrp_ptr,
                                              _sint32_mat* result);
MUTILS_API const char* imgdbl_filter_local_mean(const _double_mat* image, int32_t win_rows, int32_t win_cols,
                                                _mutil_boundary_type boundary, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgdbl_filter_local_variance(const _double_mat* image, int32_t win_rows, int32_t win_cols,
                                                    _mutil_boundary_type boundary, void* intrp_ptr,
                                                    _double_mat* result);
MUTILS_API const char* imgdbl_filter_wiener(const _double_mat* image, int32_t win_rows, int32_t win_cols, double noise,
                                            _mutil_boundary_type boundary, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgdbl_filter_quantile(const _double_mat* image, int32_t win_rows, int32_t win_cols,
                                              double quantile, _mutil_boundary_type boundary, void* intrp_ptr,
                                              _double_mat* result);
MUTILS_API const char* imguniv_filter_local_mean(const _univ_mat* image, int32_t win_rows, int32_t win_cols,
                                                 _mutil_boundary_type boundary, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_filter_local_variance(const _univ_mat* image, int32_t win_rows, int32_t win_cols,
                                                     _mutil_boundary_type boundary, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_filter_wiener(const _univ_mat* image, int32_t win_rows, int32_t win_cols, double noise,
                                             _mutil_boundary_type boundary, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_filter_quantile(const _univ_mat* image, int32_t win_rows, int32_t win_cols,
                                               double quantile, _mutil_boundary_type boundary, void* intrp_ptr,
                                               _univ_mat* result);
/// @}

}  // namespace mutils

/// @{
/// `imguniv_convolve`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_convolve(const mutils::_univ_mat* image, const mutils::_univ_mat* kernel,
                                                   mutils::_mutil_boundary_type boundary, void* intrp_ptr,
                                                   mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_filter_wiener(const mutils::_univ_mat* image, int32_t win_rows,
                                                        int32_t win_cols, double noise,
                                                        mutils::_mutil_boundary_type boundary, void* intrp_ptr,
                                                        mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_filter_quantile(const mutils::_univ_mat* image, int32_t win_rows,
                                                          int32_t win_cols, double quantile,
                                                          mutils::_mutil_boundary_type boundary, void* intrp_ptr,
                                                          mutils::_univ_mat* result);
/// @}
