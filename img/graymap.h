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
//     mutils::_univ_mat ct, view;   // view: u8, same size as ct
//     mutils::imguniv_map_window_level(&ct, -160.0, 240.0, nullptr, &view);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Criterion of the automatic threshold: 1 selects the between-class variance; any other value
/// the minimum error.
enum _img_thresh_type : int32_t {
    IMG_THRESH_MINIMUM_ERROR = 0,
    IMG_THRESH_BETWEEN_CLASS = 1
};

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


MUTILS_API const char* imgu8_threshold_auto(const _uint8_mat* image, int32_t bins, _img_thresh_type criterion,
                                            void* intrp_ptr, _uint8_mat* result, double* threshold);
MUTILS_API const char* imgu16_threshold_auto(const _uint16_mat* image, int32_t bins, _img_thresh_type criterion,
                                             void* intrp_ptr, _uint16_mat* result, double* threshold);
MUTILS_API const char* imguniv_threshold_auto(const _univ_mat* image, int32_t bins, _img_thresh_type criterion,
                                              void* intrp_ptr, _univ_mat* result, double* threshold);

}  // namespace mutils

MUTILS_API mutils::_mutil_errcode imguniv_threshold_auto(const mutils::_univ_mat* image, int32_t bins,
                                                         mutils::_img_thresh_type criterion, void* intrp_ptr,
                                                         mutils::_univ_mat* result, double* threshold);
