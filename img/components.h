/// @file
/// Connected components: dense labels of the regions of pixels equal to a value.
///
/// The labels image (unsigned 32-bit, the image's size) holds 0 on background and 1, 2, ... on
/// the objects, numbered in the order in which a raster scan (rows top to bottom, columns left to
/// right, planes first to last) meets each object's first pixel. Objects are connected through
/// four neighbours (connectivity 0) or eight (any other value) in an image, and through six
/// (up, down, left, right, previous and next plane) in a volume. A pixel belongs to an object
/// exactly when it equals the value (also for double: NaN matches nothing).
///
/// The count is the number of labels including the background: objects + 1 (an image without a
/// matching pixel gives count 1). With a minimum size of 2 or more, objects of fewer pixels
/// (voxels) become background and the kept ones are renumbered 1, 2, ... in the same order; the
/// count is again kept objects + 1. A minimum size of 0 or 1 keeps everything.
///
/// | member                              | image / value type          | failure                          |
/// |-------------------------------------|-----------------------------|----------------------------------|
/// | `imgu8_`, `imgs16_`, `imgu32_`,     | the member's type           | invalid records raise; labels of |
/// | `imgdbl_connected_components`       |                             | another size: "array size        |
/// |                                     |                             | mismatch"; null count: "null     |
/// |                                     |                             | pointer"                         |
/// | `imguniv_connected_components`      | u8; u16 and s16 (the s16    | null image or labels: "null      |
/// |                                     | member, bits compared);     | pointer"; labels not u32, value  |
/// |                                     | u32 and s32 (the u32        | not of the image's type, other   |
/// |                                     | member); double             | image types: "Illegal data type" |
/// | `imgset_connected_components_3d`    | sets of u8, u16, u32 / s32, | sets raise as `matset_verify_     |
/// |                                     | double (not s16)            | allsame`, their matrices as      |
/// |                                     |                             | `matuniv_validate`; null count:  |
/// |                                     |                             | "null pointer"; labels not u32 or|
/// |                                     |                             | value of another type: "Illegal  |
/// |                                     |                             | data type"; other plane count or |
/// |                                     |                             | size: "array size mismatch"      |
///
/// The volume form ignores its connectivity argument. Labels are written only after every check
/// has passed; the labelling does not poll the interrupt.
///
///     mutils::_uint8_mat img;  mutils::_uint32_mat lab;  uint32_t count;
///     mutils::imgu8_connected_components(&img, mutils::IMG_CONNECT_EIGHT, 255, 20, nullptr, &lab, &count);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Neighbourhood of the two-dimensional labelling: 0 four neighbours, anything else eight.
enum _img_connected_type : int32_t { IMG_CONNECT_FOUR = 0, IMG_CONNECT_EIGHT = 1 };

/// @{
/// `connected_components`, `connected_components_3d` for each element type declared here; the contract, element
/// types and messages are in the file description.
MUTILS_API const char* imgu8_connected_components(const _uint8_mat* image, _img_connected_type connectivity,
                                                  unsigned char value, uint32_t min_size, void* intrp_ptr,
                                                  _uint32_mat* labels, uint32_t* count);
MUTILS_API const char* imgs16_connected_components(const _sint16_mat* image, _img_connected_type connectivity,
                                                   int16_t value, uint32_t min_size, void* intrp_ptr,
                                                   _uint32_mat* labels, uint32_t* count);
MUTILS_API const char* imgu32_connected_components(const _uint32_mat* image, _img_connected_type connectivity,
                                                   uint32_t value, uint32_t min_size, void* intrp_ptr,
                                                   _uint32_mat* labels, uint32_t* count);
MUTILS_API const char* imgdbl_connected_components(const _double_mat* image, _img_connected_type connectivity,
                                                   double value, uint32_t min_size, void* intrp_ptr,
                                                   _uint32_mat* labels, uint32_t* count);
MUTILS_API const char* imguniv_connected_components(const _univ_mat* image, _img_connected_type connectivity,
                                                    _univ_scalar value, uint32_t min_size, void* intrp_ptr,
                                                    _univ_mat* labels, uint32_t* count);
MUTILS_API const char* imgset_connected_components_3d(const _mat_set* images, _img_connected_type connectivity,
                                                      _univ_scalar value, uint32_t min_size, void* intrp_ptr,
                                                      _mat_set* labels, uint32_t* count);
/// @}

}  // namespace mutils

/// `imguniv_connected_components`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_connected_components(const mutils::_univ_mat* image,
                                                               mutils::_img_connected_type connectivity,
                                                               mutils::_univ_scalar value, uint32_t min_size,
                                                               void* intrp_ptr, mutils::_univ_mat* labels,
                                                               uint32_t* count);
