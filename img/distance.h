/// @file
/// Distance transform and filled convex hull of the object pixels of an image (the pixels equal
/// to a given object value).
///
/// Distance transform: every pixel of the double result receives its chamfer distance to the
/// nearest object pixel (object pixels 0). The metric selects the steps of the 3 x 3 mask:
///
/// | `_img_distance_type`          | orthogonal | diagonal | start value of other pixels      |
/// |-------------------------------|------------|----------|----------------------------------|
/// | 0 `IMG_DISTANCE_EUCLIDEAN`    | 1          | sqrt(2)  | sqrt(rows^2 + columns^2) + 1     |
/// | 1 `IMG_DISTANCE_CITY_BLOCK`   | 1          | 2        | rows + columns + 1               |
/// | 2 `IMG_DISTANCE_CHESSBOARD`   | 1          | 1        | max(rows, columns) + 1           |
///
/// Two passes: top to bottom, left to right, taking the minimum of each pixel and its up-left,
/// up, up-right and left neighbours plus their steps; then bottom to top, right to left with the
/// mirrored neighbours. The Euclidean metric is therefore the (1, sqrt 2) chamfer approximation,
/// not the exact distance.
///
/// Object pixels are those equal to the object value (operator ==): a NaN pixel, or a NaN object
/// value, is never an object pixel; no other value is read, so infinities are ordinary values.
///
/// | condition                                                        | message                  |
/// |------------------------------------------------------------------|--------------------------|
/// | image and result of different sizes                              | "array size mismatch"    |
/// | result sharing the image's storage                               | "Illegal memory address" |
/// | metric other than 0, 1, 2; no pixel equal to the object value    | "Illegal data value"     |
/// | universal: result not double; object value not of the image type; | "Illegal data type"     |
/// | image type other than u8, u16, u32, s32, double                   |                          |
///
/// The universal member hands unsigned 32-bit images to the signed 32-bit member (pixels are
/// compared for equality only, so the bits are what count).
///
/// Convex hull: the result (of the image's type) is 0 everywhere except on the filled convex
/// hull of the object, where it is 1 (1.0 in the double member). The hull is taken over the
/// leftmost and rightmost object pixel of every row (`pgns32_convex_hull`), with pixel centres at
/// integer (row, column) positions, and every pixel whose centre lies inside the hull polygon or
/// on its boundary is filled: a single object pixel gives itself, a straight run of object pixels
/// gives exactly the pixels on that line. An image without object pixels is a success that
/// leaves the result untouched. The universal member requires image and result non-null
/// ("null pointer"), result and value of the image's type, and an image of u8, u16 or double
/// ("Illegal data type"); the typed members check sizes ("array size mismatch").
///
///     // distance of every pixel of `img` (u8, object pixels 255) to the object, city-block
///     mutils::_univ_mat dist;   // double, same size as img
///     mutils::imguniv_transform_distance(&img, mutils::IMG_DISTANCE_CITY_BLOCK,
///                                        mutils::scalar_u8(255), nullptr, &dist);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Metric of the chamfer distance transform.
enum _img_distance_type : int32_t {
    IMG_DISTANCE_EUCLIDEAN = 0,
    IMG_DISTANCE_CITY_BLOCK = 1,
    IMG_DISTANCE_CHESSBOARD = 2
};

/// @{
/// `transform_distance` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* imgdbl_transform_distance(const _double_mat* image, _img_distance_type metric, double value,
                                                 void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgu8_transform_distance(const _uint8_mat* image, _img_distance_type metric, unsigned char value,
                                                void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgu16_transform_distance(const _uint16_mat* image, _img_distance_type metric, uint16_t value,
                                                 void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgs32_transform_distance(const _sint32_mat* image, _img_distance_type metric, int32_t value,
                                                 void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_transform_distance(const _univ_mat* image, _img_distance_type metric, _univ_scalar value,
                                                  void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `convex_hull` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgdbl_convex_hull(const _double_mat* image, double value, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgs32_convex_hull(const _sint32_mat* image, int32_t value, void* intrp_ptr,
                                          _sint32_mat* result);
MUTILS_API const char* imgu8_convex_hull(const _uint8_mat* image, unsigned char value, void* intrp_ptr,
                                         _uint8_mat* result);
MUTILS_API const char* imgu16_convex_hull(const _uint16_mat* image, uint16_t value, void* intrp_ptr,
                                          _uint16_mat* result);
MUTILS_API const char* imguniv_convex_hull(const _univ_mat* image, _univ_scalar value, void* intrp_ptr,
                                           _univ_mat* result);
/// @}

}  // namespace mutils

/// @{
/// `transform_distance`, `convex_hull` for each element type declared here; the contract, element types and
/// messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_transform_distance(const mutils::_univ_mat* image,
                                                             mutils::_img_distance_type metric,
                                                             mutils::_univ_scalar value, void* intrp_ptr,
                                                             mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_convex_hull(const mutils::_univ_mat* image, mutils::_univ_scalar value,
                                                      void* intrp_ptr, mutils::_univ_mat* result);
/// @}
