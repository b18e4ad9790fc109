// Grey-level mapping and thresholding: point operations that remap the grey levels of an image.
//
// Window/level to 8 bits (`img<t>_map_window_level(image, low, high, intrp_ptr, result)`, result
// always `_uint8_mat`, same size as the image):
//
// | pixel x            | low <= high                          | low > high (bounds swapped, inverted) |
// |--------------------|--------------------------------------|---------------------------------------|
// | x <= low           | 0                                    | 255                                   |
// | x >= high          | 255                                  | 0                                     |
// | low < x < high     | floor((x - low) * 256 / (high - low)) | floor(256 - (x - low) * 256 / (high - low)) |
//
// (results kept within 0..255; a NaN pixel gives 0). With low = high every pixel at or below the
// level becomes 0 and every pixel above it 255: the image files binarise with this. So low = 10,
// high = 20 maps 10, 15, 19.99, 20 to 0, 128, 255, 255, and low = 20, high = 10 to 255, 128, 0, 0.
// The universal member needs image and result non-null ("null pointer"), an unsigned 8-bit
// result and an image of u8, u16, u32, s32 or double ("Illegal data type"); sizes must agree
// ("array size mismatch"). The result may be the u8 image itself.
//
// Inversion (`img<t>_map_invert(image, intrp_ptr, result)`, u8, u16, double; result of the
// image's type and size, may be the image): with m and M the image's minimum and maximum every
// pixel x becomes M - x + m, so the range is kept and reversed (2..9: 2 -> 9, 9 -> 2).
//
// Automatic threshold (`img<t>_threshold_auto(image, bins, criterion, intrp_ptr, result,
// threshold)`, u8, u16, double): the image is histogrammed into `bins` bins over [min, max]
// (fewer than 1 bin means 100), a bin k is chosen by the criterion, the threshold is the upper
// edge of bin k, min + (max - min)(k + 1) / bins, and is stored through `threshold`; the result
// is 0 for pixels at or below it and 1 above it (NaN pixels: 0).
// - between-class variance (criterion 1): the split maximising w(1 - w)(mu0 - mu1)^2 over the
//   non-empty bins, ties keeping the earlier bin;
// - minimum error (any other value): the split minimising
//   P1 ln s1 + P2 ln s2 - P1 ln P1 - P2 ln P2 (two non-empty bins: the first; three: the middle
//   one unless it lies nearer the last).
//
// Discrete levels (`imguniv_map_discrete(image, levels, intrp_ptr, result)`): every pixel becomes
// the nearest of the given levels (a one-column matrix, any order; a pixel half-way between two
// levels takes the lower, NaN pixels the lowest), found by the linear scalar quantizer on a
// sorted copy. Images of every real type; the result has the image's type; the levels are
// brought to it as the quantizer does (integer levels for any image, floating levels only for
// float and double images).
//
// Uniform levels (`imguniv_map_discrete_uniform(image, count, intrp_ptr, result)`, every real
// type): `count` levels spread evenly over the image's range [min, max], both ends included
// (level k = min + k (max - min) / (count - 1), rounded to the nearest integer for integer
// images); one level sits at the middle of the range. Every pixel takes the nearest level, as
// above. So count = 2 splits at the middle of the range into min and max, and 0..255 with
// count = 5 gives 0, 64, 128, 191, 255.
//
// Histogram equalisation (`imguniv_histogram_equalize(image, levels, intrp_ptr, result)`, u8,
// u16, double): with C(v) the number of pixels at or below v, C0 that of the image's minimum and
// N the number of pixels, a pixel v gets level round((C(v) - C0) / (N - C0) (levels - 1)), so
// the minimum gets level 0 and the maximum level `levels` - 1. The levels are spread over the
// type's whole range: level k is round(k x 255 / (levels - 1)) for u8 (with 256 levels the
// familiar full-range equalisation), round(k x 65535 / (levels - 1)) for u16 and
// k / (levels - 1) in [0, 1] for double. Double images are counted in a histogram of 65536 bins
// over [min, max]; NaN pixels stay NaN. A constant image, or a single level, gives level 0
// everywhere.
//
// | condition (universal members)                                     | message               |
// |-------------------------------------------------------------------|-----------------------|
// | null image, result or levels                                      | "null pointer"        |
// | a type without a member; a result not of the image's type;        | "Illegal data type"   |
// | floating levels for an integer image                              |                       |
// | levels not one column; image and result of different sizes        | "array size mismatch" |
// | a constant image (threshold); fewer than 1 level (uniform levels,  | "Illegal data value"  |
// | equalisation: checked first)                                       |                       |
// | interruption                                                      | "interrupted"         |
//
//     mutils::_univ_mat ct, view;   // view: u8, same size as ct
//     mutils::imguniv_map_window_level(&ct, -160.0, 240.0, nullptr, &view);
//     mutils::imguniv_histogram_equalize(&view, 256, nullptr, &view);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Criterion of the automatic threshold: 1 selects the between-class variance; any other value
/// the minimum error.
enum _img_thresh_type : int32_t { IMG_THRESH_MINIMUM_ERROR = 0, IMG_THRESH_BETWEEN_CLASS = 1 };

/// @{
/// `map_window_level` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_map_window_level(const _uint8_mat* image, double low, double high, void* intrp_ptr,
                                              _uint8_mat* result);
MUTILS_API const char* imgu16_map_window_level(const _uint16_mat* image, double low, double high, void* intrp_ptr,
                                               _uint8_mat* result);
MUTILS_API const char* imgu32_map_window_level(const _uint32_mat* image, double low, double high, void* intrp_ptr,
                                               _uint8_mat* result);
MUTILS_API const char* imgs32_map_window_level(const _sint32_mat* image, double low, double high, void* intrp_ptr,
                                               _uint8_mat* result);
MUTILS_API const char* imgdbl_map_window_level(const _double_mat* image, double low, double high, void* intrp_ptr,
                                               _uint8_mat* result);
MUTILS_API const char* imguniv_map_window_level(const _univ_mat* image, double low, double high, void* intrp_ptr,
                                                _univ_mat* result);
/// @}

/// @{
/// `threshold_auto` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_threshold_auto(const _uint8_mat* image, int32_t bins, _img_thresh_type criterion,
                                            void* intrp_ptr, _uint8_mat* result, double* threshold);
MUTILS_API const char* imgu16_threshold_auto(const _uint16_mat* image, int32_t bins, _img_thresh_type criterion,
                                             void* intrp_ptr, _uint16_mat* result, double* threshold);
MUTILS_API const char* imgdbl_threshold_auto(const _double_mat* image, int32_t bins, _img_thresh_type criterion,
                                             void* intrp_ptr, _double_mat* result, double* threshold);
MUTILS_API const char* imguniv_threshold_auto(const _univ_mat* image, int32_t bins, _img_thresh_type criterion,
                                              void* intrp_ptr, _univ_mat* result, double* threshold);
/// @}

/// @{
/// `map_invert` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_map_invert(const _uint8_mat* image, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_map_invert(const _uint16_mat* image, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgdbl_map_invert(const _double_mat* image, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_map_invert(const _univ_mat* image, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `map_discrete`, `map_discrete_uniform`, `histogram_equalize` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API const char* imguniv_map_discrete(const _univ_mat* image, const _univ_mat* levels, void* intrp_ptr,
                                            _univ_mat* result);
MUTILS_API const char* imguniv_map_discrete_uniform(const _univ_mat* image, int32_t count, void* intrp_ptr,
                                                    _univ_mat* result);
MUTILS_API const char* imguniv_histogram_equalize(const _univ_mat* image, int32_t levels, void* intrp_ptr,
                                                  _univ_mat* result);
/// @}

}  // namespace mutils

/// @{
/// `threshold_auto`, `map_invert`, `map_discrete` for each element type declared here; the contract, element types
/// and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_threshold_auto(const mutils::_univ_mat* image, int32_t bins,
                                                         mutils::_img_thresh_type criterion, void* intrp_ptr,
                                                         mutils::_univ_mat* result, double* threshold);
MUTILS_API mutils::_mutil_errcode imguniv_map_invert(const mutils::_univ_mat* image, void* intrp_ptr,
                                                     mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_map_discrete(const mutils::_univ_mat* image, const mutils::_univ_mat* levels,
                                                       void* intrp_ptr, mutils::_univ_mat* result);
/// @}
